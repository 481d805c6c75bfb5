// D3D11CreateDevice: picks a device and opens it.
#include <algorithm>
#include <new>

#include "common/DebugOutput.h"
#include "common/Validation.h"
#include "dxgi/Adapters.h"
#include "null/NullDevice.h"
#include "vulkan/Device.h"

namespace {

using namespace gleam;

constexpr const char* Call = "D3D11CreateDevice";

/// The first wanted level that this platform reaches; 0 when there is none.
D3D_FEATURE_LEVEL PickLevel(const D3D_FEATURE_LEVEL* levels, UINT count)
{
    // As published, a missing list asks for 11.0 downwards.
    constexpr D3D_FEATURE_LEVEL usual[] = {D3D_FEATURE_LEVEL_11_0};
    if (!levels || count == 0) {
        levels = usual;
        count = 1;
    }
    const auto* end = levels + count;
    const auto* found = std::find_if(levels, end, [](D3D_FEATURE_LEVEL level) {
        return level >= D3D_FEATURE_LEVEL_9_1 && level <= D3D_FEATURE_LEVEL_11_1;
    });
    return found == end ? static_cast<D3D_FEATURE_LEVEL>(0) : *found;
}

HRESULT PickDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE type, int& vulkanIndex)
{
    if (adapter) {
        if (type != D3D_DRIVER_TYPE_UNKNOWN) {
            return Refuse(E_INVALIDARG, Call, "an adapter goes with D3D_DRIVER_TYPE_UNKNOWN only");
        }
        if (!GetVulkanIndex(adapter, vulkanIndex)) {
            return Refuse(E_INVALIDARG, Call, "the adapter is not of this platform");
        }
        return S_OK;
    }
    const std::vector<AdapterInfo> adapters = ListAdapters();
    if (adapters.empty()) {
        return Refuse(DXGI_ERROR_UNSUPPORTED, Call, "no device is there (GLEAM_DEVICE rules which one is taken)");
    }
    vulkanIndex = adapters.front().vulkanIndex;
    if (type == D3D_DRIVER_TYPE_WARP || type == D3D_DRIVER_TYPE_SOFTWARE || type == D3D_DRIVER_TYPE_REFERENCE) {
        const auto isSoftware = [](const AdapterInfo& info) {
            return (info.desc.Flags & DXGI_ADAPTER_FLAG_SOFTWARE) != 0;
        };
        const auto found = std::find_if(adapters.begin(), adapters.end(), isSoftware);
        if (found == adapters.end()) {
            return Refuse(DXGI_ERROR_UNSUPPORTED, Call, "no processor device is there");
        }
        vulkanIndex = found->vulkanIndex;
    }
    return S_OK;
}

HRESULT OpenVulkan(int vulkanIndex, UINT flags, D3D_FEATURE_LEVEL level, ComPtr<ID3D11Device>& device)
{
    std::shared_ptr<Instance> instance = Instance::Get();
    if (!instance || vulkanIndex < 0 || static_cast<std::size_t>(vulkanIndex) >= instance->PhysicalDevices().size()) {
        return Refuse(DXGI_ERROR_UNSUPPORTED, Call, "the device is gone");
    }
    try {
        device = ComPtr<ID3D11Device>::Adopt(new VulkanDevice(std::move(instance), vulkanIndex, flags, level));
        return S_OK;
    } catch (const VulkanError& error) {
        return Refuse(ToHresult(error.result), Call, "%s failed (VkResult %d)", error.call, error.result);
    } catch (const std::bad_alloc&) {
        return Refuse(E_OUTOFMEMORY, Call, "out of memory");
    }
}

} // namespace

HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE type, HMODULE software, UINT flags,
                                 const D3D_FEATURE_LEVEL* levels, UINT levelCount, UINT version, ID3D11Device** device,
                                 D3D_FEATURE_LEVEL* level, ID3D11DeviceContext** context)
{
    if (device) {
        *device = nullptr;
    }
    if (context) {
        *context = nullptr;
    }
    if (version != D3D11_SDK_VERSION) {
        return Refuse(E_INVALIDARG, Call, "SDKVersion is %u, it has to be D3D11_SDK_VERSION", version);
    }
    const D3D_FEATURE_LEVEL picked = PickLevel(levels, levelCount);
    if (!picked) {
        return Refuse(E_INVALIDARG, Call, "none of the feature levels is reached, the highest is 11.1");
    }
    int vulkanIndex = NullDeviceIndex;
    if (const HRESULT result = PickDevice(adapter, type, vulkanIndex); FAILED(result)) {
        return result;
    }
    ComPtr<ID3D11Device> made;
    ComPtr<ID3D11DeviceContext> immediate;
    HRESULT result;
    if (vulkanIndex == NullDeviceIndex || type == D3D_DRIVER_TYPE_NULL) {
        result = CreateNullDevice(picked, made.Put(), immediate.Put());
    } else {
        result = OpenVulkan(vulkanIndex, flags, picked, made);
        if (SUCCEEDED(result)) {
            made->GetImmediateContext(immediate.Put());
        }
    }
    if (FAILED(result)) {
        return result;
    }
    if (level) {
        *level = picked;
    }
    const bool isAsked = device || context;
    if (device) {
        *device = made.Detach();
    }
    if (context) {
        *context = immediate.Detach();
    }
    return isAsked ? S_OK : S_FALSE;
}
