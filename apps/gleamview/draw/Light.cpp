// Fitting of the shadow map.
#include "draw/Light.h"

#include "scene/SceneData.h"

#include <Gleamwork/CameraController.h>

#include <algorithm>

namespace gleamview {

Light FitLight(const qs::Bound& bound)
{
    Light light;
    light.direction = Vector3f(-0.34f, 0.86f, -0.62f).Normalized();
    gw::CameraController view;
    view.Place(bound.GetCenter(), bound.GetCenter() - light.direction, gw::CameraController::GetWorldUpReference(),
               false);
    qs::Bound inView{{1e30f, 1e30f, 1e30f}, {-1e30f, -1e30f, -1e30f}};
    for (const Vector3f& corner : GetCorners(bound)) {
        const Vector3f offset = corner - bound.GetCenter();
        const Vector3f place(offset.Dot(view.GetRightVector()), offset.Dot(view.GetUpVector()),
                             offset.Dot(view.GetDirVector()));
        inView.minimum = {std::min(inView.minimum.x, place.x), std::min(inView.minimum.y, place.y),
                          std::min(inView.minimum.z, place.z)};
        inView.maximum = {std::max(inView.maximum.x, place.x), std::max(inView.maximum.y, place.y),
                          std::max(inView.maximum.z, place.z)};
    }
    // A little wider, so that taps at the rim find the map, and never flat.
    const float halfSize =
        std::max({inView.maximum.x, inView.maximum.y, -inView.minimum.x, -inView.minimum.y, 1e-6f}) * 1.02f;
    const float depth = std::max(inView.maximum.z - inView.minimum.z, 1e-6f);
    view.SetOrtho(-halfSize, halfSize, halfSize, -halfSize);
    view.SetNearPlaneFarPlane(inView.minimum.z - depth * 0.05f, inView.maximum.z + depth * 0.05f);
    light.viewProjection = view.GetViewProjectionMatrix();
    light.texelSize = 2.0f * halfSize / static_cast<float>(ShadowMapSize);
    return light;
}

} // namespace gleamview
