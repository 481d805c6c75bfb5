// Geometry that covers the whole screen.
#include "Gleamwork/FullScreen.h"

#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/Renderer.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <qs/Log.h>

namespace gw {

namespace {

constexpr FormatDesc s_format[] = {
    {0, eAttributeUsage_Position, 0, 0, eAttributeFormat_Float32, 2},
    {0, eAttributeUsage_Texcoord, 0, 0, eAttributeFormat_Float32, 2},
    {0, eAttributeUsage_Normal, 0, 0, eAttributeFormat_Float32, 1},
};

constexpr FullScreenVertex s_quad[2][4] = {
    {{-1, 1, 0, 0, 0}, {1, 1, 1, 0, 1}, {-1, -1, 0, 1, 2}, {1, -1, 1, 1, 3}},
    {{-1, 1, 0, 1, 0}, {1, 1, 1, 1, 1}, {-1, -1, 0, 0, 2}, {1, -1, 1, 0, 3}},
};

constexpr std::uint16_t s_quadIndices[6] = {0, 1, 2, 2, 1, 3};

// Draws read three vertices; the fourth keeps the buffer as large as the quad's.
constexpr FullScreenVertex s_triangle[2][4] = {
    {{-1, 1, 0, 0, 0}, {3, 1, 2, 0, 1}, {-1, -3, 0, 2, 2}, {-1, -3, 2, 0, 3}},
    {{-1, 1, 0, 0, 0}, {3, 1, 0, 2, 1}, {-1, -3, 2, 0, 2}, {-1, -3, 2, 0, 3}},
};

// Makes what is missing of the two parts that quad and triangle share; false when one could not be made.
bool InitShared(qs::ObjectHandle& format, VertexBufferID& buffer, qs::ObjectHandle shader,
                const FullScreenVertex (&vertices)[4], RendererCommandBuffer* commands)
{
    if (!format.IsValid()) {
        format = commands ? commands->CreateVertexFormat(s_format, std::size(s_format), shader)
                          : DataLoader::InvokeAddVertexFormat(s_format, std::size(s_format), shader);
    }
    if (!format.IsValid()) {
        return false;
    }
    if (!buffer.IsValid()) {
        buffer = commands ? commands->CreateVertexBuffer(sizeof(vertices), eResourceUsage_Immutable, vertices)
                          : DataLoader::InvokeAddVertexBuffer(sizeof(vertices), eResourceUsage_Immutable, vertices);
    }
    return buffer.IsValid();
}

void RemoveVertices(VertexBufferID& buffer, RendererCommandBuffer* commands)
{
    if (!buffer.IsValid()) {
        return;
    }
    if (commands) {
        commands->RemoveVertexBuffer(buffer);
    } else {
        DataLoader::InvokeRemoveVertexBuffer(buffer);
    }
    buffer = qs::ObjectHandle::Unassigned;
}

} // namespace

FullScreenQuad::FullScreenQuad() = default;

bool FullScreenQuad::Init(qs::ObjectHandle shader, bool flip, RendererCommandBuffer* commands)
{
    if (!InitShared(m_vertexFormat, m_vertexBuffer, shader, s_quad[flip], commands)) {
        return false;
    }
    if (!m_indexBuffer.IsValid()) {
        constexpr unsigned count = std::size(s_quadIndices);
        constexpr unsigned stride = sizeof(s_quadIndices[0]);
        m_indexBuffer = commands
                            ? commands->CreateIndexBuffer(count, stride, eResourceUsage_Immutable, s_quadIndices)
                            : DataLoader::InvokeAddIndexBuffer(count, stride, eResourceUsage_Immutable, s_quadIndices);
    }
    return m_indexBuffer.IsValid();
}

void FullScreenQuad::Destroy(RendererCommandBuffer* commands)
{
    qs::MemoryTrackerSample sample(GetTrackName());
    m_vertexFormat = qs::ObjectHandle::Unassigned;
    RemoveVertices(m_vertexBuffer, commands);
    if (m_indexBuffer.IsValid()) {
        if (commands) {
            commands->RemoveIndexBuffer(m_indexBuffer);
        } else {
            DataLoader::InvokeRemoveIndexBuffer(m_indexBuffer);
        }
        m_indexBuffer = qs::ObjectHandle::Unassigned;
    }
}

void FullScreenQuad::CheckInitialized() const
{
    if (!m_vertexFormat.IsValid() || !m_vertexBuffer.IsValid() || !m_indexBuffer.IsValid()) {
        QS_LOG_ASSERT("Gleamwork/RendererHelpers", "gw::FullScreenQuad", "FullScreenQuad not yet initialized!");
    }
}

void FullScreenQuad::CreateDrawData(PrepareDrawData& data, qs::ObjectHandle shader, qs::ObjectHandle depth,
                                    unsigned int stencilRef, qs::ObjectHandle blend) const
{
    data.shader = shader;
    data.depthState = depth;
    data.stencilRef = stencilRef;
    data.rasterizerState = Renderer::RS(RS_SOLID_CULL_BACK);
    data.blendState = blend;
    data.vertexFormat = m_vertexFormat;
    data.vertexBuffers[0] = m_vertexBuffer;
    data.indexBuffer = m_indexBuffer;
    data.topology = ePrimitiveTopology_TriangleList;
}

void FullScreenQuad::BeginRenderFullScreenQuad(RendererCommandBuffer& target, qs::ObjectHandle shader,
                                               qs::ObjectHandle depth, unsigned int stencilRef,
                                               qs::ObjectHandle blend) const
{
    CheckInitialized();
    PrepareDrawData data;
    CreateDrawData(data, shader, depth, stencilRef, blend);
    target.PrepareDraw(std::move(data));
}

void FullScreenQuad::EndRenderFullScreenQuad(RendererCommandBuffer& target) const
{
    target.DrawElements(0, std::size(s_quadIndices), 0, std::size(s_quad[0]));
}

void FullScreenQuad::BeginRenderFullScreenQuad(Renderer& target, qs::ObjectHandle shader, qs::ObjectHandle depth,
                                               unsigned int stencilRef, qs::ObjectHandle blend) const
{
    CheckInitialized();
    PrepareDrawData data;
    CreateDrawData(data, shader, depth, stencilRef, blend);
    target.PrepareDraw(std::move(data));
}

void FullScreenQuad::EndRenderFullScreenQuad(Renderer& target) const
{
    target.DrawElements(0, std::size(s_quadIndices), 0, std::size(s_quad[0]));
}

void FullScreenQuad::Setup(Renderer& target) const
{
    CheckInitialized();
    target.SetVertexFormat(m_vertexFormat);
    target.SetVertexBuffer(0, m_vertexBuffer, 0);
    target.SetIndexBuffer(m_indexBuffer, 0);
}

FullScreenTriangle::FullScreenTriangle() = default;

bool FullScreenTriangle::Init(qs::ObjectHandle shader, bool flip, RendererCommandBuffer* commands)
{
    return InitShared(m_vertexFormat, m_vertexBuffer, shader, s_triangle[flip], commands);
}

void FullScreenTriangle::Destroy(RendererCommandBuffer* commands)
{
    qs::MemoryTrackerSample sample(GetTrackName());
    m_vertexFormat = qs::ObjectHandle::Unassigned;
    RemoveVertices(m_vertexBuffer, commands);
}

void FullScreenTriangle::CheckInitialized() const
{
    if (!m_vertexFormat.IsValid() || !m_vertexBuffer.IsValid()) {
        QS_LOG_ASSERT("Gleamwork/RendererHelpers", "gw::FullScreenTriangle", "FullScreenTriangle not yet initialized!");
    }
}

void FullScreenTriangle::CreateDrawData(PrepareDrawData& data, qs::ObjectHandle shader, qs::ObjectHandle depth,
                                        unsigned int stencilRef, qs::ObjectHandle blend) const
{
    data.shader = shader;
    data.depthState = depth;
    data.stencilRef = stencilRef;
    data.rasterizerState = Renderer::RS(RS_SOLID_CULL_BACK);
    data.blendState = blend;
    data.vertexFormat = m_vertexFormat;
    data.vertexBuffers[0] = m_vertexBuffer;
    data.topology = ePrimitiveTopology_TriangleList;
}

void FullScreenTriangle::BeginRenderFullScreen(RendererCommandBuffer& target, qs::ObjectHandle shader,
                                               qs::ObjectHandle depth, unsigned int stencilRef,
                                               qs::ObjectHandle blend) const
{
    CheckInitialized();
    PrepareDrawData data;
    CreateDrawData(data, shader, depth, stencilRef, blend);
    target.PrepareDraw(std::move(data));
}

void FullScreenTriangle::EndRenderFullScreen(RendererCommandBuffer& target) const
{
    target.DrawArrays(0, 3);
}

void FullScreenTriangle::BeginRenderFullScreen(Renderer& target, qs::ObjectHandle shader, qs::ObjectHandle depth,
                                               unsigned int stencilRef, qs::ObjectHandle blend) const
{
    CheckInitialized();
    PrepareDrawData data;
    CreateDrawData(data, shader, depth, stencilRef, blend);
    target.PrepareDraw(std::move(data));
}

void FullScreenTriangle::EndRenderFullScreen(Renderer& target) const
{
    target.DrawArrays(0, 3);
}

template <class Target>
void FullScreenTriangle::SetupOn(Target& target) const
{
    CheckInitialized();
    target.SetVertexFormat(m_vertexFormat);
    target.SetVertexBuffer(0, m_vertexBuffer, 0);
}

void FullScreenTriangle::Setup(Renderer& target) const
{
    SetupOn(target);
}

void FullScreenTriangle::Setup(RendererCommandBuffer& target) const
{
    SetupOn(target);
}

} // namespace gw
