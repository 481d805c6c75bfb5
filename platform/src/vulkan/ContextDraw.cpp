// The draw path: brings the recorded state up to date with what is bound, then draws.
#include <algorithm>
#include <bit>
#include <cmath>

#include "vulkan/Context.h"
#include "vulkan/Device.h"

namespace gleam {
namespace {

VkPrimitiveTopology ToTopology(D3D11_PRIMITIVE_TOPOLOGY topology)
{
    switch (topology) {
    case D3D_PRIMITIVE_TOPOLOGY_POINTLIST:
        return VK_PRIMITIVE_TOPOLOGY_POINT_LIST;
    case D3D_PRIMITIVE_TOPOLOGY_LINELIST:
        return VK_PRIMITIVE_TOPOLOGY_LINE_LIST;
    case D3D_PRIMITIVE_TOPOLOGY_LINESTRIP:
        return VK_PRIMITIVE_TOPOLOGY_LINE_STRIP;
    case D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP:
        return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP;
    case D3D_PRIMITIVE_TOPOLOGY_LINELIST_ADJ:
        return VK_PRIMITIVE_TOPOLOGY_LINE_LIST_WITH_ADJACENCY;
    case D3D_PRIMITIVE_TOPOLOGY_LINESTRIP_ADJ:
        return VK_PRIMITIVE_TOPOLOGY_LINE_STRIP_WITH_ADJACENCY;
    case D3D_PRIMITIVE_TOPOLOGY_TRIANGLELIST_ADJ:
        return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST_WITH_ADJACENCY;
    case D3D_PRIMITIVE_TOPOLOGY_TRIANGLESTRIP_ADJ:
        return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP_WITH_ADJACENCY;
    default:
        return topology >= D3D_PRIMITIVE_TOPOLOGY_1_CONTROL_POINT_PATCHLIST ? VK_PRIMITIVE_TOPOLOGY_PATCH_LIST
                                                                            : VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST;
    }
}

/// A topology that stands for all of its class, between which pipelines may switch.
VkPrimitiveTopology ClassOf(VkPrimitiveTopology topology)
{
    switch (topology) {
    case VK_PRIMITIVE_TOPOLOGY_POINT_LIST:
    case VK_PRIMITIVE_TOPOLOGY_PATCH_LIST:
        return topology;
    case VK_PRIMITIVE_TOPOLOGY_LINE_LIST:
    case VK_PRIMITIVE_TOPOLOGY_LINE_STRIP:
        return VK_PRIMITIVE_TOPOLOGY_LINE_LIST;
    case VK_PRIMITIVE_TOPOLOGY_LINE_LIST_WITH_ADJACENCY:
    case VK_PRIMITIVE_TOPOLOGY_LINE_STRIP_WITH_ADJACENCY:
        return VK_PRIMITIVE_TOPOLOGY_LINE_LIST_WITH_ADJACENCY;
    case VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST_WITH_ADJACENCY:
    case VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP_WITH_ADJACENCY:
        return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST_WITH_ADJACENCY;
    default:
        return VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST;
    }
}

bool IsStrip(VkPrimitiveTopology topology)
{
    return topology == VK_PRIMITIVE_TOPOLOGY_LINE_STRIP || topology == VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP ||
           topology == VK_PRIMITIVE_TOPOLOGY_LINE_STRIP_WITH_ADJACENCY ||
           topology == VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP_WITH_ADJACENCY;
}

const D3D11_RASTERIZER_DESC DefaultRasterizer = {
    D3D11_FILL_SOLID, D3D11_CULL_BACK, FALSE, 0, 0.0f, 0.0f, TRUE, FALSE, FALSE, FALSE};

const D3D11_DEPTH_STENCIL_DESC DefaultDepthStencil = {
    TRUE, D3D11_DEPTH_WRITE_MASK_ALL, D3D11_COMPARISON_LESS, FALSE, 0xff, 0xff, {}, {}};

} // namespace

GraphicsShaders Context::BoundShaders() const
{
    GraphicsShaders shaders{};
    for (unsigned set = 0; set < GraphicsSets; ++set) {
        shaders[set] = m_state.stages[set].shader;
    }
    return shaders;
}

bool Context::PrepareDrawSlow()
{
    if (m_gpu.IsLost() || !m_state.stages[StageVertex].shader || m_state.topology == D3D_PRIMITIVE_TOPOLOGY_UNDEFINED ||
        m_state.viewportCount == 0) {
        return false;
    }
    if (m_stream.IsFull()) {
        Submit();
    }
    UpdatePass();
    if (!m_inPass) {
        return false;
    }
    if (m_dirty & (DirtyProgram | DirtyPipeline)) {
        UpdatePipeline();
    }
    if (m_dirty & (DirtyViewports | DirtyScissors)) {
        UpdateViewports();
    }
    if (m_dirty & DirtyRasterizer) {
        UpdateRasterizer();
    }
    if (m_dirty & (DirtyDepthStencil | DirtyStencilRef)) {
        UpdateDepthStencil();
    }
    if (m_dirty & (DirtyBlend | DirtyBlendFactor)) {
        UpdateBlend();
    }
    if (m_dirty & DirtyTopology) {
        UpdateTopology();
    }
    if (m_dirty & DirtyVertexInput) {
        UpdateVertexInput();
    }
    if (m_dirty & DirtyVertexBuffers) {
        UpdateVertexBuffers();
    }
    if (m_dirty & DirtyIndexBuffer) {
        UpdateIndexBuffer();
    }
    UpdateSets(StageVertex, StageCompute, VK_PIPELINE_BIND_POINT_GRAPHICS, m_program->layout);
    return true;
}

void Context::AfterDraw()
{
    m_stream.CountDraw();
    if (m_stream.IsFull()) {
        // At the next draw, since this one may still need its pass.
        m_dirty |= DirtyHazards;
    }
    if (m_state.pixelViewEnd != 0) {
        // The next draw has to see what this one wrote.
        EndPass();
    }
}

void Context::FillPipelineState(PipelineState& state)
{
    const GpuFeatures& features = m_gpu.features;
    state = {};
    state.sampleCount = 1;
    for (std::size_t i = 0; i < m_state.targets.size(); ++i) {
        if (const RenderTargetView* view = m_state.targets[i]) {
            state.formats[i] = view->format;
            state.sampleCount = static_cast<std::uint8_t>(view->resource.info.sampleCount);
        }
    }
    if (const DepthStencilView* view = m_state.depthTarget) {
        state.depthFormat = view->aspects & VK_IMAGE_ASPECT_DEPTH_BIT ? static_cast<uint32_t>(view->format) : 0u;
        state.stencilFormat = view->aspects & VK_IMAGE_ASPECT_STENCIL_BIT ? static_cast<uint32_t>(view->format) : 0u;
        state.sampleCount = static_cast<std::uint8_t>(view->resource.info.sampleCount);
    }
    const VkPrimitiveTopology topology = ToTopology(m_state.topology);
    state.topology =
        static_cast<std::uint8_t>(features.anyDynamicTopology && topology != VK_PRIMITIVE_TOPOLOGY_PATCH_LIST
                                      ? VK_PRIMITIVE_TOPOLOGY_TRIANGLE_LIST
                                      : ClassOf(topology));
    if (topology == VK_PRIMITIVE_TOPOLOGY_PATCH_LIST) {
        state.patchPoints =
            static_cast<std::uint8_t>(m_state.topology - D3D_PRIMITIVE_TOPOLOGY_1_CONTROL_POINT_PATCHLIST + 1);
    }
    if (!features.dynamicVertexInput) {
        state.inputLayout = m_state.inputLayout ? m_state.inputLayout->id : 0;
    }
    if (features.dynamicBlend) {
        return;
    }
    const D3D11_RASTERIZER_DESC& raster = m_state.rasterizer ? m_state.rasterizer->desc : DefaultRasterizer;
    state.sampleMask = m_state.sampleMask;
    const auto flag = [&](bool set, EPipelineFlag bit) { state.flags |= static_cast<std::uint8_t>(set ? bit : 0); };
    flag(raster.FillMode == D3D11_FILL_WIREFRAME && features.wireframe, PipelineWireframe);
    flag(raster.DepthClipEnable, PipelineDepthClip);
    flag(m_state.blend && m_state.blend->alphaToCoverage, PipelineAlphaToCoverage);
    const TargetBlends blends = m_state.blend ? m_state.blend->targets : TargetBlends{};
    for (std::size_t i = 0; i < blends.size(); ++i) {
        state.blends[i] = state.formats[i] ? std::bit_cast<std::uint64_t>(blends[i]) : 0;
    }
}

void Context::UpdatePipeline()
{
    if ((m_dirty & DirtyProgram) != 0 || !m_program) {
        m_program = &m_pipelines.Program(BoundShaders());
    }
    m_program->lastUse = m_stream.Serial();
    const VertexInputState* baked = nullptr;
    if (!m_gpu.features.dynamicVertexInput) {
        UpdateVertexInput();
        baked = m_input;
    }
    PipelineState state;
    FillPipelineState(state);
    const VkPipeline pipeline = m_pipelines.Pipeline(*m_program, state, baked);
    if (pipeline != m_pipeline) {
        m_pipeline = pipeline;
        m_vk.CmdBindPipeline(m_stream.Main(), VK_PIPELINE_BIND_POINT_GRAPHICS, pipeline);
    }
    m_dirty &= ~(DirtyProgram | DirtyPipeline);
}

void Context::UpdateViewports()
{
    const UINT count = m_gpu.features.multiViewport ? m_state.viewportCount : 1;
    const bool scissors = m_state.rasterizer && m_state.rasterizer->desc.ScissorEnable;
    VkViewport viewports[D3D11_VIEWPORT_AND_SCISSORRECT_OBJECT_COUNT_PER_PIPELINE];
    VkRect2D rects[D3D11_VIEWPORT_AND_SCISSORRECT_OBJECT_COUNT_PER_PIPELINE];
    for (UINT i = 0; i < count; ++i) {
        const D3D11_VIEWPORT& from = m_state.viewports[i];
        const bool isEmpty = !(from.Width > 0) || !(from.Height > 0);
        // A negative height turns Vulkan's clip space into the published one, where y points up.
        viewports[i] = {from.TopLeftX,
                        from.TopLeftY + from.Height,
                        isEmpty ? 1.0f : from.Width,
                        isEmpty ? -1.0f : -from.Height,
                        std::clamp(from.MinDepth, 0.0f, 1.0f),
                        std::clamp(from.MaxDepth, 0.0f, 1.0f)};
        LONG left = 0, top = 0;
        auto right = static_cast<LONG>(m_passExtent.width), bottom = static_cast<LONG>(m_passExtent.height);
        if (scissors) {
            // As published, a viewport without a rectangle of its own draws nothing.
            const D3D11_RECT rect = i < m_state.scissorCount ? m_state.scissors[i] : D3D11_RECT{};
            left = std::max(left, rect.left);
            top = std::max(top, rect.top);
            right = std::min(right, rect.right);
            bottom = std::min(bottom, rect.bottom);
        }
        if (isEmpty || right <= left || bottom <= top) {
            rects[i] = {};
        } else {
            rects[i] = {{left, top}, {static_cast<uint32_t>(right - left), static_cast<uint32_t>(bottom - top)}};
        }
    }
    m_vk.CmdSetViewportWithCount(m_stream.Main(), count, viewports);
    m_vk.CmdSetScissorWithCount(m_stream.Main(), count, rects);
    m_dirty &= ~(DirtyViewports | DirtyScissors);
}

void Context::UpdateRasterizer()
{
    const VkCommandBuffer commands = m_stream.Main();
    const RasterizerState* state = m_state.rasterizer;
    const D3D11_RASTERIZER_DESC& desc = state ? state->desc : DefaultRasterizer;
    m_vk.CmdSetCullMode(commands, state ? state->CullMode() : VkCullModeFlags(VK_CULL_MODE_BACK_BIT));
    m_vk.CmdSetFrontFace(commands,
                         desc.FrontCounterClockwise ? VK_FRONT_FACE_COUNTER_CLOCKWISE : VK_FRONT_FACE_CLOCKWISE);
    const bool hasBias = desc.DepthBias != 0 || desc.SlopeScaledDepthBias != 0;
    m_vk.CmdSetDepthBiasEnable(commands, hasBias);
    m_vk.CmdSetDepthBias(commands, static_cast<float>(desc.DepthBias),
                         m_gpu.features.depthBiasClamp ? desc.DepthBiasClamp : 0.0f, desc.SlopeScaledDepthBias);
    if (m_gpu.features.dynamicBlend) {
        const bool wireframe = m_gpu.features.wireframe && desc.FillMode == D3D11_FILL_WIREFRAME;
        m_vk.CmdSetPolygonModeEXT(commands, wireframe ? VK_POLYGON_MODE_LINE : VK_POLYGON_MODE_FILL);
        m_vk.CmdSetDepthClipEnableEXT(commands, desc.DepthClipEnable != FALSE);
    }
    m_dirty &= ~DirtyRasterizer;
}

void Context::UpdateDepthStencil()
{
    const VkCommandBuffer commands = m_stream.Main();
    if (m_dirty & DirtyDepthStencil) {
        const DepthStencilState* state = m_state.depthStencil;
        const D3D11_DEPTH_STENCIL_DESC& desc = state ? state->desc : DefaultDepthStencil;
        const DepthStencilView* view = m_state.depthTarget;
        const bool hasDepth = view && (view->aspects & VK_IMAGE_ASPECT_DEPTH_BIT);
        const bool hasStencil = view && (view->aspects & VK_IMAGE_ASPECT_STENCIL_BIT);
        const bool writesDepth = hasDepth && desc.DepthWriteMask == D3D11_DEPTH_WRITE_MASK_ALL &&
                                 !(view->desc.Flags & D3D11_DSV_READ_ONLY_DEPTH);
        const bool writesStencil = hasStencil && !(view->desc.Flags & D3D11_DSV_READ_ONLY_STENCIL);
        m_vk.CmdSetDepthTestEnable(commands, hasDepth && desc.DepthEnable);
        m_vk.CmdSetDepthWriteEnable(commands, writesDepth && desc.DepthEnable);
        m_vk.CmdSetDepthCompareOp(commands, ToCompareOp(desc.DepthFunc));
        const bool stencil = hasStencil && desc.StencilEnable;
        m_vk.CmdSetStencilTestEnable(commands, stencil);
        const VkStencilOpState front = state ? state->front : VkStencilOpState{};
        const VkStencilOpState back = state ? state->back : VkStencilOpState{};
        m_vk.CmdSetStencilOp(commands, VK_STENCIL_FACE_FRONT_BIT, front.failOp, front.passOp, front.depthFailOp,
                             front.compareOp);
        m_vk.CmdSetStencilOp(commands, VK_STENCIL_FACE_BACK_BIT, back.failOp, back.passOp, back.depthFailOp,
                             back.compareOp);
        m_vk.CmdSetStencilCompareMask(commands, VK_STENCIL_FACE_FRONT_AND_BACK, desc.StencilReadMask);
        m_vk.CmdSetStencilWriteMask(commands, VK_STENCIL_FACE_FRONT_AND_BACK,
                                    writesStencil ? desc.StencilWriteMask : 0);
    }
    if (m_dirty & DirtyStencilRef) {
        m_vk.CmdSetStencilReference(commands, VK_STENCIL_FACE_FRONT_AND_BACK, m_state.stencilRef & 0xff);
    }
    m_dirty &= ~(DirtyDepthStencil | DirtyStencilRef);
}

void Context::UpdateBlend()
{
    const VkCommandBuffer commands = m_stream.Main();
    if (m_dirty & DirtyBlendFactor) {
        m_vk.CmdSetBlendConstants(commands, m_state.blendFactor.data());
    }
    if ((m_dirty & DirtyBlend) && m_gpu.features.dynamicBlend) {
        const TargetBlends blends = m_state.blend ? m_state.blend->targets : TargetBlends{};
        VkBool32 enables[D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT];
        VkColorBlendEquationEXT equations[D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT];
        VkColorComponentFlags masks[D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT];
        for (std::size_t i = 0; i < blends.size(); ++i) {
            const TargetBlend& blend = blends[i];
            enables[i] = blend.enable;
            equations[i] = {
                static_cast<VkBlendFactor>(blend.sourceColor), static_cast<VkBlendFactor>(blend.targetColor),
                static_cast<VkBlendOp>(blend.colorOp),         static_cast<VkBlendFactor>(blend.sourceAlpha),
                static_cast<VkBlendFactor>(blend.targetAlpha), static_cast<VkBlendOp>(blend.alphaOp)};
            masks[i] = blend.writeMask;
        }
        const uint32_t count = D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT;
        m_vk.CmdSetColorBlendEnableEXT(commands, 0, count, enables);
        m_vk.CmdSetColorBlendEquationEXT(commands, 0, count, equations);
        m_vk.CmdSetColorWriteMaskEXT(commands, 0, count, masks);
        const VkSampleMask sampleMasks[2] = {m_state.sampleMask, ~0u};
        VkSampleCountFlagBits samples = VK_SAMPLE_COUNT_1_BIT;
        for (const RenderTargetView* view : m_state.targets) {
            samples = view ? static_cast<VkSampleCountFlagBits>(view->resource.info.sampleCount) : samples;
        }
        if (m_state.depthTarget) {
            samples = static_cast<VkSampleCountFlagBits>(m_state.depthTarget->resource.info.sampleCount);
        }
        m_vk.CmdSetSampleMaskEXT(commands, samples, sampleMasks);
        m_vk.CmdSetAlphaToCoverageEnableEXT(commands, m_state.blend && m_state.blend->alphaToCoverage);
    }
    m_dirty &= ~(DirtyBlend | DirtyBlendFactor);
}

void Context::UpdateTopology()
{
    const VkPrimitiveTopology topology = ToTopology(m_state.topology);
    if (topology != VK_PRIMITIVE_TOPOLOGY_PATCH_LIST) {
        m_vk.CmdSetPrimitiveTopology(m_stream.Main(), topology);
    }
    // As published, the highest index always cuts strips and never cuts lists.
    m_vk.CmdSetPrimitiveRestartEnable(m_stream.Main(), IsStrip(topology));
    m_dirty &= ~DirtyTopology;
}

void Context::Draw(UINT count, UINT start)
{
    DrawInstanced(count, 1, start, 0);
}

void Context::DrawIndexed(UINT count, UINT start, INT base)
{
    DrawIndexedInstanced(count, 1, start, base, 0);
}

void Context::DrawInstanced(UINT count, UINT instances, UINT start, UINT firstInstance)
{
    if (count == 0 || instances == 0) {
        return;
    }
    try {
        if (!PrepareDraw()) {
            return;
        }
        if (m_shadowSlots) {
            BindShadowVertices(start, count);
            start = 0;
        }
        m_vk.CmdDraw(m_stream.Main(), count, instances, start, firstInstance);
        AfterDraw();
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::Draw");
    }
}

void Context::DrawIndexedInstanced(UINT count, UINT instances, UINT start, INT base, UINT firstInstance)
{
    if (count == 0 || instances == 0) {
        return;
    }
    try {
        if (!PrepareDraw()) {
            return;
        }
        if (m_shadowSlots || m_shadowIndices) {
            base = BindShadowIndices(start, count, base);
        }
        m_vk.CmdDrawIndexed(m_stream.Main(), count, instances, start, base, firstInstance);
        AfterDraw();
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::DrawIndexed");
    }
}

bool Context::PrepareIndirect(Buffer& arguments)
{
    Materialize(arguments);
    // The arguments are a read like the shaders' own; they have to be in place before the pass begins.
    if (BufferNeeds(arguments, access::BufferRead)) {
        EndPass();
    }
    UseBuffer(arguments, access::BufferRead);
    if (!PrepareDraw()) {
        return false;
    }
    if (m_shadowSlots || m_shadowIndices) {
        BindWholeShadows();
    }
    return true;
}

void Context::DrawInstancedIndirect(ID3D11Buffer* object, UINT offset)
{
    const char* call = "ID3D11DeviceContext::DrawInstancedIndirect";
    auto* arguments = static_cast<Buffer*>(object);
    if (!arguments ||
        FAILED(CheckIndirect(call, arguments->info, offset, sizeof(D3D11_DRAW_INSTANCED_INDIRECT_ARGS)))) {
        return;
    }
    try {
        if (PrepareIndirect(*arguments)) {
            m_vk.CmdDrawIndirect(m_stream.Main(), arguments->handle, arguments->offset + offset, 1, 0);
            AfterDraw();
        }
    } catch (const VulkanError& error) {
        m_gpu.Report(error, call);
    }
}

void Context::DrawIndexedInstancedIndirect(ID3D11Buffer* object, UINT offset)
{
    const char* call = "ID3D11DeviceContext::DrawIndexedInstancedIndirect";
    auto* arguments = static_cast<Buffer*>(object);
    if (!arguments ||
        FAILED(CheckIndirect(call, arguments->info, offset, sizeof(D3D11_DRAW_INDEXED_INSTANCED_INDIRECT_ARGS)))) {
        return;
    }
    try {
        if (PrepareIndirect(*arguments)) {
            m_vk.CmdDrawIndexedIndirect(m_stream.Main(), arguments->handle, arguments->offset + offset, 1, 0);
            AfterDraw();
        }
    } catch (const VulkanError& error) {
        m_gpu.Report(error, call);
    }
}

bool Context::PrepareDispatch()
{
    const StageBindings& bindings = m_state.stages[StageCompute];
    if (m_gpu.IsLost() || !bindings.shader) {
        return false;
    }
    if (m_stream.IsFull()) {
        Submit();
    }
    EndPass();
    PrepareStage(StageCompute);
    const VkCommandBuffer commands = OutsidePass();
    m_queries.Open();
    ComputeProgram& program = m_pipelines.Program(*bindings.shader);
    program.lastUse = m_stream.Serial();
    m_vk.CmdBindPipeline(commands, VK_PIPELINE_BIND_POINT_COMPUTE, program.pipeline);
    UpdateSets(StageCompute, StageCount, VK_PIPELINE_BIND_POINT_COMPUTE, program.layout);
    m_stream.CountDraw();
    return true;
}

void Context::Dispatch(UINT x, UINT y, UINT z)
{
    if (x == 0 || y == 0 || z == 0 || FAILED(CheckDispatch(x, y, z))) {
        return;
    }
    try {
        if (PrepareDispatch()) {
            m_vk.CmdDispatch(m_stream.Main(), x, y, z);
        }
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::Dispatch");
    }
}

void Context::DispatchIndirect(ID3D11Buffer* object, UINT offset)
{
    const char* call = "ID3D11DeviceContext::DispatchIndirect";
    auto* arguments = static_cast<Buffer*>(object);
    if (!arguments || FAILED(CheckIndirect(call, arguments->info, offset, 3 * sizeof(UINT)))) {
        return;
    }
    try {
        Materialize(*arguments);
        EndPass();
        UseBuffer(*arguments, access::BufferRead);
        if (PrepareDispatch()) {
            m_vk.CmdDispatchIndirect(m_stream.Main(), arguments->handle, arguments->offset + offset);
        }
    } catch (const VulkanError& error) {
        m_gpu.Report(error, call);
    }
}

} // namespace gleam
