// Mapping. Dynamic buffers are renamed instead of waited for; staging resources wait for the device.
#include "vulkan/Context.h"
#include "vulkan/Device.h"

namespace gleam {
namespace {

// A buffer of at least this size that is discarded so often in one submission moves to Shadow storage.
constexpr VkDeviceSize ShadowSize = 64u << 10;
constexpr uint32_t ShadowRenames = 4;

} // namespace

HRESULT Context::WaitForHost(const Resource& resource, bool forWriting, UINT flags)
{
    const std::uint64_t serial = forWriting ? resource.lastUse.load(std::memory_order_relaxed) : resource.lastWrite;
    if (serial > m_gpu.CompletedSerial() && serial >= m_stream.Serial()) {
        Submit();
    }
    if (serial > m_gpu.CompletedSerial() && serial > m_gpu.UpdateCompleted()) {
        if (flags & D3D11_MAP_FLAG_DO_NOT_WAIT) {
            return m_gpu.IsLost() ? DXGI_ERROR_DEVICE_REMOVED : DXGI_ERROR_WAS_STILL_DRAWING;
        }
        m_gpu.Wait(serial);
        m_stream.Recycle();
    }
    return m_gpu.IsLost() ? DXGI_ERROR_DEVICE_REMOVED : S_OK;
}

void Context::MovedBuffer(Buffer& buffer)
{
    m_dirtyOffsets |= buffer.constantStages;
    if (buffer.isBoundAsVertices) {
        m_dirty |= DirtyVertexBuffers;
    }
    if (buffer.isBoundAsIndices) {
        m_dirty |= DirtyIndexBuffer;
    }
    if (buffer.isBoundAsView) {
        m_dirtySets = ~0u;
    }
    buffer.copiedTo = buffer.copiedFrom = 0;
    buffer.copiedSerial = 0;
}

void Context::Rename(Buffer& buffer)
{
    if (buffer.lastUse.load(std::memory_order_relaxed) <= m_gpu.CompletedSerial()) {
        return;
    }
    const std::uint64_t serial = m_stream.Serial();
    if (buffer.renameSerial != serial) {
        buffer.renameSerial = serial;
        buffer.renames = 0;
    }
    constexpr UINT constant = D3D11_BIND_CONSTANT_BUFFER;
    if (++buffer.renames > ShadowRenames && buffer.Size() > ShadowSize && !(buffer.info.bindFlags & constant)) {
        m_stream.RetireSlice(buffer.MoveToShadow());
    } else {
        m_stream.RetireSlice(buffer.Rename(m_stream.AcquireRename(buffer.Size())));
    }
    buffer.state = {};
    // Nobody has used the new place yet, so that a second overwrite stays there.
    buffer.lastUse.store(0, std::memory_order_relaxed);
    MovedBuffer(buffer);
}

HRESULT Context::MapBuffer(Buffer& buffer, D3D11_MAP type, UINT flags, D3D11_MAPPED_SUBRESOURCE& mapped)
{
    if (buffer.Storage() == EBufferStorage::Staging) {
        const HRESULT waited = WaitForHost(buffer, type != D3D11_MAP_READ, flags);
        if (waited != S_OK) {
            return waited;
        }
    } else if (buffer.Storage() == EBufferStorage::Shadow) {
        MovedBuffer(buffer);
    } else if (type == D3D11_MAP_WRITE_DISCARD) {
        Rename(buffer);
    }
    buffer.isMapped = true;
    mapped.pData = buffer.mappedBytes;
    mapped.RowPitch = mapped.DepthPitch = static_cast<UINT>(buffer.Size());
    return S_OK;
}

HRESULT Context::MapStaging(Texture& texture, UINT subresource, D3D11_MAP type, UINT flags,
                            D3D11_MAPPED_SUBRESOURCE& mapped)
{
    const HRESULT waited = WaitForHost(texture, type != D3D11_MAP_READ, flags);
    if (waited != S_OK) {
        return waited;
    }
    texture.MergeFreshPlanes();
    const LinearLayout& layout = texture.StagingLayout(subresource);
    texture.mappings.push_back({subresource, {}});
    mapped.pData = texture.linearBytes + layout.offset;
    mapped.RowPitch = static_cast<UINT>(layout.rowPitch);
    mapped.DepthPitch = static_cast<UINT>(layout.slicePitch);
    return S_OK;
}

HRESULT Context::MapDynamic(Texture& texture, UINT subresource, D3D11_MAPPED_SUBRESOURCE& mapped)
{
    const LinearLayout layout = texture.LayoutOfMip(texture.MipOf(subresource));
    const Slice slice = m_gpu.slices.Acquire(layout.size + CopyStart(texture.Format(), 1));
    texture.mappings.push_back({subresource, slice});
    mapped.pData = slice.mapped + (CopyStart(texture.Format(), slice.offset) - slice.offset);
    mapped.RowPitch = static_cast<UINT>(layout.rowPitch);
    mapped.DepthPitch = static_cast<UINT>(layout.slicePitch);
    return S_OK;
}

HRESULT Context::Map(ID3D11Resource* object, UINT subresource, D3D11_MAP type, UINT flags,
                     D3D11_MAPPED_SUBRESOURCE* mapped)
{
    Resource* resource = ResourceOf(object);
    if (!resource || !mapped) {
        return Refuse(E_INVALIDARG, "ID3D11DeviceContext::Map", "the resource and the result have to be given");
    }
    *mapped = {};
    const bool isBuffer = resource->info.IsBuffer();
    const bool isMapped = isBuffer ? resource->AsBuffer().isMapped : resource->AsTexture().IsMapped(subresource);
    if (const HRESULT result = CheckMap(resource->info, subresource, type, flags, isMapped); FAILED(result)) {
        return result;
    }
    if (m_gpu.IsLost()) {
        return DXGI_ERROR_DEVICE_REMOVED;
    }
    try {
        if (isBuffer) {
            return MapBuffer(resource->AsBuffer(), type, flags, *mapped);
        }
        Texture& texture = resource->AsTexture();
        return texture.IsStaging() ? MapStaging(texture, subresource, type, flags, *mapped)
                                   : MapDynamic(texture, subresource, *mapped);
    } catch (const VulkanError& error) {
        return m_gpu.Report(error, "ID3D11DeviceContext::Map");
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

void Context::Unmap(ID3D11Resource* object, UINT subresource)
{
    Resource* resource = ResourceOf(object);
    if (!resource) {
        return;
    }
    if (resource->info.IsBuffer()) {
        resource->AsBuffer().isMapped = false;
        return;
    }
    Texture& texture = resource->AsTexture();
    for (std::size_t i = 0; i < texture.mappings.size(); ++i) {
        if (texture.mappings[i].subresource != subresource) {
            continue;
        }
        const Slice slice = texture.mappings[i].slice;
        texture.mappings.erase(texture.mappings.begin() + static_cast<std::ptrdiff_t>(i));
        const uint32_t mip = texture.MipOf(subresource);
        if (texture.IsStaging()) {
            SplitPlanes(texture, mip, texture.StagingLayout(subresource), texture.linearBytes);
            return;
        }
        try {
            const VkExtent3D size = texture.MipSize(mip);
            UploadToImage(texture, subresource, {0, 0, 0, size.width, size.height, size.depth}, slice,
                          texture.LayoutOfMip(mip), CopyStart(texture.Format(), slice.offset));
        } catch (const VulkanError& error) {
            m_gpu.Report(error, "ID3D11DeviceContext::Unmap");
        }
        m_stream.RetireSlice(slice);
        SubmitWhenFull("ID3D11DeviceContext::Unmap");
        return;
    }
}

} // namespace gleam
