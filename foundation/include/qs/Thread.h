// Threads and their identity.
#pragma once

#include <functional>

#include <qs/Export.h>
#include <qs/Types.h>

namespace qs {

struct ThreadIDTag;
/// Fits a 32-bit field; 0xffffffff is never a valid id. Ids count up from 1 as threads first ask for theirs, and are
/// not given twice in a process.
using ThreadID = TypeWrap<u32, ThreadIDTag>;
inline constexpr ThreadID InvalidThreadID{0xffffffffu};

/// A thread that the object starts and joins.
class QS_API Thread
{
public:
    Thread() = default;
    /// Starts at once. The name shows in debuggers (its first 15 characters), in the log and in traces.
    Thread(const char* name, std::function<void()> body);
    /// Joins.
    ~Thread();
    Thread(Thread&& other) noexcept : m_impl(other.m_impl) { other.m_impl = nullptr; }
    Thread& operator=(Thread&& other) noexcept;

    bool IsJoinable() const { return m_impl != nullptr; }
    /// Waits for the end of the body; does nothing for a thread that was not started or was joined.
    void Join();

    static ThreadID GetCurrentThreadID();
    static void SetCurrentThreadName(const char* name);
    /// Valid until the thread renames itself or ends.
    static const char* GetCurrentThreadName();

private:
    struct Impl;
    Impl* m_impl = nullptr;
};

} // namespace qs
