// DXGI 1.5: high dynamic range metadata, optional features of a factory.
#pragma once

#include "dxgi1_4.h"

enum DXGI_HDR_METADATA_TYPE
{
    DXGI_HDR_METADATA_TYPE_NONE = 0,
    DXGI_HDR_METADATA_TYPE_HDR10 = 1,
    DXGI_HDR_METADATA_TYPE_HDR10PLUS = 2,
};

/// Chromaticities in units of 0.00002; mastering luminances in units of 0.0001 nit, light levels in nits.
struct DXGI_HDR_METADATA_HDR10
{
    UINT16 RedPrimary[2];
    UINT16 GreenPrimary[2];
    UINT16 BluePrimary[2];
    UINT16 WhitePoint[2];
    UINT MaxMasteringLuminance;
    UINT MinMasteringLuminance;
    UINT16 MaxContentLightLevel;
    UINT16 MaxFrameAverageLightLevel;
};

struct DXGI_HDR_METADATA_HDR10PLUS
{
    BYTE Data[72];
};

enum DXGI_FEATURE
{
    DXGI_FEATURE_PRESENT_ALLOW_TEARING = 0,
};

enum DXGI_OUTDUPL_FLAG
{
    DXGI_OUTDUPL_COMPOSITED_UI_CAPTURE_ONLY = 1,
};

DEFINE_GUID(IID_IDXGIOutput5, 0x80a07424, 0xab52, 0x42eb, 0x83, 0x3c, 0x0c, 0x42, 0xfd, 0x28, 0x2d, 0x98);
struct IDXGIOutput5 : public IDXGIOutput4
{
    /// DXGI_ERROR_UNSUPPORTED.
    virtual HRESULT STDMETHODCALLTYPE DuplicateOutput1(IUnknown* device, UINT flags, UINT formatCount,
                                                       const DXGI_FORMAT* formats,
                                                       IDXGIOutputDuplication** duplication) = 0;
};

DEFINE_GUID(IID_IDXGISwapChain4, 0x3d585d5a, 0xbd4a, 0x489e, 0xb1, 0xf4, 0x3d, 0xbc, 0xb6, 0x45, 0x2f, 0xfb);
struct IDXGISwapChain4 : public IDXGISwapChain3
{
    /// Handed to the display where Vulkan can; E_INVALIDARG for HDR10+ or another size than the record's.
    virtual HRESULT STDMETHODCALLTYPE SetHDRMetaData(DXGI_HDR_METADATA_TYPE type, UINT size, void* metadata) = 0;
};

DEFINE_GUID(IID_IDXGIFactory5, 0x7632e1f5, 0xee65, 0x4dca, 0x87, 0xfd, 0x84, 0xcd, 0x75, 0xf8, 0x83, 0x8d);
struct IDXGIFactory5 : public IDXGIFactory4
{
    /// DXGI_FEATURE_PRESENT_ALLOW_TEARING fills a BOOL with TRUE; DXGI_ERROR_INVALID_CALL for another feature or a size
    /// other than a BOOL's.
    virtual HRESULT STDMETHODCALLTYPE CheckFeatureSupport(DXGI_FEATURE feature, void* data, UINT size) = 0;
};
