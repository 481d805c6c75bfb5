// Swap chains and back buffers of the frame with a window.
#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/Renderer.h"
#include "Gleamwork/dx11/D3D11API.h"
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11RenderFrame.h"
#include "Gleamwork/dx11/D3D11Structs.h"
#include "Gleamwork/dx11/Released.h"
#include "Gleamwork/dx11/SystemVersion.h"

#include <qs/Log.h>

#include <d3d11.h>
#include <dxgi1_6.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RenderFrameSurfaces";
constexpr UINT BUFFER_USAGE = DXGI_USAGE_SHADER_INPUT | DXGI_USAGE_RENDER_TARGET_OUTPUT;
constexpr DWORD RETRY_MILLISECONDS = 1000;

/// The factory that the device comes from, as one of its interfaces.
HRESULT FindFactory(ID3D11Device* device, Released<IDXGIAdapter>& adapter)
{
    Released<IDXGIDevice> dxgi;
    const HRESULT hr = device->QueryInterface(IID_IDXGIDevice, dxgi.VoidAddress());
    return FAILED(hr) ? hr : dxgi->GetParent(IID_IDXGIAdapter, adapter.VoidAddress());
}

} // namespace

/// Down to a count that the device can; 0 when it has no multisampling.
void D3D11RenderFrame::ReduceSampleCount()
{
    const DXGI_FORMAT format = gw2DX11::Format(m_backBufferFormat);
    while (m_desc.sampleCount != 0) {
        UINT levels = 0;
        if (SUCCEEDED(apiData->device->CheckMultisampleQualityLevels(format, m_desc.sampleCount, &levels)) &&
            levels > 0) {
            return;
        }
        m_desc.sampleCount = m_desc.sampleCount > 2 ? std::uint16_t(m_desc.sampleCount - 2) : std::uint16_t(0);
    }
}

bool D3D11RenderFrame::CreateFrameBufferSurfaces(unsigned width, unsigned height)
{
    if (gw2DX11::Format(m_backBufferFormat) == DXGI_FORMAT_UNKNOWN) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11RenderFrame::CreateFrameBufferSurfaces", "Invalid format for back buffer!");
    }
    ReduceSampleCount();
    width = width != 0 ? width : m_desc.width;
    height = height != 0 ? height : m_desc.height;
    const HRESULT hr = HRESULT(CreateSwapChain(width, height));
    if (FAILED(hr)) {
        if (hr == DXGI_ERROR_DEVICE_REMOVED || hr == DXGI_ERROR_DEVICE_RESET) {
            HandleDeviceRemoved(hr, "IDXGIFactory::CreateSwapChain");
        } else {
            HandleSwapChainFailure(hr, width, height);
        }
        return false;
    }
    if (m_desc.fullscreen) {
        SetFullscreen(1);
        ResizeChain(width, height);
    }
    ForbidWindowChanges();
    return CreateFrameBufferTextures();
}

/// The window and the key for full screen are the application's.
void D3D11RenderFrame::ForbidWindowChanges()
{
    Released<IDXGIFactory> factory;
    if (SUCCEEDED(swapChain->GetParent(IID_IDXGIFactory, factory.VoidAddress()))) {
        factory->MakeWindowAssociation(GetNativeWindow(), DXGI_MWA_NO_WINDOW_CHANGES | DXGI_MWA_NO_ALT_ENTER);
    }
}

DXGI_SWAP_CHAIN_DESC1 D3D11RenderFrame::DescribeFlipChain(unsigned width, unsigned height) const
{
    DXGI_SWAP_CHAIN_DESC1 desc = {};
    desc.Width = width;
    desc.Height = height;
    desc.Format = gw2DX11::Format(m_backBufferFormat);
    desc.Stereo = FALSE;
    desc.SampleDesc = {m_desc.sampleCount, 0};
    desc.BufferUsage = BUFFER_USAGE;
    desc.BufferCount = tripleBuffering ? 3 : 2;
    desc.SwapEffect =
        apiData->dxgiVersion < eDxgiVersion_1_4 ? DXGI_SWAP_EFFECT_FLIP_SEQUENTIAL : DXGI_SWAP_EFFECT_FLIP_DISCARD;
    desc.Flags = swapChainFlags;
    return desc;
}

long D3D11RenderFrame::CreateSwapChain(unsigned width, unsigned height)
{
    if (!IsSystemAtLeast(6, 1, 1)) {
        return CreateSwapChainCompatibility(width, height);
    }
    Released<IDXGIAdapter> adapter;
    HRESULT hr = FindFactory(apiData->device, adapter);
    if (FAILED(hr)) {
        return hr;
    }
    Released<IDXGIFactory2> factory;
    if (FAILED(adapter->GetParent(IID_IDXGIFactory2, factory.VoidAddress()))) {
        return CreateSwapChainCompatibility(width, height);
    }
    CheckTearingSupport();
    swapChainFlags = DXGI_SWAP_CHAIN_FLAG_ALLOW_MODE_SWITCH;
    if (tearingSupported) {
        swapChainFlags |= DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING;
    }
    const DXGI_SWAP_CHAIN_DESC1 desc = DescribeFlipChain(width, height);
    DXGI_SWAP_CHAIN_FULLSCREEN_DESC fullscreenDesc = {};
    fullscreenDesc.RefreshRate = {m_desc.refreshNumerator, m_desc.refreshDenominator};
    fullscreenDesc.Windowed = TRUE; // full screen is entered afterwards
    Released<IDXGISwapChain1> chain;
    for (int attempt = 0; attempt < 2; ++attempt) {
        hr = factory->CreateSwapChainForHwnd(apiData->device, GetNativeWindow(), &desc, &fullscreenDesc, nullptr,
                                             chain.Address());
        if (hr != E_ACCESSDENIED || attempt == 1) {
            break;
        }
        Sleep(RETRY_MILLISECONDS); // another chain may still be on its way off this window
    }
    if (FAILED(hr)) {
        return hr;
    }
    swapChain = chain.Take();
    CheckDisplayHDRSupport(true);
    m_frameBufferCount = std::uint8_t(desc.BufferCount);
    return hr;
}

long D3D11RenderFrame::CreateSwapChainCompatibility(unsigned width, unsigned height)
{
    Released<IDXGIAdapter> adapter;
    HRESULT hr = FindFactory(apiData->device, adapter);
    Released<IDXGIFactory1> factory;
    hr = FAILED(hr) ? hr : adapter->GetParent(IID_IDXGIFactory1, factory.VoidAddress());
    if (FAILED(hr)) {
        return hr;
    }
    swapChainFlags = DXGI_SWAP_CHAIN_FLAG_ALLOW_MODE_SWITCH;
    DXGI_SWAP_CHAIN_DESC desc = {};
    desc.BufferDesc.Width = width;
    desc.BufferDesc.Height = height;
    desc.BufferDesc.RefreshRate = {m_desc.refreshNumerator, m_desc.refreshDenominator};
    desc.BufferDesc.Format = gw2DX11::Format(m_backBufferFormat);
    desc.SampleDesc = {m_desc.sampleCount, 0};
    desc.BufferUsage = BUFFER_USAGE;
    desc.BufferCount = 1u + tripleBuffering + m_desc.fullscreen;
    desc.OutputWindow = GetNativeWindow();
    desc.Windowed = TRUE;
    desc.SwapEffect = DXGI_SWAP_EFFECT_DISCARD;
    desc.Flags = swapChainFlags;
    Released<IDXGISwapChain> chain;
    hr = factory->CreateSwapChain(apiData->device, &desc, chain.Address());
    if (SUCCEEDED(hr)) {
        swapChain = chain.Take();
        m_frameBufferCount = std::uint8_t(desc.BufferCount);
    }
    return hr;
}

void D3D11RenderFrame::CheckTearingSupport()
{
    tearingSupported = false;
    if (apiData->dxgiVersion < eDxgiVersion_1_4) {
        return;
    }
    Released<IDXGIFactory4> factory;
    Released<IDXGIFactory5> factory5;
    BOOL isSupported = FALSE;
    tearingSupported = SUCCEEDED(CreateDXGIFactory1(IID_IDXGIFactory4, factory.VoidAddress())) &&
                       SUCCEEDED(factory->QueryInterface(IID_IDXGIFactory5, factory5.VoidAddress())) &&
                       SUCCEEDED(factory5->CheckFeatureSupport(DXGI_FEATURE_PRESENT_ALLOW_TEARING, &isSupported,
                                                               sizeof(isSupported))) &&
                       isSupported;
}

bool D3D11RenderFrame::CreateFrameBufferTextures()
{
    if (!swapChain) {
        return false;
    }
    DXGI_SWAP_CHAIN_DESC desc = {};
    Released<ID3D11Texture2D> buffer;
    Released<ID3D11RenderTargetView> target;
    Released<ID3D11ShaderResourceView> view;
    if (FAILED(swapChain->GetDesc(&desc)) ||
        FAILED(swapChain->GetBuffer(0, IID_ID3D11Texture2D, buffer.VoidAddress())) ||
        FAILED(apiData->device->CreateRenderTargetView(buffer.Get(), nullptr, target.Address())) ||
        FAILED(apiData->device->CreateShaderResourceView(buffer.Get(), nullptr, view.Address()))) {
        return false;
    }
    const DxgiFormat format = DxgiFormat(gw2DX11::Format(m_backBufferFormat));
    Texture texture;
    texture.resource = buffer.Take();
    texture.rtv = target.Take();
    texture.textureFormat = texture.rtvFormat = texture.dsvFormat = texture.uavFormat = format;
    texture.format = m_backBufferFormat;
    texture.usage = gw::ETextureUsageFlag(gw::eTextureUsageFlag_ShaderResource | gw::eTextureUsageFlag_RenderTarget);
    texture.msaaSamples = m_desc.sampleCount;
    texture.width = desc.BufferDesc.Width;
    texture.height = desc.BufferDesc.Height;
    m_frameBuffers[0] = m_renderer->AddExternalTexture(texture);
    SRV srv;
    srv.views = NewViews<ID3D11ShaderResourceView>(1);
    srv.views[0] = view.Take();
    m_renderer->AddSRV(srv, m_frameBuffers[0]);
    return true;
}

// The device references go at once, since a resize follows that none of them may outlive. The record goes with the
// relaxed queue, as every texture's does.
void D3D11RenderFrame::ReleaseFrameBufferTextures()
{
    for (qs::ObjectHandle& handle : m_frameBuffers) {
        if (handle.IsValid()) {
            m_renderer->RemoveTexture(handle, false, true);
            gw::DataLoader::InvokeRemoveTexture(handle, true);
            handle = qs::ObjectHandle::Unassigned;
        }
    }
}

bool D3D11RenderFrame::ReleaseFrameBufferSurfaces()
{
    SetFullscreen(0);
    ReleaseFrameBufferTextures();
    if (swapChain) {
        DXGI_SWAP_CHAIN_DESC desc = {};
        if (SUCCEEDED(swapChain->GetDesc(&desc))) {
            ResizeChain(desc.BufferDesc.Width, desc.BufferDesc.Height);
        }
        ReleaseObject(swapChain);
    }
    m_frameBufferCount = 0;
    m_renderer->GPUWait(gw::eSyncType_ClearState, qs::ObjectHandle::Unassigned, nullptr, 0, 0);
    return true;
}

} // namespace api
