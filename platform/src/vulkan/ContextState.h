// Everything that is bound to a context, as its callers set it.
#pragma once

#include <array>

#include "vulkan/Pipelines.h"
#include "vulkan/Views.h"

namespace gleam {

/// Stages in the order of their descriptor sets; compute has a pipeline of its own.
enum EStage : unsigned
{
    StageVertex = SetVertex,
    StagePixel = SetPixel,
    StageGeometry = SetGeometry,
    StageHull = SetHull,
    StageDomain = SetDomain,
    StageCompute,
    StageCount
};
constexpr uint32_t GraphicsStageMask = (1u << StageCompute) - 1;

/// What of the recorded state is out of date. Each bit is taken back by the function that brings it up to date.
enum EDirty : uint32_t
{
    DirtyTargets = 1u << 0,        // UpdatePass
    DirtyProgram = 1u << 1,        // UpdatePipeline: shaders changed
    DirtyPipeline = 1u << 2,       // UpdatePipeline: baked state changed
    DirtyViewports = 1u << 3,      // UpdateViewports
    DirtyScissors = 1u << 4,       // UpdateViewports
    DirtyRasterizer = 1u << 5,     // UpdateRasterizer
    DirtyDepthStencil = 1u << 6,   // UpdateDepthStencil
    DirtyStencilRef = 1u << 7,     // UpdateDepthStencil
    DirtyBlend = 1u << 8,          // UpdateBlend
    DirtyBlendFactor = 1u << 9,    // UpdateBlend
    DirtyTopology = 1u << 10,      // UpdateTopology
    DirtyVertexInput = 1u << 11,   // UpdateVertexInput
    DirtyVertexBuffers = 1u << 12, // UpdateVertexBuffers
    DirtyIndexBuffer = 1u << 13,   // UpdateIndexBuffer
    DirtyHazards = 1u << 14,       // UpdatePass: look again at what the shaders read
    DirtyAll = (1u << 15) - 1
};

struct VertexBufferBinding
{
    Buffer* buffer = nullptr;
    UINT stride = 0;
    UINT offset = 0;
};

/// Bindings of one stage, and what was recorded of them.
struct StageBindings
{
    Shader* shader = nullptr;
    std::array<Buffer*, ConstantBufferSlots> constants{};
    std::array<ShaderResourceView*, ResourceSlots> resources{};
    std::array<SamplerState*, SamplerSlots> samplers{};
    /// One past the last slot that is not null, for loops over what is bound.
    uint32_t resourceEnd = 0;

    // Recorded state.
    VkDescriptorSet set = VK_NULL_HANDLE;
    std::array<VkBuffer, ConstantBufferSlots> setBuffers{}; ///< behind the set's constant buffers
};

struct ContextState
{
    std::array<StageBindings, StageCount> stages;
    std::array<UnorderedAccessView*, UnorderedAccessSlots> computeViews{};
    std::array<UnorderedAccessView*, UnorderedAccessSlots> pixelViews{};
    uint32_t computeViewEnd = 0;
    uint32_t pixelViewEnd = 0;

    InputLayout* inputLayout = nullptr;
    std::array<VertexBufferBinding, D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT> vertexBuffers{};
    Buffer* indexBuffer = nullptr;
    DXGI_FORMAT indexFormat = DXGI_FORMAT_UNKNOWN;
    UINT indexOffset = 0;
    D3D11_PRIMITIVE_TOPOLOGY topology = D3D_PRIMITIVE_TOPOLOGY_UNDEFINED;

    RasterizerState* rasterizer = nullptr;
    std::array<D3D11_VIEWPORT, D3D11_VIEWPORT_AND_SCISSORRECT_OBJECT_COUNT_PER_PIPELINE> viewports{};
    std::array<D3D11_RECT, D3D11_VIEWPORT_AND_SCISSORRECT_OBJECT_COUNT_PER_PIPELINE> scissors{};
    UINT viewportCount = 0;
    UINT scissorCount = 0;

    BlendState* blend = nullptr;
    std::array<FLOAT, 4> blendFactor{1, 1, 1, 1};
    UINT sampleMask = D3D11_DEFAULT_SAMPLE_MASK;
    DepthStencilState* depthStencil = nullptr;
    UINT stencilRef = 0;

    std::array<RenderTargetView*, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT> targets{};
    DepthStencilView* depthTarget = nullptr;
};

} // namespace gleam
