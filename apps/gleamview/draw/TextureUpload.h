// Device textures from pixels.
#pragma once

#include <Gleamwork/RenderTypes.h>
#include <Gleamwork/image/Format.h>

#include <qs/ObjectHandle.h>

namespace gw {
class Renderer;
}

namespace gleamview {

/// Rows without padding in any format that shaders read; not owned.
struct PixelView
{
    unsigned char* pixels = nullptr;
    gw::EFormat format = gw::FORMAT_RGBA8;
    unsigned width = 0;
    unsigned height = 0;
    /// Levels that stand one behind the other; more than one for block-compressed pixels only.
    unsigned levels = 1;
};

/// A texture that shaders read, with the levels of the view. `isSrgb` is for colours of 8 bits a channel; 16-bit
/// textures have no sRGB form. Of block-compressed pixels all levels are taken. The handle has no device data when the
/// device had no room: GetTextureSize is 0 then.
qs::ObjectHandle UploadTexture(const PixelView& view, bool isSrgb);

/// The same with all its mip levels, which the device makes; it cannot for block-compressed pixels, which keep those
/// that the view has. On the thread that owns the device.
qs::ObjectHandle UploadMippedTexture(gw::Renderer& renderer, const PixelView& view, bool isSrgb);

/// Removes a texture at once; the handle becomes unassigned. A dead handle is left alone.
void RemoveTextureNow(gw::Renderer& renderer, qs::ObjectHandle& handle);

} // namespace gleamview
