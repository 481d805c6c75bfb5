// Text shaders of the viewer: splitting, compiling, and errors with the line in the user's file.
#include "TextShader.h"

#include <Gleamwork/CompiledShader.h>
#include <Gleamwork/Renderer.h>
#include <Gleamwork/TextShader.h>

#include <d3dcompiler.h>

#include <algorithm>
#include <filesystem>
#include <qs/FileSystem.h>
#include <qs/Path.h>

namespace gleamview {

namespace {

constexpr char s_vertexSection[] = R"(
struct Vertex
{
    float2 position : POSITION;
    float2 uv : TEXCOORD0;
    float corner : NORMAL;
};

struct Pixel
{
    float4 position : SV_Position;
    float2 uv : TEXCOORD0;
};

Pixel main(Vertex vertex)
{
    Pixel pixel;
    pixel.position = float4(vertex.position, 0.0, 1.0);
    pixel.uv = vertex.uv;
    return pixel;
}
)";

constexpr char s_fragmentSection[] = R"(
Texture2D Image0;
SamplerState ImageSampler;

float4 main(float4 position : SV_Position, float2 uv : TEXCOORD0) : SV_Target0
{
    return Image0.Sample(ImageSampler, uv);
}
)";

template <std::size_t Size>
gw::ShaderData Section(const char (&text)[Size])
{
    return gw::ShaderData(text, Size - 1);
}

qs::ObjectHandle AddShader(gw::Renderer& renderer, const gw::ShaderData& vertex, const gw::ShaderData& fragment)
{
    const gw::ShaderData none;
    const qs::ObjectHandle shader = renderer.AddShader(vertex, none, fragment, none, qs::FixedString::Empty,
                                                       qs::FixedString::Empty, true, nullptr, nullptr, 0);
    renderer.CreateShader(shader);
    return shader;
}

/// What the compiler says about a section, with lines counted from the top of the whole file.
std::string Diagnose(const std::string& path, const std::string& text, const gw::ShaderData& section,
                     const char* profile)
{
    const std::size_t start = static_cast<std::size_t>(section.data - text.data());
    const auto line = 1 + std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(start), '\n');
    const std::string source = "#line " + std::to_string(line) + "\n" + text.substr(start, section.size);
    ID3DBlob* code = nullptr;
    ID3DBlob* errors = nullptr;
    D3DCompile(source.data(), source.size(), path.c_str(), nullptr, nullptr, "main", profile,
               D3DCOMPILE_OPTIMIZATION_LEVEL3, 0, &code, &errors);
    std::string said;
    if (errors) {
        said.assign(static_cast<const char*>(errors->GetBufferPointer()), errors->GetBufferSize());
        errors->Release();
    }
    if (code)
        code->Release();
    while (!said.empty() && (said.back() == '\0' || said.back() == '\n'))
        said.pop_back();
    return said;
}

bool Compiles(const std::string& path, const std::string& text, const gw::ShaderData& section, gw::EShaderType type,
              const char* name, const char* profile, std::string& error)
{
    gw::CompiledShader compiled;
    const bool ok = api::D3D11Renderer::CompileShader(section, type, compiled, nullptr);
    if (!ok)
        error = path + ": the " + name + " section does not compile\n" + Diagnose(path, text, section, profile);
    compiled.Destroy();
    return ok;
}

bool ReadText(const std::string& path, std::string& text, std::string& error)
{
    std::error_code code;
    if (std::filesystem::is_directory(path, code)) {
        error = path + ": is a folder";
        return false;
    }
    qs::FileReader reader(qs::Path(qs::PATH_ROOT_NONE, path.c_str()), qs::FileReader::EType(0));
    if (!reader.IsLoaded()) {
        error = path + ": the shader file cannot be read";
        return false;
    }
    text.resize(reader.GetFileSize());
    text.resize(reader.Read(text.data(), text.size()));
    return true;
}

} // namespace

qs::ObjectHandle AddBuiltInShader(gw::Renderer& renderer, std::string& error)
{
    const qs::ObjectHandle shader = AddShader(renderer, Section(s_vertexSection), Section(s_fragmentSection));
    if (!shader.IsValid())
        error = "the viewer's own shader could not be made";
    return shader;
}

qs::ObjectHandle LoadTextShader(gw::Renderer& renderer, const std::string& path, std::string& error)
{
    std::string text;
    if (!ReadText(path, text, error))
        return qs::ObjectHandle::Unassigned;
    gw::ShaderData vertex, geometry, fragment, compute;
    gw::SplitShaderText(text.c_str(), text.size(), vertex, geometry, fragment, compute);
    if (!fragment.data) {
        error = path + ": no \"[Fragment shader]\" section";
        return qs::ObjectHandle::Unassigned;
    }
    if (vertex.data && !Compiles(path, text, vertex, gw::eShaderType_Vertex, "vertex", "vs_4_0", error))
        return qs::ObjectHandle::Unassigned;
    if (!Compiles(path, text, fragment, gw::eShaderType_Fragment, "fragment", "ps_5_0", error))
        return qs::ObjectHandle::Unassigned;
    const qs::ObjectHandle shader = AddShader(renderer, vertex.data ? vertex : Section(s_vertexSection), fragment);
    if (!shader.IsValid())
        error = path + ": the device does not take the shader";
    return shader;
}

} // namespace gleamview
