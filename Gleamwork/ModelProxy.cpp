// Welding a mesh.
#include "Gleamwork/ModelProxy.h"

#include "Gleamwork/ClothBuilder.h"
#include "Gleamwork/ClothReorder.h"

#include <cstring>
#include <utility>

namespace gw {
namespace {

void ReadVertices(const StagingModelData& staging, std::uint32_t offset, qs::PrimitiveArray<Vector3f>& vertices)
{
    vertices.SetSize(std::uint32_t(staging.vertexCount));
    for (std::int32_t i = 0; i < staging.vertexCount; ++i) {
        float position[3];
        std::memcpy(position, staging.GetVertex(i) + offset, sizeof position);
        vertices.SetAt(std::uint32_t(i), Vector3f(position[0], position[1], position[2]));
    }
}

qs::PrimitiveArray<bool> FlagSources(const ModelProxyData& data)
{
    qs::PrimitiveArray<bool> flags(1, data.vertices.GetSize());
    for (std::uint32_t i = 0; i < data.vertices.GetSize(); ++i) {
        flags.SetAt(i, true);
    }
    for (const DuplicateIndices& pair : data.duplicates) {
        flags.SetAt(std::uint32_t(pair.duplicate), false);
    }
    return flags;
}

} // namespace

void BuildModelProxyData(const StagingModelData& staging, ModelProxyData& data)
{
    std::uint32_t offset;
    if (!details::CheckStaging(staging, "gw::BuildModelProxyData", "a model proxy") ||
        !staging.GetAttributeUsageOffset(eAttributeUsage_Position, offset)) {
        return;
    }
    ReadVertices(staging, offset, data.vertices);
    DetectDuplicates(data.vertices, data.duplicates);
    details::BuildIndices(staging, data.duplicates, data.indices);
    ReorderStagingVertices(
        staging, FlagSources(data), [&data](const auto& remap, const auto& swaps, std::int32_t count) {
            for (const SwapEntry& swap : swaps) {
                std::swap(data.vertices[std::uint32_t(swap.first)], data.vertices[std::uint32_t(swap.second)]);
            }
            data.vertices.SetSize(std::uint32_t(count));
            details::RenumberTriangles(remap, count, data.indices);
        });
}

void ModelProxy::SetData(ModelProxyData& data)
{
    qs::MemoryTrackerSample sample("gw::ModelProxy");
    m_vertices = std::move(data.vertices);
    m_indices = std::move(data.indices);
}

} // namespace gw
