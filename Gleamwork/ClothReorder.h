// Moving chosen vertices of a mesh to the front, and everything that names them along.
#pragma once

#include "Gleamwork/ClothData.h"

#include <functional>

namespace gw {

/// What follows when vertices move: the new number of each vertex, the exchanges in their order, and how many vertices
/// stand at the front now.
using ReorderCallback = std::function<void(const qs::PrimitiveArray<std::int32_t>& remap,
                                           const qs::PrimitiveSet<SwapEntry>& swaps, std::int32_t count)>;

/// Moves the flagged vertices to the front of the staging block with the fewest exchanges, and renumbers its indices.
/// `reorder` is called in between, once all is known and nothing moved. There is a flag for each vertex; all indices
/// must be below the vertex count.
GW_API void ReorderStagingVertices(const StagingModelData& staging, const qs::PrimitiveArray<bool>& flags,
                                   const ReorderCallback& reorder);

/// Renumbers a cloth and cuts it down to its first `count` vertices: triangles and pairs that do not lie inside go.
GW_API void ReorderClothData(const qs::PrimitiveArray<std::int32_t>& remap, const qs::PrimitiveSet<SwapEntry>& swaps,
                             std::int32_t count, ClothData* data);

} // namespace gw
