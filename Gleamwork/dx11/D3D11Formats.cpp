// The six device formats of a texture: the resource's and those of its views.
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/Log.h>

namespace api {
namespace {

DXGI_FORMAT SRGBTwin(DXGI_FORMAT format)
{
    switch (format) {
    case DXGI_FORMAT_R8G8B8A8_UNORM:
        return DXGI_FORMAT_R8G8B8A8_UNORM_SRGB;
    case DXGI_FORMAT_BC1_UNORM:
        return DXGI_FORMAT_BC1_UNORM_SRGB;
    case DXGI_FORMAT_BC2_UNORM:
        return DXGI_FORMAT_BC2_UNORM_SRGB;
    case DXGI_FORMAT_BC3_UNORM:
        return DXGI_FORMAT_BC3_UNORM_SRGB;
    case DXGI_FORMAT_B8G8R8A8_UNORM:
        return DXGI_FORMAT_B8G8R8A8_UNORM_SRGB;
    case DXGI_FORMAT_BC7_UNORM:
        return DXGI_FORMAT_BC7_UNORM_SRGB;
    case DXGI_FORMAT_BC4_UNORM: // one and two channels carry data, not colour
    case DXGI_FORMAT_BC5_UNORM:
        return format;
    default:
        QS_LOG_ASSERT("Gleamwork/dx11/D3D11Formats", "api::D3D11Renderer::GetDXGIFormatsFromGWFormat",
                      "Trying to create sRGB texurem but no sRGB format is found.");
        return format;
    }
}

struct ReadableDepthFormats
{
    DXGI_FORMAT depthStencil;
    DXGI_FORMAT texture;
    DXGI_FORMAT shaderResource;
    DXGI_FORMAT stencilShaderResource;
};

constexpr ReadableDepthFormats READABLE_DEPTH_FORMATS[] = {
    {DXGI_FORMAT_D32_FLOAT, DXGI_FORMAT_R32_TYPELESS, DXGI_FORMAT_R32_FLOAT, DXGI_FORMAT_UNKNOWN},
    {DXGI_FORMAT_D24_UNORM_S8_UINT, DXGI_FORMAT_R24G8_TYPELESS, DXGI_FORMAT_R24_UNORM_X8_TYPELESS,
     DXGI_FORMAT_X24_TYPELESS_G8_UINT},
    {DXGI_FORMAT_D16_UNORM, DXGI_FORMAT_R16_TYPELESS, DXGI_FORMAT_R16_UNORM, DXGI_FORMAT_UNKNOWN},
};

const ReadableDepthFormats* FindReadableDepth(DxgiFormat depthStencil)
{
    for (const ReadableDepthFormats& formats : READABLE_DEPTH_FORMATS) {
        if (DxgiFormat(formats.depthStencil) == depthStencil) {
            return &formats;
        }
    }
    return nullptr;
}

} // namespace

void D3D11Renderer::GetDXGIFormatsFromGWFormat(gw::EFormat format, gw::ETextureUsageFlag usage, DxgiFormat& texture,
                                               DxgiFormat& renderTarget, DxgiFormat& depthStencil,
                                               DxgiFormat& unorderedAccess, DxgiFormat& shaderResource,
                                               DxgiFormat& stencilShaderResource)
{
    DXGI_FORMAT deviceFormat = gw2DX11::Format(format);
    if (usage & gw::eTextureUsageFlag_SRGB) {
        deviceFormat = SRGBTwin(deviceFormat);
    }
    const auto viewFormat = [&](unsigned bits) {
        return DxgiFormat(usage & bits ? deviceFormat : DXGI_FORMAT_UNKNOWN);
    };
    texture = DxgiFormat(deviceFormat);
    renderTarget = viewFormat(gw::eTextureUsageFlag_RenderTarget | gw::eTextureUsageFlag_RenderTargetSlices);
    unorderedAccess = viewFormat(gw::eTextureUsageFlag_UnorderedAccess | gw::eTextureUsageFlag_UnorderedAccessSlices);
    depthStencil = viewFormat(gw::eTextureUsageFlag_DepthStencil | gw::eTextureUsageFlag_DepthStencilSlices);
    shaderResource = viewFormat(gw::eTextureUsageFlag_ShaderResource | gw::eTextureUsageFlag_ShaderResourceSlices);
    stencilShaderResource = DXGI_FORMAT_UNKNOWN;
    if (depthStencil == DXGI_FORMAT_UNKNOWN || shaderResource == DXGI_FORMAT_UNKNOWN) {
        return;
    }
    if (const ReadableDepthFormats* formats = FindReadableDepth(depthStencil)) {
        texture = formats->texture;
        shaderResource = formats->shaderResource;
        stencilShaderResource = formats->stencilShaderResource;
    } else {
        qs::AlertNotImplemented("Gleamwork/dx11/D3D11Formats", __LINE__,
                                "api::D3D11Renderer::GetDXGIFormatsFromGWFormat");
    }
}

} // namespace api
