// Models from separate attributes: packing, and updating what is there.
#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/Model.h"
#include "Gleamwork/RendererBase.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <qs/Log.h>
#include <vector>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "ModelStreams.cpp";
constexpr const char* FUNCTION = "gw::Model::CreateFromStreamCollection";

// Vertices that are packed stream by stream before the next ones: as many as stay in the nearest cache.
constexpr std::uint32_t CHUNK_VERTICES = 512;

void* AllocateRaw(const char* scope, std::uint64_t size)
{
    qs::MemoryTrackerSample sample(scope);
    return qs::MemoryManager::Allocate(size, qs::AllocType::Raw, qs::DefaultMemoryTag, 16, true);
}

struct RawDeleter
{
    void operator()(void* block) const
    {
        qs::MemoryManager::Deallocate(block, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
    }
};

template <class T>
using RawBlock = std::unique_ptr<T[], RawDeleter>;

// Floats that an attribute of the usage has; 0 for one that is not packed.
std::uint8_t GetRequiredComponents(const Stream& stream)
{
    switch (stream.usage) {
    case eAttributeUsage_Position:
    case eAttributeUsage_Normal:
    case eAttributeUsage_Tangent:
    case eAttributeUsage_Binormal:
        return 3;
    case eAttributeUsage_Texcoord:
        return 2;
    case eAttributeUsage_Color:
        return stream.components == 3 ? 3 : 4;
    default:
        return 0;
    }
}

void CheckComponents(const Stream& stream, std::uint8_t required)
{
    if (stream.components == required) {
        return;
    }
    const int components = stream.components;
    switch (stream.usage) {
    case eAttributeUsage_Position:
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "A position stream needs to have 3 components per vertex, it currently has %d", components);
        break;
    case eAttributeUsage_Normal:
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "A normal stream needs to have 3 components per vertex, it currently has %d",
                      components);
        break;
    case eAttributeUsage_Tangent:
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "A tangent stream needs to have 3 components per vertex, it currently has %d", components);
        break;
    case eAttributeUsage_Binormal:
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "A binormal stream needs to have 3 components per vertex, it currently has %d", components);
        break;
    case eAttributeUsage_Texcoord:
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "A texture coordinate stream needs to have 2 components per vertex, it currently has %d",
                      components);
        break;
    default:
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "A color stream needs to have 3 or 4 components per vertex, it currently has %d", components);
        break;
    }
}

// What has to be copied of one stream.
struct PackedStream
{
    const float* source;
    std::uint32_t sourceFloats; // per vertex
    std::uint32_t copyFloats;   // per vertex
    std::uint32_t offset;       // bytes in the packed vertex
    std::uint32_t vertexCount;
};

// The number of floats is known to the compiler: a copy of unknown size would be a call per vertex.
template <std::uint32_t Floats>
void CopyFloats(const PackedStream& stream, char* packed, std::uint32_t stride, std::uint32_t first, std::uint32_t end)
{
    const float* source = stream.source + std::size_t(first) * stream.sourceFloats;
    char* target = packed + std::size_t(first) * stride + stream.offset;
    for (std::uint32_t vertex = first; vertex < end; ++vertex) {
        std::memcpy(target, source, Floats * sizeof(float));
        source += stream.sourceFloats;
        target += stride;
    }
}

void Copy(const PackedStream& stream, char* packed, std::uint32_t stride, std::uint32_t first, std::uint32_t end)
{
    switch (stream.copyFloats) {
    case 1:
        CopyFloats<1>(stream, packed, stride, first, end);
        break;
    case 2:
        CopyFloats<2>(stream, packed, stride, first, end);
        break;
    case 3:
        CopyFloats<3>(stream, packed, stride, first, end);
        break;
    case 4:
        CopyFloats<4>(stream, packed, stride, first, end);
        break;
    default:
        break;
    }
}

// Fills the format and plans the copies. A stream with the wrong number of components never reads beyond its floats nor
// writes beyond the vertex.
std::vector<PackedStream> PlanCopies(const StreamCollection& streams, FormatDesc* format)
{
    std::vector<PackedStream> plan;
    std::uint32_t offset = 0;
    std::uint8_t textureSet = 0;
    std::uint8_t colorSet = 0;
    for (const Stream& stream : streams.streams) {
        const std::uint8_t required = GetRequiredComponents(stream);
        if (required == 0) {
            continue;
        }
        CheckComponents(stream, required);
        format->usage = stream.usage;
        format->count = required;
        format->usageIndex = stream.usage == eAttributeUsage_Texcoord ? textureSet++
                             : stream.usage == eAttributeUsage_Color  ? colorSet++
                                                                      : std::uint8_t(0);
        ++format;
        const std::uint32_t given = std::uint32_t(std::max(stream.components, 0));
        const std::uint32_t copied = std::min(std::uint32_t(required), given);
        if (stream.data && copied != 0) {
            plan.push_back({stream.data, given, copied, offset, std::min(stream.vertexCount, streams.vertexCount)});
        }
        offset += required * std::uint32_t(sizeof(float));
    }
    return plan;
}

bool IsPackedWhole(const std::vector<PackedStream>& plan, std::uint32_t stride, std::uint32_t vertexCount)
{
    std::uint32_t bytes = 0;
    for (const PackedStream& stream : plan) {
        bytes += stream.copyFloats * std::uint32_t(sizeof(float));
        if (stream.vertexCount != vertexCount) {
            return false;
        }
    }
    return bytes == stride;
}

RawBlock<char> Pack(const StreamCollection& streams, std::uint32_t stride, FormatDesc* format)
{
    const std::uint64_t size = std::uint64_t(stride) * streams.vertexCount;
    RawBlock<char> packed(
        static_cast<char*>(AllocateRaw("gw::Model::CreateFromStreamCollection::packedVertices", size)));
    if (!packed) {
        return packed;
    }
    const std::vector<PackedStream> plan = PlanCopies(streams, format);
    if (!IsPackedWhole(plan, stride, streams.vertexCount)) {
        std::memset(packed.get(), 0, size);
    }
    for (std::uint32_t first = 0; first < streams.vertexCount; first += CHUNK_VERTICES) {
        for (const PackedStream& stream : plan) {
            Copy(stream, packed.get(), stride, first, std::min(first + CHUNK_VERTICES, stream.vertexCount));
        }
    }
    return packed;
}

// Bytes of a vertex in the format that the streams make, which is what the device is told, also where a stream brings
// fewer components or more. 0 without components, and after an error when the streams bring more than 64 KiB a vertex;
// that is reckoned in 64 bits, so that a hostile count of components cannot wrap.
std::uint32_t GetStride(const StreamCollection& streams)
{
    std::int64_t given = 0;
    std::uint32_t stride = 0;
    for (const Stream& stream : streams.streams) {
        given += std::int64_t(std::max(stream.components, 0)) * std::int64_t(sizeof(float));
        stride += GetRequiredComponents(stream) * std::uint32_t(sizeof(float));
    }
    if (given > 65536) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "The streams make vertices of %lld bytes; at most 65536 are possible.",
                     static_cast<long long>(given));
    }
    return given != 0 && given <= 65536 ? stride : 0;
}

} // namespace

void Model::ReportExisting() const
{
    const char* id = GetId().ToChar();
    const char* name = GetName().ToChar();
    if (m_vertexBuffer.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "The model with ID \"%s\" and name \"%s\" already has a vertex buffer!", id,
                      name);
    }
    if (m_indexBuffer.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "The model with ID \"%s\" and name \"%s\" already has an index buffer!", id,
                      name);
    }
    if (m_format) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "The model with ID \"%s\" and name \"%s\" already has a vertex format!", id,
                      name);
    }
}

void Model::CreateFromStreamCollection(RendererCommandBuffer& commands, const StreamCollection& streams, bool dynamic)
{
    if (!dynamic) {
        ReportExisting();
    }
    if (streams.HasStream(eAttributeUsage_Tangent) != streams.HasStream(eAttributeUsage_Binormal)) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "If Tangent or Binormal is supplied, you must supply them both!");
    }
    m_topology = streams.topology;
    if (streams.indices && streams.indexCount != 0) {
        UpdateIndices(commands, streams, dynamic);
    }
    const std::uint32_t stride = GetStride(streams);
    if (stride == 0) {
        return;
    }
    const std::unique_ptr<FormatDesc[]> format(new FormatDesc[streams.streams.GetSize()]());
    const RawBlock<char> packed = Pack(streams, stride, format.get());
    if (!packed) {
        return;
    }
    UpdateVertices(commands, streams, format.get(), packed.get(), stride, dynamic);
    SetBound(qs::Bound::computeAABB(packed.get(), stride, streams.vertexCount));
}

void Model::UpdateIndices(RendererCommandBuffer& commands, const StreamCollection& streams, bool dynamic)
{
    if (streams.indexCount >= 65535) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "Maximum allowed index buffer size for an . obj file is 65535, the current index buffer has %d "
                      "indices!",
                      int(streams.indexCount));
    }
    const std::uint64_t size = std::uint64_t(streams.indexCount) * sizeof(std::uint16_t);
    const RawBlock<std::uint16_t> copy(static_cast<std::uint16_t*>(AllocateRaw("uint16*", size)));
    if (!copy) {
        return;
    }
    std::copy_n(streams.indices, streams.indexCount, copy.get());
    if (m_indexBuffer.IsValid() && std::uint64_t(m_indexCount) * m_indexSize == size) {
        if (!dynamic) {
            QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Trying to update model but IB is not dynamic");
        }
        void* target = nullptr;
        if (LockIB(commands, 0, std::uint32_t(size), &target, eResourceAccess_WriteDiscard)) {
            std::memcpy(target, copy.get(), size);
            UnlockIB(commands);
        }
        return;
    }
    RemoveIBRenderData();
    SetIndices(streams.indexCount, sizeof(std::uint16_t), copy.get(), dynamic);
}

void Model::UpdateVertices(RendererCommandBuffer& commands, const StreamCollection& streams, const FormatDesc* format,
                           const char* packed, std::uint32_t stride, bool dynamic)
{
    const std::uint64_t size = std::uint64_t(stride) * streams.vertexCount;
    if (m_vertexBuffer.IsValid()) {
        if (std::uint64_t(m_vertexSize) * m_vertexCount == size) {
            if (!dynamic) {
                QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Trying to update model but VB is not dynamic");
            }
            void* target = nullptr;
            if (Lock(commands, 0, std::uint32_t(size), &target, eResourceAccess_WriteDiscard)) {
                std::memcpy(target, packed, size);
                Unlock(commands);
            }
            return;
        }
        RemoveVBRenderData();
    }
    SetVertices(streams.vertexCount, packed, format, streams.streams.GetSize(), dynamic);
}

} // namespace gw
