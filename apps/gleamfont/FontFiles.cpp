// Writing of font description files and their textures.
#include "FontFiles.h"

#include <filesystem>
#include <fstream>
#include <png.h>

namespace gleamfont {
namespace {

namespace fs = std::filesystem;

/// Little-endian, without gaps.
class Bytes
{
public:
    template <class T>
    void Add(long long value)
    {
        for (std::size_t i = 0; i < sizeof(T); ++i)
            m_bytes += static_cast<char>(value >> 8 * i & 0xff);
    }
    void Add(const std::string& text) { m_bytes += text; }
    void AddBlock(std::uint8_t type, const Bytes& content)
    {
        Add<std::uint8_t>(type);
        Add<std::uint32_t>(static_cast<long long>(content.m_bytes.size()));
        m_bytes += content.m_bytes;
    }
    const std::string& Get() const { return m_bytes; }

private:
    std::string m_bytes;
};

Bytes Describe(const GlyphSheet& sheet, const std::string& picture)
{
    Bytes info;
    info.Add<std::uint16_t>(sheet.size);
    info.Add(std::string(12, '\0'));
    info.Add(picture + '\0');

    Bytes common;
    for (const int value : {sheet.lineHeight, sheet.baseLine, sheet.width, sheet.height, 1})
        common.Add<std::uint16_t>(value);
    common.Add(std::string(5, '\0'));

    Bytes pages;
    pages.Add(picture + '\0');

    Bytes characters;
    for (const Glyph& glyph : sheet.glyphs) {
        characters.Add<std::uint32_t>(glyph.code);
        for (const int value :
             {glyph.x, glyph.y, glyph.width, glyph.height, glyph.xOffset, glyph.yOffset, glyph.advance, 0})
            characters.Add<std::uint16_t>(value);
    }

    Bytes file;
    file.Add("BMF\3");
    file.AddBlock(1, info);
    file.AddBlock(2, common);
    file.AddBlock(3, pages);
    file.AddBlock(4, characters);
    return file;
}

bool WriteDescription(const std::string& path, const Bytes& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file << bytes.Get();
    return file.flush().good();
}

bool WritePicture(const std::string& path, const GlyphSheet& sheet)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(sheet.width);
    image.height = static_cast<png_uint_32>(sheet.height);
    image.format = PNG_FORMAT_GRAY;
    return png_image_write_to_file(&image, path.c_str(), 0, sheet.coverage.data(), sheet.width, nullptr) != 0;
}

} // namespace

bool WriteFontFiles(const GlyphSheet& sheet, const std::string& name, std::string& error)
{
    const std::string description = name + ".fnt", picture = name + ".png";
    if (!WritePicture(picture, sheet))
        error = picture + ": cannot be written";
    else if (!WriteDescription(description, Describe(sheet, fs::path(picture).filename().string())))
        error = description + ": cannot be written";
    if (error.empty())
        return true;
    std::error_code code;
    for (const std::string& path : {description, picture}) {
        if (fs::is_regular_file(path, code))
            fs::remove(path, code);
    }
    return false;
}

} // namespace gleamfont
