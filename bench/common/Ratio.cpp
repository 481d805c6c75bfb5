// Registration of rows, and the table at the end.
#include "bench/common/Ratio.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <vector>

namespace bench {

namespace {

/// Keeps the times of all repetitions beside the usual console table.
class Collector : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            m_failed |= run.error_occurred;
            if (run.run_type != Run::RT_Iteration || run.error_occurred)
                continue;
            const bool isProcessor = run.run_name.time_type.empty();
            m_times[run.run_name.function_name].push_back(isProcessor ? run.GetAdjustedCPUTime()
                                                                      : run.GetAdjustedRealTime());
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void PrintRatios()
    {
        std::map<std::string, double> worst;
        for (const auto& [name, times] : m_times) {
            const std::size_t slash = name.find('/');
            if (name.substr(slash) != "/ours")
                continue;
            const auto limit = m_times.find(name.substr(0, slash) + "/limit");
            if (limit == m_times.end())
                continue;
            double& ratio = worst[name.substr(0, name.find_first_of(":/"))];
            ratio = std::max(ratio, Median(times) / Median(limit->second));
        }
        for (const auto& [row, ratio] : worst)
            std::printf("ratio %s %.3f\n", row.c_str(), ratio);
    }

    bool HasFailed() const { return m_failed; }

private:
    static double Median(std::vector<double> times)
    {
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    }

    std::map<std::string, std::vector<double>> m_times;
    bool m_failed = false;
};

void Register(const std::string& name, std::function<void(benchmark::State&)> run, ETime time)
{
    auto* registered = benchmark::RegisterBenchmark(name.c_str(), std::move(run));
    registered->Unit(benchmark::kMicrosecond);
    if (time == ETime::Wall)
        registered->UseRealTime();
    else if (time == ETime::Manual)
        registered->UseManualTime();
}

} // namespace

void AddRow(const std::string& name, std::function<void(benchmark::State&)> ours,
            std::function<void(benchmark::State&)> limit, ETime time)
{
    Register(name + "/ours", std::move(ours), time);
    Register(name + "/limit", std::move(limit), time);
}

int Run(int argc, char** argv)
{
    // Ours come first, so that the caller's arguments win.
    std::string defaults[] = {"--benchmark_repetitions=9", "--benchmark_enable_random_interleaving=true",
                              "--benchmark_min_time=0.1"};
    std::vector<char*> arguments(argv, argv + argc);
    for (std::string& argument : defaults)
        arguments.insert(arguments.begin() + 1, argument.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    Collector collector;
    collector.SetOutputStream(&std::cerr);
    collector.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&collector);
    collector.PrintRatios();
    return collector.HasFailed() ? 1 : 0;
}

} // namespace bench
