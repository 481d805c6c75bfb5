// Geometry that covers the whole screen, for passes that have no mesh of their own.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/RenderTypes.h"

#include <qs/Memory.h>

namespace gw {

class Renderer;
class RendererCommandBuffer;

/// Vertex of both classes: clip space position, texture coordinates, and the corner's index, which rides in the Normal
/// slot as a single float.
struct FullScreenVertex
{
    float x, y, u, v, corner;
};

static_assert(sizeof(FullScreenVertex) == 20, "the vertex format reads these records");

/// Two triangles over the screen. With `flip` the picture is upside down.
///
/// Draw with Begin, then the shader's constants and textures, then End; or with Setup and a state of your own. The
/// destructor releases nothing: call Destroy. Init and Destroy with a command buffer only record, on the thread that
/// records; without one they work through gw::DataLoader, so Destroy needs its immediate command manager. Draws on a
/// renderer belong to the thread that replays render commands.
class GW_API FullScreenQuad
{
public:
    QS_DECLARE_ALLOC(gw::FullScreenQuad)

    FullScreenQuad();
    ~FullScreenQuad() = default;

    /// Makes what is missing of format, vertices and indices; `shader` fixes the input layout (none is accepted). False
    /// when something could not be made; a later call makes the rest. With a command buffer the device buffers come
    /// when it is replayed.
    bool Init(qs::ObjectHandle shader, bool flip, RendererCommandBuffer* commands);
    /// Queues the removal of the buffers and forgets the format, which other geometry may share.
    void Destroy(RendererCommandBuffer* commands);

    void BeginRenderFullScreenQuad(RendererCommandBuffer& target, qs::ObjectHandle shader, qs::ObjectHandle depth,
                                   unsigned int stencilRef, qs::ObjectHandle blend) const;
    void EndRenderFullScreenQuad(RendererCommandBuffer& target) const;
    void BeginRenderFullScreenQuad(Renderer& target, qs::ObjectHandle shader, qs::ObjectHandle depth,
                                   unsigned int stencilRef, qs::ObjectHandle blend) const;
    void EndRenderFullScreenQuad(Renderer& target) const;
    /// Sets format and buffers only.
    void Setup(Renderer& target) const;

private:
    void CreateDrawData(PrepareDrawData& data, qs::ObjectHandle shader, qs::ObjectHandle depth, unsigned int stencilRef,
                        qs::ObjectHandle blend) const;
    void CheckInitialized() const;

    qs::ObjectHandle m_vertexFormat = qs::ObjectHandle::Unassigned;
    VertexBufferID m_vertexBuffer;
    IndexBufferID m_indexBuffer;
};

/// One triangle that covers the screen: cheaper than the quad, since no pixel lies on an inner edge. The visible part
/// has texture coordinates from 0 to 1. With `flip` u and v change places.
///
/// Used as FullScreenQuad is.
class GW_API FullScreenTriangle
{
public:
    QS_DECLARE_ALLOC(gw::FullScreenTriangle)

    FullScreenTriangle();
    ~FullScreenTriangle() = default;

    bool Init(qs::ObjectHandle shader, bool flip, RendererCommandBuffer* commands);
    void Destroy(RendererCommandBuffer* commands);

    void BeginRenderFullScreen(RendererCommandBuffer& target, qs::ObjectHandle shader, qs::ObjectHandle depth,
                               unsigned int stencilRef, qs::ObjectHandle blend) const;
    void EndRenderFullScreen(RendererCommandBuffer& target) const;
    void BeginRenderFullScreen(Renderer& target, qs::ObjectHandle shader, qs::ObjectHandle depth,
                               unsigned int stencilRef, qs::ObjectHandle blend) const;
    void EndRenderFullScreen(Renderer& target) const;
    void Setup(Renderer& target) const;
    void Setup(RendererCommandBuffer& target) const;

private:
    friend class Renderer;

    template <class Target>
    void SetupOn(Target& target) const;
    void CreateDrawData(PrepareDrawData& data, qs::ObjectHandle shader, qs::ObjectHandle depth, unsigned int stencilRef,
                        qs::ObjectHandle blend) const;
    void CheckInitialized() const;

    qs::ObjectHandle m_vertexFormat = qs::ObjectHandle::Unassigned;
    VertexBufferID m_vertexBuffer;
};

} // namespace gw
