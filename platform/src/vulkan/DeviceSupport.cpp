// What a device says about formats and features.
#include "vulkan/Device.h"

namespace gleam {
namespace {

/// Uses that a Vulkan format has to allow for a published use.
struct FormatNeed
{
    UINT support;
    VkFormatFeatureFlags features;
};

constexpr FormatNeed ImageNeeds[] = {
    {D3D11_FORMAT_SUPPORT_SHADER_LOAD | D3D11_FORMAT_SUPPORT_SHADER_SAMPLE | D3D11_FORMAT_SUPPORT_SHADER_GATHER |
         D3D11_FORMAT_SUPPORT_SHADER_SAMPLE_COMPARISON | D3D11_FORMAT_SUPPORT_SHADER_GATHER_COMPARISON |
         D3D11_FORMAT_SUPPORT_TEXTURE1D | D3D11_FORMAT_SUPPORT_TEXTURE2D | D3D11_FORMAT_SUPPORT_TEXTURE3D |
         D3D11_FORMAT_SUPPORT_TEXTURECUBE | D3D11_FORMAT_SUPPORT_MIP | D3D11_FORMAT_SUPPORT_MULTISAMPLE_LOAD,
     VK_FORMAT_FEATURE_SAMPLED_IMAGE_BIT},
    {D3D11_FORMAT_SUPPORT_RENDER_TARGET, VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BIT},
    {D3D11_FORMAT_SUPPORT_BLENDABLE, VK_FORMAT_FEATURE_COLOR_ATTACHMENT_BLEND_BIT},
    {D3D11_FORMAT_SUPPORT_DEPTH_STENCIL, VK_FORMAT_FEATURE_DEPTH_STENCIL_ATTACHMENT_BIT},
    {D3D11_FORMAT_SUPPORT_MIP_AUTOGEN, VK_FORMAT_FEATURE_BLIT_SRC_BIT | VK_FORMAT_FEATURE_BLIT_DST_BIT |
                                           VK_FORMAT_FEATURE_SAMPLED_IMAGE_FILTER_LINEAR_BIT},
    {D3D11_FORMAT_SUPPORT_TYPED_UNORDERED_ACCESS_VIEW, VK_FORMAT_FEATURE_STORAGE_IMAGE_BIT},
};

constexpr FormatNeed BufferNeeds[] = {
    {D3D11_FORMAT_SUPPORT_BUFFER, VK_FORMAT_FEATURE_UNIFORM_TEXEL_BUFFER_BIT},
    {D3D11_FORMAT_SUPPORT_IA_VERTEX_BUFFER, VK_FORMAT_FEATURE_VERTEX_BUFFER_BIT},
};

VkFormat FormatOf(const FormatInfo& info)
{
    return static_cast<VkFormat>(info.vkFormat ? info.vkFormat : info.vkDepthFormat);
}

} // namespace

bool VulkanDevice::SupportsSamples(const FormatInfo& format, UINT samples) const
{
    const bool isDepth = format.IsDepthStencil() || format.vkFormat == 0;
    const auto vkFormat = static_cast<VkFormat>(isDepth ? format.vkDepthFormat : format.vkFormat);
    if (vkFormat == VK_FORMAT_UNDEFINED || samples == 0 || (samples & (samples - 1)) != 0) {
        return false;
    }
    VkPhysicalDeviceImageFormatInfo2 query{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_IMAGE_FORMAT_INFO_2};
    query.format = vkFormat;
    query.type = VK_IMAGE_TYPE_2D;
    query.tiling = VK_IMAGE_TILING_OPTIMAL;
    query.usage = isDepth ? VK_IMAGE_USAGE_DEPTH_STENCIL_ATTACHMENT_BIT : VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT;
    VkImageFormatProperties2 limits{VK_STRUCTURE_TYPE_IMAGE_FORMAT_PROPERTIES_2};
    const VkResult result =
        gpu.InstanceVk().GetPhysicalDeviceImageFormatProperties2(gpu.physicalDevice, &query, &limits);
    return result == VK_SUCCESS && (limits.imageFormatProperties.sampleCounts & samples) != 0;
}

HRESULT VulkanDevice::CheckFormatSupport(DXGI_FORMAT format, UINT* support)
{
    if (!support) {
        return Refuse(E_INVALIDARG, "ID3D11Device::CheckFormatSupport", "no place for the answer is given");
    }
    *support = 0;
    const FormatInfo& info = GetFormatInfo(format);
    const VkFormat vkFormat = FormatOf(info);
    if (vkFormat == VK_FORMAT_UNDEFINED) {
        return E_FAIL;
    }
    const VkFormatProperties properties = gpu.FormatProperties(vkFormat);
    UINT bits = info.support;
    for (const FormatNeed& need : ImageNeeds) {
        const bool has = (properties.optimalTilingFeatures & need.features) == need.features;
        bits &= has ? ~0u : ~need.support;
    }
    for (const FormatNeed& need : BufferNeeds) {
        const bool has = (properties.bufferFeatures & need.features) == need.features;
        bits &= has ? ~0u : ~need.support;
    }
    constexpr UINT targets = D3D11_FORMAT_SUPPORT_RENDER_TARGET | D3D11_FORMAT_SUPPORT_DEPTH_STENCIL;
    if (!(bits & targets) || !SupportsSamples(info, 4)) {
        bits &= ~UINT(D3D11_FORMAT_SUPPORT_MULTISAMPLE_RENDERTARGET | D3D11_FORMAT_SUPPORT_MULTISAMPLE_RESOLVE);
    }
    *support = bits;
    return bits ? S_OK : E_FAIL;
}

HRESULT VulkanDevice::CheckMultisampleQualityLevels(DXGI_FORMAT format, UINT samples, UINT* levels)
{
    const char* call = "ID3D11Device::CheckMultisampleQualityLevels";
    if (!levels) {
        return Refuse(E_INVALIDARG, call, "no place for the answer is given");
    }
    *levels = 0;
    const FormatInfo& info = GetFormatInfo(format);
    if (info.format == DXGI_FORMAT_UNKNOWN || samples == 0 || samples > D3D11_MAX_MULTISAMPLE_SAMPLE_COUNT) {
        return Refuse(E_FAIL, call, "format %d with %u samples", static_cast<int>(format), samples);
    }
    constexpr UINT targets = D3D11_FORMAT_SUPPORT_RENDER_TARGET | D3D11_FORMAT_SUPPORT_DEPTH_STENCIL;
    *levels = samples == 1 || ((info.support & targets) && SupportsSamples(info, samples)) ? 1 : 0;
    return S_OK;
}

HRESULT VulkanDevice::CheckFeatureSupport(D3D11_FEATURE feature, void* data, UINT size)
{
    const char* call = "ID3D11Device::CheckFeatureSupport";
    if (data && feature == D3D11_FEATURE_THREADING && size == sizeof(D3D11_FEATURE_DATA_THREADING)) {
        *static_cast<D3D11_FEATURE_DATA_THREADING*>(data) = {TRUE, FALSE};
        return S_OK;
    }
    if (data && feature == D3D11_FEATURE_DOUBLES && size == sizeof(D3D11_FEATURE_DATA_DOUBLES)) {
        *static_cast<D3D11_FEATURE_DATA_DOUBLES*>(data) = {FALSE};
        return S_OK;
    }
    if (data && feature == D3D11_FEATURE_FORMAT_SUPPORT && size == sizeof(D3D11_FEATURE_DATA_FORMAT_SUPPORT)) {
        auto* answer = static_cast<D3D11_FEATURE_DATA_FORMAT_SUPPORT*>(data);
        return CheckFormatSupport(answer->InFormat, &answer->OutFormatSupport);
    }
    return Refuse(E_INVALIDARG, call, "feature %d with %u bytes", static_cast<int>(feature), size);
}

} // namespace gleam
