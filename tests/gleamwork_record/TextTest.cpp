// Recorded text: laid out while recording, drawn as direct text is.
#include "RecordFixture.h"

#include "Gleamwork/Font.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <qs/FileSystem.h>
#include <unistd.h>

namespace {

using Buffer = gw::RendererCommandBuffer;
using gw::Renderer;

class TextTest : public RecordTest
{
protected:
    TextTest() { m_device = "software"; }
    void SetUp() override;
    void TearDown() override;
    /// The records in the stream, which hold textured draws only.
    static std::vector<std::vector<char>> Records(Buffer& buffer);
    /// What `draw` leaves in the target in either mode.
    template <class Draw>
    std::vector<Pixel> Picture(bool recording, const Draw& draw);

    qs::ObjectHandle m_font, m_glyphs;
    const Vector4f m_white{1, 1, 1, 1}, m_red{1, 0, 0, 1};
    const qs::ObjectHandle& m_none = qs::ObjectHandle::Unassigned;
};

/// A font whose one glyph, 'A', is two by three pixels.
std::string FontFile()
{
    const auto block = [](char type, const std::string& content) {
        const auto size = std::uint32_t(content.size());
        return std::string(1, type) + std::string(reinterpret_cast<const char*>(&size), 4) + content;
    };
    const std::uint16_t common[] = {4, 3, 4, 4, 1, 0, 0};
    const std::uint32_t id = 'A';
    const std::int16_t glyph[] = {0, 0, 2, 3, 0, 0, 3, 0};
    return "BMF\3" + block(1, std::string(14, '\0') + "font") +
           block(2, std::string(reinterpret_cast<const char*>(common), 14) + '\0') + block(3, "font.png") +
           block(4, std::string(reinterpret_cast<const char*>(&id), 4) +
                        std::string(reinterpret_cast<const char*>(glyph), 16));
}

void TextTest::SetUp()
{
    RecordTest::SetUp();
    std::vector<Pixel> pixels(16, Pixel{255, 255, 255, 255});
    m_glyphs = MakeTexture(4, 4, pixels.data());
    const std::string path = testing::TempDir() + "recorded" + std::to_string(getpid()) + ".fnt";
    std::ofstream(path, std::ios::binary) << FontFile();
    qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, path.c_str()));
    gw::TexturedFont font;
    font.Parse(&reader, m_glyphs);
    m_font = m_renderer->AddFont(font);
    std::filesystem::remove(path);
}

void TextTest::TearDown()
{
    m_renderer->RemoveFont(m_font);
    RecordTest::TearDown();
}

std::vector<std::vector<char>> TextTest::Records(Buffer& buffer)
{
    std::vector<std::vector<char>> records;
    qs::CommandDispatcherBuffer& stream = buffer.GetCommandStream();
    auto context = stream.PreExecuteCommandBuffer();
    for (std::size_t size = 0; stream.NextCommand(context, size);) {
        const char* record = stream.LocateRecord(context);
        size = *record == 38 ? 136 : 80;
        records.emplace_back(record, record + size);
    }
    stream.PostExecuteCommandBuffer(context, false);
    return records;
}

template <class Draw>
std::vector<Pixel> TextTest::Picture(bool recording, const Draw& draw)
{
    Buffer buffer;
    buffer.SetRecording(recording);
    buffer.SetRenderTargets(1, &m_target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    buffer.ClearRenderTarget(m_target, -1, Vector4f(0, 0, 0, 1));
    buffer.Setup2DMode(0, 8, 0, 8);
    const Matrix4x4f pixels = {{0.25f, 0, 0, 0, 0, 0.25f, 0, 0, 0, 0, 1, 0, -1, -1, 0.5f, 1}};
    buffer.SetRenderProperties(Matrix4x4f(), pixels, Vector3f(), 0, 0);
    EXPECT_TRUE(draw(buffer));
    if (recording) {
        Replay(buffer);
    }
    return ReadPixels(m_target);
}

TEST_F(TextTest, LooksLikeDirectText)
{
    const qs::ObjectHandle blend = Renderer::BS(gw::BS_OPAQUE), depth = Renderer::DS(gw::DS_NONE);
    const auto flat = [&](Buffer& buffer) {
        return buffer.DrawText("A\nA", 2, 1, m_white, m_red, m_font, Renderer::SS(gw::SS_POINT_WRAP), blend, depth);
    };
    const auto space = [&](Buffer& buffer) { return buffer.DrawText3D(L"AA", Matrix4x4f(), m_red, m_font, depth); };
    const std::vector<Pixel> direct = Picture(false, flat), direct3D = Picture(false, space);
    EXPECT_EQ(direct[2 * 8 + 2], (Pixel{255, 255, 255, 255}));
    EXPECT_EQ(direct[1 * 8 + 1], (Pixel{255, 0, 0, 255})) << "the shadow";
    EXPECT_EQ(std::count(direct3D.begin(), direct3D.end(), Pixel{255, 0, 0, 255}), 12);
    EXPECT_EQ(Picture(true, flat), direct);
    EXPECT_EQ(Picture(true, space), direct3D);
}

TEST_F(TextTest, RecordsOneDrawForEachColourOverTheSameVertices)
{
    Buffer buffer;
    const auto draw = [&](const char* text, const Vector4f& shadow) {
        return buffer.DrawText(text, 5, 6, m_white, shadow, m_font, m_target, m_shader, m_texture);
    };
    EXPECT_TRUE(draw("", m_red));
    EXPECT_TRUE(draw("\n\n", m_red));
    EXPECT_TRUE(buffer.DrawText3D("", Matrix4x4f(), m_red, m_font, m_none));
    EXPECT_FALSE(buffer.DrawText3D(static_cast<const char*>(nullptr), Matrix4x4f(), m_red, m_font, m_none));
    EXPECT_TRUE(buffer.GetCommandStream().IsEmpty());
    EXPECT_FALSE(buffer.DrawText("A", 0, 0, m_red, m_red, m_none, m_none, m_none, m_none));
    ExpectAssert("Font wasn't found, aborting drawing!");

    EXPECT_TRUE(draw("A", m_white));
    EXPECT_EQ(Records(buffer).size(), 1u);
    EXPECT_TRUE(draw("AA", m_red));
    EXPECT_TRUE(buffer.DrawText3D("A", Matrix4x4f(), m_red, m_font, m_texture));
    const auto records = Records(buffer);
    ASSERT_EQ(records.size(), 4u);
    const auto read = [&]<class T>(unsigned record, std::size_t offset, T value) {
        std::memcpy(static_cast<void*>(&value), records[record].data() + offset, sizeof(T));
        return value;
    };
    EXPECT_EQ(read(1, 16, std::uint64_t()), read(2, 16, std::uint64_t())) << "the vertices";
    EXPECT_EQ(read(1, 4, Vector2f()), Vector2f(4, 5));
    EXPECT_EQ(read(2, 4, Vector2f()), Vector2f(5, 6));
    EXPECT_EQ(read(2, 24, 0u), 12u);
    EXPECT_EQ(read(2, 32, m_none), m_glyphs);
    EXPECT_EQ(read(2, 40, m_none), m_target);
    EXPECT_EQ(read(1, 64, m_white), m_red);
    EXPECT_EQ(records[3][0], 38);
    EXPECT_EQ(read(3, 4, Matrix4x4f::Zero()), Matrix4x4f());
    EXPECT_EQ(read(3, 72, std::uint64_t()) % 16, 0u);
    EXPECT_EQ(read(3, 80, 0u), 6u);
    EXPECT_EQ(read(3, 88, m_none), m_glyphs);
    EXPECT_EQ(read(3, 96, m_none), Renderer::SS(gw::SS_POINT_WRAP));
    EXPECT_EQ(read(3, 104, m_none), Renderer::BS(gw::BS_ALPHA));
    EXPECT_EQ(read(3, 112, m_none), m_texture);
    EXPECT_EQ(read(3, 120, m_white), m_red);
    buffer.Discard();
}

} // namespace
