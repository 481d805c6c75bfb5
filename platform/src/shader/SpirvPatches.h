// Edits that make generated code behave as published where glslang's own rules differ.
#pragma once

#include <functional>

#include "shader/SpirvUses.h"

namespace gleam {

/// glslang forgets to read a coverage mask that is a parameter of its own rather than a member of a structure: fills
/// the parameter. For modules as generated, whose variables still have their names.
void ConnectCoverageInput(SpirvModule& module);

/// glslang gives GatherCmp without an offset its comparison value once more as a bias, which gathers do not have.
void RemoveGatherBias(SpirvModule& module);

/// SV_VertexID and SV_InstanceID count from 0 in every draw, while Vulkan's indices include the draw's first vertex
/// and first instance: subtracts them wherever the code loads the indices.
void MakeVertexNumbersRelative(SpirvModule& module);

/// Gives storage images that are read or changed atomically the 32-bit format of their component, and leaves all
/// others without one, so that any view fits what is only written. `components` tells how many components the text
/// declares for a variable. False, with the variable in `refused`, when one is read that has several.
bool FormatStorageImages(SpirvModule& module, const std::vector<VariableUse>& uses,
                         const std::function<std::uint32_t(std::uint32_t)>& components, std::uint32_t& refused);

} // namespace gleam
