// One rectangle of a render frame, seen through one camera.
#include "Gleamwork/RenderView.h"

#include "Gleamwork/CameraController.h"
#include "Gleamwork/CameraManager.h"
#include "Gleamwork/RenderTargetManager.h"
#include "Gleamwork/RenderViewBatches.h"
#include "Gleamwork/StageGroup.h"

#include <algorithm>
#include <cmath>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "RenderView.cpp";

// Positions that are no numbers count as 0; nothing here reaches the far end of an int.
int Rounded(float value)
{
    return value == value ? int(std::round(std::clamp(value, -1e9f, 1e9f))) : 0;
}

int Clamped(int value, int low, int high)
{
    return std::min(high, std::max(value, low));
}

void Validate(float& value, const char* below, const char* above)
{
    if (value < 0.0f) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderView::Validate", "%s", below);
        value = 0.0f;
    } else if (value > 1.0f) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderView::Validate", "%s", above);
        value = 1.0f;
    }
}

void Validate(Vector2f& scale, Vector2f& position)
{
    Validate(scale.x, "RenderView X-Scale is < 0! Should be in range [0,1]. Clamping to 0.",
             "RenderView X-Scale is > 1! Should be in range [0,1]. Clamping to 1.");
    Validate(scale.y, "RenderView Y-Scale is < 0! Should be in range [0,1]. Clamping to 0.",
             "RenderView Y-Scale is > 1! Should be in range [0,1]. Clamping to 1.");
    Validate(position.x, "RenderView X-Pos is < 0! Should be in range [0,1]. Clamping to 0.",
             "RenderView X-Pos is > 1! Should be in range [0,1]. Clamping to 1.");
    Validate(position.y, "RenderView Y-Pos is < 0! Should be in range [0,1]. Clamping to 0.",
             "RenderView Y-Pos is > 1! Should be in range [0,1]. Clamping to 1.");
}

// Pixels along one axis: a share of a part of a target.
struct Span
{
    int size;
    int start;
};

Span Place(int target, float aspectScale, float aspectPosition, float scale, float position, bool half)
{
    int part = Clamped(Rounded(float(target) * aspectScale), 1, target);
    const int partStart = Clamped(Rounded(float(target) * aspectPosition), 0, target - 1);
    if (half) {
        part /= 2;
    }
    return {Clamped(Rounded(float(part) * scale), 1, part),
            Clamped(partStart + Rounded(float(part) * position), 0, target - 1)};
}

Vector4i PlaceView(const RenderViewState& state, int width, int height, bool halfWidth)
{
    const Span x = Place(width, state.aspectScale.x, state.aspectPosition.x, state.relativeScale.x,
                         state.relativePosition.x, halfWidth);
    const Span y = Place(height, state.aspectScale.y, state.aspectPosition.y, state.relativeScale.y,
                         state.relativePosition.y, false);
    return {x.size, y.size, x.start, y.start};
}

} // namespace

RenderView::RenderView(RenderFrame* parent, float scaleX, float scaleY, float posX, float posY) : m_parent(parent)
{
    RenderView::SetRelativeScaleAndPosition(scaleX, scaleY, posX, posY);
    m_read = m_write;
    m_stageGroup = new StageGroup(parent->GetRenderTargetManager(), this);
    m_batches = new RenderViewBatchContainer;
    m_batches->Register();
}

RenderView::~RenderView()
{
    delete m_batches;
    delete m_stageGroup;
}

void RenderView::SwapReadWrite()
{
    m_read = m_write;
}

void RenderView::StartBatches()
{
    m_batches->Start();
}

void RenderView::FinishBatches()
{
    m_batches->Wait();
}

void RenderView::SetRelativeScaleAndPosition(float scaleX, float scaleY, float posX, float posY)
{
    m_write.relativeScale = {scaleX, scaleY};
    m_write.relativePosition = {posX, posY};
    Validate(m_write.relativeScale, m_write.relativePosition);
    CalculateViewportForParentFrame();
    UpdateCameraAspectRatio();
}

void RenderView::SetCameraController(CameraController* controller, bool keepState)
{
    CameraController* old = m_write.cameraController;
    if (controller == old) {
        return;
    }
    if (old) {
        old->Exit(nullptr);
    }
    if (controller) {
        controller->Enter(keepState ? old : nullptr);
    }
    m_write.cameraController = controller;
    UpdateCameraAspectRatio();
}

void RenderView::SetCameraControllerID(const qs::FixedString& id, bool keepState)
{
    if (id.IsEmpty()) {
        SetCameraController(nullptr, false);
    } else if (CameraController* controller = CameraManager::GetInstance()->Get(id)) {
        SetCameraController(controller, keepState);
    } else {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderView::SetCameraControllerID",
                      "SetCameraController failed! Invalid gw::CameraControllerID");
    }
}

void RenderView::UpdateDirtyComponents()
{
    if (m_read.cameraController) {
        m_read.cameraController->UpdateDirtyComponents();
    }
}

void RenderView::SetOwnerInputPlayerIndex(qs::EInputPlayerIndex player)
{
    m_write.ownerInputPlayerIndex = player;
}

bool RenderView::IsVisible() const
{
    return m_read.relativeScale.x * m_read.aspectScale.x > 0.0f &&
           m_read.relativeScale.y * m_read.aspectScale.y > 0.0f && m_read.fullscreenUIRefCount < 1;
}

bool RenderView::IsEnabled() const
{
    return m_read.enabled && m_parent->IsEnabled();
}

void RenderView::DecreaseFullscreenUIRefCount()
{
    if (m_write.fullscreenUIRefCount <= 0) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderView::DecreaseFullscreenUIRefCount",
                      "FullscreenUI Refcount going out of range!");
    }
    --m_write.fullscreenUIRefCount;
}

void RenderView::AddAppStage(IAppStage* stage)
{
    if (m_stageGroup) {
        m_stageGroup->AddAppStage(stage);
    }
}

void RenderView::InsertAppStageBeforeType(AppStageType type, IAppStage* stage)
{
    if (m_stageGroup) {
        m_stageGroup->InsertAppStageBeforeType(type, stage);
    }
}

void RenderView::CalculateViewportForParentFrame()
{
    const int width = int(m_parent->GetDesc().width);
    const int height = int(m_parent->GetDesc().height);
    m_write.aspectScale = {1.0f, 1.0f};
    m_write.aspectPosition = {0.0f, 0.0f};
    if (m_parent->GetFixedAspectRatioEnabled()) {
        const float fixed = m_parent->GetFixedAspectRatio();
        const float aspect = float(width) / float(height);
        if (aspect > fixed) {
            m_write.aspectScale.x = fixed / aspect;
            m_write.aspectPosition.x = (1.0f - m_write.aspectScale.x) * 0.5f;
        } else if (fixed > aspect) {
            m_write.aspectScale.y = aspect / fixed;
            m_write.aspectPosition.y = (1.0f - m_write.aspectScale.y) * 0.5f;
        }
        Validate(m_write.aspectScale, m_write.aspectPosition);
    }
    m_write.parentViewport = PlaceView(m_write, width, height, false);
}

Vector4i RenderView::CalculateViewportForRenderTarget(float scale) const
{
    const bool halfWidth = IsUsingCheckerboard();
    const RenderFrameDesc& desc = m_parent->GetDesc();
    const auto scaled = [scale](unsigned size) { return int(std::clamp(float(size) * scale, 0.0f, 1e9f)); };
    return PlaceView(m_read, std::max(scaled(desc.width), halfWidth ? 2 : 1), std::max(scaled(desc.height), 1),
                     halfWidth);
}

void RenderView::UpdateCameraAspectRatio()
{
    if (!m_write.cameraController) {
        return;
    }
    const RenderFrameDesc& desc = m_parent->GetDesc();
    const float aspect = (float(desc.width) * m_write.aspectScale.x * m_write.relativeScale.x) /
                         (float(desc.height) * m_write.aspectScale.y * m_write.relativeScale.y);
    if (aspect > 0.0f) {
        m_write.cameraController->SetAspectRatio(aspect);
    }
}

bool RenderView::WorldToScreenPos(const Vector3f& position, float& x, float& y, const Matrix4x4f* viewProjection) const
{
    if (!viewProjection) {
        if (!GetCameraController()) {
            return false;
        }
        viewProjection = &GetCameraController()->GetViewProjectionMatrix();
    }
    const Vector4f clip = Vector4f(position.x, position.y, position.z, 1.0f) * *viewProjection;
    const Vector4i& viewport = m_read.parentViewport;
    x = (clip.x / clip.w + 1.0f) * 0.5f * float(viewport.x) + float(viewport.z);
    y = (1.0f - clip.y / clip.w) * 0.5f * float(viewport.y) + float(viewport.w);
    return clip.w >= 0.0f;
}

void RenderView::ScreenToWorldPos(float x, float y, Vector3f& nearPoint, Vector3f& farPoint) const
{
    const CameraController* camera = GetCameraController();
    if (!camera) {
        return;
    }
    const Vector4i& viewport = m_read.parentViewport;
    const Vector2f point{(x - float(viewport.z)) / float(viewport.x), (y - float(viewport.w)) / float(viewport.y)};
    Vector4f onNear;
    Vector4f onFar;
    qs::unProject(camera->GetInvertedProjectionMatrix(), camera->GetInvertedViewMatrix(), point, onNear, onFar);
    nearPoint = {onNear.x, onNear.y, onNear.z};
    farPoint = {onFar.x, onFar.y, onFar.z};
}

bool RenderView::IsOnScreen(const Vector3f& position, int margin, Vector2f& screen,
                            const Matrix4x4f* viewProjection) const
{
    screen = {0.0f, 0.0f};
    WorldToScreenPos(position, screen.x, screen.y, viewProjection);
    const Vector4i& viewport = m_read.parentViewport;
    const float inset = float(margin);
    const float left = float(viewport.z);
    const float top = float(viewport.w);
    return screen.x >= left + inset && screen.y >= top + inset && screen.x < left + float(viewport.x) - inset &&
           screen.y < top + float(viewport.y) - inset;
}

bool RenderView::IsUsingCheckerboard() const
{
    return m_parent->IsUsingCheckerboard();
}

} // namespace gw
