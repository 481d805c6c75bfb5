// The tables of a shader that turn names into places, filled from what the compiler tells of each stage.
#pragma once

#include "Gleamwork/Shader.h"
#include "Gleamwork/dx11/D3D11StateCache.h"

#include <d3d11.h>
#include <d3d11shader.h>

namespace api {

/// Reflection of up to three stages; null for absent ones. Not owned.
using StageReflections = ID3D11ShaderReflection* [eShaderStage_Count];

/// 64-bit FNV-1a over a vertex stage's input signature: equal for shaders that can share an input layout.
std::uint64_t HashInputSignature(ID3D11ShaderReflection* reflection);

/// Makes the constant buffers of every stage and the map of constants.
void BuildConstantTables(Shader& shader, const StageReflections& stages, ID3D11Device* device);

/// Makes the maps of samplers and textures; no maps when no stage has a bound resource.
void BuildResourceTables(Shader& shader, const StageReflections& stages);

} // namespace api
