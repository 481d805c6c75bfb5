// The rules for making buffers and textures: each case changes one thing in a sound description.
#include <functional>

#include "Support.h"
#include "common/Validation.h"

namespace gleam {
namespace {

using test::DebugCapture;
using test::ExpectOutcome;
using test::Outcome;

const std::uint8_t SomeBytes[4096] = {};

// --- Buffers ---

struct BufferCase
{
    const char* name;
    Outcome outcome;
    D3D11_BUFFER_DESC desc;
    bool hasData = false;
};

class BufferRules : public testing::TestWithParam<BufferCase>
{
};

TEST_P(BufferRules, OneRuleAtATime)
{
    const BufferCase& param = GetParam();
    const D3D11_SUBRESOURCE_DATA data{SomeBytes, 0, 0};
    DebugCapture capture;
    ResourceInfo info;
    const HRESULT hr = CheckBuffer(&param.desc, param.hasData ? &data : nullptr, info);
    ExpectOutcome(capture, hr, param.outcome, "ID3D11Device::CreateBuffer");
}

constexpr auto Default = D3D11_USAGE_DEFAULT;
constexpr auto Immutable = D3D11_USAGE_IMMUTABLE;
constexpr auto Dynamic = D3D11_USAGE_DYNAMIC;
constexpr auto Staging = D3D11_USAGE_STAGING;
constexpr UINT Vertex = D3D11_BIND_VERTEX_BUFFER;
constexpr UINT Constant = D3D11_BIND_CONSTANT_BUFFER;
constexpr UINT Resource = D3D11_BIND_SHADER_RESOURCE;
constexpr UINT Target = D3D11_BIND_RENDER_TARGET;
constexpr UINT Depth = D3D11_BIND_DEPTH_STENCIL;
constexpr UINT Access = D3D11_BIND_UNORDERED_ACCESS;
constexpr UINT Read = D3D11_CPU_ACCESS_READ;
constexpr UINT Write = D3D11_CPU_ACCESS_WRITE;
constexpr UINT Structured = D3D11_RESOURCE_MISC_BUFFER_STRUCTURED;
constexpr UINT Raw = D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS;

Outcome Bad(const char* line)
{
    return {E_INVALIDARG, line};
}

std::string NameOf(const auto& info)
{
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    , BufferRules,
    testing::ValuesIn(std::vector<BufferCase>{
        {"DefaultVertex", {}, {64, Default, Vertex | Resource, 0, 0, 0}},
        {"DynamicConstant", {}, {65536, Dynamic, Constant, Write, 0, 0}},
        {"StagingReadWrite", {}, {5, Staging, 0, Read | Write, 0, 0}},
        {"StagingStructured", {}, {64, Staging, 0, Read | Write, Structured, 16}},
        {"DefaultStructured", {}, {60, Default, Resource | Access, 0, Structured, 12}},
        {"DefaultRaw", {}, {64, Default, Resource | Access, 0, Raw, 0}},
        {"DefaultWithoutBinding", {}, {64, Default, 0, 0, D3D11_RESOURCE_MISC_DRAWINDIRECT_ARGS, 0}},
        {"ImmutableWithData", {}, {64, Immutable, Vertex, 0, 0, 0}, true},
        {"StrideWithoutStructure", {}, {64, Default, Vertex, 0, 0, 7}},
        {"NoBytes", Bad("ByteWidth 0"), {0, Default, Vertex, 0, 0, 0}},
        {"TooManyBytes", Bad("2147483648"), {0x80000001, Default, Vertex, 0, 0, 0}},
        {"UnknownBind", Bad("BindFlags 0x100"), {64, Default, 0x100, 0, 0, 0}},
        {"UnknownAccess", Bad("CPUAccessFlags 0x1"), {64, Default, Vertex, 1, 0, 0}},
        {"ImmutableWithoutData", Bad("initial data"), {64, Immutable, Vertex, 0, 0, 0}},
        {"ImmutableTarget", Bad("D3D11_USAGE_DEFAULT"), {64, Immutable, Access, 0, Raw, 0}, true},
        {"DynamicRead", Bad("D3D11_USAGE_DYNAMIC"), {64, Dynamic, Vertex, Read | Write, 0, 0}},
        {"DynamicAccess", Bad("writes"), {64, Dynamic, Access, Write, Raw, 0}},
        {"DynamicWithoutBinding", Bad("need BindFlags"), {64, Dynamic, 0, Write, 0, 0}},
        {"StagingBound", Bad("BindFlags 0"), {64, Staging, Vertex, Read, 0, 0}},
        {"StagingUnreachable", Bad("needs CPUAccessFlags"), {64, Staging, 0, 0, 0, 0}},
        {"DefaultRead", Bad("CPUAccessFlags 0"), {64, Default, Vertex, Read, 0, 0}},
        {"ConstantNot16", Bad("multiple of 16"), {40, Default, Constant, 0, 0, 0}},
        {"ConstantTooLarge", Bad("65536"), {65552, Default, Constant, 0, 0, 0}},
        {"ConstantAndVertex", Bad("excludes"), {64, Default, Constant | Vertex, 0, 0, 0}},
        {"DepthBuffer", Bad("depth stencil"), {64, Default, Depth, 0, 0, 0}},
        {"StructureOf6", Bad("StructureByteStride 6"), {60, Default, Resource, 0, Structured, 6}},
        {"StructureOf2052", Bad("2048"), {4104, Default, Resource, 0, Structured, 2052}},
        {"StructurePartial", Bad("multiple of StructureByteStride"), {62, Default, Resource, 0, Structured, 4}},
        {"StructureAsVertex", Bad("structured"), {64, Default, Vertex, 0, Structured, 4}},
        {"StructureAndRaw", Bad("raw"), {64, Default, Resource, 0, Structured | Raw, 4}},
        {"RawUnseen", Bad("raw views need"), {64, Default, Vertex, 0, Raw, 0}},
        {"Cube", Bad("MiscFlags 0x4"), {64, Default, Vertex, 0, D3D11_RESOURCE_MISC_TEXTURECUBE, 0}}}),
    [](const auto& info) { return NameOf(info); });

TEST(ResourceRules, NullsAreRefused)
{
    DebugCapture capture;
    ResourceInfo info;
    ExpectOutcome(capture, CheckBuffer(nullptr, nullptr, info), Bad("null"), "ID3D11Device::CreateBuffer");
    const D3D11_BUFFER_DESC desc{64, Immutable, Vertex, 0, 0, 0};
    const D3D11_SUBRESOURCE_DATA nothing{};
    ExpectOutcome(capture, CheckBuffer(&desc, &nothing, info), Bad("subresource 0 is null"),
                  "ID3D11Device::CreateBuffer");
}

// --- Textures: 2D carries most rules, the others only what differs ---

D3D11_TEXTURE2D_DESC Sound2D()
{
    return {64, 32, 1, 1, DXGI_FORMAT_R8G8B8A8_UNORM, {1, 0}, Default, Resource | Target, 0, 0};
}

struct TextureCase
{
    const char* name;
    Outcome outcome;
    std::function<void(D3D11_TEXTURE2D_DESC&)> change;
    bool hasData = false;
};

class Texture2DRules : public testing::TestWithParam<TextureCase>
{
};

TEST_P(Texture2DRules, OneRuleAtATime)
{
    const TextureCase& param = GetParam();
    D3D11_TEXTURE2D_DESC desc = Sound2D();
    param.change(desc);
    const std::vector<D3D11_SUBRESOURCE_DATA> data(64, {SomeBytes, 256, 0});
    DebugCapture capture;
    ResourceInfo info;
    const HRESULT hr = CheckTexture2D(&desc, param.hasData ? data.data() : nullptr, info);
    ExpectOutcome(capture, hr, param.outcome, "ID3D11Device::CreateTexture2D");
}

#define CHANGE(...) [](D3D11_TEXTURE2D_DESC& d) { __VA_ARGS__; }

constexpr UINT Cube = D3D11_RESOURCE_MISC_TEXTURECUBE;
constexpr UINT Mips = D3D11_RESOURCE_MISC_GENERATE_MIPS;

INSTANTIATE_TEST_SUITE_P(
    , Texture2DRules,
    testing::ValuesIn(std::vector<TextureCase>{
        {"Plain", {}, CHANGE()}, //
        {"Largest", {}, CHANGE(d.Width = d.Height = 16384)},
        {"FullChain", {}, CHANGE(d.MipLevels = 7)},
        {"Array", {}, CHANGE(d.ArraySize = 2048)},
        TextureCase{"CubeArray", {}, CHANGE(d.Width = 32; d.ArraySize = 12; d.MiscFlags = Cube)},
        {"Multisampled", {}, CHANGE(d.SampleDesc = {4, 0})},
        TextureCase{"MipGeneration", {}, CHANGE(d.MipLevels = 0; d.MiscFlags = Mips)},
        TextureCase{"ReadableDepth", {}, CHANGE(d.Format = DXGI_FORMAT_R24G8_TYPELESS; d.BindFlags = Depth | Resource)},
        TextureCase{"TypedDepth", {}, CHANGE(d.Format = DXGI_FORMAT_D32_FLOAT; d.BindFlags = Depth)},
        TextureCase{"Compressed", {}, CHANGE(d.Format = DXGI_FORMAT_BC3_UNORM_SRGB; d.BindFlags = Resource)},
        TextureCase{"DynamicMap", {}, CHANGE(d.Usage = Dynamic; d.BindFlags = Resource; d.CPUAccessFlags = Write)},
        TextureCase{"StagingCube",
                    {},
                    CHANGE(d.Usage = Staging; d.BindFlags = 0; d.CPUAccessFlags = Read; d.Width = 32; d.ArraySize = 6;
                           d.MiscFlags = Cube)},
        {"NoWidth", Bad("Width 0"), CHANGE(d.Width = 0)},
        {"TooHigh", Bad("Height 16385"), CHANGE(d.Height = 16385)},
        {"NoSlices", Bad("ArraySize 0"), CHANGE(d.ArraySize = 0)},
        {"TooManySlices", Bad("ArraySize 2049"), CHANGE(d.ArraySize = 2049)},
        {"TooManyMips", Bad("MipLevels 8"), CHANGE(d.MipLevels = 8)},
        {"UnknownFormat", Bad("UNKNOWN"), CHANGE(d.Format = DXGI_FORMAT_UNKNOWN)},
        {"FormatOutOfRange", Bad("(200)"), CHANGE(d.Format = static_cast<DXGI_FORMAT>(200))},
        {"VideoFormat", Bad("NV12"), CHANGE(d.Format = DXGI_FORMAT_NV12)},
        {"CompressedTarget", Bad("D3D11_BIND_RENDER_TARGET"), CHANGE(d.Format = DXGI_FORMAT_BC1_UNORM)},
        TextureCase{"CompressedOdd", Bad("multiple of 4"),
                    CHANGE(d.Format = DXGI_FORMAT_BC1_UNORM; d.BindFlags = Resource; d.Width = 66)},
        TextureCase{"TypedDepthRead", Bad("D3D11_BIND_SHADER_RESOURCE"),
                    CHANGE(d.Format = DXGI_FORMAT_D24_UNORM_S8_UINT; d.BindFlags = Depth | Resource)},
        {"ColourAsDepth", Bad("D3D11_BIND_DEPTH_STENCIL"), CHANGE(d.BindFlags = Depth)},
        TextureCase{"SrgbAccess", Bad("D3D11_BIND_UNORDERED_ACCESS"),
                    CHANGE(d.Format = DXGI_FORMAT_R8G8B8A8_UNORM_SRGB; d.BindFlags = Access)},
        TextureCase{"TargetAndDepth", Bad("excludes"),
                    CHANGE(d.Format = DXGI_FORMAT_R32_TYPELESS; d.BindFlags = Target | Depth)},
        {"VertexTexture", Bad("only a buffer"), CHANGE(d.BindFlags = Vertex)},
        {"Shared", Bad("MiscFlags 0x2"), CHANGE(d.MiscFlags = D3D11_RESOURCE_MISC_SHARED)},
        TextureCase{"DynamicMips", Bad("single subresource"),
                    CHANGE(d.Usage = Dynamic; d.BindFlags = Resource; d.CPUAccessFlags = Write; d.MipLevels = 2)},
        TextureCase{"GenerationUnbound", Bad("GENERATE_MIPS needs"),
                    CHANGE(d.BindFlags = Resource; d.MiscFlags = Mips)},
        TextureCase{"GenerationOfIntegers", Bad("R8G8B8A8_UINT"),
                    CHANGE(d.Format = DXGI_FORMAT_R8G8B8A8_UINT; d.MiscFlags = Mips)},
        {"NoSamples", Bad("SampleDesc.Count 0"), CHANGE(d.SampleDesc = {0, 0})},
        {"ThreeSamples", Bad("SampleDesc.Count 3"), CHANGE(d.SampleDesc = {3, 0})},
        {"TooManySamples", Bad("SampleDesc.Count 64"), CHANGE(d.SampleDesc = {64, 0})},
        {"Quality", Bad("Quality 2"), CHANGE(d.SampleDesc = {4, 2})},
        TextureCase{"SampledMips", Bad("one mip"), CHANGE(d.SampleDesc = {4, 0}; d.MipLevels = 2)},
        {"SampledData", Bad("no initial data"), CHANGE(d.SampleDesc = {4, 0}), true},
        TextureCase{"CubeOfFive", Bad("of 6"), CHANGE(d.Width = 32; d.ArraySize = 5; d.MiscFlags = Cube)},
        TextureCase{"CubeNotSquare", Bad("square"), CHANGE(d.ArraySize = 6; d.MiscFlags = Cube)},
        TextureCase{"ImmutableEmpty", Bad("initial data"), CHANGE(d.Usage = Immutable; d.BindFlags = Resource)},
        TextureCase{"ImmutableFilled", {}, CHANGE(d.Usage = Immutable; d.BindFlags = Resource), true}}),
    [](const auto& info) { return NameOf(info); });

TEST(ResourceRules, SettleTheNumberOfMips)
{
    DebugCapture capture;
    ResourceInfo info;
    D3D11_TEXTURE2D_DESC desc = Sound2D();
    desc.MipLevels = 0;
    EXPECT_EQ(CheckTexture2D(&desc, nullptr, info), S_OK);
    EXPECT_EQ(info.mipLevels, 7u);
    desc.SampleDesc.Count = 4;
    EXPECT_EQ(CheckTexture2D(&desc, nullptr, info), S_OK);
    EXPECT_EQ(info.mipLevels, 1u);
    const D3D11_TEXTURE3D_DESC volume{4, 2, 16, 0, DXGI_FORMAT_R8_UNORM, Default, Resource, 0, 0};
    EXPECT_EQ(CheckTexture3D(&volume, nullptr, info), S_OK);
    EXPECT_EQ(info.mipLevels, 5u);
    const SubresourceLayout layout = LayoutOf(info, 1);
    EXPECT_EQ(layout.rowBytes, 2u);
    EXPECT_EQ(layout.Bytes(), 2u * 1 * 8);
    EXPECT_THAT(capture.Lines(), testing::IsEmpty());
}

TEST(ResourceRules, DifferByDimension)
{
    DebugCapture capture;
    ResourceInfo info;
    const D3D11_TEXTURE1D_DESC line{16384, 1, 2048, DXGI_FORMAT_R32_FLOAT, Default, Resource, 0, 0};
    ExpectOutcome(capture, CheckTexture1D(&line, nullptr, info), {}, "");
    D3D11_TEXTURE1D_DESC compressed = line;
    compressed.Format = DXGI_FORMAT_BC1_UNORM;
    ExpectOutcome(capture, CheckTexture1D(&compressed, nullptr, info), Bad("BC1_UNORM"),
                  "ID3D11Device::CreateTexture1D");
    D3D11_TEXTURE1D_DESC cube = line;
    cube.MiscFlags = Cube;
    cube.ArraySize = 6;
    ExpectOutcome(capture, CheckTexture1D(&cube, nullptr, info), Bad("2D texture"), "ID3D11Device::CreateTexture1D");

    D3D11_TEXTURE3D_DESC volume{2048, 2048, 2048, 1, DXGI_FORMAT_R8_UNORM, Default, Resource | Target, 0, 0};
    ExpectOutcome(capture, CheckTexture3D(&volume, nullptr, info), {}, "");
    volume.Depth = 2049;
    ExpectOutcome(capture, CheckTexture3D(&volume, nullptr, info), Bad("Depth 2049"), "ID3D11Device::CreateTexture3D");
    volume.Depth = 4;
    volume.Format = DXGI_FORMAT_R32_TYPELESS;
    volume.BindFlags = Depth;
    ExpectOutcome(capture, CheckTexture3D(&volume, nullptr, info), Bad("3D texture"), "ID3D11Device::CreateTexture3D");
    volume.Format = DXGI_FORMAT_R24G8_TYPELESS;
    volume.BindFlags = Resource;
    ExpectOutcome(capture, CheckTexture3D(&volume, nullptr, info), Bad("R24G8_TYPELESS"),
                  "ID3D11Device::CreateTexture3D");
}

} // namespace
} // namespace gleam
