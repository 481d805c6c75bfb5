// The viewer's window: SDL2 behind the library's window class.
#pragma once

#include <Gleamwork/Window.h>

#include <cstdint>
#include <string>

struct SDL_Window;

namespace gleamview {

/// Starts the display system for the life of the object; one at a time, on the main thread. Interrupts stay the
/// program's.
class DisplaySystem
{
public:
    DisplaySystem();
    ~DisplaySystem();
    DisplaySystem(const DisplaySystem&) = delete;
    DisplaySystem& operator=(const DisplaySystem&) = delete;

    /// Why there is no display to open a window on; empty when there is one.
    const std::string& GetProblem() const { return m_problem; }

private:
    std::string m_problem;
};

/// Everything runs on the main thread. Sizes are pixels, which on dense displays are more than the display system's
/// units.
class ViewerWindow final : public gw::Window
{
public:
    ViewerWindow() = default;
    ~ViewerWindow() override { Close(); }
    ViewerWindow(const ViewerWindow&) = delete;
    ViewerWindow& operator=(const ViewerWindow&) = delete;

    /// Opens in the middle of its display, no larger than fits there. Why it failed is in GetProblem.
    bool Open(const char* name, int x, int y, int width, int height, int style, int displayIndex, int refreshNumerator,
              int refreshDenominator) override;
    void Close() override;
    void Show() override;
    void Hide() override;
    void SetTitle(const char* title) override;
    void SetPosition(int x, int y) override;
    void GetPosition(int& x, int& y) const override;
    void SetSize(int width, int height) override;
    void GetSize(int& width, int& height) const override;
    void SetDisplay(int) override {}
    /// Full screen keeps the desktop's mode: nothing on the display moves or flickers.
    void SetFullscreenMode(const gw::DisplayMode&, int) override {}
    void EnterFullscreen(int) override;
    void ApplyFakeFullscreenStyle() override;
    void LeaveFullscreen(int) override;
    bool IsFullscreen() const override;
    /// Neither hidden nor minimised.
    bool IsVisible() const override;
    bool HasFocus() const override;
    void Focus() override;
    void Minimize() override;
    void Restore() override;
    void Update() override {}
    HWND GetNativeHandle() override { return reinterpret_cast<HWND>(m_window); }

    const std::string& GetProblem() const { return m_problem; }
    /// The display system's number of the window, which its events carry; 0 when it is not open.
    std::uint32_t GetId() const;
    /// Index of the display that shows it.
    int GetDisplayIndex() const;
    /// Frames a second of that display; 60 when nobody knows.
    int GetRefreshRate() const;
    /// Size to which a window on this display goes back from full screen.
    void GetWindowedSize(int& width, int& height) const;
    /// Pixels to a unit of the display system, in which the pointer moves.
    float GetPixelScale() const;

private:
    std::uint32_t GetFlags() const;

    SDL_Window* m_window = nullptr;
    int m_windowedWidth = 0; ///< pixels
    int m_windowedHeight = 0;
    std::string m_problem;
};

} // namespace gleamview
