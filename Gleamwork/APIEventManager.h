// Tells listeners about a device reset, so that nothing touches device objects while it happens.
#pragma once

#include "Gleamwork/Export.h"

#include <cstdint>
#include <qs/Event.h>
#include <qs/Memory.h>
#include <qs/Singleton.h>

namespace gw {

/// The two events of a reset live on the stack for one call. They are executed directly and never queued: visiting one
/// asserts.
class GW_API APIPreResetDeviceEvent : public qs::Event
{
protected:
    std::uint16_t GetEventID() const override { return 0; }

public:
    void OnVisit(qs::EventVisitor* visitor) override;
};

class GW_API APIPostResetDeviceEvent : public qs::Event
{
protected:
    std::uint16_t GetEventID() const override { return 1; }

public:
    void OnVisit(qs::EventVisitor* visitor) override;
};

/// Runs the reset protocol. Whoever resets the device calls, on one thread and in this order:
/// ExecuteAPIResettingDeviceEvent, ExecuteAPIPreResetDeviceEvent, (the reset), ExecuteAPIPostResetDeviceEvent.
/// Listeners must not come or go in between; each finding of that asserts and the protocol goes on.
/// This library never starts a reset: Direct3D 11 needs none.
class GW_API APIEventManager : public qs::EventManager, public qs::Singleton<APIEventManager>
{
public:
    QS_DECLARE_ALLOC(gw::APIEventManager)

    APIEventManager();
    ~APIEventManager() override;

    void RegisterCallbacks() override {}
    void UnregisterCallbacks() override {}

    /// Locks every listener's critical section: from here on no listener runs work that needs its lock. Always true.
    bool ExecuteAPIResettingDeviceEvent() const;
    /// Asks every listener; false when any refused. None is skipped.
    bool ExecuteAPIPreResetDeviceEvent() const;
    /// Tells every listener, then unlocks their critical sections. Always true.
    bool ExecuteAPIPostResetDeviceEvent() const;

private:
    template <class Call>
    void ForEachListener(Call&& call) const;
    void CheckCountSinceReset(const char* function) const;

    mutable std::uint64_t listenerCount = 0; ///< listeners when the reset began
};

/// A listener registers itself for its life, so the manager must exist and stay. Its work that touches device objects
/// holds its lock (GetLock).
class APIEventListener : public qs::EventListener<APIEventManager>
{
public:
    /// False to refuse the reset.
    virtual bool OnPreResetDevice(APIPreResetDeviceEvent& event) = 0;
    virtual void OnPostResetDevice(APIPostResetDeviceEvent& event) = 0;
};

} // namespace gw
