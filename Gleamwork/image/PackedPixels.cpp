// Encoding and decoding of the floating-point pixel words.
#include "Gleamwork/image/PackedPixels.h"

#include <cmath>

namespace gw::image::details {
namespace {

struct SharedExponent
{
    int mantissaBits;
    int exponentBias; // of the stored field against frexp's exponent

    constexpr uint32_t MantissaMask() const { return (1u << mantissaBits) - 1; }

    WorkingPixel Decode(uint32_t word) const
    {
        const int exponent = static_cast<int>(word >> (3 * mantissaBits));
        const float scale = std::ldexp(1.0f, exponent - exponentBias - mantissaBits);
        const auto channel = [&](int index) {
            return static_cast<float>((word >> (index * mantissaBits)) & MantissaMask()) * scale;
        };
        return {channel(0), channel(1), channel(2), 1.0};
    }

    // Nothing is clamped: a mantissa that rounds up to its full range loses its top bit, an exponent wraps.
    uint32_t Encode(const WorkingPixel& pixel) const
    {
        double largest = pixel[0];
        largest = pixel[1] > largest ? pixel[1] : largest;
        largest = pixel[2] > largest ? pixel[2] : largest;
        if (largest < 1.1920928955078125e-7)
            return 0;
        int exponent = 0; // stays 0 for infinity and NaN, for which frexp names none
        const double mantissa = std::isfinite(largest) ? std::frexp(largest, &exponent) : largest;
        const double factor = mantissa * static_cast<double>(1u << mantissaBits) / largest;
        uint32_t word = static_cast<uint32_t>(exponent + exponentBias) << (3 * mantissaBits);
        for (int index = 0; index < 3; ++index) {
            const int64_t field = TruncateToInt64(std::floor(pixel[index] * factor + 0.5));
            word |= (static_cast<uint32_t>(field) & MantissaMask()) << (index * mantissaBits);
        }
        return word;
    }
};

constexpr SharedExponent rgbe8{8, 128};
constexpr SharedExponent rgb9e5{9, 15};

// A float without sign of 5 exponent bits; the exponent's bias is 15.
struct SmallFloat
{
    int shift;
    int mantissaBits;

    constexpr uint32_t MantissaMask() const { return (1u << mantissaBits) - 1; }
    constexpr uint32_t Infinity() const { return 31u << mantissaBits; }

    // The bits are those of a half without its sign and its lowest mantissa bits.
    double Decode(uint32_t word) const
    {
        const uint32_t field = (word >> shift) & (MantissaMask() | Infinity());
        return gw::details::HalfBitsToFloat(static_cast<uint16_t>(field << (10 - mantissaBits)));
    }

    uint32_t Encode(double value) const { return EncodeField(value) << shift; }

private:
    uint32_t EncodeField(double value) const
    {
        if (std::isnan(value))
            return Infinity() | 1u << (mantissaBits - 1);
        if (!(value > 0.0))
            return 0;
        if (std::isinf(value))
            return Infinity();
        // Above -14 the step is the mantissa's last bit; below, that of the smallest exponent.
        int exponent = 0;
        std::frexp(value, &exponent);
        const int stepExponent = (exponent < -13 ? -13 : exponent) - 1 - mantissaBits;
        if (exponent > 16)
            return Infinity() - 1;
        const uint32_t steps = static_cast<uint32_t>(std::nearbyint(std::ldexp(value, -stepExponent)));
        // Rounding up to the next power of two carries into the exponent by itself.
        const uint32_t field = steps + (static_cast<uint32_t>(stepExponent + 14 + mantissaBits) << mantissaBits);
        return field < Infinity() ? field : Infinity() - 1;
    }
};

constexpr SmallFloat red11{0, 6};
constexpr SmallFloat green11{11, 6};
constexpr SmallFloat blue10{22, 5};

} // namespace

WorkingPixel CodecRGBE8::Decode(Word word)
{
    return rgbe8.Decode(word);
}
CodecRGBE8::Word CodecRGBE8::Encode(const WorkingPixel& pixel)
{
    return rgbe8.Encode(pixel);
}

WorkingPixel CodecRGB9E5::Decode(Word word)
{
    return rgb9e5.Decode(word);
}
CodecRGB9E5::Word CodecRGB9E5::Encode(const WorkingPixel& pixel)
{
    return rgb9e5.Encode(pixel);
}

WorkingPixel CodecRG11B10F::Decode(Word word)
{
    return {red11.Decode(word), green11.Decode(word), blue10.Decode(word), 1.0};
}

CodecRG11B10F::Word CodecRG11B10F::Encode(const WorkingPixel& pixel)
{
    return red11.Encode(pixel[0]) | green11.Encode(pixel[1]) | blue10.Encode(pixel[2]);
}

} // namespace gw::image::details
