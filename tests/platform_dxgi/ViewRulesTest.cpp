// The rules for making views, the defaults that null stands for, and the parts that views cover.
#include "Support.h"
#include "common/Validation.h"

namespace gleam {
namespace {

using test::DebugCapture;
using test::ExpectOutcome;

constexpr UINT Rest = 0xffffffff;
constexpr UINT AllTextureViews = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET | D3D11_BIND_UNORDERED_ACCESS;

ResourceInfo Texture2D(DXGI_FORMAT format = DXGI_FORMAT_R8G8B8A8_TYPELESS)
{
    ResourceInfo info;
    info.dimension = D3D11_RESOURCE_DIMENSION_TEXTURE2D;
    info.width = info.height = 32;
    info.mipLevels = 4;
    info.format = format;
    info.bindFlags = AllTextureViews;
    return info;
}

ResourceInfo Array2D(UINT slices, UINT misc = 0)
{
    ResourceInfo info = Texture2D();
    info.arraySize = slices;
    info.miscFlags = misc;
    return info;
}

ResourceInfo Multisampled(UINT slices)
{
    ResourceInfo info = Array2D(slices);
    info.mipLevels = 1;
    info.sampleCount = 4;
    return info;
}

ResourceInfo Volume()
{
    ResourceInfo info = Texture2D();
    info.dimension = D3D11_RESOURCE_DIMENSION_TEXTURE3D;
    info.depth = 8;
    return info;
}

ResourceInfo Buffer(UINT bytes, UINT misc = 0, UINT stride = 0)
{
    ResourceInfo info;
    info.dimension = D3D11_RESOURCE_DIMENSION_BUFFER;
    info.width = bytes;
    info.bindFlags = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_UNORDERED_ACCESS;
    info.miscFlags = misc;
    info.structureByteStride = stride;
    return info;
}

D3D11_SHADER_RESOURCE_VIEW_DESC Srv(D3D11_SRV_DIMENSION dimension, UINT a = 0, UINT b = 0, UINT c = 0, UINT d = 0,
                                    DXGI_FORMAT format = DXGI_FORMAT_R8G8B8A8_UNORM)
{
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{};
    desc.Format = format;
    desc.ViewDimension = dimension;
    desc.Texture2DArray = {a, b, c, d};
    return desc;
}

struct SrvCase
{
    const char* name;
    ResourceInfo info;
    D3D11_SHADER_RESOURCE_VIEW_DESC desc;
    const char* line; // null for success
    ViewRange range{};
};

class ShaderResourceRules : public testing::TestWithParam<SrvCase>
{
};

TEST_P(ShaderResourceRules, AcceptOrNameTheRule)
{
    const SrvCase& param = GetParam();
    DebugCapture capture;
    D3D11_SHADER_RESOURCE_VIEW_DESC full;
    const HRESULT hr = CheckShaderResourceView(param.info, &param.desc, full);
    ExpectOutcome(capture, hr, {param.line ? E_INVALIDARG : S_OK, param.line},
                  "ID3D11Device::CreateShaderResourceView");
    if (!param.line) {
        const ViewRange range = RangeOf(param.info, full);
        EXPECT_EQ(range.firstMip, param.range.firstMip);
        EXPECT_EQ(range.mipCount, param.range.mipCount);
        EXPECT_EQ(range.firstSlice, param.range.firstSlice);
        EXPECT_EQ(range.sliceCount, param.range.sliceCount);
    }
}

constexpr UINT Cube = D3D11_RESOURCE_MISC_TEXTURECUBE;
constexpr UINT Structured = D3D11_RESOURCE_MISC_BUFFER_STRUCTURED;
constexpr UINT Raw = D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS;

INSTANTIATE_TEST_SUITE_P(
    , ShaderResourceRules,
    testing::ValuesIn(std::vector<SrvCase>{
        {"AllMips", Texture2D(), Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 1, Rest), nullptr, {1, 3, 0, 1}},
        {"OneMip", Texture2D(), Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 3, 1), nullptr, {3, 1, 0, 1}},
        {"FirstOfArray", Array2D(5), Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 0, 1), nullptr, {0, 1, 0, 1}},
        {"Slices", Array2D(5), Srv(D3D11_SRV_DIMENSION_TEXTURE2DARRAY, 0, 2, 3, 2), nullptr, {0, 2, 3, 2}},
        {"RestOfSlices", Array2D(5), Srv(D3D11_SRV_DIMENSION_TEXTURE2DARRAY, 0, 4, 2, Rest), nullptr, {0, 4, 2, 3}},
        {"Cube", Array2D(6, Cube), Srv(D3D11_SRV_DIMENSION_TEXTURECUBE, 0, Rest), nullptr, {0, 4, 0, 6}},
        {"CubeFace", Array2D(6, Cube), Srv(D3D11_SRV_DIMENSION_TEXTURE2DARRAY, 0, 1, 5, 1), nullptr, {0, 1, 5, 1}},
        {"Cubes", Array2D(18, Cube), Srv(D3D11_SRV_DIMENSION_TEXTURECUBEARRAY, 0, 1, 6, 2), nullptr, {0, 1, 6, 12}},
        {"Samples", Multisampled(3), Srv(D3D11_SRV_DIMENSION_TEXTURE2DMSARRAY, 1, 2), nullptr, {0, 1, 1, 2}},
        {"Volume", Volume(), Srv(D3D11_SRV_DIMENSION_TEXTURE3D, 1, 1), nullptr, {1, 1, 0, 4}},
        {"Typed", Buffer(64), Srv(D3D11_SRV_DIMENSION_BUFFER, 0, 16), nullptr},
        {"Elements", Buffer(60, Structured, 12), Srv(D3D11_SRV_DIMENSION_BUFFER, 1, 4, 0, 0, DXGI_FORMAT_UNKNOWN),
         nullptr},
        {"RawWords", Buffer(64, Raw), Srv(D3D11_SRV_DIMENSION_BUFFEREX, 4, 12, 1, 0, DXGI_FORMAT_R32_TYPELESS),
         nullptr},
        {"TypedOnRaw", Buffer(64, Raw), Srv(D3D11_SRV_DIMENSION_BUFFER, 0, 16, 0, 0, DXGI_FORMAT_R32_UINT), nullptr},
        {"MipPastEnd", Texture2D(), Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 4, 1), "mip 4"},
        {"NoMips", Texture2D(), Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 0, 0), "0 mips"},
        {"TooManyMips", Texture2D(), Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 2, 3), "3 mips"},
        {"SlicePastEnd", Array2D(5), Srv(D3D11_SRV_DIMENSION_TEXTURE2DARRAY, 0, 1, 5, 1), "slice 5"},
        {"SlicesOverflow", Array2D(5), Srv(D3D11_SRV_DIMENSION_TEXTURE2DARRAY, 0, 1, 1, Rest - 1), "slices"},
        {"WrongKind", Texture2D(), Srv(D3D11_SRV_DIMENSION_TEXTURE3D, 0, 1), "2D texture"},
        {"NotSampled", Texture2D(), Srv(D3D11_SRV_DIMENSION_TEXTURE2DMS), "sample count of 1"},
        {"Sampled", Multisampled(1), Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 0, 1), "sample count of 4"},
        {"NoCube", Array2D(6), Srv(D3D11_SRV_DIMENSION_TEXTURECUBE, 0, 1), "TEXTURECUBE"},
        {"CubesOverflow", Array2D(12, Cube), Srv(D3D11_SRV_DIMENSION_TEXTURECUBEARRAY, 0, 1, 0, 0x2aaaaaab), "cubes"},
        {"CubesPastEnd", Array2D(12, Cube), Srv(D3D11_SRV_DIMENSION_TEXTURECUBEARRAY, 0, 1, 6, 2), "slices"},
        {"UnknownDimension", Texture2D(), Srv(static_cast<D3D11_SRV_DIMENSION>(15)), "ViewDimension 15"},
        {"OtherFamily", Texture2D(), Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 0, 1, 0, 0, DXGI_FORMAT_B8G8R8A8_UNORM),
         "B8G8R8A8_UNORM cannot"},
        {"StillTypeless", Texture2D(), Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 0, 1, 0, 0, DXGI_FORMAT_UNKNOWN),
         "R8G8B8A8_TYPELESS cannot"},
        {"DepthFormat", Texture2D(DXGI_FORMAT_R32_TYPELESS),
         Srv(D3D11_SRV_DIMENSION_TEXTURE2D, 0, 1, 0, 0, DXGI_FORMAT_D32_FLOAT), "a shader resource"},
        {"NoElements", Buffer(64), Srv(D3D11_SRV_DIMENSION_BUFFER, 0, 0), "0 elements"},
        {"ElementsPastEnd", Buffer(64), Srv(D3D11_SRV_DIMENSION_BUFFER, 1, 16), "64 bytes"},
        {"ElementsOverflow", Buffer(64), Srv(D3D11_SRV_DIMENSION_BUFFER, Rest, 1), "64 bytes"},
        {"TypedStructure", Buffer(60, Structured, 12), Srv(D3D11_SRV_DIMENSION_BUFFER, 0, 1), "structured"},
        {"Untyped", Buffer(64), Srv(D3D11_SRV_DIMENSION_BUFFER, 0, 1, 0, 0, DXGI_FORMAT_UNKNOWN), "UNKNOWN"},
        {"RawForbidden", Buffer(64), Srv(D3D11_SRV_DIMENSION_BUFFEREX, 0, 16, 1, 0, DXGI_FORMAT_R32_TYPELESS),
         "ALLOW_RAW_VIEWS"},
        {"RawUnaligned", Buffer(64, Raw), Srv(D3D11_SRV_DIMENSION_BUFFEREX, 1, 4, 1, 0, DXGI_FORMAT_R32_TYPELESS),
         "16 bytes"}}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ViewRules, NullStandsForEverything)
{
    DebugCapture capture;
    D3D11_SHADER_RESOURCE_VIEW_DESC srv;
    ResourceInfo cubes = Array2D(12, Cube);
    cubes.format = DXGI_FORMAT_R8G8B8A8_UNORM;
    ASSERT_EQ(CheckShaderResourceView(cubes, nullptr, srv), S_OK);
    EXPECT_EQ(srv.ViewDimension, D3D11_SRV_DIMENSION_TEXTURECUBEARRAY);
    EXPECT_EQ(srv.Format, DXGI_FORMAT_R8G8B8A8_UNORM);
    EXPECT_EQ(srv.TextureCubeArray.MipLevels, 4u);
    EXPECT_EQ(srv.TextureCubeArray.NumCubes, 2u);

    D3D11_RENDER_TARGET_VIEW_DESC rtv;
    ResourceInfo volume = Volume();
    volume.format = DXGI_FORMAT_R16_FLOAT;
    ASSERT_EQ(CheckRenderTargetView(volume, nullptr, rtv), S_OK);
    EXPECT_EQ(rtv.ViewDimension, D3D11_RTV_DIMENSION_TEXTURE3D);
    EXPECT_EQ(rtv.Texture3D.WSize, 8u);

    D3D11_DEPTH_STENCIL_VIEW_DESC dsv;
    ResourceInfo depth = Multisampled(2);
    depth.format = DXGI_FORMAT_D24_UNORM_S8_UINT;
    depth.bindFlags = D3D11_BIND_DEPTH_STENCIL;
    ASSERT_EQ(CheckDepthStencilView(depth, nullptr, dsv), S_OK);
    EXPECT_EQ(dsv.ViewDimension, D3D11_DSV_DIMENSION_TEXTURE2DMSARRAY);
    EXPECT_EQ(RangeOf(depth, dsv).sliceCount, 2u);

    D3D11_UNORDERED_ACCESS_VIEW_DESC uav;
    ASSERT_EQ(CheckUnorderedAccessView(Buffer(60, Structured, 12), nullptr, uav), S_OK);
    EXPECT_EQ(uav.Buffer.NumElements, 5u);
    EXPECT_THAT(capture.Lines(), testing::IsEmpty());
    ExpectOutcome(capture, CheckUnorderedAccessView(Buffer(64), nullptr, uav), {E_INVALIDARG, "needs a description"},
                  "ID3D11Device::CreateUnorderedAccessView");
}

TEST(ViewRules, TargetsTakeOneMip)
{
    DebugCapture capture;
    D3D11_RENDER_TARGET_VIEW_DESC full;
    D3D11_RENDER_TARGET_VIEW_DESC desc{};
    desc.Format = DXGI_FORMAT_R8G8B8A8_UNORM_SRGB;
    desc.ViewDimension = D3D11_RTV_DIMENSION_TEXTURE3D;
    desc.Texture3D = {2, 1, Rest};
    constexpr const char* call = "ID3D11Device::CreateRenderTargetView";
    ExpectOutcome(capture, CheckRenderTargetView(Volume(), &desc, full), {}, call);
    // Mip 2 of a depth of 8 has two slices, of which one is left.
    EXPECT_EQ(full.Texture3D.WSize, 1u);
    desc.Texture3D = {2, 2, 1};
    ExpectOutcome(capture, CheckRenderTargetView(Volume(), &desc, full), {E_INVALIDARG, "slice 2"}, call);
    desc.Format = DXGI_FORMAT_R8G8B8A8_TYPELESS;
    desc.Texture3D = {0, 0, 1};
    ExpectOutcome(capture, CheckRenderTargetView(Volume(), &desc, full), {E_INVALIDARG, "cannot view"}, call);
    desc.ViewDimension = D3D11_RTV_DIMENSION_BUFFER;
    ExpectOutcome(capture, CheckRenderTargetView(Volume(), &desc, full), {E_INVALIDARG, "ViewDimension 1"}, call);
    ResourceInfo unbound = Volume();
    unbound.bindFlags = D3D11_BIND_SHADER_RESOURCE;
    ExpectOutcome(capture, CheckRenderTargetView(unbound, nullptr, full), {E_INVALIDARG, "BIND_RENDER_TARGET"}, call);
}

TEST(ViewRules, DepthViewsMayBeReadOnly)
{
    DebugCapture capture;
    constexpr const char* call = "ID3D11Device::CreateDepthStencilView";
    ResourceInfo info = Texture2D(DXGI_FORMAT_R24G8_TYPELESS);
    info.bindFlags = D3D11_BIND_DEPTH_STENCIL;
    D3D11_DEPTH_STENCIL_VIEW_DESC full;
    D3D11_DEPTH_STENCIL_VIEW_DESC desc{};
    desc.Format = DXGI_FORMAT_D24_UNORM_S8_UINT;
    desc.ViewDimension = D3D11_DSV_DIMENSION_TEXTURE2D;
    desc.Flags = D3D11_DSV_READ_ONLY_DEPTH | D3D11_DSV_READ_ONLY_STENCIL;
    ExpectOutcome(capture, CheckDepthStencilView(info, &desc, full), {}, call);
    EXPECT_EQ(full.Flags, desc.Flags);
    desc.Flags = 4;
    ExpectOutcome(capture, CheckDepthStencilView(info, &desc, full), {E_INVALIDARG, "Flags 0x4"}, call);
    info.format = DXGI_FORMAT_R32_TYPELESS;
    desc.Format = DXGI_FORMAT_D32_FLOAT;
    desc.Flags = D3D11_DSV_READ_ONLY_STENCIL;
    ExpectOutcome(capture, CheckDepthStencilView(info, &desc, full), {E_INVALIDARG, "stencil"}, call);
    desc.Flags = 0;
    desc.Format = DXGI_FORMAT_R32_FLOAT;
    ExpectOutcome(capture, CheckDepthStencilView(info, &desc, full), {E_INVALIDARG, "depth stencil buffer"}, call);
}

TEST(ViewRules, AccessViewsCountOnlyStructures)
{
    DebugCapture capture;
    constexpr const char* call = "ID3D11Device::CreateUnorderedAccessView";
    D3D11_UNORDERED_ACCESS_VIEW_DESC full;
    D3D11_UNORDERED_ACCESS_VIEW_DESC desc{};
    desc.ViewDimension = D3D11_UAV_DIMENSION_BUFFER;
    desc.Buffer = {0, 5, D3D11_BUFFER_UAV_FLAG_APPEND};
    const ResourceInfo structured = Buffer(60, Structured, 12);
    ExpectOutcome(capture, CheckUnorderedAccessView(structured, &desc, full), {}, call);
    desc.Buffer.Flags |= D3D11_BUFFER_UAV_FLAG_COUNTER;
    ExpectOutcome(capture, CheckUnorderedAccessView(structured, &desc, full), {E_INVALIDARG, "exclude"}, call);
    desc.Buffer.Flags = D3D11_BUFFER_UAV_FLAG_COUNTER;
    ExpectOutcome(capture, CheckUnorderedAccessView(Buffer(64, Raw), &desc, full), {E_INVALIDARG, "structured"}, call);
    desc.Buffer = {0, 16, D3D11_BUFFER_UAV_FLAG_RAW};
    desc.Format = DXGI_FORMAT_R32_TYPELESS;
    ExpectOutcome(capture, CheckUnorderedAccessView(Buffer(64, Raw), &desc, full), {}, call);
    desc.ViewDimension = static_cast<D3D11_UAV_DIMENSION>(6);
    desc.Format = DXGI_FORMAT_R8G8B8A8_UNORM;
    ExpectOutcome(capture, CheckUnorderedAccessView(Texture2D(), &desc, full), {E_INVALIDARG, "ViewDimension"}, call);
}

} // namespace
} // namespace gleam
