// The null context's bindings and their getters.
#include "null/NullContext.h"

#include <algorithm>

#include "null/NullDevice.h"

namespace gleam {
namespace {

/// Binds objects to slots of an array; `check` refuses a value after its debug line.
template <class Impl, class Interface, size_t N, class Check>
void SetSlots(const char* call, Impl* (&slots)[N], UINT start, UINT count, Interface* const* values, Check check)
{
    if (FAILED(CheckSlots(call, start, count, N, values))) {
        return;
    }
    for (UINT i = 0; i < count; ++i) {
        auto* object = static_cast<Impl*>(values[i]);
        if (!object || check(*object)) {
            AssignUse(slots[start + i], object);
        }
    }
}

template <class Impl, class Interface, size_t N>
void SetSlots(const char* call, Impl* (&slots)[N], UINT start, UINT count, Interface* const* values)
{
    SetSlots(call, slots, start, count, values, [](const Impl&) { return true; });
}

/// Gives an object with a reference; a null place asks for nothing.
template <class Impl, class Interface>
void GiveBound(Impl* object, Interface** place)
{
    if (!place) {
        return;
    }
    if (object) {
        object->AddRef();
    }
    *place = object;
}

template <class Impl, class Interface, size_t N>
void GetSlots(const char* call, Impl* const (&slots)[N], UINT start, UINT count, Interface** places)
{
    if (SUCCEEDED(CheckSlots(call, start, count, N, places))) {
        for (UINT i = 0; i < count; ++i) {
            GiveBound(slots[start + i], places + i);
        }
    }
}

template <class Impl, size_t N>
void ReleaseSlots(Impl* (&slots)[N])
{
    for (Impl*& slot : slots) {
        AssignUse(slot, static_cast<Impl*>(nullptr));
    }
}

/// Binds a buffer only as what it was made for.
auto MadeFor(const char* call, D3D11_BIND_FLAG bind)
{
    return [=](const NullBuffer& buffer) { return SUCCEEDED(CheckBound(call, buffer.Info(), bind)); };
}

void CopyCounted(UINT bound, UINT* count, const auto* values, auto* places)
{
    if (!count) {
        return;
    }
    if (!places) {
        *count = bound;
        return;
    }
    const UINT given = std::min(*count, bound);
    std::copy_n(values, given, places);
    std::fill_n(places + given, *count - given, std::remove_reference_t<decltype(*places)>{});
    *count = given;
}

template <class View>
TargetExtent ExtentOf(const View& view)
{
    const ResourceInfo& info = view.Storage().Info();
    const ViewRange& range = view.Range();
    return {info.MipWidth(range.firstMip), info.MipHeight(range.firstMip), range.sliceCount, info.sampleCount};
}

} // namespace

NullContext::NullContext(NullDevice& device) : DeviceChild(&device), m_calls(device.Calls()), m_annotation(*this) {}

NullContext::~NullContext()
{
    ReleaseBindings();
}

HRESULT NullContext::QueryInterface(REFIID riid, void** object)
{
    if (object && riid == IID_ID3DUserDefinedAnnotation) {
        *object = static_cast<ID3DUserDefinedAnnotation*>(&m_annotation);
        AddRef();
        return S_OK;
    }
    return DeviceChild::QueryInterface(riid, object);
}

#define GLEAM_DEFINE_SETTERS(stage, kind, field)                                                                       \
    void NullContext::stage##SetShader(ID3D11##kind##Shader* shader, ID3D11ClassInstance* const*, UINT count)          \
    {                                                                                                                  \
        m_calls.Count(ENullCall::stage##SetShader);                                                                    \
        if (count != 0) {                                                                                              \
            Refuse(E_INVALIDARG, "ID3D11DeviceContext::" #stage "SetShader", "class instances are not supported");     \
            return;                                                                                                    \
        }                                                                                                              \
        AssignUse(m_state.field.shader, static_cast<Null##kind##Shader*>(shader));                                     \
    }                                                                                                                  \
    void NullContext::stage##SetConstantBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers)                  \
    {                                                                                                                  \
        constexpr const char* call = "ID3D11DeviceContext::" #stage "SetConstantBuffers";                              \
        m_calls.Count(ENullCall::stage##SetConstantBuffers);                                                           \
        SetSlots(call, m_state.field.constantBuffers, start, count, buffers,                                           \
                 MadeFor(call, D3D11_BIND_CONSTANT_BUFFER));                                                           \
    }                                                                                                                  \
    void NullContext::stage##SetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView* const* views)        \
    {                                                                                                                  \
        m_calls.Count(ENullCall::stage##SetShaderResources);                                                           \
        SetSlots("ID3D11DeviceContext::" #stage "SetShaderResources", m_state.field.resources, start, count, views);   \
    }                                                                                                                  \
    void NullContext::stage##SetSamplers(UINT start, UINT count, ID3D11SamplerState* const* samplers)                  \
    {                                                                                                                  \
        m_calls.Count(ENullCall::stage##SetSamplers);                                                                  \
        SetSlots("ID3D11DeviceContext::" #stage "SetSamplers", m_state.field.samplers, start, count, samplers);        \
    }

#define GLEAM_DEFINE_GETTERS(stage, kind, field)                                                                       \
    void NullContext::stage##GetShader(ID3D11##kind##Shader** shader, ID3D11ClassInstance**, UINT* count)              \
    {                                                                                                                  \
        GiveBound(m_state.field.shader, shader);                                                                       \
        if (count) {                                                                                                   \
            *count = 0;                                                                                                \
        }                                                                                                              \
    }                                                                                                                  \
    void NullContext::stage##GetConstantBuffers(UINT start, UINT count, ID3D11Buffer** buffers)                        \
    {                                                                                                                  \
        GetSlots("ID3D11DeviceContext::" #stage "GetConstantBuffers", m_state.field.constantBuffers, start, count,     \
                 buffers);                                                                                             \
    }                                                                                                                  \
    void NullContext::stage##GetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView** views)              \
    {                                                                                                                  \
        GetSlots("ID3D11DeviceContext::" #stage "GetShaderResources", m_state.field.resources, start, count, views);   \
    }                                                                                                                  \
    void NullContext::stage##GetSamplers(UINT start, UINT count, ID3D11SamplerState** samplers)                        \
    {                                                                                                                  \
        GetSlots("ID3D11DeviceContext::" #stage "GetSamplers", m_state.field.samplers, start, count, samplers);        \
    }

GLEAM_DEFINE_SETTERS(VS, Vertex, vertex)
GLEAM_DEFINE_SETTERS(HS, Hull, hull)
GLEAM_DEFINE_SETTERS(DS, Domain, domain)
GLEAM_DEFINE_SETTERS(GS, Geometry, geometry)
GLEAM_DEFINE_SETTERS(PS, Pixel, pixel)
GLEAM_DEFINE_SETTERS(CS, Compute, compute)
GLEAM_DEFINE_GETTERS(VS, Vertex, vertex)
GLEAM_DEFINE_GETTERS(GS, Geometry, geometry)
GLEAM_DEFINE_GETTERS(PS, Pixel, pixel)
GLEAM_DEFINE_GETTERS(CS, Compute, compute)

#undef GLEAM_DEFINE_SETTERS
#undef GLEAM_DEFINE_GETTERS

void NullContext::CSSetUnorderedAccessViews(UINT start, UINT count, ID3D11UnorderedAccessView* const* views,
                                            const UINT* initialCounts)
{
    m_calls.Count(ENullCall::CSSetUnorderedAccessViews);
    SetSlots("ID3D11DeviceContext::CSSetUnorderedAccessViews", m_state.computeAccesses, start, count, views);
}

void NullContext::CSGetUnorderedAccessViews(UINT start, UINT count, ID3D11UnorderedAccessView** views)
{
    GetSlots("ID3D11DeviceContext::CSGetUnorderedAccessViews", m_state.computeAccesses, start, count, views);
}

void NullContext::IASetInputLayout(ID3D11InputLayout* layout)
{
    m_calls.Count(ENullCall::IASetInputLayout);
    AssignUse(m_state.inputLayout, static_cast<NullInputLayout*>(layout));
}

void NullContext::IAGetInputLayout(ID3D11InputLayout** layout)
{
    GiveBound(m_state.inputLayout, layout);
}

void NullContext::IASetVertexBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers, const UINT* strides,
                                     const UINT* offsets)
{
    constexpr const char* call = "ID3D11DeviceContext::IASetVertexBuffers";
    m_calls.Count(ENullCall::IASetVertexBuffers);
    if (FAILED(CheckSlots(call, start, count, MaxVertexBuffers, strides)) ||
        FAILED(CheckSlots(call, start, count, MaxVertexBuffers, offsets))) {
        return;
    }
    SetSlots(call, m_state.vertexBuffers, start, count, buffers, MadeFor(call, D3D11_BIND_VERTEX_BUFFER));
    std::copy_n(strides, count, m_state.strides + start);
    std::copy_n(offsets, count, m_state.offsets + start);
}

void NullContext::IAGetVertexBuffers(UINT start, UINT count, ID3D11Buffer** buffers, UINT* strides, UINT* offsets)
{
    constexpr const char* call = "ID3D11DeviceContext::IAGetVertexBuffers";
    if (FAILED(CheckSlots(call, start, count, MaxVertexBuffers, this))) {
        return;
    }
    if (buffers) {
        GetSlots(call, m_state.vertexBuffers, start, count, buffers);
    }
    if (strides) {
        std::copy_n(m_state.strides + start, count, strides);
    }
    if (offsets) {
        std::copy_n(m_state.offsets + start, count, offsets);
    }
}

void NullContext::IASetIndexBuffer(ID3D11Buffer* buffer, DXGI_FORMAT format, UINT offset)
{
    m_calls.Count(ENullCall::IASetIndexBuffer);
    auto* object = static_cast<NullBuffer*>(buffer);
    if (SUCCEEDED(CheckIndexBuffer(object ? &object->Info() : nullptr, format, offset))) {
        AssignUse(m_state.indexBuffer, object);
        m_state.indexFormat = format;
        m_state.indexOffset = offset;
    }
}

void NullContext::IAGetIndexBuffer(ID3D11Buffer** buffer, DXGI_FORMAT* format, UINT* offset)
{
    GiveBound(m_state.indexBuffer, buffer);
    if (format) {
        *format = m_state.indexFormat;
    }
    if (offset) {
        *offset = m_state.indexOffset;
    }
}

void NullContext::IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY topology)
{
    m_calls.Count(ENullCall::IASetPrimitiveTopology);
    if (SUCCEEDED(CheckTopology(topology))) {
        m_state.topology = topology;
    }
}

void NullContext::IAGetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY* topology)
{
    *topology = m_state.topology;
}

void NullContext::RSSetState(ID3D11RasterizerState* state)
{
    m_calls.Count(ENullCall::RSSetState);
    AssignUse(m_state.rasterizer, static_cast<NullRasterizerState*>(state));
}

void NullContext::RSGetState(ID3D11RasterizerState** state)
{
    GiveBound(m_state.rasterizer, state);
}

void NullContext::RSSetViewports(UINT count, const D3D11_VIEWPORT* viewports)
{
    m_calls.Count(ENullCall::RSSetViewports);
    if (SUCCEEDED(CheckSlots("ID3D11DeviceContext::RSSetViewports", 0, count, MaxViewports, viewports))) {
        std::copy_n(viewports, count, m_state.viewports);
        m_state.viewportCount = count;
    }
}

void NullContext::RSGetViewports(UINT* count, D3D11_VIEWPORT* viewports)
{
    CopyCounted(m_state.viewportCount, count, m_state.viewports, viewports);
}

void NullContext::RSSetScissorRects(UINT count, const D3D11_RECT* rects)
{
    m_calls.Count(ENullCall::RSSetScissorRects);
    if (SUCCEEDED(CheckSlots("ID3D11DeviceContext::RSSetScissorRects", 0, count, MaxViewports, rects))) {
        std::copy_n(rects, count, m_state.scissors);
        m_state.scissorCount = count;
    }
}

void NullContext::RSGetScissorRects(UINT* count, D3D11_RECT* rects)
{
    CopyCounted(m_state.scissorCount, count, m_state.scissors, rects);
}

void NullContext::OMSetBlendState(ID3D11BlendState* state, const FLOAT factor[4], UINT sampleMask)
{
    constexpr FLOAT ones[4] = {1, 1, 1, 1};
    m_calls.Count(ENullCall::OMSetBlendState);
    AssignUse(m_state.blend, static_cast<NullBlendState*>(state));
    std::copy_n(factor ? factor : ones, 4, m_state.blendFactor);
    m_state.sampleMask = sampleMask;
}

void NullContext::OMGetBlendState(ID3D11BlendState** state, FLOAT factor[4], UINT* sampleMask)
{
    GiveBound(m_state.blend, state);
    if (factor) {
        std::copy_n(m_state.blendFactor, 4, factor);
    }
    if (sampleMask) {
        *sampleMask = m_state.sampleMask;
    }
}

void NullContext::OMSetDepthStencilState(ID3D11DepthStencilState* state, UINT stencilRef)
{
    m_calls.Count(ENullCall::OMSetDepthStencilState);
    AssignUse(m_state.depthStencil, static_cast<NullDepthStencilState*>(state));
    m_state.stencilRef = stencilRef;
}

void NullContext::OMGetDepthStencilState(ID3D11DepthStencilState** state, UINT* stencilRef)
{
    GiveBound(m_state.depthStencil, state);
    if (stencilRef) {
        *stencilRef = m_state.stencilRef;
    }
}

bool NullContext::SetTargets(const char* call, UINT count, ID3D11RenderTargetView* const* views,
                             ID3D11DepthStencilView* depth)
{
    if (FAILED(CheckSlots(call, 0, count, MaxTargets, views))) {
        return false;
    }
    TargetExtent extents[MaxTargets + 1];
    size_t used = 0;
    for (UINT i = 0; i < count; ++i) {
        if (views[i]) {
            extents[used++] = ExtentOf(*static_cast<NullRenderTargetView*>(views[i]));
        }
    }
    if (depth) {
        extents[used++] = ExtentOf(*static_cast<NullDepthStencilView*>(depth));
    }
    if (FAILED(CheckRenderTargets(call, {extents, used}))) {
        return false;
    }
    for (UINT i = 0; i < MaxTargets; ++i) {
        AssignUse(m_state.targets[i], i < count ? static_cast<NullRenderTargetView*>(views[i]) : nullptr);
    }
    AssignUse(m_state.depthTarget, static_cast<NullDepthStencilView*>(depth));
    return true;
}

void NullContext::OMSetRenderTargets(UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depth)
{
    m_calls.Count(ENullCall::OMSetRenderTargets);
    if (SetTargets("ID3D11DeviceContext::OMSetRenderTargets", count, views, depth)) {
        ReleaseSlots(m_state.outputAccesses);
    }
}

void NullContext::OMSetRenderTargetsAndUnorderedAccessViews(UINT targetCount, ID3D11RenderTargetView* const* targets,
                                                            ID3D11DepthStencilView* depth, UINT accessStart,
                                                            UINT accessCount,
                                                            ID3D11UnorderedAccessView* const* accesses,
                                                            const UINT* initialCounts)
{
    constexpr const char* call = "ID3D11DeviceContext::OMSetRenderTargetsAndUnorderedAccessViews";
    m_calls.Count(ENullCall::OMSetRenderTargetsAndUnorderedAccessViews);
    if (targetCount != D3D11_KEEP_RENDER_TARGETS_AND_DEPTH_STENCIL && !SetTargets(call, targetCount, targets, depth)) {
        return;
    }
    if (accessCount != D3D11_KEEP_UNORDERED_ACCESS_VIEWS &&
        SUCCEEDED(CheckSlots(call, accessStart, accessCount, MaxAccesses, accesses))) {
        ReleaseSlots(m_state.outputAccesses);
        SetSlots(call, m_state.outputAccesses, accessStart, accessCount, accesses);
    }
}

void NullContext::OMGetRenderTargets(UINT count, ID3D11RenderTargetView** views, ID3D11DepthStencilView** depth)
{
    if (views) {
        GetSlots("ID3D11DeviceContext::OMGetRenderTargets", m_state.targets, 0, count, views);
    }
    GiveBound(m_state.depthTarget, depth);
}

template <class Shader>
void NullContext::ReleaseStage(NullStage<Shader>& stage)
{
    AssignUse(stage.shader, static_cast<Shader*>(nullptr));
    ReleaseSlots(stage.constantBuffers);
    ReleaseSlots(stage.resources);
    ReleaseSlots(stage.samplers);
}

void NullContext::ReleaseBindings()
{
    ReleaseStage(m_state.vertex);
    ReleaseStage(m_state.hull);
    ReleaseStage(m_state.domain);
    ReleaseStage(m_state.geometry);
    ReleaseStage(m_state.pixel);
    ReleaseStage(m_state.compute);
    ReleaseSlots(m_state.computeAccesses);
    ReleaseSlots(m_state.outputAccesses);
    ReleaseSlots(m_state.targets);
    ReleaseSlots(m_state.vertexBuffers);
    AssignUse(m_state.depthTarget, static_cast<NullDepthStencilView*>(nullptr));
    AssignUse(m_state.inputLayout, static_cast<NullInputLayout*>(nullptr));
    AssignUse(m_state.indexBuffer, static_cast<NullBuffer*>(nullptr));
    AssignUse(m_state.rasterizer, static_cast<NullRasterizerState*>(nullptr));
    AssignUse(m_state.blend, static_cast<NullBlendState*>(nullptr));
    AssignUse(m_state.depthStencil, static_cast<NullDepthStencilState*>(nullptr));
}

void NullContext::Unbind(NullStorage& storage, bool everywhere)
{
    const auto takeOff = [&](auto& slots) {
        for (auto*& view : slots) {
            if (view && &view->Storage() == &storage) {
                AssignUse(view, static_cast<std::remove_reference_t<decltype(view)>>(nullptr));
            }
        }
    };
    takeOff(m_state.targets);
    if (everywhere) {
        takeOff(m_state.vertex.resources);
        takeOff(m_state.hull.resources);
        takeOff(m_state.domain.resources);
        takeOff(m_state.geometry.resources);
        takeOff(m_state.pixel.resources);
        takeOff(m_state.compute.resources);
        takeOff(m_state.computeAccesses);
        takeOff(m_state.outputAccesses);
    }
}

void NullContext::ClearState()
{
    m_calls.Count(ENullCall::ClearState);
    ReleaseBindings();
    m_state = State{};
}

// --- Annotations ---

HRESULT NullAnnotation::QueryInterface(REFIID riid, void** object)
{
    return m_owner.QueryInterface(riid, object);
}

ULONG NullAnnotation::AddRef()
{
    return m_owner.AddRef();
}

ULONG NullAnnotation::Release()
{
    return m_owner.Release();
}

INT NullAnnotation::BeginEvent(LPCWSTR name)
{
    m_owner.Calls().Count(ENullCall::BeginEvent);
    return m_depth++;
}

INT NullAnnotation::EndEvent()
{
    m_owner.Calls().Count(ENullCall::EndEvent);
    if (m_depth == 0) {
        return -2;
    }
    return --m_depth;
}

void NullAnnotation::SetMarker(LPCWSTR name)
{
    m_owner.Calls().Count(ENullCall::SetMarker);
}

} // namespace gleam
