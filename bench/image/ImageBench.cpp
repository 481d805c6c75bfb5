// Pixel conversion against memcpy, and image files against the codecs alone, in processor time: one thread each, on
// machines where other work comes and goes. Of several pairs the worst counts.
#include "Gleamwork/image/Image.h"
#include "Gleamwork/image/ImagePixelOps.h"
#include "Photograph.h"
#include "bench/common/Ratio.h"

#include <cstring>
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

void AddPairs(const std::string& row, const Pair* begin, const Pair* end)
{
    for (const Pair* pair = begin; pair != end; ++pair) {
        const std::string name =
            row + ":" + image::GetFormatDescription(pair->from).name + "-" + image::GetFormatDescription(pair->to).name;
        bench::AddRow(
            name, [pair](benchmark::State& state) { Convert(state, *pair); },
            [pair](benchmark::State& state) { CopyLikewise(state, *pair); }, bench::ETime::Processor);
    }
}

} // namespace

int main(int argc, char** argv)
{
    const ByteVector photograph = MakePhotograph();
    const ByteVector png = EncodePng(photograph), jpeg = EncodeJpeg(photograph);
    AddPairs("convert_swizzle", std::begin(swizzles), std::end(swizzles));
    AddPairs("convert_wide", std::begin(wideConversions), std::end(wideConversions));
    bench::AddRow(
        "decode_png", [&](benchmark::State& state) { LoadImage(state, IMAGE_FILE_PNG, png); },
        [&](benchmark::State& state) { DecodeAlone(state, DecodePngRows, png); }, bench::ETime::Processor);
    bench::AddRow(
        "decode_jpeg", [&](benchmark::State& state) { LoadImage(state, IMAGE_FILE_JPEG, jpeg); },
        [&](benchmark::State& state) { DecodeAlone(state, DecodeJpegRows, jpeg); }, bench::ETime::Processor);
    return bench::Run(argc, argv);
}
