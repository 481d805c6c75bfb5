// An adapter, with the outputs that its factory found.
#pragma once

#include "dxgi/Adapters.h"
#include "dxgi/DxgiObject.h"
#include "window/Display.h"

namespace gleam {

class Adapter final : public DxgiObject<IDXGIAdapter1, IID_IDXGIAdapter, IID_IDXGIAdapter1>
{
public:
    Adapter(IUnknown* factory, const AdapterInfo& info, std::vector<DisplayInfo> displays);

    HRESULT STDMETHODCALLTYPE EnumOutputs(UINT index, IDXGIOutput** output) override;
    HRESULT STDMETHODCALLTYPE GetDesc(DXGI_ADAPTER_DESC* desc) override;
    HRESULT STDMETHODCALLTYPE CheckInterfaceSupport(REFGUID guid, LARGE_INTEGER* driverVersion) override;
    HRESULT STDMETHODCALLTYPE GetDesc1(DXGI_ADAPTER_DESC1* desc) override;

    int VulkanIndex() const { return m_info.vulkanIndex; }

private:
    ~Adapter() override = default;

    const AdapterInfo m_info;
    const std::vector<DisplayInfo> m_displays;
};

} // namespace gleam
