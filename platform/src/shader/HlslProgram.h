// HLSL text of one stage turned into SPIR-V by glslang, with what glslang's syntax tree tells about it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "shader/ShaderInfo.h"

namespace gleam {

/// One stage to compile. The text is preprocessed; its #line directives name the files for messages.
struct HlslRequest
{
    std::string text;
    std::string sourceName;
    std::string entryPoint;
    EShaderStage stage = EShaderStage::Vertex;
    bool rowMajor = false; ///< packing of matrices that do not tell their own
};

/// A resource that the text declares, used or not.
struct HlslResource
{
    ResourceInfo info; ///< slot and binding are still open
    std::optional<std::uint32_t> explicitSlot;
    std::uint32_t provisional = 0;    ///< number of the variable's Binding decoration in the generated module
    std::optional<BufferInfo> buffer; ///< of constant and texture buffers, and elements of structured buffers
    std::string counterOf;            ///< name of the structured buffer whose hidden counter this is
};

struct HlslProgram
{
    std::vector<std::uint32_t> spirv;    ///< every resource variable has set 0 and its provisional binding
    std::vector<HlslResource> resources; ///< in order of declaration
    /// Folded components of helper functions' values, see HlslRewrite.h; every 32-bit value fits a double.
    std::map<std::string, std::vector<double>> constants;
    ShaderInfo info; ///< stage, signatures and execution properties; the rest is still empty
};

/// Fills `program` and `log`; false when the text does not compile. The log is in glslang's form. Callable from any
/// thread, several at once.
bool CompileHlsl(const HlslRequest& request, HlslProgram& program, std::string& log);

/// glslang's syntax tree to our records; see HlslTree.cpp.
struct HlslTree;
void ReadTree(HlslTree& tree, HlslProgram& program);

} // namespace gleam
