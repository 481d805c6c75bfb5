// Runs glslang's preprocessor alone.
#include "shader/Preprocess.h"

#include "shader/Glslang.h"

namespace gleam {
namespace {

constexpr std::size_t MaxIncludeDepth = 64;

/// Serves glslang's includes. glslang asks for a quoted name first as a local and then, after a failure, as a system
/// file; the published compiler asks its handler once.
class Includer final : public glslang::TShader::Includer
{
public:
    Includer(IncludeFiles& files, SourceTexts& sources) : m_files(files), m_sources(sources) {}

    IncludeResult* includeLocal(const char* name, const char*, std::size_t) override
    {
        IncludeResult* result = Open(D3D_INCLUDE_LOCAL, name);
        m_localFailed = !result;
        return result;
    }

    IncludeResult* includeSystem(const char* name, const char*, std::size_t) override
    {
        if (std::exchange(m_localFailed, false))
            return nullptr;
        return Open(D3D_INCLUDE_SYSTEM, name);
    }

    void releaseInclude(IncludeResult* result) override
    {
        if (!result)
            return;
        m_stack.pop_back();
        delete result;
    }

private:
    IncludeResult* Open(D3D_INCLUDE_TYPE type, const char* name)
    {
        if (m_stack.size() >= MaxIncludeDepth)
            return nullptr;
        const std::uint32_t parent = m_stack.empty() ? IncludeRecord::NoParent : m_stack.back();
        const std::uint32_t index = m_files.Open(type, name, parent);
        if (index == IncludeRecord::NoParent)
            return nullptr;
        m_stack.push_back(index);
        const std::string_view bytes = m_files.At(index).bytes;
        m_sources.emplace(name, bytes);
        return new IncludeResult(name, bytes.data(), bytes.size(), nullptr);
    }

    IncludeFiles& m_files;
    SourceTexts& m_sources;
    std::vector<std::uint32_t> m_stack;
    bool m_localFailed = false;
};

/// Definitions as text in front of the source; a line break in one would shift or break the others.
std::string Preamble(const Macros& macros)
{
    std::string text;
    for (const auto& [name, definition] : macros) {
        std::string line = "#define " + name + " " + definition;
        for (char& c : line)
            if (c == '\n' || c == '\r')
                c = ' ';
        text += line + "\n";
    }
    return text;
}

} // namespace

PreprocessResult Preprocess(std::string_view source, const std::string& sourceName, const Macros& macros,
                            IncludeFiles& files)
{
    StartGlslang();
    PreprocessResult result;
    result.sources.emplace(sourceName, source);

    // Stage and target do not matter to the preprocessor; they only select the language.
    glslang::TShader shader(EShLangFragment);
    shader.setEnvInput(glslang::EShSourceHlsl, EShLangFragment, glslang::EShClientVulkan, 100);
    shader.setEnvClient(glslang::EShClientVulkan, glslang::EShTargetVulkan_1_3);
    shader.setEnvTarget(glslang::EShTargetSpv, glslang::EShTargetSpv_1_3);
    const char* text = source.data();
    const int length = static_cast<int>(source.size());
    const char* name = sourceName.c_str();
    shader.setStringsWithLengthsAndNames(&text, &length, &name, 1);
    const std::string preamble = Preamble(macros);
    shader.setPreamble(preamble.c_str());

    Includer includer(files, result.sources);
    result.succeeded = shader.preprocess(GetDefaultResources(), HlslVersion, ENoProfile, false, false, HlslMessages,
                                         &result.text, includer);
    result.messages = PublishedMessages(shader.getInfoLog(), result.sources, result.text, sourceName);
    return result;
}

} // namespace gleam
