// Creation on the null device: the checks of the common rules, then a description in memory.
#include "null/NullDevice.h"

#include "dxgi/Adapters.h"
#include "null/NullPresenter.h"
#include "shader/ShaderModule.h"

namespace gleam {
namespace {

/// Hands a new object to the caller, or drops it when only the arguments were to be checked.
template <class Interface, class Object>
HRESULT Give(Object* object, Interface** result)
{
    if (!result) {
        object->Release();
        return S_FALSE;
    }
    *result = object;
    return S_OK;
}

template <class Interface>
void ClearResult(Interface** result)
{
    if (result) {
        *result = nullptr;
    }
}

/// Runs a creation whose memory may run out.
template <class Create>
HRESULT Guarded(Create create)
{
    try {
        return create();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

template <class Resource, class Interface, class Desc>
HRESULT MakeResource(ID3D11Device* device, const ResourceInfo& info, const Desc& desc,
                     const D3D11_SUBRESOURCE_DATA* data, Interface** result)
{
    return Guarded([&] {
        auto* resource = new Resource(device, info, desc);
        HRESULT hr = E_OUTOFMEMORY;
        try {
            hr = resource->Allocate(data);
        } catch (const std::bad_alloc&) {
        }
        if (FAILED(hr)) {
            resource->Release();
            return hr;
        }
        return Give(resource, result);
    });
}

template <class View, class Interface, class Desc>
HRESULT MakeView(ID3D11Device* device, const char* call, ID3D11Resource* resource, const Desc* desc, Interface** result,
                 HRESULT (*check)(const ResourceInfo&, const Desc*, Desc&))
{
    ClearResult(result);
    NullStorage* storage = StorageOf(resource);
    if (!storage) {
        return Refuse(E_INVALIDARG, call, "pResource is null");
    }
    Desc full;
    if (const HRESULT hr = check(storage->Info(), desc, full); FAILED(hr)) {
        return hr;
    }
    return Guarded([&] { return Give(new View(device, *storage, full), result); });
}

template <class State, class Interface, class Desc>
HRESULT MakeState(ID3D11Device* device, StateCache<Desc, State>& cache, const Desc* desc, Interface** result,
                  HRESULT (*check)(const Desc*, Desc&))
{
    ClearResult(result);
    Desc full;
    State* state = nullptr;
    HRESULT hr = check(desc, full);
    hr = FAILED(hr) ? hr : cache.Get(full, state, [&] { return new State(device, full); });
    return FAILED(hr) ? hr : Give(state, result);
}

template <class Shader, class Interface>
HRESULT MakeShader(ID3D11Device* device, const char* call, EShaderStage stage, const void* code, SIZE_T size,
                   ID3D11ClassLinkage* linkage, Interface** result)
{
    ClearResult(result);
    if (linkage) {
        return Refuse(E_INVALIDARG, call, "class linkage is not supported");
    }
    return Guarded([&] {
        ShaderModule module;
        if (const HRESULT hr = ParseShader(code, size, module); FAILED(hr)) {
            return Refuse(hr, call, "the %zu bytes are no compiled shader", size);
        }
        if (module.stage != stage) {
            return Refuse(E_INVALIDARG, call, "the shader is compiled for stage %d", static_cast<int>(module.stage));
        }
        return Give(new Shader(device), result);
    });
}

/// What the vertex stage takes from buffers.
std::vector<VertexInput> InputsOf(const ShaderModule& module)
{
    std::vector<VertexInput> inputs;
    for (const SignatureElement& element : module.inputs) {
        if (element.systemValue == D3D_NAME_UNDEFINED) {
            inputs.push_back({element.semantic.c_str(), element.semanticIndex});
        }
    }
    return inputs;
}

} // namespace

HRESULT CreateNullDevice(D3D_FEATURE_LEVEL featureLevel, ID3D11Device** device, ID3D11DeviceContext** context)
{
    return Guarded([&] {
        auto* created = new NullDevice(featureLevel);
        if (context) {
            created->GetImmediateContext(context);
        }
        if (device) {
            *device = created;
        } else {
            created->Release();
        }
        return S_OK;
    });
}

NullDevice::NullDevice(D3D_FEATURE_LEVEL featureLevel)
    : m_featureLevel(featureLevel), m_dxgi(this, NullDeviceIndex), m_context(new NullContext(*this))
{
    m_context->AddUse();
    m_context->Release();
}

NullDevice::~NullDevice()
{
    m_context->RemoveUse();
}

HRESULT NullDevice::QueryOther(REFIID riid, void** object)
{
    if (!DxgiDevice::Serves(riid)) {
        return E_NOINTERFACE;
    }
    *object = static_cast<IDXGIDevice1*>(&m_dxgi);
    AddRef();
    return S_OK;
}

std::unique_ptr<Presenter> NullDevice::CreatePresenter(NativeWindow& window)
{
    return std::make_unique<NullPresenter>(*this, *m_context, window);
}

HRESULT NullDevice::CreateBuffer(const D3D11_BUFFER_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                 ID3D11Buffer** buffer)
{
    m_calls.CountShared(ENullCall::CreateBuffer);
    ClearResult(buffer);
    ResourceInfo info;
    const HRESULT hr = CheckBuffer(desc, data, info);
    return FAILED(hr) ? hr : MakeResource<NullBuffer>(this, info, *desc, data, buffer);
}

HRESULT NullDevice::CreateTexture1D(const D3D11_TEXTURE1D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                    ID3D11Texture1D** texture)
{
    m_calls.CountShared(ENullCall::CreateTexture1D);
    ClearResult(texture);
    ResourceInfo info;
    const HRESULT hr = CheckTexture1D(desc, data, info);
    return FAILED(hr) ? hr : MakeResource<NullTexture1D>(this, info, *desc, data, texture);
}

HRESULT NullDevice::CreateTexture2D(const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                    ID3D11Texture2D** texture)
{
    m_calls.CountShared(ENullCall::CreateTexture2D);
    ClearResult(texture);
    ResourceInfo info;
    const HRESULT hr = CheckTexture2D(desc, data, info);
    return FAILED(hr) ? hr : MakeResource<NullTexture2D>(this, info, *desc, data, texture);
}

HRESULT NullDevice::CreateTexture3D(const D3D11_TEXTURE3D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                    ID3D11Texture3D** texture)
{
    m_calls.CountShared(ENullCall::CreateTexture3D);
    ClearResult(texture);
    ResourceInfo info;
    const HRESULT hr = CheckTexture3D(desc, data, info);
    return FAILED(hr) ? hr : MakeResource<NullTexture3D>(this, info, *desc, data, texture);
}

HRESULT NullDevice::CreateShaderResourceView(ID3D11Resource* resource, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc,
                                             ID3D11ShaderResourceView** view)
{
    m_calls.CountShared(ENullCall::CreateShaderResourceView);
    return MakeView<NullShaderResourceView>(this, "ID3D11Device::CreateShaderResourceView", resource, desc, view,
                                            CheckShaderResourceView);
}

HRESULT NullDevice::CreateUnorderedAccessView(ID3D11Resource* resource, const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc,
                                              ID3D11UnorderedAccessView** view)
{
    m_calls.CountShared(ENullCall::CreateUnorderedAccessView);
    return MakeView<NullUnorderedAccessView>(this, "ID3D11Device::CreateUnorderedAccessView", resource, desc, view,
                                             CheckUnorderedAccessView);
}

HRESULT NullDevice::CreateRenderTargetView(ID3D11Resource* resource, const D3D11_RENDER_TARGET_VIEW_DESC* desc,
                                           ID3D11RenderTargetView** view)
{
    m_calls.CountShared(ENullCall::CreateRenderTargetView);
    return MakeView<NullRenderTargetView>(this, "ID3D11Device::CreateRenderTargetView", resource, desc, view,
                                          CheckRenderTargetView);
}

HRESULT NullDevice::CreateDepthStencilView(ID3D11Resource* resource, const D3D11_DEPTH_STENCIL_VIEW_DESC* desc,
                                           ID3D11DepthStencilView** view)
{
    m_calls.CountShared(ENullCall::CreateDepthStencilView);
    return MakeView<NullDepthStencilView>(this, "ID3D11Device::CreateDepthStencilView", resource, desc, view,
                                          CheckDepthStencilView);
}

HRESULT NullDevice::CreateInputLayout(const D3D11_INPUT_ELEMENT_DESC* elements, UINT count, const void* code,
                                      SIZE_T size, ID3D11InputLayout** layout)
{
    m_calls.CountShared(ENullCall::CreateInputLayout);
    constexpr const char* call = "ID3D11Device::CreateInputLayout";
    ClearResult(layout);
    return Guarded([&] {
        ShaderModule module;
        if (const HRESULT hr = ParseShader(code, size, module); FAILED(hr)) {
            return Refuse(hr, call, "the %zu bytes are no compiled shader", size);
        }
        if (module.stage != EShaderStage::Vertex) {
            return Refuse(E_INVALIDARG, call, "the shader is no vertex shader");
        }
        std::vector<UINT> offsets;
        const HRESULT hr = CheckInputLayout(elements, count, InputsOf(module), offsets);
        return FAILED(hr) ? hr : Give(new NullInputLayout(this), layout);
    });
}

HRESULT NullDevice::CreateVertexShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                       ID3D11VertexShader** shader)
{
    m_calls.CountShared(ENullCall::CreateVertexShader);
    return MakeShader<NullVertexShader>(this, "ID3D11Device::CreateVertexShader", EShaderStage::Vertex, code, size,
                                        linkage, shader);
}

HRESULT NullDevice::CreateGeometryShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                         ID3D11GeometryShader** shader)
{
    m_calls.CountShared(ENullCall::CreateGeometryShader);
    return MakeShader<NullGeometryShader>(this, "ID3D11Device::CreateGeometryShader", EShaderStage::Geometry, code,
                                          size, linkage, shader);
}

HRESULT NullDevice::CreatePixelShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                      ID3D11PixelShader** shader)
{
    m_calls.CountShared(ENullCall::CreatePixelShader);
    return MakeShader<NullPixelShader>(this, "ID3D11Device::CreatePixelShader", EShaderStage::Pixel, code, size,
                                       linkage, shader);
}

HRESULT NullDevice::CreateHullShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                     ID3D11HullShader** shader)
{
    m_calls.CountShared(ENullCall::CreateHullShader);
    return MakeShader<NullHullShader>(this, "ID3D11Device::CreateHullShader", EShaderStage::Hull, code, size, linkage,
                                      shader);
}

HRESULT NullDevice::CreateDomainShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                       ID3D11DomainShader** shader)
{
    m_calls.CountShared(ENullCall::CreateDomainShader);
    return MakeShader<NullDomainShader>(this, "ID3D11Device::CreateDomainShader", EShaderStage::Domain, code, size,
                                        linkage, shader);
}

HRESULT NullDevice::CreateComputeShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                        ID3D11ComputeShader** shader)
{
    m_calls.CountShared(ENullCall::CreateComputeShader);
    return MakeShader<NullComputeShader>(this, "ID3D11Device::CreateComputeShader", EShaderStage::Compute, code, size,
                                         linkage, shader);
}

HRESULT NullDevice::CreateBlendState(const D3D11_BLEND_DESC* desc, ID3D11BlendState** state)
{
    m_calls.CountShared(ENullCall::CreateBlendState);
    return MakeState(this, m_blendStates, desc, state, CheckBlendState);
}

HRESULT NullDevice::CreateDepthStencilState(const D3D11_DEPTH_STENCIL_DESC* desc, ID3D11DepthStencilState** state)
{
    m_calls.CountShared(ENullCall::CreateDepthStencilState);
    return MakeState(this, m_depthStates, desc, state, CheckDepthStencilState);
}

HRESULT NullDevice::CreateRasterizerState(const D3D11_RASTERIZER_DESC* desc, ID3D11RasterizerState** state)
{
    m_calls.CountShared(ENullCall::CreateRasterizerState);
    return MakeState(this, m_rasterizerStates, desc, state, CheckRasterizerState);
}

HRESULT NullDevice::CreateSamplerState(const D3D11_SAMPLER_DESC* desc, ID3D11SamplerState** state)
{
    m_calls.CountShared(ENullCall::CreateSamplerState);
    return MakeState(this, m_samplerStates, desc, state, CheckSamplerState);
}

HRESULT NullDevice::CreateQuery(const D3D11_QUERY_DESC* desc, ID3D11Query** query)
{
    m_calls.CountShared(ENullCall::CreateQuery);
    ClearResult(query);
    const HRESULT hr = CheckQuery(desc);
    return FAILED(hr) ? hr : Guarded([&] { return Give(new NullQuery(this, *desc), query); });
}

HRESULT NullDevice::CheckFormatSupport(DXGI_FORMAT format, UINT* support)
{
    m_calls.CountShared(ENullCall::CheckFormatSupport);
    if (!support) {
        return Refuse(E_INVALIDARG, "ID3D11Device::CheckFormatSupport", "pFormatSupport is null");
    }
    *support = GetFormatInfo(format).support;
    return *support != 0 ? S_OK : E_FAIL;
}

HRESULT NullDevice::CheckMultisampleQualityLevels(DXGI_FORMAT format, UINT sampleCount, UINT* levels)
{
    m_calls.CountShared(ENullCall::CheckMultisampleQualityLevels);
    constexpr UINT most = 8;
    if (!levels) {
        return Refuse(E_INVALIDARG, "ID3D11Device::CheckMultisampleQualityLevels", "pNumQualityLevels is null");
    }
    *levels = 0;
    if (sampleCount == 0 || sampleCount > D3D11_MAX_MULTISAMPLE_SAMPLE_COUNT) {
        return Refuse(E_FAIL, "ID3D11Device::CheckMultisampleQualityLevels", "SampleCount %u must be from 1 to 32",
                      sampleCount);
    }
    const bool isPower = (sampleCount & (sampleCount - 1)) == 0;
    const bool canDraw = (GetFormatInfo(format).support & D3D11_FORMAT_SUPPORT_MULTISAMPLE_RENDERTARGET) != 0;
    *levels = isPower && canDraw && sampleCount <= most ? 1 : 0;
    return S_OK;
}

HRESULT NullDevice::CheckFeatureSupport(D3D11_FEATURE feature, void* data, UINT size)
{
    m_calls.CountShared(ENullCall::CheckFeatureSupport);
    if (data && feature == D3D11_FEATURE_THREADING && size == sizeof(D3D11_FEATURE_DATA_THREADING)) {
        *static_cast<D3D11_FEATURE_DATA_THREADING*>(data) = {TRUE, FALSE};
        return S_OK;
    }
    if (data && feature == D3D11_FEATURE_DOUBLES && size == sizeof(D3D11_FEATURE_DATA_DOUBLES)) {
        *static_cast<D3D11_FEATURE_DATA_DOUBLES*>(data) = {FALSE};
        return S_OK;
    }
    if (data && feature == D3D11_FEATURE_FORMAT_SUPPORT && size == sizeof(D3D11_FEATURE_DATA_FORMAT_SUPPORT)) {
        auto* formats = static_cast<D3D11_FEATURE_DATA_FORMAT_SUPPORT*>(data);
        formats->OutFormatSupport = GetFormatInfo(formats->InFormat).support;
        return formats->OutFormatSupport != 0 ? S_OK : E_FAIL;
    }
    return Refuse(E_INVALIDARG, "ID3D11Device::CheckFeatureSupport",
                  "feature %d is not supported, or %u is not its size", feature, size);
}

HRESULT NullDevice::GetPrivateData(REFGUID name, UINT* size, void* data)
{
    return m_privateData.Get(name, size, data);
}

HRESULT NullDevice::SetPrivateData(REFGUID name, UINT size, const void* data)
{
    return m_privateData.Set(name, size, data);
}

HRESULT NullDevice::SetPrivateDataInterface(REFGUID name, const IUnknown* object)
{
    return m_privateData.SetInterface(name, object);
}

void NullDevice::GetImmediateContext(ID3D11DeviceContext** context)
{
    m_context->AddRef();
    *context = m_context;
}

HRESULT NullDevice::SetExceptionMode(UINT flags)
{
    if ((flags & ~static_cast<UINT>(D3D11_RAISE_FLAG_DRIVER_INTERNAL_ERROR)) != 0) {
        return Refuse(E_INVALIDARG, "ID3D11Device::SetExceptionMode", "RaiseFlags 0x%x are unknown", flags);
    }
    m_exceptionMode = flags;
    return S_OK;
}

} // namespace gleam
