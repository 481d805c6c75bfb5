// Base of the process-wide objects.
#pragma once

#include <new>

#include <qs/Export.h>
#include <qs/Types.h>

namespace qs {

namespace _private {
// Memory of singletons; kept out of line so that this header does not need the memory service.
QS_API void* AllocateSingleton(std::size_t size, std::size_t alignment);
QS_API void ReleaseSingleton(void* block);
} // namespace _private

/// `class T : public qs::Singleton<T>` gives T one process-wide pointer. It is null until `_SDMInit`, which a
/// library's start-up function calls, and after `_SDMShutdown`. Neither of the two takes a lock: they run on the
/// thread that loads or unloads the library. T must be exported when more than one library uses it.
template <class T>
class QS_TEMPLATE_API Singleton
{
public:
    static T* GetInstance() { return ms_Instance; }

    /// Makes the object unless there is one. True when there is one behind the call; false when memory ran out.
    static bool _SDMInit()
    {
        if (!ms_Instance) {
            if (void* block = _private::AllocateSingleton(sizeof(T), alignof(T))) {
                ms_Instance = ::new (block) T;
            }
        }
        return ms_Instance != nullptr;
    }

    /// Destroys the object if there is one; always true.
    static bool _SDMShutdown()
    {
        if (T* object = ms_Instance) {
            object->~T();
            _private::ReleaseSingleton(object);
            ms_Instance = nullptr;
        }
        return true;
    }

protected:
    Singleton() = default;
    ~Singleton() = default;
    Singleton(const Singleton&) = delete;
    Singleton& operator=(const Singleton&) = delete;

    static inline T* ms_Instance = nullptr;
};

} // namespace qs
