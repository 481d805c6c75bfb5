// DDS files built by hand: every row of the format tables, mip chains, cubes, volumes, skipping, and broken files.
#include "Gleamwork/image/ImageUtils.h"
#include "Gleamwork/image/win32/ImageFileFormatDDS.h"
#include "LoadedImage.h"

#include <gtest/gtest.h>
#include <numeric>
#include <qs/Log.h>

namespace {

using namespace gw;

uint32_t FourCC(const char* text)
{
    uint32_t code;
    std::memcpy(&code, text, sizeof code);
    return code;
}

// The fields that the reader looks at, by their place in the file.
struct DdsFile
{
    uint32_t words[32] = {};
    uint32_t dxgi = 0;

    DdsFile(uint32_t width, uint32_t height, uint32_t mips = 0, uint32_t depth = 0)
    {
        words[0] = FourCC("DDS ");
        words[3] = height;
        words[4] = width;
        words[6] = depth;
        words[7] = mips;
    }
    DdsFile& Code(uint32_t fourCC)
    {
        words[21] = fourCC;
        return *this;
    }
    DdsFile& Dxgi(uint32_t format)
    {
        dxgi = format;
        return Code(FourCC("DX10"));
    }
    DdsFile& Masks(uint32_t bits, uint32_t red, uint32_t blue, uint32_t alpha)
    {
        words[22] = bits;
        words[23] = red;
        words[25] = blue;
        words[26] = alpha;
        return *this;
    }
    DdsFile& Cube()
    {
        words[28] = 0x200;
        return *this;
    }
    // With pixel bytes that count up.
    ByteVector Bytes(size_t pixelBytes) const
    {
        ByteVector file(sizeof words);
        std::memcpy(file.data(), words, sizeof words);
        if (words[21] == FourCC("DX10")) {
            const uint32_t extended[5] = {dxgi, 3, 0, 1, 0};
            const auto* bytes = reinterpret_cast<const unsigned char*>(extended);
            file.insert(file.end(), bytes, bytes + sizeof extended);
        }
        for (size_t i = 0; i < pixelBytes; ++i)
            file.push_back(static_cast<unsigned char>(i % 251));
        return file;
    }
};

ByteVector CountingBytes(size_t first, size_t count)
{
    ByteVector bytes;
    for (size_t i = first; i < first + count; ++i)
        bytes.push_back(static_cast<unsigned char>(i % 251));
    return bytes;
}

ImageLoadParams Skip(int64_t levels, uint32_t flags = 0)
{
    ImageLoadParams params;
    params.mipSkip = levels;
    params.flags = flags;
    return params;
}

void ExpectFormat(const DdsFile& file, EFormat format, EFormat fileFormat = FORMAT_MAX)
{
    const size_t bytes = 3 * 16 * 16; // more than 5 by 3 pixels of any format
    const LoadedImage loaded(IMAGE_FILE_DDS, file.Bytes(bytes));
    ASSERT_TRUE(loaded.good) << format;
    EXPECT_EQ(format, loaded.image.GetFormat());
    const ByteVector held = CountingBytes(0, image::CalculateMipMapSize(loaded.image, 0, 1, format));
    EXPECT_EQ(fileFormat == FORMAT_MAX ? held : Convert(fileFormat, format, held), loaded.Pixels()) << format;
}

TEST(Dds, EveryCodeAndMaskNamesItsFormat)
{
    const DdsFile file(5, 3);
    const std::pair<const char*, EFormat> codes[] = {
        {"DXT1", FORMAT_DXT1},  {"DXT3", FORMAT_DXT3},  {"DXT5", FORMAT_DXT5}, {"ATI1", FORMAT_ATI1N},
        {"BC4U", FORMAT_ATI1N}, {"ATI2", FORMAT_ATI2N}, {"BC5U", FORMAT_ATI2N}};
    for (const auto& [text, format] : codes)
        ExpectFormat(DdsFile(file).Code(FourCC(text)), format);
    const std::pair<uint32_t, EFormat> numbers[] = {{34, FORMAT_RG16},   {36, FORMAT_RGBA16},   {111, FORMAT_R16F},
                                                    {112, FORMAT_RG16F}, {113, FORMAT_RGBA16F}, {114, FORMAT_R32F},
                                                    {115, FORMAT_RG32F}, {116, FORMAT_RGBA32F}};
    for (const auto& [code, format] : numbers)
        ExpectFormat(DdsFile(file).Code(code), format);
    const std::pair<uint32_t, EFormat> dxgi[] = {
        {2, FORMAT_RGBA32F},  {6, FORMAT_RGB32F},    {10, FORMAT_RGBA16F}, {11, FORMAT_RGBA16}, {16, FORMAT_RG32F},
        {24, FORMAT_RGB10A2}, {26, FORMAT_RG11B10F}, {28, FORMAT_RGBA8},   {34, FORMAT_RG16F},  {35, FORMAT_RG16},
        {41, FORMAT_R32F},    {49, FORMAT_RG8},      {54, FORMAT_R16F},    {56, FORMAT_R16},    {61, FORMAT_R8},
        {67, FORMAT_RGB9E5},  {71, FORMAT_DXT1},     {74, FORMAT_DXT3},    {77, FORMAT_DXT5},   {80, FORMAT_ATI1N},
        {83, FORMAT_ATI2N},   {95, FORMAT_BC6H},     {98, FORMAT_BC7}};
    for (const auto& [code, format] : dxgi)
        ExpectFormat(DdsFile(file).Dxgi(code), format);
    ExpectFormat(DdsFile(file).Dxgi(87), FORMAT_RGBA8, FORMAT_BGRA8);
    ExpectFormat(DdsFile(file).Masks(8, 0, 0, 0), FORMAT_R8);
    ExpectFormat(DdsFile(file).Masks(16, 0, 31, 0xf000), FORMAT_RGBA4);
    ExpectFormat(DdsFile(file).Masks(16, 0, 31, 0xff00), FORMAT_RG8);
    ExpectFormat(DdsFile(file).Masks(16, 0, 31, 0x8000), FORMAT_RGB565);
    ExpectFormat(DdsFile(file).Masks(16, 0xffff, 0, 0), FORMAT_R16);
    ExpectFormat(DdsFile(file).Masks(24, 0, 255, 0), FORMAT_RGB8, FORMAT_BGR8);
    ExpectFormat(DdsFile(file).Masks(24, 255, 0, 0), FORMAT_RGB8);
    ExpectFormat(DdsFile(file).Masks(32, 0x3ff00000, 255, 0), FORMAT_RGB10A2);
    ExpectFormat(DdsFile(file).Masks(32, 0, 255, 0), FORMAT_RGBA8, FORMAT_BGRA8);
    ExpectFormat(DdsFile(file).Masks(32, 255, 0, 0), FORMAT_RGBA8);
    for (const DdsFile& none :
         {DdsFile(file).Code(FourCC("DXT2")), DdsFile(file).Dxgi(29), DdsFile(file).Masks(48, 0, 0, 0)})
        EXPECT_FALSE(LoadedImage(IMAGE_FILE_DDS, none.Bytes(999)).good);
}

struct SkipCase
{
    uint32_t width, height, mips, depth;
    ImageLoadParams params;
    int64_t leftWidth, leftDepth, leftMips;
    size_t firstByte;
};

TEST(Dds, SkipsLevelsOfChains)
{
    // The sum of the levels of a DXT1 chain from 256: 32768 + 8192 + 2048 + 512 + 128 + 32 + ...
    const SkipCase cases[] = {
        {256, 256, 9, 0, Skip(0), 256, 1, 9, 0},
        {256, 256, 9, 0, Skip(2), 64, 1, 7, 40960},
        {256, 256, 9, 0, Skip(8), 4, 1, 3, 43680},
        {256, 256, 9, 0, Skip(-5), 256, 1, 9, 0},
        {64, 64, 7, 0, Skip(2, IMAGE_LOAD_KEEP_SMALL_MIPS), 64, 1, 7, 0},
        {128, 64, 7, 0, Skip(1, IMAGE_LOAD_KEEP_SMALL_MIPS), 64, 1, 6, 4096},
        {1024, 2, 3, 0, Skip(1), 1024, 1, 3, 0},
        {16, 16, 1, 0, Skip(3), 16, 1, 1, 0},
        {16, 16, 5, 8, Skip(1), 8, 4, 4, 1024},
    };
    for (const SkipCase& c : cases) {
        DdsFile file(c.width, c.height, c.mips, c.depth);
        const LoadedImage loaded(IMAGE_FILE_DDS, file.Code(FourCC("DXT1")).Bytes(60000), c.params);
        ASSERT_TRUE(loaded.good) << c.width << " " << c.params.mipSkip;
        EXPECT_EQ(c.leftWidth, loaded.image.GetWidth());
        EXPECT_EQ(c.leftDepth, loaded.image.GetDepth());
        EXPECT_EQ(c.leftMips, loaded.image.GetMipMapCount());
        EXPECT_EQ(c.mips, loaded.image.GetOriginalMipCount());
        EXPECT_EQ(CountingBytes(c.firstByte, loaded.image.GetBufferSize()), loaded.Pixels());
    }
}

TEST(Dds, CubesSkipOnEveryFace)
{
    // RGBA8 faces of 8, 4, 2, 1: 340 bytes, of which the first 256 are left out.
    DdsFile file(8, 8, 4);
    const LoadedImage loaded(IMAGE_FILE_DDS, file.Cube().Masks(32, 255, 0, 0).Bytes(6 * 340), Skip(1));
    ASSERT_TRUE(loaded.good);
    EXPECT_TRUE(loaded.image.IsCube());
    ByteVector expected;
    for (size_t face = 0; face < 6; ++face) {
        const ByteVector left = CountingBytes(face * 340 + 256, 84);
        expected.insert(expected.end(), left.begin(), left.end());
    }
    EXPECT_EQ(expected, loaded.Pixels());
}

TEST(Dds, DescribesWithoutPixels)
{
    ImageLoadParams params = Skip(0, IMAGE_LOAD_HEADER_ONLY);
    constexpr image::FormatReplacement wide[] = {{FORMAT_RGB8, FORMAT_RGBA8}};
    params.formatReplacements = wide;
    const LoadedImage loaded(IMAGE_FILE_DDS, DdsFile(30000, 20000).Masks(24, 0, 255, 0).Bytes(0), params);
    ASSERT_TRUE(loaded.good);
    EXPECT_EQ(FORMAT_RGBA8, loaded.image.GetFormat()); // turned round first, widened then
    EXPECT_EQ(1, loaded.image.GetDepth());
    EXPECT_EQ(1, loaded.image.GetMipMapCount());
    EXPECT_EQ(0u, loaded.image.GetBufferSize());
}

TEST(Dds, BrokenFilesFailAndSayWhy)
{
    const auto expect = [](const ByteVector& file, const char* message) {
        qs::LogCapture log;
        const LoadedImage loaded(IMAGE_FILE_DDS, file);
        EXPECT_FALSE(loaded.good);
        EXPECT_EQ(0u, loaded.image.GetBufferSize());
        const auto entries = log.GetEntries();
        ASSERT_EQ(message ? 1u : 0u, entries.size());
        if (message) {
            EXPECT_NE(std::string::npos, entries[0].text.find(message)) << entries[0].text;
        }
    };
    DdsFile file(256, 256, 9);
    file.Code(FourCC("DXT1"));
    const ByteVector whole = file.Bytes(43704);
    EXPECT_TRUE(LoadedImage(IMAGE_FILE_DDS, whole).good);
    expect(ByteVector(whole.begin(), whole.end() - 1), "Error reading dds data!");
    expect(ByteVector(whole.begin(), whole.begin() + 127), "Error reading dds data!");
    expect({}, "Error reading dds data!");
    const ByteVector extended = DdsFile(4, 4).Dxgi(28).Bytes(64);
    expect(ByteVector(extended.begin(), extended.begin() + 140), "Error reading dds data!");
    expect(DdsFile(0, 7).Masks(32, 0, 0, 0).Bytes(64), "Error reading dds data!");
    // Sizes whose bytes do not fit any memory, or any number.
    expect(DdsFile(0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff).Masks(32, 0, 0, 0).Bytes(64),
           "Error reading dds data!");
    expect(DdsFile(4, 4).Code(FourCC("XBOX")).Bytes(64), "Trying to load XBOX DDS on non xbox platform!");
    expect(DdsFile(4, 4).Masks(7, 0, 0, 0).Bytes(64), nullptr);
    for (const auto& [magic, message] : {std::pair{"GNF ", "Trying to load GNF DDS on non orbis platform!"},
                                         std::pair{"DFvN", "DFvN"}, std::pair{"dds ", "Error reading dds data!"}}) {
        DdsFile other(4, 4);
        other.words[0] = FourCC(magic);
        expect(other.Bytes(64), message);
    }
}

} // namespace
