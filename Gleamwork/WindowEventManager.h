// Tells listeners about resizes, close requests and display changes of the application's windows.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/Window.h"

#include <cstdint>
#include <qs/Event.h>
#include <qs/Memory.h>
#include <qs/Singleton.h>

namespace gw {

/// Window events live on the stack for one call and are executed directly, never queued: visiting one asserts.
class GW_API WindowResizeEvent : public qs::Event
{
public:
    /// Sizes are raised to at least 1, the two last values to at least 0. Their meaning and the flag's are the window
    /// layer's: the library passes them on.
    WindowResizeEvent(std::int32_t width, std::int32_t height, HWND window, bool flag, std::int32_t first,
                      std::int32_t second);

    std::int32_t m_width;
    std::int32_t m_height;
    HWND m_window;
    bool m_flag;
    std::int32_t m_first;
    std::int32_t m_second;

protected:
    std::uint16_t GetEventID() const override { return 0; }

public:
    void OnVisit(qs::EventVisitor* visitor) override;
};

class GW_API WindowCloseEvent : public qs::Event
{
protected:
    std::uint16_t GetEventID() const override { return 1; }

public:
    void OnVisit(qs::EventVisitor* visitor) override;
};

class GW_API WindowDisplayChangedEvent : public qs::Event
{
public:
    explicit WindowDisplayChangedEvent(HWND window) : m_window(window) {}

    HWND m_window;

protected:
    std::uint16_t GetEventID() const override { return 2; }

public:
    void OnVisit(qs::EventVisitor* visitor) override;
};

/// Calls every listener on the caller's thread, under the manager's lock. A listener must not register or unregister
/// one from inside a call: that is found and asserts. Each Execute gives false when any listener did; none is skipped.
class GW_API WindowEventManager : public qs::EventManager, public qs::Singleton<WindowEventManager>
{
public:
    QS_DECLARE_ALLOC(gw::WindowEventManager)

    WindowEventManager();
    ~WindowEventManager() override;

    void RegisterListener(qs::EventListenerBase* listener) override;
    void UnregisterListener(qs::EventListenerBase* listener) override;
    void RegisterCallbacks() override {}
    void UnregisterCallbacks() override {}

    bool ExecuteWindowResizeEvent(int width, int height, HWND window, bool flag, int first, int second);
    bool ExecuteWindowCloseEvent();
    bool ExecuteWindowDisplayChangedEvent(HWND window);

private:
    template <class Call>
    bool ForEachListener(Call&& call);
};

/// Registers itself for its life, so the manager must exist and stay.
class WindowEventListener : public qs::EventListener<WindowEventManager>
{
public:
    virtual bool OnWindowResize(const WindowResizeEvent& event) = 0;
    virtual bool OnWindowClose(const WindowCloseEvent& event) = 0;
    virtual bool OnWindowDisplayChanged(const WindowDisplayChangedEvent& event) = 0;
};

} // namespace gw
