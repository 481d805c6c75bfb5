// Facts about the text, put into what glslang's syntax tree gave.
#pragma once

#include "shader/HlslProgram.h"
#include "shader/HlslRewrite.h"

namespace gleam {

/// Restores changed names, spells semantics as the text does, and adds sample counts and normalised types.
void ApplyFacts(const HlslFacts& facts, HlslProgram& program);

/// Fills the default values of constants whose layout is known.
void ApplyDefaults(const HlslFacts& facts, HlslProgram& program);

} // namespace gleam
