// Textures of all dimensions: images of the device, or for staging textures a mapped buffer laid out in rows.
#pragma once

#include <vector>

#include "vulkan/Resource.h"
#include "vulkan/UploadQueue.h"

namespace gleam {

/// Place of one subresource in a mapped buffer: what callers see, rows of blocks, padded. Formats with depth and
/// stencil have two planes behind that, all depth values (four bytes) and then all stencil values (one byte), since
/// Vulkan copies each by itself; MergePlanes and SplitPlanes go between the two forms.
struct LinearLayout
{
    VkDeviceSize offset = 0;
    VkDeviceSize rowPitch = 0;
    VkDeviceSize slicePitch = 0;
    VkDeviceSize size = 0; ///< planes included
    VkDeviceSize depthPlane = 0;
    VkDeviceSize stencilPlane = 0;
};

/// The format with red and blue changed over, of those that windows have; VK_FORMAT_UNDEFINED for others.
VkFormat SwapRedBlue(VkFormat format);

class Texture : public Resource
{
public:
    /// Throws VulkanError. `data` is null or has an entry for each subresource.
    Texture(const ResourceInfo& info, Gpu& gpu, UploadQueue& uploads, const D3D11_SUBRESOURCE_DATA* data);

    bool HasTwoPlanes() const { return m_aspects == (VK_IMAGE_ASPECT_DEPTH_BIT | VK_IMAGE_ASPECT_STENCIL_BIT); }
    bool IsStaging() const { return info.usage == D3D11_USAGE_STAGING; }
    bool IsDepth() const { return (m_aspects & (VK_IMAGE_ASPECT_DEPTH_BIT | VK_IMAGE_ASPECT_STENCIL_BIT)) != 0; }
    VkImageAspectFlags Aspects() const { return m_aspects; }
    VkFormat ImageFormat() const { return m_vkFormat; }
    const FormatInfo& Format() const { return *m_format; }
    uint32_t Layers() const { return info.arraySize; }

    uint32_t MipOf(UINT subresource) const { return subresource % info.mipLevels; }
    uint32_t LayerOf(UINT subresource) const { return subresource / info.mipLevels; }
    VkExtent3D MipSize(uint32_t mip) const { return {info.MipWidth(mip), info.MipHeight(mip), info.MipDepth(mip)}; }
    SubresourceRange Single(UINT subresource) const { return {MipOf(subresource), 1, LayerOf(subresource), 1}; }
    SubresourceRange Whole() const { return {0, info.mipLevels, 0, info.arraySize}; }

    /// How shaders read it: depth images stay in a layout that read-only attachments share.
    const Access& SampledAccess() const { return IsDepth() ? access::DepthRead : access::Sampled; }

    /// Layout of a subresource in memory that Map hands out and copies go through. Offsets start at 0.
    LinearLayout LayoutOfMip(uint32_t mip) const;
    /// Places of a staging texture's subresources in its buffer.
    const LinearLayout& StagingLayout(UINT subresource) const { return m_layouts[subresource]; }

    VkImage image = VK_NULL_HANDLE;
    ImageTracker tracker;

    // Staging textures only.
    VkBuffer linear = VK_NULL_HANDLE;
    std::byte* linearBytes = nullptr;
    AccessState linearState;
    /// The device wrote planes that are not merged into the packed words yet.
    bool hasFreshPlanes = false;
    void MergeFreshPlanes();

    /// Slices that hold mapped subresources of dynamic textures, with their subresource.
    struct Mapping
    {
        UINT subresource;
        Slice slice;
    };
    std::vector<Mapping> mappings;
    bool IsMapped(UINT subresource) const;

    /// Waits of a clear that is not recorded yet.
    uint32_t pendingClears = 0;

protected:
    void Retire();
    ~Texture() override = default;

private:
    void CreateImage();
    void CreateLinear();
    void Fill(UploadQueue& uploads, const D3D11_SUBRESOURCE_DATA* data);
    void FillLinear(const D3D11_SUBRESOURCE_DATA* data);
    VkImageUsageFlags UsageFlags() const;

    const FormatInfo* m_format;
    VkFormat m_vkFormat = VK_FORMAT_UNDEFINED;
    VkImageAspectFlags m_aspects = VK_IMAGE_ASPECT_COLOR_BIT;
    Allocation m_memory;
    std::vector<LinearLayout> m_layouts;
};

/// Writes rows of `source` into rows of `target`; both are tight in x. Sizes come from the layout of the texture.
void CopyRows(std::byte* target, VkDeviceSize targetRow, VkDeviceSize targetSlice, const std::byte* source,
              VkDeviceSize sourceRow, VkDeviceSize sourceSlice, VkDeviceSize rowBytes, uint32_t rows, uint32_t slices);

/// Copies between an image and a buffer in which the subresource is laid out as `layout`, `base` further on: one, or
/// one for each plane. The buffer side starts at (x, y, z), which is 0 for formats with two planes.
void AppendBufferImageCopies(const Texture& texture, UINT subresource, VkDeviceSize base, const LinearLayout& layout,
                             const CopyBox& box, UINT x, UINT y, UINT z, std::vector<VkBufferImageCopy>& copies);

/// Between the planes that the device copies and the packed words that callers see. `bytes` is where offset 0 of the
/// layout lies.
void MergePlanes(const Texture& texture, uint32_t mip, const LinearLayout& layout, std::byte* bytes);
void SplitPlanes(const Texture& texture, uint32_t mip, const LinearLayout& layout, std::byte* bytes);

/// First place at or behind `offset` where a copy of this format may start.
VkDeviceSize CopyStart(const FormatInfo& format, VkDeviceSize offset);

/// The interface side of a texture.
template <class Interface, class Desc, D3D11_RESOURCE_DIMENSION Dimension, const IID& Iid>
class TextureObject final : public DeviceChild<Interface, IID_ID3D11Resource, Iid>, public Texture
{
public:
    using Base = DeviceChild<Interface, IID_ID3D11Resource, Iid>;

    TextureObject(ID3D11Device* device, Gpu& gpu, UploadQueue& uploads, const Desc& desc, const ResourceInfo& info,
                  const D3D11_SUBRESOURCE_DATA* data)
        : Base(device), Texture(info, gpu, uploads, data), m_desc(desc)
    {
        m_desc.MipLevels = info.mipLevels;
    }

    void STDMETHODCALLTYPE GetType(D3D11_RESOURCE_DIMENSION* dimension) override { *dimension = Dimension; }
    void STDMETHODCALLTYPE SetEvictionPriority(UINT priority) override { m_priority.Set(priority); }
    UINT STDMETHODCALLTYPE GetEvictionPriority() override { return m_priority.Get(); }
    void STDMETHODCALLTYPE GetDesc(Desc* desc) override { *desc = m_desc; }

    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID name, UINT size, const void* data) override
    {
        if (name == WKPDID_D3DDebugObjectName && data && image) {
            gpu.SetName(VK_OBJECT_TYPE_IMAGE, reinterpret_cast<std::uint64_t>(image),
                        std::string(static_cast<const char*>(data), size).c_str());
        }
        return Base::SetPrivateData(name, size, data);
    }

    void AddResourceUse() override { this->AddUse(); }
    void RemoveResourceUse() override { this->RemoveUse(); }
    ID3D11Resource* AsInterface() override { return this; }

protected:
    void Destroy() override
    {
        Retire();
        delete this;
    }

private:
    Desc m_desc;
    EvictionPriority m_priority;
};

using Texture1D =
    TextureObject<ID3D11Texture1D, D3D11_TEXTURE1D_DESC, D3D11_RESOURCE_DIMENSION_TEXTURE1D, IID_ID3D11Texture1D>;
using Texture2D =
    TextureObject<ID3D11Texture2D, D3D11_TEXTURE2D_DESC, D3D11_RESOURCE_DIMENSION_TEXTURE2D, IID_ID3D11Texture2D>;
using Texture3D =
    TextureObject<ID3D11Texture3D, D3D11_TEXTURE3D_DESC, D3D11_RESOURCE_DIMENSION_TEXTURE3D, IID_ID3D11Texture3D>;

} // namespace gleam
