// A frame with one view, eighteen empty batches and one empty stage, against the same graph of empty oneTBB tasks.
#include "bench/common/BenchRenderer.h"
#include "bench/common/Ratio.h"

#include "Gleamwork/GleamworkSDM.h"
#include "Gleamwork/OffscreenRenderFrame.h"
#include "Gleamwork/RenderView.h"
#include "Gleamwork/StageGroup.h"

#include <cstdio>
#include <oneapi/tbb/flow_graph.h>

namespace {

GleamworkSDM s_gleamwork;

struct EmptyStage : gw::IAppStage
{
    gw::AppStageType GetType() const override { return gw::AppStageType(1); }
};

// Calls its stages and no more.
struct StageView : gw::RenderView
{
    using gw::RenderView::RenderView;
    void StartCollecting() override { GetStageGroup()->StartCollecting(this); }
    void DoWhileCollecting() override { GetStageGroup()->DoWhileCollecting(this); }
    void CancelCollecting() override {}
    void FinishAndExecute() override { GetStageGroup()->FinishAndExecute(this); }
    void OnStateChanged() override {}
    void Update(const qs::GameTime&) override {}
    void RefreshStages() override {}
};

void RunFrames(benchmark::State& state)
{
    gw::RenderFrameDesc desc;
    desc.type = gw::RenderFrameDesc::eType_Offscreen;
    desc.width = desc.height = 1; // the null device really clears
    gw::OffscreenRenderFrame frame(&bench::BenchRenderer::Get(), desc, gw::FORMAT_RGBA8, gw::FORMAT_D24S8, nullptr);
    StageView view(&frame, 1.0f, 1.0f, 0.0f, 0.0f);
    view.AddAppStage(new EmptyStage);
    frame.RegisterRenderView(&view, gw::RenderFrame::eRenderViewInsert_Back);
    for (auto _ : state) {
        frame.Update({});
        frame.StartCollecting();
        frame.DoWhileCollecting();
        frame.BeginFrame();
        frame.FinishAndExecute();
        frame.EndFrame(true);
    }
    frame.UnregisterRenderView(&view);
}

void RunTasks(benchmark::State& state)
{
    // For each task, the numbers of those that must be done first.
    static const std::vector<std::vector<int>> before = {
        {}, {0}, {1}, {2}, {3}, {4}, {2}, {3}, {4}, {5}, {6, 7}, {8, 9}, {10, 11}, {1}, {13}, {13}, {14, 15, 12}, {16}};
    using Node = tbb::flow::continue_node<tbb::flow::continue_msg>;
    tbb::flow::graph graph;
    std::vector<std::unique_ptr<Node>> nodes;
    for (const std::vector<int>& row : before) {
        nodes.push_back(std::make_unique<Node>(graph, [](const tbb::flow::continue_msg&) {}));
        for (const int number : row)
            tbb::flow::make_edge(*nodes[std::size_t(number)], *nodes.back());
    }
    for (auto _ : state) {
        nodes[0]->try_put(tbb::flow::continue_msg());
        graph.wait_for_all();
    }
}

} // namespace

int main(int argc, char** argv)
{
    bench::BenchRenderer renderer;
    if (!renderer.Open("null")) {
        std::fprintf(stderr, "bench_frame: the renderer does not start\n");
        return 1;
    }
    bench::AddRow("frame_overhead", RunFrames, RunTasks);
    const int status = bench::Run(argc, argv);
    renderer.relaxed.ExecuteAll();
    return status;
}
