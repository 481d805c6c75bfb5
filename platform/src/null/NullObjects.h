// The null device's views, states, shaders, input layouts and queries: descriptions, and what they hold.
#pragma once

#include <chrono>

#include "null/NullResource.h"

namespace gleam {

/// A view that uses its resource. `Desc` has every default settled.
template <class Interface, const IID& Iid, class Desc>
class NullView final : public DeviceChild<Interface, IID_ID3D11View, Iid>
{
public:
    NullView(ID3D11Device* device, NullStorage& storage, const Desc& desc)
        : DeviceChild<Interface, IID_ID3D11View, Iid>(device), m_storage(storage), m_desc(desc),
          m_range(RangeOf(storage.Info(), desc))
    {
        m_storage.AddStorageUse();
    }

    void STDMETHODCALLTYPE GetResource(ID3D11Resource** resource) override
    {
        *resource = m_storage.AsResource();
        (*resource)->AddRef();
    }
    void STDMETHODCALLTYPE GetDesc(Desc* desc) override { *desc = m_desc; }

    NullStorage& Storage() const { return m_storage; }
    const Desc& Description() const { return m_desc; }
    const ViewRange& Range() const { return m_range; }

private:
    ~NullView() override { m_storage.RemoveStorageUse(); }

    NullStorage& m_storage;
    const Desc m_desc;
    const ViewRange m_range;
};

using NullShaderResourceView =
    NullView<ID3D11ShaderResourceView, IID_ID3D11ShaderResourceView, D3D11_SHADER_RESOURCE_VIEW_DESC>;
using NullRenderTargetView =
    NullView<ID3D11RenderTargetView, IID_ID3D11RenderTargetView, D3D11_RENDER_TARGET_VIEW_DESC>;
using NullDepthStencilView =
    NullView<ID3D11DepthStencilView, IID_ID3D11DepthStencilView, D3D11_DEPTH_STENCIL_VIEW_DESC>;
using NullUnorderedAccessView =
    NullView<ID3D11UnorderedAccessView, IID_ID3D11UnorderedAccessView, D3D11_UNORDERED_ACCESS_VIEW_DESC>;

/// A state object in its canonical form.
template <class Interface, const IID& Iid, class Desc>
class NullState final : public DeviceChild<Interface, Iid>
{
public:
    NullState(ID3D11Device* device, const Desc& desc) : DeviceChild<Interface, Iid>(device), m_desc(desc) {}

    void STDMETHODCALLTYPE GetDesc(Desc* desc) override { *desc = m_desc; }

private:
    ~NullState() override = default;

    const Desc m_desc;
};

using NullBlendState = NullState<ID3D11BlendState, IID_ID3D11BlendState, D3D11_BLEND_DESC>;
using NullDepthStencilState = NullState<ID3D11DepthStencilState, IID_ID3D11DepthStencilState, D3D11_DEPTH_STENCIL_DESC>;
using NullRasterizerState = NullState<ID3D11RasterizerState, IID_ID3D11RasterizerState, D3D11_RASTERIZER_DESC>;
using NullSamplerState = NullState<ID3D11SamplerState, IID_ID3D11SamplerState, D3D11_SAMPLER_DESC>;

/// A shader or input layout whose bytes have been checked.
template <class Interface, const IID& Iid>
class NullObject final : public DeviceChild<Interface, Iid>
{
public:
    using DeviceChild<Interface, Iid>::DeviceChild;

private:
    ~NullObject() override = default;
};

using NullVertexShader = NullObject<ID3D11VertexShader, IID_ID3D11VertexShader>;
using NullHullShader = NullObject<ID3D11HullShader, IID_ID3D11HullShader>;
using NullDomainShader = NullObject<ID3D11DomainShader, IID_ID3D11DomainShader>;
using NullGeometryShader = NullObject<ID3D11GeometryShader, IID_ID3D11GeometryShader>;
using NullPixelShader = NullObject<ID3D11PixelShader, IID_ID3D11PixelShader>;
using NullComputeShader = NullObject<ID3D11ComputeShader, IID_ID3D11ComputeShader>;
using NullInputLayout = NullObject<ID3D11InputLayout, IID_ID3D11InputLayout>;

/// A query that is answered as soon as it has ended: timestamps are the processor's clock in nanoseconds, events are
/// signalled, counters are 0.
class NullQuery final : public DeviceChild<ID3D11Query, IID_ID3D11Asynchronous, IID_ID3D11Query>
{
public:
    NullQuery(ID3D11Device* device, const D3D11_QUERY_DESC& desc) : DeviceChild(device), m_desc(desc) {}

    UINT STDMETHODCALLTYPE GetDataSize() override { return QueryDataSize(m_desc.Query); }
    void STDMETHODCALLTYPE GetDesc(D3D11_QUERY_DESC* desc) override { *desc = m_desc; }

    /// Context thread.
    HRESULT Begin();
    void End();
    HRESULT GetData(void* data, UINT size);

private:
    ~NullQuery() override = default;

    enum class EState
    {
        Idle,
        Begun,
        Ended
    };

    const D3D11_QUERY_DESC m_desc;
    EState m_state = EState::Idle;
    UINT64 m_time = 0;
};

} // namespace gleam
