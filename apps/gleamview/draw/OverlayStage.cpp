// Recording of the overlay.
#include "draw/OverlayStage.h"

#include "draw/OverlayPanel.h"
#include "draw/ViewerView.h"

#include <Gleamwork/RenderViewBatches.h>
#include <Gleamwork/Renderer.h>

#include <qs/Profile.h>
#include <qs/Settings.h>

namespace gleamview {

OverlayStage::OverlayStage(const SceneContext& context) : ViewerStage(StageOverlay, context, 1) {}

void OverlayStage::AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch)
{
    if (batch == view.GetBatchContainer()->DebugBatch) {
        gCore.workerThreadScheduler->AddWork(batch, [this, &view] { Record(view); });
    }
}

void OverlayStage::Record(const ViewerView& view)
{
    qs::HProfileSample sample("gleamview::RecordOverlay");
    const Overlay& overlay = m_context.overlay;
    if (view.IsFirst() && !overlay.showsTimes && overlay.notice.empty()) {
        return;
    }
    gw::RendererCommandBuffer& commands = GetRecording(0);
    const Vector4i& viewport = view.GetViewportForParentFrame();
    const float width = static_cast<float>(viewport.x);
    const float height = static_cast<float>(viewport.y);
    commands.Setup2DMode(0.0f, width, 0.0f, height);
    OverlayPanel panel(commands, overlay.font, width, height);
    if (!view.IsFirst()) {
        panel.FillBox(0.0f, 0.0f, 2.0f, height, {0.1f, 0.1f, 0.1f, 1.0f});
        return;
    }
    panel.Draw(overlay);
}

} // namespace gleamview
