// First contents of textures and device-local buffers on their way to the device. Any thread that creates a resource
// adds to the queue; the context records it all ahead of its next submission.
#pragma once

#include <vector>

#include "vulkan/Gpu.h"
#include "vulkan/Tracking.h"

namespace gleam {

class UploadQueue
{
public:
    explicit UploadQueue(Gpu& gpu) : m_gpu(gpu) {}
    UploadQueue(const UploadQueue&) = delete;
    UploadQueue& operator=(const UploadQueue&) = delete;
    ~UploadQueue();

    /// Copies `regions` of `source` into the whole of a fresh image, which ends in the state `after`. Takes over the
    /// slice. Past 64 MiB of waiting data the call sends it to the device itself and waits for it.
    void AddImage(const Slice& source, VkImage image, VkImageAspectFlags aspects,
                  const std::vector<VkBufferImageCopy>& regions, const Access& after);
    void AddBuffer(const Slice& source, VkBuffer buffer, VkDeviceSize offset, VkDeviceSize size);

    /// Records everything that waits; the slices go to `used`, to be released after the submission. Gives false when
    /// there was nothing.
    bool Record(VkCommandBuffer commands, std::vector<Slice>& used);

    /// Whether there is something to record. May be out of date at once.
    bool IsPending() const { return m_pending.load(std::memory_order_acquire); }

private:
    struct ImageTask
    {
        Slice source;
        VkImage image;
        VkImageAspectFlags aspects;
        std::size_t firstRegion;
        std::size_t regionCount;
        Access after;
    };
    struct BufferTask
    {
        Slice source;
        VkBuffer buffer;
        VkBufferCopy region;
    };

    void RecordNolock(VkCommandBuffer commands, std::vector<Slice>& used);
    void TransitionAllNolock(VkCommandBuffer commands, bool before);
    void SendIfLargeNolock();

    Gpu& m_gpu;
    std::mutex m_mutex;
    std::atomic<bool> m_pending{false};
    std::vector<ImageTask> m_images;
    std::vector<VkBufferImageCopy> m_regions;
    std::vector<BufferTask> m_buffers;
    VkDeviceSize m_bytes = 0;
    VkCommandPool m_pool = VK_NULL_HANDLE;
    VkCommandBuffer m_commands = VK_NULL_HANDLE;
};

} // namespace gleam
