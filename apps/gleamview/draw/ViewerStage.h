// Base of the viewer's stages: command buffers that workers fill, handed over in order when the view is finished.
#pragma once

#include "draw/SceneContext.h"

#include <Gleamwork/RenderView.h>
#include <Gleamwork/RendererCommandBuffer.h>

#include <memory>
#include <qs/WorkerThread.h>
#include <vector>

namespace gleamview {

class ViewerView;

/// A frame goes through a stage like this: StartCollecting prepares on the frame loop's thread; AddWork puts work into
/// batches of the view, which run on workers and record; FinishAndExecute, behind all batches, hands the recordings to
/// the immediate queue in their order.
class ViewerStage : public gw::IAppStage
{
public:
    /// Makes the recordings, which are replayed in the order of their numbers.
    ViewerStage(StageType type, const SceneContext& context, std::size_t recordings);

    gw::AppStageType GetType() const override { return ToType(m_type); }
    void FinishAndExecute(const gw::RenderView* const view) override;

    /// Called for each of the view's batches while it takes work; `batch` is one of the container's members.
    virtual void AddWork(const ViewerView& view, qs::WorkerThreadBatch* batch) = 0;

protected:
    std::size_t GetRecordingCount() const { return m_recordings.size(); }
    gw::RendererCommandBuffer& GetRecording(std::size_t number) { return *m_recordings[number]; }

    const SceneContext& m_context;

private:
    StageType m_type;
    qs::FixedString m_name; ///< in measurements
    std::vector<std::unique_ptr<gw::RendererCommandBuffer>> m_recordings;
};

/// The share `number` of `count` shares of a list.
struct Range
{
    std::size_t begin;
    std::size_t end;
};
inline Range GetShare(std::size_t size, std::size_t number, std::size_t count)
{
    return {size * number / count, size * (number + 1) / count};
}

/// Records one draw, constants and textures behind the prepared state being the caller's.
gw::PrepareDrawData MakeDraw(const SceneContext& context, const DrawItem& item, qs::ObjectHandle shader);

} // namespace gleamview
