// gleamshader as a process: what it writes is read back through the library's reader, and what it says is read here.
#include <Gleamwork/RendererBase.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <qs/FileSystem.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct Result
{
    int status = -1;
    std::string said;
    std::string errors;
};

class Gleamshader : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder = fs::temp_directory_path() / ("gleamshader-test-" + std::to_string(getpid()));
        fs::create_directories(m_folder);
    }
    void TearDown() override { fs::remove_all(m_folder); }

    std::string File(const std::string& name) const { return (m_folder / name).string(); }

    std::string Write(const std::string& name, const std::string& text) const
    {
        fs::create_directories((m_folder / name).parent_path());
        std::ofstream(m_folder / name) << text;
        return File(name);
    }

    std::string Text(const std::string& name) const
    {
        std::ostringstream text;
        text << std::ifstream(m_folder / name, std::ios::binary).rdbuf();
        return text.str();
    }

    Result Run(const std::string& arguments) const
    {
        const std::string command =
            std::string(GLEAMSHADER) + " " + arguments + " >" + File("said.txt") + " 2>" + File("errors.txt");
        const int result = std::system(command.c_str());
        return {WIFEXITED(result) ? WEXITSTATUS(result) : -1, Text("said.txt"), Text("errors.txt")};
    }

    /// The stages that the library finds in a binary file.
    std::vector<gw::EShaderType> StagesOf(const std::string& name) const
    {
        qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, File(name).c_str()));
        gw::CompiledShaderDirectory directory;
        EXPECT_TRUE(gw::details::RendererBase::ReadBinaryShaderInfo(reader, directory));
        std::vector<gw::EShaderType> types;
        for (const gw::CompiledShaderInfo& info : directory)
            types.push_back(info.type);
        return types;
    }

    fs::path m_folder;
};

constexpr char SOURCE[] = R"([Vertex shader]
#include "parts/matrices.hlsl"
float4 main(float3 position : POSITION) : SV_Position { return mul(float4(position, 1), world); }
[Fragment shader]
#include "colours.hlsl"
Texture2D picture;
SamplerState smooth;
float4 main(float4 position : SV_Position) : SV_Target0
{
    return picture.Sample(smooth, position.xy) * tints[COUNT - 1] * STRENGTH;
}
)";

TEST_F(Gleamshader, WritesFilesThatTheLibraryReadsAndTellsWhatIsInThem)
{
    const std::string source = Write("a.shader", SOURCE);
    Write("parts/matrices.hlsl", "#include \"deeper.hlsl\"\n");
    Write("parts/deeper.hlsl", "float4x4 world;\n");
    Write("elsewhere/colours.hlsl", "float4 tints[COUNT];\n");
    const std::string compute = Write("b.shader", "[Compute shader]\nRWStructuredBuffer<uint> sums;\n"
                                                  "[numthreads(8, 1, 1)] void main(uint3 id : SV_DispatchThreadID)\n"
                                                  "{ sums[id.x] = id.x * id.x; }\n");
    const std::string arguments = source + " " + compute + " -o " + File("new/out") + " -D COUNT=3 -D STRENGTH -I " +
                                  File("elsewhere") + " --info";
    const Result result = Run(arguments);
    ASSERT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    for (const char* line :
         {"vertex: vs_4_0, ", "float4x4 world, 64 bytes at 0\n", "fragment: ps_5_0, ",
          "float4[3] tints, 48 bytes at 0\n", "texture picture, slot 0\n", "sampler smooth, slot 0\n",
          "compute: cs_5_0, ", "writable sums, slot 0\n", "instructions\n"})
        EXPECT_NE(result.said.find(line), std::string::npos) << line << " in\n" << result.said;
    EXPECT_EQ(StagesOf("new/out/a_DX11.bshd"), (std::vector{gw::eShaderType_Vertex, gw::eShaderType_Fragment}));
    EXPECT_EQ(StagesOf("new/out/b_DX11.bshd"), (std::vector{gw::eShaderType_Compute}));

    const std::string first = Text("new/out/a_DX11.bshd");
    ASSERT_EQ(Run(arguments).status, 0);
    EXPECT_EQ(Text("new/out/a_DX11.bshd"), first) << "the same source gives the same bytes";
}

TEST_F(Gleamshader, ErrorsNameTheFileAndTheLineAndOthersAreStillWritten)
{
    Write("broken.hlsl", "float4 a;\nfloat4 b = nonsense;\n");
    const std::string here = Write("here.shader", "[Vertex shader]\nfloat4 main() : SV_Position { return 0; }\n\n"
                                                  "[Fragment shader]\n\nfloat4 main() : SV_Target0\n"
                                                  "{ return missing; }\n");
    const std::string there =
        Write("there.shader", "[Fragment shader]\n#include \"broken.hlsl\"\nfloat4 main() : SV_Target0 { return b; }");
    const std::string lost = Write("lost.shader", "[Fragment shader]\n#include \"nowhere.hlsl\"\n");
    const std::string good = Write("good.shader", "[Fragment shader]\nfloat4 main() : SV_Target0 { return 1; }\n");
    const std::string none = Write("none.shader", "float4 main() : SV_Target0 { return 1; }\n");
    const Result result = Run(here + " " + there + " " + lost + " " + none + " " + File("absent.shader") + " " +
                              File("") + " " + good + " -o " + File("out"));
    EXPECT_EQ(result.status, 1);
    for (const std::string& line :
         {here + "(7,", std::string("broken.hlsl(2,"), std::string("nowhere.hlsl"), none + ": no section",
          File("absent.shader") + ": the shader file cannot be read", std::string("is a folder")})
        EXPECT_NE(result.errors.find(line), std::string::npos) << line << " in\n" << result.errors;
    EXPECT_EQ(StagesOf("out/good_DX11.bshd"), (std::vector{gw::eShaderType_Fragment}));
    EXPECT_FALSE(fs::exists(File("out/here_DX11.bshd")));
}

TEST_F(Gleamshader, WhatCannotBeWrittenIsTold)
{
    const std::string good = Write("good.shader", "[Fragment shader]\nfloat4 main() : SV_Target0 { return 1; }\n");
    const std::string twin = Write("sub/good.shader", "[Fragment shader]\nfloat4 main() : SV_Target0 { return 0; }\n");
    Result result = Run(good + " " + twin + " -o " + File("out"));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("sub/good.shader: another source of this name"), std::string::npos) << result.errors;

    fs::create_directories(m_folder / "full");
    fs::create_symlink("/dev/full", m_folder / "full/good_DX11.bshd");
    result = Run(good + " -o " + File("full"));
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("good_DX11.bshd: cannot be written"), std::string::npos) << result.errors;
    result = Run(good + " -o " + good + "/x");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("the folder cannot be made"), std::string::npos) << result.errors;

    for (const char* wrong : {"", "a.shader", "-o out", "a.shader -o", "a.shader -o out -D 4=2", "a.shader --fast"})
        EXPECT_EQ(Run(wrong).status, 2) << wrong;
    EXPECT_EQ(Run("--help").status, 0);
}

} // namespace
