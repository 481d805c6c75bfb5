// gleamfont as a process: its files are read by the library, compared with what FreeType draws, and drawn.
#include "Gleamwork/Font.h"
#include "gleamwork_core/CoreFixture.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ft2build.h>
#include <memory>
#include <qs/FileSystem.h>
#include <sstream>
#include <stb/stb_image.h>
#include <sys/wait.h>
#include <unistd.h>
#include FT_FREETYPE_H

namespace {

namespace fs = std::filesystem;

constexpr unsigned WIDTH = 360, HEIGHT = 96;

/// The font file, as FreeType draws it.
class Face
{
public:
    explicit Face(int size)
    {
        EXPECT_EQ(FT_Init_FreeType(&m_library), 0);
        EXPECT_EQ(FT_New_Face(m_library, FONT, 0, &m_face), 0);
        EXPECT_EQ(FT_Set_Pixel_Sizes(m_face, 0, unsigned(size)), 0);
    }
    ~Face()
    {
        FT_Done_Face(m_face);
        FT_Done_FreeType(m_library);
    }
    FT_GlyphSlot Draw(unsigned long code)
    {
        EXPECT_EQ(FT_Load_Char(m_face, code, FT_LOAD_RENDER), 0);
        return m_face->glyph;
    }

private:
    FT_Library m_library = nullptr;
    FT_Face m_face = nullptr;
};

struct Result
{
    int status;
    std::string said;
};

class Gleamfont : public DeviceTest
{
protected:
    void SetUp() override
    {
        m_folder = fs::temp_directory_path() / ("gleamfont-test-" + std::to_string(getpid()));
        fs::create_directories(m_folder);
    }
    void TearDown() override
    {
        DeviceTest::TearDown();
        fs::remove_all(m_folder);
    }
    std::string File(const char* name) const { return (m_folder / name).string(); }
    Result Run(const std::string& arguments) const
    {
        const std::string command = std::string(GLEAMFONT) + " " + arguments + " >" + File("said.txt") + " 2>&1";
        const int status = std::system(command.c_str());
        std::ostringstream text;
        text << std::ifstream(File("said.txt")).rdbuf();
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text.str()};
    }
    gw::TexturedFont Parse(const char* name) const
    {
        qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, File(name).c_str()));
        EXPECT_TRUE(reader.IsLoaded());
        gw::TexturedFont font;
        font.Parse(&reader, qs::ObjectHandle::Unassigned);
        return font;
    }

    fs::path m_folder;
};

std::unique_ptr<stbi_uc, void (*)(void*)> ReadGrey(const std::string& file, int& width, int& height)
{
    int channels = 0;
    stbi_uc* texels = stbi_load(file.c_str(), &width, &height, &channels, 1);
    EXPECT_EQ(channels, 1);
    return {texels, stbi_image_free};
}

} // namespace

TEST_F(Gleamfont, FilesHoldWhatFreeTypeDraws)
{
    for (const int size : {5, 16, 33, 200}) {
        SCOPED_TRACE(size);
        const Result result = Run(std::string(FONT) + " --size " + std::to_string(size) + " -o " + File("font"));
        ASSERT_EQ(result.status, 0) << result.said;
        EXPECT_NE(result.said.find("95 characters"), std::string::npos) << result.said;
        gw::TexturedFont font = Parse("font.fnt");
        int width = 0, height = 0;
        const auto texels = ReadGrey(File("font.png"), width, height);
        ASSERT_TRUE(texels);
        EXPECT_EQ(font.fontSize, size);
        EXPECT_EQ(std::fmod(font.lineHeight, 5.0f), 0.0f) << "so that the pitch of lines is whole";
        std::vector<int> owners(std::size_t(width) * height);
        Face face(size);
        for (char code = 32; code < 127; ++code) {
            SCOPED_TRACE(code);
            const gw::Character* glyph = font.GetCharacter(code);
            ASSERT_NE(glyph, nullptr);
            const FT_GlyphSlot slot = face.Draw(static_cast<unsigned long>(code));
            const int x0 = int(std::lround(glyph->u * width)), y0 = int(std::lround(glyph->v * height));
            const int left = slot->bitmap_left - int(glyph->xOffset);
            ASSERT_EQ(glyph->height, slot->bitmap.rows);
            ASSERT_TRUE(left >= 0 && left + int(slot->bitmap.width) <= glyph->width);
            ASSERT_TRUE(x0 + int(glyph->width) <= width && y0 + int(glyph->height) <= height);
            EXPECT_EQ(glyph->xAdvance, slot->advance.x / 64);
            EXPECT_EQ(glyph->yOffset, font.baseLine - slot->bitmap_top);
            EXPECT_GE(glyph->width, glyph->xAdvance);
            for (int y = 0; y < int(glyph->height); ++y) {
                for (int x = 0; x < int(glyph->width); ++x) {
                    const bool isInk = x >= left && x < left + int(slot->bitmap.width);
                    const int ink = isInk ? slot->bitmap.buffer[y * slot->bitmap.pitch + x - left] : 0;
                    const std::size_t at = std::size_t(y0 + y) * width + x0 + x;
                    ASSERT_EQ(texels.get()[at], ink) << x << " " << y;
                    ASSERT_EQ(owners[at]++, 0) << "two glyphs in one place";
                }
            }
        }
        font.DestroyCharData();
    }
}

TEST_F(Gleamfont, TextIsSharpAtItsOwnSize)
{
    constexpr int SIZE = 16;
    ASSERT_EQ(Run(std::string(FONT) + " --size 16 -o " + File("font")).status, 0);
    StartDevice("software");
    const qs::ObjectHandle font = gw::DataLoader::InvokeAddFont(qs::Path(qs::PATH_ROOT_NONE, File("font.png").c_str()),
                                                                qs::Path(qs::PATH_ROOT_NONE, File("font.fnt").c_str()));
    ASSERT_TRUE(font.IsValid());
    m_immediate.ExecuteAll();
    m_relaxed.ExecuteAll();
    const qs::ObjectHandle target = MakeTarget(WIDTH, HEIGHT);
    m_renderer->SetRenderTargets(1, &target, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->ClearRenderTarget(target, -1, {0, 0, 0, 1});
    m_renderer->Setup2DMode(0, WIDTH, 0, HEIGHT);
    const char* text = "The quick brown fox jumps over\nthe lazy dog. (0123456789)\n[Wjy|_@#%&] {Il1}";
    const Vector4f white(1, 1, 1, 1);
    EXPECT_TRUE(m_renderer->drawText(text, 7, 2, white, white, font, gw::Renderer::SS(gw::SS_POINT_WRAP),
                                     gw::Renderer::BS(gw::BS_ALPHA), gw::Renderer::DS(gw::DS_NONE)));
    const std::vector<Pixel> drawn = ReadPixels(target);

    std::vector<float> expected(WIDTH * HEIGHT);
    Face face(SIZE);
    const float lineHeight = m_renderer->GetFont(font)->lineHeight;
    int penX = 7, base = 2 + int(lineHeight);
    for (; *text; ++text) {
        if (*text == '\n') {
            penX = 7;
            base += int(std::lround(1.4f * lineHeight));
            continue;
        }
        const FT_GlyphSlot slot = face.Draw(static_cast<unsigned long>(*text));
        for (int i = 0; i < int(slot->bitmap.rows * slot->bitmap.width); ++i) {
            const int x = i % int(slot->bitmap.width), y = i / int(slot->bitmap.width);
            float& pixel = expected[std::size_t(base - slot->bitmap_top + y) * WIDTH + penX + slot->bitmap_left + x];
            const float ink = slot->bitmap.buffer[y * slot->bitmap.pitch + x] / 255.0f;
            pixel = pixel * (1 - ink) + ink;
        }
        penX += int(slot->advance.x / 64);
    }
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_NEAR(drawn[i][0], expected[i] * 255, 1.5f) << i % WIDTH << " " << i / WIDTH;
    }
    m_renderer->SetRenderTargets(0, nullptr, nullptr, nullptr, TEXTURE_NONE, false, -1);
    m_renderer->RemoveTexture(target, true, true);
    m_renderer->RemoveFont(font);
}

TEST_F(Gleamfont, TakesTheCharactersThatAreAskedFor)
{
    ASSERT_EQ(Run(std::string(FONT) + " --chars 'bé€aab' --size 20 -o " + File("few")).status, 0);
    gw::TexturedFont font = Parse("few.fnt");
    for (const wchar_t code : {L'a', L'b', L'\u00e9', L'\u20ac'}) {
        EXPECT_NE(font.GetCharacter(code), nullptr) << int(code);
    }
    ExpectQuiet();
    EXPECT_EQ(font.GetCharacter('c'), nullptr);
    m_log.Clear();
    font.DestroyCharData();
}

TEST_F(Gleamfont, SaysWhatIsWrongAndWritesNothing)
{
    const std::string font = FONT, out = " -o " + File("out");
    const struct
    {
        std::string arguments;
        int status;
        const char* part;
    } cases[] = {
        {"", 2, "no font file"},
        {font + out, 2, "--size N"},
        {font + " --size 12", 2, "-o NAME"},
        {font + " " + font + out + " --size 12", 2, "one font file"},
        {font + out + " --size 3", 2, "4 to 512"},
        {font + out + " --size 513", 2, "4 to 512"},
        {font + out + " --size 12px", 2, "4 to 512"},
        {font + out + " --size", 2, "needs a value"},
        {font + out + " --sharp", 2, "not an option"},
        {font + out + " --size 12 --chars ''", 2, "names no character"},
        {font + out + " --size 12 --chars '\xe9'", 2, "UTF-8"},
        {font + out + " --size 12 --chars 'a\tb'", 2, "character number 9"},
        {font + out + " --size 12 --chars '\xf0\x9f\x99\x82'", 2, "character number 128578"},
        {font + out + " --size 12 --chars 'a\xe4\xb8\x96'", 1, "U+4E16"},
        {File("none.ttf") + out + " --size 12", 1, "none.ttf: cannot be read as a font"},
        {std::string(GLEAMFONT) + out + " --size 12", 1, "cannot be read as a font"},
        {font + " --size 12 -o " + File("none/out"), 1, "cannot be written"},
    };
    for (const auto& item : cases) {
        const Result result = Run(item.arguments);
        EXPECT_EQ(result.status, item.status) << item.arguments;
        EXPECT_NE(result.said.find(item.part), std::string::npos) << item.arguments << ": " << result.said;
    }
    EXPECT_FALSE(fs::exists(File("out.fnt")) || fs::exists(File("out.png")));
    EXPECT_EQ(Run("--help").status, 0);
}
