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

// 2048 by 2048 pixels of BC1 with all twelve levels.
ByteVector MakeDds()
{
    constexpr uint32_t width = 2048, levels = 12;
    uint32_t header[32] = {0x20534444, 124, 0, width, width, 0, 0, levels};
    header[21] = 0x31545844;
    ByteVector file(sizeof header);
    std::memcpy(file.data(), header, sizeof header);
    for (uint32_t size = width; size != 0; size /= 2) {
        const uint32_t blocks = (size + 3) / 4;
        file.resize(file.size() + blocks * blocks * 8, static_cast<unsigned char>(size));
    }
    return file;
}

// Into fresh memory, as a loader has to.
void CopyPixels(benchmark::State& state, const ByteVector& file)
{
    const size_t size = file.size() - 128;
    for (auto _ : state) {
        GraphicsBuffer buffer(size);
        std::memcpy(buffer.GetData(), file.data() + 128, size);
        benchmark::DoNotOptimize(buffer.GetData());
    }
}

// The pixels of a bitmap or TGA file into fresh memory, by the conversion alone.
void ConvertIntoFreshMemory(benchmark::State& state, const ByteVector& pixels)
{
    const image::PixelConverter converter = image::GetPixelConverter(FORMAT_BGR8, FORMAT_RGBA8, false);
    for (auto _ : state) {
        GraphicsBuffer buffer(pixels.size() / 3 * 4);
        converter({buffer.GetUBytes(), buffer.GetSize()}, {pixels.data(), pixels.size()});
        benchmark::DoNotOptimize(buffer.GetData());
    }
}

void AddUncoded(const std::string& name, EImageFileType type, const ByteVector& file, const ByteVector& pixels)
{
    bench::AddRow(
        name, [&file, type](benchmark::State& state) { LoadImage(state, type, file); },
        [&pixels](benchmark::State& state) { ConvertIntoFreshMemory(state, pixels); }, bench::ETime::Processor);
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
    const ByteVector dds = MakeDds();
    bench::AddRow(
        "dds_load", [&](benchmark::State& state) { LoadImage(state, IMAGE_FILE_DDS, dds); },
        [&](benchmark::State& state) { CopyPixels(state, dds); }, bench::ETime::Processor);
    const ByteVector bmp = EncodeBmp(photograph), tga = EncodeTga(photograph), runs = EncodeRunLengthTga(photograph);
    AddUncoded("decode_bmp", IMAGE_FILE_BMP, bmp, photograph);
    AddUncoded("decode_tga", IMAGE_FILE_TGA, tga, photograph);
    AddUncoded("decode_tga_runs", IMAGE_FILE_TGA, runs, photograph);
    return bench::Run(argc, argv);
}
