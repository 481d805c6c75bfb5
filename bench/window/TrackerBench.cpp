// 200 events, each a pass of fifty quads on a target of its own as the stages of a frame are, on the processor device;
// timed to the end of the device's work. The draws are as many as in the row scene.
#include "bench/common/BenchRenderer.h"
#include "bench/common/Ratio.h"
#include "bench/window/Rows.h"

#include "Gleamwork/dx11/D3D11API.h"
#include "Gleamwork/dx11/D3D11PerformanceTracker.h"

namespace bench {

namespace {

constexpr unsigned Groups = 20;
constexpr unsigned EventsPerGroup = 9; ///< inside the group's own event
constexpr unsigned DrawsPerEvent = 50;
constexpr unsigned Targets = 8; ///< in turns
constexpr unsigned Target = 512;
constexpr float Side = 48; ///< of a quad

/// A frame on a target of its own.
class EventFrame
{
public:
    explicit EventFrame(BenchRenderer& renderer) : m_renderer(renderer)
    {
        for (qs::ObjectHandle& target : m_targets)
            target = BenchRenderer::MakeTexture(Target, nullptr, gw::eTextureUsageFlag_RenderTarget,
                                                gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_GPUWrite);
        m_staging =
            BenchRenderer::MakeTexture(Target, nullptr, gw::eTextureUsageFlag_None, gw::eTextureAccessFlag_CPURead);
    }
    ~EventFrame()
    {
        BenchRenderer::Get().SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
        for (const qs::ObjectHandle& target : m_targets)
            BenchRenderer::Get().RemoveTexture(target, true, true);
        BenchRenderer::Get().RemoveTexture(m_staging, true, true);
        m_tracker.Destroy();
    }

    void Draw(bool isTracked)
    {
        gw::Renderer& renderer = BenchRenderer::Get();
        m_isTracked = isTracked;
        if (m_isTracked)
            m_tracker.BeginFrame(Data().device, Data().context, m_frame);
        for (const qs::ObjectHandle& target : m_targets)
            renderer.ClearRenderTarget(target, -1, Vector4f(0, 0, 0, 1));
        for (unsigned i = 0; i < Groups; ++i) {
            Begin(m_group);
            for (unsigned j = 0; j < EventsPerGroup; ++j) {
                Begin(m_event);
                DrawEvent(i * EventsPerGroup + j);
                End(m_event);
            }
            End(m_group);
        }
        renderer.CopyTexture(m_targets[0], m_staging);
        if (m_isTracked) {
            m_tracker.EndFrame(Data().context, m_frame);
            m_results.Clear();
            m_tracker.GetResults(m_results);
        }
        renderer.EndFrame(false);
        m_renderer.immediate.ExecuteAll();
        Wait();
    }

private:
    api::D3D11APIData& Data() { return *static_cast<api::D3D11API&>(m_renderer.GetAPI()).GetAPIData(); }

    void Begin(const qs::FixedString& name)
    {
        BenchRenderer::Get().BeginRenderEvent(name);
        if (m_isTracked)
            m_tracker.BeginEvent(Data().device, Data().context, name);
    }

    void End(const qs::FixedString& name)
    {
        if (m_isTracked)
            m_tracker.EndEvent(Data().context, name);
        BenchRenderer::Get().EndRenderEvent(name);
    }

    void DrawEvent(unsigned event)
    {
        const qs::ObjectHandle target = m_targets[event % Targets];
        BenchRenderer::Get().SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);
        for (unsigned i = 0; i < DrawsPerEvent; ++i) {
            const float x = static_cast<float>(i % 8 * 58);
            const float y = static_cast<float>(i / 8 * 58 + event / Targets * 2);
            const Vector2f strip[4] = {{x, y}, {x + Side, y}, {x, y + Side}, {x + Side, y + Side}};
            BenchRenderer::Get().drawPlain(gw::ePrimitiveTopology_TriangleStrip, strip, 4,
                                           gw::Renderer::BS(gw::BS_OPAQUE), gw::Renderer::DS(gw::DS_NONE),
                                           Vector4f(x / Target, y / Target, 0, 1));
        }
    }

    /// Locking the copy waits for the device.
    void Wait()
    {
        void* data = nullptr;
        int pitch = 0;
        if (BenchRenderer::Get().LockTexture(m_staging, 0, &data, &pitch, gw::eResourceAccess_Read))
            BenchRenderer::Get().UnlockTexture(m_staging, 0);
    }

    BenchRenderer& m_renderer;
    qs::ObjectHandle m_targets[Targets];
    qs::ObjectHandle m_staging;
    api::D3D11PerformanceTracker m_tracker;
    qs::ObjectSet<gw::MeasurementNode> m_results;
    bool m_isTracked = false;
    const qs::FixedString m_frame = qs::FixedString::Create("frame");
    const qs::FixedString m_group = qs::FixedString::Create("group");
    const qs::FixedString m_event = qs::FixedString::Create("event");
};

} // namespace

void AddTrackerRow(BenchRenderer& renderer)
{
    const auto side = [&](bool isTracked) {
        return [&renderer, isTracked](benchmark::State& state) {
            EventFrame frame(renderer);
            for (int i = 0; i < 5; ++i)
                frame.Draw(isTracked);
            for (auto _ : state)
                frame.Draw(isTracked);
        };
    };
    AddRow("tracker", side(true), side(false));
}

} // namespace bench
