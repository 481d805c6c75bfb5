// Vertex formats and vertex streams: how the attributes of a mesh are named, typed and handed over.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/RenderTypes.h"

#include <cstdint>
#include <qs/Set.h>

namespace gw {

/// What an attribute means. Each value but None is bound to a shader input by the semantic of the same name.
enum EAttributeUsage : std::uint8_t
{
    eAttributeUsage_None = 0,
    eAttributeUsage_Position = 1,
    eAttributeUsage_Texcoord = 2,
    eAttributeUsage_Normal = 3,
    eAttributeUsage_Tangent = 4,
    eAttributeUsage_Binormal = 5,
    eAttributeUsage_BlendWeight = 6,
    eAttributeUsage_BlendIndices = 7,
    eAttributeUsage_Color = 8,
    eAttributeUsage_FloatStream = 9,
    eAttributeUsage_Float3Stream = 10,
};

/// Type of one component. The 8- and 16-bit types have no device format with three components.
enum EAttributeFormat : std::uint8_t
{
    eAttributeFormat_Float32 = 0,
    eAttributeFormat_UInt32 = 1,
    eAttributeFormat_Int32 = 2,
    eAttributeFormat_Float16 = 3,
    eAttributeFormat_UNorm16 = 4,
    eAttributeFormat_UInt16 = 5,
    eAttributeFormat_SNorm16 = 6,
    eAttributeFormat_Int16 = 7,
    eAttributeFormat_UNorm8 = 8,
    eAttributeFormat_UInt8 = 9,
    eAttributeFormat_SNorm8 = 10,
    eAttributeFormat_Int8 = 11,
};

/// One vertex attribute. An array of these, with a count, is a vertex format; attributes of one stream follow each
/// other without gaps in array order.
struct FormatDesc
{
    std::int8_t stream = 0;                             ///< vertex buffer slot
    EAttributeUsage usage = eAttributeUsage_None;       ///< semantic name
    std::uint8_t usageIndex = 0;                        ///< semantic index
    std::uint8_t instanced = 0;                         ///< 1: advances once per instance; else per vertex
    EAttributeFormat format = eAttributeFormat_Float32; ///< type of one component
    std::uint8_t count = 0;                             ///< components, 1 to 4
};

static_assert(sizeof(FormatDesc) == 6, "vertex formats are stored in files and records as packed arrays");

/// One attribute of all vertices as tightly packed floats. Copied by value; the floats stay the caller's and must
/// outlive the stream.
struct GW_API Stream
{
    Stream() = default;
    Stream(EAttributeUsage usage, std::int32_t components, std::uint32_t vertexCount, const float* data);

    EAttributeUsage usage = eAttributeUsage_None;
    std::int32_t components = 0; ///< floats per vertex
    std::uint32_t vertexCount = 0;
    const float* data = nullptr;
};

/// A whole mesh in streams. Owns the list of streams, neither their floats nor the indices. Move-only; the source of a
/// move is left without streams.
class GW_API StreamCollection
{
public:
    StreamCollection(EPrimitiveTopology topology, std::uint32_t indexCount, const std::uint16_t* indices);
    StreamCollection(StreamCollection&&) = default;
    StreamCollection& operator=(StreamCollection&&) = default;
    StreamCollection(const StreamCollection&) = delete;
    StreamCollection& operator=(const StreamCollection&) = delete;

    /// Appends a stream and takes over its vertex count. Streams of different counts are reported and still added.
    void AddStream(const Stream& stream);
    bool HasStream(EAttributeUsage usage) const;

    qs::ObjectSet<Stream> streams; ///< in the order added
    std::uint32_t vertexCount = 0; ///< of the last stream added
    EPrimitiveTopology topology;
    std::uint32_t indexCount;
    const std::uint16_t* indices; ///< may be null
};

} // namespace gw
