// Files that shaders include: through the caller's handler and from the file system.
#include "ShaderKit.h"

namespace {

/// Serves texts from memory and checks the order of calls.
class MemoryInclude : public ID3DInclude
{
public:
    std::map<std::string, std::string> files;
    std::vector<std::string> opened; ///< "type name <parent's name"
    int open = 0;

    HRESULT STDMETHODCALLTYPE Open(D3D_INCLUDE_TYPE type, LPCSTR name, LPCVOID parent, LPCVOID* data,
                                   UINT* bytes) override
    {
        opened.push_back(std::to_string(type) + " " + name + " <" + m_names[parent]);
        const auto file = files.find(name);
        if (file == files.end())
            return E_FAIL;
        ++open;
        m_names[file->second.data()] = name;
        *data = file->second.data();
        *bytes = static_cast<UINT>(file->second.size());
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Close(LPCVOID data) override
    {
        EXPECT_TRUE(m_names.contains(data));
        --open;
        return S_OK;
    }

private:
    std::map<LPCVOID, std::string> m_names;
};

} // namespace

TEST(ShaderIncludes, HandlerGetsTypeAndParent)
{
    MemoryInclude include;
    include.files = {{"a.h", "#include <b.h>\n#define A B\n"}, {"b.h", "#define B 2\n"}, {"c.h", "\n\nbroken\n"}};
    CompileOptions options;
    options.include = &include;
    EXPECT_EQ(Compile("#include \"a.h\"\nfloat4 main() : SV_Target { return A; }", "ps_5_0", options).result, S_OK);
    EXPECT_EQ(include.opened, (std::vector<std::string>{"0 a.h <", "1 b.h <a.h"}));
    EXPECT_EQ(include.open, 0);

    const Compiled broken = Compile("#include \"c.h\"\nfloat4 main() : SV_Target { return 1; }", "ps_5_0", options);
    EXPECT_EQ(broken.result, E_FAIL);
    EXPECT_EQ(include.open, 0);

    // One request for a file that is not there, and a bound on files that include themselves.
    include.opened.clear();
    EXPECT_EQ(Compile("#include \"no.h\"\n", "ps_5_0", options).messages,
              "test.hlsl(1,1): error X1507: failed to open source file: 'no.h'\n");
    EXPECT_EQ(include.opened.size(), 1u);
    include.files["self.h"] = "#include \"self.h\"\n";
    EXPECT_EQ(Compile("#include \"self.h\"\n", "ps_5_0", options).result, E_FAIL);
    EXPECT_EQ(include.open, 0);
}

TEST(ShaderIncludes, ErrorsNameTheIncludedFile)
{
    MemoryInclude include;
    include.files = {{"lib.h", "float f()\n{\n    return wrong;\n}\n"}};
    CompileOptions options;
    options.include = &include;
    const std::string after = "#include \"lib.h\"\nfloat4 main() : SV_Target { return f(); }";
    EXPECT_EQ(Compile(after, "ps_5_0", options).messages.substr(0, 50),
              std::string("lib.h(3,12): error X3004: undeclared identifier 'wrong'").substr(0, 50));
    include.files["lib.h"] = "float f() { return 1; }\n";
    EXPECT_EQ(Compile("#include \"lib.h\"\nfloat4 main() : SV_Target\n{\n    return g(); }", "ps_5_0", options)
                  .messages.substr(0, 20),
              "test.hlsl(4,12): err");
}

TEST(ShaderIncludes, StandardHandlerLooksBesideTheIncludingFile)
{
    const TemporaryFolder folder;
    folder.Write("lib/outer.h", "#include \"inner.h\"\n");
    folder.Write("lib/inner.h", "#define V 1\n#include \"top.h\"\n");
    folder.Write("top.h", "#define W 2\n");
    CompileOptions options;
    options.include = D3D_COMPILE_STANDARD_FILE_INCLUDE;
    options.name = folder.Path() + "/shader.hlsl";
    const std::string text = "#include \"lib/outer.h\"\nfloat4 main() : SV_Target { return V + W; }";
    EXPECT_EQ(Compile(text, "ps_5_0", options).result, S_OK);
    EXPECT_NE(Compile("#include \"lib\"\n", "ps_5_0", options).messages.find("X1507"), std::string::npos);
}
