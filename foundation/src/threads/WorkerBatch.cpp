// How batches become ready, run and become done: a lock-free count each decides, and oneTBB runs the work.
#include "WorkerBatch.h"

#include <exception>
#include <thread>
#include <utility>

#include <qs/Profile.h>

namespace qs {

namespace {

constexpr size_t WORK_CHUNK = 16;

} // namespace

// False when the predecessor is idle, so that there is nothing to wait for.
bool WorkerThreadBatch::LinkBehind(WorkerThreadBatch& predecessor, details::Edge& edge)
{
    edge.successor = this;
    edge.next = predecessor.m_successors.load(std::memory_order_acquire);
    do {
        if (edge.next == details::IDLE) {
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

namespace {

/// Work that the thread is running; work that helps while it waits nests.
struct RunningWork
{
    const WorkerThreadBatch* batch;
    const RunningWork* outer;
};
thread_local const RunningWork* runningWork = nullptr;

/// Batches that this thread has to complete, as a list so that a long chain of empty ones does not recurse.
thread_local WorkerThreadBatch* doneList = nullptr;
thread_local bool completing = false;

} // namespace

bool details::RunsWorkOf(const WorkerThreadBatch& batch)
{
    for (const RunningWork* running = runningWork; running; running = running->outer) {
        if (running->batch == &batch) {
            return true;
        }
    }
    return false;
}

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
            work = batch.m_released.load(std::memory_order_relaxed) ? batch.TakeFirst() : nullptr;
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
        batch.m_released.store(true, std::memory_order_relaxed);
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
    details::Edge* edge = batch.m_successors.exchange(details::IDLE, std::memory_order_acq_rel);
    batch.m_completions.fetch_add(1, std::memory_order_release);
    batch.m_completions.notify_all();
    while (edge) {
        details::Edge* const next = edge->next;
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
        if (batch.m_released.load(std::memory_order_relaxed) && batch.m_first && batch.m_running < batch.m_maxThreads) {
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

} // namespace qs
