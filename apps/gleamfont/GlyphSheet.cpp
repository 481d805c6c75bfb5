// Drawing of glyphs by FreeType, and their places in the picture.
#include "GlyphSheet.h"

#include <algorithm>
#include <cstdio>
#include <ft2build.h>
#include <memory>
#include <numeric>
#include <type_traits>
#include FT_FREETYPE_H

namespace gleamfont {
namespace {

// Between glyphs, so that filtering does not bring in a neighbour.
constexpr int Gap = 1;
// What a texture has at most on a side.
constexpr int LargestSide = 16384;

struct CloseLibrary
{
    void operator()(FT_Library library) const { FT_Done_FreeType(library); }
};
struct CloseFace
{
    void operator()(FT_Face face) const { FT_Done_Face(face); }
};
using Library = std::unique_ptr<std::remove_pointer_t<FT_Library>, CloseLibrary>;
using Face = std::unique_ptr<std::remove_pointer_t<FT_Face>, CloseFace>;

/// A glyph's ink, and where it stands in the glyph's rectangle.
struct Ink
{
    std::vector<std::uint8_t> coverage;
    int width, height, left;
};

int RoundUp(FT_Pos fixed)
{
    return static_cast<int>((fixed + 63) >> 6);
}

bool ReadInk(const FT_Bitmap& bitmap, Ink& ink)
{
    if (bitmap.rows != 0 && bitmap.pixel_mode != FT_PIXEL_MODE_GRAY && bitmap.pixel_mode != FT_PIXEL_MODE_MONO)
        return false;
    ink.width = static_cast<int>(bitmap.width);
    ink.height = static_cast<int>(bitmap.rows);
    for (int y = 0; y < ink.height; ++y) {
        const unsigned char* row = bitmap.buffer + std::ptrdiff_t(y) * bitmap.pitch;
        for (int x = 0; x < ink.width; ++x) {
            const bool isSet = row[x / 8] >> (7 - x % 8) & 1;
            ink.coverage.push_back(bitmap.pixel_mode == FT_PIXEL_MODE_MONO ? (isSet ? 255 : 0) : row[x]);
        }
    }
    return true;
}

bool DrawGlyph(FT_Face face, std::uint32_t code, int baseLine, Glyph& glyph, Ink& ink)
{
    if (FT_Load_Char(face, code, FT_LOAD_RENDER) != 0 || !ReadInk(face->glyph->bitmap, ink))
        return false;
    const FT_GlyphSlot slot = face->glyph;
    glyph.code = code;
    glyph.advance = static_cast<int>((slot->advance.x + 32) >> 6);
    glyph.xOffset = std::min(0, slot->bitmap_left);
    glyph.width = std::max(glyph.advance, slot->bitmap_left + ink.width) - glyph.xOffset;
    glyph.yOffset = baseLine - slot->bitmap_top;
    glyph.height = ink.height;
    ink.left = slot->bitmap_left - glyph.xOffset;
    return true;
}

/// Puts the glyphs into rows, the tallest first, of a picture of that width. False when a glyph is wider.
bool Place(std::vector<Glyph>& glyphs, int width, int& height)
{
    std::vector<std::size_t> order(glyphs.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return glyphs[a].height > glyphs[b].height; });
    int x = Gap, y = Gap, rowHeight = 0;
    for (const std::size_t index : order) {
        Glyph& glyph = glyphs[index];
        if (x + glyph.width + Gap > width) {
            x = Gap;
            y += rowHeight + Gap;
            rowHeight = 0;
        }
        if (x + glyph.width + Gap > width)
            return false;
        glyph.x = x;
        glyph.y = y;
        x += glyph.width + Gap;
        rowHeight = std::max(rowHeight, glyph.height);
    }
    height = y + rowHeight + Gap;
    return true;
}

/// The narrowest power of two whose picture is not higher than wide.
bool PlaceAll(GlyphSheet& sheet)
{
    for (int width = 16; width <= LargestSide; width *= 2) {
        if (Place(sheet.glyphs, width, sheet.height) && sheet.height <= width) {
            sheet.width = width;
            return true;
        }
    }
    return false;
}

void FillPicture(GlyphSheet& sheet, const std::vector<Ink>& inks)
{
    sheet.coverage.assign(std::size_t(sheet.width) * sheet.height, 0);
    for (std::size_t i = 0; i < inks.size(); ++i) {
        const Glyph& glyph = sheet.glyphs[i];
        const Ink& ink = inks[i];
        for (int y = 0; y < ink.height; ++y)
            std::copy_n(&ink.coverage[std::size_t(y) * ink.width], ink.width,
                        &sheet.coverage[std::size_t(glyph.y + y) * sheet.width + glyph.x + ink.left]);
    }
}

/// The smallest multiple of five that holds every glyph and keeps at least the font's own distance of lines.
int ChooseLineHeight(const GlyphSheet& sheet, int fontPitch)
{
    int height = (fontPitch * 10 + 13) / 14;
    for (const Glyph& glyph : sheet.glyphs)
        height = std::max({height, glyph.height, sheet.baseLine - glyph.yOffset});
    return (height + 4) / 5 * 5;
}

/// Of the characters that the font does not have, the first few.
std::string NameMissing(FT_Face face, const std::vector<std::uint32_t>& codes)
{
    std::string names;
    int count = 0;
    for (const std::uint32_t code : codes) {
        if (FT_Get_Char_Index(face, code) != 0)
            continue;
        char name[16];
        std::snprintf(name, sizeof name, "%sU+%04X", count != 0 ? ", " : "", static_cast<unsigned>(code));
        if (++count <= 8)
            names += name;
    }
    return count > 8 ? names + " and " + std::to_string(count - 8) + " more" : names;
}

} // namespace

bool MakeGlyphSheet(const std::string& font, int size, const std::vector<std::uint32_t>& codes, GlyphSheet& sheet,
                    std::string& error)
{
    FT_Library openedLibrary = nullptr;
    FT_Face openedFace = nullptr;
    if (FT_Init_FreeType(&openedLibrary) != 0) {
        error = "FreeType does not start";
        return false;
    }
    const Library library(openedLibrary);
    if (FT_New_Face(library.get(), font.c_str(), 0, &openedFace) != 0) {
        error = font + ": cannot be read as a font";
        return false;
    }
    const Face face(openedFace);
    if (FT_Set_Pixel_Sizes(face.get(), 0, static_cast<FT_UInt>(size)) != 0) {
        error = font + ": has no size of " + std::to_string(size) + " pixels";
        return false;
    }
    if (const std::string missing = NameMissing(face.get(), codes); !missing.empty()) {
        error = font + ": has no character " + missing;
        return false;
    }
    sheet.size = size;
    sheet.baseLine = std::max(0, RoundUp(face->size->metrics.ascender));
    sheet.glyphs.resize(codes.size());
    std::vector<Ink> inks(codes.size());
    for (std::size_t i = 0; i < codes.size(); ++i) {
        if (!DrawGlyph(face.get(), codes[i], sheet.baseLine, sheet.glyphs[i], inks[i])) {
            error = font + ": character number " + std::to_string(codes[i]) + " cannot be drawn in grey";
            return false;
        }
    }
    sheet.lineHeight = ChooseLineHeight(sheet, RoundUp(face->size->metrics.height));
    if (!PlaceAll(sheet)) {
        error = font + ": " + std::to_string(codes.size()) + " characters of " + std::to_string(size) +
                " pixels do not fit into a texture of " + std::to_string(LargestSide) + " pixels a side";
        return false;
    }
    FillPicture(sheet, inks);
    return true;
}

} // namespace gleamfont
