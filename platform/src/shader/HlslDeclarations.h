// Reading of declarations outside function bodies.
#pragma once

#include "shader/HlslRewrite.h"
#include "shader/HlslTokens.h"

namespace gleam {

/// A constant's initial value in pieces of text.
struct InitialValue
{
    std::string name;
    std::string type;
    std::string dimensions; ///< "[3]", or nothing
    std::string expression;
};

/// Fills the spellings of semantics, sample counts and normalised types, and lists the initial values of loose
/// constants and of variables in constant buffers.
void ReadDeclarations(const std::vector<HlslToken>& tokens, HlslFacts& facts, std::vector<InitialValue>& values);

} // namespace gleam
