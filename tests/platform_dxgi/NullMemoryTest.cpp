// Memory of the null device: what maps, updates, copies, resolves and clears leave behind.
#include <array>
#include <cstring>
#include <numeric>

#include "NullFixture.h"

namespace gleam {
namespace {

using test::NullDeviceTest;
using test::TextureOptions;

constexpr UINT ReadWrite = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;

class NullMemoryTest : public NullDeviceTest
{
protected:
    /// Bytes of a subresource without its padding, through a staging copy.
    std::vector<std::uint8_t> ReadBack(ID3D11Texture2D* texture, UINT subresource)
    {
        D3D11_TEXTURE2D_DESC desc;
        texture->GetDesc(&desc);
        const ComPtr<ID3D11Texture2D> staging = MakeTexture({.width = desc.Width,
                                                             .height = desc.Height,
                                                             .mips = desc.MipLevels,
                                                             .slices = desc.ArraySize,
                                                             .format = desc.Format,
                                                             .usage = D3D11_USAGE_STAGING,
                                                             .bind = 0,
                                                             .cpu = D3D11_CPU_ACCESS_READ});
        m_context->CopyResource(staging.Get(), texture);
        D3D11_MAPPED_SUBRESOURCE mapped{};
        EXPECT_EQ(m_context->Map(staging.Get(), subresource, D3D11_MAP_READ, 0, &mapped), S_OK);
        const FormatInfo& format = GetFormatInfo(desc.Format);
        const UINT mip = subresource % desc.MipLevels;
        const auto rowBytes = static_cast<size_t>(RowBytes(format, MipExtent(desc.Width, mip)));
        const UINT rows = RowCount(format, MipExtent(desc.Height, mip));
        std::vector<std::uint8_t> bytes(rowBytes * rows);
        for (UINT y = 0; y < rows; ++y) {
            std::memcpy(bytes.data() + y * rowBytes, static_cast<std::uint8_t*>(mapped.pData) + y * mapped.RowPitch,
                        rowBytes);
        }
        m_context->Unmap(staging.Get(), subresource);
        return bytes;
    }

    std::vector<UINT> ReadBack(ID3D11Buffer* buffer)
    {
        D3D11_BUFFER_DESC desc;
        buffer->GetDesc(&desc);
        const ComPtr<ID3D11Buffer> staging = MakeBuffer(desc.ByteWidth, D3D11_USAGE_STAGING, 0, D3D11_CPU_ACCESS_READ);
        m_context->CopyResource(staging.Get(), buffer);
        D3D11_MAPPED_SUBRESOURCE mapped{};
        EXPECT_EQ(m_context->Map(staging.Get(), 0, D3D11_MAP_READ, 0, &mapped), S_OK);
        std::vector<UINT> words(desc.ByteWidth / 4);
        std::memcpy(words.data(), mapped.pData, desc.ByteWidth);
        m_context->Unmap(staging.Get(), 0);
        return words;
    }
};

std::vector<std::uint8_t> Ramp(size_t size, int start = 0)
{
    std::vector<std::uint8_t> bytes(size);
    std::iota(bytes.begin(), bytes.end(), static_cast<std::uint8_t>(start));
    return bytes;
}

TEST_F(NullMemoryTest, InitialDataWithPitches)
{
    // 5 texels of 4 bytes in rows of 24.
    const std::vector<std::uint8_t> source = Ramp(24 * 3);
    const D3D11_SUBRESOURCE_DATA data{source.data(), 24, 0};
    const ComPtr<ID3D11Texture2D> texture = MakeTexture(
        {.width = 5, .height = 3, .usage = D3D11_USAGE_IMMUTABLE, .bind = D3D11_BIND_SHADER_RESOURCE}, &data);
    const std::vector<std::uint8_t> bytes = ReadBack(texture.Get(), 0);
    ASSERT_EQ(bytes.size(), 60u);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[20], 24);
    EXPECT_EQ(bytes[59], 24 * 2 + 19);
    EXPECT_EQ(ReadBack(MakeTexture({}).Get(), 0), std::vector<std::uint8_t>(256)) << "fresh memory is zero";
}

TEST_F(NullMemoryTest, UpdatesReachOneBoxOfOneSubresource)
{
    const ComPtr<ID3D11Texture2D> texture = MakeTexture({.mips = 2, .slices = 2});
    const D3D11_BOX box{1, 2, 0, 3, 4, 1};
    const std::vector<std::uint8_t> source = Ramp(100, 1);
    m_context->UpdateSubresource(texture.Get(), 3, &box, source.data(), 50, 0);
    std::vector<std::uint8_t> expected(4 * 4 * 4);
    for (int y = 0; y < 2; ++y) {
        std::memcpy(expected.data() + (2 + y) * 16 + 4, source.data() + y * 50, 8);
    }
    EXPECT_EQ(ReadBack(texture.Get(), 3), expected);
    EXPECT_EQ(ReadBack(texture.Get(), 1), std::vector<std::uint8_t>(64));
    const D3D11_BOX outside{3, 0, 0, 5, 1, 1};
    ExpectLine([&] { m_context->UpdateSubresource(texture.Get(), 3, &outside, source.data(), 50, 0); }, "outside");
    EXPECT_EQ(ReadBack(texture.Get(), 3), expected);
}

TEST_F(NullMemoryTest, CompressedRegionsMoveWholeBlocks)
{
    const TextureOptions bc{
        .width = 16, .height = 16, .mips = 5, .format = DXGI_FORMAT_BC1_UNORM, .bind = D3D11_BIND_SHADER_RESOURCE};
    const ComPtr<ID3D11Texture2D> a = MakeTexture(bc);
    const ComPtr<ID3D11Texture2D> b = MakeTexture(bc);
    const std::vector<std::uint8_t> source = Ramp(128);
    m_context->UpdateSubresource(a.Get(), 0, nullptr, source.data(), 32, 0);
    // The second block of the third row into the single block of the mip of 2 by 2.
    const D3D11_BOX box{4, 8, 0, 8, 12, 1};
    m_context->CopySubresourceRegion(b.Get(), 3, 0, 0, 0, a.Get(), 0, &box);
    EXPECT_EQ(ReadBack(b.Get(), 3), std::vector<std::uint8_t>(source.begin() + 72, source.begin() + 80));
    // The same block as one texel of eight bytes.
    const ComPtr<ID3D11Texture2D> words =
        MakeTexture({.width = 2, .height = 1, .format = DXGI_FORMAT_R32G32_UINT, .bind = D3D11_BIND_SHADER_RESOURCE});
    m_context->CopySubresourceRegion(words.Get(), 0, 1, 0, 0, a.Get(), 0, &box);
    const std::vector<std::uint8_t> texels = ReadBack(words.Get(), 0);
    EXPECT_EQ(std::vector<std::uint8_t>(texels.begin() + 8, texels.end()),
              std::vector<std::uint8_t>(source.begin() + 72, source.begin() + 80));
}

TEST_F(NullMemoryTest, VolumesAndLines)
{
    const D3D11_TEXTURE3D_DESC desc{4, 4, 4, 1, DXGI_FORMAT_R8_UINT, D3D11_USAGE_STAGING, 0, ReadWrite, 0};
    const std::vector<std::uint8_t> source = Ramp(64);
    const D3D11_SUBRESOURCE_DATA data{source.data(), 4, 16};
    ComPtr<ID3D11Texture3D> a, b;
    ASSERT_EQ(m_device->CreateTexture3D(&desc, &data, a.Put()), S_OK);
    ASSERT_EQ(m_device->CreateTexture3D(&desc, nullptr, b.Put()), S_OK);
    const D3D11_BOX box{1, 1, 2, 3, 2, 4};
    m_context->CopySubresourceRegion(b.Get(), 0, 0, 3, 1, a.Get(), 0, &box);
    D3D11_MAPPED_SUBRESOURCE mapped{};
    ASSERT_EQ(m_context->Map(b.Get(), 0, D3D11_MAP_READ, 0, &mapped), S_OK);
    const auto at = [&](UINT x, UINT y, UINT z) {
        return static_cast<std::uint8_t*>(mapped.pData)[z * mapped.DepthPitch + y * mapped.RowPitch + x];
    };
    EXPECT_EQ(at(0, 3, 1), 2 * 16 + 1 * 4 + 1);
    EXPECT_EQ(at(1, 3, 2), 3 * 16 + 1 * 4 + 2);
    EXPECT_EQ(at(2, 3, 1), 0);
    EXPECT_EQ(at(0, 3, 3), 0);
    m_context->Unmap(b.Get(), 0);

    const D3D11_TEXTURE1D_DESC line{8, 0, 2, DXGI_FORMAT_R8_UNORM, D3D11_USAGE_DEFAULT, D3D11_BIND_SHADER_RESOURCE,
                                    0, 0};
    ComPtr<ID3D11Texture1D> texture;
    ASSERT_EQ(m_device->CreateTexture1D(&line, nullptr, texture.Put()), S_OK);
    D3D11_TEXTURE1D_DESC settled;
    texture->GetDesc(&settled);
    EXPECT_EQ(settled.MipLevels, 4u);
}

TEST_F(NullMemoryTest, MapsGiveTheMemoryUntilUnmapped)
{
    const ComPtr<ID3D11Buffer> buffer =
        MakeBuffer(64, D3D11_USAGE_DYNAMIC, D3D11_BIND_VERTEX_BUFFER, D3D11_CPU_ACCESS_WRITE);
    D3D11_MAPPED_SUBRESOURCE mapped{};
    ASSERT_EQ(m_context->Map(buffer.Get(), 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped), S_OK);
    const UINT values[2] = {7, 8};
    std::memcpy(mapped.pData, values, sizeof(values));
    constexpr const char* call = "ID3D11DeviceContext::Map";
    Expect({E_INVALIDARG, "mapped already"}, m_context->Map(buffer.Get(), 0, D3D11_MAP_WRITE_NO_OVERWRITE, 0, &mapped),
           call);
    EXPECT_EQ(mapped.pData, nullptr);
    m_context->Unmap(buffer.Get(), 0);
    ExpectLine([&] { m_context->Unmap(buffer.Get(), 0); }, "not mapped");
    ASSERT_EQ(m_context->Map(buffer.Get(), 0, D3D11_MAP_WRITE_NO_OVERWRITE, 0, &mapped), S_OK);
    static_cast<UINT*>(mapped.pData)[2] = 9;
    m_context->Unmap(buffer.Get(), 0);
    const std::vector<UINT> words = ReadBack(buffer.Get());
    EXPECT_EQ(words[0], 7u);
    EXPECT_EQ(words[2], 9u);
    Expect({E_INVALIDARG, "subresource 1"}, m_context->Map(buffer.Get(), 1, D3D11_MAP_WRITE_DISCARD, 0, &mapped), call);
    Expect({E_INVALIDARG, "null"}, m_context->Map(nullptr, 0, D3D11_MAP_READ, 0, &mapped), call);
}

TEST_F(NullMemoryTest, ClearsOfTargets)
{
    const ComPtr<ID3D11Texture2D> texture =
        MakeTexture({.width = 4, .height = 2, .mips = 2, .slices = 3, .format = DXGI_FORMAT_R8G8B8A8_TYPELESS});
    D3D11_RENDER_TARGET_VIEW_DESC desc{};
    desc.Format = DXGI_FORMAT_R8G8B8A8_UNORM;
    desc.ViewDimension = D3D11_RTV_DIMENSION_TEXTURE2DARRAY;
    desc.Texture2DArray = {1, 1, 2};
    ComPtr<ID3D11RenderTargetView> view;
    ASSERT_EQ(m_device->CreateRenderTargetView(texture.Get(), &desc, view.Put()), S_OK);
    const float color[4] = {1, 0, 0.5f, 1};
    m_context->ClearRenderTargetView(view.Get(), color);
    const std::vector<std::uint8_t> expected = {255, 0, 128, 255, 255, 0, 128, 255};
    const std::vector<std::uint8_t> empty(8);
    EXPECT_EQ(ReadBack(texture.Get(), 1), empty);
    EXPECT_EQ(ReadBack(texture.Get(), 3), expected);
    EXPECT_EQ(ReadBack(texture.Get(), 5), expected);
    EXPECT_EQ(ReadBack(texture.Get(), 4), std::vector<std::uint8_t>(32));
}

TEST_F(NullMemoryTest, ClearsOfDepthAndStencil)
{
    struct Case
    {
        DXGI_FORMAT format;
        std::vector<std::uint8_t> depthOnly;   // depth 0.5 over zeros
        std::vector<std::uint8_t> both;        // then depth 1 and stencil 0x12
        std::vector<std::uint8_t> stencilOnly; // then stencil 0x34
    };
    const Case cases[] = {
        {DXGI_FORMAT_D16_UNORM, {0x00, 0x80}, {0xff, 0xff}, {0xff, 0xff}},
        {DXGI_FORMAT_D32_FLOAT, {0, 0, 0, 0x3f}, {0, 0, 0x80, 0x3f}, {0, 0, 0x80, 0x3f}},
        {DXGI_FORMAT_D24_UNORM_S8_UINT, {0x00, 0x00, 0x80, 0}, {0xff, 0xff, 0xff, 0x12}, {0xff, 0xff, 0xff, 0x34}},
        {DXGI_FORMAT_D32_FLOAT_S8X24_UINT,
         {0, 0, 0, 0x3f, 0, 0, 0, 0},
         {0, 0, 0x80, 0x3f, 0x12, 0, 0, 0},
         {0, 0, 0x80, 0x3f, 0x34, 0, 0, 0}}};
    for (const Case& param : cases) {
        SCOPED_TRACE(GetFormatInfo(param.format).name);
        const ComPtr<ID3D11Texture2D> texture =
            MakeTexture({.width = 1, .height = 1, .format = param.format, .bind = D3D11_BIND_DEPTH_STENCIL});
        ComPtr<ID3D11DepthStencilView> view;
        ASSERT_EQ(m_device->CreateDepthStencilView(texture.Get(), nullptr, view.Put()), S_OK);
        m_context->ClearDepthStencilView(view.Get(), D3D11_CLEAR_DEPTH, 0.5f, 0x77);
        EXPECT_EQ(ReadBack(texture.Get(), 0), param.depthOnly);
        m_context->ClearDepthStencilView(view.Get(), D3D11_CLEAR_DEPTH | D3D11_CLEAR_STENCIL, 1, 0x12);
        EXPECT_EQ(ReadBack(texture.Get(), 0), param.both);
        m_context->ClearDepthStencilView(view.Get(), D3D11_CLEAR_STENCIL, 0, 0x34);
        EXPECT_EQ(ReadBack(texture.Get(), 0), param.stencilOnly);
    }
}

TEST_F(NullMemoryTest, ClearsOfAccessViews)
{
    const ComPtr<ID3D11Buffer> buffer =
        MakeBuffer(48, D3D11_USAGE_DEFAULT, D3D11_BIND_UNORDERED_ACCESS, 0, D3D11_RESOURCE_MISC_BUFFER_STRUCTURED, 12);
    D3D11_UNORDERED_ACCESS_VIEW_DESC desc{};
    desc.ViewDimension = D3D11_UAV_DIMENSION_BUFFER;
    desc.Buffer = {1, 2, D3D11_BUFFER_UAV_FLAG_COUNTER};
    ComPtr<ID3D11UnorderedAccessView> view;
    ASSERT_EQ(m_device->CreateUnorderedAccessView(buffer.Get(), &desc, view.Put()), S_OK);
    const UINT values[4] = {0xabcd, 1, 2, 3};
    m_context->ClearUnorderedAccessViewUint(view.Get(), values);
    const std::vector<UINT> words = ReadBack(buffer.Get());
    for (size_t i = 0; i < words.size(); ++i) {
        EXPECT_EQ(words[i], i >= 3 && i < 9 ? 0xabcdu : 0u) << i;
    }
    const float color[4] = {1, 1, 1, 1};
    ExpectLine([&] { m_context->ClearUnorderedAccessViewFloat(view.Get(), color); }, "float or normalised");
    const ComPtr<ID3D11Buffer> count = MakeBuffer(16, D3D11_USAGE_DEFAULT, D3D11_BIND_VERTEX_BUFFER);
    m_context->CopyStructureCount(count.Get(), 12, view.Get());
    ExpectLine([&] { m_context->CopyStructureCount(count.Get(), 16, view.Get()); }, "offset 16");
}

TEST_F(NullMemoryTest, ResolvesTakeTheOneValue)
{
    const ComPtr<ID3D11Texture2D> sampled = MakeTexture({.samples = 4});
    const ComPtr<ID3D11Texture2D> plain = MakeTexture({});
    ComPtr<ID3D11RenderTargetView> view;
    ASSERT_EQ(m_device->CreateRenderTargetView(sampled.Get(), nullptr, view.Put()), S_OK);
    const float color[4] = {0, 1, 0, 1};
    m_context->ClearRenderTargetView(view.Get(), color);
    m_context->ResolveSubresource(plain.Get(), 0, sampled.Get(), 0, DXGI_FORMAT_R8G8B8A8_UNORM);
    const std::vector<std::uint8_t> bytes = ReadBack(plain.Get(), 0);
    EXPECT_EQ((std::vector<std::uint8_t>(bytes.end() - 4, bytes.end())), (std::vector<std::uint8_t>{0, 255, 0, 255}));
    UINT levels = 7;
    EXPECT_EQ(m_device->CheckMultisampleQualityLevels(DXGI_FORMAT_R8G8B8A8_UNORM, 6, &levels), S_OK);
    EXPECT_EQ(levels, 0u);
    EXPECT_EQ(m_device->CheckMultisampleQualityLevels(DXGI_FORMAT_R8G8B8A8_UNORM, 4, &levels), S_OK);
    EXPECT_EQ(levels, 1u);
}

TEST_F(NullMemoryTest, HugeResourcesFailWithACode)
{
    ComPtr<ID3D11Texture2D> texture;
    const D3D11_TEXTURE2D_DESC desc{
        16384, 16384, 1, 2048, DXGI_FORMAT_R32G32B32A32_FLOAT, {1, 0}, D3D11_USAGE_DEFAULT, D3D11_BIND_SHADER_RESOURCE,
        0,     0};
    EXPECT_EQ(m_device->CreateTexture2D(&desc, nullptr, texture.Put()), E_OUTOFMEMORY);
    EXPECT_FALSE(texture);
}

} // namespace
} // namespace gleam
