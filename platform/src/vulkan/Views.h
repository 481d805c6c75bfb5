// Views: how shaders and the output stage see resources.
#pragma once

#include "vulkan/Buffer.h"
#include "vulkan/Texture.h"

namespace gleam {

/// What all views share: the resource they hold, the part of it, and its image view.
class ViewCore
{
public:
    explicit ViewCore(Resource& target) : resource(target) { resource.AddResourceUse(); }
    ViewCore(const ViewCore&) = delete;
    ViewCore& operator=(const ViewCore&) = delete;

    Resource& resource;
    SubresourceRange range;
    VkImageView image = VK_NULL_HANDLE;
    /// The submission that last had it in a descriptor or an attachment. Context thread.
    std::uint64_t lastUse = 0;

    void MarkUsed(std::uint64_t serial) { lastUse = serial; }
    bool Overlaps(const ViewCore& other) const { return &resource == &other.resource && range.Overlaps(other.range); }

protected:
    ~ViewCore() { resource.RemoveResourceUse(); }
    void RetireImage();
    void MakeImageView(const VkImageViewCreateInfo& create);
};

/// How a buffer view reaches its elements.
enum class EBufferViewKind : std::uint8_t
{
    None,
    Typed, ///< texel buffer
    Plain  ///< storage buffer
};

/// The part of a buffer that a view covers, in bytes.
struct BufferWindow
{
    EBufferViewKind kind = EBufferViewKind::None;
    VkDeviceSize offset = 0;
    VkDeviceSize size = 0;
    VkFormat format = VK_FORMAT_UNDEFINED;
};

/// Texel buffer views follow a renamed buffer.
class TexelView
{
public:
    VkBufferView Get(Gpu& gpu, const Buffer& buffer, const BufferWindow& window, std::uint64_t serial);
    void Retire(Gpu& gpu);

private:
    VkBufferView m_view = VK_NULL_HANDLE;
    VkBuffer m_buffer = VK_NULL_HANDLE;
    VkDeviceSize m_offset = 0;
    std::uint64_t m_lastUse = 0;
};

template <class Interface, class Desc, const IID& Iid>
class ViewObject : public DeviceChild<Interface, IID_ID3D11View, Iid>, public ViewCore
{
public:
    ViewObject(ID3D11Device* device, Resource& target, const Desc& full)
        : DeviceChild<Interface, IID_ID3D11View, Iid>(device), ViewCore(target), desc(full)
    {
    }
    void STDMETHODCALLTYPE GetResource(ID3D11Resource** object) override
    {
        *object = resource.AsInterface();
        (*object)->AddRef();
    }
    void STDMETHODCALLTYPE GetDesc(Desc* out) override { *out = desc; }

    const Desc desc;

protected:
    void Destroy() override
    {
        this->RetireImage();
        delete this;
    }
};

// All constructors throw VulkanError.

class ShaderResourceView final
    : public ViewObject<ID3D11ShaderResourceView, D3D11_SHADER_RESOURCE_VIEW_DESC, IID_ID3D11ShaderResourceView>
{
public:
    ShaderResourceView(ID3D11Device* device, Resource& target, const D3D11_SHADER_RESOURCE_VIEW_DESC& full);

    BufferWindow window;
    TexelView texels;

protected:
    void Destroy() override;
};

class RenderTargetView final
    : public ViewObject<ID3D11RenderTargetView, D3D11_RENDER_TARGET_VIEW_DESC, IID_ID3D11RenderTargetView>
{
public:
    RenderTargetView(ID3D11Device* device, Resource& target, const D3D11_RENDER_TARGET_VIEW_DESC& full);

    VkFormat format = VK_FORMAT_UNDEFINED;
    VkExtent2D extent{};
    uint32_t layers = 1;
};

class DepthStencilView final
    : public ViewObject<ID3D11DepthStencilView, D3D11_DEPTH_STENCIL_VIEW_DESC, IID_ID3D11DepthStencilView>
{
public:
    DepthStencilView(ID3D11Device* device, Resource& target, const D3D11_DEPTH_STENCIL_VIEW_DESC& full);

    /// Whether no plane of the view can be written, so that it may be sampled at the same time.
    bool IsReadOnly() const;

    VkFormat format = VK_FORMAT_UNDEFINED;
    VkImageAspectFlags aspects = 0;
    VkExtent2D extent{};
    uint32_t layers = 1;
};

class UnorderedAccessView final
    : public ViewObject<ID3D11UnorderedAccessView, D3D11_UNORDERED_ACCESS_VIEW_DESC, IID_ID3D11UnorderedAccessView>
{
public:
    UnorderedAccessView(ID3D11Device* device, Resource& target, const D3D11_UNORDERED_ACCESS_VIEW_DESC& full);

    BufferWindow window;
    TexelView texels;
    /// The hidden counter of append and counter views: one word.
    Slice counter;
    AccessState counterState;
    std::uint64_t counterUse = 0;

protected:
    void Destroy() override;
};

} // namespace gleam
