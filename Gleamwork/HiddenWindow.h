// A window that nobody sees.
#pragma once

#include "Gleamwork/Window.h"

namespace gw {

/// Stands where an editor has its main window, for programs that draw into textures and for tests. It keeps its size
/// and does nothing else; what matters to a derived window is overridden there. One thread at a time.
class HiddenWindow : public Window
{
public:
    bool Open(const char*, int, int, int width, int height, int, int, int, int) override
    {
        HiddenWindow::SetSize(width, height);
        return true;
    }
    void Close() override {}
    void Show() override {}
    void Hide() override {}
    void SetTitle(const char*) override {}
    void SetPosition(int, int) override {}
    void GetPosition(int& x, int& y) const override { x = y = 0; }
    void SetSize(int width, int height) override
    {
        m_width = width;
        m_height = height;
    }
    void GetSize(int& width, int& height) const override
    {
        width = m_width;
        height = m_height;
    }
    void SetDisplay(int) override {}
    void SetFullscreenMode(const DisplayMode&, int) override {}
    void EnterFullscreen(int) override {}
    void ApplyFakeFullscreenStyle() override {}
    void LeaveFullscreen(int) override {}
    bool IsFullscreen() const override { return false; }
    bool IsVisible() const override { return false; }
    bool HasFocus() const override { return false; }
    void Focus() override {}
    void Minimize() override {}
    void Restore() override {}
    void Update() override {}
    HWND GetNativeHandle() override { return nullptr; }

private:
    int m_width = 0;
    int m_height = 0;
};

} // namespace gw
