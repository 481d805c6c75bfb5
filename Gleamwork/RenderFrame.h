// One surface that the application draws into, and the sequence of a frame.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/image/Format.h"

#include <cstddef>
#include <cstdint>
#include <qs/FixedString.h>
#include <qs/Math.h>
#include <qs/Memory.h>
#include <qs/ObjectHandle.h>
#include <qs/Set.h>
#include <qs/Settings.h>

namespace gw {

enum AppStageType : std::uint8_t;
class IAppStage;
class IRenderBatch;
class RendererCommandBuffer;
class Renderer;
class RenderTargetManager;
class RenderView;
class StageGroup;
class Window;

/// What a frame is. The frame keeps a copy.
struct RenderFrameDesc
{
    enum EType : std::int32_t
    {
        eType_Default = 0,    ///< the application's main window
        eType_Additional = 1, ///< a further window
        eType_Offscreen = 2,  ///< no window
    };

    EType type = eType_Default;
    bool fullscreen = false;
    std::uint32_t width = 0;  ///< of the surface, pixels
    std::uint32_t height = 0; ///< of the surface, pixels
    std::uint16_t sampleCount = 1;
    std::uint32_t refreshNumerator = 0;   ///< of the display mode in fullscreen, Hz as a fraction
    std::uint32_t refreshDenominator = 0; ///< of the display mode in fullscreen
    Window* window = nullptr;             ///< not owned; null for an offscreen frame
    bool hdrActive = false;               ///< the window's display shows high dynamic range
    bool hdr = false;                     ///< ask for a back buffer for high dynamic range
    bool checkerboard = false;            ///< ask for checkerboard rendering
};

/// A surface with its back buffers, depth buffer, render target manager and views. The application's loop drives it:
///
///     frame.Update(time);          views move on
///     frame.StartCollecting();     views take over what was set on them; worker batches start
///     frame.DoWhileCollecting();   the loop's own work, beside the workers
///     frame.BeginFrame();          the surface is cleared
///     frame.FinishAndExecute();    views hand over what they recorded; all batches are waited for
///     frame.EndFrame(true);        the picture is shown
///
/// The library does not place the hand-over of recorded commands: views and their stages give their buffers to
/// gw::DataLoader::InvokeExecuteRCB, and the application drains that queue. BeginFrame and EndFrame call the device at
/// once, so what is replayed has to be replayed in between.
///
/// The order of calls is not enforced. A view takes part while it is visible and enabled and the frame is enabled.
///
/// Threads: everything runs on the thread of the application's frame loop; no lock. From StartCollecting to the end of
/// FinishAndExecute workers read the description, the manager and the handles, so views and stages must not come or go
/// in between.
///
/// Life: after the renderer was made, and gone before it. Views are registered by the application and must be
/// unregistered before the frame dies. Findings are assertions, which log and go on.
class GW_API RenderFrame
{
public:
    QS_DECLARE_ALLOC(gw::RenderFrame)

    /// Where RegisterRenderView puts a view. The first runs first, and is asked last for a screen position.
    enum ERenderViewInsert : std::int32_t
    {
        eRenderViewInsert_Front = 0,
        eRenderViewInsert_Back = 1,
    };

    static const int s_MaxNumFrameBuffers = 3;

    /// A manager that is passed is shared and not owned; without one the frame makes its own, of the description's
    /// size. Checkerboard rendering needs a passed manager: otherwise it asserts and is switched off.
    RenderFrame(Renderer* renderer, const RenderFrameDesc& desc, EFormat backBuffer, EFormat depth,
                RenderTargetManager* manager);
    RenderFrame(const RenderFrame&) = delete;
    RenderFrame& operator=(const RenderFrame&) = delete;
    virtual ~RenderFrame();

    /// Makes and releases the back buffers. False when a surface could not be had.
    virtual bool CreateFrameBufferSurfaces(unsigned width, unsigned height) = 0;
    virtual bool ReleaseFrameBufferSurfaces() = 0;
    /// Takes over the size and tells views and stages. The other arguments are for frames with a window: fullscreen,
    /// and the refresh rate's numerator and denominator. Not between StartCollecting and FinishAndExecute.
    virtual bool Resize(unsigned width, unsigned height, bool fullscreen, unsigned refreshNumerator,
                        unsigned refreshDenominator);
    virtual bool OnPreResetDevice() = 0;
    virtual bool OnPostResetDevice() = 0;
    virtual bool CanPresent() const { return true; }
    /// Last step of a frame: ends the renderer's frame, which advances the delayed removal of textures, and shows the
    /// picture when asked.
    virtual void EndFrame(bool present);
    virtual bool CheckDisplayHDRSupport(bool) { return true; }
    virtual void FlipBuffers(bool present) = 0;

    // The frame, step by step.

    void Update(const qs::GameTime& time);
    void StartCollecting();
    void DoWhileCollecting();
    void BeginFrame();
    void FinishAndExecute();

    /// Passes a change of the engine's state on to every view.
    void OnStateChanged();

    void RegisterRenderView(RenderView* view, ERenderViewInsert insert);
    /// The last view moves into the hole. An unknown view is ignored.
    void UnregisterRenderView(RenderView* view);
    /// The topmost view with a camera at a position in frame pixels, or null.
    RenderView* GetRenderViewFromScreenPos(const Vector2f& position) const;
    /// Of the view at that position in the list; null, with an assertion, out of range.
    StageGroup* GetStageGroup(std::size_t view) const;
    /// Adds the stage to every view. The stages' owners are the views' groups, so a frame with several views needs a
    /// stage of its own for each: add those to the views instead.
    void AddAppStage(IAppStage* stage);
    void InsertAppStageBeforeType(AppStageType type, IAppStage* stage);
    /// Takes ownership. Batches are kept for the application and deleted with the frame.
    void AddAppBatch(IRenderBatch* batch);

    /// Sets the back buffer, and the depth buffer if asked, as the targets.
    void ChangeToMainFramebuffer(Renderer& renderer, bool withDepth);
    void ChangeToMainFramebuffer(RendererCommandBuffer& commands, bool withDepth);

    /// Letter box: the views keep to the largest centred part of the surface with this ratio of width to height.
    void SetFixedAspectRatio(bool enabled, float ratio);
    bool GetFixedAspectRatioEnabled() const { return m_fixedAspectEnabled; }
    float GetFixedAspectRatio() const { return m_fixedAspectRatio; }
    /// Width, height, x, y of that part.
    const Vector4i& GetViewport() { return m_viewport; }

    bool IsUsingCheckerboard() const;
    RenderTargetManager* GetRenderTargetManager() const { return m_renderTargetManager; }
    const RenderFrameDesc& GetDesc() const { return m_desc; }
    int GetFrameID() const { return m_frameID; }
    /// The temporary back buffer when one is set, else frame buffer 0.
    const qs::ObjectHandle& GetBackBuffer() const;
    const qs::ObjectHandle* GetFrameBuffers() const { return m_frameBuffers; }
    /// Takes the place of the back buffer until it is set back to qs::ObjectHandle::Unassigned.
    void SetTempBackBuffer(const qs::ObjectHandle& target) { m_tempBackBuffer = target; }
    const qs::ObjectHandle& GetTempBackBuffer() const { return m_tempBackBuffer; }
    const qs::ObjectHandle& GetDepthBuffer() const { return m_depthBuffer; }
    const qs::ObjectHandle& GetFakeFullScreenBackBuffer() const { return m_fakeFullScreenBackBuffer; }
    std::uint8_t GetNumFrameBuffers() const { return m_frameBufferCount; }
    EFormat GetBackBufferFormat() const { return m_backBufferFormat; }
    EFormat GetDepthBufferFormat() const { return m_depthBufferFormat; }
    /// A disabled frame skips the steps of all its views, which go on taking over what is set on them.
    void SetIsEnabled(bool enabled) { m_enabled = enabled; }
    bool IsEnabled() const { return m_enabled; }

protected:
    /// For applications that number their frames.
    void SetFrameID(int id) { m_frameID = id; }
    void StartBatches();
    void CalculateViewport();

    int m_frameID = -1;
    RenderFrameDesc m_desc;
    Renderer* m_renderer; ///< not owned
    RenderTargetManager* m_renderTargetManager;
    bool m_ownsManager = false;
    qs::ObjectHandle m_tempBackBuffer;
    qs::ObjectHandle m_frameBuffers[s_MaxNumFrameBuffers];
    qs::ObjectHandle m_depthBuffer;
    qs::ObjectHandle m_fakeFullScreenBackBuffer;
    std::uint8_t m_frameBufferCount = 0;
    qs::PrimitiveSet<RenderView*> m_renderViews; ///< not owned
    qs::PrimitiveSet<IRenderBatch*> m_appBatches;
    bool m_enabled = true;
    bool m_fixedAspectEnabled = false;
    float m_fixedAspectRatio = 1.0f;
    Vector4i m_viewport;
    qs::FixedString m_name; ///< of the frame's scope in device debuggers
    EFormat m_backBufferFormat;
    EFormat m_depthBufferFormat;

private:
    void CreateManager();
    void CreateName();
    bool IsLive(const RenderView* view) const;
    void CheckHasView() const;
};

} // namespace gw
