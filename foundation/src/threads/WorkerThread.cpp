// The worker scheduler: a lock-free count per batch decides when it may run and when it is done; oneTBB runs the work.
#include <qs/WorkerThread.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include <oneapi/tbb/info.h>
#include <oneapi/tbb/task_arena.h>

#include <qs/FixedString.h>
#include <qs/Log.h>
#include <qs/Profile.h>
#include <qs/Settings.h>

#define BATCH_ASSERT(operation, ...)                                                                                   \
    QS_LOG_ASSERT("foundation/WorkerThread", "qs::WorkerThreadScheduler::" operation, __VA_ARGS__)

namespace qs {

namespace {

/// One batch waiting for one predecessor. It stands in the successor and is linked into the predecessor's list.
struct Edge
{
    Edge* next = nullptr;
    WorkerThreadBatch* successor = nullptr;
};

/// Head of the list of successors while the batch is idle: nobody can wait for it.
Edge idleMark;
Edge* const IDLE = &idleMark;

constexpr int PRIORITY_LEVELS = 3;
constexpr size_t WORK_CHUNK = 16;

/// The process's scheduler; its threads come with the first work.
struct SchedulerLife
{
    WorkerThreadScheduler scheduler;

    SchedulerLife() { gCore.workerThreadScheduler = &scheduler; }
    ~SchedulerLife() { gCore.workerThreadScheduler = nullptr; }
};

} // namespace

/// States of a batch. Idle: m_successors is IDLE. StartBatch opens it. m_gate counts predecessors that are not done and
/// the start itself; at 0 the work is released. m_remaining counts pieces of work, the open state and the closed gate;
/// whoever takes it to 0 makes the batch idle and tells its successors.
class WorkerThreadBatch
{
public:
    std::atomic<Edge*> m_successors{IDLE};
    std::atomic<int> m_gate{0};
    std::atomic<int64_t> m_remaining{0};
    std::atomic<bool> m_open{false};
    std::atomic<uint32_t> m_completions{0}; ///< what waiting threads sleep on
    std::array<Edge, WorkerThreadBatchDesc::MAX_PREDECESSORS> m_edges;
    std::array<std::atomic<WorkerThreadBatch*>, WorkerThreadBatchDesc::MAX_PREDECESSORS> m_predecessors{};
    WorkerThreadBatch* m_nextDone = nullptr; ///< list of batches to complete, local to one thread

    std::vector<WorkerThreadBatch*> m_dependents; ///< who names this batch; guarded by the scheduler's lock

    FixedString m_name;
    int m_flags = 0;
    int m_maxThreads = 0;
    int m_level = 0;

    // Guarded by m_lock. A batch without work touches none of it but m_released.
    std::mutex m_lock;
    bool m_released = false;
    int m_scheduled = 0; ///< tasks handed to oneTBB that have not begun
    int m_running = 0;   ///< threads that are working on the batch
    WorkerThreadWork* m_first = nullptr;
    WorkerThreadWork** m_last = &m_first;
    WorkerThreadWork* m_free = nullptr;
    std::vector<std::unique_ptr<WorkerThreadWork[]>> m_chunks;

    bool IsIdle() const { return m_successors.load(std::memory_order_acquire) == IDLE; }
    bool LinkBehind(WorkerThreadBatch& predecessor, Edge& edge);
    WorkerThreadWork* TakeFreeWork();
    void Append(WorkerThreadWork* work);
    WorkerThreadWork* TakeFirst();
};

// False when the predecessor is idle, so that there is nothing to wait for.
bool WorkerThreadBatch::LinkBehind(WorkerThreadBatch& predecessor, Edge& edge)
{
    edge.successor = this;
    edge.next = predecessor.m_successors.load(std::memory_order_acquire);
    do {
        if (edge.next == IDLE) {
            return false;
        }
    } while (!predecessor.m_successors.compare_exchange_weak(edge.next, &edge, std::memory_order_acq_rel));
    return true;
}

WorkerThreadWork* WorkerThreadBatch::TakeFreeWork()
{
    std::lock_guard lock(m_lock);
    if (!m_free) {
        auto& chunk = m_chunks.emplace_back(new WorkerThreadWork[WORK_CHUNK]);
        for (size_t i = 0; i < WORK_CHUNK; ++i) {
            chunk[i].next = m_free;
            m_free = &chunk[i];
        }
    }
    WorkerThreadWork* work = m_free;
    m_free = work->next;
    return work;
}

void WorkerThreadBatch::Append(WorkerThreadWork* work)
{
    work->next = nullptr;
    *m_last = work;
    m_last = &work->next;
}

WorkerThreadWork* WorkerThreadBatch::TakeFirst()
{
    WorkerThreadWork* work = m_first;
    if (work) {
        m_first = work->next;
        if (!m_first) {
            m_last = &m_first;
        }
    }
    return work;
}

WorkerThreadBatchDesc::WorkerThreadBatchDesc(const char* name, EWorkerThreadBatchPriority priority, int flags,
                                             int maxThreads, WorkerThreadBatch* first, WorkerThreadBatch* second,
                                             WorkerThreadBatch* third)
    : m_name(name), m_priority(priority), m_flags(flags), m_maxThreads(maxThreads), m_predecessors{first, second, third}
{
}

struct WorkerThreadScheduler::Impl
{
    std::mutex m_lock; ///< guards the batches' registration
    std::deque<WorkerThreadBatch> m_batches;
    std::vector<WorkerThreadBatch*> m_unused;
    std::array<tbb::task_arena, PRIORITY_LEVELS> m_arenas{
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

namespace {

/// Work that the thread is running; work that helps while it waits nests.
struct RunningWork
{
    const WorkerThreadBatch* batch;
    const RunningWork* outer;
};
thread_local const RunningWork* runningWork = nullptr;

bool RunsWorkOf(const WorkerThreadBatch& batch)
{
    for (const RunningWork* running = runningWork; running; running = running->outer) {
        if (running->batch == &batch) {
            return true;
        }
    }
    return false;
}

/// Batches that this thread has to complete, as a list so that a long chain of empty ones does not recurse.
thread_local WorkerThreadBatch* doneList = nullptr;
thread_local bool completing = false;

} // namespace

// Hands one more task to oneTBB unless as many threads as may are on their way already.
void WorkerThreadScheduler::Impl::ScheduleNolock(WorkerThreadBatch& batch)
{
    if (batch.m_scheduled + batch.m_running < batch.m_maxThreads) {
        ++batch.m_scheduled;
        WorkerThreadBatch* target = &batch;
        m_arenas[batch.m_level].enqueue([this, target] { RunScheduled(*target); });
    }
}

void WorkerThreadScheduler::Impl::RunScheduled(WorkerThreadBatch& batch)
{
    {
        std::lock_guard lock(batch.m_lock);
        --batch.m_scheduled;
        if (batch.m_running >= batch.m_maxThreads) {
            return; // those who work on it go on until nothing is left
        }
        ++batch.m_running;
    }
    RunWork(batch);
}

// Runs work until none is left. The caller has counted the thread in m_running; behind this the batch may be anything.
bool WorkerThreadScheduler::Impl::RunWork(WorkerThreadBatch& batch)
{
    bool any = false;
    for (;;) {
        WorkerThreadWork* work;
        {
            std::lock_guard lock(batch.m_lock);
            work = batch.m_released ? batch.TakeFirst() : nullptr;
            if (!work) {
                --batch.m_running;
                return any;
            }
        }
        RunOne(batch, work);
        any = true;
    }
}

void WorkerThreadScheduler::Impl::RunOne(WorkerThreadBatch& batch, WorkerThreadWork* work)
{
    const RunningWork running{&batch, runningWork};
    runningWork = &running;
    try {
        HProfileSample sample(batch.m_name.ToChar());
        work->run(work->storage);
    } catch (const std::exception& error) {
        BATCH_ASSERT("AddWork", "Work of batch \"%s\" threw an exception: %s", batch.m_name.ToChar(), error.what());
    } catch (...) {
        BATCH_ASSERT("AddWork", "Work of batch \"%s\" threw an exception", batch.m_name.ToChar());
    }
    work->drop(work->storage);
    runningWork = running.outer;
    {
        std::lock_guard lock(batch.m_lock);
        work->next = batch.m_free;
        batch.m_free = work;
    }
    LowerRemaining(batch);
}

void WorkerThreadScheduler::Impl::OpenGate(WorkerThreadBatch& batch)
{
    {
        std::lock_guard lock(batch.m_lock);
        batch.m_released = true;
        for (WorkerThreadWork* work = batch.m_first; work; work = work->next) {
            ScheduleNolock(batch);
        }
    }
    LowerRemaining(batch);
}

void WorkerThreadScheduler::Impl::LowerGate(WorkerThreadBatch& batch, int by)
{
    if (batch.m_gate.fetch_sub(by, std::memory_order_acq_rel) == by) {
        OpenGate(batch);
    }
}

void WorkerThreadScheduler::Impl::LowerRemaining(WorkerThreadBatch& batch)
{
    if (batch.m_remaining.fetch_sub(1, std::memory_order_acq_rel) != 1) {
        return;
    }
    batch.m_nextDone = std::exchange(doneList, &batch);
    if (completing) {
        return;
    }
    completing = true;
    while (WorkerThreadBatch* done = doneList) {
        doneList = done->m_nextDone;
        Complete(*done);
    }
    completing = false;
}

// The batch becomes idle before its successors are told, and may be started again from then on; the edges that are
// walked belong to the successors, which cannot be done before they are told.
void WorkerThreadScheduler::Impl::Complete(WorkerThreadBatch& batch)
{
    Edge* edge = batch.m_successors.exchange(IDLE, std::memory_order_acq_rel);
    batch.m_completions.fetch_add(1, std::memory_order_release);
    batch.m_completions.notify_all();
    while (edge) {
        Edge* const next = edge->next;
        LowerGate(*edge->successor, 1);
        edge = next;
    }
}

// Runs work of the batch or, when it is held back, of what it waits for. False when there was none to run. `visits`
// bounds the search in graphs where many ways lead to one batch.
bool WorkerThreadScheduler::Impl::Help(WorkerThreadBatch& batch, int& visits)
{
    if (visits-- <= 0 || batch.IsIdle()) {
        return false;
    }
    if (batch.m_flags & WORKER_BATCH_HELPABLE) {
        std::unique_lock lock(batch.m_lock);
        if (batch.m_released && batch.m_first && batch.m_running < batch.m_maxThreads) {
            ++batch.m_running;
            lock.unlock();
            return RunWork(batch);
        }
    }
    for (const auto& predecessor : batch.m_predecessors) {
        WorkerThreadBatch* other = predecessor.load(std::memory_order_relaxed);
        if (other && Help(*other, visits)) {
            return true;
        }
    }
    return false;
}

// Tasks on their way and threads that are leaving touch the batch behind its end.
void WorkerThreadScheduler::Impl::WaitForThreads(WorkerThreadBatch& batch)
{
    std::unique_lock lock(batch.m_lock);
    while (batch.m_scheduled != 0 || batch.m_running != 0) {
        lock.unlock();
        std::this_thread::yield();
        lock.lock();
    }
}

WorkerThreadScheduler::WorkerThreadScheduler() : m_impl(std::make_unique<Impl>()) {}

WorkerThreadScheduler::~WorkerThreadScheduler()
{
    for (WorkerThreadBatch& batch : m_impl->m_batches) {
        m_impl->WaitForThreads(batch);
        while (WorkerThreadWork* work = batch.TakeFirst()) {
            work->drop(work->storage);
        }
    }
}

WorkerThreadBatch* WorkerThreadScheduler::RegisterNewBatch(WorkerThreadBatchDesc desc)
{
    std::lock_guard lock(m_impl->m_lock);
    WorkerThreadBatch* batch;
    if (m_impl->m_unused.empty()) {
        batch = &m_impl->m_batches.emplace_back();
    } else {
        batch = m_impl->m_unused.back();
        m_impl->m_unused.pop_back();
    }
    batch->m_name = FixedString::Create(desc.m_name ? desc.m_name : "", -1);
    batch->m_flags = desc.m_flags;
    batch->m_level = (desc.m_priority == WORKER_BATCH_PRIORITY_HIGH) + ((desc.m_flags & WORKER_BATCH_CRITICAL) != 0);
    // More threads than that would only find the work taken.
    const int most = tbb::info::default_concurrency() + 1;
    batch->m_maxThreads = desc.m_maxThreads > 0 ? std::min(desc.m_maxThreads, most) : most;
    if (desc.m_flags & WORKER_BATCH_SERIAL) {
        batch->m_maxThreads = 1;
    }
    for (int i = 0; i < WorkerThreadBatchDesc::MAX_PREDECESSORS; ++i) {
        batch->m_predecessors[i].store(desc.m_predecessors[i], std::memory_order_relaxed);
        if (desc.m_predecessors[i]) {
            desc.m_predecessors[i]->m_dependents.push_back(batch);
        }
    }
    return batch;
}

void WorkerThreadScheduler::UnregisterBatch(WorkerThreadBatch* batch)
{
    if (!batch) {
        return;
    }
    if (!batch->IsIdle()) {
        BATCH_ASSERT("UnregisterBatch", "Batch \"%s\" is unregistered while it is in use", batch->m_name.ToChar());
        if (batch->m_open.load(std::memory_order_relaxed)) {
            FinishBatch(batch);
        }
        WaitForBatch(batch, true);
    }
    m_impl->WaitForThreads(*batch);
    std::lock_guard lock(m_impl->m_lock);
    for (WorkerThreadBatch* dependent : batch->m_dependents) {
        for (auto& predecessor : dependent->m_predecessors) {
            if (predecessor.load(std::memory_order_relaxed) == batch) {
                predecessor.store(nullptr, std::memory_order_relaxed);
            }
        }
    }
    batch->m_dependents.clear();
    for (auto& predecessor : batch->m_predecessors) {
        if (WorkerThreadBatch* other = predecessor.exchange(nullptr, std::memory_order_relaxed)) {
            std::erase(other->m_dependents, batch);
        }
    }
    m_impl->m_unused.push_back(batch);
}

void WorkerThreadScheduler::StartBatch(WorkerThreadBatch* batch)
{
    Edge* idle = IDLE;
    if (!batch->m_successors.compare_exchange_strong(idle, nullptr, std::memory_order_acq_rel)) {
        BATCH_ASSERT("StartBatch", "Batch \"%s\" is started while it is not done", batch->m_name.ToChar());
        return;
    }
    constexpr int all = WorkerThreadBatchDesc::MAX_PREDECESSORS;
    batch->m_gate.store(1 + all, std::memory_order_relaxed);
    batch->m_remaining.store(2, std::memory_order_relaxed);
    {
        std::lock_guard lock(batch->m_lock);
        batch->m_released = false;
    }
    batch->m_open.store(true, std::memory_order_release);
    int linked = 0;
    for (int i = 0; i < all; ++i) {
        WorkerThreadBatch* predecessor = batch->m_predecessors[i].load(std::memory_order_relaxed);
        if (predecessor && batch->LinkBehind(*predecessor, batch->m_edges[i])) {
            ++linked;
        }
    }
    m_impl->LowerGate(*batch, 1 + all - linked);
}

void WorkerThreadScheduler::FinishBatch(WorkerThreadBatch* batch)
{
    if (!batch->m_open.exchange(false, std::memory_order_acq_rel)) {
        BATCH_ASSERT("FinishBatch", "Batch \"%s\" is finished without being started", batch->m_name.ToChar());
        return;
    }
    m_impl->LowerRemaining(*batch);
}

void WorkerThreadScheduler::WaitForBatch(WorkerThreadBatch* batch, bool help)
{
    if (RunsWorkOf(*batch)) {
        BATCH_ASSERT("WaitForBatch", "Work of batch \"%s\" waits for its own batch", batch->m_name.ToChar());
        return;
    }
    for (;;) {
        const uint32_t completions = batch->m_completions.load(std::memory_order_acquire);
        if (batch->IsIdle()) {
            return;
        }
        int visits = 64;
        if (!help || !m_impl->Help(*batch, visits)) {
            batch->m_completions.wait(completions, std::memory_order_acquire);
        }
    }
}

bool WorkerThreadScheduler::IsIdle(const WorkerThreadBatch* batch) const
{
    return batch->IsIdle();
}

WorkerThreadWork* WorkerThreadScheduler::AcquireWork(WorkerThreadBatch* batch)
{
    const bool accepts = batch->m_open.load(std::memory_order_acquire) || RunsWorkOf(*batch);
    int64_t remaining = accepts ? batch->m_remaining.load(std::memory_order_relaxed) : 0;
    while (remaining > 0) {
        if (batch->m_remaining.compare_exchange_weak(remaining, remaining + 1, std::memory_order_relaxed)) {
            return batch->TakeFreeWork();
        }
    }
    BATCH_ASSERT("AddWork", "Batch \"%s\" takes no work: it is not open", batch->m_name.ToChar());
    return nullptr;
}

void WorkerThreadScheduler::SubmitWork(WorkerThreadBatch* batch, WorkerThreadWork* work)
{
    std::lock_guard lock(batch->m_lock);
    batch->Append(work);
    if (batch->m_released) {
        m_impl->ScheduleNolock(*batch);
    }
}

namespace {

SchedulerLife schedulerLife;

} // namespace

int WorkerThreadScheduler::GetWorkerCount() const
{
    return std::max(1, tbb::info::default_concurrency() - 1);
}

} // namespace qs
