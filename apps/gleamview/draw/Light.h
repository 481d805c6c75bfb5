// The key light and what its shadow map covers.
#pragma once

#include <qs/Math.h>

namespace gleamview {

constexpr unsigned ShadowMapSize = 2048;

struct Light
{
    Vector3f direction; ///< towards the light
    Matrix4x4f viewProjection;
    float texelSize = 0.0f; ///< of the shadow map, in the world
};

/// A light from the upper left of the default camera whose shadow map just covers a bound.
Light FitLight(const qs::Bound& bound);

} // namespace gleamview
