// Finds the resource behind an interface.
#include "vulkan/Resource.h"

#include "vulkan/Buffer.h"
#include "vulkan/Texture.h"

namespace gleam {

Resource* ResourceOf(ID3D11Resource* object)
{
    if (!object) {
        return nullptr;
    }
    D3D11_RESOURCE_DIMENSION dimension = D3D11_RESOURCE_DIMENSION_UNKNOWN;
    object->GetType(&dimension);
    switch (dimension) {
    case D3D11_RESOURCE_DIMENSION_BUFFER:
        return static_cast<Buffer*>(object);
    case D3D11_RESOURCE_DIMENSION_TEXTURE1D:
        return static_cast<Texture1D*>(object);
    case D3D11_RESOURCE_DIMENSION_TEXTURE2D:
        return static_cast<Texture2D*>(object);
    default:
        return static_cast<Texture3D*>(object);
    }
}

Buffer& Resource::AsBuffer()
{
    return static_cast<Buffer&>(*this);
}

Texture& Resource::AsTexture()
{
    return static_cast<Texture&>(*this);
}

} // namespace gleam
