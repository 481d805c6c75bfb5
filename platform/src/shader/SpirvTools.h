// Optimising and checking of SPIR-V by SPIRV-Tools. Callable from any thread.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace gleam {

enum class EOptimization
{
    Legalize, ///< what valid code needs: calls inlined, resources that pass through variables resolved
    Perform   ///< and everything that makes it quicker
};

/// False, with a text, when SPIRV-Tools cannot read the module.
bool OptimizeSpirv(std::vector<std::uint32_t>& words, EOptimization level, std::string& message);

enum class EBlockCheck
{
    Scalar,
    None
};

/// Checks against the rules of Vulkan 1.3, for block offsets those of scalar layout or none.
bool ValidateSpirv(std::span<const std::uint32_t> words, std::string& message);

} // namespace gleam
