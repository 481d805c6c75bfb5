// Checks of arguments by the published rules, shared by every device of this platform.
//
// Each function returns S_OK, or the published result for the first rule that is broken, after exactly one line of
// debugger output "CALL: RULE". They touch no device and are callable from any thread. What only a device can know
// (memory, sample counts and optional formats that it lacks) is its own to check.
#pragma once

#include <span>
#include <vector>

#include "FormatInfo.h"

namespace gleam {

/// Writes "call: text" and gives `result`. For rules that a device checks itself.
[[gnu::format(printf, 3, 4)]] HRESULT Refuse(HRESULT result, const char* call, const char* format, ...);

/// The description of any resource. Buffers have their bytes in `width`, `height` and `depth` 1, no format, one mip;
/// 1D textures have `height` and `depth` 1, 2D textures `depth` 1.
struct ResourceInfo
{
    D3D11_RESOURCE_DIMENSION dimension = D3D11_RESOURCE_DIMENSION_UNKNOWN;
    UINT width = 1;
    UINT height = 1;
    UINT depth = 1;
    UINT mipLevels = 1;
    UINT arraySize = 1;
    DXGI_FORMAT format = DXGI_FORMAT_UNKNOWN;
    UINT sampleCount = 1;
    D3D11_USAGE usage = D3D11_USAGE_DEFAULT;
    UINT bindFlags = 0;
    UINT cpuAccessFlags = 0;
    UINT miscFlags = 0;
    UINT structureByteStride = 0;
    /// The device keeps red and blue the other way round than the format says; nobody outside may notice.
    bool swapsRedBlue = false;

    bool IsBuffer() const { return dimension == D3D11_RESOURCE_DIMENSION_BUFFER; }
    bool IsStructured() const { return (miscFlags & D3D11_RESOURCE_MISC_BUFFER_STRUCTURED) != 0; }
    UINT SubresourceCount() const { return mipLevels * arraySize; }
    /// Size of a mip in texels.
    UINT MipWidth(UINT mip) const { return MipExtent(width, mip); }
    UINT MipHeight(UINT mip) const { return MipExtent(height, mip); }
    UINT MipDepth(UINT mip) const { return MipExtent(depth, mip); }
};

/// Layout of one subresource without padding, in bytes. A buffer is one row.
struct SubresourceLayout
{
    std::uint64_t rowBytes;
    UINT rows;
    UINT slices;
    std::uint64_t SliceBytes() const { return rowBytes * rows; }
    std::uint64_t Bytes() const { return SliceBytes() * slices; }
};
SubresourceLayout LayoutOf(const ResourceInfo& info, UINT subresource);

// --- Resources. On success `info` holds the description with the number of mips settled. -----------------------

HRESULT CheckBuffer(const D3D11_BUFFER_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ResourceInfo& info);
HRESULT CheckTexture1D(const D3D11_TEXTURE1D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ResourceInfo& info);
HRESULT CheckTexture2D(const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ResourceInfo& info);
HRESULT CheckTexture3D(const D3D11_TEXTURE3D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data, ResourceInfo& info);

// --- Views. `desc` may be null for the view of everything; `full` gets the description with all defaults settled:
// the real format, counts instead of -1, and only the fields of its dimension. ---------------------------------

HRESULT CheckShaderResourceView(const ResourceInfo& info, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc,
                                D3D11_SHADER_RESOURCE_VIEW_DESC& full);
HRESULT CheckRenderTargetView(const ResourceInfo& info, const D3D11_RENDER_TARGET_VIEW_DESC* desc,
                              D3D11_RENDER_TARGET_VIEW_DESC& full);
HRESULT CheckDepthStencilView(const ResourceInfo& info, const D3D11_DEPTH_STENCIL_VIEW_DESC* desc,
                              D3D11_DEPTH_STENCIL_VIEW_DESC& full);
HRESULT CheckUnorderedAccessView(const ResourceInfo& info, const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc,
                                 D3D11_UNORDERED_ACCESS_VIEW_DESC& full);

/// The part of a texture that a view covers. For 3D textures slices are depth slices of the mip, or all of them for
/// shader resource views.
struct ViewRange
{
    UINT firstMip = 0;
    UINT mipCount = 1;
    UINT firstSlice = 0;
    UINT sliceCount = 1;
};
ViewRange RangeOf(const ResourceInfo& info, const D3D11_SHADER_RESOURCE_VIEW_DESC& full);
ViewRange RangeOf(const ResourceInfo& info, const D3D11_RENDER_TARGET_VIEW_DESC& full);
ViewRange RangeOf(const ResourceInfo& info, const D3D11_DEPTH_STENCIL_VIEW_DESC& full);
ViewRange RangeOf(const ResourceInfo& info, const D3D11_UNORDERED_ACCESS_VIEW_DESC& full);

// --- State objects and queries. `full` gets the description in its canonical form: what has no effect (a switched
// off blend, a border colour without border addressing) is set to its default, so equal states compare equal. ---

HRESULT CheckBlendState(const D3D11_BLEND_DESC* desc, D3D11_BLEND_DESC& full);
HRESULT CheckDepthStencilState(const D3D11_DEPTH_STENCIL_DESC* desc, D3D11_DEPTH_STENCIL_DESC& full);
HRESULT CheckRasterizerState(const D3D11_RASTERIZER_DESC* desc, D3D11_RASTERIZER_DESC& full);
HRESULT CheckSamplerState(const D3D11_SAMPLER_DESC* desc, D3D11_SAMPLER_DESC& full);
HRESULT CheckQuery(const D3D11_QUERY_DESC* desc);
/// Bytes that GetData gives for a kind of query; 0 for kinds that do not exist here.
UINT QueryDataSize(D3D11_QUERY query);

/// An input that the vertex stage reads: not a system value.
struct VertexInput
{
    const char* semantic;
    UINT semanticIndex;
};

/// `offsets` gets the byte offset of each element with D3D11_APPEND_ALIGNED_ELEMENT settled.
HRESULT CheckInputLayout(const D3D11_INPUT_ELEMENT_DESC* elements, UINT count, std::span<const VertexInput> inputs,
                         std::vector<UINT>& offsets);

// --- Context calls. ---------------------------------------------------------------------------------------------

/// `isMapped` tells of this subresource.
HRESULT CheckMap(const ResourceInfo& info, UINT subresource, D3D11_MAP type, UINT flags, bool isMapped);

/// A box of texels, bytes for buffers. Empty when a copy has nothing to do.
struct CopyBox
{
    UINT x = 0, y = 0, z = 0;
    UINT width = 0, height = 0, depth = 0;
    bool IsEmpty() const { return width == 0 || height == 0 || depth == 0; }
};

/// `region` gets what is written; boxes on compressed formats cover whole blocks.
HRESULT CheckUpdateSubresource(const ResourceInfo& info, UINT subresource, const D3D11_BOX* box, const void* data,
                               CopyBox& region);
HRESULT CheckCopyResource(const ResourceInfo& destination, const ResourceInfo& source, bool isSame);
/// `isSame` tells that both are one resource. `region` is in the source; it goes to (x, y, z) in the destination.
HRESULT CheckCopySubresourceRegion(const ResourceInfo& destination, UINT destinationSubresource, UINT x, UINT y, UINT z,
                                   const ResourceInfo& source, UINT sourceSubresource, const D3D11_BOX* box,
                                   bool isSame, CopyBox& region);
HRESULT CheckResolveSubresource(const ResourceInfo& destination, UINT destinationSubresource,
                                const ResourceInfo& source, UINT sourceSubresource, DXGI_FORMAT format);
HRESULT CheckGenerateMips(const ResourceInfo& info, const D3D11_SHADER_RESOURCE_VIEW_DESC& view);
HRESULT CheckCopyStructureCount(const ResourceInfo& destination, UINT offset,
                                const D3D11_UNORDERED_ACCESS_VIEW_DESC& view);

/// Slots `start` to `start + count` of `limit`, with a pointer to their values.
HRESULT CheckSlots(const char* call, UINT start, UINT count, UINT limit, const void* values);
/// A buffer that is bound as `bind`.
HRESULT CheckBound(const char* call, const ResourceInfo& info, D3D11_BIND_FLAG bind);
HRESULT CheckIndexBuffer(const ResourceInfo* info, DXGI_FORMAT format, UINT offset);
HRESULT CheckTopology(D3D11_PRIMITIVE_TOPOLOGY topology);

/// The size of a target view that is to be bound.
struct TargetExtent
{
    UINT width;
    UINT height;
    UINT slices;
    UINT sampleCount;
};
/// Extents of the views that are not null, the depth view last.
HRESULT CheckRenderTargets(const char* call, std::span<const TargetExtent> targets);

/// `argumentBytes` of a draw or dispatch are read from a buffer.
HRESULT CheckIndirect(const char* call, const ResourceInfo& info, UINT offset, UINT argumentBytes);
HRESULT CheckDispatch(UINT x, UINT y, UINT z);

} // namespace gleam
