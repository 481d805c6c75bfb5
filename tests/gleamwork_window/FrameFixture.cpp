// Windows and frames for tests.
#include "FrameFixture.h"

#include "Gleamwork/Display.h"

#include <cstdlib>

void SdlWindow::SetSize(int width, int height)
{
    calls += "size " + std::to_string(width) + "x" + std::to_string(height) + " ";
    SDL_SetWindowSize(sdl, width, height);
}

void SdlWindow::SetDisplay(int display)
{
    calls += "display " + std::to_string(display) + " ";
}

void SdlWindow::SetFullscreenMode(const gw::DisplayMode& mode, int)
{
    calls += "mode " + std::to_string(mode.width) + "x" + std::to_string(mode.height) + " ";
}

void SdlWindow::EnterFullscreen(int)
{
    calls += "enter ";
}

void SdlWindow::LeaveFullscreen(int)
{
    calls += "leave ";
}

void FrameTest::Start(EStage stage)
{
    if (stage == EStage::Screen) {
        m_display = std::make_unique<VirtualDisplay>();
        if (!m_display->Problem().empty()) {
            GTEST_SKIP() << "no virtual display: " << m_display->Problem();
        }
    }
    // The library keeps the driver that it started first, which an earlier test may have chosen.
    SDL_Quit();
    SDL_SetHint(SDL_HINT_VIDEODRIVER, m_display ? "x11" : "dummy");
    ASSERT_EQ(SDL_InitSubSystem(SDL_INIT_VIDEO), 0) << SDL_GetError();
    m_window.sdl =
        SDL_CreateWindow("test", 100, 100, 320, 200, SDL_WINDOW_RESIZABLE | (m_display ? SDL_WINDOW_VULKAN : 0));
    ASSERT_TRUE(m_window.sdl) << SDL_GetError();
    StartDevice(stage == EStage::Null ? "null" : "software");
    ASSERT_TRUE(WaitForSize(320, 200));
}

void FrameTest::TearDown()
{
    m_frame.reset();
    DeviceTest::TearDown();
    m_api.reset();
    if (m_window.sdl) {
        SDL_DestroyWindow(m_window.sdl);
    }
    SDL_Quit();
}

gw::RenderFrameDesc FrameTest::Describe() const
{
    gw::RenderFrameDesc desc;
    desc.width = 320;
    desc.height = 200;
    desc.refreshNumerator = 60;
    desc.refreshDenominator = 1;
    desc.window = const_cast<SdlWindow*>(&m_window);
    return desc;
}

void FrameTest::MakeFrame(const gw::RenderFrameDesc& desc)
{
    m_frame.reset(dynamic_cast<api::D3D11RenderFrame*>(m_api->CreateRenderFrame(desc)));
    ASSERT_TRUE(m_frame);
}

void FrameTest::Drain()
{
    m_immediate.ExecuteAll();
    m_relaxed.ExecuteAll();
}

void FrameTest::DrawFrame(float r, float g, float b)
{
    SDL_PumpEvents();
    m_frame->BeginFrame();
    m_frame->ChangeToMainFramebuffer(*m_renderer, true);
    m_renderer->ClearRenderTarget(m_frame->GetBackBuffer(), -1, Vector4f(r, g, b, 1));
    Drain();
    m_frame->EndFrame(true);
}

bool FrameTest::WaitForSize(int width, int height)
{
    int w = 0;
    int h = 0;
    for (int i = 0; i < 300 && (w != width || h != height); ++i) {
        SDL_PumpEvents();
        SDL_GetWindowSize(m_window.sdl, &w, &h);
        SDL_Delay(i == 0 ? 0 : 10);
    }
    return w == width && h == height;
}

unsigned FrameTest::Shown(int x, int y, unsigned expected)
{
    unsigned pixel = ~expected;
    for (int i = 0; i < 100 && pixel != expected; ++i) {
        int left = 0;
        int top = 0;
        SDL_PumpEvents();
        SDL_GetWindowPosition(m_window.sdl, &left, &top);
        pixel = m_display->ReadPixel(left + x, top + y);
        SDL_Delay(i == 0 ? 0 : 10);
    }
    return pixel;
}
