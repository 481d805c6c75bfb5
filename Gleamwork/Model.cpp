// Models: buffers taken over, made, locked, drawn and removed.
#include "Gleamwork/Model.h"

#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/RendererBase.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <algorithm>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "Model.cpp";
constexpr const char* SAMPLE_NAME = "gw::Model";

EResourceUsage GetUsage(bool dynamic)
{
    return dynamic ? eResourceUsage_Dynamic : eResourceUsage_Immutable;
}

bool IsTooFewForTriangles(EPrimitiveTopology topology, std::uint32_t count)
{
    return topology == ePrimitiveTopology_TriangleList && (count == 1 || count == 2);
}

} // namespace

Model::~Model()
{
    m_indexCount = 0;
    m_picking.Destroy();
    if (m_vertexBuffer.IsValid() || m_indexBuffer.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Model::~Model", "Destroying model that still has a index/vertex buffer!");
    }
}

void Model::SetIndexCount(std::uint32_t count)
{
    m_indexCount = count;
    if (IsTooFewForTriangles(m_topology, count)) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Model::SetIndexCount", "Invalid index count!");
    }
}

void Model::SetVertexCount(std::uint32_t count)
{
    m_vertexCount = count;
    if (IsTooFewForTriangles(m_topology, count)) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Model::SetVertexCount", "Invalid vertex count!");
    }
}

IndexBufferID Model::SetIndices(std::uint32_t count, std::uint8_t size, const void* data, EResourceUsage usage)
{
    qs::MemoryTrackerSample sample(GetId().ToChar());
    SetIndexBuffer(DataLoader::InvokeAddIndexBuffer(count, size, usage, data), count, size);
    return m_indexBuffer;
}

IndexBufferID Model::SetIndices(std::uint32_t count, std::uint8_t size, const void* data, bool dynamic)
{
    return SetIndices(count, size, data, GetUsage(dynamic));
}

void Model::SetIndexBuffer(IndexBufferID id, std::uint32_t count, std::uint32_t size)
{
    m_indexBuffer = id;
    SetIndexCount(count);
    m_indexSize = size;
}

VertexBufferID Model::SetVertices(std::uint32_t count, const void* data, const FormatDesc* format,
                                  std::uint32_t attributeCount, EResourceUsage usage)
{
    qs::MemoryTrackerSample sample(GetId().ToChar());
    const std::uint32_t size = details::RendererBase::GetVertexSize(format, attributeCount, 0);
    const VertexBufferID id = DataLoader::InvokeAddVertexBuffer(long(std::uint64_t(size) * count), usage, data);
    SetVertexBuffer(count, size, id, format, attributeCount);
    return id;
}

VertexBufferID Model::SetVertices(std::uint32_t count, const void* data, const FormatDesc* format,
                                  std::uint32_t attributeCount, bool dynamic)
{
    return SetVertices(count, data, format, attributeCount, GetUsage(dynamic));
}

void Model::SetVertexBuffer(std::uint32_t count, std::uint32_t size, VertexBufferID id, const FormatDesc* format,
                            std::uint32_t attributeCount)
{
    constexpr const char* FUNCTION = "gw::Model::SetVertexBuffer";
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    if (m_format) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Model already has a FormatDesc. Leak detected!");
        delete[] m_format;
    }
    m_format = new (qs::DefaultMemoryTag) FormatDesc[attributeCount];
    m_attributeCount = m_format ? attributeCount : 0;
    std::copy_n(format, m_attributeCount, m_format);
    m_vertexSize = size;
    if (size == 0) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Vertex size is 0!");
    }
    if (m_vertexBuffer.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Model already has a VB. Leak detected!");
    }
    m_vertexBuffer = id;
    SetVertexCount(count);
}

void Model::CloneIndices(const Model* source, EResourceUsage usage)
{
    if (m_indexBuffer.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Model::CloneIndices", "Model already has an IB. Leak detected!");
    }
    m_indexCount = source->m_indexCount;
    m_indexSize = source->m_indexSize;
    m_indexBuffer = DataLoader::InvokeDuplicateIndexBuffer(m_indexCount, m_indexSize, usage, source->m_indexBuffer);
}

void Model::Clear()
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    m_indexCount = 0;
    m_picking.Destroy();
}

void Model::ReleaseFormat()
{
    delete[] m_format;
    m_format = nullptr;
    m_attributeCount = 0;
    m_vertexSize = 0;
}

void Model::RemoveRenderData()
{
    RemoveVBRenderData();
    RemoveIBRenderData();
}

void Model::RemoveRenderData(RendererCommandBuffer& commands)
{
    RemoveVBRenderData(commands);
    RemoveIBRenderData(commands);
}

void Model::RemoveVBRenderData()
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    if (m_vertexBuffer.IsValid()) {
        DataLoader::InvokeRemoveVertexBuffer(m_vertexBuffer);
        m_vertexBuffer = VertexBufferID();
    }
    ReleaseFormat();
}

void Model::RemoveVBRenderData(RendererCommandBuffer& commands)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    if (m_vertexBuffer.IsValid()) {
        commands.RemoveVertexBuffer(m_vertexBuffer);
        m_vertexBuffer = VertexBufferID();
    }
    ReleaseFormat();
}

void Model::RemoveIBRenderData()
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    if (m_indexBuffer.IsValid()) {
        DataLoader::InvokeRemoveIndexBuffer(m_indexBuffer);
        m_indexBuffer = IndexBufferID();
    }
}

void Model::RemoveIBRenderData(RendererCommandBuffer& commands)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    if (m_indexBuffer.IsValid()) {
        commands.RemoveIndexBuffer(m_indexBuffer);
        m_indexBuffer = IndexBufferID();
    }
}

void Model::Draw(RendererCommandBuffer* commands) const
{
    if (m_indexBuffer.IsValid()) {
        commands->DrawElements(0, int(m_indexCount), 0, int(m_vertexCount));
    } else {
        commands->DrawArrays(0, int(m_vertexCount));
    }
}

void Model::DrawInstanced(RendererCommandBuffer* commands, std::uint32_t instances) const
{
    if (m_indexBuffer.IsValid()) {
        commands->DrawElementsInstanced(0, int(instances), 0, int(m_indexCount), 0, int(m_vertexCount));
    } else {
        commands->DrawArrays(0, int(m_vertexCount));
    }
}

bool Model::Lock(RendererCommandBuffer& commands, std::uint32_t offset, std::uint32_t size, void** data,
                 EResourceAccess access)
{
    const std::uint64_t end = std::uint64_t(offset) + size;
    const std::uint64_t limit = std::uint64_t(m_vertexCount) * m_vertexSize;
    if (end > limit) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Model::Lock", "Trying to lock too much. %d > %d", int(end), int(limit));
    }
    *data = nullptr;
    commands.LockVertexBuffer(m_vertexBuffer, offset, size, data, access);
    return *data != nullptr;
}

bool Model::Unlock(RendererCommandBuffer& commands)
{
    commands.UnlockVertexBuffer(m_vertexBuffer);
    return true;
}

bool Model::LockIB(RendererCommandBuffer& commands, std::uint32_t offset, std::uint32_t size, void** data,
                   EResourceAccess access)
{
    *data = nullptr;
    commands.LockIndexBuffer(m_indexBuffer, offset, size, data, access);
    return *data != nullptr;
}

bool Model::UnlockIB(RendererCommandBuffer& commands)
{
    commands.UnlockIndexBuffer(m_indexBuffer);
    return true;
}

bool Model::GetAttributeUsageOffset(EAttributeUsage usage, std::uint32_t& offset) const
{
    offset = 0;
    for (std::uint32_t i = 0; i < m_attributeCount; ++i) {
        const FormatDesc& attribute = m_format[i];
        if (attribute.usage == usage) {
            return true;
        }
        offset += std::uint32_t(details::RendererBase::GetFormatSize(attribute.format)) * attribute.count;
    }
    return false;
}

bool Model::ContainsAttributeType(EAttributeUsage usage) const
{
    std::uint32_t offset;
    return GetAttributeUsageOffset(usage, offset);
}

std::uint32_t Model::GetTexCoordCount() const
{
    return std::uint32_t(std::count_if(m_format, m_format + m_attributeCount, [](const FormatDesc& attribute) {
        return attribute.usage == eAttributeUsage_Texcoord;
    }));
}

} // namespace gw
