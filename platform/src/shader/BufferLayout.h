// Where the variables of constant buffers and of structured buffers' elements lie, by the published packing rules,
// and the same offsets written into generated code.
//
// Constant and texture buffers are rows of 16 bytes:
// - a scalar or vector does not cross a row; it starts at the next multiple of its component otherwise;
// - an array, a matrix or a structure starts a row; each element and each vector of a matrix takes whole rows, but the
//   last one only the bytes it has, so that a following variable may fill its row;
// - the buffer's size is rounded up to a row.
// Structured buffers have no rows: everything follows at the next multiple of its component.
#pragma once

#include <string>

#include "shader/ShaderInfo.h"
#include "shader/SpirvMatrixRows.h"

namespace gleam {

enum class EBufferRule
{
    Rows,
    Tight
};

/// Bytes of one value of the type (of the whole array, for an array), from its start to the end of its last component.
std::uint64_t SizeOf(const TypeInfo& type, EBufferRule rule);
/// Bytes from one element of the type's array to the next.
std::uint64_t ElementStride(const TypeInfo& type, EBufferRule rule);
/// Bytes from one stored vector of the type's matrix to the next.
std::uint32_t MatrixStride(const TypeInfo& type, EBufferRule rule);

/// Sets offsets and sizes of the buffer, its variables and their members. Offsets that the text fixes
/// (D3D_SVF_USERPACKED) stay. False, with a text, when variables overlap or the buffer exceeds 64 KiB.
bool LayOut(BufferInfo& buffer, std::string& error);

/// Rewrites offsets and strides of the structure type behind variable `variable` in the module, and adds to `rows` the
/// matrices whose last row does not fill its register. False when the type does not have the shape that `buffer`
/// tells.
bool ApplyLayout(SpirvModule& module, std::uint32_t variable, const BufferInfo& buffer,
                 std::set<StructureMember>& rows);

} // namespace gleam
