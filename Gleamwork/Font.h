// Bitmap fonts: a texture with glyphs, the table that says where each glyph lies, and the vertices that draw them.
#pragma once

#include "Gleamwork/Export.h"

#include <cstdint>
#include <qs/Math.h>
#include <qs/Memory.h>
#include <qs/ObjectHandle.h>

namespace qs {
class FileReader;
}

namespace gw {

/// Vertex of the textured draws, 28 bytes without gaps.
struct TexVertex
{
    Vector2f position;
    Vector2f texCoord;
    float color[3]; ///< red, green, blue
};

static_assert(sizeof(TexVertex) == 28, "the built-in vertex format reads these records");

/// One glyph. Texture coordinates run from 0 to 1 over the texture, all else is in pixels.
struct Character
{
    float u;
    float v;
    float width;
    float height;
    float xOffset;
    float yOffset;
    float xAdvance;
    float uWidth;
    float vHeight;
};

class CharacterMap;

/// A font is a plain value: copies share the glyph table, the destructor frees nothing, and DestroyCharData on any one
/// copy ends the table for all of them. Parsed on a loading thread, then only read, on any thread.
struct GW_API TexturedFont
{
    QS_DECLARE_ALLOC(gw::TexturedFont)

    /// Reads a font description, replacing what the font held.
    ///
    /// The file is little-endian and packed: a 4-byte signature, then four blocks (info, common, pages, chars), each
    /// with a 5-byte head of type and size. Signature and types are not checked. A file that ends early, or whose
    /// blocks are larger than what is left of it, keeps what was read up to there; the rest is reported as an error
    /// that names the file.
    void Parse(qs::FileReader* reader, qs::ObjectHandle fontTexture);
    /// Frees the glyph table; a font without one is accepted.
    void DestroyCharData();

    /// The glyph of a character code, or null. Codes below 32 are silently without a glyph, others assert.
    const Character* GetCharacter(wchar_t code) const;
    /// As above; bytes of 128 and above count as below 32.
    const Character* GetCharacter(char code) const;
    /// Pixels between lines; the line pitch is lineHeight plus this.
    float GetLineSpacing() const { return lineHeight * 0.4f; }
    std::uint16_t GetBaseLine() const { return baseLine; }

    const qs::ObjectHandle& GetHandle() const { return handle; }
    void SetHandle(const qs::ObjectHandle& value) { handle = value; }
    static std::uint32_t GetType() { return s_Type; }

    CharacterMap* characters = nullptr; ///< glyphs by 16-bit character code; built by Parse
    qs::ObjectHandle texture = qs::ObjectHandle::Unassigned;
    float lineHeight = 0; ///< pixels: the larger of the file's line height and the tallest glyph
    std::uint16_t fontSize = 0;
    std::uint16_t baseLine = 0;
    qs::ObjectHandle handle; ///< written by the container

    static std::uint32_t s_Type; ///< type index of font handles
};

} // namespace gw
