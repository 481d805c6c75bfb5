// present: a frame that clears and presents. resize: from a window's new size to the first picture of that size.
#include "bench/common/BenchRenderer.h"
#include "bench/common/Ratio.h"
#include "bench/window/BenchWindow.h"
#include "bench/window/RawVulkanWindow.h"
#include "bench/window/Rows.h"

#include "Gleamwork/RenderFrame.h"

#include <chrono>

namespace bench {

namespace {

constexpr int Width = 1280;
constexpr int Height = 720;
constexpr int Resizes = 100;
constexpr unsigned WarmFrames = 10;

struct Color
{
    float rgba[4];
};

Color ColorOf(unsigned frame)
{
    return {{static_cast<float>(frame % 2), static_cast<float>(frame % 3) / 2, 0.25f, 1}};
}

/// A frame of the library on a window of its own.
class OurWindow
{
public:
    explicit OurWindow(BenchRenderer& renderer) : m_renderer(renderer), m_window(Width, Height)
    {
        gw::RenderFrameDesc desc;
        desc.width = Width;
        desc.height = Height;
        desc.refreshNumerator = 60;
        desc.refreshDenominator = 1;
        desc.window = &m_window;
        m_frame.reset(renderer.GetAPI().CreateRenderFrame(desc));
        Drain();
    }
    ~OurWindow()
    {
        m_frame.reset();
        Drain();
    }

    /// Clears the back buffer, lets `draw` add to it, and presents.
    template <class Draw>
    void Frame(unsigned number, Draw draw)
    {
        const Color color = ColorOf(number);
        SDL_PumpEvents();
        m_frame->BeginFrame();
        m_frame->ChangeToMainFramebuffer(BenchRenderer::Get(), true);
        BenchRenderer::Get().ClearRenderTarget(m_frame->GetBackBuffer(), -1,
                                               Vector4f(color.rgba[0], color.rgba[1], color.rgba[2], 1));
        draw();
        Drain();
        m_frame->EndFrame(true);
    }

    void Resize(unsigned width, unsigned height)
    {
        m_frame->Resize(width, height, false, 0, 0);
        Drain();
    }
    BenchWindow& Window() { return m_window; }

private:
    void Drain()
    {
        m_renderer.immediate.ExecuteAll();
        m_renderer.relaxed.ExecuteAll();
    }

    BenchRenderer& m_renderer;
    BenchWindow m_window;
    std::unique_ptr<gw::RenderFrame> m_frame;
};

void PresentOurs(BenchRenderer& renderer, benchmark::State& state)
{
    OurWindow window(renderer);
    unsigned frame = 0;
    while (frame < WarmFrames)
        window.Frame(frame++, [] {});
    for (auto _ : state)
        window.Frame(frame++, [] {});
}

void PresentRaw(benchmark::State& state)
{
    BenchWindow window(Width, Height);
    RawVulkanWindow raw(window.Get());
    unsigned frame = 0;
    while (frame < WarmFrames)
        raw.Frame(ColorOf(frame++).rgba);
    for (auto _ : state) {
        SDL_PumpEvents();
        raw.Frame(ColorOf(frame++).rgba);
    }
    if (raw.Problem())
        state.SkipWithError(raw.Problem());
}

/// Brings the window to a hundred sizes and times `follow`, which shows the first picture of each.
template <class Follow>
void TimeResizes(benchmark::State& state, BenchWindow& window, Follow follow)
{
    using Clock = std::chrono::steady_clock;
    for (auto _ : state) {
        std::chrono::duration<double> spent{};
        for (unsigned i = 0; i < Resizes; ++i) {
            const unsigned width = Width - 40 - i % 7 * 40;
            const unsigned height = Height - 30 - i % 5 * 30;
            window.SetSize(int(width), int(height));
            const Clock::time_point start = Clock::now();
            follow(i, width, height);
            spent += Clock::now() - start;
        }
        state.SetIterationTime(spent.count());
    }
}

/// Sixteen small boxes: the row is about the resize.
void DrawScene()
{
    for (unsigned i = 0; i < 16; ++i) {
        const float x = static_cast<float>(i % 4) * 0.5f - 0.95f;
        const float y = static_cast<float>(i / 4) * 0.5f - 0.95f;
        const Vector3f corners[4] = {
            {x, y, 0.5f}, {x + 0.1f, y, 0.5f}, {x, y + 0.1f, 0.5f}, {x + 0.1f, y + 0.1f, 0.5f}};
        BenchRenderer::Get().drawPlain3D(gw::ePrimitiveTopology_TriangleStrip, corners, 4,
                                         gw::Renderer::BS(gw::BS_OPAQUE), gw::Renderer::DS(gw::DS_NONE),
                                         Vector4f(0.2f, static_cast<float>(i) / 16, 1, 1));
    }
}

void ResizeOurs(BenchRenderer& renderer, benchmark::State& state)
{
    OurWindow window(renderer);
    window.Frame(0, DrawScene);
    TimeResizes(state, window.Window(), [&](unsigned i, unsigned width, unsigned height) {
        window.Resize(width, height);
        window.Frame(i, DrawScene);
    });
}

void ResizeRaw(benchmark::State& state)
{
    BenchWindow window(Width, Height);
    RawVulkanWindow raw(window.Get());
    raw.Frame(ColorOf(0).rgba);
    TimeResizes(state, window, [&](unsigned i, unsigned, unsigned) {
        raw.Recreate();
        raw.Frame(ColorOf(i).rgba);
    });
    if (raw.Problem())
        state.SkipWithError(raw.Problem());
}

} // namespace

void AddWindowRows(BenchRenderer& renderer)
{
    AddRow(
        "present", [&](benchmark::State& state) { PresentOurs(renderer, state); }, PresentRaw);
    AddRow(
        "resize", [&](benchmark::State& state) { ResizeOurs(renderer, state); }, ResizeRaw, ETime::Manual);
}

} // namespace bench
