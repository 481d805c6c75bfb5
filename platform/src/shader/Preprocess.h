// Macros, conditions and includes of HLSL texts.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "shader/IncludeFiles.h"
#include "shader/ShaderMessages.h"

namespace gleam {

using Macros = std::vector<std::pair<std::string, std::string>>;

struct PreprocessResult
{
    bool succeeded = false;
    std::string text;     ///< with #line directives where line numbers or files change
    std::string messages; ///< in the published form
    SourceTexts sources;  ///< the source and what it includes, by name
};

PreprocessResult Preprocess(std::string_view source, const std::string& sourceName, const Macros& macros,
                            IncludeFiles& files);

} // namespace gleam
