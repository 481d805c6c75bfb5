// Rules for making views, and what a view covers.
#include "Validation.h"

#include <algorithm>

namespace gleam {
namespace {

constexpr UINT Rest = 0xffffffffu;

constexpr const char* DimensionNames[] = {"unknown resource", "buffer", "1D texture", "2D texture", "3D texture"};

/// The dimension fields of all four kinds of view in one form.
struct Request
{
    const char* call;
    const ResourceInfo& info;
    D3D11_RESOURCE_DIMENSION dimension;
    bool isArray = false;
    bool isMultisampled = false;
    UINT firstMip = 0;
    UINT mipCount = 1;
    UINT firstSlice = 0;
    UINT sliceCount = 1;
};

HRESULT CheckBindFlag(const Request& request, UINT bind, const char* name)
{
    if ((request.info.bindFlags & bind) == 0) {
        return Refuse(E_INVALIDARG, request.call, "the resource was made without %s", name);
    }
    return S_OK;
}

/// Kind of resource, multisampling and ranges of mips and slices; counts of `Rest` become what is left.
HRESULT CheckRange(Request& request)
{
    const ResourceInfo& info = request.info;
    if (request.dimension != info.dimension) {
        return Refuse(E_INVALIDARG, request.call, "ViewDimension does not fit a %s", DimensionNames[info.dimension]);
    }
    if (request.isMultisampled != (info.sampleCount > 1)) {
        return Refuse(E_INVALIDARG, request.call, "ViewDimension does not fit a sample count of %u", info.sampleCount);
    }
    if (request.firstMip >= info.mipLevels) {
        return Refuse(E_INVALIDARG, request.call, "mip %u is past the last of %u", request.firstMip, info.mipLevels);
    }
    if (request.mipCount == Rest) {
        request.mipCount = info.mipLevels - request.firstMip;
    }
    if (request.mipCount == 0 || request.mipCount > info.mipLevels - request.firstMip) {
        return Refuse(E_INVALIDARG, request.call, "%u mips from mip %u on are not in %u", request.mipCount,
                      request.firstMip, info.mipLevels);
    }
    const UINT slices = info.depth > 1 ? info.MipDepth(request.firstMip) : info.arraySize;
    if (request.firstSlice >= slices) {
        return Refuse(E_INVALIDARG, request.call, "slice %u is past the last of %u", request.firstSlice, slices);
    }
    if (request.sliceCount == Rest) {
        request.sliceCount = slices - request.firstSlice;
    }
    if (request.sliceCount == 0 || request.sliceCount > slices - request.firstSlice) {
        return Refuse(E_INVALIDARG, request.call, "%u slices from slice %u on are not in %u", request.sliceCount,
                      request.firstSlice, slices);
    }
    return S_OK;
}

/// Settles the format of a view on a texture and checks that it may be seen and used so.
HRESULT CheckViewFormat(const Request& request, DXGI_FORMAT& format, UINT anyUse, const char* what)
{
    const DXGI_FORMAT resource = request.info.format;
    if (format == DXGI_FORMAT_UNKNOWN) {
        format = resource;
    }
    const FormatInfo& view = GetFormatInfo(format);
    if (!CanView(resource, format)) {
        return Refuse(E_INVALIDARG, request.call, "Format %s cannot view a resource of format %s", view.name,
                      GetFormatInfo(resource).name);
    }
    if ((view.support & anyUse) == 0) {
        return Refuse(E_INVALIDARG, request.call, "Format %s cannot be %s", view.name, what);
    }
    return S_OK;
}

struct BufferRange
{
    UINT first;
    UINT count;
    bool isRaw;
};

/// Bytes of an element of a buffer view, or 0 after the line that says what is wrong.
UINT ElementBytes(const Request& request, DXGI_FORMAT format, UINT use, const BufferRange& range)
{
    const ResourceInfo& info = request.info;
    const FormatInfo& view = GetFormatInfo(format);
    if (range.isRaw) {
        if ((info.miscFlags & D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS) == 0) {
            Refuse(E_INVALIDARG, request.call, "a raw view needs D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS");
            return 0;
        }
        if (format != DXGI_FORMAT_R32_TYPELESS || std::uint64_t{range.first} * 4 % 16 != 0) {
            Refuse(E_INVALIDARG, request.call, "a raw view needs R32_TYPELESS and a first element at 16 bytes");
            return 0;
        }
        return 4;
    }
    if (info.IsStructured()) {
        if (format != DXGI_FORMAT_UNKNOWN) {
            Refuse(E_INVALIDARG, request.call, "a view of a structured buffer needs DXGI_FORMAT_UNKNOWN, not %s",
                   view.name);
            return 0;
        }
        return info.structureByteStride;
    }
    if ((view.support & D3D11_FORMAT_SUPPORT_BUFFER) == 0 || (view.support & use) == 0) {
        Refuse(E_INVALIDARG, request.call, "Format %s (%d) cannot view a buffer so", view.name, format);
        return 0;
    }
    return view.blockBytes;
}

HRESULT CheckBufferRange(const Request& request, DXGI_FORMAT format, UINT use, const BufferRange& range)
{
    const UINT bytes = ElementBytes(request, format, use, range);
    if (bytes == 0) {
        return E_INVALIDARG;
    }
    const std::uint64_t end = (std::uint64_t{range.first} + range.count) * bytes;
    if (range.count == 0 || end > request.info.width) {
        return Refuse(E_INVALIDARG, request.call, "%u elements of %u bytes from element %u on are not in %u bytes",
                      range.count, bytes, range.first, request.info.width);
    }
    return S_OK;
}

/// The description that null stands for; a view of a whole structured buffer when the resource is one.
HRESULT DefaultBufferRange(const Request& request, UINT& count)
{
    if (!request.info.IsStructured()) {
        return Refuse(E_INVALIDARG, request.call, "a view of a buffer that is not structured needs a description");
    }
    count = request.info.width / request.info.structureByteStride;
    return S_OK;
}

HRESULT RefuseDimension(const char* call, int dimension)
{
    return Refuse(E_INVALIDARG, call, "ViewDimension %d is unknown or not supported", dimension);
}

// --- Shader resource views ---

D3D11_SHADER_RESOURCE_VIEW_DESC DefaultShaderResourceView(const ResourceInfo& info)
{
    D3D11_SHADER_RESOURCE_VIEW_DESC desc{};
    const bool isArray = info.arraySize > 1;
    const bool isCube = (info.miscFlags & D3D11_RESOURCE_MISC_TEXTURECUBE) != 0;
    switch (info.dimension) {
    case D3D11_RESOURCE_DIMENSION_TEXTURE1D:
        desc.ViewDimension = isArray ? D3D11_SRV_DIMENSION_TEXTURE1DARRAY : D3D11_SRV_DIMENSION_TEXTURE1D;
        desc.Texture1DArray = {0, Rest, 0, Rest};
        break;
    case D3D11_RESOURCE_DIMENSION_TEXTURE2D:
        if (info.sampleCount > 1) {
            desc.ViewDimension = isArray ? D3D11_SRV_DIMENSION_TEXTURE2DMSARRAY : D3D11_SRV_DIMENSION_TEXTURE2DMS;
            desc.Texture2DMSArray = {0, Rest};
        } else if (isCube) {
            desc.ViewDimension =
                info.arraySize > 6 ? D3D11_SRV_DIMENSION_TEXTURECUBEARRAY : D3D11_SRV_DIMENSION_TEXTURECUBE;
            desc.TextureCubeArray = {0, Rest, 0, Rest};
        } else {
            desc.ViewDimension = isArray ? D3D11_SRV_DIMENSION_TEXTURE2DARRAY : D3D11_SRV_DIMENSION_TEXTURE2D;
            desc.Texture2DArray = {0, Rest, 0, Rest};
        }
        break;
    default:
        desc.ViewDimension = D3D11_SRV_DIMENSION_TEXTURE3D;
        desc.Texture3D = {0, Rest};
        break;
    }
    return desc;
}

HRESULT CheckCubeView(Request& request, UINT cubes)
{
    if ((request.info.miscFlags & D3D11_RESOURCE_MISC_TEXTURECUBE) == 0) {
        return Refuse(E_INVALIDARG, request.call, "a cube view needs D3D11_RESOURCE_MISC_TEXTURECUBE");
    }
    if (cubes == Rest) {
        cubes = (request.info.arraySize - std::min(request.firstSlice, request.info.arraySize)) / 6;
    }
    if (cubes > request.info.arraySize / 6) {
        return Refuse(E_INVALIDARG, request.call, "%u cubes are not in %u faces", cubes, request.info.arraySize);
    }
    request.sliceCount = cubes * 6;
    return S_OK;
}

/// Reads the dimension's fields into the request.
HRESULT ReadShaderResourceView(const D3D11_SHADER_RESOURCE_VIEW_DESC& desc, Request& request)
{
    const D3D11_TEX2D_ARRAY_SRV& fields = desc.Texture2DArray;
    switch (desc.ViewDimension) {
    case D3D11_SRV_DIMENSION_TEXTURE1D:
    case D3D11_SRV_DIMENSION_TEXTURE1DARRAY:
        request.dimension = D3D11_RESOURCE_DIMENSION_TEXTURE1D;
        request.isArray = desc.ViewDimension == D3D11_SRV_DIMENSION_TEXTURE1DARRAY;
        break;
    case D3D11_SRV_DIMENSION_TEXTURE2DMS:
    case D3D11_SRV_DIMENSION_TEXTURE2DMSARRAY:
        request.isMultisampled = true;
        if (desc.ViewDimension == D3D11_SRV_DIMENSION_TEXTURE2DMSARRAY) {
            request.firstSlice = desc.Texture2DMSArray.FirstArraySlice;
            request.sliceCount = desc.Texture2DMSArray.ArraySize;
        }
        return S_OK;
    case D3D11_SRV_DIMENSION_TEXTURE2D:
    case D3D11_SRV_DIMENSION_TEXTURECUBE:
        break;
    case D3D11_SRV_DIMENSION_TEXTURE2DARRAY:
    case D3D11_SRV_DIMENSION_TEXTURECUBEARRAY:
        request.isArray = true;
        break;
    case D3D11_SRV_DIMENSION_TEXTURE3D:
        request.dimension = D3D11_RESOURCE_DIMENSION_TEXTURE3D;
        request.sliceCount = Rest;
        break;
    default:
        return RefuseDimension(request.call, desc.ViewDimension);
    }
    // All of these begin with the same two fields, and the arrays go on with the same two.
    request.firstMip = fields.MostDetailedMip;
    request.mipCount = fields.MipLevels;
    if (request.isArray) {
        request.firstSlice = fields.FirstArraySlice;
        request.sliceCount = fields.ArraySize;
    }
    if (desc.ViewDimension == D3D11_SRV_DIMENSION_TEXTURECUBE) {
        return CheckCubeView(request, 1);
    }
    if (desc.ViewDimension == D3D11_SRV_DIMENSION_TEXTURECUBEARRAY) {
        return CheckCubeView(request, desc.TextureCubeArray.NumCubes);
    }
    return S_OK;
}

void WriteShaderResourceView(const Request& request, D3D11_SHADER_RESOURCE_VIEW_DESC& full)
{
    if (request.isMultisampled) {
        full.Texture2DMSArray = {request.firstSlice, request.sliceCount};
        return;
    }
    full.Texture2DArray = {request.firstMip, request.mipCount, 0, 0};
    if (request.isArray) {
        const bool isCube = full.ViewDimension == D3D11_SRV_DIMENSION_TEXTURECUBEARRAY;
        full.Texture2DArray.FirstArraySlice = request.firstSlice;
        full.Texture2DArray.ArraySize = isCube ? request.sliceCount / 6 : request.sliceCount;
    }
}

HRESULT CheckBufferResourceView(const Request& request, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc,
                                D3D11_SHADER_RESOURCE_VIEW_DESC& full)
{
    constexpr UINT use = D3D11_FORMAT_SUPPORT_SHADER_LOAD;
    if (!desc) {
        full.ViewDimension = D3D11_SRV_DIMENSION_BUFFEREX;
        return DefaultBufferRange(request, full.BufferEx.NumElements);
    }
    full.Format = desc->Format;
    full.ViewDimension = desc->ViewDimension;
    if (desc->ViewDimension == D3D11_SRV_DIMENSION_BUFFER) {
        full.Buffer = desc->Buffer;
        return CheckBufferRange(request, desc->Format, use,
                                {desc->Buffer.FirstElement, desc->Buffer.NumElements, false});
    }
    if (desc->ViewDimension == D3D11_SRV_DIMENSION_BUFFEREX) {
        full.BufferEx = desc->BufferEx;
        return CheckBufferRange(request, desc->Format, use,
                                {desc->BufferEx.FirstElement, desc->BufferEx.NumElements,
                                 (desc->BufferEx.Flags & D3D11_BUFFEREX_SRV_FLAG_RAW) != 0});
    }
    return Refuse(E_INVALIDARG, request.call, "ViewDimension %d does not fit a buffer", desc->ViewDimension);
}

// --- Render target, depth stencil and unordered access views: one mip each ---

/// Dimension numbers of render target views; depth stencil views count without the buffer in front.
struct TargetFields
{
    UINT mip;
    UINT firstSlice;
    UINT sliceCount;
};

HRESULT ReadTarget(D3D11_RTV_DIMENSION dimension, const TargetFields& fields, Request& request)
{
    request.sliceCount = 1;
    switch (dimension) {
    case D3D11_RTV_DIMENSION_TEXTURE1D:
    case D3D11_RTV_DIMENSION_TEXTURE1DARRAY:
        request.dimension = D3D11_RESOURCE_DIMENSION_TEXTURE1D;
        request.isArray = dimension == D3D11_RTV_DIMENSION_TEXTURE1DARRAY;
        break;
    case D3D11_RTV_DIMENSION_TEXTURE2D:
        break;
    case D3D11_RTV_DIMENSION_TEXTURE2DARRAY:
        request.isArray = true;
        break;
    case D3D11_RTV_DIMENSION_TEXTURE2DMS:
        request.isMultisampled = true;
        return S_OK;
    case D3D11_RTV_DIMENSION_TEXTURE2DMSARRAY:
        // The union has no mip here: the slices come first.
        request.isMultisampled = true;
        request.firstSlice = fields.mip;
        request.sliceCount = fields.firstSlice;
        return S_OK;
    case D3D11_RTV_DIMENSION_TEXTURE3D:
        request.dimension = D3D11_RESOURCE_DIMENSION_TEXTURE3D;
        request.isArray = true;
        break;
    default:
        return RefuseDimension(request.call, dimension);
    }
    request.firstMip = fields.mip;
    if (request.isArray) {
        request.firstSlice = fields.firstSlice;
        request.sliceCount = fields.sliceCount;
    }
    return S_OK;
}

TargetFields WriteTarget(const Request& request)
{
    if (request.isMultisampled) {
        return {request.firstSlice, request.sliceCount, 0};
    }
    return {request.firstMip, request.isArray ? request.firstSlice : 0, request.isArray ? request.sliceCount : 0};
}

D3D11_RTV_DIMENSION DefaultTargetDimension(const ResourceInfo& info)
{
    const bool isArray = info.arraySize > 1;
    switch (info.dimension) {
    case D3D11_RESOURCE_DIMENSION_TEXTURE1D:
        return isArray ? D3D11_RTV_DIMENSION_TEXTURE1DARRAY : D3D11_RTV_DIMENSION_TEXTURE1D;
    case D3D11_RESOURCE_DIMENSION_TEXTURE2D:
        if (info.sampleCount > 1) {
            return isArray ? D3D11_RTV_DIMENSION_TEXTURE2DMSARRAY : D3D11_RTV_DIMENSION_TEXTURE2DMS;
        }
        return isArray ? D3D11_RTV_DIMENSION_TEXTURE2DARRAY : D3D11_RTV_DIMENSION_TEXTURE2D;
    default:
        return D3D11_RTV_DIMENSION_TEXTURE3D;
    }
}

/// The rules that the three kinds share. Null fields stand for the view of everything at mip 0.
HRESULT CheckTarget(Request& request, D3D11_RTV_DIMENSION dimension, const TargetFields* given, TargetFields& full)
{
    const TargetFields everything = request.info.sampleCount > 1 ? TargetFields{0, Rest, 0} : TargetFields{0, 0, Rest};
    HRESULT hr = ReadTarget(dimension, given ? *given : everything, request);
    hr = FAILED(hr) ? hr : CheckRange(request);
    full = WriteTarget(request);
    return hr;
}

HRESULT CheckBufferAccessView(const Request& request, const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc,
                              D3D11_UNORDERED_ACCESS_VIEW_DESC& full)
{
    if (!desc) {
        full.ViewDimension = D3D11_UAV_DIMENSION_BUFFER;
        return DefaultBufferRange(request, full.Buffer.NumElements);
    }
    if (desc->ViewDimension != D3D11_UAV_DIMENSION_BUFFER) {
        return Refuse(E_INVALIDARG, request.call, "ViewDimension %d does not fit a buffer", desc->ViewDimension);
    }
    constexpr UINT counters = D3D11_BUFFER_UAV_FLAG_APPEND | D3D11_BUFFER_UAV_FLAG_COUNTER;
    const UINT flags = desc->Buffer.Flags;
    if ((flags & ~(counters | D3D11_BUFFER_UAV_FLAG_RAW)) != 0 || (flags & counters) == counters) {
        return Refuse(E_INVALIDARG, request.call, "Flags 0x%x are unknown or exclude each other", flags);
    }
    if ((flags & counters) != 0 && !request.info.IsStructured()) {
        return Refuse(E_INVALIDARG, request.call, "append and counter views need a structured buffer");
    }
    full = {};
    full.Format = desc->Format;
    full.ViewDimension = desc->ViewDimension;
    full.Buffer = desc->Buffer;
    return CheckBufferRange(
        request, desc->Format, D3D11_FORMAT_SUPPORT_TYPED_UNORDERED_ACCESS_VIEW,
        {desc->Buffer.FirstElement, desc->Buffer.NumElements, (flags & D3D11_BUFFER_UAV_FLAG_RAW) != 0});
}

ViewRange TargetRange(const ResourceInfo& info, D3D11_RTV_DIMENSION dimension, const TargetFields& fields)
{
    Request request{"", info, D3D11_RESOURCE_DIMENSION_TEXTURE2D};
    if (info.IsBuffer() || FAILED(ReadTarget(dimension, fields, request))) {
        return {};
    }
    return {request.firstMip, 1, request.firstSlice, request.sliceCount};
}

/// Depth stencil dimensions are those of render targets without the buffer, so one lower.
D3D11_RTV_DIMENSION ToTarget(D3D11_DSV_DIMENSION dimension)
{
    const bool isKnown =
        dimension >= D3D11_DSV_DIMENSION_TEXTURE1D && dimension <= D3D11_DSV_DIMENSION_TEXTURE2DMSARRAY;
    return static_cast<D3D11_RTV_DIMENSION>(isKnown ? dimension + 1 : 0);
}

/// Unordered access dimensions have the same numbers; multisampled ones do not exist.
D3D11_RTV_DIMENSION ToTarget(D3D11_UAV_DIMENSION dimension)
{
    const bool isKnown = dimension <= D3D11_UAV_DIMENSION_TEXTURE2DARRAY || dimension == D3D11_UAV_DIMENSION_TEXTURE3D;
    return static_cast<D3D11_RTV_DIMENSION>(isKnown ? static_cast<int>(dimension) : 0);
}

/// The three unions lay out mip, first slice and slice count alike.
TargetFields FieldsOf(const D3D11_TEX2D_ARRAY_RTV& fields)
{
    return {fields.MipSlice, fields.FirstArraySlice, fields.ArraySize};
}
TargetFields FieldsOf(const D3D11_TEX2D_ARRAY_DSV& fields)
{
    return {fields.MipSlice, fields.FirstArraySlice, fields.ArraySize};
}
TargetFields FieldsOf(const D3D11_TEX2D_ARRAY_UAV& fields)
{
    return {fields.MipSlice, fields.FirstArraySlice, fields.ArraySize};
}

} // namespace

HRESULT CheckShaderResourceView(const ResourceInfo& info, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc,
                                D3D11_SHADER_RESOURCE_VIEW_DESC& full)
{
    Request request{"ID3D11Device::CreateShaderResourceView", info, D3D11_RESOURCE_DIMENSION_TEXTURE2D};
    full = {};
    HRESULT hr = CheckBindFlag(request, D3D11_BIND_SHADER_RESOURCE, "D3D11_BIND_SHADER_RESOURCE");
    if (FAILED(hr)) {
        return hr;
    }
    if (info.IsBuffer()) {
        return CheckBufferResourceView(request, desc, full);
    }
    const D3D11_SHADER_RESOURCE_VIEW_DESC given = desc ? *desc : DefaultShaderResourceView(info);
    full.Format = given.Format;
    full.ViewDimension = given.ViewDimension;
    hr = ReadShaderResourceView(given, request);
    hr = FAILED(hr) ? hr : CheckRange(request);
    hr = FAILED(hr) ? hr : CheckViewFormat(request, full.Format, D3D11_FORMAT_SUPPORT_SHADER_LOAD, "a shader resource");
    WriteShaderResourceView(request, full);
    return hr;
}

HRESULT CheckRenderTargetView(const ResourceInfo& info, const D3D11_RENDER_TARGET_VIEW_DESC* desc,
                              D3D11_RENDER_TARGET_VIEW_DESC& full)
{
    Request request{"ID3D11Device::CreateRenderTargetView", info, D3D11_RESOURCE_DIMENSION_TEXTURE2D};
    full = {};
    full.Format = desc ? desc->Format : DXGI_FORMAT_UNKNOWN;
    full.ViewDimension = desc ? desc->ViewDimension : DefaultTargetDimension(info);
    HRESULT hr = CheckBindFlag(request, D3D11_BIND_RENDER_TARGET, "D3D11_BIND_RENDER_TARGET");
    if (FAILED(hr)) {
        return hr;
    }
    const TargetFields given = desc ? FieldsOf(desc->Texture2DArray) : TargetFields{};
    TargetFields settled{};
    hr = CheckTarget(request, full.ViewDimension, desc ? &given : nullptr, settled);
    full.Texture2DArray = {settled.mip, settled.firstSlice, settled.sliceCount};
    return FAILED(hr) ? hr
                      : CheckViewFormat(request, full.Format, D3D11_FORMAT_SUPPORT_RENDER_TARGET, "a render target");
}

HRESULT CheckDepthStencilView(const ResourceInfo& info, const D3D11_DEPTH_STENCIL_VIEW_DESC* desc,
                              D3D11_DEPTH_STENCIL_VIEW_DESC& full)
{
    Request request{"ID3D11Device::CreateDepthStencilView", info, D3D11_RESOURCE_DIMENSION_TEXTURE2D};
    full = {};
    full.Format = desc ? desc->Format : DXGI_FORMAT_UNKNOWN;
    full.Flags = desc ? desc->Flags : 0;
    full.ViewDimension =
        desc ? desc->ViewDimension : static_cast<D3D11_DSV_DIMENSION>(DefaultTargetDimension(info) - 1);
    HRESULT hr = CheckBindFlag(request, D3D11_BIND_DEPTH_STENCIL, "D3D11_BIND_DEPTH_STENCIL");
    if (FAILED(hr)) {
        return hr;
    }
    if ((full.Flags & ~static_cast<UINT>(D3D11_DSV_READ_ONLY_DEPTH | D3D11_DSV_READ_ONLY_STENCIL)) != 0) {
        return Refuse(E_INVALIDARG, request.call, "Flags 0x%x has unknown bits", full.Flags);
    }
    const TargetFields given = desc ? FieldsOf(desc->Texture2DArray) : TargetFields{};
    TargetFields settled{};
    hr = CheckTarget(request, ToTarget(full.ViewDimension), desc ? &given : nullptr, settled);
    full.Texture2DArray = {settled.mip, settled.firstSlice, settled.sliceCount};
    hr = FAILED(hr)
             ? hr
             : CheckViewFormat(request, full.Format, D3D11_FORMAT_SUPPORT_DEPTH_STENCIL, "a depth stencil buffer");
    if (SUCCEEDED(hr) && (full.Flags & D3D11_DSV_READ_ONLY_STENCIL) != 0 && !GetFormatInfo(full.Format).hasStencil) {
        return Refuse(E_INVALIDARG, request.call, "D3D11_DSV_READ_ONLY_STENCIL needs a format with stencil, not %s",
                      GetFormatInfo(full.Format).name);
    }
    return hr;
}

HRESULT CheckUnorderedAccessView(const ResourceInfo& info, const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc,
                                 D3D11_UNORDERED_ACCESS_VIEW_DESC& full)
{
    Request request{"ID3D11Device::CreateUnorderedAccessView", info, D3D11_RESOURCE_DIMENSION_TEXTURE2D};
    full = {};
    HRESULT hr = CheckBindFlag(request, D3D11_BIND_UNORDERED_ACCESS, "D3D11_BIND_UNORDERED_ACCESS");
    if (FAILED(hr)) {
        return hr;
    }
    if (info.IsBuffer()) {
        return CheckBufferAccessView(request, desc, full);
    }
    full.Format = desc ? desc->Format : DXGI_FORMAT_UNKNOWN;
    full.ViewDimension = desc ? desc->ViewDimension : static_cast<D3D11_UAV_DIMENSION>(DefaultTargetDimension(info));
    const TargetFields given = desc ? FieldsOf(desc->Texture2DArray) : TargetFields{};
    TargetFields settled{};
    hr = CheckTarget(request, ToTarget(full.ViewDimension), desc ? &given : nullptr, settled);
    full.Texture2DArray = {settled.mip, settled.firstSlice, settled.sliceCount};
    return FAILED(hr) ? hr
                      : CheckViewFormat(request, full.Format, D3D11_FORMAT_SUPPORT_TYPED_UNORDERED_ACCESS_VIEW,
                                        "an unordered access view");
}

ViewRange RangeOf(const ResourceInfo& info, const D3D11_SHADER_RESOURCE_VIEW_DESC& full)
{
    Request request{"", info, D3D11_RESOURCE_DIMENSION_TEXTURE2D};
    if (info.IsBuffer() || FAILED(ReadShaderResourceView(full, request))) {
        return {};
    }
    const bool is3D = info.dimension == D3D11_RESOURCE_DIMENSION_TEXTURE3D;
    return {request.firstMip, request.mipCount, request.firstSlice,
            is3D ? info.MipDepth(request.firstMip) : request.sliceCount};
}

ViewRange RangeOf(const ResourceInfo& info, const D3D11_RENDER_TARGET_VIEW_DESC& full)
{
    return TargetRange(info, full.ViewDimension, FieldsOf(full.Texture2DArray));
}

ViewRange RangeOf(const ResourceInfo& info, const D3D11_DEPTH_STENCIL_VIEW_DESC& full)
{
    return TargetRange(info, ToTarget(full.ViewDimension), FieldsOf(full.Texture2DArray));
}

ViewRange RangeOf(const ResourceInfo& info, const D3D11_UNORDERED_ACCESS_VIEW_DESC& full)
{
    return TargetRange(info, ToTarget(full.ViewDimension), FieldsOf(full.Texture2DArray));
}

} // namespace gleam
