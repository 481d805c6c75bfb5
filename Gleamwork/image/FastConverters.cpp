// Which pairs of formats have a faster way, and the choice by the processor that runs.
#include "Gleamwork/image/PixelFormats.h"

#if defined(__x86_64__)

#include "Gleamwork/image/FastKernels.h"

#include <cpuid.h>
#include <type_traits>

namespace gw::image::details {
namespace {

using RunOfElements = void (*)(const unsigned char* from, unsigned char* to, uint64_t count);

// Channels are put in the target's order first, a block at a time, and then turned into the target's family.
struct Crossing
{
    PixelShape sourceShape;
    PixelShape targetShape;
    bool isOrdered; // the first step would change nothing
    ShufflePlan order;
    RunOfElements run;
};

void CrossInBlocks(const Crossing& crossing, const unsigned char* from, unsigned char* to, uint64_t count)
{
    constexpr uint64_t blockBytes = 4096;
    alignas(32) unsigned char block[blockBytes];
    const uint64_t blockPixels = blockBytes / crossing.order.targetBytes;
    for (uint64_t done = 0; done < count; done += blockPixels) {
        const uint64_t pixels = std::min(blockPixels, count - done);
        ShufflePixels(crossing.order, from + done * crossing.sourceShape.Bytes(), block, pixels);
        crossing.run(block, to + done * crossing.targetShape.Bytes(), pixels * crossing.targetShape.elementsPerPixel);
    }
}

void Cross(const Crossing& crossing, const qs::MemView<unsigned char>& target,
           const qs::MemView<const unsigned char>& source)
{
    const uint64_t count = CountPixels(target, crossing.targetShape, source, crossing.sourceShape);
    if (crossing.isOrdered)
        crossing.run(source.GetData(), target.GetData(), count * crossing.targetShape.elementsPerPixel);
    else
        CrossInBlocks(crossing, source.GetData(), target.GetData(), count);
}

template <class Source, class Target, bool Swap>
struct FastConverter
{
    static constexpr bool isShuffle = Source::storage == Target::storage;

    static constexpr ShufflePlan MakePlan()
    {
        if constexpr (isShuffle)
            return MakeShufflePlan<Source, Target, Swap>();
        else
            return ShufflePlan();
    }

    static constexpr Crossing MakeCrossing()
    {
        Crossing crossing = {};
        if constexpr (!isShuffle) {
            constexpr int channels = Target::elementsPerPixel;
            constexpr bool isBgr = Target::ChannelAt(0) != 0 && channels >= 3;
            using Ordered = ChannelPixel<typename Source::Family, channels, isBgr>;
            crossing.sourceShape = ShapeOf<Source>();
            crossing.targetShape = ShapeOf<Target>();
            crossing.isOrdered = std::is_same_v<Source, Ordered> && !Swap;
            crossing.order = MakeShufflePlan<Source, Ordered, Swap>();
            crossing.run = &RunElements<typename Source::Family, typename Target::Family>;
        }
        return crossing;
    }

    static constexpr ShufflePlan plan = MakePlan();
    static constexpr Crossing crossing = MakeCrossing();

    static void Run(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source)
    {
        if constexpr (isShuffle)
            ShufflePixels(plan, source.GetData(), target.GetData(),
                          CountPixels(target, ShapeOf<Target>(), source, ShapeOf<Source>()));
        else
            Cross(crossing, target, source);
    }

    static void RunRows(unsigned char* target, int64_t targetStride, const unsigned char* source, uint64_t width,
                        uint64_t rows)
    {
        ShuffleRows(plan, source, target, targetStride, width, rows);
    }
};

template <class Family>
constexpr bool hasKernels = std::is_same_v<Family, FamilyU8> || std::is_same_v<Family, FamilyU16> ||
                            std::is_same_v<Family, FamilyHalf> || std::is_same_v<Family, FamilyFloat>;

template <class Source, class Target>
constexpr bool HasFastWay()
{
    if (Source::storage == EStorage::Packed || Target::storage == EStorage::Packed || std::is_same_v<Source, Target>)
        return false;
    if (Source::storage == Target::storage)
        return true;
    // The alpha of a half format without one is no half, so it cannot pass through a block of halves.
    const bool makesHalfAlpha = Source::storage == EStorage::Half && Source::elementsPerPixel < 4;
    return hasKernels<typename Source::Family> && hasKernels<typename Target::Family> &&
           !(makesHalfAlpha && Target::elementsPerPixel == 4);
}

bool HasAvx2AndF16c()
{
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __builtin_cpu_supports("avx2") && __get_cpuid(1, &eax, &ebx, &ecx, &edx) && (ecx & bit_F16C) != 0;
}

} // namespace

void InstallFastConverters(ConverterTable& table)
{
    if (!HasAvx2AndF16c())
        return;
    ForEachConvertiblePair([&](auto source, auto target) {
        using From = typename decltype(source)::Pixel;
        using To = typename decltype(target)::Pixel;
        if constexpr (HasFastWay<From, To>()) {
            auto& pair = table.entries[source.format][target.format];
            // Single bytes have no order.
            constexpr bool swaps = sizeof(typename From::Bits) > 1;
            pair[0] = &FastConverter<From, To, false>::Run;
            pair[1] = &FastConverter<From, To, swaps>::Run;
            if constexpr (FastConverter<From, To, false>::isShuffle) {
                auto& rows = table.rows[source.format][target.format];
                rows[0] = &FastConverter<From, To, false>::RunRows;
                rows[1] = &FastConverter<From, To, swaps>::RunRows;
            }
        }
    });
}

} // namespace gw::image::details

#else

namespace gw::image::details {

// Other processors run the plain entries.
void InstallFastConverters(ConverterTable&) {}

} // namespace gw::image::details

#endif
