// Memory of the null device's resources: layout, copies and clears.
#include "null/NullResource.h"

#include <cstring>
#include <limits>

namespace gleam {
namespace {

constexpr UINT RowAlignment = 32;

struct BlockRegion
{
    UINT x, y, z;
    UINT rowBytes;
    UINT rows;
    UINT slices;
    UINT blockBytes;
};

/// A region of texels in blocks and bytes.
BlockRegion ToBlocks(const ResourceInfo& info, const CopyBox& region)
{
    if (info.IsBuffer()) {
        return {region.x, 0, 0, region.width, 1, 1, 1};
    }
    const FormatInfo& format = GetFormatInfo(info.format);
    return {region.x / format.blockWidth,
            region.y / format.blockHeight,
            region.z,
            static_cast<UINT>(RowBytes(format, region.width)),
            RowCount(format, region.height),
            region.depth,
            format.blockBytes};
}

void CopyRows(const BlockRegion& size, std::byte* to, size_t toRow, size_t toSlice, const std::byte* from,
              size_t fromRow, size_t fromSlice)
{
    for (UINT slice = 0; slice < size.slices; ++slice) {
        for (UINT row = 0; row < size.rows; ++row) {
            // Both sides may lie in one subresource's memory only when they are different subresources.
            std::memcpy(to + slice * toSlice + row * toRow, from + slice * fromSlice + row * fromRow, size.rowBytes);
        }
    }
}

} // namespace

HRESULT NullStorage::Allocate(const D3D11_SUBRESOURCE_DATA* data)
{
    std::uint64_t total = 0;
    m_subresources.resize(m_info.SubresourceCount());
    for (UINT i = 0; i < m_subresources.size(); ++i) {
        const SubresourceLayout layout = LayoutOf(m_info, i);
        const std::uint64_t rowPitch =
            m_info.IsBuffer() ? layout.rowBytes : (layout.rowBytes + RowAlignment - 1) / RowAlignment * RowAlignment;
        const std::uint64_t slicePitch = rowPitch * layout.rows;
        if (slicePitch > std::numeric_limits<UINT>::max()) {
            return E_OUTOFMEMORY;
        }
        m_subresources[i] = {total, static_cast<UINT>(rowPitch), static_cast<UINT>(slicePitch), false};
        total += slicePitch * layout.slices;
    }
    // calloc leaves large blocks untouched until they are used.
    m_memory.reset(static_cast<std::byte*>(std::calloc(total, 1)));
    if (!m_memory) {
        return E_OUTOFMEMORY;
    }
    for (UINT i = 0; data && i < m_subresources.size(); ++i) {
        const UINT mip = i % m_info.mipLevels;
        const CopyBox whole = {0, 0, 0, m_info.MipWidth(mip), m_info.MipHeight(mip), m_info.MipDepth(mip)};
        Write(i, whole, data[i].pSysMem, data[i].SysMemPitch, data[i].SysMemSlicePitch);
    }
    return S_OK;
}

void NullStorage::Write(UINT subresource, const CopyBox& region, const void* source, UINT rowPitch, UINT slicePitch)
{
    const BlockRegion size = ToBlocks(m_info, region);
    const NullSubresource& sub = m_subresources[subresource];
    std::byte* to = Data(subresource) + static_cast<size_t>(size.z) * sub.slicePitch +
                    static_cast<size_t>(size.y) * sub.rowPitch + static_cast<size_t>(size.x) * size.blockBytes;
    CopyRows(size, to, sub.rowPitch, sub.slicePitch, static_cast<const std::byte*>(source), rowPitch, slicePitch);
}

void NullStorage::CopyFrom(UINT subresource, UINT x, UINT y, UINT z, NullStorage& source, UINT sourceSubresource,
                           const CopyBox& region)
{
    const BlockRegion size = ToBlocks(source.m_info, region);
    const NullSubresource& from = source.m_subresources[sourceSubresource];
    const NullSubresource& to = m_subresources[subresource];
    const BlockRegion target = ToBlocks(m_info, {x, y, z, 0, 0, 0});
    const std::byte* read = source.Data(sourceSubresource) + static_cast<size_t>(size.z) * from.slicePitch +
                            static_cast<size_t>(size.y) * from.rowPitch + static_cast<size_t>(size.x) * size.blockBytes;
    std::byte* write = Data(subresource) + static_cast<size_t>(target.z) * to.slicePitch +
                       static_cast<size_t>(target.y) * to.rowPitch + static_cast<size_t>(target.x) * target.blockBytes;
    CopyRows(size, write, to.rowPitch, to.slicePitch, read, from.rowPitch, from.slicePitch);
}

template <class Row>
void NullStorage::ForEachRow(const ViewRange& range, Row row)
{
    const bool is3D = m_info.dimension == D3D11_RESOURCE_DIMENSION_TEXTURE3D;
    for (UINT i = 0; i < range.sliceCount; ++i) {
        const UINT slice = range.firstSlice + i;
        const UINT index = range.firstMip + (is3D ? 0 : slice * m_info.mipLevels);
        const NullSubresource& sub = m_subresources[index];
        std::byte* data = Data(index) + (is3D ? static_cast<size_t>(slice) * sub.slicePitch : 0);
        for (UINT y = 0; y < m_info.MipHeight(range.firstMip); ++y) {
            row(data + static_cast<size_t>(y) * sub.rowPitch);
        }
    }
}

void NullStorage::Fill(const ViewRange& range, const void* texel, UINT texelBytes)
{
    const UINT width = m_info.MipWidth(range.firstMip);
    ForEachRow(range, [&](std::byte* row) {
        for (UINT x = 0; x < width; ++x) {
            std::memcpy(row + static_cast<size_t>(x) * texelBytes, texel, texelBytes);
        }
    });
}

void NullStorage::FillMasked(const ViewRange& range, UINT value, UINT mask, UINT wordOfTexel, UINT wordsPerTexel)
{
    const UINT width = m_info.MipWidth(range.firstMip);
    ForEachRow(range, [&](std::byte* row) {
        for (UINT x = 0; x < width; ++x) {
            std::byte* place = row + (static_cast<size_t>(x) * wordsPerTexel + wordOfTexel) * sizeof(UINT);
            UINT word;
            std::memcpy(&word, place, sizeof(word));
            word = (word & ~mask) | (value & mask);
            std::memcpy(place, &word, sizeof(word));
        }
    });
}

NullStorage* StorageOf(ID3D11Resource* resource)
{
    if (!resource) {
        return nullptr;
    }
    D3D11_RESOURCE_DIMENSION dimension;
    resource->GetType(&dimension);
    switch (dimension) {
    case D3D11_RESOURCE_DIMENSION_BUFFER:
        return static_cast<NullBuffer*>(resource);
    case D3D11_RESOURCE_DIMENSION_TEXTURE1D:
        return static_cast<NullTexture1D*>(resource);
    case D3D11_RESOURCE_DIMENSION_TEXTURE2D:
        return static_cast<NullTexture2D*>(resource);
    default:
        return static_cast<NullTexture3D*>(resource);
    }
}

} // namespace gleam
