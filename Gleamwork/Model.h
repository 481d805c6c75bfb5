// Geometry on the device: buffers, vertex format, topology, and the triangles to pick.
#pragma once

#include "Gleamwork/BasicModel.h"
#include "Gleamwork/Export.h"
#include "Gleamwork/FormatDesc.h"
#include "Gleamwork/RenderTypes.h"

#include <cstdint>
#include <qs/Math.h>
#include <qs/Memory.h>

namespace gw {

class RendererCommandBuffer;

/// Triangles on the processor's side. The arrays are raw blocks of qs::MemoryManager (kind 5) and belong to the model
/// once the record is given to Model::SetPickingData.
struct GW_API PickingData
{
    float* vertices = nullptr;        ///< three floats per vertex, model space
    std::uint32_t* indices = nullptr; ///< three per triangle
    std::uint32_t indexCount = 0;
    std::uint32_t vertexCount = 0; ///< 0 means that the record holds nothing

    /// Releases the arrays and zeroes the record; safe on an empty one.
    void Destroy();
};

/// A mesh as the renderer has it: handles, not memory. The buffers are made and removed through gw::DataLoader or a
/// command buffer, and must be removed before the model is destroyed, which otherwise asserts and leaves them.
///
/// A copy is shallow: handles, format and picking arrays are shared, and only one of the two may remove and own them.
/// Leaks (a buffer or format that is replaced while the model still has one) are assertions: the new value counts and
/// the old buffer stays with the renderer.
///
/// Not thread-safe: one thread at a time.
class GW_API Model : public BasicModel
{
public:
    QS_DECLARE_ALLOC(gw::Model)

    Model() = default;
    explicit Model(const qs::FixedString& name) : BasicModel(name) {}
    Model(const Model&) = default;
    Model& operator=(const Model&) = default;
    ~Model() override;

    int GetRTTI() const override { return eModelRTTI_Model; }

    // Geometry

    /// Asserts for a triangle list of one or two.
    void SetIndexCount(std::uint32_t count);
    void SetVertexCount(std::uint32_t count);
    /// Makes an index buffer of `count` indices of `size` bytes (2 or 4). `dynamic` stands for the usage of that name,
    /// else immutable.
    IndexBufferID SetIndices(std::uint32_t count, std::uint8_t size, const void* data, EResourceUsage usage);
    IndexBufferID SetIndices(std::uint32_t count, std::uint8_t size, const void* data, bool dynamic);
    /// Takes over a buffer that exists.
    void SetIndexBuffer(IndexBufferID id, std::uint32_t count, std::uint32_t size);
    /// Makes a vertex buffer for slot 0; the vertex size follows from the format, which is copied.
    VertexBufferID SetVertices(std::uint32_t count, const void* data, const FormatDesc* format,
                               std::uint32_t attributeCount, EResourceUsage usage);
    VertexBufferID SetVertices(std::uint32_t count, const void* data, const FormatDesc* format,
                               std::uint32_t attributeCount, bool dynamic);
    /// Takes over a buffer that exists, with vertices of `size` bytes. The format is copied.
    void SetVertexBuffer(std::uint32_t count, std::uint32_t size, VertexBufferID id, const FormatDesc* format,
                         std::uint32_t attributeCount);
    /// An index buffer of its own with the content of the source's, filled when the immediate queue is drained.
    void CloneIndices(const Model* source, EResourceUsage usage);

    /// Builds the model from separate attributes: 16-bit indices, one interleaved vertex buffer in the order of the
    /// streams, the format, and the bound, for which the positions must come first. Positions, normals, tangents and
    /// binormals have three floats, texture coordinates two, colours three or four; streams of other usages take room
    /// and are not filled. Tangents and binormals come together. A stream that does not keep to that asserts.
    ///
    /// With `dynamic` the buffers can be filled again by a further call: one of the same size keeps its handle and is
    /// written through `commands`, one of another size is replaced.
    void CreateFromStreamCollection(RendererCommandBuffer& commands, const StreamCollection& streams, bool dynamic);

    /// Sets the index count to 0 and destroys the picking data; the buffers stay.
    void Clear();
    /// Removes the buffers, and the format with the vertices, at once or recorded. Safe on a model without.
    void RemoveRenderData();
    void RemoveRenderData(RendererCommandBuffer& commands);
    void RemoveVBRenderData();
    void RemoveVBRenderData(RendererCommandBuffer& commands);
    void RemoveIBRenderData();
    void RemoveIBRenderData(RendererCommandBuffer& commands);

    // Drawing

    /// Draws all; the caller has set shader, states and buffers. Without an index buffer the vertices in their order.
    void Draw(RendererCommandBuffer* commands) const;
    /// Without an index buffer it draws one instance.
    void DrawInstanced(RendererCommandBuffer* commands, std::uint32_t instances) const;

    // Contents. Bytes; false when no memory could be had. The memory is the start of the buffer: the offset only counts
    // in the check of the size. While `commands` records, what is written goes to the buffer at the replay.

    bool Lock(RendererCommandBuffer& commands, std::uint32_t offset, std::uint32_t size, void** data,
              EResourceAccess access);
    bool Unlock(RendererCommandBuffer& commands);
    bool LockIB(RendererCommandBuffer& commands, std::uint32_t offset, std::uint32_t size, void** data,
                EResourceAccess access);
    bool UnlockIB(RendererCommandBuffer& commands);

    // Picking

    /// Takes over the record and its arrays; the old ones are destroyed when the new record holds something.
    void SetPickingData(const PickingData& data);
    /// Tests all triangles, moved by `transform`, and writes the nearest hit that is nearer than `result`, or the
    /// nearest one when `result` is a miss. Triangles that name a vertex beyond the last are passed over.
    void Pick(const qs::Ray& ray, const Matrix4x4f& transform, qs::PickResult& result) const;

    // Queries

    /// Bytes in front of the first attribute of the usage, all slots counted; false, with the size of all attributes,
    /// when there is none.
    bool GetAttributeUsageOffset(EAttributeUsage usage, std::uint32_t& offset) const;
    bool ContainsAttributeType(EAttributeUsage usage) const;
    std::uint32_t GetTexCoordCount() const;
    const FormatDesc* GetFormatDesc() const { return m_format; }
    std::uint32_t GetNumFormatDescAttrib() const { return m_attributeCount; }
    VertexBufferID GetVertexBuffer() const { return m_vertexBuffer; }
    IndexBufferID GetIndexBuffer() const { return m_indexBuffer; }
    std::uint32_t GetIndexCount() const { return m_indexCount; }
    std::uint32_t GetIndexSize() const { return m_indexSize; } ///< bytes
    std::uint32_t GetVertexCount() const { return m_vertexCount; }
    std::uint32_t GetVertexSize() const { return m_vertexSize; } ///< bytes, slot 0
    EPrimitiveTopology GetTopology() const { return m_topology; }
    void SetTopology(EPrimitiveTopology topology) { m_topology = topology; }

private:
    void ReleaseFormat();
    void ReportExisting() const;
    void UpdateIndices(RendererCommandBuffer& commands, const StreamCollection& streams, bool dynamic);
    void UpdateVertices(RendererCommandBuffer& commands, const StreamCollection& streams, const FormatDesc* format,
                        const char* packed, std::uint32_t stride, bool dynamic);

protected: // for models that share what another one owns
    std::uint32_t m_indexCount = 0;
    std::uint32_t m_indexSize = 0;
    std::uint32_t m_vertexCount = 0;
    std::uint32_t m_vertexSize = 0;
    FormatDesc* m_format = nullptr; ///< owned
    std::uint32_t m_attributeCount = 0;
    VertexBufferID m_vertexBuffer;
    IndexBufferID m_indexBuffer;
    EPrimitiveTopology m_topology = ePrimitiveTopology_TriangleList;

private:
    PickingData m_picking;
};

} // namespace gw
