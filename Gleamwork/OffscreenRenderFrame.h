// A render frame without a window.
#pragma once

#include "Gleamwork/RenderFrame.h"

namespace gw {

/// Draws into one texture, which can be read by shaders (GetBackBuffer), with a depth buffer from the manager under the
/// name "DepthBuffer". The arguments of CreateFrameBufferSurfaces are not read: the description's size counts.
class GW_API OffscreenRenderFrame : public RenderFrame
{
public:
    QS_DECLARE_ALLOC(gw::OffscreenRenderFrame)

    OffscreenRenderFrame(Renderer* renderer, const RenderFrameDesc& desc, EFormat backBuffer, EFormat depth,
                         RenderTargetManager* manager);
    ~OffscreenRenderFrame() override;

    bool CreateFrameBufferSurfaces(unsigned width, unsigned height) override;
    bool ReleaseFrameBufferSurfaces() override;
    /// The back buffer is made anew at once, under a new handle; the manager's targets keep theirs and are resized by
    /// the next drain of the immediate queue.
    bool Resize(unsigned width, unsigned height, bool fullscreen, unsigned refreshNumerator,
                unsigned refreshDenominator) override;
    bool OnPreResetDevice() override { return true; }
    bool OnPostResetDevice() override { return true; }
    bool CanPresent() const override { return false; }
    void FlipBuffers(bool) override {}

private:
    void ReleaseFrameBuffer();
};

} // namespace gw
