// The TGA reader: every depth, width and origin, packets and what stands behind them, and damaged files.
#include "LoadedImage.h"
#include "TgaWriter.h"

#include <gtest/gtest.h>
#include <qs/Log.h>
#include <random>

using namespace gw;

namespace {

constexpr image::FormatReplacement deviceFormats[] = {{FORMAT_RGB8, FORMAT_RGBA8}};
constexpr uint8_t rightToLeft = 16;
constexpr uint8_t topDown = 32;

// Pixels of which many are the same as the one before.
TgaPicture MakePicture(int depth, int width, int height)
{
    TgaPicture picture;
    picture.width = width;
    picture.height = height;
    picture.depth = depth;
    std::mt19937 random(width * 31 + depth);
    const size_t pixelBytes = depth / 8;
    for (int i = 0; i < width * height; ++i) {
        if (i > 0 && random() % 4 != 0) {
            const ByteVector last(picture.samples.end() - pixelBytes, picture.samples.end());
            picture.samples.insert(picture.samples.end(), last.begin(), last.end());
        } else {
            for (size_t byte = 0; byte < pixelBytes; ++byte)
                picture.samples.push_back(static_cast<unsigned char>(random()));
        }
    }
    return picture;
}

ByteVector ExpectedPixel(const TgaPicture& picture, const unsigned char* sample)
{
    switch (picture.depth) {
    case 8:
        return {sample[0]};
    case 16: {
        const int word = sample[0] | sample[1] << 8;
        const auto channel = [&](int bit) { return static_cast<unsigned char>((word >> bit & 31) * 255 / 31); };
        const bool isOpaque = (picture.descriptor & 15) == 0 || word >> 15 != 0;
        return {channel(10), channel(5), channel(0), static_cast<unsigned char>(isOpaque ? 255 : 0)};
    }
    case 24:
        return {sample[2], sample[1], sample[0]};
    default:
        return {sample[2], sample[1], sample[0], sample[3]};
    }
}

// The pixels that the picture stands for from the top left, worked out from its samples alone.
ByteVector ExpectedPixels(const TgaPicture& picture)
{
    ByteVector pixels;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const int row = (picture.descriptor & topDown) != 0 ? y : picture.height - 1 - y;
            const int column = (picture.descriptor & rightToLeft) != 0 ? picture.width - 1 - x : x;
            const ByteVector pixel =
                ExpectedPixel(picture, &picture.samples[(row * picture.width + column) * picture.depth / 8]);
            pixels.insert(pixels.end(), pixel.begin(), pixel.end());
        }
    }
    return pixels;
}

EFormat FormatOfDepth(int depth)
{
    return depth == 8 ? FORMAT_R8 : depth == 24 ? FORMAT_RGB8 : FORMAT_RGBA8;
}

struct Loaded : LoadedImage
{
    explicit Loaded(const ByteVector& file, const ImageLoadParams& params = {})
        : LoadedImage(IMAGE_FILE_TGA, file, params)
    {
    }
};

// A picture of 32 bits and one row, with these bytes behind its header.
ByteVector RowOf(int width, const ByteVector& packets)
{
    ByteVector file = TgaHeader({.width = width, .height = 1, .depth = 32, .runLength = true});
    file.insert(file.end(), packets.begin(), packets.end());
    return file;
}

} // namespace

TEST(Tga, EveryDepthWidthAndOrigin)
{
    for (const int depth : {8, 16, 24, 32}) {
        for (const int width : {1, 2, 3, 7, 130, 600}) {
            for (const uint8_t descriptor : {0, 1, 8, 16, 32, 33, 48, 56}) {
                for (const bool runLength : {false, true}) {
                    TgaPicture picture = MakePicture(depth, width, width % 4 + 1);
                    picture.descriptor = descriptor;
                    picture.runLength = runLength;
                    picture.id = ByteVector(descriptor == 8 ? 255 : width % 5, 0xc1);
                    picture.footer = ByteVector(descriptor == 33 ? 0 : 26, 0xff);
                    SCOPED_TRACE(testing::Message() << depth << " bits, width " << width << ", descriptor "
                                                    << int(descriptor) << (runLength ? ", run-length" : ""));
                    const Loaded loaded(WriteTga(picture));
                    ASSERT_TRUE(loaded.good);
                    EXPECT_EQ(loaded.image.GetFormat(), FormatOfDepth(depth));
                    EXPECT_EQ(loaded.image.GetWidth(), width);
                    EXPECT_EQ(loaded.image.GetHeight(), picture.height);
                    EXPECT_EQ(loaded.image.GetOriginalMipCount(), 1);
                    ASSERT_EQ(loaded.Pixels(), ExpectedPixels(picture));
                    const Loaded widened(WriteTga(picture), {.formatReplacements = deviceFormats});
                    EXPECT_EQ(widened.image.GetFormat(), depth == 24 ? FORMAT_RGBA8 : FormatOfDepth(depth));
                    ASSERT_EQ(widened.Pixels(),
                              Convert(FormatOfDepth(depth), widened.image.GetFormat(), ExpectedPixels(picture)));
                }
            }
        }
    }
}

TEST(Tga, PacketsEndAtTheLastPixel)
{
    const ByteVector red = {9, 10, 200, 255}, redPixel = {200, 10, 9, 255};
    const auto join = [](std::initializer_list<ByteVector> parts) {
        ByteVector bytes;
        for (const ByteVector& part : parts)
            bytes.insert(bytes.end(), part.begin(), part.end());
        return bytes;
    };
    const ByteVector run = join({{0x83}, red}), four = join({{0x03}, red, red, red, red});
    EXPECT_EQ(Loaded(RowOf(4, run)).Pixels(), join({redPixel, redPixel, redPixel, redPixel}));
    EXPECT_EQ(Loaded(RowOf(4, four)).Pixels(), join({redPixel, redPixel, redPixel, redPixel}));
    EXPECT_EQ(Loaded(RowOf(3, run)).Pixels(), join({redPixel, redPixel, redPixel}));
    EXPECT_EQ(Loaded(RowOf(3, four)).Pixels(), join({redPixel, redPixel, redPixel}));
    // A packet that promises more than the image holds needs no bytes for the rest.
    EXPECT_EQ(Loaded(RowOf(1, join({{0x7f}, red}))).Pixels(), redPixel);
    // Between two packets a file may end, within one it may not.
    EXPECT_EQ(Loaded(RowOf(6, run)).Pixels(), join({redPixel, redPixel, redPixel, redPixel, ByteVector(8, 0)}));
    qs::LogCapture log;
    for (const ByteVector& packets : {join({run, {0x81}}), join({run, {0x81, 1, 2, 3}}), join({run, {0x01}, red})})
        EXPECT_FALSE(Loaded(RowOf(6, packets)).good);
    EXPECT_EQ(log.CountContaining("Couldn't read TGA image \"(memory)\": the file ends inside a packet"), 3u);
    EXPECT_EQ(log.Count(), 3u);
}

TEST(Tga, RefusesWhatItDoesNotKnow)
{
    struct Change
    {
        size_t at;
        uint8_t value;
        const char* text;
    };
    constexpr Change changes[] = {
        {1, 1, "colour map"},     {1, 128, "colour map"},    {2, 32, "type 32"},          {2, 33, "type 33"},
        {2, 4, "type 4"},         {16, 0, "0 bits a pixel"}, {16, 15, "15 bits a pixel"}, {16, 64, "64 bits a pixel"},
        {12, 0, "0 by 4 pixels"}, {14, 0, "4 by 0 pixels"}};
    for (const Change& change : changes) {
        ByteVector file = WriteTga(MakePicture(24, 4, 4));
        file[change.at] = change.value;
        qs::LogCapture log;
        EXPECT_FALSE(Loaded(file, {.flags = IMAGE_LOAD_HEADER_ONLY}).good) << change.text;
        EXPECT_FALSE(Loaded(file).good) << change.text;
        EXPECT_EQ(log.CountContaining(change.text, qs::LogLevelError), 2u) << log.GetLast();
        EXPECT_EQ(log.Count(), 2u);
    }
}

TEST(Tga, TruncatedAndLyingFilesFail)
{
    for (const bool runLength : {false, true}) {
        TgaPicture picture = MakePicture(16, 9, 5);
        picture.runLength = runLength;
        picture.id = {1, 2, 3};
        const ByteVector file = WriteTga(picture);
        for (size_t size = 0; size < file.size(); ++size) {
            qs::LogCapture log;
            const Loaded loaded(ByteVector(file.begin(), file.begin() + size));
            EXPECT_FALSE(loaded.good && !runLength) << size;
            EXPECT_EQ(loaded.image.GetBufferSize(), loaded.good ? 9u * 5 * 4 : 0u);
            EXPECT_EQ(log.CountContaining("Couldn't read TGA image", qs::LogLevelError), loaded.good ? 0u : 1u);
        }
        const Loaded described(ByteVector(file.begin(), file.begin() + 18), {.flags = IMAGE_LOAD_HEADER_ONLY});
        EXPECT_TRUE(described.good);
        EXPECT_EQ(described.image.GetBufferSize(), 0u);
        ByteVector lie = file;
        std::fill(lie.begin() + 12, lie.begin() + 16, 0xff);
        qs::LogCapture log;
        EXPECT_FALSE(Loaded(lie).good);
        EXPECT_TRUE(log.Contains("too short for 65535 by 65535 pixels", qs::LogLevelError)) << log.GetLast();
    }
}
