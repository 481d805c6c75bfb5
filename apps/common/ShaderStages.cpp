// Reading and compiling of text shader files.
#include "common/ShaderStages.h"

#include <Gleamwork/TextShader.h>

#include <d3dcompiler.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <qs/FileSystem.h>

namespace apps {
namespace {

namespace fs = std::filesystem;

bool ReadText(const std::string& path, std::string& text)
{
    std::error_code code;
    if (!fs::is_regular_file(path, code))
        return false;
    qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, path.c_str()));
    if (!reader.IsLoaded())
        return false;
    text.resize(reader.GetFileSize());
    text.resize(reader.Read(text.data(), text.size()));
    return true;
}

/// Finds included files beside the file that includes, and then in the given folders.
class Includes final : public ID3DInclude
{
public:
    Includes(const std::string& source, const std::vector<std::string>& folders)
        : m_sourceFolder(fs::path(source).parent_path()), m_folders(folders)
    {
    }

    HRESULT STDMETHODCALLTYPE Open(D3D_INCLUDE_TYPE, LPCSTR name, LPCVOID parent, LPCVOID* data, UINT* bytes) override
    {
        const auto includer = m_open.find(parent);
        std::vector<fs::path> places{includer != m_open.end() ? includer->second.folder : m_sourceFolder};
        places.insert(places.end(), m_folders.begin(), m_folders.end());
        for (const fs::path& place : places) {
            const fs::path path = place / name;
            auto text = std::make_unique<std::string>();
            if (!ReadText(path.string(), *text) || text->size() > UINT(-1))
                continue;
            *data = text->data();
            *bytes = static_cast<UINT>(text->size());
            m_open[*data] = {path.parent_path(), std::move(text)};
            return S_OK;
        }
        return E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE Close(LPCVOID data) override
    {
        m_open.erase(data);
        return S_OK;
    }

private:
    struct File
    {
        fs::path folder;
        std::unique_ptr<std::string> text;
    };

    fs::path m_sourceFolder;
    const std::vector<std::string>& m_folders;
    std::map<LPCVOID, File> m_open;
};

/// A section behind a line that says where in the file it starts.
std::string WithLine(const ShaderSource& source, const gw::ShaderData& section)
{
    const auto line = 1 + std::count(source.text.data(), section.data, '\n');
    return "#line " + std::to_string(line) + "\n" + std::string(section.data, section.size);
}

std::string TakeText(ID3DBlob* blob)
{
    if (!blob)
        return {};
    std::string text(static_cast<const char*>(blob->GetBufferPointer()), blob->GetBufferSize());
    blob->Release();
    while (!text.empty() && (text.back() == '\0' || text.back() == '\n'))
        text.pop_back();
    return text;
}

} // namespace

bool ReadShaderSource(const std::string& path, ShaderSource& source, std::string& error)
{
    std::error_code code;
    if (fs::is_directory(path, code)) {
        error = path + ": is a folder";
        return false;
    }
    if (!ReadText(path, source.text)) {
        error = path + ": the shader file cannot be read";
        return false;
    }
    source.path = path;
    auto& [vertex, geometry, fragment, compute] = source.sections;
    gw::SplitShaderText(source.text.c_str(), source.text.size(), vertex, geometry, fragment, compute);
    return true;
}

StageResult CompileStage(const ShaderSource& source, gw::EShaderType type, const StageOptions& options)
{
    const std::string text = WithLine(source, source.sections[type - gw::eShaderType_Vertex]);
    std::vector<D3D_SHADER_MACRO> macros;
    for (const auto& [name, value] : options.defines)
        macros.push_back({name.c_str(), value.c_str()});
    macros.push_back({nullptr, nullptr});
    Includes includes(source.path, options.includeFolders);
    ID3DBlob* code = nullptr;
    ID3DBlob* errors = nullptr;
    const HRESULT hr = D3DCompile(text.data(), text.size(), source.path.c_str(), macros.data(), &includes, "main",
                                  StageProfile(type), D3DCOMPILE_OPTIMIZATION_LEVEL3, 0, &code, &errors);
    StageResult result;
    result.messages = TakeText(errors);
    if (code) {
        const char* bytes = static_cast<const char*>(code->GetBufferPointer());
        result.code.assign(bytes, bytes + code->GetBufferSize());
        code->Release();
    }
    result.isCompiled = SUCCEEDED(hr) && !result.code.empty();
    return result;
}

const char* StageName(gw::EShaderType type)
{
    constexpr const char* names[] = {"none", "vertex", "geometry", "fragment", "compute"};
    return names[type];
}

const char* StageProfile(gw::EShaderType type)
{
    constexpr const char* profiles[] = {"", "vs_4_0", "gs_4_0", "ps_5_0", "cs_5_0"};
    return profiles[type];
}

} // namespace apps
