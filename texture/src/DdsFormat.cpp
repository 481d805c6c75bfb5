// The table of legacy pixel formats.
#include "DdsFormat.h"

namespace DirectX {

namespace {

struct Row
{
    DXGI_FORMAT format;
    DdsPixelFormat legacy;
    bool isWritten; ///< the form that a writer uses, among several that a reader takes
};

constexpr DdsPixelFormat Code(std::uint32_t code)
{
    return {32, DdsFormatFourCC, code, 0, 0, 0, 0, 0};
}

constexpr DdsPixelFormat Masks(std::uint32_t flags, std::uint32_t bits, std::uint32_t r, std::uint32_t g,
                               std::uint32_t b, std::uint32_t a)
{
    return {32, flags, 0, bits, r, g, b, a};
}

constexpr std::uint32_t Rgba = DdsFormatRgb | DdsFormatAlphaPixels;

constexpr Row s_rows[] = {
    {DXGI_FORMAT_BC1_UNORM, Code(FourCC('D', 'X', 'T', '1')), true},
    {DXGI_FORMAT_BC2_UNORM, Code(FourCC('D', 'X', 'T', '3')), true},
    {DXGI_FORMAT_BC2_UNORM, Code(FourCC('D', 'X', 'T', '2')), false},
    {DXGI_FORMAT_BC3_UNORM, Code(FourCC('D', 'X', 'T', '5')), true},
    {DXGI_FORMAT_BC3_UNORM, Code(FourCC('D', 'X', 'T', '4')), false},
    {DXGI_FORMAT_BC4_UNORM, Code(FourCC('A', 'T', 'I', '1')), false},
    {DXGI_FORMAT_BC4_UNORM, Code(FourCC('B', 'C', '4', 'U')), true},
    {DXGI_FORMAT_BC4_SNORM, Code(FourCC('B', 'C', '4', 'S')), true},
    {DXGI_FORMAT_BC5_UNORM, Code(FourCC('A', 'T', 'I', '2')), false},
    {DXGI_FORMAT_BC5_UNORM, Code(FourCC('B', 'C', '5', 'U')), true},
    {DXGI_FORMAT_BC5_SNORM, Code(FourCC('B', 'C', '5', 'S')), true},
    // Numbers of the predecessor's format enumeration stand in the code field too.
    {DXGI_FORMAT_R16G16B16A16_UNORM, Code(36), true},
    {DXGI_FORMAT_R16G16B16A16_SNORM, Code(110), true},
    {DXGI_FORMAT_R16_FLOAT, Code(111), true},
    {DXGI_FORMAT_R16G16_FLOAT, Code(112), true},
    {DXGI_FORMAT_R16G16B16A16_FLOAT, Code(113), true},
    {DXGI_FORMAT_R32_FLOAT, Code(114), true},
    {DXGI_FORMAT_R32G32_FLOAT, Code(115), true},
    {DXGI_FORMAT_R32G32B32A32_FLOAT, Code(116), true},
    {DXGI_FORMAT_R8G8B8A8_UNORM, Masks(Rgba, 32, 0xff, 0xff00, 0xff0000, 0xff000000), true},
    {DXGI_FORMAT_B8G8R8A8_UNORM, Masks(Rgba, 32, 0xff0000, 0xff00, 0xff, 0xff000000), true},
    {DXGI_FORMAT_B8G8R8X8_UNORM, Masks(DdsFormatRgb, 32, 0xff0000, 0xff00, 0xff, 0), true},
    {DXGI_FORMAT_R16G16_UNORM, Masks(DdsFormatRgb, 32, 0xffff, 0xffff0000, 0, 0), true},
    {DXGI_FORMAT_B5G6R5_UNORM, Masks(DdsFormatRgb, 16, 0xf800, 0x7e0, 0x1f, 0), true},
    {DXGI_FORMAT_B5G5R5A1_UNORM, Masks(Rgba, 16, 0x7c00, 0x3e0, 0x1f, 0x8000), true},
    {DXGI_FORMAT_B4G4R4A4_UNORM, Masks(Rgba, 16, 0xf00, 0xf0, 0xf, 0xf000), true},
    {DXGI_FORMAT_R8_UNORM, Masks(DdsFormatLuminance, 8, 0xff, 0, 0, 0), true},
    {DXGI_FORMAT_R16_UNORM, Masks(DdsFormatLuminance, 16, 0xffff, 0, 0, 0), true},
    {DXGI_FORMAT_R8G8_UNORM, Masks(DdsFormatLuminance | DdsFormatAlphaPixels, 16, 0xff, 0, 0, 0xff00), true},
    {DXGI_FORMAT_A8_UNORM, Masks(DdsFormatAlpha, 8, 0, 0, 0, 0xff), true},
    {DXGI_FORMAT_R8G8_SNORM, Masks(DdsFormatBumpDuDv, 16, 0xff, 0xff00, 0, 0), true},
    {DXGI_FORMAT_R8G8B8A8_SNORM, Masks(DdsFormatBumpDuDv, 32, 0xff, 0xff00, 0xff0000, 0xff000000), true},
    {DXGI_FORMAT_R16G16_SNORM, Masks(DdsFormatBumpDuDv, 32, 0xffff, 0xffff0000, 0, 0), true},
};

bool SaysTheSame(const DdsPixelFormat& file, const DdsPixelFormat& row)
{
    if ((row.flags & DdsFormatFourCC) != 0)
        return (file.flags & DdsFormatFourCC) != 0 && file.fourCC == row.fourCC;
    const bool hasAlpha = (file.flags & (DdsFormatAlphaPixels | DdsFormatAlpha | DdsFormatBumpDuDv)) != 0;
    return (file.flags & DdsFormatFourCC) == 0 &&
           ((file.flags ^ row.flags) & ~std::uint32_t(DdsFormatAlphaPixels)) == 0 && file.bitCount == row.bitCount &&
           file.redMask == row.redMask && file.greenMask == row.greenMask && file.blueMask == row.blueMask &&
           (hasAlpha ? file.alphaMask : 0) == row.alphaMask;
}

} // namespace

DdsLayout FindLegacyLayout(const DdsPixelFormat& format)
{
    for (const Row& row : s_rows)
        if (SaysTheSame(format, row.legacy))
            return {row.format, EDdsExpansion::None, 0, format};
    const bool isColor = (format.flags & DdsFormatRgb) != 0 && (format.flags & DdsFormatFourCC) == 0;
    if (isColor && format.bitCount == 24)
        return {DXGI_FORMAT_R8G8B8A8_UNORM, EDdsExpansion::Rgb24ToRgba, 24, format};
    if (isColor && (format.bitCount == 16 || format.bitCount == 32))
        return {DXGI_FORMAT_R8G8B8A8_UNORM, EDdsExpansion::Masks, format.bitCount, format};
    return {};
}

DdsPixelFormat FindLegacyFormat(DXGI_FORMAT format)
{
    for (const Row& row : s_rows)
        if (row.format == format && row.isWritten)
            return row.legacy;
    return {};
}

} // namespace DirectX
