// One step of a view's rendering, and batches of the application.
#pragma once

#include "Gleamwork/Export.h"

#include <cstdint>
#include <qs/Math.h>
#include <qs/ObjectHandle.h>

namespace gw {

class RendererCommandBuffer;
class RenderView;
class StageGroup;
struct RenderFrameDesc;

/// What a stage is. The values are the application's; the library compares them.
enum AppStageType : std::uint8_t
{
};

/// Base of the application's stages. A stage belongs to the group that it is added to. All operations but Load and
/// GetType do nothing here.
///
/// The static operations record a change of render targets together with the viewport that the view has on them, and
/// give that viewport as a share of the target (width, height, x, y), for shaders that address it. `scale` is the size
/// of the targets over that of the frame. In checkerboard frames targets are half as wide, the main frame buffer is
/// not.
class GW_API IAppStage
{
public:
    IAppStage() = default;
    virtual ~IAppStage();

    virtual AppStageType GetType() const = 0;
    /// Called when the stage is added; false when it cannot work. Stores the group.
    virtual bool Load(StageGroup* group);
    virtual void StartCollecting(const RenderView* const) {}
    virtual void DoWhileCollecting(const RenderView* const) {}
    virtual void FinishAndExecute(const RenderView* const) {}
    /// Drop what was collected: a change follows.
    virtual void Cancel() {}
    virtual void Refresh() {}
    virtual void OnStateChanged(const RenderView* const) {}
    /// Texels of the frame; half the width in checkerboard frames.
    virtual void OnSizeChanged(unsigned int width, unsigned int height);

    StageGroup* GetStageGroup() const { return m_stageGroup; }
    /// Null unless the subclass sets it.
    const RenderView* GetRenderView() const { return m_renderView; }

    static Vector4f ChangeRenderTargets(RendererCommandBuffer& commands, const RenderView* const view,
                                        const qs::ObjectHandle* targets, unsigned int count, qs::ObjectHandle depth,
                                        bool readOnlyDepth, int depthSlice, float scale);
    /// With the depth buffer of the view's frame.
    static Vector4f ChangeRenderTargetsDefaultDepth(RendererCommandBuffer& commands, const RenderView* const view,
                                                    const qs::ObjectHandle* targets, unsigned int count,
                                                    bool readOnlyDepth, float scale);
    /// One mip of a target, without depth. `scale` is that of mip 0.
    static Vector4f ChangeRenderTargetMip(RendererCommandBuffer& commands, const RenderView* const view,
                                          const qs::ObjectHandle* target, float scale, int mip);
    static Vector4f ChangeToMainFrameBuffer(RendererCommandBuffer& commands, const RenderView* const view,
                                            bool withDepth);

protected:
    static Vector4f SetScaleViewPort(RendererCommandBuffer& commands, const RenderView* const view, float scale,
                                     bool mainFrame);
    static Vector4f CalcScaleViewPort(const Vector4i& viewport, const RenderFrameDesc* desc, float scale,
                                      bool halfWidth);

    StageGroup* m_stageGroup = nullptr;
    const RenderView* m_renderView = nullptr;
};

/// A piece of work that the application hangs on a frame (gw::RenderFrame::AddAppBatch). The frame keeps and deletes
/// it; when it runs is the application's affair.
class GW_API IRenderBatch
{
public:
    virtual ~IRenderBatch();
    virtual void Start() = 0;
    virtual void Finish() = 0;
};

} // namespace gw
