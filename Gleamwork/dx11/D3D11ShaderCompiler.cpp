// From a text shader's section to bytecode, and the files that sections include.
#include "Gleamwork/TextShader.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <qs/Path.h>

#include <d3dcompiler.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11ShaderCompiler";

/// Serves `#include` from the data root; keeps no state, so compilations share nothing.
class D3D11RendererInclude final : public ID3DInclude
{
public:
    HRESULT STDMETHODCALLTYPE Open(D3D_INCLUDE_TYPE, LPCSTR fileName, LPCVOID, LPCVOID* data, UINT* size) override
    {
        qs::FileReader reader(qs::Path(qs::PATH_ROOT_DATA, fileName), qs::FileReader::EType(0));
        if (!reader.IsLoaded()) {
            return E_FAIL;
        }
        const std::uint64_t wanted = reader.GetFileSize();
        void* block = std::malloc(std::max<std::uint64_t>(wanted, 1));
        if (!block) {
            return E_FAIL;
        }
        *size = static_cast<UINT>(reader.Read(block, wanted));
        *data = block;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE Close(LPCVOID data) override
    {
        std::free(const_cast<void*>(data));
        return S_OK;
    }
};

const char* TargetOf(gw::EShaderType type)
{
    switch (type) {
    case gw::eShaderType_Vertex:
        return "vs_4_0";
    case gw::eShaderType_Geometry:
        return "gs_4_0";
    case gw::eShaderType_Fragment:
        return "ps_5_0";
    case gw::eShaderType_Compute:
        return "cs_5_0";
    default:
        return nullptr;
    }
}

/// The compiler's form of the definitions: pairs that end with two nulls. The caller deletes the array.
D3D_SHADER_MACRO* MakeMacros(const gw::ShaderDefine* defines)
{
    const std::int32_t count = defines ? defines->count : 0;
    auto* macros = new (qs::DefaultMemoryTag) D3D_SHADER_MACRO[static_cast<std::size_t>(count) + 1];
    for (std::int32_t i = 0; i < count; ++i) {
        macros[i] = {defines->names[i], defines->definitions[i]};
    }
    macros[count] = {nullptr, nullptr};
    return macros;
}

bool StoreCode(ID3DBlob* code, gw::CompiledShader& compiled)
{
    qs::MemoryTrackerSample sample("\"CompiledShader\"");
    const std::uint64_t size = code->GetBufferSize();
    void* block = qs::MemoryManager::Allocate(size, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true);
    if (!block) {
        return false;
    }
    std::memcpy(block, code->GetBufferPointer(), size);
    compiled.SetData(block, size);
    return true;
}

/// The text between the quotes of an `#include "name"`, and its whole line; both at most 255 characters.
bool ParseIncludeLine(const char* text, char (&name)[256], char (&line)[256])
{
    return std::sscanf(text, "#include \"%255[^\"]", name) == 1 && std::sscanf(text, "%255[^\n]", line) == 1;
}

} // namespace

bool D3D11Renderer::CompileShader(const gw::ShaderData& source, gw::EShaderType type, gw::CompiledShader& compiled,
                                  gw::ShaderDefine* defines)
{
    const char* target = TargetOf(type);
    if (!source.data || !target) {
        return false;
    }
    D3D_SHADER_MACRO* macros = MakeMacros(defines);
    D3D11RendererInclude include;
    ID3DBlob* code = nullptr;
    ID3DBlob* errors = nullptr;
    const HRESULT hr = D3DCompile(source.data, source.size, "", macros, &include, "main", target,
                                  D3DCOMPILE_OPTIMIZATION_LEVEL3, 0, &code, &errors);
    const bool isCompiled = SUCCEEDED(hr) && code && StoreCode(code, compiled);
    delete[] macros;
    if (code) {
        code->Release();
    }
    if (errors) {
        errors->Release();
    }
    return isCompiled;
}

void D3D11Renderer::EmbedIncludes(qs::STDString& source)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::EmbedIncludes";
    // A file that includes itself would expand without end.
    constexpr int maxExpansions = 1024;
    for (int expansion = 0; expansion < maxExpansions; ++expansion) {
        const char* include = std::strstr(source.ToChar(), "#include");
        if (!include) {
            return;
        }
        char name[256] = {}, line[256] = {};
        if (!ParseIncludeLine(include, name, line)) {
            QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Invalid file path [%s] for shader. Bailing out.", include);
            return;
        }
        qs::FileReader reader(qs::Path(qs::PATH_ROOT_DATA, name), qs::FileReader::EType(1));
        qs::STDString replacement;
        if (reader.IsLoaded()) {
            replacement = qs::STDString(static_cast<const char*>(reader.GetData()),
                                        static_cast<std::int32_t>(reader.GetFileSize()));
        } else {
            QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Can't find include file [%s] for shader. Bailing out.", name);
        }
        source.Replace(line, replacement.ToChar());
    }
    QS_LOG_ASSERT(FILE_NAME, FUNCTION, "More than %d includes in one shader; does a file include itself?",
                  maxExpansions);
}

} // namespace api
