// A mesh in the processor's memory, as those who prepare meshes hand it over.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/FormatDesc.h"

#include <cstdint>
#include <cstring>

namespace gw {

/// A view of a mesh that somebody else owns; copied by value. The attributes of a vertex lie in the order of the format
/// without gaps, whatever their stream. The blocks need no alignment.
struct GW_API StagingModelData
{
    StagingModelData(void* indices, std::int32_t indexCount, std::int32_t indexSize, void* vertices,
                     std::int32_t vertexCount, std::uint32_t vertexSize, const FormatDesc* format,
                     std::uint64_t attributeCount);

    /// Bytes in front of the first attribute of the usage; false, with the size of all attributes, without one.
    bool GetAttributeUsageOffset(EAttributeUsage usage, std::uint32_t& offset) const;

    /// The index at a position, which must lie in the block.
    std::uint32_t GetIndex(std::int32_t position) const;
    void SetIndex(std::int32_t position, std::uint32_t index) const;
    /// The first byte of a vertex, which must lie in the block.
    char* GetVertex(std::int32_t vertex) const
    {
        return static_cast<char*>(vertices) + std::uint64_t(vertex) * vertexSize;
    }

    void* indices;
    std::int32_t indexCount;
    std::int32_t indexSize; ///< 2 for 16-bit indices, everything else stands for 32 bits
    void* vertices;
    std::int32_t vertexCount;
    std::uint32_t vertexSize; ///< bytes from one vertex to the next
    const FormatDesc* format;
    std::uint64_t attributeCount; ///< entries of `format`
};

inline std::uint32_t StagingModelData::GetIndex(std::int32_t position) const
{
    if (indexSize == 2) {
        std::uint16_t index;
        std::memcpy(&index, static_cast<const char*>(indices) + std::uint64_t(position) * sizeof index, sizeof index);
        return index;
    }
    std::uint32_t index;
    std::memcpy(&index, static_cast<const char*>(indices) + std::uint64_t(position) * sizeof index, sizeof index);
    return index;
}

inline void StagingModelData::SetIndex(std::int32_t position, std::uint32_t index) const
{
    if (indexSize == 2) {
        const auto narrow = std::uint16_t(index);
        std::memcpy(static_cast<char*>(indices) + std::uint64_t(position) * sizeof narrow, &narrow, sizeof narrow);
    } else {
        std::memcpy(static_cast<char*>(indices) + std::uint64_t(position) * sizeof index, &index, sizeof index);
    }
}

} // namespace gw
