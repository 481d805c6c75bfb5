// The overlay's font, as gleamfont made it and the build put it into the program.
#pragma once

namespace gleamview {

/// A font description file.
extern const unsigned char g_overlayDescription[];
extern const unsigned g_overlayDescriptionSize;
/// The glyphs, a PNG file.
extern const unsigned char g_overlayTexture[];
extern const unsigned g_overlayTextureSize;

} // namespace gleamview
