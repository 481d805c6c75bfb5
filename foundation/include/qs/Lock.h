// Locks.
#pragma once

#include <atomic>

#include <qs/Export.h>
#include <qs/Types.h>

namespace qs {

/// Recursive lock: the owning thread may take it again and leaves it as often.
class QS_API CriticalSection
{
public:
    CriticalSection();
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Lock();
    void Unlock();
    /// Never blocks. True when the lock was taken.
    bool TryLock();

private:
    alignas(16) unsigned char m_storage[64];
};

/// Holds a CriticalSection for its scope.
class CSLock
{
public:
    explicit CSLock(CriticalSection& section) : m_section(section) { m_section.Lock(); }
    ~CSLock() { m_section.Unlock(); }
    CSLock(const CSLock&) = delete;
    CSLock& operator=(const CSLock&) = delete;

private:
    CriticalSection& m_section;
};

/// Reader-writer lock that spins, for short sections. Not recursive on the writer's side; readers may nest, since a
/// waiting writer does not hold them up. Needs no destructor.
class QS_API SRWSpinLock
{
public:
    constexpr SRWSpinLock() = default;
    SRWSpinLock(const SRWSpinLock&) = delete;
    SRWSpinLock& operator=(const SRWSpinLock&) = delete;

    void ReadLock();
    void ReadUnlock();
    void WriteLock();
    void WriteUnlock();

private:
    // Number of readers, or Writer.
    std::atomic<u32> m_state{0};
};

} // namespace qs
