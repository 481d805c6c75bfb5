// The DDS file header in both its forms, and how legacy pixel formats translate.
#pragma once

#include <DirectXTex.h>

namespace DirectX {

constexpr std::uint32_t DdsMagic = 0x20534444; // "DDS "

struct DdsPixelFormat
{
    std::uint32_t size, flags, fourCC, bitCount, redMask, greenMask, blueMask, alphaMask;
};

struct DdsHeader
{
    std::uint32_t size, flags, height, width, pitchOrLinearSize, depth, mipCount, reserved1[11];
    DdsPixelFormat format;
    std::uint32_t caps, caps2, caps3, caps4, reserved2;
};

/// Follows the header when its four-character code is "DX10".
struct DdsExtendedHeader
{
    std::uint32_t format, dimension, miscFlags, arraySize, miscFlags2;
};

static_assert(sizeof(DdsPixelFormat) == 32 && sizeof(DdsHeader) == 124 && sizeof(DdsExtendedHeader) == 20);

enum : std::uint32_t
{
    DdsHasCaps = 0x1,
    DdsHasHeight = 0x2,
    DdsHasWidth = 0x4,
    DdsHasPitch = 0x8,
    DdsHasFormat = 0x1000,
    DdsHasMips = 0x20000,
    DdsHasLinearSize = 0x80000,
    DdsHasDepth = 0x800000,

    DdsFormatAlphaPixels = 0x1,
    DdsFormatAlpha = 0x2,
    DdsFormatFourCC = 0x4,
    DdsFormatRgb = 0x40,
    DdsFormatLuminance = 0x20000,
    DdsFormatBumpDuDv = 0x80000,

    DdsCapsComplex = 0x8,
    DdsCapsTexture = 0x1000,
    DdsCapsMips = 0x400000,
    DdsCaps2Cube = 0x200,
    DdsCaps2AllFaces = 0xfc00,
    DdsCaps2Volume = 0x200000,
};

constexpr std::uint32_t FourCC(char a, char b, char c, char d)
{
    return static_cast<std::uint32_t>(static_cast<unsigned char>(a)) |
           static_cast<std::uint32_t>(static_cast<unsigned char>(b)) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(c)) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(d)) << 24;
}

/// How texels of a legacy file become texels of its DXGI format.
enum class EDdsExpansion
{
    None,
    Rgb24ToRgba, ///< three bytes, in the order that the masks tell
    Masks        ///< any 16-bit or 32-bit masks, widened to RGBA8
};

struct DdsLayout
{
    DXGI_FORMAT format = DXGI_FORMAT_UNKNOWN;
    EDdsExpansion expansion = EDdsExpansion::None;
    std::uint32_t sourceBits = 0; ///< per texel in the file; 0 when it is the format's own
    DdsPixelFormat masks = {};
};

/// The layout of a legacy pixel format; format UNKNOWN when there is none.
DdsLayout FindLegacyLayout(const DdsPixelFormat& format);

/// The legacy pixel format that says the same as a DXGI format; size 0 when there is none.
DdsPixelFormat FindLegacyFormat(DXGI_FORMAT format);

} // namespace DirectX
