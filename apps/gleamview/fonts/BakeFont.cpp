// Run by the build: draws the visible ASCII characters of a font file into one picture and writes it, with the
// description that gw::TexturedFont reads, as a source file. BakeFont FONT PIXELS OUT
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <ft2build.h>
#include <string>
#include <vector>
#include FT_FREETYPE_H

namespace {

constexpr int s_first = 32;
constexpr int s_last = 126;
constexpr int s_width = 256;

struct Glyph
{
    std::uint32_t id;
    std::int16_t x, y, width, height, xOffset, yOffset, xAdvance, unused;
};
static_assert(sizeof(Glyph) == 20);

struct Sheet
{
    std::vector<Glyph> glyphs;
    std::vector<std::uint8_t> coverage; ///< rows of s_width
    int lineHeight = 0;

    int GetHeight() const { return static_cast<int>(coverage.size()) / s_width; }
};

/// Every glyph gets a cell of its advance and the line's height, so that cells side by side are text.
bool DrawSheet(FT_Face face, Sheet& sheet)
{
    const int ascent = static_cast<int>(face->size->metrics.ascender + 63) / 64;
    sheet.lineHeight = ascent - static_cast<int>(face->size->metrics.descender - 63) / 64;
    int x = 0;
    int y = 0;
    sheet.coverage.assign(static_cast<std::size_t>(s_width * sheet.lineHeight), 0);
    for (int code = s_first; code <= s_last; ++code) {
        if (FT_Load_Char(face, static_cast<FT_ULong>(code), FT_LOAD_RENDER) != 0) {
            return false;
        }
        const FT_GlyphSlot slot = face->glyph;
        const int advance = static_cast<int>(slot->advance.x / 64);
        if (x + advance > s_width) {
            x = 0;
            y += sheet.lineHeight;
            sheet.coverage.resize(static_cast<std::size_t>(s_width * (y + sheet.lineHeight)), 0);
        }
        for (int row = 0; row < static_cast<int>(slot->bitmap.rows); ++row) {
            for (int column = 0; column < static_cast<int>(slot->bitmap.width); ++column) {
                const int cellX = column + slot->bitmap_left;
                const int cellY = row + ascent - slot->bitmap_top;
                if (cellX >= 0 && cellX < advance && cellY >= 0 && cellY < sheet.lineHeight) {
                    sheet.coverage[static_cast<std::size_t>((y + cellY) * s_width + x + cellX)] =
                        slot->bitmap.buffer[row * slot->bitmap.pitch + column];
                }
            }
        }
        const auto small = [](int value) { return static_cast<std::int16_t>(value); };
        sheet.glyphs.push_back({static_cast<std::uint32_t>(code), small(x), small(y), small(advance),
                                small(sheet.lineHeight), 0, 0, small(advance), 0});
        x += advance;
    }
    return true;
}

void AddBlock(std::string& out, char type, const void* content, std::size_t size)
{
    const auto length = static_cast<std::uint32_t>(size);
    out += type;
    out.append(reinterpret_cast<const char*>(&length), 4);
    out.append(static_cast<const char*>(content), size);
}

std::string Describe(const Sheet& sheet, int pixels)
{
    std::string out = "BMF\3";
    const std::uint16_t info[7] = {static_cast<std::uint16_t>(pixels)};
    AddBlock(out, 1, info, sizeof info);
    const auto line = static_cast<std::uint16_t>(sheet.lineHeight);
    const std::uint16_t common[8] = {line, line, s_width, static_cast<std::uint16_t>(sheet.GetHeight()), 1};
    AddBlock(out, 2, common, 15);
    AddBlock(out, 3, "overlay", 8);
    AddBlock(out, 4, sheet.glyphs.data(), sheet.glyphs.size() * sizeof(Glyph));
    return out;
}

template <class Bytes>
void WriteArray(std::ofstream& file, const char* name, const Bytes& bytes)
{
    file << "const unsigned char " << name << "[] = {";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        file << (i % 32 == 0 ? "\n" : "") << static_cast<unsigned>(static_cast<unsigned char>(bytes[i])) << ",";
    }
    file << "};\nconst unsigned " << name << "Size = " << bytes.size() << ";\n";
}

} // namespace

int main(int argc, char** argv)
{
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    Sheet sheet;
    const int pixels = argc == 4 ? std::atoi(argv[2]) : 0;
    if (pixels <= 0 || FT_Init_FreeType(&library) != 0 || FT_New_Face(library, argv[1], 0, &face) != 0 ||
        FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixels)) != 0 || !DrawSheet(face, sheet)) {
        std::fprintf(stderr, "usage: BakeFont FONT PIXELS OUT, with a font file that can be read\n");
        return 1;
    }
    std::ofstream file(argv[3]);
    file << "// Made from a font file by BakeFont.\n#include \"fonts/OverlayFontData.h\"\n\nnamespace gleamview {\n\n";
    WriteArray(file, "g_overlayFont", Describe(sheet, pixels));
    WriteArray(file, "g_overlayGlyphs", sheet.coverage);
    file << "const unsigned g_overlayGlyphsWidth = " << s_width << ";\n\n} // namespace gleamview\n";
    FT_Done_Face(face);
    FT_Done_FreeType(library);
    return file.flush().good() ? 0 : 1;
}
