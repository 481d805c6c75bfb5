// BC1 held against a decoder written from the format's description, and against a known encoder.
#include "TestImages.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <stb/stb_dxt.h>

using namespace DirectX;

namespace {

using Rgba = std::array<int, 4>;

Rgba DecodeTexel(const std::uint8_t* block, int texel)
{
    std::uint16_t ends[2];
    std::uint32_t indices;
    std::memcpy(ends, block, 4);
    std::memcpy(&indices, block + 4, 4);
    const auto expand = [](int value, int bits) { return value << (8 - bits) | value >> (2 * bits - 8); };
    int color[2][3];
    for (int end = 0; end < 2; ++end) {
        color[end][0] = expand(ends[end] >> 11, 5);
        color[end][1] = expand(ends[end] >> 5 & 63, 6);
        color[end][2] = expand(ends[end] & 31, 5);
    }
    const int index = indices >> (2 * texel) & 3;
    const bool hasFour = ends[0] > ends[1];
    if (!hasFour && index == 3)
        return {0, 0, 0, 0};
    const int weight = index == 0 ? 0 : index == 1 ? 6 : hasFour ? (index == 2 ? 2 : 4) : 3; // sixths of the second
    Rgba result{0, 0, 0, 255};
    for (int channel = 0; channel < 3; ++channel)
        result[channel] = (color[0][channel] * (6 - weight) + color[1][channel] * weight) / 6;
    return result;
}

Rgba DecodeAt(const Image& image, std::size_t x, std::size_t y)
{
    return DecodeTexel(image.pixels + y / 4 * image.rowPitch + x / 4 * 8, static_cast<int>(y % 4 * 4 + x % 4));
}

double SquaredError(const Image& source, const Image& compressed)
{
    double sum = 0;
    for (std::size_t y = 0; y < source.height; ++y) {
        for (std::size_t x = 0; x < source.width; ++x) {
            const Rgba decoded = DecodeAt(compressed, x, y);
            for (int channel = 0; channel < 3; ++channel) {
                const double d = decoded[channel] - source.pixels[y * source.rowPitch + 4 * x + channel];
                sum += d * d;
            }
        }
    }
    return sum / static_cast<double>(source.width * source.height * 3);
}

ScratchImage CompressAll(const ScratchImage& source, TEX_COMPRESS_FLAGS flags = TEX_COMPRESS_DEFAULT)
{
    ScratchImage result;
    EXPECT_EQ(Compress(source.GetImages(), source.GetImageCount(), source.GetMetadata(), DXGI_FORMAT_BC1_UNORM, flags,
                       TEX_THRESHOLD_DEFAULT, result),
              S_OK);
    return result;
}

TEST(BlockCompression, NotWorseThanTheKnownEncoder)
{
    const ScratchImage scene = test::MakeScene(DXGI_FORMAT_R8G8B8A8_UNORM, 128, 96);
    const ScratchImage ours = CompressAll(scene);
    ScratchImage theirs;
    ASSERT_EQ(theirs.Initialize(ours.GetMetadata()), S_OK);
    for (std::size_t y = 0; y < 96; y += 4) {
        for (std::size_t x = 0; x < 128; x += 4) {
            std::uint8_t texels[64];
            for (int row = 0; row < 4; ++row)
                std::memcpy(texels + row * 16, scene.GetPixels() + ((y + row) * 128 + x) * 4, 16);
            stb_compress_dxt_block(theirs.GetPixels() + (y / 4 * 32 + x / 4) * 8, texels, 0, STB_DXT_HIGHQUAL);
        }
    }
    const double ourError = SquaredError(*scene.GetImage(0, 0, 0), *ours.GetImage(0, 0, 0));
    EXPECT_LE(ourError, SquaredError(*scene.GetImage(0, 0, 0), *theirs.GetImage(0, 0, 0)));
    EXPECT_GT(10.0 * std::log10(255.0 * 255.0 / ourError), 34.0);
}

TEST(BlockCompression, EdgesOfAnySizeAreCovered)
{
    for (const auto& size : {std::pair<std::size_t, std::size_t>{5, 7}, {1, 1}, {4, 3}, {130, 2}}) {
        const ScratchImage scene = test::MakeScene(DXGI_FORMAT_B8G8R8A8_UNORM, size.first, size.second);
        const ScratchImage compressed = CompressAll(scene);
        const Image& image = *compressed.GetImage(0, 0, 0);
        EXPECT_EQ(image.slicePitch, (size.first + 3) / 4 * ((size.second + 3) / 4) * 8);
        const std::uint8_t* last = scene.GetPixels() + scene.GetPixelsSize() - 4;
        const Rgba decoded = DecodeAt(image, size.first - 1, size.second - 1);
        for (int channel = 0; channel < 3; ++channel) // blue stands first in the source
            EXPECT_NEAR(decoded[channel], last[2 - channel], 24) << size.first << "x" << size.second;
    }
}

TEST(BlockCompression, AlphaBelowTheThresholdBecomesAHole)
{
    ScratchImage scene = test::MakeScene(DXGI_FORMAT_R8G8B8A8_UNORM, 16, 16);
    for (std::size_t i = 0; i < 256; ++i)
        scene.GetPixels()[4 * i + 3] = static_cast<std::uint8_t>(i % 3 == 0 ? 127 : 128);
    const ScratchImage compressed = CompressAll(scene);
    for (std::size_t i = 0; i < 256; ++i) {
        const Rgba decoded = DecodeAt(*compressed.GetImage(0, 0, 0), i % 16, i / 16);
        ASSERT_EQ(decoded[3], i % 3 == 0 ? 0 : 255) << i;
        for (int channel = 0; channel < 3 && decoded[3] == 255; ++channel)
            EXPECT_NEAR(decoded[channel], scene.GetPixels()[4 * i + channel], 40) << i;
    }
}

TEST(BlockCompression, SrgbInputBecomesLinearInAPlainTarget)
{
    ScratchImage grey = test::MakeNoise(test::Describe2D(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4));
    std::memset(grey.GetPixels(), 188, 64);
    EXPECT_NEAR(DecodeAt(*CompressAll(grey).GetImage(0, 0, 0), 0, 0)[1], 188, 3);
    EXPECT_NEAR(DecodeAt(*CompressAll(grey, TEX_COMPRESS_SRGB_IN).GetImage(0, 0, 0), 0, 0)[1], 128, 3);
}

TEST(BlockCompression, MipsAndCubesKeepTheirPlaces)
{
    const ScratchImage cube = test::MakeNoise(test::DescribeCube(DXGI_FORMAT_R8G8B8A8_UNORM, 16, 5));
    const ScratchImage compressed = CompressAll(cube);
    EXPECT_EQ(compressed.GetImageCount(), 30u);
    EXPECT_EQ(compressed.GetImage(4, 5, 0)->slicePitch, 8u);
    ScratchImage refused;
    EXPECT_EQ(
        Compress(cube.GetImages(), 29, cube.GetMetadata(), DXGI_FORMAT_BC1_UNORM, TEX_COMPRESS_DEFAULT, 0.5f, refused),
        E_INVALIDARG);
    EXPECT_NE(
        Compress(cube.GetImages(), 30, cube.GetMetadata(), DXGI_FORMAT_BC7_UNORM, TEX_COMPRESS_DEFAULT, 0.5f, refused),
        S_OK);
}

} // namespace
