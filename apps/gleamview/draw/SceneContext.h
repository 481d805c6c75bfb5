// What views and stages share during a frame, all of it read-only then.
#pragma once

#include "draw/DeviceScene.h"
#include "draw/Light.h"
#include "draw/Shaders.h"
#include "draw/StageTimes.h"

#include <Gleamwork/AppStage.h>
#include <Gleamwork/FullScreen.h>

#include <qs/FixedString.h>
#include <string>
#include <vector>

namespace gleamview {

/// The stages of a view, in running order.
enum StageType : std::uint8_t
{
    StageShadow,
    StageScene,
    StageDevelop,
    StageOverlay,
};

inline gw::AppStageType ToType(StageType type)
{
    return static_cast<gw::AppStageType>(type);
}

/// Names of shader constants and textures, and of shared targets, interned once.
struct Names
{
    Names();

    qs::FixedString world, baseColor, emissive, surface, cutoff, ground;
    qs::FixedString lightViewProjection, lightDirection, lightColor;
    qs::FixedString baseTexture, normalTexture, surfaceTexture, emissiveTexture, baseSampler;
    qs::FixedString shadowMapTexture, shadowSampler, sceneColorTexture;
    qs::FixedString shadowMap, sceneColor, sceneDepth; ///< targets
};

/// What the keys change.
struct DrawSwitches
{
    bool wireframe = false;
    bool bounds = false;
    bool ground = true;
};

class OverlayFont;
class StageTimer;

/// What lies over the picture. Changed between frames.
struct Overlay
{
    const OverlayFont* font = nullptr; ///< null without a window: nothing is written over a picture then
    bool showsTimes = false;
    std::vector<StageTime> times;
    std::string notice; ///< empty shows none
};

struct SceneContext
{
    gw::Renderer* renderer = nullptr;
    const DeviceScene* scene = nullptr;
    Shaders* shaders = nullptr;
    Names names;
    Light light;
    DrawSwitches switches;
    Overlay overlay;
    StageTimer* timer = nullptr; ///< belongs to the frame loop's thread
    gw::FullScreenQuad quad;
    unsigned recorders = 1; ///< command buffers side by side
};

} // namespace gleamview
