// A device under validation for each test, and short ways to make, draw and read back. A validation message fails the
// test that provoked it.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "common/ComPtr.h"
#include "d3d11_1.h"
#include "d3dcompiler.h"

using gleam::ComPtr;
using Words = std::vector<std::uint32_t>;

/// What to make a 2D texture of; the rest is the usual.
struct TextureOptions
{
    UINT mips = 1;
    UINT slices = 1;
    UINT samples = 1;
    UINT bind = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET;
    D3D11_USAGE usage = D3D11_USAGE_DEFAULT;
    UINT misc = 0;
    const D3D11_SUBRESOURCE_DATA* data = nullptr;
};

class DeviceTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    ComPtr<ID3D11Texture2D> Texture(DXGI_FORMAT format, UINT width, UINT height, const TextureOptions& options = {});
    ComPtr<ID3D11RenderTargetView> Target(ID3D11Resource* resource,
                                          const D3D11_RENDER_TARGET_VIEW_DESC* desc = nullptr);
    ComPtr<ID3D11ShaderResourceView> View(ID3D11Resource* resource,
                                          const D3D11_SHADER_RESOURCE_VIEW_DESC* desc = nullptr);
    ComPtr<ID3D11Buffer> Buffer(UINT bytes, UINT bind, D3D11_USAGE usage = D3D11_USAGE_DEFAULT,
                                const void* data = nullptr, UINT misc = 0, UINT stride = 0);
    ComPtr<ID3D11SamplerState> PointSampler();
    ComPtr<ID3DBlob> Code(std::string_view text, const char* target);
    ComPtr<ID3D11VertexShader> Vertex(std::string_view text);
    ComPtr<ID3D11PixelShader> Pixel(std::string_view text);
    ComPtr<ID3D11ComputeShader> Compute(std::string_view text);

    /// Binds a target with a viewport of its whole size.
    void SetTarget(ID3D11RenderTargetView* target, UINT width, UINT height, ID3D11DepthStencilView* depth = nullptr);
    /// A triangle over the whole viewport with this pixel shader; its input is `float4 p : SV_Position`.
    void Fill(ID3D11PixelShader* shader);

    /// Bytes of one subresource, rows without padding, through a staging copy.
    std::vector<std::uint8_t> Read(ID3D11Resource* resource, UINT subresource = 0);
    Words ReadWords(ID3D11Resource* resource, UINT subresource = 0);
    /// The one value of all pixels; fails the test when they differ.
    std::uint32_t ReadColor(ID3D11Resource* resource, UINT subresource = 0);

    ComPtr<ID3D11Device> device;
    ComPtr<ID3D11DeviceContext> context;

private:
    ComPtr<ID3D11VertexShader> m_fill;
};

/// Bytes of an R8G8B8A8 pixel as a word.
constexpr std::uint32_t Rgba(unsigned r, unsigned g, unsigned b, unsigned a = 255)
{
    return r | g << 8 | b << 16 | a << 24;
}
