// A shader program: its device objects and the tables that map names to constants, textures and samplers.
#pragma once

#include <qs/FixedStringMap.h>
#include <qs/ObjectHandle.h>

#include <cstdint>

struct ConstantBuffer;
struct ID3D11ComputeShader;
struct ID3D11PixelShader;
struct ID3D11VertexShader;

/// Where a constant lies in each stage (vertex, fragment, compute); 0xffffffff when the stage lacks it.
struct ShaderConstant
{
    std::uint32_t offsets[3] = {0xffffffffu, 0xffffffffu, 0xffffffffu}; ///< bytes from the start of the buffer
    std::uint32_t buffers[3] = {0xffffffffu, 0xffffffffu, 0xffffffffu}; ///< position in the stage's array
    qs::ObjectHandle handle;
};

/// The slot of a texture or sampler in each stage (vertex, fragment, compute); negative when the stage lacks it.
struct ShaderSlots
{
    std::int8_t slots[3] = {-1, -1, -1};
};

/// A shader record; plain data, owned by its container's user (`api::D3D11Renderer::RemoveShader`).
struct Shader
{
    template <class Value>
    using Map = qs::FixedStringMapBase<qs::ObjectAllocator, qs::DummyResetFunctor<Value>, Value>;
    using ConstantMap = Map<ShaderConstant>;
    using SlotMap = Map<ShaderSlots>;

    qs::ObjectHandle compiledVertex;
    qs::ObjectHandle compiledFragment;
    qs::ObjectHandle compiledCompute;
    std::uint64_t signatureHash = 0; ///< of the vertex stage's inputs; 0 without a vertex stage
    ID3D11VertexShader* vertexShader = nullptr;
    ID3D11PixelShader* pixelShader = nullptr;
    ID3D11ComputeShader* computeShader = nullptr;
    ConstantBuffer* vertexConstantBuffers = nullptr;
    ConstantBuffer* pixelConstantBuffers = nullptr;
    ConstantBuffer* computeConstantBuffers = nullptr;
    std::uint32_t vertexConstantBufferCount = 0;
    std::uint32_t pixelConstantBufferCount = 0;
    std::uint32_t computeConstantBufferCount = 0;
    ConstantMap* constantMap = nullptr; ///< null when the shader has no constants
    SlotMap* samplerMap = nullptr;      ///< null when no stage has a bound resource
    SlotMap* textureMap = nullptr;      ///< null when no stage has a bound resource
    std::uint32_t constantCount = 0;    ///< names, plus one for each repeat inside the vertex stage
    std::uint32_t textureCount = 0;     ///< distinct names
    std::uint32_t samplerCount = 0;     ///< distinct names
    std::uint8_t vertexSamplerCount = 0;
    std::uint8_t pixelSamplerCount = 0;
    std::uint8_t computeSamplerCount = 0;
    std::uint16_t vertexInstructionCount = 0;
    std::uint16_t pixelInstructionCount = 0;
    std::uint16_t computeInstructionCount = 0;
    qs::ObjectHandle handle;
};
