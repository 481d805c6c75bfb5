// Where quads go and which colour they have.
#include "Gleamwork/RendererBase.h"
#include "TextFont.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <qs/Log.h>
#include <string>

namespace {

using gw::TexVertex;
using gw::details::RendererBase;

constexpr float SPACING = text_font::LINE_HEIGHT * 0.4f;
constexpr float PITCH = text_font::LINE_HEIGHT + SPACING;

class LayoutTest : public testing::Test
{
protected:
    ~LayoutTest() override
    {
        m_font.DestroyCharData();
        EXPECT_EQ(m_log.Count(), 0u) << m_log.GetLast();
    }
    /// The vertices, and one more that must stay as it is.
    template <class Text>
    std::vector<TexVertex> Fill(const Text* text, float x = 0, float y = 0, float scale = 1, bool flip = false)
    {
        const TexVertex guard = {{-77, -77}, {-77, -77}, {-77, -77, -77}};
        std::vector<TexVertex> vertices(RendererBase::getTextQuads(text) * 6 + 1, guard);
        const int quads = RendererBase::fillTextBuffer(vertices.data(), text, x, y, scale, &m_font, flip);
        EXPECT_LE(std::size_t(quads) * 6, vertices.size() - 1);
        EXPECT_EQ(std::memcmp(&vertices.back(), &guard, sizeof(guard)), 0);
        vertices.resize(std::size_t(quads) * 6);
        return vertices;
    }
    /// The character of each quad by its place in the texture, the tag's letter of each change of colour before it.
    std::string Read(const char* text);

    gw::TexturedFont m_font = text_font::MakeFont(qs::ObjectHandle::Unassigned, true);
    qs::LogCapture m_log;
};

std::string LayoutTest::Read(const char* text)
{
    std::string read;
    float last[3] = {1, 1, 1};
    const std::vector<TexVertex> vertices = Fill(text);
    for (std::size_t i = 0; i < vertices.size(); i += 6) {
        const TexVertex& vertex = vertices[i];
        for (int corner = 1; corner < 6; ++corner) {
            EXPECT_EQ(std::memcmp(vertices[i + corner].color, vertex.color, sizeof(vertex.color)), 0);
        }
        if (std::memcmp(vertex.color, last, sizeof(last)) != 0) {
            std::memcpy(last, vertex.color, sizeof(last));
            for (float channel : last) {
                read += '<' + std::to_string(int(std::lround(channel * 255))) + '>';
            }
        }
        const int column = int(std::lround(vertex.texCoord.x * text_font::WIDTH / 8));
        read += char(32 + column + 16 * std::lround(vertex.texCoord.y * text_font::HEIGHT / 8));
    }
    return read;
}

} // namespace

TEST_F(LayoutTest, AQuadIsTwoTriangles)
{
    // 'b' is 98: 4 wide, 1 left and 2 below the pen, in cell (2, 4) of the texture.
    const float u = 16.0f / 128, v = 32.0f / 48, u1 = 20.0f / 128, v1 = 39.0f / 48;
    static_assert(text_font::UnevenOf('b').width == 4 && text_font::UnevenOf('b').xOffset == 1 &&
                  text_font::UnevenOf('b').yOffset == 2);
    const auto expect = [&](bool flip, float left, float top, float right, float bottom) {
        const std::vector<TexVertex> vertices = Fill("b", 100, 200, 2, flip);
        ASSERT_EQ(vertices.size(), 6u);
        const TexVertex corners[] = {{{left, top}, {u, v}, {}},     {{right, top}, {u1, v}, {}},
                                     {{left, bottom}, {u, v1}, {}}, {{left, bottom}, {u, v1}, {}},
                                     {{right, top}, {u1, v}, {}},   {{right, bottom}, {u1, v1}, {}}};
        for (int i = 0; i < 6; ++i) {
            EXPECT_EQ(vertices[i].position, corners[i].position) << i;
            EXPECT_NEAR(vertices[i].texCoord.x, corners[i].texCoord.x, 1e-6f) << i;
            EXPECT_NEAR(vertices[i].texCoord.y, corners[i].texCoord.y, 1e-6f) << i;
            EXPECT_EQ(vertices[i].color[0] + vertices[i].color[1] + vertices[i].color[2], 3.0f);
        }
    };
    // The pen is at line height - base line = 2 below y, or with flip at the base line 8 above it, twice that.
    expect(false, 102, 204 + 4, 110, 204 + 4 + 14);
    expect(true, 102, 216 - 4, 110, 216 - 4 - 14);
}

TEST_F(LayoutTest, ThePenAdvancesAndLinesStartAnew)
{
    for (const bool flip : {false, true}) {
        for (const float scale : {1.0f, 2.0f}) {
            const std::vector<TexVertex> quads = Fill("ab\n\nc", 5, 7, scale, flip);
            ASSERT_EQ(quads.size(), 18u);
            const auto left = [&](char code, float pen) { return pen + text_font::UnevenOf(code).xOffset * scale; };
            const auto top = [&](char code, float lines) {
                const float offset = text_font::UnevenOf(code).yOffset * scale;
                const float start = flip ? text_font::BASE_LINE : text_font::LINE_HEIGHT - text_font::BASE_LINE;
                return 7 + start * scale + lines * PITCH * scale + (flip ? -offset : offset);
            };
            EXPECT_EQ(quads[0].position, Vector2f(left('a', 5), top('a', 0)));
            EXPECT_EQ(quads[6].position,
                      Vector2f(left('b', 5 + scale * text_font::UnevenOf('a').advance), top('b', 0)));
            EXPECT_EQ(quads[12].position, Vector2f(left('c', 5), top('c', 2)));
        }
    }
    EXPECT_EQ(RendererBase::getTextQuads("ab\n\nc"), 3u);
    EXPECT_EQ(RendererBase::getTextQuads(""), 0u);
    EXPECT_EQ(RendererBase::getTextQuads(static_cast<const char*>(nullptr)), 0u);
    EXPECT_TRUE(Fill("").empty());
    EXPECT_TRUE(Fill("\n\n").empty());
    EXPECT_EQ(Fill(L"ab\nc").size(), 18u);
}

TEST_F(LayoutTest, TagsColourWhatFollows)
{
    EXPECT_EQ(Read("a|cl255;0;0;b|clx"), "a<255><0><0>b");
    EXPECT_EQ(RendererBase::getTextQuads("a|cl255;0;0;b|clx"), 17u);
    EXPECT_EQ(Read("a|cl255;0;0;b|clxc"), "a<255><0><0>b<255><255><255>c");
    EXPECT_EQ(Read("|cl1;22;133;a\nb"), "<1><22><133>ab") << "a line feed keeps the colour";
    EXPECT_EQ(Read("|cl000;0001;2;a"), "<0><1><2>a");
    EXPECT_EQ(Read("|cl9999;0;0;a"), "<9999><0><0>a") << "four digits are the most";
    EXPECT_EQ(Read("|cl1;2;3;|cl4;5;6;|clx|cl7;8;9;a"), "<7><8><9>a");
    EXPECT_EQ(Read("a|cl1;2;3;"), "a");
    EXPECT_EQ(Read("|clxx"), "x");
    // The advance of what is skipped does not count.
    EXPECT_EQ(Fill("a|clxb")[6].position, Fill("ab")[6].position);
    EXPECT_FLOAT_EQ(Fill("|cl51;0;255;a")[0].color[0], 0.2f);
}

TEST_F(LayoutTest, WhatIsNoTagIsDrawnAsItStands)
{
    for (const char* text : {"|x",
                             "|",
                             "||",
                             "a|b|c",
                             "|c",
                             "|cl",
                             "|CLx",
                             "|c lx",
                             "|cl ",
                             "|cl1",
                             "|cl1;",
                             "|cl1;2",
                             "|cl1;2;",
                             "|cl1;2;3",
                             "|cl;2;3;",
                             "|cl1;;3;",
                             "|cl1;2;;",
                             "|cl12345;0;0;",
                             "|cl1;2;00003;a",
                             "|cl-1;2;3;",
                             "|cl+1;2;3;",
                             "|cl 1;2;3;",
                             "|cl1 ;2;3;",
                             "|cl1.5;2;3;",
                             "|cl1,2,3;",
                             "|clX",
                             "|clff;0;0;"}) {
        EXPECT_EQ(Read(text), text);
    }
    EXPECT_EQ(Read("||clxa"), "|a");
    EXPECT_EQ(Read("|cl1;2;|cl1;2;3;a"), "|cl1;2;<1><2><3>a") << "a tag inside what is none";
    EXPECT_EQ(Read("|cl1;2;3;a|cl4;5;x"), "<1><2><3>a|cl4;5;x") << "the colour stays";
    EXPECT_EQ(Read("|cl1;\n2;3;"), "|cl1;2;3;") << "a tag does not go across lines";
}

TEST_F(LayoutTest, CharactersWithoutAGlyphAreSkipped)
{
    EXPECT_EQ(Read("a\tb\xe9\xff\x01"), "ab");
    EXPECT_EQ(RendererBase::getTextQuads("\xe9\t\n"), 2u);
    EXPECT_EQ(Fill(L"a\u00e9b").size(), 12u) << "two bytes, neither with a glyph";
    EXPECT_EQ(Fill("a\tb")[6].position, Fill("ab")[6].position);
    EXPECT_EQ(m_log.Count(), 0u);
    EXPECT_EQ(Read("a\x7f"), "a");
    EXPECT_TRUE(m_log.Contains("not supported by font!", qs::LogLevelAssertion));
    m_log.Clear();
}

TEST_F(LayoutTest, WidthsAreSumsOfGlyphs)
{
    const auto width = [](const char* text) {
        float sum = 0;
        for (; *text; ++text) {
            sum += *text == '\n' ? 0 : float(text_font::UnevenOf(*text).width);
        }
        return sum;
    };
    const char text[] = "ab|clx\nMore of it";
    const float whole = width(text);
    EXPECT_EQ(RendererBase::getTextWidth(&m_font, text, 0), whole) << "tags count as characters";
    EXPECT_EQ(RendererBase::getTextWidth(&m_font, text, sizeof(text) - 1), whole);
    EXPECT_EQ(RendererBase::getTextWidth(&m_font, text, 3), width("ab|"));
    EXPECT_EQ(RendererBase::getTextWidth(&m_font, L"ab|clx\nMore of it", 0), whole);
    EXPECT_EQ(RendererBase::getTextWidth(&m_font, L"ab|clx\nMore of it", 3), width("ab|"));
    EXPECT_EQ(RendererBase::getTextWidth(&m_font, "", 0), 0.0f);
    EXPECT_EQ(RendererBase::getTextWidth(nullptr, text, 0), 0.0f);
    EXPECT_TRUE(m_log.Contains("Font not found!", qs::LogLevelAssertion));
    m_log.Clear();

    EXPECT_EQ(RendererBase::getTextDimension(&m_font, text, 0), Vector2f(whole, 2 * PITCH));
    EXPECT_EQ(RendererBase::getTextDimension(&m_font, text, 2), Vector2f(width("ab"), PITCH));
    EXPECT_EQ(RendererBase::getTextDimension(&m_font, L"a\nb\n", 0), Vector2f(width("ab"), 3 * PITCH));
    EXPECT_EQ(RendererBase::getTextDimension(&m_font, "", 0), Vector2f(0, PITCH));
    EXPECT_EQ(RendererBase::getTextDimension(nullptr, text, 0), Vector2f(0, 0));
}
