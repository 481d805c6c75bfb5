// Sizes, states and full screen of SDL2 windows.
#include "window/NativeWindow.h"

#include <SDL.h>
#include <SDL_vulkan.h>

#include <algorithm>

#include "window/Display.h"

namespace gleam {
namespace {

constexpr UINT DefaultRefreshRate = 60;

/// SDL's number of a window, found without following a pointer that may lead nowhere. SDL counts windows from 1.
unsigned FindId(const SDL_Window* window)
{
    constexpr unsigned last = 1u << 16;
    if (!window || SDL_WasInit(SDL_INIT_VIDEO) == 0) {
        return 0;
    }
    for (unsigned id = 1; id < last; ++id) {
        if (SDL_GetWindowFromID(id) == window) {
            return id;
        }
    }
    return 0;
}

bool SetDisplayMode(SDL_Window* window, const DXGI_MODE_DESC& mode)
{
    const int display = std::max(SDL_GetWindowDisplayIndex(window), 0);
    SDL_DisplayMode wanted{};
    wanted.w = static_cast<int>(mode.Width);
    wanted.h = static_cast<int>(mode.Height);
    const DXGI_RATIONAL& rate = mode.RefreshRate;
    wanted.refresh_rate = rate.Denominator != 0 ? static_cast<int>(rate.Numerator / rate.Denominator) : 0;
    SDL_DisplayMode closest{};
    return SDL_GetClosestDisplayMode(display, &wanted, &closest) && SDL_SetWindowDisplayMode(window, &closest) == 0;
}

bool IsDesktopMode(SDL_Window* window)
{
    SDL_DisplayMode desktop{};
    SDL_DisplayMode chosen{};
    const int display = std::max(SDL_GetWindowDisplayIndex(window), 0);
    return SDL_GetDesktopDisplayMode(display, &desktop) == 0 && SDL_GetWindowDisplayMode(window, &chosen) == 0 &&
           desktop.w == chosen.w && desktop.h == chosen.h && desktop.refresh_rate == chosen.refresh_rate;
}

} // namespace

NativeWindow::NativeWindow(HWND handle) : m_window(reinterpret_cast<SDL_Window*>(handle)), m_id(FindId(m_window)) {}

bool NativeWindow::IsAlive() const
{
    return m_id != 0 && SDL_WasInit(SDL_INIT_VIDEO) != 0 && SDL_GetWindowFromID(m_id) == m_window;
}

bool NativeWindow::HasSurface() const
{
    return IsAlive() && (SDL_GetWindowFlags(m_window) & SDL_WINDOW_VULKAN) != 0 && HasDisplay();
}

void NativeWindow::GetSize(UINT& width, UINT& height) const
{
    int w = 0;
    int h = 0;
    if (IsAlive()) {
        SDL_GetWindowSizeInPixels(m_window, &w, &h);
    }
    width = static_cast<UINT>(std::max(w, 0));
    height = static_cast<UINT>(std::max(h, 0));
}

void NativeWindow::SetSize(UINT width, UINT height)
{
    if (IsAlive()) {
        SDL_SetWindowSize(m_window, static_cast<int>(width), static_cast<int>(height));
    }
}

bool NativeWindow::IsMinimized() const
{
    return !IsAlive() || (SDL_GetWindowFlags(m_window) & SDL_WINDOW_MINIMIZED) != 0;
}

bool NativeWindow::IsFullscreen() const
{
    return IsAlive() && (SDL_GetWindowFlags(m_window) & SDL_WINDOW_FULLSCREEN) != 0;
}

bool NativeWindow::SetFullscreen(bool fullscreen, const DXGI_MODE_DESC* mode, int display)
{
    if (!IsAlive()) {
        return false;
    }
    if (!fullscreen) {
        return SDL_SetWindowFullscreen(m_window, 0) == 0;
    }
    if (display >= 0 && display != SDL_GetWindowDisplayIndex(m_window)) {
        const int place = static_cast<int>(SDL_WINDOWPOS_CENTERED_DISPLAY(display));
        SDL_SetWindowPosition(m_window, place, place);
    }
    // A switch of the mode is slow and flickers; the desktop's own needs none.
    const bool switches = mode && SetDisplayMode(m_window, *mode) && !IsDesktopMode(m_window);
    return SDL_SetWindowFullscreen(m_window, switches ? SDL_WINDOW_FULLSCREEN : SDL_WINDOW_FULLSCREEN_DESKTOP) == 0;
}

bool NativeWindow::SetMode(const DXGI_MODE_DESC& mode)
{
    return SetFullscreen(true, &mode, -1);
}

UINT NativeWindow::RefreshRate() const
{
    SDL_DisplayMode mode{};
    const int display = IsAlive() ? SDL_GetWindowDisplayIndex(m_window) : -1;
    const bool isKnown = display >= 0 && SDL_GetCurrentDisplayMode(display, &mode) == 0 && mode.refresh_rate > 0;
    return isKnown ? static_cast<UINT>(mode.refresh_rate) : DefaultRefreshRate;
}

} // namespace gleam
