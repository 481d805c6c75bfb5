// Helpers of the shader tests.
#include "ShaderKit.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

Compiled Compile(std::string_view text, const char* target, const CompileOptions& options)
{
    std::vector<D3D_SHADER_MACRO> macros = options.macros;
    macros.push_back({nullptr, nullptr});
    ID3DBlob* code = nullptr;
    ID3DBlob* messages = nullptr;
    Compiled compiled;
    compiled.result = D3DCompile(text.data(), text.size(), options.name.c_str(), macros.data(), options.include,
                                 options.entry.c_str(), target, options.flags, 0, &code, &messages);
    compiled.code.reset(code);
    const Owned<ID3DBlob> owned(messages);
    if (messages)
        compiled.messages = static_cast<const char*>(messages->GetBufferPointer());
    return compiled;
}

gleam::ShaderModule Module(std::string_view text, const char* target, const CompileOptions& options)
{
    const Compiled compiled = Compile(text, target, options);
    gleam::ShaderModule module;
    EXPECT_EQ(compiled.result, S_OK) << compiled.messages;
    if (compiled.code) {
        EXPECT_EQ(gleam::ParseShader(compiled.code->GetBufferPointer(), compiled.code->GetBufferSize(), module), S_OK);
    }
    return module;
}

Reflected::Reflected(std::string_view text, const char* target, const CompileOptions& options)
{
    const Compiled compiled = Compile(text, target, options);
    if (!compiled.code)
        throw std::runtime_error("does not compile: " + compiled.messages);
    void* object = nullptr;
    EXPECT_EQ(D3DReflect(compiled.code->GetBufferPointer(), compiled.code->GetBufferSize(), IID_ID3D11ShaderReflection,
                         &object),
              S_OK);
    m_reflection.reset(static_cast<ID3D11ShaderReflection*>(object));
}

D3D11_SHADER_DESC Reflected::Desc() const
{
    D3D11_SHADER_DESC desc{};
    EXPECT_EQ(m_reflection->GetDesc(&desc), S_OK);
    return desc;
}

D3D11_SHADER_BUFFER_DESC Reflected::Buffer(const char* name) const
{
    D3D11_SHADER_BUFFER_DESC desc{};
    EXPECT_EQ(m_reflection->GetConstantBufferByName(name)->GetDesc(&desc), S_OK) << name;
    return desc;
}

D3D11_SHADER_VARIABLE_DESC Reflected::Variable(const char* buffer, const char* name) const
{
    D3D11_SHADER_VARIABLE_DESC desc{};
    EXPECT_EQ(m_reflection->GetConstantBufferByName(buffer)->GetVariableByName(name)->GetDesc(&desc), S_OK) << name;
    return desc;
}

D3D11_SHADER_TYPE_DESC Reflected::Type(const char* buffer, const char* name) const
{
    D3D11_SHADER_TYPE_DESC desc{};
    EXPECT_EQ(m_reflection->GetConstantBufferByName(buffer)->GetVariableByName(name)->GetType()->GetDesc(&desc), S_OK)
        << name;
    return desc;
}

D3D11_SHADER_INPUT_BIND_DESC Reflected::Binding(const char* name) const
{
    D3D11_SHADER_INPUT_BIND_DESC desc{};
    EXPECT_EQ(m_reflection->GetResourceBindingDescByName(name, &desc), S_OK) << name;
    return desc;
}

std::string Reflected::Layout(const char* buffer) const
{
    std::string text;
    ID3D11ShaderReflectionConstantBuffer* block = m_reflection->GetConstantBufferByName(buffer);
    for (UINT i = 0; i < Buffer(buffer).Variables; ++i) {
        ID3D11ShaderReflectionVariable* variable = block->GetVariableByIndex(i);
        D3D11_SHADER_VARIABLE_DESC desc{};
        D3D11_SHADER_TYPE_DESC type{};
        variable->GetDesc(&desc);
        variable->GetType()->GetDesc(&type);
        text += (text.empty() ? "" : " ") + std::string(desc.Name) + ":" + std::to_string(desc.StartOffset) + ":" +
                std::to_string(desc.Size);
        for (UINT m = 0; m < type.Members; ++m) {
            D3D11_SHADER_TYPE_DESC member{};
            variable->GetType()->GetMemberTypeByIndex(m)->GetDesc(&member);
            text += std::string(" .") + variable->GetType()->GetMemberTypeName(m) + ":" + std::to_string(member.Offset);
        }
    }
    return text;
}

std::vector<std::string> Reflected::Signature(bool inputs) const
{
    std::vector<std::string> rows;
    const UINT count = inputs ? Desc().InputParameters : Desc().OutputParameters;
    for (UINT i = 0; i < count; ++i) {
        D3D11_SIGNATURE_PARAMETER_DESC row{};
        EXPECT_EQ(inputs ? m_reflection->GetInputParameterDesc(i, &row) : m_reflection->GetOutputParameterDesc(i, &row),
                  S_OK);
        rows.push_back(std::string(row.SemanticName) + std::to_string(row.SemanticIndex) + " r" +
                       std::to_string(static_cast<int>(row.Register)) + " s" + std::to_string(row.SystemValueType) +
                       " c" + std::to_string(row.ComponentType) + " m" + std::to_string(row.Mask) + "/" +
                       std::to_string(row.ReadWriteMask));
    }
    return rows;
}

std::vector<gleam::SpirvInstruction> All(const std::vector<std::uint32_t>& spirv, spv::Op op)
{
    gleam::SpirvModule module;
    EXPECT_TRUE(module.Parse(spirv));
    std::vector<gleam::SpirvInstruction> found;
    for (const gleam::SpirvInstruction& instruction : module.Instructions())
        if (instruction.op == op)
            found.push_back(instruction);
    return found;
}

EnvironmentGuard::EnvironmentGuard(const char* name, const std::string& value)
    : m_name(name), m_wasSet(std::getenv(name) != nullptr)
{
    if (m_wasSet)
        m_before = std::getenv(name);
    ::setenv(name, value.c_str(), 1);
}

EnvironmentGuard::~EnvironmentGuard()
{
    if (m_wasSet)
        ::setenv(m_name.c_str(), m_before.c_str(), 1);
    else
        ::unsetenv(m_name.c_str());
}

TemporaryFolder::TemporaryFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "gleam-shader-XXXXXX").string();
    if (!::mkdtemp(pattern.data()))
        throw std::runtime_error("cannot make a temporary folder");
    m_path = pattern;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
}

void TemporaryFolder::Write(const std::string& name, const std::string& text) const
{
    const std::filesystem::path path = std::filesystem::path(m_path) / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}
