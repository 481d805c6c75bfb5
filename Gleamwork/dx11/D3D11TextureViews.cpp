// Views of textures and buffers: which ones a texture gets, and their descriptions.
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"
#include "Gleamwork/dx11/ViewArray.h"

#include <qs/Log.h>

#include <d3d11.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11TextureViews";

/// What the view rules need to know of any resource.
struct ResourceShape
{
    D3D11_RESOURCE_DIMENSION dimension = D3D11_RESOURCE_DIMENSION_UNKNOWN;
    UINT arraySize = 0;
    UINT samples = 1;
    UINT depth = 0;
    DXGI_FORMAT format = DXGI_FORMAT_UNKNOWN;
    bool cube = false;
};

ResourceShape DescribeResource(ID3D11Resource* resource)
{
    ResourceShape shape;
    resource->GetType(&shape.dimension);
    if (shape.dimension == D3D11_RESOURCE_DIMENSION_TEXTURE1D) {
        D3D11_TEXTURE1D_DESC desc = {};
        static_cast<ID3D11Texture1D*>(resource)->GetDesc(&desc);
        shape.arraySize = desc.ArraySize;
        shape.format = desc.Format;
    } else if (shape.dimension == D3D11_RESOURCE_DIMENSION_TEXTURE2D) {
        D3D11_TEXTURE2D_DESC desc = {};
        static_cast<ID3D11Texture2D*>(resource)->GetDesc(&desc);
        shape.arraySize = desc.ArraySize;
        shape.samples = desc.SampleDesc.Count;
        shape.format = desc.Format;
        shape.cube = (desc.MiscFlags & D3D11_RESOURCE_MISC_TEXTURECUBE) != 0;
    } else if (shape.dimension == D3D11_RESOURCE_DIMENSION_TEXTURE3D) {
        D3D11_TEXTURE3D_DESC desc = {};
        static_cast<ID3D11Texture3D*>(resource)->GetDesc(&desc);
        shape.depth = desc.Depth;
        shape.format = desc.Format;
    }
    return shape;
}

struct SliceRange
{
    UINT first;
    UINT count;
};

// A negative first slice stands for all of them, a negative count for one.
SliceRange ResolveSlices(int firstSlice, int sliceCount, UINT all)
{
    if (firstSlice < 0) {
        return {0, all};
    }
    return {UINT(firstSlice), sliceCount < 0 ? 1u : UINT(sliceCount)};
}

template <class Member>
void SetSlices(Member& member, SliceRange range)
{
    member.FirstArraySlice = range.first;
    member.ArraySize = range.count;
}

struct MipRange
{
    UINT first;
    UINT count;
};

template <class Member>
void SetMips(Member& member, MipRange mips)
{
    member.MostDetailedMip = mips.first;
    member.MipLevels = mips.count;
}

void Describe2D(const ResourceShape& shape, int firstSlice, int sliceCount, MipRange mips,
                D3D11_SHADER_RESOURCE_VIEW_DESC& desc)
{
    if (shape.arraySize < 2) {
        desc.ViewDimension = shape.samples > 1 ? D3D11_SRV_DIMENSION_TEXTURE2DMS : D3D11_SRV_DIMENSION_TEXTURE2D;
        if (shape.samples <= 1) {
            SetMips(desc.Texture2D, mips);
        }
    } else if (shape.cube && shape.arraySize > 6) {
        desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURECUBEARRAY;
        SetMips(desc.TextureCubeArray, mips);
        desc.TextureCubeArray.First2DArrayFace = 0;
        desc.TextureCubeArray.NumCubes = shape.arraySize / 6;
    } else if (shape.cube && firstSlice < 0) {
        desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURECUBE;
        SetMips(desc.TextureCube, mips);
    } else {
        desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE2DARRAY;
        SetMips(desc.Texture2DArray, mips);
        SetSlices(desc.Texture2DArray, ResolveSlices(firstSlice, sliceCount, shape.arraySize));
    }
}

/// False for a kind of resource that has no shader view.
bool DescribeSRV(const ResourceShape& shape, int firstSlice, int sliceCount, MipRange mips,
                 D3D11_SHADER_RESOURCE_VIEW_DESC& desc)
{
    switch (shape.dimension) {
    case D3D11_RESOURCE_DIMENSION_BUFFER:
        desc.ViewDimension = D3D11_SRV_DIMENSION_BUFFER;
        desc.Buffer.FirstElement = UINT(firstSlice);
        desc.Buffer.NumElements = UINT(sliceCount);
        return true;
    case D3D11_RESOURCE_DIMENSION_TEXTURE1D:
        if (shape.arraySize < 2) {
            desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE1D;
            SetMips(desc.Texture1D, mips);
        } else {
            desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE1DARRAY;
            SetMips(desc.Texture1DArray, mips);
            SetSlices(desc.Texture1DArray, {0, shape.arraySize});
        }
        return true;
    case D3D11_RESOURCE_DIMENSION_TEXTURE2D:
        Describe2D(shape, firstSlice, sliceCount, mips, desc);
        return true;
    case D3D11_RESOURCE_DIMENSION_TEXTURE3D:
        desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE3D;
        SetMips(desc.Texture3D, mips);
        return true;
    default:
        return false;
    }
}

/// False for a kind of resource that cannot be a target.
bool DescribeRTV(const ResourceShape& shape, int firstSlice, int sliceCount, UINT mip,
                 D3D11_RENDER_TARGET_VIEW_DESC& desc)
{
    if (shape.dimension == D3D11_RESOURCE_DIMENSION_TEXTURE3D) {
        const SliceRange slices = ResolveSlices(firstSlice, sliceCount, UINT(sliceCount));
        desc.ViewDimension = D3D11_RTV_DIMENSION_TEXTURE3D;
        desc.Texture3D.MipSlice = 0;
        desc.Texture3D.FirstWSlice = slices.first;
        desc.Texture3D.WSize = slices.count;
        return true;
    }
    if (shape.dimension != D3D11_RESOURCE_DIMENSION_TEXTURE2D) {
        return false;
    }
    if (shape.arraySize >= 2) {
        desc.ViewDimension = D3D11_RTV_DIMENSION_TEXTURE2DARRAY;
        desc.Texture2DArray.MipSlice = mip;
        SetSlices(desc.Texture2DArray, ResolveSlices(firstSlice, sliceCount, shape.arraySize));
    } else if (shape.samples >= 2) {
        desc.ViewDimension = D3D11_RTV_DIMENSION_TEXTURE2DMS;
    } else {
        desc.ViewDimension = D3D11_RTV_DIMENSION_TEXTURE2D;
        desc.Texture2D.MipSlice = mip;
    }
    return true;
}

void DescribeUAV(UINT flags, UINT count, D3D11_UNORDERED_ACCESS_VIEW_DESC& desc)
{
    switch (desc.ViewDimension) {
    case D3D11_UAV_DIMENSION_BUFFER:
        desc.Buffer.FirstElement = 0;
        desc.Buffer.Flags = flags;
        desc.Buffer.NumElements = count;
        break;
    case D3D11_UAV_DIMENSION_TEXTURE1DARRAY:
        desc.Texture1DArray.MipSlice = 0;
        SetSlices(desc.Texture1DArray, {0, count});
        break;
    case D3D11_UAV_DIMENSION_TEXTURE2DARRAY:
        desc.Texture2DArray.MipSlice = 0;
        SetSlices(desc.Texture2DArray, {0, count});
        break;
    case D3D11_UAV_DIMENSION_TEXTURE3D:
        desc.Texture3D.MipSlice = 0;
        desc.Texture3D.FirstWSlice = 0;
        desc.Texture3D.WSize = count;
        break;
    default: // single 1D and 2D textures have nothing but the mip, which is 0
        break;
    }
}

D3D11_UAV_DIMENSION ChooseUAVDimension(const Texture& texture)
{
    const bool isArray = texture.arraySize >= 2;
    if (texture.height == 0) {
        return isArray ? D3D11_UAV_DIMENSION_TEXTURE1DARRAY : D3D11_UAV_DIMENSION_TEXTURE1D;
    }
    if (texture.depth == 0) {
        return isArray ? D3D11_UAV_DIMENSION_TEXTURE2DARRAY : D3D11_UAV_DIMENSION_TEXTURE2D;
    }
    return D3D11_UAV_DIMENSION_TEXTURE3D;
}

constexpr unsigned ALL_SLICES_AND_MIPS_SRV =
    gw::eTextureUsageFlag_ShaderResourceSlices | gw::eTextureUsageFlag_ShaderResourceMips;
constexpr unsigned ALL_SLICES_AND_MIPS_RTV =
    gw::eTextureUsageFlag_RenderTargetSlices | gw::eTextureUsageFlag_RenderTargetMips;

} // namespace

ID3D11ShaderResourceView* D3D11Renderer::CreateSRV(ID3D11Resource* resource, DxgiFormat format, int firstSlice,
                                                   int sliceCount, int mostDetailedMip, int mipLevels)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CreateSRV";
    const MipRange mips = {UINT(mostDetailedMip), mipLevels < 1 ? UINT(-1) : UINT(mipLevels)};
    D3D11_SHADER_RESOURCE_VIEW_DESC desc = {};
    desc.Format = DXGI_FORMAT(format);
    if (!DescribeSRV(DescribeResource(resource), firstSlice, sliceCount, mips, desc)) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Unsupported type");
        return nullptr;
    }
    ID3D11ShaderResourceView* view = nullptr;
    const HRESULT hr = m_deviceData.device->CreateShaderResourceView(resource, &desc, &view);
    if (FAILED(hr)) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION,
                     "ID3D11Device::CreateShaderResourceView failed! Error code: 0x%x\nError: %s\nDescription: %s",
                     unsigned(hr), GetErrorName(hr), GetErrorDescription(hr));
        return nullptr;
    }
    return view;
}

ID3D11RenderTargetView* D3D11Renderer::CreateRTV(ID3D11Resource* resource, DxgiFormat format, int firstSlice,
                                                 int sliceCount, int mipSlice)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CreateRTV";
    D3D11_RENDER_TARGET_VIEW_DESC desc = {};
    desc.Format = DXGI_FORMAT(format);
    if (!DescribeRTV(DescribeResource(resource), firstSlice, sliceCount, mipSlice < 0 ? 0u : UINT(mipSlice), desc)) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Unsupported type");
        return nullptr;
    }
    ID3D11RenderTargetView* view = nullptr;
    const HRESULT hr = m_deviceData.device->CreateRenderTargetView(resource, &desc, &view);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, FUNCTION,
                            "ID3D11Device::CreateRenderTargetView failed!\nError: %s\nDescription: %s", hr);
        return nullptr;
    }
    return view;
}

ID3D11DepthStencilView* D3D11Renderer::CreateDSV(ID3D11Resource* resource, DxgiFormat format, int firstSlice,
                                                 int sliceCount, bool readOnlyDepth, bool readOnlyStencil)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CreateDSV";
    const ResourceShape shape = DescribeResource(resource);
    if (shape.dimension != D3D11_RESOURCE_DIMENSION_TEXTURE2D) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Unsupported type");
        return nullptr;
    }
    D3D11_DEPTH_STENCIL_VIEW_DESC desc = {};
    desc.Format = DXGI_FORMAT(format);
    if (shape.arraySize >= 2) {
        desc.ViewDimension = D3D11_DSV_DIMENSION_TEXTURE2DARRAY;
        SetSlices(desc.Texture2DArray, ResolveSlices(firstSlice, sliceCount, shape.arraySize));
    } else {
        desc.ViewDimension = shape.samples > 1 ? D3D11_DSV_DIMENSION_TEXTURE2DMS : D3D11_DSV_DIMENSION_TEXTURE2D;
    }
    const DXGI_FORMAT effective = desc.Format == DXGI_FORMAT_UNKNOWN ? shape.format : desc.Format;
    const bool hasStencil = effective != DXGI_FORMAT_D16_UNORM && effective != DXGI_FORMAT_D32_FLOAT;
    desc.Flags = (readOnlyDepth ? UINT(D3D11_DSV_READ_ONLY_DEPTH) : 0u) |
                 (readOnlyStencil && hasStencil ? UINT(D3D11_DSV_READ_ONLY_STENCIL) : 0u);
    ID3D11DepthStencilView* view = nullptr;
    const HRESULT hr = m_deviceData.device->CreateDepthStencilView(resource, &desc, &view);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, FUNCTION,
                            "ID3D11Device::CreateDepthStencilView failed!\nError: %s\nDescription: %s", hr);
        return nullptr;
    }
    return view;
}

ID3D11UnorderedAccessView* D3D11Renderer::CreateUAV(ID3D11Resource* resource, DxgiFormat format, unsigned dimension,
                                                    unsigned flags, unsigned count)
{
    D3D11_UNORDERED_ACCESS_VIEW_DESC desc = {};
    desc.Format = DXGI_FORMAT(format);
    desc.ViewDimension = D3D11_UAV_DIMENSION(dimension);
    DescribeUAV(flags, count, desc);
    ID3D11UnorderedAccessView* view = nullptr;
    const HRESULT hr = m_deviceData.device->CreateUnorderedAccessView(resource, &desc, &view);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, "api::D3D11Renderer::CreateUAV",
                            "ID3D11Device::CreateUnorderedAccessView failed!\nError: %s\nDescription: %s", hr);
        return nullptr;
    }
    return view;
}

void D3D11Renderer::CreateTextureViews(gw::ETextureUsageFlag usage, Texture* texture, qs::ObjectHandle owner,
                                       DxgiFormat viewFormat, DxgiFormat stencilViewFormat)
{
    if (usage & (gw::eTextureUsageFlag_ShaderResource | gw::eTextureUsageFlag_ShaderResourceSlices)) {
        AddSRV(CreateShaderViews(usage, *texture, viewFormat, stencilViewFormat), owner);
    }
    if (texture->arraySize < 1) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::CreateTextureViews", "ArraySize cannot be 0");
    }
    if (texture->mipCount < 1) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::CreateTextureViews", "NumMipMaps cannot be 0");
    }
    CreateTargetViews(usage, *texture);
    CreateDepthViews(usage, *texture);
    if (usage & (gw::eTextureUsageFlag_UnorderedAccess | gw::eTextureUsageFlag_UnorderedAccessSlices)) {
        CreateUnorderedAccessView(usage, *texture);
    }
}

void D3D11Renderer::AddSRV(const SRV& srv, qs::ObjectHandle owner)
{
    std::int64_t sliceCount = 0;
    if (const Texture* texture = srv.sliceViews && m_textures.IsAlive(owner) ? m_textures.Get(owner) : nullptr) {
        const bool hasMips = (texture->usage & gw::eTextureUsageFlag_ShaderResourceMips) != 0;
        sliceCount = std::int64_t(texture->arraySize) * (hasMips ? texture->mipCount : 1);
    }
    m_srvs.Add(srv, owner, sliceCount);
}

SRV* D3D11Renderer::GetSRV(qs::ObjectHandle owner, gw::ESRVPrefer) const
{
    return m_srvs.Find(owner);
}

void D3D11Renderer::RemoveSRV(qs::ObjectHandle owner)
{
    m_srvs.Remove(owner);
}

SRV D3D11Renderer::CreateShaderViews(unsigned usage, const Texture& texture, DxgiFormat viewFormat,
                                     DxgiFormat stencilViewFormat)
{
    SRV srv;
    srv.format = viewFormat;
    srv.stencilFormat = stencilViewFormat;
    if (usage & gw::eTextureUsageFlag_ShaderResource) {
        srv.views = NewViews<ID3D11ShaderResourceView>(stencilViewFormat ? 2 : 1);
        srv.views[0] = CreateSRV(texture.resource, viewFormat, -1, -1, 0, -1);
        if (stencilViewFormat) {
            srv.views[1] = CreateSRV(texture.resource, stencilViewFormat, -1, -1, 0, -1);
        }
    }
    if ((usage & ALL_SLICES_AND_MIPS_SRV) == ALL_SLICES_AND_MIPS_SRV) {
        srv.sliceViews = NewViews<ID3D11ShaderResourceView>(std::int64_t(texture.arraySize) * texture.mipCount);
        for (int mip = 0; mip < texture.mipCount; ++mip) {
            for (int slice = 0; slice < texture.arraySize; ++slice) {
                srv.sliceViews[texture.arraySize * mip + slice] =
                    CreateSRV(texture.resource, viewFormat, slice, 1, mip, 1);
            }
        }
    } else if ((usage & gw::eTextureUsageFlag_ShaderResourceSlices) && texture.arraySize >= 2) {
        srv.sliceViews = NewViews<ID3D11ShaderResourceView>(texture.arraySize);
        for (int slice = 0; slice < texture.arraySize; ++slice) {
            srv.sliceViews[slice] = CreateSRV(texture.resource, viewFormat, slice, 1, 0, -1);
        }
    }
    return srv;
}

void D3D11Renderer::CreateTargetViews(unsigned usage, Texture& texture)
{
    if (usage & gw::eTextureUsageFlag_RenderTarget) {
        texture.rtv = CreateRTV(texture.resource, texture.rtvFormat, -1, -1, -1);
    }
    if ((usage & ALL_SLICES_AND_MIPS_RTV) == ALL_SLICES_AND_MIPS_RTV) {
        texture.rtvSlices = NewViews<ID3D11RenderTargetView>(std::int64_t(texture.arraySize) * texture.mipCount);
        for (int mip = 0; mip < texture.mipCount; ++mip) {
            for (int slice = 0; slice < texture.arraySize; ++slice) {
                texture.rtvSlices[texture.arraySize * mip + slice] =
                    CreateRTV(texture.resource, texture.rtvFormat, slice, -1, mip);
            }
        }
    } else if ((usage & gw::eTextureUsageFlag_RenderTargetSlices) && texture.arraySize >= 2) {
        texture.rtvSlices = NewViews<ID3D11RenderTargetView>(texture.arraySize);
        for (int slice = 0; slice < texture.arraySize; ++slice) {
            texture.rtvSlices[slice] = CreateRTV(texture.resource, texture.rtvFormat, slice, -1, -1);
        }
    }
}

void D3D11Renderer::CreateDepthViews(unsigned usage, Texture& texture)
{
    if (usage & gw::eTextureUsageFlag_DepthStencil) {
        texture.dsv = CreateDSV(texture.resource, texture.dsvFormat, 0, 1, false, false);
        texture.dsvReadOnly = CreateDSV(texture.resource, texture.dsvFormat, 0, 1, true, true);
    }
    if ((usage & gw::eTextureUsageFlag_DepthStencilSlices) && texture.arraySize > 1) {
        texture.dsvSlices = NewViews<ID3D11DepthStencilView>(texture.arraySize);
        texture.dsvReadOnlySlices = NewViews<ID3D11DepthStencilView>(texture.arraySize);
        for (int slice = 0; slice < texture.arraySize; ++slice) {
            texture.dsvSlices[slice] = CreateDSV(texture.resource, texture.dsvFormat, slice, 1, false, false);
            texture.dsvReadOnlySlices[slice] = CreateDSV(texture.resource, texture.dsvFormat, slice, 1, true, true);
        }
    }
}

void D3D11Renderer::CreateUnorderedAccessView(unsigned usage, Texture& texture)
{
    const D3D11_UAV_DIMENSION dimension = ChooseUAVDimension(texture);
    if ((usage & gw::eTextureUsageFlag_UnorderedAccessSlices) && texture.arraySize >= 2) {
        qs::AlertNotImplemented(FILE_NAME, __LINE__, "api::D3D11Renderer::CreateTextureViews");
        return;
    }
    const unsigned slices = texture.arraySize >= 2 ? unsigned(texture.arraySize) : 0u;
    texture.uav = CreateUAV(texture.resource, texture.textureFormat, dimension, 0,
                            dimension == D3D11_UAV_DIMENSION_TEXTURE3D ? texture.depth : slices);
}

} // namespace api
