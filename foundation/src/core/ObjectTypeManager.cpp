// Registry of the types that object handles name.
#include <qs/ObjectTypeManager.h>

#include <qs/Log.h>
#include <qs/ObjectHandle.h>

#include "memory/ScopeTable.h"

namespace qs {

namespace {
// The array of names has its final size from the start, because it is read without a lock.
constexpr u32 TypeCount = ObjectHandle::MaxType + 1;
const bool s_made = (memory::ProcessLifetime(), Singleton<ObjectTypeManager>::_SDMInit());
} // namespace

ObjectTypeManager::ObjectTypeManager() : m_names(1, TypeCount)
{
    static_assert(std::size(decltype(m_registrations){}) == TypeCount);
    m_names.SetAt(TypeCount - 1, STDString());
}

u32 ObjectTypeManager::RegisterTypeIndex(const char* typeName)
{
    const STDString name(typeName);
    CSLock lock(m_lock);
    u32 free = 0;
    for (u32 index = TypeCount - 1; index > 0; --index) {
        if (m_registrations[index] == 0) {
            free = index;
        } else if (m_names[index] == name) {
            ++m_registrations[index];
            return index;
        }
    }
    if (free == 0) {
        QS_LOG_ERROR("foundation/ObjectTypeManager", "qs::ObjectTypeManager::RegisterTypeIndex",
                     "No type index is left for '%s': at most %u types can be registered", name.ToChar(),
                     ObjectHandle::MaxType);
        return 0;
    }
    m_names.SetAt(free, name);
    m_registrations[free] = 1;
    return free;
}

void ObjectTypeManager::UnregisterTypeIndex(u32 index)
{
    CSLock lock(m_lock);
    if (index == 0 || index >= TypeCount || m_registrations[index] == 0) {
        QS_LOG_ASSERT("foundation/ObjectTypeManager", "qs::ObjectTypeManager::UnregisterTypeIndex",
                      "Type index %u is not registered", index);
        return;
    }
    if (--m_registrations[index] == 0) {
        m_names.SetAt(index, STDString());
    }
}

} // namespace qs
