// What the scheduler keeps of a batch, and of itself.
#pragma once

#include <array>
#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include <oneapi/tbb/task_arena.h>

#include <qs/FixedString.h>
#include <qs/Log.h>
#include <qs/WorkerThread.h>

#define BATCH_ASSERT(operation, ...)                                                                                   \
    QS_LOG_ASSERT("foundation/WorkerThread", "qs::WorkerThreadScheduler::" operation, __VA_ARGS__)

namespace qs {

namespace details {

/// One batch waiting for one predecessor. It stands in the successor and is linked into the predecessor's list.
struct Edge
{
    Edge* next = nullptr;
    WorkerThreadBatch* successor = nullptr;
};

/// Head of the list of successors while the batch is idle: nobody can wait for it.
inline Edge idleMark;
inline Edge* const IDLE = &idleMark;

/// True when the calling thread is inside work of the batch.
bool RunsWorkOf(const WorkerThreadBatch& batch);

} // namespace details

/// States of a batch. Idle: m_successors is IDLE. StartBatch opens it. m_gate counts predecessors that are not done and
/// the start itself; at 0 the work is released. m_remaining counts pieces of work, the open state and the closed gate;
/// whoever takes it to 0 makes the batch idle and tells its successors.
class WorkerThreadBatch
{
public:
    std::atomic<details::Edge*> m_successors{details::IDLE};
    std::atomic<int> m_gate{0};
    std::atomic<int64_t> m_remaining{0};
    std::atomic<bool> m_open{false};
    std::atomic<uint32_t> m_completions{0}; ///< what waiting threads sleep on
    std::array<details::Edge, WorkerThreadBatchDesc::MAX_PREDECESSORS> m_edges;
    std::array<std::atomic<WorkerThreadBatch*>, WorkerThreadBatchDesc::MAX_PREDECESSORS> m_predecessors{};
    WorkerThreadBatch* m_nextDone = nullptr; ///< list of batches to complete, local to one thread

    std::vector<WorkerThreadBatch*> m_dependents; ///< who names this batch; guarded by the scheduler's lock

    FixedString m_name;
    int m_flags = 0;
    int m_maxThreads = 0;
    int m_level = 0;

    // Guarded by m_lock, but that a start clears m_released without it: whoever takes work sees the work appended, and
    // so what stood before it.
    std::mutex m_lock;
    std::atomic<bool> m_released{false};
    int m_scheduled = 0; ///< tasks handed to oneTBB that have not begun
    int m_running = 0;   ///< threads that are working on the batch
    WorkerThreadWork* m_first = nullptr;
    WorkerThreadWork** m_last = &m_first;
    WorkerThreadWork* m_free = nullptr;
    std::vector<std::unique_ptr<WorkerThreadWork[]>> m_chunks;

    bool IsIdle() const { return m_successors.load(std::memory_order_acquire) == details::IDLE; }
    bool LinkBehind(WorkerThreadBatch& predecessor, details::Edge& edge);
    WorkerThreadWork* TakeFreeWork();
    void Append(WorkerThreadWork* work);
    WorkerThreadWork* TakeFirst();
};

/// The batches, and an arena of oneTBB for each level of urgency.
struct WorkerThreadScheduler::Impl
{
    std::mutex m_lock; ///< guards the batches' registration
    std::deque<WorkerThreadBatch> m_batches;
    std::vector<WorkerThreadBatch*> m_unused;
    std::array<tbb::task_arena, 3> m_arenas{
        tbb::task_arena(tbb::task_arena::automatic, 1, tbb::task_arena::priority::low),
        tbb::task_arena(tbb::task_arena::automatic, 1, tbb::task_arena::priority::normal),
        tbb::task_arena(tbb::task_arena::automatic, 1, tbb::task_arena::priority::high)};

    void OpenGate(WorkerThreadBatch& batch);
    void LowerRemaining(WorkerThreadBatch& batch);
    void Complete(WorkerThreadBatch& batch);
    void LowerGate(WorkerThreadBatch& batch, int by);
    void ScheduleNolock(WorkerThreadBatch& batch);
    void RunScheduled(WorkerThreadBatch& batch);
    bool RunWork(WorkerThreadBatch& batch);
    void RunOne(WorkerThreadBatch& batch, WorkerThreadWork* work);
    bool Help(WorkerThreadBatch& batch, int& visits);
    void WaitForThreads(WorkerThreadBatch& batch);
};

} // namespace qs
