// The matrix block of a camera: view, projection, what follows from them, and the planes to cull against.
#pragma once

#include "Gleamwork/Export.h"

#include <qs/Math.h>
#include <qs/Memory.h>

namespace gw {

/// Holds matrices and planes; it has no position and no policy of its own. gw::CameraController feeds it and hands its
/// values on. Matrices follow the row-vector rule: `point * view * projection`, translation in elements 12 to 14, depth
/// from 0 to 1.
///
/// Not thread-safe against the setters. After them any thread may read.
class GW_API Camera
{
public:
    QS_DECLARE_ALLOC(gw::Camera)

    /// Identity matrices; planes and selectors are zero until the first Set.
    Camera();

    /// (0, 1, 0).
    static Vector3f GetWorldUpReference() { return {0.0f, 1.0f, 0.0f}; }

protected:
    friend class CameraController;

    /// Each stores the matrix and its inverse and recomputes the product and the planes with the other matrix as it
    /// is. A matrix without an inverse leaves the identity as its inverse.
    void SetViewMatrix(const Matrix4x4f& view);
    void SetProjectionMatrix(const Matrix4x4f& projection);

    const Matrix4x4f& GetViewMatrix() const { return m_view; }
    const Matrix4x4f& GetInvViewMatrix() const { return m_inverseView; }
    const Matrix4x4f& GetProjectionMatrix() const { return m_projection; }
    const Matrix4x4f& GetInvProjectionMatrix() const { return m_inverseProjection; }
    /// View times projection.
    const Matrix4x4f& GetViewProjectionMatrix() const { return m_viewProjection; }

    /// Six planes (normal, distance) in world space with normals of length 1 that point into the frustum: y lower,
    /// y upper, x lower, x upper, z lower, z upper. A point p is inside when `dot(normal, p) + distance >= 0` for all.
    /// The z planes bound -w to w, so that the lower one lies in front of the near plane of a 0-to-1 projection.
    const Vector4f* GetCullingPlanes() const { return m_cullingPlanes; }
    /// Per plane and axis, which end of a box to test: 1 for its maximum, 0 for its minimum. The N vertex is the
    /// corner farthest along the normal, the P vertex the opposite one.
    const Vector3i* GetNVertices() const { return m_nVertices; }
    const Vector3i* GetPVectices() const { return m_pVertices; }

private:
    void CalculateViewProjection();
    /// By Gribb and Hartmann, "Fast Extraction of Viewing Frustum Planes from the World-View-Projection Matrix" (2001).
    void CalculateCullingPlanes();

    Matrix4x4f m_view;
    Matrix4x4f m_inverseView;
    Matrix4x4f m_projection;
    Matrix4x4f m_inverseProjection;
    Matrix4x4f m_viewProjection;
    Vector4f m_cullingPlanes[6];
    Vector3i m_nVertices[6];
    Vector3i m_pVertices[6];
};

} // namespace gw
