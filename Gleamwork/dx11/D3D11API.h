// The Direct3D 11 implementation of the abstract graphics interface.
#pragma once

#include "Gleamwork/IAPI.h"

struct ID3D11Device;
struct ID3D11DeviceContext;

namespace api {

/// What the display system offers. The numeric order is what callers test.
enum DxgiVersion : std::uint32_t
{
    eDxgiVersion_1_1 = 2, ///< the system is older than 6.2
    eDxgiVersion_1_2 = 3, ///< the system is older than 6.3, or nothing newer could be reached
    eDxgiVersion_1_3 = 4, ///< `IDXGIFactory4` is missing
    eDxgiVersion_1_4 = 5, ///< `IDXGIFactory5` is missing
    eDxgiVersion_1_5 = 6, ///< `IDXGIOutput6` is missing
    eDxgiVersion_1_6 = 7, ///< all of them are present: high dynamic range can be shown
};

/// The started device. Pointers are null until device start succeeds and after `Exit`.
struct D3D11APIData
{
    QS_DECLARE_ALLOC(api::D3D11APIData)

    ID3D11Device* device = nullptr;
    ID3D11DeviceContext* context = nullptr; ///< the immediate context
    std::uint32_t featureLevel = 0xb000;    ///< a `D3D_FEATURE_LEVEL`; 11.0 until the device tells
    DxgiVersion dxgiVersion = eDxgiVersion_1_1;
};

/// Probes the display system; needs no device.
GW_API DxgiVersion GetSupportedDxgiVersion();

class GW_API D3D11API : public IAPI
{
public:
    QS_DECLARE_ALLOC(api::D3D11API)

    explicit D3D11API(IApp* application);
    ~D3D11API() override;

    /// As `api::CreateAPI`.
    static D3D11API* CreateAPI(IApp* app);

    bool InitCaps() override;
    bool Init() override;
    void Exit() override;
    gw::RenderFrame* CreateRenderFrame(const gw::RenderFrameDesc& desc) override;
    void ResizeRenderFrameWindow(gw::RenderFrame* frame, unsigned width, unsigned height, unsigned refreshNumerator,
                                 unsigned refreshDenominator, int displayIndex, bool fullscreen, bool fakeFullscreen,
                                 bool tripleBuffering, bool verticalSync, int) override;
    bool IsDeviceLost(bool) const override;
    void CollectDisplays(qs::ObjectSet<gw::Display, qs::DefaultComparator<gw::Display>>& displays) override;
    const char* GetTitleInfo() const override { return "(DX11)"; }

private:
    using DisplaySet = qs::ObjectSet<gw::Display, qs::DefaultComparator<gw::Display>>;

    bool OpenWindow();
    long StartDevice();
    [[noreturn]] void FailDeviceStart(long hr);

    D3D11APIData* data; ///< owned; the base's `apiData`
    bool ownsWindow = false;
};

} // namespace api
