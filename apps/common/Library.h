// The library, started for this program: device, renderer, and the two command queues.
#pragma once

#include <Gleamwork/App.h>
#include <Gleamwork/Window.h>

#include <memory>
#include <qs/CommandManager.h>

namespace api {
class IAPI;
}

namespace apps {

/// Stands where an editor has its main window, for a program that draws into a texture and shows nothing.
class HiddenWindow final : public gw::Window
{
public:
    bool Open(const char*, int, int, int width, int height, int, int, int, int) override
    {
        SetSize(width, height);
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
    void SetFullscreenMode(const gw::DisplayMode&, int) override {}
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

/// The application object of a program without windows.
class HiddenApp final : public IApp
{
public:
    HiddenApp()
    {
        m_startup.keepGraphicSettings = true;
        m_startup.window = &m_window;
    }

    gw::WindowManager* GetWindowManager(bool) override { return nullptr; }
    AppStartupDesc* GetStartupDesc() override { return &m_startup; }
    void NotifyWindowResize(int, int, HWND__*, bool, int, int) override {}
    gw::Window* GetMainWindow(bool, std::uint32_t, std::uint32_t) override { return &m_window; }

private:
    AppStartupDesc m_startup;
    HiddenWindow m_window;
};

/// Device, renderer and queues. The thread that starts it owns the device, drains both queues and is the thread that
/// cameras die on.
class Library
{
public:
    explicit Library(IApp& app) : m_app(app) {}
    ~Library();
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    bool Start();
    /// Performs what was queued up to now.
    void Drain();
    api::IAPI& GetApi() { return *m_api; }
    /// What is pushed here runs in its place between the recordings that are handed over.
    qs::CommandBuffer& GetImmediateQueue() { return m_immediate; }

private:
    IApp& m_app;
    qs::CommandBuffer m_immediate;
    qs::CommandBuffer m_relaxed;
    std::unique_ptr<api::IAPI> m_api;
    bool m_started = false;
};

} // namespace apps
