// A window as swap chains see it: an SDL2 window behind the HWND.
#pragma once

#include "dxgi1_2.h"

struct SDL_Window;

namespace gleam {

/// Belongs to the thread that drives the swap chain. An application should end its chains before their window; when it
/// does not, the window counts as minimised from then on.
class NativeWindow
{
public:
    /// Takes any handle; IsAlive tells whether it is an SDL2 window of this process.
    explicit NativeWindow(HWND handle);

    HWND Handle() const { return reinterpret_cast<HWND>(m_window); }
    bool IsAlive() const;

    /// Whether somebody can look at it through Vulkan: a window made with SDL_WINDOW_VULKAN on a real display.
    /// GLEAM_DEBUG `virtual-output` makes it false.
    bool HasSurface() const;

    /// Drawable area in pixels; 0 by 0 once the window is gone.
    void GetSize(UINT& width, UINT& height) const;
    void SetSize(UINT width, UINT height);

    /// Minimised, hidden from the start, or gone.
    bool IsMinimized() const;

    bool IsFullscreen() const;
    /// `mode` is what full screen should switch to, null for the desktop's own mode. `display` is SDL's index, or -1
    /// for the one that the window is on. False when the system refuses.
    bool SetFullscreen(bool fullscreen, const DXGI_MODE_DESC* mode, int display);
    /// Another mode for a window that is in full screen.
    bool SetMode(const DXGI_MODE_DESC& mode);

    /// Of the display that shows it, in Hz; 60 when nobody knows.
    UINT RefreshRate() const;

    SDL_Window* Sdl() const { return m_window; }

private:
    SDL_Window* m_window;
    unsigned m_id = 0; ///< SDL's own number, never used twice; 0 for no window of SDL
};

} // namespace gleam
