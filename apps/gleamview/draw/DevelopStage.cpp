// Recording of the developing pass and of the overlay.
#include "draw/DevelopStage.h"

#include "draw/ViewerView.h"

#include <Gleamwork/RenderFrame.h>
#include <Gleamwork/RenderViewBatches.h>
#include <Gleamwork/Renderer.h>

#include <qs/Profile.h>
#include <qs/Settings.h>

namespace gleamview {

DevelopStage::DevelopStage(const SceneContext& context, const SceneStage& scene, qs::ObjectHandle shader)
    : ViewerStage(StageDevelop, context, 1), m_scene(scene), m_shader(shader)
{
}

void DevelopStage::AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch)
{
    if (batch == view.GetBatchContainer()->IndepBatch) {
        gCore.workerThreadScheduler->AddWork(batch, [this, &view] { Record(view); });
    }
}

void DevelopStage::Record(const ViewerView& view)
{
    qs::HProfileSample sample("gleamview::RecordDevelop");
    gw::RendererCommandBuffer& commands = GetRecording(0);
    ChangeToMainFrameBuffer(commands, &view, false);
    commands.BeginRenderFullScreenTriangle(m_shader, gw::details::RendererBase::DS(gw::DS_NONE), 0);
    commands.SetTexture(m_context.names.sceneColorTexture, m_scene.GetColor(), -1);
    commands.EndRenderFullScreenTriangle();
}

OverlayStage::OverlayStage(const SceneContext& context) : ViewerStage(StageOverlay, context, 1) {}

void OverlayStage::AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch)
{
    if (batch == view.GetBatchContainer()->DebugBatch) {
        gCore.workerThreadScheduler->AddWork(batch, [this, &view] { Record(view); });
    }
}

void OverlayStage::Record(const ViewerView& view)
{
    using gw::details::RendererBase;
    qs::HProfileSample sample("gleamview::RecordOverlay");
    if (view.IsFirst()) {
        return;
    }
    gw::RendererCommandBuffer& commands = GetRecording(0);
    const Vector4i& viewport = view.GetViewportForParentFrame();
    commands.Setup2DMode(0.0f, static_cast<float>(viewport.x), 0.0f, static_cast<float>(viewport.y));
    const float height = static_cast<float>(viewport.y);
    const Vector2f bar[4] = {{0.0f, 0.0f}, {2.0f, 0.0f}, {0.0f, height}, {2.0f, height}};
    commands.DrawPlain(gw::ePrimitiveTopology_TriangleStrip, bar, 4, true, RendererBase::BS(gw::BS_OPAQUE),
                       RendererBase::DS(gw::DS_NONE), {0.1f, 0.1f, 0.1f, 1.0f});
}

} // namespace gleamview
