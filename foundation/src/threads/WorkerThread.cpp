// The worker scheduler's operations.
#include <qs/WorkerThread.h>

#include <algorithm>

#include <oneapi/tbb/info.h>

#include <qs/Settings.h>

#include "WorkerBatch.h"

namespace qs {

WorkerThreadBatchDesc::WorkerThreadBatchDesc(const char* name, EWorkerThreadBatchPriority priority, int flags,
                                             int maxThreads, WorkerThreadBatch* first, WorkerThreadBatch* second,
                                             WorkerThreadBatch* third)
    : m_name(name), m_priority(priority), m_flags(flags), m_maxThreads(maxThreads), m_predecessors{first, second, third}
{
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
    if (details::RunsWorkOf(*batch)) {
        BATCH_ASSERT("UnregisterBatch", "Batch \"%s\" is unregistered by its own work and stays",
                     batch->m_name.ToChar());
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
    details::Edge* idle = details::IDLE;
    if (!batch->m_successors.compare_exchange_strong(idle, nullptr, std::memory_order_acq_rel)) {
        BATCH_ASSERT("StartBatch", "Batch \"%s\" is started while it is not done", batch->m_name.ToChar());
        return;
    }
    constexpr int all = WorkerThreadBatchDesc::MAX_PREDECESSORS;
    batch->m_gate.store(1 + all, std::memory_order_relaxed);
    batch->m_remaining.store(2, std::memory_order_relaxed);
    batch->m_released.store(false, std::memory_order_relaxed);
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
    if (details::RunsWorkOf(*batch)) {
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
    const bool accepts = batch->m_open.load(std::memory_order_acquire) || details::RunsWorkOf(*batch);
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
    if (batch->m_released.load(std::memory_order_relaxed)) {
        m_impl->ScheduleNolock(*batch);
    }
}

int WorkerThreadScheduler::GetWorkerCount() const
{
    return std::max(1, tbb::info::default_concurrency() - 1);
}

namespace {

/// The process's scheduler; its threads come with the first work.
struct SchedulerLife
{
    WorkerThreadScheduler scheduler;

    SchedulerLife() { gCore.workerThreadScheduler = &scheduler; }
    ~SchedulerLife() { gCore.workerThreadScheduler = nullptr; }
} schedulerLife;

} // namespace

} // namespace qs
