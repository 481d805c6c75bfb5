// The window classes that the application implements. This library opens, sizes and moves windows through them and
// never makes one itself.
#pragma once

#include "Gleamwork/Export.h"

#include <cstdint>

struct HWND__;
using HWND = HWND__*;

namespace gw {

struct DisplayMode;

/// A window of the application. Only the operations that the library calls are named after what they do; the others
/// keep their place in the order for the application's own interface and may be implemented empty.
class Window
{
public:
    virtual ~Window() = default;

    /// Initialises a window that WindowManager::NewWindow made. `x` and `y` may carry a display index instead of a
    /// position: `index | 0x2fff0000`. Styles: 36 windowed, 37 fullscreen, 38 borderless.
    virtual bool Open(const char* name, int x, int y, int width, int height, int style, int displayIndex,
                      int refreshNumerator, int refreshDenominator) = 0;
    virtual void Close() = 0;
    virtual void Show() = 0;
    virtual void Hide() = 0;
    virtual void SetTitle(const char* title) = 0;
    virtual void SetPosition(int x, int y) = 0;
    virtual void GetPosition(int& x, int& y) const = 0;
    /// Size of the drawable area in pixels.
    virtual void SetSize(int width, int height) = 0;
    virtual void GetSize(int& width, int& height) const = 0;
    /// Binds the window to a display; -1 resets the binding.
    virtual void SetDisplay(int displayIndex) = 0;
    /// Mode to use from the next EnterFullscreen on. The library passes 0 for the last argument.
    virtual void SetFullscreenMode(const DisplayMode& mode, int) = 0;
    virtual void EnterFullscreen(int) = 0;
    /// Borderless, as large as its display.
    virtual void ApplyFakeFullscreenStyle() = 0;
    virtual void LeaveFullscreen(int) = 0;
    virtual bool IsFullscreen() const = 0;
    virtual bool IsVisible() const = 0;
    virtual bool HasFocus() const = 0;
    virtual void Focus() = 0;
    virtual void Minimize() = 0;
    virtual void Restore() = 0;
    virtual void Update() = 0;
    /// Handle that the swap chain presents on; null before Open.
    virtual HWND GetNativeHandle() = 0;
};

/// Makes and destroys the application's windows.
class WindowManager
{
public:
    virtual ~WindowManager() = default;

    virtual bool Initialize() = 0;
    virtual void Shutdown() = 0;
    /// A new window, not yet open; null when none can be made.
    virtual Window* NewWindow() = 0;
    virtual void DestroyWindow(Window* window) = 0;
    /// Called when a window has been made and opened.
    virtual void FinishCreateWindow() {}
    virtual void ProcessEvents() = 0;
    virtual Window* GetWindow(int index) = 0;
    virtual int GetWindowCount() const = 0;
    virtual Window* GetFocusWindow() = 0;
    virtual void SetCursorVisible(bool visible) = 0;
    virtual bool IsCursorVisible() const = 0;
    virtual void SetCursorPosition(int x, int y) = 0;
    virtual void GetCursorPosition(int& x, int& y) const = 0;
    virtual void SetClipboardText(const char* text) = 0;
    virtual const char* GetClipboardText() = 0;
    virtual void ShowVirtualKeyboard(Window* window) = 0;
    virtual void HideVirtualKeyboard() = 0;
    virtual bool IsVirtualKeyboardActive() { return false; }
};

/// A keyboard on the screen, drawn by the application.
class ICustomVirtualKeyboard
{
public:
    virtual ~ICustomVirtualKeyboard() = default;
    virtual void Open() = 0;
    virtual void Close() = 0;
    virtual bool IsOpen() const = 0;
};

} // namespace gw
