// What swap chains tell, and settings that come into effect at the next Present.
#include <windows.h>

#include "common/Validation.h"
#include "dxgi/SwapChain.h"
#include "dxgi/SwapChainDesc.h"

namespace gleam {
namespace {

HRESULT RefuseNull(const char* call)
{
    return Refuse(DXGI_ERROR_INVALID_CALL, call, "the place for the result is null");
}

HRESULT RefuseComposition(const char* call)
{
    return Refuse(DXGI_ERROR_INVALID_CALL, call, "is for composition and waitable chains only");
}

LONG Overlap(LONG from, LONG to, LONG otherFrom, LONG otherTo)
{
    return std::max<LONG>(std::min(to, otherTo) - std::max(from, otherFrom), 0);
}

std::int64_t SharedArea(const RECT& a, const RECT& b)
{
    return std::int64_t(Overlap(a.left, a.right, b.left, b.right)) * Overlap(a.top, a.bottom, b.top, b.bottom);
}

} // namespace

HRESULT SwapChain::GetFullscreenState(BOOL* fullscreen, IDXGIOutput** target)
{
    if (fullscreen) {
        *fullscreen = IsFullscreen();
    }
    if (target) {
        *target = IsFullscreen() ? ComPtr(m_fullscreenOutput).Detach() : nullptr;
    }
    return S_OK;
}

HRESULT SwapChain::GetDesc(DXGI_SWAP_CHAIN_DESC* desc)
{
    if (!desc) {
        return RefuseNull("IDXGISwapChain::GetDesc");
    }
    desc->BufferDesc = ModeOfBuffers();
    desc->SampleDesc = m_desc.SampleDesc;
    desc->BufferUsage = m_desc.BufferUsage;
    desc->BufferCount = m_desc.BufferCount;
    desc->OutputWindow = m_window.Handle();
    desc->Windowed = !IsFullscreen();
    desc->SwapEffect = m_desc.SwapEffect;
    desc->Flags = m_desc.Flags;
    return S_OK;
}

HRESULT SwapChain::GetDesc1(DXGI_SWAP_CHAIN_DESC1* desc)
{
    if (!desc) {
        return RefuseNull("IDXGISwapChain1::GetDesc1");
    }
    *desc = m_desc;
    return S_OK;
}

HRESULT SwapChain::GetFullscreenDesc(DXGI_SWAP_CHAIN_FULLSCREEN_DESC* desc)
{
    if (!desc) {
        return RefuseNull("IDXGISwapChain1::GetFullscreenDesc");
    }
    *desc = m_fullscreenDesc;
    desc->Windowed = !IsFullscreen();
    return S_OK;
}

HRESULT SwapChain::GetHwnd(HWND* window)
{
    if (!window) {
        return RefuseNull("IDXGISwapChain1::GetHwnd");
    }
    *window = m_window.Handle();
    return S_OK;
}

HRESULT SwapChain::GetCoreWindow(REFIID, void** window)
{
    if (window) {
        *window = nullptr;
    }
    return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGISwapChain1::GetCoreWindow", "the chain is on a window handle");
}

HRESULT SwapChain::GetContainingOutput(IDXGIOutput** output)
{
    if (!output) {
        return RefuseNull("IDXGISwapChain::GetContainingOutput");
    }
    *output = nullptr;
    RECT window{};
    ComPtr<IDXGIFactory1> factory;
    ComPtr<IDXGIAdapter1> adapter;
    if (!m_window.IsAlive() || !GetWindowRect(m_window.Handle(), &window) ||
        FAILED(GetParent(IID_IDXGIFactory1, factory.PutVoid())) || FAILED(factory->EnumAdapters1(0, adapter.Put()))) {
        return DXGI_ERROR_NOT_CURRENTLY_AVAILABLE;
    }
    ComPtr<IDXGIOutput> best;
    ComPtr<IDXGIOutput> candidate;
    std::int64_t bestArea = -1;
    for (UINT i = 0; adapter->EnumOutputs(i, candidate.Put()) == S_OK; ++i) {
        DXGI_OUTPUT_DESC desc;
        if (SUCCEEDED(candidate->GetDesc(&desc)) && SharedArea(window, desc.DesktopCoordinates) > bestArea) {
            bestArea = SharedArea(window, desc.DesktopCoordinates);
            best = candidate;
        }
    }
    *output = best.Detach();
    return *output ? S_OK : DXGI_ERROR_NOT_CURRENTLY_AVAILABLE;
}

HRESULT SwapChain::GetRestrictToOutput(IDXGIOutput** output)
{
    if (!output) {
        return RefuseNull("IDXGISwapChain1::GetRestrictToOutput");
    }
    *output = ComPtr(m_restrictTo).Detach();
    return S_OK;
}

HRESULT SwapChain::GetFrameStatistics(DXGI_FRAME_STATISTICS* statistics)
{
    if (!statistics) {
        return RefuseNull("IDXGISwapChain::GetFrameStatistics");
    }
    *statistics = {};
    statistics->PresentCount = m_presentCount;
    statistics->SyncQPCTime.QuadPart = m_presentTime;
    const long long period = 1'000'000'000ll / m_window.RefreshRate();
    statistics->PresentRefreshCount = static_cast<UINT>(m_presentTime / period);
    statistics->SyncRefreshCount = statistics->PresentRefreshCount;
    return S_OK;
}

HRESULT SwapChain::GetLastPresentCount(UINT* count)
{
    if (!count) {
        return RefuseNull("IDXGISwapChain::GetLastPresentCount");
    }
    *count = m_presentCount;
    return S_OK;
}

HRESULT SwapChain::SetBackgroundColor(const DXGI_RGBA* color)
{
    if (!color) {
        return RefuseNull("IDXGISwapChain1::SetBackgroundColor");
    }
    m_background = *color;
    return S_OK;
}

HRESULT SwapChain::GetBackgroundColor(DXGI_RGBA* color)
{
    if (!color) {
        return RefuseNull("IDXGISwapChain1::GetBackgroundColor");
    }
    *color = m_background;
    return S_OK;
}

HRESULT SwapChain::SetRotation(DXGI_MODE_ROTATION rotation)
{
    if (rotation != DXGI_MODE_ROTATION_IDENTITY) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGISwapChain1::SetRotation", "rotation %d is not supported",
                      rotation);
    }
    return S_OK;
}

HRESULT SwapChain::GetRotation(DXGI_MODE_ROTATION* rotation)
{
    if (!rotation) {
        return RefuseNull("IDXGISwapChain1::GetRotation");
    }
    *rotation = DXGI_MODE_ROTATION_IDENTITY;
    return S_OK;
}

HRESULT SwapChain::SetSourceSize(UINT width, UINT height)
{
    if (width != m_desc.Width || height != m_desc.Height) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGISwapChain2::SetSourceSize",
                      "%u by %u is not the size of the buffers, and parts of them cannot be presented", width, height);
    }
    return S_OK;
}

HRESULT SwapChain::GetSourceSize(UINT* width, UINT* height)
{
    if (!width || !height) {
        return RefuseNull("IDXGISwapChain2::GetSourceSize");
    }
    *width = m_desc.Width;
    *height = m_desc.Height;
    return S_OK;
}

HRESULT SwapChain::SetMaximumFrameLatency(UINT)
{
    return RefuseComposition("IDXGISwapChain2::SetMaximumFrameLatency");
}

HRESULT SwapChain::GetMaximumFrameLatency(UINT*)
{
    return RefuseComposition("IDXGISwapChain2::GetMaximumFrameLatency");
}

HRESULT SwapChain::SetMatrixTransform(const DXGI_MATRIX_3X2_F*)
{
    return RefuseComposition("IDXGISwapChain2::SetMatrixTransform");
}

HRESULT SwapChain::GetMatrixTransform(DXGI_MATRIX_3X2_F*)
{
    return RefuseComposition("IDXGISwapChain2::GetMatrixTransform");
}

UINT SwapChain::GetCurrentBackBufferIndex()
{
    return IsFlipModel(m_desc.SwapEffect) ? m_presentCount % m_desc.BufferCount : 0;
}

HRESULT SwapChain::CheckColorSpaceSupport(DXGI_COLOR_SPACE_TYPE colorSpace, UINT* support)
{
    if (!support) {
        return RefuseNull("IDXGISwapChain3::CheckColorSpaceSupport");
    }
    *support = 0;
    if (m_presenter->CanShow(colorSpace)) {
        *support |= DXGI_SWAP_CHAIN_COLOR_SPACE_SUPPORT_FLAG_PRESENT;
    }
    return S_OK;
}

HRESULT SwapChain::SetColorSpace1(DXGI_COLOR_SPACE_TYPE colorSpace)
{
    if (!m_presenter->CanShow(colorSpace)) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGISwapChain3::SetColorSpace1",
                      "colour space %d cannot be shown on this window", colorSpace);
    }
    m_presenter->SetColorSpace(colorSpace);
    return S_OK;
}

HRESULT SwapChain::SetHDRMetaData(DXGI_HDR_METADATA_TYPE type, UINT size, void* metadata)
{
    constexpr const char* call = "IDXGISwapChain4::SetHDRMetaData";
    if (type == DXGI_HDR_METADATA_TYPE_NONE) {
        m_presenter->SetHdrMetadata(nullptr);
        return S_OK;
    }
    if (type != DXGI_HDR_METADATA_TYPE_HDR10 || size != sizeof(DXGI_HDR_METADATA_HDR10) || !metadata) {
        return Refuse(E_INVALIDARG, call, "type %d with %u bytes is not supported", type, size);
    }
    m_presenter->SetHdrMetadata(static_cast<const DXGI_HDR_METADATA_HDR10*>(metadata));
    return S_OK;
}

} // namespace gleam
