// What callers bind and read back, and the rule that nothing is bound for reading and writing at once.
#include <algorithm>

#include "vulkan/Context.h"

namespace gleam {
namespace {

constexpr const char* ConstantCalls[StageCount] = {
    "ID3D11DeviceContext::VSSetConstantBuffers", "ID3D11DeviceContext::PSSetConstantBuffers",
    "ID3D11DeviceContext::GSSetConstantBuffers", "ID3D11DeviceContext::HSSetConstantBuffers",
    "ID3D11DeviceContext::DSSetConstantBuffers", "ID3D11DeviceContext::CSSetConstantBuffers"};
constexpr const char* ResourceCalls[StageCount] = {
    "ID3D11DeviceContext::VSSetShaderResources", "ID3D11DeviceContext::PSSetShaderResources",
    "ID3D11DeviceContext::GSSetShaderResources", "ID3D11DeviceContext::HSSetShaderResources",
    "ID3D11DeviceContext::DSSetShaderResources", "ID3D11DeviceContext::CSSetShaderResources"};
constexpr const char* SamplerCalls[StageCount] = {
    "ID3D11DeviceContext::VSSetSamplers", "ID3D11DeviceContext::PSSetSamplers", "ID3D11DeviceContext::GSSetSamplers",
    "ID3D11DeviceContext::HSSetSamplers", "ID3D11DeviceContext::DSSetSamplers", "ID3D11DeviceContext::CSSetSamplers"};
constexpr const char* ShaderCalls[StageCount] = {
    "ID3D11DeviceContext::VSSetShader", "ID3D11DeviceContext::PSSetShader", "ID3D11DeviceContext::GSSetShader",
    "ID3D11DeviceContext::HSSetShader", "ID3D11DeviceContext::DSSetShader", "ID3D11DeviceContext::CSSetShader"};

template <class Slots>
uint32_t EndOf(const Slots& slots, uint32_t from)
{
    while (from > 0 && !slots[from - 1]) {
        --from;
    }
    return from;
}

} // namespace

void Context::SetShader(EStage stage, Shader* shader, UINT instances)
{
    if (instances != 0) {
        Refuse(E_INVALIDARG, ShaderCalls[stage], "class instances are not supported");
        return;
    }
    StageBindings& bindings = m_state.stages[stage];
    if (bindings.shader == shader) {
        return;
    }
    AssignUse(bindings.shader, shader);
    bindings.set = VK_NULL_HANDLE;
    m_dirtySets |= 1u << stage;
    if (stage != StageCompute) {
        m_dirty |= DirtyProgram | DirtyPipeline | DirtyHazards;
        m_dirty |= stage == StageVertex ? DirtyVertexInput | DirtyVertexBuffers : 0u;
    }
}

void Context::SetConstantBuffers(EStage stage, UINT start, UINT count, ID3D11Buffer* const* buffers)
{
    if (FAILED(CheckSlots(ConstantCalls[stage], start, count, ConstantBufferSlots, buffers))) {
        return;
    }
    StageBindings& bindings = m_state.stages[stage];
    for (UINT i = 0; i < count; ++i) {
        auto* buffer = static_cast<Buffer*>(buffers[i]);
        if (bindings.constants[start + i] == buffer ||
            (buffer && FAILED(CheckBound(ConstantCalls[stage], buffer->info, D3D11_BIND_CONSTANT_BUFFER)))) {
            continue;
        }
        AssignUse(bindings.constants[start + i], buffer);
        if (buffer) {
            buffer->constantStages |= static_cast<std::uint8_t>(1u << stage);
        }
        // Sizes differ between buffers, and descriptors hold them.
        m_dirtySets |= 1u << stage;
    }
}

void Context::SetSamplers(EStage stage, UINT start, UINT count, ID3D11SamplerState* const* samplers)
{
    if (FAILED(CheckSlots(SamplerCalls[stage], start, count, SamplerSlots, samplers))) {
        return;
    }
    StageBindings& bindings = m_state.stages[stage];
    for (UINT i = 0; i < count; ++i) {
        auto* sampler = static_cast<SamplerState*>(samplers[i]);
        if (bindings.samplers[start + i] != sampler) {
            AssignUse(bindings.samplers[start + i], sampler);
            m_dirtySets |= 1u << stage;
        }
    }
}

bool Context::IsWritten(EStage stage, const ShaderResourceView& view) const
{
    if (view.resource.boundForWriting == 0) {
        return false;
    }
    if (stage == StageCompute) {
        for (uint32_t i = 0; i < m_state.computeViewEnd; ++i) {
            if (m_state.computeViews[i] && m_state.computeViews[i]->Overlaps(view)) {
                return true;
            }
        }
        return false;
    }
    for (const RenderTargetView* target : m_state.targets) {
        if (target && target->Overlaps(view)) {
            return true;
        }
    }
    for (uint32_t i = 0; i < m_state.pixelViewEnd; ++i) {
        if (m_state.pixelViews[i] && m_state.pixelViews[i]->Overlaps(view)) {
            return true;
        }
    }
    const DepthStencilView* depth = m_state.depthTarget;
    return depth && !depth->IsReadOnly() && depth->Overlaps(view);
}

void Context::BindResource(EStage stage, UINT slot, ShaderResourceView* view)
{
    StageBindings& bindings = m_state.stages[stage];
    ShaderResourceView*& place = bindings.resources[slot];
    if (place == view) {
        return;
    }
    if (view) {
        ++view->resource.boundForReading;
        if (view->resource.info.IsBuffer()) {
            view->resource.AsBuffer().isBoundAsView = true;
        }
    }
    if (place) {
        --place->resource.boundForReading;
    }
    AssignUse(place, view);
    bindings.resourceEnd = EndOf(bindings.resources, std::max(bindings.resourceEnd, slot + 1));
    m_dirtySets |= 1u << stage;
    m_dirty |= stage != StageCompute ? DirtyHazards : 0u;
}

void Context::SetShaderResources(EStage stage, UINT start, UINT count, ID3D11ShaderResourceView* const* views)
{
    if (FAILED(CheckSlots(ResourceCalls[stage], start, count, ResourceSlots, views))) {
        return;
    }
    for (UINT i = 0; i < count; ++i) {
        auto* view = static_cast<ShaderResourceView*>(views[i]);
        BindResource(stage, start + i, view && IsWritten(stage, *view) ? nullptr : view);
    }
}

void Context::UnbindReads(const ViewCore& written, bool isCompute)
{
    if (written.resource.boundForReading == 0) {
        return;
    }
    const unsigned first = isCompute ? static_cast<unsigned>(StageCompute) : 0u;
    const unsigned end = isCompute ? static_cast<unsigned>(StageCount) : static_cast<unsigned>(StageCompute);
    for (unsigned stage = first; stage < end; ++stage) {
        const StageBindings& bindings = m_state.stages[stage];
        for (uint32_t slot = 0; slot < bindings.resourceEnd; ++slot) {
            if (bindings.resources[slot] && bindings.resources[slot]->Overlaps(written)) {
                BindResource(static_cast<EStage>(stage), slot, nullptr);
            }
        }
    }
}

void Context::UnbindWrites(const ViewCore& view, bool isCompute)
{
    if (view.resource.boundForWriting == 0) {
        return;
    }
    auto& slots = isCompute ? m_state.computeViews : m_state.pixelViews;
    for (uint32_t slot = 0; slot < (isCompute ? m_state.computeViewEnd : m_state.pixelViewEnd); ++slot) {
        if (slots[slot] && slots[slot] != &view && slots[slot]->Overlaps(view)) {
            BindUnordered(isCompute, slot, nullptr, nullptr);
        }
    }
    if (isCompute) {
        return;
    }
    for (UINT slot = 0; slot < m_state.targets.size(); ++slot) {
        if (m_state.targets[slot] && m_state.targets[slot] != &view && m_state.targets[slot]->Overlaps(view)) {
            BindTarget(slot, nullptr);
        }
    }
}

void Context::BindTarget(UINT slot, RenderTargetView* view)
{
    RenderTargetView*& place = m_state.targets[slot];
    if (place == view) {
        return;
    }
    if (view) {
        ++view->resource.boundForWriting;
    }
    if (place) {
        --place->resource.boundForWriting;
    }
    AssignUse(place, view);
    m_dirty |= DirtyTargets | DirtyPipeline | DirtyBlend;
}

void Context::BindDepthTarget(DepthStencilView* view)
{
    DepthStencilView*& place = m_state.depthTarget;
    if (place == view) {
        return;
    }
    if (view) {
        ++view->resource.boundForWriting;
    }
    if (place) {
        --place->resource.boundForWriting;
    }
    AssignUse(place, view);
    m_dirty |= DirtyTargets | DirtyPipeline | DirtyDepthStencil;
}

void Context::BindUnordered(bool isCompute, UINT slot, UnorderedAccessView* view, const UINT* initialCount)
{
    auto& slots = isCompute ? m_state.computeViews : m_state.pixelViews;
    uint32_t& end = isCompute ? m_state.computeViewEnd : m_state.pixelViewEnd;
    if (view && view->counter && initialCount && *initialCount != ~0u) {
        SetCounter(*view, *initialCount);
    }
    if (slots[slot] == view) {
        return;
    }
    if (view) {
        ++view->resource.boundForWriting;
    }
    if (slots[slot]) {
        --slots[slot]->resource.boundForWriting;
    }
    AssignUse(slots[slot], view);
    end = EndOf(slots, std::max(end, slot + 1));
    m_dirtySets |= isCompute ? 1u << StageCompute : GraphicsStageMask;
    m_dirty |= isCompute ? 0u : DirtyHazards;
}

void Context::CSSetUnorderedAccessViews(UINT start, UINT count, ID3D11UnorderedAccessView* const* views,
                                        const UINT* initialCounts)
{
    if (FAILED(
            CheckSlots("ID3D11DeviceContext::CSSetUnorderedAccessViews", start, count, UnorderedAccessSlots, views))) {
        return;
    }
    for (UINT i = 0; i < count; ++i) {
        auto* view = static_cast<UnorderedAccessView*>(views[i]);
        if (view) {
            UnbindReads(*view, true);
            UnbindWrites(*view, true);
        }
        BindUnordered(true, start + i, view, initialCounts ? initialCounts + i : nullptr);
    }
}

void Context::SetTargets(UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depth)
{
    std::array<TargetExtent, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT + 1> extents;
    std::size_t used = 0;
    for (UINT i = 0; i < count; ++i) {
        if (const auto* view = static_cast<RenderTargetView*>(views[i])) {
            extents[used++] = {view->extent.width, view->extent.height, view->layers, view->resource.info.sampleCount};
        }
    }
    auto* depthView = static_cast<DepthStencilView*>(depth);
    if (depthView) {
        extents[used++] = {depthView->extent.width, depthView->extent.height, depthView->layers,
                           depthView->resource.info.sampleCount};
    }
    if (FAILED(CheckRenderTargets("ID3D11DeviceContext::OMSetRenderTargets", {extents.data(), used}))) {
        return;
    }
    for (UINT slot = 0; slot < m_state.targets.size(); ++slot) {
        BindTarget(slot, slot < count ? static_cast<RenderTargetView*>(views[slot]) : nullptr);
    }
    BindDepthTarget(depthView);
    for (const RenderTargetView* view : m_state.targets) {
        if (view) {
            UnbindReads(*view, false);
        }
    }
    if (depthView && !depthView->IsReadOnly()) {
        UnbindReads(*depthView, false);
    }
}

void Context::OMSetRenderTargets(UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depth)
{
    if (FAILED(CheckSlots("ID3D11DeviceContext::OMSetRenderTargets", 0, count, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT,
                          views))) {
        return;
    }
    SetTargets(count, views, depth);
    for (uint32_t slot = m_state.pixelViewEnd; slot-- > 0;) {
        BindUnordered(false, slot, nullptr, nullptr);
    }
}

void Context::OMSetRenderTargetsAndUnorderedAccessViews(UINT count, ID3D11RenderTargetView* const* views,
                                                        ID3D11DepthStencilView* depth, UINT viewStart, UINT viewCount,
                                                        ID3D11UnorderedAccessView* const* unordered,
                                                        const UINT* initialCounts)
{
    const char* call = "ID3D11DeviceContext::OMSetRenderTargetsAndUnorderedAccessViews";
    const bool keepsTargets = count == D3D11_KEEP_RENDER_TARGETS_AND_DEPTH_STENCIL;
    const bool keepsViews = viewCount == D3D11_KEEP_UNORDERED_ACCESS_VIEWS;
    if ((!keepsTargets && FAILED(CheckSlots(call, 0, count, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT, views))) ||
        (!keepsViews && FAILED(CheckSlots(call, viewStart, viewCount, UnorderedAccessSlots, unordered)))) {
        return;
    }
    if (!keepsTargets) {
        SetTargets(count, views, depth);
    }
    if (keepsViews) {
        return;
    }
    for (uint32_t slot = 0; slot < std::max(m_state.pixelViewEnd, viewStart + viewCount); ++slot) {
        const bool isGiven = slot >= viewStart && slot < viewStart + viewCount;
        auto* view = isGiven ? static_cast<UnorderedAccessView*>(unordered[slot - viewStart]) : nullptr;
        if (view) {
            UnbindReads(*view, false);
            UnbindWrites(*view, false);
        }
        BindUnordered(false, slot, view, isGiven && initialCounts ? initialCounts + (slot - viewStart) : nullptr);
    }
}

void Context::IASetInputLayout(ID3D11InputLayout* object)
{
    auto* layout = static_cast<InputLayout*>(object);
    if (m_state.inputLayout != layout) {
        AssignUse(m_state.inputLayout, layout);
        m_dirty |= DirtyVertexInput | DirtyVertexBuffers | (m_gpu.features.dynamicVertexInput ? 0u : DirtyPipeline);
    }
}

void Context::IASetVertexBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers, const UINT* strides,
                                 const UINT* offsets)
{
    const char* call = "ID3D11DeviceContext::IASetVertexBuffers";
    const void* values = buffers && strides && offsets ? buffers : nullptr;
    if (FAILED(CheckSlots(call, start, count, D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT, values))) {
        return;
    }
    for (UINT i = 0; i < count; ++i) {
        auto* buffer = static_cast<Buffer*>(buffers[i]);
        if (buffer && FAILED(CheckBound(call, buffer->info, D3D11_BIND_VERTEX_BUFFER))) {
            continue;
        }
        VertexBufferBinding& place = m_state.vertexBuffers[start + i];
        if (place.stride != strides[i]) {
            place.stride = strides[i];
            m_dirty |= DirtyVertexInput | DirtyVertexBuffers;
        }
        if (place.buffer != buffer || place.offset != offsets[i]) {
            AssignUse(place.buffer, buffer);
            place.offset = offsets[i];
            m_dirty |= DirtyVertexBuffers;
        }
        if (buffer) {
            buffer->isBoundAsVertices = true;
        }
    }
}

void Context::IASetIndexBuffer(ID3D11Buffer* object, DXGI_FORMAT format, UINT offset)
{
    auto* buffer = static_cast<Buffer*>(object);
    if (FAILED(CheckIndexBuffer(buffer ? &buffer->info : nullptr, format, offset))) {
        return;
    }
    AssignUse(m_state.indexBuffer, buffer);
    m_state.indexFormat = format;
    m_state.indexOffset = offset;
    if (buffer) {
        buffer->isBoundAsIndices = true;
    }
    m_dirty |= DirtyIndexBuffer;
}

void Context::IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY topology)
{
    if (m_state.topology != topology && SUCCEEDED(CheckTopology(topology))) {
        m_state.topology = topology;
        m_dirty |= DirtyTopology | DirtyPipeline;
    }
}

void Context::RSSetState(ID3D11RasterizerState* object)
{
    auto* state = static_cast<RasterizerState*>(object);
    if (m_state.rasterizer != state) {
        AssignUse(m_state.rasterizer, state);
        m_dirty |= DirtyRasterizer | DirtyScissors | (m_gpu.features.dynamicBlend ? 0u : DirtyPipeline);
    }
}

void Context::RSSetViewports(UINT count, const D3D11_VIEWPORT* viewports)
{
    if (FAILED(CheckSlots("ID3D11DeviceContext::RSSetViewports", 0, count, static_cast<UINT>(m_state.viewports.size()),
                          viewports))) {
        return;
    }
    m_state.viewportCount = count;
    std::copy_n(viewports, count, m_state.viewports.begin());
    m_dirty |= DirtyViewports | DirtyScissors;
}

void Context::RSSetScissorRects(UINT count, const D3D11_RECT* rects)
{
    if (FAILED(CheckSlots("ID3D11DeviceContext::RSSetScissorRects", 0, count,
                          static_cast<UINT>(m_state.scissors.size()), rects))) {
        return;
    }
    m_state.scissorCount = count;
    std::copy_n(rects, count, m_state.scissors.begin());
    m_dirty |= DirtyScissors;
}

void Context::OMSetBlendState(ID3D11BlendState* object, const FLOAT factor[4], UINT mask)
{
    auto* state = static_cast<BlendState*>(object);
    constexpr std::array<FLOAT, 4> ones{1, 1, 1, 1};
    std::array<FLOAT, 4> wanted = ones;
    if (factor) {
        std::copy_n(factor, 4, wanted.begin());
    }
    if (m_state.blend != state || m_state.sampleMask != mask) {
        AssignUse(m_state.blend, state);
        m_state.sampleMask = mask;
        m_dirty |= DirtyBlend | (m_gpu.features.dynamicBlend ? 0u : DirtyPipeline);
    }
    if (m_state.blendFactor != wanted) {
        m_state.blendFactor = wanted;
        m_dirty |= DirtyBlendFactor;
    }
}

void Context::OMSetDepthStencilState(ID3D11DepthStencilState* object, UINT reference)
{
    auto* state = static_cast<DepthStencilState*>(object);
    if (m_state.depthStencil != state) {
        AssignUse(m_state.depthStencil, state);
        m_dirty |= DirtyDepthStencil;
    }
    if (m_state.stencilRef != reference) {
        m_state.stencilRef = reference;
        m_dirty |= DirtyStencilRef;
    }
}

namespace {

template <class Object, class Interface>
void Give(Object* object, Interface** out)
{
    if (out) {
        *out = object;
        if (object) {
            object->AddRef();
        }
    }
}

} // namespace

void Context::IAGetInputLayout(ID3D11InputLayout** layout)
{
    Give(m_state.inputLayout, layout);
}

void Context::IAGetVertexBuffers(UINT start, UINT count, ID3D11Buffer** buffers, UINT* strides, UINT* offsets)
{
    for (UINT i = 0; i < count; ++i) {
        const VertexBufferBinding binding =
            start + i < m_state.vertexBuffers.size() ? m_state.vertexBuffers[start + i] : VertexBufferBinding{};
        Give(binding.buffer, buffers ? buffers + i : nullptr);
        if (strides) {
            strides[i] = binding.stride;
        }
        if (offsets) {
            offsets[i] = binding.offset;
        }
    }
}

void Context::IAGetIndexBuffer(ID3D11Buffer** buffer, DXGI_FORMAT* format, UINT* offset)
{
    Give(m_state.indexBuffer, buffer);
    if (format) {
        *format = m_state.indexFormat;
    }
    if (offset) {
        *offset = m_state.indexOffset;
    }
}

void Context::IAGetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY* topology)
{
    *topology = m_state.topology;
}

void Context::RSGetState(ID3D11RasterizerState** state)
{
    Give(m_state.rasterizer, state);
}

void Context::RSGetViewports(UINT* count, D3D11_VIEWPORT* viewports)
{
    if (viewports) {
        for (UINT i = 0; i < *count; ++i) {
            viewports[i] = i < m_state.viewportCount ? m_state.viewports[i] : D3D11_VIEWPORT{};
        }
    }
    *count = m_state.viewportCount;
}

void Context::RSGetScissorRects(UINT* count, D3D11_RECT* rects)
{
    if (rects) {
        for (UINT i = 0; i < *count; ++i) {
            rects[i] = i < m_state.scissorCount ? m_state.scissors[i] : D3D11_RECT{};
        }
    }
    *count = m_state.scissorCount;
}

void Context::OMGetRenderTargets(UINT count, ID3D11RenderTargetView** views, ID3D11DepthStencilView** depth)
{
    GetSlots(m_state.targets, 0, count, views);
    Give(m_state.depthTarget, depth);
}

void Context::OMGetBlendState(ID3D11BlendState** state, FLOAT factor[4], UINT* mask)
{
    Give(m_state.blend, state);
    if (factor) {
        std::copy(m_state.blendFactor.begin(), m_state.blendFactor.end(), factor);
    }
    if (mask) {
        *mask = m_state.sampleMask;
    }
}

void Context::OMGetDepthStencilState(ID3D11DepthStencilState** state, UINT* reference)
{
    Give(m_state.depthStencil, state);
    if (reference) {
        *reference = m_state.stencilRef;
    }
}

void Context::ClearState()
{
    for (unsigned stage = 0; stage < StageCount; ++stage) {
        StageBindings& bindings = m_state.stages[stage];
        AssignUse<Shader>(bindings.shader, nullptr);
        for (Buffer*& buffer : bindings.constants) {
            AssignUse<Buffer>(buffer, nullptr);
        }
        for (uint32_t slot = bindings.resourceEnd; slot-- > 0;) {
            BindResource(static_cast<EStage>(stage), slot, nullptr);
        }
        for (SamplerState*& sampler : bindings.samplers) {
            AssignUse<SamplerState>(sampler, nullptr);
        }
        bindings.set = VK_NULL_HANDLE;
    }
    for (uint32_t slot = m_state.computeViewEnd; slot-- > 0;) {
        BindUnordered(true, slot, nullptr, nullptr);
    }
    for (uint32_t slot = m_state.pixelViewEnd; slot-- > 0;) {
        BindUnordered(false, slot, nullptr, nullptr);
    }
    for (UINT slot = 0; slot < m_state.targets.size(); ++slot) {
        BindTarget(slot, nullptr);
    }
    BindDepthTarget(nullptr);
    for (VertexBufferBinding& binding : m_state.vertexBuffers) {
        AssignUse<Buffer>(binding.buffer, nullptr);
        binding = {};
    }
    AssignUse<Buffer>(m_state.indexBuffer, nullptr);
    AssignUse<InputLayout>(m_state.inputLayout, nullptr);
    AssignUse<RasterizerState>(m_state.rasterizer, nullptr);
    AssignUse<BlendState>(m_state.blend, nullptr);
    AssignUse<DepthStencilState>(m_state.depthStencil, nullptr);
    m_state.indexFormat = DXGI_FORMAT_UNKNOWN;
    m_state.indexOffset = 0;
    m_state.topology = D3D_PRIMITIVE_TOPOLOGY_UNDEFINED;
    m_state.viewportCount = m_state.scissorCount = 0;
    m_state.blendFactor = {1, 1, 1, 1};
    m_state.sampleMask = D3D11_DEFAULT_SAMPLE_MASK;
    m_state.stencilRef = 0;
    m_shadowSlots = 0;
    m_shadowIndices = false;
    m_dirty = DirtyAll;
    m_dirtySets = ~0u;
}

} // namespace gleam
