// Makes and destroys textures and brings in their first contents.
#include "vulkan/Texture.h"

#include <cstring>
#include <numeric>

namespace gleam {
namespace {

constexpr VkDeviceSize PitchAlignment = 64;

VkImageType ImageType(D3D11_RESOURCE_DIMENSION dimension)
{
    switch (dimension) {
    case D3D11_RESOURCE_DIMENSION_TEXTURE1D:
        return VK_IMAGE_TYPE_1D;
    case D3D11_RESOURCE_DIMENSION_TEXTURE3D:
        return VK_IMAGE_TYPE_3D;
    default:
        return VK_IMAGE_TYPE_2D;
    }
}

bool SupportsOptimal(const Gpu& gpu, VkFormat format, VkFormatFeatureFlags features)
{
    return (gpu.FormatProperties(format).optimalTilingFeatures & features) == features;
}

VkFormat ChooseFormat(const Gpu& gpu, const FormatInfo& format, const ResourceInfo& info)
{
    const bool isDepth = (info.bindFlags & D3D11_BIND_DEPTH_STENCIL) != 0 || format.vkFormat == 0;
    const auto chosen = static_cast<VkFormat>(isDepth ? format.vkDepthFormat : format.vkFormat);
    if (info.swapsRedBlue) {
        return SwapRedBlue(chosen);
    }
    // Some devices have no 24-bit depth; the next larger form keeps every value.
    if (chosen == VK_FORMAT_D24_UNORM_S8_UINT &&
        !SupportsOptimal(gpu, chosen, VK_FORMAT_FEATURE_DEPTH_STENCIL_ATTACHMENT_BIT)) {
        return VK_FORMAT_D32_SFLOAT_S8_UINT;
    }
    return chosen;
}

VkImageAspectFlags AspectsOf(VkFormat format)
{
    switch (format) {
    case VK_FORMAT_D16_UNORM:
    case VK_FORMAT_D32_SFLOAT:
    case VK_FORMAT_X8_D24_UNORM_PACK32:
        return VK_IMAGE_ASPECT_DEPTH_BIT;
    case VK_FORMAT_D24_UNORM_S8_UINT:
    case VK_FORMAT_D32_SFLOAT_S8_UINT:
        return VK_IMAGE_ASPECT_DEPTH_BIT | VK_IMAGE_ASPECT_STENCIL_BIT;
    default:
        return VK_IMAGE_ASPECT_COLOR_BIT;
    }
}

} // namespace

VkFormat SwapRedBlue(VkFormat format)
{
    switch (format) {
    case VK_FORMAT_R8G8B8A8_UNORM:
        return VK_FORMAT_B8G8R8A8_UNORM;
    case VK_FORMAT_B8G8R8A8_UNORM:
        return VK_FORMAT_R8G8B8A8_UNORM;
    case VK_FORMAT_R8G8B8A8_SRGB:
        return VK_FORMAT_B8G8R8A8_SRGB;
    case VK_FORMAT_B8G8R8A8_SRGB:
        return VK_FORMAT_R8G8B8A8_SRGB;
    case VK_FORMAT_A2B10G10R10_UNORM_PACK32:
        return VK_FORMAT_A2R10G10B10_UNORM_PACK32;
    case VK_FORMAT_A2R10G10B10_UNORM_PACK32:
        return VK_FORMAT_A2B10G10R10_UNORM_PACK32;
    default:
        return VK_FORMAT_UNDEFINED;
    }
}

VkDeviceSize CopyStart(const FormatInfo& format, VkDeviceSize offset)
{
    const VkDeviceSize step = std::lcm<VkDeviceSize>(4, std::max<VkDeviceSize>(format.blockBytes, 1));
    return (offset + step - 1) / step * step;
}

Texture::Texture(const ResourceInfo& description, Gpu& owner, UploadQueue& uploads, const D3D11_SUBRESOURCE_DATA* data)
    : Resource(description, owner), m_format(&GetFormatInfo(description.format)),
      m_vkFormat(ChooseFormat(owner, *m_format, description)), m_aspects(AspectsOf(m_vkFormat))
{
    if (m_vkFormat == VK_FORMAT_UNDEFINED) {
        throw VulkanError{VK_ERROR_FORMAT_NOT_SUPPORTED, "format without a Vulkan form"};
    }
    try {
        if (IsStaging()) {
            CreateLinear();
            if (data) {
                FillLinear(data);
            }
        } else {
            CreateImage();
            tracker.Init(info.mipLevels, info.arraySize);
            if (data) {
                Fill(uploads, data);
            }
        }
    } catch (...) {
        gpu.vk.DestroyImage(gpu.device, image, nullptr);
        gpu.vk.DestroyBuffer(gpu.device, linear, nullptr);
        gpu.memory.Free(m_memory);
        throw;
    }
}

VkImageUsageFlags Texture::UsageFlags() const
{
    VkImageUsageFlags flags = VK_IMAGE_USAGE_TRANSFER_SRC_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT;
    const std::pair<UINT, VkImageUsageFlags> binds[] = {
        {D3D11_BIND_SHADER_RESOURCE, VK_IMAGE_USAGE_SAMPLED_BIT},
        {D3D11_BIND_RENDER_TARGET, VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT},
        {D3D11_BIND_DEPTH_STENCIL, VK_IMAGE_USAGE_DEPTH_STENCIL_ATTACHMENT_BIT},
        {D3D11_BIND_UNORDERED_ACCESS, VK_IMAGE_USAGE_STORAGE_BIT},
    };
    for (const auto& [bind, usage] : binds) {
        flags |= info.bindFlags & bind ? usage : 0;
    }
    return flags;
}

void Texture::CreateImage()
{
    VkImageCreateInfo create{VK_STRUCTURE_TYPE_IMAGE_CREATE_INFO};
    create.imageType = ImageType(info.dimension);
    create.format = m_vkFormat;
    create.extent = {info.width, info.height, info.depth};
    create.mipLevels = info.mipLevels;
    create.arrayLayers = info.arraySize;
    create.samples = static_cast<VkSampleCountFlagBits>(info.sampleCount);
    create.tiling = VK_IMAGE_TILING_OPTIMAL;
    create.usage = UsageFlags();
    if (m_format->IsTypeless() && !IsDepth()) {
        create.flags |= VK_IMAGE_CREATE_MUTABLE_FORMAT_BIT | VK_IMAGE_CREATE_EXTENDED_USAGE_BIT;
    }
    if (info.miscFlags & D3D11_RESOURCE_MISC_TEXTURECUBE) {
        create.flags |= VK_IMAGE_CREATE_CUBE_COMPATIBLE_BIT;
    }
    if (create.imageType == VK_IMAGE_TYPE_3D && (info.bindFlags & D3D11_BIND_RENDER_TARGET)) {
        create.flags |= VK_IMAGE_CREATE_2D_ARRAY_COMPATIBLE_BIT;
    }
    VkPhysicalDeviceImageFormatInfo2 query{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_IMAGE_FORMAT_INFO_2};
    query.format = create.format;
    query.type = create.imageType;
    query.tiling = create.tiling;
    query.usage = create.usage;
    query.flags = create.flags;
    VkImageFormatProperties2 limits{VK_STRUCTURE_TYPE_IMAGE_FORMAT_PROPERTIES_2};
    Check(gpu.InstanceVk().GetPhysicalDeviceImageFormatProperties2(gpu.physicalDevice, &query, &limits),
          "vkGetPhysicalDeviceImageFormatProperties2");
    const VkImageFormatProperties& most = limits.imageFormatProperties;
    if (!(most.sampleCounts & create.samples) || create.extent.width > most.maxExtent.width ||
        create.extent.height > most.maxExtent.height || create.extent.depth > most.maxExtent.depth ||
        create.mipLevels > most.maxMipLevels || create.arrayLayers > most.maxArrayLayers) {
        throw VulkanError{VK_ERROR_FORMAT_NOT_SUPPORTED, "vkGetPhysicalDeviceImageFormatProperties2"};
    }
    std::uint64_t bytes = 0;
    for (UINT subresource = 0; subresource < info.SubresourceCount(); ++subresource) {
        bytes += LayoutOf(info, subresource).Bytes() * info.sampleCount;
    }
    if (bytes > most.maxResourceSize) {
        throw VulkanError{VK_ERROR_OUT_OF_DEVICE_MEMORY, "vkGetPhysicalDeviceImageFormatProperties2"};
    }
    Check(gpu.vk.CreateImage(gpu.device, &create, nullptr, &image), "vkCreateImage");
    VkMemoryRequirements requirements;
    gpu.vk.GetImageMemoryRequirements(gpu.device, image, &requirements);
    m_memory = gpu.memory.Allocate(requirements, EMemoryUse::Device, EMemoryKind::Image);
    Check(gpu.vk.BindImageMemory(gpu.device, image, m_memory.memory, m_memory.offset), "vkBindImageMemory");
}

LinearLayout Texture::LayoutOfMip(uint32_t mip) const
{
    const VkExtent3D size = MipSize(mip);
    LinearLayout layout;
    layout.rowPitch = RowBytes(*m_format, size.width);
    if (PitchAlignment % m_format->blockBytes == 0) {
        layout.rowPitch = (layout.rowPitch + PitchAlignment - 1) / PitchAlignment * PitchAlignment;
    }
    layout.slicePitch = layout.rowPitch * RowCount(*m_format, size.height);
    layout.size = layout.slicePitch * size.depth;
    if (HasTwoPlanes()) {
        const VkDeviceSize texels = VkDeviceSize(size.width) * size.height;
        layout.depthPlane = layout.size;
        layout.stencilPlane = layout.depthPlane + texels * 4;
        layout.size = (layout.stencilPlane + texels + 3) / 4 * 4;
    }
    return layout;
}

void Texture::CreateLinear()
{
    VkDeviceSize bytes = 0;
    for (UINT subresource = 0; subresource < info.SubresourceCount(); ++subresource) {
        LinearLayout layout = LayoutOfMip(MipOf(subresource));
        bytes = CopyStart(*m_format, bytes);
        layout.offset = bytes;
        bytes += layout.size;
        m_layouts.push_back(layout);
    }
    VkBufferCreateInfo create{VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
    create.size = (bytes + 3) / 4 * 4;
    create.usage = VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT;
    Check(gpu.vk.CreateBuffer(gpu.device, &create, nullptr, &linear), "vkCreateBuffer");
    VkMemoryRequirements requirements;
    gpu.vk.GetBufferMemoryRequirements(gpu.device, linear, &requirements);
    m_memory = gpu.memory.Allocate(requirements, EMemoryUse::Readback, EMemoryKind::Buffer);
    Check(gpu.vk.BindBufferMemory(gpu.device, linear, m_memory.memory, m_memory.offset), "vkBindBufferMemory");
    linearBytes = m_memory.mapped;
}

void CopyRows(std::byte* target, VkDeviceSize targetRow, VkDeviceSize targetSlice, const std::byte* source,
              VkDeviceSize sourceRow, VkDeviceSize sourceSlice, VkDeviceSize rowBytes, uint32_t rows, uint32_t slices)
{
    for (uint32_t z = 0; z < slices; ++z) {
        std::byte* to = target + z * targetSlice;
        const std::byte* from = source + z * sourceSlice;
        if (targetRow == sourceRow && targetRow == rowBytes) {
            std::memcpy(to, from, rowBytes * rows);
            continue;
        }
        for (uint32_t y = 0; y < rows; ++y) {
            std::memcpy(to + y * targetRow, from + y * sourceRow, rowBytes);
        }
    }
}

void Texture::FillLinear(const D3D11_SUBRESOURCE_DATA* data)
{
    for (UINT subresource = 0; subresource < info.SubresourceCount(); ++subresource) {
        const LinearLayout& layout = m_layouts[subresource];
        const SubresourceLayout tight = LayoutOf(info, subresource);
        const D3D11_SUBRESOURCE_DATA& source = data[subresource];
        CopyRows(linearBytes + layout.offset, layout.rowPitch, layout.slicePitch,
                 static_cast<const std::byte*>(source.pSysMem), source.SysMemPitch, source.SysMemSlicePitch,
                 tight.rowBytes, tight.rows, tight.slices);
        SplitPlanes(*this, MipOf(subresource), layout, linearBytes);
    }
}

void Texture::Fill(UploadQueue& uploads, const D3D11_SUBRESOURCE_DATA* data)
{
    std::vector<LinearLayout> layouts;
    VkDeviceSize bytes = 0;
    for (UINT subresource = 0; subresource < info.SubresourceCount(); ++subresource) {
        layouts.push_back(LayoutOfMip(MipOf(subresource)));
        layouts.back().offset = CopyStart(*m_format, bytes);
        bytes = layouts.back().offset + layouts.back().size;
    }
    const Slice slice = gpu.slices.Acquire(bytes + CopyStart(*m_format, 1));
    const VkDeviceSize base = CopyStart(*m_format, slice.offset);
    std::byte* mapped = slice.mapped + (base - slice.offset);
    std::vector<VkBufferImageCopy> copies;
    for (UINT subresource = 0; subresource < info.SubresourceCount(); ++subresource) {
        const LinearLayout& layout = layouts[subresource];
        const SubresourceLayout tight = LayoutOf(info, subresource);
        const D3D11_SUBRESOURCE_DATA& source = data[subresource];
        CopyRows(mapped + layout.offset, layout.rowPitch, layout.slicePitch,
                 static_cast<const std::byte*>(source.pSysMem), source.SysMemPitch, source.SysMemSlicePitch,
                 tight.rowBytes, tight.rows, tight.slices);
        SplitPlanes(*this, MipOf(subresource), layout, mapped);
        const VkExtent3D size = MipSize(MipOf(subresource));
        AppendBufferImageCopies(*this, subresource, base, layout, {0, 0, 0, size.width, size.height, size.depth}, 0, 0,
                                0, copies);
    }
    const Access& after = info.bindFlags & D3D11_BIND_SHADER_RESOURCE ? SampledAccess() : access::CopyRead;
    uploads.AddImage(slice, image, m_aspects, copies, after);
    tracker.Reset({after.stages, 0, after.stages, after.access, after.layout});
    // The queue may miss the submission that is just being made.
    lastUse = gpu.RecordingSerial() + 1;
}

bool Texture::IsMapped(UINT subresource) const
{
    for (const Mapping& mapping : mappings) {
        if (mapping.subresource == subresource) {
            return true;
        }
    }
    return false;
}

void Texture::Retire()
{
    Retired retired;
    retired.image = image;
    retired.buffer = linear;
    retired.memory = m_memory;
    gpu.Retire(retired, lastUse);
    for (const Mapping& mapping : mappings) {
        if (mapping.slice) {
            gpu.slices.Release(mapping.slice);
        }
    }
}

} // namespace gleam
