// Text shaders: cutting a text into sections, and the two ways from a file.
#include "DrawFixture.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <qs/Path.h>
#include <string>
#include <unistd.h>

namespace {

struct Sections
{
    gw::ShaderData vertex, geometry, fragment, compute;
};

Sections Split(const std::string& text)
{
    Sections s;
    gw::SplitShaderText(text.c_str(), text.size(), s.vertex, s.geometry, s.fragment, s.compute);
    return s;
}

std::string Text(const gw::ShaderData& section)
{
    return section.data ? std::string(section.data, section.size) : "(none)";
}

TEST(TextShaders, SectionsAreFoundInAnyOrder)
{
    const std::string both = "ignored\n[Vertex shader]\r\n\r\nvs\n[Fragment shader]\nps";
    EXPECT_EQ(Text(Split(both).vertex), "vs\n");
    EXPECT_EQ(Text(Split(both).fragment), "ps");
    EXPECT_EQ(Text(Split(both).geometry), "(none)");
    const std::string turned = "[Compute shader]cs[Fragment shader]\n\nps\n[Geometry shader]gs[Vertex shader]vs";
    EXPECT_EQ(Text(Split(turned).compute), "cs");
    EXPECT_EQ(Text(Split(turned).fragment), "ps\n");
    EXPECT_EQ(Text(Split(turned).geometry), "gs");
    EXPECT_EQ(Text(Split(turned).vertex), "vs");
    // Empty sections exist; absent ones do not.
    const Sections empty = Split("[Vertex shader]\n[Fragment shader]");
    EXPECT_EQ(Text(empty.vertex), "");
    EXPECT_EQ(Text(empty.fragment), "");
    EXPECT_EQ(Text(Split("").vertex), "(none)");
}

class TextShaderFiles : public DrawTest
{
protected:
    void SetUp() override
    {
        DrawTest::SetUp();
        m_folder = std::filesystem::temp_directory_path() / ("text-shaders-" + std::to_string(getpid()));
        std::filesystem::create_directories(m_folder);
    }
    void TearDown() override
    {
        std::filesystem::remove_all(m_folder);
        DrawTest::TearDown();
    }
    qs::Path File(const char* name) { return qs::Path(qs::PATH_ROOT_NONE, (m_folder / name).c_str()); }
    qs::Path Write(const char* name, const std::string& text)
    {
        std::ofstream(m_folder / name) << text;
        return File(name);
    }
    std::string Read(const char* name)
    {
        std::ifstream file(m_folder / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::filesystem::path m_folder;
};

TEST_F(TextShaderFiles, BecomeShadersWithDefines)
{
    gw::ShaderDefine defines(1);
    defines.names[0] = "CONSTANT";
    defines.definitions[0] = "tint";
    const qs::Path file = Write("a.shader", std::string("[Vertex shader]\n") + PLAIN_VERTEX +
                                                "\n[Fragment shader]\nfloat4 CONSTANT;\n"
                                                "float4 main() : SV_Target0 { return CONSTANT; }\n");
    const qs::ObjectHandle shader = Keep(m_renderer->AddAndCreateTextShader(file, &defines));
    ASSERT_TRUE(shader.IsValid());
    EXPECT_TRUE(m_renderer->ValidateShaderConstant(Name("tint"), shader));
    EXPECT_FALSE(m_renderer->AddAndCreateTextShader(File("missing.shader"), nullptr).IsValid());
    ExpectError("Couldn't load Shader: \"");
}

TEST_F(TextShaderFiles, BecomeBinaryFilesOfTheirStages)
{
    using gw::details::RendererBase;
    const qs::Path both = Write("both.shader", std::string("[Fragment shader]\n") + PLAIN_FRAGMENT +
                                                   "\n[Vertex shader]\n" + PLAIN_VERTEX);
    ASSERT_TRUE(RendererBase::createBinaryShaderFromText(both, File("both.bin")));
    const std::string bytes = Read("both.bin");
    ASSERT_GT(bytes.size(), 24u);
    EXPECT_EQ(bytes.substr(0, 6), std::string("\xff\xff\xff\xff\x01\x02", 6));
    const auto word = [&](std::size_t at) {
        std::uint32_t value;
        std::memcpy(&value, bytes.data() + at, 4);
        return value;
    };
    EXPECT_EQ(bytes[6], 1);
    EXPECT_EQ(word(7), 24u);
    EXPECT_EQ(bytes[15], 3);
    EXPECT_EQ(word(16), 24u + word(11));
    EXPECT_EQ(bytes.size(), 24u + word(11) + word(20));

    EXPECT_FALSE(RendererBase::createBinaryShaderFromText(Write("none.shader", "nothing"), File("none.bin")));
    ExpectAssert("Failed to compile text shader: \"");
    EXPECT_FALSE(RendererBase::createBinaryShaderFromText(File("missing.shader"), File("none.bin")));
    ExpectError("Couldn't load text shader: \"");
    EXPECT_FALSE(RendererBase::createBinaryShaderFromText(both, qs::Path(qs::PATH_ROOT_NONE, "/dev/full")));
    EXPECT_TRUE(m_log.Contains("Couldn't write shader file: \"/dev/full\"", qs::LogLevelError));
    m_log.Clear();
}

} // namespace
