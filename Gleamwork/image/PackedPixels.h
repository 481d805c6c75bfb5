// The packed pixel words: their fields, and how they are decoded and encoded. Bit 0 is the lowest bit of a word.
#pragma once

#include "Gleamwork/image/PixelTypes.h"

namespace gw::image::details {

// Three mantissas under one exponent. Red lies lowest, the exponent on top.
struct CodecRGBE8
{
    using Word = uint32_t;
    static WorkingPixel Decode(Word word);
    static Word Encode(const WorkingPixel& pixel);
};

struct CodecRGB9E5
{
    using Word = uint32_t;
    static WorkingPixel Decode(Word word);
    static Word Encode(const WorkingPixel& pixel);
};

// Three floats without sign, as the devices read them: red in bits 0-10 and green in 11-21 with 6 bits of mantissa,
// blue in 22-31 with 5, exponents of 5 bits above the mantissa with a bias of 15.
struct CodecRG11B10F
{
    using Word = uint32_t;
    static WorkingPixel Decode(Word word);
    static Word Encode(const WorkingPixel& pixel);
};

// A field of a word of unsigned normalised fields.
struct BitField
{
    int shift;
    int width;

    constexpr uint32_t Maximum() const { return (1u << width) - 1; }
    double Decode(uint32_t word) const { return static_cast<double>((word >> shift) & Maximum()) / Maximum(); }
    // Truncates. A NaN fails both comparisons and so becomes 1.
    uint32_t Encode(double value) const
    {
        const double clamped = value < 0.0 ? 0.0 : value <= 1.0 ? value : 1.0;
        return static_cast<uint32_t>(clamped * Maximum()) << shift;
    }
};

template <class WordOf, BitField Red, BitField Green, BitField Blue, BitField Alpha>
struct CodecFields
{
    using Word = WordOf;

    static WorkingPixel Decode(Word word)
    {
        const double alpha = Alpha.width == 0 ? 1.0 : Alpha.Decode(word);
        return {Red.Decode(word), Green.Decode(word), Blue.Decode(word), alpha};
    }
    static Word Encode(const WorkingPixel& pixel)
    {
        uint32_t word = Red.Encode(pixel[0]) | Green.Encode(pixel[1]) | Blue.Encode(pixel[2]);
        if constexpr (Alpha.width != 0)
            word |= Alpha.Encode(pixel[3]);
        return static_cast<Word>(word);
    }
};

using CodecRGB565 = CodecFields<uint16_t, BitField{11, 5}, BitField{5, 6}, BitField{0, 5}, BitField{0, 0}>;
using CodecRGBA4 = CodecFields<uint16_t, BitField{12, 4}, BitField{8, 4}, BitField{4, 4}, BitField{0, 4}>;
using CodecRGB10A2 = CodecFields<uint32_t, BitField{22, 10}, BitField{12, 10}, BitField{2, 10}, BitField{0, 2}>;
using CodecA1RGB5 = CodecFields<uint16_t, BitField{11, 5}, BitField{6, 5}, BitField{1, 5}, BitField{0, 1}>;

} // namespace gw::image::details
