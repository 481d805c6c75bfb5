// The plain converters: every pair of formats goes through blocks of working pixels, in three stages.
#include "Gleamwork/image/PixelFormats.h"

#include <algorithm>
#include <type_traits>

namespace gw::image::details {
namespace {

// Few enough to stay in the nearest cache.
constexpr uint64_t blockPixels = 64;

struct Stages
{
    PixelShape sourceShape;
    PixelShape targetShape;
    void (*read)(const unsigned char* from, WorkingPixel* block, uint64_t count);
    void (*convert)(WorkingPixel* block, uint64_t count); // null when numbers stay as they are
    void (*write)(const WorkingPixel* block, unsigned char* to, uint64_t count);
};

void RunStages(const Stages& stages, const qs::MemView<unsigned char>& target,
               const qs::MemView<const unsigned char>& source)
{
    const uint64_t count = CountPixels(target, stages.targetShape, source, stages.sourceShape);
    WorkingPixel block[blockPixels];
    for (uint64_t done = 0; done < count; done += blockPixels) {
        const uint64_t pixels = std::min(blockPixels, count - done);
        stages.read(source.GetData() + done * stages.sourceShape.Bytes(), block, pixels);
        if (stages.convert)
            stages.convert(block, pixels);
        stages.write(block, target.GetData() + done * stages.targetShape.Bytes(), pixels);
    }
}

template <class Source, bool Swap>
void ReadPixels(const unsigned char* from, WorkingPixel* block, uint64_t count)
{
    for (uint64_t i = 0; i < count; ++i)
        block[i] = Source::template Read<Swap>(from + i * Source::bytes);
}

template <class Target>
void WritePixels(const WorkingPixel* block, unsigned char* to, uint64_t count)
{
    for (uint64_t i = 0; i < count; ++i)
        Target::Write(to + i * Target::bytes, block[i]);
}

template <class Source, class Target>
void ConvertNumbers(WorkingPixel* block, uint64_t count)
{
    for (uint64_t i = 0; i < count; ++i) {
        for (double& channel : block[i])
            channel = ConvertChannel<Source, Target>(channel);
    }
}

template <class Source, class Target>
constexpr bool KeepsNumbers()
{
    const bool sameStorage = Source::storage == Target::storage && Source::storage != EStorage::Packed;
    return sameStorage || (Source::range == ERange::Plain && Target::range == ERange::Plain);
}

template <class Source, class Target, bool Swap>
constexpr Stages MakeStages()
{
    Stages stages = {ShapeOf<Source>(), ShapeOf<Target>(), &ReadPixels<Source, Swap>, nullptr, &WritePixels<Target>};
    if constexpr (!KeepsNumbers<Source, Target>())
        stages.convert = &ConvertNumbers<typename Source::Family, typename Target::Family>;
    return stages;
}

template <class Source, class Target, bool Swap>
struct Converter
{
    static constexpr Stages stages = MakeStages<Source, Target, Swap>();

    static void Run(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source)
    {
        RunStages(stages, target, source);
    }
};

// Equal formats in the other byte order: elements are reversed and not looked at.
template <class Pixel>
struct Converter<Pixel, Pixel, true>
{
    using Bits = typename Pixel::Bits;

    static void Run(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source)
    {
        const uint64_t bytes = CountPixels(target, ShapeOf<Pixel>(), source, ShapeOf<Pixel>()) * Pixel::bytes;
        for (uint64_t at = 0; at < bytes; at += sizeof(Bits))
            StoreBits<Bits>(target.GetData() + at, LoadBits<Bits, true>(source.GetData() + at));
    }
};

} // namespace

void FillPlainConverters(ConverterTable& table)
{
    ForEachConvertiblePair([&](auto source, auto target) {
        using From = typename decltype(source)::Pixel;
        using To = typename decltype(target)::Pixel;
        auto& pair = table.entries[source.format][target.format];
        pair[0] = &Converter<From, To, false>::Run;
        pair[1] = &Converter<From, To, true>::Run;
    });
}

} // namespace gw::image::details
