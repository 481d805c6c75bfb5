// The ordered stages of a view.
#pragma once

#include "Gleamwork/AppStage.h"
#include "Gleamwork/Export.h"
#include "Gleamwork/image/Format.h"

#include <cstdint>
#include <qs/FixedString.h>
#include <qs/Memory.h>
#include <qs/ObjectHandle.h>
#include <qs/Set.h>

namespace gw {

class RenderTargetManager;
class RenderView;

/// The stages of one view, in the order of adding, which is the order of running. It owns them.
///
/// Nothing in the library calls StartCollecting, DoWhileCollecting, FinishAndExecute, Cancel or OnStateChanged: the
/// application's view does.
///
/// Threads: stages are added at set-up, never while a frame's batches run; no lock. OnStateChanged may be called from
/// any thread.
class GW_API StageGroup
{
public:
    QS_DECLARE_ALLOC(gw::StageGroup)

    /// Both must not be null: it asserts and goes on.
    StageGroup(RenderTargetManager* manager, RenderView* view);
    StageGroup(const StageGroup&) = delete;
    StageGroup& operator=(const StageGroup&) = delete;
    /// Deletes the stages, last first.
    virtual ~StageGroup();

    /// Loads and appends; a stage that fails to load asserts and is appended all the same.
    void AddAppStage(IAppStage* stage);
    /// Before the first stage of the type; without one it asserts and appends.
    void InsertAppStageBeforeType(AppStageType type, IAppStage* stage);
    /// The first of that type, or null.
    IAppStage* GetStage(AppStageType type) const;

    // To each stage, in order.

    void StartCollecting(const RenderView* view) const;
    void DoWhileCollecting(const RenderView* view) const;
    void FinishAndExecute(const RenderView* view) const;
    void Cancel() const;
    /// Stage by stage Cancel and then OnStateChanged: on thread number 2 when that is running (the call is posted there
    /// and the group must live until it has run), else on the caller's.
    void OnStateChanged() const;
    /// Stage by stage Cancel and then OnSizeChanged, on the caller's thread. Texels.
    void OnSizeChanged(unsigned width, unsigned height) const;

    bool IsUsingCheckerboard() const;
    RenderView* GetRenderView() const { return m_view; }

    // The frame's render targets: see gw::RenderTargetManager.

    qs::ObjectHandle* AddResizingRenderTarget(const qs::FixedString& name, EFormat format, float scale, bool mipped,
                                              bool halfWidth, int samples);
    qs::ObjectHandle* AddRenderTarget(const qs::FixedString& name, EFormat format, unsigned width, unsigned height,
                                      bool cube, int samples);
    qs::ObjectHandle* AddResizingDepthRenderTarget(const qs::FixedString& name, EFormat format, float scale,
                                                   bool halfWidth, int samples);
    qs::ObjectHandle* AddDepthRenderTarget(const qs::FixedString& name, EFormat format, unsigned width, unsigned height,
                                           bool cube, int samples);
    qs::ObjectHandle* GetRenderTarget(const qs::FixedString& name);
    bool RemoveRenderTarget(const qs::FixedString& name);
    bool ResizeRenderTarget(const qs::FixedString& name, unsigned short width, unsigned short height);
    std::uint64_t GetRefCount(const qs::FixedString& name) const;
    void GetSize(unsigned& width, unsigned& height) const;

private:
    void Load(IAppStage* stage);
    void RemoveStages();

    qs::PrimitiveSet<IAppStage*> m_stages;
    RenderTargetManager* m_manager; ///< not owned
    RenderView* m_view;             ///< the owner
};

} // namespace gw
