// Recording of targets, state and the shader's resources.
#include "Gleamwork/RendererCommands.h"

#include <cstring>
#include <qs/Log.h>
#include <utility>

namespace gw {

namespace {

void CopyBytes(char* target, const void* source, std::size_t bytes)
{
    if (bytes != 0) {
        std::memcpy(target, source, bytes);
    }
}

bool CheckPrefab(bool isInRange, const char* function, const char* operation)
{
    if (!isInRange) {
        QS_LOG_ASSERT("Gleamwork/RendererCommandBuffer", function, "[%s] incorrect index passed", operation);
    }
    return isInRange;
}

} // namespace

RendererCommandBuffer::RendererCommandBuffer(std::size_t commandBytes, std::size_t destructBytes)
    : qs::CommandDispatcher(commandBytes, destructBytes), m_renderer(Renderer::GetInstance())
{
    if (!m_renderer) {
        QS_LOG_ASSERT("Gleamwork/RendererCommandBuffer", "gw::RendererCommandBuffer::RendererCommandBuffer",
                      "A command buffer was made before the renderer; it cannot be used.");
    }
}

void RendererCommandBuffer::SetRenderTargets(unsigned count, const qs::ObjectHandle* targets, const int* slices,
                                             const int* mips, qs::ObjectHandle depth, bool readOnlyDepth,
                                             int depthSlice)
{
    if (!m_recording) {
        m_renderer->SetRenderTargets(count, targets, slices, mips, depth, readOnlyDepth, depthSlice);
        return;
    }
    count = targets ? count : 0;
    const unsigned sliceCount = slices ? count : 0;
    const unsigned mipCount = mips ? count : 0;
    const std::size_t sliceBytes = sliceCount * sizeof(int);
    const std::size_t mipBytes = mipCount * sizeof(int);
    const std::size_t targetBytes = count * sizeof(qs::ObjectHandle);
    char* room = WriteWithRoom<RCB_SetRenderTargetsCommand>(targetBytes + sliceBytes + mipBytes, count, sliceCount,
                                                            mipCount, depth, readOnlyDepth, depthSlice);
    if (!room) {
        return;
    }
    room += sizeof(RCB_SetRenderTargetsCommand);
    CopyBytes(room, targets, targetBytes);
    CopyBytes(room + targetBytes, slices, sliceBytes);
    CopyBytes(room + targetBytes + sliceBytes, mips, mipBytes);
}

void RendererCommandBuffer::ClearRenderTarget(qs::ObjectHandle target, int slice, const Vector4f& color)
{
    if (m_recording) {
        Write<RCB_ClearRenderTargetCommand>(target, slice, color);
    } else {
        m_renderer->ClearRenderTarget(target, slice, color);
    }
}

void RendererCommandBuffer::ClearDepthStencil(qs::ObjectHandle target, int slice, EDepthStencilClearMode mode,
                                              float depth, unsigned char stencil)
{
    if (m_recording) {
        Write<RCB_ClearDepthStencilCommand>(target, slice, mode, depth, stencil);
    } else {
        m_renderer->ClearDepthStencil(target, slice, mode, depth, stencil);
    }
}

void RendererCommandBuffer::SetViewport(int width, int height, int x, int y)
{
    if (m_recording) {
        Write<RCB_SetViewportCommand>(width, height, x, y);
    } else {
        m_renderer->SetViewport(width, height, x, y);
    }
}

void RendererCommandBuffer::SetScissorRect(int left, int top, int right, int bottom)
{
    if (m_recording) {
        Write<RCB_SetScissorRectCommand>(left, top, right, bottom);
    } else {
        m_renderer->SetScissorRect(left, top, right, bottom);
    }
}

void RendererCommandBuffer::SetBlendState(const qs::ObjectHandle& state, unsigned mask)
{
    if (m_recording) {
        Write<RCB_SetBlendStateCommand>(state, mask);
    } else {
        m_renderer->SetBlendState(state, mask);
    }
}

void RendererCommandBuffer::SetRasterizerState(qs::ObjectHandle state)
{
    if (m_recording) {
        Write<RCB_SetRasterizerStateCommand>(state);
    } else {
        m_renderer->SetRasterizerState(state);
    }
}

void RendererCommandBuffer::SetDepthState(const qs::ObjectHandle& state, unsigned stencilRef)
{
    if (m_recording) {
        Write<RCB_SetDepthStateCommand>(state, stencilRef);
    } else {
        m_renderer->SetDepthState(state, stencilRef);
    }
}

void RendererCommandBuffer::SetBlendState(EPrefabBlendState index, unsigned mask)
{
    if (CheckPrefab(index < gw::BS_INVALID, "gw::RendererCommandBuffer::SetBlendState", "SetBlendState")) {
        SetBlendState(Renderer::BS(index), mask);
    }
}

void RendererCommandBuffer::SetRasterizerState(EPrefabRasterizerState index)
{
    if (CheckPrefab(index < gw::RS_INVALID, "gw::RendererCommandBuffer::SetRasterizerState", "SetRasterizerState")) {
        SetRasterizerState(Renderer::RS(index));
    }
}

void RendererCommandBuffer::SetDepthState(EPrefabDepthState index, unsigned stencilRef)
{
    if (CheckPrefab(index < gw::DS_INVALID, "gw::RendererCommandBuffer::SetDepthState", "SetDepthState")) {
        SetDepthState(Renderer::DS(index), stencilRef);
    }
}

void RendererCommandBuffer::SetShader(qs::ObjectHandle shader)
{
    m_currentShader = m_renderer->GetShader(shader);
    if (m_recording) {
        Write<RCB_SetShaderCommand>(shader);
    } else {
        m_renderer->SetShader(shader);
    }
}

void RendererCommandBuffer::PrepareDraw(PrepareDrawData&& data)
{
    m_currentShader = m_renderer->GetShader(data.shader);
    if (m_recording) {
        Write<RCB_PrepareDrawCommand>(data);
    } else {
        m_renderer->PrepareDraw(std::move(data));
    }
}

void RendererCommandBuffer::SetVertexFormat(qs::ObjectHandle format)
{
    if (m_recording) {
        Write<RCB_SetVertexFormatCommand>(format);
    } else {
        m_renderer->SetVertexFormat(format);
    }
}

void RendererCommandBuffer::SetVertexBuffer(int stream, VertexBufferID id, long long offset)
{
    if (m_recording) {
        Write<RCB_SetVertexBufferCommand>(stream, id, std::int64_t(offset));
    } else {
        m_renderer->SetVertexBuffer(stream, id, offset);
    }
}

void RendererCommandBuffer::SetIndexBuffer(IndexBufferID id)
{
    if (m_recording) {
        Write<RCB_SetIndexBufferCommand>(id);
    } else {
        m_renderer->SetIndexBuffer(id, 0);
    }
}

void RendererCommandBuffer::SetPrimitiveTopology(EPrimitiveTopology topology)
{
    if (m_recording) {
        Write<RCB_SetPrimitiveTopologyCommand>(topology);
    } else {
        m_renderer->SetPrimitiveTopology(topology);
    }
}

void RendererCommandBuffer::SetTexture(const qs::FixedString& name, qs::ObjectHandle texture, int slice)
{
    SetTextureDesc desc;
    if (!m_renderer->PrepareSetTexture(m_currentShader, name, texture, slice, desc)) {
        return;
    }
    if (m_recording) {
        Write<RCB_SetTextureCommand>(desc);
    } else {
        m_renderer->SetTexture(desc);
    }
}

void RendererCommandBuffer::SetUAV(const qs::FixedString& name, StructuredBufferID id)
{
    if (m_recording) {
        Write<RCB_SetUAVCommand>(id, name.ToChar());
    } else {
        m_renderer->SetUAV(name, id);
    }
}

void RendererCommandBuffer::SetStructuredBuffer(const qs::FixedString& name, StructuredBufferID id)
{
    if (m_recording) {
        Write<RCB_SetStructuredBufferCommand>(name.ToChar(), id);
    } else {
        m_renderer->SetStructuredBuffer(name, id);
    }
}

void RendererCommandBuffer::SetSamplerState(const qs::FixedString& name, qs::ObjectHandle state)
{
    if (m_recording) {
        Write<RCB_SetSamplerStateCommand>(name.ToChar(), state);
    } else {
        m_renderer->SetSamplerState(name, state);
    }
}

void RendererCommandBuffer::ApplyTextures()
{
    if (m_recording) {
        Write<RCB_ApplyTexturesCommand>();
    } else {
        m_renderer->ApplyTextures();
    }
}

void RendererCommandBuffer::ApplyUAVs()
{
    if (m_recording) {
        Write<RCB_ApplyUAVsCommand>();
    } else {
        m_renderer->ApplyUnorderedAccessViews();
    }
}

qs::ObjectHandle RendererCommandBuffer::GetDefaultWhiteTexture() const
{
    return m_renderer->GetDefaultWhiteTexture();
}

qs::ObjectHandle RendererCommandBuffer::GetDefaultBlackTexture() const
{
    return m_renderer->GetDefaultBlackTexture();
}

qs::ObjectHandle RendererCommandBuffer::GetDefaultWhiteTextureCube() const
{
    return m_renderer->GetDefaultWhiteTextureCube();
}

qs::ObjectHandle RendererCommandBuffer::GetDefaultBlackTextureCube() const
{
    return m_renderer->GetDefaultBlackTextureCube();
}

const FullScreenTriangle& RendererCommandBuffer::GetDefaultFullScreenTriangle() const
{
    return m_renderer->GetDefaultFullScreenTriangle();
}

qs::ObjectHandle RendererCommandBuffer::GetDebugRenderPassTexture(const qs::FixedString& pass) const
{
    return m_renderer->GetDebugRenderPassTexture(pass);
}

void RendererCommandBuffer::GetTextureDimensions(qs::ObjectHandle texture, unsigned& width, unsigned& height,
                                                 unsigned& depth) const
{
    m_renderer->GetTextureDimensions(texture, width, height, depth);
}

EFormat RendererCommandBuffer::GetTextureFormat(qs::ObjectHandle texture) const
{
    return m_renderer->GetFormat(texture);
}

int RendererCommandBuffer::GetTextureNumMipMaps(qs::ObjectHandle texture) const
{
    return m_renderer->GetNumMipMaps(texture);
}

} // namespace gw
