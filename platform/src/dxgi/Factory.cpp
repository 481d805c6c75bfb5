// Factories: each takes the lists of adapters and displays as it finds them, and hands out objects over them.
#include <atomic>
#include <new>

#include "common/Validation.h"
#include "dxgi/Adapter.h"
#include "dxgi/SwapChain.h"
#include "dxgi/SwapChainDesc.h"

namespace gleam {
namespace {

class Factory final : public DxgiObject<IDXGIFactory5, IID_IDXGIFactory, IID_IDXGIFactory1, IID_IDXGIFactory2,
                                        IID_IDXGIFactory3, IID_IDXGIFactory4, IID_IDXGIFactory5>
{
public:
    Factory(UINT flags, std::vector<AdapterInfo> adapters)
        : DxgiObject(nullptr), m_flags(flags), m_adapters(std::move(adapters)), m_displays(ListDisplays())
    {
    }

    HRESULT STDMETHODCALLTYPE EnumAdapters(UINT index, IDXGIAdapter** adapter) override;
    HRESULT STDMETHODCALLTYPE MakeWindowAssociation(HWND window, UINT flags) override;
    HRESULT STDMETHODCALLTYPE GetWindowAssociation(HWND* window) override;
    HRESULT STDMETHODCALLTYPE CreateSwapChain(IUnknown* device, DXGI_SWAP_CHAIN_DESC* desc,
                                              IDXGISwapChain** swapChain) override;
    HRESULT STDMETHODCALLTYPE CreateSoftwareAdapter(HMODULE module, IDXGIAdapter** adapter) override;
    HRESULT STDMETHODCALLTYPE EnumAdapters1(UINT index, IDXGIAdapter1** adapter) override;
    BOOL STDMETHODCALLTYPE IsCurrent() override { return ListDisplays() == m_displays; }
    BOOL STDMETHODCALLTYPE IsWindowedStereoEnabled() override { return FALSE; }
    HRESULT STDMETHODCALLTYPE CreateSwapChainForHwnd(IUnknown* device, HWND window, const DXGI_SWAP_CHAIN_DESC1* desc,
                                                     const DXGI_SWAP_CHAIN_FULLSCREEN_DESC* fullscreenDesc,
                                                     IDXGIOutput* restrictToOutput,
                                                     IDXGISwapChain1** swapChain) override;
    HRESULT STDMETHODCALLTYPE CreateSwapChainForCoreWindow(IUnknown* device, IUnknown* window,
                                                           const DXGI_SWAP_CHAIN_DESC1* desc,
                                                           IDXGIOutput* restrictToOutput,
                                                           IDXGISwapChain1** swapChain) override;
    HRESULT STDMETHODCALLTYPE GetSharedResourceAdapterLuid(HANDLE resource, LUID* luid) override;
    HRESULT STDMETHODCALLTYPE RegisterStereoStatusWindow(HWND window, UINT message, DWORD* cookie) override;
    HRESULT STDMETHODCALLTYPE RegisterStereoStatusEvent(HANDLE event, DWORD* cookie) override;
    void STDMETHODCALLTYPE UnregisterStereoStatus(DWORD cookie) override {}
    HRESULT STDMETHODCALLTYPE RegisterOcclusionStatusWindow(HWND window, UINT message, DWORD* cookie) override;
    HRESULT STDMETHODCALLTYPE RegisterOcclusionStatusEvent(HANDLE event, DWORD* cookie) override;
    void STDMETHODCALLTYPE UnregisterOcclusionStatus(DWORD cookie) override {}
    HRESULT STDMETHODCALLTYPE CreateSwapChainForComposition(IUnknown* device, const DXGI_SWAP_CHAIN_DESC1* desc,
                                                            IDXGIOutput* restrictToOutput,
                                                            IDXGISwapChain1** swapChain) override;
    UINT STDMETHODCALLTYPE GetCreationFlags() override { return m_flags; }
    HRESULT STDMETHODCALLTYPE EnumAdapterByLuid(LUID luid, REFIID riid, void** adapter) override;
    HRESULT STDMETHODCALLTYPE EnumWarpAdapter(REFIID riid, void** adapter) override;
    HRESULT STDMETHODCALLTYPE CheckFeatureSupport(DXGI_FEATURE feature, void* data, UINT size) override;

private:
    ~Factory() override = default;

    /// The first adapter that `matches`, as `riid`.
    template <class Matches>
    HRESULT FindAdapter(Matches matches, REFIID riid, void** adapter);

    const UINT m_flags;
    const std::vector<AdapterInfo> m_adapters;
    const std::vector<DisplayInfo> m_displays;
    std::atomic<HWND> m_window{nullptr};
};

template <class Interface>
HRESULT RefuseSwapChain(const char* call, Interface** swapChain)
{
    if (swapChain) {
        *swapChain = nullptr;
    }
    return Refuse(DXGI_ERROR_UNSUPPORTED, call, "swap chains are on window handles here");
}

HRESULT RefuseNotice(const char* call)
{
    return Refuse(DXGI_ERROR_UNSUPPORTED, call, "is not supported");
}

template <class Matches>
HRESULT Factory::FindAdapter(Matches matches, REFIID riid, void** adapter)
{
    if (!adapter) {
        return DXGI_ERROR_INVALID_CALL;
    }
    *adapter = nullptr;
    for (UINT i = 0; i < m_adapters.size(); ++i) {
        if (matches(m_adapters[i])) {
            ComPtr<IDXGIAdapter1> found;
            const HRESULT hr = EnumAdapters1(i, found.Put());
            return FAILED(hr) ? hr : found->QueryInterface(riid, adapter);
        }
    }
    return DXGI_ERROR_NOT_FOUND;
}

HRESULT Factory::EnumAdapters1(UINT index, IDXGIAdapter1** adapter)
{
    if (!adapter) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGIFactory1::EnumAdapters1", "ppAdapter is null");
    }
    *adapter = nullptr;
    if (index >= m_adapters.size()) {
        return DXGI_ERROR_NOT_FOUND;
    }
    try {
        // Displays belong to the adapter that is taken without being told.
        *adapter = new Adapter(static_cast<IDXGIFactory5*>(this), m_adapters[index],
                               index == 0 ? m_displays : std::vector<DisplayInfo>());
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

HRESULT Factory::EnumAdapters(UINT index, IDXGIAdapter** adapter)
{
    IDXGIAdapter1* found = nullptr;
    const HRESULT hr = EnumAdapters1(index, adapter ? &found : nullptr);
    if (adapter) {
        *adapter = found;
    }
    return hr;
}

HRESULT Factory::EnumAdapterByLuid(LUID luid, REFIID riid, void** adapter)
{
    return FindAdapter(
        [&](const AdapterInfo& info) {
            const LUID& other = info.desc.AdapterLuid;
            return other.LowPart == luid.LowPart && other.HighPart == luid.HighPart;
        },
        riid, adapter);
}

HRESULT Factory::EnumWarpAdapter(REFIID riid, void** adapter)
{
    return FindAdapter([](const AdapterInfo& info) { return info.desc.Flags == DXGI_ADAPTER_FLAG_SOFTWARE; }, riid,
                       adapter);
}

HRESULT Factory::MakeWindowAssociation(HWND window, UINT flags)
{
    if (flags > DXGI_MWA_VALID || (!window && flags != 0)) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGIFactory::MakeWindowAssociation",
                      "Flags 0x%x are unknown or given without a window", flags);
    }
    m_window = window;
    return S_OK;
}

HRESULT Factory::GetWindowAssociation(HWND* window)
{
    if (!window) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGIFactory::GetWindowAssociation", "pWindowHandle is null");
    }
    *window = m_window;
    return S_OK;
}

HRESULT Factory::CreateSwapChain(IUnknown* device, DXGI_SWAP_CHAIN_DESC* desc, IDXGISwapChain** swapChain)
{
    constexpr const char* call = "IDXGIFactory::CreateSwapChain";
    if (!device || !desc || !desc->OutputWindow || !swapChain) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "the device, the description, its window or the result is null");
    }
    *swapChain = nullptr;
    SwapChainOptions options;
    options.desc = ToDesc1(*desc);
    options.fullscreen = {desc->BufferDesc.RefreshRate, desc->BufferDesc.ScanlineOrdering, desc->BufferDesc.Scaling,
                          desc->Windowed};
    options.window = desc->OutputWindow;
    IDXGISwapChain1* made = nullptr;
    const HRESULT hr = SwapChain::Create(call, static_cast<IDXGIFactory5*>(this), device, options, &made);
    *swapChain = made;
    return hr;
}

HRESULT Factory::CreateSwapChainForHwnd(IUnknown* device, HWND window, const DXGI_SWAP_CHAIN_DESC1* desc,
                                        const DXGI_SWAP_CHAIN_FULLSCREEN_DESC* fullscreenDesc,
                                        IDXGIOutput* restrictToOutput, IDXGISwapChain1** swapChain)
{
    constexpr const char* call = "IDXGIFactory2::CreateSwapChainForHwnd";
    if (!device || !window || !desc || !swapChain) {
        return Refuse(DXGI_ERROR_INVALID_CALL, call, "the device, the window, the description or the result is null");
    }
    *swapChain = nullptr;
    SwapChainOptions options;
    options.desc = *desc;
    options.fullscreen.Windowed = TRUE;
    if (fullscreenDesc) {
        options.fullscreen = *fullscreenDesc;
    }
    options.window = window;
    options.restrictTo = restrictToOutput;
    return SwapChain::Create(call, static_cast<IDXGIFactory5*>(this), device, options, swapChain);
}

HRESULT Factory::CreateSwapChainForCoreWindow(IUnknown* device, IUnknown* window, const DXGI_SWAP_CHAIN_DESC1* desc,
                                              IDXGIOutput* restrictToOutput, IDXGISwapChain1** swapChain)
{
    return RefuseSwapChain("IDXGIFactory2::CreateSwapChainForCoreWindow", swapChain);
}

HRESULT Factory::CreateSwapChainForComposition(IUnknown* device, const DXGI_SWAP_CHAIN_DESC1* desc,
                                               IDXGIOutput* restrictToOutput, IDXGISwapChain1** swapChain)
{
    return RefuseSwapChain("IDXGIFactory2::CreateSwapChainForComposition", swapChain);
}

HRESULT Factory::CreateSoftwareAdapter(HMODULE module, IDXGIAdapter** adapter)
{
    if (adapter) {
        *adapter = nullptr;
    }
    return RefuseNotice("IDXGIFactory::CreateSoftwareAdapter");
}

HRESULT Factory::GetSharedResourceAdapterLuid(HANDLE resource, LUID* luid)
{
    return RefuseNotice("IDXGIFactory2::GetSharedResourceAdapterLuid");
}

HRESULT Factory::RegisterStereoStatusWindow(HWND window, UINT message, DWORD* cookie)
{
    return RefuseNotice("IDXGIFactory2::RegisterStereoStatusWindow");
}

HRESULT Factory::RegisterStereoStatusEvent(HANDLE event, DWORD* cookie)
{
    return RefuseNotice("IDXGIFactory2::RegisterStereoStatusEvent");
}

HRESULT Factory::RegisterOcclusionStatusWindow(HWND window, UINT message, DWORD* cookie)
{
    return RefuseNotice("IDXGIFactory2::RegisterOcclusionStatusWindow");
}

HRESULT Factory::RegisterOcclusionStatusEvent(HANDLE event, DWORD* cookie)
{
    return RefuseNotice("IDXGIFactory2::RegisterOcclusionStatusEvent");
}

HRESULT Factory::CheckFeatureSupport(DXGI_FEATURE feature, void* data, UINT size)
{
    if (feature != DXGI_FEATURE_PRESENT_ALLOW_TEARING || !data || size != sizeof(BOOL)) {
        return Refuse(DXGI_ERROR_INVALID_CALL, "IDXGIFactory5::CheckFeatureSupport",
                      "feature %d is unknown or its data is not a BOOL", feature);
    }
    // A window system without tearing shows such pictures without waiting all the same.
    *static_cast<BOOL*>(data) = TRUE;
    return S_OK;
}

/// `isNull` lists the null device's adapter whatever GLEAM_DEVICE says.
HRESULT CreateFactory(UINT flags, bool isNull, REFIID riid, void** object)
{
    if (!object) {
        return E_POINTER;
    }
    *object = nullptr;
    try {
        auto adapters = isNull ? std::vector{NullAdapter()} : ListAdapters();
        const auto factory = ComPtr<IDXGIFactory5>::Adopt(new Factory(flags, std::move(adapters)));
        return factory->QueryInterface(riid, object);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

} // namespace

HRESULT CreateAdapterOf(int vulkanIndex, IDXGIAdapter** adapter)
{
    ComPtr<IDXGIFactory1> factory;
    HRESULT hr = CreateFactory(0, vulkanIndex == NullDeviceIndex, IID_IDXGIFactory1, factory.PutVoid());
    for (UINT i = 0; SUCCEEDED(hr); ++i) {
        ComPtr<IDXGIAdapter> candidate;
        int index = 0;
        hr = factory->EnumAdapters(i, candidate.Put());
        if (SUCCEEDED(hr) && GetVulkanIndex(candidate.Get(), index) && index == vulkanIndex) {
            *adapter = candidate.Detach();
            return S_OK;
        }
    }
    return hr;
}

} // namespace gleam

HRESULT WINAPI CreateDXGIFactory(REFIID riid, void** factory)
{
    return gleam::CreateFactory(0, false, riid, factory);
}

HRESULT WINAPI CreateDXGIFactory1(REFIID riid, void** factory)
{
    return gleam::CreateFactory(0, false, riid, factory);
}

HRESULT WINAPI CreateDXGIFactory2(UINT flags, REFIID riid, void** factory)
{
    if ((flags & ~DXGI_CREATE_FACTORY_DEBUG) != 0) {
        return gleam::Refuse(DXGI_ERROR_INVALID_CALL, "CreateDXGIFactory2", "Flags 0x%x are unknown", flags);
    }
    return gleam::CreateFactory(flags, false, riid, factory);
}
