// Drawing of debug lines through a view.
#include "Gleamwork/CameraController.h"
#include "Gleamwork/LineMan.h"
#include "Gleamwork/RenderView.h"
#include "Gleamwork/Renderer.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <qs/Profile.h>

namespace gw {
namespace {

void SetViewport(RendererCommandBuffer& commandBuffer, const RenderView& view)
{
    const Vector4i& viewport = view.GetViewportForParentFrame();
    commandBuffer.SetViewport(viewport.x, viewport.y, viewport.z, viewport.w);
}

void SetUp(RendererCommandBuffer& commandBuffer, const RenderView& view, const CameraController& camera)
{
    SetViewport(commandBuffer, view);
    commandBuffer.SetRenderProperties(camera.GetViewMatrix(), camera.GetProjectionMatrix(), camera.GetWorldTranslate(),
                                      camera.GetFarPlane(), camera.GetNearPlane());
}

void Draw(RendererCommandBuffer& commandBuffer, const qs::PrimitiveSet<Line*>& lines, EPrefabDepthState depth)
{
    for (const Line* line : lines) {
        if (line->GetCount() != 0) {
            commandBuffer.DrawPlain3D(line->GetTopology(), line->GetPointsHead(), line->GetCount(), false,
                                      Renderer::BS(BS_ALPHA), Renderer::DS(depth), line->GetColor());
        }
    }
}

} // namespace

void LineMan::RenderWorldLines(RendererCommandBuffer* commandBuffer, const RenderView* view)
{
    qs::HProfileSample sample("gw::LineMan::RenderWorldLines");
    qs::CSLock lock(m_lock);
    const CameraController* camera = view->GetCameraController();
    if (!camera || (m_worldLines.IsEmpty() && m_userLines.IsEmpty())) {
        return;
    }
    SetUp(*commandBuffer, *view, *camera);
    Draw(*commandBuffer, m_worldLines, DS_READ_WRITE);
    Draw(*commandBuffer, m_userLines, DS_READ_WRITE);
}

void LineMan::RenderDebugLines(RendererCommandBuffer* commandBuffer, const RenderView* view)
{
    qs::HProfileSample sample("Render debug lines");
    qs::CSLock lock(m_lock);
    if (const CameraController* camera = view->GetCameraController()) {
        SetUp(*commandBuffer, *view, *camera);
        Draw(*commandBuffer, m_frameLines, DS_READ);
        Draw(*commandBuffer, m_lifeLines, DS_READ);
    }
}

void LineMan::Render2DLines(RendererCommandBuffer* commandBuffer, const RenderView* view)
{
    qs::HProfileSample sample("gw::LineMan::Render2DLines");
    qs::CSLock lock(m_lock);
    if (m_lines2D.IsEmpty()) {
        return;
    }
    SetViewport(*commandBuffer, *view);
    commandBuffer->Setup2DMode(-1.0f, 1.0f, -1.0f, 1.0f);
    for (const Line2D* line : m_lines2D) {
        if (line->GetCount() != 0) {
            commandBuffer->DrawPlain(line->GetTopology(), line->GetPointsHead(), line->GetCount(), false,
                                     Renderer::BS(BS_ALPHA), Renderer::DS(DS_READ_WRITE), line->GetColor());
        }
    }
}

} // namespace gw
