// DDS: what is written is read back the same, and no header makes the reader believe in more than the file holds.
#include "TestImages.h"

#include <gtest/gtest.h>

using namespace DirectX;

namespace {

std::vector<std::uint8_t> Write(const ScratchImage& image)
{
    Blob blob;
    EXPECT_EQ(SaveToDDSMemory(image.GetImages(), image.GetImageCount(), image.GetMetadata(), DDS_FLAGS_NONE, blob),
              S_OK);
    const auto* bytes = static_cast<const std::uint8_t*>(blob.GetBufferPointer());
    return {bytes, bytes + blob.GetBufferSize()};
}

std::uint32_t& Word(std::vector<std::uint8_t>& file, std::size_t index)
{
    return *reinterpret_cast<std::uint32_t*>(file.data() + index * 4);
}

// Positions of 32-bit words in a file.
enum : std::size_t
{
    HeaderSize = 1,
    Height = 3,
    Width = 4,
    Depth = 6,
    MipCount = 7,
    FormatFlags = 20,
    FormatCode = 21,
    BitCount = 22,
    RedMask = 23,
    Caps2 = 28,
    ExtendedFormat = 32,
    ExtendedDimension = 33,
    ExtendedArraySize = 35
};

TEST(Dds, EveryShapeAndFormatComesBackTheSame)
{
    std::vector<TexMetadata> shapes = {test::DescribeCube(DXGI_FORMAT_R16G16B16A16_FLOAT, 8, 4),
                                       test::DescribeCube(DXGI_FORMAT_BC3_UNORM, 16, 5),
                                       test::Describe3D(DXGI_FORMAT_R8_UNORM, 8, 4, 5, 4),
                                       test::Describe2D(DXGI_FORMAT_R8G8B8A8_UNORM, 7, 5, 3, 3),
                                       {9, 1, 1, 2, 1, 0, 0, DXGI_FORMAT_R8G8_UNORM, TEX_DIMENSION_TEXTURE1D}};
    TexMetadata twoCubes = test::DescribeCube(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 1);
    twoCubes.arraySize = 12;
    shapes.push_back(twoCubes);
    for (int format = 1; format < 120; ++format)
        if (BitsPerPixel(static_cast<DXGI_FORMAT>(format)) != 0)
            shapes.push_back(test::Describe2D(static_cast<DXGI_FORMAT>(format), 13, 6, 1, 2));
    for (const TexMetadata& shape : shapes) {
        const ScratchImage image = test::MakeNoise(shape);
        const auto file = Write(image);
        TexMetadata metadata;
        ScratchImage read;
        ASSERT_EQ(LoadFromDDSMemory(file.data(), file.size(), DDS_FLAGS_NONE, &metadata, read), S_OK) << shape.format;
        EXPECT_EQ(metadata.format, shape.format);
        EXPECT_EQ(metadata.arraySize, shape.arraySize);
        EXPECT_EQ(metadata.mipLevels, shape.mipLevels);
        EXPECT_EQ(metadata.depth, shape.depth);
        EXPECT_EQ(metadata.dimension, shape.dimension);
        EXPECT_EQ(metadata.miscFlags, shape.miscFlags);
        ASSERT_EQ(read.GetPixelsSize(), image.GetPixelsSize());
        EXPECT_EQ(std::memcmp(read.GetPixels(), image.GetPixels(), image.GetPixelsSize()), 0) << shape.format;
    }
}

TEST(Dds, LegacyLayoutsAreWidened)
{
    struct Case
    {
        std::uint32_t bits, red, green, blue;
        std::vector<std::uint8_t> texel;
        std::uint8_t r, g, b;
    };
    for (const Case& c : {Case{24, 0xff0000, 0xff00, 0xff, {30, 20, 10}, 10, 20, 30},
                          Case{24, 0xff, 0xff00, 0xff0000, {30, 20, 10}, 30, 20, 10},
                          Case{16, 0x7c00, 0x3e0, 0x1f, {0x1f, 0x7c}, 255, 0, 255},
                          Case{32, 0xff000000, 0xff0000, 0xff00, {0, 3, 2, 1}, 1, 2, 3}}) {
        auto file = Write(test::MakeNoise(test::Describe2D(DXGI_FORMAT_R8G8B8A8_UNORM, 1, 1)));
        file.resize(128);
        file.insert(file.end(), c.texel.begin(), c.texel.end());
        Word(file, FormatFlags) = 0x40;
        Word(file, BitCount) = c.bits;
        Word(file, RedMask) = c.red;
        Word(file, RedMask + 1) = c.green;
        Word(file, RedMask + 2) = c.blue;
        Word(file, RedMask + 3) = 0;
        ScratchImage read;
        ASSERT_EQ(LoadFromDDSMemory(file.data(), file.size(), DDS_FLAGS_NONE, nullptr, read), S_OK) << c.bits;
        const std::uint8_t expected[4] = {c.r, c.g, c.b, 255};
        EXPECT_EQ(std::memcmp(read.GetPixels(), expected, 4), 0) << c.bits;
    }
}

TEST(Dds, LyingHeadersAreRefused)
{
    const auto legacy = Write(test::MakeNoise(test::Describe2D(DXGI_FORMAT_R8G8B8A8_UNORM, 16, 16, 1, 5)));
    const auto extended = Write(test::MakeNoise(test::Describe2D(DXGI_FORMAT_R8G8B8A8_UNORM_SRGB, 16, 16, 2, 5)));
    struct Lie
    {
        const std::vector<std::uint8_t>& file;
        std::size_t word;
        std::uint32_t value;
    };
    const Lie lies[] = {{legacy, 0, 0},
                        {legacy, HeaderSize, 123},
                        {legacy, Width, 0},
                        {legacy, Width, 16385},
                        {legacy, Height, 0xffffffff},
                        {legacy, Height, 16384},
                        {legacy, MipCount, 6},
                        {legacy, MipCount, 0xffffffff},
                        {legacy, FormatFlags, 0},
                        {legacy, BitCount, 0},
                        {legacy, Caps2, 0x200},    // a cube without faces
                        {legacy, Caps2, 0xfe00},   // five faces short
                        {legacy, Caps2, 0x200000}, // a volume without depth
                        {extended, ExtendedFormat, 0},
                        {extended, ExtendedFormat, 0xffffffff},
                        {extended, ExtendedDimension, 0},
                        {extended, ExtendedArraySize, 0},
                        {extended, ExtendedArraySize, 3},
                        {extended, ExtendedArraySize, 0x2aaaaaab}};
    for (const Lie& lie : lies) {
        auto file = lie.file;
        Word(file, lie.word) = lie.value;
        TexMetadata metadata;
        ScratchImage read;
        EXPECT_LT(LoadFromDDSMemory(file.data(), file.size(), DDS_FLAGS_NONE, &metadata, read), 0)
            << "word " << lie.word << " as " << lie.value;
        EXPECT_EQ(read.GetPixels(), nullptr);
    }
    // Cut anywhere, a file is refused; its header alone still describes it.
    for (std::size_t size = 0; size < extended.size(); size += 37) {
        ScratchImage read;
        EXPECT_LT(LoadFromDDSMemory(extended.data(), size, DDS_FLAGS_NONE, nullptr, read), 0) << size;
    }
    TexMetadata metadata;
    EXPECT_EQ(GetMetadataFromDDSMemory(extended.data(), 148, DDS_FLAGS_NONE, metadata), S_OK);
    EXPECT_EQ(metadata.arraySize, 2u);
    EXPECT_EQ(GetMetadataFromDDSMemory(nullptr, 148, DDS_FLAGS_NONE, metadata), E_INVALIDARG);
}

} // namespace
