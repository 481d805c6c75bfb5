// IDXGIDevice1 for every device of this platform.
#include "dxgi/DxgiDevice.h"

#include <algorithm>

#include "common/Validation.h"
#include "dxgi/Adapters.h"

namespace gleam {

HRESULT DxgiDevice::SetPrivateData(REFGUID name, UINT size, const void* data)
{
    return m_privateData.Set(name, size, data);
}

HRESULT DxgiDevice::SetPrivateDataInterface(REFGUID name, const IUnknown* object)
{
    return m_privateData.SetInterface(name, object);
}

HRESULT DxgiDevice::GetPrivateData(REFGUID name, UINT* size, void* data)
{
    return m_privateData.Get(name, size, data);
}

HRESULT DxgiDevice::GetParent(REFIID riid, void** parent)
{
    if (!parent) {
        return E_POINTER;
    }
    *parent = nullptr;
    ComPtr<IDXGIAdapter> adapter;
    const HRESULT hr = GetAdapter(adapter.Put());
    return FAILED(hr) ? hr : adapter->QueryInterface(riid, parent);
}

HRESULT DxgiDevice::GetAdapter(IDXGIAdapter** adapter)
{
    if (!adapter) {
        return E_POINTER;
    }
    *adapter = nullptr;
    return CreateAdapterOf(m_vulkanIndex, adapter);
}

HRESULT DxgiDevice::CreateSurface(const DXGI_SURFACE_DESC* desc, UINT count, DXGI_USAGE usage,
                                  const DXGI_SHARED_RESOURCE* shared, IDXGISurface** surface)
{
    std::fill_n(surface, surface ? count : 0, nullptr);
    return Refuse(DXGI_ERROR_UNSUPPORTED, "IDXGIDevice::CreateSurface", "surfaces are made as textures");
}

HRESULT DxgiDevice::QueryResourceResidency(IUnknown* const* resources, DXGI_RESIDENCY* residency, UINT count)
{
    if (!resources || !residency) {
        return E_POINTER;
    }
    std::fill_n(residency, count, DXGI_RESIDENCY_FULLY_RESIDENT);
    return S_OK;
}

HRESULT DxgiDevice::SetGPUThreadPriority(INT priority)
{
    if (priority < -7 || priority > 7) {
        return Refuse(E_INVALIDARG, "IDXGIDevice::SetGPUThreadPriority", "Priority %d must be from -7 to 7", priority);
    }
    m_priority = priority;
    return S_OK;
}

HRESULT DxgiDevice::GetGPUThreadPriority(INT* priority)
{
    if (!priority) {
        return E_POINTER;
    }
    *priority = m_priority;
    return S_OK;
}

HRESULT DxgiDevice::SetMaximumFrameLatency(UINT latency)
{
    if (latency > MaxLatency) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGIDevice1::SetMaximumFrameLatency", "MaxLatency %u is above %u",
                      latency, MaxLatency);
    }
    m_latency = latency == 0 ? DefaultLatency : latency;
    return S_OK;
}

HRESULT DxgiDevice::GetMaximumFrameLatency(UINT* latency)
{
    if (!latency) {
        return DXGI_ERROR_INVALID_CALL;
    }
    *latency = m_latency;
    return S_OK;
}

} // namespace gleam
