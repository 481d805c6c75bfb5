// Making, presenting and resizing swap chains. What they only tell stands in SwapChainState.cpp.
#include "dxgi/SwapChain.h"

#include <chrono>
#include <cmath>
#include <new>
#include <thread>

#include "common/Validation.h"
#include "dxgi/SwapChainDesc.h"

namespace gleam {
namespace {

using Clock = std::chrono::steady_clock;

constexpr UINT MostIntervals = 4;
constexpr UINT KnownPresentFlags = DXGI_PRESENT_TEST | DXGI_PRESENT_DO_NOT_SEQUENCE | DXGI_PRESENT_RESTART |
                                   DXGI_PRESENT_DO_NOT_WAIT | DXGI_PRESENT_RESTRICT_TO_OUTPUT |
                                   DXGI_PRESENT_ALLOW_TEARING;

long long NowNanoseconds()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now().time_since_epoch()).count();
}

} // namespace

void PresentPacer::Wait(UINT interval, UINT refreshRate)
{
    const long long period = 1'000'000'000ll / refreshRate * interval;
    const long long now = NowNanoseconds();
    // A late frame does not make the next ones hurry.
    m_last = std::max(m_last + period, now);
    std::this_thread::sleep_for(std::chrono::nanoseconds(m_last - now));
}

HRESULT SwapChain::Create(const char* call, IUnknown* factory, IUnknown* device, const SwapChainOptions& options,
                          IDXGISwapChain1** swapChain)
{
    ComPtr<ID3D11Device> published;
    if (FAILED(device->QueryInterface(IID_ID3D11Device, published.PutVoid()))) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "pDevice is no Direct3D 11 device");
    }
    auto* own = dynamic_cast<PresentDevice*>(published.Get());
    if (!own) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "the device is not of this platform");
    }
    try {
        const auto chain = ComPtr<SwapChain>::Adopt(new SwapChain(factory, std::move(published), options));
        const HRESULT hr = chain->Init(call, *own);
        if (SUCCEEDED(hr)) {
            chain->AddRef();
            *swapChain = chain.Get();
        }
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

SwapChain::SwapChain(IUnknown* factory, ComPtr<ID3D11Device> device, const SwapChainOptions& options)
    : DxgiObject(factory), m_device(std::move(device)), m_desc(options.desc), m_fullscreenDesc(options.fullscreen),
      m_window(options.window), m_restrictTo(options.restrictTo)
{
}

SwapChain::~SwapChain() = default;

HRESULT SwapChain::Init(const char* call, PresentDevice& device)
{
    if (!m_window.IsAlive()) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "the window is no SDL2 window of this process");
    }
    if (const HRESULT hr = CheckSwapChain(call, *m_device, m_desc); FAILED(hr)) {
        return hr;
    }
    FillSize(m_desc);
    m_presenter = device.CreatePresenter(m_window);
    if (!m_presenter) {
        const HRESULT reason = m_device->GetDeviceRemovedReason();
        return FAILED(reason) ? reason : E_FAIL;
    }
    if (const HRESULT hr = m_presenter->CreateBackBuffer(BackBufferDesc(m_desc)); FAILED(hr)) {
        return hr;
    }
    return m_fullscreenDesc.Windowed ? S_OK : SetFullscreenState(TRUE, nullptr);
}

/// 0 asks for the window's size, which a minimised window does not have.
void SwapChain::FillSize(DXGI_SWAP_CHAIN_DESC1& desc) const
{
    UINT width = 0;
    UINT height = 0;
    m_window.GetSize(width, height);
    desc.Width = desc.Width != 0 ? desc.Width : std::max(width, 1u);
    desc.Height = desc.Height != 0 ? desc.Height : std::max(height, 1u);
}

HRESULT SwapChain::GetDevice(REFIID riid, void** device)
{
    return m_device->QueryInterface(riid, device);
}

HRESULT SwapChain::CheckPresent(UINT syncInterval, UINT flags) const
{
    constexpr const char* call = "IDXGISwapChain::Present";
    if (syncInterval > MostIntervals) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "SyncInterval %u is above %u", syncInterval, MostIntervals);
    }
    if ((flags & ~KnownPresentFlags) != 0) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "Flags 0x%x has a bit that is not supported", flags);
    }
    if ((flags & DXGI_PRESENT_ALLOW_TEARING) == 0) {
        return S_OK;
    }
    if (syncInterval != 0 || (m_desc.Flags & DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING) == 0 || IsFullscreen()) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call,
                      "DXGI_PRESENT_ALLOW_TEARING needs interval 0, a chain made with tearing, and no full screen");
    }
    return S_OK;
}

HRESULT SwapChain::Present(UINT syncInterval, UINT flags)
{
    if (const HRESULT hr = CheckPresent(syncInterval, flags); FAILED(hr)) {
        return hr;
    }
    if ((flags & DXGI_PRESENT_TEST) != 0) {
        return m_presenter->TestPresent();
    }
    PresentRequest request;
    request.syncInterval = syncInterval;
    request.allowTearing = (flags & DXGI_PRESENT_ALLOW_TEARING) != 0;
    request.doNotWait = (flags & DXGI_PRESENT_DO_NOT_WAIT) != 0;
    request.scaling = m_desc.Scaling;
    request.background = m_background;
    const HRESULT hr = m_presenter->Present(request);
    if (SUCCEEDED(hr)) {
        ++m_presentCount;
        m_presentTime = NowNanoseconds();
        if (IsFlipModel(m_desc.SwapEffect)) {
            m_presenter->UnbindBackBuffer();
        }
    }
    return hr;
}

HRESULT SwapChain::Present1(UINT syncInterval, UINT flags, const DXGI_PRESENT_PARAMETERS* parameters)
{
    if (!parameters || (parameters->DirtyRectsCount != 0 && !parameters->pDirtyRects)) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGISwapChain1::Present1", "the parameters are null or incomplete");
    }
    // The whole picture is shown, which holds the rectangles that changed.
    return Present(syncInterval, flags);
}

HRESULT SwapChain::GetBuffer(UINT buffer, REFIID riid, void** surface)
{
    constexpr const char* call = "IDXGISwapChain::GetBuffer";
    if (!surface) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "ppSurface is null");
    }
    *surface = nullptr;
    if (buffer != 0) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "Buffer %u: only buffer 0 can be reached", buffer);
    }
    if (!m_presenter->BackBuffer()) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "the last ResizeBuffers left the chain without a buffer");
    }
    return m_presenter->BackBuffer()->QueryInterface(riid, surface);
}

HRESULT SwapChain::ResizeBuffers(UINT count, UINT width, UINT height, DXGI_FORMAT format, UINT flags)
{
    constexpr const char* call = "IDXGISwapChain::ResizeBuffers";
    DXGI_SWAP_CHAIN_DESC1 next = m_desc;
    next.BufferCount = count != 0 ? count : m_desc.BufferCount;
    next.Width = width;
    next.Height = height;
    next.Format = format != DXGI_FORMAT_UNKNOWN ? format : m_desc.Format;
    next.Flags = flags;
    if (((flags ^ m_desc.Flags) & DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING) != 0) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "DXGI_SWAP_CHAIN_FLAG_ALLOW_TEARING is settled at creation");
    }
    if (const HRESULT hr = CheckSwapChain(call, *m_device, next); FAILED(hr)) {
        return hr;
    }
    FillSize(next);
    if (next.Width > D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION || next.Height > D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "%u by %u is above %u", next.Width, next.Height,
                      D3D11_REQ_TEXTURE2D_U_OR_V_DIMENSION);
    }
    if (!m_presenter->DropBackBuffer()) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "a reference to the back buffer or to a view of it is still held");
    }
    m_desc = next;
    m_presenter->WindowChanged();
    return m_presenter->CreateBackBuffer(BackBufferDesc(m_desc));
}

HRESULT SwapChain::ResizeBuffers1(UINT count, UINT width, UINT height, DXGI_FORMAT format, UINT flags,
                                  const UINT* nodeMasks, IUnknown* const* presentQueues)
{
    if (nodeMasks || presentQueues) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGISwapChain3::ResizeBuffers1",
                      "node masks and queues are not for Direct3D 11");
    }
    return ResizeBuffers(count, width, height, format, flags);
}

DXGI_MODE_DESC SwapChain::ModeOfBuffers() const
{
    return {m_desc.Width,
            m_desc.Height,
            m_fullscreenDesc.RefreshRate,
            m_desc.Format,
            m_fullscreenDesc.ScanlineOrdering,
            m_fullscreenDesc.Scaling};
}

HRESULT SwapChain::ResizeTarget(const DXGI_MODE_DESC* mode)
{
    constexpr const char* call = "IDXGISwapChain::ResizeTarget";
    if (!mode || (mode->Width == 0) != (mode->Height == 0)) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "the mode is null or has only one of width and height");
    }
    if (!m_window.IsAlive()) {
        return Refuse(DXGI_ERROR_NOT_CURRENTLY_AVAILABLE, call, "the window is gone");
    }
    m_fullscreenDesc.RefreshRate = mode->RefreshRate;
    m_fullscreenDesc.ScanlineOrdering = mode->ScanlineOrdering;
    m_fullscreenDesc.Scaling = mode->Scaling;
    if (IsFullscreen()) {
        if ((m_desc.Flags & DXGI_SWAP_CHAIN_FLAG_ALLOW_MODE_SWITCH) != 0 && !m_window.SetMode(*mode)) {
            return Refuse(DXGI_ERROR_NOT_CURRENTLY_AVAILABLE, call, "the display refuses the mode");
        }
    } else if (mode->Width != 0) {
        m_window.SetSize(mode->Width, mode->Height);
    }
    m_presenter->WindowChanged();
    return S_OK;
}

HRESULT SwapChain::SetFullscreenState(BOOL fullscreen, IDXGIOutput* target)
{
    constexpr const char* call = "IDXGISwapChain::SetFullscreenState";
    if (!fullscreen && target) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "an output goes with full screen only");
    }
    if ((fullscreen != FALSE) == IsFullscreen() && !target) {
        return S_OK;
    }
    ComPtr<IDXGIOutput> output(target ? target : m_restrictTo.Get());
    int display = -1;
    DXGI_OUTPUT_DESC desc{};
    if (output && SUCCEEDED(output->GetDesc(&desc))) {
        display = static_cast<int>(reinterpret_cast<INT_PTR>(desc.Monitor)) - 1;
    }
    if (fullscreen && !output) {
        GetContainingOutput(output.Put());
    }
    const DXGI_MODE_DESC mode = ModeOfBuffers();
    const bool switches = (m_desc.Flags & DXGI_SWAP_CHAIN_FLAG_ALLOW_MODE_SWITCH) != 0;
    if (!m_window.SetFullscreen(fullscreen != FALSE, switches ? &mode : nullptr, display)) {
        return Refuse(DXGI_ERROR_NOT_CURRENTLY_AVAILABLE, call, "the window system refuses");
    }
    m_isFullscreen = fullscreen != FALSE;
    m_fullscreenDesc.Windowed = !fullscreen;
    m_fullscreenOutput = fullscreen ? output : nullptr;
    m_presenter->WindowChanged();
    return S_OK;
}

} // namespace gleam
