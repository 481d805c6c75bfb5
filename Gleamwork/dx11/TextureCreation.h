// One call of `D3D11Renderer::CreateTexture`: the checks of its arguments and the device descriptions made from them.
#pragma once

#include "Gleamwork/dx11/D3D11Structs.h"
#include "Gleamwork/image/Format.h"
#include "Gleamwork/image/GraphicsBuffer.h"

#include <d3d11.h>

#include <cstdint>
#include <vector>

namespace api {

struct TextureRequest
{
    gw::GraphicsBuffer& mem;
    gw::EFormat format;
    unsigned width;
    unsigned height;
    unsigned depth;
    unsigned mipCount;
    unsigned originalMipCount;
    const unsigned* mipSizes;
    unsigned arraySize;
    unsigned msaaSamples;
    gw::ETextureUsageFlag usage;
    gw::ETextureAccessFlag access;
};

/// Works on the texture's record, which keeps what was settled up to a failed check. Every failed check asserts.
class TextureCreation
{
public:
    TextureCreation(const TextureRequest& request, Texture& texture);

    /// All checks that need no device. Fills the record's description, not its formats.
    bool CheckDimensions() const;
    bool SettleDescription();
    /// The pieces of `mem` for each slice and mip; false when `mem` is smaller than they ask for. More pieces than
    /// the limit assert and leave none, so that the texture is made without contents.
    bool SettleInitialData();
    /// Asks the device; on success the record owns the resource and knows its real mip count.
    bool CreateResource(ID3D11Device* device);

    bool IsRenderTarget() const { return (m_bindFlags & D3D11_BIND_RENDER_TARGET) != 0; }
    /// Bytes of all slices and mips, at most what 32 bits hold.
    std::uint32_t CalculateSize() const;

private:
    struct MipLayout
    {
        std::uint64_t rowPitch;
        std::uint64_t slicePitch; ///< of one depth slice
        std::uint64_t bytes;      ///< of all depth slices
    };

    bool Is1D() const { return m_request.height == 0; }
    bool Is2D() const { return m_request.height != 0 && m_request.depth == 0; }
    bool Check1D() const;
    bool Check2D() const;
    bool Check3D() const;
    bool SettleUsage();
    bool SettleStaging();
    bool SettleBindFlags();
    void SettleCPUAccess();
    bool SettleCube();
    bool SettleMipGeneration();
    bool SettleSamples();
    MipLayout DescribeMip(unsigned mip) const;
    HRESULT Create1D(ID3D11Device* device, const D3D11_SUBRESOURCE_DATA* data);
    HRESULT Create2D(ID3D11Device* device, const D3D11_SUBRESOURCE_DATA* data);
    HRESULT Create3D(ID3D11Device* device, const D3D11_SUBRESOURCE_DATA* data);
    void ReadBackMipCount();

    const TextureRequest& m_request;
    Texture& m_texture;
    gw::image::FormatDescription m_format;
    D3D11_USAGE m_usage = D3D11_USAGE_DEFAULT;
    UINT m_bindFlags = 0;
    UINT m_cpuAccess = 0;
    UINT m_miscFlags = 0;
    std::vector<D3D11_SUBRESOURCE_DATA> m_initialData;
};

} // namespace api
