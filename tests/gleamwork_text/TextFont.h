// A font with every printable ASCII character, whose glyphs have known places and a shape that shows how they lie.
#pragma once

#include "Gleamwork/Font.h"

#include <vector>

namespace text_font {

/// The texture: 16 by 6 cells of 8 by 8 pixels. Each glyph is an L of 5 by 7 pixels in the corner of its cell: its left
/// column and its bottom row.
inline constexpr unsigned WIDTH = 128, HEIGHT = 48;
inline constexpr int GLYPH_WIDTH = 5, GLYPH_HEIGHT = 7, ADVANCE = 6, X_OFFSET = 0, Y_OFFSET = 1;
inline constexpr int LINE_HEIGHT = 10, BASE_LINE = 8;

/// Four bytes a pixel, white or transparent black.
std::vector<unsigned char> MakePixels();
/// Read from a description file by gw::TexturedFont::Parse; `uneven` gives each glyph another width, offset and
/// advance, as UnevenOf tells. The caller destroys the character data.
gw::TexturedFont MakeFont(qs::ObjectHandle texture, bool uneven);

struct Uneven
{
    int width, xOffset, yOffset, advance;
};

constexpr Uneven UnevenOf(int code)
{
    return {code % 5 + 1, code % 3 - 1, code % 4, code % 6 + 2};
}

} // namespace text_font
