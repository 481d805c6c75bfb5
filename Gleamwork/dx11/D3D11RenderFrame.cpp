// Life, resizing and presenting of the frame with a window.
#include "Gleamwork/dx11/D3D11RenderFrame.h"

#include "Gleamwork/GWDataLoader.h"
#include "Gleamwork/GWFS.h"
#include "Gleamwork/RenderTargetManager.h"
#include "Gleamwork/Renderer.h"
#include "Gleamwork/Window.h"
#include "Gleamwork/dx11/D3D11API.h"
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/Released.h"

#include <qs/Profile.h>
#include <qs/Settings.h>

#include <dxgi1_6.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RenderFrame";

} // namespace

D3D11RenderFrame::D3D11RenderFrame(D3D11APIData* data, gw::Renderer* renderer, const gw::RenderFrameDesc& desc,
                                   gw::EFormat backBuffer, gw::EFormat depth)
    : gw::RenderFrame(renderer, desc, backBuffer, depth, nullptr), apiData(data),
      verticalSync(GraphicSettings->verticalSync != 0), tripleBuffering(GraphicSettings->tripleBuffering != 0)
{
    if (gw2DX11::Format(depth) == DXGI_FORMAT_UNKNOWN) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11RenderFrame::D3D11RenderFrame", "Invalid format for depth buffer!");
    } else if (const qs::ObjectHandle* target =
                   m_renderTargetManager->AddResizingDepthRenderTarget(GWFS::strDepthBuffer, depth, 1.0f, false, 1)) {
        m_depthBuffer = *target;
    }
    // Rec. 2020 primaries and D65; 0.0001 to 1000 nits.
    hdrMetadata = {{35400, 14600}, {8500, 39850}, {6550, 2300}, {15635, 16450}, 10000000, 1, 0, 0};
    if (m_desc.type == gw::RenderFrameDesc::eType_Default) {
        if (const qs::ObjectHandle* target = m_renderTargetManager->AddResizingRenderTarget(
                GWFS::strFakeFullScreenFrameBuffer, backBuffer, 1.0f, false, false, 1)) {
            m_fakeFullScreenBackBuffer = *target;
        }
    }
    CreateFrameBufferSurfaces(0, 0);
}

D3D11RenderFrame::~D3D11RenderFrame()
{
    m_renderTargetManager->RemoveRenderTarget(GWFS::strDepthBuffer);
    if (m_desc.type == gw::RenderFrameDesc::eType_Default) {
        m_renderTargetManager->RemoveRenderTarget(GWFS::strFakeFullScreenFrameBuffer);
    }
    ReleaseFrameBufferSurfaces();
}

void D3D11RenderFrame::SetProperties(bool fullscreen, unsigned refreshNumerator, unsigned refreshDenominator,
                                     bool newVerticalSync, bool newTripleBuffering)
{
    m_desc.fullscreen = fullscreen;
    m_desc.refreshNumerator = refreshNumerator;
    m_desc.refreshDenominator = refreshDenominator;
    verticalSync = newVerticalSync;
    tripleBuffering = newTripleBuffering;
}

HWND__* D3D11RenderFrame::GetNativeWindow() const
{
    return m_desc.window ? m_desc.window->GetNativeHandle() : nullptr;
}

void D3D11RenderFrame::ResizeChain(unsigned width, unsigned height)
{
    if (swapChain) {
        swapChain->ResizeBuffers(0, width, height, DXGI_FORMAT_UNKNOWN, swapChainFlags);
    }
}

// The order is fixed: the chain cannot be resized while a reference to its back buffer exists.
bool D3D11RenderFrame::Resize(unsigned width, unsigned height, bool leaveFullscreen, unsigned outputWidth,
                              unsigned outputHeight)
{
    const unsigned chainWidth = outputWidth != 0 ? outputWidth : width;
    const unsigned chainHeight = outputHeight != 0 ? outputHeight : height;
    ReleaseFrameBufferTextures();
    ResizeTargetIfNeeded(chainWidth, chainHeight);
    SetFullscreen(leaveFullscreen ? 0 : m_desc.fullscreen);
    const bool isResized = gw::RenderFrame::Resize(width, height, leaveFullscreen, outputWidth, outputHeight);
    m_renderTargetManager->SetSize(width, height, false);
    ResizeChain(chainWidth, chainHeight);
    return CreateFrameBufferTextures() && isResized;
}

void D3D11RenderFrame::ResizeTargetIfNeeded(unsigned width, unsigned height)
{
    if (!swapChain || !m_desc.fullscreen) {
        return;
    }
    BOOL isFullscreen = FALSE;
    if (SUCCEEDED(swapChain->GetFullscreenState(&isFullscreen, nullptr)) && isFullscreen) {
        return;
    }
    DXGI_SWAP_CHAIN_DESC desc = {};
    if (FAILED(swapChain->GetDesc(&desc))) {
        return;
    }
    const DXGI_RATIONAL& rate = desc.BufferDesc.RefreshRate;
    if (desc.BufferDesc.Width == width && desc.BufferDesc.Height == height &&
        rate.Numerator == m_desc.refreshNumerator && rate.Denominator == m_desc.refreshDenominator) {
        return;
    }
    ResizeChain(width, height);
    DXGI_MODE_DESC mode = desc.BufferDesc;
    mode.Width = width;
    mode.Height = height;
    mode.RefreshRate = {m_desc.refreshNumerator, m_desc.refreshDenominator};
    swapChain->ResizeTarget(&mode);
}

void D3D11RenderFrame::SetFullscreen(int state)
{
    if (!swapChain) {
        return;
    }
    BOOL current = FALSE;
    Released<IDXGIOutput> output;
    if (FAILED(swapChain->GetFullscreenState(&current, output.Address()))) {
        current = FALSE;
    }
    if ((current != FALSE) != (state != 0)) {
        swapChain->SetFullscreenState(state, nullptr);
    }
}

void D3D11RenderFrame::FlipBuffers(bool present)
{
    qs::HProfileSample sample("api::D3D11RenderFrame::FlipBuffers");
    if (!present || !swapChain) {
        return;
    }
    const UINT interval = m_desc.type == gw::RenderFrameDesc::eType_Default && verticalSync ? 1 : 0;
    const bool mayTear = tearingSupported && interval == 0 && !m_desc.fullscreen;
    const HRESULT hr = swapChain->Present(interval, mayTear ? DXGI_PRESENT_ALLOW_TEARING : 0);
    if (hr == DXGI_ERROR_DEVICE_REMOVED || hr == DXGI_ERROR_DEVICE_RESET) {
        HandleDeviceRemoved(hr, "IDXGISwapChain::Present");
    } else if (FAILED(hr)) {
        QS_LOG_FATAL_ASSERT(FILE_NAME, "api::D3D11RenderFrame::FlipBuffers",
                            "IDXGISwapChain::Present failed!\nError: %s\nDescription : %s", GetErrorName(hr),
                            GetErrorDescription(hr));
    }
}

} // namespace api
