// Lists Vulkan's physical devices, and the null device, as adapters.
#include "dxgi/Adapters.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>

#include "common/DebugOutput.h"
#include "vulkan/Instance.h"

namespace gleam {
namespace {

std::string_view ChosenDevice()
{
    const char* chosen = std::getenv("GLEAM_DEVICE");
    return chosen && *chosen ? chosen : "auto";
}

/// Device names are UTF-8 by Vulkan's rules; what is not ASCII shows as a question mark.
void CopyName(const char* name, WCHAR (&text)[128])
{
    size_t i = 0;
    for (; name[i] && i + 1 < std::size(text); ++i) {
        text[i] = static_cast<unsigned char>(name[i]) < 128 ? static_cast<WCHAR>(name[i]) : L'?';
    }
    text[i] = L'\0';
}

/// Order of the automatic choice.
int RankOf(VkPhysicalDeviceType type)
{
    switch (type) {
    case VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU:
        return 0;
    case VK_PHYSICAL_DEVICE_TYPE_INTEGRATED_GPU:
        return 1;
    case VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU:
        return 2;
    default:
        return 3;
    }
}

bool OwnsMemory(VkPhysicalDeviceType type)
{
    return type == VK_PHYSICAL_DEVICE_TYPE_DISCRETE_GPU || type == VK_PHYSICAL_DEVICE_TYPE_VIRTUAL_GPU;
}

void ReadMemory(const InstanceFunctions& vk, VkPhysicalDevice device, bool ownsMemory, DXGI_ADAPTER_DESC1& desc)
{
    VkPhysicalDeviceMemoryProperties memory{};
    vk.GetPhysicalDeviceMemoryProperties(device, &memory);
    for (uint32_t i = 0; i < memory.memoryHeapCount; ++i) {
        const VkMemoryHeap& heap = memory.memoryHeaps[i];
        const bool isOwn = ownsMemory && (heap.flags & VK_MEMORY_HEAP_DEVICE_LOCAL_BIT) != 0;
        (isOwn ? desc.DedicatedVideoMemory : desc.SharedSystemMemory) += heap.size;
    }
}

/// The driver's own identifier where it has one; else one that is unique in this process.
LUID LuidOf(const VkPhysicalDeviceIDProperties& id, int index)
{
    LUID luid{static_cast<DWORD>(index + 1), 0};
    if (id.deviceLUIDValid) {
        static_assert(sizeof(luid) == VK_LUID_SIZE);
        std::memcpy(&luid, id.deviceLUID, sizeof(luid));
    }
    return luid;
}

struct RankedAdapter
{
    AdapterInfo info;
    int rank;
};

RankedAdapter ReadAdapter(const InstanceFunctions& vk, VkPhysicalDevice device, int index)
{
    VkPhysicalDeviceIDProperties id{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_ID_PROPERTIES};
    VkPhysicalDeviceProperties2 properties{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2, &id};
    vk.GetPhysicalDeviceProperties2(device, &properties);
    const VkPhysicalDeviceProperties& basic = properties.properties;

    RankedAdapter adapter{{}, RankOf(basic.deviceType)};
    DXGI_ADAPTER_DESC1& desc = adapter.info.desc;
    CopyName(basic.deviceName, desc.Description);
    desc.VendorId = basic.vendorID;
    desc.DeviceId = basic.deviceID;
    desc.AdapterLuid = LuidOf(id, index);
    desc.Flags = basic.deviceType == VK_PHYSICAL_DEVICE_TYPE_CPU ? DXGI_ADAPTER_FLAG_SOFTWARE : DXGI_ADAPTER_FLAG_NONE;
    ReadMemory(vk, device, OwnsMemory(basic.deviceType), desc);
    adapter.info.vulkanIndex = index;
    adapter.info.driverVersion.QuadPart = basic.driverVersion;
    return adapter;
}

/// Puts the device that GLEAM_DEVICE names in front of the automatic order. False when there is no such device.
bool ApplyChoice(std::string_view chosen, std::vector<RankedAdapter>& adapters)
{
    bool isFound = chosen == "auto";
    int number = -1;
    const auto parsed = std::from_chars(chosen.data(), chosen.data() + chosen.size(), number);
    const bool isNumber = parsed.ec == std::errc() && parsed.ptr == chosen.data() + chosen.size();
    for (RankedAdapter& adapter : adapters) {
        const bool isSoftware = adapter.info.desc.Flags == DXGI_ADAPTER_FLAG_SOFTWARE;
        if ((chosen == "software" && isSoftware) || (isNumber && adapter.info.vulkanIndex == number)) {
            adapter.rank = -1;
            isFound = true;
        }
    }
    return isFound;
}

/// All Vulkan devices, read once: loading the drivers takes most of a program's start, and no instance needs to stay
/// alive for their descriptions.
std::vector<RankedAdapter> VulkanAdapters()
{
    static std::mutex mutex;
    static std::vector<RankedAdapter> adapters;
    std::lock_guard lock(mutex);
    if (adapters.empty()) {
        if (const std::shared_ptr<Instance> instance = Instance::Get()) {
            for (VkPhysicalDevice device : instance->PhysicalDevices()) {
                adapters.push_back(ReadAdapter(instance->Functions(), device, static_cast<int>(adapters.size())));
            }
        }
    }
    return adapters;
}

} // namespace

AdapterInfo NullAdapter()
{
    AdapterInfo info;
    CopyName("Null device", info.desc.Description);
    info.desc.Flags = DXGI_ADAPTER_FLAG_SOFTWARE;
    info.desc.AdapterLuid = {0, 1};
    info.vulkanIndex = NullDeviceIndex;
    return info;
}

std::vector<AdapterInfo> ListAdapters()
{
    const std::string_view chosen = ChosenDevice();
    if (chosen == "null") {
        return {NullAdapter()};
    }
    std::vector<RankedAdapter> ranked = VulkanAdapters();
    if (!ApplyChoice(chosen, ranked)) {
        DebugLine("GLEAM_DEVICE: there is no device '%.*s' among %zu; use auto, software, null or a device number",
                  static_cast<int>(chosen.size()), chosen.data(), ranked.size());
        return {};
    }
    std::ranges::stable_sort(ranked, {}, &RankedAdapter::rank);
    std::vector<AdapterInfo> adapters;
    for (const RankedAdapter& adapter : ranked) {
        adapters.push_back(adapter.info);
    }
    return adapters;
}

} // namespace gleam
