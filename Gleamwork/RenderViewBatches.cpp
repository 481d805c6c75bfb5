// The graph of worker batches of a view.
#include "Gleamwork/RenderViewBatches.h"

#include <qs/Settings.h>
#include <qs/WorkerThread.h>

namespace gw {
namespace {

using Container = RenderViewBatchContainer;
using Member = qs::WorkerThreadBatch* Container::*;

constexpr int HELPABLE = qs::WORKER_BATCH_HELPABLE;
constexpr int CRITICAL = HELPABLE | qs::WORKER_BATCH_CRITICAL;
constexpr int SERIAL = HELPABLE | qs::WORKER_BATCH_SERIAL;
constexpr qs::EWorkerThreadBatchPriority HIGH = qs::WORKER_BATCH_PRIORITY_HIGH;
constexpr qs::EWorkerThreadBatchPriority NORMAL = qs::WORKER_BATCH_PRIORITY_NORMAL;

struct BatchRow
{
    Member batch;
    const char* name;
    qs::EWorkerThreadBatchPriority priority;
    int flags;
    Member predecessors[qs::WorkerThreadBatchDesc::MAX_PREDECESSORS];
};

#define GW_BATCH(Name) &Container::Name, #Name

// In the order of registration, predecessors first.
const BatchRow ROWS[] = {
    {GW_BATCH(PreBatch), HIGH, CRITICAL, {}},
    {GW_BATCH(CullRenderBatch), HIGH, CRITICAL | SERIAL, {&Container::PreBatch}},
    {GW_BATCH(CullShadowBatch0), HIGH, CRITICAL | SERIAL, {&Container::CullRenderBatch}},
    {GW_BATCH(CullShadowBatch1), HIGH, CRITICAL | SERIAL, {&Container::CullShadowBatch0}},
    {GW_BATCH(CullShadowBatch2), HIGH, CRITICAL | SERIAL, {&Container::CullShadowBatch1}},
    {GW_BATCH(CullShadowBatch3), HIGH, CRITICAL | SERIAL, {&Container::CullShadowBatch2}},
    {GW_BATCH(ShadowBatch0), NORMAL, CRITICAL, {&Container::CullShadowBatch0}},
    {GW_BATCH(ShadowBatch1), NORMAL, CRITICAL, {&Container::CullShadowBatch1}},
    {GW_BATCH(ShadowBatch2), NORMAL, CRITICAL, {&Container::CullShadowBatch2}},
    {GW_BATCH(ShadowBatch3), NORMAL, CRITICAL, {&Container::CullShadowBatch3}},
    {GW_BATCH(ShadowWaitBatch0_1), HIGH, CRITICAL, {&Container::ShadowBatch0, &Container::ShadowBatch1}},
    {GW_BATCH(ShadowWaitBatch2_3), HIGH, CRITICAL, {&Container::ShadowBatch2, &Container::ShadowBatch3}},
    {GW_BATCH(ShadowWaitBatch), HIGH, CRITICAL, {&Container::ShadowWaitBatch0_1, &Container::ShadowWaitBatch2_3}},
    {GW_BATCH(CullBatch), HIGH, HELPABLE, {&Container::CullRenderBatch}},
    {GW_BATCH(CullDepBatch), HIGH, SERIAL, {&Container::CullBatch}},
    {GW_BATCH(IndepBatch), NORMAL, HELPABLE, {&Container::CullBatch}},
    {GW_BATCH(DebugBatch),
     NORMAL,
     HELPABLE,
     {&Container::CullDepBatch, &Container::IndepBatch, &Container::ShadowWaitBatch}},
    {GW_BATCH(LeaveGameDrawScopeBatch), HIGH, HELPABLE, {&Container::DebugBatch}},
};

#undef GW_BATCH

qs::WorkerThreadScheduler& GetScheduler()
{
    return *gCore.workerThreadScheduler;
}

qs::WorkerThreadBatch* Get(const Container& container, Member member)
{
    return member ? container.*member : nullptr;
}

} // namespace

RenderViewBatchContainer::~RenderViewBatchContainer()
{
    for (const BatchRow& row : ROWS) {
        GetScheduler().UnregisterBatch(this->*row.batch);
    }
}

void RenderViewBatchContainer::Register()
{
    for (const BatchRow& row : ROWS) {
        const auto& before = row.predecessors;
        this->*row.batch =
            GetScheduler().RegisterNewBatch({row.name, row.priority, row.flags, -1, Get(*this, before[0]),
                                             Get(*this, before[1]), Get(*this, before[2])});
    }
}

void RenderViewBatchContainer::Start()
{
    qs::WorkerThreadScheduler& scheduler = GetScheduler();
    scheduler.StartBatch(PreBatch);
    for (const BatchRow& row : ROWS) {
        if (row.batch != &RenderViewBatchContainer::PreBatch) {
            scheduler.StartBatch(this->*row.batch);
            scheduler.FinishBatch(this->*row.batch);
        }
    }
    scheduler.FinishBatch(PreBatch);
}

void RenderViewBatchContainer::Wait()
{
    for (const BatchRow& row : ROWS) {
        GetScheduler().WaitForBatch(this->*row.batch, true);
    }
}

} // namespace gw
