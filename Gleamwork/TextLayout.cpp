// Layout of text into quads, with colour tags.
#include "Gleamwork/Font.h"
#include "Gleamwork/RendererBase.h"

#include <cstring>
#include <qs/Log.h>
#include <qs/String.h>

namespace gw::details {
namespace {

constexpr char TAG[] = "|cl";
constexpr std::size_t TAG_LENGTH = sizeof TAG - 1;
constexpr int MAX_DIGITS = 4;

struct TextColor
{
    float red = 1.0f;
    float green = 1.0f;
    float blue = 1.0f;
};

// One to four digits and a semicolon; gives what stands behind them, or null.
const char* ParseChannel(const char* text, float& channel)
{
    int value = 0;
    int digits = 0;
    while (digits < MAX_DIGITS && text[digits] >= '0' && text[digits] <= '9') {
        value = value * 10 + (text[digits++] - '0');
    }
    if (digits == 0 || text[digits] != ';') {
        return nullptr;
    }
    channel = float(value) / 255.0f;
    return text + digits + 1;
}

// Applies a tag and gives what stands behind it; null when the text does not start with one.
const char* ParseTag(const char* text, TextColor& color)
{
    if (std::strncmp(text, TAG, TAG_LENGTH) != 0) {
        return nullptr;
    }
    text += TAG_LENGTH;
    if (*text == 'x') {
        color = {};
        return text + 1;
    }
    TextColor parsed;
    for (float* channel : {&parsed.red, &parsed.green, &parsed.blue}) {
        text = ParseChannel(text, *channel);
        if (!text) {
            return nullptr;
        }
    }
    color = parsed;
    return text;
}

struct Quad
{
    float left, top, right, bottom;
};

void WriteQuad(TexVertex* vertices, const Quad& quad, const Character& glyph, const TextColor& color)
{
    const float u = glyph.u + glyph.uWidth;
    const float v = glyph.v + glyph.vHeight;
    const TexVertex leftTop{{quad.left, quad.top}, {glyph.u, glyph.v}, {color.red, color.green, color.blue}};
    const TexVertex rightTop{{quad.right, quad.top}, {u, glyph.v}, {color.red, color.green, color.blue}};
    const TexVertex leftBottom{{quad.left, quad.bottom}, {glyph.u, v}, {color.red, color.green, color.blue}};
    const TexVertex rightBottom{{quad.right, quad.bottom}, {u, v}, {color.red, color.green, color.blue}};
    vertices[0] = leftTop;
    vertices[1] = rightTop;
    vertices[2] = leftBottom;
    vertices[3] = leftBottom;
    vertices[4] = rightTop;
    vertices[5] = rightBottom;
}

bool IsAtEnd(const char* text, std::uint64_t position, std::uint64_t length)
{
    return length == 0 ? text[position] == '\0' : position == length;
}

float GetLinePitch(const TexturedFont& font)
{
    return font.GetLineSpacing() + font.lineHeight;
}

// Width of a character's glyph; 0 without one.
float GetGlyphWidth(const TexturedFont& font, char code)
{
    const Character* glyph = font.GetCharacter(code);
    return glyph ? glyph->width : 0.0f;
}

} // namespace

int RendererBase::fillTextBuffer(TexVertex* vertices, const char* text, float x, float y, float scale,
                                 const TexturedFont* font, bool flip)
{
    const float baseLine = float(font->baseLine);
    const float direction = flip ? -scale : scale;
    float penX = x;
    float penY = y + scale * (flip ? baseLine : font->lineHeight - baseLine);
    TextColor color;
    int quads = 0;
    while (*text != '\0') {
        if (*text == '\n') {
            penX = x;
            penY += GetLinePitch(*font) * scale;
            ++text;
            continue;
        }
        if (*text == TAG[0]) {
            if (const char* behind = ParseTag(text, color)) {
                text = behind;
                continue;
            }
        }
        const Character* glyph = font->GetCharacter(*text++);
        if (!glyph) {
            continue;
        }
        Quad quad;
        quad.left = penX + glyph->xOffset * scale;
        quad.right = quad.left + glyph->width * scale;
        quad.top = penY + glyph->yOffset * direction;
        quad.bottom = quad.top + glyph->height * direction;
        WriteQuad(vertices + quads * 6, quad, *glyph, color);
        penX += glyph->xAdvance * scale;
        ++quads;
    }
    return quads;
}

unsigned RendererBase::getTextQuads(const char* text)
{
    unsigned quads = 0;
    for (; text && *text != '\0'; ++text) {
        quads += *text != '\n';
    }
    return quads;
}

float RendererBase::getTextWidth(const TexturedFont* font, const char* text, std::uint64_t length)
{
    if (!font) {
        QS_LOG_ASSERT("Gleamwork/TextLayout", "gw::details::RendererBase::getTextWidth", "Font not found!");
        return 0.0f;
    }
    float width = 0.0f;
    for (std::uint64_t i = 0; !IsAtEnd(text, i, length); ++i) {
        width += GetGlyphWidth(*font, text[i]);
    }
    return width;
}

Vector2f RendererBase::getTextDimension(const TexturedFont* font, const char* text, std::uint64_t length)
{
    if (!font) {
        return {0.0f, 0.0f};
    }
    Vector2f dimension{0.0f, GetLinePitch(*font)};
    for (std::uint64_t i = 0; !IsAtEnd(text, i, length); ++i) {
        if (text[i] == '\n') {
            dimension.y += GetLinePitch(*font);
        } else {
            dimension.x += GetGlyphWidth(*font, text[i]);
        }
    }
    return dimension;
}

int RendererBase::fillTextBuffer(TexVertex* vertices, const wchar_t* text, float x, float y, float scale,
                                 const TexturedFont* font, bool flip)
{
    const qs::Localization::ConvertWideToMultiByte converted(text, -1);
    return fillTextBuffer(vertices, converted.Get(), x, y, scale, font, flip);
}

unsigned RendererBase::getTextQuads(const wchar_t* text)
{
    const qs::Localization::ConvertWideToMultiByte converted(text, -1);
    return getTextQuads(converted.Get());
}

float RendererBase::getTextWidth(const TexturedFont* font, const wchar_t* text, std::uint64_t length)
{
    const qs::Localization::ConvertWideToMultiByte converted(text, length == 0 ? -1 : int(length));
    return getTextWidth(font, converted.Get(), 0);
}

Vector2f RendererBase::getTextDimension(const TexturedFont* font, const wchar_t* text, std::uint64_t length)
{
    const qs::Localization::ConvertWideToMultiByte converted(text, length == 0 ? -1 : int(length));
    return getTextDimension(font, converted.Get(), 0);
}

} // namespace gw::details
