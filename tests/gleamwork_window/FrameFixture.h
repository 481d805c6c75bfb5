// A window of SDL2 with a render frame on it.
#pragma once

#include "common/VirtualDisplay.h"
#include "gleamwork_core/CoreFixture.h"

#include "Gleamwork/RenderFrame.h"
#include "Gleamwork/dx11/D3D11RenderFrame.h"

#include <SDL.h>

#include <string>

/// What the library does with its window is done, and written down.
class SdlWindow : public gw::HiddenWindow
{
public:
    void SetSize(int width, int height) override;
    void SetDisplay(int display) override;
    void SetFullscreenMode(const gw::DisplayMode& mode, int) override;
    void EnterFullscreen(int) override;
    void ApplyFakeFullscreenStyle() override { calls += "fake "; }
    void LeaveFullscreen(int) override;
    HWND GetNativeHandle() override { return reinterpret_cast<HWND>(sdl); }

    SDL_Window* sdl = nullptr;
    std::string calls;
};

/// Who draws, and where.
enum class EStage
{
    Null,   ///< null device, no display
    Memory, ///< software device, no display
    Screen, ///< software device, virtual display
};

class FrameTest : public DeviceTest
{
protected:
    void Start(EStage stage);
    void TearDown() override;

    /// 320 by 200, on the window.
    gw::RenderFrameDesc Describe() const;
    /// A frame of the API, owned by the test.
    void MakeFrame(const gw::RenderFrameDesc& desc);
    /// A whole frame that clears to this colour.
    void DrawFrame(float r, float g, float b);
    void Drain();
    bool WaitForSize(int width, int height);
    /// The pixel that the screen shows there, once it is `expected` or a second has passed.
    unsigned Shown(int x, int y, unsigned expected);

    SdlWindow m_window;
    std::unique_ptr<api::D3D11RenderFrame> m_frame;
    std::unique_ptr<VirtualDisplay> m_display;
};
