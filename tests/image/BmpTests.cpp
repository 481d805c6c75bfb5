// The reader of bitmaps: every depth, width and order of rows, palettes of all sizes, cursors, and damaged files.
#include "BmpWriter.h"
#include "LoadedImage.h"

#include <gtest/gtest.h>
#include <qs/Log.h>
#include <qs/Path.h>
#include <random>

using namespace gw;

namespace {

constexpr image::FormatReplacement deviceFormats[] = {{FORMAT_RGB8, FORMAT_RGBA8}};

ByteVector RandomBytes(size_t count)
{
    std::mt19937 random(static_cast<unsigned>(count));
    ByteVector bytes(count);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

BmpPicture MakePicture(int bitCount, int width, int height)
{
    BmpPicture picture;
    picture.width = width;
    picture.height = height;
    picture.bitCount = bitCount;
    picture.samples = RandomBytes(width * height * bitCount / 8);
    if (bitCount == 8)
        picture.palette = RandomBytes(256 * 3);
    return picture;
}

// The pixels that the picture stands for, worked out from its samples alone.
ByteVector ExpectedPixels(const BmpPicture& picture)
{
    ByteVector pixels;
    if (picture.bitCount == 8) {
        for (const unsigned char sample : picture.samples) {
            for (int channel = 2; channel >= 0; --channel) {
                const size_t at = sample * 3u + channel;
                pixels.push_back(at < picture.palette.size() ? picture.palette[at] : 0);
            }
        }
        return pixels;
    }
    pixels = picture.samples;
    for (size_t i = 0; i < pixels.size(); i += picture.bitCount / 8)
        std::swap(pixels[i], pixels[i + 2]);
    return pixels;
}

struct Loaded : LoadedImage
{
    explicit Loaded(const ByteVector& file, const ImageLoadParams& params = {})
        : LoadedImage(IMAGE_FILE_BMP, file, params)
    {
    }
};

// A cursor file around a picture, with the size that its directory gives.
ByteVector CursorOf(const ByteVector& picture, size_t listedBytes)
{
    ByteVector file = BytesOf(std::vector<uint16_t>{0, 2, 1, 0x2020, 0, 3, 4});
    const ByteVector entry = BytesOf(std::vector<uint32_t>{static_cast<uint32_t>(listedBytes), 22});
    file.insert(file.end(), entry.begin(), entry.end());
    file.insert(file.end(), picture.begin(), picture.end());
    return file;
}

struct LoadedCursor
{
    Image image;
    unsigned short x = 77, y = 77;
    bool good;

    explicit LoadedCursor(const ByteVector& file)
        : good(image.LoadCursor(qs::Path(qs::PATH_ROOT_NONE, "pointer.cur"), ViewOf(file), {}, x, y))
    {
    }
    ~LoadedCursor() { image.FreePixelData(); }
    ByteVector Pixels() const { return ByteVector(image.GetPixels(), image.GetPixels() + image.GetBufferSize()); }
};

} // namespace

TEST(Bmp, EveryDepthAtEveryWidth)
{
    for (const int bitCount : {8, 24, 32}) {
        for (const int width : {1, 2, 3, 4, 5, 6, 7, 8, 33}) {
            for (const int kind : {0, 1, 2, 3}) {
                BmpPicture picture = MakePicture(bitCount, width, width % 3 + 1);
                picture.topDown = kind == 1;
                picture.oldHeader = kind == 2;
                picture.moreHeaderBytes = kind == 3 ? 84 : 0;
                SCOPED_TRACE(testing::Message() << bitCount << " bits, width " << width << ", kind " << kind);
                const ByteVector file = WriteBmp(picture);
                qs::LogCapture log;
                const Loaded loaded(file);
                // A header of the old kind needs as many bytes behind it as it is shorter than the others.
                ASSERT_EQ(loaded.good, file.size() >= 52);
                if (!loaded.good)
                    continue;
                EXPECT_EQ(loaded.image.GetFormat(), bitCount == 32 ? FORMAT_RGBA8 : FORMAT_RGB8);
                EXPECT_EQ(loaded.image.GetWidth(), width);
                EXPECT_EQ(loaded.image.GetHeight(), picture.height);
                EXPECT_EQ(loaded.image.GetOriginalMipCount(), 1);
                ASSERT_EQ(loaded.Pixels(), ExpectedPixels(picture));
                const Loaded widened(file, {.formatReplacements = deviceFormats});
                EXPECT_EQ(widened.image.GetFormat(), FORMAT_RGBA8);
                ASSERT_EQ(widened.Pixels(), Convert(loaded.image.GetFormat(), FORMAT_RGBA8, ExpectedPixels(picture)));
            }
        }
    }
}

TEST(Bmp, PalettesOfAllSizes)
{
    for (const size_t entries : {1, 2, 16, 200, 256}) {
        for (const bool offsetOfPalette : {false, true}) {
            for (const uint32_t said : {0u, static_cast<uint32_t>(entries), 300u}) {
                // What the header does not say shows in where the pixels start, unless that is not said either.
                if (offsetOfPalette && said != entries && entries != 256)
                    continue;
                BmpPicture picture = MakePicture(8, 37, 11);
                picture.palette.resize(entries * 3);
                picture.colourCount = said;
                picture.offsetOfPalette = offsetOfPalette;
                const Loaded loaded(WriteBmp(picture));
                ASSERT_TRUE(loaded.good) << entries << ", " << said;
                ASSERT_EQ(loaded.Pixels(), ExpectedPixels(picture)) << entries << ", " << said;
            }
        }
    }
}

TEST(Bmp, OtherKindsAreDescribedButNotRead)
{
    for (const int bitCount : {0, 1, 4, 16, 25, 64}) {
        BmpPicture picture = MakePicture(32, 8, 4);
        picture.bitCount = bitCount;
        picture.samples.resize(8 * 4 * 8);
        const ByteVector file = WriteBmp(picture);
        const Loaded described(file, {.flags = IMAGE_LOAD_HEADER_ONLY});
        EXPECT_TRUE(described.good);
        EXPECT_EQ(described.image.GetFormat(), FORMAT_MAX);
        EXPECT_EQ(described.image.GetWidth(), 8);
        qs::LogCapture log;
        EXPECT_FALSE(Loaded(file).good);
        EXPECT_TRUE(log.Contains("bits a pixel are none of 8, 24 and 32", qs::LogLevelError)) << log.GetLast();
        EXPECT_EQ(log.Count(), 1u);
    }
    qs::LogCapture log;
    BmpPicture packed = MakePicture(8, 4, 4);
    packed.compression = 1;
    EXPECT_FALSE(Loaded(WriteBmp(packed)).good);
    EXPECT_FALSE(Loaded(WriteBmp(packed), {.flags = IMAGE_LOAD_HEADER_ONLY}).good);
    EXPECT_EQ(log.CountContaining("compression of kind 1", qs::LogLevelError), 2u);
    BmpPicture fields = MakePicture(32, 4, 4);
    fields.compression = 3;
    EXPECT_EQ(Loaded(WriteBmp(fields)).Pixels(), ExpectedPixels(fields));
}

TEST(Bmp, TruncatedFilesFail)
{
    for (const int bitCount : {8, 24, 32}) {
        const ByteVector file = WriteBmp(MakePicture(bitCount, 7, 3));
        const size_t padding = (4 - 7 * bitCount / 8 % 4) % 4;
        for (size_t size = 0; size < file.size(); ++size) {
            qs::LogCapture log;
            const Loaded loaded(ByteVector(file.begin(), file.begin() + size));
            // The last row's padding is nothing that a picture misses.
            ASSERT_EQ(loaded.good, size >= file.size() - padding) << size << " of " << file.size();
            EXPECT_EQ(log.CountContaining("Couldn't read BMP image", qs::LogLevelError), loaded.good ? 0u : 1u);
            EXPECT_EQ(loaded.image.GetBufferSize() == 0, !loaded.good);
        }
    }
}

TEST(Bmp, LyingHeadersFailBeforeTheyCost)
{
    struct Lie
    {
        size_t at;
        uint32_t value;
    };
    constexpr Lie lies[] = {{0, 0x5a4d}, {10, 0},          {10, 51},         {10, 0xffffffff},
                            {18, 0},     {18, 0x7fffffff}, {18, 0x80000000}, {18, 0xffffffff},
                            {22, 0},     {22, 0x7fffffff}, {22, 0x80000000}, {22, 0x80000001}};
    for (const int bitCount : {8, 24, 32}) {
        for (const Lie& lie : lies) {
            ByteVector file = WriteBmp(MakePicture(bitCount, 4, 4));
            std::memcpy(&file[lie.at], &lie.value, sizeof lie.value);
            qs::LogCapture log;
            EXPECT_FALSE(Loaded(file).good) << lie.at << ": " << lie.value;
            EXPECT_EQ(log.Count(qs::LogLevelError), 1u) << log.GetLast();
        }
    }
}

TEST(Bmp, PicturesOfCursors)
{
    for (const int bitCount : {8, 24, 32}) {
        for (const int width : {1, 2, 3, 4, 5, 8, 32, 48}) {
            BmpPicture picture = MakePicture(bitCount, width, width);
            picture.isCursor = true;
            picture.topDown = width == 48;
            const ByteVector file = WriteBmp(picture);
            // The next picture of the file may follow.
            ByteVector cursor = CursorOf(file, file.size());
            cursor.resize(cursor.size() + width * 4000, 0x11);
            const LoadedCursor loaded(cursor);
            SCOPED_TRACE(testing::Message() << bitCount << " bits, width " << width);
            ASSERT_TRUE(loaded.good);
            EXPECT_EQ(loaded.x, 3);
            EXPECT_EQ(loaded.y, 4);
            EXPECT_EQ(loaded.image.GetHeight(), width);
            ASSERT_EQ(loaded.Pixels(), ExpectedPixels(picture));
            // At 24 bits the mask may instead stand behind each row, a byte for each pixel.
            picture.bytesBehindRow = width;
            if (bitCount == 24) {
                ASSERT_EQ(LoadedCursor(CursorOf(WriteBmp(picture), 0)).Pixels(), ExpectedPixels(picture));
            }
        }
    }
}

TEST(Bmp, DamagedCursorsFail)
{
    BmpPicture picture = MakePicture(24, 5, 2);
    picture.isCursor = true;
    const ByteVector bitmap = WriteBmp(picture);
    const size_t pixelsEnd = bitmap.size() - 2 * 4;
    for (size_t size = 0; size < pixelsEnd - 1; ++size) {
        qs::LogCapture log;
        const LoadedCursor loaded(CursorOf(ByteVector(bitmap.begin(), bitmap.begin() + size), bitmap.size()));
        ASSERT_FALSE(loaded.good) << size;
        EXPECT_EQ(loaded.x, 77);
        EXPECT_EQ(loaded.image.GetBufferSize(), 0u);
        EXPECT_EQ(log.CountContaining("image \"pointer.cur\"", qs::LogLevelError), 1u) << log.GetLast();
    }
    ByteVector shortHeader = bitmap;
    shortHeader[0] = 37;
    qs::LogCapture log;
    EXPECT_FALSE(LoadedCursor(CursorOf(shortHeader, bitmap.size())).good);
    EXPECT_TRUE(log.Contains("inside its header", qs::LogLevelError)) << log.GetLast();
}
