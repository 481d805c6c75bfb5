// The immediate context of the null device: bindings, and calls that work on memory.
#pragma once

#include "d3d11_1.h"
#include "null/NullCalls.h"
#include "null/NullObjects.h"

namespace gleam {

class NullContext;
class NullDevice;

/// Annotations of the null context: names are counted, depths are told.
class NullAnnotation final : public ID3DUserDefinedAnnotation
{
public:
    explicit NullAnnotation(NullContext& owner) : m_owner(owner) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    INT STDMETHODCALLTYPE BeginEvent(LPCWSTR name) override;
    INT STDMETHODCALLTYPE EndEvent() override;
    void STDMETHODCALLTYPE SetMarker(LPCWSTR name) override;
    BOOL STDMETHODCALLTYPE GetStatus() override { return TRUE; }

private:
    NullContext& m_owner;
    INT m_depth = 0;
};

/// What one shader stage has bound, as uses of the device.
template <class Shader>
struct NullStage
{
    Shader* shader = nullptr;
    NullBuffer* constantBuffers[D3D11_COMMONSHADER_CONSTANT_BUFFER_API_SLOT_COUNT] = {};
    NullShaderResourceView* resources[D3D11_COMMONSHADER_INPUT_RESOURCE_SLOT_COUNT] = {};
    NullSamplerState* samplers[D3D11_COMMONSHADER_SAMPLER_SLOT_COUNT] = {};
};

// The setters that every stage has; getters exist for the stages that the library saves.
#define GLEAM_NULL_STAGE_SETTERS(stage, kind)                                                                          \
    void STDMETHODCALLTYPE stage##SetShader(ID3D11##kind##Shader* shader, ID3D11ClassInstance* const* instances,       \
                                            UINT count) override;                                                      \
    void STDMETHODCALLTYPE stage##SetConstantBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers) override;   \
    void STDMETHODCALLTYPE stage##SetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView* const* views)   \
        override;                                                                                                      \
    void STDMETHODCALLTYPE stage##SetSamplers(UINT start, UINT count, ID3D11SamplerState* const* samplers) override;
#define GLEAM_NULL_STAGE_GETTERS(stage, kind)                                                                          \
    void STDMETHODCALLTYPE stage##GetShader(ID3D11##kind##Shader** shader, ID3D11ClassInstance** instances,            \
                                            UINT* count) override;                                                     \
    void STDMETHODCALLTYPE stage##GetConstantBuffers(UINT start, UINT count, ID3D11Buffer** buffers) override;         \
    void STDMETHODCALLTYPE stage##GetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView** views)         \
        override;                                                                                                      \
    void STDMETHODCALLTYPE stage##GetSamplers(UINT start, UINT count, ID3D11SamplerState** samplers) override;

class NullContext final : public DeviceChild<ID3D11DeviceContext, IID_ID3D11DeviceContext>
{
public:
    explicit NullContext(NullDevice& device);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;

    GLEAM_NULL_STAGE_SETTERS(VS, Vertex)
    GLEAM_NULL_STAGE_SETTERS(HS, Hull)
    GLEAM_NULL_STAGE_SETTERS(DS, Domain)
    GLEAM_NULL_STAGE_SETTERS(GS, Geometry)
    GLEAM_NULL_STAGE_SETTERS(PS, Pixel)
    GLEAM_NULL_STAGE_SETTERS(CS, Compute)
    GLEAM_NULL_STAGE_GETTERS(VS, Vertex)
    GLEAM_NULL_STAGE_GETTERS(GS, Geometry)
    GLEAM_NULL_STAGE_GETTERS(PS, Pixel)
    GLEAM_NULL_STAGE_GETTERS(CS, Compute)

    void STDMETHODCALLTYPE CSSetUnorderedAccessViews(UINT start, UINT count, ID3D11UnorderedAccessView* const* views,
                                                     const UINT* initialCounts) override;
    void STDMETHODCALLTYPE IASetInputLayout(ID3D11InputLayout* layout) override;
    void STDMETHODCALLTYPE IASetVertexBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers, const UINT* strides,
                                              const UINT* offsets) override;
    void STDMETHODCALLTYPE IASetIndexBuffer(ID3D11Buffer* buffer, DXGI_FORMAT format, UINT offset) override;
    void STDMETHODCALLTYPE IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY topology) override;
    void STDMETHODCALLTYPE RSSetState(ID3D11RasterizerState* state) override;
    void STDMETHODCALLTYPE RSSetViewports(UINT count, const D3D11_VIEWPORT* viewports) override;
    void STDMETHODCALLTYPE RSSetScissorRects(UINT count, const D3D11_RECT* rects) override;
    void STDMETHODCALLTYPE OMSetBlendState(ID3D11BlendState* state, const FLOAT factor[4], UINT sampleMask) override;
    void STDMETHODCALLTYPE OMSetDepthStencilState(ID3D11DepthStencilState* state, UINT stencilRef) override;
    void STDMETHODCALLTYPE OMSetRenderTargets(UINT count, ID3D11RenderTargetView* const* views,
                                              ID3D11DepthStencilView* depth) override;
    void STDMETHODCALLTYPE OMSetRenderTargetsAndUnorderedAccessViews(
        UINT targetCount, ID3D11RenderTargetView* const* targets, ID3D11DepthStencilView* depth, UINT accessStart,
        UINT accessCount, ID3D11UnorderedAccessView* const* accesses, const UINT* initialCounts) override;

    void STDMETHODCALLTYPE Draw(UINT vertices, UINT startVertex) override;
    void STDMETHODCALLTYPE DrawIndexed(UINT indices, UINT startIndex, INT baseVertex) override;
    void STDMETHODCALLTYPE DrawInstanced(UINT vertices, UINT instances, UINT startVertex, UINT startInstance) override;
    void STDMETHODCALLTYPE DrawIndexedInstanced(UINT indices, UINT instances, UINT startIndex, INT baseVertex,
                                                UINT startInstance) override;
    void STDMETHODCALLTYPE DrawInstancedIndirect(ID3D11Buffer* arguments, UINT offset) override;
    void STDMETHODCALLTYPE DrawIndexedInstancedIndirect(ID3D11Buffer* arguments, UINT offset) override;
    void STDMETHODCALLTYPE Dispatch(UINT x, UINT y, UINT z) override;
    void STDMETHODCALLTYPE DispatchIndirect(ID3D11Buffer* arguments, UINT offset) override;

    HRESULT STDMETHODCALLTYPE Map(ID3D11Resource* resource, UINT subresource, D3D11_MAP type, UINT flags,
                                  D3D11_MAPPED_SUBRESOURCE* mapped) override;
    void STDMETHODCALLTYPE Unmap(ID3D11Resource* resource, UINT subresource) override;
    void STDMETHODCALLTYPE UpdateSubresource(ID3D11Resource* resource, UINT subresource, const D3D11_BOX* box,
                                             const void* data, UINT rowPitch, UINT depthPitch) override;
    void STDMETHODCALLTYPE CopySubresourceRegion(ID3D11Resource* destination, UINT destinationSubresource, UINT x,
                                                 UINT y, UINT z, ID3D11Resource* source, UINT sourceSubresource,
                                                 const D3D11_BOX* box) override;
    void STDMETHODCALLTYPE CopyResource(ID3D11Resource* destination, ID3D11Resource* source) override;
    void STDMETHODCALLTYPE CopyStructureCount(ID3D11Buffer* destination, UINT offset,
                                              ID3D11UnorderedAccessView* view) override;
    void STDMETHODCALLTYPE ResolveSubresource(ID3D11Resource* destination, UINT destinationSubresource,
                                              ID3D11Resource* source, UINT sourceSubresource,
                                              DXGI_FORMAT format) override;
    void STDMETHODCALLTYPE GenerateMips(ID3D11ShaderResourceView* view) override;
    void STDMETHODCALLTYPE ClearRenderTargetView(ID3D11RenderTargetView* view, const FLOAT color[4]) override;
    void STDMETHODCALLTYPE ClearDepthStencilView(ID3D11DepthStencilView* view, UINT flags, FLOAT depth,
                                                 UINT8 stencil) override;
    void STDMETHODCALLTYPE ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView* view, const UINT values[4]) override;
    void STDMETHODCALLTYPE ClearUnorderedAccessViewFloat(ID3D11UnorderedAccessView* view,
                                                         const FLOAT values[4]) override;

    void STDMETHODCALLTYPE Begin(ID3D11Asynchronous* query) override;
    void STDMETHODCALLTYPE End(ID3D11Asynchronous* query) override;
    HRESULT STDMETHODCALLTYPE GetData(ID3D11Asynchronous* query, void* data, UINT size, UINT flags) override;

    void STDMETHODCALLTYPE CSGetUnorderedAccessViews(UINT start, UINT count,
                                                     ID3D11UnorderedAccessView** views) override;
    void STDMETHODCALLTYPE IAGetInputLayout(ID3D11InputLayout** layout) override;
    void STDMETHODCALLTYPE IAGetVertexBuffers(UINT start, UINT count, ID3D11Buffer** buffers, UINT* strides,
                                              UINT* offsets) override;
    void STDMETHODCALLTYPE IAGetIndexBuffer(ID3D11Buffer** buffer, DXGI_FORMAT* format, UINT* offset) override;
    void STDMETHODCALLTYPE IAGetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY* topology) override;
    void STDMETHODCALLTYPE RSGetState(ID3D11RasterizerState** state) override;
    void STDMETHODCALLTYPE RSGetViewports(UINT* count, D3D11_VIEWPORT* viewports) override;
    void STDMETHODCALLTYPE RSGetScissorRects(UINT* count, D3D11_RECT* rects) override;
    void STDMETHODCALLTYPE OMGetRenderTargets(UINT count, ID3D11RenderTargetView** views,
                                              ID3D11DepthStencilView** depth) override;
    void STDMETHODCALLTYPE OMGetBlendState(ID3D11BlendState** state, FLOAT factor[4], UINT* sampleMask) override;
    void STDMETHODCALLTYPE OMGetDepthStencilState(ID3D11DepthStencilState** state, UINT* stencilRef) override;
    void STDMETHODCALLTYPE ClearState() override;
    void STDMETHODCALLTYPE Flush() override;
    D3D11_DEVICE_CONTEXT_TYPE STDMETHODCALLTYPE GetType() override { return D3D11_DEVICE_CONTEXT_IMMEDIATE; }
    UINT STDMETHODCALLTYPE GetContextFlags() override { return 0; }

    NullCallCounts& Calls() { return m_calls; }

    /// Takes a resource off the output stage, and off every stage with `everywhere`.
    void Unbind(NullStorage& storage, bool everywhere);

private:
    static constexpr UINT MaxTargets = D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT;
    static constexpr UINT MaxAccesses = D3D11_1_UAV_SLOT_COUNT;
    static constexpr UINT MaxVertexBuffers = D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT;
    static constexpr UINT MaxViewports = D3D11_VIEWPORT_AND_SCISSORRECT_OBJECT_COUNT_PER_PIPELINE;

    ~NullContext() override;

    /// Everything that is bound; a value of it is the cleared state.
    struct State
    {
        NullStage<NullVertexShader> vertex;
        NullStage<NullHullShader> hull;
        NullStage<NullDomainShader> domain;
        NullStage<NullGeometryShader> geometry;
        NullStage<NullPixelShader> pixel;
        NullStage<NullComputeShader> compute;
        NullUnorderedAccessView* computeAccesses[MaxAccesses] = {};
        NullUnorderedAccessView* outputAccesses[MaxAccesses] = {};
        NullRenderTargetView* targets[MaxTargets] = {};
        NullDepthStencilView* depthTarget = nullptr;
        NullInputLayout* inputLayout = nullptr;
        NullBuffer* vertexBuffers[MaxVertexBuffers] = {};
        UINT strides[MaxVertexBuffers] = {};
        UINT offsets[MaxVertexBuffers] = {};
        NullBuffer* indexBuffer = nullptr;
        DXGI_FORMAT indexFormat = DXGI_FORMAT_UNKNOWN;
        UINT indexOffset = 0;
        D3D11_PRIMITIVE_TOPOLOGY topology = D3D_PRIMITIVE_TOPOLOGY_UNDEFINED;
        NullRasterizerState* rasterizer = nullptr;
        UINT viewportCount = 0;
        D3D11_VIEWPORT viewports[MaxViewports] = {};
        UINT scissorCount = 0;
        D3D11_RECT scissors[MaxViewports] = {};
        NullBlendState* blend = nullptr;
        FLOAT blendFactor[4] = {1, 1, 1, 1};
        UINT sampleMask = D3D11_DEFAULT_SAMPLE_MASK;
        NullDepthStencilState* depthStencil = nullptr;
        UINT stencilRef = 0;
    };

    template <class Shader>
    void ReleaseStage(NullStage<Shader>& stage);
    void ReleaseBindings();
    bool SetTargets(const char* call, UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depth);
    void CheckArguments(const char* call, ID3D11Buffer* arguments, UINT offset, UINT bytes);
    void ClearAccess(NullUnorderedAccessView* view, const std::uint8_t* texel, UINT word);

    NullCallCounts& m_calls;
    NullAnnotation m_annotation;
    State m_state;
};

} // namespace gleam
