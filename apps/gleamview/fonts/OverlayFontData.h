// The overlay's font, as the build put it into the program.
#pragma once

namespace gleamview {

/// A font description file.
extern const unsigned char g_overlayFont[];
extern const unsigned g_overlayFontSize;
/// The glyphs' coverage, one byte a pixel in rows without padding.
extern const unsigned char g_overlayGlyphs[];
extern const unsigned g_overlayGlyphsSize;
extern const unsigned g_overlayGlyphsWidth;

} // namespace gleamview
