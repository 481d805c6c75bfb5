// The reader of font descriptions, on files built here.
#include "Gleamwork/Font.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <qs/Memory.h>
#include <string>
#include <unistd.h>

namespace {

struct Glyph
{
    std::uint32_t id;
    std::int16_t x, y, width, height, xOffset, yOffset, xAdvance;
    std::uint16_t unused = 0;
};
static_assert(sizeof(Glyph) == 20);

class FontBytes
{
public:
    std::uint16_t pages = 1;
    std::string pageNames = "font.png";
    std::vector<Glyph> glyphs;

    std::string Build() const
    {
        std::string out = "BMF\3";
        const std::uint16_t info[7] = {16};
        AddBlock(out, 1, std::string(reinterpret_cast<const char*>(info), 14) + "Some font");
        const std::uint16_t common[] = {20, 15, 256, 128, pages, 0, 0};
        AddBlock(out, 2, std::string(reinterpret_cast<const char*>(common), 14) + '\0');
        AddBlock(out, 3, pageNames);
        AddBlock(out, 4, std::string(reinterpret_cast<const char*>(glyphs.data()), glyphs.size() * sizeof(Glyph)));
        return out + "kerning that nobody reads";
    }

private:
    static void AddBlock(std::string& out, char type, const std::string& content)
    {
        const std::uint32_t size = std::uint32_t(content.size());
        out += type;
        out.append(reinterpret_cast<const char*>(&size), 4);
        out += content;
    }
};

class FontTest : public testing::Test
{
protected:
    void Parse(const std::string& bytes)
    {
        std::ofstream(m_path, std::ios::binary) << bytes;
        qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, m_path.c_str()));
        ASSERT_TRUE(reader.IsLoaded());
        m_font.Parse(&reader, qs::ObjectHandle(1, 2, 3));
    }

    void TearDown() override
    {
        m_font.DestroyCharData();
        std::filesystem::remove(m_path);
    }

    const std::string m_path = testing::TempDir() + "font" + std::to_string(getpid()) + ".fnt";
    gw::TexturedFont m_font;
    qs::LogCapture m_log;
};

} // namespace

TEST_F(FontTest, ReadsGlyphsAndMetrics)
{
    FontBytes file;
    file.glyphs = {{'A', 64, 32, 8, 12, -1, 2, 9},
                   {0xe9, 0, 0, 1, 2, 3, 4, 5},
                   {65534, 0, 0, 1, 1, 1, 1, 1},
                   {65535, 0, 0, 1, 99, 1, 1, 1},
                   {0x10041, 0, 0, 77, 99, 1, 1, 1}};
    Parse(file.Build());
    EXPECT_EQ(m_font.fontSize, 16);
    EXPECT_EQ(m_font.GetBaseLine(), 15);
    EXPECT_EQ(m_font.lineHeight, 20.0f);
    EXPECT_EQ(m_font.GetLineSpacing(), 8.0f);
    EXPECT_EQ(m_font.texture, qs::ObjectHandle(1, 2, 3));
    const gw::Character* a = m_font.GetCharacter('A');
    ASSERT_NE(a, nullptr);
    const float expected[9] = {0.25f, 0.25f, 8, 12, -1, 2, 9, 8 / 256.0f, 12 / 128.0f};
    EXPECT_EQ(std::memcmp(a, expected, sizeof(expected)), 0);
    EXPECT_EQ(m_font.GetCharacter(L'A'), a);
    EXPECT_NE(m_font.GetCharacter(wchar_t(0xe9)), nullptr);
    EXPECT_NE(m_font.GetCharacter(wchar_t(65534)), nullptr);
    EXPECT_EQ(m_font.GetCharacter('\xe9'), nullptr);
    EXPECT_EQ(m_font.GetCharacter('\t'), nullptr);
    EXPECT_EQ(m_font.GetCharacter(L'\n'), nullptr);
    EXPECT_EQ(m_log.Count(), 0u);

    EXPECT_EQ(m_font.GetCharacter('B'), nullptr);
    EXPECT_TRUE(m_log.Contains("Character 'B' not supported by font!", qs::LogLevelAssertion));
    EXPECT_EQ(m_font.GetCharacter(wchar_t(65535)), nullptr);
    EXPECT_TRUE(m_log.Contains("Character 'U65535' (unicode) not supported by font!", qs::LogLevelAssertion));
    EXPECT_EQ(m_font.GetCharacter(wchar_t(0x10041)), nullptr);
    EXPECT_EQ(m_log.Count(qs::LogLevelAssertion), 3u);
}

TEST_F(FontTest, TallGlyphRaisesTheLineAndALaterRecordReplacesAnEarlier)
{
    FontBytes file;
    file.glyphs = {{'A', 0, 0, 8, 31, 0, 0, 9}, {'A', 0, 0, 5, 6, 0, 0, 7}};
    // The same bucket, so that chains are walked.
    for (std::uint32_t i = 1; i <= 5; ++i) {
        file.glyphs.push_back({'A' + i * 37, 0, 0, std::int16_t(i), 1, 0, 0, 1});
    }
    Parse(file.Build());
    EXPECT_EQ(m_font.lineHeight, 31.0f);
    EXPECT_EQ(m_font.GetCharacter('A')->width, 5.0f);
    for (int i = 1; i <= 5; ++i) {
        EXPECT_EQ(m_font.GetCharacter(wchar_t('A' + i * 37))->width, float(i));
    }
}

TEST_F(FontTest, SecondParseReleasesTheFirstTable)
{
    FontBytes file;
    file.glyphs = {{'A', 0, 0, 8, 12, 0, 0, 9}};
    const std::int64_t before = qs::MemoryManager::GetUsage("gw::CharacterMap").blocks;
    Parse(file.Build());
    file.glyphs[0].id = 'B';
    Parse(file.Build());
    EXPECT_EQ(qs::MemoryManager::GetUsage("gw::CharacterMap").blocks, before + 1);
    EXPECT_NE(m_font.GetCharacter('B'), nullptr);
    EXPECT_EQ(m_font.GetCharacter('A'), nullptr);
    m_font.DestroyCharData();
    m_font.DestroyCharData();
    EXPECT_EQ(qs::MemoryManager::GetUsage("gw::CharacterMap").blocks, before);
}

TEST_F(FontTest, PagesOtherThanOneAssert)
{
    FontBytes file;
    file.glyphs = {{'A', 0, 0, 8, 12, 0, 0, 9}};
    file.pages = 0;
    Parse(file.Build());
    EXPECT_TRUE(m_log.Contains("Font parse error: common.m_usPages = 0", qs::LogLevelAssertion));
    EXPECT_NE(m_font.GetCharacter('A'), nullptr);
    file.pages = 3;
    Parse(file.Build());
    EXPECT_TRUE(m_log.Contains("Font parse error: common.m_usPages = 3", qs::LogLevelAssertion));
}

// Whatever its length, a file that ends early is reported with its name and keeps what was whole.
TEST_F(FontTest, EveryTruncationIsReported)
{
    FontBytes file;
    file.glyphs = {{'A', 0, 0, 8, 12, 0, 0, 9}, {'B', 0, 0, 8, 12, 0, 0, 9}};
    const std::string whole = file.Build();
    const std::size_t needed = whole.find("kerning");
    for (std::size_t size = 0; size < needed; ++size) {
        m_log.Clear();
        Parse(whole.substr(0, size));
        EXPECT_EQ(m_log.CountContaining(m_path.c_str(), qs::LogLevelError), 1u) << size;
        EXPECT_EQ(m_font.GetCharacter('A') != nullptr, size >= needed - sizeof(Glyph)) << size;
        EXPECT_EQ(m_font.GetCharacter('B'), nullptr) << size;
    }
    std::string lying = whole;
    std::memset(lying.data() + needed - 2 * sizeof(Glyph) - 4, 0xff, 4);
    m_log.Clear();
    Parse(lying);
    EXPECT_EQ(m_log.Count(qs::LogLevelError), 1u);
    EXPECT_NE(m_font.GetCharacter('B'), nullptr);
}
