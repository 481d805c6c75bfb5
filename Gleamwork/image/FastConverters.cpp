// Which pairs of formats have a faster way, and the choice by the processor that runs.
#include "Gleamwork/image/ConverterTable.h"

#if defined(__x86_64__)

#include "Gleamwork/image/FastKernels.h"

#include <cpuid.h>
#include <type_traits>

namespace gw::image::details {
namespace {

template <class Source, class Target, bool Swap>
void RunShuffle(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source)
{
    const uint64_t count = CountPixels(target, ShapeOf<Target>(), source, ShapeOf<Source>());
    Shuffle<Source, Target, Swap>::Run(source.GetData(), target.GetData(), count);
}

// Channels are put in the target's order first, a block at a time, and then turned into the target's family.
template <class Source, class Target, bool Swap>
void RunInBlocks(const unsigned char* from, unsigned char* to, uint64_t count)
{
    using Ordered = ChannelPixel<typename Source::Family, Target::elementsPerPixel,
                                 (Target::elementsPerPixel >= 3 && Target::ChannelAt(0) != 0)>;
    constexpr uint64_t blockPixels = 4096 / Ordered::bytes;
    alignas(32) unsigned char block[blockPixels * Ordered::bytes];
    for (uint64_t done = 0; done < count; done += blockPixels) {
        const uint64_t pixels = std::min(blockPixels, count - done);
        Shuffle<Source, Ordered, Swap>::Run(from + done * Source::bytes, block, pixels);
        FlatRun<typename Source::Family, typename Target::Family>::Run(block, to + done * Target::bytes,
                                                                       pixels * Target::elementsPerPixel);
    }
}

template <class Source, class Target>
constexpr bool HaveSameOrder()
{
    return Source::elementsPerPixel == Target::elementsPerPixel && Source::ChannelAt(0) == Target::ChannelAt(0);
}

template <class Source, class Target, bool Swap>
void RunAcrossFamilies(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source)
{
    const uint64_t count = CountPixels(target, ShapeOf<Target>(), source, ShapeOf<Source>());
    if constexpr (HaveSameOrder<Source, Target>() && !Swap)
        FlatRun<typename Source::Family, typename Target::Family>::Run(source.GetData(), target.GetData(),
                                                                       count * Target::elementsPerPixel);
    else
        RunInBlocks<Source, Target, Swap>(source.GetData(), target.GetData(), count);
}

template <class Family>
constexpr bool hasKernels = std::is_same_v<Family, FamilyU8> || std::is_same_v<Family, FamilyU16> ||
                            std::is_same_v<Family, FamilyHalf> || std::is_same_v<Family, FamilyFloat>;

template <class Source, class Target>
constexpr bool CrossesFamiliesFast()
{
    // The alpha of a half format without one is no half, so it cannot pass through a block of halves.
    constexpr bool makesHalfAlpha = Source::storage == EStorage::Half && Source::elementsPerPixel < 4;
    return hasKernels<typename Source::Family> && hasKernels<typename Target::Family> &&
           !(makesHalfAlpha && Target::elementsPerPixel == 4);
}

template <class Source, class Target, bool Swap>
void Install(PixelConverter& entry)
{
    if constexpr (Source::storage == EStorage::Packed || Target::storage == EStorage::Packed)
        return;
    else if constexpr (Source::storage == Target::storage)
        entry = &RunShuffle<Source, Target, Swap>;
    else if constexpr (CrossesFamiliesFast<Source, Target>())
        entry = &RunAcrossFamilies<Source, Target, Swap>;
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
    ForEachConvertibleFormat([&](auto source) {
        ForEachConvertibleFormat([&](auto target) {
            using From = typename decltype(source)::Pixel;
            using To = typename decltype(target)::Pixel;
            auto& pair = table.entries[source.format][target.format];
            if constexpr (!std::is_same_v<From, To>) {
                Install<From, To, false>(pair[0]);
                Install<From, To, true>(pair[1]);
            }
        });
    });
}

} // namespace gw::image::details

#else

namespace gw::image::details {

// Other processors run the plain entries.
void InstallFastConverters(ConverterTable&) {}

} // namespace gw::image::details

#endif
