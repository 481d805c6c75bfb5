// Benchmarks of our time against a limit's, measured in the same run with alternating repetitions.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace bench {

/// What a side's time is: of the wall clock, or of the measuring thread's processor.
enum class ETime
{
    Wall,
    Processor,
    Manual ///< what the side sets with SetIterationTime
};

/// One row of the table: `NAME` or `NAME:CASE`; of several cases the worst counts. Call before Run.
void AddRow(const std::string& name, std::function<void(benchmark::State&)> ours,
            std::function<void(benchmark::State&)> limit, ETime time = ETime::Wall);

/// Runs all rows and prints `ratio NAME VALUE` for each, the median of ours over the median of the limit's. The details
/// go to the error stream. Takes Google Benchmark's arguments; returns the process's exit status.
int Run(int argc, char** argv);

} // namespace bench
