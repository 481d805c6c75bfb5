// The characters of a font in one picture.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace gleamfont {

/// One character, in pixels. The rectangle reaches from the pen to where the pen goes on (farther when the ink does),
/// so that the widths of a text's characters add up to the width of the text.
struct Glyph
{
    std::uint32_t code;
    int x, y;             ///< in the picture
    int width, height;    ///< without height: nothing to draw
    int xOffset, yOffset; ///< from the pen and the line's top to the rectangle's upper left corner
    int advance;
};

struct GlyphSheet
{
    std::vector<Glyph> glyphs;          ///< by code
    std::vector<std::uint8_t> coverage; ///< rows without padding
    int width = 0;
    int height = 0;
    int size = 0;
    /// A multiple of five, so that the library's line pitch, 1.4 times it, is a whole number of pixels and every line
    /// of a text as sharp as the first.
    int lineHeight = 0;
    int baseLine = 0; ///< from the line's top
};

/// False, with a sentence in `error`, for a file that is no font, a size it does not have, characters it does not have,
/// and more than a texture holds.
bool MakeGlyphSheet(const std::string& font, int size, const std::vector<std::uint32_t>& codes, GlyphSheet& sheet,
                    std::string& error);

} // namespace gleamfont
