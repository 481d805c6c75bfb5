// Runs of elements from one family to another: 8-bit, 16-bit, half and float, each into each.
// For x86-64 processors with AVX2 and F16C; a caller has made sure of it.
#pragma once

#include "Gleamwork/image/FastShuffle.h"

#include <immintrin.h>

namespace gw::image::details {

// Eight elements on their way: as whole numbers for the unsigned families, else as floats.
GW_TARGET_AVX2 inline __m256i LoadEight(FamilyU8, const unsigned char* from)
{
    return _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)));
}

GW_TARGET_AVX2 inline __m256i LoadEight(FamilyU16, const unsigned char* from)
{
    return _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}

// Makes a signalling NaN quiet, as the plain conversion does.
GW_TARGET_AVX2 inline __m256 LoadEight(FamilyHalf, const unsigned char* from)
{
    return _mm256_cvtph_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
}

GW_TARGET_AVX2 inline __m256 LoadEight(FamilyFloat, const unsigned char* from)
{
    return _mm256_loadu_ps(reinterpret_cast<const float*>(from));
}

// Dividing in single precision gives the same as in double for every number of these two families.
template <class Family>
GW_TARGET_AVX2 inline __m256 NormaliseEight(__m256i numbers)
{
    return _mm256_div_ps(_mm256_cvtepi32_ps(numbers), _mm256_set1_ps(static_cast<float>(Family::maximum)));
}

GW_TARGET_AVX2 inline __m128i PackToShorts(__m256i numbers)
{
    return _mm_packus_epi32(_mm256_castsi256_si128(numbers), _mm256_extracti128_si256(numbers, 1));
}

GW_TARGET_AVX2 inline void StoreEight(FamilyU8, unsigned char* to, __m256i numbers)
{
    const __m128i shorts = PackToShorts(numbers);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(shorts, shorts));
}

GW_TARGET_AVX2 inline void StoreEight(FamilyU16, unsigned char* to, __m256i numbers)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), PackToShorts(numbers));
}

// Half and float results are held by their bits.
GW_TARGET_AVX2 inline void StoreEight(FamilyHalf, unsigned char* to, __m256i bits)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), PackToShorts(bits));
}

GW_TARGET_AVX2 inline void StoreEight(FamilyFloat, unsigned char* to, __m256i bits)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), bits);
}

GW_TARGET_AVX2 inline __m256i QuietFloatBits(__m256 values)
{
    const __m256i nans = _mm256_castps_si256(_mm256_cmp_ps(values, values, _CMP_UNORD_Q));
    return _mm256_or_si256(_mm256_castps_si256(values), _mm256_and_si256(nans, _mm256_set1_epi32(0x400000)));
}

// Rounds ties away from zero; the processor's own conversion would round them to even.
GW_TARGET_AVX2 inline __m256i HalfBits(__m256 values)
{
    const __m256i half = _mm256_set1_epi32(0x1000);
    const __m256i bits = QuietFloatBits(values);
    const __m256i magnitude = _mm256_and_si256(bits, _mm256_set1_epi32(0x7fffffff));
    const __m256i sign = _mm256_and_si256(_mm256_srli_epi32(bits, 16), _mm256_set1_epi32(0x8000));
    const __m256i exponent = _mm256_srli_epi32(magnitude, 23);
    const __m256i mantissa = _mm256_and_si256(magnitude, _mm256_set1_epi32(0x7fffff));

    const __m256i rounded = _mm256_add_epi32(magnitude, half);
    __m256i result = _mm256_sub_epi32(_mm256_srli_epi32(rounded, 13), _mm256_set1_epi32(112 << 10));
    // A shift of 24 and more leaves nothing.
    const __m256i shifted = _mm256_srlv_epi32(_mm256_or_si256(mantissa, _mm256_set1_epi32(0x800000)),
                                              _mm256_sub_epi32(_mm256_set1_epi32(113), exponent));
    const __m256i denormal = _mm256_srli_epi32(_mm256_add_epi32(shifted, half), 13);
    const __m256i isDenormal = _mm256_cmpgt_epi32(_mm256_set1_epi32(113), exponent);
    result = _mm256_blendv_epi8(result, denormal, isDenormal);

    const __m256i infinity = _mm256_set1_epi32(0x7c00);
    const __m256i overflows = _mm256_cmpgt_epi32(rounded, _mm256_set1_epi32((143 << 23) - 1));
    result = _mm256_blendv_epi8(result, infinity, overflows);
    const __m256i isNan = _mm256_cmpgt_epi32(magnitude, _mm256_set1_epi32(0x7f800000));
    const __m256i nan = _mm256_or_si256(infinity, _mm256_srli_epi32(mantissa, 13));
    return _mm256_or_si256(_mm256_blendv_epi8(result, nan, isNan), sign);
}

// Products with 255 or 65535 are exact in double, as in the plain conversion. Numbers beyond 32 bits are told by a
// false result: the plain conversion keeps their low bits.
template <class Family>
GW_TARGET_AVX2 inline bool ScaleEight(__m256 values, __m256i& numbers)
{
    const __m256d maximum = _mm256_set1_pd(Family::maximum);
    const __m256d low = _mm256_mul_pd(_mm256_cvtps_pd(_mm256_castps256_ps128(values)), maximum);
    const __m256d high = _mm256_mul_pd(_mm256_cvtps_pd(_mm256_extractf128_ps(values, 1)), maximum);
    const __m256i wide =
        _mm256_inserti128_si256(_mm256_castsi128_si256(_mm256_cvttpd_epi32(low)), _mm256_cvttpd_epi32(high), 1);
    const __m256i outside = _mm256_cmpeq_epi32(wide, _mm256_set1_epi32(static_cast<int>(0x80000000)));
    numbers = _mm256_and_si256(wide, _mm256_set1_epi32(static_cast<int>(Family::maximum)));
    return _mm256_testz_si256(outside, outside) != 0;
}

template <class From, class To>
struct FlatKernel;

// Unsigned to unsigned: both quotients come out whole where the plain conversion's do.
template <>
struct FlatKernel<FamilyU8, FamilyU16>
{
    GW_TARGET_AVX2 static bool Convert(const unsigned char* from, unsigned char* to)
    {
        StoreEight(FamilyU16(), to, _mm256_mullo_epi32(LoadEight(FamilyU8(), from), _mm256_set1_epi32(257)));
        return true;
    }
};

template <>
struct FlatKernel<FamilyU16, FamilyU8>
{
    // 65281 / 2^24 stands for 1 / 257, near enough for 16 bits.
    GW_TARGET_AVX2 static bool Convert(const unsigned char* from, unsigned char* to)
    {
        const __m128i numbers = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const __m128i quotients =
            _mm_srli_epi16(_mm_mulhi_epu16(numbers, _mm_set1_epi16(static_cast<short>(65281))), 8);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi16(quotients, quotients));
        return true;
    }
};

template <class From>
requires(From::range == ERange::Unsigned) struct FlatKernel<From, FamilyFloat>
{
    GW_TARGET_AVX2 static bool Convert(const unsigned char* from, unsigned char* to)
    {
        const __m256 values = NormaliseEight<From>(LoadEight(From(), from));
        StoreEight(FamilyFloat(), to, _mm256_castps_si256(values));
        return true;
    }
};

// None of the 256 quotients lies between two halves, so the processor's rounding gives the same, even of the product
// with the reciprocal.
template <>
struct FlatKernel<FamilyU8, FamilyHalf>
{
    GW_TARGET_AVX2 static bool Convert(const unsigned char* from, unsigned char* to)
    {
        const __m256 numbers = _mm256_cvtepi32_ps(LoadEight(FamilyU8(), from));
        const __m256 values = _mm256_mul_ps(numbers, _mm256_set1_ps(1.0f / 255.0f));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_cvtps_ph(values, _MM_FROUND_TO_NEAREST_INT));
        return true;
    }
};

template <>
struct FlatKernel<FamilyU16, FamilyHalf>
{
    GW_TARGET_AVX2 static bool Convert(const unsigned char* from, unsigned char* to)
    {
        StoreEight(FamilyHalf(), to, HalfBits(NormaliseEight<FamilyU16>(LoadEight(FamilyU16(), from))));
        return true;
    }
};

template <>
struct FlatKernel<FamilyHalf, FamilyFloat>
{
    GW_TARGET_AVX2 static bool Convert(const unsigned char* from, unsigned char* to)
    {
        StoreEight(FamilyFloat(), to, _mm256_castps_si256(LoadEight(FamilyHalf(), from)));
        return true;
    }
};

template <>
struct FlatKernel<FamilyFloat, FamilyHalf>
{
    GW_TARGET_AVX2 static bool Convert(const unsigned char* from, unsigned char* to)
    {
        StoreEight(FamilyHalf(), to, HalfBits(LoadEight(FamilyFloat(), from)));
        return true;
    }
};

template <class From, class To>
requires(From::range == ERange::Plain && To::range == ERange::Unsigned) struct FlatKernel<From, To>
{
    GW_TARGET_AVX2 static bool Convert(const unsigned char* from, unsigned char* to)
    {
        __m256i numbers;
        if (!ScaleEight<To>(LoadEight(From(), from), numbers))
            return false;
        StoreEight(To(), to, numbers);
        return true;
    }
};

// A run of elements of one family into another; what the kernel does not take goes the plain way.
template <class From, class To>
GW_TARGET_AVX2 void RunElements(const unsigned char* from, unsigned char* to, uint64_t count)
{
    constexpr uint64_t fromBytes = sizeof(typename From::Bits);
    constexpr uint64_t toBytes = sizeof(typename To::Bits);
    const auto runPlain = [](const unsigned char* source, unsigned char* target, uint64_t elements) {
        for (uint64_t i = 0; i < elements; ++i) {
            const double number = From::Load(LoadBits<typename From::Bits, false>(source + i * fromBytes));
            StoreBits(target + i * toBytes, To::Store(ConvertChannel<From, To>(number)));
        }
    };
    for (; count >= 8; count -= 8, from += 8 * fromBytes, to += 8 * toBytes) {
        if (!FlatKernel<From, To>::Convert(from, to)) [[unlikely]]
            runPlain(from, to, 8);
    }
    runPlain(from, to, count);
}

} // namespace gw::image::details
