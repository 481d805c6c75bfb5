// One rectangle of a render frame, seen through one camera.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/RenderFrame.h"

#include <qs/Math.h>
#include <qs/Memory.h>
#include <qs/Settings.h>

namespace gw {

class CameraController;
class RenderViewBatchContainer;

/// What a view can be told. A view keeps it twice: the frame loop writes one block while workers read the other.
struct RenderViewState
{
    bool enabled = true;
    std::int32_t fullscreenUIRefCount = 0; ///< full-screen user interfaces above the view; hidden while above 0
    Vector2f aspectScale{1.0f, 1.0f};      ///< part of the frame that a fixed aspect ratio keeps
    Vector2f aspectPosition{0.0f, 0.0f};   ///< where that part starts, as a share of the frame
    Vector2f relativeScale{1.0f, 1.0f};    ///< share of that part that the view covers
    Vector2f relativePosition{0.0f, 0.0f}; ///< where the view starts, as a share of that part
    Vector4i parentViewport;               ///< width, height, x, y in frame pixels
    qs::EInputPlayerIndex ownerInputPlayerIndex = qs::EInputPlayerIndex::Unassigned;
    CameraController* cameraController = nullptr; ///< not owned
};

/// Base of the application's views, which decide what is drawn: it brings the placement inside the frame, the camera,
/// a group of stages and eighteen worker batches.
///
/// Setters write the write block, getters read the read block (GetNonConstCameraController excepted), and
/// SwapReadWrite, which the frame calls at the start of StartCollecting, copies the first over the second: a change
/// shows from the next frame on, and workers see one state for the whole frame. Subclasses copy double-buffered data of
/// their own there.
///
/// Threads: the write block and SwapReadWrite belong to the frame loop's thread; any thread may use the reading
/// operations while batches run. No lock.
///
/// Life: within the frame's. The application registers the view with the frame and unregisters it before destroying
/// it. A subclass that uses stages calls its group's StartCollecting, DoWhileCollecting, FinishAndExecute and
/// OnStateChanged from the operations of those names. A copy shares the stages and batches with the original: only one
/// of them may be destroyed.
class GW_API RenderView
{
public:
    QS_DECLARE_ALLOC(gw::RenderView)

    /// Scale and position as shares of the frame, 0 to 1; what is outside asserts and is clamped. `parent` must not be
    /// null.
    RenderView(RenderFrame* parent, float scaleX, float scaleY, float posX, float posY);
    virtual ~RenderView();

    // The steps of a frame, in the order of the frame's calls but for Update, which is first.

    virtual void SwapReadWrite();
    /// Before the batches start: give them work, or let the stages do it.
    virtual void StartCollecting() = 0;
    /// While the batches run.
    virtual void DoWhileCollecting() = 0;
    /// The application's own: nothing in the library calls it.
    virtual void CancelCollecting() = 0;
    /// Hand over what was recorded. The batches may still be running.
    virtual void FinishAndExecute() = 0;
    virtual void OnStateChanged() = 0;
    /// Starts the eighteen batches and finishes them, "PreBatch" last. Work is added in StartCollecting's place by a
    /// subclass that overrides this, or from work of the batches themselves.
    virtual void StartBatches();
    /// Waits for all eighteen, helping with their work.
    virtual void FinishBatches();
    virtual void Update(const qs::GameTime& time) = 0;
    /// The application's own: nothing in the library calls it.
    virtual void RefreshStages() = 0;

    virtual void SetRelativeScaleAndPosition(float scaleX, float scaleY, float posX, float posY);
    /// Binds a camera, not owned; null unbinds. The old one's Exit is called and the new one's Enter, with the old one
    /// when `keepState` is set.
    virtual void SetCameraController(CameraController* controller, bool keepState);
    /// Brings the camera's matrices up to date.
    virtual void UpdateDirtyComponents();
    virtual void SetOwnerInputPlayerIndex(qs::EInputPlayerIndex player);
    /// False for a view without area and below a full-screen user interface.
    virtual bool IsVisible() const;

    void SetEnabled(bool enabled) { m_write.enabled = enabled; }
    /// Of view and frame.
    bool IsEnabled() const;
    void IncreaseFullscreenUIRefCount() { ++m_write.fullscreenUIRefCount; }
    void DecreaseFullscreenUIRefCount();

    /// Forward to the stage group.
    void AddAppStage(IAppStage* stage);
    void InsertAppStageBeforeType(AppStageType type, IAppStage* stage);

    CameraController* GetNonConstCameraController() const { return m_write.cameraController; }
    const CameraController* GetCameraController() const { return m_read.cameraController; }
    /// Binds the camera that gw::CameraManager knows by that name; an empty name unbinds. An unknown one asserts and
    /// changes nothing.
    void SetCameraControllerID(const qs::FixedString& id, bool keepState);
    qs::EInputPlayerIndex GetOwnerInputPlayerIndex() const { return m_read.ownerInputPlayerIndex; }

    /// Width, height, x, y in frame pixels; at least 1 by 1 and inside the frame.
    const Vector4i& GetViewportForParentFrame() const { return m_read.parentViewport; }
    /// The same for a target of `scale` times the frame's size. In checkerboard frames targets are half as wide.
    Vector4i CalculateViewportForRenderTarget(float scale) const;
    void CalculateViewportForParentFrame();
    /// Gives the camera the view's ratio of width to height, when there is one.
    void UpdateCameraAspectRatio();

    /// World position to frame pixels, through `viewProjection` or else the camera; false without either and for
    /// positions behind the camera, whose x and y are written all the same.
    bool WorldToScreenPos(const Vector3f& position, float& x, float& y, const Matrix4x4f* viewProjection) const;
    /// The points on the near and far plane under a frame pixel. Does nothing without a camera.
    void ScreenToWorldPos(float x, float y, Vector3f& nearPoint, Vector3f& farPoint) const;
    /// Whether a position falls into the viewport, `margin` pixels off its edges; points behind the camera are not
    /// told apart. `screen` gets the frame pixel, or (0, 0) without a camera.
    bool IsOnScreen(const Vector3f& position, int margin, Vector2f& screen, const Matrix4x4f* viewProjection) const;

    bool IsUsingCheckerboard() const;
    StageGroup* GetStageGroup() const { return m_stageGroup; }
    RenderFrame* GetParentFrame() const { return m_parent; }
    RenderViewBatchContainer* GetBatchContainer() const { return m_batches; }

private:
    friend class RenderFrame;

    StageGroup* m_stageGroup = nullptr;
    RenderFrame* m_parent;
    RenderViewBatchContainer* m_batches = nullptr;
    RenderViewState m_read;
    RenderViewState m_write;
};

} // namespace gw
