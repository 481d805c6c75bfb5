// D3DCompile and D3DPreprocess.
#include "d3dcompiler.h"

#include <cstring>
#include <new>

#include "common/DebugOutput.h"
#include "shader/Blob.h"
#include "shader/ShaderCache.h"
#include "shader/ShaderCompiler.h"

namespace gleam {
namespace {

constexpr SIZE_T MaxSourceBytes = 16u << 20;

Macros CopyMacros(const D3D_SHADER_MACRO* defines)
{
    Macros macros;
    for (; defines && defines->Name; ++defines)
        macros.emplace_back(defines->Name, defines->Definition ? defines->Definition : "");
    return macros;
}

/// The text without the zero bytes that callers often count at its end; zero bytes inside become spaces.
std::string CopySource(LPCVOID source, SIZE_T size)
{
    std::string text(static_cast<const char*>(source), size);
    while (!text.empty() && text.back() == '\0')
        text.pop_back();
    for (char& c : text)
        if (c == '\0')
            c = ' ';
    return text;
}

/// Everything that a call of D3DCompile starts from.
struct Compilation
{
    std::string source;
    std::string sourceName;
    Macros macros;
    ID3DInclude* include = nullptr;
    std::string entryPoint;
    std::string targetName;
    ShaderTarget target{};
    UINT flags = 0;
};

struct Outcome
{
    std::vector<std::uint8_t> container; ///< empty on failure
    std::string messages;
};

Outcome CompileAnew(const Compilation& job, std::vector<IncludeRecord>& includes)
{
    IncludeFiles files(job.include, job.sourceName);
    PreprocessResult preprocessed = Preprocess(job.source, job.sourceName, job.macros, files);
    if (!preprocessed.succeeded)
        return {{}, std::move(preprocessed.messages)};
    includes = files.Records();

    CompileRequest request;
    request.hlsl.text = std::move(preprocessed.text);
    request.hlsl.sourceName = job.sourceName;
    request.hlsl.entryPoint = job.entryPoint;
    request.hlsl.stage = job.target.stage;
    request.hlsl.rowMajor = (job.flags & D3DCOMPILE_PACK_MATRIX_ROW_MAJOR) != 0;
    request.target = job.target;
    request.sources = std::move(preprocessed.sources);
    request.flags = job.flags;
    CompileResult compiled = CompileShader(request);
    return {std::move(compiled.container), preprocessed.messages + compiled.messages};
}

Outcome CompileThroughCache(const Compilation& job)
{
    const CacheKey key =
        MakeCacheKey(job.source, job.sourceName, job.macros, job.entryPoint, job.targetName, job.flags);
    if (std::optional<CacheEntry> entry = LoadCacheEntry(key))
        if (IncludeFiles(job.include, job.sourceName).Match(entry->includes))
            return {std::move(entry->container), std::move(entry->warnings)};

    CacheEntry entry;
    Outcome outcome = CompileAnew(job, entry.includes);
    if ((job.flags & D3DCOMPILE_WARNINGS_ARE_ERRORS) && !outcome.messages.empty())
        outcome.container.clear();
    if (!outcome.container.empty()) {
        entry.container = outcome.container;
        entry.warnings = outcome.messages;
        StoreCacheEntry(key, entry);
    }
    return outcome;
}

Outcome Run(Compilation& job)
{
    const auto target = ParseTarget(job.targetName);
    if (!target)
        return {
            {},
            OneMessage(job.sourceName, 1, 1, "error", "X3506: unrecognized compiler target '" + job.targetName + "'")};
    job.target = *target;
    return CompileThroughCache(job);
}

HRESULT Deliver(Outcome outcome, ID3DBlob** code, ID3DBlob** messages)
{
    if (messages && !outcome.messages.empty())
        *messages = MakeTextBlob(outcome.messages);
    if (outcome.container.empty())
        return E_FAIL;
    if (code)
        *code = MakeBlob(std::move(outcome.container));
    return S_OK;
}

void Clear(ID3DBlob** blob)
{
    if (blob)
        *blob = nullptr;
}

bool SourceIsSound(const char* call, LPCVOID source, SIZE_T size)
{
    if (source && size <= MaxSourceBytes)
        return true;
    DebugLine("%s: the source is null or longer than %zu bytes", call, static_cast<std::size_t>(MaxSourceBytes));
    return false;
}

} // namespace
} // namespace gleam

HRESULT WINAPI D3DCompile(LPCVOID source, SIZE_T sourceSize, LPCSTR sourceName, const D3D_SHADER_MACRO* defines,
                          ID3DInclude* include, LPCSTR entryPoint, LPCSTR target, UINT flags1, UINT flags2,
                          ID3DBlob** code, ID3DBlob** messages)
{
    using namespace gleam;
    Clear(code);
    Clear(messages);
    if (!SourceIsSound("D3DCompile", source, sourceSize))
        return E_INVALIDARG;
    if (!entryPoint || !target) {
        DebugLine("D3DCompile: entry point and target may not be null");
        return E_INVALIDARG;
    }
    try {
        Compilation job;
        job.source = CopySource(source, sourceSize);
        job.sourceName = sourceName ? sourceName : "";
        job.macros = CopyMacros(defines);
        job.include = include;
        job.entryPoint = entryPoint;
        job.targetName = target;
        job.flags = flags1;
        return Deliver(Run(job), code, messages);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT WINAPI D3DPreprocess(LPCVOID source, SIZE_T sourceSize, LPCSTR sourceName, const D3D_SHADER_MACRO* defines,
                             ID3DInclude* include, ID3DBlob** text, ID3DBlob** messages)
{
    using namespace gleam;
    Clear(text);
    Clear(messages);
    if (!SourceIsSound("D3DPreprocess", source, sourceSize) || !text)
        return E_INVALIDARG;
    try {
        const std::string name = sourceName ? sourceName : "";
        IncludeFiles files(include, name);
        PreprocessResult result = Preprocess(CopySource(source, sourceSize), name, CopyMacros(defines), files);
        if (messages && !result.messages.empty())
            *messages = MakeTextBlob(result.messages);
        if (!result.succeeded)
            return E_FAIL;
        *text = MakeTextBlob(result.text);
        return S_OK;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}
