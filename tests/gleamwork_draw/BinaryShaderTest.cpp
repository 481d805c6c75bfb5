// Binary shader files: both forms, files that lie about themselves, and shaders made of sound ones.
#include "DrawFixture.h"

#include <filesystem>
#include <fstream>
#include <qs/FileSystem.h>
#include <string>
#include <unistd.h>

namespace {

using gw::details::RendererBase;

struct Entry
{
    std::uint8_t type;
    std::uint32_t offset;
    std::uint32_t size;
};

void Append(std::string& bytes, std::uint32_t word)
{
    bytes.append(reinterpret_cast<const char*>(&word), sizeof word);
}

/// A file of the current form: header, entries, and `code` behind them.
std::string Current(std::uint8_t version, const std::vector<Entry>& entries, const std::string& code)
{
    std::string bytes;
    Append(bytes, 0xffffffffu);
    bytes += char(version);
    bytes += char(entries.size());
    for (const Entry& entry : entries) {
        bytes += char(entry.type);
        Append(bytes, entry.offset);
        Append(bytes, entry.size);
    }
    return bytes + code;
}

/// A file of the older form: six words and `code`.
std::string Older(const std::array<std::uint32_t, 6>& words, const std::string& code)
{
    std::string bytes;
    for (const std::uint32_t word : words) {
        Append(bytes, word);
    }
    return bytes + code;
}

/// What a reader finds in a file: the directory, and each stage's bytes.
struct Found
{
    bool info = false;
    bool code = false;
    std::vector<Entry> entries;
    std::array<std::string, 4> stages; ///< vertex, geometry, fragment, compute; "(none)" when absent
    std::string block;                 ///< the destination as it was filled
};

class BinaryShaders : public DrawTest
{
protected:
    void TearDown() override
    {
        std::filesystem::remove(m_path);
        DrawTest::TearDown();
    }
    qs::Path Write(const std::string& bytes) const
    {
        std::ofstream(m_path, std::ios::binary) << bytes;
        return qs::Path(qs::PATH_ROOT_NONE, m_path.c_str());
    }
    Found Read(const std::string& bytes) const
    {
        Found found;
        qs::FileReader reader(Write(bytes));
        gw::CompiledShaderDirectory directory;
        found.info = RendererBase::ReadBinaryShaderInfo(reader, directory);
        std::uint64_t total = 0;
        for (const gw::CompiledShaderInfo& info : directory) {
            found.entries.push_back({info.type, info.offset, info.size});
            total += info.size;
        }
        found.block.resize(total);
        gw::ShaderData stages[4];
        found.code = RendererBase::ReadBinaryShaders(reader, directory, found.block.data(), stages[0], stages[1],
                                                     stages[2], stages[3]);
        for (int i = 0; i < 4; ++i) {
            found.stages[i] = stages[i].data ? std::string(stages[i].data, stages[i].size) : "(none)";
        }
        return found;
    }
    void ExpectRefused(const std::string& bytes, std::uint32_t level, const char* message)
    {
        SCOPED_TRACE(message);
        const Found found = Read(bytes);
        EXPECT_FALSE(found.info);
        EXPECT_TRUE(found.entries.empty());
        ExpectOne(level, message);
    }

    const std::string m_path = testing::TempDir() + "stages" + std::to_string(getpid()) + ".bin";
};

TEST_F(BinaryShaders, AreReadInFileOrderWithGapsAndSharedBytes)
{
    const Found turned = Read(Current(1, {{3, 30, 3}, {1, 25, 2}}, ".vs...ps!"));
    EXPECT_TRUE(turned.info && turned.code);
    EXPECT_EQ(turned.block, "ps!vs");
    EXPECT_EQ(turned.stages, (std::array<std::string, 4>{"vs", "(none)", "ps!", "(none)"}));
    const Found all = Read(Current(1, {{1, 42, 1}, {2, 43, 1}, {3, 44, 1}, {4, 45, 1}}, "vgfc"));
    EXPECT_EQ(all.stages, (std::array<std::string, 4>{"v", "g", "f", "c"}));
    const Found none = Read(Current(1, {}, ""));
    EXPECT_TRUE(none.info && none.code && none.entries.empty());

    const Found older = Read(Older({24, 2, 0, 0, 26, 3}, "vsps!"));
    EXPECT_TRUE(older.info && older.code);
    ASSERT_EQ(older.entries.size(), 2u);
    EXPECT_EQ(older.entries[0].type, gw::eShaderType_Vertex);
    EXPECT_EQ(older.entries[1].type, gw::eShaderType_Fragment);
    EXPECT_EQ(older.stages, (std::array<std::string, 4>{"vs", "(none)", "ps!", "(none)"}));
    const Found empty = Read(Older({24, 0, 24, 0, 24, 0}, ""));
    EXPECT_FALSE(empty.info);
    EXPECT_TRUE(empty.entries.empty());
}

TEST_F(BinaryShaders, ThatLieAreRefusedWithAnEmptyDirectory)
{
    ExpectRefused(Current(2, {}, ""), qs::LogLevelAssertion, "Binary shader file version is older than code version.");
    ExpectRefused(Current(1, {{1, 24, 0}, {5, 24, 0}}, ""), qs::LogLevelAssertion,
                  "Unknown shader type found in binary shader file. Failed to read shader from file.");
    ExpectRefused(Current(1, {{0, 15, 0}}, ""), qs::LogLevelAssertion, "Unknown shader type found");
    ExpectRefused(Current(1, {{1, 15, 3}}, "vs"), qs::LogLevelError, "a stage of 3 bytes at offset 15");
    ExpectRefused(Current(1, {{1, 0xfffffff0u, 0x20}}, "vs"), qs::LogLevelError, "does not fit into its 17 bytes");
    // Each of the two fits, but together they are more than the file, as in one that names gigabytes of shared bytes.
    ExpectRefused(Current(1, {{1, 0, 20}, {3, 0, 20}}, "vs"), qs::LogLevelError, "does not fit into its 26 bytes");
    ExpectRefused(Older({24, 4, 0, 0, 0, 0}, "vs"), qs::LogLevelError, "a stage of 4 bytes at offset 24");
    // Every shortened header ends within something.
    const std::string whole = Current(1, {{1, 15, 0}}, "");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        ExpectRefused(whole.substr(0, size), qs::LogLevelError, "ends within its header");
    }

    gw::CompiledShaderDirectory used;
    used.Add({gw::eShaderType_Vertex, 0, 0});
    qs::FileReader reader(Write(whole));
    EXPECT_FALSE(RendererBase::ReadBinaryShaderInfo(reader, used));
    ExpectAssert("Object set should be empty here!");
    gw::CompiledShaderDirectory made;
    made.Add({gw::eShaderType_Vertex, 0, 4});
    made.Add({gw::EShaderType(9), 0, 0});
    char block[4];
    gw::ShaderData stages[4];
    EXPECT_FALSE(RendererBase::ReadBinaryShaders(reader, made, block, stages[0], stages[1], stages[2], stages[3]));
    EXPECT_EQ(stages[0].data, nullptr);
    ExpectAssert("Unknown shader type. Please update this function.");
}

TEST_F(BinaryShaders, BecomeShadersAtOnceOrLater)
{
    const std::string text = std::string("[Vertex shader]\n") + PLAIN_VERTEX +
                             "\n[Fragment shader]\nfloat4 tint;\nfloat4 main() : SV_Target0 { return tint; }\n";
    const qs::Path source = Write(text);
    const std::string binary = m_path + ".out";
    const qs::Path path(qs::PATH_ROOT_NONE, binary.c_str());
    ASSERT_TRUE(RendererBase::createBinaryShaderFromText(source, path));
    const qs::ObjectHandle now = Keep(m_renderer->AddAndCreateBinaryShader(path, nullptr));
    EXPECT_TRUE(m_renderer->ValidateShaderConstant(Name("tint"), now));

    qs::FileReader reader(path);
    const qs::ObjectHandle later =
        Keep(m_renderer->ReadBinaryShaderFileAndAdd(reader, Name("name"), Name("variant"), nullptr));
    EXPECT_TRUE(m_renderer->IsShaderAlive(later));
    m_renderer->CreateShader(later);
    EXPECT_TRUE(m_renderer->ValidateShaderConstant(Name("tint"), later));
    EXPECT_EQ(qs::MemoryManager::GetUsage("\"shaderBuffer\"").blocks, 0);
    std::filesystem::remove(binary);
    ExpectQuiet();
}

TEST_F(BinaryShaders, ThatCannotBeReadMakeNone)
{
    EXPECT_FALSE(m_renderer->AddAndCreateBinaryShader(qs::Path(qs::PATH_ROOT_NONE, "/nowhere.bin"), nullptr).IsValid());
    ExpectError("Couldn't load Shader: \"");
    EXPECT_FALSE(m_renderer->AddAndCreateBinaryShader(Write(Current(3, {}, "")), nullptr).IsValid());
    EXPECT_TRUE(m_log.Contains("gw::Renderer::AddAndCreateBinaryShader failed! Failed to read binary shader info!",
                               qs::LogLevelAssertion));
    m_log.Clear();
    qs::FileReader reader(Write(Current(3, {}, "")));
    EXPECT_FALSE(m_renderer->ReadBinaryShaderFileAndAdd(reader, qs::FixedString::Empty, qs::FixedString::Empty, nullptr)
                     .IsValid());
    EXPECT_TRUE(m_log.Contains("gw::Renderer::ReadBinaryShaderFileAndAdd failed! Failed to read binary shader info!",
                               qs::LogLevelAssertion));
    m_log.Clear();
    EXPECT_EQ(qs::MemoryManager::GetUsage("\"shaderBuffer\"").blocks, 0);
}

} // namespace
