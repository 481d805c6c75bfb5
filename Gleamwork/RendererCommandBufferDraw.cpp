// Recording of draws, immediate drawing and markers.
#include "Gleamwork/RendererCommands.h"

#include <cstring>

namespace gw {

void RendererCommandBuffer::DrawArrays(int firstVertex, int vertexCount)
{
    if (m_recording) {
        Write<RCB_DrawArraysCommand>(firstVertex, vertexCount);
    } else {
        m_renderer->DrawArrays(firstVertex, vertexCount);
    }
}

void RendererCommandBuffer::DrawElements(int firstIndex, int indexCount, int baseVertex, int vertexCount)
{
    if (m_recording) {
        Write<RCB_DrawElementsCommand>(firstIndex, indexCount, baseVertex, vertexCount);
    } else {
        m_renderer->DrawElements(firstIndex, indexCount, baseVertex, vertexCount);
    }
}

void RendererCommandBuffer::DrawElementsInstanced(int firstInstance, int instanceCount, int firstIndex, int indexCount,
                                                  int baseVertex, int vertexCount)
{
    if (m_recording) {
        Write<RCB_DrawElementsInstancedCommand>(firstInstance, instanceCount, firstIndex, indexCount, baseVertex,
                                                vertexCount);
    } else {
        m_renderer->DrawElementsInstanced(firstInstance, instanceCount, firstIndex, indexCount, baseVertex,
                                          vertexCount);
    }
}

void RendererCommandBuffer::Dispatch(int x, int y, int z)
{
    if (m_recording) {
        Write<RCB_DispatchCommand>(x, y, z);
    } else {
        m_renderer->Dispatch(x, y, z);
    }
}

void* RendererCommandBuffer::TakePool(std::size_t bytes)
{
    char* room = AddData(bytes + 15);
    return room ? room + (16 - reinterpret_cast<std::uintptr_t>(room) % 16) % 16 : nullptr;
}

template <class Vertex>
bool RendererCommandBuffer::KeepVertices(Vertex*& vertices, std::size_t bytes, bool copy)
{
    if (!copy) {
        return true;
    }
    void* room = TakePool(bytes);
    if (room && bytes != 0) {
        std::memcpy(room, vertices, bytes);
    }
    vertices = static_cast<Vertex*>(room);
    return room != nullptr;
}

void RendererCommandBuffer::DrawPlain(EPrimitiveTopology topology, const Vector2f* vertices, unsigned count, bool copy,
                                      qs::ObjectHandle blend, qs::ObjectHandle depth, const Vector4f& color)
{
    if (!m_recording) {
        m_renderer->drawPlain(topology, vertices, count, blend, depth, color);
    } else if (KeepVertices(vertices, std::size_t(count) * sizeof(*vertices), copy)) {
        Write<RCB_DrawPlainCommand>(topology, vertices, count, blend, depth, color);
    }
}

void RendererCommandBuffer::DrawPlain3D(EPrimitiveTopology topology, const Vector3f* vertices, unsigned count,
                                        bool copy, qs::ObjectHandle blend, qs::ObjectHandle depth,
                                        const Vector4f& color)
{
    if (!m_recording) {
        m_renderer->drawPlain3D(topology, vertices, count, blend, depth, color);
    } else if (KeepVertices(vertices, std::size_t(count) * sizeof(*vertices), copy)) {
        Write<RCB_DrawPlain3DCommand>(topology, vertices, count, blend, depth, color);
    }
}

void RendererCommandBuffer::DrawPlain3DIndexed(const Matrix4x4f& world, EPrimitiveTopology topology,
                                               const void* vertices, unsigned vertexCount, const void* indices,
                                               unsigned indexCount, unsigned indexStride, bool copy,
                                               qs::ObjectHandle blend, qs::ObjectHandle depth,
                                               qs::ObjectHandle rasterizer, const Vector4f& color)
{
    if (m_recording && !(KeepVertices(indices, std::size_t(indexCount) * indexStride, copy) &&
                         KeepVertices(vertices, std::size_t(vertexCount) * sizeof(Vector3f), copy))) {
        return;
    }
    const Renderer::DrawPlain3DIndexedDesc desc = {world,       topology, vertices, vertexCount, indices, indexCount,
                                                   indexStride, blend,    depth,    rasterizer,  color};
    if (m_recording) {
        Write<RCB_DrawPlain3DIndexedCommand>(desc);
    } else {
        m_renderer->drawPlain3DIndexed(desc);
    }
}

void RendererCommandBuffer::DrawTextured(EPrimitiveTopology topology, const Vector2f& offset, TexVertex* vertices,
                                         unsigned count, bool copy, qs::ObjectHandle texture, qs::ObjectHandle sampler,
                                         qs::ObjectHandle blend, qs::ObjectHandle depth, const Vector4f& color)
{
    if (!m_recording) {
        m_renderer->drawTextured(topology, offset, vertices, count, texture, sampler, blend, depth, color);
    } else if (KeepVertices(vertices, std::size_t(count) * sizeof(*vertices), copy)) {
        Write<RCB_DrawTexturedCommand>(topology, offset, vertices, count, texture, sampler, blend, depth, color);
    }
}

void RendererCommandBuffer::Setup2DMode(float left, float right, float top, float bottom)
{
    if (m_recording) {
        Write<RCB_Setup2DModeCommand>(left, right, top, bottom);
    } else {
        m_renderer->Setup2DMode(left, right, top, bottom);
    }
}

void RendererCommandBuffer::BeginRenderFullScreenTriangle(qs::ObjectHandle shader, qs::ObjectHandle depth,
                                                          unsigned stencilRef)
{
    GetDefaultFullScreenTriangle().BeginRenderFullScreen(*this, shader, depth, stencilRef, Renderer::BS(BS_OPAQUE));
}

void RendererCommandBuffer::EndRenderFullScreenTriangle()
{
    GetDefaultFullScreenTriangle().EndRenderFullScreen(*this);
}

void RendererCommandBuffer::GPUWait(ESyncType type, qs::ObjectHandle resource, const char* text, int first, int second)
{
    if (m_recording) {
        Write<RCB_GPUWaitCommand>(type, resource, text, first, second);
    } else {
        m_renderer->GPUWait(type, resource, text, first, second);
    }
}

void RendererCommandBuffer::BeginRenderEvent(const qs::FixedString& name)
{
    if (m_recording) {
        Write<RCB_BeginRenderEventCommand>(name.ToChar());
    } else {
        m_renderer->BeginRenderEvent(name);
    }
}

void RendererCommandBuffer::EndRenderEvent(const qs::FixedString& name)
{
    if (m_recording) {
        Write<RCB_EndRenderEventCommand>(name.ToChar());
    } else {
        m_renderer->EndRenderEvent(name);
    }
}

void RendererCommandBuffer::SetSampleLocations(int count, bool enable)
{
    if (m_recording) {
        Write<RCB_SetSampleLocationsCommand>(count, enable);
    } else {
        m_renderer->SetSampleLocations(count, enable);
    }
}

void RendererCommandBuffer::EnableEQAA(bool enable)
{
    if (m_recording) {
        Write<RCB_EnableEQAACommand>(enable);
    } else {
        m_renderer->EnableEQAA(enable);
    }
}

void RendererCommandBuffer::EnableIDBuffer(bool enable)
{
    if (m_recording) {
        Write<RCB_EnableIDBufferCommand>(enable);
    } else {
        m_renderer->EnableIDBuffer(enable);
    }
}

void RendererCommandBuffer::SetGradientAdjust(int mode, bool first, bool second)
{
    if (m_recording) {
        Write<RCB_SetGradientAdjustCommand>(mode, first, second);
    } else {
        m_renderer->SetGradientAdjust(mode, first, second);
    }
}

void RendererCommandBuffer::ResolveDepthBuffer(qs::ObjectHandle source, qs::ObjectHandle target)
{
    if (m_recording) {
        Write<RCB_ResolveDepthBufferCommand>(source, target);
    } else {
        m_renderer->ResolveDepthBuffer(source, target);
    }
}

} // namespace gw
