// Registry of the types that object handles name.
#pragma once

#include <qs/Array.h>
#include <qs/Export.h>
#include <qs/Lock.h>
#include <qs/Singleton.h>
#include <qs/String.h>
#include <qs/Types.h>

namespace qs {

/// Gives type indices to type names. Index 0 is never given, so that a zeroed handle names no type. Registering and
/// unregistering are thread-safe; the array of names is read without a lock, so types are registered before the
/// objects that use them.
class QS_API ObjectTypeManager : public Singleton<ObjectTypeManager>
{
public:
    ObjectTypeManager();
    virtual ~ObjectTypeManager() = default;

    /// The index of the name: each registration of one name gives the same index and is counted. 0, with an error
    /// logged, when all ObjectHandle::MaxType indices are taken.
    u32 RegisterTypeIndex(const char* typeName);
    /// Takes one registration back. The index becomes free, and its name empty, with the last one.
    void UnregisterTypeIndex(u32 index);

    /// Type names by type index. The array never moves.
    const ObjectArray<STDString>* GetObjectTypeNames() const { return &m_names; }

private:
    CriticalSection m_lock;
    ObjectArray<STDString> m_names;
    u32 m_registrations[256] = {};
};

} // namespace qs
