// Vulkan entry points, loaded from the system's loader at run time. Device functions come straight from the driver
// (or the layer above it), so no call goes through the loader's trampolines.
#pragma once

#ifndef VK_NO_PROTOTYPES
#define VK_NO_PROTOTYPES
#endif
#include <vulkan/vulkan.h>

namespace gleam {

#define GLEAM_VK_GLOBAL_FUNCTIONS(X)                                                                                   \
    X(CreateInstance)                                                                                                  \
    X(EnumerateInstanceExtensionProperties)                                                                            \
    X(EnumerateInstanceLayerProperties)                                                                                \
    X(EnumerateInstanceVersion)

#define GLEAM_VK_INSTANCE_FUNCTIONS(X)                                                                                 \
    X(CreateDevice)                                                                                                    \
    X(DestroyInstance)                                                                                                 \
    X(EnumerateDeviceExtensionProperties)                                                                              \
    X(EnumeratePhysicalDevices)                                                                                        \
    X(GetDeviceProcAddr)                                                                                               \
    X(GetPhysicalDeviceFeatures2)                                                                                      \
    X(GetPhysicalDeviceFormatProperties)                                                                               \
    X(GetPhysicalDeviceImageFormatProperties2)                                                                         \
    X(GetPhysicalDeviceMemoryProperties)                                                                               \
    X(GetPhysicalDeviceProperties)                                                                                     \
    X(GetPhysicalDeviceProperties2)                                                                                    \
    X(GetPhysicalDeviceQueueFamilyProperties)

// Null when the instance lacks VK_EXT_debug_utils.
#define GLEAM_VK_DEBUG_FUNCTIONS(X)                                                                                    \
    X(CreateDebugUtilsMessengerEXT)                                                                                    \
    X(DestroyDebugUtilsMessengerEXT)                                                                                   \
    X(SetDebugUtilsObjectNameEXT)                                                                                      \
    X(CmdBeginDebugUtilsLabelEXT)                                                                                      \
    X(CmdEndDebugUtilsLabelEXT)                                                                                        \
    X(CmdInsertDebugUtilsLabelEXT)

// Null when the instance lacks VK_KHR_surface.
#define GLEAM_VK_SURFACE_FUNCTIONS(X)                                                                                  \
    X(DestroySurfaceKHR)                                                                                               \
    X(GetPhysicalDeviceSurfaceCapabilitiesKHR)                                                                         \
    X(GetPhysicalDeviceSurfaceFormatsKHR)                                                                              \
    X(GetPhysicalDeviceSurfacePresentModesKHR)                                                                         \
    X(GetPhysicalDeviceSurfaceSupportKHR)

#define GLEAM_VK_DEVICE_FUNCTIONS(X)                                                                                   \
    X(AllocateCommandBuffers)                                                                                          \
    X(AllocateDescriptorSets)                                                                                          \
    X(AllocateMemory)                                                                                                  \
    X(BeginCommandBuffer)                                                                                              \
    X(BindBufferMemory)                                                                                                \
    X(BindImageMemory)                                                                                                 \
    X(CmdBeginQuery)                                                                                                   \
    X(CmdBeginRendering)                                                                                               \
    X(CmdBindDescriptorSets)                                                                                           \
    X(CmdBindIndexBuffer)                                                                                              \
    X(CmdBindPipeline)                                                                                                 \
    X(CmdBindVertexBuffers)                                                                                            \
    X(CmdBindVertexBuffers2)                                                                                           \
    X(CmdBlitImage)                                                                                                    \
    X(CmdClearAttachments)                                                                                             \
    X(CmdClearColorImage)                                                                                              \
    X(CmdCopyBuffer)                                                                                                   \
    X(CmdCopyBufferToImage)                                                                                            \
    X(CmdCopyImage)                                                                                                    \
    X(CmdCopyImageToBuffer)                                                                                            \
    X(CmdDispatch)                                                                                                     \
    X(CmdDispatchIndirect)                                                                                             \
    X(CmdDraw)                                                                                                         \
    X(CmdDrawIndexed)                                                                                                  \
    X(CmdDrawIndexedIndirect)                                                                                          \
    X(CmdDrawIndirect)                                                                                                 \
    X(CmdEndQuery)                                                                                                     \
    X(CmdEndRendering)                                                                                                 \
    X(CmdFillBuffer)                                                                                                   \
    X(CmdPipelineBarrier2)                                                                                             \
    X(CmdResolveImage)                                                                                                 \
    X(CmdSetBlendConstants)                                                                                            \
    X(CmdSetCullMode)                                                                                                  \
    X(CmdSetDepthBias)                                                                                                 \
    X(CmdSetDepthBiasEnable)                                                                                           \
    X(CmdSetDepthCompareOp)                                                                                            \
    X(CmdSetDepthTestEnable)                                                                                           \
    X(CmdSetDepthWriteEnable)                                                                                          \
    X(CmdSetFrontFace)                                                                                                 \
    X(CmdSetPrimitiveRestartEnable)                                                                                    \
    X(CmdSetPrimitiveTopology)                                                                                         \
    X(CmdSetScissorWithCount)                                                                                          \
    X(CmdSetStencilCompareMask)                                                                                        \
    X(CmdSetStencilOp)                                                                                                 \
    X(CmdSetStencilReference)                                                                                          \
    X(CmdSetStencilTestEnable)                                                                                         \
    X(CmdSetStencilWriteMask)                                                                                          \
    X(CmdSetViewportWithCount)                                                                                         \
    X(CmdWriteTimestamp2)                                                                                              \
    X(CreateBuffer)                                                                                                    \
    X(CreateBufferView)                                                                                                \
    X(CreateCommandPool)                                                                                               \
    X(CreateComputePipelines)                                                                                          \
    X(CreateDescriptorPool)                                                                                            \
    X(CreateDescriptorSetLayout)                                                                                       \
    X(CreateFence)                                                                                                     \
    X(CreateGraphicsPipelines)                                                                                         \
    X(CreateImage)                                                                                                     \
    X(CreateImageView)                                                                                                 \
    X(CreatePipelineCache)                                                                                             \
    X(CreatePipelineLayout)                                                                                            \
    X(CreateQueryPool)                                                                                                 \
    X(CreateSampler)                                                                                                   \
    X(CreateSemaphore)                                                                                                 \
    X(CreateShaderModule)                                                                                              \
    X(DestroyBuffer)                                                                                                   \
    X(DestroyBufferView)                                                                                               \
    X(DestroyCommandPool)                                                                                              \
    X(DestroyDescriptorPool)                                                                                           \
    X(DestroyDescriptorSetLayout)                                                                                      \
    X(DestroyDevice)                                                                                                   \
    X(DestroyFence)                                                                                                    \
    X(DestroyImage)                                                                                                    \
    X(DestroyImageView)                                                                                                \
    X(DestroyPipeline)                                                                                                 \
    X(DestroyPipelineCache)                                                                                            \
    X(DestroyPipelineLayout)                                                                                           \
    X(DestroyQueryPool)                                                                                                \
    X(DestroySampler)                                                                                                  \
    X(DestroySemaphore)                                                                                                \
    X(DestroyShaderModule)                                                                                             \
    X(DeviceWaitIdle)                                                                                                  \
    X(EndCommandBuffer)                                                                                                \
    X(FreeMemory)                                                                                                      \
    X(GetBufferMemoryRequirements)                                                                                     \
    X(GetDeviceQueue)                                                                                                  \
    X(GetImageMemoryRequirements)                                                                                      \
    X(GetPipelineCacheData)                                                                                            \
    X(GetQueryPoolResults)                                                                                             \
    X(GetSemaphoreCounterValue)                                                                                        \
    X(MapMemory)                                                                                                       \
    X(QueueSubmit2)                                                                                                    \
    X(ResetCommandPool)                                                                                                \
    X(ResetDescriptorPool)                                                                                             \
    X(ResetQueryPool)                                                                                                  \
    X(UpdateDescriptorSets)                                                                                            \
    X(WaitForFences)                                                                                                   \
    X(WaitSemaphores)

// Null when the device lacks the extension that brings them.
#define GLEAM_VK_OPTIONAL_FUNCTIONS(X)                                                                                 \
    X(AcquireNextImageKHR)                                                                                             \
    X(CmdSetAlphaToCoverageEnableEXT)                                                                                  \
    X(CmdSetColorBlendEnableEXT)                                                                                       \
    X(CmdSetColorBlendEquationEXT)                                                                                     \
    X(CmdSetColorWriteMaskEXT)                                                                                         \
    X(CmdSetDepthClipEnableEXT)                                                                                        \
    X(CmdSetPolygonModeEXT)                                                                                            \
    X(CmdSetSampleMaskEXT)                                                                                             \
    X(CmdSetVertexInputEXT)                                                                                            \
    X(CreateSwapchainKHR)                                                                                              \
    X(DestroySwapchainKHR)                                                                                             \
    X(GetSwapchainImagesKHR)                                                                                           \
    X(QueuePresentKHR)                                                                                                 \
    X(SetHdrMetadataEXT)

#define GLEAM_VK_MEMBER(name) PFN_vk##name name = nullptr;

struct GlobalFunctions
{
    PFN_vkGetInstanceProcAddr GetInstanceProcAddr = nullptr;
    GLEAM_VK_GLOBAL_FUNCTIONS(GLEAM_VK_MEMBER)

    /// Opens the system's Vulkan loader, once per process. False when there is none.
    bool Load();
};

struct InstanceFunctions
{
    GLEAM_VK_INSTANCE_FUNCTIONS(GLEAM_VK_MEMBER)
    GLEAM_VK_DEBUG_FUNCTIONS(GLEAM_VK_MEMBER)
    GLEAM_VK_SURFACE_FUNCTIONS(GLEAM_VK_MEMBER)

    bool Load(const GlobalFunctions& global, VkInstance instance);
};

struct DeviceFunctions
{
    GLEAM_VK_DEVICE_FUNCTIONS(GLEAM_VK_MEMBER)
    GLEAM_VK_OPTIONAL_FUNCTIONS(GLEAM_VK_MEMBER)

    /// False when a function that every Vulkan 1.3 device has is missing.
    bool Load(PFN_vkGetDeviceProcAddr get, VkDevice device);
};

#undef GLEAM_VK_MEMBER

} // namespace gleam
