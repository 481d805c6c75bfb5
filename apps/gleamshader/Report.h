// What --info prints about a compiled stage.
#pragma once

#include <Gleamwork/CompiledShader.h>

#include <string>
#include <vector>

namespace gleamshader {

/// Lines about one stage: profile, size, instruction count, then constants by buffer with their bytes, and the bound
/// textures, buffers and samplers with their slots. Says so when the code cannot be reflected.
std::string DescribeStage(gw::EShaderType type, const std::vector<char>& code);

} // namespace gleamshader
