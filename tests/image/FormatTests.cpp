// The format catalogue and the arithmetic of mip chains.
#include "Gleamwork/GWFS.h"
#include "Gleamwork/image/ImageUtils.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

using namespace gw;
using namespace gw::image;

namespace {

ImageData Describe(int64_t width, int64_t height, int64_t depth, uint32_t flags = 0)
{
    ImageData data;
    data.width = width;
    data.height = height;
    data.depth = depth;
    data.flags = flags;
    data.format = FORMAT_RGBA8;
    return data;
}

} // namespace

TEST(Format, CatalogueAgreesWithTheNamingScheme)
{
    std::set<std::string> names;
    for (uint32_t value = 0; value < FORMAT_MAX; ++value) {
        const FormatDescription description = GetFormatDescription(static_cast<EFormat>(value));
        EXPECT_TRUE(names.insert(description.name).second) << description.name;
        EXPECT_EQ(description.isBlockCompressed, value >= FORMAT_DXT1 && value <= FORMAT_BC7) << description.name;
        // Plain channel formats say their size in their names.
        const std::string name = description.name;
        const size_t channels = name.find_first_not_of("RGBA");
        const std::string width = name.substr(channels, name.find_first_not_of("0123456789", channels) - channels);
        if (channels == 0 || width.empty() || value > FORMAT_RGBA32UI)
            continue;
        EXPECT_EQ(description.channelCount, static_cast<int64_t>(channels)) << name;
        EXPECT_EQ(description.elementBytes, channels * std::stoul(width) / 8) << name;
    }
    EXPECT_EQ(GetFormatDescription(FORMAT_D32FS8).elementBytes, 8u);
    EXPECT_EQ(GetFormatDescription(FORMAT_ATI2N).elementBytes, 16u);
    EXPECT_STREQ(GetFormatDescription(FORMAT_MAX).name, "<unknown>");
    EXPECT_STREQ(GetFormatDescription(EFormat(200)).name, "<unknown>");
}

TEST(Format, StringsGoByNameNotByPlace)
{
    GWFS::Init();
    EXPECT_STREQ(FormatToFixedString(FORMAT_D32FS8).ToChar(), "FORMAT_D32FS8");
    EXPECT_STREQ(FormatToFixedString(FORMAT_DXT1).ToChar(), "FORMAT_DXT1");
    EXPECT_STREQ(FormatToFixedString(FORMAT_NONE).ToChar(), "FORMAT_NONE");
    EXPECT_STREQ(FormatToFixedString(FORMAT_MAX).ToChar(), "FORMAT_MAX");
    EXPECT_STREQ(FormatToFixedString(EFormat(64)).ToChar(), "FORMAT_MAX");
    for (uint32_t value = FORMAT_R8; value < FORMAT_ATI1N; ++value) {
        const EFormat format = static_cast<EFormat>(value);
        EXPECT_EQ(FormatToFixedString(format).ToChar(), std::string("FORMAT_") + GetFormatDescription(format).name);
    }
    GWFS::Shutdown();
}

TEST(MipChain, SizesCountLevelsBlocksSlicesAndFaces)
{
    EXPECT_EQ(CalculateMipMapSize(Describe(1, 1, 1), 0, 10, FORMAT_RGBA8), 4u);
    EXPECT_EQ(CalculateMipMapSize(Describe(5, 3, 1), 0, 1, FORMAT_DXT1), 16u);
    EXPECT_EQ(CalculateMipMapSize(Describe(5, 3, 1), 1, 1, FORMAT_DXT1), 8u);
    EXPECT_EQ(CalculateMipMapSize(Describe(5, 3, 1), 0, 100, FORMAT_DXT1), 32u);
    EXPECT_EQ(CalculateMipMapSize(Describe(8, 8, 4), 0, 1, FORMAT_DXT5), 4u * 4u * 16u);
    EXPECT_EQ(CalculateMipMapSize(Describe(4, 4, 1, IMAGE_FLAG_CUBE), 0, 3, FORMAT_R8), 6u * 21u);
    EXPECT_EQ(CalculateMipMapSize(Describe(4, 4, 1, IMAGE_FLAG_CUBE), 2, 0, FORMAT_R8), 0u);
    EXPECT_EQ(CalculateMipMapSize(Describe(4, 4, 1), 0, 3, FORMAT_MAX), 0u);
    EXPECT_EQ(CalculateMipMapPixelCount(Describe(5, 3, 2), 0, 2), 5u * 3u * 2u + 2u);
    EXPECT_EQ(CalculateMipMapSize(Describe(int64_t(1) << 40, int64_t(1) << 40, 1), 0, 1, FORMAT_R8), ~uint64_t(0));
}

TEST(MipChain, LengthsStepsAndReplacements)
{
    const std::pair<int64_t, int64_t> lengths[] = {{0, 0}, {1, 1}, {2, 2}, {3, 2}, {16, 5}, {256, 9}, {257, 9}};
    for (const auto& [size, levels] : lengths)
        EXPECT_EQ(GetMipMapCountFromDimensions(Describe(size, size == 0 ? 0 : 1, 0)), levels) << size;
    const MipDimensions third = GetMipDimensions(Describe(16, 1, 9), 3);
    EXPECT_EQ(third.width * 100 + third.height * 10 + third.depth, 211);
    EXPECT_EQ(GetMipWidth(Describe(16, 1, 1), 200), 1);
    int64_t width = 3, height = 1, depth = 1;
    EXPECT_TRUE(StepToNextMip(width, height, depth));
    EXPECT_FALSE(StepToNextMip(width, height, depth));

    const FormatReplacement pairs[] = {{FORMAT_R8, FORMAT_RGBA8}, {FORMAT_RGBA8, FORMAT_R16}, {FORMAT_R8, FORMAT_DXT1}};
    EXPECT_EQ(ReplaceFormat(FORMAT_R8, pairs), FORMAT_RGBA8);
    EXPECT_EQ(ReplaceFormat(FORMAT_RG8, pairs), FORMAT_RG8);
}
