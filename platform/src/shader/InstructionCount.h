// Counts of a module's instructions by kind.
#pragma once

#include "shader/ShaderInfo.h"
#include "shader/SpirvModule.h"

namespace gleam {

/// Counts what the functions of the module compute, read, write and branch on. Labels, merge hints, declarations,
/// access chains and the parts of composites are not instructions.
InstructionCounts CountInstructions(SpirvModule& module);

} // namespace gleam
