// The triangles of a staging mesh: whether they can be trusted, and without copies of vertices.
#include "Gleamwork/ClothBuilder.h"

#include "Gleamwork/RendererBase.h"

#include <algorithm>
#include <qs/Log.h>

namespace gw::details {
namespace {

constexpr const char* FILE_NAME = "Gleamwork/ClothIndices";

// Bytes that are read of an attribute, whatever its format says.
std::uint32_t GetReadSize(EAttributeUsage usage)
{
    switch (usage) {
    case eAttributeUsage_Position:
        return sizeof(Vector3f);
    case eAttributeUsage_BlendIndices:
    case eAttributeUsage_BlendWeight:
        return 4;
    case eAttributeUsage_Color:
        return 1;
    default:
        return 0;
    }
}

// Bytes of a vertex that its format describes or that are read of it.
std::uint64_t GetNeededSize(const StagingModelData& staging)
{
    std::uint64_t needed = 0;
    std::uint64_t offset = 0;
    for (std::uint64_t i = 0; i < staging.attributeCount; ++i) {
        const FormatDesc& attribute = staging.format[i];
        const std::uint64_t size = std::uint64_t(RendererBase::GetFormatSize(attribute.format)) * attribute.count;
        needed = std::max(needed, offset + std::max<std::uint64_t>(size, GetReadSize(attribute.usage)));
        offset += size;
    }
    return needed;
}

bool CheckIndices(const StagingModelData& staging, const char* function, const char* owner)
{
    for (std::int32_t i = 0; i < staging.indexCount; ++i) {
        const std::uint32_t index = staging.GetIndex(i);
        if (index >= std::uint32_t(staging.vertexCount)) {
            QS_LOG_ERROR(FILE_NAME, function, "Index %d of the mesh of %s is %u, but there are %d vertices.", i, owner,
                         index, staging.vertexCount);
            return false;
        }
    }
    return true;
}

} // namespace

bool CheckStaging(const StagingModelData& staging, const char* function, const char* owner)
{
    if (staging.vertexCount < 0 || staging.indexCount < 0 || (staging.vertexCount > 0 && !staging.vertices) ||
        (staging.indexCount > 0 && !staging.indices) || (staging.attributeCount > 0 && !staging.format)) {
        QS_LOG_ERROR(FILE_NAME, function, "The mesh of %s has counts without blocks: %d vertices, %d indices.", owner,
                     staging.vertexCount, staging.indexCount);
        return false;
    }
    if (staging.vertexCount > MAX_CLOTH_VERTICES) {
        QS_LOG_ERROR(FILE_NAME, function, "The mesh of %s has %d vertices; at most %d are possible.", owner,
                     staging.vertexCount, MAX_CLOTH_VERTICES);
        return false;
    }
    const std::uint64_t needed = GetNeededSize(staging);
    if (needed > staging.vertexSize) {
        QS_LOG_ERROR(FILE_NAME, function, "The attributes in the mesh of %s need %llu bytes, a vertex has %u.", owner,
                     static_cast<unsigned long long>(needed), staging.vertexSize);
        return false;
    }
    return CheckIndices(staging, function, owner);
}

std::string GetClothOwner(const qs::FixedString& id)
{
    return std::string("cloth \"") + id.ToChar() + '"';
}

void BuildIndices(const StagingModelData& staging, const qs::PrimitiveSet<DuplicateIndices>& duplicates,
                  qs::PrimitiveArray<std::int32_t>& indices)
{
    qs::PrimitiveArray<std::int32_t> remap(1, std::uint32_t(staging.vertexCount));
    for (std::int32_t i = 0; i < staging.vertexCount; ++i) {
        remap.SetAt(std::uint32_t(i), i);
    }
    for (const DuplicateIndices& pair : duplicates) {
        remap.SetAt(std::uint32_t(pair.duplicate), pair.source);
    }
    const std::int32_t count = staging.indexCount / 3 * 3;
    indices.SetSize(std::uint32_t(count));
    for (std::int32_t i = 0; i < count; ++i) {
        indices.SetAt(std::uint32_t(i), remap[staging.GetIndex(i)]);
    }
}

} // namespace gw::details
