// The rules for calls on the immediate context.
#include "Support.h"
#include "common/Validation.h"

namespace gleam {
namespace {

using test::DebugCapture;
using test::ExpectOutcome;

ResourceInfo Make(D3D11_RESOURCE_DIMENSION dimension, UINT width, UINT height, DXGI_FORMAT format)
{
    ResourceInfo info;
    info.dimension = dimension;
    info.width = width;
    info.height = height;
    info.format = format;
    return info;
}

ResourceInfo Texture(UINT width, UINT height, DXGI_FORMAT format = DXGI_FORMAT_R8G8B8A8_UNORM)
{
    return Make(D3D11_RESOURCE_DIMENSION_TEXTURE2D, width, height, format);
}

ResourceInfo Buffer(UINT bytes)
{
    return Make(D3D11_RESOURCE_DIMENSION_BUFFER, bytes, 1, DXGI_FORMAT_UNKNOWN);
}

/// Which map types each kind of resource allows; the published table.
TEST(MapRules, UsageDecides)
{
    struct Case
    {
        D3D11_USAGE usage;
        UINT cpu;
        bool isBuffer;
        std::vector<int> allowed;
    };
    constexpr UINT read = D3D11_CPU_ACCESS_READ;
    constexpr UINT write = D3D11_CPU_ACCESS_WRITE;
    const Case cases[] = {
        {D3D11_USAGE_DEFAULT, 0, true, {}},
        {D3D11_USAGE_IMMUTABLE, 0, true, {}},
        {D3D11_USAGE_DYNAMIC, write, true, {D3D11_MAP_WRITE_DISCARD, D3D11_MAP_WRITE_NO_OVERWRITE}},
        {D3D11_USAGE_DYNAMIC, write, false, {D3D11_MAP_WRITE_DISCARD}},
        {D3D11_USAGE_STAGING, read, false, {D3D11_MAP_READ}},
        {D3D11_USAGE_STAGING, write, true, {D3D11_MAP_WRITE}},
        {D3D11_USAGE_STAGING, read | write, true, {D3D11_MAP_READ, D3D11_MAP_WRITE, D3D11_MAP_READ_WRITE}}};
    DebugCapture capture;
    for (const Case& param : cases) {
        ResourceInfo info = param.isBuffer ? Buffer(64) : Texture(8, 8);
        info.usage = param.usage;
        info.cpuAccessFlags = param.cpu;
        for (int type = 0; type <= 6; ++type) {
            const bool isAllowed = std::ranges::count(param.allowed, type) != 0;
            const HRESULT hr = CheckMap(info, 0, static_cast<D3D11_MAP>(type), 0, false);
            EXPECT_EQ(hr, isAllowed ? S_OK : E_INVALIDARG) << "usage " << param.usage << " type " << type;
            EXPECT_EQ(capture.Lines().size(), isAllowed ? 0u : 1u);
        }
    }
}

TEST(MapRules, SubresourceFlagsAndState)
{
    DebugCapture capture;
    constexpr const char* call = "ID3D11DeviceContext::Map";
    ResourceInfo info = Texture(8, 8);
    info.mipLevels = 2;
    info.arraySize = 3;
    info.usage = D3D11_USAGE_STAGING;
    info.cpuAccessFlags = D3D11_CPU_ACCESS_READ;
    ExpectOutcome(capture, CheckMap(info, 5, D3D11_MAP_READ, D3D11_MAP_FLAG_DO_NOT_WAIT, false), {}, call);
    ExpectOutcome(capture, CheckMap(info, 6, D3D11_MAP_READ, 0, false), {E_INVALIDARG, "subresource 6"}, call);
    ExpectOutcome(capture, CheckMap(info, 0, D3D11_MAP_READ, 1, false), {E_INVALIDARG, "MapFlags 0x1"}, call);
    ExpectOutcome(capture, CheckMap(info, 0, D3D11_MAP_READ, 0, true), {E_INVALIDARG, "mapped already"}, call);
    info = Buffer(16);
    info.usage = D3D11_USAGE_DYNAMIC;
    info.cpuAccessFlags = D3D11_CPU_ACCESS_WRITE;
    ExpectOutcome(capture, CheckMap(info, 0, D3D11_MAP_WRITE_DISCARD, D3D11_MAP_FLAG_DO_NOT_WAIT, false),
                  {E_INVALIDARG, "MapFlags"}, call);
}

TEST(UpdateRules, BoxesAndUsages)
{
    DebugCapture capture;
    constexpr const char* call = "ID3D11DeviceContext::UpdateSubresource";
    const int data = 0;
    CopyBox region;
    ResourceInfo bc = Texture(8, 8, DXGI_FORMAT_BC1_UNORM);
    bc.mipLevels = 4;
    // The mip of 2 by 2 is still a block of 4 by 4.
    ExpectOutcome(capture, CheckUpdateSubresource(bc, 2, nullptr, &data, region), {}, call);
    EXPECT_EQ(region.width, 4u);
    const D3D11_BOX blocks{4, 0, 0, 8, 4, 1};
    ExpectOutcome(capture, CheckUpdateSubresource(bc, 0, &blocks, &data, region), {}, call);
    EXPECT_EQ(region.x, 4u);
    const D3D11_BOX half{0, 0, 0, 6, 4, 1};
    ExpectOutcome(capture, CheckUpdateSubresource(bc, 0, &half, &data, region), {E_INVALIDARG, "blocks of 4x4"}, call);
    const D3D11_BOX outside{0, 0, 0, 8, 12, 1};
    ExpectOutcome(capture, CheckUpdateSubresource(bc, 0, &outside, &data, region), {E_INVALIDARG, "outside"}, call);
    const D3D11_BOX empty{4, 4, 0, 4, 8, 1};
    ExpectOutcome(capture, CheckUpdateSubresource(bc, 0, &empty, &data, region), {}, call);
    EXPECT_TRUE(region.IsEmpty());
    ExpectOutcome(capture, CheckUpdateSubresource(bc, 4, nullptr, &data, region), {E_INVALIDARG, "subresource 4"},
                  call);
    ExpectOutcome(capture, CheckUpdateSubresource(bc, 0, nullptr, nullptr, region), {E_INVALIDARG, "null"}, call);

    ResourceInfo buffer = Buffer(64);
    buffer.bindFlags = D3D11_BIND_CONSTANT_BUFFER;
    const D3D11_BOX bytes{0, 0, 0, 16, 1, 1};
    ExpectOutcome(capture, CheckUpdateSubresource(buffer, 0, &bytes, &data, region), {E_INVALIDARG, "whole"}, call);
    buffer.usage = D3D11_USAGE_DYNAMIC;
    ExpectOutcome(capture, CheckUpdateSubresource(buffer, 0, nullptr, &data, region), {E_INVALIDARG, "DYNAMIC"}, call);
    ResourceInfo depth = Texture(8, 8, DXGI_FORMAT_D32_FLOAT);
    depth.bindFlags = D3D11_BIND_DEPTH_STENCIL;
    ExpectOutcome(capture, CheckUpdateSubresource(depth, 0, nullptr, &data, region), {E_INVALIDARG, "depth stencil"},
                  call);
}

TEST(CopyRules, WholeResources)
{
    DebugCapture capture;
    constexpr const char* call = "ID3D11DeviceContext::CopyResource";
    const ResourceInfo source = Texture(8, 8);
    ResourceInfo target = Texture(8, 8, DXGI_FORMAT_R8G8B8A8_UNORM_SRGB);
    ExpectOutcome(capture, CheckCopyResource(target, source, false), {}, call);
    ExpectOutcome(capture, CheckCopyResource(source, source, true), {E_INVALIDARG, "one resource"}, call);
    ExpectOutcome(capture, CheckCopyResource(Texture(8, 4), source, false), {E_INVALIDARG, "sizes differ"}, call);
    ExpectOutcome(capture, CheckCopyResource(Buffer(64), source, false), {E_INVALIDARG, "dimension"}, call);
    target.usage = D3D11_USAGE_IMMUTABLE;
    ExpectOutcome(capture, CheckCopyResource(target, source, false), {E_INVALIDARG, "IMMUTABLE"}, call);
    ExpectOutcome(capture, CheckCopyResource(Texture(8, 8, DXGI_FORMAT_R32_FLOAT), source, false),
                  {E_INVALIDARG, "R8G8B8A8_UNORM cannot be copied"}, call);
    ResourceInfo sampled = source;
    sampled.sampleCount = 4;
    ExpectOutcome(capture, CheckCopyResource(sampled, source, false), {E_INVALIDARG, "sample counts"}, call);
}

TEST(CopyRules, Regions)
{
    DebugCapture capture;
    constexpr const char* call = "ID3D11DeviceContext::CopySubresourceRegion";
    CopyBox region;
    const auto check = [&](const ResourceInfo& to, UINT x, UINT y, const ResourceInfo& from, const D3D11_BOX* box,
                           const char* line) {
        const HRESULT hr = CheckCopySubresourceRegion(to, 0, x, y, 0, from, 0, box, false, region);
        ExpectOutcome(capture, hr, {line ? E_INVALIDARG : S_OK, line}, call);
    };
    const ResourceInfo large = Texture(16, 16);
    const ResourceInfo small = Texture(8, 8);
    const D3D11_BOX box{8, 8, 0, 16, 16, 1};
    check(small, 0, 0, large, &box, nullptr);
    EXPECT_EQ(region.x, 8u);
    check(small, 1, 0, large, &box, "outside");
    check(small, 0xffffffff, 0, large, &box, "outside");
    check(small, 0, 0, large, nullptr, "outside");
    const D3D11_BOX inverted{16, 8, 0, 8, 16, 1};
    check(small, 100, 0, large, &inverted, nullptr);
    EXPECT_TRUE(region.IsEmpty());
    // A texel of 8 bytes is a block of 4 by 4.
    const ResourceInfo blocks = Texture(16, 16, DXGI_FORMAT_BC1_UNORM);
    const ResourceInfo texels = Texture(4, 4, DXGI_FORMAT_R32G32_UINT);
    check(blocks, 0, 0, texels, nullptr, nullptr);
    check(texels, 0, 0, blocks, nullptr, nullptr);
    check(blocks, 4, 0, texels, nullptr, "outside");
    const D3D11_BOX one{0, 0, 0, 1, 1, 1};
    check(blocks, 2, 0, texels, &one, "not on a block");
    ResourceInfo depth = Texture(16, 16, DXGI_FORMAT_D32_FLOAT);
    depth.bindFlags = D3D11_BIND_DEPTH_STENCIL;
    check(depth, 0, 0, depth, nullptr, nullptr);
    check(depth, 0, 0, depth, &box, "copied whole");
    ExpectOutcome(capture, CheckCopySubresourceRegion(small, 0, 0, 0, 0, small, 0, nullptr, true, region),
                  {E_INVALIDARG, "one subresource"}, call);
    check(Buffer(64), 60, 0, Buffer(8), nullptr, "outside");
}

TEST(ContextRules, ResolveNeedsSamplesAndSize)
{
    DebugCapture capture;
    constexpr const char* call = "ID3D11DeviceContext::ResolveSubresource";
    ResourceInfo source = Texture(8, 8, DXGI_FORMAT_R8G8B8A8_TYPELESS);
    source.sampleCount = 4;
    ResourceInfo target = Texture(16, 16, DXGI_FORMAT_R8G8B8A8_TYPELESS);
    target.mipLevels = 2;
    const auto check = [&](UINT subresource, DXGI_FORMAT format, const char* line) {
        ExpectOutcome(capture, CheckResolveSubresource(target, subresource, source, 0, format),
                      {line ? E_INVALIDARG : S_OK, line}, call);
    };
    check(1, DXGI_FORMAT_R8G8B8A8_UNORM, nullptr);
    check(0, DXGI_FORMAT_R8G8B8A8_UNORM, "sizes differ");
    check(1, DXGI_FORMAT_R8G8B8A8_UINT, "cannot resolve");
    check(1, DXGI_FORMAT_B8G8R8A8_UNORM, "cannot resolve");
    source.sampleCount = 1;
    check(1, DXGI_FORMAT_R8G8B8A8_UNORM, "must be multisampled");
}

TEST(ContextRules, SlotsBuffersAndArguments)
{
    DebugCapture capture;
    const void* some = &capture;
    ExpectOutcome(capture, CheckSlots("Call", 13, 1, 14, some), {}, "Call");
    ExpectOutcome(capture, CheckSlots("Call", 14, 1, 14, some), {E_INVALIDARG, "not in 14"}, "Call");
    ExpectOutcome(capture, CheckSlots("Call", 1, 0xffffffff, 14, some), {E_INVALIDARG, "not in 14"}, "Call");
    ExpectOutcome(capture, CheckSlots("Call", 0, 1, 14, nullptr), {E_INVALIDARG, "null"}, "Call");

    constexpr const char* index = "ID3D11DeviceContext::IASetIndexBuffer";
    ResourceInfo buffer = Buffer(64);
    buffer.bindFlags = D3D11_BIND_INDEX_BUFFER;
    ExpectOutcome(capture, CheckIndexBuffer(&buffer, DXGI_FORMAT_R16_UINT, 2), {}, index);
    ExpectOutcome(capture, CheckIndexBuffer(nullptr, DXGI_FORMAT_UNKNOWN, 1), {}, index);
    ExpectOutcome(capture, CheckIndexBuffer(&buffer, DXGI_FORMAT_R32_UINT, 2), {E_INVALIDARG, "Offset 2"}, index);
    ExpectOutcome(capture, CheckIndexBuffer(&buffer, DXGI_FORMAT_R32_SINT, 0), {E_INVALIDARG, "R32_SINT"}, index);
    buffer.bindFlags = D3D11_BIND_VERTEX_BUFFER;
    ExpectOutcome(capture, CheckIndexBuffer(&buffer, DXGI_FORMAT_R16_UINT, 0), {E_INVALIDARG, "bind flag"}, index);

    buffer.miscFlags = D3D11_RESOURCE_MISC_DRAWINDIRECT_ARGS;
    ExpectOutcome(capture, CheckIndirect("Call", buffer, 48, 16), {}, "Call");
    ExpectOutcome(capture, CheckIndirect("Call", buffer, 52, 16), {E_INVALIDARG, "64 bytes"}, "Call");
    ExpectOutcome(capture, CheckIndirect("Call", buffer, 0xfffffffc, 16), {E_INVALIDARG, "64 bytes"}, "Call");
    ExpectOutcome(capture, CheckDispatch(65535, 1, 0), {}, "");
    ExpectOutcome(capture, CheckDispatch(1, 65536, 1), {E_INVALIDARG, "65535"}, "ID3D11DeviceContext::Dispatch");
    for (const int topology : {6, 9, 14, 32, 65}) {
        ExpectOutcome(capture, CheckTopology(static_cast<D3D11_PRIMITIVE_TOPOLOGY>(topology)),
                      {E_INVALIDARG, "Topology"}, "ID3D11DeviceContext::IASetPrimitiveTopology");
    }

    const TargetExtent targets[] = {{8, 8, 1, 4}, {8, 8, 1, 4}, {8, 8, 1, 1}};
    ExpectOutcome(capture, CheckRenderTargets("Call", {targets, 2}), {}, "Call");
    ExpectOutcome(capture, CheckRenderTargets("Call", {}), {}, "Call");
    ExpectOutcome(capture, CheckRenderTargets("Call", targets), {E_INVALIDARG, "views differ"}, "Call");
}

} // namespace
} // namespace gleam
