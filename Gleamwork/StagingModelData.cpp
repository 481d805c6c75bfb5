// Attributes and indices of a mesh in the processor's memory.
#include "Gleamwork/StagingModelData.h"

#include "Gleamwork/RendererBase.h"

#include <cstring>

namespace gw {

StagingModelData::StagingModelData(void* indices, std::int32_t indexCount, std::int32_t indexSize, void* vertices,
                                   std::int32_t vertexCount, std::uint32_t vertexSize, const FormatDesc* format,
                                   std::uint64_t attributeCount)
    : indices(indices), indexCount(indexCount), indexSize(indexSize), vertices(vertices), vertexCount(vertexCount),
      vertexSize(vertexSize), format(format), attributeCount(attributeCount)
{
}

bool StagingModelData::GetAttributeUsageOffset(EAttributeUsage usage, std::uint32_t& offset) const
{
    offset = 0;
    for (std::uint64_t i = 0; i < attributeCount; ++i) {
        if (format[i].usage == usage) {
            return true;
        }
        offset += std::uint32_t(details::RendererBase::GetFormatSize(format[i].format)) * format[i].count;
    }
    return false;
}

std::uint32_t StagingModelData::GetIndex(std::int32_t position) const
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

void StagingModelData::SetIndex(std::int32_t position, std::uint32_t index) const
{
    if (indexSize == 2) {
        const auto narrow = std::uint16_t(index);
        std::memcpy(static_cast<char*>(indices) + std::uint64_t(position) * sizeof narrow, &narrow, sizeof narrow);
    } else {
        std::memcpy(static_cast<char*>(indices) + std::uint64_t(position) * sizeof index, &index, sizeof index);
    }
}

} // namespace gw
