// Opens the Vulkan device and keeps its time line.
#include "vulkan/Gpu.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "common/DebugOutput.h"

namespace gleam {
namespace {

// A processor device allocates and frees command memory all the time. With the C library's defaults each round gives
// the memory back to the system, and a draw then costs ten times as much.
void KeepAllocatorFromTrimming()
{
    mallopt(M_TRIM_THRESHOLD, 256 << 20);
    mallopt(M_TOP_PAD, 64 << 20);
}

std::vector<std::string> ExtensionNames(const InstanceFunctions& vk, VkPhysicalDevice device)
{
    uint32_t count = 0;
    vk.EnumerateDeviceExtensionProperties(device, nullptr, &count, nullptr);
    std::vector<VkExtensionProperties> found(count);
    vk.EnumerateDeviceExtensionProperties(device, nullptr, &count, found.data());
    std::vector<std::string> names;
    for (const VkExtensionProperties& extension : found) {
        names.emplace_back(extension.extensionName);
    }
    return names;
}

/// The structures of features that are asked for, chained for vkGetPhysicalDeviceFeatures2 and vkCreateDevice.
struct FeatureChain
{
    VkPhysicalDeviceFeatures2 core{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_FEATURES_2};
    VkPhysicalDeviceVulkan11Features v11{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_1_FEATURES};
    VkPhysicalDeviceVulkan12Features v12{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES};
    VkPhysicalDeviceVulkan13Features v13{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES};
    VkPhysicalDeviceRobustness2FeaturesEXT robustness{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_ROBUSTNESS_2_FEATURES_EXT};
    VkPhysicalDeviceVertexInputDynamicStateFeaturesEXT vertexInput{
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VERTEX_INPUT_DYNAMIC_STATE_FEATURES_EXT};
    VkPhysicalDeviceExtendedDynamicState3FeaturesEXT dynamic3{
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_EXTENDED_DYNAMIC_STATE_3_FEATURES_EXT};
    VkPhysicalDeviceDepthClipEnableFeaturesEXT depthClip{
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_DEPTH_CLIP_ENABLE_FEATURES_EXT};
    VkPhysicalDeviceCustomBorderColorFeaturesEXT border{
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_CUSTOM_BORDER_COLOR_FEATURES_EXT};
    VkPhysicalDeviceVertexAttributeDivisorFeaturesEXT divisor{
        VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VERTEX_ATTRIBUTE_DIVISOR_FEATURES_EXT};
    const std::vector<std::string> available;
    std::vector<const char*> extensions;

    explicit FeatureChain(std::vector<std::string> names) : available(std::move(names))
    {
        core.pNext = &v11;
        v11.pNext = &v12;
        v12.pNext = &v13;
        VkBaseOutStructure* last = reinterpret_cast<VkBaseOutStructure*>(&v13);
        const auto add = [&](const char* name, auto& features) {
            for (const std::string& candidate : available) {
                if (candidate == name) {
                    extensions.push_back(name);
                    last->pNext = reinterpret_cast<VkBaseOutStructure*>(&features);
                    last = last->pNext;
                }
            }
        };
        add(VK_EXT_ROBUSTNESS_2_EXTENSION_NAME, robustness);
        add(VK_EXT_VERTEX_INPUT_DYNAMIC_STATE_EXTENSION_NAME, vertexInput);
        add(VK_EXT_EXTENDED_DYNAMIC_STATE_3_EXTENSION_NAME, dynamic3);
        add(VK_EXT_DEPTH_CLIP_ENABLE_EXTENSION_NAME, depthClip);
        add(VK_EXT_CUSTOM_BORDER_COLOR_EXTENSION_NAME, border);
        add(VK_EXT_VERTEX_ATTRIBUTE_DIVISOR_EXTENSION_NAME, divisor);
    }

    /// Adds an extension without features of its own; false when the device lacks it.
    bool Enable(const char* name)
    {
        const bool isThere = std::find(available.begin(), available.end(), name) != available.end();
        if (isThere) {
            extensions.push_back(name);
        }
        return isThere;
    }

    /// Keeps of what the device offers only what this layer uses, so that nothing dear is switched on.
    void Trim();

    /// Name of the first feature that this layer cannot do without and the device lacks; null when all are there.
    const char* FirstMissing() const;
};

void FeatureChain::Trim()
{
    const VkPhysicalDeviceFeatures has = core.features;
    core.features = {};
#define GLEAM_KEEP(name) core.features.name = has.name
    GLEAM_KEEP(robustBufferAccess);
    GLEAM_KEEP(fullDrawIndexUint32);
    GLEAM_KEEP(imageCubeArray);
    GLEAM_KEEP(independentBlend);
    GLEAM_KEEP(geometryShader);
    GLEAM_KEEP(tessellationShader);
    GLEAM_KEEP(sampleRateShading);
    GLEAM_KEEP(dualSrcBlend);
    GLEAM_KEEP(multiDrawIndirect);
    GLEAM_KEEP(drawIndirectFirstInstance);
    GLEAM_KEEP(depthBiasClamp);
    GLEAM_KEEP(fillModeNonSolid);
    GLEAM_KEEP(multiViewport);
    GLEAM_KEEP(samplerAnisotropy);
    GLEAM_KEEP(textureCompressionBC);
    GLEAM_KEEP(occlusionQueryPrecise);
    GLEAM_KEEP(pipelineStatisticsQuery);
    GLEAM_KEEP(vertexPipelineStoresAndAtomics);
    GLEAM_KEEP(fragmentStoresAndAtomics);
    GLEAM_KEEP(shaderImageGatherExtended);
    GLEAM_KEEP(shaderStorageImageExtendedFormats);
    GLEAM_KEEP(shaderStorageImageReadWithoutFormat);
    GLEAM_KEEP(shaderStorageImageWriteWithoutFormat);
    GLEAM_KEEP(shaderClipDistance);
    GLEAM_KEEP(shaderCullDistance);
    GLEAM_KEEP(shaderFloat64);
    GLEAM_KEEP(shaderInt64);
#undef GLEAM_KEEP
    const VkBool32 drawParameters = v11.shaderDrawParameters;
    void* next = v11.pNext;
    v11 = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_1_FEATURES};
    v11.pNext = next;
    v11.shaderDrawParameters = drawParameters;

    const VkPhysicalDeviceVulkan12Features has12 = v12;
    v12 = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_2_FEATURES};
    v12.pNext = has12.pNext;
    v12.scalarBlockLayout = has12.scalarBlockLayout;
    v12.timelineSemaphore = has12.timelineSemaphore;
    v12.hostQueryReset = has12.hostQueryReset;
    v12.samplerFilterMinmax = has12.samplerFilterMinmax;
    v12.samplerMirrorClampToEdge = has12.samplerMirrorClampToEdge;
    v12.shaderOutputViewportIndex = has12.shaderOutputViewportIndex;
    v12.shaderOutputLayer = has12.shaderOutputLayer;

    const VkPhysicalDeviceVulkan13Features has13 = v13;
    v13 = {VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_VULKAN_1_3_FEATURES};
    v13.pNext = has13.pNext;
    v13.dynamicRendering = has13.dynamicRendering;
    v13.synchronization2 = has13.synchronization2;
    v13.shaderDemoteToHelperInvocation = has13.shaderDemoteToHelperInvocation;
    v13.shaderTerminateInvocation = has13.shaderTerminateInvocation;
    robustness.robustImageAccess2 = VK_FALSE;
}

const char* FeatureChain::FirstMissing() const
{
    const std::pair<VkBool32, const char*> needed[] = {
        {core.features.robustBufferAccess, "robustBufferAccess"},
        {core.features.textureCompressionBC, "textureCompressionBC"},
        {core.features.imageCubeArray, "imageCubeArray"},
        {v11.shaderDrawParameters, "shaderDrawParameters"},
        {v12.scalarBlockLayout, "scalarBlockLayout"},
        {v12.timelineSemaphore, "timelineSemaphore"},
        {v12.hostQueryReset, "hostQueryReset"},
        {v13.dynamicRendering, "dynamicRendering"},
        {v13.synchronization2, "synchronization2"},
        {robustness.nullDescriptor, "nullDescriptor"},
    };
    for (const auto& [present, name] : needed) {
        if (!present) {
            return name;
        }
    }
    return nullptr;
}

GpuFeatures Summarize(const FeatureChain& chain)
{
    const VkPhysicalDeviceFeatures& core = chain.core.features;
    const auto& d3 = chain.dynamic3;
    GpuFeatures features;
    features.dynamicVertexInput = chain.vertexInput.vertexInputDynamicState;
    features.dynamicBlend = d3.extendedDynamicState3ColorBlendEnable && d3.extendedDynamicState3ColorBlendEquation &&
                            d3.extendedDynamicState3ColorWriteMask && d3.extendedDynamicState3SampleMask &&
                            d3.extendedDynamicState3AlphaToCoverageEnable && d3.extendedDynamicState3PolygonMode &&
                            d3.extendedDynamicState3DepthClipEnable && chain.depthClip.depthClipEnable;
    features.depthClip = chain.depthClip.depthClipEnable;
    features.customBorder = chain.border.customBorderColors && chain.border.customBorderColorWithoutFormat;
    features.geometryShader = core.geometryShader;
    features.tessellationShader = core.tessellationShader;
    features.wireframe = core.fillModeNonSolid;
    features.depthBiasClamp = core.depthBiasClamp;
    features.independentBlend = core.independentBlend;
    features.dualSourceBlend = core.dualSrcBlend;
    features.anisotropy = core.samplerAnisotropy;
    features.multiViewport = core.multiViewport;
    features.preciseOcclusion = core.occlusionQueryPrecise;
    features.instanceDivisor =
        chain.divisor.vertexAttributeInstanceRateDivisor && chain.divisor.vertexAttributeInstanceRateZeroDivisor;
    features.minMaxFilter = chain.v12.samplerFilterMinmax;
    features.mirrorOnce = chain.v12.samplerMirrorClampToEdge;
    features.pipelineStatistics = core.pipelineStatisticsQuery;
    return features;
}

} // namespace

HRESULT ToHresult(VkResult result)
{
    switch (result) {
    case VK_ERROR_OUT_OF_HOST_MEMORY:
    case VK_ERROR_OUT_OF_DEVICE_MEMORY:
    case VK_ERROR_OUT_OF_POOL_MEMORY:
    case VK_ERROR_FRAGMENTED_POOL:
    case VK_ERROR_TOO_MANY_OBJECTS:
        return E_OUTOFMEMORY;
    case VK_ERROR_DEVICE_LOST:
        return DXGI_ERROR_DEVICE_REMOVED;
    case VK_ERROR_FORMAT_NOT_SUPPORTED:
        return E_INVALIDARG;
    case VK_ERROR_FEATURE_NOT_PRESENT:
    case VK_ERROR_EXTENSION_NOT_PRESENT:
    case VK_ERROR_INCOMPATIBLE_DRIVER:
    case VK_ERROR_INITIALIZATION_FAILED:
        return DXGI_ERROR_UNSUPPORTED;
    default:
        return result < 0 ? E_FAIL : S_OK;
    }
}

Gpu::Gpu(std::shared_ptr<Instance> instance) : m_instance(std::move(instance)) {}

// Delegates, so that the destructor cleans up when a later step throws.
Gpu::Gpu(std::shared_ptr<Instance> instance, VkPhysicalDevice physical) : Gpu(std::move(instance))
{
    physicalDevice = physical;
    ReadProperties();
    if (properties.apiVersion < VK_API_VERSION_1_3) {
        DebugLine("D3D11CreateDevice: device \"%s\" has Vulkan %u.%u, 1.3 is needed", properties.deviceName,
                  VK_API_VERSION_MAJOR(properties.apiVersion), VK_API_VERSION_MINOR(properties.apiVersion));
        throw VulkanError{VK_ERROR_INCOMPATIBLE_DRIVER, "vkGetPhysicalDeviceProperties"};
    }
    if (isProcessor) {
        KeepAllocatorFromTrimming();
    }
    PickQueueFamily();
    CreateDevice();
    CreateTimeline();

    VkPhysicalDeviceMemoryProperties memoryProperties;
    InstanceVk().GetPhysicalDeviceMemoryProperties(physicalDevice, &memoryProperties);
    VkPhysicalDeviceMaintenance3Properties limits{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_MAINTENANCE_3_PROPERTIES};
    VkPhysicalDeviceProperties2 properties2{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2, &limits, {}};
    InstanceVk().GetPhysicalDeviceProperties2(physicalDevice, &properties2);
    memory.Init(vk, device, memoryProperties, limits.maxMemoryAllocationSize, isProcessor);
    slices.Init(vk, device, memory);
    m_releases.Init(vk, device, memory, slices);

    if (const auto value = DebugValue("lose-device")) {
        m_loseAfter = std::strtoull(value->c_str(), nullptr, 10);
    }
    const auto reason = DebugValue("lose-reason");
    m_loseReason =
        reason ? static_cast<HRESULT>(std::strtoul(reason->c_str(), nullptr, 16)) : DXGI_ERROR_DEVICE_REMOVED;
    m_waitEach = DebugSwitch("sync");
}

Gpu::~Gpu()
{
    if (!device || !vk.DestroyDevice) {
        return;
    }
    vk.DeviceWaitIdle(device);
    m_releases.Collect(~0ull);
    slices.Shutdown();
    memory.Shutdown();
    vk.DestroySemaphore(device, m_timeline, nullptr);
    vk.DestroyDevice(device, nullptr);
}

void Gpu::ReadProperties()
{
    InstanceVk().GetPhysicalDeviceProperties(physicalDevice, &properties);
    isProcessor = properties.deviceType == VK_PHYSICAL_DEVICE_TYPE_CPU;
    maxUniformRange = properties.limits.maxUniformBufferRange;
    if (properties.limits.timestampPeriod > 0) {
        timestampFrequency = 1e9 / static_cast<double>(properties.limits.timestampPeriod);
    }
}

void Gpu::PickQueueFamily()
{
    uint32_t count = 0;
    InstanceVk().GetPhysicalDeviceQueueFamilyProperties(physicalDevice, &count, nullptr);
    std::vector<VkQueueFamilyProperties> families(count);
    InstanceVk().GetPhysicalDeviceQueueFamilyProperties(physicalDevice, &count, families.data());
    constexpr VkQueueFlags needed = VK_QUEUE_GRAPHICS_BIT | VK_QUEUE_COMPUTE_BIT;
    for (uint32_t i = 0; i < count; ++i) {
        if ((families[i].queueFlags & needed) == needed) {
            queueFamily = i;
            const uint32_t bits = families[i].timestampValidBits;
            features.timestamps = bits > 0;
            timestampMask = bits >= 64 ? ~0ull : (1ull << bits) - 1;
            return;
        }
    }
    DebugLine("D3D11CreateDevice: device \"%s\" has no queue for graphics and compute", properties.deviceName);
    throw VulkanError{VK_ERROR_FEATURE_NOT_PRESENT, "vkGetPhysicalDeviceQueueFamilyProperties"};
}

void Gpu::CreateDevice()
{
    FeatureChain chain(ExtensionNames(InstanceVk(), physicalDevice));
    InstanceVk().GetPhysicalDeviceFeatures2(physicalDevice, &chain.core);
    chain.Trim();
    if (const char* missing = chain.FirstMissing()) {
        DebugLine("D3D11CreateDevice: device \"%s\" lacks the feature %s", properties.deviceName, missing);
        throw VulkanError{VK_ERROR_FEATURE_NOT_PRESENT, "vkGetPhysicalDeviceFeatures2"};
    }
    const bool timestamps = features.timestamps;
    features = Summarize(chain);
    features.timestamps = timestamps;
    features.swapchains = m_instance->HasSurfaces() && chain.Enable(VK_KHR_SWAPCHAIN_EXTENSION_NAME);
    features.hdrMetadata = features.swapchains && chain.Enable(VK_EXT_HDR_METADATA_EXTENSION_NAME);
    if (chain.dynamic3.extendedDynamicState3ColorBlendEnable) {
        VkPhysicalDeviceExtendedDynamicState3PropertiesEXT dynamicProperties{
            VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_EXTENDED_DYNAMIC_STATE_3_PROPERTIES_EXT};
        VkPhysicalDeviceProperties2 query{VK_STRUCTURE_TYPE_PHYSICAL_DEVICE_PROPERTIES_2, &dynamicProperties, {}};
        InstanceVk().GetPhysicalDeviceProperties2(physicalDevice, &query);
        features.anyDynamicTopology = dynamicProperties.dynamicPrimitiveTopologyUnrestricted;
    }

    if (DebugSwitch("baked-state")) {
        features.dynamicVertexInput = features.dynamicBlend = features.anyDynamicTopology = false;
    }

    const float priority = 1.0f;
    VkDeviceQueueCreateInfo queue{VK_STRUCTURE_TYPE_DEVICE_QUEUE_CREATE_INFO};
    queue.queueFamilyIndex = queueFamily;
    queue.queueCount = 1;
    queue.pQueuePriorities = &priority;
    VkDeviceCreateInfo info{VK_STRUCTURE_TYPE_DEVICE_CREATE_INFO};
    info.pNext = &chain.core;
    info.queueCreateInfoCount = 1;
    info.pQueueCreateInfos = &queue;
    info.enabledExtensionCount = static_cast<uint32_t>(chain.extensions.size());
    info.ppEnabledExtensionNames = chain.extensions.data();
    Check(InstanceVk().CreateDevice(physicalDevice, &info, nullptr, &device), "vkCreateDevice");
    if (!vk.Load(InstanceVk().GetDeviceProcAddr, device)) {
        throw VulkanError{VK_ERROR_INCOMPATIBLE_DRIVER, "vkGetDeviceProcAddr"};
    }
    vk.GetDeviceQueue(device, queueFamily, 0, &m_queue);
}

void Gpu::CreateTimeline()
{
    VkSemaphoreTypeCreateInfo type{VK_STRUCTURE_TYPE_SEMAPHORE_TYPE_CREATE_INFO};
    type.semaphoreType = VK_SEMAPHORE_TYPE_TIMELINE;
    VkSemaphoreCreateInfo info{VK_STRUCTURE_TYPE_SEMAPHORE_CREATE_INFO, &type, 0};
    Check(vk.CreateSemaphore(device, &info, nullptr, &m_timeline), "vkCreateSemaphore");
}

VkFormatProperties Gpu::FormatProperties(VkFormat format) const
{
    VkFormatProperties found;
    InstanceVk().GetPhysicalDeviceFormatProperties(physicalDevice, format, &found);
    return found;
}

std::uint64_t Gpu::UpdateCompleted()
{
    std::uint64_t value = 0;
    const VkResult result = vk.GetSemaphoreCounterValue(device, m_timeline, &value);
    if (result == VK_ERROR_DEVICE_LOST) {
        MarkLost(DXGI_ERROR_DEVICE_REMOVED);
    }
    if (IsLost()) {
        // Nothing runs on a lost device any more.
        value = RecordingSerial() - 1;
    }
    std::uint64_t known = m_completed.load(std::memory_order_relaxed);
    while (known < value && !m_completed.compare_exchange_weak(known, value, std::memory_order_acq_rel)) {
    }
    if (known < value) {
        m_releases.Collect(value);
    }
    return m_completed.load(std::memory_order_acquire);
}

bool Gpu::Wait(std::uint64_t serial)
{
    if (serial > CompletedSerial() && !IsLost()) {
        VkSemaphoreWaitInfo info{VK_STRUCTURE_TYPE_SEMAPHORE_WAIT_INFO};
        info.semaphoreCount = 1;
        info.pSemaphores = &m_timeline;
        info.pValues = &serial;
        const VkResult result = vk.WaitSemaphores(device, &info, ~0ull);
        if (result < 0) {
            MarkLost(ToHresult(result) == E_OUTOFMEMORY ? DXGI_ERROR_DRIVER_INTERNAL_ERROR : DXGI_ERROR_DEVICE_REMOVED);
        }
        UpdateCompleted();
    }
    return !IsLost();
}

void Gpu::Submit(const VkCommandBufferSubmitInfo* buffers, uint32_t count, const QueueSync* sync)
{
    const std::uint64_t serial = RecordingSerial();
    VkSemaphoreSubmitInfo signals[2] = {{VK_STRUCTURE_TYPE_SEMAPHORE_SUBMIT_INFO},
                                        {VK_STRUCTURE_TYPE_SEMAPHORE_SUBMIT_INFO}};
    signals[0].semaphore = m_timeline;
    signals[0].value = serial;
    signals[0].stageMask = VK_PIPELINE_STAGE_2_ALL_COMMANDS_BIT;
    signals[1].semaphore = sync ? sync->signal : VK_NULL_HANDLE;
    signals[1].stageMask = VK_PIPELINE_STAGE_2_ALL_COMMANDS_BIT;
    VkSemaphoreSubmitInfo wait{VK_STRUCTURE_TYPE_SEMAPHORE_SUBMIT_INFO};
    wait.semaphore = sync ? sync->wait : VK_NULL_HANDLE;
    wait.stageMask = VK_PIPELINE_STAGE_2_TRANSFER_BIT;
    VkSubmitInfo2 info{VK_STRUCTURE_TYPE_SUBMIT_INFO_2};
    info.commandBufferInfoCount = count;
    info.pCommandBufferInfos = buffers;
    info.waitSemaphoreInfoCount = sync ? 1 : 0;
    info.pWaitSemaphoreInfos = &wait;
    info.signalSemaphoreInfoCount = sync ? 2 : 1;
    info.pSignalSemaphoreInfos = signals;
    m_recording.store(serial + 1, std::memory_order_relaxed);
    if (IsLost()) {
        return;
    }
    VkResult result;
    {
        std::lock_guard lock(m_queueMutex);
        result = vk.QueueSubmit2(m_queue, 1, &info, VK_NULL_HANDLE);
    }
    if (result < 0) {
        MarkLost(result == VK_ERROR_DEVICE_LOST ? DXGI_ERROR_DEVICE_REMOVED : DXGI_ERROR_DRIVER_INTERNAL_ERROR);
        Check(result, "vkQueueSubmit2");
    }
    if (m_loseAfter != 0 && serial >= m_loseAfter) {
        // The work already handed over ends first, so that nothing runs on a device that is reported lost.
        WaitIdle();
        MarkLost(m_loseReason);
    } else if (m_waitEach) {
        Wait(serial);
    }
}

VkResult Gpu::Present(const VkPresentInfoKHR& info)
{
    VkResult result;
    {
        std::lock_guard lock(m_queueMutex);
        result = vk.QueuePresentKHR(m_queue, &info);
    }
    if (result == VK_ERROR_DEVICE_LOST) {
        MarkLost(DXGI_ERROR_DEVICE_REMOVED);
    }
    return result;
}

void Gpu::WaitIdle()
{
    std::lock_guard lock(m_queueMutex);
    vk.DeviceWaitIdle(device);
}

void Gpu::SubmitAndWait(VkCommandBuffer commands)
{
    if (IsLost()) {
        return;
    }
    VkFenceCreateInfo fenceInfo{VK_STRUCTURE_TYPE_FENCE_CREATE_INFO};
    VkFence fence = VK_NULL_HANDLE;
    Check(vk.CreateFence(device, &fenceInfo, nullptr, &fence), "vkCreateFence");
    const VkCommandBufferSubmitInfo buffer{VK_STRUCTURE_TYPE_COMMAND_BUFFER_SUBMIT_INFO, nullptr, commands, 0};
    VkSubmitInfo2 info{VK_STRUCTURE_TYPE_SUBMIT_INFO_2};
    info.commandBufferInfoCount = 1;
    info.pCommandBufferInfos = &buffer;
    VkResult result;
    {
        std::lock_guard lock(m_queueMutex);
        result = vk.QueueSubmit2(m_queue, 1, &info, fence);
    }
    if (result == VK_SUCCESS) {
        result = vk.WaitForFences(device, 1, &fence, VK_TRUE, ~0ull);
    }
    vk.DestroyFence(device, fence, nullptr);
    Check(result, "vkQueueSubmit2");
}

void Gpu::MarkLost(HRESULT reason)
{
    HRESULT working = S_OK;
    if (m_removed.compare_exchange_strong(working, reason, std::memory_order_acq_rel)) {
        DebugLine("ID3D11Device: the device is lost (reason 0x%08x)", static_cast<unsigned>(reason));
    }
}

HRESULT Gpu::Report(const VulkanError& error, const char* method)
{
    if (error.result == VK_ERROR_DEVICE_LOST) {
        MarkLost(DXGI_ERROR_DEVICE_REMOVED);
    }
    const HRESULT result = ToHresult(error.result);
    DebugLine("%s: %s failed (VkResult %d)", method, error.call, error.result);
    return result;
}

void Gpu::SetName(VkObjectType type, std::uint64_t handle, const char* name) const
{
    if (!HasDebugUtils() || handle == 0) {
        return;
    }
    VkDebugUtilsObjectNameInfoEXT info{VK_STRUCTURE_TYPE_DEBUG_UTILS_OBJECT_NAME_INFO_EXT};
    info.objectType = type;
    info.objectHandle = handle;
    info.pObjectName = name;
    InstanceVk().SetDebugUtilsObjectNameEXT(device, &info);
}

} // namespace gleam
