// The cache of compiled shaders: what hits, what misses, and what damage does.
#include <filesystem>
#include <fstream>

#include "ShaderKit.h"
#include "shader/ShaderCache.h"
#include "shader/ShaderCompiler.h"

namespace fs = std::filesystem;

namespace {

class ShaderCache : public testing::Test
{
protected:
    /// Compiles and gives how many compilations that took.
    std::uint64_t Compilations(const std::string& text, const CompileOptions& options = {},
                               const char* target = "ps_5_0")
    {
        const std::uint64_t before = gleam::CompilationCount();
        m_last = Compile(text, target, options);
        EXPECT_EQ(m_last.result, S_OK) << m_last.messages;
        return gleam::CompilationCount() - before;
    }

    std::vector<fs::path> Entries() const
    {
        std::vector<fs::path> entries;
        if (fs::exists(m_folder.Path() + "/shaders"))
            for (const auto& entry : fs::directory_iterator(m_folder.Path() + "/shaders"))
                entries.push_back(entry.path());
        return entries;
    }

    TemporaryFolder m_folder;
    EnvironmentGuard m_cache{"GLEAM_CACHE", m_folder.Path()};
    Compiled m_last;
};

const std::string Text = "float4 tint; float4 main() : SV_Target { return tint; }";

} // namespace

TEST_F(ShaderCache, SecondStartCompilesNothingAndGivesTheSameBytes)
{
    EXPECT_EQ(Compilations(Text), 1u);
    const std::string first(static_cast<const char*>(m_last.code->GetBufferPointer()), m_last.code->GetBufferSize());
    EXPECT_EQ(Compilations(Text), 0u);
    EXPECT_EQ(std::string(static_cast<const char*>(m_last.code->GetBufferPointer()), m_last.code->GetBufferSize()),
              first);
    ASSERT_EQ(Entries().size(), 1u);
    EXPECT_EQ(Entries()[0].extension(), ".glsc");
}

TEST_F(ShaderCache, EveryInputIsPartOfTheKey)
{
    EXPECT_EQ(Compilations(Text), 1u);
    EXPECT_EQ(Compilations(Text + " "), 1u);
    EXPECT_EQ(Compilations(Text, {}, "ps_4_0"), 1u);
    CompileOptions options;
    options.macros = {{"A", "1"}};
    EXPECT_EQ(Compilations(Text, options), 1u);
    options.macros = {{"A", "2"}};
    EXPECT_EQ(Compilations(Text, options), 1u);
    options.macros = {{"A1", ""}};
    EXPECT_EQ(Compilations(Text, options), 1u);
    options = {};
    options.flags |= D3DCOMPILE_PACK_MATRIX_ROW_MAJOR;
    EXPECT_EQ(Compilations(Text, options), 1u);
    options = {};
    options.name = "elsewhere.hlsl";
    EXPECT_EQ(Compilations(Text, options), 1u);
    EXPECT_EQ(Compilations(Text), 0u);
    EXPECT_EQ(Entries().size(), 8u);
}

TEST_F(ShaderCache, ChangedIncludesCompileAgain)
{
    const TemporaryFolder sources;
    CompileOptions options;
    options.include = D3D_COMPILE_STANDARD_FILE_INCLUDE;
    options.name = sources.Path() + "/main.hlsl";
    const std::string text = "#include \"a.h\"\nfloat4 main() : SV_Target { return VALUE; }";
    sources.Write("a.h", "#include \"b.h\"\n");
    sources.Write("b.h", "#define VALUE 1\n");
    EXPECT_EQ(Compilations(text, options), 1u);
    EXPECT_EQ(Compilations(text, options), 0u);
    sources.Write("b.h", "#define VALUE 2\n");
    EXPECT_EQ(Compilations(text, options), 1u);
    EXPECT_EQ(Compilations(text, options), 0u);
    fs::remove(sources.Path() + "/b.h");
    EXPECT_EQ(Compile(text, "ps_5_0", options).result, E_FAIL);
}

TEST_F(ShaderCache, DamagedEntriesAreReplaced)
{
    EXPECT_EQ(Compilations(Text), 1u);
    const fs::path entry = Entries().at(0);
    const auto size = fs::file_size(entry);
    const auto damage = [&](auto&& change) {
        change();
        EXPECT_EQ(Compilations(Text), 1u);
        EXPECT_EQ(fs::file_size(entry), size);
        EXPECT_EQ(Compilations(Text), 0u);
    };
    damage([&] { fs::resize_file(entry, size / 2); });
    damage([&] { fs::resize_file(entry, 0); });
    damage([&] { std::ofstream(entry, std::ios::binary) << "something else entirely"; });
    damage([&] {
        std::fstream file(entry, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(static_cast<std::streamoff>(size / 2));
        file.put('\x5a').put('\xa5').put('\x5a');
    });
    EXPECT_EQ(Entries().size(), 1u) << "no file is left beside the entry";
}

TEST_F(ShaderCache, WorksWithoutAPlaceToWrite)
{
    {
        const EnvironmentGuard off("GLEAM_CACHE", "off");
        EXPECT_TRUE(gleam::CacheFolder().empty());
        EXPECT_EQ(Compilations(Text), 1u);
        EXPECT_EQ(Compilations(Text), 1u);
    }
    {
        // A file where the folder should be.
        m_folder.Write("blocked", "");
        const EnvironmentGuard blocked("GLEAM_CACHE", m_folder.Path() + "/blocked");
        EXPECT_EQ(Compilations(Text), 1u);
    }
    const EnvironmentGuard none("GLEAM_CACHE", "");
    const EnvironmentGuard user("XDG_CACHE_HOME", m_folder.Path());
    EXPECT_EQ(gleam::CacheFolder(), fs::path(m_folder.Path()) / "gleamwork");
}
