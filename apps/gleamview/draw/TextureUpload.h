// Device textures from pixels.
#pragma once

#include <Gleamwork/RenderTypes.h>
#include <Gleamwork/image/Format.h>

#include <qs/ObjectHandle.h>

namespace gw {
class Renderer;
}

namespace gleamview {

/// Rows without padding, as FORMAT_RGBA8 or FORMAT_RGBA16; not owned.
struct PixelView
{
    unsigned char* pixels = nullptr;
    gw::EFormat format = gw::FORMAT_RGBA8;
    unsigned width = 0;
    unsigned height = 0;

    unsigned GetByteSize() const { return width * height * (format == gw::FORMAT_RGBA16 ? 8u : 4u); }
};

/// A texture that shaders read, without smaller levels. `isSrgb` is for colours of 8 bits a channel; 16-bit textures
/// have no sRGB form. The handle has no device data when the device had no room: GetTextureSize is 0 then.
qs::ObjectHandle UploadTexture(const PixelView& view, bool isSrgb);

/// The same with all its mip levels, which the device makes. On the thread that owns the device.
qs::ObjectHandle UploadMippedTexture(gw::Renderer& renderer, const PixelView& view, bool isSrgb);

/// Removes a texture at once; the handle becomes unassigned. A dead handle is left alone.
void RemoveTextureNow(gw::Renderer& renderer, qs::ObjectHandle& handle);

} // namespace gleamview
