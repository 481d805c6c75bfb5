// Events of the application's windows.
#include "Gleamwork/WindowEventManager.h"

#include <algorithm>
#include <qs/Lock.h>
#include <qs/Log.h>

namespace gw {

WindowResizeEvent::WindowResizeEvent(std::int32_t width, std::int32_t height, HWND window, bool flag,
                                     std::int32_t first, std::int32_t second)
    : m_width(std::max(width, 1)), m_height(std::max(height, 1)), m_window(window), m_flag(flag),
      m_first(std::max(first, 0)), m_second(std::max(second, 0))
{
}

void WindowResizeEvent::OnVisit(qs::EventVisitor*)
{
    QS_LOG_ASSERT("Gleamwork/WindowEventManager", "gw::WindowResizeEvent::OnVisit",
                  "WindowResizeEvent should be executed directly and not deferred !!!");
}

void WindowCloseEvent::OnVisit(qs::EventVisitor*)
{
    QS_LOG_ASSERT("Gleamwork/WindowEventManager", "gw::WindowCloseEvent::OnVisit",
                  "WindowCloseEvent should be executed directly and not deferred !!!");
}

void WindowDisplayChangedEvent::OnVisit(qs::EventVisitor*)
{
    QS_LOG_ASSERT("Gleamwork/WindowEventManager", "gw::WindowDisplayChangedEvent::OnVisit",
                  "WindowDisplayChangedEvent should be executed directly and not deferred !!!");
}

WindowEventManager::WindowEventManager() : qs::EventManager(new qs::EventVisitor(0)) {}

WindowEventManager::~WindowEventManager() = default;

void WindowEventManager::RegisterListener(qs::EventListenerBase* listener)
{
    qs::EventManager::RegisterListener(listener);
}

void WindowEventManager::UnregisterListener(qs::EventListenerBase* listener)
{
    qs::EventManager::UnregisterListener(listener);
}

template <class Call>
bool WindowEventManager::ForEachListener(Call&& call)
{
    qs::CSLock lock(m_lock);
    const std::uint64_t count = GetAmountOfListeners();
    bool accepted = true;
    for (std::uint64_t i = 0; i < count; ++i) {
        if (GetAmountOfListeners() != count) {
            QS_LOG_ASSERT("Gleamwork/WindowEventManager", "gw::WindowEventManager::ForEachListener",
                          "A listener got removed/added during a call on all listeners");
        }
        if (auto* listener = static_cast<WindowEventListener*>(GetListener(i))) {
            accepted &= call(*listener);
        }
    }
    return accepted;
}

bool WindowEventManager::ExecuteWindowResizeEvent(int width, int height, HWND window, bool flag, int first, int second)
{
    const WindowResizeEvent event(width, height, window, flag, first, second);
    return ForEachListener([&](WindowEventListener& listener) { return listener.OnWindowResize(event); });
}

bool WindowEventManager::ExecuteWindowCloseEvent()
{
    const WindowCloseEvent event;
    return ForEachListener([&](WindowEventListener& listener) { return listener.OnWindowClose(event); });
}

bool WindowEventManager::ExecuteWindowDisplayChangedEvent(HWND window)
{
    const WindowDisplayChangedEvent event(window);
    return ForEachListener([&](WindowEventListener& listener) { return listener.OnWindowDisplayChanged(event); });
}

} // namespace gw
