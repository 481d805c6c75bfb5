// From preprocessed HLSL text to a finished container.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shader/HlslProgram.h"
#include "shader/ShaderMessages.h"

namespace gleam {

/// A target such as "ps_5_0".
struct ShaderTarget
{
    EShaderStage stage;
    std::uint32_t major;
    std::uint32_t minor;
};

std::optional<ShaderTarget> ParseTarget(std::string_view text);

struct CompileRequest
{
    HlslRequest hlsl;
    ShaderTarget target{};
    SourceTexts sources;     ///< for messages
    std::uint32_t flags = 0; ///< D3DCOMPILE_
};

struct CompileResult
{
    std::vector<std::uint8_t> container; ///< empty on failure
    std::string messages;                ///< in the published form; errors or warnings
};

/// Compiles without looking at the cache. Callable from any thread, several at once.
CompileResult CompileShader(const CompileRequest& request);

/// Calls of CompileShader since the process began; a cache hit makes none.
std::uint64_t CompilationCount();

} // namespace gleam
