// What the platform knows about each DXGI_FORMAT: layout, family, planes, published uses, and its Vulkan format.
#pragma once

#include <array>
#include <cstdint>

#include "d3d11.h"

namespace gleam {

enum class EFormatKind : std::uint8_t
{
    Unknown,
    Typeless,
    Float,
    Unorm,
    UnormSrgb,
    Snorm,
    Uint,
    Sint,
    Video
};

struct FormatInfo
{
    DXGI_FORMAT format;
    /// The published name without "DXGI_FORMAT_".
    const char* name;
    /// Texels of a block, and its bytes. Planar video formats tell of their first plane.
    std::uint8_t blockWidth;
    std::uint8_t blockHeight;
    std::uint8_t blockBytes;
    EFormatKind kind;
    /// Bits of red, green, blue and alpha (depth and stencil in the first two for depth formats); 0 when absent or
    /// block compressed. Memory order is red first, except with `isBgra`.
    std::array<std::uint8_t, 4> bits;
    bool isBgra;
    /// Planes that a view of this format reaches in a depth stencil texture.
    bool hasDepth;
    bool hasStencil;
    /// The typeless format of the family, or the format itself when it has none.
    DXGI_FORMAT family;
    /// The sRGB or the plain form of the same layout; the format itself when there is no other.
    DXGI_FORMAT srgb;
    DXGI_FORMAT linear;
    /// D3D11_FORMAT_SUPPORT bits of the published tables for feature level 11. A device may lack optional ones.
    UINT support;
    /// VkFormat, 0 when Vulkan has none. Typeless formats name a colour format of the same layout. A8_UNORM is R8
    /// whose views move red to alpha, B8G8R8X8 is B8G8R8A8 whose views read alpha as one.
    std::uint32_t vkFormat;
    /// VkFormat of the depth stencil format of the same family, 0 when it has none.
    std::uint32_t vkDepthFormat;

    bool IsCompressed() const { return blockHeight > 1; }
    bool IsTypeless() const { return kind == EFormatKind::Typeless; }
    bool IsDepthStencil() const { return (support & D3D11_FORMAT_SUPPORT_DEPTH_STENCIL) != 0; }
    bool IsInteger() const { return kind == EFormatKind::Uint || kind == EFormatKind::Sint; }
};

/// The entry of DXGI_FORMAT_UNKNOWN, which supports nothing, for values that are no format.
const FormatInfo& GetFormatInfo(DXGI_FORMAT format);

/// Size of mip `mip` along one axis.
inline UINT MipExtent(UINT extent, UINT mip)
{
    const UINT size = mip < 32 ? extent >> mip : 0;
    return size != 0 ? size : 1;
}

/// Number of mips of a full chain, 0 for an empty size.
UINT FullMipCount(UINT width, UINT height, UINT depth);

/// Bytes of one row of blocks, and rows of blocks; partial blocks count whole.
std::uint64_t RowBytes(const FormatInfo& info, UINT width);
UINT RowCount(const FormatInfo& info, UINT height);

/// Whether a view of `view` may be made on a resource of `resource`: the same format, or a typed format of the
/// resource's typeless family.
bool CanView(DXGI_FORMAT resource, DXGI_FORMAT view);

/// Whether texels may be copied between the two: one family, or a compressed format and an integer format whose texel
/// is as large as the block.
bool CanCopy(DXGI_FORMAT destination, DXGI_FORMAT source);

/// Packs a clear colour into one texel of a colour format, at most 16 bytes. False for formats that a clear cannot
/// write: compressed, typeless, depth and video ones.
bool PackColor(const FormatInfo& info, const float color[4], std::uint8_t texel[16]);

/// The same from raw channel values, of which the lowest bits of each channel are taken.
bool PackBits(const FormatInfo& info, const UINT values[4], std::uint8_t texel[16]);

} // namespace gleam
