// Worker batches: a graph of work that runs on all processors, once or every frame.
//
// A batch is registered once and started as often as wanted, usually once a frame:
//
//     StartBatch(batch);                 the batch is open: it takes work
//     AddWork(batch, [..] { .. });       any number, from any thread, also from inside the batch's own work
//     FinishBatch(batch);                no more work will be added from outside
//     WaitForBatch(batch, true);         done: all its work has run
//
// Work runs as soon as every predecessor that was started before the batch and is not done yet becomes done; until then
// it is held back. A predecessor that is not started counts as done. The batch is done when it is finished, its
// predecessors are done and its work has run; with no work it is done at once, without a trip through a queue, and so a
// graph of empty batches costs a few atomic operations each. Nothing is allocated by a start, and work of up to
// WorkerThreadWork::INLINE_BYTES allocates nothing once the batch has seen as much before.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include <qs/Export.h>

namespace qs {

/// A registered batch; only the scheduler looks inside.
class WorkerThreadBatch;

/// How urgent a batch's work is among batches that are ready.
enum EWorkerThreadBatchPriority : int
{
    WORKER_BATCH_PRIORITY_HIGH = 0,
    WORKER_BATCH_PRIORITY_NORMAL = 1,
};

/// Bits of the flags word; others are kept and mean nothing.
enum EWorkerThreadBatchFlag : int
{
    /// A thread that waits may run the batch's work.
    WORKER_BATCH_HELPABLE = 2,
    /// Much hangs behind the batch: one level more urgent than its priority says.
    WORKER_BATCH_CRITICAL = 16,
    /// Its work runs one at a time, in the order of adding.
    WORKER_BATCH_SERIAL = 32,
};

/// What RegisterNewBatch needs to know.
struct QS_API WorkerThreadBatchDesc
{
    /// `name` is shown in traces and messages and is copied. `maxThreads`: how many threads may work on the batch at
    /// once; not above 0 for as many as there are. Up to three batches that must be done first, null for none.
    WorkerThreadBatchDesc(const char* name, EWorkerThreadBatchPriority priority, int flags, int maxThreads,
                          WorkerThreadBatch* first = nullptr, WorkerThreadBatch* second = nullptr,
                          WorkerThreadBatch* third = nullptr);

    static constexpr int MAX_PREDECESSORS = 3;

    const char* m_name;
    EWorkerThreadBatchPriority m_priority;
    int m_flags;
    int m_maxThreads;
    WorkerThreadBatch* m_predecessors[MAX_PREDECESSORS];
};

/// One piece of work, kept in the batch that it belongs to.
struct WorkerThreadWork
{
    static constexpr size_t INLINE_BYTES = 48;

    WorkerThreadWork* next;
    void (*run)(void* storage);  ///< runs what stands in the storage
    void (*drop)(void* storage); ///< destroys it
    alignas(16) unsigned char storage[INLINE_BYTES];
};

/// Runs batches on the process's worker threads. The one instance is gCore's. All operations may be called from every
/// thread; for one batch, start, finish and unregister are its owner's.
class QS_API WorkerThreadScheduler
{
public:
    WorkerThreadScheduler();
    /// Waits for work that is running.
    ~WorkerThreadScheduler();
    WorkerThreadScheduler(const WorkerThreadScheduler&) = delete;
    WorkerThreadScheduler& operator=(const WorkerThreadScheduler&) = delete;

    /// Never null. The batch is idle at first.
    WorkerThreadBatch* RegisterNewBatch(WorkerThreadBatchDesc desc);
    /// Gives a batch back; null is accepted. A batch that is not idle asserts and is waited for; inside its own work it
    /// asserts and stays. Batches that name it as predecessor go on without it; none of them may be started at the same
    /// moment.
    void UnregisterBatch(WorkerThreadBatch* batch);

    /// Opens the batch and lets it run as soon as its predecessors are done. A batch that is not idle asserts and goes
    /// on as it was.
    void StartBatch(WorkerThreadBatch* batch);
    /// Closes the batch; one that is not open asserts.
    void FinishBatch(WorkerThreadBatch* batch);
    /// Blocks until the batch is done; at once when it is idle. With `help` the thread meanwhile runs work of the batch
    /// and of those it waits for, so it must hold no lock that such work takes. Inside the batch's own work it asserts
    /// and returns, since that wait would never end.
    void WaitForBatch(WorkerThreadBatch* batch, bool help);
    /// True when the batch is not started, or done.
    bool IsIdle(const WorkerThreadBatch* batch) const;

    /// Adds work, a callable without arguments, to a batch that is open or whose own work is running. False for any
    /// other batch, with an assertion; the work is then destroyed and not run. What throws an exception is reported as
    /// an assertion and counts as done.
    template <class F>
    bool AddWork(WorkerThreadBatch* batch, F&& work);

    /// Threads that run work, without those that help.
    int GetWorkerCount() const;

private:
    struct Impl;
    /// A free piece of work of the batch, or null when the batch takes none.
    WorkerThreadWork* AcquireWork(WorkerThreadBatch* batch);
    void SubmitWork(WorkerThreadBatch* batch, WorkerThreadWork* work);

    std::unique_ptr<Impl> m_impl;
};

template <class F>
bool WorkerThreadScheduler::AddWork(WorkerThreadBatch* batch, F&& work)
{
    using Callable = std::decay_t<F>;
    constexpr bool fits = sizeof(Callable) <= WorkerThreadWork::INLINE_BYTES && alignof(Callable) <= 16 &&
                          std::is_nothrow_move_constructible_v<Callable>;
    // What may throw stands before the batch counts the work.
    std::conditional_t<fits, Callable, std::unique_ptr<Callable>> kept = [&] {
        if constexpr (fits) {
            return Callable(std::forward<F>(work));
        } else {
            return std::make_unique<Callable>(std::forward<F>(work));
        }
    }();
    using Kept = decltype(kept);
    WorkerThreadWork* slot = AcquireWork(batch);
    if (!slot) {
        return false;
    }
    ::new (static_cast<void*>(slot->storage)) Kept(std::move(kept));
    slot->run = [](void* storage) {
        if constexpr (fits) {
            (*static_cast<Kept*>(storage))();
        } else {
            (**static_cast<Kept*>(storage))();
        }
    };
    slot->drop = [](void* storage) { static_cast<Kept*>(storage)->~Kept(); };
    SubmitWork(batch, slot);
    return true;
}

} // namespace qs
