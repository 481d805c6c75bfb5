// Pixels between two layouts of one storage: bytes change places, byte order turns, missing channels are filled in.
// For x86-64 processors with AVX2; a caller has made sure of it.
#pragma once

#include "Gleamwork/image/ConverterTable.h"

#include <algorithm>
#include <immintrin.h>

#define GW_TARGET_AVX2 __attribute__((target("avx2,f16c")))

namespace gw::image::details {

// Where each byte of a group of target pixels comes from, and what fills those without a source.
struct alignas(16) ShufflePlan
{
    unsigned char from[16];
    unsigned char fill[16];
};

template <class Source, class Target, bool Swap>
class Shuffle
{
    using Bits = typename Source::Bits;
    static constexpr int elementBytes = sizeof(Bits);
    // Pixels of one group: all their bytes lie within one 16-byte load and one 16-byte store.
    static constexpr int group = 16 / std::max(Source::bytes, Target::bytes);
    static constexpr bool fillsStores = group * Target::bytes == 16;
    // Beyond this many bytes the target would push everything else out of the caches; it is written around them.
    static constexpr uint64_t streamedBytes = 4 * 1024 * 1024;

public:
    static_assert(Source::storage == Target::storage);

    GW_TARGET_AVX2 static void Run(const unsigned char* from, unsigned char* to, uint64_t count)
    {
        uint64_t done = 0;
        if constexpr (fillsStores) {
            if (count * Target::bytes >= streamedBytes)
                done = RunStreamed(from, to, count);
        }
        done += RunGroups<false>(from + done * Source::bytes, to + done * Target::bytes, count - done);
        RunSingly(from, to, done, count);
    }

private:
    static constexpr ShufflePlan MakePlan()
    {
        ShufflePlan plan = {};
        for (int byte = 0; byte < 16; ++byte)
            plan.from[byte] = 0x80; // gives zero
        for (int pixel = 0; pixel < group; ++pixel) {
            for (int place = 0; place < Target::elementsPerPixel; ++place)
                PlanElement(plan, pixel, place);
        }
        return plan;
    }

    static constexpr void PlanElement(ShufflePlan& plan, int pixel, int place)
    {
        const int channel = Target::ChannelAt(place);
        const int sourcePlace = Source::ChannelAt(channel);
        const bool stored = sourcePlace < Source::elementsPerPixel;
        const Bits fill = stored || channel != 3 ? 0 : Source::Family::Store(Source::Family::defaultAlpha);
        for (int byte = 0; byte < elementBytes; ++byte) {
            const int at = pixel * Target::bytes + place * elementBytes + byte;
            if (stored) {
                const int sourceByte = Swap ? elementBytes - 1 - byte : byte;
                plan.from[at] =
                    static_cast<unsigned char>(pixel * Source::bytes + sourcePlace * elementBytes + sourceByte);
            }
            plan.fill[at] = static_cast<unsigned char>(fill >> (8 * byte));
        }
    }

    static constexpr ShufflePlan plan = MakePlan();

    // Conversions give quiet NaNs; fills hold none.
    GW_TARGET_AVX2 static __m256i QuietNans(__m256i elements)
    {
        if constexpr (Source::storage == EStorage::Float) {
            const __m256 values = _mm256_castsi256_ps(elements);
            const __m256i nans = _mm256_castps_si256(_mm256_cmp_ps(values, values, _CMP_UNORD_Q));
            return _mm256_or_si256(elements, _mm256_and_si256(nans, _mm256_set1_epi32(0x400000)));
        } else if constexpr (Source::storage == EStorage::Half) {
            const __m256i magnitudes = _mm256_and_si256(elements, _mm256_set1_epi16(0x7fff));
            const __m256i nans = _mm256_cmpgt_epi16(magnitudes, _mm256_set1_epi16(0x7c00));
            return _mm256_or_si256(elements, _mm256_and_si256(nans, _mm256_set1_epi16(0x200)));
        }
        return elements;
    }

    // Two groups at a time. Loads and stores of 16 bytes may reach beyond their group, so the last groups are left.
    template <bool Streamed>
    GW_TARGET_AVX2 static uint64_t RunGroups(const unsigned char* from, unsigned char* to, uint64_t count)
    {
        constexpr int sourceStep = group * Source::bytes;
        constexpr int targetStep = group * Target::bytes;
        constexpr uint64_t reach =
            group + (16 + std::min(Source::bytes, Target::bytes) - 1) / std::min(Source::bytes, Target::bytes);
        const __m256i order = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(plan.from)));
        const __m256i fill = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(plan.fill)));
        uint64_t done = 0;
        for (; done + reach <= count; done += 2 * group, from += 2 * sourceStep, to += 2 * targetStep) {
            const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
            const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + sourceStep));
            const __m256i both = _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
            const __m256i moved = _mm256_or_si256(QuietNans(_mm256_shuffle_epi8(both, order)), fill);
            if constexpr (Streamed) {
                _mm256_stream_si256(reinterpret_cast<__m256i*>(to), moved);
            } else {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(moved));
                _mm_storeu_si128(reinterpret_cast<__m128i*>(to + targetStep), _mm256_extracti128_si256(moved, 1));
            }
        }
        return done;
    }

    // Streaming stores want aligned addresses; without one within reach nothing is done.
    GW_TARGET_AVX2 static uint64_t RunStreamed(const unsigned char* from, unsigned char* to, uint64_t count)
    {
        uint64_t head = 0;
        while (head < 32 && reinterpret_cast<uintptr_t>(to + head * Target::bytes) % 32 != 0)
            ++head;
        if (head == 32)
            return 0;
        RunSingly(from, to, 0, head);
        const uint64_t done = RunGroups<true>(from + head * Source::bytes, to + head * Target::bytes, count - head);
        _mm_sfence();
        return head + done;
    }

    static void RunSingly(const unsigned char* from, unsigned char* to, uint64_t begin, uint64_t end)
    {
        Converter<Source, Target, Swap>::RunPixels(from + begin * Source::bytes, to + begin * Target::bytes,
                                                   end - begin);
    }
};

} // namespace gw::image::details
