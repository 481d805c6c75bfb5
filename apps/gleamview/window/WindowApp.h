// The application object of the viewer with a window.
#pragma once

#include "window/Window.h"

#include <Gleamwork/App.h>

namespace gleamview {

/// The one window stands for every mode. Sizes that the library settles are told to the window event manager.
class WindowApp final : public IApp
{
public:
    /// The window is open already and outlives this.
    explicit WindowApp(ViewerWindow& window);

    gw::WindowManager* GetWindowManager(bool) override { return nullptr; }
    AppStartupDesc* GetStartupDesc() override { return &m_startup; }
    void NotifyWindowResize(int width, int height, HWND__* nativeWindow, bool changing, int first, int second) override;
    gw::Window* GetMainWindow(bool, std::uint32_t, std::uint32_t) override { return &m_window; }

private:
    ViewerWindow& m_window;
    AppStartupDesc m_startup;
};

} // namespace gleamview
