// Takes the place of the system calls that the library makes, and patches the objects that come out of them.
#include "ScriptedDxgi.h"

#include <dlfcn.h>
#include <map>
#include <utility>

#include "VtablePatch.h"

namespace {

ScriptedDxgi* s_script = nullptr;
std::map<void*, std::size_t> s_outputs;

using QueryInterface = HRESULT(IUnknown*, REFIID, void**);

HRESULT RealQuery(IUnknown* self, REFIID riid, void** object)
{
    return VtablePatch::Original<QueryInterface>(self, &IUnknown::QueryInterface)(self, riid, object);
}

void Log(std::string text)
{
    s_script->calls.push_back(std::move(text));
}

std::string Numbers(const char* name, UINT a, UINT b)
{
    return std::string(name) + " " + std::to_string(a) + "x" + std::to_string(b);
}

// --- Outputs and adapters

HRESULT OutputGetDesc(IDXGIOutput* self, DXGI_OUTPUT_DESC* desc)
{
    const ScriptedOutput& output = s_script->outputs[s_outputs[self]];
    *desc = {};
    desc->DesktopCoordinates = output.desktop;
    return output.getDesc;
}

HRESULT OutputGetDesc1(IDXGIOutput6* self, DXGI_OUTPUT_DESC1* desc)
{
    const ScriptedOutput& output = s_script->outputs[s_outputs[self]];
    *desc = {};
    desc->ColorSpace = output.colorSpace;
    return output.getDesc1;
}

HRESULT OutputQuery(IUnknown* self, REFIID riid, void** object)
{
    if (riid == IID_IDXGIOutput6 && !s_script->outputs[s_outputs[self]].hasOutput6) {
        return E_NOINTERFACE;
    }
    return RealQuery(self, riid, object);
}

HRESULT EnumOutputs(IDXGIAdapter* self, UINT index, IDXGIOutput** output)
{
    if (index >= s_script->outputs.size()) {
        return DXGI_ERROR_NOT_FOUND;
    }
    using Enum = HRESULT(IDXGIAdapter*, UINT, IDXGIOutput**);
    const HRESULT hr = VtablePatch::Original<Enum>(self, &IDXGIAdapter::EnumOutputs)(self, 0, output);
    s_outputs[*output] = index;
    VtablePatch::Replace(*output, &IDXGIOutput::GetDesc, OutputGetDesc);
    VtablePatch::Replace(*output, &IDXGIOutput6::GetDesc1, OutputGetDesc1);
    VtablePatch::Replace(*output, &IUnknown::QueryInterface, OutputQuery);
    return hr;
}

HRESULT EnumAdapters1(IDXGIFactory1* self, UINT index, IDXGIAdapter1** adapter)
{
    if (FAILED(s_script->enumAdapters)) {
        return s_script->enumAdapters;
    }
    using Enum = HRESULT(IDXGIFactory1*, UINT, IDXGIAdapter1**);
    const HRESULT hr = VtablePatch::Original<Enum>(self, &IDXGIFactory1::EnumAdapters1)(self, index, adapter);
    if (SUCCEEDED(hr)) {
        VtablePatch::Replace(*adapter, &IDXGIAdapter::EnumOutputs, EnumOutputs);
    }
    return hr;
}

// --- Swap chains

HRESULT ChainQuery(IUnknown* self, REFIID riid, void** object)
{
    return riid == IID_IDXGISwapChain4 && !s_script->hasChain4 ? E_NOINTERFACE : RealQuery(self, riid, object);
}

HRESULT Present(IDXGISwapChain*, UINT interval, UINT flags)
{
    s_script->interval = interval;
    s_script->presentFlags = flags;
    return s_script->present;
}

HRESULT SetFullscreenState(IDXGISwapChain*, BOOL state, IDXGIOutput*)
{
    Log(state ? "fullscreen" : "windowed");
    s_script->isFullscreen = state;
    return S_OK;
}

HRESULT GetFullscreenState(IDXGISwapChain*, BOOL* state, IDXGIOutput** target)
{
    *state = s_script->isFullscreen;
    if (target) {
        *target = nullptr;
    }
    return S_OK;
}

HRESULT ResizeBuffers(IDXGISwapChain* self, UINT count, UINT width, UINT height, DXGI_FORMAT format, UINT flags)
{
    using Resize = HRESULT(IDXGISwapChain*, UINT, UINT, UINT, DXGI_FORMAT, UINT);
    const HRESULT hr =
        VtablePatch::Original<Resize>(self, &IDXGISwapChain::ResizeBuffers)(self, count, width, height, format, flags);
    Log(Numbers(SUCCEEDED(hr) ? "buffers" : "refused buffers", width, height));
    return hr;
}

HRESULT ResizeTarget(IDXGISwapChain*, const DXGI_MODE_DESC* mode)
{
    Log(Numbers("target", mode->Width, mode->Height) + "@" + std::to_string(mode->RefreshRate.Numerator));
    return S_OK;
}

HRESULT CheckColorSpaceSupport(IDXGISwapChain3*, DXGI_COLOR_SPACE_TYPE, UINT* support)
{
    *support = s_script->colorSpaceSupport;
    return S_OK;
}

HRESULT SetColorSpace1(IDXGISwapChain3*, DXGI_COLOR_SPACE_TYPE colorSpace)
{
    Log("space " + std::to_string(colorSpace));
    return colorSpace == DXGI_COLOR_SPACE_RGB_FULL_G2084_NONE_P2020 ? s_script->setColorSpace : S_OK;
}

HRESULT SetHDRMetaData(IDXGISwapChain4*, DXGI_HDR_METADATA_TYPE type, UINT size, void* data)
{
    Log("metadata " + std::to_string(type) + " " + std::to_string(size));
    if (type != DXGI_HDR_METADATA_TYPE_HDR10) {
        return S_OK;
    }
    s_script->metadata = *static_cast<DXGI_HDR_METADATA_HDR10*>(data);
    return s_script->setMetadata;
}

void PatchChain(void* chain)
{
    VtablePatch::Replace(chain, &IUnknown::QueryInterface, ChainQuery);
    VtablePatch::Replace(chain, &IDXGISwapChain::Present, Present);
    VtablePatch::Replace(chain, &IDXGISwapChain::SetFullscreenState, SetFullscreenState);
    VtablePatch::Replace(chain, &IDXGISwapChain::GetFullscreenState, GetFullscreenState);
    VtablePatch::Replace(chain, &IDXGISwapChain::ResizeBuffers, ResizeBuffers);
    VtablePatch::Replace(chain, &IDXGISwapChain::ResizeTarget, ResizeTarget);
    VtablePatch::Replace(chain, &IDXGISwapChain3::CheckColorSpaceSupport, CheckColorSpaceSupport);
    VtablePatch::Replace(chain, &IDXGISwapChain3::SetColorSpace1, SetColorSpace1);
    VtablePatch::Replace(chain, &IDXGISwapChain4::SetHDRMetaData, SetHDRMetaData);
}

HRESULT NextCreation()
{
    if (s_script->createChain.empty()) {
        return S_OK;
    }
    const HRESULT hr = s_script->createChain.front();
    s_script->createChain.erase(s_script->createChain.begin());
    return hr;
}

HRESULT CreateSwapChainForHwnd(IDXGIFactory2* self, IUnknown* device, HWND window, const DXGI_SWAP_CHAIN_DESC1* desc,
                               const DXGI_SWAP_CHAIN_FULLSCREEN_DESC* fullscreen, IDXGIOutput* output,
                               IDXGISwapChain1** chain)
{
    Log(fullscreen->Windowed ? "flip" : "flip in full screen");
    s_script->flip = *desc;
    if (const HRESULT hr = NextCreation(); FAILED(hr)) {
        return hr;
    }
    using Create = HRESULT(IDXGIFactory2*, IUnknown*, HWND, const DXGI_SWAP_CHAIN_DESC1*,
                           const DXGI_SWAP_CHAIN_FULLSCREEN_DESC*, IDXGIOutput*, IDXGISwapChain1**);
    const HRESULT hr = VtablePatch::Original<Create>(self, &IDXGIFactory2::CreateSwapChainForHwnd)(
        self, device, window, desc, fullscreen, output, chain);
    if (SUCCEEDED(hr)) {
        PatchChain(*chain);
    }
    return hr;
}

HRESULT CreateSwapChain(IDXGIFactory* self, IUnknown* device, DXGI_SWAP_CHAIN_DESC* desc, IDXGISwapChain** chain)
{
    Log("blit");
    s_script->blit = *desc;
    using Create = HRESULT(IDXGIFactory*, IUnknown*, DXGI_SWAP_CHAIN_DESC*, IDXGISwapChain**);
    const HRESULT hr = VtablePatch::Original<Create>(self, &IDXGIFactory::CreateSwapChain)(self, device, desc, chain);
    if (SUCCEEDED(hr)) {
        PatchChain(*chain);
    }
    return hr;
}

// --- Factories and the device

HRESULT FactoryQuery(IUnknown* self, REFIID riid, void** object)
{
    return riid == IID_IDXGIFactory2 && !s_script->hasFactory2 ? E_NOINTERFACE : RealQuery(self, riid, object);
}

HRESULT CheckFeatureSupport(IDXGIFactory5*, DXGI_FEATURE, void* data, UINT)
{
    *static_cast<BOOL*>(data) = s_script->tearing;
    return S_OK;
}

HRESULT MakeWindowAssociation(IDXGIFactory*, HWND, UINT flags)
{
    Log("association " + std::to_string(flags));
    return S_OK;
}

void PatchFactory(void* factory)
{
    VtablePatch::Replace(factory, &IUnknown::QueryInterface, FactoryQuery);
    VtablePatch::Replace(factory, &IDXGIFactory1::EnumAdapters1, EnumAdapters1);
    VtablePatch::Replace(factory, &IDXGIFactory::CreateSwapChain, CreateSwapChain);
    VtablePatch::Replace(factory, &IDXGIFactory::MakeWindowAssociation, MakeWindowAssociation);
    VtablePatch::Replace(factory, &IDXGIFactory2::CreateSwapChainForHwnd, CreateSwapChainForHwnd);
    VtablePatch::Replace(factory, &IDXGIFactory5::CheckFeatureSupport, CheckFeatureSupport);
}

template <class Function>
Function* Real(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// The device's adapter, from a scripted factory.
HRESULT DxgiDeviceGetParent(IDXGIObject*, REFIID riid, void** parent)
{
    IDXGIFactory1* factory = nullptr;
    IDXGIAdapter1* adapter = nullptr;
    Real<decltype(CreateDXGIFactory1)>("CreateDXGIFactory1")(IID_IDXGIFactory1, reinterpret_cast<void**>(&factory));
    HRESULT hr = factory->EnumAdapters1(0, &adapter);
    PatchFactory(factory);
    factory->Release();
    hr = adapter->QueryInterface(riid, parent);
    adapter->Release();
    return hr;
}

HRESULT DeviceQuery(IUnknown* self, REFIID riid, void** object)
{
    const HRESULT hr = RealQuery(self, riid, object);
    if (s_script && riid == IID_IDXGIDevice) {
        VtablePatch::Replace(*object, &IDXGIObject::GetParent, DxgiDeviceGetParent);
    }
    return hr;
}

HRESULT CheckSamples(ID3D11Device*, DXGI_FORMAT, UINT count, UINT* levels)
{
    *levels = count <= s_script->mostSamples && (count & (count - 1)) == 0 ? 1 : 0;
    return S_OK;
}

HRESULT GetDeviceRemovedReason(ID3D11Device*)
{
    return s_script->removedReason;
}

} // namespace

ScriptedDxgi::ScriptedDxgi()
{
    s_script = this;
}

ScriptedDxgi::~ScriptedDxgi()
{
    s_script = nullptr;
    s_outputs.clear();
}

void ScriptedDxgi::Take(ID3D11Device* device)
{
    VtablePatch::Replace(device, &IUnknown::QueryInterface, DeviceQuery);
    VtablePatch::Replace(device, &ID3D11Device::CheckMultisampleQualityLevels, CheckSamples);
    VtablePatch::Replace(device, &ID3D11Device::GetDeviceRemovedReason, GetDeviceRemovedReason);
}

// --- The system's calls, found before the platform's own

HRESULT WINAPI CreateDXGIFactory1(REFIID riid, void** factory)
{
    if (s_script && FAILED(s_script->createFactory)) {
        return s_script->createFactory;
    }
    const HRESULT hr = Real<decltype(CreateDXGIFactory1)>("CreateDXGIFactory1")(riid, factory);
    if (s_script && SUCCEEDED(hr)) {
        PatchFactory(*factory);
    }
    return hr;
}

BOOL WINAPI GetWindowRect(HWND window, RECT* rect)
{
    if (!s_script) {
        return Real<decltype(GetWindowRect)>("GetWindowRect")(window, rect);
    }
    *rect = s_script->window;
    return TRUE;
}

void WINAPI Sleep(DWORD milliseconds)
{
    if (!s_script) {
        Real<decltype(Sleep)>("Sleep")(milliseconds);
        return;
    }
    Log("sleep " + std::to_string(milliseconds));
}

BOOL WINAPI VerifyVersionInfoW(LPOSVERSIONINFOEXW info, DWORD typeMask, DWORDLONG conditions)
{
    if (s_script && s_script->isOldSystem) {
        return FALSE;
    }
    return Real<decltype(VerifyVersionInfoW)>("VerifyVersionInfoW")(info, typeMask, conditions);
}
