// A flag on a pole, in the wind.
#pragma once

#include "scene/SceneData.h"

namespace gleamview {

SceneData MakeFlagScene();

} // namespace gleamview
