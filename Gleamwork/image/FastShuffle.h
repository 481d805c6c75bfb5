// Pixels between two layouts of one storage: bytes change places, byte order turns, missing channels are filled in.
// For x86-64 processors with AVX2; a caller has made sure of it.
#pragma once

#include "Gleamwork/image/PixelTypes.h"

#include <algorithm>

#define GW_TARGET_AVX2 __attribute__((target("avx2,f16c")))

namespace gw::image::details {

// Where each byte of a group of target pixels comes from, and what fills those without a source. A group is as many
// pixels as lie within one 16-byte load and one 16-byte store.
struct alignas(16) ShufflePlan
{
    unsigned char from[16];
    unsigned char fill[16];
    EStorage storage;
    int group;
    int sourceBytes; // of a pixel
    int targetBytes;
};

template <class Source, class Target, bool Swap>
constexpr void PlanElement(ShufflePlan& plan, int pixel, int place)
{
    using Bits = typename Source::Bits;
    constexpr int elementBytes = sizeof(Bits);
    const int channel = Target::ChannelAt(place);
    const int sourcePlace = Source::ChannelAt(channel);
    const bool stored = sourcePlace < Source::elementsPerPixel;
    const Bits fill = stored || channel != 3 ? Bits() : Source::Family::Store(Source::Family::defaultAlpha);
    for (int byte = 0; byte < elementBytes; ++byte) {
        const int at = pixel * Target::bytes + place * elementBytes + byte;
        const int sourceByte = Swap ? elementBytes - 1 - byte : byte;
        if (stored)
            plan.from[at] = static_cast<unsigned char>(pixel * Source::bytes + sourcePlace * elementBytes + sourceByte);
        plan.fill[at] = static_cast<unsigned char>(fill >> (8 * byte));
    }
}

template <class Source, class Target, bool Swap>
constexpr ShufflePlan MakeShufflePlan()
{
    static_assert(Source::storage == Target::storage);
    ShufflePlan plan = {};
    plan.storage = Source::storage;
    plan.group = 16 / std::max(Source::bytes, Target::bytes);
    plan.sourceBytes = Source::bytes;
    plan.targetBytes = Target::bytes;
    for (unsigned char& byte : plan.from)
        byte = 0x80; // gives zero
    for (int pixel = 0; pixel < plan.group; ++pixel) {
        for (int place = 0; place < Target::elementsPerPixel; ++place)
            PlanElement<Source, Target, Swap>(plan, pixel, place);
    }
    return plan;
}

// Rows of source pixels side by side, into rows that stand targetStride bytes apart. Memory needs no alignment and must
// not overlap.
void ShuffleRows(const ShufflePlan& plan, const unsigned char* from, unsigned char* to, int64_t targetStride,
                 uint64_t width, uint64_t rows);

inline void ShufflePixels(const ShufflePlan& plan, const unsigned char* from, unsigned char* to, uint64_t count)
{
    ShuffleRows(plan, from, to, 0, count, 1);
}

} // namespace gw::image::details
