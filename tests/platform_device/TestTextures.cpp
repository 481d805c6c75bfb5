// What shaders read of textures, mip chains and resolves.
#include <algorithm>

#include "DeviceKit.h"

class Textures : public DeviceTest
{
protected:
    void SetUp() override
    {
        DeviceTest::SetUp();
        texture = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4);
        target = Target(texture.Get());
        sampler = PointSampler();
        SetTarget(target.Get(), 4, 4);
        ID3D11SamplerState* samplers[] = {sampler.Get()};
        context->PSSetSamplers(0, 1, samplers);
    }

    void Bind(ID3D11ShaderResourceView* view) { context->PSSetShaderResources(0, 1, &view); }

    ComPtr<ID3D11Texture2D> texture;
    ComPtr<ID3D11RenderTargetView> target;
    ComPtr<ID3D11SamplerState> sampler;
};

TEST_F(Textures, PointSamplingCopiesEveryPixel)
{
    Words pixels(16);
    for (unsigned i = 0; i < 16; ++i) {
        pixels[i] = Rgba(i * 16, 255 - i * 16, i * i, 255 - i);
    }
    const D3D11_SUBRESOURCE_DATA data{pixels.data(), 16, 0};
    const auto shader = Pixel("Texture2D t; SamplerState s; float4 main(float4 p : SV_Position) : SV_Target"
                              "{ return t.Sample(s, p.xy / 4); }");
    const auto source = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4,
                                {.bind = D3D11_BIND_SHADER_RESOURCE, .usage = D3D11_USAGE_IMMUTABLE, .data = &data});
    Bind(View(source.Get()).Get());
    Fill(shader.Get());
    EXPECT_EQ(pixels, ReadWords(texture.Get()));

    // BGRA comes out in RGBA's order; what sRGB decodes on the way in, it encodes on the way out.
    const auto bgra = Texture(DXGI_FORMAT_B8G8R8A8_UNORM, 4, 4, {.data = &data});
    Bind(View(bgra.Get()).Get());
    Fill(shader.Get());
    EXPECT_EQ(Rgba(pixels[3] >> 16 & 255, pixels[3] >> 8 & 255, pixels[3] & 255, pixels[3] >> 24),
              ReadWords(texture.Get())[3]);
    const auto typeless = Texture(DXGI_FORMAT_R8G8B8A8_TYPELESS, 4, 4, {.data = &data});
    const auto output = Texture(DXGI_FORMAT_R8G8B8A8_TYPELESS, 4, 4);
    D3D11_SHADER_RESOURCE_VIEW_DESC in{DXGI_FORMAT_R8G8B8A8_UNORM_SRGB, D3D_SRV_DIMENSION_TEXTURE2D, {}};
    in.Texture2D = {0, 1};
    D3D11_RENDER_TARGET_VIEW_DESC out{DXGI_FORMAT_R8G8B8A8_UNORM_SRGB, D3D11_RTV_DIMENSION_TEXTURE2D, {}};
    SetTarget(Target(output.Get(), &out).Get(), 4, 4);
    Bind(View(typeless.Get(), &in).Get());
    Fill(shader.Get());
    EXPECT_EQ(pixels, ReadWords(output.Get()));
}

TEST_F(Textures, ViewsPickTheirMipsSlicesAndFaces)
{
    TextureOptions options;
    options.mips = 2, options.slices = 12, options.misc = D3D11_RESOURCE_MISC_TEXTURECUBE;
    const auto cubes = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4, options);
    for (UINT slice = 0; slice < 12; ++slice) {
        for (UINT mip = 0; mip < 2; ++mip) {
            D3D11_RENDER_TARGET_VIEW_DESC desc{DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_RTV_DIMENSION_TEXTURE2DARRAY, {}};
            desc.Texture2DArray = {mip, slice, 1};
            const float color[4] = {slice / 255.f, mip / 255.f, 0, 1};
            context->ClearRenderTargetView(Target(cubes.Get(), &desc).Get(), color);
        }
    }
    struct Case
    {
        const char* text;
        D3D11_SHADER_RESOURCE_VIEW_DESC desc;
        std::uint32_t expected;
    };
    std::vector<Case> cases;
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{DXGI_FORMAT_R8G8B8A8_UNORM, D3D_SRV_DIMENSION_TEXTURE2DARRAY, {}};
    desc.Texture2DArray = {1, 1, 3, 4};
    cases.push_back(
        {"Texture2DArray t; SamplerState s; float4 main() : SV_Target { return t.Sample(s, float3(0, 0, 2)); }", desc,
         Rgba(5, 1, 0)});
    desc.ViewDimension = D3D_SRV_DIMENSION_TEXTURECUBEARRAY;
    desc.TextureCubeArray = {0, 2, 0, 2};
    cases.push_back({"TextureCubeArray t; SamplerState s; float4 main() : SV_Target"
                     "{ return t.SampleLevel(s, float4(0, -1, 0, 1), 1); }",
                     desc, Rgba(9, 1, 0)});
    for (const Case& test : cases) {
        Bind(View(cubes.Get(), &test.desc).Get());
        Fill(Pixel(test.text).Get());
        EXPECT_EQ(test.expected, ReadColor(texture.Get())) << test.text;
    }
    // A cube view of the second mip shows the faces of one cube.
    TextureOptions single = options;
    single.slices = 6;
    const auto cube = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4, single);
    context->CopySubresourceRegion(cube.Get(), 1 + 4 * 2, 0, 0, 0, cubes.Get(), 1 + 10 * 2, nullptr);
    desc.ViewDimension = D3D_SRV_DIMENSION_TEXTURECUBE;
    desc.TextureCube = {1, 1};
    Bind(View(cube.Get(), &desc).Get());
    Fill(Pixel("TextureCube t; SamplerState s; float4 main() : SV_Target { return t.Sample(s, float3(0, 0, 1)); }")
             .Get());
    EXPECT_EQ(Rgba(10, 1, 0), ReadColor(texture.Get()));

    std::uint32_t voxels[8];
    for (unsigned i = 0; i < 8; ++i) {
        voxels[i] = Rgba(i, 0, 0);
    }
    const D3D11_SUBRESOURCE_DATA data{voxels, 8, 16};
    const D3D11_TEXTURE3D_DESC volumeDesc{
        2, 2, 2, 1, DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_USAGE_IMMUTABLE, D3D11_BIND_SHADER_RESOURCE, 0, 0};
    ComPtr<ID3D11Texture3D> volume;
    ASSERT_EQ(S_OK, device->CreateTexture3D(&volumeDesc, &data, volume.Put()));
    const D3D11_TEXTURE1D_DESC lineDesc{
        8, 1, 1, DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_USAGE_DEFAULT, D3D11_BIND_SHADER_RESOURCE, 0, 0};
    ComPtr<ID3D11Texture1D> line;
    ASSERT_EQ(S_OK, device->CreateTexture1D(&lineDesc, &data, line.Put()));
    Bind(View(volume.Get()).Get());
    Fill(Pixel("Texture3D t; SamplerState s; float4 main() : SV_Target { return t.Sample(s, float3(0.9, 0.1, 0.9)); }")
             .Get());
    EXPECT_EQ(Rgba(5, 0, 0), ReadColor(texture.Get()));
    Bind(View(line.Get()).Get());
    Fill(Pixel("Texture1D t; float4 main() : SV_Target { return t.Load(int2(6, 0)); }").Get());
    EXPECT_EQ(Rgba(6, 0, 0), ReadColor(texture.Get()));
}

TEST_F(Textures, UnboundSlotsReadZero)
{
    ID3D11SamplerState* none[] = {nullptr};
    context->PSSetSamplers(0, 1, none);
    Fill(Pixel("cbuffer C : register(b3) { float4 c; } Texture2D t; TextureCube u : register(t7); Buffer<float4> b : "
               "register(t2);"
               "StructuredBuffer<float4> d : register(t20); SamplerState s;"
               "float4 main() : SV_Target { return c + t.Sample(s, 0.5) + u.Sample(s, float3(1, 0, 0)) + b[1] + d[2] + "
               "float4(0, 1, 0, 0); }")
             .Get());
    EXPECT_EQ(Rgba(0, 255, 0, 0), ReadColor(texture.Get()));
    // A bound view of another kind than the shader declares counts as none.
    Bind(View(Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4, {.slices = 2}).Get()).Get());
    Fill(Pixel("Texture2D t; float4 main() : SV_Target { return t.Load(0) + float4(0, 0, 1, 0); }").Get());
    EXPECT_EQ(Rgba(0, 0, 255, 0), ReadColor(texture.Get()));
}

TEST_F(Textures, DepthAndStencilAreReadWhileAttachedReadOnly)
{
    const auto depthTexture =
        Texture(DXGI_FORMAT_R24G8_TYPELESS, 4, 4, {.bind = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_DEPTH_STENCIL});
    D3D11_DEPTH_STENCIL_VIEW_DESC depthDesc{DXGI_FORMAT_D24_UNORM_S8_UINT, D3D11_DSV_DIMENSION_TEXTURE2D, 0, {}};
    ComPtr<ID3D11DepthStencilView> writable, readOnly;
    ASSERT_EQ(S_OK, device->CreateDepthStencilView(depthTexture.Get(), &depthDesc, writable.Put()));
    depthDesc.Flags = D3D11_DSV_READ_ONLY_DEPTH | D3D11_DSV_READ_ONLY_STENCIL;
    ASSERT_EQ(S_OK, device->CreateDepthStencilView(depthTexture.Get(), &depthDesc, readOnly.Put()));
    context->ClearDepthStencilView(writable.Get(), D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL, 0.75f, 51);
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{DXGI_FORMAT_R24_UNORM_X8_TYPELESS, D3D_SRV_DIMENSION_TEXTURE2D, {}};
    desc.Texture2D = {0, 1};
    const auto depthView = View(depthTexture.Get(), &desc);
    desc.Format = DXGI_FORMAT_X24_TYPELESS_G8_UINT;
    const auto stencilView = View(depthTexture.Get(), &desc);
    SetTarget(target.Get(), 4, 4, readOnly.Get());
    ID3D11ShaderResourceView* views[] = {depthView.Get(), stencilView.Get()};
    context->PSSetShaderResources(0, 2, views);
    Fill(Pixel("Texture2D<float> d : register(t0); Texture2D<uint2> s : register(t1);"
               "float4 main() : SV_Target { return float4(d.Load(0), s.Load(0).g / 255.0, s.Load(0).r, 1); }")
             .Get());
    EXPECT_EQ(Rgba(191, 51, 0), ReadColor(texture.Get())); // 0.5 is less than 0.75
}

TEST_F(Textures, MipsAreAveragesWithinTheViewsRange)
{
    TextureOptions options;
    options.mips = 3, options.slices = 2, options.misc = D3D11_RESOURCE_MISC_GENERATE_MIPS;
    const auto chain = Texture(DXGI_FORMAT_R8G8B8A8_TYPELESS, 4, 4, options);
    Words pixels(16, Rgba(0, 0, 0));
    pixels[0] = pixels[1] = pixels[4] = pixels[5] = Rgba(200, 100, 0);
    pixels[2] = pixels[7] = Rgba(255, 255, 255);
    const float red[4] = {1, 0, 0, 1};
    for (UINT mip = 0; mip < 3; ++mip) {
        D3D11_RENDER_TARGET_VIEW_DESC target{DXGI_FORMAT_R8G8B8A8_UNORM, D3D11_RTV_DIMENSION_TEXTURE2DARRAY, {}};
        target.Texture2DArray = {mip, 0, 2};
        context->ClearRenderTargetView(Target(chain.Get(), &target).Get(), red);
    }
    context->UpdateSubresource(chain.Get(), 3, nullptr, pixels.data(), 16, 0);
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{DXGI_FORMAT_R8G8B8A8_UNORM, D3D_SRV_DIMENSION_TEXTURE2DARRAY, {}};
    desc.Texture2DArray = {0, 3, 1, 1};
    context->GenerateMips(View(chain.Get(), &desc).Get());
    const Words half = ReadWords(chain.Get(), 4);
    EXPECT_EQ(Rgba(200, 100, 0), half[0]);
    EXPECT_NEAR(128, half[1] & 255, 1);
    EXPECT_EQ(Rgba(0, 0, 0), half[3]);
    EXPECT_EQ(Rgba(255, 0, 0), ReadColor(chain.Get(), 1)) << "the other slice stays";
    // The sRGB view averages light, not codes: half of white is 188.
    desc.Format = DXGI_FORMAT_R8G8B8A8_UNORM_SRGB;
    desc.Texture2DArray = {0, 2, 1, 1};
    context->GenerateMips(View(chain.Get(), &desc).Get());
    EXPECT_NEAR(188, ReadWords(chain.Get(), 4)[1] & 255, 1);
}

TEST_F(Textures, ResolveAveragesSamples)
{
    UINT levels = 0;
    ASSERT_EQ(S_OK, device->CheckMultisampleQualityLevels(DXGI_FORMAT_R8G8B8A8_UNORM, 4, &levels));
    ASSERT_EQ(1u, levels);
    const auto multi = Texture(DXGI_FORMAT_R8G8B8A8_UNORM, 4, 4,
                               {.samples = 4, .bind = D3D11_BIND_RENDER_TARGET | D3D11_BIND_SHADER_RESOURCE});
    const auto multiTarget = Target(multi.Get());
    const float black[4] = {0, 0, 0, 1};
    context->ClearRenderTargetView(multiTarget.Get(), black);
    SetTarget(multiTarget.Get(), 4, 4);
    context->OMSetBlendState(nullptr, nullptr, 0x3);
    Fill(Pixel("float4 main() : SV_Target { return 1; }").Get());
    context->ResolveSubresource(texture.Get(), 0, multi.Get(), 0, DXGI_FORMAT_R8G8B8A8_UNORM);
    EXPECT_NEAR(128, ReadColor(texture.Get()) & 255, 1);
    context->OMSetBlendState(nullptr, nullptr, 0xffffffff);
    SetTarget(target.Get(), 4, 4);
    Bind(View(multi.Get()).Get());
    Fill(
        Pixel(
            "Texture2DMS<float4> t; float4 main() : SV_Target { return float4(t.Load(0, 0).r, t.Load(0, 3).r, 0, 1); }")
            .Get());
    EXPECT_EQ(Rgba(255, 0, 0), ReadColor(texture.Get()));
}
