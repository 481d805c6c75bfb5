// Look-ups and arithmetic over the format table.
#include "FormatInfo.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "FormatTable.h"

namespace gleam {
namespace {

constexpr size_t IndexSize = DXGI_FORMAT_V408 + 1;

std::array<const FormatInfo*, IndexSize> MakeIndex()
{
    std::array<const FormatInfo*, IndexSize> index;
    index.fill(&FormatTable().front());
    for (const FormatInfo& info : FormatTable()) {
        index[info.format] = &info;
    }
    return index;
}

/// Float of `bits` bits with a five-bit exponent; 16 bits have a sign, 11 and 10 have none. Rounds to nearest even.
std::uint32_t PackSmallFloat(float value, int bits)
{
    const bool isSigned = bits == 16;
    const int mantissa = isSigned ? 10 : bits - 5;
    const std::uint32_t sign = isSigned && std::signbit(value) ? 1u << 15 : 0;
    const std::uint32_t infinity = 31u << mantissa;
    if (std::isnan(value)) {
        return sign | infinity | 1u << (mantissa - 1);
    }
    if (!isSigned && value <= 0) {
        return 0;
    }
    const float magnitude = std::fabs(value);
    if (std::isinf(magnitude)) {
        return sign | infinity;
    }
    // Values below 2^-14 share the exponent of the denormals.
    const int exponent = std::max(magnitude > 0 ? std::ilogb(magnitude) : -15, -14);
    const auto steps = static_cast<std::uint32_t>(std::nearbyint(std::ldexp(magnitude, mantissa - exponent)));
    const std::uint32_t packed = steps + (static_cast<std::uint32_t>(exponent + 14) << mantissa);
    // Unsigned small floats do not round up to infinity.
    return sign | std::min(packed, isSigned ? infinity : infinity - 1);
}

float ToSrgb(float linear)
{
    return linear <= 0.0031308f ? linear * 12.92f : 1.055f * std::pow(linear, 1.0f / 2.4f) - 0.055f;
}

double Clamp(double value, double low, double high)
{
    return std::isnan(value) ? 0.0 : std::clamp(value, low, high);
}

std::uint32_t PackChannel(EFormatKind kind, float value, int bits, bool isAlpha)
{
    const double unsignedMax = std::ldexp(1.0, bits) - 1;
    const double signedMax = std::ldexp(1.0, bits - 1) - 1;
    switch (kind) {
    case EFormatKind::UnormSrgb:
        value = isAlpha ? value : ToSrgb(static_cast<float>(Clamp(value, 0, 1)));
        [[fallthrough]];
    case EFormatKind::Unorm:
        return static_cast<std::uint32_t>(std::nearbyint(Clamp(value, 0, 1) * unsignedMax));
    case EFormatKind::Snorm:
        return static_cast<std::uint32_t>(static_cast<std::int32_t>(std::nearbyint(Clamp(value, -1, 1) * signedMax)));
    case EFormatKind::Uint:
        return static_cast<std::uint32_t>(Clamp(value, 0, unsignedMax));
    case EFormatKind::Sint:
        return static_cast<std::uint32_t>(static_cast<std::int32_t>(Clamp(value, -signedMax - 1, signedMax)));
    default:
        return bits == 32 ? std::bit_cast<std::uint32_t>(value) : PackSmallFloat(value, bits);
    }
}

} // namespace

const FormatInfo& GetFormatInfo(DXGI_FORMAT format)
{
    static const std::array<const FormatInfo*, IndexSize> index = MakeIndex();
    const auto value = static_cast<std::uint32_t>(format);
    return *index[value < IndexSize ? value : 0];
}

UINT FullMipCount(UINT width, UINT height, UINT depth)
{
    return std::bit_width(std::max({width, height, depth}));
}

std::uint64_t RowBytes(const FormatInfo& info, UINT width)
{
    return (std::uint64_t{width} + info.blockWidth - 1) / info.blockWidth * info.blockBytes;
}

UINT RowCount(const FormatInfo& info, UINT height)
{
    return static_cast<UINT>((std::uint64_t{height} + info.blockHeight - 1) / info.blockHeight);
}

bool CanView(DXGI_FORMAT resource, DXGI_FORMAT view)
{
    const FormatInfo& from = GetFormatInfo(resource);
    const FormatInfo& to = GetFormatInfo(view);
    if (to.kind == EFormatKind::Unknown || to.IsTypeless()) {
        return false;
    }
    return resource == view || (from.IsTypeless() && from.family == to.family);
}

bool CanCopy(DXGI_FORMAT destination, DXGI_FORMAT source)
{
    const FormatInfo& to = GetFormatInfo(destination);
    const FormatInfo& from = GetFormatInfo(source);
    if (to.kind == EFormatKind::Unknown || to.family == from.family) {
        return to.family == from.family && to.kind != EFormatKind::Unknown;
    }
    const bool mixed = (to.IsCompressed() && from.IsInteger()) || (from.IsCompressed() && to.IsInteger());
    return mixed && to.blockBytes == from.blockBytes;
}

bool PackBits(const FormatInfo& info, const UINT values[4], std::uint8_t texel[16])
{
    const bool hasBits = info.bits[0] != 0 || info.bits[3] != 0;
    if (!hasBits || info.IsTypeless() || info.hasDepth || info.hasStencil || info.blockWidth != 1 ||
        info.format == DXGI_FORMAT_R9G9B9E5_SHAREDEXP) {
        return false;
    }
    std::memset(texel, 0, 16);
    constexpr int orders[2][4] = {{0, 1, 2, 3}, {2, 1, 0, 3}};
    int position = 0;
    for (const int channel : orders[info.isBgra]) {
        const int bits = info.bits[channel];
        std::uint64_t value = values[channel] & ((std::uint64_t{1} << bits) - 1);
        value <<= position % 8;
        for (int byte = position / 8; value != 0; ++byte, value >>= 8) {
            texel[byte] |= static_cast<std::uint8_t>(value);
        }
        position += bits;
    }
    return true;
}

bool PackColor(const FormatInfo& info, const float color[4], std::uint8_t texel[16])
{
    UINT values[4];
    for (int channel = 0; channel < 4; ++channel) {
        const int bits = info.bits[channel];
        values[channel] = bits != 0 ? PackChannel(info.kind, color[channel], bits, channel == 3) : 0;
    }
    return PackBits(info, values, texel);
}

} // namespace gleam
