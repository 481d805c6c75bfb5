// A render frame without a window.
#include "Gleamwork/OffscreenRenderFrame.h"

#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/GWFS.h"
#include "Gleamwork/RenderTargetManager.h"

namespace gw {

OffscreenRenderFrame::OffscreenRenderFrame(Renderer* renderer, const RenderFrameDesc& desc, EFormat backBuffer,
                                           EFormat depth, RenderTargetManager* manager)
    : RenderFrame(renderer, desc, backBuffer, depth, manager)
{
    OffscreenRenderFrame::CreateFrameBufferSurfaces(0, 0);
    if (const qs::ObjectHandle* target =
            m_renderTargetManager->AddResizingDepthRenderTarget(GWFS::strDepthBuffer, depth, 1.0f, false, 1)) {
        m_depthBuffer = *target;
    }
}

OffscreenRenderFrame::~OffscreenRenderFrame()
{
    m_renderTargetManager->RemoveRenderTarget(GWFS::strDepthBuffer);
    ReleaseFrameBuffer();
}

bool OffscreenRenderFrame::CreateFrameBufferSurfaces(unsigned, unsigned)
{
    m_frameBuffers[0] =
        DataLoader::InvokeAddTextureFromMemory(nullptr, m_backBufferFormat, m_desc.width, m_desc.height, 0, 1, nullptr,
                                               1, 1, eTextureUsageFlag_ShaderResource | eTextureUsageFlag_RenderTarget,
                                               eTextureAccessFlag_GPURead | eTextureAccessFlag_GPUWrite);
    if (m_frameBuffers[0] == qs::ObjectHandle::Unassigned) {
        return false;
    }
    m_frameBufferCount = 1;
    return true;
}

bool OffscreenRenderFrame::ReleaseFrameBufferSurfaces()
{
    ReleaseFrameBuffer();
    return true;
}

void OffscreenRenderFrame::ReleaseFrameBuffer()
{
    if (m_frameBuffers[0] != qs::ObjectHandle::Unassigned) {
        DataLoader::InvokeRemoveTexture(m_frameBuffers[0], false);
        m_frameBuffers[0] = qs::ObjectHandle::Unassigned;
    }
    m_frameBufferCount = 0;
}

bool OffscreenRenderFrame::Resize(unsigned width, unsigned height, bool fullscreen, unsigned refreshNumerator,
                                  unsigned refreshDenominator)
{
    bool good = ReleaseFrameBufferSurfaces();
    good &= RenderFrame::Resize(width, height, fullscreen, refreshNumerator, refreshDenominator);
    good &= CreateFrameBufferSurfaces(0, 0);
    m_renderTargetManager->SetSize(width, height, false);
    return good;
}

} // namespace gw
