// The DXGI side of a device: IDXGIDevice1, to be held by the device object as a member.
#pragma once

#include <atomic>

#include "common/PrivateData.h"
#include "dxgi1_6.h"

namespace gleam {

/// Counts and finds interfaces through its owner, so that both are one object to callers. The owner answers
/// QueryInterface for IDXGIObject, IDXGIDevice and IDXGIDevice1 with this; see Serves.
class DxgiDevice final : public IDXGIDevice1
{
public:
    /// `vulkanIndex` as in Adapters.h.
    DxgiDevice(IUnknown* owner, int vulkanIndex) : m_owner(owner), m_vulkanIndex(vulkanIndex) {}

    static bool Serves(REFIID riid)
    {
        return riid == IID_IDXGIObject || riid == IID_IDXGIDevice || riid == IID_IDXGIDevice1;
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override
    {
        return m_owner->QueryInterface(riid, object);
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return m_owner->AddRef(); }
    ULONG STDMETHODCALLTYPE Release() override { return m_owner->Release(); }

    HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID name, UINT size, const void* data) override;
    HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID name, const IUnknown* object) override;
    HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID name, UINT* size, void* data) override;
    HRESULT STDMETHODCALLTYPE GetParent(REFIID riid, void** parent) override;
    HRESULT STDMETHODCALLTYPE GetAdapter(IDXGIAdapter** adapter) override;
    HRESULT STDMETHODCALLTYPE CreateSurface(const DXGI_SURFACE_DESC* desc, UINT count, DXGI_USAGE usage,
                                            const DXGI_SHARED_RESOURCE* shared, IDXGISurface** surface) override;
    HRESULT STDMETHODCALLTYPE QueryResourceResidency(IUnknown* const* resources, DXGI_RESIDENCY* residency,
                                                     UINT count) override;
    HRESULT STDMETHODCALLTYPE SetGPUThreadPriority(INT priority) override;
    HRESULT STDMETHODCALLTYPE GetGPUThreadPriority(INT* priority) override;
    HRESULT STDMETHODCALLTYPE SetMaximumFrameLatency(UINT latency) override;
    HRESULT STDMETHODCALLTYPE GetMaximumFrameLatency(UINT* latency) override;

private:
    static constexpr UINT DefaultLatency = 3;
    static constexpr UINT MaxLatency = 16;

    IUnknown* const m_owner;
    const int m_vulkanIndex;
    std::atomic<INT> m_priority{0};
    std::atomic<UINT> m_latency{DefaultLatency};
    PrivateData m_privateData;
};

} // namespace gleam
