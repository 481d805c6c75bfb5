// Textures that the tests make: descriptions in one line, and contents that tell every texel from its neighbours.
#pragma once

#include <DirectXTex.h>

#include <cstring>
#include <random>
#include <vector>

namespace test {

inline DirectX::TexMetadata Describe2D(DXGI_FORMAT format, std::size_t width, std::size_t height, std::size_t items = 1,
                                       std::size_t mips = 1)
{
    return {width, height, 1, items, mips, 0, 0, format, DirectX::TEX_DIMENSION_TEXTURE2D};
}

inline DirectX::TexMetadata DescribeCube(DXGI_FORMAT format, std::size_t size, std::size_t mips)
{
    DirectX::TexMetadata metadata = Describe2D(format, size, size, 6, mips);
    metadata.miscFlags = DirectX::TEX_MISC_TEXTURECUBE;
    return metadata;
}

inline DirectX::TexMetadata Describe3D(DXGI_FORMAT format, std::size_t width, std::size_t height, std::size_t depth,
                                       std::size_t mips)
{
    return {width, height, depth, 1, mips, 0, 0, format, DirectX::TEX_DIMENSION_TEXTURE3D};
}

inline DirectX::ScratchImage MakeNoise(const DirectX::TexMetadata& metadata, unsigned seed = 1)
{
    DirectX::ScratchImage image;
    if (FAILED(image.Initialize(metadata)))
        return image;
    std::mt19937 random(seed);
    for (std::size_t i = 0; i < image.GetPixelsSize(); ++i)
        image.GetPixels()[i] = static_cast<std::uint8_t>(random());
    return image;
}

/// A picture with gradients, edges and a little noise: what compressors are made for.
inline DirectX::ScratchImage MakeScene(DXGI_FORMAT format, std::size_t width, std::size_t height)
{
    DirectX::ScratchImage image = MakeNoise(Describe2D(format, width, height));
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            std::uint8_t* texel = image.GetPixels() + (y * width + x) * 4;
            const int noise = texel[0] % 8;
            const bool inDisc = (x - 60.0) * (x - 60.0) + (y - 50.0) * (y - 50.0) < 900.0;
            texel[0] = static_cast<std::uint8_t>(inDisc ? 220 + noise : x * 200 / width + noise);
            texel[1] = static_cast<std::uint8_t>(inDisc ? 90 + noise : y * 200 / height + noise);
            texel[2] = static_cast<std::uint8_t>((x + y) * 120 / (width + height) + noise);
            texel[3] = 255;
        }
    }
    return image;
}

} // namespace test
