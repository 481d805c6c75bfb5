// The shuffling loops.
#include "Gleamwork/image/FastShuffle.h"

#if defined(__x86_64__)

#include <cstring>
#include <immintrin.h>

namespace gw::image::details {
namespace {

// Beyond this many bytes the target would push everything else out of the caches; it is written around them.
constexpr uint64_t streamedBytes = 4 * 1024 * 1024;

// Conversions give quiet NaNs; fills hold none.
template <EStorage Storage>
GW_TARGET_AVX2 inline __m256i QuietNans(__m256i elements)
{
    if constexpr (Storage == EStorage::Float) {
        const __m256 values = _mm256_castsi256_ps(elements);
        const __m256i nans = _mm256_castps_si256(_mm256_cmp_ps(values, values, _CMP_UNORD_Q));
        return _mm256_or_si256(elements, _mm256_and_si256(nans, _mm256_set1_epi32(0x400000)));
    } else if constexpr (Storage == EStorage::Half) {
        const __m256i magnitudes = _mm256_and_si256(elements, _mm256_set1_epi16(0x7fff));
        const __m256i nans = _mm256_cmpgt_epi16(magnitudes, _mm256_set1_epi16(0x7c00));
        return _mm256_or_si256(elements, _mm256_and_si256(nans, _mm256_set1_epi16(0x200)));
    }
    return elements;
}

// Two groups at a time, as many as `count` holds whole. Loads and stores of 16 bytes reach beyond their group: 16 bytes
// behind the last one must be there. Streamed stores need a target aligned to 32 and groups that fill their stores, and
// a fence behind the last of them.
template <EStorage Storage, bool Streamed>
GW_TARGET_AVX2 void RunGroups(const ShufflePlan& plan, const unsigned char* from, unsigned char* to, uint64_t count)
{
    const __m256i order = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(plan.from)));
    const __m256i fill = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(plan.fill)));
    const int64_t sourceStep = plan.group * plan.sourceBytes;
    const int64_t targetStep = plan.group * plan.targetBytes;
    for (uint64_t pairs = count / (2 * plan.group); pairs > 0; --pairs, from += 2 * sourceStep, to += 2 * targetStep) {
        const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + sourceStep));
        const __m256i both = _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
        const __m256i ordered = QuietNans<Storage>(_mm256_shuffle_epi8(both, order));
        const __m256i moved = _mm256_or_si256(ordered, fill);
        if constexpr (Streamed) {
            _mm256_stream_si256(reinterpret_cast<__m256i*>(to), moved);
        } else {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(moved));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(to + targetStep), _mm256_extracti128_si256(moved, 1));
        }
    }
}

template <bool Streamed>
void RunGroups(const ShufflePlan& plan, const unsigned char* from, unsigned char* to, uint64_t count)
{
    switch (plan.storage) {
    case EStorage::Float:
        return RunGroups<EStorage::Float, Streamed>(plan, from, to, count);
    case EStorage::Half:
        return RunGroups<EStorage::Half, Streamed>(plan, from, to, count);
    default:
        return RunGroups<EStorage::Unsigned8, Streamed>(plan, from, to, count);
    }
}

// So many pixels behind a pair of groups give the 16 bytes that it reaches beyond itself.
uint64_t PixelsOfReach(const ShufflePlan& plan)
{
    const uint64_t smaller = std::min(plan.sourceBytes, plan.targetBytes);
    return (15 + smaller) / smaller;
}

// A few pixels, by way of memory with room around it.
void RunFew(const ShufflePlan& plan, const unsigned char* from, unsigned char* to, uint64_t count)
{
    constexpr uint64_t stepPixels = 16;
    constexpr uint64_t mostBytes = stepPixels * 16;
    alignas(32) unsigned char source[mostBytes + 32] = {};
    alignas(32) unsigned char target[mostBytes + 32];
    for (uint64_t done = 0; done < count; done += stepPixels) {
        const uint64_t pixels = std::min(stepPixels, count - done);
        const uint64_t whole = (pixels + 2 * plan.group - 1) / (2 * plan.group) * (2 * plan.group);
        std::memcpy(source, from + done * plan.sourceBytes, pixels * plan.sourceBytes);
        RunGroups<false>(plan, source, target, whole);
        std::memcpy(to + done * plan.targetBytes, target, pixels * plan.targetBytes);
    }
}

// How many pixels stand before the first one that is aligned for streamed stores; 32 when none is.
uint64_t PixelsToAlignment(const ShufflePlan& plan, const unsigned char* to)
{
    uint64_t head = 0;
    while (head < 32 && reinterpret_cast<uintptr_t>(to + head * plan.targetBytes) % 32 != 0)
        ++head;
    return head;
}

// `behind` bytes of the source follow the pixels.
void RunPixels(const ShufflePlan& plan, const unsigned char* from, unsigned char* to, uint64_t count, uint64_t behind,
               bool streamed)
{
    uint64_t done = 0;
    if (streamed) {
        const uint64_t head = PixelsToAlignment(plan, to);
        streamed = head < 32;
        done = streamed ? std::min(head, count) : 0;
        if (done > 0)
            RunFew(plan, from, to, done);
    }
    // Streamed stores end with their group: only the loads reach on.
    const uint64_t reach = streamed && behind >= 16 ? 0 : PixelsOfReach(plan);
    if (count - done > reach) {
        const uint64_t pairPixels = 2 * plan.group;
        const uint64_t pixels = (count - done - reach) / pairPixels * pairPixels;
        const auto run = streamed ? &RunGroups<true> : &RunGroups<false>;
        run(plan, from + done * plan.sourceBytes, to + done * plan.targetBytes, pixels);
        done += pixels;
    }
    if (count > done)
        RunFew(plan, from + done * plan.sourceBytes, to + done * plan.targetBytes, count - done);
}

} // namespace

void ShuffleRows(const ShufflePlan& plan, const unsigned char* from, unsigned char* to, int64_t targetStride,
                 uint64_t width, uint64_t rows)
{
    const bool fillsStores = plan.group * plan.targetBytes == 16;
    const bool streamed = fillsStores && width * rows * plan.targetBytes >= streamedBytes;
    const uint64_t rowBytes = width * plan.sourceBytes;
    for (; rows > 0; --rows, from += rowBytes, to += targetStride)
        RunPixels(plan, from, to, width, (rows - 1) * rowBytes, streamed);
    if (streamed)
        _mm_sfence();
}

} // namespace gw::image::details

#endif
