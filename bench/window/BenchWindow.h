// A window of SDL2 on a virtual display, for both sides of a row.
#pragma once

#include "Gleamwork/HiddenWindow.h"

#include <SDL.h>

namespace bench {

/// Open for the life of the object, at rest and of the asked size. The library may be given it; it asks for the handle
/// only.
class BenchWindow : public gw::HiddenWindow
{
public:
    BenchWindow(int width, int height)
        : m_window(SDL_CreateWindow("bench", 0, 0, width, height, SDL_WINDOW_RESIZABLE | SDL_WINDOW_VULKAN))
    {
        for (int i = 0; i < 20; ++i) {
            SDL_PumpEvents();
            SDL_Delay(10);
        }
        SetSize(width, height);
    }
    ~BenchWindow() override { SDL_DestroyWindow(m_window); }
    BenchWindow(const BenchWindow&) = delete;
    BenchWindow& operator=(const BenchWindow&) = delete;

    SDL_Window* Get() const { return m_window; }
    bool IsOpen() const { return m_window != nullptr; }
    /// Returns when the window has the size.
    void SetSize(int width, int height) override
    {
        int w = 0, h = 0;
        SDL_SetWindowSize(m_window, width, height);
        for (int i = 0; i < 200; ++i) {
            SDL_PumpEvents();
            SDL_GetWindowSize(m_window, &w, &h);
            if (w == width && h == height)
                return;
            SDL_Delay(5);
        }
    }
    HWND GetNativeHandle() override { return reinterpret_cast<HWND>(m_window); }
    bool IsVisible() const override { return true; }

private:
    SDL_Window* m_window;
};

} // namespace bench
