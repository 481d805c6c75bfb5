// Upload and mip levels.
#include "draw/TextureUpload.h"

#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/Renderer.h>
#include <Gleamwork/image/ImageUtils.h>

#include <algorithm>
#include <bit>
#include <vector>

namespace gleamview {

namespace {

bool IsInBlocks(const PixelView& view)
{
    return gw::image::GetFormatDescription(view.format).isBlockCompressed;
}

unsigned SrgbBit(const PixelView& view, bool isSrgb)
{
    const bool isColor = view.format == gw::FORMAT_RGBA8 || view.format == gw::FORMAT_DXT1 ||
                         view.format == gw::FORMAT_DXT3 || view.format == gw::FORMAT_DXT5 ||
                         view.format == gw::FORMAT_BC7;
    return isSrgb && isColor ? unsigned(gw::eTextureUsageFlag_SRGB) : 0u;
}

std::vector<unsigned> LevelSizes(const PixelView& view)
{
    gw::ImageData level;
    level.width = view.width;
    level.height = view.height;
    level.depth = 1;
    std::vector<unsigned> sizes;
    for (unsigned mip = 0; mip < view.levels; ++mip)
        sizes.push_back(static_cast<unsigned>(gw::image::CalculateMipMapSize(level, mip, 1, view.format)));
    return sizes;
}

} // namespace

qs::ObjectHandle UploadTexture(const PixelView& view, bool isSrgb)
{
    std::vector<unsigned> sizes = LevelSizes(view);
    return gw::DataLoader::InvokeAddTextureFromMemory(
        view.pixels, view.format, view.width, view.height, 0, view.levels, sizes.data(), 1, 1,
        static_cast<gw::ETextureUsageFlag>(gw::eTextureUsageFlag_ShaderResource | SrgbBit(view, isSrgb)),
        gw::eTextureAccessFlag_GPURead);
}

qs::ObjectHandle UploadMippedTexture(gw::Renderer& renderer, const PixelView& view, bool isSrgb)
{
    qs::ObjectHandle top = UploadTexture(view, isSrgb);
    if (IsInBlocks(view)) {
        return top;
    }
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
