// Posted calls of one numbered thread.
#include <qs/Dispatcher.h>

#include <condition_variable>
#include <cstring>
#include <mutex>

#include <qs/Log.h>
#include <qs/Profile.h>

#include "ThreadNumber.h"

namespace qs {

namespace {

constexpr size_t FIRST_BLOCK = 1024;

} // namespace

struct Dispatcher::Signal
{
    std::mutex m_lock;
    std::condition_variable m_changed;
    bool m_posted = false;
    bool m_woken = false;

    void Set(bool& flag)
    {
        {
            std::lock_guard lock(m_lock);
            flag = true;
        }
        m_changed.notify_all();
    }
};

Dispatcher::Dispatcher(uint32_t threadNumber)
    : m_streams{CommandDispatcherBuffer(FIRST_BLOCK), CommandDispatcherBuffer(FIRST_BLOCK)},
      m_threadNumber(threadNumber), m_signal(std::make_unique<Signal>())
{
}

Dispatcher::~Dispatcher() = default;

bool Dispatcher::MustPost() const
{
    return IsRunning() && details::GetCurrentThreadNumber() != m_threadNumber;
}

// Under the lock, so that MustPost keeps its answer for whoever holds it.
void Dispatcher::SetRunning(bool running)
{
    CSLock lock(m_lock);
    m_running.store(running, std::memory_order_release);
}

// The thread that wakes finds the poster's lock taken and so sees the record that is about to be written.
CommandDispatcherBuffer& Dispatcher::GetBuffer()
{
    m_signal->Set(m_signal->m_posted);
    return m_streams[m_writeStream];
}

bool Dispatcher::Post(PostedFunction function, void* argument)
{
    CSLock lock(m_lock);
    char* record = GetBuffer().AddCommand(sizeof function + sizeof argument, alignof(PostedFunction));
    if (record) {
        std::memcpy(record, &function, sizeof function);
        std::memcpy(record + sizeof function, &argument, sizeof argument);
    }
    return record != nullptr;
}

size_t Dispatcher::Drain()
{
    if (details::GetCurrentThreadNumber() != m_threadNumber) {
        QS_LOG_ASSERT("foundation/Dispatcher", "qs::Dispatcher::Drain",
                      "The calls posted to thread %u are drained on another thread", m_threadNumber);
        return 0;
    }
    if (m_draining) {
        return 0; // from inside a posted call: the drain under way goes on behind it
    }
    HProfileSample sample("qs::Dispatcher::Drain");
    CommandDispatcherBuffer* calls;
    {
        CSLock lock(m_lock);
        std::lock_guard signalLock(m_signal->m_lock);
        m_signal->m_posted = false;
        calls = &m_streams[m_writeStream];
        m_writeStream ^= 1;
    }
    m_draining = true;
    const size_t count = RunPosted(*calls);
    m_draining = false;
    return count;
}

size_t Dispatcher::RunPosted(CommandDispatcherBuffer& calls)
{
    size_t count = 0;
    size_t consumed = 0;
    CommandDispatcherBuffer::ExecuteContext context = calls.PreExecuteCommandBuffer();
    while (calls.NextCommand(context, consumed)) {
        const char* record = calls.LocateRecord(context);
        if (!record) {
            break;
        }
        PostedFunction function;
        std::memcpy(&function, record, sizeof function);
        consumed = sizeof function + function(record + sizeof function);
        ++count;
    }
    calls.PostExecuteCommandBuffer(context, true);
    return count;
}

bool Dispatcher::Wait(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_signal->m_lock);
    m_signal->m_changed.wait_for(lock, timeout, [&] { return m_signal->m_posted || m_signal->m_woken; });
    m_signal->m_woken = false;
    return m_signal->m_posted;
}

void Dispatcher::Wake()
{
    m_signal->Set(m_signal->m_woken);
}

} // namespace qs
