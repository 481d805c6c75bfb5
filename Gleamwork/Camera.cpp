// The matrix block of a camera.
#include "Gleamwork/Camera.h"

#include <cmath>

namespace gw {
namespace {

Vector4f GetColumn(const Matrix4x4f& matrix, int column)
{
    return {matrix(0, column), matrix(1, column), matrix(2, column), matrix(3, column)};
}

Vector4f Normalised(const Vector4f& plane)
{
    return plane * (1.0f / Vector3f{plane.x, plane.y, plane.z}.Length());
}

} // namespace

Camera::Camera()
{
    qs::MemoryTrackerSample sample("gw::Camera");
}

void Camera::SetViewMatrix(const Matrix4x4f& view)
{
    m_view = view;
    m_inverseView = view.Inverted();
    CalculateViewProjection();
    CalculateCullingPlanes();
}

void Camera::SetProjectionMatrix(const Matrix4x4f& projection)
{
    m_projection = projection;
    m_inverseProjection = projection.Inverted();
    CalculateViewProjection();
    CalculateCullingPlanes();
}

void Camera::CalculateViewProjection()
{
    m_viewProjection = m_view * m_projection;
}

void Camera::CalculateCullingPlanes()
{
    constexpr int axisOfPair[3] = {1, 0, 2};
    const Vector4f w = GetColumn(m_viewProjection, 3);
    for (int pair = 0; pair < 3; ++pair) {
        const Vector4f axis = GetColumn(m_viewProjection, axisOfPair[pair]);
        m_cullingPlanes[pair * 2] = Normalised(w + axis);
        m_cullingPlanes[pair * 2 + 1] = Normalised(w - axis);
    }
    for (int i = 0; i < 6; ++i) {
        const Vector4f& plane = m_cullingPlanes[i];
        m_nVertices[i] = {plane.x > 0.0f, plane.y > 0.0f, plane.z > 0.0f};
        m_pVertices[i] = {!m_nVertices[i].x, !m_nVertices[i].y, !m_nVertices[i].z};
    }
}

} // namespace gw
