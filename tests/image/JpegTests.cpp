// The JPEG reader against libjpeg's own pixels, and over damaged files.
#include "JpegWriter.h"
#include "LoadedImage.h"

#include <gtest/gtest.h>
#include <qs/Log.h>

using namespace gw;

namespace {

struct Loaded : LoadedImage
{
    explicit Loaded(const ByteVector& file, const ImageLoadParams& params = {})
        : LoadedImage(IMAGE_FILE_JPEG, file, params)
    {
    }
};

const JpegPicture pictures[] = {
    {.width = 61, .height = 37, .components = 1, .space = JCS_GRAYSCALE},
    {.width = 61, .height = 37, .components = 3, .space = JCS_RGB, .fileSpace = JCS_YCbCr},
    {.width = 17, .height = 64, .components = 3, .space = JCS_RGB, .fileSpace = JCS_YCbCr, .progressive = true},
    {.width = 16, .height = 16, .components = 3, .space = JCS_RGB, .fileSpace = JCS_RGB},
    {.width = 33, .height = 9, .components = 4, .space = JCS_CMYK, .fileSpace = JCS_CMYK},
    {.width = 33, .height = 9, .components = 4, .space = JCS_CMYK, .fileSpace = JCS_YCCK},
};

} // namespace

TEST(Jpeg, GivesTheCodecsPixels)
{
    constexpr EFormat formats[] = {FORMAT_R8, FORMAT_MAX, FORMAT_RGB8, FORMAT_RGBA8};
    constexpr image::FormatReplacement replacement[] = {{FORMAT_RGB8, FORMAT_RGBA8}};
    for (const JpegPicture& picture : pictures) {
        const ByteVector file = WriteJpeg(picture);
        const Loaded loaded(file);
        ASSERT_TRUE(loaded.good);
        EXPECT_EQ(loaded.image.GetFormat(), formats[picture.components - 1]);
        EXPECT_EQ(loaded.image.GetWidth(), picture.width);
        EXPECT_EQ(loaded.image.GetHeight(), picture.height);
        EXPECT_EQ(loaded.image.GetOriginalMipCount(), 0);
        const ByteVector pixels = DecodeJpeg(file);
        EXPECT_EQ(loaded.Pixels(), pixels);

        ImageLoadParams params;
        params.formatReplacements = replacement;
        const Loaded widened(file, params);
        EXPECT_EQ(widened.Pixels(), Convert(loaded.image.GetFormat(), widened.image.GetFormat(), pixels));

        params.flags = IMAGE_LOAD_HEADER_ONLY;
        const Loaded described(file, params);
        EXPECT_TRUE(described.good);
        EXPECT_EQ(described.image.GetWidth(), picture.width);
        EXPECT_EQ(described.image.GetBufferSize(), 0u);
    }
}

TEST(Jpeg, DamagedFilesFailWithOneMessage)
{
    for (const JpegPicture& picture : pictures) {
        const ByteVector file = WriteJpeg(picture);
        for (size_t size = 1; size < file.size(); size += 1 + size / 24) {
            qs::LogCapture log;
            const Loaded loaded(ByteVector(file.begin(), file.begin() + size));
            EXPECT_FALSE(loaded.good) << size << " of " << file.size();
            EXPECT_EQ(loaded.image.GetBufferSize(), 0u);
            EXPECT_EQ(log.CountContaining("Couldn't read JPEG image \"(memory)\": "), 1u) << log.GetLast();
        }
    }
    // Damage within the data may decode to something; it must only never end the process.
    qs::LogCapture log;
    ByteVector file = WriteJpeg(pictures[2]);
    for (size_t at = 2; at < file.size(); ++at) {
        const unsigned char kept = std::exchange(file[at], static_cast<unsigned char>(file[at] ^ 0x55));
        const Loaded loaded(file);
        EXPECT_EQ(loaded.good, loaded.image.GetBufferSize() != 0);
        file[at] = kept;
    }
}

TEST(Jpeg, LyingHeadersFailBeforeTheyCost)
{
    ByteVector file = WriteJpeg(pictures[1]);
    const size_t frame = FindJpegMarker(file, 0xc0);
    const auto load = [&] {
        qs::LogCapture log;
        EXPECT_FALSE(Loaded(file).good);
        return log.GetLast();
    };
    const ByteVector lie{0xff, 0x00, 0xff, 0x00};
    const ByteVector truth(file.begin() + frame + 5, file.begin() + frame + 9);
    std::copy(lie.begin(), lie.end(), file.begin() + frame + 5);
    EXPECT_NE(load().find("too short for 65280 by 65280 pixels"), std::string::npos);
    std::fill_n(file.begin() + frame + 5, 4, 0);
    EXPECT_NE(load().find("Couldn't read JPEG image"), std::string::npos);
    std::copy(truth.begin(), truth.end(), file.begin() + frame + 5);
    EXPECT_TRUE(Loaded(file).good);
}

TEST(Jpeg, OtherComponentCountsAndEndlessScansFail)
{
    qs::LogCapture log;
    EXPECT_FALSE(Loaded(WriteJpeg({.width = 8, .height = 8, .components = 2, .space = JCS_UNKNOWN})).good);
    EXPECT_NE(log.GetLast().find("neither 1, 3 nor 4 components"), std::string::npos);

    // The first scan of a progressive file again and again; behind it stand the tables of the next.
    ByteVector file = WriteJpeg(pictures[2]);
    const size_t begin = FindJpegMarker(file, 0xda);
    const ByteVector scan(file.begin() + begin, file.begin() + FindJpegMarker(file, 0xc4, begin));
    for (int i = 0; i < 200; ++i)
        file.insert(file.begin() + begin, scan.begin(), scan.end());
    EXPECT_FALSE(Loaded(file).good);
    EXPECT_NE(log.GetLast().find("more than 100 scans"), std::string::npos) << log.GetLast();
}
