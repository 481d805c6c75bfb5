// Pixel conversion against memcpy, and image files against the codecs alone. Prints one line `ratio NAME VALUE` a row:
// the median of our processor time over the median of the limit's, whose runs alternate. Of several pairs the worst
// counts.
#include "Gleamwork/image/Image.h"
#include "Gleamwork/image/ImagePixelOps.h"
#include "Photograph.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <map>
#include <string>

using namespace gw;

namespace {

constexpr uint64_t pixelCount = 2048 * 2048;

struct Pair
{
    EFormat from, to;
};
constexpr Pair swizzles[] = {{FORMAT_RGB8, FORMAT_RGBA8}, {FORMAT_RGBA8, FORMAT_BGRA8}, {FORMAT_BGR8, FORMAT_RGBA8}};
constexpr Pair wideConversions[] = {{FORMAT_RGBA8, FORMAT_RGBA16F},
                                    {FORMAT_RGBA16F, FORMAT_RGBA32F},
                                    {FORMAT_RGBA32F, FORMAT_RGBA8},
                                    {FORMAT_RGBA16, FORMAT_RGBA8}};

// Blocks that every conversion shares, so that neither side pays for fresh pages.
unsigned char* Block(int index)
{
    static ByteVector blocks[2] = {ByteVector(pixelCount * 16, 1), ByteVector(pixelCount * 16, 1)};
    return blocks[index].data();
}

void Convert(benchmark::State& state, Pair pair)
{
    const qs::MemView<const unsigned char> source(Block(0),
                                                  pixelCount * image::GetFormatDescription(pair.from).elementBytes);
    const qs::MemView<unsigned char> target(Block(1), pixelCount * image::GetFormatDescription(pair.to).elementBytes);
    const image::PixelConverter converter = image::GetPixelConverter(pair.from, pair.to, false);
    for (auto _ : state) {
        converter(target, source);
        benchmark::ClobberMemory();
    }
}

// Reads and writes as many bytes in all as the conversion does.
void CopyLikewise(benchmark::State& state, Pair pair)
{
    const uint64_t bytes = pixelCount * (image::GetFormatDescription(pair.from).elementBytes +
                                         image::GetFormatDescription(pair.to).elementBytes);
    for (auto _ : state) {
        std::memcpy(Block(1), Block(0), bytes / 2);
        benchmark::ClobberMemory();
    }
}

void LoadImage(benchmark::State& state, EImageFileType type, const ByteVector& file)
{
    constexpr image::FormatReplacement replacements[] = {{FORMAT_RGB8, FORMAT_RGBA8}};
    ImageLoadParams params;
    params.formatReplacements = replacements;
    for (auto _ : state) {
        Image image;
        if (!image.Load(type, {file.data(), file.size()}, params))
            state.SkipWithError("the photograph does not load");
        image.FreePixelData();
    }
}

void DecodeAlone(benchmark::State& state, void (*decode)(const ByteVector&), const ByteVector& file)
{
    for (auto _ : state)
        decode(file);
}

template <class Run>
void Register(const std::string& name, const Run& run)
{
    benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond);
}

void RegisterPairs(const std::string& row, const Pair* begin, const Pair* end)
{
    for (const Pair* pair = begin; pair != end; ++pair) {
        const std::string name =
            row + ":" + image::GetFormatDescription(pair->from).name + "-" + image::GetFormatDescription(pair->to).name;
        Register(name + "/ours", [pair](benchmark::State& state) { Convert(state, *pair); });
        Register(name + "/limit", [pair](benchmark::State& state) { CopyLikewise(state, *pair); });
    }
}

// Keeps the times of all repetitions beside the usual console table, which goes to the error stream.
class Collector : public benchmark::ConsoleReporter
{
public:
    Collector() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration)
                m_times[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void PrintRatios()
    {
        std::map<std::string, double> worst;
        for (const auto& [name, times] : m_times) {
            const size_t slash = name.find('/');
            if (name.substr(slash) != "/ours")
                continue;
            const std::string row = name.substr(0, name.find_first_of(":/"));
            const double ratio = Median(times) / Median(m_times[name.substr(0, slash) + "/limit"]);
            worst[row] = std::max(worst[row], ratio);
        }
        for (const auto& [row, ratio] : worst)
            std::printf("ratio %s %.3f\n", row.c_str(), ratio);
    }

private:
    static double Median(std::vector<double> times)
    {
        std::sort(times.begin(), times.end());
        return times.empty() ? 0.0 : times[times.size() / 2];
    }

    std::map<std::string, std::vector<double>> m_times;
};

} // namespace

int main(int argc, char** argv)
{
    std::vector<char*> arguments(argv, argv + argc);
    std::string defaults[] = {"--benchmark_repetitions=9", "--benchmark_enable_random_interleaving=true",
                              "--benchmark_min_time=0.1"};
    for (std::string& argument : defaults)
        arguments.insert(arguments.begin() + 1, argument.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());

    const ByteVector photograph = MakePhotograph();
    const ByteVector png = EncodePng(photograph), jpeg = EncodeJpeg(photograph);
    RegisterPairs("convert_swizzle", std::begin(swizzles), std::end(swizzles));
    RegisterPairs("convert_wide", std::begin(wideConversions), std::end(wideConversions));
    Register("decode_png/ours", [&](benchmark::State& state) { LoadImage(state, IMAGE_FILE_PNG, png); });
    Register("decode_png/limit", [&](benchmark::State& state) { DecodeAlone(state, DecodePngRows, png); });
    Register("decode_jpeg/ours", [&](benchmark::State& state) { LoadImage(state, IMAGE_FILE_JPEG, jpeg); });
    Register("decode_jpeg/limit", [&](benchmark::State& state) { DecodeAlone(state, DecodeJpegRows, jpeg); });

    Collector collector;
    collector.SetOutputStream(&std::cerr);
    collector.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&collector);
    collector.PrintRatios();
    return 0;
}
