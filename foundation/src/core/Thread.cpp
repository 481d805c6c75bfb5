// Threads, their ids and names.
#include <qs/Thread.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include <pthread.h>
#include <unistd.h>

#include <qs/Profile.h>

#include "core/ThreadState.h"

namespace qs {

thread_local constinit ThreadState g_threadState QS_FAST_TLS = {};

namespace {
constinit std::atomic<u32> s_lastThreadID{0};
} // namespace

u32 MakeThreadID()
{
    g_threadState.id = s_lastThreadID.fetch_add(1, std::memory_order_relaxed) + 1;
    return g_threadState.id;
}

struct Thread::Impl
{
    std::thread thread;
};

Thread::Thread(const char* name, std::function<void()> body) : m_impl(new Impl)
{
    m_impl->thread = std::thread([name = std::string(name ? name : ""), body = std::move(body)] {
        SetCurrentThreadName(name.c_str());
        body();
    });
}

Thread::~Thread()
{
    Join();
}

Thread& Thread::operator=(Thread&& other) noexcept
{
    if (this != &other) {
        Join();
        m_impl = std::exchange(other.m_impl, nullptr);
    }
    return *this;
}

void Thread::Join()
{
    if (m_impl) {
        m_impl->thread.join();
        delete std::exchange(m_impl, nullptr);
    }
}

ThreadID Thread::GetCurrentThreadID()
{
    return ThreadID(GetThreadIndex());
}

void Thread::SetCurrentThreadName(const char* name)
{
    std::snprintf(g_threadState.name, sizeof g_threadState.name, "%s", name ? name : "");
    char systemName[16]; // the system's limit
    std::snprintf(systemName, sizeof systemName, "%s", name ? name : "");
    pthread_setname_np(pthread_self(), systemName);
    Profiler::SetThreadName(g_threadState.name);
}

const char* Thread::GetCurrentThreadName()
{
    if (!g_threadState.name[0] && gettid() == getpid()) {
        std::snprintf(g_threadState.name, sizeof g_threadState.name, "main");
    } else if (!g_threadState.name[0]) {
        std::snprintf(g_threadState.name, sizeof g_threadState.name, "thread %u", GetThreadIndex());
    }
    return g_threadState.name;
}

} // namespace qs
