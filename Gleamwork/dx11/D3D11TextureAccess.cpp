// Queries, maps and copies of live textures.
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/Log.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11TextureAccess";

} // namespace

unsigned D3D11Renderer::GetTextureSize(qs::ObjectHandle handle)
{
    const Texture* texture = m_textures.Get(handle);
    return texture && texture->resource ? texture->sizeInBytes : 0;
}

void D3D11Renderer::GetTextureDimensions(qs::ObjectHandle handle, unsigned& width, unsigned& height,
                                         unsigned& depth) const
{
    const Texture* texture = m_textures.Get(handle);
    width = texture ? texture->width : 0;
    height = texture ? texture->height : 0;
    depth = texture ? texture->depth : 0;
}

bool D3D11Renderer::IsAlive(qs::ObjectHandle handle) const
{
    return m_textures.IsAlive(handle);
}

gw::EFormat D3D11Renderer::GetFormat(qs::ObjectHandle handle) const
{
    if (const Texture* texture = m_textures.Get(handle)) {
        return texture->format;
    }
    QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::GetFormat", "Invalid TextureID: %llu",
                  static_cast<unsigned long long>(handle.GetValue()));
    return gw::FORMAT_NONE;
}

gw::ETextureUsageFlag D3D11Renderer::GetUsageFlags(qs::ObjectHandle handle)
{
    const Texture* texture = m_textures.Get(handle);
    return texture ? texture->usage : gw::ETextureUsageFlag(0);
}

gw::ETextureAccessFlag D3D11Renderer::GetAccessFlags(qs::ObjectHandle handle)
{
    const Texture* texture = m_textures.Get(handle);
    return texture ? texture->access : gw::eTextureAccessFlag_GPURead;
}

int D3D11Renderer::GetNumMipMaps(qs::ObjectHandle handle) const
{
    const Texture* texture = m_textures.Get(handle);
    return texture ? texture->mipCount : 1;
}

Texture* D3D11Renderer::GetTextureById(qs::ObjectHandle handle)
{
    return m_textures.Get(handle);
}

qs::ObjectHandle D3D11Renderer::GetTextureHandleById(unsigned short index) const
{
    if (const Texture* texture = m_textures.GetLiveAt(index)) {
        return texture->handle;
    }
    QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::GetTextureHandleById", "Index %u out of range.", unsigned(index));
    return TEXTURE_NONE;
}

bool D3D11Renderer::LockTexture(const qs::ObjectHandle& handle, unsigned mip, void** data, int* pitch,
                                gw::EResourceAccess access)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::LockTexture";
    if (mip != 0) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "D3D11Renderer::LockTexture mipLevel not yet implemented!");
        return false;
    }
    const Texture* texture = m_textures.Get(handle);
    if (!texture || !texture->resource) {
        return false;
    }
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    const HRESULT hr = m_deviceData.context->Map(texture->resource, 0, GetD3D11MapType(access), 0, &mapped);
    if (FAILED(hr)) {
        GW_ASSERT_DEVICE_ERROR(FILE_NAME, FUNCTION, "ID3D11DeviceContext::Map failed!\nError: %s\nDescription: %s", hr);
        return false;
    }
    *data = mapped.pData;
    if (pitch) {
        *pitch = int(mapped.RowPitch);
    }
    return true;
}

bool D3D11Renderer::UnlockTexture(const qs::ObjectHandle& handle, unsigned mip)
{
    if (mip != 0) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::UnlockTexture",
                      "D3D11Renderer::UnlockTexture mipLevel not yet implemented!");
        return false;
    }
    const Texture* texture = m_textures.Get(handle);
    if (texture && texture->resource) {
        m_deviceData.context->Unmap(texture->resource, 0);
    }
    return true;
}

int D3D11Renderer::GetTexturePitch(qs::ObjectHandle handle, unsigned)
{
    const Texture* texture = m_textures.Get(handle);
    if (!texture || !texture->resource) {
        return 0;
    }
    ID3D11DeviceContext* context = m_deviceData.context;
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    if (FAILED(context->Map(texture->resource, 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped)) &&
        FAILED(context->Map(texture->resource, 0, D3D11_MAP_READ_WRITE, 0, &mapped))) {
        return 0;
    }
    context->Unmap(texture->resource, 0);
    return int(mapped.RowPitch);
}

void D3D11Renderer::CopyTexture(qs::ObjectHandle src, qs::ObjectHandle dst)
{
    if (!src.IsValid() || !dst.IsValid()) {
        return;
    }
    const Texture* source = m_textures.Get(src);
    const Texture* target = m_textures.Get(dst);
    if (source && target && source->resource && target->resource) {
        m_deviceData.context->CopyResource(target->resource, source->resource);
    }
}

void D3D11Renderer::CopyTextureSlice(qs::ObjectHandle src, int srcSub, qs::ObjectHandle dst, int dstSub)
{
    if (!src.IsValid() || !dst.IsValid()) {
        return;
    }
    CopyTextureSlice(m_textures.Get(src), srcSub, m_textures.Get(dst), dstSub);
}

void D3D11Renderer::CopyTextureSlice(Texture* src, int srcSub, Texture* dst, int dstSub)
{
    if (!src || !dst || !src->resource || !dst->resource) {
        return;
    }
    const auto isInside = [](const Texture& texture, int sub) {
        return sub >= 0 && sub < std::int64_t(texture.mipCount) * texture.arraySize;
    };
    if (!isInside(*src, srcSub) || !isInside(*dst, dstSub)) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::CopyTextureSlice", "Subresource index out of bounds.");
        return;
    }
    m_deviceData.context->CopySubresourceRegion(dst->resource, UINT(dstSub), 0, 0, 0, src->resource, UINT(srcSub),
                                                nullptr);
}

void D3D11Renderer::GenerateMips(const qs::ObjectHandle& handle)
{
    if (!handle.IsValid()) {
        return;
    }
    const SRV* srv = m_srvs.Find(handle);
    if (srv && srv->views && srv->views[0]) {
        m_deviceData.context->GenerateMips(srv->views[0]);
    }
}

} // namespace api
