// The device calls that exist once per shader stage, under one name with the stage as a number, and the per-stage
// members of a shader record as arrays.
#pragma once

#include "Gleamwork/Shader.h"
#include "Gleamwork/dx11/D3D11StateCache.h"

#include <d3d11.h>

namespace api {

inline void SetConstantBuffers(ID3D11DeviceContext* context, int stage, UINT slot, UINT count,
                               ID3D11Buffer* const* buffers)
{
    if (stage == eShaderStage_Vertex)
        context->VSSetConstantBuffers(slot, count, buffers);
    else if (stage == eShaderStage_Pixel)
        context->PSSetConstantBuffers(slot, count, buffers);
    else
        context->CSSetConstantBuffers(slot, count, buffers);
}

inline void SetShaderResources(ID3D11DeviceContext* context, int stage, UINT slot, UINT count,
                               ID3D11ShaderResourceView* const* views)
{
    if (stage == eShaderStage_Vertex)
        context->VSSetShaderResources(slot, count, views);
    else if (stage == eShaderStage_Pixel)
        context->PSSetShaderResources(slot, count, views);
    else
        context->CSSetShaderResources(slot, count, views);
}

inline void SetSamplers(ID3D11DeviceContext* context, int stage, UINT slot, UINT count,
                        ID3D11SamplerState* const* samplers)
{
    if (stage == eShaderStage_Vertex)
        context->VSSetSamplers(slot, count, samplers);
    else if (stage == eShaderStage_Pixel)
        context->PSSetSamplers(slot, count, samplers);
    else
        context->CSSetSamplers(slot, count, samplers);
}

/// The constant buffers of one stage of a shader.
struct StageConstants
{
    ConstantBuffer* buffers;
    std::uint32_t count;
};

inline StageConstants GetStageConstants(const Shader& shader, int stage)
{
    if (stage == eShaderStage_Vertex)
        return {shader.vertexConstantBuffers, shader.vertexConstantBufferCount};
    if (stage == eShaderStage_Pixel)
        return {shader.pixelConstantBuffers, shader.pixelConstantBufferCount};
    return {shader.computeConstantBuffers, shader.computeConstantBufferCount};
}

} // namespace api
