// What every side that is written straight in Vulkan shares: device, memory, command buffer, shaders, pipeline.
#pragma once

#include <vulkan/vulkan.h>

#include <cstddef>
#include <vector>

namespace bench {

/// The first device that the Vulkan loader names that matches the platform layer's own choice (a discrete GPU, else an
/// integrated one, else the processor), with one queue and one command buffer that is recorded anew for each frame.
/// Entry points come from the driver, past the loader. One thread; the destructor waits for the device.
struct RawVulkanDevice
{
    struct Buffer
    {
        VkBuffer buffer = VK_NULL_HANDLE;
        std::byte* bytes = nullptr; ///< mapped for the buffer's life
    };

    struct Image
    {
        VkImage image = VK_NULL_HANDLE;
        VkImageView view = VK_NULL_HANDLE;
    };

    /// `extensions` are the instance's, for a window; with any of them the device can present.
    explicit RawVulkanDevice(const std::vector<const char*>& extensions = {});
    ~RawVulkanDevice();
    RawVulkanDevice(const RawVulkanDevice&) = delete;
    RawVulkanDevice& operator=(const RawVulkanDevice&) = delete;

    Buffer MakeBuffer(VkDeviceSize size, VkBufferUsageFlags usage);
    /// Square, R8G8B8A8_UNORM, one mip.
    Image MakeImage(uint32_t side, VkImageUsageFlags usage);
    /// A pipeline of two GLSL texts for a target of that format, with viewport and scissor dynamic and no blending;
    /// null when they do not compile.
    VkPipeline MakePipeline(const char* vertex, const char* fragment, const VkPipelineVertexInputStateCreateInfo& input,
                            VkPipelineLayout layout, VkCullModeFlags cull);

    void BeginCommands();
    void EndAndSubmit();
    void Wait();
    /// Clears the target and makes it the one that is drawn into, the whole of it with y up.
    void BeginTarget(const Image& target, uint32_t side);
    void EndTarget();
    void Barrier(VkImage image, VkImageLayout from, VkImageLayout to, VkAccessFlags source, VkAccessFlags target,
                 VkPipelineStageFlags sourceStage, VkPipelineStageFlags targetStage) const;
    /// The target's pixels after the last frame.
    std::vector<unsigned> ReadPixels(const Image& target, uint32_t side);

    const char* problem = nullptr; ///< why it cannot run, null when it can
    VkInstance instance = VK_NULL_HANDLE;
    VkPhysicalDevice physical = VK_NULL_HANDLE;
    VkDevice device = VK_NULL_HANDLE;
    VkQueue queue = VK_NULL_HANDLE;
    uint32_t family = 0;
    VkCommandPool pool = VK_NULL_HANDLE;
    VkCommandBuffer commands = VK_NULL_HANDLE;
    VkFence fence = VK_NULL_HANDLE;

// clang-format off
#define RAW_DEVICE_CALLS(X)                                                                                            \
    X(BeginCommandBuffer) X(EndCommandBuffer) X(ResetCommandPool) X(CmdBeginRendering) X(CmdEndRendering)              \
    X(CmdBindPipeline) X(CmdSetViewport) X(CmdSetScissor) X(CmdBindDescriptorSets) X(CmdBindVertexBuffers)             \
    X(CmdBindIndexBuffer) X(CmdDraw) X(CmdDrawIndexed) X(CmdPipelineBarrier) X(CmdCopyImageToBuffer)                   \
    X(CmdCopyBufferToImage) X(QueueSubmit) X(WaitForFences) X(ResetFences)
// clang-format on
#define RAW_MEMBER(name) PFN_vk##name name = nullptr;
    RAW_DEVICE_CALLS(RAW_MEMBER)
#undef RAW_MEMBER

private:
    bool Open(const std::vector<const char*>& extensions);
    void PickDevice();
    bool MakeDevice(bool presents);
    uint32_t MemoryType(uint32_t bits, VkMemoryPropertyFlags flags) const;
    VkDeviceMemory Allocate(const VkMemoryRequirements& need, VkMemoryPropertyFlags flags);
    void MakeCommands();

    std::vector<VkBuffer> m_buffers;
    std::vector<Image> m_images;
    std::vector<VkDeviceMemory> m_memory;
    std::vector<VkShaderModule> m_modules;
    std::vector<VkPipeline> m_pipelines;
};

} // namespace bench
