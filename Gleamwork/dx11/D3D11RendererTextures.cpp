// Creation of textures: from memory, from images, from DDS data, and anew in another size.
#include "Gleamwork/dx11/D3D11Renderer.h"
#include "Gleamwork/dx11/TextureCreation.h"
#include "Gleamwork/image/Image.h"

#include <qs/Log.h>

#include <DirectXTex.h>

#include <cstring>
#include <vector>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RendererTextures";
constexpr char CREATE_TEXTURE[] = "api::D3D11Renderer::CreateTexture";

gw::EFormat FormatOfDDS(DXGI_FORMAT format)
{
    switch (format) {
    case DXGI_FORMAT_R8G8B8A8_UNORM:
    case DXGI_FORMAT_R8G8B8A8_UNORM_SRGB:
        return gw::FORMAT_RGBA8;
    case DXGI_FORMAT_BC1_UNORM:
        return gw::FORMAT_DXT1;
    case DXGI_FORMAT_B8G8R8A8_UNORM:
    case DXGI_FORMAT_B8G8R8A8_UNORM_SRGB:
        return gw::FORMAT_BGRA8;
    default:
        QS_LOG_ERROR(FILE_NAME, CREATE_TEXTURE, "Unknown format. Please debug and fix me!");
        return gw::FORMAT_RGBA8;
    }
}

/// Bytes of each mip over all its depth slices and `items` array items.
std::vector<unsigned> MipSizesOfDDS(const DirectX::ScratchImage& image, std::size_t items)
{
    const DirectX::TexMetadata& metadata = image.GetMetadata();
    std::vector<unsigned> sizes;
    std::size_t depth = metadata.depth;
    for (std::size_t mip = 0; mip < metadata.mipLevels; ++mip) {
        const DirectX::Image* picture = image.GetImage(mip, 0, 0);
        sizes.push_back(picture ? unsigned(picture->slicePitch * depth * items) : 0u);
        depth = depth > 1 ? depth / 2 : 1;
    }
    return sizes;
}

} // namespace

qs::ObjectHandle D3D11Renderer::AddTexture()
{
    return AddTexture(Texture());
}

qs::ObjectHandle D3D11Renderer::AddTexture(const Texture& texture)
{
    qs::ObjectHandle handle;
    m_textures.Add(texture, handle);
    return handle;
}

bool D3D11Renderer::CreateTexture(qs::ObjectHandle handle, gw::GraphicsBuffer& mem, gw::EFormat format, unsigned width,
                                  unsigned height, unsigned depth, unsigned mipCount, unsigned originalMipCount,
                                  unsigned* mipSizes, unsigned arraySize, unsigned msaaSamples,
                                  gw::ETextureUsageFlag usage, gw::ETextureAccessFlag access)
{
    if (!handle.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, CREATE_TEXTURE, "CreateTexture failed! texID == TEXTURE_NONE.");
        return false;
    }
    Texture* texture = m_textures.Get(handle);
    if (!texture) {
        return false;
    }
    if (texture->resource) { // created a second time: the first contents go the way of a removed texture
        RemoveTexture(handle, false, false);
    }
    *texture = Texture();
    texture->handle = handle;
    texture->usage = usage;
    texture->access = access;

    const TextureRequest request = {mem,      format,    width,       height, depth, mipCount, originalMipCount,
                                    mipSizes, arraySize, msaaSamples, usage,  access};
    TextureCreation creation(request, *texture);
    if (!creation.CheckDimensions()) {
        return false;
    }
    texture->originalMipCount = std::int32_t(originalMipCount);
    texture->width = width;
    texture->arraySize = std::int32_t(arraySize);
    texture->height = height;
    texture->depth = depth;
    texture->mipCount = std::int32_t(mipCount);
    texture->format = format;
    DxgiFormat viewFormat;
    DxgiFormat stencilViewFormat;
    GetDXGIFormatsFromGWFormat(format, usage, texture->textureFormat, texture->rtvFormat, texture->dsvFormat,
                               texture->uavFormat, viewFormat, stencilViewFormat);
    if (!creation.SettleDescription() || !creation.SettleInitialData() ||
        !creation.CreateResource(m_deviceData.device)) {
        return false;
    }
    texture->sizeInBytes = creation.CalculateSize();
    TrackMemory(texture, texture->sizeInBytes, "DX11 Texture");
    CreateTextureViews(usage, texture, handle, viewFormat, stencilViewFormat);
    if (creation.IsRenderTarget()) {
        ClearNewTarget(*texture);
    }
    return true;
}

// A fresh target holds whatever its memory held before.
void D3D11Renderer::ClearNewTarget(const Texture& texture)
{
    const Vector4f zero(0.0f, 0.0f, 0.0f, 0.0f);
    ClearRenderTarget(texture.handle, -1, zero);
    constexpr unsigned SLICES_AND_MIPS =
        gw::eTextureUsageFlag_RenderTargetSlices | gw::eTextureUsageFlag_RenderTargetMips;
    int views = 0;
    if ((texture.usage & SLICES_AND_MIPS) == SLICES_AND_MIPS) {
        views = texture.arraySize * texture.mipCount;
    } else if ((texture.usage & gw::eTextureUsageFlag_RenderTargetSlices) && texture.arraySize > 1) {
        views = texture.arraySize;
    }
    for (int i = 0; i < views; ++i) {
        ClearRenderTarget(texture.handle, i, zero);
    }
}

void D3D11Renderer::CreateTexture(qs::ObjectHandle handle, gw::Image& image, bool sRGB)
{
    const auto mipCount = unsigned(image.GetMipMapCount());
    std::vector<unsigned> mipSizes;
    for (unsigned mip = 0; mip < mipCount; ++mip) {
        mipSizes.push_back(unsigned(image.GetMipMapSize(mip, 1, gw::FORMAT_NONE)));
    }
    unsigned usage = gw::eTextureUsageFlag_ShaderResource;
    usage |= image.IsCube() ? gw::eTextureUsageFlag_CubeMap : 0;
    usage |= sRGB ? gw::eTextureUsageFlag_SRGB : 0;
    const auto depth = unsigned(image.GetDepth());
    CreateTexture(handle, image.GetBuffer(), image.GetFormat(), unsigned(image.GetWidth()), unsigned(image.GetHeight()),
                  depth == 1 ? 0 : depth, mipCount, unsigned(image.GetOriginalMipCount()), mipSizes.data(), 1, 1,
                  gw::ETextureUsageFlag(usage), gw::eTextureAccessFlag_GPURead);
}

void D3D11Renderer::CreateTexture(qs::ObjectHandle handle, const qs::ScratchBuffer& dds, gw::ETextureUsageFlag usage,
                                  gw::ETextureAccessFlag access)
{
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(dds.GetReadData());
    DirectX::TexMetadata metadata;
    if (FAILED(DirectX::GetMetadataFromDDSMemory(bytes, dds.GetSize(), DirectX::DDS_FLAGS_NONE, metadata))) {
        QS_LOG_ERROR(FILE_NAME, CREATE_TEXTURE, "Can't get metadata for dds in memory!");
        return;
    }
    DirectX::ScratchImage image;
    if (FAILED(DirectX::LoadFromDDSMemory(bytes, dds.GetSize(), DirectX::DDS_FLAGS_NONE, &metadata, image))) {
        QS_LOG_ERROR(FILE_NAME, CREATE_TEXTURE, "Can't get image for dds in memory!");
        return;
    }
    // Of an array only the first item is taken; of a cube all faces, which count as items.
    std::vector<unsigned> mipSizes = MipSizesOfDDS(image, usage & gw::eTextureUsageFlag_CubeMap ? 6 : 1);
    gw::GraphicsBuffer mem;
    mem.CopyData(image.GetPixels(), image.GetPixelsSize());
    const auto mipCount = unsigned(metadata.mipLevels);
    CreateTexture(handle, mem, FormatOfDDS(metadata.format), unsigned(metadata.width), unsigned(metadata.height),
                  metadata.depth == 1 ? 0 : unsigned(metadata.depth), mipCount, mipCount, mipSizes.data(), 1, 1, usage,
                  access);
}

void D3D11Renderer::ResizeRenderTarget(qs::ObjectHandle handle, int width, int height, int depth, int)
{
    const Texture* record = m_textures.Get(handle);
    if (!record) {
        return;
    }
    const Texture old = *record;
    RemoveTexture(handle, false, false);
    const bool isCube = (old.usage & gw::eTextureUsageFlag_CubeMap) != 0;
    constexpr unsigned SLICES_AND_MIPS =
        gw::eTextureUsageFlag_RenderTargetSlices | gw::eTextureUsageFlag_RenderTargetMips;
    const unsigned mipCount = (old.usage & SLICES_AND_MIPS) == SLICES_AND_MIPS ? 0 : 1;
    CreateTexture(handle, gw::GraphicsBuffer::Empty, old.format, unsigned(width), unsigned(height), unsigned(depth),
                  mipCount, mipCount, nullptr, unsigned(isCube ? old.arraySize / 6 : old.arraySize), old.msaaSamples,
                  old.usage, old.access);
}

} // namespace api
