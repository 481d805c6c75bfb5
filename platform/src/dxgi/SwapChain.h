// The swap chain: published rules on top of a device's Presenter.
//
// Buffer 0 is one texture for the chain's life between two ResizeBuffers; presenting shows what it holds and leaves it
// there, also where the swap effect would allow to discard it. Other buffers exist by number only.
#pragma once

#include "dxgi/DxgiObject.h"
#include "dxgi/Presenter.h"
#include "window/NativeWindow.h"

namespace gleam {

struct SwapChainOptions
{
    DXGI_SWAP_CHAIN_DESC1 desc{};
    DXGI_SWAP_CHAIN_FULLSCREEN_DESC fullscreen{};
    HWND window = nullptr;
    IDXGIOutput* restrictTo = nullptr;
};

class SwapChain final
    : public DxgiObject<IDXGISwapChain4, IID_IDXGIDeviceSubObject, IID_IDXGISwapChain, IID_IDXGISwapChain1,
                        IID_IDXGISwapChain2, IID_IDXGISwapChain3, IID_IDXGISwapChain4>
{
public:
    /// Checks everything and makes the back buffer; `factory` becomes the parent. `device` is what callers pass: any
    /// interface of a device of this platform.
    static HRESULT Create(const char* call, IUnknown* factory, IUnknown* device, const SwapChainOptions& options,
                          IDXGISwapChain1** swapChain);

    HRESULT STDMETHODCALLTYPE GetDevice(REFIID riid, void** device) override;

    HRESULT STDMETHODCALLTYPE Present(UINT syncInterval, UINT flags) override;
    HRESULT STDMETHODCALLTYPE GetBuffer(UINT buffer, REFIID riid, void** surface) override;
    HRESULT STDMETHODCALLTYPE SetFullscreenState(BOOL fullscreen, IDXGIOutput* target) override;
    HRESULT STDMETHODCALLTYPE GetFullscreenState(BOOL* fullscreen, IDXGIOutput** target) override;
    HRESULT STDMETHODCALLTYPE GetDesc(DXGI_SWAP_CHAIN_DESC* desc) override;
    HRESULT STDMETHODCALLTYPE ResizeBuffers(UINT count, UINT width, UINT height, DXGI_FORMAT format,
                                            UINT flags) override;
    HRESULT STDMETHODCALLTYPE ResizeTarget(const DXGI_MODE_DESC* mode) override;
    HRESULT STDMETHODCALLTYPE GetContainingOutput(IDXGIOutput** output) override;
    HRESULT STDMETHODCALLTYPE GetFrameStatistics(DXGI_FRAME_STATISTICS* statistics) override;
    HRESULT STDMETHODCALLTYPE GetLastPresentCount(UINT* count) override;

    HRESULT STDMETHODCALLTYPE GetDesc1(DXGI_SWAP_CHAIN_DESC1* desc) override;
    HRESULT STDMETHODCALLTYPE GetFullscreenDesc(DXGI_SWAP_CHAIN_FULLSCREEN_DESC* desc) override;
    HRESULT STDMETHODCALLTYPE GetHwnd(HWND* window) override;
    HRESULT STDMETHODCALLTYPE GetCoreWindow(REFIID riid, void** window) override;
    HRESULT STDMETHODCALLTYPE Present1(UINT syncInterval, UINT flags,
                                       const DXGI_PRESENT_PARAMETERS* parameters) override;
    BOOL STDMETHODCALLTYPE IsTemporaryMonoSupported() override { return FALSE; }
    HRESULT STDMETHODCALLTYPE GetRestrictToOutput(IDXGIOutput** output) override;
    HRESULT STDMETHODCALLTYPE SetBackgroundColor(const DXGI_RGBA* color) override;
    HRESULT STDMETHODCALLTYPE GetBackgroundColor(DXGI_RGBA* color) override;
    HRESULT STDMETHODCALLTYPE SetRotation(DXGI_MODE_ROTATION rotation) override;
    HRESULT STDMETHODCALLTYPE GetRotation(DXGI_MODE_ROTATION* rotation) override;

    HRESULT STDMETHODCALLTYPE SetSourceSize(UINT width, UINT height) override;
    HRESULT STDMETHODCALLTYPE GetSourceSize(UINT* width, UINT* height) override;
    HRESULT STDMETHODCALLTYPE SetMaximumFrameLatency(UINT latency) override;
    HRESULT STDMETHODCALLTYPE GetMaximumFrameLatency(UINT* latency) override;
    HANDLE STDMETHODCALLTYPE GetFrameLatencyWaitableObject() override { return nullptr; }
    HRESULT STDMETHODCALLTYPE SetMatrixTransform(const DXGI_MATRIX_3X2_F* matrix) override;
    HRESULT STDMETHODCALLTYPE GetMatrixTransform(DXGI_MATRIX_3X2_F* matrix) override;

    UINT STDMETHODCALLTYPE GetCurrentBackBufferIndex() override;
    HRESULT STDMETHODCALLTYPE CheckColorSpaceSupport(DXGI_COLOR_SPACE_TYPE colorSpace, UINT* support) override;
    HRESULT STDMETHODCALLTYPE SetColorSpace1(DXGI_COLOR_SPACE_TYPE colorSpace) override;
    HRESULT STDMETHODCALLTYPE ResizeBuffers1(UINT count, UINT width, UINT height, DXGI_FORMAT format, UINT flags,
                                             const UINT* nodeMasks, IUnknown* const* presentQueues) override;

    HRESULT STDMETHODCALLTYPE SetHDRMetaData(DXGI_HDR_METADATA_TYPE type, UINT size, void* metadata) override;

private:
    SwapChain(IUnknown* factory, ComPtr<ID3D11Device> device, const SwapChainOptions& options);
    ~SwapChain() override;

    HRESULT Init(const char* call, PresentDevice& device);
    void FillSize(DXGI_SWAP_CHAIN_DESC1& desc) const;
    HRESULT CheckPresent(UINT syncInterval, UINT flags) const;
    bool IsFullscreen() const { return m_isFullscreen && m_window.IsFullscreen(); }
    DXGI_MODE_DESC ModeOfBuffers() const;

    const ComPtr<ID3D11Device> m_device;
    DXGI_SWAP_CHAIN_DESC1 m_desc;
    DXGI_SWAP_CHAIN_FULLSCREEN_DESC m_fullscreenDesc;
    NativeWindow m_window;
    std::unique_ptr<Presenter> m_presenter;
    ComPtr<IDXGIOutput> m_restrictTo;
    ComPtr<IDXGIOutput> m_fullscreenOutput;
    bool m_isFullscreen = false;
    DXGI_RGBA m_background{0, 0, 0, 1};
    UINT m_presentCount = 0;
    long long m_presentTime = 0; ///< nanoseconds of the steady clock
};

} // namespace gleam
