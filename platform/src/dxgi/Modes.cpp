// Display modes: lists and the search.
#include "dxgi/Modes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "common/Validation.h"

namespace gleam {
namespace {

constexpr DXGI_FORMAT DesktopFormat = DXGI_FORMAT_B8G8R8A8_UNORM;

bool IsDisplayFormat(DXGI_FORMAT format)
{
    return (GetFormatInfo(format).support & D3D11_FORMAT_SUPPORT_DISPLAY) != 0;
}

DXGI_MODE_DESC1 MakeMode(const DisplayModeInfo& mode, DXGI_FORMAT format, DXGI_MODE_SCALING scaling)
{
    return {mode.width, mode.height, {mode.refreshRate, 1}, format, DXGI_MODE_SCANLINE_ORDER_PROGRESSIVE,
            scaling,    FALSE};
}

double RateOf(const DXGI_RATIONAL& rate)
{
    return rate.Denominator != 0 ? static_cast<double>(rate.Numerator) / rate.Denominator : 0.0;
}

/// Keeps the modes whose distance is the smallest.
template <class Distance>
void KeepClosest(std::vector<DXGI_MODE_DESC1>& modes, Distance distance)
{
    double best = std::numeric_limits<double>::infinity();
    for (const DXGI_MODE_DESC1& mode : modes) {
        best = std::min(best, distance(mode));
    }
    std::erase_if(modes, [&](const DXGI_MODE_DESC1& mode) { return distance(mode) > best; });
}

/// The fields that are matched one after the other, in this order.
enum EField
{
    eField_Scanline,
    eField_Scaling,
    eField_Format,
    eField_Resolution,
    eField_RefreshRate,
    eField_Count
};

bool IsGiven(const DXGI_MODE_DESC1& mode, int field)
{
    switch (field) {
    case eField_Scanline:
        return mode.ScanlineOrdering != DXGI_MODE_SCANLINE_ORDER_UNSPECIFIED;
    case eField_Scaling:
        return mode.Scaling != DXGI_MODE_SCALING_UNSPECIFIED;
    case eField_Format:
        return mode.Format != DXGI_FORMAT_UNKNOWN;
    case eField_Resolution:
        return mode.Width != 0;
    default:
        return mode.RefreshRate.Numerator != 0;
    }
}

double DistanceOf(const DXGI_MODE_DESC1& mode, const DXGI_MODE_DESC1& target, int field)
{
    switch (field) {
    case eField_Scanline:
        return mode.ScanlineOrdering == target.ScanlineOrdering ? 0 : 1;
    case eField_Scaling:
        return mode.Scaling == target.Scaling ? 0 : 1;
    case eField_Format:
        return mode.Format == target.Format ? 0 : 1;
    case eField_Resolution:
        return std::abs(static_cast<double>(mode.Width) - target.Width) +
               std::abs(static_cast<double>(mode.Height) - target.Height);
    default:
        return std::abs(RateOf(mode.RefreshRate) - RateOf(target.RefreshRate));
    }
}

HRESULT CheckWanted(const DXGI_MODE_DESC1* wanted, const DXGI_MODE_DESC1* closest, bool hasDevice)
{
    constexpr const char* call = "IDXGIOutput::FindClosestMatchingMode";
    if (!wanted || !closest) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "the mode to match or the result is null");
    }
    if ((wanted->Width == 0) != (wanted->Height == 0)) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "Width %u and Height %u must both be 0 or neither", wanted->Width,
                      wanted->Height);
    }
    if ((wanted->RefreshRate.Numerator == 0) != (wanted->RefreshRate.Denominator == 0)) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "RefreshRate %u/%u must have both parts 0 or neither",
                      wanted->RefreshRate.Numerator, wanted->RefreshRate.Denominator);
    }
    if (wanted->Format == DXGI_FORMAT_UNKNOWN && !hasDevice) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "Format may be DXGI_FORMAT_UNKNOWN only with a device");
    }
    return S_OK;
}

} // namespace

std::vector<DXGI_MODE_DESC1> ListModes(const DisplayInfo& display, DXGI_FORMAT format, UINT flags)
{
    std::vector<DXGI_MODE_DESC1> modes;
    if (!IsDisplayFormat(format)) {
        return modes;
    }
    for (const DisplayModeInfo& mode : display.modes) {
        modes.push_back(MakeMode(mode, format, DXGI_MODE_SCALING_UNSPECIFIED));
        const bool isSmaller = mode.width < display.current.width || mode.height < display.current.height;
        if ((flags & DXGI_ENUM_MODES_SCALING) != 0 && isSmaller) {
            modes.push_back(MakeMode(mode, format, DXGI_MODE_SCALING_CENTERED));
            modes.push_back(MakeMode(mode, format, DXGI_MODE_SCALING_STRETCHED));
        }
    }
    return modes;
}

HRESULT FindClosestMode(const DisplayInfo& display, const DXGI_MODE_DESC1* wanted, DXGI_MODE_DESC1* closest,
                        bool hasDevice)
{
    if (const HRESULT hr = CheckWanted(wanted, closest, hasDevice); FAILED(hr)) {
        return hr;
    }
    const DXGI_FORMAT format = wanted->Format != DXGI_FORMAT_UNKNOWN ? wanted->Format : DesktopFormat;
    std::vector<DXGI_MODE_DESC1> modes = ListModes(display, format, DXGI_ENUM_MODES_SCALING);
    if (modes.empty()) {
        return Refuse(DXGI_ERROR_NOT_FOUND, "IDXGIOutput::FindClosestMatchingMode", "no mode has format %s",
                      GetFormatInfo(format).name);
    }
    // Given fields filter before free ones, and free ones tend to the desktop's values.
    const DXGI_MODE_DESC1 desktop = MakeMode(display.current, DesktopFormat, DXGI_MODE_SCALING_UNSPECIFIED);
    for (const bool given : {true, false}) {
        for (int field = 0; field < eField_Count; ++field) {
            if (IsGiven(*wanted, field) == given) {
                const DXGI_MODE_DESC1& target = given ? *wanted : desktop;
                KeepClosest(modes, [&](const DXGI_MODE_DESC1& mode) { return DistanceOf(mode, target, field); });
            }
        }
    }
    *closest = modes.front();
    return S_OK;
}

} // namespace gleam
