// Relations between formats that more than one source asks for; the public queries stand in DirectXTex.h.
#pragma once

#include <DirectXTex.h>

namespace DirectX {

/// Bytes of a 4 by 4 block, 0 for formats without blocks.
std::size_t BlockBytes(DXGI_FORMAT format);

/// Half the size of a mip level, at least one texel.
constexpr std::size_t NextMip(std::size_t size)
{
    return size > 1 ? size / 2 : 1;
}

/// Levels of a full chain.
std::size_t CountMips(std::size_t width, std::size_t height, std::size_t depth);

/// S_OK when a texture of this description may exist, else the HRESULT that says why not.
HRESULT CheckMetadata(const TexMetadata& metadata);

/// Whether `images` are the top images, or all images, that the description tells of.
HRESULT CheckImages(const Image* images, std::size_t count, const TexMetadata& metadata);

} // namespace DirectX
