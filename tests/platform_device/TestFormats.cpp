// Values of formats, as shaders read textures and vertices of them and as targets take them.
#include <cmath>

#include "DeviceKit.h"

class Formats : public DeviceTest
{
protected:
    void SetUp() override
    {
        DeviceTest::SetUp();
        output = Texture(DXGI_FORMAT_R32G32B32A32_FLOAT, 1, 1);
        target = Target(output.Get());
        SetTarget(target.Get(), 1, 1);
    }

    void ExpectOutput(const float (&expected)[4], const char* what)
    {
        const auto bytes = Read(output.Get());
        float got[4];
        ASSERT_EQ(sizeof got, bytes.size());
        std::memcpy(got, bytes.data(), sizeof got);
        for (int i = 0; i < 4; ++i) {
            EXPECT_NEAR(expected[i], got[i], 2e-3 * std::fabs(expected[i]) + 1e-4) << what << " channel " << i;
        }
    }

    ComPtr<ID3D11Texture2D> output;
    ComPtr<ID3D11RenderTargetView> target;
};

namespace {

struct Texel
{
    const char* name;
    DXGI_FORMAT format;
    std::uint8_t bytes[16];
    float expected[4];
    UINT blockBytes;
};

// Channels that a format lacks read 0, and alpha 1.
constexpr Texel Texels[] = {
    {"R8_UNORM", DXGI_FORMAT_R8_UNORM, {51}, {0.2f, 0, 0, 1}, 1},
    {"A8_UNORM", DXGI_FORMAT_A8_UNORM, {51}, {0, 0, 0, 0.2f}, 1},
    {"R8G8_SNORM", DXGI_FORMAT_R8G8_SNORM, {0x81, 127}, {-1, 1, 0, 1}, 2},
    {"R8G8B8A8_UNORM_SRGB", DXGI_FORMAT_R8G8B8A8_UNORM_SRGB, {188, 0, 255, 128}, {0.5029f, 0, 1, 0.502f}, 4},
    {"B8G8R8A8_UNORM", DXGI_FORMAT_B8G8R8A8_UNORM, {0, 51, 255, 102}, {1, 0.2f, 0, 0.4f}, 4},
    {"B8G8R8X8_UNORM", DXGI_FORMAT_B8G8R8X8_UNORM, {0, 51, 255, 102}, {1, 0.2f, 0, 1}, 4},
    {"B5G6R5_UNORM", DXGI_FORMAT_B5G6R5_UNORM, {0x1f, 0xf8}, {1, 0, 1, 1}, 2},
    {"B5G5R5A1_UNORM", DXGI_FORMAT_B5G5R5A1_UNORM, {0xe0, 0x83}, {0, 1, 0, 1}, 2},
    {"R10G10B10A2_UNORM", DXGI_FORMAT_R10G10B10A2_UNORM, {0xff, 0x03, 0xf0, 0x7f}, {1, 0, 1, 1 / 3.f}, 4},
    {"R11G11B10_FLOAT", DXGI_FORMAT_R11G11B10_FLOAT, {0xc0, 0x03, 0x20, 0x70}, {1, 2, 0.5f, 1}, 4},
    {"R9G9B9E5", DXGI_FORMAT_R9G9B9E5_SHAREDEXP, {0x00, 0x01, 0x01, 0x80}, {1, 0.5f, 0, 1}, 4},
    {"R16_UNORM", DXGI_FORMAT_R16_UNORM, {0xff, 0xff}, {1, 0, 0, 1}, 2},
    {"R16G16_FLOAT", DXGI_FORMAT_R16G16_FLOAT, {0x00, 0xc0, 0x00, 0x3c}, {-2, 1, 0, 1}, 4},
    {"R16G16B16A16_SNORM", DXGI_FORMAT_R16G16B16A16_SNORM, {0, 0, 0xff, 0x7f, 1, 0x80, 0, 0}, {0, 1, -1, 0}, 8},
    {"R32G32B32_FLOAT",
     DXGI_FORMAT_R32G32B32_FLOAT,
     {0, 0, 0x80, 0x3f, 0, 0, 0, 0x40, 0, 0, 0x40, 0x40},
     {1, 2, 3, 1},
     12},
    // One block of a single colour each: red (BC1), grey of BC4, red and green of BC5.
    {"BC1_UNORM", DXGI_FORMAT_BC1_UNORM, {0x00, 0xf8, 0x00, 0xf8}, {1, 0, 0, 1}, 8},
    {"BC3_UNORM", DXGI_FORMAT_BC3_UNORM, {51, 51, 0, 0, 0, 0, 0, 0, 0xe0, 0x07, 0xe0, 0x07}, {0, 1, 0, 0.2f}, 16},
    {"BC4_UNORM", DXGI_FORMAT_BC4_UNORM, {102, 102}, {0.4f, 0, 0, 1}, 8},
    {"BC5_UNORM", DXGI_FORMAT_BC5_UNORM, {255, 255, 0, 0, 0, 0, 0, 0, 51, 51}, {1, 0.2f, 0, 1}, 16},
};

} // namespace

TEST_F(Formats, TexturesReadTheirValues)
{
    const auto shader = Pixel("Texture2D t; SamplerState s; float4 main() : SV_Target { return t.Sample(s, 0.5); }");
    for (const Texel& texel : Texels) {
        const UINT side = texel.blockBytes >= 8 && texel.format >= DXGI_FORMAT_BC1_TYPELESS ? 4u : 1u;
        const D3D11_SUBRESOURCE_DATA data{texel.bytes, texel.blockBytes, 0};
        const auto texture =
            Texture(texel.format, side, side,
                    {.bind = D3D11_BIND_SHADER_RESOURCE, .usage = D3D11_USAGE_IMMUTABLE, .data = &data});
        const auto view = View(texture.Get());
        ID3D11ShaderResourceView* views[] = {view.Get()};
        context->PSSetShaderResources(0, 1, views);
        Fill(shader.Get());
        ExpectOutput(texel.expected, texel.name);
    }
}

TEST_F(Formats, VerticesReadTheirValues)
{
    const Texel elements[] = {
        {"R32G32_FLOAT", DXGI_FORMAT_R32G32_FLOAT, {0, 0, 0x80, 0x3f, 0, 0, 0, 0x40}, {1, 2, 0, 1}, 8},
        {"R16G16B16A16_FLOAT", DXGI_FORMAT_R16G16B16A16_FLOAT, {0, 0x3c, 0, 0x40, 0, 0xc0, 0, 0}, {1, 2, -2, 0}, 8},
        {"R16G16_SNORM", DXGI_FORMAT_R16G16_SNORM, {0xff, 0x7f, 1, 0x80}, {1, -1, 0, 1}, 4},
        {"R8G8B8A8_UNORM", DXGI_FORMAT_R8G8B8A8_UNORM, {255, 51, 0, 102}, {1, 0.2f, 0, 0.4f}, 4},
        {"B8G8R8A8_UNORM", DXGI_FORMAT_B8G8R8A8_UNORM, {255, 51, 0, 102}, {0, 0.2f, 1, 0.4f}, 4},
        {"R10G10B10A2_UNORM", DXGI_FORMAT_R10G10B10A2_UNORM, {0xff, 0x03, 0xf0, 0xff}, {1, 0, 1, 1}, 4},
        {"R32_FLOAT", DXGI_FORMAT_R32_FLOAT, {0, 0, 0x80, 0xbf}, {-1, 0, 0, 1}, 4},
    };
    const char* text =
        "struct O { float4 p : SV_Position; float4 c : COLOR; }; O main(float4 c : VALUE, uint id : SV_VertexID)"
        "{ O o; o.p = float4(id == 1 ? 3 : -1, id == 2 ? -3 : 1, 0, 1); o.c = c; return o; }";
    const auto code = Code(text, "vs_5_0");
    const auto vertex = Vertex(text);
    const auto pixel = Pixel("float4 main(float4 p : SV_Position, float4 c : COLOR) : SV_Target { return c; }");
    for (const Texel& element : elements) {
        const D3D11_INPUT_ELEMENT_DESC desc{"VALUE", 0, element.format, 1, 4, D3D11_INPUT_PER_VERTEX_DATA, 0};
        ComPtr<ID3D11InputLayout> layout;
        ASSERT_EQ(S_OK,
                  device->CreateInputLayout(&desc, 1, code->GetBufferPointer(), code->GetBufferSize(), layout.Put()));
        std::uint8_t vertices[3][20] = {};
        for (auto& place : vertices) {
            std::memcpy(place + 4, element.bytes, element.blockBytes);
        }
        const auto buffer = Buffer(sizeof vertices, D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_IMMUTABLE, vertices);
        ID3D11Buffer* buffers[] = {buffer.Get()};
        const UINT stride = 20, offset = 0;
        context->IASetVertexBuffers(1, 1, buffers, &stride, &offset);
        context->IASetInputLayout(layout.Get());
        context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
        context->VSSetShader(vertex.Get(), nullptr, 0);
        context->PSSetShader(pixel.Get(), nullptr, 0);
        context->Draw(3, 0);
        ExpectOutput(element.expected, element.name);
    }
}

TEST_F(Formats, TypedBuffersReadTheirValues)
{
    const std::uint16_t words[8] = {0, 0xffff, 0x8000, 3, 4, 5, 6, 7};
    const auto fixed =
        Buffer(sizeof words, D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_DEFAULT, words);
    const auto moving =
        Buffer(sizeof words, D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_INDEX_BUFFER, D3D11_USAGE_DYNAMIC, words);
    const auto shader =
        Pixel("Buffer<float4> a : register(t0); Buffer<uint> b : register(t1); float4 main() : SV_Target"
              "{ return float4(a[0].y, a[0].z, b[3], b[7]); }");
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{DXGI_FORMAT_R16G16B16A16_UNORM, D3D_SRV_DIMENSION_BUFFER, {}};
    desc.Buffer.NumElements = 2;
    const auto fixedView = View(fixed.Get(), &desc);
    desc.Format = DXGI_FORMAT_R16_UINT;
    desc.Buffer.NumElements = 8;
    const auto movingView = View(moving.Get(), &desc);
    ID3D11ShaderResourceView* views[] = {fixedView.Get(), movingView.Get()};
    context->PSSetShaderResources(0, 2, views);
    Fill(shader.Get());
    ExpectOutput({1, 0.50001f, 3, 7}, "first");
    // The view follows the buffer to its new place.
    D3D11_MAPPED_SUBRESOURCE mapped;
    ASSERT_EQ(S_OK, context->Map(moving.Get(), 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped));
    const std::uint16_t fresh[8] = {0, 0, 0, 30, 0, 0, 0, 70};
    std::memcpy(mapped.pData, fresh, sizeof fresh);
    context->Unmap(moving.Get(), 0);
    Fill(shader.Get());
    ExpectOutput({1, 0.50001f, 30, 70}, "renamed");
}
