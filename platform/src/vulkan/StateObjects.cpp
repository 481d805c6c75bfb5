// Translates state descriptions.
#include "vulkan/StateObjects.h"

#include <algorithm>
#include <cstring>

namespace gleam {
namespace {

VkBlendFactor ToFactor(D3D11_BLEND blend)
{
    switch (blend) {
    case D3D11_BLEND_ONE:
        return VK_BLEND_FACTOR_ONE;
    case D3D11_BLEND_SRC_COLOR:
        return VK_BLEND_FACTOR_SRC_COLOR;
    case D3D11_BLEND_INV_SRC_COLOR:
        return VK_BLEND_FACTOR_ONE_MINUS_SRC_COLOR;
    case D3D11_BLEND_SRC_ALPHA:
        return VK_BLEND_FACTOR_SRC_ALPHA;
    case D3D11_BLEND_INV_SRC_ALPHA:
        return VK_BLEND_FACTOR_ONE_MINUS_SRC_ALPHA;
    case D3D11_BLEND_DEST_ALPHA:
        return VK_BLEND_FACTOR_DST_ALPHA;
    case D3D11_BLEND_INV_DEST_ALPHA:
        return VK_BLEND_FACTOR_ONE_MINUS_DST_ALPHA;
    case D3D11_BLEND_DEST_COLOR:
        return VK_BLEND_FACTOR_DST_COLOR;
    case D3D11_BLEND_INV_DEST_COLOR:
        return VK_BLEND_FACTOR_ONE_MINUS_DST_COLOR;
    case D3D11_BLEND_SRC_ALPHA_SAT:
        return VK_BLEND_FACTOR_SRC_ALPHA_SATURATE;
    case D3D11_BLEND_BLEND_FACTOR:
        return VK_BLEND_FACTOR_CONSTANT_COLOR;
    case D3D11_BLEND_INV_BLEND_FACTOR:
        return VK_BLEND_FACTOR_ONE_MINUS_CONSTANT_COLOR;
    case D3D11_BLEND_SRC1_COLOR:
        return VK_BLEND_FACTOR_SRC1_COLOR;
    case D3D11_BLEND_INV_SRC1_COLOR:
        return VK_BLEND_FACTOR_ONE_MINUS_SRC1_COLOR;
    case D3D11_BLEND_SRC1_ALPHA:
        return VK_BLEND_FACTOR_SRC1_ALPHA;
    case D3D11_BLEND_INV_SRC1_ALPHA:
        return VK_BLEND_FACTOR_ONE_MINUS_SRC1_ALPHA;
    default:
        return VK_BLEND_FACTOR_ZERO;
    }
}

// The published values are in Vulkan's order, one higher.
VkBlendOp ToBlendOp(D3D11_BLEND_OP op)
{
    return static_cast<VkBlendOp>(op - 1);
}

VkStencilOp ToStencilOp(D3D11_STENCIL_OP op)
{
    return static_cast<VkStencilOp>(op - 1);
}

static_assert(D3D11_BLEND_OP_MAX - 1 == VK_BLEND_OP_MAX && D3D11_BLEND_OP_ADD - 1 == VK_BLEND_OP_ADD);
static_assert(D3D11_STENCIL_OP_DECR - 1 == VK_STENCIL_OP_DECREMENT_AND_WRAP &&
              D3D11_STENCIL_OP_INCR_SAT - 1 == VK_STENCIL_OP_INCREMENT_AND_CLAMP &&
              D3D11_STENCIL_OP_INVERT - 1 == VK_STENCIL_OP_INVERT);
static_assert(D3D11_COMPARISON_NEVER - 1 == VK_COMPARE_OP_NEVER &&
              D3D11_COMPARISON_GREATER_EQUAL - 1 == VK_COMPARE_OP_GREATER_OR_EQUAL);

TargetBlend ToTargetBlend(const D3D11_RENDER_TARGET_BLEND_DESC& desc)
{
    TargetBlend blend;
    blend.writeMask = desc.RenderTargetWriteMask;
    if (desc.BlendEnable) {
        blend.enable = 1;
        blend.sourceColor = static_cast<std::uint8_t>(ToFactor(desc.SrcBlend));
        blend.targetColor = static_cast<std::uint8_t>(ToFactor(desc.DestBlend));
        blend.colorOp = static_cast<std::uint8_t>(ToBlendOp(desc.BlendOp));
        blend.sourceAlpha = static_cast<std::uint8_t>(ToFactor(desc.SrcBlendAlpha));
        blend.targetAlpha = static_cast<std::uint8_t>(ToFactor(desc.DestBlendAlpha));
        blend.alphaOp = static_cast<std::uint8_t>(ToBlendOp(desc.BlendOpAlpha));
    }
    return blend;
}

VkStencilOpState ToStencil(const D3D11_DEPTH_STENCILOP_DESC& desc)
{
    VkStencilOpState state{};
    state.failOp = ToStencilOp(desc.StencilFailOp);
    state.depthFailOp = ToStencilOp(desc.StencilDepthFailOp);
    state.passOp = ToStencilOp(desc.StencilPassOp);
    state.compareOp = ToCompareOp(desc.StencilFunc);
    return state;
}

VkSamplerAddressMode ToAddressMode(const Gpu& gpu, D3D11_TEXTURE_ADDRESS_MODE mode)
{
    switch (mode) {
    case D3D11_TEXTURE_ADDRESS_MIRROR:
        return VK_SAMPLER_ADDRESS_MODE_MIRRORED_REPEAT;
    case D3D11_TEXTURE_ADDRESS_CLAMP:
        return VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_EDGE;
    case D3D11_TEXTURE_ADDRESS_BORDER:
        return VK_SAMPLER_ADDRESS_MODE_CLAMP_TO_BORDER;
    case D3D11_TEXTURE_ADDRESS_MIRROR_ONCE:
        return gpu.features.mirrorOnce ? VK_SAMPLER_ADDRESS_MODE_MIRROR_CLAMP_TO_EDGE
                                       : VK_SAMPLER_ADDRESS_MODE_MIRRORED_REPEAT;
    default:
        return VK_SAMPLER_ADDRESS_MODE_REPEAT;
    }
}

VkFilter ToFilter(D3D11_FILTER_TYPE type)
{
    return type == D3D11_FILTER_TYPE_LINEAR ? VK_FILTER_LINEAR : VK_FILTER_NEAREST;
}

/// A border that every device has, closest to the wanted one.
VkBorderColor FixedBorder(const FLOAT color[4])
{
    if (color[3] < 0.5f) {
        return VK_BORDER_COLOR_FLOAT_TRANSPARENT_BLACK;
    }
    const bool isLight = color[0] + color[1] + color[2] > 1.5f;
    return isLight ? VK_BORDER_COLOR_FLOAT_OPAQUE_WHITE : VK_BORDER_COLOR_FLOAT_OPAQUE_BLACK;
}

bool IsFixedBorder(const FLOAT color[4])
{
    constexpr FLOAT fixed[3][4] = {{0, 0, 0, 0}, {0, 0, 0, 1}, {1, 1, 1, 1}};
    return std::any_of(std::begin(fixed), std::end(fixed),
                       [&](const FLOAT(&other)[4]) { return std::equal(color, color + 4, other); });
}

} // namespace

VkCompareOp ToCompareOp(D3D11_COMPARISON_FUNC function)
{
    return static_cast<VkCompareOp>(function - 1);
}

BlendState::BlendState(ID3D11Device* device, const D3D11_BLEND_DESC& full)
    : StateObject(device, full), alphaToCoverage(full.AlphaToCoverageEnable != FALSE)
{
    for (std::size_t i = 0; i < targets.size(); ++i) {
        targets[i] = ToTargetBlend(full.RenderTarget[full.IndependentBlendEnable ? i : 0]);
    }
}

DepthStencilState::DepthStencilState(ID3D11Device* device, const D3D11_DEPTH_STENCIL_DESC& full)
    : StateObject(device, full), front(ToStencil(full.FrontFace)), back(ToStencil(full.BackFace))
{
}

VkCullModeFlags RasterizerState::CullMode() const
{
    switch (desc.CullMode) {
    case D3D11_CULL_FRONT:
        return VK_CULL_MODE_FRONT_BIT;
    case D3D11_CULL_BACK:
        return VK_CULL_MODE_BACK_BIT;
    default:
        return VK_CULL_MODE_NONE;
    }
}

SamplerState::SamplerState(ID3D11Device* device, Gpu& gpu, const D3D11_SAMPLER_DESC& full)
    : StateObject(device, full), m_gpu(gpu)
{
    const UINT filter = full.Filter;
    const UINT reduction = filter >> D3D11_FILTER_REDUCTION_TYPE_SHIFT & 3;
    const VkPhysicalDeviceLimits& limits = gpu.properties.limits;
    VkSamplerCreateInfo create{VK_STRUCTURE_TYPE_SAMPLER_CREATE_INFO};
    create.minFilter = ToFilter(D3D11_DECODE_MIN_FILTER(filter));
    create.magFilter = ToFilter(D3D11_DECODE_MAG_FILTER(filter));
    create.mipmapMode = D3D11_DECODE_MIP_FILTER(filter) == D3D11_FILTER_TYPE_LINEAR ? VK_SAMPLER_MIPMAP_MODE_LINEAR
                                                                                    : VK_SAMPLER_MIPMAP_MODE_NEAREST;
    create.addressModeU = ToAddressMode(gpu, full.AddressU);
    create.addressModeV = ToAddressMode(gpu, full.AddressV);
    create.addressModeW = ToAddressMode(gpu, full.AddressW);
    create.mipLodBias = std::clamp(full.MipLODBias, -limits.maxSamplerLodBias, limits.maxSamplerLodBias);
    create.anisotropyEnable = gpu.features.anisotropy && (filter & D3D11_ANISOTROPIC_FILTERING_BIT) != 0;
    create.maxAnisotropy = std::clamp(static_cast<float>(full.MaxAnisotropy), 1.0f, limits.maxSamplerAnisotropy);
    create.compareEnable = reduction == 1;
    create.compareOp = reduction == 1 ? ToCompareOp(full.ComparisonFunc) : VK_COMPARE_OP_NEVER;
    create.minLod = std::clamp(full.MinLOD, 0.0f, VK_LOD_CLAMP_NONE);
    create.maxLod = std::clamp(full.MaxLOD, create.minLod, VK_LOD_CLAMP_NONE);
    create.borderColor = FixedBorder(full.BorderColor);

    VkSamplerCustomBorderColorCreateInfoEXT border{VK_STRUCTURE_TYPE_SAMPLER_CUSTOM_BORDER_COLOR_CREATE_INFO_EXT};
    if (gpu.features.customBorder && !IsFixedBorder(full.BorderColor)) {
        std::memcpy(border.customBorderColor.float32, full.BorderColor, sizeof full.BorderColor);
        create.borderColor = VK_BORDER_COLOR_FLOAT_CUSTOM_EXT;
        border.pNext = create.pNext;
        create.pNext = &border;
    }
    VkSamplerReductionModeCreateInfo extreme{VK_STRUCTURE_TYPE_SAMPLER_REDUCTION_MODE_CREATE_INFO};
    if (reduction >= 2) {
        if (!gpu.features.minMaxFilter) {
            throw VulkanError{VK_ERROR_FEATURE_NOT_PRESENT, "minimum and maximum filters"};
        }
        extreme.reductionMode = reduction == 2 ? VK_SAMPLER_REDUCTION_MODE_MIN : VK_SAMPLER_REDUCTION_MODE_MAX;
        extreme.pNext = create.pNext;
        create.pNext = &extreme;
    }
    Check(gpu.vk.CreateSampler(gpu.device, &create, nullptr, &sampler), "vkCreateSampler");
}

void SamplerState::Destroy()
{
    // Descriptors do not say when they last named it; what is being recorded now is late enough.
    Retired retired;
    retired.sampler = sampler;
    m_gpu.Retire(retired, m_gpu.RecordingSerial());
    delete this;
}

} // namespace gleam
