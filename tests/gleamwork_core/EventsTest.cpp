// Window events and the protocol of a device reset, seen by listeners.
#include "Gleamwork/APIEventManager.h"
#include "Gleamwork/WindowEventManager.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <qs/Log.h>
#include <string>
#include <thread>
#include <utility>

namespace {

constexpr const char* c_changedInCall = "A listener got removed/added during a call on all listeners";
constexpr const char* c_changedBetween = "during the time between PreReset and PostReset Device!";

HWND const c_window = reinterpret_cast<HWND>(0x1234);

struct WindowListener : gw::WindowEventListener
{
    bool OnWindowResize(const gw::WindowResizeEvent& event) override
    {
        calls += "r";
        last = std::make_unique<gw::WindowResizeEvent>(event);
        return answer;
    }
    bool OnWindowClose(const gw::WindowCloseEvent&) override
    {
        calls += "c";
        const bool result = answer;
        // May end this listener.
        if (const auto call = std::exchange(onClose, nullptr)) {
            call();
        }
        return result;
    }
    bool OnWindowDisplayChanged(const gw::WindowDisplayChangedEvent& event) override
    {
        calls += event.m_window == c_window ? "d" : "?";
        return answer;
    }

    bool answer = true;
    std::string calls;
    std::function<void()> onClose;
    std::unique_ptr<gw::WindowResizeEvent> last;
};

struct ResetListener : gw::APIEventListener
{
    bool OnPreResetDevice(gw::APIPreResetDeviceEvent&) override
    {
        ++before;
        return answer;
    }
    void OnPostResetDevice(gw::APIPostResetDeviceEvent&) override { ++after; }

    bool IsLockedForOthers()
    {
        bool locked = false;
        std::thread([&] {
            locked = !GetLock().TryLock();
            if (!locked) {
                GetLock().Unlock();
            }
        }).join();
        return locked;
    }

    bool answer = true;
    int before = 0;
    int after = 0;
};

} // namespace

TEST(WindowEvents, EveryListenerIsCalledAndAnswersAreAnded)
{
    qs::LogCapture log;
    auto& manager = *qs::Singleton<gw::WindowEventManager>::GetInstance();
    EXPECT_TRUE(manager.ExecuteWindowCloseEvent());
    WindowListener first;
    {
        WindowListener second;
        first.answer = false;
        EXPECT_FALSE(manager.ExecuteWindowResizeEvent(640, 480, c_window, true, 3, 4));
        EXPECT_FALSE(manager.ExecuteWindowDisplayChangedEvent(c_window));
        EXPECT_FALSE(manager.ExecuteWindowCloseEvent());
        EXPECT_EQ(second.calls, "rdc");
        EXPECT_EQ(second.last->m_width, 640);
        EXPECT_EQ(second.last->m_height, 480);
        EXPECT_EQ(second.last->m_window, c_window);
        EXPECT_TRUE(second.last->m_flag);
        EXPECT_EQ(second.last->m_first, 3);
        EXPECT_EQ(second.last->m_second, 4);
    }
    first.answer = true;
    EXPECT_TRUE(manager.ExecuteWindowResizeEvent(0, -5, nullptr, false, -1, -2));
    EXPECT_EQ(first.calls, "rdcr");
    EXPECT_EQ(first.last->m_width, 1);
    EXPECT_EQ(first.last->m_height, 1);
    EXPECT_EQ(first.last->m_first, 0);
    EXPECT_EQ(first.last->m_second, 0);
    EXPECT_EQ(log.Count(), 0u);
}

TEST(WindowEvents, ListenerThatEndsInsideACallIsFound)
{
    qs::LogCapture log;
    auto ending = std::make_unique<WindowListener>();
    WindowListener other;
    ending->onClose = [&] { ending.reset(); };
    qs::Singleton<gw::WindowEventManager>::GetInstance()->ExecuteWindowCloseEvent();
    EXPECT_EQ(log.CountContaining(c_changedInCall, qs::LogLevelAssertion), 1u);
}

TEST(WindowEvents, DeferredDeliveryAsserts)
{
    qs::LogCapture log;
    gw::WindowResizeEvent(1, 1, nullptr, false, 0, 0).OnVisit(nullptr);
    gw::WindowCloseEvent().OnVisit(nullptr);
    gw::WindowDisplayChangedEvent(nullptr).OnVisit(nullptr);
    gw::APIPreResetDeviceEvent().OnVisit(nullptr);
    gw::APIPostResetDeviceEvent().OnVisit(nullptr);
    for (const char* event : {"WindowResizeEvent", "WindowCloseEvent", "WindowDisplayChangedEvent",
                              "APIPreResetDeviceEvent", "APIPostResetDeviceEvent"}) {
        const std::string text = std::string(event) + " should be executed directly and not deferred !!!";
        EXPECT_TRUE(log.Contains(text.c_str(), qs::LogLevelAssertion)) << text;
    }
    EXPECT_EQ(log.Count(), 5u);
}

TEST(DeviceReset, ListenersAreLockedFromTheFirstStepToTheLast)
{
    qs::LogCapture log;
    const auto& manager = *qs::Singleton<gw::APIEventManager>::GetInstance();
    EXPECT_TRUE(manager.ExecuteAPIResettingDeviceEvent());
    EXPECT_TRUE(manager.ExecuteAPIPreResetDeviceEvent());
    EXPECT_TRUE(manager.ExecuteAPIPostResetDeviceEvent());

    ResetListener refusing;
    ResetListener later;
    refusing.answer = false;
    EXPECT_TRUE(manager.ExecuteAPIResettingDeviceEvent());
    EXPECT_TRUE(refusing.IsLockedForOthers());
    EXPECT_FALSE(manager.ExecuteAPIPreResetDeviceEvent());
    EXPECT_TRUE(later.IsLockedForOthers());
    EXPECT_TRUE(manager.ExecuteAPIPostResetDeviceEvent());
    EXPECT_FALSE(refusing.IsLockedForOthers());
    EXPECT_FALSE(later.IsLockedForOthers());
    EXPECT_EQ(refusing.before + refusing.after + later.before + later.after, 4);
    EXPECT_EQ(log.Count(), 0u);
}

TEST(DeviceReset, ListenerThatComesInBetweenIsFound)
{
    qs::LogCapture log;
    const auto& manager = *qs::Singleton<gw::APIEventManager>::GetInstance();
    ResetListener early;
    EXPECT_TRUE(manager.ExecuteAPIResettingDeviceEvent());
    {
        ResetListener late;
        EXPECT_TRUE(manager.ExecuteAPIPreResetDeviceEvent());
        EXPECT_EQ(log.CountContaining(c_changedBetween, qs::LogLevelAssertion), 1u);
        EXPECT_EQ(log.CountContaining(c_changedInCall, qs::LogLevelAssertion), 1u);
        EXPECT_EQ(late.before, 0);
    }
    log.Clear();
    EXPECT_TRUE(manager.ExecuteAPIPostResetDeviceEvent());
    EXPECT_EQ(early.after, 1);
    EXPECT_EQ(log.Count(), 0u);
}
