// Reading of glslang's syntax tree, split by topic over HlslTree.cpp, HlslTypes.cpp and HlslSignature.cpp.
#pragma once

#include "shader/Glslang.h"
#include "shader/HlslProgram.h"

namespace gleam {

struct HlslTree
{
    glslang::TIntermediate& intermediate;
};

/// Shape of a type as reflection tells it; offsets are still 0. `inherited` is the packing of matrices that do not
/// tell their own.
TypeInfo DescribeType(const glslang::TType& type, glslang::TLayoutMatrix inherited);

/// The variables of a block, with the offsets that the text fixes itself (packoffset, register c) in `offset` and
/// D3D_SVF_USERPACKED set; the others' offsets are still open.
BufferInfo DescribeBlock(const glslang::TType& block, std::string name);

/// One row of a signature for each register that an input or output variable takes, in order of declaration.
void DescribeSignatures(const std::vector<const glslang::TIntermSymbol*>& symbols, ShaderInfo& info);

} // namespace gleam
