// The end of textures: at once, or delayed while the device may still read them.
#include "Gleamwork/dx11/D3D11Renderer.h"
#include "Gleamwork/dx11/ViewArray.h"
#include "Gleamwork/image/GraphicsBuffer.h"

#include <qs/Log.h>

#include <d3d11.h>

#include <atomic>
#include <utility>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11TextureRemoval";
constexpr char TEXTURE_SCOPE[] = "DX11 Texture";

bool HasAll(unsigned usage, unsigned bits)
{
    return (usage & bits) == bits;
}

std::int64_t ViewCount(const Texture& texture, unsigned slicesAndMips)
{
    const std::int64_t slices = texture.arraySize;
    return HasAll(texture.usage, slicesAndMips) ? slices * texture.mipCount : slices;
}

/// The record keeps its description; the references are someone else's now.
void ForgetReferences(Texture& texture)
{
    texture.resource = nullptr;
    texture.rtv = nullptr;
    texture.dsv = nullptr;
    texture.dsvReadOnly = nullptr;
    texture.uav = nullptr;
    texture.rtvSlices = nullptr;
    texture.dsvSlices = nullptr;
    texture.dsvReadOnlySlices = nullptr;
}

} // namespace

void D3D11Renderer::ClearTexture(Texture& texture)
{
    ReleaseObject(texture.resource);
    ReleaseObject(texture.rtv);
    ReleaseObject(texture.dsv);
    ReleaseObject(texture.dsvReadOnly);
    ReleaseObject(texture.uav);
    DeleteViews(texture.rtvSlices,
                ViewCount(texture, gw::eTextureUsageFlag_RenderTargetSlices | gw::eTextureUsageFlag_RenderTargetMips));
    DeleteViews(texture.dsvSlices, texture.arraySize);
    DeleteViews(texture.dsvReadOnlySlices, texture.arraySize);
}

void D3D11Renderer::ClearSRV(Texture& texture, SRV& srv)
{
    DeleteViews(srv.views, srv.stencilFormat ? 2 : 1);
    DeleteViews(srv.sliceViews, ViewCount(texture, gw::eTextureUsageFlag_ShaderResourceSlices |
                                                       gw::eTextureUsageFlag_ShaderResourceMips));
    srv.format = 0;
    srv.stencilFormat = 0;
}

void D3D11Renderer::RemoveTexture(qs::ObjectHandle handle, bool removeRecord, bool force)
{
    if (!handle.IsValid()) {
        return;
    }
    if (Texture* texture = m_textures.Get(handle)) {
        // A recording thread marks the texture, then looks for its views; here the views go first and the mark is read
        // after. So whoever still found a view has a mark that is seen.
        SRV srv = m_srvs.Take(handle);
        if (m_frameCounter >= texture->keepUntilFrame || force) {
            ClearSRV(*texture, srv);
            ClearTexture(*texture);
        } else {
            TextureRemoveData data;
            data.texture = *texture;
            data.srv = srv;
            qs::ObjectHandle delayed;
            if (!m_delayedRemovals.Add(data, delayed)) {
                m_removalOverflow.push_back(data);
            }
            ForgetReferences(*texture);
        }
        texture->keepUntilFrame = 0;
        UntrackMemory(texture, TEXTURE_SCOPE);
    }
    if (removeRecord) {
        m_textures.Destroy(handle);
        m_srvs.Remove(handle);
    }
}

bool D3D11Renderer::FinishRemoval(TextureRemoveData& data, bool force)
{
    if (m_frameCounter < data.texture.keepUntilFrame && !force) {
        return false;
    }
    ClearSRV(data.texture, data.srv);
    ClearTexture(data.texture);
    return true;
}

void D3D11Renderer::ClearTextures(bool force)
{
    unsigned index = 0;
    while (TextureRemoveData* data = m_delayedRemovals.GetLiveAt(index)) {
        if (FinishRemoval(*data, force)) {
            m_delayedRemovals.Destroy(data->handle); // the list closes up: the next entry is at this index
        } else {
            ++index;
        }
    }
    std::erase_if(m_removalOverflow, [&](TextureRemoveData& data) { return FinishRemoval(data, force); });
    // Threads that record read it.
    std::atomic_ref(m_frameCounter).store(m_frameCounter + 1, std::memory_order_relaxed);
}

void D3D11Renderer::DecreaseMip(qs::ObjectHandle handle, int mip)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::DecreaseMip";
    Texture* texture = m_textures.Get(handle);
    if (!texture) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "[D3D11Renderer::DecreaseMip] Texture no longer found");
        return;
    }
    if (!m_srvs.Find(handle)) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "[D3D11Renderer::DecreaseMip] SRV no longer found - is this texture being removed?");
        return;
    }
    const gw::TextureDimensions current = {std::int32_t(texture->width), std::int32_t(texture->height),
                                           texture->arraySize, texture->mipCount};
    gw::TextureDimensions target;
    target.mipCount = mip;
    const bool isCube = (texture->usage & gw::eTextureUsageFlag_CubeMap) != 0;
    if (!CalculateMipDelta(texture->originalMipCount,
                           gw::image::GetFormatDescription(texture->format).isBlockCompressed, isCube, current,
                           target)) {
        return;
    }
    const qs::ObjectHandle smaller = AddTexture();
    if (!CreateTexture(smaller, gw::GraphicsBuffer::Empty, texture->format, unsigned(target.width),
                       unsigned(target.height), texture->depth, unsigned(target.mipCount),
                       unsigned(texture->originalMipCount), nullptr, unsigned(target.depth), 1, texture->usage,
                       texture->access | gw::eTextureAccessFlag_GPUWrite)) {
        RemoveTexture(smaller, true, false);
        return;
    }
    Texture* smallerTexture = m_textures.Get(smaller);
    CopyMips(*texture, *smallerTexture);
    texture->keepUntilFrame = smallerTexture->keepUntilFrame = m_frameCounter + TEXTURE_REMOVE_DELAY;
    std::swap(*texture, *smallerTexture);
    std::swap(texture->handle, smallerTexture->handle);
    m_srvs.Swap(handle, smaller);
    // The accounting is kept by record, and the records have changed contents.
    for (const Texture* record : {texture, smallerTexture}) {
        UntrackMemory(record, TEXTURE_SCOPE);
        TrackMemory(record, record->sizeInBytes, TEXTURE_SCOPE);
    }
    RemoveTexture(smaller, true, false);
}

// The last mips of `source` fill all of `target`.
void D3D11Renderer::CopyMips(Texture& source, Texture& target)
{
    const int skip = source.mipCount - target.mipCount;
    const int slices = target.arraySize > 1 ? target.arraySize : 1;
    for (int slice = 0; slice < slices; ++slice) {
        for (int mip = 0; mip < target.mipCount; ++mip) {
            CopyTextureSlice(&source, source.mipCount * slice + mip + skip, &target, target.mipCount * slice + mip);
        }
    }
}

} // namespace api
