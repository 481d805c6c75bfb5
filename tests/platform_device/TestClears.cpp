// Clears of every kind of view, alone, merged into passes and inside them.
#include "DeviceKit.h"

class Clears : public DeviceTest
{
};

TEST_F(Clears, ReachExactlyTheSubresourceOfTheirView)
{
    const float red[4] = {1, 0, 0, 1}, green[4] = {0, 1, 0, 1};
    // Every mip and slice of an array gets its own view; one of them is cleared again.
    TextureOptions array;
    array.mips = 3, array.slices = 6, array.misc = D3D11_RESOURCE_MISC_TEXTURECUBE;
    const auto cube = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8, array);
    for (UINT mip = 0; mip < 3; ++mip) {
        D3D11_RENDER_TARGET_VIEW_DESC desc{DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_RTV_DIMENSION_TEXTURE2DARRAY, {}};
        desc.Texture2DArray = {mip, 0, 6};
        context->ClearRenderTargetView(Target(cube.Get(), &desc).Get(), red);
    }
    D3D11_RENDER_TARGET_VIEW_DESC one{DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_RTV_DIMENSION_TEXTURE2DARRAY, {}};
    one.Texture2DArray = {1, 4, 1};
    context->ClearRenderTargetView(Target(cube.Get(), &one).Get(), green);
    for (UINT slice = 0; slice < 6; ++slice) {
        for (UINT mip = 0; mip < 3; ++mip) {
            const bool isOne = slice == 4 && mip == 1;
            EXPECT_EQ(isOne ? Rgba(0, 255, 0) : Rgba(255, 0, 0), ReadColor(cube.Get(), mip + slice * 3));
        }
    }

    D3D11_TEXTURE3D_DESC volumeDesc{
        4, 4, 4, 1, DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_USAGE_DEFAULT, D3D11_BIND_RENDER_TARGET, 0, 0};
    ComPtr<ID3D11Texture3D> volume;
    ASSERT_EQ(S_OK, device->CreateTexture3D(&volumeDesc, nullptr, volume.Put()));
    context->ClearRenderTargetView(Target(volume.Get()).Get(), red);
    D3D11_RENDER_TARGET_VIEW_DESC slices{DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_RTV_DIMENSION_TEXTURE3D, {}};
    slices.Texture3D = {0, 1, 2};
    context->ClearRenderTargetView(Target(volume.Get(), &slices).Get(), green);
    const Words words = ReadWords(volume.Get());
    for (UINT z = 0; z < 4; ++z) {
        EXPECT_EQ(z == 1 || z == 2 ? Rgba(0, 255, 0) : Rgba(255, 0, 0), words[z * 16 + 5]);
    }
}

TEST_F(Clears, ConvertToTheViewsFormat)
{
    struct Case
    {
        DXGI_FORMAT resource, view;
        float color[4];
        std::uint32_t expected;
    };
    const Case cases[] = {
        {DXGI_FORMAT_R8G8B8A8_TYPELESS, DXGI_FORMAT_R8G8B8A8_UNORM_SRGB, {0.5f, 0, 1, 0.5f}, Rgba(188, 0, 255, 128)},
        {DXGI_FORMAT_R8G8B8A8_TYPELESS, DXGI_FORMAT_R8G8B8A8_UNORM, {0.5f, 0, 1, 0.5f}, Rgba(128, 0, 255, 128)},
        {DXGI_FORMAT_B8G8R8A8_UNORM, DXGI_FORMAT_B8G8R8A8_UNORM, {1, 0, 0, 0}, Rgba(0, 0, 255, 0)},
        {DXGI_FORMAT_R32_UINT, DXGI_FORMAT_R32_UINT, {70000, 0, 0, 0}, 70000},
        {DXGI_FORMAT_R16G16_SINT, DXGI_FORMAT_R16G16_SINT, {-2, 3, 0, 0}, 0x0003fffe},
        {DXGI_FORMAT_R10G10B10A2_UNORM, DXGI_FORMAT_R10G10B10A2_UNORM, {1, 0, 1, 1}, 0xfff003ff},
        {DXGI_FORMAT_R32_FLOAT, DXGI_FORMAT_R32_FLOAT, {-1.5f, 0, 0, 0}, 0xbfc00000},
    };
    for (const Case& test : cases) {
        const auto texture = Texture(test.resource, 4, 4, {.bind = D3D11_BIND_RENDER_TARGET});
        D3D11_RENDER_TARGET_VIEW_DESC desc{test.view, D3D11_RTV_DIMENSION_TEXTURE2D, {}};
        context->ClearRenderTargetView(Target(texture.Get(), &desc).Get(), test.color);
        EXPECT_EQ(test.expected, ReadColor(texture.Get())) << "view format " << test.view;
    }
}

TEST_F(Clears, OfDepthAndStencilKeepTheOtherPlane)
{
    const auto texture = Texture(DXGI_FORMAT_D24_UNORM_S8_UINT, 8, 8, {.bind = D3D11_BIND_DEPTH_STENCIL});
    ComPtr<ID3D11DepthStencilView> view;
    ASSERT_EQ(S_OK, device->CreateDepthStencilView(texture.Get(), nullptr, view.Put()));
    context->ClearDepthStencilView(view.Get(), D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL, 1.0f, 0x12);
    EXPECT_EQ(0x12ffffffu, ReadColor(texture.Get()));
    context->ClearDepthStencilView(view.Get(), D3D11_CLEAR_STENCIL, 0.0f, 0x34);
    EXPECT_EQ(0x34ffffffu, ReadColor(texture.Get()));
    context->ClearDepthStencilView(view.Get(), D3D11_CLEAR_DEPTH, 0.0f, 0x56);
    EXPECT_EQ(0x34000000u, ReadColor(texture.Get()));

    D3D11_DEPTH_STENCIL_VIEW_DESC desc{
        DXGI_FORMAT_D24_UNORM_S8_UINT, D3D11_DSV_DIMENSION_TEXTURE2D, D3D11_DSV_READ_ONLY_DEPTH, {}};
    ComPtr<ID3D11DepthStencilView> readOnly;
    ASSERT_EQ(S_OK, device->CreateDepthStencilView(texture.Get(), &desc, readOnly.Put()));
    context->ClearDepthStencilView(readOnly.Get(), D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL, 1.0f, 0x78);
    EXPECT_EQ(0x78000000u, ReadColor(texture.Get()));
}

TEST_F(Clears, KeepTheirOrderWithDraws)
{
    const auto texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8);
    const auto other = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 8, 8);
    const auto target = Target(texture.Get()), otherTarget = Target(other.Get()), again = Target(texture.Get());
    const auto white = Pixel("float4 main() : SV_Target { return 1; }");
    const float blue[4] = {0, 0, 1, 1}, red[4] = {1, 0, 0, 1}, green[4] = {0, 1, 0, 1};
    SetTarget(target.Get(), 4, 8);
    context->ClearRenderTargetView(target.Get(), blue);
    Fill(white.Get());
    // The right half keeps the clear, the left half has the draw.
    Words words = ReadWords(texture.Get());
    EXPECT_EQ(0xffffffffu, words[3]);
    EXPECT_EQ(Rgba(0, 0, 255), words[4]);
    // A clear in the middle of the pass, one of a texture beside it, and one through another view.
    Fill(white.Get());
    context->ClearRenderTargetView(target.Get(), red);
    context->ClearRenderTargetView(otherTarget.Get(), green);
    Fill(white.Get());
    words = ReadWords(texture.Get());
    EXPECT_EQ(0xffffffffu, words[0]);
    EXPECT_EQ(Rgba(255, 0, 0), words[7]);
    EXPECT_EQ(Rgba(0, 255, 0), ReadColor(other.Get()));
    Fill(white.Get());
    context->ClearRenderTargetView(again.Get(), blue);
    context->ClearRenderTargetView(target.Get(), green);
    EXPECT_EQ(Rgba(0, 255, 0), ReadColor(texture.Get()));
}
