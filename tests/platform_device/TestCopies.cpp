// Copies and updates between every kind of resource.
#include <algorithm>
#include <numeric>

#include "DeviceKit.h"

class Copies : public DeviceTest
{
protected:
    static Words Ramp(std::size_t count, std::uint32_t first = 0)
    {
        Words words(count);
        std::iota(words.begin(), words.end(), first);
        return words;
    }

    ComPtr<ID3D11Texture2D> Filled(UINT width, UINT height, UINT bind, D3D11_USAGE usage, DXGI_FORMAT format)
    {
        const Words words = Ramp(std::size_t(width) * height);
        const D3D11_SUBRESOURCE_DATA data{words.data(), width * 4, 0};
        return Texture(format, width, height, {.bind = bind, .usage = usage, .data = &data});
    }
};

TEST_F(Copies, BoxesGoBetweenDeviceAndStagingTextures)
{
    const auto source = Filled(8, 8, D3D11_BIND_SHADER_RESOURCE, D3D11_USAGE_IMMUTABLE, DXGI_FORMAT_R32_UINT);
    const auto staged = Filled(8, 8, 0, D3D11_USAGE_STAGING, DXGI_FORMAT_R32_UINT);
    const D3D11_BOX box{2, 3, 0, 5, 7, 1};
    for (ID3D11Texture2D* from : {source.Get(), staged.Get()}) {
        for (const D3D11_USAGE usage : {D3D11_USAGE_DEFAULT, D3D11_USAGE_STAGING}) {
            const UINT bind = usage == D3D11_USAGE_DEFAULT ? UINT(D3D11_BIND_SHADER_RESOURCE) : 0u;
            const auto to = Texture(DXGI_FORMAT_R32_UINT, 8, 8, {.slices = 2, .bind = bind, .usage = usage});
            const Words fill(64, 1000);
            context->UpdateSubresource(to.Get(), 1, nullptr, fill.data(), 32, 0);
            context->CopySubresourceRegion(to.Get(), 1, 4, 1, 0, from, 0, &box);
            const Words words = ReadWords(to.Get(), 1);
            for (UINT y = 0; y < 8; ++y) {
                for (UINT x = 0; x < 8; ++x) {
                    const bool isInside = x >= 4 && x < 7 && y >= 1 && y < 5;
                    const std::uint32_t expected = isInside ? (x - 2) + (y + 2) * 8 : 1000;
                    ASSERT_EQ(expected, words[x + y * 8]) << x << "," << y << " usage " << usage;
                }
            }
        }
    }
    // From mip to mip of one texture.
    const auto mips = Texture(DXGI_FORMAT_R32_UINT, 8, 8, {.mips = 4});
    context->CopySubresourceRegion(mips.Get(), 0, 0, 0, 0, source.Get(), 0, nullptr);
    const D3D11_BOX corner{0, 0, 0, 4, 4, 1};
    context->CopySubresourceRegion(mips.Get(), 1, 0, 0, 0, mips.Get(), 0, &corner);
    EXPECT_EQ(10u, ReadWords(mips.Get(), 1)[2 + 1 * 4]);
}

TEST_F(Copies, CompressedBlocksMoveWhole)
{
    std::vector<std::uint64_t> blocks(16);
    std::iota(blocks.begin(), blocks.end(), 0x1122334455667700u);
    const D3D11_SUBRESOURCE_DATA data{blocks.data(), 32, 0};
    const auto source = Texture(DXGI_FORMAT_BC1_UNORM, 16, 16, {.bind = D3D11_BIND_SHADER_RESOURCE, .data = &data});
    const auto target = Texture(DXGI_FORMAT_BC1_UNORM, 16, 16, {.mips = 5, .bind = D3D11_BIND_SHADER_RESOURCE});
    const std::vector<std::uint64_t> zero(16);
    context->UpdateSubresource(target.Get(), 0, nullptr, zero.data(), 32, 0);
    const D3D11_BOX box{4, 8, 0, 12, 16, 1};
    context->CopySubresourceRegion(target.Get(), 0, 8, 0, 0, source.Get(), 0, &box);
    std::vector<std::uint8_t> bytes = Read(target.Get());
    std::uint64_t first;
    std::memcpy(&first, &bytes[2 * 8], 8);
    EXPECT_EQ(blocks[1 + 2 * 4], first);
    std::memcpy(&first, &bytes[(3 + 4) * 8], 8);
    EXPECT_EQ(blocks[2 + 3 * 4], first);
    // The 2 by 2 mip is one block.
    context->UpdateSubresource(target.Get(), 3, nullptr, &blocks[7], 8, 0);
    bytes = Read(target.Get(), 3);
    ASSERT_EQ(8u, bytes.size());
    std::memcpy(&first, bytes.data(), 8);
    EXPECT_EQ(blocks[7], first);
    // Blocks are 64-bit texels to a plain format.
    const auto plain = Texture(DXGI_FORMAT_R32G32_UINT, 4, 4, {});
    context->CopySubresourceRegion(plain.Get(), 0, 0, 0, 0, source.Get(), 0, nullptr);
    const auto raw = Read(plain.Get());
    EXPECT_EQ(0, std::memcmp(raw.data(), blocks.data(), 128));
}

TEST_F(Copies, DepthGoesThroughStagingAndToColour)
{
    for (const auto& [format, pixel] :
         {std::pair{DXGI_FORMAT_R24G8_TYPELESS, 0x7f400000u}, {DXGI_FORMAT_R32_TYPELESS, 0x3e800000u}}) {
        const UINT bind = D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_SHADER_RESOURCE;
        const auto depth = Texture(format, 5, 3, {.bind = bind});
        D3D11_DEPTH_STENCIL_VIEW_DESC desc{DXGI_FORMAT_D32_FLOAT, D3D11_DSV_DIMENSION_TEXTURE2D, 0, {}};
        desc.Format = format == DXGI_FORMAT_R24G8_TYPELESS ? DXGI_FORMAT_D24_UNORM_S8_UINT : DXGI_FORMAT_D32_FLOAT;
        ComPtr<ID3D11DepthStencilView> view;
        ASSERT_EQ(S_OK, device->CreateDepthStencilView(depth.Get(), &desc, view.Put()));
        context->ClearDepthStencilView(view.Get(), D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL, 0.25f, 0x7f);
        EXPECT_EQ(pixel, ReadColor(depth.Get()));
        // A pixel written by the processor comes back from a second depth texture.
        const auto staging = Texture(format, 5, 3, {.bind = 0, .usage = D3D11_USAGE_STAGING});
        context->CopyResource(staging.Get(), depth.Get());
        D3D11_MAPPED_SUBRESOURCE mapped;
        ASSERT_EQ(S_OK, context->Map(staging.Get(), 0, D3D11_MAP_READ_WRITE, 0, &mapped));
        const std::uint32_t changed = pixel ^ 0x01001000;
        std::memcpy(static_cast<std::uint8_t*>(mapped.pData) + mapped.RowPitch * 2 + 16, &changed, 4);
        context->Unmap(staging.Get(), 0);
        const auto second = Texture(format, 5, 3, {.bind = bind});
        context->CopyResource(second.Get(), staging.Get());
        const Words words = ReadWords(second.Get());
        EXPECT_EQ(changed, words[14]);
        EXPECT_EQ(pixel, words[13]);
    }
    const auto depth = Texture(DXGI_FORMAT_R32_TYPELESS, 4, 4, {.bind = D3D11_BIND_DEPTH_STENCIL});
    D3D11_DEPTH_STENCIL_VIEW_DESC desc{DXGI_FORMAT_D32_FLOAT, D3D11_DSV_DIMENSION_TEXTURE2D, 0, {}};
    ComPtr<ID3D11DepthStencilView> view;
    ASSERT_EQ(S_OK, device->CreateDepthStencilView(depth.Get(), &desc, view.Put()));
    context->ClearDepthStencilView(view.Get(), D3D11_CLEAR_DEPTH, 0.5f, 0);
    const auto color = Texture(DXGI_FORMAT_R32_FLOAT, 4, 4, {});
    context->CopyResource(color.Get(), depth.Get());
    EXPECT_EQ(0x3f000000u, ReadColor(color.Get()));
}

TEST_F(Copies, BuffersOfAllStorages)
{
    const Words ramp = Ramp(64, 100);
    const UINT bytes = 256;
    const auto source = Buffer(bytes, D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_IMMUTABLE, ramp.data());
    const std::pair<UINT, D3D11_USAGE> targets[] = {{D3D11_BIND_CONSTANT_BUFFER, D3D11_USAGE_DEFAULT},
                                                    {D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_DYNAMIC},
                                                    {D3D11_BIND_INDEX_BUFFER, D3D11_USAGE_DEFAULT},
                                                    {0, D3D11_USAGE_STAGING}};
    for (const auto& [bind, usage] : targets) {
        const auto target = Buffer(bytes, bind, usage);
        context->CopyResource(target.Get(), source.Get());
        EXPECT_EQ(ramp, ReadWords(target.Get())) << "bind " << bind << " usage " << usage;
        if (usage != D3D11_USAGE_DEFAULT || bind != D3D11_BIND_CONSTANT_BUFFER) {
            const D3D11_BOX box{40, 0, 0, 48, 1, 1};
            context->CopySubresourceRegion(target.Get(), 0, 8, 0, 0, source.Get(), 0, &box);
            const Words words = ReadWords(target.Get());
            EXPECT_EQ(110u, words[2]);
            EXPECT_EQ(111u, words[3]);
            EXPECT_EQ(104u, words[4]);
        }
    }
}

TEST_F(Copies, UpdatesOrderWithDrawsThatReadThem)
{
    const auto output = Texture(DXGI_FORMAT_R32_UINT, 4, 2, {});
    const auto source = Texture(DXGI_FORMAT_R32_UINT, 1, 1, {});
    const auto values =
        Buffer(16, D3D11_BIND_SHADER_RESOURCE, D3D11_USAGE_DEFAULT, nullptr, D3D11_RESOURCE_MISC_BUFFER_STRUCTURED, 4);
    const auto target = Target(output.Get());
    const auto view = View(source.Get()), bufferView = View(values.Get());
    ID3D11ShaderResourceView* views[] = {view.Get(), bufferView.Get()};
    const auto shader = Pixel("Texture2D<uint> t : register(t0); StructuredBuffer<uint> b : register(t1);"
                              "uint main() : SV_Target { return t.Load(0) * 100 + b[3]; }");
    context->OMSetRenderTargets(1, std::vector<ID3D11RenderTargetView*>{target.Get()}.data(), nullptr);
    context->PSSetShaderResources(0, 2, views);
    for (std::uint32_t i = 0; i < 4; ++i) {
        const std::uint32_t texel = i + 1;
        const Words words(4, i * 2);
        context->UpdateSubresource(source.Get(), 0, nullptr, &texel, 4, 0);
        context->UpdateSubresource(values.Get(), 0, nullptr, words.data(), 0, 0);
        const D3D11_VIEWPORT column{float(i), 0, 1, 2, 0, 1};
        context->RSSetViewports(1, &column);
        Fill(shader.Get());
    }
    const Words expected = {100, 202, 304, 406, 100, 202, 304, 406};
    EXPECT_EQ(expected, ReadWords(output.Get()));
}
