// Reading device textures back: a staging copy of the whole, mapped one subresource after the other.
#include "Formats.h"
#include "Results.h"

#include <algorithm>
#include <cstring>

namespace DirectX {

namespace {

/// Holds one reference for its scope.
template <class Interface>
struct Held
{
    Held() = default;
    ~Held()
    {
        if (pointer)
            pointer->Release();
    }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    Interface* pointer = nullptr;
};

/// Turns a description into that of a copy that the processor may read.
template <class Description>
void MakeStaging(Description& description)
{
    description.Usage = D3D11_USAGE_STAGING;
    description.BindFlags = 0;
    description.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
}

HRESULT CopyMapped(const D3D11_MAPPED_SUBRESOURCE& mapped, const ScratchImage& result, std::size_t mip,
                   std::size_t item)
{
    for (std::size_t slice = 0;; ++slice) {
        const Image* image = result.GetImage(mip, item, slice);
        if (!image)
            return S_OK;
        const std::uint8_t* source =
            static_cast<const std::uint8_t*>(mapped.pData) + slice * std::size_t(mapped.DepthPitch);
        const std::size_t rows = image->slicePitch / image->rowPitch;
        for (std::size_t row = 0; row < rows; ++row)
            std::memcpy(image->pixels + row * image->rowPitch, source + row * mapped.RowPitch, image->rowPitch);
    }
}

HRESULT ReadStaging(ID3D11DeviceContext* context, ID3D11Resource* staging, const TexMetadata& metadata,
                    ScratchImage& result)
{
    ScratchImage image;
    if (const HRESULT made = image.Initialize(metadata); FAILED(made))
        return made;
    for (std::size_t item = 0; item < metadata.arraySize; ++item) {
        for (std::size_t mip = 0; mip < metadata.mipLevels; ++mip) {
            const UINT subresource = static_cast<UINT>(item * metadata.mipLevels + mip);
            D3D11_MAPPED_SUBRESOURCE mapped = {};
            if (const HRESULT done = context->Map(staging, subresource, D3D11_MAP_READ, 0, &mapped); FAILED(done))
                return done;
            CopyMapped(mapped, image, mip, item);
            context->Unmap(staging, subresource);
        }
    }
    result = std::move(image);
    return S_OK;
}

HRESULT Capture1D(ID3D11Device* device, ID3D11DeviceContext* context, ID3D11Texture1D* source, ScratchImage& result)
{
    D3D11_TEXTURE1D_DESC description = {};
    source->GetDesc(&description);
    TexMetadata metadata{description.Width,      1, 1, description.ArraySize,
                         description.MipLevels,  0, 0, description.Format,
                         TEX_DIMENSION_TEXTURE1D};
    MakeStaging(description);
    description.MiscFlags = 0;
    Held<ID3D11Texture1D> staging;
    if (const HRESULT made = device->CreateTexture1D(&description, nullptr, &staging.pointer); FAILED(made))
        return made;
    context->CopyResource(staging.pointer, source);
    return ReadStaging(context, staging.pointer, metadata, result);
}

/// A resolve needs a format with a meaning; depth has none that can be averaged.
HRESULT ResolveSamples(ID3D11Device* device, ID3D11DeviceContext* context, ID3D11Texture2D* source,
                       D3D11_TEXTURE2D_DESC description, ID3D11Texture2D** resolved)
{
    if (IsTypeless(description.Format) || (description.BindFlags & D3D11_BIND_DEPTH_STENCIL) != 0)
        return ResultNotSupported;
    description.SampleDesc = {1, 0};
    description.Usage = D3D11_USAGE_DEFAULT;
    description.BindFlags = D3D11_BIND_RENDER_TARGET;
    description.CPUAccessFlags = 0;
    description.MiscFlags &= D3D11_RESOURCE_MISC_TEXTURECUBE;
    if (const HRESULT made = device->CreateTexture2D(&description, nullptr, resolved); FAILED(made))
        return made;
    for (UINT item = 0; item < description.ArraySize; ++item)
        context->ResolveSubresource(*resolved, item * description.MipLevels, source, item * description.MipLevels,
                                    description.Format);
    return S_OK;
}

HRESULT Capture2D(ID3D11Device* device, ID3D11DeviceContext* context, ID3D11Texture2D* source, ScratchImage& result)
{
    D3D11_TEXTURE2D_DESC description = {};
    source->GetDesc(&description);
    Held<ID3D11Texture2D> resolved;
    if (description.SampleDesc.Count > 1) {
        const HRESULT done = ResolveSamples(device, context, source, description, &resolved.pointer);
        if (FAILED(done))
            return done;
    }
    const bool isCube = (description.MiscFlags & D3D11_RESOURCE_MISC_TEXTURECUBE) != 0;
    TexMetadata metadata{description.Width,
                         description.Height,
                         1,
                         description.ArraySize,
                         description.MipLevels,
                         isCube ? std::uint32_t(TEX_MISC_TEXTURECUBE) : 0,
                         0,
                         description.Format,
                         TEX_DIMENSION_TEXTURE2D};
    MakeStaging(description);
    description.SampleDesc = {1, 0};
    description.MiscFlags &= D3D11_RESOURCE_MISC_TEXTURECUBE;
    Held<ID3D11Texture2D> staging;
    if (const HRESULT made = device->CreateTexture2D(&description, nullptr, &staging.pointer); FAILED(made))
        return made;
    context->CopyResource(staging.pointer, resolved.pointer ? resolved.pointer : source);
    return ReadStaging(context, staging.pointer, metadata, result);
}

HRESULT Capture3D(ID3D11Device* device, ID3D11DeviceContext* context, ID3D11Texture3D* source, ScratchImage& result)
{
    D3D11_TEXTURE3D_DESC description = {};
    source->GetDesc(&description);
    TexMetadata metadata{description.Width,  description.Height,     description.Depth, 1, description.MipLevels, 0, 0,
                         description.Format, TEX_DIMENSION_TEXTURE3D};
    MakeStaging(description);
    description.MiscFlags = 0;
    Held<ID3D11Texture3D> staging;
    if (const HRESULT made = device->CreateTexture3D(&description, nullptr, &staging.pointer); FAILED(made))
        return made;
    context->CopyResource(staging.pointer, source);
    return ReadStaging(context, staging.pointer, metadata, result);
}

} // namespace

HRESULT CaptureTexture(ID3D11Device* device, ID3D11DeviceContext* context, ID3D11Resource* source, ScratchImage& result)
{
    result.Release();
    if (!device || !context || !source)
        return E_INVALIDARG;
    D3D11_RESOURCE_DIMENSION dimension = D3D11_RESOURCE_DIMENSION_UNKNOWN;
    source->GetType(&dimension);
    switch (dimension) {
    case D3D11_RESOURCE_DIMENSION_TEXTURE1D:
        return Capture1D(device, context, static_cast<ID3D11Texture1D*>(source), result);
    case D3D11_RESOURCE_DIMENSION_TEXTURE2D:
        return Capture2D(device, context, static_cast<ID3D11Texture2D*>(source), result);
    case D3D11_RESOURCE_DIMENSION_TEXTURE3D:
        return Capture3D(device, context, static_cast<ID3D11Texture3D*>(source), result);
    default:
        return ResultNotSupported;
    }
}

} // namespace DirectX
