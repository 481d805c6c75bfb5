// The graph of worker batches of a view.
#pragma once

#include "Gleamwork/Export.h"

#include <qs/Memory.h>

namespace qs {
class WorkerThreadBatch;
}

namespace gw {

/// Eighteen batches of gCore's scheduler, through which a view's work runs in parallel:
///
///     PreBatch - CullRenderBatch -+- CullShadowBatch0 - CullShadowBatch1 - CullShadowBatch2 - CullShadowBatch3
///                                 |        |                  |                  |                  |
///                                 |   ShadowBatch0       ShadowBatch1       ShadowBatch2       ShadowBatch3
///                                 |        +---------+--------+                  +---------+--------+
///                                 |         ShadowWaitBatch0_1                   ShadowWaitBatch2_3
///                                 |                  +------- ShadowWaitBatch ---------+
///                                 |                                  |
///                                 +- CullBatch -+- CullDepBatch -+- DebugBatch - LeaveGameDrawScopeBatch
///                                               +- IndepBatch ---+
///
/// The culls and "CullDepBatch" run their work one at a time. Work goes into a batch between its start and its finish
/// (qs::WorkerThreadScheduler::AddWork); since Start finishes the batches too, that is from work of a batch that runs
/// before, or in a view that starts its batches itself.
class GW_API RenderViewBatchContainer
{
public:
    QS_DECLARE_ALLOC(gw::RenderViewBatchContainer)

    RenderViewBatchContainer() = default;
    RenderViewBatchContainer(const RenderViewBatchContainer&) = delete;
    RenderViewBatchContainer& operator=(const RenderViewBatchContainer&) = delete;
    /// Gives the batches back; they must be idle.
    ~RenderViewBatchContainer();

    /// Once. The members are null before.
    void Register();
    /// Starts and finishes all batches; the finish of "PreBatch", the last call, lets the graph run.
    void Start();
    /// Until all are done, helping.
    void Wait();

    qs::WorkerThreadBatch* CullBatch = nullptr;
    qs::WorkerThreadBatch* IndepBatch = nullptr;
    qs::WorkerThreadBatch* CullDepBatch = nullptr;
    qs::WorkerThreadBatch* PreBatch = nullptr;
    qs::WorkerThreadBatch* ShadowBatch0 = nullptr;
    qs::WorkerThreadBatch* ShadowBatch1 = nullptr;
    qs::WorkerThreadBatch* ShadowBatch2 = nullptr;
    qs::WorkerThreadBatch* ShadowBatch3 = nullptr;
    qs::WorkerThreadBatch* CullShadowBatch0 = nullptr;
    qs::WorkerThreadBatch* CullShadowBatch1 = nullptr;
    qs::WorkerThreadBatch* CullShadowBatch2 = nullptr;
    qs::WorkerThreadBatch* CullShadowBatch3 = nullptr;
    qs::WorkerThreadBatch* ShadowWaitBatch0_1 = nullptr;
    qs::WorkerThreadBatch* ShadowWaitBatch2_3 = nullptr;
    qs::WorkerThreadBatch* ShadowWaitBatch = nullptr;
    qs::WorkerThreadBatch* CullRenderBatch = nullptr;
    qs::WorkerThreadBatch* DebugBatch = nullptr;
    qs::WorkerThreadBatch* LeaveGameDrawScopeBatch = nullptr;
};

} // namespace gw
