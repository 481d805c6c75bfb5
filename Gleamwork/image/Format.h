// The pixel formats of the whole library: their values, descriptions and names.
#pragma once

#include "Gleamwork/Export.h"

#include <cstdint>
#include <qs/FixedString.h>

namespace gw {

/// Channels are named in memory order or, for packed formats, from the high bits down. 8 and 16 without a suffix are
/// unsigned normalised, S is signed normalised, F floating point, I and UI unnormalised integers.
/// The values index the converter table and are stored in images; they never change.
enum EFormat : uint32_t
{
    FORMAT_NONE = 0,
    FORMAT_R8 = 1,
    FORMAT_RG8 = 2,
    FORMAT_RGB8 = 3,
    FORMAT_RGBA8 = 4,
    FORMAT_R16 = 5,
    FORMAT_RG16 = 6,
    FORMAT_RGB16 = 7,
    FORMAT_RGBA16 = 8,
    FORMAT_R8S = 9,
    FORMAT_RG8S = 10,
    FORMAT_RGB8S = 11,
    FORMAT_RGBA8S = 12,
    FORMAT_R16S = 13,
    FORMAT_RG16S = 14,
    FORMAT_RGB16S = 15,
    FORMAT_RGBA16S = 16,
    FORMAT_R16F = 17,
    FORMAT_RG16F = 18,
    FORMAT_RGB16F = 19,
    FORMAT_RGBA16F = 20,
    FORMAT_R32F = 21,
    FORMAT_RG32F = 22,
    FORMAT_RGB32F = 23,
    FORMAT_RGBA32F = 24,
    FORMAT_R16I = 25,
    FORMAT_RG16I = 26,
    FORMAT_RGB16I = 27,
    FORMAT_RGBA16I = 28,
    FORMAT_R32I = 29,
    FORMAT_RG32I = 30,
    FORMAT_RGB32I = 31,
    FORMAT_RGBA32I = 32,
    FORMAT_R16UI = 33,
    FORMAT_RG16UI = 34,
    FORMAT_RGB16UI = 35,
    FORMAT_RGBA16UI = 36,
    FORMAT_R32UI = 37,
    FORMAT_RG32UI = 38,
    FORMAT_RGB32UI = 39,
    FORMAT_RGBA32UI = 40,
    FORMAT_RGBE8 = 41,    ///< three 8-bit mantissas, one 8-bit exponent
    FORMAT_RGB9E5 = 42,   ///< three 9-bit mantissas, one 5-bit exponent
    FORMAT_RG11B10F = 43, ///< small unsigned floats
    FORMAT_RGB565 = 44,
    FORMAT_RGBA4 = 45,
    FORMAT_RGB10A2 = 46,
    FORMAT_BGR10A2 = 47,
    FORMAT_A1RGB5 = 48,
    FORMAT_D16 = 49,
    FORMAT_D24 = 50,
    FORMAT_D24S8 = 51,
    FORMAT_D32F = 52,
    FORMAT_DXT1 = 53,
    FORMAT_DXT3 = 54,
    FORMAT_DXT5 = 55,
    FORMAT_ATI1N = 56, ///< BC4
    FORMAT_ATI2N = 57, ///< BC5
    FORMAT_BC6H = 58,
    FORMAT_BC7 = 59,
    FORMAT_BGR8 = 60,
    FORMAT_BGRA8 = 61,
    FORMAT_D32FS8 = 62, ///< behind FORMAT_BGRA8, not among the depth formats
    FORMAT_MAX = 63     ///< the count, and the format of an image that has none yet
};

/// The interned enumerator name ("FORMAT_R8"), one of the GWFS strings; null strings before GWFS::Init.
/// FORMAT_MAX and every larger value give GWFS::strFORMAT_MAX.
GW_API const qs::FixedString& FormatToFixedString(EFormat format);

namespace image {

struct FormatDescription
{
    const char* name;       ///< display name: "None" for FORMAT_NONE, "<unknown>" for a value outside the catalogue
    int64_t channelCount;   ///< 0 for FORMAT_NONE and unknown values
    uint64_t elementBytes;  ///< of one pixel, or of one 4x4 block
    bool isBlockCompressed; ///< FORMAT_DXT1 to FORMAT_BC7
};

/// Meant once per image or stream, not per pixel. An unknown value gives an all-zero description.
GW_API FormatDescription GetFormatDescription(EFormat format);

} // namespace image
} // namespace gw
