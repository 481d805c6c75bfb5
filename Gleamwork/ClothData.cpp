// From a mesh to the data of a cloth: the order of the steps.
#include "Gleamwork/ClothData.h"

#include "Gleamwork/ClothBuilder.h"
#include "Gleamwork/ClothReorder.h"

#include <cstring>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "Gleamwork/ClothData";

// More simulated vertices than this make frames slow.
constexpr std::uint32_t SIMULATED_VERTICES_SOFT_LIMIT = 400;

bool CheckClothAttributes(const StagingModelData& staging, const char* owner)
{
    for (const EAttributeUsage usage : {eAttributeUsage_Position, eAttributeUsage_Color}) {
        std::uint32_t offset;
        if (!staging.GetAttributeUsageOffset(usage, offset)) {
            QS_LOG_ERROR(FILE_NAME, "gw::BuildClothData", "The mesh of %s has no %s.", owner,
                         usage == eAttributeUsage_Color ? "colours, which hold the weights" : "positions");
            return false;
        }
    }
    return true;
}

void ReadPositions(const StagingModelData& staging, qs::PrimitiveArray<Vector4f>& positions)
{
    std::uint32_t offset;
    staging.GetAttributeUsageOffset(eAttributeUsage_Position, offset);
    positions.SetSize(std::uint32_t(staging.vertexCount));
    for (std::int32_t i = 0; i < staging.vertexCount; ++i) {
        float position[3];
        std::memcpy(position, staging.GetVertex(i) + offset, sizeof position);
        positions.SetAt(std::uint32_t(i), Vector4f(position[0], position[1], position[2], 0.0f));
    }
}

void ReadWeights(const StagingModelData& staging, qs::PrimitiveArray<float>& weights)
{
    std::uint32_t offset;
    staging.GetAttributeUsageOffset(eAttributeUsage_Color, offset);
    weights.SetSize(std::uint32_t(staging.vertexCount));
    for (std::int32_t i = 0; i < staging.vertexCount; ++i) {
        const auto byte = static_cast<unsigned char>(staging.GetVertex(i)[offset]);
        const auto weight = float(byte / 255.0);
        weights.SetAt(std::uint32_t(i), weight > MIN_CLOTH_WEIGHT ? weight : 0.0f);
    }
}

} // namespace

void BuildClothData(const StagingModelData& staging, ClothData& data)
{
    const std::string owner = details::GetClothOwner(data.id);
    if (!details::CheckStaging(staging, "gw::BuildClothData", owner.c_str()) ||
        !CheckClothAttributes(staging, owner.c_str())) {
        return;
    }
    ReadPositions(staging, data.positions);
    ReadWeights(staging, data.weights);
    // Takes the weight of every copy, so that of vertices in one place only the first can be simulated.
    DetectDuplicates(data.positions, data.weights, data.duplicates);
    // From here on triangles, and all that is made of them, name sources only; the staging indices keep the copies.
    details::BuildIndices(staging, data.duplicates, data.indices);
    details::BuildLinks(data.indices, data.weights, data.links);
    ReorderStagingVertices(staging, details::FlagSimulatedRange(data),
                           [&data](const auto& remap, const auto& swaps, std::int32_t count) {
                               ReorderClothData(remap, swaps, count, &data);
                           });
    // The points go by the new numbers and read the vertices at their new places.
    details::SplitPoints(data);
    details::FillPoints(staging, data.skinnedPoints);
    details::FillPoints(staging, data.simulatedPoints);
}

void CheckClothValidity(const ClothData* data, const qs::Path& path)
{
    if (!data) {
        return;
    }
    const std::uint32_t count = data->simulatedPoints.vertices.GetSize();
    if (count > SIMULATED_VERTICES_SOFT_LIMIT) {
        QS_LOG_WARNING(FILE_NAME, "gw::CheckClothValidity",
                       "File %s contains cloth with more than %d simulated vertices (%d found). It may impact "
                       "performances.",
                       path.ToChar(), int(SIMULATED_VERTICES_SOFT_LIMIT), int(count));
    }
}

} // namespace gw
