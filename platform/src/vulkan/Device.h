// ID3D11Device over Vulkan.
#pragma once

#include "common/StateCache.h"
#include "dxgi/DxgiDevice.h"
#include "dxgi/Presenter.h"
#include "vulkan/Context.h"

namespace gleam {

class VulkanDevice final : public ComObject<ID3D11Device, IID_ID3D11Device>, public PresentDevice
{
public:
    /// Throws VulkanError.
    VulkanDevice(std::shared_ptr<Instance> instance, int vulkanIndex, UINT flags, D3D_FEATURE_LEVEL level);

    // Shared with the context.
    Gpu gpu;
    UploadQueue uploads;
    DeadShaders deadShaders;
    std::shared_ptr<QuerySegments> segments;

    SamplerState* DefaultSampler();

    std::unique_ptr<Presenter> CreatePresenter(NativeWindow& window) override;
    /// A texture that may keep its channels in the window's order; see ResourceInfo::swapsRedBlue.
    HRESULT CreateBackBuffer(const D3D11_TEXTURE2D_DESC& desc, bool swapsRedBlue, Texture2D*& texture);
    /// Frames that may be on their way to the display.
    UINT MaximumFrameLatency();

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
    HRESULT STDMETHODCALLTYPE CheckMultisampleQualityLevels(DXGI_FORMAT format, UINT samples, UINT* levels) override;
    HRESULT STDMETHODCALLTYPE CheckFeatureSupport(D3D11_FEATURE feature, void* data, UINT size) override;
    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID guid, UINT* size, void* data) override
    {
        return m_privateData.Get(guid, size, data);
    }
    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID guid, UINT size, const void* data) override
    {
        return m_privateData.Set(guid, size, data);
    }
    HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID guid, const IUnknown* object) override
    {
        return m_privateData.SetInterface(guid, object);
    }
    D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() override { return m_level; }
    UINT STDMETHODCALLTYPE GetCreationFlags() override { return m_flags; }
    HRESULT STDMETHODCALLTYPE GetDeviceRemovedReason() override { return gpu.RemovedReason(); }
    void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** context) override;
    HRESULT STDMETHODCALLTYPE SetExceptionMode(UINT flags) override
    {
        m_exceptionMode = flags;
        return S_OK;
    }
    UINT STDMETHODCALLTYPE GetExceptionMode() override { return m_exceptionMode; }

protected:
    HRESULT QueryOther(REFIID riid, void** object) override;
    ~VulkanDevice() override;

private:
    /// Makes an object for an out pointer; every failure becomes a result here.
    template <class Interface, class Make>
    HRESULT Create(const char* call, Interface** out, Make make);
    template <class Object, class Interface>
    HRESULT CreateShader(const char* call, EShaderStage stage, const void* code, SIZE_T size,
                         ID3D11ClassLinkage* linkage, Interface** out);
    template <class Object, class Desc, class Interface, class Make>
    HRESULT CreateState(const char* call, StateCache<Desc, Object>& cache, const Desc& full, Interface** out,
                        Make make);
    bool SupportsSamples(const FormatInfo& format, UINT samples) const;

    const UINT m_flags;
    const D3D_FEATURE_LEVEL m_level;
    DxgiDevice m_dxgi;
    PrivateData m_privateData;
    std::atomic<UINT> m_exceptionMode{0};
    StateCache<D3D11_BLEND_DESC, BlendState> m_blendStates;
    StateCache<D3D11_DEPTH_STENCIL_DESC, DepthStencilState> m_depthStates;
    StateCache<D3D11_RASTERIZER_DESC, RasterizerState> m_rasterizerStates;
    StateCache<D3D11_SAMPLER_DESC, SamplerState> m_samplerStates;
    std::mutex m_defaultMutex;
    SamplerState* m_defaultSampler = nullptr;
    Context* m_context = nullptr;
};

} // namespace gleam
