// Recording of the developing pass.
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

} // namespace gleamview
