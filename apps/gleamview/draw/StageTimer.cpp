// The tracker, driven from the queue that replays the recordings.
#include "draw/StageTimer.h"

#include <Gleamwork/dx11/D3D11API.h>

#include <qs/Event.h>
#include <qs/Profile.h>

namespace gleamview {

namespace {

constexpr unsigned s_begin = 0;
constexpr unsigned s_end = 1;

/// A trace has no place on its time line for what the device tells later, so the numbers are counters.
void WriteCounters(const std::vector<StageTime>& rows)
{
    for (const StageTime& row : rows) {
        qs::Profiler::AddCounter(("processor ms: " + row.name).c_str(), row.processor);
        qs::Profiler::AddCounter(("GPU ms: " + row.name).c_str(), row.device);
    }
}

} // namespace

/// The beginning or end of a stage, in its place between the recordings.
class StageTimer::EventCommand final : public qs::Command
{
public:
    EventCommand(StageTimer* timer, unsigned type) : qs::Command(type), m_timer(timer) {}

    void Execute() override
    {
        if (m_type == s_begin) {
            m_timer->Begin(name);
        } else {
            m_timer->End(name);
        }
    }
    void clear() override { name = qs::FixedString::Empty; }
    void visit(qs::EventVisitor* visitor) override { visitor->Visit(name); }

    qs::FixedString name = qs::FixedString::Empty;

private:
    StageTimer* m_timer;
};

StageTimer::StageTimer(api::D3D11APIData& device, qs::CommandBuffer& queue)
    : qs::CommandManager(&queue), m_device(device), m_frameName(qs::FixedString::Create("frame", -1))
{
}

StageTimer::~StageTimer()
{
    DiscardCommands();
    if (m_waiting > 0) {
        // The tracker reads answers at the end of a frame.
        m_isEnabled = true;
        BeginFrame();
        EndFrame();
    }
    m_tracker.Destroy();
}

void StageTimer::BeginFrame()
{
    m_isInFrame = m_isEnabled;
    if (m_isInFrame) {
        m_tracker.BeginFrame(m_device.device, m_device.context, m_frameName);
        ++m_waiting;
    }
}

void StageTimer::EndFrame()
{
    if (m_isInFrame) {
        m_tracker.EndFrame(m_device.context, m_frameName);
        m_isInFrame = false;
        TakeResults();
    }
}

void StageTimer::TakeResults()
{
    m_results.Clear();
    m_tracker.GetResults(m_results);
    for (const gw::MeasurementNode& frame : m_results) {
        m_times.Add(frame);
        WriteCounters(m_times.GetNewest());
        m_waiting -= m_waiting > 0;
    }
}

void StageTimer::Begin(const qs::FixedString& name)
{
    if (m_isInFrame) {
        m_tracker.BeginEvent(m_device.device, m_device.context, name);
    }
}

void StageTimer::End(const qs::FixedString& name)
{
    if (m_isInFrame) {
        m_tracker.EndEvent(m_device.context, name);
    }
}

void StageTimer::QueueBegin(const qs::FixedString& name)
{
    if (m_isInFrame) {
        EventCommand command(this, s_begin);
        command.name = name;
        PushCommand(command);
    }
}

void StageTimer::QueueEnd(const qs::FixedString& name)
{
    if (m_isInFrame) {
        EventCommand command(this, s_end);
        command.name = name;
        PushCommand(command);
    }
}

void StageTimer::HandleCommand(unsigned int type)
{
    EventCommand command(this, type);
    ExecuteCommand(command);
}

} // namespace gleamview
