// The view's steps in a frame and the culling.
#include "draw/ViewerView.h"

#include "draw/ViewerStage.h"

#include <Gleamwork/CameraController.h>
#include <Gleamwork/RenderViewBatches.h>
#include <Gleamwork/StageGroup.h>

#include <algorithm>
#include <qs/Profile.h>
#include <qs/Settings.h>

namespace gleamview {

namespace {

/// False when the box lies wholly behind one of the planes, whose normals point inside.
bool TouchesFrustum(const qs::Bound& bound, const gw::CameraController& camera)
{
    const Vector4f* planes = camera.GetCullingPlanes();
    const Vector3i* farthest = camera.GetNVertices();
    for (int i = 0; i < 6; ++i) {
        const Vector3f corner(farthest[i].x ? bound.maximum.x : bound.minimum.x,
                              farthest[i].y ? bound.maximum.y : bound.minimum.y,
                              farthest[i].z ? bound.maximum.z : bound.minimum.z);
        if (planes[i].x * corner.x + planes[i].y * corner.y + planes[i].z * corner.z + planes[i].w < 0.0f) {
            return false;
        }
    }
    return true;
}

} // namespace

ViewerView::ViewerView(gw::RenderFrame* frame, const Placement& placement, const SceneContext& context, bool isFirst)
    : gw::RenderView(frame, placement.width, placement.height, placement.x, placement.y), m_context(context),
      m_isFirst(isFirst)
{
}

void ViewerView::AddStage(ViewerStage* stage)
{
    m_stages.push_back(stage);
    AddAppStage(stage);
}

void ViewerView::Update(const qs::GameTime& time)
{
    if (gw::CameraController* camera = GetNonConstCameraController()) {
        camera->Update(time);
        camera->UpdateDirtyComponents();
    }
}

void ViewerView::StartCollecting()
{
    GetStageGroup()->StartCollecting(this);
}

void ViewerView::DoWhileCollecting()
{
    GetStageGroup()->DoWhileCollecting(this);
}

void ViewerView::CancelCollecting()
{
    GetStageGroup()->Cancel();
}

void ViewerView::RefreshStages()
{
    for (ViewerStage* stage : m_stages) {
        stage->Refresh();
    }
}

void ViewerView::OnStateChanged()
{
    GetStageGroup()->OnStateChanged();
}

/// Opens the batches one by one, in the order in which they depend on each other, and lets the stages fill each.
void ViewerView::StartBatches()
{
    qs::WorkerThreadScheduler& scheduler = *gCore.workerThreadScheduler;
    gw::RenderViewBatchContainer& batches = *GetBatchContainer();
    scheduler.StartBatch(batches.PreBatch);
    scheduler.StartBatch(batches.CullRenderBatch);
    scheduler.AddWork(batches.CullRenderBatch, [this] { Cull(); });
    scheduler.FinishBatch(batches.CullRenderBatch);
    for (qs::WorkerThreadBatch* batch :
         {batches.CullShadowBatch0, batches.CullShadowBatch1, batches.CullShadowBatch2, batches.CullShadowBatch3,
          batches.ShadowBatch0, batches.ShadowBatch1, batches.ShadowBatch2, batches.ShadowBatch3,
          batches.ShadowWaitBatch0_1, batches.ShadowWaitBatch2_3, batches.ShadowWaitBatch, batches.CullBatch,
          batches.CullDepBatch, batches.IndepBatch, batches.DebugBatch, batches.LeaveGameDrawScopeBatch}) {
        scheduler.StartBatch(batch);
        for (ViewerStage* stage : m_stages) {
            stage->AddWork(*this, batch);
        }
        scheduler.FinishBatch(batch);
    }
    scheduler.FinishBatch(batches.PreBatch);
}

/// What is recorded must be whole before it is handed over, so the batches are waited for here already.
void ViewerView::FinishAndExecute()
{
    FinishBatches();
    GetStageGroup()->FinishAndExecute(this);
}

void ViewerView::Cull()
{
    qs::HProfileSample sample("gleamview::Cull");
    const gw::CameraController& camera = *GetCameraController();
    const Vector3f eye = camera.GetWorldTranslate();
    const Vector3f forward = camera.GetDirVector();
    m_seenSolid.clear();
    m_seenBlended.clear();
    for (const DrawItem& item : m_context.scene->GetItems()) {
        if (!TouchesFrustum(item.bound, camera)) {
            continue;
        }
        const float depth = (item.bound.GetCenter() - eye).Dot(forward);
        (item.material->isBlended ? m_seenBlended : m_seenSolid).push_back({depth, &item});
    }
    std::stable_sort(m_seenSolid.begin(), m_seenSolid.end(),
                     [](const Seen& a, const Seen& b) { return a.key < b.key; });
    std::stable_sort(m_seenBlended.begin(), m_seenBlended.end(),
                     [](const Seen& a, const Seen& b) { return a.key > b.key; });
    const auto take = [](const std::vector<Seen>& seen, std::vector<const DrawItem*>& list) {
        list.clear();
        std::transform(seen.begin(), seen.end(), std::back_inserter(list), [](const Seen& s) { return s.item; });
    };
    take(m_seenSolid, m_solid);
    take(m_seenBlended, m_blended);
}

} // namespace gleamview
