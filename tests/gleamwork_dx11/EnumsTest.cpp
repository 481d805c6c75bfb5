// Enum conversions against the published numbers, and format tables against each other.
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <DirectXTex.h>
#include <functional>
#include <gtest/gtest.h>
#include <qs/Log.h>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace {

struct Conversion
{
    const char* name;
    std::function<int(int)> convert;
    std::vector<int> device; ///< by library value
    unsigned highestPrinted;
    int fallback;
};

std::string InvalidText(const Conversion& conversion, unsigned value)
{
    return std::string("[gw2DX11::") + conversion.name + "] invalid value passed (" + std::to_string(value) +
           "), valid range is [0, " + std::to_string(conversion.highestPrinted) + "]";
}

using namespace gw2DX11;

const Conversion CONVERSIONS[] = {
    {"ResourceUsage", [](int v) { return ResourceUsage(gw::EResourceUsage(v)); }, {1, 0, 2, 3}, 3, 3},
    {"WrapMode", [](int v) { return WrapMode(gw::EAddressMode(v)); }, {1, 3, 2, 4}, 2, 1},
    {"BlendConstants",
     [](int v) { return BlendConstants(gw::EBlendConstants(v)); },
     {1, 2, 3, 4, 9, 10, 5, 6, 7, 8, 11},
     10,
     1},
    {"BlendOperation", [](int v) { return BlendOperation(gw::EBlendOperation(v)); }, {1, 2, 3, 4, 5}, 4, 1},
    {"CompareFunc", [](int v) { return CompareFunc(gw::EComparisonFunction(v)); }, {1, 2, 3, 4, 5, 6, 7, 8}, 7, 1},
    {"StencilOperation",
     [](int v) { return StencilOperation(gw::EStencilOperation(v)); },
     {1, 2, 3, 6, 7, 8, 4, 5},
     7,
     1},
    {"CullMode", [](int v) { return CullMode(gw::ECullModes(v)); }, {1, 3, 2}, 2, 1},
    {"FillMode", [](int v) { return FillMode(gw::EFillModes(v)); }, {3, 2}, 1, 3},
    {"SamplerXYFilterMode",
     [](int v) { return SamplerFilterMode(gw::EFilter(v)); },
     {0x00, 0x14, 0x14, 0x15, 0x55, 0x55},
     5,
     0},
    {"PrimitiveTopology",
     [](int v) { return PrimitiveTopology(gw::EPrimitiveTopology(v)); },
     {0, 4, 0, 5, 0, 2, 3, 0, 1},
     8,
     0},
    {"DepthStencilClearFlags",
     [](int v) { return int(DepthStencilClearFlags(gw::EDepthStencilClearMode(v))); },
     {1, 2, 3},
     2,
     1},
};

} // namespace

TEST(Enums, TranslateEveryValueAndReportTheRest)
{
    for (const Conversion& conversion : CONVERSIONS) {
        qs::LogCapture log;
        for (std::size_t value = 0; value < conversion.device.size(); ++value) {
            EXPECT_EQ(conversion.convert(int(value)), conversion.device[value]) << conversion.name << " " << value;
        }
        EXPECT_EQ(log.Count(), 0u) << conversion.name;
        for (const unsigned value : {unsigned(conversion.device.size()), 255u}) {
            EXPECT_EQ(conversion.convert(int(value)), conversion.fallback) << conversion.name;
            EXPECT_EQ(log.GetLast(), InvalidText(conversion, value));
        }
        EXPECT_EQ(log.Count(qs::LogLevelAssertion), 2u) << conversion.name;
    }
}

TEST(Enums, NamesSemanticsAndMapsAccess)
{
    qs::LogCapture log;
    EXPECT_EQ(FormatDescUsageToSemanticName(gw::eAttributeUsage_None), nullptr);
    EXPECT_STREQ(FormatDescUsageToSemanticName(gw::eAttributeUsage_Texcoord), "Texcoord");
    EXPECT_STREQ(FormatDescUsageToSemanticName(gw::eAttributeUsage_Float3Stream), "Float3Stream");
    const int maps[] = {1, 1, 2, 3, 4, 5};
    for (int access = 0; access < 6; ++access) {
        EXPECT_EQ(GetD3D11MapType(gw::EResourceAccess(access)), maps[access]);
    }
    EXPECT_EQ(log.Count(), 0u);
    EXPECT_EQ(FormatDescUsageToSemanticName(gw::EAttributeUsage(11)), nullptr);
    EXPECT_EQ(log.GetLast(),
              "[gw2DX11::FormatDescUsageToSemanticName] invalid value passed (11), valid range is [0, 10]");
    EXPECT_EQ(GetD3D11MapType(gw::EResourceAccess(6)), D3D11_MAP_READ);
    EXPECT_EQ(log.GetLast(), "Unknown EBufferUpdateFlags! Please update this function!");
}

TEST(Enums, DeviceFormatsHaveTheSizeOfTheirLibraryFormat)
{
    const std::set<unsigned> withoutDeviceFormat = {0, 3, 7, 11, 15, 19, 27, 35, 41, 45, 48, 60, 62, 63};
    for (unsigned value = 0; value <= gw::FORMAT_MAX; ++value) {
        const auto format = gw::EFormat(value);
        const DXGI_FORMAT device = Format(format);
        EXPECT_EQ(device == DXGI_FORMAT_UNKNOWN, withoutDeviceFormat.contains(value)) << value;
        if (device == DXGI_FORMAT_UNKNOWN || format == gw::FORMAT_D24) { // 24 bits live in 32 beside the stencil
            continue;
        }
        const gw::image::FormatDescription description = gw::image::GetFormatDescription(format);
        EXPECT_EQ(DirectX::IsCompressed(device), description.isBlockCompressed) << value;
        EXPECT_EQ(DirectX::BitsPerPixel(device) * (description.isBlockCompressed ? 16 : 1),
                  description.elementBytes * 8)
            << value;
    }
    EXPECT_EQ(Format(gw::EFormat(1000)), DXGI_FORMAT_UNKNOWN);
    EXPECT_EQ(Format(gw::FORMAT_RGB565), 85);
    EXPECT_EQ(Format(gw::FORMAT_ATI2N), 83);
    EXPECT_EQ(Format(gw::FORMAT_BGRA8), 87);
}

TEST(Enums, AttributeFormatsHaveTheSizeOfTheirComponents)
{
    qs::LogCapture log;
    for (int format = 0; format < 12; ++format) {
        const int bytes = gw::details::RendererBase::GetFormatSize(gw::EAttributeFormat(format));
        for (unsigned count = 1; count <= 4; ++count) {
            const DXGI_FORMAT device = AttributeFormat(gw::EAttributeFormat(format), count);
            const bool isHole = count == 3 && bytes < 4;
            EXPECT_EQ(device == DXGI_FORMAT_UNKNOWN, isHole) << format << " " << count;
            EXPECT_EQ(DirectX::BitsPerPixel(device), isHole ? 0 : bytes * 8 * count) << format << " " << count;
        }
    }
    EXPECT_EQ(AttributeFormat(gw::eAttributeFormat_UNorm8, 4), DXGI_FORMAT_R8G8B8A8_UNORM);
    EXPECT_EQ(log.Count(), 0u);
    EXPECT_EQ(AttributeFormat(gw::eAttributeFormat_Float32, 5), DXGI_FORMAT_UNKNOWN);
    EXPECT_EQ(log.GetLast(), "[gw2DX11::AttributeFormat] invalid size passed (5), valid range is [1, 4]");
    EXPECT_EQ(AttributeFormat(gw::EAttributeFormat(12), 1), DXGI_FORMAT_UNKNOWN);
    EXPECT_EQ(log.GetLast(), "[gw2DX11::AttributeFormat] invalid value passed (12), valid range is [0, 11]");
}

TEST(Enums, TextureAndViewFormatsFollowTheUsage)
{
    using Six = std::array<api::DxgiFormat, 6>;
    const auto settle = [](gw::EFormat format, unsigned usage) {
        Six six;
        api::D3D11Renderer::GetDXGIFormatsFromGWFormat(format, gw::ETextureUsageFlag(usage), six[0], six[1], six[2],
                                                       six[3], six[4], six[5]);
        return six;
    };
    // texture, target, depth, unordered, shader, stencil shader
    EXPECT_EQ(settle(gw::FORMAT_D32F, 256 | 4), (Six{39, 0, 40, 0, 41, 0}));
    EXPECT_EQ(settle(gw::FORMAT_D32F, 256), (Six{40, 0, 40, 0, 0, 0}));
    EXPECT_EQ(settle(gw::FORMAT_D24S8, 512 | 8), (Six{44, 0, 45, 0, 46, 47}));
    EXPECT_EQ(settle(gw::FORMAT_D16, 256 | 4), (Six{53, 0, 55, 0, 56, 0}));
    EXPECT_EQ(settle(gw::FORMAT_DXT5, 1 | 4), (Six{78, 0, 0, 0, 78, 0}));
    EXPECT_EQ(settle(gw::FORMAT_RGBA8, 1 | 4 | 32 | 1024), (Six{29, 29, 0, 29, 29, 0}));
    qs::LogCapture log;
    EXPECT_EQ(settle(gw::FORMAT_ATI1N, 1 | 4), (Six{80, 0, 0, 0, 80, 0}));
    EXPECT_EQ(log.Count(), 0u);
    EXPECT_EQ(settle(gw::FORMAT_R8, 1 | 4), (Six{61, 0, 0, 0, 61, 0}));
    EXPECT_EQ(log.GetLast(), "Trying to create sRGB texurem but no sRGB format is found.");
    EXPECT_EQ(settle(gw::FORMAT_R32F, 256 | 4), (Six{41, 0, 41, 0, 41, 0}));
    EXPECT_EQ(log.Count(qs::LogLevelAssertion), 2u);
}

TEST(Enums, ResultCodesHaveNamesAndDescriptions)
{
    EXPECT_STREQ(api::GetErrorName(long(0x887a0006)), "DXGI_ERROR_DEVICE_HUNG");
    EXPECT_STREQ(api::GetErrorName(E_INVALIDARG), "E_INVALIDARG");
    EXPECT_STRNE(api::GetErrorDescription(DXGI_ERROR_DEVICE_REMOVED), "Unknown error.");
    EXPECT_STREQ(api::GetErrorDescription(0x12345678), "Unknown error.");
}
