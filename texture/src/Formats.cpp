// What each format's texels are: their size, and which hold sRGB values or alpha.
#include "Formats.h"

#include "Results.h"

#include <algorithm>
#include <bit>

namespace DirectX {

std::size_t BitsPerPixel(DXGI_FORMAT format)
{
    // The enumeration lists formats by size, so ranges tell most of them.
    const auto between = [format](DXGI_FORMAT first, DXGI_FORMAT last) { return format >= first && format <= last; };
    if (between(DXGI_FORMAT_R32G32B32A32_TYPELESS, DXGI_FORMAT_R32G32B32A32_SINT))
        return 128;
    if (between(DXGI_FORMAT_R32G32B32_TYPELESS, DXGI_FORMAT_R32G32B32_SINT))
        return 96;
    if (between(DXGI_FORMAT_R16G16B16A16_TYPELESS, DXGI_FORMAT_X32_TYPELESS_G8X24_UINT))
        return 64;
    if (between(DXGI_FORMAT_R10G10B10A2_TYPELESS, DXGI_FORMAT_X24_TYPELESS_G8_UINT) ||
        format == DXGI_FORMAT_R9G9B9E5_SHAREDEXP ||
        between(DXGI_FORMAT_B8G8R8A8_UNORM, DXGI_FORMAT_B8G8R8X8_UNORM_SRGB))
        return 32;
    if (between(DXGI_FORMAT_R8G8_TYPELESS, DXGI_FORMAT_R16_SINT) ||
        between(DXGI_FORMAT_B5G6R5_UNORM, DXGI_FORMAT_B5G5R5A1_UNORM) || format == DXGI_FORMAT_B4G4R4A4_UNORM)
        return 16;
    if (between(DXGI_FORMAT_R8_TYPELESS, DXGI_FORMAT_A8_UNORM))
        return 8;
    return BlockBytes(format) * 8 / 16;
}

std::size_t BlockBytes(DXGI_FORMAT format)
{
    const auto between = [format](DXGI_FORMAT first, DXGI_FORMAT last) { return format >= first && format <= last; };
    if (between(DXGI_FORMAT_BC1_TYPELESS, DXGI_FORMAT_BC1_UNORM_SRGB) ||
        between(DXGI_FORMAT_BC4_TYPELESS, DXGI_FORMAT_BC4_SNORM))
        return 8;
    if (between(DXGI_FORMAT_BC2_TYPELESS, DXGI_FORMAT_BC3_UNORM_SRGB) ||
        between(DXGI_FORMAT_BC5_TYPELESS, DXGI_FORMAT_BC5_SNORM) ||
        between(DXGI_FORMAT_BC6H_TYPELESS, DXGI_FORMAT_BC7_UNORM_SRGB))
        return 16;
    return 0;
}

bool IsCompressed(DXGI_FORMAT format)
{
    return BlockBytes(format) != 0;
}

bool IsSRGB(DXGI_FORMAT format)
{
    switch (format) {
    case DXGI_FORMAT_R8G8B8A8_UNORM_SRGB:
    case DXGI_FORMAT_B8G8R8A8_UNORM_SRGB:
    case DXGI_FORMAT_B8G8R8X8_UNORM_SRGB:
    case DXGI_FORMAT_BC1_UNORM_SRGB:
    case DXGI_FORMAT_BC2_UNORM_SRGB:
    case DXGI_FORMAT_BC3_UNORM_SRGB:
    case DXGI_FORMAT_BC7_UNORM_SRGB:
        return true;
    default:
        return false;
    }
}

bool IsTypeless(DXGI_FORMAT format)
{
    switch (format) {
    case DXGI_FORMAT_R32G32B32A32_TYPELESS:
    case DXGI_FORMAT_R32G32B32_TYPELESS:
    case DXGI_FORMAT_R16G16B16A16_TYPELESS:
    case DXGI_FORMAT_R32G32_TYPELESS:
    case DXGI_FORMAT_R32G8X24_TYPELESS:
    case DXGI_FORMAT_R32_FLOAT_X8X24_TYPELESS:
    case DXGI_FORMAT_X32_TYPELESS_G8X24_UINT:
    case DXGI_FORMAT_R10G10B10A2_TYPELESS:
    case DXGI_FORMAT_R8G8B8A8_TYPELESS:
    case DXGI_FORMAT_R16G16_TYPELESS:
    case DXGI_FORMAT_R32_TYPELESS:
    case DXGI_FORMAT_R24G8_TYPELESS:
    case DXGI_FORMAT_R24_UNORM_X8_TYPELESS:
    case DXGI_FORMAT_X24_TYPELESS_G8_UINT:
    case DXGI_FORMAT_R8G8_TYPELESS:
    case DXGI_FORMAT_R16_TYPELESS:
    case DXGI_FORMAT_R8_TYPELESS:
    case DXGI_FORMAT_BC1_TYPELESS:
    case DXGI_FORMAT_BC2_TYPELESS:
    case DXGI_FORMAT_BC3_TYPELESS:
    case DXGI_FORMAT_BC4_TYPELESS:
    case DXGI_FORMAT_BC5_TYPELESS:
    case DXGI_FORMAT_BC6H_TYPELESS:
    case DXGI_FORMAT_BC7_TYPELESS:
    case DXGI_FORMAT_B8G8R8A8_TYPELESS:
    case DXGI_FORMAT_B8G8R8X8_TYPELESS:
        return true;
    default:
        return false;
    }
}

bool HasAlpha(DXGI_FORMAT format)
{
    switch (format) {
    case DXGI_FORMAT_R32G32B32A32_FLOAT:
    case DXGI_FORMAT_R16G16B16A16_FLOAT:
    case DXGI_FORMAT_R16G16B16A16_UNORM:
    case DXGI_FORMAT_R16G16B16A16_SNORM:
    case DXGI_FORMAT_R10G10B10A2_UNORM:
    case DXGI_FORMAT_R8G8B8A8_UNORM:
    case DXGI_FORMAT_R8G8B8A8_UNORM_SRGB:
    case DXGI_FORMAT_R8G8B8A8_SNORM:
    case DXGI_FORMAT_B8G8R8A8_UNORM:
    case DXGI_FORMAT_B8G8R8A8_UNORM_SRGB:
    case DXGI_FORMAT_B5G5R5A1_UNORM:
    case DXGI_FORMAT_B4G4R4A4_UNORM:
    case DXGI_FORMAT_A8_UNORM:
        return true;
    default:
        return false;
    }
}

HRESULT ComputePitch(DXGI_FORMAT format, std::size_t width, std::size_t height, std::size_t& rowPitch,
                     std::size_t& slicePitch)
{
    const std::size_t bits = BitsPerPixel(format);
    if (bits == 0)
        return ResultNotSupported;
    if (width > MAX_TEXTURE_SIZE || height > MAX_TEXTURE_SIZE)
        return E_INVALIDARG;
    const bool hasBlocks = IsCompressed(format);
    rowPitch = hasBlocks ? (width + 3) / 4 * BlockBytes(format) : width * bits / 8;
    slicePitch = rowPitch * (hasBlocks ? (height + 3) / 4 : height);
    return S_OK;
}

std::size_t CountMips(std::size_t width, std::size_t height, std::size_t depth)
{
    return static_cast<std::size_t>(std::bit_width(std::max({width, height, depth})));
}

HRESULT CheckMetadata(const TexMetadata& metadata)
{
    const bool isVolume = metadata.IsVolumemap();
    const std::size_t limit = isVolume ? MAX_VOLUME_SIZE : MAX_TEXTURE_SIZE;
    if (BitsPerPixel(metadata.format) == 0)
        return ResultNotSupported;
    if (metadata.width < 1 || metadata.height < 1 || metadata.depth < 1 || metadata.arraySize < 1)
        return E_INVALIDARG;
    if (metadata.width > limit || metadata.height > limit || metadata.arraySize > MAX_ARRAY_SIZE)
        return ResultNotSupported;
    if (isVolume ? metadata.depth > limit || metadata.arraySize != 1 : metadata.depth != 1)
        return ResultNotSupported;
    if (metadata.dimension == TEX_DIMENSION_TEXTURE1D && metadata.height != 1)
        return E_INVALIDARG;
    if (metadata.IsCubemap() && (metadata.arraySize % 6 != 0 || metadata.dimension != TEX_DIMENSION_TEXTURE2D))
        return E_INVALIDARG;
    return metadata.mipLevels <= CountMips(metadata.width, metadata.height, metadata.depth) ? S_OK : E_INVALIDARG;
}

HRESULT CheckImages(const Image* images, std::size_t count, const TexMetadata& metadata)
{
    if (!images || count == 0 || metadata.mipLevels == 0)
        return E_INVALIDARG;
    if (const HRESULT result = CheckMetadata(metadata); FAILED(result))
        return result;
    const std::size_t last = metadata.ComputeIndex(metadata.mipLevels - 1, metadata.arraySize - 1, 0);
    if (last >= count)
        return E_INVALIDARG;
    for (std::size_t i = 0; i < count; ++i)
        if (!images[i].pixels || images[i].format != metadata.format)
            return E_INVALIDARG;
    return S_OK;
}

} // namespace DirectX
