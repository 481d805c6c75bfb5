// A window of SDL2 on a virtual display, for both sides of a row.
#pragma once

#include "Gleamwork/Window.h"

#include <SDL.h>

namespace bench {

/// Open for the life of the object, at rest and of the asked size. The library may be given it; it asks for the handle
/// only.
class BenchWindow : public gw::Window
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

    bool Open(const char*, int, int, int, int, int, int, int, int) override { return true; }
    void Close() override {}
    void Show() override {}
    void Hide() override {}
    void SetTitle(const char*) override {}
    void SetPosition(int, int) override {}
    void GetPosition(int&, int&) const override {}
    void GetSize(int&, int&) const override {}
    void SetDisplay(int) override {}
    void SetFullscreenMode(const gw::DisplayMode&, int) override {}
    void EnterFullscreen(int) override {}
    void ApplyFakeFullscreenStyle() override {}
    void LeaveFullscreen(int) override {}
    bool IsFullscreen() const override { return false; }
    bool IsVisible() const override { return true; }
    bool HasFocus() const override { return false; }
    void Focus() override {}
    void Minimize() override {}
    void Restore() override {}
    void Update() override {}

private:
    SDL_Window* m_window;
};

} // namespace bench
