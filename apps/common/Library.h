// The library, started for this program: device, renderer, and the two command queues.
#pragma once

#include <Gleamwork/App.h>
#include <Gleamwork/HiddenWindow.h>

#include <memory>
#include <qs/CommandManager.h>

namespace api {
class IAPI;
}

namespace apps {

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
    gw::HiddenWindow m_window;
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
