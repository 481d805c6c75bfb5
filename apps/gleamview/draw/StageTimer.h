// Measures what the stages of a frame take on the processor and on the device.
#pragma once

#include "draw/StageTimes.h"

#include <Gleamwork/dx11/D3D11PerformanceTracker.h>

#include <qs/CommandManager.h>

namespace api {
struct D3D11APIData;
}

namespace gleamview {

/// Belongs to the thread that owns the device. Recordings are replayed from the library's queue, so the beginning and
/// the end of a stage go through that queue too and are measured between them; what is done at once is measured at
/// once. Everything does nothing while it is switched off.
class StageTimer : private qs::CommandManager
{
public:
    /// `queue` is the library's immediate one; both outlive the timer.
    StageTimer(api::D3D11APIData& device, qs::CommandBuffer& queue);
    /// Takes what the device has answered by then into the trace.
    ~StageTimer() override;

    /// Between frames. What is measured also goes into the trace, when one is written: one counter a stage and clock.
    void SetEnabled(bool enabled) { m_isEnabled = enabled; }
    bool IsEnabled() const { return m_isEnabled; }

    void BeginFrame();
    /// Takes in the frames that the device has answered since; answers come some frames late.
    void EndFrame();
    void Begin(const qs::FixedString& name);
    void End(const qs::FixedString& name);
    void QueueBegin(const qs::FixedString& name);
    void QueueEnd(const qs::FixedString& name);

    const StageTimes& GetTimes() const { return m_times; }
    /// Frames that were measured and not answered yet.
    unsigned GetWaiting() const { return m_waiting; }

private:
    class EventCommand;

    void HandleCommand(unsigned int type) override;
    void TakeResults();

    api::D3D11APIData& m_device;
    api::D3D11PerformanceTracker m_tracker;
    StageTimes m_times;
    qs::ObjectSet<gw::MeasurementNode> m_results;
    qs::FixedString m_frameName;
    unsigned m_waiting = 0;
    bool m_isEnabled = false;
    bool m_isInFrame = false;
};

} // namespace gleamview
