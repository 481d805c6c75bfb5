// What a window on a display shows, and what happens to it.
#include <cstdlib>
#include <malloc.h>

#include "WindowKit.h"
#include "vulkan/Device.h"

namespace {

/// Same to one step of each channel, which conversions may round either way.
bool IsNear(unsigned a, unsigned b)
{
    for (int shift = 0; shift < 24; shift += 8) {
        if (std::abs(int(a >> shift & 255) - int(b >> shift & 255)) > 1) {
            return false;
        }
    }
    return true;
}

class WindowOnScreen : public WindowKit
{
protected:
    void SetUp() override { Start(EStage::Screen); }

    VkDeviceSize ReservedBytes() { return dynamic_cast<gleam::VulkanDevice&>(*device).gpu.memory.ReservedBytes(); }
};

TEST_F(WindowOnScreen, EveryFormatShowsItsColors)
{
    struct Case
    {
        DXGI_FORMAT format;
        DXGI_SWAP_EFFECT effect;
        UINT samples;
        unsigned shown;
    };
    // 0.25, 0.5 and 1 in values, or for linear formats in light.
    constexpr unsigned values = 0x4080ff;
    constexpr unsigned encoded = 0x89bcff;
    constexpr Case cases[] = {
        {DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_SWAP_EFFECT_FLIP_DISCARD, 1, values},
        {DXGI_FORMAT_B8G8R8A8_UNORM, DXGI_SWAP_EFFECT_FLIP_SEQUENTIAL, 1, values},
        {DXGI_FORMAT_R10G10B10A2_UNORM, DXGI_SWAP_EFFECT_FLIP_DISCARD, 1, values},
        {DXGI_FORMAT_R16G16B16A16_FLOAT, DXGI_SWAP_EFFECT_FLIP_DISCARD, 1, encoded},
        {DXGI_FORMAT_R8G8B8A8_UNORM_SRGB, DXGI_SWAP_EFFECT_DISCARD, 1, encoded},
        {DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_SWAP_EFFECT_DISCARD, 4, values},
    };
    for (const Case& c : cases) {
        DXGI_SWAP_CHAIN_DESC1 desc = Flip();
        desc.Format = c.format;
        desc.SwapEffect = c.effect;
        desc.SampleDesc.Count = c.samples;
        desc.Flags = 0;
        ASSERT_EQ(S_OK, MakeChain(desc)) << c.format;
        for (int frame = 0; frame < 5; ++frame) {
            ClearBuffer(0.25f, 0.5f, 1);
            EXPECT_EQ(S_OK, Present(frame % 2)) << c.format;
        }
        EXPECT_PRED2(IsNear, c.shown, Shown(160, 100, c.shown)) << c.format;
    }
}

// The back buffer's order of channels differs from the window's here; copies of its bytes must not show it.
TEST_F(WindowOnScreen, BytesOfTheBackBufferAreInTheAskedOrder)
{
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    const ComPtr<ID3D11Texture2D> buffer = BackBuffer();
    ClearBuffer(0, 0, 0);
    const Words pixels(64 * 32, Rgba(10, 20, 30));
    const D3D11_BOX box{16, 8, 0, 80, 40, 1};
    context->UpdateSubresource(buffer.Get(), 0, &box, pixels.data(), 64 * 4, 0);
    const ComPtr<ID3D11Texture2D> copy = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 320, 200);
    context->CopyResource(copy.Get(), buffer.Get());
    const Words read = ReadWords(copy.Get());
    EXPECT_EQ(Rgba(10, 20, 30), read[8 * 320 + 16]);
    EXPECT_EQ(Rgba(10, 20, 30), read[39 * 320 + 79]);
    EXPECT_EQ(Rgba(0, 0, 0), read[40 * 320 + 80]);
    EXPECT_EQ(read, ReadWords(buffer.Get()));
    // A part of another texture, and a resolve, the other way.
    const float red[4] = {1, 0, 0, 1};
    const ComPtr<ID3D11Texture2D> part = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 40, 40);
    context->ClearRenderTargetView(Target(part.Get()).Get(), red);
    context->CopySubresourceRegion(buffer.Get(), 0, 200, 100, 0, part.Get(), 0, nullptr);
    EXPECT_EQ(Rgba(255, 0, 0), ReadWords(buffer.Get())[139 * 320 + 239]);
    EXPECT_EQ(S_OK, Present());
    EXPECT_EQ(0xff0000u, Shown(220, 120, 0xff0000));
    EXPECT_EQ(0x0a141eu, Shown(20, 10, 0x0a141e));
    TextureOptions four;
    four.samples = 4;
    const ComPtr<ID3D11Texture2D> samples = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 320, 200, four);
    context->ClearRenderTargetView(Target(samples.Get()).Get(), red);
    context->ResolveSubresource(buffer.Get(), 0, samples.Get(), 0, DXGI_FORMAT_R8G8B8A8_UNORM);
    EXPECT_EQ(Rgba(255, 0, 0), ReadColor(buffer.Get()));
    // A shader that reads and draws it sees the same.
    const ComPtr<ID3D11Texture2D> other = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8);
    const ComPtr<ID3D11ShaderResourceView> view = View(buffer.Get());
    ID3D11ShaderResourceView* const bound = view.Get();
    context->PSSetShaderResources(0, 1, &bound);
    const ComPtr<ID3D11RenderTargetView> target = Target(other.Get());
    SetTarget(target.Get(), 8, 8);
    Fill(Pixel("Texture2D<float4> t : register(t0); float4 main(float4 p : SV_Position) : SV_Target"
               "{ return t.Load(int3(p.xy, 0)); }")
             .Get());
    EXPECT_EQ(Rgba(255, 0, 0), ReadColor(other.Get()));
}

// A picture that is nothing but a clear may be shown before the back buffer itself is cleared.
TEST_F(WindowOnScreen, ClearedPicturesAreShownAndStayInTheBackBuffer)
{
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    const float colors[][4] = {{1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}};
    const ComPtr<ID3D11RenderTargetView> target = Target(BackBuffer().Get());
    const ComPtr<ID3D11Texture2D> part = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 40, 40);
    const ComPtr<ID3D11RenderTargetView> partTarget = Target(part.Get());
    for (const auto& color : colors) {
        context->ClearRenderTargetView(target.Get(), color);
        context->ClearRenderTargetView(partTarget.Get(), color);
        EXPECT_EQ(S_OK, Present());
    }
    EXPECT_EQ(0x0000ffu, Shown(160, 100, 0x0000ff));
    EXPECT_EQ(Rgba(0, 0, 255), ReadColor(part.Get()));
    context->ClearRenderTargetView(target.Get(), colors[1]);
    EXPECT_EQ(S_OK, Present());
    context->CopySubresourceRegion(BackBuffer().Get(), 0, 100, 50, 0, part.Get(), 0, nullptr);
    EXPECT_EQ(S_OK, Present());
    EXPECT_EQ(0x0000ffu, Shown(120, 70, 0x0000ff));
    EXPECT_EQ(0x00ff00u, Shown(20, 20, 0x00ff00));
    // More than a frame's own clears do not wait, whoever holds their targets.
    context->ClearRenderTargetView(target.Get(), colors[0]);
    std::vector<ComPtr<ID3D11Texture2D>> others;
    for (int i = 0; i < 6; ++i) {
        others.push_back(Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8));
        context->ClearRenderTargetView(Target(others.back().Get()).Get(), colors[i % 3]);
    }
    EXPECT_EQ(S_OK, Present());
    EXPECT_EQ(0xff0000u, Shown(160, 100, 0xff0000));
    EXPECT_EQ(Rgba(255, 0, 0), ReadColor(BackBuffer().Get()));
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(Rgba(colors[i % 3][0] * 255, colors[i % 3][1] * 255, colors[i % 3][2] * 255),
                  ReadColor(others[std::size_t(i)].Get()));
    }
}

TEST_F(WindowOnScreen, PicturesOfAnotherSizeAreScaledOrPlaced)
{
    DXGI_SWAP_CHAIN_DESC1 desc = Flip();
    desc.Width = 40;
    desc.Height = 40;
    const std::pair<DXGI_SCALING, unsigned> cases[] = {
        {DXGI_SCALING_STRETCH, 0x00ff00}, {DXGI_SCALING_ASPECT_RATIO_STRETCH, 0x0000ff}, {DXGI_SCALING_NONE, 0x0000ff}};
    for (const auto& [scaling, corner] : cases) {
        desc.Scaling = scaling;
        ASSERT_EQ(S_OK, MakeChain(desc));
        const DXGI_RGBA blue{0, 0, 1, 1};
        EXPECT_EQ(S_OK, m_chain->SetBackgroundColor(&blue));
        ClearBuffer(0, 1, 0);
        EXPECT_EQ(S_OK, Present());
        const int middle = scaling == DXGI_SCALING_NONE ? 20 : 160;
        EXPECT_EQ(0x00ff00u, Shown(middle, 20, 0x00ff00)) << scaling;
        EXPECT_EQ(corner, Shown(310, 190, corner)) << scaling;
    }
}

TEST_F(WindowOnScreen, AWindowThatGoesLeavesNoErrorLoop)
{
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    ClearBuffer(1, 0, 0);
    EXPECT_EQ(S_OK, Present());
    SDL_HideWindow(m_window);
    SDL_PumpEvents();
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(SUCCEEDED(Present()));
    }
    SDL_ShowWindow(m_window);
    SDL_MinimizeWindow(m_window);
    SDL_Delay(200);
    EXPECT_TRUE(SUCCEEDED(Present()));
    SDL_RestoreWindow(m_window);
    SDL_Delay(200); // the window comes back empty, whenever the manager likes
    EXPECT_TRUE(WaitForSize(320, 200));
    ClearBuffer(0, 1, 1);
    EXPECT_EQ(S_OK, Present());
    EXPECT_EQ(0x00ffffu, Shown(100, 100, 0x00ffff));
}

// Sizes and states change as often as a long session would; memory is where it was. GLEAM_TEST_RESIZES says how often.
TEST_F(WindowOnScreen, ResizesAndFullScreenLeaveMemoryWhereItWas)
{
    const char* asked = std::getenv("GLEAM_TEST_RESIZES");
    const int rounds = asked ? std::atoi(asked) : 60;
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    const auto round = [&](int i) {
        const int width = 200 + i % 7 * 30;
        const int height = 150 + i % 5 * 20;
        SDL_SetWindowSize(m_window, width, height);
        SDL_PumpEvents();
        ASSERT_EQ(S_OK, m_chain->ResizeBuffers(0, UINT(width), UINT(height), DXGI_FORMAT_UNKNOWN, Flip().Flags));
        ClearBuffer(0, float(i % 2), 1);
        ASSERT_TRUE(SUCCEEDED(Present()));
        ASSERT_EQ(S_OK, m_chain->SetFullscreenState(i % 4 == 1, nullptr));
        ASSERT_EQ(S_OK, m_chain->ResizeBuffers(0, 0, 0, DXGI_FORMAT_UNKNOWN, Flip().Flags));
        ClearBuffer(1, 0, 1);
        ASSERT_TRUE(SUCCEEDED(Present()));
    };
    for (int i = 0; i < 20; ++i) {
        round(i);
    }
    const VkDeviceSize reserved = ReservedBytes();
    const std::size_t allocated = mallinfo2().uordblks;
    for (int i = 0; i < rounds; ++i) {
        round(i);
    }
    EXPECT_LE(ReservedBytes(), reserved);
    EXPECT_LT(mallinfo2().uordblks, allocated + 2'000'000);
    ASSERT_EQ(S_OK, m_chain->SetFullscreenState(FALSE, nullptr));
    SDL_SetWindowSize(m_window, 320, 200);
    EXPECT_TRUE(WaitForSize(320, 200));
    ASSERT_EQ(S_OK, m_chain->ResizeBuffers(0, 0, 0, DXGI_FORMAT_UNKNOWN, Flip().Flags));
    ClearBuffer(1, 1, 0);
    EXPECT_EQ(S_OK, Present());
    EXPECT_EQ(0xffff00u, Shown(310, 190, 0xffff00));
}

TEST_F(WindowOnScreen, ALostDeviceEndsPresents)
{
    m_chain = nullptr;
    m_factory = nullptr;
    context = nullptr;
    device = nullptr;
    setenv("GLEAM_DEBUG", "validation,no-message-box,lose-device=2,lose-reason=887A0006", 1);
    DeviceTest::SetUp();
    setenv("GLEAM_DEBUG", "validation,no-message-box", 1);
    ASSERT_EQ(S_OK, CreateDXGIFactory1(IID_IDXGIFactory5, m_factory.PutVoid()));
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    EXPECT_EQ(S_OK, Present());
    EXPECT_EQ(DXGI_ERROR_DEVICE_REMOVED, Present());
    EXPECT_EQ(DXGI_ERROR_DEVICE_HUNG, device->GetDeviceRemovedReason());
    EXPECT_EQ(DXGI_ERROR_DEVICE_REMOVED, Present(0, DXGI_PRESENT_TEST));
    m_chain = nullptr;
    EXPECT_EQ(DXGI_ERROR_DEVICE_REMOVED, MakeChain(Flip()));
}

} // namespace
