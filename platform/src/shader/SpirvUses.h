// What the code of an optimised module does with its global variables.
#pragma once

#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "shader/SpirvModule.h"

namespace gleam {

/// Use of one global variable.
struct VariableUse
{
    std::uint32_t id = 0;
    spv::StorageClass storage = spv::StorageClass::Uniform;
    bool isRead = false; ///< loaded from, sampled, or changed by an atomic operation
    bool isWritten = false;
    bool needsFormat = false;                  ///< storage image that is read or changed atomically
    bool isWholeUsed = false;                  ///< used other than by constant first index
    std::unordered_set<std::uint32_t> members; ///< constant first indices that are used
    std::uint8_t components = 0;               ///< mask of a vector's components that are read
};

/// One entry for each OpVariable outside functions, in their order.
std::vector<VariableUse> FindVariableUses(SpirvModule& module);

/// Value of an integer constant, or nothing.
std::optional<std::uint32_t> ConstantValue(SpirvModule& module, std::uint32_t id);

} // namespace gleam
