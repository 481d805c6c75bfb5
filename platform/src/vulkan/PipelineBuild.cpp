// Builds graphics pipelines out of linked programs and state.
#include <bit>

#include "vulkan/Pipelines.h"

namespace gleam {
namespace {

constexpr VkShaderStageFlagBits StageBits[GraphicsSets] = {
    VK_SHADER_STAGE_VERTEX_BIT, VK_SHADER_STAGE_FRAGMENT_BIT, VK_SHADER_STAGE_GEOMETRY_BIT,
    VK_SHADER_STAGE_TESSELLATION_CONTROL_BIT, VK_SHADER_STAGE_TESSELLATION_EVALUATION_BIT};

std::vector<VkDynamicState> DynamicStates(const GpuFeatures& features, bool hasTessellation, bool hasBuffers)
{
    std::vector<VkDynamicState> states = {
        VK_DYNAMIC_STATE_VIEWPORT_WITH_COUNT, VK_DYNAMIC_STATE_SCISSOR_WITH_COUNT,
        VK_DYNAMIC_STATE_DEPTH_BIAS,          VK_DYNAMIC_STATE_DEPTH_BIAS_ENABLE,
        VK_DYNAMIC_STATE_BLEND_CONSTANTS,     VK_DYNAMIC_STATE_CULL_MODE,
        VK_DYNAMIC_STATE_FRONT_FACE,          VK_DYNAMIC_STATE_PRIMITIVE_RESTART_ENABLE,
        VK_DYNAMIC_STATE_DEPTH_TEST_ENABLE,   VK_DYNAMIC_STATE_DEPTH_WRITE_ENABLE,
        VK_DYNAMIC_STATE_DEPTH_COMPARE_OP,    VK_DYNAMIC_STATE_STENCIL_TEST_ENABLE,
        VK_DYNAMIC_STATE_STENCIL_OP,          VK_DYNAMIC_STATE_STENCIL_COMPARE_MASK,
        VK_DYNAMIC_STATE_STENCIL_WRITE_MASK,  VK_DYNAMIC_STATE_STENCIL_REFERENCE};
    if (!hasTessellation) {
        states.push_back(VK_DYNAMIC_STATE_PRIMITIVE_TOPOLOGY);
    }
    if (features.dynamicVertexInput) {
        states.push_back(VK_DYNAMIC_STATE_VERTEX_INPUT_EXT);
    } else if (hasBuffers) {
        states.push_back(VK_DYNAMIC_STATE_VERTEX_INPUT_BINDING_STRIDE);
    }
    if (features.dynamicBlend) {
        for (const VkDynamicState state :
             {VK_DYNAMIC_STATE_COLOR_BLEND_ENABLE_EXT, VK_DYNAMIC_STATE_COLOR_BLEND_EQUATION_EXT,
              VK_DYNAMIC_STATE_COLOR_WRITE_MASK_EXT, VK_DYNAMIC_STATE_SAMPLE_MASK_EXT,
              VK_DYNAMIC_STATE_ALPHA_TO_COVERAGE_ENABLE_EXT, VK_DYNAMIC_STATE_POLYGON_MODE_EXT,
              VK_DYNAMIC_STATE_DEPTH_CLIP_ENABLE_EXT}) {
            states.push_back(state);
        }
    }
    return states;
}

VkPipelineColorBlendAttachmentState ToAttachment(const TargetBlend& blend)
{
    VkPipelineColorBlendAttachmentState state{};
    state.blendEnable = blend.enable;
    state.srcColorBlendFactor = static_cast<VkBlendFactor>(blend.sourceColor);
    state.dstColorBlendFactor = static_cast<VkBlendFactor>(blend.targetColor);
    state.colorBlendOp = static_cast<VkBlendOp>(blend.colorOp);
    state.srcAlphaBlendFactor = static_cast<VkBlendFactor>(blend.sourceAlpha);
    state.dstAlphaBlendFactor = static_cast<VkBlendFactor>(blend.targetAlpha);
    state.alphaBlendOp = static_cast<VkBlendOp>(blend.alphaOp);
    state.colorWriteMask = blend.writeMask;
    return state;
}

/// Vertex input in the older structures, for devices where it is baked in.
struct BakedInput
{
    std::vector<VkVertexInputAttributeDescription> attributes;
    std::vector<VkVertexInputBindingDescription> bindings;
    std::vector<VkVertexInputBindingDivisorDescriptionEXT> divisors;
    VkPipelineVertexInputDivisorStateCreateInfoEXT divisorInfo{
        VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_DIVISOR_STATE_CREATE_INFO_EXT};
    VkPipelineVertexInputStateCreateInfo info{VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO};

    explicit BakedInput(const VertexInputState* input)
    {
        if (!input) {
            return;
        }
        for (const auto& attribute : input->attributes) {
            attributes.push_back({attribute.location, attribute.binding, attribute.format, attribute.offset});
        }
        for (const auto& binding : input->bindings) {
            bindings.push_back({binding.binding, 0, binding.inputRate});
            if (binding.inputRate == VK_VERTEX_INPUT_RATE_INSTANCE && binding.divisor != 1) {
                divisors.push_back({binding.binding, binding.divisor});
            }
        }
        info.vertexAttributeDescriptionCount = static_cast<uint32_t>(attributes.size());
        info.pVertexAttributeDescriptions = attributes.data();
        info.vertexBindingDescriptionCount = static_cast<uint32_t>(bindings.size());
        info.pVertexBindingDescriptions = bindings.data();
        divisorInfo.vertexBindingDivisorCount = static_cast<uint32_t>(divisors.size());
        divisorInfo.pVertexBindingDivisors = divisors.data();
        info.pNext = divisors.empty() ? nullptr : &divisorInfo;
    }
};

/// Formats and blending of the colour targets up to the last one.
struct TargetStates
{
    VkPipelineColorBlendAttachmentState blends[D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT];
    VkFormat formats[D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT];
    uint32_t count = 0;

    explicit TargetStates(const PipelineState& state)
    {
        for (uint32_t i = 0; i < D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT; ++i) {
            blends[i] = ToAttachment(std::bit_cast<TargetBlend>(state.blends[i]));
            formats[i] = static_cast<VkFormat>(state.formats[i]);
            count = formats[i] ? i + 1 : count;
        }
    }
};

uint32_t FillStages(const GraphicsProgram& program, VkPipelineShaderStageCreateInfo (&stages)[GraphicsSets])
{
    uint32_t count = 0;
    for (unsigned set = 0; set < GraphicsSets; ++set) {
        if (program.modules[set]) {
            stages[count] = {VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO};
            stages[count].stage = StageBits[set];
            stages[count].module = program.modules[set];
            stages[count].pName = "main";
            ++count;
        }
    }
    return count;
}

} // namespace

VkPipeline Pipelines::MakePipeline(const GraphicsProgram& program, const PipelineState& state,
                                   const VertexInputState* input)
{
    const GpuFeatures& features = m_gpu.features;
    VkPipelineShaderStageCreateInfo stages[GraphicsSets];
    const uint32_t stageCount = FillStages(program, stages);
    const bool hasTessellation = program.modules[SetHull] != VK_NULL_HANDLE;
    const BakedInput baked(input);
    VkPipelineInputAssemblyStateCreateInfo assembly{VK_STRUCTURE_TYPE_PIPELINE_INPUT_ASSEMBLY_STATE_CREATE_INFO};
    assembly.topology = static_cast<VkPrimitiveTopology>(state.topology);
    VkPipelineTessellationStateCreateInfo tessellation{VK_STRUCTURE_TYPE_PIPELINE_TESSELLATION_STATE_CREATE_INFO};
    tessellation.patchControlPoints = state.patchPoints;
    VkPipelineViewportStateCreateInfo viewports{VK_STRUCTURE_TYPE_PIPELINE_VIEWPORT_STATE_CREATE_INFO};

    VkPipelineRasterizationDepthClipStateCreateInfoEXT depthClip{
        VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_DEPTH_CLIP_STATE_CREATE_INFO_EXT};
    depthClip.depthClipEnable = (state.flags & PipelineDepthClip) != 0;
    VkPipelineRasterizationStateCreateInfo raster{VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_STATE_CREATE_INFO};
    raster.pNext = features.depthClip ? &depthClip : nullptr;
    raster.polygonMode = state.flags & PipelineWireframe ? VK_POLYGON_MODE_LINE : VK_POLYGON_MODE_FILL;
    raster.lineWidth = 1.0f;

    const VkSampleMask masks[2] = {state.sampleMask, ~0u};
    VkPipelineMultisampleStateCreateInfo multisample{VK_STRUCTURE_TYPE_PIPELINE_MULTISAMPLE_STATE_CREATE_INFO};
    multisample.rasterizationSamples = static_cast<VkSampleCountFlagBits>(state.sampleCount);
    multisample.pSampleMask = features.dynamicBlend ? nullptr : masks;
    multisample.alphaToCoverageEnable = (state.flags & PipelineAlphaToCoverage) != 0;

    VkPipelineDepthStencilStateCreateInfo depth{VK_STRUCTURE_TYPE_PIPELINE_DEPTH_STENCIL_STATE_CREATE_INFO};
    const TargetStates targets(state);
    VkPipelineColorBlendStateCreateInfo blend{VK_STRUCTURE_TYPE_PIPELINE_COLOR_BLEND_STATE_CREATE_INFO};
    blend.attachmentCount = targets.count;
    blend.pAttachments = targets.blends;

    VkPipelineRenderingCreateInfo rendering{VK_STRUCTURE_TYPE_PIPELINE_RENDERING_CREATE_INFO};
    rendering.colorAttachmentCount = targets.count;
    rendering.pColorAttachmentFormats = targets.formats;
    rendering.depthAttachmentFormat = static_cast<VkFormat>(state.depthFormat);
    rendering.stencilAttachmentFormat = static_cast<VkFormat>(state.stencilFormat);

    const std::vector<VkDynamicState> dynamicStates =
        DynamicStates(features, hasTessellation, input && !input->bindings.empty());
    VkPipelineDynamicStateCreateInfo dynamic{VK_STRUCTURE_TYPE_PIPELINE_DYNAMIC_STATE_CREATE_INFO};
    dynamic.dynamicStateCount = static_cast<uint32_t>(dynamicStates.size());
    dynamic.pDynamicStates = dynamicStates.data();

    VkGraphicsPipelineCreateInfo create{VK_STRUCTURE_TYPE_GRAPHICS_PIPELINE_CREATE_INFO};
    create.pNext = &rendering;
    create.stageCount = stageCount;
    create.pStages = stages;
    create.pVertexInputState = &baked.info;
    create.pInputAssemblyState = &assembly;
    create.pTessellationState = hasTessellation ? &tessellation : nullptr;
    create.pViewportState = &viewports;
    create.pRasterizationState = &raster;
    create.pMultisampleState = &multisample;
    create.pDepthStencilState = &depth;
    create.pColorBlendState = &blend;
    create.pDynamicState = &dynamic;
    create.layout = program.layout;
    VkPipeline pipeline = VK_NULL_HANDLE;
    Check(m_gpu.vk.CreateGraphicsPipelines(m_gpu.device, m_cache, 1, &create, nullptr, &pipeline),
          "vkCreateGraphicsPipelines");
    return pipeline;
}

} // namespace gleam
