// Opens windows and waits for the window system.
#include "WindowKit.h"

void WindowKit::Start(EStage stage)
{
    if (stage == EStage::Screen) {
        m_display = std::make_unique<VirtualDisplay>();
        if (!m_display->Problem().empty()) {
            GTEST_SKIP() << "no virtual display: " << m_display->Problem();
        }
    }
    setenv("GLEAM_DEVICE", stage == EStage::Null ? "null" : "software", 1);
    DeviceTest::SetUp();
    SDL_SetHint(SDL_HINT_VIDEODRIVER, m_display ? "x11" : "dummy");
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    const Uint32 flags = SDL_WINDOW_RESIZABLE | (m_display ? SDL_WINDOW_VULKAN : 0);
    m_window = SDL_CreateWindow("test", 100, 100, 320, 200, flags);
    ASSERT_TRUE(m_window) << SDL_GetError();
    ASSERT_EQ(S_OK, CreateDXGIFactory1(IID_IDXGIFactory5, m_factory.PutVoid()));
    ASSERT_TRUE(WaitForSize(320, 200));
}

void WindowKit::TearDown()
{
    m_chain = nullptr;
    m_factory = nullptr;
    DeviceTest::TearDown();
    if (m_window) {
        SDL_DestroyWindow(m_window);
        SDL_QuitSubSystem(SDL_INIT_VIDEO);
    }
    unsetenv("GLEAM_DEVICE");
}

DXGI_SWAP_CHAIN_DESC1 WindowKit::Flip()
{
    DXGI_SWAP_CHAIN_DESC1 desc{};
    desc.Format = DXGI_FORMAT_R8G8B8A8_UNORM;
    desc.SampleDesc.Count = 1;
    desc.BufferUsage = DXGI_USAGE_SHADER_INPUT | DXGI_USAGE_RENDER_TARGET_OUTPUT;
    desc.BufferCount = 2;
    desc.SwapEffect = DXGI_SWAP_EFFECT_FLIP_DISCARD;
    desc.Flags = DXGI_SWAP_CHAIN_FLAG_ALLOW_MODE_SWITCH | DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING;
    return desc;
}

HRESULT WindowKit::MakeChain(const DXGI_SWAP_CHAIN_DESC1& desc)
{
    m_chain = nullptr;
    ComPtr<IDXGISwapChain1> chain;
    const HRESULT hr = m_factory->CreateSwapChainForHwnd(device.Get(), reinterpret_cast<HWND>(m_window), &desc, nullptr,
                                                         nullptr, chain.Put());
    return FAILED(hr) ? hr : chain->QueryInterface(IID_IDXGISwapChain4, m_chain.PutVoid());
}

ComPtr<ID3D11Texture2D> WindowKit::BackBuffer()
{
    ComPtr<ID3D11Texture2D> buffer;
    EXPECT_EQ(S_OK, m_chain->GetBuffer(0, IID_ID3D11Texture2D, buffer.PutVoid()));
    return buffer;
}

void WindowKit::ClearBuffer(float r, float g, float b)
{
    const float color[4] = {r, g, b, 1};
    context->ClearRenderTargetView(Target(BackBuffer().Get()).Get(), color);
}

HRESULT WindowKit::Present(UINT interval, UINT flags)
{
    SDL_PumpEvents();
    return m_chain->Present(interval, flags);
}

bool WindowKit::WaitForSize(int width, int height)
{
    for (int i = 0; i < 300; ++i) {
        SDL_PumpEvents();
        int w = 0;
        int h = 0;
        SDL_GetWindowSize(m_window, &w, &h);
        if (w == width && h == height) {
            return true;
        }
        SDL_Delay(10);
    }
    return false;
}

unsigned WindowKit::Shown(int x, int y, unsigned expected)
{
    unsigned pixel = 0;
    for (int i = 0; i < 100; ++i) {
        int left = 0;
        int top = 0;
        SDL_PumpEvents();
        SDL_GetWindowPosition(m_window, &left, &top);
        pixel = m_display->ReadPixel(left + x, top + y);
        if (pixel == expected) {
            break;
        }
        SDL_Delay(10);
    }
    return pixel;
}
