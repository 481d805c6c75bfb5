// The pixel writer: conversion, flipping, and the walk over slices, levels, faces and elements.
#include "Gleamwork/image/ImageUtils.h"
#include "TestBytes.h"

#include <gtest/gtest.h>
#include <numeric>
#include <qs/Log.h>

using namespace gw;
using namespace gw::image;

namespace {

// An image with its description; frees its pixels.
struct TestImage : Image
{
    TestImage(EFormat newFormat, int64_t newWidth, int64_t newHeight, int64_t newDepth, int64_t mips, uint32_t newFlags)
    {
        format = newFormat;
        width = newWidth;
        height = newHeight;
        depth = newDepth;
        mipCount = mips;
        arraySize = 1;
        flags = newFlags;
    }
    ~TestImage() { FreePixelData(); }
    ByteVector Pixels() { return ByteVector(GetPixels(), GetPixels() + GetBufferSize()); }
};

ByteVector Counting(size_t count)
{
    ByteVector bytes(count);
    std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
    return bytes;
}

} // namespace

TEST(PixelWriter, ConvertsRunsAndRefusesShortStreams)
{
    TestImage image(FORMAT_RGBA8, 2, 2, 1, 1, 0);
    const ByteVector file = Counting(13);
    qs::MemReadStream stream(ViewOf(file));
    PixelWriter writer = CreatePixelWriter(image, FORMAT_RGB8, 0);
    EXPECT_TRUE(writer.NeedsConversion());
    EXPECT_EQ(writer.GetSourceRowSize(), 6u);
    EXPECT_TRUE(writer.WriteRow(stream));
    EXPECT_TRUE(writer.WritePixels(stream, 1));
    EXPECT_TRUE(writer.WriteRepeatedPixel(stream, 0));
    EXPECT_TRUE(writer.WriteRepeatedPixel(stream, 1));
    EXPECT_EQ(image.Pixels(), (ByteVector{1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255, 10, 11, 12, 255}));
    EXPECT_FALSE(writer.WritePixels(stream, 1)) << "one byte is no pixel";
    EXPECT_EQ(stream.GetRemainder().GetSize(), 1u);
    const ByteVector more(3, 77);
    writer.Write(ViewOf(more)); // the image is full: dropped
    EXPECT_EQ(image.Pixels().back(), 255);
}

TEST(PixelWriter, FlipsRowsOfEverySliceAndLevel)
{
    TestImage image(FORMAT_R8, 2, 2, 2, 2, 0);
    const ByteVector file = Counting(9);
    qs::MemReadStream stream(ViewOf(file));
    PixelWriter writer = CreatePixelWriter(image, FORMAT_R8, PIXEL_WRITER_FLIP);
    EXPECT_EQ(writer.GetCurrentTargetPixelOffset(), 2u);
    EXPECT_TRUE(writer.WriteAll(stream));
    EXPECT_EQ(image.Pixels(), (ByteVector{3, 4, 1, 2, 7, 8, 5, 6, 9}));
    qs::MemReadStream again(ViewOf(file));
    EXPECT_FALSE(writer.WritePixels(again, 1)) << "behind the last pixel";
}

// Rows go another way in images that are larger than the caches, and when they arrive many at once.
TEST(PixelWriter, FlipsPiecesOfAnyLength)
{
    struct Size
    {
        int64_t width, height;
    };
    constexpr std::pair<EFormat, EFormat> pairs[] = {{FORMAT_BGR8, FORMAT_RGBA8},
                                                     {FORMAT_RGBA8, FORMAT_BGRA8},
                                                     {FORMAT_RGBA8, FORMAT_RGB8},
                                                     {FORMAT_R16, FORMAT_RG16}};
    for (const auto& [from, to] : pairs) {
        for (const auto& [width, height] : {Size{1, 70000}, Size{3, 5}, Size{1021, 1100}, Size{1600, 700}}) {
            const uint64_t pixelBytes = GetFormatDescription(from).elementBytes;
            const ByteVector source = Counting(width * height * pixelBytes);
            const ByteVector upright = Convert(from, to, source);
            const uint64_t rowBytes = upright.size() / height;
            ByteVector expected;
            for (int64_t y = height - 1; y >= 0; --y)
                expected.insert(expected.end(), upright.begin() + y * rowBytes, upright.begin() + (y + 1) * rowBytes);
            for (const int64_t piece : {width * height, width, width * 2 + width / 2 + 1}) {
                TestImage image(to, width, height, 1, 1, 0);
                PixelWriter writer = CreatePixelWriter(image, from, PIXEL_WRITER_FLIP);
                qs::MemReadStream stream(ViewOf(source));
                for (int64_t left = width * height; left > 0; left -= piece)
                    ASSERT_TRUE(writer.WritePixels(stream, std::min(left, piece)));
                EXPECT_TRUE(image.Pixels() == expected) << from << " to " << to << ", " << width << ", " << piece;
                EXPECT_FALSE(writer.WritePixels(stream, 1));
            }
        }
    }
}

TEST(PixelWriter, WalksACubeAsSixChains)
{
    TestImage image(FORMAT_RG8, 4, 4, 1, 3, IMAGE_FLAG_CUBE);
    const ByteVector file = Counting(6 * 21);
    for (const uint32_t flags : {0u, static_cast<uint32_t>(PIXEL_WRITER_FLIP)}) {
        qs::MemReadStream stream(ViewOf(file));
        PixelWriter writer = CreatePixelWriter(image, FORMAT_R8, flags);
        EXPECT_EQ(writer.GetArrayCount(), 6);
        for (int face = 0; face < 6; ++face)
            EXPECT_TRUE(writer.WriteChain(stream)) << face;
        EXPECT_FALSE(writer.WriteChain(stream));
        const ByteVector pixels = image.Pixels();
        ASSERT_EQ(pixels.size(), 6u * 21u * 2u);
        for (int face = 0; face < 6; ++face)
            EXPECT_EQ(pixels[(face * 21 + 20) * 2], face * 21 + 21) << "last level of face " << face;
        EXPECT_EQ(pixels[(5 * 21) * 2], 5 * 21 + (flags ? 13 : 1));
    }
}

TEST(PixelWriter, ReportsWhatItCannotDo)
{
    qs::LogCapture log;
    const ByteVector file = Counting(64);
    TestImage image(FORMAT_RGBA8, 4, 4, 1, 1, 0);
    for (const EFormat source : {FORMAT_DXT1, FORMAT_MAX}) {
        qs::MemReadStream stream(ViewOf(file));
        PixelWriter writer = CreatePixelWriter(image, source, 0);
        EXPECT_FALSE(writer.IsUsable());
        writer.Write(ViewOf(file));
    }
    EXPECT_EQ(log.CountContaining("Conversion between specified formats is not supported!", qs::LogLevelAssertion), 2u);
    EXPECT_EQ(log.CountContaining("From format is invalid", qs::LogLevelAssertion), 1u);

    TestImage swapped(FORMAT_R16, 2, 1, 1, 1, 0);
    PixelWriter writer = CreatePixelWriter(swapped, FORMAT_R16, PIXEL_WRITER_SWAP);
    const ByteVector odd{0x12, 0x34, 0x56};
    writer.Write(ViewOf(odd));
    EXPECT_TRUE(log.Contains("Something wrong with your calculations. Input mem can't be evenly split into pixels"));
    EXPECT_EQ(swapped.GetPixels()[0], 0x34);

    TestImage huge(FORMAT_RGBA32F, int64_t(1) << 33, int64_t(1) << 33, 1, 1, 0);
    EXPECT_FALSE(CreatePixelWriter(huge, FORMAT_RGBA32F, 0).IsUsable());
    EXPECT_EQ(huge.GetBufferSize(), 0u);
    EXPECT_TRUE(log.Contains("more than the limit of 4294967296 bytes", qs::LogLevelError));
}
