// The scene that is drawn when no file is given: every kind of material and part that the viewer knows.
#pragma once

#include "scene/SceneData.h"

namespace gleamview {

SceneData MakeOwnScene();

} // namespace gleamview
