// Translates assimp's meshes.
#pragma once

#include "scene/Importer.h"

#include <assimp/matrix4x4.h>

#include <string>
#include <unordered_map>
#include <vector>

struct aiScene;

namespace gleamview {

/// Where a mesh's parts stand in the scene file.
struct ImportedMesh
{
    std::uint32_t firstPart = 0;
    std::uint32_t partCount = 0;
    bool isSkinned = false; ///< its vertices are in world space
};

using NodeMatrices = std::unordered_map<std::string, aiMatrix4x4>;

/// Writes all meshes and frees each one behind itself. Primitives with places that are not finite, or that name
/// vertices which do not exist, are left out with a warning.
std::vector<ImportedMesh> WriteMeshes(const aiScene& scene, const std::vector<unsigned>& uvSets,
                                      const NodeMatrices& nodes, SceneWriter& writer, const ImportProgress& progress);

} // namespace gleamview
