// The device without hardware.
#pragma once

#include "common/StateCache.h"
#include "dxgi/DxgiDevice.h"
#include "dxgi/Presenter.h"
#include "null/NullCalls.h"
#include "null/NullContext.h"

namespace gleam {

/// Makes a null device and its immediate context; either out pointer may be null. Counts and behaviour are told in
/// gleam_null_device.h.
HRESULT CreateNullDevice(D3D_FEATURE_LEVEL featureLevel, ID3D11Device** device, ID3D11DeviceContext** context);

class NullDevice final : public ComObject<ID3D11Device, IID_ID3D11Device>, public PresentDevice
{
public:
    explicit NullDevice(D3D_FEATURE_LEVEL featureLevel);

    NullCallCounts& Calls() { return m_calls; }
    std::unique_ptr<Presenter> CreatePresenter(NativeWindow& window) override;

    HRESULT STDMETHODCALLTYPE CreateBuffer(const D3D11_BUFFER_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                           ID3D11Buffer** buffer) override;
    HRESULT STDMETHODCALLTYPE CreateTexture1D(const D3D11_TEXTURE1D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                              ID3D11Texture1D** texture) override;
    HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                              ID3D11Texture2D** texture) override;
    HRESULT STDMETHODCALLTYPE CreateTexture3D(const D3D11_TEXTURE3D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                              ID3D11Texture3D** texture) override;
    HRESULT STDMETHODCALLTYPE CreateShaderResourceView(ID3D11Resource* resource,
                                                       const D3D11_SHADER_RESOURCE_VIEW_DESC* desc,
                                                       ID3D11ShaderResourceView** view) override;
    HRESULT STDMETHODCALLTYPE CreateUnorderedAccessView(ID3D11Resource* resource,
                                                        const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc,
                                                        ID3D11UnorderedAccessView** view) override;
    HRESULT STDMETHODCALLTYPE CreateRenderTargetView(ID3D11Resource* resource,
                                                     const D3D11_RENDER_TARGET_VIEW_DESC* desc,
                                                     ID3D11RenderTargetView** view) override;
    HRESULT STDMETHODCALLTYPE CreateDepthStencilView(ID3D11Resource* resource,
                                                     const D3D11_DEPTH_STENCIL_VIEW_DESC* desc,
                                                     ID3D11DepthStencilView** view) override;
    HRESULT STDMETHODCALLTYPE CreateInputLayout(const D3D11_INPUT_ELEMENT_DESC* elements, UINT count, const void* code,
                                                SIZE_T size, ID3D11InputLayout** layout) override;
    HRESULT STDMETHODCALLTYPE CreateVertexShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                                 ID3D11VertexShader** shader) override;
    HRESULT STDMETHODCALLTYPE CreateGeometryShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                                   ID3D11GeometryShader** shader) override;
    HRESULT STDMETHODCALLTYPE CreatePixelShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                                ID3D11PixelShader** shader) override;
    HRESULT STDMETHODCALLTYPE CreateHullShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                               ID3D11HullShader** shader) override;
    HRESULT STDMETHODCALLTYPE CreateDomainShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                                 ID3D11DomainShader** shader) override;
    HRESULT STDMETHODCALLTYPE CreateComputeShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                                  ID3D11ComputeShader** shader) override;
    HRESULT STDMETHODCALLTYPE CreateBlendState(const D3D11_BLEND_DESC* desc, ID3D11BlendState** state) override;
    HRESULT STDMETHODCALLTYPE CreateDepthStencilState(const D3D11_DEPTH_STENCIL_DESC* desc,
                                                      ID3D11DepthStencilState** state) override;
    HRESULT STDMETHODCALLTYPE CreateRasterizerState(const D3D11_RASTERIZER_DESC* desc,
                                                    ID3D11RasterizerState** state) override;
    HRESULT STDMETHODCALLTYPE CreateSamplerState(const D3D11_SAMPLER_DESC* desc, ID3D11SamplerState** state) override;
    HRESULT STDMETHODCALLTYPE CreateQuery(const D3D11_QUERY_DESC* desc, ID3D11Query** query) override;
    HRESULT STDMETHODCALLTYPE CheckFormatSupport(DXGI_FORMAT format, UINT* support) override;
    HRESULT STDMETHODCALLTYPE CheckMultisampleQualityLevels(DXGI_FORMAT format, UINT sampleCount,
                                                            UINT* levels) override;
    HRESULT STDMETHODCALLTYPE CheckFeatureSupport(D3D11_FEATURE feature, void* data, UINT size) override;
    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID name, UINT* size, void* data) override;
    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID name, UINT size, const void* data) override;
    HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID name, const IUnknown* object) override;
    D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() override { return m_featureLevel; }
    UINT STDMETHODCALLTYPE GetCreationFlags() override { return 0; }
    HRESULT STDMETHODCALLTYPE GetDeviceRemovedReason() override { return S_OK; }
    void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** context) override;
    HRESULT STDMETHODCALLTYPE SetExceptionMode(UINT flags) override;
    UINT STDMETHODCALLTYPE GetExceptionMode() override { return m_exceptionMode; }

private:
    ~NullDevice() override;
    HRESULT QueryOther(REFIID riid, void** object) override;

    const D3D_FEATURE_LEVEL m_featureLevel;
    std::atomic<UINT> m_exceptionMode{0};
    NullCallCounts m_calls;
    DxgiDevice m_dxgi;
    PrivateData m_privateData;
    StateCache<D3D11_BLEND_DESC, NullBlendState> m_blendStates;
    StateCache<D3D11_DEPTH_STENCIL_DESC, NullDepthStencilState> m_depthStates;
    StateCache<D3D11_RASTERIZER_DESC, NullRasterizerState> m_rasterizerStates;
    StateCache<D3D11_SAMPLER_DESC, NullSamplerState> m_samplerStates;
    /// A use, not a reference: callers' references on the context hold the device.
    NullContext* m_context;
};

} // namespace gleam
