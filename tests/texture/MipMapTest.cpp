// Mip chains: light is averaged, not its encoding; alpha stands for itself; odd sizes and depth lose nothing.
#include "TestImages.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace DirectX;

namespace {

ScratchImage MakeChain(const ScratchImage& top, std::size_t levels = 0)
{
    ScratchImage chain;
    const HRESULT result =
        GenerateMipMaps(top.GetImages(), top.GetImageCount(), top.GetMetadata(), TEX_FILTER_DEFAULT, levels, chain);
    EXPECT_EQ(result, S_OK);
    return chain;
}

TEST(MipMaps, BlackAndWhiteMeetAtTheRightBrightness)
{
    struct Case
    {
        DXGI_FORMAT format;
        int middle; ///< byte of half the light
    };
    for (const Case& c : {Case{DXGI_FORMAT_R8G8B8A8_UNORM, 128}, Case{DXGI_FORMAT_R8G8B8A8_UNORM_SRGB, 188},
                          Case{DXGI_FORMAT_B8G8R8A8_UNORM_SRGB, 188}}) {
        ScratchImage top = test::MakeNoise(test::Describe2D(c.format, 2, 2));
        const std::uint8_t texels[16] = {0, 0, 0, 255, 255, 255, 255, 0, 255, 255, 255, 0, 0, 0, 0, 255};
        std::memcpy(top.GetPixels(), texels, sizeof texels);
        const ScratchImage chain = MakeChain(top);
        ASSERT_EQ(chain.GetMetadata().mipLevels, 2u);
        const std::uint8_t* texel = chain.GetImage(1, 0, 0)->pixels;
        for (int channel = 0; channel < 3; ++channel)
            EXPECT_NEAR(texel[channel], c.middle, 1) << c.format;
        // Alpha has no curve, and did not weight the colours: white was transparent.
        EXPECT_NEAR(texel[3], 128, 1) << c.format;
    }
}

TEST(MipMaps, EverySizeKeepsItsMean)
{
    for (const auto& size : {std::pair<std::size_t, std::size_t>{64, 64}, {37, 21}, {5, 1}, {1, 9}, {3, 200}}) {
        ScratchImage top = test::MakeNoise(test::Describe2D(DXGI_FORMAT_R32_FLOAT, size.first, size.second));
        auto* values = reinterpret_cast<float*>(top.GetPixels());
        double mean = 0;
        for (std::size_t i = 0; i < size.first * size.second; ++i) {
            values[i] = static_cast<float>(i % 7);
            mean += values[i] / static_cast<double>(size.first * size.second);
        }
        const ScratchImage chain = MakeChain(top);
        const std::size_t last = chain.GetMetadata().mipLevels - 1;
        const Image& smallest = *chain.GetImage(last, 0, 0);
        EXPECT_EQ(smallest.width * smallest.height, 1u);
        EXPECT_NEAR(*reinterpret_cast<float*>(smallest.pixels), mean, 0.25) << size.first << "x" << size.second;
    }
}

TEST(MipMaps, CubesArraysAndVolumesHaveAllTheirParts)
{
    const ScratchImage cube = MakeChain(test::MakeNoise(test::DescribeCube(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 1)));
    EXPECT_EQ(cube.GetImageCount(), 6u * 4u);
    EXPECT_TRUE(cube.GetMetadata().IsCubemap());

    ScratchImage volume = test::MakeNoise(test::Describe3D(DXGI_FORMAT_R32_FLOAT, 2, 2, 3, 1));
    auto* values = reinterpret_cast<float*>(volume.GetPixels());
    for (int slice = 0; slice < 3; ++slice)
        std::fill_n(values + slice * 4, 4, static_cast<float>(slice));
    const ScratchImage chain = MakeChain(volume);
    ASSERT_EQ(chain.GetImageCount(), 3u + 1u);
    EXPECT_FLOAT_EQ(*reinterpret_cast<float*>(chain.GetImage(1, 0, 0)->pixels), 1.0f);
}

TEST(MipMaps, RefusesWhatItCannotFilter)
{
    ScratchImage chain;
    for (const DXGI_FORMAT format : {DXGI_FORMAT_BC1_UNORM, DXGI_FORMAT_R8G8B8A8_UINT, DXGI_FORMAT_R8G8B8A8_TYPELESS}) {
        const ScratchImage top = test::MakeNoise(test::Describe2D(format, 8, 8));
        EXPECT_EQ(GenerateMipMaps(top.GetImages(), 1, top.GetMetadata(), TEX_FILTER_DEFAULT, 0, chain),
                  static_cast<HRESULT>(0x80070032));
    }
    const ScratchImage top = test::MakeNoise(test::Describe2D(DXGI_FORMAT_R8_UNORM, 8, 8));
    EXPECT_EQ(GenerateMipMaps(nullptr, 1, top.GetMetadata(), TEX_FILTER_DEFAULT, 0, chain), E_INVALIDARG);
    EXPECT_EQ(GenerateMipMaps(top.GetImages(), 1, top.GetMetadata(), TEX_FILTER_DEFAULT, 5, chain), E_INVALIDARG);
}

/// Packed formats through a chain of one level come out as they went in, so reading and writing them agree.
TEST(MipMaps, PackedFormatsSurviveTheWayThroughFloats)
{
    for (const DXGI_FORMAT format :
         {DXGI_FORMAT_R10G10B10A2_UNORM, DXGI_FORMAT_B5G6R5_UNORM, DXGI_FORMAT_B5G5R5A1_UNORM,
          DXGI_FORMAT_B4G4R4A4_UNORM, DXGI_FORMAT_R11G11B10_FLOAT, DXGI_FORMAT_R16G16B16A16_FLOAT,
          DXGI_FORMAT_R16G16_UNORM, DXGI_FORMAT_R8G8B8A8_SNORM}) {
        // Equal texels: any mean of them is the same texel.
        ScratchImage top = test::MakeNoise(test::Describe2D(format, 4, 4));
        const std::uint8_t texel[8] = {0x85, 0x36, 0x5a, 0x27, 0x11, 0x38, 0x00, 0x3c};
        const std::size_t bytes = BitsPerPixel(format) / 8;
        for (std::size_t i = 0; i < 16; ++i)
            std::memcpy(top.GetPixels() + i * bytes, texel, bytes);
        const ScratchImage chain = MakeChain(top);
        EXPECT_EQ(std::memcmp(chain.GetImage(2, 0, 0)->pixels, texel, bytes), 0) << format;
    }
}

} // namespace
