// The pixel type of each convertible format. Inside the image code only.
#pragma once

#include "Gleamwork/image/ConverterTable.h"
#include "Gleamwork/image/PackedPixels.h"

namespace gw::image::details {

template <class Pixel>
constexpr PixelShape ShapeOf()
{
    return {static_cast<int>(sizeof(typename Pixel::Bits)), Pixel::elementsPerPixel};
}

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
    static constexpr void ForEach(const Visitor& visitor)
    {
        (visitor(Entries{}), ...);
    }
};

// One to four channels of a family, in formats with consecutive values.
template <EFormat First, class Family>
using FormatsOf = FormatList<FormatEntry<First, ChannelPixel<Family, 1>>,
                             FormatEntry<static_cast<EFormat>(First + 1), ChannelPixel<Family, 2>>,
                             FormatEntry<static_cast<EFormat>(First + 2), ChannelPixel<Family, 3>>,
                             FormatEntry<static_cast<EFormat>(First + 3), ChannelPixel<Family, 4>>>;

using ReversedFormats = FormatList<FormatEntry<FORMAT_BGR8, ChannelPixel<FamilyU8, 3, true>>,
                                   FormatEntry<FORMAT_BGRA8, ChannelPixel<FamilyU8, 4, true>>>;

using PackedFormats =
    FormatList<FormatEntry<FORMAT_RGBE8, PackedPixel<CodecRGBE8>>, FormatEntry<FORMAT_RGB9E5, PackedPixel<CodecRGB9E5>>,
               FormatEntry<FORMAT_RG11B10F, PackedPixel<CodecRG11B10F>>,
               FormatEntry<FORMAT_RGB565, PackedPixel<CodecRGB565>>, FormatEntry<FORMAT_RGBA4, PackedPixel<CodecRGBA4>>,
               FormatEntry<FORMAT_RGB10A2, PackedPixel<CodecRGB10A2>>,
               FormatEntry<FORMAT_A1RGB5, PackedPixel<CodecA1RGB5>>>;

template <class Visitor>
constexpr void ForEachConvertibleFormat(const Visitor& visitor)
{
    FormatsOf<FORMAT_R8, FamilyU8>::ForEach(visitor);
    ReversedFormats::ForEach(visitor);
    FormatsOf<FORMAT_R16, FamilyU16>::ForEach(visitor);
    FormatsOf<FORMAT_R8S, FamilyS8>::ForEach(visitor);
    FormatsOf<FORMAT_R16S, FamilyS16>::ForEach(visitor);
    FormatsOf<FORMAT_R16F, FamilyHalf>::ForEach(visitor);
    FormatsOf<FORMAT_R32F, FamilyFloat>::ForEach(visitor);
    FormatsOf<FORMAT_R16I, FamilyI16>::ForEach(visitor);
    FormatsOf<FORMAT_R32I, FamilyI32>::ForEach(visitor);
    FormatsOf<FORMAT_R16UI, FamilyUI16>::ForEach(visitor);
    FormatsOf<FORMAT_R32UI, FamilyUI32>::ForEach(visitor);
    PackedFormats::ForEach(visitor);
}

// Calls the visitor with every ordered pair of entries.
template <class Visitor>
constexpr void ForEachConvertiblePair(const Visitor& visitor)
{
    ForEachConvertibleFormat(
        [&](auto source) { ForEachConvertibleFormat([&](auto target) { visitor(source, target); }); });
}

} // namespace gw::image::details
