// The order of a view's eighteen batches, from work that notes when it ran.
#include "FrameFixture.h"
#include "Gleamwork/RenderViewBatches.h"

#include <algorithm>
#include <atomic>
#include <qs/WorkerThread.h>

namespace {

using Batches = gw::RenderViewBatchContainer;
using Member = qs::WorkerThreadBatch* Batches::*;

struct Row
{
    Member batch;
    std::vector<Member> before;
};

const std::vector<Row> GRAPH = {
    {&Batches::PreBatch, {}},
    {&Batches::CullRenderBatch, {&Batches::PreBatch}},
    {&Batches::CullShadowBatch0, {&Batches::CullRenderBatch}},
    {&Batches::CullShadowBatch1, {&Batches::CullShadowBatch0}},
    {&Batches::CullShadowBatch2, {&Batches::CullShadowBatch1}},
    {&Batches::CullShadowBatch3, {&Batches::CullShadowBatch2}},
    {&Batches::ShadowBatch0, {&Batches::CullShadowBatch0}},
    {&Batches::ShadowBatch1, {&Batches::CullShadowBatch1}},
    {&Batches::ShadowBatch2, {&Batches::CullShadowBatch2}},
    {&Batches::ShadowBatch3, {&Batches::CullShadowBatch3}},
    {&Batches::ShadowWaitBatch0_1, {&Batches::ShadowBatch0, &Batches::ShadowBatch1}},
    {&Batches::ShadowWaitBatch2_3, {&Batches::ShadowBatch2, &Batches::ShadowBatch3}},
    {&Batches::ShadowWaitBatch, {&Batches::ShadowWaitBatch0_1, &Batches::ShadowWaitBatch2_3}},
    {&Batches::CullBatch, {&Batches::CullRenderBatch}},
    {&Batches::CullDepBatch, {&Batches::CullBatch}},
    {&Batches::IndepBatch, {&Batches::CullBatch}},
    {&Batches::DebugBatch, {&Batches::CullDepBatch, &Batches::IndepBatch, &Batches::ShadowWaitBatch}},
    {&Batches::LeaveGameDrawScopeBatch, {&Batches::DebugBatch}},
};

constexpr int WORK_PER_BATCH = 3;

// Puts work into every batch while it is open, in the order of the frame's own starts.
class WorkView : public JournalView
{
public:
    using JournalView::JournalView;

    void StartBatches() override
    {
        m_clock = 0;
        m_begin.assign(GRAPH.size(), {});
        qs::WorkerThreadScheduler& scheduler = *gCore.workerThreadScheduler;
        Batches& batches = *GetBatchContainer();
        scheduler.StartBatch(batches.PreBatch);
        for (std::size_t i = 0; i < GRAPH.size(); ++i) {
            qs::WorkerThreadBatch* batch = batches.*GRAPH[i].batch;
            if (i != 0) {
                scheduler.StartBatch(batch);
            }
            for (int work = 0; work < WORK_PER_BATCH; ++work) {
                ASSERT_TRUE(scheduler.AddWork(batch, [this, i, work] { m_begin[i][work] = ++m_clock; }));
            }
            if (i != 0) {
                scheduler.FinishBatch(batch);
            }
        }
        scheduler.FinishBatch(batches.PreBatch);
    }

    std::atomic<int> m_clock{0};
    std::vector<std::array<int, WORK_PER_BATCH>> m_begin;
};

} // namespace

TEST_F(FrameTest, BatchesRunBehindThoseThatMustBeDoneFirst)
{
    MakeFrame(64, 64);
    WorkView view(m_frame.get(), m_journal, "view");
    m_frame->RegisterRenderView(&view, gw::RenderFrame::eRenderViewInsert_Back);
    for (int repeat = 0; repeat < 300; ++repeat) {
        RunFrame();
        ASSERT_EQ(view.m_clock.load(), int(GRAPH.size()) * WORK_PER_BATCH);
        for (std::size_t i = 0; i < GRAPH.size(); ++i) {
            const int first = *std::min_element(view.m_begin[i].begin(), view.m_begin[i].end());
            for (const Member before : GRAPH[i].before) {
                const auto row =
                    std::find_if(GRAPH.begin(), GRAPH.end(), [&](const Row& other) { return other.batch == before; });
                const auto& times = view.m_begin[std::size_t(row - GRAPH.begin())];
                ASSERT_LT(*std::max_element(times.begin(), times.end()), first) << "batch " << i;
            }
        }
        // One at a time, in the order of adding.
        for (const std::size_t serial : {std::size_t(1), std::size_t(2), std::size_t(5), std::size_t(14)}) {
            ASSERT_TRUE(std::is_sorted(view.m_begin[serial].begin(), view.m_begin[serial].end()));
        }
        for (const Row& row : GRAPH) {
            ASSERT_TRUE(gCore.workerThreadScheduler->IsIdle(view.GetBatchContainer()->*row.batch));
        }
    }
    m_frame->UnregisterRenderView(&view);
}
