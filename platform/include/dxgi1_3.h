// DXGI 1.3: frame latency of swap chains, overlays of outputs, factories with creation flags.
#pragma once

#include "dxgi1_2.h"

#define DXGI_CREATE_FACTORY_DEBUG 0x1u

enum DXGI_OVERLAY_SUPPORT_FLAG
{
    DXGI_OVERLAY_SUPPORT_FLAG_DIRECT = 0x1,
    DXGI_OVERLAY_SUPPORT_FLAG_SCALING = 0x2,
};

struct DXGI_MATRIX_3X2_F
{
    FLOAT _11, _12;
    FLOAT _21, _22;
    FLOAT _31, _32;
};

DEFINE_GUID(IID_IDXGISwapChain2, 0xa8be2ac4, 0x199f, 0x4946, 0xb3, 0x31, 0x79, 0x59, 0x9f, 0xb9, 0x8d, 0xe7);
struct IDXGISwapChain2 : public IDXGISwapChain1
{
    /// Only the size of the buffers. Latency objects and transforms are for chains that do not exist here:
    /// DXGI_ERROR_INVALID_CALL, and a null object.
    virtual HRESULT STDMETHODCALLTYPE SetSourceSize(UINT width, UINT height) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSourceSize(UINT* width, UINT* height) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetMaximumFrameLatency(UINT latency) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMaximumFrameLatency(UINT* latency) = 0;
    virtual HANDLE STDMETHODCALLTYPE GetFrameLatencyWaitableObject() = 0;
    virtual HRESULT STDMETHODCALLTYPE SetMatrixTransform(const DXGI_MATRIX_3X2_F* matrix) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetMatrixTransform(DXGI_MATRIX_3X2_F* matrix) = 0;
};

DEFINE_GUID(IID_IDXGIOutput2, 0x595e39d1, 0x2724, 0x4663, 0x99, 0xb1, 0xda, 0x96, 0x9d, 0xe2, 0x83, 0x64);
struct IDXGIOutput2 : public IDXGIOutput1
{
    /// FALSE: planes are the compositor's here.
    virtual BOOL STDMETHODCALLTYPE SupportsOverlays() = 0;
};

DEFINE_GUID(IID_IDXGIOutput3, 0x8a6bb301, 0x7e7e, 0x41f4, 0xa8, 0xe0, 0x5b, 0x32, 0xf7, 0xf9, 0x9b, 0x18);
struct IDXGIOutput3 : public IDXGIOutput2
{
    /// Sets `*flags` to 0: no overlay for any format.
    virtual HRESULT STDMETHODCALLTYPE CheckOverlaySupport(DXGI_FORMAT format, IUnknown* device, UINT* flags) = 0;
};

DEFINE_GUID(IID_IDXGIFactory3, 0x25483823, 0xcd46, 0x4c7d, 0x86, 0xca, 0x47, 0xaa, 0x95, 0xb8, 0x37, 0xbd);
struct IDXGIFactory3 : public IDXGIFactory2
{
    virtual UINT STDMETHODCALLTYPE GetCreationFlags() = 0;
};

extern "C" {

/// As CreateDXGIFactory1; `flags` is 0 or DXGI_CREATE_FACTORY_DEBUG, anything else is DXGI_ERROR_INVALID_CALL.
GLEAM_PLATFORM_API HRESULT WINAPI CreateDXGIFactory2(UINT flags, REFIID riid, void** factory);
}
