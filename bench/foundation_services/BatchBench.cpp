// A frame's graph of empty batches against the same graph of empty oneTBB tasks.
#include <memory>
#include <vector>

#include <oneapi/tbb/flow_graph.h>

#include <qs/Settings.h>
#include <qs/WorkerThread.h>

#include "bench/common/Ratio.h"

namespace {

/// The eighteen batches of a view: for each, the numbers of those that must be done first.
const std::vector<std::vector<int>> GRAPH = {{},  {0},    {1},    {2},      {3}, {4},  {2},  {3},          {4},
                                             {5}, {6, 7}, {8, 9}, {10, 11}, {1}, {13}, {13}, {14, 15, 12}, {16}};

void RunBatches(benchmark::State& state)
{
    qs::WorkerThreadScheduler& scheduler = *gCore.workerThreadScheduler;
    std::vector<qs::WorkerThreadBatch*> batches;
    for (const std::vector<int>& before : GRAPH) {
        qs::WorkerThreadBatchDesc desc("bench", qs::WORKER_BATCH_PRIORITY_HIGH, qs::WORKER_BATCH_HELPABLE, -1);
        for (size_t i = 0; i < before.size(); ++i) {
            desc.m_predecessors[i] = batches[static_cast<size_t>(before[i])];
        }
        batches.push_back(scheduler.RegisterNewBatch(desc));
    }
    for ([[maybe_unused]] auto frame : state) {
        scheduler.StartBatch(batches[0]);
        for (size_t i = 1; i < batches.size(); ++i) {
            scheduler.StartBatch(batches[i]);
            scheduler.FinishBatch(batches[i]);
        }
        scheduler.FinishBatch(batches[0]);
        for (qs::WorkerThreadBatch* batch : batches) {
            scheduler.WaitForBatch(batch, true);
        }
    }
    for (qs::WorkerThreadBatch* batch : batches) {
        scheduler.UnregisterBatch(batch);
    }
}

void RunTasks(benchmark::State& state)
{
    using Node = tbb::flow::continue_node<tbb::flow::continue_msg>;
    tbb::flow::graph graph;
    std::vector<std::unique_ptr<Node>> nodes;
    for (const std::vector<int>& before : GRAPH) {
        nodes.push_back(std::make_unique<Node>(graph, [](const tbb::flow::continue_msg&) {}));
        for (const int number : before) {
            tbb::flow::make_edge(*nodes[static_cast<size_t>(number)], *nodes.back());
        }
    }
    for ([[maybe_unused]] auto frame : state) {
        nodes[0]->try_put(tbb::flow::continue_msg());
        graph.wait_for_all();
    }
}

} // namespace

int main(int argc, char** argv)
{
    bench::AddRow("batch_graph", RunBatches, RunTasks);
    return bench::Run(argc, argv);
}
