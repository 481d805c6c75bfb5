// What swap chains allow and tell, on every kind of device and window.
#include <chrono>
#include <functional>

#include "WindowKit.h"
#include "gleam_null_device.h"

namespace {

class SwapChainRules : public WindowKit, public testing::WithParamInterface<EStage>
{
protected:
    void SetUp() override { Start(GetParam()); }
};

std::string StageName(const testing::TestParamInfo<EStage>& info)
{
    constexpr const char* names[] = {"Null", "Memory", "Screen"};
    return names[static_cast<int>(info.param)];
}

INSTANTIATE_TEST_SUITE_P(, SwapChainRules, testing::Values(EStage::Null, EStage::Memory, EStage::Screen), StageName);

TEST_P(SwapChainRules, ChainsTellWhatTheyAreAndWhereTheyBelong)
{
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    DXGI_SWAP_CHAIN_DESC desc;
    ASSERT_EQ(S_OK, m_chain->GetDesc(&desc));
    EXPECT_EQ(320u, desc.BufferDesc.Width); // 0 took the window's size
    EXPECT_EQ(200u, desc.BufferDesc.Height);
    EXPECT_EQ(reinterpret_cast<HWND>(m_window), desc.OutputWindow);
    EXPECT_TRUE(desc.Windowed);
    EXPECT_EQ(DXGI_SWAP_EFFECT_FLIP_DISCARD, desc.SwapEffect);
    ComPtr<IDXGIFactory2> factory;
    ComPtr<ID3D11Device> owner;
    ComPtr<IDXGIOutput> output;
    EXPECT_EQ(S_OK, m_chain->GetParent(IID_IDXGIFactory2, factory.PutVoid()));
    EXPECT_EQ(S_OK, m_chain->GetDevice(IID_ID3D11Device, owner.PutVoid()));
    EXPECT_EQ(device.Get(), owner.Get());
    EXPECT_EQ(S_OK, m_chain->GetContainingOutput(output.Put()));
    UINT support = 7;
    EXPECT_EQ(S_OK, m_chain->CheckColorSpaceSupport(DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709, &support));
    EXPECT_EQ(UINT(DXGI_SWAP_CHAIN_COLOR_SPACE_SUPPORT_FLAG_PRESENT), support);
    EXPECT_EQ(S_OK, m_chain->CheckColorSpaceSupport(DXGI_COLOR_SPACE_RGB_FULL_G2084_NONE_P2020, &support));
    EXPECT_EQ(0u, support); // neither Xvfb nor memory shows a high dynamic range
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, m_chain->SetColorSpace1(DXGI_COLOR_SPACE_RGB_FULL_G2084_NONE_P2020));
    EXPECT_EQ(S_OK, m_chain->SetColorSpace1(DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709));
    DXGI_HDR_METADATA_HDR10 metadata{};
    EXPECT_EQ(S_OK, m_chain->SetHDRMetaData(DXGI_HDR_METADATA_TYPE_HDR10, sizeof metadata, &metadata));
    EXPECT_EQ(E_INVALIDARG, m_chain->SetHDRMetaData(DXGI_HDR_METADATA_TYPE_HDR10, 27, &metadata));
    EXPECT_EQ(S_OK, m_chain->SetHDRMetaData(DXGI_HDR_METADATA_TYPE_NONE, 0, nullptr));
}

TEST_P(SwapChainRules, BadDescriptionsAreRefused)
{
    const std::pair<const char*, std::function<void(DXGI_SWAP_CHAIN_DESC1&)>> cases[] = {
        {"one buffer in the flip model", [](auto& d) { d.BufferCount = 1; }},
        {"seventeen buffers", [](auto& d) { d.BufferCount = 17; }},
        {"an sRGB format in the flip model", [](auto& d) { d.Format = DXGI_FORMAT_R8G8B8A8_UNORM_SRGB; }},
        {"a format that no display has", [](auto& d) { d.Format = DXGI_FORMAT_R32_FLOAT; }},
        {"an unknown effect", [](auto& d) { d.SwapEffect = static_cast<DXGI_SWAP_EFFECT>(2); }},
        {"tearing in the blit model", [](auto& d) { d.SwapEffect = DXGI_SWAP_EFFECT_DISCARD; }},
        {"stereo", [](auto& d) { d.Stereo = TRUE; }},
        {"alpha", [](auto& d) { d.AlphaMode = DXGI_ALPHA_MODE_PREMULTIPLIED; }},
        {"three samples", [](auto& d) { d.SampleDesc.Count = 3; }},
        {"a quality", [](auto& d) { d.SampleDesc.Quality = 1; }},
        {"a flag that nobody knows", [](auto& d) { d.Flags |= 1u << 20; }},
        {"a waitable object", [](auto& d) { d.Flags = DXGI_SWAP_CHAIN_FLAG_FRAME_LATENCY_WAITABLE_OBJECT; }}};
    for (const auto& [name, spoil] : cases) {
        DXGI_SWAP_CHAIN_DESC1 desc = Flip();
        spoil(desc);
        EXPECT_EQ(DXGI_ERROR_INVALID_CALL, MakeChain(desc)) << name;
    }
    DXGI_SWAP_CHAIN_DESC1 blit = Flip();
    blit.SwapEffect = DXGI_SWAP_EFFECT_DISCARD;
    blit.BufferCount = 1;
    blit.Format = DXGI_FORMAT_B8G8R8A8_UNORM_SRGB;
    blit.SampleDesc.Count = 0;
    blit.Flags = 0;
    EXPECT_EQ(S_OK, MakeChain(blit));
}

TEST_P(SwapChainRules, BuffersCannotBeResizedWhileSomebodyHoldsThem)
{
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    ComPtr<ID3D11Texture2D> buffer = BackBuffer();
    const auto resize = [&](UINT width) {
        return m_chain->ResizeBuffers(0, width, 90, DXGI_FORMAT_UNKNOWN, Flip().Flags);
    };
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, resize(160));
    ComPtr<ID3D11ShaderResourceView> view = View(buffer.Get());
    ComPtr<ID3D11RenderTargetView> target = Target(buffer.Get());
    buffer = nullptr;
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, resize(160));
    // What is only bound, also with a clear that waits, is taken off.
    ID3D11RenderTargetView* const bound = target.Get();
    context->OMSetRenderTargets(1, &bound, nullptr);
    const float color[4] = {1, 0, 0, 1};
    context->ClearRenderTargetView(target.Get(), color);
    target = nullptr;
    view = nullptr;
    EXPECT_EQ(S_OK, resize(160));
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, m_chain->ResizeBuffers(0, 0, 0, DXGI_FORMAT_UNKNOWN, 0)); // tearing must stay
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, resize(16385));
    D3D11_TEXTURE2D_DESC desc;
    BackBuffer()->GetDesc(&desc);
    EXPECT_EQ(160u, desc.Width);
    EXPECT_EQ(90u, desc.Height);
    EXPECT_EQ(S_OK, m_chain->ResizeBuffers(3, 0, 0, DXGI_FORMAT_R10G10B10A2_UNORM, Flip().Flags));
    BackBuffer()->GetDesc(&desc);
    EXPECT_EQ(320u, desc.Width);
    EXPECT_EQ(DXGI_FORMAT_R10G10B10A2_UNORM, desc.Format);
}

TEST_P(SwapChainRules, PresentingKeepsTheBufferAndTakesItOffTheOutput)
{
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    ComPtr<ID3D11RenderTargetView> target = Target(BackBuffer().Get());
    SetTarget(target.Get(), 320, 200);
    ClearBuffer(0, 1, 0);
    GleamNullResetCalls();
    EXPECT_EQ(S_OK, Present(0, DXGI_PRESENT_ALLOW_TEARING));
    EXPECT_EQ(Rgba(0, 255, 0), ReadColor(BackBuffer().Get()));
    ID3D11RenderTargetView* bound = target.Get();
    context->OMGetRenderTargets(1, &bound, nullptr);
    EXPECT_EQ(nullptr, bound);
    EXPECT_EQ(S_OK, Present(0, DXGI_PRESENT_TEST));
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, Present(1, DXGI_PRESENT_ALLOW_TEARING));
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, Present(5));
    UINT count = 0;
    EXPECT_EQ(S_OK, m_chain->GetLastPresentCount(&count));
    EXPECT_EQ(1u, count);
    EXPECT_EQ(GetParam() == EStage::Null ? 1u : 0u, GleamNullCallCountOf("Present"));
    if (!m_display) {
        return;
    }
    SDL_MinimizeWindow(m_window);
    for (int i = 0; i < 200 && !(SDL_GetWindowFlags(m_window) & SDL_WINDOW_MINIMIZED); ++i) {
        SDL_PumpEvents();
        SDL_Delay(10);
    }
    EXPECT_EQ(DXGI_STATUS_OCCLUDED, Present());
    EXPECT_EQ(DXGI_STATUS_OCCLUDED, Present(0, DXGI_PRESENT_TEST));
}

TEST_P(SwapChainRules, FullScreenComesAndGoes)
{
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    BOOL state = TRUE;
    ComPtr<IDXGIOutput> output;
    EXPECT_EQ(S_OK, m_chain->SetFullscreenState(TRUE, nullptr));
    EXPECT_EQ(S_OK, m_chain->GetFullscreenState(&state, output.Put()));
    EXPECT_TRUE(state);
    EXPECT_TRUE(output);
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, Present(0, DXGI_PRESENT_ALLOW_TEARING));
    EXPECT_EQ(DXGI_ERROR_INVALID_CALL, m_chain->SetFullscreenState(FALSE, output.Get()));
    EXPECT_EQ(S_OK, m_chain->SetFullscreenState(FALSE, nullptr));
    EXPECT_EQ(S_OK, m_chain->GetFullscreenState(&state, nullptr));
    EXPECT_FALSE(state);
    EXPECT_TRUE(!m_display || WaitForSize(320, 200));
    const DXGI_MODE_DESC mode{400, 240, {60, 1}, DXGI_FORMAT_UNKNOWN};
    EXPECT_EQ(S_OK, m_chain->ResizeTarget(&mode));
    EXPECT_TRUE(WaitForSize(400, 240));
}

TEST_P(SwapChainRules, IntervalsPaceFrames)
{
    ASSERT_EQ(S_OK, MakeChain(Flip()));
    const auto time = [&](UINT interval) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 12; ++i) {
            EXPECT_EQ(S_OK, Present(interval));
        }
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    const double waiting = time(1);
    if (GetParam() == EStage::Null) {
        EXPECT_LT(waiting, 0.1);
    } else {
        EXPECT_GT(waiting, 10 / 60.5); // ten periods at least lie between twelve frames
        EXPECT_LT(waiting, 2.0);
    }
}

} // namespace
