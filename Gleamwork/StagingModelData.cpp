// Attributes and indices of a mesh in the processor's memory.
#include "Gleamwork/StagingModelData.h"

#include "Gleamwork/RendererBase.h"

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

} // namespace gw
