// The viewer's camera: on a sphere around what is looked at.
#pragma once

#include "Options.h"
#include "scene/SceneData.h"

#include <Gleamwork/CameraController.h>

#include <span>

namespace gleamview {

/// Driven by angles and a distance; each change places the camera anew. Belongs to the frame loop's thread; once it is
/// registered with gw::CameraManager it is the manager's.
class OrbitCamera final : public gw::CameraController
{
public:
    OrbitCamera();

    /// Stands so that all points are in view at the camera's aspect ratio, with a little air around them.
    void Fit(std::span<const Vector3f> points, const CameraAngle& angle);
    /// Degrees.
    void Orbit(float yaw, float pitch);
    /// Shares of the view's height, to the right and up.
    void Pan(float right, float up);
    /// Above 1 is nearer.
    void Zoom(float factor);

private:
    void Apply();

    Vector3f m_target;
    float m_yaw = 0.0f; ///< radians
    float m_pitch = 0.0f;
    float m_distance = 1.0f;
    float m_radius = 1.0f; ///< of what is looked at
};

/// A camera of the file as a controller; `radius` is the size of the scene.
void PlaceCamera(gw::CameraController& controller, const SceneCamera& camera, float radius);

} // namespace gleamview
