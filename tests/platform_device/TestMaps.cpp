// Mapping: renamed buffers, staging resources and what waits for what.
#include <unistd.h>

#include <fstream>

#include "DeviceKit.h"
#include "vulkan/Device.h"

class Maps : public DeviceTest
{
protected:
    void SetUp() override
    {
        DeviceTest::SetUp();
        texture = Texture(DXGI_FORMAT_R32_UINT, 64, 64);
        target = Target(texture.Get());
        SetTarget(target.Get(), 64, 64);
    }

    D3D11_MAPPED_SUBRESOURCE Map(ID3D11Resource* resource, D3D11_MAP type, UINT subresource = 0)
    {
        D3D11_MAPPED_SUBRESOURCE mapped{};
        EXPECT_EQ(S_OK, context->Map(resource, subresource, type, 0, &mapped));
        return mapped;
    }

    void Discard(ID3D11Buffer* buffer, const void* data, std::size_t size, std::size_t offset = 0,
                 D3D11_MAP type = D3D11_MAP_WRITE_DISCARD)
    {
        std::memcpy(static_cast<std::uint8_t*>(Map(buffer, type).pData) + offset, data, size);
        context->Unmap(buffer, 0);
    }

    ComPtr<ID3D11Texture2D> texture;
    ComPtr<ID3D11RenderTargetView> target;
};

// Draws one pixel for each of 4,096 values, all in flight at once: every draw has to see its own constants.
class MapsConstants : public Maps, public ::testing::WithParamInterface<bool>
{
};

TEST_P(MapsConstants, EveryDrawSeesItsOwn)
{
    const bool isDynamic = GetParam();
    const auto vertex = Vertex("cbuffer C : register(b2) { uint4 place; float4 rest[12]; }"
                               "float4 main() : SV_Position { return float4((place.xy + 0.5) / 32 * float2(1, -1)"
                               "+ float2(-1, 1), 0, 1); }");
    const auto pixel = Pixel("cbuffer C : register(b0) { uint4 place; float4 rest[12]; }"
                             "uint main() : SV_Target { return place.z + (uint)rest[11].w; }");
    struct Constants
    {
        std::uint32_t place[4];
        float rest[12][4];
    };
    const auto buffer =
        Buffer(sizeof(Constants), D3D11_BIND_CONSTANT_BUFFER, isDynamic ? D3D11_USAGE_DYNAMIC : D3D11_USAGE_DEFAULT);
    ID3D11Buffer* buffers[] = {buffer.Get()};
    context->VSSetShader(vertex.Get(), nullptr, 0);
    context->PSSetShader(pixel.Get(), nullptr, 0);
    context->VSSetConstantBuffers(2, 1, buffers);
    context->PSSetConstantBuffers(0, 1, buffers);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_POINTLIST);
    for (std::uint32_t i = 0; i < 64 * 64; ++i) {
        Constants constants{{i % 64, i / 64, i * 3, 0}, {}};
        constants.rest[11][3] = 7;
        if (isDynamic) {
            Discard(buffer.Get(), &constants, sizeof constants);
        } else {
            context->UpdateSubresource(buffer.Get(), 0, nullptr, &constants, 0, 0);
        }
        context->Draw(1, 0);
    }
    const Words words = ReadWords(texture.Get());
    for (std::uint32_t i = 0; i < 64 * 64; ++i) {
        ASSERT_EQ(i * 3 + 7, words[i]) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Usages, MapsConstants, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Dynamic" : "Default"; });

TEST_F(Maps, RollingBuffersAreRightAndStaySmall)
{
    // As immediate drawing does it: the whole buffer is discarded for each few vertices at a moving offset.
    const char* text = "float4 main(float2 p : P, uint c : C, out uint color : COLOR) : SV_Position"
                       "{ color = c; return float4((p + 0.5) / 32 * float2(1, -1) + float2(-1, 1), 0, 1); }";
    const auto code = Code(text, "vs_5_0");
    const D3D11_INPUT_ELEMENT_DESC elements[] = {
        {"P", 0, DXGI_FORMAT_R32G32_FLOAT, 0, 0, D3D11_INPUT_PER_VERTEX_DATA, 0},
        {"C", 0, DXGI_FORMAT_R32_UINT, 0, 8, D3D11_INPUT_PER_VERTEX_DATA, 0}};
    ComPtr<ID3D11InputLayout> layout;
    ASSERT_EQ(S_OK,
              device->CreateInputLayout(elements, 2, code->GetBufferPointer(), code->GetBufferSize(), layout.Put()));
    context->IASetInputLayout(layout.Get());
    context->VSSetShader(Vertex(text).Get(), nullptr, 0);
    context->PSSetShader(
        Pixel("uint main(float4 p : SV_Position, nointerpolation uint c : COLOR) : SV_Target { return c; }").Get(),
        nullptr, 0);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_POINTLIST);
    struct Corner
    {
        float x, y;
        std::uint32_t color;
    };
    constexpr UINT size = 2u << 20;
    const auto vertices = Buffer(size, D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_DYNAMIC);
    const auto indices = Buffer(size * 2, D3D11_BIND_INDEX_BUFFER | D3D11_BIND_SHADER_RESOURCE, D3D11_USAGE_DYNAMIC);
    auto& gpu = static_cast<gleam::VulkanDevice*>(device.Get())->gpu;
    const VkDeviceSize before = gpu.memory.ReservedBytes();
    UINT vertexOffset = 0, indexOffset = 0;
    for (std::uint32_t i = 0; i < 5000; ++i) {
        const std::uint32_t at = i % 4096;
        // Only vertex 2 of the three is drawn, by a base vertex, an index or a start in turn.
        const Corner corners[3] = {{0, 63, 1}, {0, 63, 2}, {float(at % 64), float(at / 64), i + 10}};
        vertexOffset = vertexOffset + sizeof corners > size ? 0 : vertexOffset;
        Discard(vertices.Get(), corners, sizeof corners, vertexOffset);
        ID3D11Buffer* stream = vertices.Get();
        const UINT stride = sizeof(Corner);
        // Offsets in vertices as well as in bytes.
        const UINT offset = i % 2 ? vertexOffset : 0, base = i % 2 ? 0 : vertexOffset / stride;
        context->IASetVertexBuffers(0, 1, &stream, &stride, &offset);
        if (i % 3 == 0) {
            context->Draw(1, base + 2);
        } else {
            const std::uint16_t index = i % 3 == 1 ? 2 : 1;
            Discard(indices.Get(), &index, sizeof index, indexOffset);
            context->IASetIndexBuffer(indices.Get(), DXGI_FORMAT_R16_UINT, indexOffset);
            context->DrawIndexed(1, 0, static_cast<INT>(base) + (i % 3 == 1 ? 0 : 1));
            indexOffset += 2;
        }
        vertexOffset += sizeof corners;
    }
    const Words words = ReadWords(texture.Get());
    for (std::uint32_t i = 904; i < 5000; ++i) {
        ASSERT_EQ(i + 10, words[i % 4096]) << i;
    }
    EXPECT_LT(gpu.memory.ReservedBytes() - before, 200u << 20);
}

TEST_F(Maps, NoOverwriteKeepsWhatIsThere)
{
    const auto shader = Pixel("cbuffer C { uint4 c[4]; } uint main() : SV_Target { return c[1].x + c[2].x; }");
    const auto buffer = Buffer(64, D3D11_BIND_CONSTANT_BUFFER, D3D11_USAGE_DYNAMIC);
    const std::uint32_t ten = 10, five = 5;
    Discard(buffer.Get(), &ten, 4, 16);
    Discard(buffer.Get(), &five, 4, 32, D3D11_MAP_WRITE_NO_OVERWRITE);
    ID3D11Buffer* buffers[] = {buffer.Get()};
    context->PSSetConstantBuffers(0, 1, buffers);
    Fill(shader.Get());
    EXPECT_EQ(15u, ReadColor(texture.Get()));
    // Contents live on over submissions until they are replaced.
    for (int i = 0; i < 8; ++i) {
        context->Flush();
    }
    const auto other = Buffer(64, D3D11_BIND_CONSTANT_BUFFER, D3D11_USAGE_DYNAMIC);
    const std::uint32_t junk[16] = {99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99, 99};
    for (int i = 0; i < 100; ++i) {
        Discard(other.Get(), junk, sizeof junk);
    }
    Fill(shader.Get());
    EXPECT_EQ(15u, ReadColor(texture.Get()));
}

TEST_F(Maps, DynamicTexturesTakeEachWrite)
{
    const auto source =
        Texture(DXGI_FORMAT_R32_UINT, 3, 2, {.bind = D3D11_BIND_SHADER_RESOURCE, .usage = D3D11_USAGE_DYNAMIC});
    const auto view = View(source.Get());
    ID3D11ShaderResourceView* views[] = {view.Get()};
    context->PSSetShaderResources(0, 1, views);
    const auto shader = Pixel("Texture2D<uint> t; uint main() : SV_Target { return t.Load(int3(2, 1, 0)); }");
    for (std::uint32_t round = 1; round < 4; ++round) {
        const D3D11_MAPPED_SUBRESOURCE mapped = Map(source.Get(), D3D11_MAP_WRITE_DISCARD);
        ASSERT_GE(mapped.RowPitch, 12u);
        const std::uint32_t row[3] = {0, 0, round * 100};
        std::memcpy(static_cast<std::uint8_t*>(mapped.pData) + mapped.RowPitch, row, sizeof row);
        context->Unmap(source.Get(), 0);
        const D3D11_VIEWPORT half{round == 3 ? 0.f : 32.f, 0, 32, 64, 0, 1};
        context->RSSetViewports(1, &half);
        Fill(shader.Get());
    }
    const Words words = ReadWords(texture.Get());
    EXPECT_EQ(300u, words[0]);
    EXPECT_EQ(200u, words[63]);
}

TEST_F(Maps, StagingWaitsOrSaysThatItWould)
{
    const auto staging = Texture(DXGI_FORMAT_R32_UINT, 64, 64, {.bind = 0, .usage = D3D11_USAGE_STAGING});
    // Much work first, so that a poll right behind it finds the device busy.
    const auto slow =
        Pixel("uint main(float4 p : SV_Position) : SV_Target { uint s = 0;"
              "for (uint i = 0; i < 20000; ++i) s = s * 1664525 + (uint)p.x + i; return s == 1 ? 2 : 77; }");
    for (int i = 0; i < 4; ++i) {
        Fill(slow.Get());
    }
    context->CopyResource(staging.Get(), texture.Get());
    D3D11_MAPPED_SUBRESOURCE mapped{};
    const HRESULT first = context->Map(staging.Get(), 0, D3D11_MAP_READ, D3D11_MAP_FLAG_DO_NOT_WAIT, &mapped);
    EXPECT_EQ(DXGI_ERROR_WAS_STILL_DRAWING, first);
    EXPECT_EQ(nullptr, mapped.pData);
    HRESULT polled = first;
    for (int i = 0; i < 3000 && polled == DXGI_ERROR_WAS_STILL_DRAWING; ++i) {
        usleep(10000);
        polled = context->Map(staging.Get(), 0, D3D11_MAP_READ, D3D11_MAP_FLAG_DO_NOT_WAIT, &mapped);
    }
    ASSERT_EQ(S_OK, polled) << "the poll itself has to send the work";
    EXPECT_EQ(77u, *static_cast<std::uint32_t*>(mapped.pData));
    context->Unmap(staging.Get(), 0);

    // Written by the processor, read by the device, and back.
    D3D11_MAPPED_SUBRESOURCE written = Map(staging.Get(), D3D11_MAP_READ_WRITE);
    std::memset(written.pData, 1, std::size_t(written.RowPitch) * 64);
    context->Unmap(staging.Get(), 0);
    context->CopyResource(texture.Get(), staging.Get());
    EXPECT_EQ(0x01010101u, ReadColor(texture.Get()));

    const auto buffer = Buffer(256, 0, D3D11_USAGE_STAGING);
    const auto values = Buffer(256, D3D11_BIND_VERTEX_BUFFER, D3D11_USAGE_DEFAULT);
    Words words(64, 5);
    context->UpdateSubresource(values.Get(), 0, nullptr, words.data(), 0, 0);
    const D3D11_BOX box{16, 0, 0, 32, 1, 1};
    words.assign(4, 9);
    context->UpdateSubresource(values.Get(), 0, &box, words.data(), 0, 0);
    context->CopyResource(buffer.Get(), values.Get());
    const auto* read = static_cast<std::uint32_t*>(Map(buffer.Get(), D3D11_MAP_READ).pData);
    EXPECT_EQ(5u, read[3]);
    EXPECT_EQ(9u, read[4]);
    EXPECT_EQ(9u, read[7]);
    EXPECT_EQ(5u, read[8]);
    context->Unmap(buffer.Get(), 0);
}
