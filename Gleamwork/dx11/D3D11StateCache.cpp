// The reset state of the shadow.
#include "Gleamwork/dx11/D3D11StateCache.h"

#include <algorithm>
#include <iterator>

void D3D11StateCache::ResetToDefaults()
{
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        std::fill_n(samplerHandles[stage], SAMPLER_SLOTS, qs::ObjectHandle::Unassigned);
        samplers[stage].Reset();
        shaderResources[stage].Reset();
    }
    unorderedAccessViews.Reset();
    rasterizerState = blendState = depthState = vertexFormat = shader = qs::ObjectHandle::Unassigned;
    sampleMask = 0xffffffffu;
    stencilRef = 0;
    primitiveTopology = gw::ePrimitiveTopology_None;
    std::fill(std::begin(viewport), std::end(viewport), 0);
    std::fill(std::begin(scissor), std::end(scissor), 0);
    std::fill(std::begin(vertexBuffers), std::end(vertexBuffers), VertexBufferID());
    std::fill(std::begin(vertexBufferOffsets), std::end(vertexBufferOffsets), 0);
    indexBuffer = IndexBufferID();
    indexBufferOffset = 0;
    currentShader = nullptr;
    vertexShader = nullptr;
    pixelShader = nullptr;
    computeShader = nullptr;
    std::fill(std::begin(renderTargets), std::end(renderTargets), qs::ObjectHandle::Unassigned);
    depthTarget = qs::ObjectHandle::Unassigned;
    std::fill(std::begin(renderTargetViewIndices), std::end(renderTargetViewIndices), -1);
    depthSlice = -1;
    targetWidth = targetHeight = 0;
}
