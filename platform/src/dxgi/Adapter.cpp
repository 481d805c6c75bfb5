// Adapters over the list that their factory took.
#include "dxgi/Adapter.h"

#include <algorithm>
#include <new>

#include "common/Validation.h"
#include "dxgi/Output.h"

namespace gleam {

Adapter::Adapter(IUnknown* factory, const AdapterInfo& info, std::vector<DisplayInfo> displays)
    : DxgiObject(factory), m_info(info), m_displays(std::move(displays))
{
}

HRESULT Adapter::EnumOutputs(UINT index, IDXGIOutput** output)
{
    if (!output) {
        return Refuse(E_INVALIDARG, "IDXGIAdapter::EnumOutputs", "ppOutput is null");
    }
    *output = nullptr;
    if (index >= m_displays.size()) {
        return DXGI_ERROR_NOT_FOUND;
    }
    try {
        *output = new Output(static_cast<IDXGIAdapter1*>(this), index, m_displays[index]);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

HRESULT Adapter::GetDesc(DXGI_ADAPTER_DESC* desc)
{
    if (!desc) {
        return E_INVALIDARG;
    }
    const DXGI_ADAPTER_DESC1& full = m_info.desc;
    std::copy(std::begin(full.Description), std::end(full.Description), desc->Description);
    desc->VendorId = full.VendorId;
    desc->DeviceId = full.DeviceId;
    desc->SubSysId = full.SubSysId;
    desc->Revision = full.Revision;
    desc->DedicatedVideoMemory = full.DedicatedVideoMemory;
    desc->DedicatedSystemMemory = full.DedicatedSystemMemory;
    desc->SharedSystemMemory = full.SharedSystemMemory;
    desc->AdapterLuid = full.AdapterLuid;
    return S_OK;
}

HRESULT Adapter::GetDesc1(DXGI_ADAPTER_DESC1* desc)
{
    if (!desc) {
        return E_INVALIDARG;
    }
    *desc = m_info.desc;
    return S_OK;
}

HRESULT Adapter::CheckInterfaceSupport(REFGUID guid, LARGE_INTEGER* driverVersion)
{
    if (guid != IID_IDXGIDevice) {
        return DXGI_ERROR_UNSUPPORTED;
    }
    if (driverVersion) {
        *driverVersion = m_info.driverVersion;
    }
    return S_OK;
}

bool GetVulkanIndex(IDXGIAdapter* adapter, int& vulkanIndex)
{
    const auto* own = dynamic_cast<const Adapter*>(adapter);
    if (own) {
        vulkanIndex = own->VulkanIndex();
    }
    return own != nullptr;
}

} // namespace gleam
