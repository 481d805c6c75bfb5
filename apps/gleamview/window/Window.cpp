// The window on SDL2.
#include "window/Window.h"

#include <SDL.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace gleamview {

namespace {

constexpr int s_defaultRefreshRate = 60;
constexpr int s_smallest = 64; ///< of either side, in units of the display system
/// Share of the display's free area that a new window takes at most.
constexpr float s_displayShare = 0.95f;

/// What is asked for, made smaller to fit the display and keeping its proportions.
void FitToDisplay(int display, int& width, int& height)
{
    SDL_Rect area{};
    if (SDL_GetDisplayUsableBounds(display, &area) != 0 || area.w <= 0 || area.h <= 0) {
        return;
    }
    const float scale = std::min({1.0f, static_cast<float>(area.w) * s_displayShare / static_cast<float>(width),
                                  static_cast<float>(area.h) * s_displayShare / static_cast<float>(height)});
    width = std::max(s_smallest, static_cast<int>(static_cast<float>(width) * scale));
    height = std::max(s_smallest, static_cast<int>(static_cast<float>(height) * scale));
}

} // namespace

DisplaySystem::DisplaySystem()
{
    SDL_SetMainReady();
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
    // A viewer beside other programs: compositors stay on.
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
    // Wayland without a run-time directory writes a complaint of its own and fails.
    if (!std::getenv("XDG_RUNTIME_DIR") && !SDL_GetHint(SDL_HINT_VIDEODRIVER)) {
        SDL_SetHintWithPriority(SDL_HINT_VIDEODRIVER, "x11,KMSDRM", SDL_HINT_DEFAULT);
    }
    if (SDL_InitSubSystem(SDL_INIT_VIDEO) != 0) {
        m_problem = SDL_GetError();
    } else if (SDL_GetNumVideoDisplays() < 1) {
        m_problem = "no display is connected";
    }
}

DisplaySystem::~DisplaySystem()
{
    SDL_QuitSubSystem(SDL_INIT_VIDEO);
}

bool ViewerWindow::Open(const char* name, int, int, int width, int height, int, int displayIndex, int, int)
{
    Close();
    FitToDisplay(displayIndex, width, height);
    constexpr Uint32 common = SDL_WINDOW_RESIZABLE | SDL_WINDOW_ALLOW_HIGHDPI;
    const int place = static_cast<int>(SDL_WINDOWPOS_CENTERED_DISPLAY(static_cast<unsigned>(displayIndex)));
    m_window = SDL_CreateWindow(name, place, place, width, height, common | SDL_WINDOW_VULKAN);
    if (!m_window) {
        // Without Vulkan on the display there is still a window; what is drawn stays in memory.
        m_problem = SDL_GetError();
        m_window = SDL_CreateWindow(name, place, place, width, height, common);
    }
    if (!m_window) {
        return false;
    }
    SDL_SetWindowMinimumSize(m_window, s_smallest, s_smallest);
    GetSize(m_windowedWidth, m_windowedHeight);
    return true;
}

void ViewerWindow::Close()
{
    if (m_window) {
        SDL_DestroyWindow(m_window);
        m_window = nullptr;
    }
}

void ViewerWindow::Show()
{
    SDL_ShowWindow(m_window);
}

void ViewerWindow::Hide()
{
    SDL_HideWindow(m_window);
}

void ViewerWindow::SetTitle(const char* title)
{
    SDL_SetWindowTitle(m_window, title);
}

void ViewerWindow::SetPosition(int x, int y)
{
    SDL_SetWindowPosition(m_window, x, y);
}

void ViewerWindow::GetPosition(int& x, int& y) const
{
    x = y = 0;
    SDL_GetWindowPosition(m_window, &x, &y);
}

void ViewerWindow::SetSize(int width, int height)
{
    const float scale = GetPixelScale();
    SDL_SetWindowSize(m_window, static_cast<int>(std::lround(static_cast<float>(width) / scale)),
                      static_cast<int>(std::lround(static_cast<float>(height) / scale)));
}

void ViewerWindow::GetSize(int& width, int& height) const
{
    width = height = 0;
    SDL_GetWindowSizeInPixels(m_window, &width, &height);
}

void ViewerWindow::EnterFullscreen(int)
{
    if (!IsFullscreen()) {
        GetSize(m_windowedWidth, m_windowedHeight);
        SDL_SetWindowFullscreen(m_window, SDL_WINDOW_FULLSCREEN_DESKTOP);
    }
}

void ViewerWindow::ApplyFakeFullscreenStyle()
{
    SDL_SetWindowBordered(m_window, SDL_FALSE);
}

void ViewerWindow::LeaveFullscreen(int)
{
    if (IsFullscreen()) {
        SDL_SetWindowFullscreen(m_window, 0);
    }
}

std::uint32_t ViewerWindow::GetFlags() const
{
    return m_window ? SDL_GetWindowFlags(m_window) : std::uint32_t{SDL_WINDOW_HIDDEN};
}

bool ViewerWindow::IsFullscreen() const
{
    return (GetFlags() & SDL_WINDOW_FULLSCREEN) != 0;
}

bool ViewerWindow::IsVisible() const
{
    return (GetFlags() & (SDL_WINDOW_HIDDEN | SDL_WINDOW_MINIMIZED)) == 0;
}

bool ViewerWindow::HasFocus() const
{
    return (GetFlags() & SDL_WINDOW_INPUT_FOCUS) != 0;
}

void ViewerWindow::Focus()
{
    SDL_RaiseWindow(m_window);
}

void ViewerWindow::Minimize()
{
    SDL_MinimizeWindow(m_window);
}

void ViewerWindow::Restore()
{
    SDL_RestoreWindow(m_window);
}

std::uint32_t ViewerWindow::GetId() const
{
    return m_window ? SDL_GetWindowID(m_window) : 0;
}

int ViewerWindow::GetDisplayIndex() const
{
    return std::max(SDL_GetWindowDisplayIndex(m_window), 0);
}

int ViewerWindow::GetRefreshRate() const
{
    SDL_DisplayMode mode{};
    const bool isKnown = SDL_GetCurrentDisplayMode(GetDisplayIndex(), &mode) == 0 && mode.refresh_rate > 0;
    return isKnown ? mode.refresh_rate : s_defaultRefreshRate;
}

void ViewerWindow::GetWindowedSize(int& width, int& height) const
{
    width = m_windowedWidth;
    height = m_windowedHeight;
}

float ViewerWindow::GetPixelScale() const
{
    int units = 0;
    int unused = 0;
    int width = 0;
    int height = 0;
    SDL_GetWindowSize(m_window, &units, &unused);
    GetSize(width, height);
    return units > 0 && width > 0 ? static_cast<float>(width) / static_cast<float>(units) : 1.0f;
}

} // namespace gleamview
