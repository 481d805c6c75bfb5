// The camera that the game drives: parameters, place, and the matrices made of them.
#include "Gleamwork/CameraController.h"

#include "Gleamwork/GWFS.h"

#include <cmath>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "CameraController.cpp";

} // namespace

float CameraController::s_DefaultFov = 1.0471976f;
float CameraController::s_DefaultNearPlane = 1.0f;
float CameraController::s_DefaultFarPlane = 500.0f;
float CameraController::s_DefaultAspectRatio = 1.7777778f;

CameraController::CameraController()
    : m_Fov(s_DefaultFov), m_NearPlane(s_DefaultNearPlane), m_FarPlane(s_DefaultFarPlane),
      m_AspectRatio(s_DefaultAspectRatio), m_id(GWFS::strNotRegistered)
{
    CalculateFrustumPoints();
}

CameraController::~CameraController() = default;

bool CameraController::Enter(const CameraController*)
{
    return true;
}

bool CameraController::Exit(const CameraController*)
{
    return true;
}

float CameraController::GetCurrentFov()
{
    return m_Fov;
}

float CameraController::GetCurrentAspectRatio()
{
    return m_AspectRatio;
}

void CameraController::Update(const qs::GameTime&) {}

bool CameraController::LookAt(Vector3f target, Vector3f up, bool directionTimesUp)
{
    const Vector3f direction = (target - m_transform.GetTranslate()).Normalized();
    const Vector3f right = (directionTimesUp ? direction.Cross(up) : up.Cross(direction)).Normalized();
    Matrix3x3f rotation;
    rotation.SetRow(0, right);
    rotation.SetRow(1, direction.Cross(right).Normalized());
    rotation.SetRow(2, direction);
    SetWorldRotate(rotation);
    m_lookAt = target;
    return true;
}

bool CameraController::EditorLookAt(Vector3f target)
{
    return LookAt(target, GetWorldUpReference(), false);
}

void CameraController::EditorZoomExtents(Vector3f center, float size)
{
    const float distance = size / (2.0f * std::tan(GetCurrentFov() * 0.5f));
    SetWorldTranslate(center - GetDirVector() * distance);
}

void CameraController::SetTarget(qs::ObjectHandle) {}

void CameraController::SetWorldTransform(const Matrix4x4f& transform)
{
    m_transform.SetTransform(transform);
    m_viewDirty = true;
    m_lookAt = transform.GetTranslate() + Vector3f{transform.m[8], transform.m[9], transform.m[10]}.Normalized();
}

void CameraController::WarpMouse(bool) {}

void CameraController::ClearInputState() {}

qs::IEventRetVal CameraController::OnInputEvent(const qs::InputEvent&)
{
    return qs::IEventRetVal::NotHandled;
}

void CameraController::StopMotion() {}

void CameraController::SetFov(float fov)
{
    m_Fov = fov;
    m_projectionDirty = true;
}

void CameraController::SetOrtho(float left, float right, float top, float bottom)
{
    m_orthoLeft = left;
    m_orthoRight = right;
    m_orthoTop = top;
    m_orthoBottom = bottom;
    m_projectionDirty = true;
    m_orthographic = true;
}

void CameraController::SetNearPlaneFarPlane(float nearPlane, float farPlane)
{
    SetNearPlane(nearPlane);
    SetFarPlane(farPlane);
}

void CameraController::SetNearPlane(float nearPlane)
{
    if (m_NearPlane != nearPlane) {
        m_NearPlane = nearPlane;
        m_projectionDirty = true;
    }
}

void CameraController::SetFarPlane(float farPlane)
{
    if (m_FarPlane != farPlane) {
        m_FarPlane = farPlane;
        m_projectionDirty = true;
    }
}

void CameraController::SetAspectRatio(float aspectRatio)
{
    if (m_AspectRatio != aspectRatio) {
        m_AspectRatio = aspectRatio;
        m_projectionDirty = true;
    }
}

float CameraController::GetAspectRatio() const
{
    if (m_AspectRatio == 0.0f) {
        QS_LOG_ASSERT(FILE_NAME, "gw::CameraController::GetAspectRatio", "m_AspectRatio not initialized");
    }
    return m_AspectRatio;
}

void CameraController::SetWorldTranslate(const Vector3f& translate)
{
    m_transform.SetTranslate(translate);
    m_viewDirty = true;
}

void CameraController::SetWorldRotate(const Matrix3x3f& rotate)
{
    m_transform.SetRotate(rotate);
    m_viewDirty = true;
}

bool CameraController::Place(const Vector3f& position, const Vector3f& target, const Vector3f& up,
                             bool directionTimesUp)
{
    SetWorldTranslate(position);
    return LookAt(target, up, directionTimesUp);
}

bool CameraController::ScreenToWorldPos(float x, float y, Vector3f& nearPoint, Vector3f& farPoint)
{
    if (m_projectionDirty) {
        UpdateProjectionMatrix();
    }
    if (m_viewDirty) {
        UpdateViewMatrix();
    }
    Vector4f onNear;
    Vector4f onFar;
    qs::unProject(m_camera.GetInvProjectionMatrix(), m_camera.GetInvViewMatrix(), {x, y}, onNear, onFar);
    nearPoint = {onNear.x, onNear.y, onNear.z};
    farPoint = {onFar.x, onFar.y, onFar.z};
    return true;
}

void CameraController::UpdateDirtyComponents()
{
    if (m_viewDirty) {
        UpdateViewMatrix();
    }
    if (m_projectionDirty) {
        UpdateProjectionMatrix();
    }
}

bool CameraController::UpdateViewMatrix()
{
    Matrix4x4f view;
    GetD3DViewMatrix(view);
    m_camera.SetViewMatrix(view);
    m_viewDirty = false;
    CalculateFrustumPoints();
    return true;
}

bool CameraController::UpdateProjectionMatrix()
{
    Matrix4x4f projection = Matrix4x4f::Zero();
    GetD3DProjMatrix(projection);
    m_camera.SetProjectionMatrix(projection);
    m_projectionDirty = false;
    CalculateFrustumPoints();
    return true;
}

void CameraController::GetD3DViewMatrix(Matrix4x4f& view) const
{
    const Vector3f translate = m_transform.GetTranslate();
    view = Matrix4x4f();
    for (int column = 0; column < 3; ++column) {
        const Vector3f axis = m_transform.GetRotate().GetRow(column);
        view(0, column) = axis.x;
        view(1, column) = axis.y;
        view(2, column) = axis.z;
        view(3, column) = -translate.Dot(axis);
    }
}

void CameraController::GetD3DProjMatrix(Matrix4x4f& projection)
{
    const float depth = m_FarPlane - m_NearPlane;
    if (m_orthographic) {
        projection(0, 0) = 2.0f / (m_orthoRight - m_orthoLeft);
        projection(1, 1) = 2.0f / (m_orthoTop - m_orthoBottom);
        projection(2, 2) = 1.0f / depth;
        projection(3, 2) = -m_NearPlane / depth;
        projection(3, 3) = 1.0f;
        return;
    }
    const float fov = GetCurrentFov();
    const float aspect = GetCurrentAspectRatio();
    if (m_AspectRatio == 0.0f || std::isnan(m_AspectRatio)) {
        QS_LOG_ASSERT(FILE_NAME, "gw::CameraController::GetD3DProjMatrix",
                      "m_AspectRatio not initialized, refusing to build projection matrix (weird numbers might come "
                      "out).");
        return;
    }
    const float scale = 1.0f / std::tan(fov * 0.5f);
    projection(0, 0) = scale / aspect;
    projection(1, 1) = scale;
    projection(2, 2) = m_FarPlane / depth;
    projection(2, 3) = 1.0f;
    projection(3, 2) = -(m_NearPlane * m_FarPlane) / depth;
}

void CameraController::CalculateFrustumPoints()
{
    float halfHeight[2];
    float halfWidth[2];
    const float planes[2] = {m_NearPlane, m_FarPlane};
    if (m_orthographic) {
        // A pending update comes back here with its flag down; this call then repeats what that one did.
        UpdateDirtyComponents();
        halfHeight[0] = halfHeight[1] = 1.0f / m_camera.GetProjectionMatrix()(1, 1);
        halfWidth[0] = halfWidth[1] = 1.0f / m_camera.GetProjectionMatrix()(0, 0);
    } else {
        const float tangent = std::tan(m_Fov * 0.5f);
        const float aspect = GetAspectRatio();
        for (int plane = 0; plane < 2; ++plane) {
            halfHeight[plane] = tangent * planes[plane];
            halfWidth[plane] = halfHeight[plane] * aspect;
        }
    }
    for (int plane = 0; plane < 2; ++plane) {
        const Vector3f center = m_transform.GetTranslate() + GetDirVector() * planes[plane];
        const Vector3f up = GetUpVector() * halfHeight[plane];
        const Vector3f right = GetRightVector() * halfWidth[plane];
        Vector3f* corners = m_frustumPoints + plane * 4;
        corners[0] = center + up - right;
        corners[1] = center + up + right;
        corners[2] = center - up + right;
        corners[3] = center - up - right;
    }
}

bool CameraController::AssignID(const qs::FixedString& id)
{
    m_id = id;
    return true;
}

void CameraController::CheckClean() const
{
    if (IsDirty()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::CameraController::CheckClean",
                      "Call UpdateDirtyComponents before using the camera!");
    }
}

// One pair of getters: the first brings the camera up to date, the second only says when it is not.
#define GW_CAMERA_GETTER(Type, Name, CameraName)                                                                       \
    Type CameraController::Name()                                                                                      \
    {                                                                                                                  \
        UpdateDirtyComponents();                                                                                       \
        return m_camera.CameraName();                                                                                  \
    }                                                                                                                  \
    Type CameraController::Name() const                                                                                \
    {                                                                                                                  \
        CheckClean();                                                                                                  \
        return m_camera.CameraName();                                                                                  \
    }

GW_CAMERA_GETTER(const Matrix4x4f&, GetViewMatrix, GetViewMatrix)
GW_CAMERA_GETTER(const Matrix4x4f&, GetProjectionMatrix, GetProjectionMatrix)
GW_CAMERA_GETTER(const Matrix4x4f&, GetViewProjectionMatrix, GetViewProjectionMatrix)
GW_CAMERA_GETTER(const Matrix4x4f&, GetInvertedViewMatrix, GetInvViewMatrix)
GW_CAMERA_GETTER(const Matrix4x4f&, GetInvertedProjectionMatrix, GetInvProjectionMatrix)
GW_CAMERA_GETTER(const Vector4f*, GetCullingPlanes, GetCullingPlanes)
GW_CAMERA_GETTER(const Vector3i*, GetNVertices, GetNVertices)
GW_CAMERA_GETTER(const Vector3i*, GetPVectices, GetPVectices)

#undef GW_CAMERA_GETTER

} // namespace gw
