// The title, and the name of the device in it.
#include "window/Title.h"

#include <d3d11.h>
#include <dxgi.h>

#include <algorithm>
#include <cmath>
#include <qs/String.h>

namespace gleamview {

std::string MakeTitle(const TitleFacts& facts)
{
    std::string title;
    if (!facts.notice.empty()) {
        title += facts.notice + " - ";
    }
    title += facts.name + " - ";
    if (facts.isPaused) {
        title += "paused - ";
    }
    if (facts.rate > 0.0) {
        title += std::to_string(std::max(1L, std::lround(facts.rate))) + " fps - ";
    }
    if (!facts.device.empty()) {
        title += facts.device + " - ";
    }
    return title + "gleamview";
}

std::string ReadDeviceName(void* device)
{
    IDXGIDevice* dxgi = nullptr;
    IDXGIAdapter* adapter = nullptr;
    DXGI_ADAPTER_DESC desc = {};
    std::string name;
    if (SUCCEEDED(
            static_cast<ID3D11Device*>(device)->QueryInterface(IID_IDXGIDevice, reinterpret_cast<void**>(&dxgi)))) {
        if (SUCCEEDED(dxgi->GetAdapter(&adapter))) {
            if (SUCCEEDED(adapter->GetDesc(&desc))) {
                name = qs::Localization::ConvertWideToMultiByte(desc.Description, -1).Get();
            }
            adapter->Release();
        }
        dxgi->Release();
    }
    return name;
}

} // namespace gleamview
