// Translates assimp's materials and textures.
#pragma once

#include "scene/SceneFile.h"

#include <vector>

struct aiMaterial;
struct aiScene;

namespace gleamview {

/// Writes every texture that a material uses, once, and all materials, in the scene's order. Gives, per material, the
/// set of texture coordinates that its base texture wants.
std::vector<unsigned> WriteMaterials(const aiScene& scene, SceneWriter& writer);

} // namespace gleamview
