// Rules for calls on the immediate context.
#include "Validation.h"

namespace gleam {
namespace {

constexpr const char* MapNames[] = {"?",
                                    "D3D11_MAP_READ",
                                    "D3D11_MAP_WRITE",
                                    "D3D11_MAP_READ_WRITE",
                                    "D3D11_MAP_WRITE_DISCARD",
                                    "D3D11_MAP_WRITE_NO_OVERWRITE"};

HRESULT CheckSubresource(const char* call, const char* which, const ResourceInfo& info, UINT subresource)
{
    if (subresource >= info.SubresourceCount()) {
        return Refuse(E_INVALIDARG, call, "%s subresource %u is past the last of %u", which, subresource,
                      info.SubresourceCount());
    }
    return S_OK;
}

/// Extent of a mip for copies: whole blocks, since the blocks at the edge exist whole in memory.
CopyBox MipBox(const ResourceInfo& info, UINT subresource)
{
    if (info.IsBuffer()) {
        return {0, 0, 0, info.width, 1, 1};
    }
    const FormatInfo& format = GetFormatInfo(info.format);
    const UINT mip = subresource % info.mipLevels;
    const UINT width = info.MipWidth(mip);
    const UINT height = info.MipHeight(mip);
    return {0,
            0,
            0,
            (width + format.blockWidth - 1) / format.blockWidth * format.blockWidth,
            (height + format.blockHeight - 1) / format.blockHeight * format.blockHeight,
            info.MipDepth(mip)};
}

bool IsInside(UINT start, UINT size, UINT limit)
{
    return start <= limit && size <= limit - start;
}

/// Turns an optional published box into a region of the subresource.
HRESULT ReadBox(const char* call, const ResourceInfo& info, UINT subresource, const D3D11_BOX* box, CopyBox& region)
{
    const CopyBox mip = MipBox(info, subresource);
    if (!box) {
        region = mip;
        return S_OK;
    }
    if (box->left >= box->right || box->top >= box->bottom || box->front >= box->back) {
        region = {};
        return S_OK;
    }
    region = {box->left, box->top, box->front, box->right - box->left, box->bottom - box->top, box->back - box->front};
    if (box->right > mip.width || box->bottom > mip.height || box->back > mip.depth) {
        return Refuse(E_INVALIDARG, call, "the box ends at (%u, %u, %u), outside of subresource %u of %ux%ux%u",
                      box->right, box->bottom, box->back, subresource, mip.width, mip.height, mip.depth);
    }
    const FormatInfo& format = GetFormatInfo(info.format);
    if (!info.IsBuffer() &&
        ((region.x | region.width) % format.blockWidth != 0 || (region.y | region.height) % format.blockHeight != 0)) {
        return Refuse(E_INVALIDARG, call, "the box on format %s must lie on blocks of %ux%u", format.name,
                      format.blockWidth, format.blockHeight);
    }
    return S_OK;
}

bool IsDepth(const ResourceInfo& info)
{
    return (info.bindFlags & D3D11_BIND_DEPTH_STENCIL) != 0;
}

/// Whether one resource may be copied to another at all.
HRESULT CheckCopyPair(const char* call, const ResourceInfo& destination, const ResourceInfo& source)
{
    if (destination.dimension != source.dimension) {
        return Refuse(E_INVALIDARG, call, "source and destination must be of one dimension");
    }
    if (destination.usage == D3D11_USAGE_IMMUTABLE) {
        return Refuse(E_INVALIDARG, call, "the destination is D3D11_USAGE_IMMUTABLE");
    }
    if (destination.sampleCount != source.sampleCount) {
        return Refuse(E_INVALIDARG, call, "sample counts %u and %u differ", destination.sampleCount,
                      source.sampleCount);
    }
    if (!destination.IsBuffer() && !CanCopy(destination.format, source.format)) {
        return Refuse(E_INVALIDARG, call, "format %s cannot be copied to %s", GetFormatInfo(source.format).name,
                      GetFormatInfo(destination.format).name);
    }
    return S_OK;
}

/// Texels of the destination that a region of the source covers; differs when one side is compressed.
CopyBox Scaled(const CopyBox& region, const FormatInfo& from, const FormatInfo& to)
{
    CopyBox result = region;
    result.width = (region.width + from.blockWidth - 1) / from.blockWidth * to.blockWidth;
    result.height = (region.height + from.blockHeight - 1) / from.blockHeight * to.blockHeight;
    return result;
}

bool IsWhole(const CopyBox& region, const CopyBox& mip)
{
    return region.x == 0 && region.y == 0 && region.z == 0 && region.width == mip.width &&
           region.height == mip.height && region.depth == mip.depth;
}

} // namespace

HRESULT CheckMap(const ResourceInfo& info, UINT subresource, D3D11_MAP type, UINT flags, bool isMapped)
{
    constexpr const char* call = "ID3D11DeviceContext::Map";
    if (const HRESULT hr = CheckSubresource(call, "resource", info, subresource); FAILED(hr)) {
        return hr;
    }
    if (isMapped) {
        return Refuse(E_INVALIDARG, call, "subresource %u is mapped already", subresource);
    }
    if (type < D3D11_MAP_READ || type > D3D11_MAP_WRITE_NO_OVERWRITE) {
        return Refuse(E_INVALIDARG, call, "MapType %d is unknown", type);
    }
    const bool isRename = type == D3D11_MAP_WRITE_DISCARD || type == D3D11_MAP_WRITE_NO_OVERWRITE;
    if ((flags & ~static_cast<UINT>(D3D11_MAP_FLAG_DO_NOT_WAIT)) != 0 || (flags != 0 && isRename)) {
        return Refuse(E_INVALIDARG, call, "MapFlags 0x%x do not fit %s", flags, MapNames[type]);
    }
    const D3D11_USAGE usage = isRename ? D3D11_USAGE_DYNAMIC : D3D11_USAGE_STAGING;
    if (info.usage != usage) {
        return Refuse(E_INVALIDARG, call, "%s needs %s", MapNames[type],
                      isRename ? "D3D11_USAGE_DYNAMIC" : "D3D11_USAGE_STAGING");
    }
    if (type == D3D11_MAP_WRITE_NO_OVERWRITE && !info.IsBuffer()) {
        return Refuse(E_INVALIDARG, call, "D3D11_MAP_WRITE_NO_OVERWRITE needs a buffer");
    }
    const UINT reads = type == D3D11_MAP_READ || type == D3D11_MAP_READ_WRITE ? D3D11_CPU_ACCESS_READ : 0;
    const UINT writes = type != D3D11_MAP_READ ? D3D11_CPU_ACCESS_WRITE : 0;
    if ((info.cpuAccessFlags & (reads | writes)) != (reads | writes)) {
        return Refuse(E_INVALIDARG, call, "%s does not fit CPUAccessFlags 0x%x", MapNames[type], info.cpuAccessFlags);
    }
    return S_OK;
}

HRESULT CheckUpdateSubresource(const ResourceInfo& info, UINT subresource, const D3D11_BOX* box, const void* data,
                               CopyBox& region)
{
    constexpr const char* call = "ID3D11DeviceContext::UpdateSubresource";
    if (const HRESULT hr = CheckSubresource(call, "destination", info, subresource); FAILED(hr)) {
        return hr;
    }
    if (!data) {
        return Refuse(E_INVALIDARG, call, "pSrcData is null");
    }
    if (info.usage == D3D11_USAGE_IMMUTABLE || info.usage == D3D11_USAGE_DYNAMIC) {
        return Refuse(E_INVALIDARG, call, "the resource must not be D3D11_USAGE_IMMUTABLE or D3D11_USAGE_DYNAMIC");
    }
    if (info.sampleCount > 1 || IsDepth(info)) {
        return Refuse(E_INVALIDARG, call, "the resource must not be multisampled or a depth stencil buffer");
    }
    if (box && (info.bindFlags & D3D11_BIND_CONSTANT_BUFFER) != 0) {
        return Refuse(E_INVALIDARG, call, "a constant buffer is updated whole, without a box");
    }
    return ReadBox(call, info, subresource, box, region);
}

HRESULT CheckCopyResource(const ResourceInfo& destination, const ResourceInfo& source, bool isSame)
{
    constexpr const char* call = "ID3D11DeviceContext::CopyResource";
    if (isSame) {
        return Refuse(E_INVALIDARG, call, "source and destination are one resource");
    }
    if (const HRESULT hr = CheckCopyPair(call, destination, source); FAILED(hr)) {
        return hr;
    }
    const bool isSameSize = destination.width == source.width && destination.height == source.height &&
                            destination.depth == source.depth && destination.mipLevels == source.mipLevels &&
                            destination.arraySize == source.arraySize;
    if (!isSameSize) {
        return Refuse(E_INVALIDARG, call, "sizes differ: %ux%ux%u, %u mips, %u slices to %ux%ux%u, %u mips, %u slices",
                      source.width, source.height, source.depth, source.mipLevels, source.arraySize, destination.width,
                      destination.height, destination.depth, destination.mipLevels, destination.arraySize);
    }
    if (GetFormatInfo(destination.format).family != GetFormatInfo(source.format).family) {
        return Refuse(E_INVALIDARG, call, "format %s cannot be copied whole to %s", GetFormatInfo(source.format).name,
                      GetFormatInfo(destination.format).name);
    }
    return S_OK;
}

HRESULT CheckCopySubresourceRegion(const ResourceInfo& destination, UINT destinationSubresource, UINT x, UINT y, UINT z,
                                   const ResourceInfo& source, UINT sourceSubresource, const D3D11_BOX* box,
                                   bool isSame, CopyBox& region)
{
    constexpr const char* call = "ID3D11DeviceContext::CopySubresourceRegion";
    HRESULT hr = CheckSubresource(call, "destination", destination, destinationSubresource);
    hr = FAILED(hr) ? hr : CheckSubresource(call, "source", source, sourceSubresource);
    hr = FAILED(hr) ? hr : CheckCopyPair(call, destination, source);
    hr = FAILED(hr) ? hr : ReadBox(call, source, sourceSubresource, box, region);
    if (FAILED(hr) || region.IsEmpty()) {
        return hr;
    }
    if (isSame && destinationSubresource == sourceSubresource) {
        return Refuse(E_INVALIDARG, call, "source and destination are one subresource");
    }
    const FormatInfo& from = GetFormatInfo(source.format);
    const FormatInfo& to = GetFormatInfo(destination.format);
    const CopyBox target = MipBox(destination, destinationSubresource);
    const CopyBox written = source.IsBuffer() ? region : Scaled(region, from, to);
    if (!IsInside(x, written.width, target.width) || !IsInside(y, written.height, target.height) ||
        !IsInside(z, written.depth, target.depth)) {
        return Refuse(E_INVALIDARG, call, "%ux%ux%u at (%u, %u, %u) is outside of subresource %u of %ux%ux%u",
                      written.width, written.height, written.depth, x, y, z, destinationSubresource, target.width,
                      target.height, target.depth);
    }
    if (!destination.IsBuffer() && (x % to.blockWidth != 0 || y % to.blockHeight != 0)) {
        return Refuse(E_INVALIDARG, call, "(%u, %u) is not on a block of format %s", x, y, to.name);
    }
    const bool wholeOnly = source.sampleCount > 1 || IsDepth(source) || IsDepth(destination);
    if (wholeOnly && !(IsWhole(region, MipBox(source, sourceSubresource)) && IsWhole(written, target) && x == 0 &&
                       y == 0 && z == 0)) {
        return Refuse(E_INVALIDARG, call, "multisampled and depth stencil subresources are copied whole");
    }
    return S_OK;
}

HRESULT CheckResolveSubresource(const ResourceInfo& destination, UINT destinationSubresource,
                                const ResourceInfo& source, UINT sourceSubresource, DXGI_FORMAT format)
{
    constexpr const char* call = "ID3D11DeviceContext::ResolveSubresource";
    HRESULT hr = CheckSubresource(call, "destination", destination, destinationSubresource);
    hr = FAILED(hr) ? hr : CheckSubresource(call, "source", source, sourceSubresource);
    if (FAILED(hr)) {
        return hr;
    }
    constexpr auto texture2D = D3D11_RESOURCE_DIMENSION_TEXTURE2D;
    if (destination.dimension != texture2D || source.dimension != texture2D) {
        return Refuse(E_INVALIDARG, call, "source and destination must be 2D textures");
    }
    if (source.sampleCount <= 1 || destination.sampleCount != 1) {
        return Refuse(E_INVALIDARG, call, "the source must be multisampled and the destination not, not %u to %u",
                      source.sampleCount, destination.sampleCount);
    }
    if (destination.usage != D3D11_USAGE_DEFAULT) {
        return Refuse(E_INVALIDARG, call, "the destination must be D3D11_USAGE_DEFAULT");
    }
    const FormatInfo& info = GetFormatInfo(format);
    if (!CanView(destination.format, format) || !CanView(source.format, format) ||
        (info.support & D3D11_FORMAT_SUPPORT_MULTISAMPLE_RESOLVE) == 0) {
        return Refuse(E_INVALIDARG, call, "format %s cannot resolve %s to %s", info.name,
                      GetFormatInfo(source.format).name, GetFormatInfo(destination.format).name);
    }
    const UINT mip = destinationSubresource % destination.mipLevels;
    if (destination.MipWidth(mip) != source.width || destination.MipHeight(mip) != source.height) {
        return Refuse(E_INVALIDARG, call, "sizes differ: %ux%u to %ux%u", source.width, source.height,
                      destination.MipWidth(mip), destination.MipHeight(mip));
    }
    return S_OK;
}

HRESULT CheckGenerateMips(const ResourceInfo& info, const D3D11_SHADER_RESOURCE_VIEW_DESC& view)
{
    constexpr const char* call = "ID3D11DeviceContext::GenerateMips";
    if ((info.miscFlags & D3D11_RESOURCE_MISC_GENERATE_MIPS) == 0) {
        return Refuse(E_INVALIDARG, call, "the resource was made without D3D11_RESOURCE_MISC_GENERATE_MIPS");
    }
    const FormatInfo& format = GetFormatInfo(view.Format);
    if ((format.support & D3D11_FORMAT_SUPPORT_MIP_AUTOGEN) == 0) {
        return Refuse(E_INVALIDARG, call, "format %s cannot be filtered", format.name);
    }
    return S_OK;
}

HRESULT CheckCopyStructureCount(const ResourceInfo& destination, UINT offset,
                                const D3D11_UNORDERED_ACCESS_VIEW_DESC& view)
{
    constexpr const char* call = "ID3D11DeviceContext::CopyStructureCount";
    constexpr UINT counters = D3D11_BUFFER_UAV_FLAG_APPEND | D3D11_BUFFER_UAV_FLAG_COUNTER;
    if (view.ViewDimension != D3D11_UAV_DIMENSION_BUFFER || (view.Buffer.Flags & counters) == 0) {
        return Refuse(E_INVALIDARG, call, "the view has no hidden counter");
    }
    if (!destination.IsBuffer() || destination.usage == D3D11_USAGE_IMMUTABLE ||
        destination.usage == D3D11_USAGE_DYNAMIC) {
        return Refuse(E_INVALIDARG, call, "the destination must be a default or staging buffer");
    }
    if (offset % 4 != 0 || !IsInside(offset, 4, destination.width)) {
        return Refuse(E_INVALIDARG, call, "offset %u must be a multiple of 4 inside of %u bytes", offset,
                      destination.width);
    }
    return S_OK;
}

HRESULT CheckSlots(const char* call, UINT start, UINT count, UINT limit, const void* values)
{
    if (!IsInside(start, count, limit)) {
        return Refuse(E_INVALIDARG, call, "%u slots from slot %u on are not in %u", count, start, limit);
    }
    if (count != 0 && !values) {
        return Refuse(E_INVALIDARG, call, "the array of %u values is null", count);
    }
    return S_OK;
}

HRESULT CheckBound(const char* call, const ResourceInfo& info, D3D11_BIND_FLAG bind)
{
    if ((info.bindFlags & bind) == 0) {
        return Refuse(E_INVALIDARG, call, "the buffer was made without bind flag 0x%x", bind);
    }
    return S_OK;
}

HRESULT CheckIndexBuffer(const ResourceInfo* info, DXGI_FORMAT format, UINT offset)
{
    constexpr const char* call = "ID3D11DeviceContext::IASetIndexBuffer";
    if (!info) {
        return S_OK;
    }
    const FormatInfo& index = GetFormatInfo(format);
    if ((index.support & D3D11_FORMAT_SUPPORT_IA_INDEX_BUFFER) == 0) {
        return Refuse(E_INVALIDARG, call, "Format %s (%d) must be R16_UINT or R32_UINT", index.name, format);
    }
    if (offset % index.blockBytes != 0) {
        return Refuse(E_INVALIDARG, call, "Offset %u must be a multiple of the index size %u", offset,
                      index.blockBytes);
    }
    return CheckBound(call, *info, D3D11_BIND_INDEX_BUFFER);
}

HRESULT CheckTopology(D3D11_PRIMITIVE_TOPOLOGY topology)
{
    const bool isKnown =
        (topology >= D3D_PRIMITIVE_TOPOLOGY_UNDEFINED && topology <= D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP) ||
        (topology >= D3D_PRIMITIVE_TOPOLOGY_LINELIST_ADJ && topology <= D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP_ADJ) ||
        (topology >= D3D_PRIMITIVE_TOPOLOGY_1_CONTROL_POINT_PATCHLIST &&
         topology <= D3D_PRIMITIVE_TOPOLOGY_32_CONTROL_POINT_PATCHLIST);
    if (!isKnown) {
        return Refuse(E_INVALIDARG, "ID3D11DeviceContext::IASetPrimitiveTopology", "Topology %d is unknown", topology);
    }
    return S_OK;
}

HRESULT CheckRenderTargets(const char* call, std::span<const TargetExtent> targets)
{
    for (const TargetExtent& target : targets) {
        const TargetExtent& first = targets.front();
        if (target.width != first.width || target.height != first.height || target.slices != first.slices ||
            target.sampleCount != first.sampleCount) {
            return Refuse(E_INVALIDARG, call, "views differ: %ux%u, %u slices, %u samples and %ux%u, %u, %u",
                          first.width, first.height, first.slices, first.sampleCount, target.width, target.height,
                          target.slices, target.sampleCount);
        }
    }
    return S_OK;
}

HRESULT CheckIndirect(const char* call, const ResourceInfo& info, UINT offset, UINT argumentBytes)
{
    if ((info.miscFlags & D3D11_RESOURCE_MISC_DRAWINDIRECT_ARGS) == 0) {
        return Refuse(E_INVALIDARG, call, "the buffer was made without D3D11_RESOURCE_MISC_DRAWINDIRECT_ARGS");
    }
    if (offset % 4 != 0 || !IsInside(offset, argumentBytes, info.width)) {
        return Refuse(E_INVALIDARG, call, "%u bytes of arguments at offset %u must be aligned to 4 and in %u bytes",
                      argumentBytes, offset, info.width);
    }
    return S_OK;
}

HRESULT CheckDispatch(UINT x, UINT y, UINT z)
{
    constexpr UINT limit = D3D11_CS_DISPATCH_MAX_THREAD_GROUPS_PER_DIMENSION;
    if (x > limit || y > limit || z > limit) {
        return Refuse(E_INVALIDARG, "ID3D11DeviceContext::Dispatch", "%ux%ux%u groups, where %u are allowed", x, y, z,
                      limit);
    }
    return S_OK;
}

} // namespace gleam
