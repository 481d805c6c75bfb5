// The camera that the game drives and the render views read.
#pragma once

#include "Gleamwork/Camera.h"
#include "Gleamwork/Export.h"

#include <qs/FixedString.h>
#include <qs/Math.h>
#include <qs/Memory.h>
#include <qs/ObjectHandle.h>
#include <qs/Settings.h>

namespace gw {

/// A world transform, projection parameters, and the gw::Camera made of them. Setters only raise dirty flags;
/// UpdateDirtyComponents rebuilds the matrices. A game derives its own controllers and fills the hooks that are empty
/// here: input, motion, blending between cameras in Enter and Exit.
///
/// Coordinates are left-handed: x right, y up, z into the picture; depth runs from 0 at the near plane to 1 at the far
/// one. Angles are radians.
///
/// Threads: no lock. The owner changes the controller and calls UpdateDirtyComponents, once a frame; from then until
/// its next change any thread may use the const getters. A controller that is registered with gw::CameraManager
/// belongs to it and is destroyed by it.
class GW_API CameraController
{
public:
    QS_DECLARE_ALLOC(gw::CameraController)

    /// At the origin, looking along z, with the static defaults; both dirty flags are up.
    CameraController();
    CameraController(const CameraController&) = delete;
    CameraController& operator=(const CameraController&) = delete;
    virtual ~CameraController();

    // Hooks and operations that a game may replace

    /// This camera takes over from `previous`, or hands over to `next`; either may be null. False to refuse.
    virtual bool Enter(const CameraController* previous);
    virtual bool Exit(const CameraController* next);
    /// What the projection is made of.
    virtual float GetCurrentFov();
    virtual float GetCurrentAspectRatio();
    virtual void Update(const qs::GameTime& time);
    /// Turns towards the target from where the camera is. The right vector is direction x up when `directionTimesUp`,
    /// which mirrors the picture, and up x direction when not, which is the left-handed one. A target at the camera's
    /// own place leaves a zero direction. Always true.
    virtual bool LookAt(Vector3f target, Vector3f up, bool directionTimesUp);
    virtual bool EditorLookAt(Vector3f target);
    /// Moves back along the view direction until a thing of `size`, a diameter in world units, around the centre fills
    /// the height of the view.
    virtual void EditorZoomExtents(Vector3f center, float size);
    virtual void SetTarget(qs::ObjectHandle target);
    /// The look-at point becomes the point one unit before the camera.
    virtual void SetWorldTransform(const Matrix4x4f& transform);
    virtual void WarpMouse(bool warp);
    virtual void ClearInputState();
    virtual qs::IEventRetVal OnInputEvent(const qs::InputEvent& event);
    virtual void StopMotion();

    // Parameters

    /// Vertical field of view, radians.
    void SetFov(float fov);
    /// Makes the projection orthographic, for good. Only the rectangle's width and height count: the view is centred
    /// on the camera.
    void SetOrtho(float left, float right, float top, float bottom);
    void SetNearPlaneFarPlane(float nearPlane, float farPlane);
    void SetNearPlane(float nearPlane);
    void SetFarPlane(float farPlane);
    /// Width over height.
    void SetAspectRatio(float aspectRatio);
    /// Asserts for an aspect ratio of 0 and gives it all the same.
    float GetAspectRatio() const;
    float GetFov() const { return m_Fov; }
    float GetNearPlane() const { return m_NearPlane; }
    float GetFarPlane() const { return m_FarPlane; }
    /// World units per second, for controllers that move.
    float GetSpeed() const { return m_Speed; }
    void SetSpeed(float speed) { m_Speed = speed; }
    bool IsOrthographic() const { return m_orthographic; }
    const Vector3f& GetLookAt() const { return m_lookAt; }
    /// The name it is registered by, "NotRegistered" before.
    const qs::FixedString& GetID() const { return m_id; }
    bool IsDirty() const { return m_viewDirty || m_projectionDirty; }

    // Place

    /// Rows 0, 1 and 2 of the rotation.
    Vector3f GetRightVector() const { return m_transform.GetRotate().GetRow(0); }
    Vector3f GetUpVector() const { return m_transform.GetRotate().GetRow(1); }
    Vector3f GetDirVector() const { return m_transform.GetRotate().GetRow(2); }
    const Vector3f& GetWorldTranslate() const { return m_transform.GetTranslate(); }
    const Matrix3x3f& GetWorldRotate() const { return m_transform.GetRotate(); }
    const Matrix4x4f& GetWorldTransform() const { return m_transform.GetTransform(); }
    void SetWorldTranslate(const Vector3f& translate);
    void SetWorldRotate(const Matrix3x3f& rotate);
    /// Puts the camera at `position` and calls LookAt.
    bool Place(const Vector3f& position, const Vector3f& target, const Vector3f& up, bool directionTimesUp);
    /// The points on the near and the far plane under a screen point, (0, 0) top left to (1, 1) bottom right. Always
    /// true; without finite points both are 0.
    bool ScreenToWorldPos(float x, float y, Vector3f& nearPoint, Vector3f& farPoint);

    // Matrices, planes and corners

    void UpdateDirtyComponents();
    // The non-const forms update first. The const forms assert when something is dirty and give what was.
    const Matrix4x4f& GetViewMatrix();
    const Matrix4x4f& GetViewMatrix() const;
    const Matrix4x4f& GetProjectionMatrix();
    const Matrix4x4f& GetProjectionMatrix() const;
    const Matrix4x4f& GetViewProjectionMatrix();
    const Matrix4x4f& GetViewProjectionMatrix() const;
    const Matrix4x4f& GetInvertedViewMatrix();
    const Matrix4x4f& GetInvertedViewMatrix() const;
    const Matrix4x4f& GetInvertedProjectionMatrix();
    const Matrix4x4f& GetInvertedProjectionMatrix() const;
    /// Six of each, as gw::Camera describes them.
    const Vector4f* GetCullingPlanes();
    const Vector4f* GetCullingPlanes() const;
    const Vector3i* GetNVertices();
    const Vector3i* GetNVertices() const;
    const Vector3i* GetPVectices();
    const Vector3i* GetPVectices() const;
    /// Eight corners in world space as of the last update: near plane left top, right top, right bottom, left bottom,
    /// then the far plane's.
    const Vector3f* GetFrustumPoints() const { return m_frustumPoints; }

    static Vector3f GetWorldUpReference() { return Camera::GetWorldUpReference(); }
    static float GetDefaultFov() { return s_DefaultFov; }
    static float GetDefaultNearPlane() { return s_DefaultNearPlane; }
    static float GetDefaultFarPlane() { return s_DefaultFarPlane; }
    static float GetDefaultAspectRatio() { return s_DefaultAspectRatio; }
    /// A hook for a check that one thread uses the camera; it checks nothing.
    void ClaimCameraThreadTicket() {}

    /// What new controllers start with; the game may change them.
    static float s_DefaultFov;
    static float s_DefaultNearPlane;
    static float s_DefaultFarPlane;
    static float s_DefaultAspectRatio;

protected:
    /// Both set their matrix on the camera, clear its flag, recompute the corners, and give true.
    bool UpdateViewMatrix();
    bool UpdateProjectionMatrix();
    void GetD3DViewMatrix(Matrix4x4f& view) const;
    /// Leaves `projection` as it is, after an assertion, when the aspect ratio is 0 or not a number.
    void GetD3DProjMatrix(Matrix4x4f& projection);
    void CalculateFrustumPoints();

private:
    friend class CameraManager;
    bool AssignID(const qs::FixedString& id);
    void CheckClean() const;

    qs::Transform m_transform;
    bool m_viewDirty = true;
    bool m_projectionDirty = true;
    bool m_orthographic = false;

protected:
    float m_Fov;
    float m_NearPlane;
    float m_FarPlane;
    float m_AspectRatio;
    float m_Speed = 10.0f;

private:
    Vector3f m_lookAt;
    float m_orthoLeft = 0.0f;
    float m_orthoRight = 0.0f;
    float m_orthoTop = 0.0f;
    float m_orthoBottom = 0.0f;
    qs::FixedString m_id;
    Camera m_camera;
    Vector3f m_frustumPoints[8];
};

} // namespace gw
