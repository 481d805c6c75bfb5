// The one way in which this folder includes glslang. Sources that derive from its classes are built without
// run-time type information, as the library itself is.
#pragma once

#ifndef ENABLE_HLSL
#define ENABLE_HLSL 1
#endif
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wall"
#include <glslang/MachineIndependent/localintermediate.h>
#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>
#pragma GCC diagnostic pop

#include "shader/ShaderModule.h"

namespace gleam {

/// Options with which all texts are read.
constexpr EShMessages HlslMessages =
    static_cast<EShMessages>(EShMsgSpvRules | EShMsgVulkanRules | EShMsgReadHlsl | EShMsgHlslOffsets |
                             EShMsgHlslLegalization | EShMsgKeepUncalled);
constexpr int HlslVersion = 500;

/// Starts glslang once for the process; its built-in tables then live to the end.
void StartGlslang();
EShLanguage GlslangStage(EShaderStage stage);

} // namespace gleam
