// Stages: changes of render targets with the view's place on them.
#include "Gleamwork/AppStage.h"

#include "Gleamwork/RenderView.h"
#include "Gleamwork/RendererCommandBuffer.h"
#include "Gleamwork/StageGroup.h"

#include <cmath>

namespace gw {

IAppStage::~IAppStage() = default;
IRenderBatch::~IRenderBatch() = default;

bool IAppStage::Load(StageGroup* group)
{
    m_stageGroup = group;
    return true;
}

void IAppStage::OnSizeChanged(unsigned int, unsigned int) {}

Vector4f IAppStage::ChangeRenderTargets(RendererCommandBuffer& commands, const RenderView* const view,
                                        const qs::ObjectHandle* targets, unsigned int count, qs::ObjectHandle depth,
                                        bool readOnlyDepth, int depthSlice, float scale)
{
    commands.SetRenderTargets(count, targets, nullptr, nullptr, depth, readOnlyDepth, depthSlice);
    return SetScaleViewPort(commands, view, scale, false);
}

Vector4f IAppStage::ChangeRenderTargetsDefaultDepth(RendererCommandBuffer& commands, const RenderView* const view,
                                                    const qs::ObjectHandle* targets, unsigned int count,
                                                    bool readOnlyDepth, float scale)
{
    return ChangeRenderTargets(commands, view, targets, count, view->GetParentFrame()->GetDepthBuffer(), readOnlyDepth,
                               -1, scale);
}

Vector4f IAppStage::ChangeRenderTargetMip(RendererCommandBuffer& commands, const RenderView* const view,
                                          const qs::ObjectHandle* target, float scale, int mip)
{
    const int slice = 0;
    commands.SetRenderTargets(1, target, &slice, &mip, qs::ObjectHandle::Unassigned, false, -1);
    return SetScaleViewPort(commands, view, std::ldexp(scale, -mip), false);
}

Vector4f IAppStage::ChangeToMainFrameBuffer(RendererCommandBuffer& commands, const RenderView* const view,
                                            bool withDepth)
{
    view->GetParentFrame()->ChangeToMainFramebuffer(commands, withDepth);
    return SetScaleViewPort(commands, view, 1.0f, true);
}

Vector4f IAppStage::SetScaleViewPort(RendererCommandBuffer& commands, const RenderView* const view, float scale,
                                     bool mainFrame)
{
    const bool halfWidth = !mainFrame && view->GetStageGroup()->IsUsingCheckerboard();
    const Vector4i viewport =
        scale == 1.0f && !halfWidth ? view->GetViewportForParentFrame() : view->CalculateViewportForRenderTarget(scale);
    commands.SetViewport(viewport.x, viewport.y, viewport.z, viewport.w);
    return CalcScaleViewPort(viewport, &view->GetParentFrame()->GetDesc(), scale, halfWidth);
}

Vector4f IAppStage::CalcScaleViewPort(const Vector4i& viewport, const RenderFrameDesc* desc, float scale,
                                      bool halfWidth)
{
    const int width = int(float(desc->width) * scale);
    const float targetWidth = float(halfWidth ? width / 2 : width);
    const float targetHeight = float(int(float(desc->height) * scale));
    return {float(viewport.x) / targetWidth, float(viewport.y) / targetHeight, float(viewport.z) / targetWidth,
            float(viewport.w) / targetHeight};
}

} // namespace gw
