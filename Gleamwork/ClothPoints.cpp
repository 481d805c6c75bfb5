// Which vertices of a cloth follow the skin and which move freely, and what the simulation needs of them.
#include "Gleamwork/ClothBuilder.h"

#include <cstring>
#include <vector>

namespace gw {

void ClothSkinningPointInfo::Clone(const ClothSkinningPointInfo& other)
{
    if (this == &other) {
        return;
    }
    vertices.Clone(other.vertices);
    positions = other.positions;
    blendIndices = other.blendIndices;
    blendWeights = other.blendWeights;
}

namespace details {

void SplitPoints(ClothData& data)
{
    std::vector<bool> seen(data.positions.GetSize());
    for (std::uint32_t i = 0; i < data.indices.GetSize(); ++i) {
        const std::int32_t vertex = data.indices[i];
        if (seen[std::size_t(vertex)]) {
            continue;
        }
        seen[std::size_t(vertex)] = true;
        const bool free = data.weights[std::uint32_t(vertex)] > MIN_CLOTH_WEIGHT;
        (free ? data.simulatedPoints : data.skinnedPoints).vertices.Add(vertex);
    }
}

void FillPoints(const StagingModelData& staging, ClothSkinningPointInfo& points)
{
    std::uint32_t position;
    std::uint32_t indices;
    std::uint32_t weights;
    const bool hasPositions = staging.GetAttributeUsageOffset(eAttributeUsage_Position, position);
    const bool hasIndices = staging.GetAttributeUsageOffset(eAttributeUsage_BlendIndices, indices);
    const bool hasWeights = staging.GetAttributeUsageOffset(eAttributeUsage_BlendWeight, weights);
    points.positions.SetSize(std::uint32_t(staging.vertexCount));
    points.blendIndices.SetSize(std::uint32_t(staging.vertexCount));
    points.blendWeights.SetSize(std::uint32_t(staging.vertexCount));
    for (std::uint32_t i = 0; i < points.vertices.GetSize(); ++i) {
        const char* vertex = staging.GetVertex(points.vertices[i]);
        if (hasPositions) {
            Vector3f value;
            std::memcpy(&value, vertex + position, sizeof value);
            points.positions.SetAt(i, value);
        }
        if (hasIndices) {
            unsigned int value;
            std::memcpy(&value, vertex + indices, sizeof value);
            points.blendIndices.SetAt(i, value);
        }
        if (hasWeights) {
            unsigned char bytes[4];
            std::memcpy(bytes, vertex + weights, sizeof bytes);
            points.blendWeights.SetAt(i, Vector4f(float(bytes[0] / 255.0), float(bytes[1] / 255.0),
                                                  float(bytes[2] / 255.0), float(bytes[3] / 255.0)));
        }
    }
}

} // namespace details
} // namespace gw
