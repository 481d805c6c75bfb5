// Keys of state objects.
#include "common/StateCache.h"

namespace gleam {
namespace {

/// Fills an array of words field by field.
template <size_t N>
class KeyWriter
{
public:
    template <class T>
    KeyWriter& operator<<(T value)
    {
        if constexpr (std::is_same_v<T, float>) {
            m_key[m_size++] = std::bit_cast<std::uint32_t>(value);
        } else {
            m_key[m_size++] = static_cast<std::uint32_t>(value);
        }
        return *this;
    }
    KeyWriter& operator<<(const D3D11_DEPTH_STENCILOP_DESC& face)
    {
        return *this << face.StencilFailOp << face.StencilDepthFailOp << face.StencilPassOp << face.StencilFunc;
    }
    const std::array<std::uint32_t, N>& Key() const { return m_key; }

private:
    std::array<std::uint32_t, N> m_key{};
    size_t m_size = 0;
};

} // namespace

std::array<std::uint32_t, 66> KeyOf(const D3D11_BLEND_DESC& desc)
{
    KeyWriter<66> key;
    key << desc.AlphaToCoverageEnable << desc.IndependentBlendEnable;
    for (const D3D11_RENDER_TARGET_BLEND_DESC& target : desc.RenderTarget) {
        key << target.BlendEnable << target.SrcBlend << target.DestBlend << target.BlendOp << target.SrcBlendAlpha
            << target.DestBlendAlpha << target.BlendOpAlpha << target.RenderTargetWriteMask;
    }
    return key.Key();
}

std::array<std::uint32_t, 14> KeyOf(const D3D11_DEPTH_STENCIL_DESC& desc)
{
    KeyWriter<14> key;
    key << desc.DepthEnable << desc.DepthWriteMask << desc.DepthFunc << desc.StencilEnable << desc.StencilReadMask
        << desc.StencilWriteMask << desc.FrontFace << desc.BackFace;
    return key.Key();
}

std::array<std::uint32_t, 10> KeyOf(const D3D11_RASTERIZER_DESC& desc)
{
    KeyWriter<10> key;
    key << desc.FillMode << desc.CullMode << desc.FrontCounterClockwise << desc.DepthBias << desc.DepthBiasClamp
        << desc.SlopeScaledDepthBias << desc.DepthClipEnable << desc.ScissorEnable << desc.MultisampleEnable
        << desc.AntialiasedLineEnable;
    return key.Key();
}

std::array<std::uint32_t, 13> KeyOf(const D3D11_SAMPLER_DESC& desc)
{
    KeyWriter<13> key;
    key << desc.Filter << desc.AddressU << desc.AddressV << desc.AddressW << desc.MipLODBias << desc.MaxAnisotropy
        << desc.ComparisonFunc << desc.BorderColor[0] << desc.BorderColor[1] << desc.BorderColor[2]
        << desc.BorderColor[3] << desc.MinLOD << desc.MaxLOD;
    return key.Key();
}

} // namespace gleam
