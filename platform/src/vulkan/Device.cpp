// Creation of everything that a device makes. Published rules are checked first, then Vulkan objects are made; a
// failure of Vulkan becomes a result in one place, VulkanDevice::Create.
#include "vulkan/Device.h"

#include <algorithm>
#include <new>

#include "vulkan/VulkanPresenter.h"

namespace gleam {
namespace {

D3D11_SAMPLER_DESC DefaultSamplerDesc()
{
    D3D11_SAMPLER_DESC desc{};
    desc.Filter = D3D11_FILTER_MIN_MAG_MIP_LINEAR;
    desc.AddressU = desc.AddressV = desc.AddressW = D3D11_TEXTURE_ADDRESS_CLAMP;
    desc.MaxAnisotropy = 1;
    desc.ComparisonFunc = D3D11_COMPARISON_NEVER;
    std::fill(std::begin(desc.BorderColor), std::end(desc.BorderColor), 1.0f);
    desc.MinLOD = -D3D11_FLOAT32_MAX;
    desc.MaxLOD = D3D11_FLOAT32_MAX;
    return desc;
}

} // namespace

VulkanDevice::VulkanDevice(std::shared_ptr<Instance> instance, int vulkanIndex, UINT flags, D3D_FEATURE_LEVEL level)
    : gpu(instance, instance->PhysicalDevices()[static_cast<std::size_t>(vulkanIndex)]), uploads(gpu),
      segments(std::make_shared<QuerySegments>(gpu)), m_flags(flags), m_level(level), m_dxgi(this, vulkanIndex)
{
    m_context = new Context(*this, this);
    m_context->AddUse();
    // The context's own reference on this device goes with its maker's reference.
    m_context->Release();
}

VulkanDevice::~VulkanDevice()
{
    // Nothing of this device may be looked at from here on, so uses by the context and the caches can go.
    if (m_context) {
        m_context->RemoveUse();
    }
    m_blendStates.Clear();
    m_depthStates.Clear();
    m_rasterizerStates.Clear();
    if (m_defaultSampler) {
        m_defaultSampler->RemoveUse();
    }
    m_samplerStates.Clear();
}

SamplerState* VulkanDevice::DefaultSampler()
{
    std::lock_guard lock(m_defaultMutex);
    if (!m_defaultSampler) {
        auto* sampler = new SamplerState(this, gpu, DefaultSamplerDesc());
        sampler->AddUse();
        sampler->Release();
        m_defaultSampler = sampler;
    }
    return m_defaultSampler;
}

HRESULT VulkanDevice::QueryOther(REFIID riid, void** object)
{
    if (!DxgiDevice::Serves(riid)) {
        return E_NOINTERFACE;
    }
    AddRef();
    *object = static_cast<IDXGIDevice1*>(&m_dxgi);
    return S_OK;
}

void VulkanDevice::GetImmediateContext(ID3D11DeviceContext** context)
{
    m_context->AddRef();
    *context = m_context;
}

template <class Interface, class Make>
HRESULT VulkanDevice::Create(const char* call, Interface** out, Make make)
{
    if (out) {
        *out = nullptr;
    }
    if (gpu.IsLost()) {
        return DXGI_ERROR_DEVICE_REMOVED;
    }
    if (!out) {
        return S_FALSE;
    }
    try {
        *out = make();
        return S_OK;
    } catch (const VulkanError& error) {
        return gpu.Report(error, call);
    } catch (const std::bad_alloc&) {
        return Refuse(E_OUTOFMEMORY, call, "out of memory");
    }
}

HRESULT VulkanDevice::CreateBuffer(const D3D11_BUFFER_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                   ID3D11Buffer** buffer)
{
    ResourceInfo info;
    if (const HRESULT result = CheckBuffer(desc, data, info); FAILED(result)) {
        return result;
    }
    return Create("ID3D11Device::CreateBuffer", buffer,
                  [&] { return new Buffer(this, gpu, uploads, *desc, info, data ? data->pSysMem : nullptr); });
}

HRESULT VulkanDevice::CreateTexture1D(const D3D11_TEXTURE1D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                      ID3D11Texture1D** texture)
{
    ResourceInfo info;
    if (const HRESULT result = CheckTexture1D(desc, data, info); FAILED(result)) {
        return result;
    }
    return Create("ID3D11Device::CreateTexture1D", texture,
                  [&] { return new Texture1D(this, gpu, uploads, *desc, info, data); });
}

HRESULT VulkanDevice::CreateTexture2D(const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                      ID3D11Texture2D** texture)
{
    const char* call = "ID3D11Device::CreateTexture2D";
    ResourceInfo info;
    if (const HRESULT result = CheckTexture2D(desc, data, info); FAILED(result)) {
        return result;
    }
    if (info.sampleCount > 1 && !SupportsSamples(GetFormatInfo(info.format), info.sampleCount)) {
        return Refuse(E_INVALIDARG, call, "this device does not draw to %s with %u samples",
                      GetFormatInfo(info.format).name, info.sampleCount);
    }
    return Create(call, texture, [&] { return new Texture2D(this, gpu, uploads, *desc, info, data); });
}

HRESULT VulkanDevice::CreateBackBuffer(const D3D11_TEXTURE2D_DESC& desc, bool swapsRedBlue, Texture2D*& texture)
{
    ResourceInfo info;
    if (const HRESULT result = CheckTexture2D(&desc, nullptr, info); FAILED(result)) {
        return result;
    }
    info.swapsRedBlue = swapsRedBlue;
    return Create("IDXGISwapChain::GetBuffer", &texture,
                  [&] { return new Texture2D(this, gpu, uploads, desc, info, nullptr); });
}

std::unique_ptr<Presenter> VulkanDevice::CreatePresenter(NativeWindow& window)
{
    try {
        return std::make_unique<VulkanPresenter>(*this, *m_context, window);
    } catch (const VulkanError& error) {
        gpu.Report(error, "IDXGIFactory::CreateSwapChain");
        return nullptr;
    }
}

UINT VulkanDevice::MaximumFrameLatency()
{
    UINT latency = 1;
    m_dxgi.GetMaximumFrameLatency(&latency);
    return latency;
}

HRESULT VulkanDevice::CreateTexture3D(const D3D11_TEXTURE3D_DESC* desc, const D3D11_SUBRESOURCE_DATA* data,
                                      ID3D11Texture3D** texture)
{
    ResourceInfo info;
    if (const HRESULT result = CheckTexture3D(desc, data, info); FAILED(result)) {
        return result;
    }
    return Create("ID3D11Device::CreateTexture3D", texture,
                  [&] { return new Texture3D(this, gpu, uploads, *desc, info, data); });
}

HRESULT VulkanDevice::CreateShaderResourceView(ID3D11Resource* object, const D3D11_SHADER_RESOURCE_VIEW_DESC* desc,
                                               ID3D11ShaderResourceView** view)
{
    const char* call = "ID3D11Device::CreateShaderResourceView";
    Resource* resource = ResourceOf(object);
    if (!resource) {
        return Refuse(E_INVALIDARG, call, "no resource is given");
    }
    D3D11_SHADER_RESOURCE_VIEW_DESC full;
    if (const HRESULT result = CheckShaderResourceView(resource->info, desc, full); FAILED(result)) {
        return result;
    }
    return Create(call, view, [&] { return new ShaderResourceView(this, *resource, full); });
}

HRESULT VulkanDevice::CreateUnorderedAccessView(ID3D11Resource* object, const D3D11_UNORDERED_ACCESS_VIEW_DESC* desc,
                                                ID3D11UnorderedAccessView** view)
{
    const char* call = "ID3D11Device::CreateUnorderedAccessView";
    Resource* resource = ResourceOf(object);
    if (!resource) {
        return Refuse(E_INVALIDARG, call, "no resource is given");
    }
    D3D11_UNORDERED_ACCESS_VIEW_DESC full;
    if (const HRESULT result = CheckUnorderedAccessView(resource->info, desc, full); FAILED(result)) {
        return result;
    }
    return Create(call, view, [&] { return new UnorderedAccessView(this, *resource, full); });
}

HRESULT VulkanDevice::CreateRenderTargetView(ID3D11Resource* object, const D3D11_RENDER_TARGET_VIEW_DESC* desc,
                                             ID3D11RenderTargetView** view)
{
    const char* call = "ID3D11Device::CreateRenderTargetView";
    Resource* resource = ResourceOf(object);
    if (!resource) {
        return Refuse(E_INVALIDARG, call, "no resource is given");
    }
    D3D11_RENDER_TARGET_VIEW_DESC full;
    if (const HRESULT result = CheckRenderTargetView(resource->info, desc, full); FAILED(result)) {
        return result;
    }
    return Create(call, view, [&] { return new RenderTargetView(this, *resource, full); });
}

HRESULT VulkanDevice::CreateDepthStencilView(ID3D11Resource* object, const D3D11_DEPTH_STENCIL_VIEW_DESC* desc,
                                             ID3D11DepthStencilView** view)
{
    const char* call = "ID3D11Device::CreateDepthStencilView";
    Resource* resource = ResourceOf(object);
    if (!resource) {
        return Refuse(E_INVALIDARG, call, "no resource is given");
    }
    D3D11_DEPTH_STENCIL_VIEW_DESC full;
    if (const HRESULT result = CheckDepthStencilView(resource->info, desc, full); FAILED(result)) {
        return result;
    }
    return Create(call, view, [&] { return new DepthStencilView(this, *resource, full); });
}

HRESULT VulkanDevice::CreateInputLayout(const D3D11_INPUT_ELEMENT_DESC* elements, UINT count, const void* code,
                                        SIZE_T size, ID3D11InputLayout** layout)
{
    const char* call = "ID3D11Device::CreateInputLayout";
    ShaderModule module;
    if (const HRESULT result = ParseShader(code, size, module); FAILED(result)) {
        return Refuse(result, call, "the bytecode is no compiled shader");
    }
    std::vector<VertexInput> inputs;
    for (const SignatureElement& input : module.inputs) {
        if (input.location != SignatureElement::NoLocation) {
            inputs.push_back({input.semantic.c_str(), input.semanticIndex});
        }
    }
    std::vector<UINT> offsets;
    if (const HRESULT result = CheckInputLayout(elements, count, inputs, offsets); FAILED(result)) {
        return result;
    }
    std::vector<LayoutElement> made;
    for (UINT i = 0; i < count; ++i) {
        const D3D11_INPUT_ELEMENT_DESC& element = elements[i];
        const bool isPerInstance = element.InputSlotClass == D3D11_INPUT_PER_INSTANCE_DATA;
        const VkPhysicalDeviceLimits& limits = gpu.properties.limits;
        if (element.InputSlot >= limits.maxVertexInputBindings || offsets[i] > limits.maxVertexInputAttributeOffset) {
            return Refuse(E_INVALIDARG, call, "slot %u with offset %u is beyond this device's %u slots and %u bytes",
                          element.InputSlot, offsets[i], limits.maxVertexInputBindings,
                          limits.maxVertexInputAttributeOffset);
        }
        if (isPerInstance && element.InstanceDataStepRate != 1 && !gpu.features.instanceDivisor) {
            return Refuse(DXGI_ERROR_UNSUPPORTED, call, "this device steps instance data by 1 only");
        }
        made.push_back({element.SemanticName, element.SemanticIndex,
                        static_cast<VkFormat>(GetFormatInfo(element.Format).vkFormat), element.InputSlot, offsets[i],
                        isPerInstance, element.InstanceDataStepRate});
    }
    return Create(call, layout, [&] { return new InputLayout(this, std::move(made)); });
}

template <class Object, class Interface>
HRESULT VulkanDevice::CreateShader(const char* call, EShaderStage stage, const void* code, SIZE_T size,
                                   ID3D11ClassLinkage* linkage, Interface** out)
{
    if (linkage) {
        return Refuse(E_INVALIDARG, call, "class linkage is not supported");
    }
    ShaderModule module;
    if (const HRESULT result = ParseShader(code, size, module); FAILED(result)) {
        return Refuse(result, call, "the bytecode is no compiled shader");
    }
    if (module.stage != stage) {
        return Refuse(E_INVALIDARG, call, "the bytecode is of another stage");
    }
    const bool isLacking =
        (stage == EShaderStage::Geometry && !gpu.features.geometryShader) ||
        ((stage == EShaderStage::Hull || stage == EShaderStage::Domain) && !gpu.features.tessellationShader);
    if (isLacking) {
        return Refuse(DXGI_ERROR_UNSUPPORTED, call, "this device lacks the stage");
    }
    return Create(call, out, [&] { return new Object(this, gpu, deadShaders, std::move(module)); });
}

HRESULT VulkanDevice::CreateVertexShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                         ID3D11VertexShader** shader)
{
    return CreateShader<VertexShader>("ID3D11Device::CreateVertexShader", EShaderStage::Vertex, code, size, linkage,
                                      shader);
}

HRESULT VulkanDevice::CreateGeometryShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                           ID3D11GeometryShader** shader)
{
    return CreateShader<GeometryShader>("ID3D11Device::CreateGeometryShader", EShaderStage::Geometry, code, size,
                                        linkage, shader);
}

HRESULT VulkanDevice::CreatePixelShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                        ID3D11PixelShader** shader)
{
    return CreateShader<PixelShader>("ID3D11Device::CreatePixelShader", EShaderStage::Pixel, code, size, linkage,
                                     shader);
}

HRESULT VulkanDevice::CreateHullShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                       ID3D11HullShader** shader)
{
    return CreateShader<HullShader>("ID3D11Device::CreateHullShader", EShaderStage::Hull, code, size, linkage, shader);
}

HRESULT VulkanDevice::CreateDomainShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                         ID3D11DomainShader** shader)
{
    return CreateShader<DomainShader>("ID3D11Device::CreateDomainShader", EShaderStage::Domain, code, size, linkage,
                                      shader);
}

HRESULT VulkanDevice::CreateComputeShader(const void* code, SIZE_T size, ID3D11ClassLinkage* linkage,
                                          ID3D11ComputeShader** shader)
{
    return CreateShader<ComputeShader>("ID3D11Device::CreateComputeShader", EShaderStage::Compute, code, size, linkage,
                                       shader);
}

template <class Object, class Desc, class Interface, class Make>
HRESULT VulkanDevice::CreateState(const char* call, StateCache<Desc, Object>& cache, const Desc& full, Interface** out,
                                  Make make)
{
    HRESULT result = S_OK;
    const HRESULT created = Create(call, out, [&]() -> Interface* {
        Object* object = nullptr;
        result = cache.Get(full, object, make);
        return object;
    });
    return created == S_OK ? result : created;
}

HRESULT VulkanDevice::CreateBlendState(const D3D11_BLEND_DESC* desc, ID3D11BlendState** state)
{
    D3D11_BLEND_DESC full;
    if (const HRESULT result = CheckBlendState(desc, full); FAILED(result)) {
        return result;
    }
    return CreateState("ID3D11Device::CreateBlendState", m_blendStates, full, state,
                       [&] { return new BlendState(this, full); });
}

HRESULT VulkanDevice::CreateDepthStencilState(const D3D11_DEPTH_STENCIL_DESC* desc, ID3D11DepthStencilState** state)
{
    D3D11_DEPTH_STENCIL_DESC full;
    if (const HRESULT result = CheckDepthStencilState(desc, full); FAILED(result)) {
        return result;
    }
    return CreateState("ID3D11Device::CreateDepthStencilState", m_depthStates, full, state,
                       [&] { return new DepthStencilState(this, full); });
}

HRESULT VulkanDevice::CreateRasterizerState(const D3D11_RASTERIZER_DESC* desc, ID3D11RasterizerState** state)
{
    D3D11_RASTERIZER_DESC full;
    if (const HRESULT result = CheckRasterizerState(desc, full); FAILED(result)) {
        return result;
    }
    return CreateState("ID3D11Device::CreateRasterizerState", m_rasterizerStates, full, state,
                       [&] { return new RasterizerState(this, full); });
}

HRESULT VulkanDevice::CreateSamplerState(const D3D11_SAMPLER_DESC* desc, ID3D11SamplerState** state)
{
    D3D11_SAMPLER_DESC full;
    if (const HRESULT result = CheckSamplerState(desc, full); FAILED(result)) {
        return result;
    }
    return CreateState("ID3D11Device::CreateSamplerState", m_samplerStates, full, state,
                       [&] { return new SamplerState(this, gpu, full); });
}

HRESULT VulkanDevice::CreateQuery(const D3D11_QUERY_DESC* desc, ID3D11Query** query)
{
    const char* call = "ID3D11Device::CreateQuery";
    if (const HRESULT result = CheckQuery(desc); FAILED(result)) {
        return result;
    }
    const bool isTime = desc->Query == D3D11_QUERY_TIMESTAMP;
    const bool isStatistics = desc->Query == D3D11_QUERY_PIPELINE_STATISTICS;
    if ((isTime && !gpu.features.timestamps) || (isStatistics && !gpu.features.pipelineStatistics)) {
        return Refuse(DXGI_ERROR_UNSUPPORTED, call, "this device lacks the kind of query");
    }
    return Create(call, query, [&] { return new Query(this, segments, *desc); });
}

} // namespace gleam
