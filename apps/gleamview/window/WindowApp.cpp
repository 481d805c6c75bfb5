// What the library asks of the viewer's application object.
#include "window/WindowApp.h"

#include <Gleamwork/WindowEventManager.h>

namespace gleamview {

WindowApp::WindowApp(ViewerWindow& window) : m_window(window)
{
    int width = 0;
    int height = 0;
    window.GetSize(width, height);
    m_startup.displayIndex = window.GetDisplayIndex();
    m_startup.width = static_cast<std::uint32_t>(width);
    m_startup.height = static_cast<std::uint32_t>(height);
    m_startup.window = &window;
}

/// While a mode changes the window has no size to go by; the change's end tells it.
void WindowApp::NotifyWindowResize(int width, int height, HWND__* nativeWindow, bool changing, int first, int second)
{
    if (!changing) {
        gw::WindowEventManager::GetInstance()->ExecuteWindowResizeEvent(width, height, nativeWindow, false, first,
                                                                        second);
    }
}

} // namespace gleamview
