// Locks over the system's.
#include <qs/Lock.h>

#include <cstring>
#include <new>
#include <thread>

#include <pthread.h>

namespace qs {

namespace {

constexpr u32 Writer = 0xffffffffu;

pthread_mutex_t* Native(unsigned char* storage)
{
    return std::launder(reinterpret_cast<pthread_mutex_t*>(storage));
}

// Holds the processor back a little longer with every failed try, then lets other threads run: the owner may be one
// that waits for this processor.
class Backoff
{
public:
    void Wait()
    {
        if (m_tries < 6) {
            for (u32 i = 0; i < (1u << m_tries); ++i) {
#if defined(__x86_64__) || defined(__i386__)
                __builtin_ia32_pause();
#endif
            }
            ++m_tries;
        } else {
            std::this_thread::yield();
        }
    }

private:
    u32 m_tries = 0;
};

} // namespace

CriticalSection::CriticalSection()
{
    static_assert(sizeof(pthread_mutex_t) <= sizeof m_storage && alignof(pthread_mutex_t) <= 16);
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(::new (static_cast<void*>(m_storage)) pthread_mutex_t, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

CriticalSection::~CriticalSection()
{
    pthread_mutex_destroy(Native(m_storage));
}

void CriticalSection::Lock()
{
    pthread_mutex_lock(Native(m_storage));
}

void CriticalSection::Unlock()
{
    pthread_mutex_unlock(Native(m_storage));
}

bool CriticalSection::TryLock()
{
    return pthread_mutex_trylock(Native(m_storage)) == 0;
}

void SRWSpinLock::ReadLock()
{
    Backoff backoff;
    for (;;) {
        u32 readers = m_state.load(std::memory_order_relaxed);
        if (readers != Writer &&
            m_state.compare_exchange_weak(readers, readers + 1, std::memory_order_acquire, std::memory_order_relaxed)) {
            return;
        }
        backoff.Wait();
    }
}

void SRWSpinLock::ReadUnlock()
{
    m_state.fetch_sub(1, std::memory_order_release);
}

void SRWSpinLock::WriteLock()
{
    Backoff backoff;
    for (;;) {
        u32 free = 0;
        if (m_state.compare_exchange_weak(free, Writer, std::memory_order_acquire, std::memory_order_relaxed)) {
            return;
        }
        backoff.Wait();
    }
}

void SRWSpinLock::WriteUnlock()
{
    m_state.store(0, std::memory_order_release);
}

} // namespace qs
