// Upload and mip levels.
#include "draw/TextureUpload.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/Renderer.h>

#include <algorithm>
#include <bit>

namespace gleamview {

namespace {

unsigned SrgbBit(const PixelView& view, bool isSrgb)
{
    return isSrgb && view.format == gw::FORMAT_RGBA8 ? unsigned(gw::eTextureUsageFlag_SRGB) : 0u;
}

} // namespace

qs::ObjectHandle UploadTexture(const PixelView& view, bool isSrgb)
{
    unsigned bytes = view.GetByteSize();
    return gw::DataLoader::InvokeAddTextureFromMemory(
        view.pixels, view.format, view.width, view.height, 0, 1, &bytes, 1, 1,
        static_cast<gw::ETextureUsageFlag>(gw::eTextureUsageFlag_ShaderResource | SrgbBit(view, isSrgb)),
        gw::eTextureAccessFlag_GPURead);
}

qs::ObjectHandle UploadMippedTexture(gw::Renderer& renderer, const PixelView& view, bool isSrgb)
{
    qs::ObjectHandle top = UploadTexture(view, isSrgb);
    const unsigned levels = static_cast<unsigned>(std::bit_width(std::max(view.width, view.height)));
    const unsigned usage = gw::eTextureUsageFlag_ShaderResource | gw::eTextureUsageFlag_RenderTarget |
                           gw::eTextureUsageFlag_GenerateMips | SrgbBit(view, isSrgb);
    const qs::ObjectHandle mipped = gw::DataLoader::InvokeAddTextureFromMemory(
        nullptr, view.format, view.width, view.height, 0, levels, nullptr, 1, 1,
        static_cast<gw::ETextureUsageFlag>(usage), gw::eTextureAccessFlag_GPURead | gw::eTextureAccessFlag_GPUWrite);
    if (renderer.GetTextureSize(top) != 0 && renderer.GetTextureSize(mipped) != 0) {
        renderer.CopyTextureSlice(top, 0, mipped, 0);
        renderer.GenerateMips(mipped);
    }
    RemoveTextureNow(renderer, top);
    return mipped;
}

void RemoveTextureNow(gw::Renderer& renderer, qs::ObjectHandle& handle)
{
    if (renderer.IsAlive(handle)) {
        renderer.RemoveTexture(handle, true, true);
    }
    handle = qs::ObjectHandle::Unassigned;
}

} // namespace gleamview
