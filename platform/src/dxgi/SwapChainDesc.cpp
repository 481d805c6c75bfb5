// The rules for swap chain descriptions.
#include "dxgi/SwapChainDesc.h"

#include <utility>

#include "common/Validation.h"

namespace gleam {
namespace {

constexpr DXGI_USAGE KnownUsage = DXGI_USAGE_SHADER_INPUT | DXGI_USAGE_RENDER_TARGET_OUTPUT | DXGI_USAGE_BACK_BUFFER |
                                  DXGI_USAGE_DISCARD_ON_PRESENT | DXGI_USAGE_UNORDERED_ACCESS;
constexpr UINT KnownFlags =
    DXGI_SWAP_CHAIN_FLAG_NONPREROTATED | DXGI_SWAP_CHAIN_FLAG_ALLOW_MODE_SWITCH | DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING;

bool IsFormatOf(DXGI_FORMAT format, bool isFlip)
{
    switch (format) {
    case DXGI_FORMAT_R8G8B8A8_UNORM:
    case DXGI_FORMAT_B8G8R8A8_UNORM:
    case DXGI_FORMAT_R10G10B10A2_UNORM:
    case DXGI_FORMAT_R16G16B16A16_FLOAT:
        return true;
    case DXGI_FORMAT_R8G8B8A8_UNORM_SRGB:
    case DXGI_FORMAT_B8G8R8A8_UNORM_SRGB:
        return !isFlip;
    default:
        return false;
    }
}

HRESULT CheckModel(const char* call, const DXGI_SWAP_CHAIN_DESC1& desc)
{
    constexpr HRESULT refused = DXGI_ERROR_INVALID_CALL;
    const bool isFlip = IsFlipModel(desc.SwapEffect);
    if (!isFlip && desc.SwapEffect != DXGI_SWAP_EFFECT_DISCARD && desc.SwapEffect != DXGI_SWAP_EFFECT_SEQUENTIAL) {
        return Refuse(refused, call, "SwapEffect %d is unknown", desc.SwapEffect);
    }
    if (!IsFormatOf(desc.Format, isFlip)) {
        return Refuse(refused, call, "Format %s is not for swap chains of the %s model",
                      GetFormatInfo(desc.Format).name, isFlip ? "flip" : "blit");
    }
    const UINT fewest = isFlip ? 2 : 1;
    if (desc.BufferCount < fewest || desc.BufferCount > DXGI_MAX_SWAP_CHAIN_BUFFERS) {
        return Refuse(refused, call, "BufferCount %u must be from %u to %u", desc.BufferCount, fewest,
                      DXGI_MAX_SWAP_CHAIN_BUFFERS);
    }
    if (!isFlip && (desc.Flags & DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING) != 0) {
        return Refuse(refused, call, "DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING needs the flip model");
    }
    if (!isFlip && desc.Scaling == DXGI_SCALING_NONE) {
        return Refuse(refused, call, "DXGI_SCALING_NONE needs the flip model");
    }
    return S_OK;
}

} // namespace

HRESULT CheckSwapChain(const char* call, ID3D11Device& device, DXGI_SWAP_CHAIN_DESC1& desc)
{
    constexpr HRESULT refused = DXGI_ERROR_INVALID_CALL;
    if (const HRESULT hr = CheckModel(call, desc); FAILED(hr)) {
        return hr;
    }
    if (desc.Scaling > DXGI_SCALING_ASPECT_RATIO_STRETCH || desc.Stereo ||
        (desc.AlphaMode != DXGI_ALPHA_MODE_UNSPECIFIED && desc.AlphaMode != DXGI_ALPHA_MODE_IGNORE)) {
        return Refuse(refused, call, "Scaling %d is unknown, or Stereo or an AlphaMode is asked, which no window has",
                      desc.Scaling);
    }
    if ((desc.BufferUsage & ~KnownUsage) != 0 || (desc.Flags & ~KnownFlags) != 0) {
        return Refuse(refused, call, "BufferUsage 0x%x or Flags 0x%x has a bit that is not supported", desc.BufferUsage,
                      desc.Flags);
    }
    desc.SampleDesc.Count = desc.SampleDesc.Count == 0 ? 1 : desc.SampleDesc.Count;
    UINT levels = 0;
    if (desc.SampleDesc.Quality != 0 ||
        FAILED(device.CheckMultisampleQualityLevels(desc.Format, desc.SampleDesc.Count, &levels)) || levels == 0) {
        return Refuse(refused, call, "%u samples of quality %u are not supported", desc.SampleDesc.Count,
                      desc.SampleDesc.Quality);
    }
    return S_OK;
}

DXGI_SWAP_CHAIN_DESC1 ToDesc1(const DXGI_SWAP_CHAIN_DESC& desc)
{
    DXGI_SWAP_CHAIN_DESC1 result{};
    result.Width = desc.BufferDesc.Width;
    result.Height = desc.BufferDesc.Height;
    result.Format = desc.BufferDesc.Format;
    result.SampleDesc = desc.SampleDesc;
    result.BufferUsage = desc.BufferUsage;
    result.BufferCount = desc.BufferCount;
    result.Scaling = DXGI_SCALING_STRETCH;
    result.SwapEffect = desc.SwapEffect;
    result.AlphaMode = DXGI_ALPHA_MODE_UNSPECIFIED;
    result.Flags = desc.Flags;
    return result;
}

D3D11_TEXTURE2D_DESC BackBufferDesc(const DXGI_SWAP_CHAIN_DESC1& desc)
{
    D3D11_TEXTURE2D_DESC texture{};
    texture.Width = desc.Width;
    texture.Height = desc.Height;
    texture.MipLevels = 1;
    texture.ArraySize = 1;
    texture.Format = desc.Format;
    texture.SampleDesc = desc.SampleDesc;
    texture.Usage = D3D11_USAGE_DEFAULT;
    const std::pair<DXGI_USAGE, D3D11_BIND_FLAG> binds[] = {
        {DXGI_USAGE_SHADER_INPUT, D3D11_BIND_SHADER_RESOURCE},
        {DXGI_USAGE_RENDER_TARGET_OUTPUT, D3D11_BIND_RENDER_TARGET},
        {DXGI_USAGE_UNORDERED_ACCESS, D3D11_BIND_UNORDERED_ACCESS},
    };
    for (const auto& [usage, bind] : binds) {
        texture.BindFlags |= (desc.BufferUsage & usage) != 0 ? UINT(bind) : 0u;
    }
    return texture;
}

} // namespace gleam
