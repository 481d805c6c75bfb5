// The shadow of what is bound on the device: `Set…` calls compare with it, `Apply…` calls send what changed.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/RenderTypes.h"
#include "Gleamwork/Shader.h"

#include <qs/RangeContainer.h>

#include <cstdint>

struct ID3D11SamplerState;
struct ID3D11ShaderResourceView;
struct ID3D11UnorderedAccessView;

/// Stages in the order of every per-stage array.
enum EShaderStage : std::uint8_t
{
    eShaderStage_Vertex = 0,
    eShaderStage_Pixel = 1,
    eShaderStage_Compute = 2,
    eShaderStage_Count = 3,
};

/// Belongs to the render thread; no locks.
struct GW_API D3D11StateCache
{
    static constexpr int SAMPLER_SLOTS = 16;
    static constexpr int TEXTURE_SLOTS = 20;
    static constexpr int UAV_SLOTS = 8;
    static constexpr int VERTEX_STREAMS = 8;
    static constexpr int TARGETS = 8;

    D3D11StateCache() { ResetToDefaults(); }
    /// Forgets everything, so that every `Set…` reaches the device again. Makes no device call.
    void ResetToDefaults();

    qs::ObjectHandle samplerHandles[eShaderStage_Count][SAMPLER_SLOTS];
    qs::RangeContainer<ID3D11SamplerState*, SAMPLER_SLOTS> samplers[eShaderStage_Count];
    qs::ObjectHandle rasterizerState;
    qs::RangeContainer<ID3D11ShaderResourceView*, TEXTURE_SLOTS> shaderResources[eShaderStage_Count];
    qs::RangeContainer<ID3D11UnorderedAccessView*, UAV_SLOTS> unorderedAccessViews;
    qs::ObjectHandle blendState;
    std::uint32_t sampleMask;
    qs::ObjectHandle depthState;
    std::uint32_t stencilRef;
    gw::EPrimitiveTopology primitiveTopology;
    std::int32_t viewport[4];
    std::int32_t scissor[4];
    qs::ObjectHandle vertexFormat;
    VertexBufferID vertexBuffers[VERTEX_STREAMS];
    std::int64_t vertexBufferOffsets[VERTEX_STREAMS];
    IndexBufferID indexBuffer;
    std::uint32_t indexBufferOffset;
    qs::ObjectHandle shader;
    Shader* currentShader;
    ID3D11VertexShader* vertexShader;
    ID3D11PixelShader* pixelShader;
    ID3D11ComputeShader* computeShader;
    qs::ObjectHandle renderTargets[TARGETS];
    qs::ObjectHandle depthTarget;
    std::int32_t renderTargetViewIndices[TARGETS]; ///< position in `Texture::rtvSlices`; -1: the whole-resource view
    std::int32_t depthSlice;                       ///< -1: the whole-resource view
    std::int32_t targetWidth;                      ///< pixels
    std::int32_t targetHeight;                     ///< pixels
};
