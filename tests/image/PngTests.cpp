// The PNG reader against files that libpng wrote: every depth, colour type and width, whole and damaged.
#include "Gleamwork/image/ImageUtils.h"
#include "LoadedImage.h"
#include "PngWriter.h"

#include <gtest/gtest.h>
#include <qs/Log.h>
#include <random>

using namespace gw;

namespace {

constexpr image::FormatReplacement deviceFormats[] = {{FORMAT_RGB8, FORMAT_RGBA8}, {FORMAT_RGB16, FORMAT_RGBA16}};

struct Kind
{
    int colourType;
    int bitDepth;
    int channels;
    EFormat format;
};

constexpr Kind kinds[] = {
    {PNG_COLOR_TYPE_GRAY, 1, 1, FORMAT_R8},          {PNG_COLOR_TYPE_GRAY, 2, 1, FORMAT_R8},
    {PNG_COLOR_TYPE_GRAY, 4, 1, FORMAT_R8},          {PNG_COLOR_TYPE_GRAY, 8, 1, FORMAT_R8},
    {PNG_COLOR_TYPE_GRAY, 16, 1, FORMAT_R16},        {PNG_COLOR_TYPE_GRAY_ALPHA, 8, 2, FORMAT_RG8},
    {PNG_COLOR_TYPE_GRAY_ALPHA, 16, 2, FORMAT_RG16}, {PNG_COLOR_TYPE_RGB, 8, 3, FORMAT_RGB8},
    {PNG_COLOR_TYPE_RGB, 16, 3, FORMAT_RGB16},       {PNG_COLOR_TYPE_RGBA, 8, 4, FORMAT_RGBA8},
    {PNG_COLOR_TYPE_RGBA, 16, 4, FORMAT_RGBA16},     {PNG_COLOR_TYPE_PALETTE, 1, 1, FORMAT_RGB8},
    {PNG_COLOR_TYPE_PALETTE, 2, 1, FORMAT_RGB8},     {PNG_COLOR_TYPE_PALETTE, 4, 1, FORMAT_RGB8},
    {PNG_COLOR_TYPE_PALETTE, 8, 1, FORMAT_RGB8},
};

PngPicture MakePicture(const Kind& kind, int width, int height)
{
    PngPicture picture;
    picture.width = width;
    picture.height = height;
    picture.bitDepth = kind.bitDepth;
    picture.colourType = kind.colourType;
    std::mt19937 random(width * 31 + kind.bitDepth);
    const size_t sampleBytes = kind.bitDepth == 16 ? 2 : 1;
    picture.samples.resize(width * height * kind.channels * sampleBytes);
    for (unsigned char& sample : picture.samples)
        sample = static_cast<unsigned char>(random() & ((1 << std::min(kind.bitDepth, 8)) - 1));
    if (kind.colourType == PNG_COLOR_TYPE_PALETTE) {
        for (int i = 0; i < 3 << kind.bitDepth; ++i)
            picture.palette.push_back(static_cast<unsigned char>(random()));
    }
    return picture;
}

// The pixels that the picture stands for, worked out from its samples alone.
ByteVector ExpectedPixels(const PngPicture& picture)
{
    ByteVector pixels;
    for (size_t i = 0; i < picture.samples.size(); ++i) {
        const unsigned char sample = picture.samples[i];
        if (picture.colourType == PNG_COLOR_TYPE_PALETTE)
            pixels.insert(pixels.end(), &picture.palette[sample * 3], &picture.palette[sample * 3] + 3);
        else if (picture.bitDepth == 16)
            pixels.push_back(picture.samples[i ^ 1]);
        else
            pixels.push_back(static_cast<unsigned char>(sample * 255 / ((1 << picture.bitDepth) - 1)));
    }
    return pixels;
}

struct Loaded : LoadedImage
{
    explicit Loaded(const ByteVector& file, const ImageLoadParams& params = {})
        : LoadedImage(IMAGE_FILE_PNG, file, params)
    {
    }
};

} // namespace

TEST(Png, EveryKindAtEveryWidth)
{
    for (const Kind& kind : kinds) {
        for (const int width : {1, 2, 3, 5, 8, 9, 17, 33}) {
            for (const bool interlaced : {false, true}) {
                PngPicture picture = MakePicture(kind, width, width == 33 ? 9 : width % 4 + 1);
                picture.interlaced = interlaced;
                const Loaded loaded(WritePng(picture));
                SCOPED_TRACE(testing::Message() << "colour type " << kind.colourType << ", " << kind.bitDepth
                                                << " bits, width " << width << (interlaced ? ", interlaced" : ""));
                ASSERT_TRUE(loaded.good);
                EXPECT_EQ(loaded.image.GetFormat(), kind.format);
                EXPECT_EQ(loaded.image.GetWidth(), width);
                EXPECT_EQ(loaded.image.GetHeight(), picture.height);
                ASSERT_EQ(loaded.Pixels(), ExpectedPixels(picture));
                const Loaded widened(WritePng(picture), {.formatReplacements = deviceFormats});
                const EFormat format = image::ReplaceFormat(kind.format, deviceFormats);
                EXPECT_EQ(widened.image.GetFormat(), format);
                ASSERT_EQ(widened.Pixels(), Convert(kind.format, format, ExpectedPixels(picture)));
            }
        }
    }
}

TEST(Png, DescribesWithoutPixels)
{
    ByteVector file = WritePng(MakePicture(kinds[7], 16385, 1));
    file.resize(64);
    const Loaded loaded(file, {.flags = IMAGE_LOAD_HEADER_ONLY | IMAGE_LOAD_SRGB});
    EXPECT_TRUE(loaded.good);
    EXPECT_EQ(loaded.image.GetWidth(), 16385);
    EXPECT_EQ(loaded.image.GetDepth() + loaded.image.GetMipMapCount() + loaded.image.GetArraySize(), 3);
    EXPECT_EQ(loaded.image.GetOriginalMipCount(), 0);
    EXPECT_EQ(loaded.image.flags, IMAGE_FLAG_SRGB);
    EXPECT_EQ(loaded.image.GetBufferSize(), 0u);
}

TEST(Png, IgnoresTransparencyAndMissingPaletteEntries)
{
    PngPicture picture = MakePicture(kinds[13], 5, 1);
    picture.transparent = true;
    EXPECT_EQ(Loaded(WritePng(picture)).Pixels(), ExpectedPixels(picture));

    picture.samples = {0, 1, 15, 1, 0};
    picture.palette = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(Loaded(WritePng(picture)).Pixels(), (ByteVector{1, 2, 3, 4, 5, 6, 0, 0, 0, 4, 5, 6, 1, 2, 3}));
}

TEST(Png, DamagedFilesFailAndLeakNothing)
{
    const auto used = [] { return qs::MemoryManager::GetUsage("gw::image::png").blocks; };
    for (const bool interlaced : {false, true}) {
        PngPicture picture = MakePicture(kinds[7], 40, 30);
        picture.interlaced = interlaced;
        const ByteVector file = WritePng(picture);
        // The last 12 bytes are the end chunk, which holds nothing of the picture.
        for (size_t size = 0; size < file.size() - 12; size += 1 + size / 16) {
            qs::LogCapture log;
            const Loaded loaded(ByteVector(file.begin(), file.begin() + size));
            EXPECT_FALSE(loaded.good) << size;
            EXPECT_EQ(loaded.image.GetBufferSize(), 0u);
            EXPECT_EQ(log.CountContaining("Couldn't read PNG image", qs::LogLevelError), size < 8 ? 0u : 1u) << size;
        }
        for (size_t at = 8; at < file.size() - 12; at += 7) {
            qs::LogCapture log;
            ByteVector damaged = file;
            damaged[at] ^= 0x10;
            EXPECT_FALSE(Loaded(damaged).good) << at;
        }
    }
    EXPECT_EQ(used(), 0);
}

TEST(Png, LyingHeadersFailBeforeTheyCost)
{
    const std::pair<uint32_t, uint32_t> sizes[] = {{0, 0}, {0, 1}, {60000, 60000}, {1000000, 1000000}, {0x7fffffff, 1}};
    for (const auto& [width, height] : sizes) {
        ByteVector file = WritePng(MakePicture(kinds[7], 4, 4));
        const uint32_t values[] = {width, height};
        for (int byte = 0; byte < 8; ++byte)
            file[16 + byte] = static_cast<unsigned char>(values[byte / 4] >> (24 - 8 * (byte % 4)));
        // The checksum of the header chunk has to agree, or the lie would not be reached.
        uint32_t crc = ~0u;
        for (int at = 12; at < 29; ++at) {
            crc ^= file[at];
            for (int bit = 0; bit < 8; ++bit)
                crc = crc >> 1 ^ (crc & 1 ? 0xedb88320u : 0);
        }
        for (int byte = 0; byte < 4; ++byte)
            file[29 + byte] = static_cast<unsigned char>(~crc >> (24 - 8 * byte));
        qs::LogCapture log;
        const Loaded loaded(file);
        EXPECT_FALSE(loaded.good) << width;
        EXPECT_EQ(log.Count(qs::LogLevelError), 1u) << log.GetLast();
    }
}
