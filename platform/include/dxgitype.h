// Display modes, colours and gamma records of DXGI.
#pragma once

#include "dxgicommon.h"
#include "dxgiformat.h"

#define DXGI_CPU_ACCESS_NONE 0
#define DXGI_CPU_ACCESS_DYNAMIC 1
#define DXGI_CPU_ACCESS_READ_WRITE 2
#define DXGI_CPU_ACCESS_SCRATCH 3
#define DXGI_CPU_ACCESS_FIELD 15

using DXGI_USAGE = UINT;
#define DXGI_USAGE_SHADER_INPUT 0x10u
#define DXGI_USAGE_RENDER_TARGET_OUTPUT 0x20u
#define DXGI_USAGE_BACK_BUFFER 0x40u
#define DXGI_USAGE_SHARED 0x80u
#define DXGI_USAGE_READ_ONLY 0x100u
#define DXGI_USAGE_DISCARD_ON_PRESENT 0x200u
#define DXGI_USAGE_UNORDERED_ACCESS 0x400u

enum DXGI_MODE_ROTATION
{
    DXGI_MODE_ROTATION_UNSPECIFIED = 0,
    DXGI_MODE_ROTATION_IDENTITY = 1,
    DXGI_MODE_ROTATION_ROTATE90 = 2,
    DXGI_MODE_ROTATION_ROTATE180 = 3,
    DXGI_MODE_ROTATION_ROTATE270 = 4,
};

enum DXGI_MODE_SCANLINE_ORDER
{
    DXGI_MODE_SCANLINE_ORDER_UNSPECIFIED = 0,
    DXGI_MODE_SCANLINE_ORDER_PROGRESSIVE = 1,
    DXGI_MODE_SCANLINE_ORDER_UPPER_FIELD_FIRST = 2,
    DXGI_MODE_SCANLINE_ORDER_LOWER_FIELD_FIRST = 3,
};

enum DXGI_MODE_SCALING
{
    DXGI_MODE_SCALING_UNSPECIFIED = 0,
    DXGI_MODE_SCALING_CENTERED = 1,
    DXGI_MODE_SCALING_STRETCHED = 2,
};

/// A display mode: size in pixels, refresh rate in Hz as a fraction.
struct DXGI_MODE_DESC
{
    UINT Width;
    UINT Height;
    DXGI_RATIONAL RefreshRate;
    DXGI_FORMAT Format;
    DXGI_MODE_SCANLINE_ORDER ScanlineOrdering;
    DXGI_MODE_SCALING Scaling;
};

struct D3DCOLORVALUE
{
    float r;
    float g;
    float b;
    float a;
};
using DXGI_RGBA = D3DCOLORVALUE;

struct DXGI_RGB
{
    float Red;
    float Green;
    float Blue;
};

struct DXGI_GAMMA_CONTROL
{
    DXGI_RGB Scale;
    DXGI_RGB Offset;
    DXGI_RGB GammaCurve[1025];
};

struct DXGI_GAMMA_CONTROL_CAPABILITIES
{
    BOOL ScaleAndOffsetSupported;
    float MaxConvertedValue;
    float MinConvertedValue;
    UINT NumGammaControlPoints;
    float ControlPointPositions[1025];
};
