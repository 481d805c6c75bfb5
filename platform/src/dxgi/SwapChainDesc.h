// Descriptions of swap chains by the published rules.
#pragma once

#include "d3d11.h"
#include "dxgi1_6.h"

namespace gleam {

constexpr bool IsFlipModel(DXGI_SWAP_EFFECT effect)
{
    return effect == DXGI_SWAP_EFFECT_FLIP_SEQUENTIAL || effect == DXGI_SWAP_EFFECT_FLIP_DISCARD;
}

/// S_OK or DXGI_ERROR_INVALID_CALL after one line of debugger output. Brings 0 samples to 1.
HRESULT CheckSwapChain(const char* call, ID3D11Device& device, DXGI_SWAP_CHAIN_DESC1& desc);

/// The older description in terms of the newer one; width, height and format come along, window and mode do not.
DXGI_SWAP_CHAIN_DESC1 ToDesc1(const DXGI_SWAP_CHAIN_DESC& desc);

/// Back buffers as textures.
D3D11_TEXTURE2D_DESC BackBufferDesc(const DXGI_SWAP_CHAIN_DESC1& desc);

} // namespace gleam
