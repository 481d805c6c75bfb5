// The binary form of a compiled shader.
//
// All numbers are little-endian, 32 bits wide unless told otherwise:
//
//   offset  size
//        0     4  "GLSH"
//        4     4  format version
//        8     4  size of the whole, this header included
//       12     4  number of chunks, at most 16
//       16     8  64-bit xxHash (XXH3) of everything behind this header
//       24  12*n  chunk table: tag, offset from the start, size
//                 chunks, each starting on a multiple of 4 bytes
//
// Chunk "SPRV" holds the SPIR-V words, chunk "INFO" the ShaderInfo. A reader skips chunks that it does not know.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "shader/ShaderInfo.h"

namespace gleam {

/// To be raised with every change of the stored form or of what the compiler generates: compiled shaders and cache
/// entries of another version are refused.
constexpr std::uint32_t ContainerVersion = 1;

std::vector<std::uint8_t> WriteContainer(std::span<const std::uint32_t> spirv, const ShaderInfo& info);

/// Views into the bytes of a container whose sizes, offsets and hash have been checked.
struct ContainerView
{
    std::span<const std::uint8_t> spirv; ///< size is a multiple of 4; the start need not be aligned
    std::span<const std::uint8_t> info;
};

/// False when the bytes are not a whole, undamaged container of this version.
bool OpenContainer(std::span<const std::uint8_t> bytes, ContainerView& view);

/// The info chunk and back. Reading checks every count, enumeration and range, and that slots and binding numbers
/// agree with the descriptor convention of ShaderModule.h.
std::vector<std::uint8_t> WriteShaderInfo(const ShaderInfo& info);
bool ReadShaderInfo(std::span<const std::uint8_t> bytes, ShaderInfo& info);

} // namespace gleam
