// Matrices whose last row does not fill its register.
#pragma once

#include <set>
#include <utility>

#include "shader/SpirvModule.h"

namespace gleam {

/// A member of a structure type: the type's id and the member's index.
using StructureMember = std::pair<std::uint32_t, std::uint32_t>;

/// Declares matrices, or arrays of them, that are members of uniform structures as arrays of their vectors, 16 bytes
/// apart. The memory is the same, but SPIR-V counts a matrix's last vector as a whole register, in which then nothing
/// else may start, and an array's only as far as it goes. For code as generated, before optimisation.
void DeclareMatricesAsRows(SpirvModule& module, const std::set<StructureMember>& members);

} // namespace gleam
