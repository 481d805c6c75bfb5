// The protocol of a device reset.
#include "Gleamwork/APIEventManager.h"

#include <qs/Log.h>

namespace gw {

void APIPreResetDeviceEvent::OnVisit(qs::EventVisitor*)
{
    QS_LOG_ASSERT("Gleamwork/APIEventManager", "gw::APIPreResetDeviceEvent::OnVisit",
                  "APIPreResetDeviceEvent should be executed directly and not deferred !!!");
}

void APIPostResetDeviceEvent::OnVisit(qs::EventVisitor*)
{
    QS_LOG_ASSERT("Gleamwork/APIEventManager", "gw::APIPostResetDeviceEvent::OnVisit",
                  "APIPostResetDeviceEvent should be executed directly and not deferred !!!");
}

APIEventManager::APIEventManager() : qs::EventManager(new qs::EventVisitor(0)) {}

APIEventManager::~APIEventManager() = default;

template <class Call>
void APIEventManager::ForEachListener(Call&& call) const
{
    for (std::uint64_t i = 0; i < listenerCount; ++i) {
        if (auto* listener = static_cast<APIEventListener*>(GetListener(i))) {
            call(*listener);
        }
        if (GetAmountOfListeners() != listenerCount) {
            QS_LOG_ASSERT("Gleamwork/APIEventManager", "gw::APIEventManager::ForEachListener",
                          "A listener got removed/added during a call on all listeners");
        }
    }
}

void APIEventManager::CheckCountSinceReset(const char* function) const
{
    if (GetAmountOfListeners() != listenerCount) {
        QS_LOG_ASSERT("Gleamwork/APIEventManager", function,
                      "A listener got removed/added during the time between PreReset and PostReset Device!");
    }
}

bool APIEventManager::ExecuteAPIResettingDeviceEvent() const
{
    listenerCount = GetAmountOfListeners();
    ForEachListener([](APIEventListener& listener) { listener.GetLock().Lock(); });
    return true;
}

bool APIEventManager::ExecuteAPIPreResetDeviceEvent() const
{
    CheckCountSinceReset("gw::APIEventManager::ExecuteAPIPreResetDeviceEvent");
    APIPreResetDeviceEvent event;
    bool accepted = true;
    ForEachListener([&](APIEventListener& listener) { accepted &= listener.OnPreResetDevice(event); });
    return accepted;
}

bool APIEventManager::ExecuteAPIPostResetDeviceEvent() const
{
    CheckCountSinceReset("gw::APIEventManager::ExecuteAPIPostResetDeviceEvent");
    APIPostResetDeviceEvent event;
    ForEachListener([&](APIEventListener& listener) { listener.OnPostResetDevice(event); });
    ForEachListener([](APIEventListener& listener) { listener.GetLock().Unlock(); });
    return true;
}

} // namespace gw
