// The format table against an independent source, and the arithmetic over it.
#include "common/FormatInfo.h"

#include <cmath>

#include "Support.h"
#include "common/FormatTable.h"

#include <vulkan/vulkan_format_traits.hpp>

namespace gleam {
namespace {

bool IsCombinedDepth(VkFormat format)
{
    return format == VK_FORMAT_D24_UNORM_S8_UINT || format == VK_FORMAT_D32_SFLOAT_S8_UINT;
}

TEST(FormatTable, AgreesWithVulkansOwnTable)
{
    int compared = 0;
    for (const FormatInfo& info : FormatTable()) {
        SCOPED_TRACE(info.name);
        EXPECT_EQ(&GetFormatInfo(info.format), &info);
        if (info.vkFormat == 0) {
            EXPECT_EQ(info.support, 0u) << "a format without Vulkan's must not promise anything";
            continue;
        }
        const auto vkFormat = static_cast<vk::Format>(info.vkFormat);
        const auto extent = vk::blockExtent(vkFormat);
        EXPECT_EQ(extent[0], info.blockWidth);
        EXPECT_EQ(extent[1], info.blockHeight);
        if (!IsCombinedDepth(static_cast<VkFormat>(info.vkFormat))) {
            EXPECT_EQ(vk::blockSize(vkFormat), info.blockBytes);
        }
        // Kinds and bits by component, for the formats that are not views of one plane. (The other table gives
        // R11G11B10_FLOAT ten bits of red.)
        if (!info.IsCompressed() && !info.IsTypeless() && !info.hasDepth && !info.hasStencil &&
            info.format != DXGI_FORMAT_A8_UNORM && info.format != DXGI_FORMAT_R9G9B9E5_SHAREDEXP &&
            info.format != DXGI_FORMAT_R11G11B10_FLOAT) {
            for (int i = 0; i < static_cast<int>(vk::componentCount(vkFormat)); ++i) {
                const std::string component = vk::componentName(vkFormat, static_cast<uint8_t>(i));
                const int channel = static_cast<int>(std::string("RGBA").find(component));
                if (!(info.isBgra && channel == 3 && info.bits[3] == 0)) {
                    EXPECT_EQ(vk::componentBits(vkFormat, static_cast<uint8_t>(i)), info.bits[channel]) << component;
                }
                const std::string kind = vk::componentNumericFormat(vkFormat, static_cast<uint8_t>(i));
                const bool isAlphaOfSrgb = info.kind == EFormatKind::UnormSrgb && channel == 3;
                const char* expected[] = {"", "", "FLOAT", "UNORM", "SRGB", "SNORM", "UINT", "SINT"};
                EXPECT_THAT(kind, testing::HasSubstr(isAlphaOfSrgb ? "" : expected[static_cast<int>(info.kind)]));
            }
        }
        ++compared;
    }
    EXPECT_GT(compared, 90);
}

TEST(FormatTable, RelativesFitTogether)
{
    for (const FormatInfo& info : FormatTable()) {
        SCOPED_TRACE(info.name);
        const FormatInfo& family = GetFormatInfo(info.family);
        EXPECT_EQ(family.blockBytes, info.blockBytes);
        EXPECT_TRUE(info.family == info.format || family.IsTypeless());
        const FormatInfo& srgb = GetFormatInfo(info.srgb);
        EXPECT_EQ(srgb.family, info.family);
        if (info.kind == EFormatKind::Unorm && srgb.kind == EFormatKind::UnormSrgb) {
            EXPECT_EQ(srgb.linear, info.format);
        }
        EXPECT_EQ(info.vkDepthFormat != 0, info.hasDepth || info.hasStencil ||
                                               info.format == DXGI_FORMAT_R32_TYPELESS ||
                                               info.format == DXGI_FORMAT_R16_TYPELESS);
    }
    EXPECT_EQ(GetFormatInfo(DXGI_FORMAT_B8G8R8X8_UNORM).srgb, DXGI_FORMAT_B8G8R8X8_UNORM_SRGB);
    EXPECT_EQ(GetFormatInfo(DXGI_FORMAT_BC7_UNORM_SRGB).linear, DXGI_FORMAT_BC7_UNORM);
    EXPECT_EQ(GetFormatInfo(DXGI_FORMAT_BC4_UNORM).srgb, DXGI_FORMAT_BC4_UNORM);
    for (const int value : {-1, 116, 129, 133, 255}) {
        EXPECT_EQ(GetFormatInfo(static_cast<DXGI_FORMAT>(value)).format, DXGI_FORMAT_UNKNOWN) << value;
    }
}

TEST(FormatTable, SizesCountPartialBlocks)
{
    const FormatInfo& bc1 = GetFormatInfo(DXGI_FORMAT_BC1_UNORM);
    EXPECT_EQ(RowBytes(bc1, 1), 8u);
    EXPECT_EQ(RowBytes(bc1, 5), 16u);
    EXPECT_EQ(RowCount(bc1, 5), 2u);
    EXPECT_EQ(RowBytes(GetFormatInfo(DXGI_FORMAT_R32G32B32A32_FLOAT), 0xffffffff), 0xffffffffull * 16);
    EXPECT_EQ(RowCount(GetFormatInfo(DXGI_FORMAT_BC7_UNORM), 0xffffffff), 0x40000000u);
    EXPECT_EQ(FullMipCount(16384, 1, 1), 15u);
    EXPECT_EQ(FullMipCount(1, 5, 2), 3u);
    EXPECT_EQ(FullMipCount(0, 0, 0), 0u);
    EXPECT_EQ(MipExtent(5, 1), 2u);
    EXPECT_EQ(MipExtent(5, 40), 1u);
}

TEST(FormatTable, ViewsAndCopiesStayInTheFamily)
{
    EXPECT_TRUE(CanView(DXGI_FORMAT_R8G8B8A8_TYPELESS, DXGI_FORMAT_R8G8B8A8_UNORM_SRGB));
    EXPECT_TRUE(CanView(DXGI_FORMAT_R24G8_TYPELESS, DXGI_FORMAT_X24_TYPELESS_G8_UINT));
    EXPECT_FALSE(CanView(DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_R8G8B8A8_UNORM_SRGB));
    EXPECT_FALSE(CanView(DXGI_FORMAT_R8G8B8A8_TYPELESS, DXGI_FORMAT_R8G8B8A8_TYPELESS));
    EXPECT_FALSE(CanView(DXGI_FORMAT_R8G8B8A8_TYPELESS, DXGI_FORMAT_B8G8R8A8_UNORM));
    EXPECT_FALSE(CanView(DXGI_FORMAT_UNKNOWN, DXGI_FORMAT_UNKNOWN));

    EXPECT_TRUE(CanCopy(DXGI_FORMAT_R32_FLOAT, DXGI_FORMAT_R32_TYPELESS));
    EXPECT_TRUE(CanCopy(DXGI_FORMAT_BC1_UNORM, DXGI_FORMAT_R32G32_UINT));
    EXPECT_TRUE(CanCopy(DXGI_FORMAT_R32G32B32A32_SINT, DXGI_FORMAT_BC7_UNORM_SRGB));
    EXPECT_FALSE(CanCopy(DXGI_FORMAT_BC1_UNORM, DXGI_FORMAT_R32G32B32A32_UINT)) << "block sizes differ";
    EXPECT_FALSE(CanCopy(DXGI_FORMAT_BC1_UNORM, DXGI_FORMAT_R16G16B16A16_FLOAT)) << "not an integer format";
    EXPECT_FALSE(CanCopy(DXGI_FORMAT_R8G8B8A8_UNORM, DXGI_FORMAT_B8G8R8A8_UNORM));
    EXPECT_FALSE(CanCopy(DXGI_FORMAT_UNKNOWN, DXGI_FORMAT_UNKNOWN));
}

struct PackCase
{
    DXGI_FORMAT format;
    float color[4];
    std::vector<int> bytes;
};

class PackColorTest : public testing::TestWithParam<PackCase>
{
};

TEST_P(PackColorTest, GivesTheLayoutInMemory)
{
    const PackCase& param = GetParam();
    const FormatInfo& info = GetFormatInfo(param.format);
    std::uint8_t texel[16];
    ASSERT_EQ(PackColor(info, param.color, texel), !param.bytes.empty()) << info.name;
    for (size_t i = 0; i < param.bytes.size(); ++i) {
        EXPECT_EQ(texel[i], param.bytes[i]) << info.name << " byte " << i;
    }
}

const float Infinity = INFINITY;

INSTANTIATE_TEST_SUITE_P(, PackColorTest,
                         testing::ValuesIn(std::vector<PackCase>{
                             {DXGI_FORMAT_R8G8B8A8_UNORM, {1, 0.5f, 0, -3}, {255, 128, 0, 0}},
                             {DXGI_FORMAT_R8G8B8A8_UNORM, {NAN, Infinity, 2, 0.25f}, {0, 255, 255, 64}},
                             {DXGI_FORMAT_R8G8B8A8_UNORM_SRGB, {0.2140411f, 1, 0, 0.5f}, {127, 255, 0, 128}},
                             {DXGI_FORMAT_B8G8R8A8_UNORM, {1, 0, 0, 1}, {0, 0, 255, 255}},
                             {DXGI_FORMAT_B5G6R5_UNORM, {1, 0, 0, 0}, {0x00, 0xf8}},
                             {DXGI_FORMAT_B5G5R5A1_UNORM, {0, 0, 1, 1}, {0x1f, 0x80}},
                             {DXGI_FORMAT_R10G10B10A2_UNORM, {1, 0, 0, 1}, {0xff, 0x03, 0x00, 0xc0}},
                             {DXGI_FORMAT_R8G8_SNORM, {-1, 1, 0, 0}, {0x81, 0x7f}},
                             {DXGI_FORMAT_R16_UINT, {65536, 0, 0, 0}, {0xff, 0xff}},
                             {DXGI_FORMAT_R16_SINT, {-2, 0, 0, 0}, {0xfe, 0xff}},
                             {DXGI_FORMAT_R32_UINT, {4294967040.0f, 0, 0, 0}, {0x00, 0xff, 0xff, 0xff}},
                             {DXGI_FORMAT_R32G32_FLOAT, {1, -2, 0, 0}, {0, 0, 0x80, 0x3f, 0, 0, 0, 0xc0}},
                             // Half floats: 1.0, the largest, rounding up to infinity, a denormal.
                             {DXGI_FORMAT_R16G16B16A16_FLOAT,
                              {1, 65504, 65520, 5.9604645e-8f},
                              {0x00, 0x3c, 0xff, 0x7b, 0x00, 0x7c, 0x01, 0x00}},
                             {DXGI_FORMAT_R16_FLOAT, {-0.0f, 0, 0, 0}, {0x00, 0x80}},
                             // 11 and 10 bits without sign: 1.0 is exponent 15, negative values are 0.
                             {DXGI_FORMAT_R11G11B10_FLOAT, {1, -1, 1, 0}, {0xc0, 0x03, 0x00, 0x78}},
                             {DXGI_FORMAT_A8_UNORM, {0, 0, 0, 1}, {255}},
                             {DXGI_FORMAT_BC1_UNORM, {1, 1, 1, 1}, {}},
                             {DXGI_FORMAT_D32_FLOAT, {1, 1, 1, 1}, {}},
                             {DXGI_FORMAT_R8_TYPELESS, {1, 1, 1, 1}, {}}}));

} // namespace
} // namespace gleam
