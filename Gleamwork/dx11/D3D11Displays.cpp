// The list of displays, and what the display system offers.
#include "Gleamwork/Display.h"
#include "Gleamwork/dx11/D3D11API.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/Released.h"
#include "Gleamwork/dx11/SystemVersion.h"

#include <qs/Log.h>

#include <d3d11.h>
#include <dxgi1_6.h>
#include <vector>
#include <windows.h>

namespace api {
namespace {

constexpr DXGI_FORMAT DISPLAY_FORMAT = DXGI_FORMAT_B8G8R8A8_UNORM;

qs::STDString ToText(const WCHAR* wide)
{
    return qs::STDString(qs::Localization::ConvertWideToMultiByte(wide, -1).Get());
}

gw::DisplayMode ToMode(unsigned displayIndex, const DXGI_MODE_DESC& desc)
{
    gw::DisplayMode mode;
    mode.displayIndex = displayIndex;
    mode.width = desc.Width;
    mode.height = desc.Height;
    mode.refreshNumerator = desc.RefreshRate.Numerator;
    mode.refreshDenominator = desc.RefreshRate.Denominator;
    return mode;
}

gw::DisplayMode FindDesktopMode(IDXGIOutput* output, const RECT& desktop, unsigned displayIndex, ID3D11Device* device)
{
    DXGI_MODE_DESC wanted = {};
    wanted.Width = UINT(desktop.right - desktop.left);
    wanted.Height = UINT(desktop.bottom - desktop.top);
    wanted.Format = DISPLAY_FORMAT;
    DXGI_MODE_DESC found = {};
    if (FAILED(output->FindClosestMatchingMode(&wanted, &found, device))) {
        found = wanted;
    }
    return ToMode(displayIndex, found);
}

void ListModes(IDXGIOutput* output, unsigned displayIndex, qs::ObjectSet<gw::DisplayMode>& modes)
{
    UINT count = 0;
    if (FAILED(output->GetDisplayModeList(DISPLAY_FORMAT, 0, &count, nullptr)) || count == 0) {
        return;
    }
    std::vector<DXGI_MODE_DESC> list(count);
    if (FAILED(output->GetDisplayModeList(DISPLAY_FORMAT, 0, &count, list.data()))) {
        return;
    }
    for (UINT i = 0; i < count && i < list.size(); ++i) {
        if (list[i].Scaling == DXGI_MODE_SCALING_UNSPECIFIED) {
            modes.Add(ToMode(displayIndex, list[i]));
        }
    }
}

gw::Display DescribeDisplay(const DXGI_ADAPTER_DESC& adapter, IDXGIOutput* output, unsigned displayIndex,
                            ID3D11Device* device)
{
    DXGI_OUTPUT_DESC desc = {};
    output->GetDesc(&desc);
    gw::Display display;
    display.adapterName = ToText(adapter.Description);
    display.deviceName = ToText(desc.DeviceName);
    display.vendorId = adapter.VendorId;
    display.deviceId = adapter.DeviceId;
    display.dedicatedVideoMemory = adapter.DedicatedVideoMemory;
    display.currentMode = FindDesktopMode(output, desc.DesktopCoordinates, displayIndex, device);
    ListModes(output, displayIndex, display.modes);
    display.SortDisplayModes();
    display.CalculateRecommendedDisplayMode();
    return display;
}

} // namespace

void D3D11API::CollectDisplays(DisplaySet& displays)
{
    Released<IDXGIFactory1> factory;
    const HRESULT hr = CreateDXGIFactory1(IID_IDXGIFactory1, factory.VoidAddress());
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR("Gleamwork/dx11/D3D11Displays", "api::D3D11API::CollectDisplays",
                            "CreateDXGIFactory Failed!\nError: %s\nDescription: %s", hr);
        return;
    }
    displays.Realloc(0);
    unsigned displayIndex = 0;
    for (UINT a = 0;; ++a) {
        Released<IDXGIAdapter> adapter;
        // Any failure ends a list: one that is not the end would come again for ever.
        if (FAILED(factory->EnumAdapters(a, adapter.Address()))) {
            return;
        }
        DXGI_ADAPTER_DESC desc = {};
        adapter->GetDesc(&desc);
        for (UINT o = 0;; ++o) {
            Released<IDXGIOutput> output;
            if (FAILED(adapter->EnumOutputs(o, output.Address()))) {
                break;
            }
            displays.Add(DescribeDisplay(desc, output.Get(), displayIndex++, data->device));
        }
    }
}

DxgiVersion GetSupportedDxgiVersion()
{
    if (!IsSystemAtLeast(6, 2)) {
        return eDxgiVersion_1_1;
    }
    if (!IsSystemAtLeast(6, 3)) {
        return eDxgiVersion_1_2;
    }
    Released<IDXGIFactory2> factory;
    Released<IDXGIAdapter1> adapter;
    Released<IDXGIOutput> output;
    Released<IDXGIOutput2> output2;
    if (FAILED(CreateDXGIFactory1(IID_IDXGIFactory2, factory.VoidAddress())) ||
        FAILED(factory->EnumAdapters1(0, adapter.Address())) || FAILED(adapter->EnumOutputs(0, output.Address())) ||
        FAILED(output->QueryInterface(IID_IDXGIOutput2, output2.VoidAddress()))) {
        return eDxgiVersion_1_2;
    }
    Released<IDXGIFactory4> factory4;
    if (FAILED(factory->QueryInterface(IID_IDXGIFactory4, factory4.VoidAddress()))) {
        return eDxgiVersion_1_3;
    }
    Released<IDXGIFactory5> factory5;
    if (FAILED(factory4->QueryInterface(IID_IDXGIFactory5, factory5.VoidAddress()))) {
        return eDxgiVersion_1_4;
    }
    Released<IDXGIOutput6> output6;
    return FAILED(output->QueryInterface(IID_IDXGIOutput6, output6.VoidAddress())) ? eDxgiVersion_1_5
                                                                                   : eDxgiVersion_1_6;
}

} // namespace api
