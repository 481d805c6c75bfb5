// DXGI 1.2: flip-model swap chains made for a window, stereo display modes, desktop duplication.
#pragma once

#include "dxgi.h"

enum DXGI_ALPHA_MODE
{
    DXGI_ALPHA_MODE_UNSPECIFIED = 0,
    DXGI_ALPHA_MODE_PREMULTIPLIED = 1,
    DXGI_ALPHA_MODE_STRAIGHT = 2,
    DXGI_ALPHA_MODE_IGNORE = 3,
};

enum DXGI_SCALING
{
    DXGI_SCALING_STRETCH = 0,
    DXGI_SCALING_NONE = 1,
    DXGI_SCALING_ASPECT_RATIO_STRETCH = 2,
};

struct DXGI_MODE_DESC1
{
    UINT Width;
    UINT Height;
    DXGI_RATIONAL RefreshRate;
    DXGI_FORMAT Format;
    DXGI_MODE_SCANLINE_ORDER ScanlineOrdering;
    DXGI_MODE_SCALING Scaling;
    BOOL Stereo;
};

struct DXGI_SWAP_CHAIN_DESC1
{
    UINT Width;
    UINT Height;
    DXGI_FORMAT Format;
    BOOL Stereo;
    DXGI_SAMPLE_DESC SampleDesc;
    DXGI_USAGE BufferUsage;
    UINT BufferCount;
    DXGI_SCALING Scaling;
    DXGI_SWAP_EFFECT SwapEffect;
    DXGI_ALPHA_MODE AlphaMode;
    UINT Flags;
};

struct DXGI_SWAP_CHAIN_FULLSCREEN_DESC
{
    DXGI_RATIONAL RefreshRate;
    DXGI_MODE_SCANLINE_ORDER ScanlineOrdering;
    DXGI_MODE_SCALING Scaling;
    BOOL Windowed;
};

struct DXGI_PRESENT_PARAMETERS
{
    UINT DirtyRectsCount;
    RECT* pDirtyRects;
    RECT* pScrollRect;
    POINT* pScrollOffset;
};

/// Desktop duplication has no implementation here; the name exists for the signatures below.
struct IDXGIOutputDuplication;

DEFINE_GUID(IID_IDXGISwapChain1, 0x790a45f7, 0x0d42, 0x4876, 0x98, 0x3a, 0x0a, 0x55, 0xcf, 0xe6, 0xf4, 0xaa);
struct IDXGISwapChain1 : public IDXGISwapChain
{
    virtual HRESULT STDMETHODCALLTYPE GetDesc1(DXGI_SWAP_CHAIN_DESC1* desc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetFullscreenDesc(DXGI_SWAP_CHAIN_FULLSCREEN_DESC* desc) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetHwnd(HWND* window) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetCoreWindow(REFIID riid, void** window) = 0;
    virtual HRESULT STDMETHODCALLTYPE Present1(UINT syncInterval, UINT flags,
                                               const DXGI_PRESENT_PARAMETERS* parameters) = 0;
    virtual BOOL STDMETHODCALLTYPE IsTemporaryMonoSupported() = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRestrictToOutput(IDXGIOutput** output) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetBackgroundColor(const DXGI_RGBA* color) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetBackgroundColor(DXGI_RGBA* color) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetRotation(DXGI_MODE_ROTATION rotation) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetRotation(DXGI_MODE_ROTATION* rotation) = 0;
};

/// Stereo and occlusion notices are not sent here: their registration gives DXGI_ERROR_UNSUPPORTED.
DEFINE_GUID(IID_IDXGIFactory2, 0x50c83a1c, 0xe072, 0x4c48, 0x87, 0xb0, 0x36, 0x30, 0xfa, 0x36, 0xa6, 0xd0);
struct IDXGIFactory2 : public IDXGIFactory1
{
    virtual BOOL STDMETHODCALLTYPE IsWindowedStereoEnabled() = 0;
    /// The rules of IDXGIFactory::CreateSwapChain; chains for core windows and compositions are
    /// DXGI_ERROR_UNSUPPORTED.
    virtual HRESULT STDMETHODCALLTYPE CreateSwapChainForHwnd(IUnknown* device, HWND window,
                                                             const DXGI_SWAP_CHAIN_DESC1* desc,
                                                             const DXGI_SWAP_CHAIN_FULLSCREEN_DESC* fullscreenDesc,
                                                             IDXGIOutput* restrictToOutput,
                                                             IDXGISwapChain1** swapChain) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateSwapChainForCoreWindow(IUnknown* device, IUnknown* window,
                                                                   const DXGI_SWAP_CHAIN_DESC1* desc,
                                                                   IDXGIOutput* restrictToOutput,
                                                                   IDXGISwapChain1** swapChain) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSharedResourceAdapterLuid(HANDLE resource, LUID* luid) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterStereoStatusWindow(HWND window, UINT message, DWORD* cookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterStereoStatusEvent(HANDLE event, DWORD* cookie) = 0;
    virtual void STDMETHODCALLTYPE UnregisterStereoStatus(DWORD cookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterOcclusionStatusWindow(HWND window, UINT message, DWORD* cookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE RegisterOcclusionStatusEvent(HANDLE event, DWORD* cookie) = 0;
    virtual void STDMETHODCALLTYPE UnregisterOcclusionStatus(DWORD cookie) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateSwapChainForComposition(IUnknown* device, const DXGI_SWAP_CHAIN_DESC1* desc,
                                                                    IDXGIOutput* restrictToOutput,
                                                                    IDXGISwapChain1** swapChain) = 0;
};

DEFINE_GUID(IID_IDXGIOutput1, 0x00cddea8, 0x939b, 0x4b83, 0xa3, 0x40, 0xa6, 0x85, 0x22, 0x66, 0x66, 0xcc);
struct IDXGIOutput1 : public IDXGIOutput
{
    /// The rules of GetDisplayModeList; no mode is a stereo mode.
    virtual HRESULT STDMETHODCALLTYPE GetDisplayModeList1(DXGI_FORMAT format, UINT flags, UINT* count,
                                                          DXGI_MODE_DESC1* modes) = 0;
    virtual HRESULT STDMETHODCALLTYPE FindClosestMatchingMode1(const DXGI_MODE_DESC1* mode, DXGI_MODE_DESC1* closest,
                                                               IUnknown* device) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetDisplaySurfaceData1(IDXGIResource* destination) = 0;
    /// DXGI_ERROR_UNSUPPORTED.
    virtual HRESULT STDMETHODCALLTYPE DuplicateOutput(IUnknown* device, IDXGIOutputDuplication** duplication) = 0;
};
