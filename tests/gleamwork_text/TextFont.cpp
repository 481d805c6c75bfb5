// The description and the pixels of the tests' font.
#include "TextFont.h"

#include <cstdio>
#include <qs/FileSystem.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace text_font {
namespace {

constexpr int FIRST = 32, LAST = 126;

void AddBlock(std::string& out, char type, const std::string& content)
{
    const auto size = std::uint32_t(content.size());
    out += type;
    out.append(reinterpret_cast<const char*>(&size), 4);
    out += content;
}

std::string MakeDescription(bool uneven)
{
    std::string out = "BMF\3";
    const std::uint16_t info[7] = {LINE_HEIGHT};
    const std::uint16_t common[] = {LINE_HEIGHT, BASE_LINE, WIDTH, HEIGHT, 1, 0, 0};
    AddBlock(out, 1, std::string(reinterpret_cast<const char*>(info), 14) + "Tests");
    AddBlock(out, 2, std::string(reinterpret_cast<const char*>(common), 14) + '\0');
    AddBlock(out, 3, "tests.png");
    std::string chars;
    for (std::uint32_t code = FIRST; code <= LAST; ++code) {
        const Uneven own = uneven ? UnevenOf(int(code)) : Uneven{GLYPH_WIDTH, X_OFFSET, Y_OFFSET, ADVANCE};
        const auto cell = int(code) - FIRST;
        const int values[] = {cell % 16 * 8, cell / 16 * 8, own.width,   GLYPH_HEIGHT,
                              own.xOffset,   own.yOffset,   own.advance, 0};
        chars.append(reinterpret_cast<const char*>(&code), 4);
        for (int value : values) {
            const auto word = std::int16_t(value);
            chars.append(reinterpret_cast<const char*>(&word), 2);
        }
    }
    AddBlock(out, 4, chars);
    return out;
}

} // namespace

std::vector<unsigned char> MakePixels()
{
    std::vector<unsigned char> pixels(WIDTH * HEIGHT * 4);
    for (unsigned i = 0; i < WIDTH * HEIGHT; ++i) {
        const int x = int(i % WIDTH % 8), y = int(i / WIDTH % 8);
        const bool ink = x < GLYPH_WIDTH && y < GLYPH_HEIGHT && (x == 0 || y == GLYPH_HEIGHT - 1);
        std::fill_n(&pixels[i * 4], 4, ink ? 255 : 0);
    }
    return pixels;
}

gw::TexturedFont MakeFont(qs::ObjectHandle texture, bool uneven)
{
    const std::string description = MakeDescription(uneven);
    const int file = memfd_create("font", 0);
    gw::TexturedFont font;
    if (pwrite(file, description.data(), description.size(), 0) == ssize_t(description.size())) {
        char name[64];
        std::snprintf(name, sizeof(name), "/proc/self/fd/%d", file);
        qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, name));
        font.Parse(&reader, texture);
    }
    close(file);
    return font;
}

} // namespace text_font
