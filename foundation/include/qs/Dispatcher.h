// Numbered threads and the calls that other threads post to them.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <qs/CommandDispatcher.h>
#include <qs/Export.h>
#include <qs/Lock.h>
#include <qs/Singleton.h>

namespace qs {

/// A function that is posted. It gets the address of its arguments, which stand directly behind its own address in the
/// record, and gives how many bytes they take: 8 for one pointer.
using PostedFunction = size_t (*)(const char* arguments);

/// The queue of one numbered thread. Calls run on that thread in the order of their posting.
///
/// To post by hand: hold GetLock, and write a record of 16 bytes with alignment 8 into GetBuffer: the PostedFunction
/// and then its one pointer-sized argument. Post does that. Calls posted while the thread does not run stay and run
/// when it starts; what is left when the library goes down runs then, on the thread that takes the library down.
class QS_API Dispatcher
{
public:
    explicit Dispatcher(uint32_t threadNumber);
    virtual ~Dispatcher();
    Dispatcher(const Dispatcher&) = delete;
    Dispatcher& operator=(const Dispatcher&) = delete;

    /// True when the thread is running and the caller is not on it: work that belongs there has to be posted. Exact as
    /// long as the lock is held.
    virtual bool MustPost() const;

    CriticalSection& GetLock() { return m_lock; }
    /// The stream for posted calls, with the lock held. The thread is woken and runs them once the lock is released.
    CommandDispatcherBuffer& GetBuffer();
    /// Posts one call. False when memory runs out.
    bool Post(PostedFunction function, void* argument);

    /// Runs what was posted before the call and gives its number. On the numbered thread only; elsewhere it asserts.
    size_t Drain();
    /// Blocks until something is posted, Wake is called or the time is over; true when something is posted.
    bool Wait(std::chrono::milliseconds timeout);
    void Wake();

    uint32_t GetThreadNumber() const { return m_threadNumber; }
    bool IsRunning() const { return m_running.load(std::memory_order_acquire); }

private:
    friend class ThreadManager;
    void SetRunning(bool running);
    size_t RunPosted(CommandDispatcherBuffer& calls);

    CriticalSection m_lock;
    CommandDispatcherBuffer m_streams[2];
    unsigned m_writeStream = 0;
    uint32_t m_threadNumber;
    std::atomic<bool> m_running{false};
    bool m_draining = false; ///< the numbered thread's own
    struct Signal;
    std::unique_ptr<Signal> m_signal;
};

/// Which thread has which number. No number means anything to this library except that the application may give one to
/// a thread of its own or have one started; until then no thread has it. Made when the library is loaded, and usable
/// from every thread.
class QS_API ThreadManager : public Singleton<ThreadManager>
{
public:
    /// Numbers are below this.
    static constexpr uint32_t MAX_THREADS = 64;

    ThreadManager();
    virtual ~ThreadManager();

    /// True on the thread that has the number.
    bool IsThread(uint32_t number) const;
    /// The queue of that thread, whether or not it runs; valid as long as the manager. A number not below MAX_THREADS
    /// asserts and gives the last one's.
    Dispatcher* GetDispatcher(uint32_t number);

    /// Gives the calling thread the number; it has to drain its dispatcher from its own loop. False when the number is
    /// taken or out of range or the thread has one. `name` is for traces and debuggers.
    bool RegisterCurrentThread(uint32_t number, const char* name);
    /// Runs what is still posted and takes the number away.
    void UnregisterCurrentThread();

    /// Starts a thread with the number that does nothing but run posted calls. False when the number is taken or out of
    /// range, or the system gives no thread.
    bool StartThread(uint32_t number, const char* name);
    /// Lets a thread from StartThread run what is posted, ends it and waits for it. False when there is none. Not from
    /// that thread itself.
    bool StopThread(uint32_t number);

private:
    struct Slot;
    bool Take(uint32_t number);
    void Release(uint32_t number);
    void Run(uint32_t number);

    std::unique_ptr<Slot[]> m_slots;
    CriticalSection m_lock;
};

} // namespace qs
