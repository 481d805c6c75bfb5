// Trace files: events are kept per thread in small batches and written as they fill.
#include <qs/Profile.h>

#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <unistd.h>

#include <qs/FixedString.h>
#include <qs/Log.h>
#include <qs/Thread.h>

#include "core/ThreadState.h"

namespace qs {

constinit std::atomic<bool> Profiler::s_tracing{false};

namespace {

struct Event
{
    FixedString name;
    i64 begin;
    i64 duration; // below 0 for counters
    double value;
};

struct ThreadEvents
{
    std::mutex lock; // taken by its thread, and by the one that stops the trace
    u32 thread = 0;
    std::vector<Event> events;
};

constexpr std::size_t BatchSize = 1024;

// The file and the lists of all threads. Never destroyed, since threads may outlive static objects.
struct Trace
{
    std::mutex lock; // guards all of it; taken behind a thread's lock never, before it only by Stop
    std::FILE* file = nullptr;
    std::string path;
    bool failed = false;
    bool first = true;
    std::vector<std::shared_ptr<ThreadEvents>> threads;
};

Trace& GetTrace()
{
    static Trace& trace = *new Trace;
    return trace;
}

std::string Escape(const char* text)
{
    std::string result;
    for (; *text; ++text) {
        const unsigned char c = static_cast<unsigned char>(*text);
        if (c == '"' || c == '\\') {
            result += '\\';
            result += *text;
        } else if (c < 0x20) {
            result += fmt::format("\\u{:04x}", c);
        } else {
            result += *text;
        }
    }
    return result;
}

std::string ToJson(const Event& event, u32 thread)
{
    const std::string name = Escape(event.name.ToChar());
    if (event.duration < 0) {
        return fmt::format(R"({{"name":"{}","ph":"C","ts":{:.3f},"pid":{},"args":{{"value":{}}}}})", name,
                           double(event.begin) / 1000.0, getpid(), event.value);
    }
    return fmt::format(R"({{"name":"{}","ph":"X","ts":{:.3f},"dur":{:.3f},"pid":{},"tid":{}}})", name,
                       double(event.begin) / 1000.0, double(event.duration) / 1000.0, getpid(), thread);
}

void WriteNolock(Trace& trace, const std::string& json)
{
    if (trace.file) {
        trace.failed |= std::fprintf(trace.file, "%s%s", trace.first ? "" : ",\n", json.c_str()) < 0;
        trace.first = false;
    }
}

void WriteThreadNameNolock(Trace& trace, u32 thread, const char* name)
{
    WriteNolock(trace, fmt::format(R"({{"name":"thread_name","ph":"M","pid":{},"tid":{},"args":{{"name":"{}"}}}})",
                                   getpid(), thread, Escape(name)));
}

void WriteBatch(const std::vector<Event>& events, u32 thread)
{
    Trace& trace = GetTrace();
    std::lock_guard guard(trace.lock);
    for (const Event& event : events) {
        WriteNolock(trace, ToJson(event, thread));
    }
}

ThreadEvents& GetThreadEvents()
{
    static thread_local std::shared_ptr<ThreadEvents> mine;
    if (!mine) {
        mine = std::make_shared<ThreadEvents>();
        mine->thread = GetThreadIndex();
        Trace& trace = GetTrace();
        std::lock_guard guard(trace.lock);
        trace.threads.push_back(mine);
        WriteThreadNameNolock(trace, mine->thread, Thread::GetCurrentThreadName());
    }
    return *mine;
}

void Add(Event&& event)
{
    ThreadEvents& mine = GetThreadEvents();
    std::vector<Event> full;
    {
        std::lock_guard guard(mine.lock);
        mine.events.push_back(std::move(event));
        if (mine.events.size() >= BatchSize) {
            full.swap(mine.events);
        }
    }
    if (!full.empty()) {
        WriteBatch(full, mine.thread);
    }
}

// Writes what threads hold back and forgets threads that ended.
void FlushThreads()
{
    Trace& trace = GetTrace();
    std::vector<std::shared_ptr<ThreadEvents>> threads;
    {
        std::lock_guard guard(trace.lock);
        threads = trace.threads;
    }
    for (const std::shared_ptr<ThreadEvents>& thread : threads) {
        std::vector<Event> events;
        {
            std::lock_guard guard(thread->lock);
            events.swap(thread->events);
        }
        WriteBatch(events, thread->thread);
    }
    threads.clear();
    std::lock_guard guard(trace.lock);
    std::erase_if(trace.threads, [](const auto& thread) { return thread.use_count() == 1; });
}

// Runs a trace for the whole life of the process when the environment asks for one.
struct EnvironmentTrace
{
    EnvironmentTrace()
    {
        if (const char* path = std::getenv("GLEAM_TRACE"); path && *path) {
            Profiler::Start(path);
        }
    }
    ~EnvironmentTrace() { Profiler::Stop(); }
};
EnvironmentTrace s_environmentTrace;

} // namespace

bool Profiler::Start(const char* path)
{
    Trace& trace = GetTrace();
    std::lock_guard guard(trace.lock);
    if (trace.file) {
        QS_LOG_ERROR("foundation/Profile", "qs::Profiler::Start", "A trace into '%s' is running already",
                     trace.path.c_str());
        return false;
    }
    trace.file = std::fopen(path, "w");
    if (!trace.file) {
        QS_LOG_ERROR("foundation/Profile", "qs::Profiler::Start", "The trace file '%s' cannot be created", path);
        return false;
    }
    trace.path = path;
    trace.failed = std::fputs("{\"displayTimeUnit\":\"ms\",\"traceEvents\":[\n", trace.file) < 0;
    trace.first = true;
    WriteThreadNameNolock(trace, GetThreadIndex(), Thread::GetCurrentThreadName());
    for (const std::shared_ptr<ThreadEvents>& thread : trace.threads) {
        WriteThreadNameNolock(trace, thread->thread, fmt::format("thread {}", thread->thread).c_str());
    }
    s_tracing = true;
    return true;
}

bool Profiler::Stop()
{
    s_tracing = false;
    FlushThreads();
    Trace& trace = GetTrace();
    std::lock_guard guard(trace.lock);
    if (!trace.file) {
        return false;
    }
    trace.failed |= std::fputs("\n]}\n", trace.file) < 0;
    trace.failed |= std::fclose(trace.file) != 0;
    trace.file = nullptr;
    if (trace.failed) {
        QS_LOG_ERROR("foundation/Profile", "qs::Profiler::Stop", "The trace file '%s' could not be written whole",
                     trace.path.c_str());
    }
    return !trace.failed;
}

i64 Profiler::Now()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void Profiler::AddSpan(const char* name, i64 beginNanoseconds, i64 endNanoseconds)
{
    if (IsTracing()) {
        const i64 duration = endNanoseconds > beginNanoseconds ? endNanoseconds - beginNanoseconds : 0;
        Add({FixedString::Create(name), beginNanoseconds, duration, 0.0});
    }
}

void Profiler::AddCounter(const char* name, double value)
{
    if (IsTracing()) {
        Add({FixedString::Create(name), Now(), -1, value});
    }
}

void Profiler::SetThreadName(const char* name)
{
    if (IsTracing()) {
        const u32 thread = GetThreadEvents().thread;
        Trace& trace = GetTrace();
        std::lock_guard guard(trace.lock);
        WriteThreadNameNolock(trace, thread, name);
    }
}

PreciseClock::PreciseClock(bool start)
{
    if (start) {
        restart();
    }
}

void PreciseClock::restart()
{
    m_begin = Profiler::Now();
    m_end = m_begin;
    m_running = true;
}

void PreciseClock::stop()
{
    if (m_running) {
        m_end = Profiler::Now();
        m_running = false;
    }
}

i64 PreciseClock::getTimeMicroseconds() const
{
    return ((m_running ? Profiler::Now() : m_end) - m_begin) / 1000;
}

} // namespace qs
