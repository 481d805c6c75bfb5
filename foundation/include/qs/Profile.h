// Profile scopes, the trace file they feed, and a stop watch.
#pragma once

#include <atomic>

#include <qs/Export.h>
#include <qs/Types.h>

namespace qs {

/// Collects profile scopes into a file in the Chrome trace format, which the trace viewers of browsers open. Tracing is
/// on from the start of the process to its end when `GLEAM_TRACE` names a file. All operations are thread-safe.
class QS_API Profiler
{
public:
    /// Starts a trace that Stop writes to `path`. False, with an error logged, when one is running or the file cannot
    /// be created.
    static bool Start(const char* path);
    /// Writes and closes the file. Scopes that are open meanwhile are left out. False when nothing was running or the
    /// file could not be written whole.
    static bool Stop();
    static bool IsTracing() { return s_tracing.load(std::memory_order_relaxed); }

    /// Nanoseconds of a steady clock.
    static i64 Now();
    /// Adds a finished span of the calling thread. The name is copied.
    static void AddSpan(const char* name, i64 beginNanoseconds, i64 endNanoseconds);
    /// Adds one value of a named counter.
    static void AddCounter(const char* name, double value);
    /// Names the calling thread in the trace.
    static void SetThreadName(const char* name);

private:
    friend class HProfileSample;
    static std::atomic<bool> s_tracing;
};

/// A named scope of the calling thread. The name stays valid as long as the object. While no trace is running a
/// sample costs one test of a flag.
class HProfileSample
{
public:
    explicit HProfileSample(const char* name)
    {
        if (Profiler::s_tracing.load(std::memory_order_relaxed)) [[unlikely]] {
            m_name = name;
            m_begin = Profiler::Now();
        }
    }
    ~HProfileSample()
    {
        if (m_name) [[unlikely]] {
            Profiler::AddSpan(m_name, m_begin, Profiler::Now());
        }
    }
    HProfileSample(const HProfileSample&) = delete;
    HProfileSample& operator=(const HProfileSample&) = delete;

private:
    const char* m_name = nullptr;
    i64 m_begin = 0;
};

/// Stop watch on a steady clock.
class QS_API PreciseClock
{
public:
    explicit PreciseClock(bool start = false);
    ~PreciseClock() = default;

    /// Sets the time to zero and runs.
    void restart();
    /// Holds the time; does nothing when the clock does not run.
    void stop();
    /// Time between restart and stop, or until now while the clock runs. 0 before the first restart.
    i64 getTimeMicroseconds() const;

private:
    i64 m_begin = 0;
    i64 m_end = 0;
    bool m_running = false;
};

} // namespace qs
