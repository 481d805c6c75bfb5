// Fixed-function state: making the immutable objects, and setting them through the shadow.
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/Log.h>

#include <limits>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RendererStates";

constexpr INT DEPTH_BIAS = -5;
constexpr float SLOPE_SCALED_DEPTH_BIAS = -2.5f;

/// Files a state object under a new handle. With no room left the object is released.
template <class Record, class Interface>
qs::ObjectHandle AddRecord(qs::ObjectContainer<Record>& container, Interface* state)
{
    Record record;
    record.state = state;
    qs::ObjectHandle handle;
    if (!container.Add(record, handle)) {
        state->Release();
    }
    return handle;
}

template <class Record>
void RemoveRecord(qs::ObjectContainer<Record>& container, const qs::ObjectHandle& handle)
{
    Record* record = container.IsAlive(handle) ? container.Get(handle) : nullptr;
    if (record && record->state) {
        record->state->Release();
        record->state = nullptr;
    }
    container.Destroy(handle);
}

/// The state object of a handle, or null after the message of a missing record.
template <class Record>
auto FindState(const qs::ObjectContainer<Record>& container, const qs::ObjectHandle& handle, const char* function,
               const char* message) -> decltype(Record::state)
{
    if (const Record* record = container.Get(handle)) {
        return record->state;
    }
    QS_LOG_ASSERT(FILE_NAME, function, message,
                  static_cast<unsigned long long>(handle.GetIndex() | std::uint64_t(handle.GetSalt()) << 16));
    return nullptr;
}

} // namespace

qs::ObjectHandle D3D11Renderer::AddSamplerState(gw::EFilter filter, gw::EAddressMode u, gw::EAddressMode v,
                                                gw::EAddressMode w, float mipLodBias, unsigned maxAnisotropy,
                                                gw::EComparisonFunction comparison)
{
    constexpr int comparisonBit = 0x80;
    D3D11_SAMPLER_DESC desc = {};
    const int comparing = comparison != gw::eComparisonFunction_Never ? comparisonBit : 0;
    desc.Filter = static_cast<D3D11_FILTER>(gw2DX11::SamplerFilterMode(filter) | comparing);
    desc.AddressU = gw2DX11::WrapMode(u);
    desc.AddressV = gw2DX11::WrapMode(v);
    desc.AddressW = gw2DX11::WrapMode(w);
    desc.MipLODBias = mipLodBias;
    desc.MaxAnisotropy = filter < gw::eFilter_AnisotropicAlt ? 1 : maxAnisotropy;
    desc.ComparisonFunc = gw2DX11::CompareFunc(comparison);
    desc.MaxLOD = std::numeric_limits<float>::max();
    ID3D11SamplerState* state = nullptr;
    const HRESULT hr = m_deviceData.device->CreateSamplerState(&desc, &state);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, "api::D3D11Renderer::AddSamplerState",
                            "ID3D11Device::CreateSamplerState failed!\nError: %s\nDescription: %s", hr);
        return SS_INVALID;
    }
    return AddRecord(m_samplerStates, state);
}

qs::ObjectHandle D3D11Renderer::AddBlendState(gw::EBlendConstants src, gw::EBlendConstants dst, gw::EBlendOperation op,
                                              int writeMask, gw::EBlendConstants srcAlpha, gw::EBlendConstants dstAlpha,
                                              gw::EBlendOperation opAlpha, bool)
{
    D3D11_BLEND_DESC desc = {};
    D3D11_RENDER_TARGET_BLEND_DESC& target = desc.RenderTarget[0];
    target.BlendEnable = TRUE;
    target.SrcBlend = gw2DX11::BlendConstants(src);
    target.DestBlend = gw2DX11::BlendConstants(dst);
    target.BlendOp = gw2DX11::BlendOperation(op);
    target.SrcBlendAlpha = gw2DX11::BlendConstants(srcAlpha);
    target.DestBlendAlpha = gw2DX11::BlendConstants(dstAlpha);
    target.BlendOpAlpha = gw2DX11::BlendOperation(opAlpha);
    target.RenderTargetWriteMask = static_cast<UINT8>(writeMask);
    ID3D11BlendState* state = nullptr;
    const HRESULT hr = m_deviceData.device->CreateBlendState(&desc, &state);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, "api::D3D11Renderer::AddBlendState",
                            "ID3D11Device::CreateBlendState failed!\nError: %s\nDescription: %s", hr);
        return BS_INVALID;
    }
    return AddRecord(m_blendStates, state);
}

qs::ObjectHandle D3D11Renderer::AddDepthState(bool depthEnable, bool depthWrite, gw::EComparisonFunction depthFunc,
                                              bool stencilEnable, unsigned char stencilMask,
                                              gw::EComparisonFunction stencilFunc, gw::EStencilOperation stencilFail,
                                              gw::EStencilOperation depthFail, gw::EStencilOperation pass)
{
    D3D11_DEPTH_STENCIL_DESC desc = {};
    desc.DepthEnable = depthEnable;
    desc.DepthWriteMask = depthWrite ? D3D11_DEPTH_WRITE_MASK_ALL : D3D11_DEPTH_WRITE_MASK_ZERO;
    desc.DepthFunc = gw2DX11::CompareFunc(depthFunc);
    desc.StencilEnable = stencilEnable;
    desc.StencilReadMask = stencilMask;
    desc.StencilWriteMask = stencilMask;
    desc.FrontFace.StencilFailOp = gw2DX11::StencilOperation(stencilFail);
    desc.FrontFace.StencilDepthFailOp = gw2DX11::StencilOperation(depthFail);
    desc.FrontFace.StencilPassOp = gw2DX11::StencilOperation(pass);
    desc.FrontFace.StencilFunc = gw2DX11::CompareFunc(stencilFunc);
    desc.BackFace = desc.FrontFace;
    ID3D11DepthStencilState* state = nullptr;
    const HRESULT hr = m_deviceData.device->CreateDepthStencilState(&desc, &state);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, "api::D3D11Renderer::AddDepthState",
                            "ID3D11Device::CreateDepthStencilState failed!\nError: %s\nDescription: %s", hr);
        return DS_INVALID;
    }
    return AddRecord(m_depthStates, state);
}

qs::ObjectHandle D3D11Renderer::AddRasterizerState(gw::ECullModes cull, gw::EFillModes fill, bool multisample,
                                                   bool scissor, bool depthBias)
{
    D3D11_RASTERIZER_DESC desc = {};
    desc.FillMode = gw2DX11::FillMode(fill);
    desc.CullMode = gw2DX11::CullMode(cull);
    desc.DepthBias = depthBias ? DEPTH_BIAS : 0;
    desc.SlopeScaledDepthBias = depthBias ? SLOPE_SCALED_DEPTH_BIAS : 0.0f;
    desc.DepthClipEnable = TRUE;
    desc.ScissorEnable = scissor;
    desc.MultisampleEnable = multisample;
    ID3D11RasterizerState* state = nullptr;
    const HRESULT hr = m_deviceData.device->CreateRasterizerState(&desc, &state);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, "api::D3D11Renderer::AddRasterizerState",
                            "ID3D11Device::CreateRasterizerState failed!\nError: %s\nDescription: %s", hr);
        return RS_INVALID;
    }
    return AddRecord(m_rasterizerStates, state);
}

void D3D11Renderer::RemoveSamplerState(qs::ObjectHandle handle)
{
    RemoveRecord(m_samplerStates, handle);
}

void D3D11Renderer::RemoveBlendState(qs::ObjectHandle handle)
{
    RemoveRecord(m_blendStates, handle);
}

void D3D11Renderer::RemoveDepthState(qs::ObjectHandle handle)
{
    RemoveRecord(m_depthStates, handle);
}

void D3D11Renderer::RemoveRasterizerState(qs::ObjectHandle handle)
{
    RemoveRecord(m_rasterizerStates, handle);
}

// An unassigned shadow never matches, so the first set after a reset always reaches the device.

void D3D11Renderer::SetBlendState(const qs::ObjectHandle& handle, unsigned sampleMask)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::SetBlendState";
    if (m_state.blendState == handle && m_state.sampleMask == sampleMask && handle.IsValid()) {
        return;
    }
    m_state.blendState = handle;
    m_state.sampleMask = sampleMask;
    if (!handle.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "SetBlendState should never be called using BS_INVALID!");
        return;
    }
    // The opaque prefab is the device's own default.
    ID3D11BlendState* state = nullptr;
    if (!(handle == s_BS[gw::BS_OPAQUE])) {
        state =
            FindState(m_blendStates, handle, FUNCTION, "Setting blend state id %llu failed! BlendState is nullptr!");
    }
    static constexpr float factor[4] = {};
    m_deviceData.context->OMSetBlendState(state, factor, sampleMask);
}

void D3D11Renderer::SetDepthState(const qs::ObjectHandle& handle, unsigned stencilRef)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::SetDepthState";
    if (m_state.depthState == handle && m_state.stencilRef == stencilRef && handle.IsValid()) {
        return;
    }
    m_state.depthState = handle;
    m_state.stencilRef = stencilRef;
    if (!handle.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "SetDepthState should never be called using DS_INVALID!");
        return;
    }
    m_deviceData.context->OMSetDepthStencilState(
        FindState(m_depthStates, handle, FUNCTION, "Setting depth state id %llu failed! DepthState is nullptr!"),
        stencilRef);
}

void D3D11Renderer::SetRasterizerState(const qs::ObjectHandle& handle)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::SetRasterizerState";
    if (m_state.rasterizerState == handle && handle.IsValid()) {
        return;
    }
    m_state.rasterizerState = handle;
    if (!handle.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "SetRasterizerState should never be called using RS_INVALID!");
        return;
    }
    m_deviceData.context->RSSetState(FindState(m_rasterizerStates, handle, FUNCTION,
                                               "Setting rasterizer state id %llu failed! RasterizerState is nullptr!"));
}

void D3D11Renderer::SetPrimitiveTopology(gw::EPrimitiveTopology topology)
{
    if (m_state.primitiveTopology == topology) {
        return;
    }
    m_state.primitiveTopology = topology;
    m_deviceData.context->IASetPrimitiveTopology(topology == gw::ePrimitiveTopology_None
                                                     ? D3D_PRIMITIVE_TOPOLOGY_UNDEFINED
                                                     : gw2DX11::PrimitiveTopology(topology));
}

} // namespace api
