// A frame's graph of empty batches against the same graph of empty oneTBB tasks, and recording and replay of commands
// against copying the same bytes.
#include <cstring>
#include <memory>
#include <vector>

#include <oneapi/tbb/flow_graph.h>

#include <qs/CommandDispatcher.h>
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

constexpr size_t RECORDS = 50'000;
constexpr size_t RECORD_SIZE = 24;

class Recorder : public qs::CommandDispatcher
{
public:
    Recorder() : CommandDispatcher(16384, 64) {}

    void Record(uint64_t value)
    {
        if (char* record = m_commands.AddCommand(RECORD_SIZE, 8)) {
            *record = FIRST_DERIVED_ID;
            std::memcpy(record + 8, &value, sizeof value);
        }
    }
    size_t ProcessCommand(unsigned char id, const char* record)
    {
        if (id != FIRST_DERIVED_ID) {
            return CommandDispatcher::ProcessCommand(id, record);
        }
        uint64_t value;
        std::memcpy(&value, record + 8, sizeof value);
        sum += value;
        return RECORD_SIZE;
    }

    uint64_t sum = 0;
};

void RunStream(benchmark::State& state)
{
    Recorder recorder;
    for ([[maybe_unused]] auto frame : state) {
        for (size_t i = 0; i < RECORDS; ++i) {
            recorder.Record(i);
        }
        qs::ExecuteCommandDispatcher(recorder, true);
        benchmark::DoNotOptimize(recorder.sum);
    }
}

// A vector of plain records, written and read once: what no stream can beat.
void RunVector(benchmark::State& state)
{
    struct Record
    {
        unsigned char id;
        uint64_t value;
        uint64_t more;
    };
    std::vector<Record> records(RECORDS);
    uint64_t sum = 0;
    for ([[maybe_unused]] auto frame : state) {
        for (size_t i = 0; i < RECORDS; ++i) {
            records[i].id = 3;
            records[i].value = i;
            benchmark::ClobberMemory();
        }
        for (const Record& record : records) {
            sum += record.id == 3 ? record.value : 0;
            benchmark::DoNotOptimize(sum);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    bench::AddRow("batch_graph", RunBatches, RunTasks);
    bench::AddRow("command_stream", RunStream, RunVector);
    return bench::Run(argc, argv);
}
