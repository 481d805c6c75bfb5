// High dynamic range: the frame follows the output that shows most of its window.
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11RenderFrame.h"
#include "Gleamwork/dx11/Released.h"

#include <algorithm>
#include <cstddef>
#include <dxgi1_6.h>
#include <windows.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RenderFrameDisplay";
constexpr char CHECK_SUPPORT[] = "api::D3D11RenderFrame::CheckDisplayHDRSupport";
constexpr DXGI_COLOR_SPACE_TYPE STANDARD = DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709;
constexpr DXGI_COLOR_SPACE_TYPE HDR10 = DXGI_COLOR_SPACE_RGB_FULL_G2084_NONE_P2020;

static_assert(sizeof(HdrMetadata) == sizeof(DXGI_HDR_METADATA_HDR10) && sizeof(HdrMetadata) == 28 &&
              offsetof(HdrMetadata, MaxMasteringLuminance) == offsetof(DXGI_HDR_METADATA_HDR10, MaxMasteringLuminance));

std::int64_t SharedArea(const RECT& a, const RECT& b)
{
    const std::int64_t width = std::int64_t(std::min(a.right, b.right)) - std::max(a.left, b.left);
    const std::int64_t height = std::int64_t(std::min(a.bottom, b.bottom)) - std::max(a.top, b.top);
    return std::max<std::int64_t>(width, 0) * std::max<std::int64_t>(height, 0);
}

void StopHDR(IDXGISwapChain4& chain)
{
    chain.SetColorSpace1(STANDARD);
    chain.SetHDRMetaData(DXGI_HDR_METADATA_TYPE_NONE, 0, nullptr);
}

/// Picks the output of the largest share; the first of equals. False when one cannot be asked.
bool PickOutput(IDXGIAdapter1* adapter, const RECT& window, Released<IDXGIOutput>& best)
{
    std::int64_t bestArea = -1;
    for (UINT i = 0;; ++i) {
        Released<IDXGIOutput> output;
        if (FAILED(adapter->EnumOutputs(i, output.Address()))) {
            return true;
        }
        DXGI_OUTPUT_DESC desc = {};
        const HRESULT hr = output->GetDesc(&desc);
        if (FAILED(hr)) {
            GW_LOG_DEVICE_ERROR(FILE_NAME, CHECK_SUPPORT, "IDXGIOutput::GetDesc Failed!\nError: %s\nDescription: %s",
                                hr);
            return false;
        }
        const std::int64_t area = SharedArea(window, desc.DesktopCoordinates);
        if (area > bestArea) {
            bestArea = area;
            best.Swap(output);
        }
    }
}

bool ReadColorSpace(IDXGIOutput* output, DXGI_COLOR_SPACE_TYPE& colorSpace)
{
    Released<IDXGIOutput6> output6;
    if (!output || FAILED(output->QueryInterface(IID_IDXGIOutput6, output6.VoidAddress()))) {
        return false;
    }
    DXGI_OUTPUT_DESC1 desc = {};
    const HRESULT hr = output6->GetDesc1(&desc);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, CHECK_SUPPORT, "IDXGIOutput6::GetDesc1 Failed!\nError: %s\nDescription: %s", hr);
        return false;
    }
    colorSpace = desc.ColorSpace;
    return true;
}

} // namespace

bool D3D11RenderFrame::CheckDisplayHDRSupport(bool force)
{
    if (!m_desc.hdr) {
        return true;
    }
    Released<IDXGIFactory2> factory;
    HRESULT hr = CreateDXGIFactory1(IID_IDXGIFactory2, factory.VoidAddress());
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, CHECK_SUPPORT, "CreateDXGIFactory Failed!\nError: %s\nDescription: %s", hr);
        ResetHDR();
        return false;
    }
    Released<IDXGIAdapter1> adapter;
    hr = factory->EnumAdapters1(0, adapter.Address());
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, CHECK_SUPPORT, "EnumAdapters1 Failed!\nError: %s\nDescription: %s", hr);
        ResetHDR();
        return false;
    }
    RECT window = {};
    GetWindowRect(GetNativeWindow(), &window);
    Released<IDXGIOutput> output;
    DXGI_COLOR_SPACE_TYPE colorSpace = STANDARD;
    if (!PickOutput(adapter.Get(), window, output) || !ReadColorSpace(output.Get(), colorSpace)) {
        SetHDR(false, true);
        return false;
    }
    SetHDR(colorSpace == HDR10, force);
    return true;
}

void D3D11RenderFrame::ResetHDR()
{
    Released<IDXGISwapChain4> chain;
    if (swapChain && SUCCEEDED(swapChain->QueryInterface(IID_IDXGISwapChain4, chain.VoidAddress()))) {
        StopHDR(*chain.Get());
    }
    m_desc.hdrActive = false;
}

bool D3D11RenderFrame::StartHDR(IDXGISwapChain4& chain)
{
    UINT support = 0;
    return SUCCEEDED(chain.CheckColorSpaceSupport(HDR10, &support)) &&
           (support & DXGI_SWAP_CHAIN_COLOR_SPACE_SUPPORT_FLAG_PRESENT) != 0 &&
           SUCCEEDED(chain.SetColorSpace1(HDR10)) &&
           SUCCEEDED(chain.SetHDRMetaData(DXGI_HDR_METADATA_TYPE_HDR10, sizeof(hdrMetadata), &hdrMetadata));
}

void D3D11RenderFrame::SetHDR(bool enable, bool force)
{
    Released<IDXGISwapChain4> chain;
    if (!m_desc.hdr || (enable == m_desc.hdrActive && !force) || !swapChain ||
        FAILED(swapChain->QueryInterface(IID_IDXGISwapChain4, chain.VoidAddress()))) {
        return;
    }
    m_desc.hdrActive = enable && StartHDR(*chain.Get());
    if (!m_desc.hdrActive) {
        StopHDR(*chain.Get());
    }
}

} // namespace api
