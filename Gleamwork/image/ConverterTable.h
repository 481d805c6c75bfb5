// The table of converters by source format, target format and byte order, and its entries from one template.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/image/ImagePixelOps.h"
#include "Gleamwork/image/PackedPixels.h"

#include <memory>

namespace gw::image::details {

struct ConverterTable
{
    PixelConverter entries[FORMAT_MAX][FORMAT_MAX][2] = {};
};

// The table of the plain entries alone, without any that is made for a processor's own instructions: tests hold those
// against it.
GW_API const ConverterTable& GetPlainConverterTable();

void CopyPixels(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source);

// Whole pixels in both views; asserts when they differ or do not end with a whole pixel.
struct PixelShape
{
    int elementBytes;
    int elementsPerPixel;
};
uint64_t CountPixels(const qs::MemView<unsigned char>& target, PixelShape targetShape,
                     const qs::MemView<const unsigned char>& source, PixelShape sourceShape);

template <class Pixel>
constexpr PixelShape ShapeOf()
{
    return {static_cast<int>(sizeof(typename Pixel::Bits)), Pixel::elementsPerPixel};
}

template <class Source, class Target, bool Swap>
struct Converter
{
    static void Run(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source)
    {
        const uint64_t count = CountPixels(target, ShapeOf<Target>(), source, ShapeOf<Source>());
        RunPixels(source.GetData(), target.GetData(), count);
    }

    static void RunPixels(const unsigned char* from, unsigned char* to, uint64_t count)
    {
        for (uint64_t i = 0; i < count; ++i)
            ConvertPixel<Source, Target, Swap>(from + i * Source::bytes, to + i * Target::bytes);
    }
};

// Equal formats in the other byte order: elements are reversed and not looked at.
template <class Pixel>
struct Converter<Pixel, Pixel, true>
{
    using Bits = typename Pixel::Bits;

    static void Run(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source)
    {
        const uint64_t count = CountPixels(target, ShapeOf<Pixel>(), source, ShapeOf<Pixel>());
        RunPixels(source.GetData(), target.GetData(), count);
    }

    static void RunPixels(const unsigned char* from, unsigned char* to, uint64_t count)
    {
        for (uint64_t at = 0; at < count * Pixel::bytes; at += sizeof(Bits))
            StoreBits<Bits>(to + at, LoadBits<Bits, true>(from + at));
    }
};

template <EFormat FormatOf, class PixelOf>
struct FormatEntry
{
    static constexpr EFormat format = FormatOf;
    using Pixel = PixelOf;
};

template <class... Entries>
struct FormatList
{
    // Calls the visitor with one default-made entry after the other.
    template <class Visitor>
    static void ForEach(Visitor visitor)
    {
        (visitor(Entries{}), ...);
    }
};

using Formats8 =
    FormatList<FormatEntry<FORMAT_R8, ChannelPixel<FamilyU8, 1>>, FormatEntry<FORMAT_RG8, ChannelPixel<FamilyU8, 2>>,
               FormatEntry<FORMAT_RGB8, ChannelPixel<FamilyU8, 3>>,
               FormatEntry<FORMAT_RGBA8, ChannelPixel<FamilyU8, 4>>,
               FormatEntry<FORMAT_BGR8, ChannelPixel<FamilyU8, 3, true>>,
               FormatEntry<FORMAT_BGRA8, ChannelPixel<FamilyU8, 4, true>>>;

// One to four channels of a family, in formats with consecutive values.
template <EFormat First, class Family>
using FormatsOf = FormatList<FormatEntry<First, ChannelPixel<Family, 1>>,
                             FormatEntry<static_cast<EFormat>(First + 1), ChannelPixel<Family, 2>>,
                             FormatEntry<static_cast<EFormat>(First + 2), ChannelPixel<Family, 3>>,
                             FormatEntry<static_cast<EFormat>(First + 3), ChannelPixel<Family, 4>>>;

using Formats16 = FormatsOf<FORMAT_R16, FamilyU16>;
using Formats8S = FormatsOf<FORMAT_R8S, FamilyS8>;
using Formats16S = FormatsOf<FORMAT_R16S, FamilyS16>;
using Formats16F = FormatsOf<FORMAT_R16F, FamilyHalf>;
using Formats32F = FormatsOf<FORMAT_R32F, FamilyFloat>;
using Formats16I = FormatsOf<FORMAT_R16I, FamilyI16>;
using Formats32I = FormatsOf<FORMAT_R32I, FamilyI32>;
using Formats16UI = FormatsOf<FORMAT_R16UI, FamilyUI16>;
using Formats32UI = FormatsOf<FORMAT_R32UI, FamilyUI32>;
using FormatsPacked =
    FormatList<FormatEntry<FORMAT_RGBE8, PackedPixel<CodecRGBE8>>, FormatEntry<FORMAT_RGB9E5, PackedPixel<CodecRGB9E5>>,
               FormatEntry<FORMAT_RG11B10F, PackedPixel<CodecRG11B10F>>,
               FormatEntry<FORMAT_RGB565, PackedPixel<CodecRGB565>>, FormatEntry<FORMAT_RGBA4, PackedPixel<CodecRGBA4>>,
               FormatEntry<FORMAT_RGB10A2, PackedPixel<CodecRGB10A2>>,
               FormatEntry<FORMAT_A1RGB5, PackedPixel<CodecA1RGB5>>>;

template <class Visitor>
void ForEachConvertibleFormat(Visitor visitor)
{
    Formats8::ForEach(visitor);
    Formats16::ForEach(visitor);
    Formats8S::ForEach(visitor);
    Formats16S::ForEach(visitor);
    Formats16F::ForEach(visitor);
    Formats32F::ForEach(visitor);
    Formats16I::ForEach(visitor);
    Formats32I::ForEach(visitor);
    Formats16UI::ForEach(visitor);
    Formats32UI::ForEach(visitor);
    FormatsPacked::ForEach(visitor);
}

// Fills the rows of the listed source formats against all target formats.
template <class Sources>
void FillRows(ConverterTable& table)
{
    Sources::ForEach([&](auto source) {
        ForEachConvertibleFormat([&](auto target) {
            using From = typename decltype(source)::Pixel;
            using To = typename decltype(target)::Pixel;
            auto& pair = table.entries[source.format][target.format];
            pair[0] = &Converter<From, To, false>::Run;
            pair[1] = &Converter<From, To, true>::Run;
        });
    });
}

// The rows are made in several sources, since each takes its time to compile.
void FillRowsOfBytes(ConverterTable& table);
void FillRowsOfShorts(ConverterTable& table);
void FillRowsOfFloats(ConverterTable& table);
void FillRowsOfIntegers(ConverterTable& table);
void FillRowsOfPackedWords(ConverterTable& table);

// Replaces entries by ones for instructions that this processor has. None of them changes a bit of a result.
void InstallFastConverters(ConverterTable& table);

} // namespace gw::image::details
