// Text on a target: flat with tags and shadow, in space, and as billboards.
#include "TextFont.h"
#include "gleamwork_core/CoreFixture.h"

#include <cmath>
#include <gleam_null_device.h>
#include <string>

namespace {

using gw::Renderer;

constexpr unsigned WIDTH = 64, HEIGHT = 32;

class PictureTest : public DeviceTest
{
protected:
    void Start(const char* device);
    void TearDown() override;
    void Clear();
    /// Projects world units to pixels around the middle of the target, y up.
    void LookAlong(const Matrix4x4f& view);
    bool Flat(const char* text, float x, float y, const Vector4f& color, const Vector4f& shadow);
    /// The target in rows of letters: '.' for black, the first letter of red, green, blue, white, else '?'.
    std::vector<std::string> Rows();
    /// Rows from `y` on, `count` of them, cut to columns from `x` on.
    std::vector<std::string> Part(unsigned x, unsigned y, unsigned width, unsigned count);

    const Vector4f m_white{1, 1, 1, 1}, m_red{1, 0, 0, 1}, m_blue{0, 0, 1, 1};
    const qs::ObjectHandle& m_none = qs::ObjectHandle::Unassigned;
    qs::ObjectHandle m_target, m_glyphs, m_font;
};

void PictureTest::Start(const char* device)
{
    StartDevice(device);
    m_target = MakeTarget(WIDTH, HEIGHT);
    m_glyphs = MakeTexture(text_font::WIDTH, text_font::HEIGHT, text_font::MakePixels().data());
    m_font = m_renderer->AddFont(text_font::MakeFont(m_glyphs, false));
    Clear();
}

void PictureTest::TearDown()
{
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->RemoveFont(m_font);
    m_renderer->RemoveTexture(m_target, true, true);
    DeviceTest::TearDown();
}

void PictureTest::Clear()
{
    m_renderer->SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->ClearRenderTarget(m_target, -1, {0, 0, 0, 1});
    m_renderer->Setup2DMode(0, WIDTH, 0, HEIGHT);
    LookAlong(Matrix4x4f());
}

void PictureTest::LookAlong(const Matrix4x4f& view)
{
    const Matrix4x4f pixels = {{2.0f / WIDTH, 0, 0, 0, 0, 2.0f / HEIGHT, 0, 0, 0, 0, 0.001f, 0, 0, 0, 0.5f, 1}};
    m_renderer->SetRenderProperties(view, pixels, Vector3f(), 0, 0);
}

bool PictureTest::Flat(const char* text, float x, float y, const Vector4f& color, const Vector4f& shadow)
{
    return m_renderer->drawText(text, x, y, color, shadow, m_font, Renderer::SS(gw::SS_POINT_WRAP),
                                Renderer::BS(gw::BS_ALPHA), Renderer::DS(gw::DS_NONE));
}

std::vector<std::string> PictureTest::Rows()
{
    const std::vector<Pixel> pixels = ReadPixels(m_target);
    std::vector<std::string> rows(HEIGHT, std::string(WIDTH, '?'));
    for (unsigned i = 0; i < WIDTH * HEIGHT; ++i) {
        const Pixel& p = pixels[i];
        const int code = (p[0] == 255) * 4 + (p[1] == 255) * 2 + (p[2] == 255);
        if (p[0] % 255 + p[1] % 255 + p[2] % 255 == 0) {
            rows[i / WIDTH][i % WIDTH] = ".bg?r??w"[code];
        }
    }
    return rows;
}

std::vector<std::string> PictureTest::Part(unsigned x, unsigned y, unsigned width, unsigned count)
{
    const std::vector<std::string> rows = Rows();
    std::vector<std::string> part;
    for (unsigned row = y; row < y + count; ++row) {
        part.push_back(rows[row].substr(x, width));
    }
    return part;
}

using Picture = std::vector<std::string>;

TEST_F(PictureTest, FlatTextWithTagsAndShadow)
{
    Start("software");
    // The first glyph's top is at y + (line height - base line) + its own offset = y + 3.
    EXPECT_TRUE(Flat("A|cl255;0;0;B|clxC\n|cl0;255;0;D", 4, 1, m_white, m_white));
    const Picture letters = {"w.....r.....w....", "w.....r.....w....", "w.....r.....w....", "w.....r.....w....",
                             "w.....r.....w....", "w.....r.....w....", "wwwww.rrrrr.wwwww"};
    EXPECT_EQ(Part(4, 4, 17, 7), letters);
    const Picture below = {"g....", "g....", "g....", "g....", "g....", "g....", "ggggg"};
    EXPECT_EQ(Part(4, 18, 5, 7), below) << "a pitch of 14 lower";
    std::string all;
    for (const std::string& row : Rows()) {
        all += row;
    }
    EXPECT_EQ(std::count(all.begin(), all.end(), '.'), WIDTH * HEIGHT - 4 * 11);

    Clear();
    EXPECT_TRUE(Flat("A", 4, 1, m_white, m_blue));
    const Picture shadowed = {"b.....", "bw....", "bw....", "bw....", "bw....", "bw....", "bwbbb.", ".wwwww"};
    EXPECT_EQ(Part(3, 3, 6, 8), shadowed) << "the shadow lies under the text, a pixel up and left";
}

TEST_F(PictureTest, TextInSpaceStandsUpright)
{
    Start("software");
    Matrix4x4f world;
    world.SetTranslate({-20, 3, 0});
    // The base line, 8 below the line's top, is at y = 3; the glyph hangs from 1 below the top, so to 3 + 8 - 1 - 7.
    EXPECT_TRUE(m_renderer->drawText3D("A|cl255;0;0;B", world, m_white, m_font, Renderer::DS(gw::DS_NONE)));
    const Picture letters = {"w.....r....", "w.....r....", "w.....r....", "w.....r....",
                             "w.....r....", "w.....r....", "wwwww.rrrrr"};
    EXPECT_EQ(Part(12, 6, 11, 7), letters);
    // A quarter turn to the left around the glyph's corner: what pointed right points up.
    Clear();
    const Matrix4x4f turn = {{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 10, 0, 0, 1}};
    EXPECT_TRUE(m_renderer->drawText3D(L"A", turn, m_red, m_font, Renderer::DS(gw::DS_NONE)));
    const Picture turned = {"......r", "......r", "......r", "......r", "rrrrrrr"};
    EXPECT_EQ(Part(35, 11, 7, 5), turned);
}

TEST_F(PictureTest, BillboardsFaceTheCamera)
{
    Start("software");
    const auto draw = [&](const Vector3f& place, const char* text) {
        Matrix4x4f world;
        world.SetTranslate(place);
        EXPECT_TRUE(m_renderer->drawTextBillboard3D(text, world, m_white, m_font, Renderer::DS(gw::DS_NONE)));
        return Rows();
    };
    // 4 glyphs of 5 pixels are 20 wide, so the first starts 10 left of the place; they are 6 apart.
    const Picture straight = draw({2, 0, 0}, "ABCD");
    for (int glyph = 0; glyph < 4; ++glyph) {
        EXPECT_EQ(straight[15].substr(24 + 6 * glyph, 6), "wwwww.");
        EXPECT_EQ(straight[10].substr(24 + 6 * glyph, 6), "w.....");
    }
    // Any turn of the camera shows the same text where the place comes to lie. The views turn points as rows do.
    const float c = std::cos(0.7f), s = std::sin(0.7f);
    const Matrix4x4f views[] = {{{c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 0, 0, 1}},
                                {{1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1}},
                                {{c, s, 0, 0, -s, c, 0, 0, 0, 0, 1, 0, 5, 3, 1, 1}}};
    for (const Matrix4x4f& view : views) {
        const Vector3f place = view.Inverted().TransformPoint({2, 0, 0});
        Clear();
        LookAlong(view);
        EXPECT_EQ(draw(place, "ABCD"), straight);
    }
    Clear();
    EXPECT_EQ(draw({2, 0, 0}, "A|clxBCD").at(15).find('w'), straight[15].find('w') - 10) << "tags count in the width";
}

TEST_F(PictureTest, WhatCannotBeDrawn)
{
    Start("null");
    const auto draws = [] { return GleamNullCallCountOf("Draw"); };
    const std::uint64_t before = draws();
    EXPECT_TRUE(Flat("", 0, 0, m_white, m_red));
    EXPECT_TRUE(Flat("\n\n", 0, 0, m_white, m_red));
    EXPECT_TRUE(Flat("\xe9\t", 0, 0, m_white, m_red));
    EXPECT_TRUE(m_renderer->drawText3D("", Matrix4x4f(), m_white, m_font, m_none));
    EXPECT_FALSE(m_renderer->drawText3D(static_cast<const char*>(nullptr), Matrix4x4f(), m_white, m_font, m_none));
    EXPECT_FALSE(m_renderer->drawText3D(static_cast<const wchar_t*>(nullptr), Matrix4x4f(), m_white, m_font, m_none));
    ExpectQuiet();
    EXPECT_FALSE(m_renderer->drawText("A", 0, 0, m_white, m_red, m_none, m_none, m_none, m_none));
    ExpectAssert("Font wasn't found, aborting drawing!");
    EXPECT_FALSE(m_renderer->drawText3D("A", Matrix4x4f(), m_white, m_none, m_none));
    ExpectAssert("Font wasn't found, aborting drawing!");
    EXPECT_FALSE(m_renderer->drawTextBillboard3D(L"A", Matrix4x4f(), m_white, m_none, m_none));
    ExpectAssert("Font wasn't found, aborting drawing!");
    EXPECT_EQ(draws(), before);
    EXPECT_TRUE(Flat("A", 0, 0, m_white, m_white));
    EXPECT_EQ(draws(), before + 1);
    EXPECT_TRUE(Flat("A", 0, 0, m_white, {1, 1, 1, 0.5f}));
    EXPECT_EQ(draws(), before + 3) << "any difference of the colours makes a shadow";
}

TEST_F(PictureTest, LongTextsAreDrawnWhole)
{
    Start("null");
    const auto expectRoomFor = [](int glyphs) {
#ifndef GLEAM_SANITIZE // whose operators are not accounted
        EXPECT_EQ(qs::MemoryManager::GetUsage("TexVertex*").bytes, std::int64_t(glyphs * 6 * sizeof(gw::TexVertex)));
#endif
    };
    std::string text(100, 'A');
    EXPECT_TRUE(Flat(text.c_str(), 0, 0, m_white, m_white));
    expectRoomFor(100);
    text.assign(5000, 'B');
    EXPECT_TRUE(m_renderer->drawText3D(text.c_str(), Matrix4x4f(), m_white, m_font, Renderer::DS(gw::DS_NONE)));
    expectRoomFor(5000);
    EXPECT_TRUE(Flat("A", 0, 0, m_white, m_white));
    expectRoomFor(5000); // it never shrinks
}

} // namespace
