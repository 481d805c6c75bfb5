// Makes and destroys views.
#include "vulkan/Views.h"

#include <cstring>

namespace gleam {
namespace {

VkFormat ViewFormat(const Texture& texture, DXGI_FORMAT format)
{
    if (texture.IsDepth()) {
        return texture.ImageFormat();
    }
    const auto found = static_cast<VkFormat>(GetFormatInfo(format).vkFormat);
    return texture.info.swapsRedBlue ? SwapRedBlue(found) : found;
}

SubresourceRange LayersOf(const Texture& texture, const ViewRange& range)
{
    // Depth slices of a 3D texture are one subresource of each mip.
    if (texture.info.dimension == D3D11_RESOURCE_DIMENSION_TEXTURE3D) {
        return {range.firstMip, range.mipCount, 0, 1};
    }
    return {range.firstMip, range.mipCount, range.firstSlice, range.sliceCount};
}

VkComponentMapping Swizzle(DXGI_FORMAT format)
{
    constexpr VkComponentSwizzle zero = VK_COMPONENT_SWIZZLE_ZERO;
    switch (format) {
    case DXGI_FORMAT_A8_UNORM:
        return {zero, zero, zero, VK_COMPONENT_SWIZZLE_R};
    case DXGI_FORMAT_B8G8R8X8_UNORM:
    case DXGI_FORMAT_B8G8R8X8_UNORM_SRGB:
        return {VK_COMPONENT_SWIZZLE_R, VK_COMPONENT_SWIZZLE_G, VK_COMPONENT_SWIZZLE_B, VK_COMPONENT_SWIZZLE_ONE};
    case DXGI_FORMAT_X24_TYPELESS_G8_UINT:
    case DXGI_FORMAT_X32_TYPELESS_G8X24_UINT:
        return {zero, VK_COMPONENT_SWIZZLE_R, zero, VK_COMPONENT_SWIZZLE_ONE};
    default:
        return {};
    }
}

/// The one plane that a shader sees of a depth image.
VkImageAspectFlags SampledAspect(const Texture& texture, DXGI_FORMAT format)
{
    if (!texture.IsDepth()) {
        return VK_IMAGE_ASPECT_COLOR_BIT;
    }
    const FormatInfo& info = GetFormatInfo(format);
    return info.hasStencil && !info.hasDepth ? VK_IMAGE_ASPECT_STENCIL_BIT : VK_IMAGE_ASPECT_DEPTH_BIT;
}

VkImageViewType ShaderViewType(D3D11_SRV_DIMENSION dimension)
{
    switch (dimension) {
    case D3D11_SRV_DIMENSION_TEXTURE1D:
        return VK_IMAGE_VIEW_TYPE_1D;
    case D3D11_SRV_DIMENSION_TEXTURE1DARRAY:
        return VK_IMAGE_VIEW_TYPE_1D_ARRAY;
    case D3D11_SRV_DIMENSION_TEXTURE2DARRAY:
    case D3D11_SRV_DIMENSION_TEXTURE2DMSARRAY:
        return VK_IMAGE_VIEW_TYPE_2D_ARRAY;
    case D3D11_SRV_DIMENSION_TEXTURE3D:
        return VK_IMAGE_VIEW_TYPE_3D;
    case D3D11_SRV_DIMENSION_TEXTURECUBE:
        return VK_IMAGE_VIEW_TYPE_CUBE;
    case D3D11_SRV_DIMENSION_TEXTURECUBEARRAY:
        return VK_IMAGE_VIEW_TYPE_CUBE_ARRAY;
    default:
        return VK_IMAGE_VIEW_TYPE_2D;
    }
}

VkImageViewType UnorderedViewType(D3D11_UAV_DIMENSION dimension)
{
    switch (dimension) {
    case D3D11_UAV_DIMENSION_TEXTURE1D:
        return VK_IMAGE_VIEW_TYPE_1D;
    case D3D11_UAV_DIMENSION_TEXTURE1DARRAY:
        return VK_IMAGE_VIEW_TYPE_1D_ARRAY;
    case D3D11_UAV_DIMENSION_TEXTURE2DARRAY:
        return VK_IMAGE_VIEW_TYPE_2D_ARRAY;
    case D3D11_UAV_DIMENSION_TEXTURE3D:
        return VK_IMAGE_VIEW_TYPE_3D;
    default:
        return VK_IMAGE_VIEW_TYPE_2D;
    }
}

BufferWindow MakeWindow(const ResourceInfo& info, DXGI_FORMAT format, UINT first, UINT count, bool isRaw)
{
    BufferWindow window;
    const FormatInfo& element = GetFormatInfo(format);
    const bool isTyped = format != DXGI_FORMAT_UNKNOWN && !isRaw;
    const VkDeviceSize stride = isRaw ? 4 : isTyped ? element.blockBytes : info.structureByteStride;
    window.kind = isTyped ? EBufferViewKind::Typed : EBufferViewKind::Plain;
    window.format = isTyped ? static_cast<VkFormat>(element.vkFormat) : VK_FORMAT_UNDEFINED;
    window.offset = stride * first;
    window.size = stride * count;
    return window;
}

void CheckAlignment(const Gpu& gpu, const BufferWindow& window)
{
    const VkPhysicalDeviceLimits& limits = gpu.properties.limits;
    const VkDeviceSize alignment = window.kind == EBufferViewKind::Typed ? limits.minTexelBufferOffsetAlignment
                                                                         : limits.minStorageBufferOffsetAlignment;
    if (window.offset % alignment != 0) {
        throw VulkanError{VK_ERROR_FEATURE_NOT_PRESENT, "alignment of the view's first element"};
    }
}

VkImageViewCreateInfo ViewInfo(const Texture& texture, VkImageViewType type, VkFormat format,
                               VkImageAspectFlags aspects, const SubresourceRange& range)
{
    VkImageViewCreateInfo create{VK_STRUCTURE_TYPE_IMAGE_VIEW_CREATE_INFO};
    create.image = texture.image;
    create.viewType = type;
    create.format = format;
    create.subresourceRange = {aspects, range.firstMip, range.mipCount, range.firstLayer, range.layerCount};
    return create;
}

} // namespace

void ViewCore::MakeImageView(const VkImageViewCreateInfo& create)
{
    const Gpu& gpu = resource.gpu;
    Check(gpu.vk.CreateImageView(gpu.device, &create, nullptr, &image), "vkCreateImageView");
}

void ViewCore::RetireImage()
{
    Retired retired;
    retired.imageView = image;
    resource.gpu.Retire(retired, lastUse);
    image = VK_NULL_HANDLE;
}

VkBufferView TexelView::Get(Gpu& gpu, const Buffer& buffer, const BufferWindow& window, std::uint64_t serial)
{
    if (m_view && m_buffer == buffer.handle && m_offset == buffer.offset) {
        m_lastUse = serial;
        return m_view;
    }
    Retire(gpu);
    VkBufferViewCreateInfo create{VK_STRUCTURE_TYPE_BUFFER_VIEW_CREATE_INFO};
    create.buffer = buffer.handle;
    create.format = window.format;
    create.offset = buffer.offset + window.offset;
    create.range = window.size;
    Check(gpu.vk.CreateBufferView(gpu.device, &create, nullptr, &m_view), "vkCreateBufferView");
    m_buffer = buffer.handle;
    m_offset = buffer.offset;
    m_lastUse = serial;
    return m_view;
}

void TexelView::Retire(Gpu& gpu)
{
    if (m_view) {
        Retired retired;
        retired.bufferView = std::exchange(m_view, VK_NULL_HANDLE);
        gpu.Retire(retired, m_lastUse);
    }
}

ShaderResourceView::ShaderResourceView(ID3D11Device* device, Resource& target,
                                       const D3D11_SHADER_RESOURCE_VIEW_DESC& full)
    : ViewObject(device, target, full)
{
    if (target.info.IsBuffer()) {
        const bool isExtended = full.ViewDimension == D3D11_SRV_DIMENSION_BUFFEREX;
        const bool isRaw = isExtended && (full.BufferEx.Flags & D3D11_BUFFEREX_SRV_FLAG_RAW);
        window =
            isExtended
                ? MakeWindow(target.info, full.Format, full.BufferEx.FirstElement, full.BufferEx.NumElements, isRaw)
                : MakeWindow(target.info, full.Format, full.Buffer.FirstElement, full.Buffer.NumElements, false);
        CheckAlignment(target.gpu, window);
        return;
    }
    Texture& texture = target.AsTexture();
    range = LayersOf(texture, RangeOf(target.info, full));
    VkImageViewCreateInfo create =
        ViewInfo(texture, ShaderViewType(full.ViewDimension), ViewFormat(texture, full.Format),
                 SampledAspect(texture, full.Format), range);
    create.components = Swizzle(full.Format);
    const VkImageViewUsageCreateInfo usage{VK_STRUCTURE_TYPE_IMAGE_VIEW_USAGE_CREATE_INFO, nullptr,
                                           VK_IMAGE_USAGE_SAMPLED_BIT};
    create.pNext = &usage;
    MakeImageView(create);
}

void ShaderResourceView::Destroy()
{
    texels.Retire(resource.gpu);
    ViewObject::Destroy();
}

RenderTargetView::RenderTargetView(ID3D11Device* device, Resource& target, const D3D11_RENDER_TARGET_VIEW_DESC& full)
    : ViewObject(device, target, full)
{
    if (target.info.IsBuffer()) {
        throw VulkanError{VK_ERROR_FEATURE_NOT_PRESENT, "render target view of a buffer"};
    }
    Texture& texture = target.AsTexture();
    const ViewRange slices = RangeOf(target.info, full);
    range = LayersOf(texture, slices);
    format = ViewFormat(texture, full.Format);
    extent = {target.info.MipWidth(slices.firstMip), target.info.MipHeight(slices.firstMip)};
    layers = slices.sliceCount;
    VkImageViewCreateInfo create =
        ViewInfo(texture, layers > 1 ? VK_IMAGE_VIEW_TYPE_2D_ARRAY : VK_IMAGE_VIEW_TYPE_2D, format,
                 VK_IMAGE_ASPECT_COLOR_BIT, {slices.firstMip, 1, slices.firstSlice, slices.sliceCount});
    if (target.info.dimension == D3D11_RESOURCE_DIMENSION_TEXTURE1D) {
        create.viewType = layers > 1 ? VK_IMAGE_VIEW_TYPE_1D_ARRAY : VK_IMAGE_VIEW_TYPE_1D;
    }
    const VkImageViewUsageCreateInfo usage{VK_STRUCTURE_TYPE_IMAGE_VIEW_USAGE_CREATE_INFO, nullptr,
                                           VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT};
    create.pNext = &usage;
    MakeImageView(create);
}

DepthStencilView::DepthStencilView(ID3D11Device* device, Resource& target, const D3D11_DEPTH_STENCIL_VIEW_DESC& full)
    : ViewObject(device, target, full)
{
    Texture& texture = target.AsTexture();
    const ViewRange slices = RangeOf(target.info, full);
    range = LayersOf(texture, slices);
    format = texture.ImageFormat();
    aspects = texture.Aspects();
    extent = {target.info.MipWidth(slices.firstMip), target.info.MipHeight(slices.firstMip)};
    layers = slices.sliceCount;
    VkImageViewCreateInfo create =
        ViewInfo(texture, layers > 1 ? VK_IMAGE_VIEW_TYPE_2D_ARRAY : VK_IMAGE_VIEW_TYPE_2D, format, aspects, range);
    if (target.info.dimension == D3D11_RESOURCE_DIMENSION_TEXTURE1D) {
        create.viewType = layers > 1 ? VK_IMAGE_VIEW_TYPE_1D_ARRAY : VK_IMAGE_VIEW_TYPE_1D;
    }
    const VkImageViewUsageCreateInfo usage{VK_STRUCTURE_TYPE_IMAGE_VIEW_USAGE_CREATE_INFO, nullptr,
                                           VK_IMAGE_USAGE_DEPTH_STENCIL_ATTACHMENT_BIT};
    create.pNext = &usage;
    MakeImageView(create);
}

bool DepthStencilView::IsReadOnly() const
{
    const bool depth = !(aspects & VK_IMAGE_ASPECT_DEPTH_BIT) || (desc.Flags & D3D11_DSV_READ_ONLY_DEPTH);
    const bool stencil = !(aspects & VK_IMAGE_ASPECT_STENCIL_BIT) || (desc.Flags & D3D11_DSV_READ_ONLY_STENCIL);
    return depth && stencil;
}

UnorderedAccessView::UnorderedAccessView(ID3D11Device* device, Resource& target,
                                         const D3D11_UNORDERED_ACCESS_VIEW_DESC& full)
    : ViewObject(device, target, full)
{
    if (target.info.IsBuffer()) {
        const UINT flags = full.Buffer.Flags;
        window = MakeWindow(target.info, full.Format, full.Buffer.FirstElement, full.Buffer.NumElements,
                            (flags & D3D11_BUFFER_UAV_FLAG_RAW) != 0);
        CheckAlignment(target.gpu, window);
        if (flags & (D3D11_BUFFER_UAV_FLAG_APPEND | D3D11_BUFFER_UAV_FLAG_COUNTER)) {
            counter = target.gpu.slices.Acquire(sizeof(UINT));
            std::memset(counter.mapped, 0, sizeof(UINT));
        }
        return;
    }
    Texture& texture = target.AsTexture();
    const ViewRange slices = RangeOf(target.info, full);
    range = LayersOf(texture, slices);
    if (full.ViewDimension == D3D11_UAV_DIMENSION_TEXTURE3D && slices.firstSlice != 0) {
        throw VulkanError{VK_ERROR_FEATURE_NOT_PRESENT, "unordered access view that starts inside a 3D texture"};
    }
    VkImageViewCreateInfo create = ViewInfo(texture, UnorderedViewType(full.ViewDimension),
                                            ViewFormat(texture, full.Format), VK_IMAGE_ASPECT_COLOR_BIT, range);
    const VkImageViewUsageCreateInfo usage{VK_STRUCTURE_TYPE_IMAGE_VIEW_USAGE_CREATE_INFO, nullptr,
                                           VK_IMAGE_USAGE_STORAGE_BIT};
    create.pNext = &usage;
    MakeImageView(create);
}

void UnorderedAccessView::Destroy()
{
    Gpu& gpu = resource.gpu;
    texels.Retire(gpu);
    if (counter) {
        Retired retired;
        retired.slice = counter;
        gpu.Retire(retired, counterUse);
    }
    ViewObject::Destroy();
}

} // namespace gleam
