// Meshes in staging form that cloths are made of.
#pragma once

#include "Gleamwork/ClothData.h"

#include <array>
#include <random>
#include <vector>

struct ClothVertex
{
    float texCoord[2] = {};
    float position[3] = {};
    std::uint8_t color[4] = {};
    std::uint8_t blendWeights[4] = {};
    std::uint8_t blendIndices[4] = {};
    std::uint8_t padding[3] = {}; // of the stride, not of the format
    std::uint8_t mark = 0;

    friend bool operator==(const ClothVertex&, const ClothVertex&) = default;
};

inline constexpr std::array<gw::FormatDesc, 5> CLOTH_FORMAT = {{
    {0, gw::eAttributeUsage_Texcoord, 0, 0, gw::eAttributeFormat_Float32, 2},
    {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 3},
    {0, gw::eAttributeUsage_Color, 0, 0, gw::eAttributeFormat_UNorm8, 4},
    {0, gw::eAttributeUsage_BlendWeight, 0, 0, gw::eAttributeFormat_UNorm8, 4},
    {0, gw::eAttributeUsage_BlendIndices, 0, 0, gw::eAttributeFormat_UInt8, 4},
}};

struct ClothMesh
{
    /// The vertex's number comes back in its texture coordinate and its skin.
    void AddVertex(float x, float y, float z, std::uint8_t weight)
    {
        ClothVertex vertex;
        const auto number = std::uint8_t(vertices.size());
        vertex.texCoord[0] = float(vertices.size());
        vertex.position[0] = x;
        vertex.position[1] = y;
        vertex.position[2] = z;
        vertex.color[0] = weight;
        vertex.color[1] = 255;
        vertex.blendWeights[1] = number;
        vertex.blendIndices[2] = number;
        vertex.mark = number;
        vertices.push_back(vertex);
    }

    /// The blocks of the result belong to this mesh. `Index` says which of the two index blocks is used.
    template <class Index = std::uint32_t>
    gw::StagingModelData Get()
    {
        void* block = indices.data();
        if constexpr (sizeof(Index) == 2) {
            narrow.assign(indices.begin(), indices.end());
            block = narrow.data();
        }
        return gw::StagingModelData(block, std::int32_t(indices.size()), sizeof(Index), vertices.data(),
                                    std::int32_t(vertices.size()), sizeof(ClothVertex), CLOTH_FORMAT.data(),
                                    CLOTH_FORMAT.size());
    }

    std::vector<ClothVertex> vertices;
    std::vector<std::uint32_t> indices;
    std::vector<std::uint16_t> narrow;
};

/// Triangles between vertices of which many share a place, lie closer together than any cloth tells apart, at borders
/// of hash values, or far away.
inline ClothMesh MakeRandomMesh(unsigned seed)
{
    std::mt19937 random(seed);
    const auto pick = [&](unsigned count) { return unsigned(random() % count); };
    const unsigned vertexCount = 1 + pick(200);
    const float scales[] = {0.0001f, 0.25f, 1.0f, 1000.0f};
    const float scale = scales[pick(4)];
    const float steps[] = {0.0f, 1e-8f, 6e-8f, 9e-8f, 1.1e-7f, 2e-7f};
    const unsigned places = 1 + pick(5);
    const unsigned weightless = pick(5);
    ClothMesh mesh;
    for (unsigned i = 0; i < vertexCount; ++i) {
        float position[3];
        for (float& coordinate : position) {
            coordinate = (float(pick(places)) - 2.0f) * scale + steps[pick(6)] * float(pick(3));
        }
        mesh.AddVertex(position[0], position[1], position[2], pick(5) < weightless ? 0 : std::uint8_t(pick(4) * 80));
    }
    for (unsigned i = pick(3 * vertexCount); i > 0; --i) {
        mesh.indices.push_back(pick(vertexCount));
    }
    return mesh;
}
