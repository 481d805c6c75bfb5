// A 16-bit float (IEEE 754 binary16) and its conversions.
#pragma once

#include <bit>
#include <cstdint>
#include <qs/Memory.h>

namespace gw {

namespace details {

/// Rounds half up on the magnitude (ties go away from zero), unlike the processor's own conversion, which rounds ties
/// to even. A NaN keeps the top ten bits of its payload, and its lowest bit is set when they are all zero.
constexpr uint16_t FloatToHalfBits(float value)
{
    const uint32_t bits = std::bit_cast<uint32_t>(value);
    const uint32_t sign = (bits >> 16) & 0x8000;
    const int32_t exponent = static_cast<int32_t>((bits >> 23) & 0xff) - 112;
    uint32_t mantissa = bits & 0x7fffff;
    if (exponent <= 0) {
        const int32_t shift = 1 - exponent;
        const uint32_t denormal = shift >= 25 ? 0 : (mantissa | 0x800000) >> shift;
        return static_cast<uint16_t>(sign | ((denormal + 0x1000) >> 13));
    }
    if (exponent == 255 - 112) {
        const uint32_t payload = mantissa >> 13;
        const uint32_t keepNan = mantissa != 0 && payload == 0 ? 1 : 0;
        return static_cast<uint16_t>(sign | 0x7c00 | payload | keepNan);
    }
    mantissa += 0x1000;
    const uint32_t carry = mantissa >> 23;
    const uint32_t rounded = static_cast<uint32_t>(exponent) + carry;
    if (rounded >= 31)
        return static_cast<uint16_t>(sign | 0x7c00);
    return static_cast<uint16_t>(sign | (rounded << 10) | ((carry != 0 ? 0 : mantissa) >> 13));
}

/// Exact; a NaN keeps its payload and is not made quiet.
constexpr float HalfBitsToFloat(uint16_t half)
{
    const uint32_t sign = static_cast<uint32_t>(half & 0x8000) << 16;
    const uint32_t exponent = (half >> 10) & 0x1f;
    const uint32_t mantissa = half & 0x3ff;
    if (exponent == 31)
        return std::bit_cast<float>(sign | 0x7f800000 | (mantissa << 13));
    if (exponent != 0)
        return std::bit_cast<float>(sign | ((exponent + 112) << 23) | (mantissa << 13));
    if (mantissa == 0)
        return std::bit_cast<float>(sign);
    const uint32_t shift = static_cast<uint32_t>(std::countl_zero(mantissa)) - 21;
    return std::bit_cast<float>(sign | ((113 - shift) << 23) | (((mantissa << shift) & 0x3ff) << 13));
}

} // namespace details

class half
{
public:
    QS_DECLARE_ALLOC(gw::half)

    constexpr half() = default;
    constexpr half(float value) : m_bits(details::FloatToHalfBits(value)) {}
    /// Narrowed to float first: a value may be rounded twice.
    constexpr half(double value) : half(static_cast<float>(value)) {}
    constexpr half(const half&) = default;
    constexpr half(half&&) = default;
    constexpr half& operator=(const half&) = default;
    constexpr half& operator=(half&&) = default;

    constexpr operator float() const { return details::HalfBitsToFloat(m_bits); }
    constexpr operator double() const { return static_cast<float>(*this); }

private:
    uint16_t m_bits = 0;
};

static_assert(sizeof(half) == 2);

} // namespace gw
