// Texels to floats and back, format by format.
#include "PixelRow.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

namespace DirectX {

namespace {

using Texel = float[4];

float Clamp(float value, float low, float high)
{
    return value >= low ? std::min(value, high) : value < low ? low : 0.0f;
}

template <class Word>
Word Load(const std::uint8_t* memory)
{
    Word word;
    std::memcpy(&word, memory, sizeof word);
    return word;
}

template <class Word>
void Store(std::uint8_t* memory, Word word)
{
    std::memcpy(memory, &word, sizeof word);
}

float FloatFromHalf(std::uint16_t half)
{
    const std::uint32_t sign = std::uint32_t(half & 0x8000) << 16;
    const std::uint32_t exponent = (half >> 10) & 31, mantissa = half & 0x3ff;
    if (exponent == 0)
        return std::copysign(std::ldexp(static_cast<float>(mantissa), -24), sign ? -1.0f : 1.0f);
    const std::uint32_t widened = exponent == 31 ? 255 : exponent + 112;
    return std::bit_cast<float>(sign | widened << 23 | mantissa << 13);
}

/// Rounds to nearest even; overflow gives infinity.
std::uint16_t HalfFromFloat(float value)
{
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(value);
    const std::uint16_t sign = static_cast<std::uint16_t>(bits >> 16 & 0x8000);
    const float size = std::fabs(value);
    if (value != value)
        return sign | 0x7e00;
    if (size >= 65520.0f)
        return sign | 0x7c00;
    if (size < 0x1p-14f)
        return sign | static_cast<std::uint16_t>(std::nearbyint(size * 0x1p24f));
    const std::uint32_t rounded = (bits & 0x7fffffff) + 0xfff + (bits >> 13 & 1) - (112u << 23);
    return sign | static_cast<std::uint16_t>(rounded >> 13);
}

struct SrgbTable
{
    std::array<float, 256> linear;
    SrgbTable()
    {
        for (int i = 0; i < 256; ++i)
            linear[i] = LinearFromSrgb(static_cast<float>(i) / 255.0f);
    }
};

const SrgbTable& GetSrgbTable()
{
    static const SrgbTable table;
    return table;
}

/// How the channels of a plain format stand in memory.
struct Channels
{
    enum class EKind
    {
        None,
        Unorm8,
        Srgb8,
        Snorm8,
        Unorm16,
        Snorm16,
        Half,
        Float
    };
    EKind kind = EKind::None;
    int count = 0;
    bool isBgr = false;
    bool hasAlpha = false; ///< of four channels: the fourth counts
};

Channels GetChannels(DXGI_FORMAT format)
{
    using enum Channels::EKind;
    switch (format) {
    case DXGI_FORMAT_R8_UNORM:
        return {Unorm8, 1};
    case DXGI_FORMAT_R8G8_UNORM:
        return {Unorm8, 2};
    case DXGI_FORMAT_R8G8B8A8_UNORM:
        return {Unorm8, 4, false, true};
    case DXGI_FORMAT_R8G8B8A8_UNORM_SRGB:
        return {Srgb8, 4, false, true};
    case DXGI_FORMAT_B8G8R8A8_UNORM:
        return {Unorm8, 4, true, true};
    case DXGI_FORMAT_B8G8R8A8_UNORM_SRGB:
        return {Srgb8, 4, true, true};
    case DXGI_FORMAT_B8G8R8X8_UNORM:
        return {Unorm8, 4, true, false};
    case DXGI_FORMAT_B8G8R8X8_UNORM_SRGB:
        return {Srgb8, 4, true, false};
    case DXGI_FORMAT_R8_SNORM:
        return {Snorm8, 1};
    case DXGI_FORMAT_R8G8_SNORM:
        return {Snorm8, 2};
    case DXGI_FORMAT_R8G8B8A8_SNORM:
        return {Snorm8, 4, false, true};
    case DXGI_FORMAT_R16_UNORM:
    case DXGI_FORMAT_D16_UNORM:
        return {Unorm16, 1};
    case DXGI_FORMAT_R16G16_UNORM:
        return {Unorm16, 2};
    case DXGI_FORMAT_R16G16B16A16_UNORM:
        return {Unorm16, 4, false, true};
    case DXGI_FORMAT_R16_SNORM:
        return {Snorm16, 1};
    case DXGI_FORMAT_R16G16_SNORM:
        return {Snorm16, 2};
    case DXGI_FORMAT_R16G16B16A16_SNORM:
        return {Snorm16, 4, false, true};
    case DXGI_FORMAT_R16_FLOAT:
        return {Half, 1};
    case DXGI_FORMAT_R16G16_FLOAT:
        return {Half, 2};
    case DXGI_FORMAT_R16G16B16A16_FLOAT:
        return {Half, 4, false, true};
    case DXGI_FORMAT_R32_FLOAT:
    case DXGI_FORMAT_D32_FLOAT:
        return {Float, 1};
    case DXGI_FORMAT_R32G32_FLOAT:
        return {Float, 2};
    case DXGI_FORMAT_R32G32B32_FLOAT:
        return {Float, 3};
    case DXGI_FORMAT_R32G32B32A32_FLOAT:
        return {Float, 4, false, true};
    default:
        return {};
    }
}

std::size_t ChannelBytes(Channels::EKind kind)
{
    using enum Channels::EKind;
    return kind == Float ? 4 : kind == Unorm16 || kind == Snorm16 || kind == Half ? 2 : 1;
}

float LoadChannel(Channels::EKind kind, const std::uint8_t* memory)
{
    using enum Channels::EKind;
    switch (kind) {
    case Snorm8:
        return std::max(Load<std::int8_t>(memory) / 127.0f, -1.0f);
    case Unorm16:
        return Load<std::uint16_t>(memory) / 65535.0f;
    case Snorm16:
        return std::max(Load<std::int16_t>(memory) / 32767.0f, -1.0f);
    case Half:
        return FloatFromHalf(Load<std::uint16_t>(memory));
    case Float:
        return Load<float>(memory);
    default:
        return *memory / 255.0f;
    }
}

void StoreChannel(Channels::EKind kind, float value, std::uint8_t* memory)
{
    using enum Channels::EKind;
    switch (kind) {
    case Snorm8:
        Store(memory, static_cast<std::int8_t>(std::lround(Clamp(value, -1, 1) * 127.0f)));
        break;
    case Unorm16:
        Store(memory, static_cast<std::uint16_t>(Clamp(value, 0, 1) * 65535.0f + 0.5f));
        break;
    case Snorm16:
        Store(memory, static_cast<std::int16_t>(std::lround(Clamp(value, -1, 1) * 32767.0f)));
        break;
    case Half:
        Store(memory, HalfFromFloat(value));
        break;
    case Float:
        Store(memory, value);
        break;
    default:
        *memory = static_cast<std::uint8_t>(Clamp(value, 0, 1) * 255.0f + 0.5f);
        break;
    }
}

void LoadChannels(const Channels& layout, const std::uint8_t* source, float* rgba, std::size_t count)
{
    const std::size_t bytes = ChannelBytes(layout.kind);
    const auto& table = GetSrgbTable().linear;
    for (std::size_t i = 0; i < count; ++i, rgba += 4) {
        Texel texel = {0, 0, 0, 1};
        for (int place = 0; place < layout.count; ++place, source += bytes) {
            const int channel = layout.isBgr && place < 3 ? 2 - place : place;
            if (place == 3 && !layout.hasAlpha)
                continue;
            texel[channel] =
                layout.kind == Channels::EKind::Srgb8 && place < 3 ? table[*source] : LoadChannel(layout.kind, source);
        }
        std::copy_n(texel, 4, rgba);
    }
}

void StoreChannels(const Channels& layout, const float* rgba, std::uint8_t* target, std::size_t count)
{
    const std::size_t bytes = ChannelBytes(layout.kind);
    for (std::size_t i = 0; i < count; ++i, rgba += 4) {
        for (int place = 0; place < layout.count; ++place, target += bytes) {
            float value = rgba[layout.isBgr && place < 3 ? 2 - place : place];
            if (place == 3 && !layout.hasAlpha)
                value = 1.0f;
            else if (layout.kind == Channels::EKind::Srgb8 && place < 3)
                value = SrgbFromLinear(Clamp(value, 0, 1));
            StoreChannel(layout.kind, value, target);
        }
    }
}

/// Unsigned normalised fields of one word, lowest bits first; a width of 0 is absent.
struct Fields
{
    int bytes = 0;
    std::array<int, 4> shift{}, width{}; ///< red, green, blue, alpha
};

Fields GetFields(DXGI_FORMAT format)
{
    switch (format) {
    case DXGI_FORMAT_R10G10B10A2_UNORM:
        return {4, {0, 10, 20, 30}, {10, 10, 10, 2}};
    case DXGI_FORMAT_B5G6R5_UNORM:
        return {2, {11, 5, 0, 0}, {5, 6, 5, 0}};
    case DXGI_FORMAT_B5G5R5A1_UNORM:
        return {2, {10, 5, 0, 15}, {5, 5, 5, 1}};
    case DXGI_FORMAT_B4G4R4A4_UNORM:
        return {2, {8, 4, 0, 12}, {4, 4, 4, 4}};
    case DXGI_FORMAT_A8_UNORM:
        return {1, {0, 0, 0, 0}, {0, 0, 0, 8}};
    case DXGI_FORMAT_D24_UNORM_S8_UINT:
        return {4, {0, 0, 0, 0}, {24, 0, 0, 0}};
    default:
        return {};
    }
}

void LoadFields(const Fields& fields, const std::uint8_t* source, float* rgba, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i, rgba += 4, source += fields.bytes) {
        std::uint32_t word = 0;
        std::memcpy(&word, source, static_cast<std::size_t>(fields.bytes));
        for (int channel = 0; channel < 4; ++channel) {
            const std::uint32_t largest = (1u << fields.width[channel]) - 1;
            rgba[channel] = largest ? static_cast<float>(word >> fields.shift[channel] & largest) / largest
                                    : (channel == 3 ? 1.0f : 0.0f);
        }
    }
}

void StoreFields(const Fields& fields, const float* rgba, std::uint8_t* target, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i, rgba += 4, target += fields.bytes) {
        std::uint32_t word = 0;
        for (int channel = 0; channel < 4; ++channel) {
            const double largest = (1u << fields.width[channel]) - 1;
            word |= static_cast<std::uint32_t>(Clamp(rgba[channel], 0, 1) * largest + 0.5) << fields.shift[channel];
        }
        std::memcpy(target, &word, static_cast<std::size_t>(fields.bytes));
    }
}

/// R11G11B10: halves without sign whose mantissas are cut to 6, 6 and 5 bits.
void LoadSmallFloats(const std::uint8_t* source, float* rgba, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i, rgba += 4, source += 4) {
        const std::uint32_t word = Load<std::uint32_t>(source);
        rgba[0] = FloatFromHalf(static_cast<std::uint16_t>((word & 0x7ff) << 4));
        rgba[1] = FloatFromHalf(static_cast<std::uint16_t>((word >> 11 & 0x7ff) << 4));
        rgba[2] = FloatFromHalf(static_cast<std::uint16_t>((word >> 22) << 5));
        rgba[3] = 1.0f;
    }
}

std::uint32_t SmallFloat(float value, int droppedBits)
{
    const float positive = value > 0.0f ? std::min(value, droppedBits == 4 ? 65024.0f : 64512.0f) : 0.0f;
    const std::uint32_t half = HalfFromFloat(positive);
    const std::uint32_t step = 1u << droppedBits;
    return std::min(half + step / 2, droppedBits == 4 ? 0x7bf0u : 0x7be0u) >> droppedBits;
}

void StoreSmallFloats(const float* rgba, std::uint8_t* target, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i, rgba += 4, target += 4)
        Store<std::uint32_t>(target,
                             SmallFloat(rgba[0], 4) | SmallFloat(rgba[1], 4) << 11 | SmallFloat(rgba[2], 5) << 22);
}

/// R9G9B9E5: three mantissas under one exponent with a bias of 15, each a fraction of 512.
void LoadSharedExponent(const std::uint8_t* source, float* rgba, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i, rgba += 4, source += 4) {
        const std::uint32_t word = Load<std::uint32_t>(source);
        const float scale = std::ldexp(1.0f, static_cast<int>(word >> 27) - 24);
        for (int channel = 0; channel < 3; ++channel)
            rgba[channel] = static_cast<float>(word >> (9 * channel) & 0x1ff) * scale;
        rgba[3] = 1.0f;
    }
}

void StoreSharedExponent(const float* rgba, std::uint8_t* target, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i, rgba += 4, target += 4) {
        float color[3];
        for (int channel = 0; channel < 3; ++channel)
            color[channel] = Clamp(rgba[channel], 0.0f, 65408.0f);
        const float largest = std::max({color[0], color[1], color[2], 0x1p-16f});
        int exponent = std::max(std::ilogb(largest) + 16, 0);
        if (std::lround(std::ldexp(largest, 24 - exponent)) == 512)
            ++exponent;
        std::uint32_t word = static_cast<std::uint32_t>(exponent) << 27;
        for (int channel = 0; channel < 3; ++channel)
            word |= static_cast<std::uint32_t>(std::lround(std::ldexp(color[channel], 24 - exponent))) << (9 * channel);
        Store(target, word);
    }
}

} // namespace

float LinearFromSrgb(float value)
{
    return value <= 0.04045f ? value / 12.92f : std::pow((value + 0.055f) / 1.055f, 2.4f);
}

float SrgbFromLinear(float value)
{
    return value <= 0.0031308f ? value * 12.92f : 1.055f * std::pow(value, 1.0f / 2.4f) - 0.055f;
}

bool HasFloatRows(DXGI_FORMAT format)
{
    return GetChannels(format).kind != Channels::EKind::None || GetFields(format).bytes != 0 ||
           format == DXGI_FORMAT_R11G11B10_FLOAT || format == DXGI_FORMAT_R9G9B9E5_SHAREDEXP;
}

bool IsFloat(DXGI_FORMAT format)
{
    const Channels::EKind kind = GetChannels(format).kind;
    return kind == Channels::EKind::Half || (kind == Channels::EKind::Float && format != DXGI_FORMAT_D32_FLOAT) ||
           format == DXGI_FORMAT_R11G11B10_FLOAT || format == DXGI_FORMAT_R9G9B9E5_SHAREDEXP;
}

void LoadRow(DXGI_FORMAT format, const std::uint8_t* source, float* rgba, std::size_t count)
{
    if (format == DXGI_FORMAT_R11G11B10_FLOAT)
        LoadSmallFloats(source, rgba, count);
    else if (format == DXGI_FORMAT_R9G9B9E5_SHAREDEXP)
        LoadSharedExponent(source, rgba, count);
    else if (const Fields fields = GetFields(format); fields.bytes != 0)
        LoadFields(fields, source, rgba, count);
    else
        LoadChannels(GetChannels(format), source, rgba, count);
}

void StoreRow(DXGI_FORMAT format, const float* rgba, std::uint8_t* target, std::size_t count)
{
    if (format == DXGI_FORMAT_R11G11B10_FLOAT)
        StoreSmallFloats(rgba, target, count);
    else if (format == DXGI_FORMAT_R9G9B9E5_SHAREDEXP)
        StoreSharedExponent(rgba, target, count);
    else if (const Fields fields = GetFields(format); fields.bytes != 0)
        StoreFields(fields, rgba, target, count);
    else
        StoreChannels(GetChannels(format), rgba, target, count);
}

} // namespace DirectX
