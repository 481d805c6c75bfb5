// Makes devices and objects for tests.
#include "DeviceKit.h"

#include <algorithm>

#include "common/FormatInfo.h"
#include "vulkan/ValidationLog.h"

void DeviceTest::SetUp()
{
    gleam::TakeValidationMessages();
    const D3D_FEATURE_LEVEL level = D3D_FEATURE_LEVEL_11_1;
    ASSERT_EQ(S_OK, D3D11CreateDevice(nullptr, D3D_DRIVER_TYPE_HARDWARE, nullptr, 0, &level, 1, D3D11_SDK_VERSION,
                                      device.Put(), nullptr, context.Put()));
}

void DeviceTest::TearDown()
{
    m_fill = nullptr;
    context = nullptr;
    device = nullptr;
    EXPECT_EQ("", gleam::TakeValidationMessages());
}

ComPtr<ID3D11Texture2D> DeviceTest::Texture(DXGI_FORMAT format, UINT width, UINT height, const TextureOptions& options)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = width;
    desc.Height = height;
    desc.MipLevels = options.mips;
    desc.ArraySize = options.slices;
    desc.Format = format;
    desc.SampleDesc.Count = options.samples;
    desc.Usage = options.usage;
    desc.BindFlags = options.bind;
    desc.MiscFlags = options.misc;
    if (options.usage == D3D11_USAGE_STAGING) {
        desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
    } else if (options.usage == D3D11_USAGE_DYNAMIC) {
        desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    }
    ComPtr<ID3D11Texture2D> texture;
    EXPECT_EQ(S_OK, device->CreateTexture2D(&desc, options.data, texture.Put()));
    return texture;
}

ComPtr<ID3D11RenderTargetView> DeviceTest::Target(ID3D11Resource* resource, const D3D11_RENDER_TARGET_VIEW_DESC* desc)
{
    ComPtr<ID3D11RenderTargetView> view;
    EXPECT_EQ(S_OK, device->CreateRenderTargetView(resource, desc, view.Put()));
    return view;
}

ComPtr<ID3D11ShaderResourceView> DeviceTest::View(ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc)
{
    ComPtr<ID3D11ShaderResourceView> view;
    EXPECT_EQ(S_OK, device->CreateShaderResourceView(resource, desc, view.Put()));
    return view;
}

ComPtr<ID3D11Buffer> DeviceTest::Buffer(UINT bytes, UINT bind, D3D11_USAGE usage, const void* data, UINT misc,
                                        UINT stride)
{
    D3D11_BUFFER_DESC desc{bytes, usage, bind, 0, misc, stride};
    if (usage == D3D11_USAGE_STAGING) {
        desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
    } else if (usage == D3D11_USAGE_DYNAMIC) {
        desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    }
    const D3D11_SUBRESOURCE_DATA initial{data, 0, 0};
    ComPtr<ID3D11Buffer> buffer;
    EXPECT_EQ(S_OK, device->CreateBuffer(&desc, data ? &initial : nullptr, buffer.Put()));
    return buffer;
}

ComPtr<ID3D11SamplerState> DeviceTest::PointSampler()
{
    D3D11_SAMPLER_DESC desc{};
    desc.Filter = D3D11_FILTER_MIN_MAG_MIP_POINT;
    desc.AddressU = desc.AddressV = desc.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
    desc.ComparisonFunc = D3D11_COMPARISON_NEVER;
    desc.MaxLOD = D3D11_FLOAT32_MAX;
    ComPtr<ID3D11SamplerState> sampler;
    EXPECT_EQ(S_OK, device->CreateSamplerState(&desc, sampler.Put()));
    return sampler;
}

ComPtr<ID3DBlob> DeviceTest::Code(std::string_view text, const char* target)
{
    ComPtr<ID3DBlob> code, errors;
    const HRESULT result =
        D3DCompile(text.data(), text.size(), "", nullptr, nullptr, "main", target, 0, 0, code.Put(), errors.Put());
    EXPECT_EQ(S_OK, result) << (errors ? static_cast<const char*>(errors->GetBufferPointer()) : "");
    return code;
}

ComPtr<ID3D11VertexShader> DeviceTest::Vertex(std::string_view text)
{
    const auto code = Code(text, "vs_5_0");
    ComPtr<ID3D11VertexShader> shader;
    EXPECT_EQ(S_OK, device->CreateVertexShader(code->GetBufferPointer(), code->GetBufferSize(), nullptr, shader.Put()));
    return shader;
}

ComPtr<ID3D11PixelShader> DeviceTest::Pixel(std::string_view text)
{
    const auto code = Code(text, "ps_5_0");
    ComPtr<ID3D11PixelShader> shader;
    EXPECT_EQ(S_OK, device->CreatePixelShader(code->GetBufferPointer(), code->GetBufferSize(), nullptr, shader.Put()));
    return shader;
}

ComPtr<ID3D11ComputeShader> DeviceTest::Compute(std::string_view text)
{
    const auto code = Code(text, "cs_5_0");
    ComPtr<ID3D11ComputeShader> shader;
    EXPECT_EQ(S_OK,
              device->CreateComputeShader(code->GetBufferPointer(), code->GetBufferSize(), nullptr, shader.Put()));
    return shader;
}

void DeviceTest::SetTarget(ID3D11RenderTargetView* target, UINT width, UINT height, ID3D11DepthStencilView* depth)
{
    context->OMSetRenderTargets(target ? 1 : 0, target ? &target : nullptr, depth);
    const D3D11_VIEWPORT viewport{0, 0, static_cast<float>(width), static_cast<float>(height), 0, 1};
    context->RSSetViewports(1, &viewport);
}

void DeviceTest::Fill(ID3D11PixelShader* shader)
{
    if (!m_fill) {
        m_fill = Vertex("float4 main(uint id : SV_VertexID) : SV_Position"
                        "{ return float4(id == 1 ? 3 : -1, id == 2 ? -3 : 1, 0.5, 1); }");
    }
    context->IASetInputLayout(nullptr);
    context->IASetPrimitiveTopology(D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST);
    context->VSSetShader(m_fill.Get(), nullptr, 0);
    context->PSSetShader(shader, nullptr, 0);
    context->Draw(3, 0);
}

namespace {

template <class Interface, class Desc>
Desc StagingDesc(Interface* resource)
{
    Desc desc;
    resource->GetDesc(&desc);
    desc.Usage = D3D11_USAGE_STAGING;
    desc.BindFlags = 0;
    desc.MiscFlags = 0;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
    return desc;
}

} // namespace

std::vector<std::uint8_t> DeviceTest::Read(ID3D11Resource* resource, UINT subresource)
{
    D3D11_RESOURCE_DIMENSION dimension;
    resource->GetType(&dimension);
    ComPtr<ID3D11Resource> staging;
    DXGI_FORMAT format = DXGI_FORMAT_R8_UINT;
    UINT width = 1, height = 1, depth = 1, mips = 1;
    if (dimension == D3D11_RESOURCE_DIMENSION_BUFFER) {
        auto desc = StagingDesc<ID3D11Buffer, D3D11_BUFFER_DESC>(static_cast<ID3D11Buffer*>(resource));
        desc.StructureByteStride = 0;
        device->CreateBuffer(&desc, nullptr, reinterpret_cast<ID3D11Buffer**>(staging.Put()));
        width = desc.ByteWidth;
    } else if (dimension == D3D11_RESOURCE_DIMENSION_TEXTURE1D) {
        const auto desc = StagingDesc<ID3D11Texture1D, D3D11_TEXTURE1D_DESC>(static_cast<ID3D11Texture1D*>(resource));
        device->CreateTexture1D(&desc, nullptr, reinterpret_cast<ID3D11Texture1D**>(staging.Put()));
        format = desc.Format, width = desc.Width, mips = desc.MipLevels;
    } else if (dimension == D3D11_RESOURCE_DIMENSION_TEXTURE2D) {
        const auto desc = StagingDesc<ID3D11Texture2D, D3D11_TEXTURE2D_DESC>(static_cast<ID3D11Texture2D*>(resource));
        device->CreateTexture2D(&desc, nullptr, reinterpret_cast<ID3D11Texture2D**>(staging.Put()));
        format = desc.Format, width = desc.Width, height = desc.Height, mips = desc.MipLevels;
    } else {
        const auto desc = StagingDesc<ID3D11Texture3D, D3D11_TEXTURE3D_DESC>(static_cast<ID3D11Texture3D*>(resource));
        device->CreateTexture3D(&desc, nullptr, reinterpret_cast<ID3D11Texture3D**>(staging.Put()));
        format = desc.Format, width = desc.Width, height = desc.Height, depth = desc.Depth, mips = desc.MipLevels;
    }
    const UINT mip = subresource % mips;
    width = gleam::MipExtent(width, mip), height = gleam::MipExtent(height, mip), depth = gleam::MipExtent(depth, mip);
    context->CopySubresourceRegion(staging.Get(), subresource, 0, 0, 0, resource, subresource, nullptr);
    D3D11_MAPPED_SUBRESOURCE mapped{};
    EXPECT_EQ(S_OK, context->Map(staging.Get(), subresource, D3D11_MAP_READ, 0, &mapped));
    std::vector<std::uint8_t> bytes;
    const gleam::FormatInfo& info = gleam::GetFormatInfo(format);
    const auto rowBytes = static_cast<std::size_t>(gleam::RowBytes(info, width));
    for (UINT z = 0; mapped.pData && z < depth; ++z) {
        for (UINT y = 0; y < gleam::RowCount(info, height); ++y) {
            const auto* row = static_cast<const std::uint8_t*>(mapped.pData) + std::size_t(z) * mapped.DepthPitch +
                              std::size_t(y) * mapped.RowPitch;
            bytes.insert(bytes.end(), row, row + rowBytes);
        }
    }
    context->Unmap(staging.Get(), subresource);
    return bytes;
}

Words DeviceTest::ReadWords(ID3D11Resource* resource, UINT subresource)
{
    const std::vector<std::uint8_t> bytes = Read(resource, subresource);
    Words words(bytes.size() / 4);
    std::memcpy(words.data(), bytes.data(), words.size() * 4);
    return words;
}

std::uint32_t DeviceTest::ReadColor(ID3D11Resource* resource, UINT subresource)
{
    const Words words = ReadWords(resource, subresource);
    EXPECT_FALSE(words.empty());
    EXPECT_TRUE(std::all_of(words.begin(), words.end(), [&](std::uint32_t word) { return word == words[0]; }));
    return words.empty() ? 0 : words[0];
}
