// Blend, depth stencil, rasterizer and sampler states, translated once when they are made.
#pragma once

#include <array>

#include "common/ComBase.h"
#include "vulkan/Gpu.h"

namespace gleam {

VkCompareOp ToCompareOp(D3D11_COMPARISON_FUNC function);

template <class Interface, class Desc, const IID& Iid>
class StateObject : public DeviceChild<Interface, Iid>
{
public:
    StateObject(ID3D11Device* device, const Desc& full) : DeviceChild<Interface, Iid>(device), desc(full) {}
    void STDMETHODCALLTYPE GetDesc(Desc* out) override { *out = desc; }

    const Desc desc;
};

/// Blending of one target, in the form of a pipeline key.
struct TargetBlend
{
    std::uint8_t enable = 0;
    std::uint8_t writeMask = 15;
    std::uint8_t sourceColor = VK_BLEND_FACTOR_ONE;
    std::uint8_t targetColor = VK_BLEND_FACTOR_ZERO;
    std::uint8_t colorOp = VK_BLEND_OP_ADD;
    std::uint8_t sourceAlpha = VK_BLEND_FACTOR_ONE;
    std::uint8_t targetAlpha = VK_BLEND_FACTOR_ZERO;
    std::uint8_t alphaOp = VK_BLEND_OP_ADD;
};
static_assert(sizeof(TargetBlend) == 8, "part of the pipeline key, which is compared as bytes");

using TargetBlends = std::array<TargetBlend, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT>;

class BlendState final : public StateObject<ID3D11BlendState, D3D11_BLEND_DESC, IID_ID3D11BlendState>
{
public:
    BlendState(ID3D11Device* device, const D3D11_BLEND_DESC& full);
    TargetBlends targets;
    bool alphaToCoverage;
};

class DepthStencilState final
    : public StateObject<ID3D11DepthStencilState, D3D11_DEPTH_STENCIL_DESC, IID_ID3D11DepthStencilState>
{
public:
    DepthStencilState(ID3D11Device* device, const D3D11_DEPTH_STENCIL_DESC& full);
    VkStencilOpState front{};
    VkStencilOpState back{};
};

class RasterizerState final
    : public StateObject<ID3D11RasterizerState, D3D11_RASTERIZER_DESC, IID_ID3D11RasterizerState>
{
public:
    RasterizerState(ID3D11Device* device, const D3D11_RASTERIZER_DESC& full) : StateObject(device, full) {}
    VkCullModeFlags CullMode() const;
    VkPolygonMode PolygonMode() const
    {
        return desc.FillMode == D3D11_FILL_WIREFRAME ? VK_POLYGON_MODE_LINE : VK_POLYGON_MODE_FILL;
    }
};

class SamplerState final : public StateObject<ID3D11SamplerState, D3D11_SAMPLER_DESC, IID_ID3D11SamplerState>
{
public:
    /// Throws VulkanError.
    SamplerState(ID3D11Device* device, Gpu& gpu, const D3D11_SAMPLER_DESC& full);
    VkSampler sampler = VK_NULL_HANDLE;

protected:
    void Destroy() override;

private:
    Gpu& m_gpu;
};

} // namespace gleam
