// Written pictures, read back by an independent reader; and files that cannot be written.
#include "TestImages.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <stb/stb_image.h>
#include <wincodec.h>

using namespace DirectX;

namespace {

enum class EContainer
{
    Png,
    Jpeg,
    Bmp,
    Tga
};

HRESULT Encode(EContainer container, const Image& image, Blob& blob)
{
    switch (container) {
    case EContainer::Png:
        return SaveToWICMemory(image, WIC_FLAGS_NONE, GUID_ContainerFormatPng, blob);
    case EContainer::Jpeg:
        return SaveToWICMemory(image, WIC_FLAGS_NONE, GUID_ContainerFormatJpeg, blob);
    case EContainer::Bmp:
        return SaveToWICMemory(image, WIC_FLAGS_NONE, GUID_ContainerFormatBmp, blob);
    default:
        return SaveToTGAMemory(image, blob);
    }
}

struct Picture
{
    int width = 0, height = 0, channels = 0;
    std::vector<std::uint8_t> rgba;
};

Picture Decode(const Blob& blob)
{
    Picture picture;
    stbi_uc* texels = stbi_load_from_memory(static_cast<const stbi_uc*>(blob.GetBufferPointer()),
                                            static_cast<int>(blob.GetBufferSize()), &picture.width, &picture.height,
                                            &picture.channels, 4);
    EXPECT_NE(texels, nullptr) << stbi_failure_reason();
    if (texels)
        picture.rgba.assign(texels, texels + picture.width * picture.height * 4);
    stbi_image_free(texels);
    return picture;
}

TEST(PictureWriter, LosslessContainersKeepEveryTexel)
{
    for (const EContainer container : {EContainer::Png, EContainer::Bmp, EContainer::Tga}) {
        for (const DXGI_FORMAT format : {DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_B8G8R8A8_UNORM_SRGB,
                                         DXGI_FORMAT_B8G8R8X8_UNORM, DXGI_FORMAT_R8_UNORM}) {
            const ScratchImage image = test::MakeNoise(test::Describe2D(format, 13, 7));
            Blob blob;
            ASSERT_EQ(Encode(container, *image.GetImage(0, 0, 0), blob), S_OK);
            const Picture picture = Decode(blob);
            ASSERT_EQ(picture.rgba.size(), 13u * 7u * 4u);
            const bool isBgr = format != DXGI_FORMAT_R8G8B8A8_UNORM;
            for (std::size_t i = 0; i < 13 * 7; ++i) {
                const std::uint8_t* texel = image.GetPixels() + i * (format == DXGI_FORMAT_R8_UNORM ? 1 : 4);
                for (int channel = 0; channel < 4; ++channel) {
                    int expected = channel == 3 ? 255 : texel[0];
                    if (format != DXGI_FORMAT_R8_UNORM && (channel < 3 || HasAlpha(format)))
                        expected = texel[isBgr && channel < 3 ? 2 - channel : channel];
                    ASSERT_EQ(picture.rgba[4 * i + channel], expected)
                        << int(container) << " " << format << " texel " << i << " channel " << channel;
                }
            }
        }
    }
}

TEST(PictureWriter, PngKeepsSixteenBitsAndFloatsAreEncodedAsSrgb)
{
    ScratchImage deep = test::MakeNoise(test::Describe2D(DXGI_FORMAT_R16G16B16A16_UNORM, 5, 3));
    Blob blob;
    ASSERT_EQ(Encode(EContainer::Png, *deep.GetImage(0, 0, 0), blob), S_OK);
    int width, height, channels;
    stbi_us* samples = stbi_load_16_from_memory(static_cast<const stbi_uc*>(blob.GetBufferPointer()),
                                                static_cast<int>(blob.GetBufferSize()), &width, &height, &channels, 4);
    ASSERT_NE(samples, nullptr);
    EXPECT_EQ(std::memcmp(samples, deep.GetPixels(), deep.GetPixelsSize()), 0);
    stbi_image_free(samples);

    ScratchImage light = test::MakeNoise(test::Describe2D(DXGI_FORMAT_R32G32B32A32_FLOAT, 1, 1));
    const float texel[4] = {0.5f, 7.0f, NAN, 0.5f};
    std::memcpy(light.GetPixels(), texel, sizeof texel);
    ASSERT_EQ(Encode(EContainer::Png, *light.GetImage(0, 0, 0), blob), S_OK);
    EXPECT_EQ(Decode(blob).rgba, (std::vector<std::uint8_t>{188, 255, 0, 128}));
}

TEST(PictureWriter, JpegIsCloseAndOpaque)
{
    const ScratchImage scene = test::MakeScene(DXGI_FORMAT_R8G8B8A8_UNORM, 128, 96);
    Blob blob;
    ASSERT_EQ(Encode(EContainer::Jpeg, *scene.GetImage(0, 0, 0), blob), S_OK);
    const Picture picture = Decode(blob);
    ASSERT_EQ(picture.channels, 3);
    double sum = 0;
    for (std::size_t i = 0; i < picture.rgba.size(); ++i)
        sum += std::pow(picture.rgba[i] - scene.GetPixels()[i], 2);
    EXPECT_LT(std::sqrt(sum / static_cast<double>(picture.rgba.size())), 4.0);
}

TEST(PictureWriter, RefusalsSayWhyAndLeaveNoFile)
{
    const ScratchImage image = test::MakeNoise(test::Describe2D(DXGI_FORMAT_R8G8B8A8_UNORM, 64, 64));
    const Image& top = *image.GetImage(0, 0, 0);
    const auto toFile = [&](const wchar_t* file) {
        return SaveToWICFile(top, WIC_FLAGS_NONE, GUID_ContainerFormatPng, file);
    };
    EXPECT_EQ(toFile(nullptr), E_INVALIDARG);
    EXPECT_EQ(toFile(L"/dev/full"), static_cast<HRESULT>(0x80070070));
    EXPECT_EQ(toFile(L"no/such/folder/picture.png"), static_cast<HRESULT>(0x80070003));
    EXPECT_EQ(SaveToTGAFile(top, L"/dev/full"), static_cast<HRESULT>(0x80070070));
    EXPECT_EQ(SaveToDDSFile(&top, 1, image.GetMetadata(), DDS_FLAGS_NONE, L"/dev/full"),
              static_cast<HRESULT>(0x80070070));

    const GUID unknown = {1, 2, 3, {}};
    Blob blob;
    EXPECT_EQ(SaveToWICMemory(top, WIC_FLAGS_NONE, unknown, blob), static_cast<HRESULT>(0x80070032));
    const ScratchImage blocks = test::MakeNoise(test::Describe2D(DXGI_FORMAT_BC1_UNORM, 8, 8));
    EXPECT_EQ(Encode(EContainer::Tga, *blocks.GetImage(0, 0, 0), blob), static_cast<HRESULT>(0x80070032));

    const auto path = std::filesystem::temp_directory_path() / "gleam writer \u00fc.png";
    const std::string folder = path.parent_path().string();
    EXPECT_EQ(toFile((std::wstring(folder.begin(), folder.end()) + L"/gleam writer \u00fc.png").c_str()), S_OK);
    EXPECT_TRUE(std::filesystem::exists(path));
    std::filesystem::remove(path);
}

} // namespace
