// Textures worked out from formulas, for the viewer's own scene and for what is missing.
#pragma once

#include "scene/SceneData.h"

namespace gleamview {

SceneTexture MakePlanks();       ///< colour
SceneTexture MakeBricks();       ///< colour
SceneTexture MakeBrickNormals(); ///< normals of the same bricks
SceneTexture MakeLattice();      ///< colour with holes
SceneTexture MakeTiles();        ///< colour
SceneTexture MakeFlagPicture();  ///< colour
/// What stands in for a texture that cannot be had: a chequered pattern that nobody takes for a surface.
SceneTexture MakeStandIn();

} // namespace gleamview
