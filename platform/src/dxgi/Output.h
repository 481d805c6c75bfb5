// An output: one display of adapter 0.
#pragma once

#include "dxgi/DxgiObject.h"
#include "window/Display.h"

namespace gleam {

class Output final : public DxgiObject<IDXGIOutput6, IID_IDXGIOutput, IID_IDXGIOutput1, IID_IDXGIOutput2,
                                       IID_IDXGIOutput3, IID_IDXGIOutput4, IID_IDXGIOutput5, IID_IDXGIOutput6>
{
public:
    /// `index` counts from 0 and makes the device name.
    Output(IUnknown* adapter, UINT index, DisplayInfo display);

    HRESULT STDMETHODCALLTYPE GetDesc(DXGI_OUTPUT_DESC* desc) override;
    HRESULT STDMETHODCALLTYPE GetDisplayModeList(DXGI_FORMAT format, UINT flags, UINT* count,
                                                 DXGI_MODE_DESC* modes) override;
    HRESULT STDMETHODCALLTYPE FindClosestMatchingMode(const DXGI_MODE_DESC* mode, DXGI_MODE_DESC* closest,
                                                      IUnknown* device) override;
    HRESULT STDMETHODCALLTYPE WaitForVBlank() override;
    HRESULT STDMETHODCALLTYPE TakeOwnership(IUnknown* device, BOOL exclusive) override;
    void STDMETHODCALLTYPE ReleaseOwnership() override {}
    HRESULT STDMETHODCALLTYPE GetGammaControlCapabilities(DXGI_GAMMA_CONTROL_CAPABILITIES* caps) override;
    HRESULT STDMETHODCALLTYPE SetGammaControl(const DXGI_GAMMA_CONTROL* control) override;
    HRESULT STDMETHODCALLTYPE GetGammaControl(DXGI_GAMMA_CONTROL* control) override;
    HRESULT STDMETHODCALLTYPE SetDisplaySurface(IDXGISurface* surface) override;
    HRESULT STDMETHODCALLTYPE GetDisplaySurfaceData(IDXGISurface* destination) override;
    HRESULT STDMETHODCALLTYPE GetFrameStatistics(DXGI_FRAME_STATISTICS* statistics) override;
    HRESULT STDMETHODCALLTYPE GetDisplayModeList1(DXGI_FORMAT format, UINT flags, UINT* count,
                                                  DXGI_MODE_DESC1* modes) override;
    HRESULT STDMETHODCALLTYPE FindClosestMatchingMode1(const DXGI_MODE_DESC1* mode, DXGI_MODE_DESC1* closest,
                                                       IUnknown* device) override;
    HRESULT STDMETHODCALLTYPE GetDisplaySurfaceData1(IDXGIResource* destination) override;
    HRESULT STDMETHODCALLTYPE DuplicateOutput(IUnknown* device, IDXGIOutputDuplication** duplication) override;
    BOOL STDMETHODCALLTYPE SupportsOverlays() override { return FALSE; }
    HRESULT STDMETHODCALLTYPE CheckOverlaySupport(DXGI_FORMAT format, IUnknown* device, UINT* flags) override;
    HRESULT STDMETHODCALLTYPE CheckOverlayColorSpaceSupport(DXGI_FORMAT format, DXGI_COLOR_SPACE_TYPE colorSpace,
                                                            IUnknown* device, UINT* flags) override;
    HRESULT STDMETHODCALLTYPE DuplicateOutput1(IUnknown* device, UINT flags, UINT formatCount,
                                               const DXGI_FORMAT* formats,
                                               IDXGIOutputDuplication** duplication) override;
    HRESULT STDMETHODCALLTYPE GetDesc1(DXGI_OUTPUT_DESC1* desc) override;
    HRESULT STDMETHODCALLTYPE CheckHardwareCompositionSupport(UINT* flags) override;

private:
    ~Output() override = default;

    const UINT m_index;
    const DisplayInfo m_display;
};

} // namespace gleam
