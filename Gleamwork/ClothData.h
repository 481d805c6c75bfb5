// What a cloth simulation is given: simulated vertices, triangles, edges, copies, and who follows the skin.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/StagingModelData.h"

#include <cstdint>
#include <qs/Array.h>
#include <qs/FixedString.h>
#include <qs/Math.h>
#include <qs/Memory.h>
#include <qs/Path.h>
#include <qs/Set.h>

namespace gw {

/// An edge by its vertices, the lower number first.
struct ClothLink
{
    std::int32_t first = 0;
    std::int32_t second = 0;
    friend bool operator==(const ClothLink&, const ClothLink&) = default;
};

/// A vertex that stands where another one does, and which one that is. The source has the lower number when the pair is
/// found; moving vertices to the front may change that.
struct DuplicateIndices
{
    std::int32_t duplicate = 0;
    std::int32_t source = 0;
    friend bool operator==(const DuplicateIndices&, const DuplicateIndices&) = default;
};

/// Two vertices that change places.
struct SwapEntry
{
    std::int32_t first = 0;
    std::int32_t second = 0;
    friend bool operator==(const SwapEntry&, const SwapEntry&) = default;
};

/// Bone numbers of a vertex.
struct blendindices
{
    std::uint8_t bones[4] = {};
    friend bool operator==(const blendindices&, const blendindices&) = default;
};

/// Vertices of one kind with their position and skin. The three arrays have an entry for each of `vertices`; one whose
/// attribute the mesh lacks is empty. Move-only; Clone copies.
struct GW_API ClothSkinningPointInfo
{
    ClothSkinningPointInfo() = default;
    ClothSkinningPointInfo(ClothSkinningPointInfo&&) = default;
    ClothSkinningPointInfo& operator=(ClothSkinningPointInfo&&) = default;
    ClothSkinningPointInfo(const ClothSkinningPointInfo&) = delete;
    ClothSkinningPointInfo& operator=(const ClothSkinningPointInfo&) = delete;

    void Clone(const ClothSkinningPointInfo& other);

    qs::PrimitiveSet<std::int32_t> vertices; ///< each once, in the order in which the triangles use them
    qs::PrimitiveArray<Vector3f> positions{1};
    qs::PrimitiveArray<unsigned int> blendIndices{1}; ///< the bytes of gw::blendindices
    qs::PrimitiveArray<Vector4f> blendWeights{1};     ///< 0 to 1
};

/// A mesh as a simulation needs it. The simulated range, [0, size of `positions`), holds the vertices with a weight,
/// their neighbours in a triangle, and the copies of both; render vertices stand behind it in the vertex block.
/// Move-free and copy-free: one object per base model, shared by address.
struct GW_API ClothData
{
    QS_DECLARE_ALLOC(gw::ClothData)

    ClothData() = default;
    ClothData(const ClothData&) = delete;
    ClothData& operator=(const ClothData&) = delete;

    qs::PrimitiveArray<Vector4f> positions{1};     ///< of the simulated range, w is 0
    qs::PrimitiveArray<std::int32_t> indices{1};   ///< triangles inside the range; never name a copy
    qs::PrimitiveArray<float> weights{1};          ///< of the range: 0 follows the skin, up to 1 moves freely
    std::uint32_t extraVertexCount = 0;            ///< render vertices behind the range
    char* extraSkinningData = nullptr;             ///< their skin, a raw block
    char* extraPositions = nullptr;                ///< their positions, a raw block
    qs::PrimitiveSet<ClothLink> links;             ///< edges with a weight at one end at least; never name a copy
    qs::PrimitiveSet<DuplicateIndices> duplicates; ///< inside the range
    ClothSkinningPointInfo skinnedPoints;          ///< vertices of triangles, weight at most 1/256
    ClothSkinningPointInfo simulatedPoints;        ///< vertices of triangles, weight above 1/256
    qs::FixedString id;                            ///< names the cloth in messages
};

/// Most vertices that a cloth mesh can have.
inline constexpr std::int32_t MAX_CLOTH_VERTICES = 65536;
/// A weight up to this counts as none.
inline constexpr float MIN_CLOTH_WEIGHT = 0.00390625f;

/// Fills a fresh `data` from a triangle list and moves the vertices of the simulated range to the front of the staging
/// vertex block, with the staging indices renumbered to match: upload the mesh afterwards. A vertex's weight is the
/// first byte of its colour over 255, none for 0; of vertices in one place only the first is simulated. Indices beyond
/// the last whole triangle are renumbered and otherwise ignored.
///
/// A mesh that cannot be a cloth is refused with an error that names it by `data.id`, and neither side changes: one
/// without positions or colours, with more than MAX_CLOTH_VERTICES vertices, with attributes that reach beyond the
/// vertex size, or with an index beyond the last vertex.
///
/// The cost is linear in vertices and indices. Any thread; nothing is shared between calls.
GW_API void BuildClothData(const StagingModelData& staging, ClothData& data);

/// Warns when the cloth moves more than 400 vertices, naming the file it came from. A null pointer is let pass.
GW_API void CheckClothValidity(const ClothData* data, const qs::Path& path);

/// Finds vertices closer than 1e-7 to an earlier one and appends the pairs, ordered by a coarse hash of the source's
/// position, then source, then duplicate. Vertices on two sides of a border of that hash count as apart, and so does
/// anything that is not a number. The first form sets the weight of each duplicate to 0. More than MAX_CLOTH_VERTICES
/// positions are refused with an error.
GW_API void DetectDuplicates(const qs::PrimitiveArray<Vector4f>& positions, qs::PrimitiveArray<float>& weights,
                             qs::PrimitiveSet<DuplicateIndices>& duplicates);
GW_API void DetectDuplicates(const qs::PrimitiveArray<Vector3f>& positions,
                             qs::PrimitiveSet<DuplicateIndices>& duplicates);

} // namespace gw
