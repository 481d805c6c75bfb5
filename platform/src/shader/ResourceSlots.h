// Registers of a shader's resources, and the descriptor bindings that follow from them.
#pragma once

#include "shader/HlslProgram.h"
#include "shader/SpirvUses.h"

namespace gleam {

/// Works out which resources the optimised module still uses, gives those without a register(...) the lowest free
/// registers of their class in order of declaration, rewrites the module's binding decorations by the descriptor
/// convention, and fills `program.info.resources` and `.buffers`. False, with a text, when registers overlap or run
/// out.
bool AssignResources(SpirvModule& module, const std::vector<VariableUse>& uses, HlslProgram& program,
                     std::string& error);

} // namespace gleam
