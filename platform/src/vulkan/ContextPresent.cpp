// The way of a back buffer to a window, and of textures that keep red and blue changed over to everything else.
//
// Windows often offer only the other order of channels than the one that was asked for, and converting a picture costs
// more than drawing a simple one. Such a back buffer is kept in the window's order: views, clears and draws do not
// notice, and presenting is a plain copy. Only copies of its bytes have to change the order back.
#include <algorithm>

#include "dxgi/Presenter.h"
#include "vulkan/Context.h"
#include "vulkan/Device.h"
#include "vulkan/WindowSurface.h"

namespace gleam {
namespace {

/// Ready to be shown.
constexpr Access Shown = {VK_PIPELINE_STAGE_2_TRANSFER_BIT, VK_ACCESS_2_NONE, VK_IMAGE_LAYOUT_PRESENT_SRC_KHR, false};

constexpr VkImageSubresourceRange WholeColor = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 1, 0, 1};
constexpr VkImageSubresourceLayers ColorLayer = {VK_IMAGE_ASPECT_COLOR_BIT, 0, 0, 1};

VkOffset3D Corner(uint32_t x, uint32_t y, int32_t z)
{
    return {static_cast<int32_t>(x), static_cast<int32_t>(y), z};
}

/// Where in the window the picture goes, and which part of it.
struct Placement
{
    VkOffset3D from[2];
    VkOffset3D to[2];

    bool Covers(const VkExtent2D& window) const
    {
        return to[0].x == 0 && to[0].y == 0 && to[1].x == static_cast<int32_t>(window.width) &&
               to[1].y == static_cast<int32_t>(window.height);
    }
};

Placement Place(uint32_t width, uint32_t height, const VkExtent2D& window, DXGI_SCALING scaling)
{
    Placement place{{Corner(0, 0, 0), Corner(width, height, 1)},
                    {Corner(0, 0, 0), Corner(window.width, window.height, 1)}};
    if (scaling == DXGI_SCALING_NONE) {
        const uint32_t w = std::min(width, window.width);
        const uint32_t h = std::min(height, window.height);
        place.from[1] = place.to[1] = Corner(w, h, 1);
    } else if (scaling == DXGI_SCALING_ASPECT_RATIO_STRETCH) {
        const std::uint64_t wide = std::uint64_t(window.height) * width / height;
        const uint32_t w = static_cast<uint32_t>(std::clamp<std::uint64_t>(wide, 1, window.width));
        const uint32_t h = static_cast<uint32_t>(
            std::clamp<std::uint64_t>(std::uint64_t(window.width) * height / width, 1, window.height));
        const uint32_t x = (window.width - w) / 2;
        const uint32_t y = (window.height - h) / 2;
        place.to[0] = Corner(x, y, 0);
        place.to[1] = Corner(x + w, y + h, 1);
    }
    return place;
}

} // namespace

void Context::Unbind(Resource& resource, bool everywhere)
{
    const auto isOf = [&](const ViewCore* view) { return view && &view->resource == &resource; };
    for (UINT slot = 0; slot < m_state.targets.size(); ++slot) {
        if (isOf(m_state.targets[slot])) {
            BindTarget(slot, nullptr);
        }
    }
    if (!everywhere) {
        return;
    }
    // Clears that nobody will see, and the views that wait with them.
    std::erase_if(m_clears, [&](PendingClear& clear) {
        const bool drops = isOf(&clear.View());
        if (drops) {
            DropClear(clear);
        }
        return drops;
    });
    for (unsigned stage = 0; stage < StageCount; ++stage) {
        for (uint32_t slot = m_state.stages[stage].resourceEnd; slot-- > 0;) {
            if (isOf(m_state.stages[stage].resources[slot])) {
                BindResource(static_cast<EStage>(stage), slot, nullptr);
            }
        }
    }
    for (const bool isCompute : {false, true}) {
        auto& slots = isCompute ? m_state.computeViews : m_state.pixelViews;
        for (uint32_t slot = isCompute ? m_state.computeViewEnd : m_state.pixelViewEnd; slot-- > 0;) {
            if (isOf(slots[slot])) {
                BindUnordered(isCompute, slot, nullptr, nullptr);
            }
        }
    }
}

/// The texture itself, or for several samples a new one of one sample, which `holder` keeps.
Texture& Context::Resolved(Texture& texture, ComPtr<ID3D11Texture2D>& holder)
{
    if (texture.info.sampleCount == 1) {
        return texture;
    }
    holder = MakePlainTwin(texture, texture.info.width, texture.info.height);
    ResolveSubresource(holder.Get(), 0, texture.AsInterface(), 0, texture.info.format);
    return ResourceOf(holder.Get())->AsTexture();
}

/// The clear that is all that the texture holds, when it means the same in an image of this format.
const Context::PendingClear* Context::FindWholeClear(const Texture& texture, VkFormat format) const
{
    if (texture.pendingClears != 1 || texture.ImageFormat() != format) {
        return nullptr;
    }
    const auto found = std::find_if(m_clears.begin(), m_clears.end(), [&](const PendingClear& clear) {
        return clear.color && &clear.color->resource == &texture && clear.color->format == format;
    });
    return found != m_clears.end() ? &*found : nullptr;
}

void Context::CopyToWindow(Texture& source, const WindowImage& to, const PresentRequest& request)
{
    const Placement place = Place(source.info.width, source.info.height, to.extent, request.scaling);
    // The semaphore lets this stage begin; what the image showed before does not matter.
    const Dependency before{VK_PIPELINE_STAGE_2_TRANSFER_BIT, 0, VK_IMAGE_LAYOUT_UNDEFINED};
    const Dependency written{VK_PIPELINE_STAGE_2_TRANSFER_BIT, VK_ACCESS_2_TRANSFER_WRITE_BIT,
                             VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL};
    const auto clearWindow = [&](const VkClearColorValue& value) {
        m_vk.CmdClearColorImage(OutsidePass(), to.image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, &value, 1, &WholeColor);
    };
    if (const PendingClear* clear = FindWholeClear(source, to.format); clear && place.Covers(to.extent)) {
        m_barriers.AddImage(to.image, WholeColor, before, access::CopyWrite);
        clearWindow(clear->value.color);
        m_barriers.AddImage(to.image, WholeColor, written, Shown);
        m_dirty |= DirtyHazards;
        return;
    }
    FlushClearsOf(source);
    ComPtr<ID3D11Texture2D> holder;
    Texture& from = Resolved(source, holder);
    UseTexture(from, from.Whole(), access::CopyRead);
    m_barriers.AddImage(to.image, WholeColor, before, access::CopyWrite);
    if (!place.Covers(to.extent)) {
        const DXGI_RGBA& color = request.background;
        clearWindow({{color.r, color.g, color.b, color.a}});
        m_barriers.AddImage(to.image, WholeColor, written, access::CopyWrite);
    }
    CopyPicture(from, to, place.from, place.to);
    m_barriers.AddImage(to.image, WholeColor, written, Shown);
    m_dirty |= DirtyHazards;
}

/// Between images that are ready for it; the corners are those of the picture and of its place.
void Context::CopyPicture(Texture& from, const WindowImage& to, const VkOffset3D (&source)[2],
                          const VkOffset3D (&place)[2])
{
    const bool isPlain = source[1].x == place[1].x - place[0].x && source[1].y == place[1].y - place[0].y;
    if (isPlain && from.ImageFormat() == to.format) {
        const VkExtent3D size{static_cast<uint32_t>(source[1].x), static_cast<uint32_t>(source[1].y), 1};
        const VkImageCopy copy{ColorLayer, source[0], ColorLayer, place[0], size};
        m_vk.CmdCopyImage(OutsidePass(), from.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, to.image,
                          VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &copy);
        return;
    }
    const VkImageBlit blit{ColorLayer, {source[0], source[1]}, ColorLayer, {place[0], place[1]}};
    m_vk.CmdBlitImage(OutsidePass(), from.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, to.image,
                      VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &blit, isPlain ? VK_FILTER_NEAREST : VK_FILTER_LINEAR);
}

/// A plain texture of one sample, with the channels in the order that the format says.
ComPtr<ID3D11Texture2D> Context::MakePlainTwin(const Texture& texture, UINT width, UINT height)
{
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = width;
    desc.Height = height;
    desc.MipLevels = 1;
    desc.ArraySize = 1;
    desc.Format = texture.info.format;
    desc.SampleDesc.Count = 1;
    desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    ComPtr<ID3D11Texture2D> twin;
    if (FAILED(m_owner.CreateTexture2D(&desc, nullptr, twin.Put()))) {
        throw VulkanError{VK_ERROR_OUT_OF_DEVICE_MEMORY, "intermediate texture of a copy"};
    }
    return twin;
}

// Bytes in the order of the format go through a texture that has it.
void Context::CopyThroughTwin(Resource& target, UINT targetSubresource, UINT x, UINT y, UINT z, Resource& source,
                              UINT sourceSubresource, const CopyBox& region)
{
    Texture& to = target.AsTexture();
    Texture& from = source.AsTexture();
    const ComPtr<ID3D11Texture2D> twin = MakePlainTwin(from.info.swapsRedBlue ? from : to, region.width, region.height);
    Texture& plain = ResourceOf(twin.Get())->AsTexture();
    const CopyBox whole{0, 0, 0, region.width, region.height, 1};
    if (from.info.swapsRedBlue) {
        BlitImages(plain, 0, 0, from, region.x, region.y, region.width, region.height);
    } else {
        CopyRegion(plain, 0, 0, 0, 0, source, sourceSubresource, region);
    }
    if (to.info.swapsRedBlue) {
        BlitImages(to, x, y, plain, 0, 0, region.width, region.height);
    } else {
        CopyRegion(target, targetSubresource, x, y, z, plain, 0, whole);
    }
}

void Context::BlitImages(Texture& target, UINT x, UINT y, Texture& source, UINT sourceX, UINT sourceY, UINT width,
                         UINT height)
{
    FlushClearsOf(target);
    FlushClearsOf(source);
    UseTexture(source, source.Single(0), access::CopyRead);
    UseTexture(target, target.Single(0), access::CopyWrite);
    target.lastWrite = m_stream.Serial();
    VkImageBlit blit{ColorLayer,
                     {Corner(sourceX, sourceY, 0), Corner(sourceX + width, sourceY + height, 1)},
                     ColorLayer,
                     {Corner(x, y, 0), Corner(x + width, y + height, 1)}};
    m_vk.CmdBlitImage(OutsidePass(), source.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, target.image,
                      VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &blit, VK_FILTER_NEAREST);
    m_dirty |= DirtyHazards;
}

} // namespace gleam
