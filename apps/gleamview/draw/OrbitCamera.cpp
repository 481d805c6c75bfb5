// Fitting and moving of the orbit camera.
#include "draw/OrbitCamera.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace gleamview {

namespace {

constexpr float s_degree = std::numbers::pi_v<float> / 180.0f;
constexpr float s_maxPitch = 89.0f * s_degree;
constexpr float s_fov = 34.0f * s_degree;
constexpr float s_air = 1.1f;

/// From the target to the camera. The front of a model looks along -z.
Vector3f DirectionOut(float yaw, float pitch)
{
    return {std::sin(yaw) * std::cos(pitch), std::sin(pitch), -std::cos(yaw) * std::cos(pitch)};
}

/// What one axis of the view asks for: where the middle lies, and how far away the camera must be.
struct AxisFit
{
    float positive = -1e30f; ///< largest reach to the one side, less what its depth gives
    float negative = -1e30f;
    float tangent;

    void Include(float across, float depth)
    {
        positive = std::max(positive, across - depth * tangent);
        negative = std::max(negative, -across - depth * tangent);
    }
    float GetMiddle() const { return (positive - negative) * 0.5f; }
    float GetDistance() const { return (positive + negative) * 0.5f / tangent; }
};

} // namespace

OrbitCamera::OrbitCamera()
{
    SetFov(s_fov);
}

void OrbitCamera::Fit(std::span<const Vector3f> points, const CameraAngle& angle)
{
    m_yaw = angle.yaw * s_degree;
    m_pitch = std::clamp(angle.pitch * s_degree, -s_maxPitch, s_maxPitch);
    const Vector3f forward = -DirectionOut(m_yaw, m_pitch);
    const Vector3f right = Vector3f(0.0f, 1.0f, 0.0f).Cross(forward).Normalized();
    const Vector3f up = forward.Cross(right);
    const qs::Bound bound = qs::Bound::computeAABB(points.data(), sizeof(Vector3f), points.size());
    const Vector3f centre = bound.GetCenter();
    m_radius = std::max(bound.GetExtents().Length(), 1e-6f);

    const float tangent = std::tan(s_fov * 0.5f);
    AxisFit across{.tangent = tangent * GetAspectRatio()};
    AxisFit upward{.tangent = tangent};
    for (const Vector3f& point : points) {
        const Vector3f offset = point - centre;
        across.Include(offset.Dot(right), offset.Dot(forward));
        upward.Include(offset.Dot(up), offset.Dot(forward));
    }
    if (points.empty()) {
        across.positive = across.negative = upward.positive = upward.negative = 1.0f;
    }
    m_target = centre + right * across.GetMiddle() + up * upward.GetMiddle();
    m_distance = std::max(across.GetDistance(), upward.GetDistance()) * s_air;
    m_distance = std::max(m_distance, m_radius * 0.05f) / angle.zoom;
    Apply();
}

void OrbitCamera::Orbit(float yaw, float pitch)
{
    m_yaw = std::remainder(m_yaw + yaw * s_degree, 2.0f * std::numbers::pi_v<float>);
    m_pitch = std::clamp(m_pitch + pitch * s_degree, -s_maxPitch, s_maxPitch);
    Apply();
}

void OrbitCamera::Pan(float right, float up)
{
    const float height = 2.0f * m_distance * std::tan(s_fov * 0.5f);
    m_target += GetRightVector() * (right * height) + GetUpVector() * (up * height);
    Apply();
}

void OrbitCamera::Zoom(float factor)
{
    m_distance = std::clamp(m_distance / factor, m_radius * 0.01f, m_radius * 100.0f);
    Apply();
}

void OrbitCamera::Apply()
{
    const Vector3f position = m_target + DirectionOut(m_yaw, m_pitch) * m_distance;
    Place(position, m_target, GetWorldUpReference(), false);
    SetNearPlaneFarPlane(std::max(m_distance - 3.0f * m_radius, m_distance * 0.02f), m_distance + 12.0f * m_radius);
}

void PlaceCamera(gw::CameraController& controller, const SceneCamera& camera, float radius)
{
    controller.Place(camera.position, camera.target, camera.up, false);
    controller.SetFov(camera.verticalFov);
    controller.SetNearPlaneFarPlane(radius * 0.005f, radius * 20.0f);
}

} // namespace gleamview
