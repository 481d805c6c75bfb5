// Everything about a compiled shader but its code: what reflection reports and what the device needs to bind it.
// Worked out when a shader is compiled and stored beside the code.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "shader/ShaderModule.h"

namespace gleam {

struct MemberInfo;

/// Type of a variable, as D3D11_SHADER_TYPE_DESC tells it.
struct TypeInfo
{
    D3D_SHADER_VARIABLE_CLASS variableClass = D3D_SVC_SCALAR;
    D3D_SHADER_VARIABLE_TYPE type = D3D_SVT_FLOAT;
    std::uint32_t rows = 1;
    std::uint32_t columns = 1;
    std::uint32_t elements = 0; ///< 0 when this is no array
    std::uint32_t offset = 0;   ///< in the enclosing structure
    std::string name;
    std::vector<MemberInfo> members;
};

struct MemberInfo
{
    std::string name;
    TypeInfo type;
};

struct VariableInfo
{
    std::string name;
    std::uint32_t offset = 0;
    std::uint32_t size = 0;
    std::uint32_t flags = 0; ///< D3D_SHADER_VARIABLE_FLAGS
    TypeInfo type;
    std::vector<std::uint8_t> defaultValue; ///< `size` bytes, or none
};

/// A block of variables, or the element of a structured buffer (type D3D_CT_RESOURCE_BIND_INFO).
struct BufferInfo
{
    std::string name;
    D3D_CBUFFER_TYPE type = D3D_CT_CBUFFER;
    std::uint32_t size = 0;
    std::uint32_t flags = 0;
    std::vector<VariableInfo> variables;
};

/// A bound resource: the binding that the device uses and what reflection adds to it.
struct ResourceInfo
{
    ShaderBinding binding;
    D3D_SHADER_INPUT_TYPE type = D3D_SIT_CBUFFER;
    std::uint32_t flags = 0;       ///< D3D_SHADER_INPUT_FLAGS
    std::uint32_t sampleCount = 0; ///< D3D11_SHADER_INPUT_BIND_DESC::NumSamples
};

/// Counts over the optimised module; names as in D3D11_SHADER_DESC, the last four as in ID3D11ShaderReflection.
struct InstructionCounts
{
    std::uint32_t total = 0;
    std::uint32_t tempArrays = 0;
    std::uint32_t textureNormal = 0, textureLoad = 0, textureComparison = 0, textureBias = 0, textureGradient = 0;
    std::uint32_t floats = 0, ints = 0, uints = 0;
    std::uint32_t staticFlow = 0, dynamicFlow = 0;
    std::uint32_t arrays = 0;
    std::uint32_t cuts = 0, emits = 0;
    std::uint32_t barriers = 0, interlocked = 0, textureStores = 0;
    std::uint32_t moves = 0, conditionalMoves = 0, conversions = 0, bitwise = 0;
};

struct ShaderInfo
{
    EShaderStage stage = EShaderStage::Vertex;
    std::uint32_t version = 0; ///< D3D11_SHADER_DESC::Version
    std::uint32_t flags = 0;   ///< first flags word of the compilation
    std::vector<BufferInfo> buffers;
    std::vector<ResourceInfo> resources;
    std::vector<SignatureElement> inputs, outputs, patchConstants;
    InstructionCounts counts;
    std::array<std::uint32_t, 3> threadGroup = {0, 0, 0};
    bool runsPerSample = false;

    D3D_PRIMITIVE inputPrimitive = D3D_PRIMITIVE_UNDEFINED;
    D3D_PRIMITIVE_TOPOLOGY outputTopology = D3D_PRIMITIVE_TOPOLOGY_UNDEFINED;
    std::uint32_t maxOutputVertices = 0;
    std::uint32_t geometryInstances = 0;
    std::uint32_t controlPoints = 0;
    D3D_TESSELLATOR_OUTPUT_PRIMITIVE hullOutput = D3D_TESSELLATOR_OUTPUT_UNDEFINED;
    D3D_TESSELLATOR_PARTITIONING hullPartitioning = D3D_TESSELLATOR_PARTITIONING_UNDEFINED;
    D3D_TESSELLATOR_DOMAIN tessellatorDomain = D3D_TESSELLATOR_DOMAIN_UNDEFINED;
};

} // namespace gleam
