// DXGI 1.6: an output's colour space and luminance.
#pragma once

#include "dxgi1_5.h"

enum DXGI_HARDWARE_COMPOSITION_SUPPORT_FLAGS
{
    DXGI_HARDWARE_COMPOSITION_SUPPORT_FLAG_FULLSCREEN = 0x1,
    DXGI_HARDWARE_COMPOSITION_SUPPORT_FLAG_WINDOWED = 0x2,
    DXGI_HARDWARE_COMPOSITION_SUPPORT_FLAG_CURSOR_STRETCHED = 0x4,
};

/// Primaries and white point are CIE 1931 chromaticities, luminances are in nits.
struct DXGI_OUTPUT_DESC1
{
    WCHAR DeviceName[32];
    RECT DesktopCoordinates;
    BOOL AttachedToDesktop;
    DXGI_MODE_ROTATION Rotation;
    HMONITOR Monitor;
    UINT BitsPerColor;
    DXGI_COLOR_SPACE_TYPE ColorSpace;
    FLOAT RedPrimary[2];
    FLOAT GreenPrimary[2];
    FLOAT BluePrimary[2];
    FLOAT WhitePoint[2];
    FLOAT MinLuminance;
    FLOAT MaxLuminance;
    FLOAT MaxFullFrameLuminance;
};

DEFINE_GUID(IID_IDXGIOutput6, 0x068346e8, 0xaaec, 0x4b84, 0xad, 0xd7, 0x13, 0x7f, 0x51, 0x3f, 0x77, 0xa1);
struct IDXGIOutput6 : public IDXGIOutput5
{
    /// The colour space is DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709 with its primaries and 0.5 to 270 nits: SDL2 does
    /// not tell a display's own values.
    virtual HRESULT STDMETHODCALLTYPE GetDesc1(DXGI_OUTPUT_DESC1* desc) = 0;
    /// Sets `*flags` to 0.
    virtual HRESULT STDMETHODCALLTYPE CheckHardwareCompositionSupport(UINT* flags) = 0;
};
