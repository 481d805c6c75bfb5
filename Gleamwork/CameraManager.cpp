// The registry of cameras.
#include "Gleamwork/CameraManager.h"

#include "Gleamwork/CameraController.h"
#include "Gleamwork/GWFS.h"

#include <cstring>
#include <qs/Dispatcher.h>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "CameraManager.cpp";

// The thread that cameras die on.
constexpr std::uint32_t CAMERA_THREAD = 2;

void DestroyController(CameraController* camera);

std::size_t RunDestroyController(const char* arguments)
{
    CameraController* camera;
    std::memcpy(&camera, arguments, sizeof camera);
    DestroyController(camera);
    return sizeof camera;
}

void DestroyController(CameraController* camera)
{
    qs::ThreadManager* threads = qs::ThreadManager::GetInstance();
    if (threads->IsThread(CAMERA_THREAD)) {
        delete camera;
    } else if (!threads->GetDispatcher(CAMERA_THREAD)->Post(RunDestroyController, camera)) {
        QS_LOG_ERROR(FILE_NAME, "gw::CameraManager::DestroyController", "Out of memory: a camera is not destroyed.");
    }
}

} // namespace

CameraManager::CameraManager() = default;

CameraManager::~CameraManager()
{
    qs::CSLock lock(m_lock);
    DestroyAll();
}

bool CameraManager::Register(CameraController* camera, const qs::FixedString& id)
{
    constexpr const char* FUNCTION = "gw::CameraManager::Register";
    qs::CSLock lock(m_lock);
    if (m_cameras.Lookup(id)) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Camera with CameraControllerID %s is already registered in CameraManager.",
                      id.ToChar());
        return false;
    }
    if (!camera) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Trying to register null camera in CameraManager.");
        return false;
    }
    if (camera->GetID() != GWFS::strNotRegistered && camera->GetID() != id) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "Trying to reregister camera in CameraManager. Old CameraControllerID = %s, new "
                      "CameraControllerID = %s",
                      camera->GetID().ToChar(), id.ToChar());
        return false;
    }
    camera->AssignID(id);
    m_cameras.SetAt(id, camera);
    return true;
}

bool CameraManager::Unregister(const qs::FixedString& id)
{
    qs::CSLock lock(m_lock);
    if (const auto* node = m_cameras.Lookup(id); node && node->value) {
        DestroyController(node->value);
        m_cameras.RemoveKey(id);
    }
    return true;
}

std::uint64_t CameraManager::UnregisterAll()
{
    qs::CSLock lock(m_lock);
    const std::uint64_t count = m_cameras.GetCount();
    DestroyAll();
    return count;
}

CameraController* CameraManager::Get(const qs::FixedString& id)
{
    qs::CSLock lock(m_lock);
    const auto* node = m_cameras.Lookup(id);
    if (!node) {
        return nullptr;
    }
    if (!node->value || node->value->GetID() != id) {
        QS_LOG_ASSERT(FILE_NAME, "gw::CameraManager::Get",
                      "Id of camera controller was changed or camera controller was deleted but was not unregistered.");
    }
    return node->value;
}

bool CameraManager::IsRegistered(const qs::FixedString& id)
{
    qs::CSLock lock(m_lock);
    return m_cameras.Lookup(id) != nullptr;
}

void CameraManager::DestroyAll()
{
    for (auto& node : m_cameras) {
        if (node.value) {
            DestroyController(node.value);
        }
    }
    m_cameras.RemoveAll();
}

} // namespace gw
