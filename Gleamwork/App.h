// What the back end asks of the program that loads the library.
#pragma once

#include <cstdint>

struct HWND__;

namespace gw {
class Window;
class WindowManager;
} // namespace gw

/// How the program wants to start. `api::IAPI::Init` reads the wish and writes back what was settled.
struct AppStartupDesc
{
    std::int32_t displayIndex = 0;        ///< in and out: position in the list of `api::IAPI::CollectDisplays`
    std::uint32_t width = 0;              ///< in and out: pixels; 0 asks for a default
    std::uint32_t height = 0;             ///< in and out: pixels; 0 asks for a default
    std::uint32_t refreshNumerator = 0;   ///< in and out: refresh rate in Hz is numerator / denominator
    std::uint32_t refreshDenominator = 0; ///< in and out
    bool fullscreen = false;              ///< in
    bool fakeFullscreen = false;          ///< in: a borderless window as large as the display
    bool hdrSupported = false;            ///< out: the display chain can show more than standard range
    bool keepGraphicSettings = false;     ///< in: leave `GraphicSettings` alone
    gw::Window* window = nullptr;         ///< in: a window of the program; out: else the one that was made
};

/// The application object given to `api::CreateAPI`; it outlives the API. All calls come from the thread that runs
/// start-up or resizes a window. The program's own interface may derive from this and add what it likes.
class IApp
{
public:
    virtual ~IApp() = default;

    /// The window manager in use for windows of that kind; null leaves the library without a way to make a window.
    virtual gw::WindowManager* GetWindowManager(bool fullscreen) = 0;
    /// The start-up record, which the application owns; it must stay valid until after `api::IAPI::Exit`.
    virtual AppStartupDesc* GetStartupDesc() = 0;
    /// Fired with `changing` set before, and clear after, a mode change of a window that was fullscreen. The two last
    /// arguments are always 0.
    virtual void NotifyWindowResize(int width, int height, HWND__* nativeWindow, bool changing, int, int) = 0;
    /// The main window for a mode.
    virtual gw::Window* GetMainWindow(bool fullscreen, std::uint32_t refreshNumerator,
                                      std::uint32_t refreshDenominator) = 0;
};
