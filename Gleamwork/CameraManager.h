// The registry of cameras.
#pragma once

#include "Gleamwork/Export.h"

#include <cstdint>
#include <qs/FixedString.h>
#include <qs/FixedStringMap.h>
#include <qs/Lock.h>
#include <qs/Memory.h>
#include <qs/Singleton.h>

namespace gw {

class CameraController;

/// Turns a camera's name into its controller; render views keep names. A registered controller belongs to the manager,
/// which destroys it.
///
/// Any thread may call any operation. What Get gives is not protected behind the call: whoever unregisters a camera
/// sees to it that no one uses it. Controllers die on thread number 2 (qs::ThreadManager): unregistering from another
/// thread posts the destruction there, so that none dies under a reader on that thread. While no thread has that
/// number, the posted calls wait for one; what still waits when the foundation goes down is destroyed then.
class GW_API CameraManager : public qs::Singleton<CameraManager>
{
public:
    QS_DECLARE_ALLOC(gw::CameraManager)

    CameraManager();
    /// Destroys all controllers, as UnregisterAll does.
    ~CameraManager();

    /// False after an assertion for a name that is taken, a null controller, and a controller that has another name
    /// already; those stay the caller's.
    bool Register(CameraController* camera, const qs::FixedString& id);
    /// Destroys the controller of that name, if there is one. Always true.
    bool Unregister(const qs::FixedString& id);
    /// Gives how many there were.
    std::uint64_t UnregisterAll();
    /// Null, in silence, for a name that is not registered.
    CameraController* Get(const qs::FixedString& id);
    bool IsRegistered(const qs::FixedString& id);
    /// Takes no lock: a moment's number.
    std::uint64_t GetCount() const { return m_cameras.GetCount(); }

private:
    void DestroyAll();

    qs::FixedStringMap<CameraController*> m_cameras{997};
    qs::CriticalSection m_lock;
};

} // namespace gw
