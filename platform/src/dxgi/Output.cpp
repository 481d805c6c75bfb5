// Outputs over the list of displays that their factory took.
#include "dxgi/Output.h"

#include <algorithm>
#include <chrono>
#include <cwchar>
#include <thread>

#include "common/Validation.h"
#include "dxgi/Modes.h"

namespace gleam {
namespace {

HRESULT Unsupported(const char* call)
{
    return Refuse(DXGI_ERROR_UNSUPPORTED, call, "is not supported");
}

/// The two-call pattern of both mode lists.
template <class Mode, class Convert>
HRESULT GiveModes(const std::vector<DXGI_MODE_DESC1>& list, UINT* count, Mode* modes, Convert convert)
{
    if (!count) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGIOutput::GetDisplayModeList", "pNumModes is null");
    }
    const UINT all = static_cast<UINT>(list.size());
    if (!modes) {
        *count = all;
        return S_OK;
    }
    const UINT room = *count;
    *count = std::min(room, all);
    std::transform(list.begin(), list.begin() + *count, modes, convert);
    return room < all ? DXGI_ERROR_MORE_DATA : S_OK;
}

DXGI_MODE_DESC WithoutStereo(const DXGI_MODE_DESC1& mode)
{
    return {mode.Width, mode.Height, mode.RefreshRate, mode.Format, mode.ScanlineOrdering, mode.Scaling};
}

/// Sets a result that is always 0.
HRESULT GiveNone(const char* call, UINT* flags)
{
    if (!flags) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "pFlags is null");
    }
    *flags = 0;
    return S_OK;
}

} // namespace

Output::Output(IUnknown* adapter, UINT index, DisplayInfo display)
    : DxgiObject(adapter), m_index(index), m_display(std::move(display))
{
}

HRESULT Output::GetDesc(DXGI_OUTPUT_DESC* desc)
{
    if (!desc) {
        return E_INVALIDARG;
    }
    *desc = {};
    std::swprintf(desc->DeviceName, std::size(desc->DeviceName), L"\\\\.\\DISPLAY%u", m_index + 1);
    desc->DesktopCoordinates = m_display.desktop;
    desc->AttachedToDesktop = TRUE;
    desc->Rotation = DXGI_MODE_ROTATION_IDENTITY;
    desc->Monitor = reinterpret_cast<HMONITOR>(static_cast<INT_PTR>(m_display.sdlIndex + 1));
    return S_OK;
}

HRESULT Output::GetDisplayModeList(DXGI_FORMAT format, UINT flags, UINT* count, DXGI_MODE_DESC* modes)
{
    return GiveModes(ListModes(m_display, format, flags), count, modes, WithoutStereo);
}

HRESULT Output::GetDisplayModeList1(DXGI_FORMAT format, UINT flags, UINT* count, DXGI_MODE_DESC1* modes)
{
    return GiveModes(ListModes(m_display, format, flags), count, modes, [](const DXGI_MODE_DESC1& m) { return m; });
}

HRESULT Output::FindClosestMatchingMode(const DXGI_MODE_DESC* mode, DXGI_MODE_DESC* closest, IUnknown* device)
{
    DXGI_MODE_DESC1 wanted{};
    if (mode) {
        wanted = {mode->Width,   mode->Height, mode->RefreshRate, mode->Format, mode->ScanlineOrdering,
                  mode->Scaling, FALSE};
    }
    DXGI_MODE_DESC1 found{};
    const HRESULT hr = FindClosestMode(m_display, mode ? &wanted : nullptr, closest ? &found : nullptr, device);
    if (SUCCEEDED(hr)) {
        *closest = WithoutStereo(found);
    }
    return hr;
}

HRESULT Output::FindClosestMatchingMode1(const DXGI_MODE_DESC1* mode, DXGI_MODE_DESC1* closest, IUnknown* device)
{
    return FindClosestMode(m_display, mode, closest, device);
}

HRESULT Output::WaitForVBlank()
{
    using Clock = std::chrono::steady_clock;
    const auto period = std::chrono::nanoseconds(std::chrono::seconds(1)) / m_display.current.refreshRate;
    const auto now = Clock::now().time_since_epoch();
    std::this_thread::sleep_for(period - now % period);
    return S_OK;
}

HRESULT Output::TakeOwnership(IUnknown* device, BOOL exclusive)
{
    return Unsupported("IDXGIOutput::TakeOwnership");
}

HRESULT Output::GetGammaControlCapabilities(DXGI_GAMMA_CONTROL_CAPABILITIES* caps)
{
    if (!caps) {
        return E_INVALIDARG;
    }
    *caps = {};
    return S_OK;
}

HRESULT Output::SetGammaControl(const DXGI_GAMMA_CONTROL* control)
{
    return Unsupported("IDXGIOutput::SetGammaControl");
}

HRESULT Output::GetGammaControl(DXGI_GAMMA_CONTROL* control)
{
    return Unsupported("IDXGIOutput::GetGammaControl");
}

HRESULT Output::SetDisplaySurface(IDXGISurface* surface)
{
    return Unsupported("IDXGIOutput::SetDisplaySurface");
}

HRESULT Output::GetDisplaySurfaceData(IDXGISurface* destination)
{
    return Unsupported("IDXGIOutput::GetDisplaySurfaceData");
}

HRESULT Output::GetDisplaySurfaceData1(IDXGIResource* destination)
{
    return Unsupported("IDXGIOutput1::GetDisplaySurfaceData1");
}

HRESULT Output::GetFrameStatistics(DXGI_FRAME_STATISTICS* statistics)
{
    return Unsupported("IDXGIOutput::GetFrameStatistics");
}

HRESULT Output::DuplicateOutput(IUnknown* device, IDXGIOutputDuplication** duplication)
{
    if (duplication) {
        *duplication = nullptr;
    }
    return Unsupported("IDXGIOutput1::DuplicateOutput");
}

HRESULT Output::DuplicateOutput1(IUnknown* device, UINT flags, UINT formatCount, const DXGI_FORMAT* formats,
                                 IDXGIOutputDuplication** duplication)
{
    if (duplication) {
        *duplication = nullptr;
    }
    return Unsupported("IDXGIOutput5::DuplicateOutput1");
}

HRESULT Output::CheckOverlaySupport(DXGI_FORMAT format, IUnknown* device, UINT* flags)
{
    return GiveNone("IDXGIOutput3::CheckOverlaySupport", flags);
}

HRESULT Output::CheckOverlayColorSpaceSupport(DXGI_FORMAT format, DXGI_COLOR_SPACE_TYPE colorSpace, IUnknown* device,
                                              UINT* flags)
{
    return GiveNone("IDXGIOutput4::CheckOverlayColorSpaceSupport", flags);
}

HRESULT Output::CheckHardwareCompositionSupport(UINT* flags)
{
    return GiveNone("IDXGIOutput6::CheckHardwareCompositionSupport", flags);
}

HRESULT Output::GetDesc1(DXGI_OUTPUT_DESC1* desc)
{
    DXGI_OUTPUT_DESC basic;
    if (const HRESULT hr = GetDesc(desc ? &basic : nullptr); FAILED(hr)) {
        return hr;
    }
    *desc = {};
    std::copy(std::begin(basic.DeviceName), std::end(basic.DeviceName), desc->DeviceName);
    desc->DesktopCoordinates = basic.DesktopCoordinates;
    desc->AttachedToDesktop = basic.AttachedToDesktop;
    desc->Rotation = basic.Rotation;
    desc->Monitor = basic.Monitor;
    desc->BitsPerColor = 8;
    desc->ColorSpace = DXGI_COLOR_SPACE_RGB_FULL_G22_NONE_P709;
    // Rec. 709 primaries and D65.
    constexpr float chromaticities[4][2] = {{0.64f, 0.33f}, {0.30f, 0.60f}, {0.15f, 0.06f}, {0.3127f, 0.3290f}};
    float* const targets[] = {desc->RedPrimary, desc->GreenPrimary, desc->BluePrimary, desc->WhitePoint};
    for (int i = 0; i < 4; ++i) {
        std::copy_n(chromaticities[i], 2, targets[i]);
    }
    desc->MinLuminance = 0.5f;
    desc->MaxLuminance = 270.0f;
    desc->MaxFullFrameLuminance = 270.0f;
    return S_OK;
}

} // namespace gleam
