// Rules for making buffers and textures.
#include "Validation.h"

#include <cstdarg>
#include <cstdio>

#include "DebugOutput.h"

namespace gleam {
namespace {

constexpr UINT AllBindFlags = D3D11_BIND_VERTEX_BUFFER | D3D11_BIND_INDEX_BUFFER | D3D11_BIND_CONSTANT_BUFFER |
                              D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_STREAM_OUTPUT | D3D11_BIND_RENDER_TARGET |
                              D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_UNORDERED_ACCESS;
constexpr UINT OutputBindFlags =
    D3D11_BIND_STREAM_OUTPUT | D3D11_BIND_RENDER_TARGET | D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_UNORDERED_ACCESS;
constexpr UINT BufferOnlyBindFlags =
    D3D11_BIND_VERTEX_BUFFER | D3D11_BIND_INDEX_BUFFER | D3D11_BIND_CONSTANT_BUFFER | D3D11_BIND_STREAM_OUTPUT;
constexpr UINT AllCpuFlags = D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
constexpr UINT BufferMiscFlags = D3D11_RESOURCE_MISC_DRAWINDIRECT_ARGS | D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS |
                                 D3D11_RESOURCE_MISC_BUFFER_STRUCTURED;
constexpr UINT TextureMiscFlags =
    D3D11_RESOURCE_MISC_GENERATE_MIPS | D3D11_RESOURCE_MISC_TEXTURECUBE | D3D11_RESOURCE_MISC_RESOURCE_CLAMP;
constexpr UINT MaxConstantBufferBytes = D3D11_REQ_CONSTANT_BUFFER_ELEMENT_COUNT * 16;
constexpr UINT MaxBufferBytes = 1u << 31;

/// What usage, bind flags and processor access allow each other, for every kind of resource.
HRESULT CheckUsage(const char* call, const ResourceInfo& info, const D3D11_SUBRESOURCE_DATA* data)
{
    if ((info.bindFlags & ~AllBindFlags) != 0) {
        return Refuse(E_INVALIDARG, call, "BindFlags 0x%x has bits that are not supported", info.bindFlags);
    }
    if ((info.cpuAccessFlags & ~AllCpuFlags) != 0) {
        return Refuse(E_INVALIDARG, call, "CPUAccessFlags 0x%x has unknown bits", info.cpuAccessFlags);
    }
    switch (info.usage) {
    case D3D11_USAGE_DEFAULT:
        if (info.cpuAccessFlags != 0) {
            return Refuse(E_INVALIDARG, call, "D3D11_USAGE_DEFAULT needs CPUAccessFlags 0");
        }
        return S_OK;
    case D3D11_USAGE_IMMUTABLE:
        if (info.cpuAccessFlags != 0) {
            return Refuse(E_INVALIDARG, call, "D3D11_USAGE_IMMUTABLE needs CPUAccessFlags 0");
        }
        if (!data) {
            return Refuse(E_INVALIDARG, call, "D3D11_USAGE_IMMUTABLE needs initial data");
        }
        break;
    case D3D11_USAGE_DYNAMIC:
        if (info.cpuAccessFlags != D3D11_CPU_ACCESS_WRITE) {
            return Refuse(E_INVALIDARG, call, "D3D11_USAGE_DYNAMIC needs CPUAccessFlags D3D11_CPU_ACCESS_WRITE");
        }
        break;
    case D3D11_USAGE_STAGING:
        if (info.bindFlags != 0) {
            return Refuse(E_INVALIDARG, call, "D3D11_USAGE_STAGING needs BindFlags 0");
        }
        if (info.cpuAccessFlags == 0) {
            return Refuse(E_INVALIDARG, call, "D3D11_USAGE_STAGING needs CPUAccessFlags");
        }
        return S_OK;
    default:
        return Refuse(E_INVALIDARG, call, "Usage %d is unknown", info.usage);
    }
    if (info.bindFlags == 0) {
        return Refuse(E_INVALIDARG, call, "D3D11_USAGE_IMMUTABLE and D3D11_USAGE_DYNAMIC need BindFlags");
    }
    if ((info.bindFlags & OutputBindFlags) != 0) {
        return Refuse(E_INVALIDARG, call, "BindFlags 0x%x writes, so Usage must be D3D11_USAGE_DEFAULT",
                      info.bindFlags);
    }
    return S_OK;
}

HRESULT CheckStructured(const char* call, const ResourceInfo& info)
{
    const UINT stride = info.structureByteStride;
    if (stride == 0 || stride % 4 != 0 || stride > D3D11_REQ_MULTI_ELEMENT_STRUCTURE_SIZE_IN_BYTES) {
        return Refuse(E_INVALIDARG, call, "StructureByteStride %u must be a multiple of 4 from 4 to 2048", stride);
    }
    if (info.width % stride != 0) {
        return Refuse(E_INVALIDARG, call, "ByteWidth %u must be a multiple of StructureByteStride %u", info.width,
                      stride);
    }
    if ((info.bindFlags & BufferOnlyBindFlags) != 0) {
        return Refuse(E_INVALIDARG, call, "a structured buffer cannot have BindFlags 0x%x", info.bindFlags);
    }
    if ((info.miscFlags & D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS) != 0) {
        return Refuse(E_INVALIDARG, call, "a structured buffer cannot allow raw views");
    }
    return S_OK;
}

HRESULT CheckBufferFlags(const char* call, const ResourceInfo& info)
{
    constexpr UINT views = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_UNORDERED_ACCESS;
    if ((info.bindFlags & (D3D11_BIND_DEPTH_STENCIL | D3D11_BIND_RENDER_TARGET)) != 0) {
        return Refuse(E_INVALIDARG, call, "a buffer cannot be a render target or depth stencil buffer");
    }
    if ((info.miscFlags & ~BufferMiscFlags) != 0) {
        return Refuse(E_INVALIDARG, call, "MiscFlags 0x%x has bits that a buffer cannot have", info.miscFlags);
    }
    if ((info.bindFlags & D3D11_BIND_CONSTANT_BUFFER) != 0) {
        if (info.bindFlags != D3D11_BIND_CONSTANT_BUFFER) {
            return Refuse(E_INVALIDARG, call, "D3D11_BIND_CONSTANT_BUFFER excludes every other bind flag");
        }
        if (info.width % 16 != 0 || info.width > MaxConstantBufferBytes) {
            return Refuse(E_INVALIDARG, call, "ByteWidth %u of a constant buffer must be a multiple of 16 up to %u",
                          info.width, MaxConstantBufferBytes);
        }
    }
    if (info.IsStructured()) {
        return CheckStructured(call, info);
    }
    if ((info.miscFlags & D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS) != 0 && (info.bindFlags & views) == 0) {
        return Refuse(E_INVALIDARG, call, "raw views need D3D11_BIND_SHADER_RESOURCE or D3D11_BIND_UNORDERED_ACCESS");
    }
    return S_OK;
}

HRESULT CheckExtents(const char* call, const ResourceInfo& info, UINT maxExtent, UINT maxSlices)
{
    const UINT extents[] = {info.width, info.height, info.depth};
    constexpr const char* names[] = {"Width", "Height", "Depth"};
    for (int axis = 0; axis < 3; ++axis) {
        if (extents[axis] == 0 || extents[axis] > maxExtent) {
            return Refuse(E_INVALIDARG, call, "%s %u must be from 1 to %u", names[axis], extents[axis], maxExtent);
        }
    }
    if (info.arraySize == 0 || info.arraySize > maxSlices) {
        return Refuse(E_INVALIDARG, call, "ArraySize %u must be from 1 to %u", info.arraySize, maxSlices);
    }
    return S_OK;
}

HRESULT CheckMips(const char* call, ResourceInfo& info)
{
    const UINT full = FullMipCount(info.width, info.height, info.depth);
    if (info.mipLevels > full) {
        return Refuse(E_INVALIDARG, call, "MipLevels %u is above the full chain of %u", info.mipLevels, full);
    }
    if (info.mipLevels == 0) {
        info.mipLevels = info.sampleCount > 1 ? 1 : full;
    }
    return S_OK;
}

/// Whether the format, or some format of its family when it is typeless, supports all bits of `uses`.
bool Supports(DXGI_FORMAT format, UINT uses)
{
    const FormatInfo& info = GetFormatInfo(format);
    if (!info.IsTypeless()) {
        return (info.support & uses) == uses;
    }
    for (int value = 1; value <= DXGI_FORMAT_V408; ++value) {
        const FormatInfo& member = GetFormatInfo(static_cast<DXGI_FORMAT>(value));
        if (member.family == format && (member.support & uses) == uses) {
            return true;
        }
    }
    return false;
}

HRESULT CheckTextureFormat(const char* call, const ResourceInfo& info)
{
    constexpr UINT dimensionUse[] = {0, 0, D3D11_FORMAT_SUPPORT_TEXTURE1D, D3D11_FORMAT_SUPPORT_TEXTURE2D,
                                     D3D11_FORMAT_SUPPORT_TEXTURE3D};
    const FormatInfo& format = GetFormatInfo(info.format);
    if ((format.support & dimensionUse[info.dimension]) == 0) {
        return Refuse(E_INVALIDARG, call, "Format %s (%d) has no texture of this dimension", format.name, info.format);
    }
    if (format.IsCompressed() && (info.width % 4 != 0 || info.height % 4 != 0)) {
        return Refuse(E_INVALIDARG, call, "size %ux%u of block compressed format %s must be a multiple of 4",
                      info.width, info.height, format.name);
    }
    struct Need
    {
        UINT bind;
        UINT use;
        const char* name;
    };
    constexpr Need needs[] = {
        {D3D11_BIND_SHADER_RESOURCE, D3D11_FORMAT_SUPPORT_SHADER_LOAD, "D3D11_BIND_SHADER_RESOURCE"},
        {D3D11_BIND_RENDER_TARGET, D3D11_FORMAT_SUPPORT_RENDER_TARGET, "D3D11_BIND_RENDER_TARGET"},
        {D3D11_BIND_DEPTH_STENCIL, D3D11_FORMAT_SUPPORT_DEPTH_STENCIL, "D3D11_BIND_DEPTH_STENCIL"},
        {D3D11_BIND_UNORDERED_ACCESS, D3D11_FORMAT_SUPPORT_TYPED_UNORDERED_ACCESS_VIEW, "D3D11_BIND_UNORDERED_ACCESS"},
    };
    for (const Need& need : needs) {
        if ((info.bindFlags & need.bind) != 0 && !Supports(info.format, need.use)) {
            return Refuse(E_INVALIDARG, call, "Format %s does not support %s", format.name, need.name);
        }
    }
    return S_OK;
}

HRESULT CheckMipGeneration(const char* call, const ResourceInfo& info)
{
    constexpr UINT needed = D3D11_BIND_SHADER_RESOURCE | D3D11_BIND_RENDER_TARGET;
    if ((info.miscFlags & D3D11_RESOURCE_MISC_GENERATE_MIPS) == 0) {
        return S_OK;
    }
    if ((info.bindFlags & needed) != needed) {
        return Refuse(E_INVALIDARG, call,
                      "D3D11_RESOURCE_MISC_GENERATE_MIPS needs D3D11_BIND_SHADER_RESOURCE and _RENDER_TARGET");
    }
    if (!Supports(info.format, D3D11_FORMAT_SUPPORT_MIP_AUTOGEN)) {
        return Refuse(E_INVALIDARG, call, "Format %s does not support D3D11_RESOURCE_MISC_GENERATE_MIPS",
                      GetFormatInfo(info.format).name);
    }
    return S_OK;
}

HRESULT CheckTextureFlags(const char* call, const ResourceInfo& info)
{
    constexpr UINT both = D3D11_BIND_RENDER_TARGET | D3D11_BIND_DEPTH_STENCIL;
    if ((info.bindFlags & BufferOnlyBindFlags) != 0) {
        return Refuse(E_INVALIDARG, call, "BindFlags 0x%x has bits that only a buffer can have", info.bindFlags);
    }
    if ((info.bindFlags & both) == both) {
        return Refuse(E_INVALIDARG, call, "D3D11_BIND_RENDER_TARGET excludes D3D11_BIND_DEPTH_STENCIL");
    }
    if ((info.bindFlags & D3D11_BIND_DEPTH_STENCIL) != 0 && (info.bindFlags & D3D11_BIND_UNORDERED_ACCESS) != 0) {
        return Refuse(E_INVALIDARG, call, "D3D11_BIND_DEPTH_STENCIL excludes D3D11_BIND_UNORDERED_ACCESS");
    }
    if ((info.miscFlags & ~TextureMiscFlags) != 0) {
        return Refuse(E_INVALIDARG, call, "MiscFlags 0x%x has bits that are not supported on textures", info.miscFlags);
    }
    if (info.usage == D3D11_USAGE_DYNAMIC && info.SubresourceCount() != 1) {
        return Refuse(E_INVALIDARG, call, "D3D11_USAGE_DYNAMIC needs a single subresource, not %u",
                      info.SubresourceCount());
    }
    return CheckMipGeneration(call, info);
}

HRESULT CheckCube(const char* call, const ResourceInfo& info)
{
    if ((info.miscFlags & D3D11_RESOURCE_MISC_TEXTURECUBE) == 0) {
        return S_OK;
    }
    if (info.dimension != D3D11_RESOURCE_DIMENSION_TEXTURE2D || info.sampleCount != 1) {
        return Refuse(E_INVALIDARG, call, "D3D11_RESOURCE_MISC_TEXTURECUBE needs a 2D texture of one sample");
    }
    if (info.width != info.height || info.arraySize % 6 != 0) {
        return Refuse(E_INVALIDARG, call, "a cube needs square faces and a multiple of 6 of them, not %u of %ux%u",
                      info.arraySize, info.width, info.height);
    }
    return S_OK;
}

HRESULT CheckSamples(const char* call, const ResourceInfo& info, const DXGI_SAMPLE_DESC& samples, bool hasData)
{
    const UINT count = samples.Count;
    if (count == 0 || count > D3D11_MAX_MULTISAMPLE_SAMPLE_COUNT || (count & (count - 1)) != 0) {
        return Refuse(E_INVALIDARG, call, "SampleDesc.Count %u must be a power of two from 1 to 32", count);
    }
    const bool isStandard = count > 1 && (samples.Quality == DXGI_STANDARD_MULTISAMPLE_QUALITY_PATTERN ||
                                          samples.Quality == DXGI_CENTER_MULTISAMPLE_QUALITY_PATTERN);
    if (samples.Quality != 0 && !isStandard) {
        return Refuse(E_INVALIDARG, call, "SampleDesc.Quality %u is not supported", samples.Quality);
    }
    if (count == 1) {
        return S_OK;
    }
    if (info.mipLevels > 1 || info.usage != D3D11_USAGE_DEFAULT || hasData ||
        (info.bindFlags & D3D11_BIND_UNORDERED_ACCESS) != 0) {
        return Refuse(E_INVALIDARG, call,
                      "multisampling needs one mip, D3D11_USAGE_DEFAULT, no initial data and no unordered access");
    }
    if (!Supports(info.format, D3D11_FORMAT_SUPPORT_MULTISAMPLE_RENDERTARGET)) {
        return Refuse(E_INVALIDARG, call, "Format %s does not support multisampling", GetFormatInfo(info.format).name);
    }
    return S_OK;
}

HRESULT CheckInitialData(const char* call, const ResourceInfo& info, const D3D11_SUBRESOURCE_DATA* data)
{
    for (UINT i = 0; data && i < info.SubresourceCount(); ++i) {
        if (!data[i].pSysMem) {
            return Refuse(E_INVALIDARG, call, "initial data of subresource %u is null", i);
        }
    }
    return S_OK;
}

/// All rules of textures behind the description's copy into `info`.
HRESULT CheckTexture(const char* call, ResourceInfo& info, const DXGI_SAMPLE_DESC& samples,
                     const D3D11_SUBRESOURCE_DATA* data, UINT maxExtent, UINT maxSlices)
{
    HRESULT hr = CheckExtents(call, info, maxExtent, maxSlices);
    hr = FAILED(hr) ? hr : CheckMips(call, info);
    hr = FAILED(hr) ? hr : CheckUsage(call, info, data);
    hr = FAILED(hr) ? hr : CheckTextureFlags(call, info);
    hr = FAILED(hr) ? hr : CheckTextureFormat(call, info);
    hr = FAILED(hr) ? hr : CheckSamples(call, info, samples, data != nullptr);
    hr = FAILED(hr) ? hr : CheckCube(call, info);
    return FAILED(hr) ? hr : CheckInitialData(call, info, data);
}

} // namespace

HRESULT Refuse(HRESULT result, const char* call, const char* format, ...)
{
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    DebugLine("%s: %s", call, text);
    return result;
}

SubresourceLayout LayoutOf(const ResourceInfo& info, UINT subresource)
{
    if (info.IsBuffer()) {
        return {info.width, 1, 1};
    }
    const FormatInfo& format = GetFormatInfo(info.format);
    const UINT mip = subresource % info.mipLevels;
    return {RowBytes(format, info.MipWidth(mip)), RowCount(format, info.MipHeight(mip)), info.MipDepth(mip)};
}

HRESULT CheckBuffer(const D3D11_BUFFER_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ResourceInfo& info)
{
    constexpr const char* call = "ID3D11Device::CreateBuffer";
    if (!desc) {
        return Refuse(E_INVALIDARG, call, "pDesc is null");
    }
    info = {};
    info.dimension = D3D11_RESOURCE_DIMENSION_BUFFER;
    info.width = desc->ByteWidth;
    info.usage = desc->Usage;
    info.bindFlags = desc->BindFlags;
    info.cpuAccessFlags = desc->CPUAccessFlags;
    info.miscFlags = desc->MiscFlags;
    info.structureByteStride = info.IsStructured() ? desc->StructureByteStride : 0;
    if (info.width == 0 || info.width > MaxBufferBytes) {
        return Refuse(E_INVALIDARG, call, "ByteWidth %u must be from 1 to %u", info.width, MaxBufferBytes);
    }
    HRESULT hr = CheckUsage(call, info, data);
    hr = FAILED(hr) ? hr : CheckBufferFlags(call, info);
    return FAILED(hr) ? hr : CheckInitialData(call, info, data);
}

HRESULT CheckTexture1D(const D3D11_TEXTURE1D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ResourceInfo& info)
{
    constexpr const char* call = "ID3D11Device::CreateTexture1D";
    if (!desc) {
        return Refuse(E_INVALIDARG, call, "pDesc is null");
    }
    info = {.dimension = D3D11_RESOURCE_DIMENSION_TEXTURE1D,
            .width = desc->Width,
            .mipLevels = desc->MipLevels,
            .arraySize = desc->ArraySize,
            .format = desc->Format,
            .usage = desc->Usage,
            .bindFlags = desc->BindFlags,
            .cpuAccessFlags = desc->CPUAccessFlags,
            .miscFlags = desc->MiscFlags};
    return CheckTexture(call, info, {1, 0}, data, D3D11_REQ_TEXTURE1D_U_DIMENSION,
                        D3D11_REQ_TEXTURE1D_ARRAY_AXIS_DIMENSION);
}

HRESULT CheckTexture2D(const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ResourceInfo& info)
{
    constexpr const char* call = "ID3D11Device::CreateTexture2D";
    if (!desc) {
        return Refuse(E_INVALIDARG, call, "pDesc is null");
    }
    info = {.dimension = D3D11_RESOURCE_DIMENSION_TEXTURE2D,
            .width = desc->Width,
            .height = desc->Height,
            .mipLevels = desc->MipLevels,
            .arraySize = desc->ArraySize,
            .format = desc->Format,
            .sampleCount = desc->SampleDesc.Count,
            .usage = desc->Usage,
            .bindFlags = desc->BindFlags,
            .cpuAccessFlags = desc->CPUAccessFlags,
            .miscFlags = desc->MiscFlags};
    return CheckTexture(call, info, desc->SampleDesc, data, D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION,
                        D3D11_REQ_TEXTURE2D_ARRAY_AXIS_DIMENSION);
}

HRESULT CheckTexture3D(const D3D11_TEXTURE3D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ResourceInfo& info)
{
    constexpr const char* call = "ID3D11Device::CreateTexture3D";
    if (!desc) {
        return Refuse(E_INVALIDARG, call, "pDesc is null");
    }
    info = {.dimension = D3D11_RESOURCE_DIMENSION_TEXTURE3D,
            .width = desc->Width,
            .height = desc->Height,
            .depth = desc->Depth,
            .mipLevels = desc->MipLevels,
            .format = desc->Format,
            .usage = desc->Usage,
            .bindFlags = desc->BindFlags,
            .cpuAccessFlags = desc->CPUAccessFlags,
            .miscFlags = desc->MiscFlags};
    if ((info.bindFlags & D3D11_BIND_DEPTH_STENCIL) != 0) {
        return Refuse(E_INVALIDARG, call, "a 3D texture cannot be a depth stencil buffer");
    }
    return CheckTexture(call, info, {1, 0}, data, D3D11_REQ_TEXTURE3D_U_V_OR_W_DIMENSION, 1);
}

} // namespace gleam
