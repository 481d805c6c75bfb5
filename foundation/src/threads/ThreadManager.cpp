// Numbered threads: giving numbers, starting and stopping.
#include <qs/Dispatcher.h>

#include <system_error>

#include <qs/Log.h>
#include <qs/Profile.h>
#include <qs/Thread.h>

#include "ThreadNumber.h"

#define THREAD_ASSERT(operation, ...)                                                                                  \
    QS_LOG_ASSERT("foundation/ThreadManager", "qs::ThreadManager::" operation, __VA_ARGS__)

namespace qs {

namespace {

constexpr std::chrono::hours LONG_WAIT(1);
/// Calls that post again are followed this often at the end.
constexpr int LAST_ROUNDS = 100;

thread_local uint32_t currentNumber = details::NO_THREAD_NUMBER;

/// A thread that ends without giving its number back does so here.
struct NumberReturn
{
    bool armed = false;

    ~NumberReturn()
    {
        ThreadManager* manager = Singleton<ThreadManager>::GetInstance();
        if (armed && manager) {
            manager->UnregisterCurrentThread();
        }
    }
};

thread_local NumberReturn numberReturn;

/// The manager lives as long as the library is loaded.
struct ManagerLife
{
    ManagerLife() { ThreadManager::_SDMInit(); }
    ~ManagerLife() { ThreadManager::_SDMShutdown(); }
} managerLife;

} // namespace

uint32_t details::GetCurrentThreadNumber()
{
    return currentNumber;
}

struct ThreadManager::Slot
{
    std::unique_ptr<Dispatcher> dispatcher;
    Thread thread;
    bool taken = false; ///< guarded by the manager's lock, as is started
    bool started = false;
    std::atomic<bool> stop{false};
};

ThreadManager::ThreadManager() : m_slots(std::make_unique<Slot[]>(MAX_THREADS))
{
    for (uint32_t number = 0; number < MAX_THREADS; ++number) {
        m_slots[number].dispatcher = std::make_unique<Dispatcher>(number);
    }
}

// Threads first; then what was posted to threads that never ran, each in turn as if on its thread.
ThreadManager::~ThreadManager()
{
    for (uint32_t number = 0; number < MAX_THREADS; ++number) {
        if (m_slots[number].started) {
            StopThread(number);
        }
    }
    const uint32_t own = currentNumber;
    for (uint32_t number = 0; number < MAX_THREADS; ++number) {
        currentNumber = number;
        for (int round = 0; round < LAST_ROUNDS && m_slots[number].dispatcher->Drain() != 0; ++round) {
        }
    }
    currentNumber = own;
}

bool ThreadManager::IsThread(uint32_t number) const
{
    return number < MAX_THREADS && currentNumber == number;
}

Dispatcher* ThreadManager::GetDispatcher(uint32_t number)
{
    if (number >= MAX_THREADS) {
        THREAD_ASSERT("GetDispatcher", "Thread number %u is not below %u", number, MAX_THREADS);
        number = MAX_THREADS - 1;
    }
    return m_slots[number].dispatcher.get();
}

// Takes the number for a thread that is about to use it.
bool ThreadManager::Take(uint32_t number)
{
    CSLock lock(m_lock);
    if (number >= MAX_THREADS || m_slots[number].taken) {
        QS_LOG_ERROR("foundation/ThreadManager", "qs::ThreadManager::Take",
                     number < MAX_THREADS ? "Thread number %u is taken" : "Thread number %u is out of range", number);
        return false;
    }
    m_slots[number].taken = true;
    return true;
}

void ThreadManager::Release(uint32_t number)
{
    CSLock lock(m_lock);
    m_slots[number].taken = false;
}

bool ThreadManager::RegisterCurrentThread(uint32_t number, const char* name)
{
    if (currentNumber != details::NO_THREAD_NUMBER) {
        QS_LOG_ERROR("foundation/ThreadManager", "qs::ThreadManager::RegisterCurrentThread",
                     "The thread has number %u already and cannot take %u", currentNumber, number);
        return false;
    }
    if (!Take(number)) {
        return false;
    }
    if (name && *name) {
        Thread::SetCurrentThreadName(name);
    }
    currentNumber = number;
    numberReturn.armed = true;
    m_slots[number].dispatcher->SetRunning(true);
    return true;
}

void ThreadManager::UnregisterCurrentThread()
{
    const uint32_t number = currentNumber;
    if (number == details::NO_THREAD_NUMBER) {
        return;
    }
    Dispatcher& dispatcher = *m_slots[number].dispatcher;
    dispatcher.SetRunning(false);
    dispatcher.Drain();
    currentNumber = details::NO_THREAD_NUMBER;
    Release(number);
}

void ThreadManager::Run(uint32_t number)
{
    currentNumber = number;
    Slot& slot = m_slots[number];
    while (!slot.stop.load(std::memory_order_acquire)) {
        slot.dispatcher->Wait(LONG_WAIT);
        slot.dispatcher->Drain();
    }
    slot.dispatcher->SetRunning(false);
    slot.dispatcher->Drain();
    currentNumber = details::NO_THREAD_NUMBER;
}

bool ThreadManager::StartThread(uint32_t number, const char* name)
{
    if (!Take(number)) {
        return false;
    }
    Slot& slot = m_slots[number];
    slot.stop.store(false, std::memory_order_release);
    // From here on callers have to post; the thread runs what they post when it is there.
    slot.dispatcher->SetRunning(true);
    try {
        slot.thread = Thread(name ? name : "", [this, number] { Run(number); });
    } catch (const std::system_error& error) {
        QS_LOG_ERROR("foundation/ThreadManager", "qs::ThreadManager::StartThread", "Thread %u cannot be started: %s",
                     number, error.what());
        slot.dispatcher->SetRunning(false);
        Release(number);
        return false;
    }
    CSLock lock(m_lock);
    slot.started = true;
    return true;
}

bool ThreadManager::StopThread(uint32_t number)
{
    {
        CSLock lock(m_lock);
        if (number >= MAX_THREADS || !m_slots[number].started || IsThread(number)) {
            return false;
        }
        m_slots[number].started = false;
    }
    Slot& slot = m_slots[number];
    slot.stop.store(true, std::memory_order_release);
    slot.dispatcher->Wake();
    slot.thread.Join();
    Release(number);
    return true;
}

} // namespace qs
