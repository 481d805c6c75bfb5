// Text shaders: one file that holds all stages of a program, cut into sections by marker lines.
//
// The markers are "[Vertex shader]", "[Geometry shader]", "[Fragment shader]" and "[Compute shader]", in any order,
// each at most once. A section runs from behind its marker's line break to the next marker or the end; it is HLSL whose
// entry point is "main", compiled as vs_4_0, gs_4_0, ps_5_0 or cs_5_0. Text ahead of the first marker is ignored, and
// sections share nothing unless they include a common file. `#include` names files under the data root.
#pragma once

#include "Gleamwork/CompiledShader.h"
#include "Gleamwork/Export.h"

#include <cstdint>

namespace qs {
class Path;
}

namespace gw {

/// Preprocessor definitions of a compilation: `count` names and as many definitions. The texts belong to the caller and
/// are read during the compilation only; an entry without a name ends the list.
struct GW_API ShaderDefine
{
    explicit ShaderDefine(std::int32_t definitionCount);
    ~ShaderDefine();
    ShaderDefine(const ShaderDefine&) = delete;
    ShaderDefine& operator=(const ShaderDefine&) = delete;

    std::int32_t count = 0;
    const char** names = nullptr;
    const char** definitions = nullptr;
};

/// Finds the sections. `text` ends with a zero byte behind its `size` bytes; the four views must come in empty, point
/// into `text` afterwards, and stay empty for absent stages. An empty section has a pointer and size 0.
GW_API void SplitShaderText(const char* text, std::uint64_t size, ShaderData& vertex, ShaderData& geometry,
                            ShaderData& fragment, ShaderData& compute);

/// Writes a binary shader file of the stages that hold data, and destroys the data of all four. False, with an error
/// logged, when the file cannot be written whole.
///
/// The file, little-endian and packed: marker 0xffffffff (4 bytes), version 1 (1), number of stages (1); per stage its
/// EShaderType (1), the offset of its code from the start of the file (4) and its size (4); then the code.
GW_API bool CreateCompiledShaderFile(const qs::Path& path, CompiledShader& vertex, CompiledShader& geometry,
                                     CompiledShader& fragment, CompiledShader& compute);

} // namespace gw
