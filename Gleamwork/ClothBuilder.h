// The steps behind gw::BuildClothData, some of which gw::BuildModelProxyData shares. Not for users.
#pragma once

#include "Gleamwork/ClothData.h"

#include <string>

namespace gw::details {

/// Whether the mesh can be worked on without leaving its blocks. If not, says why with an error that names the owner;
/// nothing but the indices is read.
bool CheckStaging(const StagingModelData& staging, const char* function, const char* owner);
/// How messages name a cloth.
std::string GetClothOwner(const qs::FixedString& id);

/// The whole triangles of the mesh with each copy replaced by its source.
void BuildIndices(const StagingModelData& staging, const qs::PrimitiveSet<DuplicateIndices>& duplicates,
                  qs::PrimitiveArray<std::int32_t>& indices);

/// Edges of the triangles with a weight above 0 at one end at least, each once, in the order of their first use.
void BuildLinks(const qs::PrimitiveArray<std::int32_t>& indices, const qs::PrimitiveArray<float>& weights,
                qs::PrimitiveSet<ClothLink>& links);

/// Which vertices belong to the simulated range.
qs::PrimitiveArray<bool> FlagSimulatedRange(const ClothData& data);

/// Gives the triangles new numbers and drops those with a corner at or beyond `count`.
void RenumberTriangles(const qs::PrimitiveArray<std::int32_t>& remap, std::int32_t count,
                       qs::PrimitiveArray<std::int32_t>& indices);

/// Sorts the vertices that triangles use into skinned and simulated ones.
void SplitPoints(ClothData& data);

/// Reads positions and skin of the vertices that `points` names.
void FillPoints(const StagingModelData& staging, ClothSkinningPointInfo& points);

} // namespace gw::details
