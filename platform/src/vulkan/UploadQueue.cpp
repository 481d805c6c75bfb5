// Records first contents in bulk: one barrier, all copies, one barrier.
#include "vulkan/UploadQueue.h"

namespace gleam {
namespace {

constexpr VkDeviceSize LargestBacklog = 64u << 20;

} // namespace

UploadQueue::~UploadQueue()
{
    for (const ImageTask& task : m_images) {
        m_gpu.slices.Release(task.source);
    }
    for (const BufferTask& task : m_buffers) {
        m_gpu.slices.Release(task.source);
    }
    if (m_pool) {
        m_gpu.vk.DestroyCommandPool(m_gpu.device, m_pool, nullptr);
    }
}

void UploadQueue::AddImage(const Slice& source, VkImage image, VkImageAspectFlags aspects,
                           const std::vector<VkBufferImageCopy>& regions, const Access& after)
{
    std::lock_guard lock(m_mutex);
    m_images.push_back({source, image, aspects, m_regions.size(), regions.size(), after});
    m_regions.insert(m_regions.end(), regions.begin(), regions.end());
    m_bytes += source.size;
    m_pending.store(true, std::memory_order_release);
    SendIfLargeNolock();
}

void UploadQueue::AddBuffer(const Slice& source, VkBuffer buffer, VkDeviceSize offset, VkDeviceSize size)
{
    std::lock_guard lock(m_mutex);
    m_buffers.push_back({source, buffer, {source.offset, offset, size}});
    m_bytes += source.size;
    m_pending.store(true, std::memory_order_release);
    SendIfLargeNolock();
}

bool UploadQueue::Record(VkCommandBuffer commands, std::vector<Slice>& used)
{
    std::lock_guard lock(m_mutex);
    if (m_images.empty() && m_buffers.empty()) {
        return false;
    }
    RecordNolock(commands, used);
    return true;
}

void UploadQueue::TransitionAllNolock(VkCommandBuffer commands, bool before)
{
    BarrierBatch barriers;
    for (const ImageTask& task : m_images) {
        const VkImageSubresourceRange range{task.aspects, 0, VK_REMAINING_MIP_LEVELS, 0, VK_REMAINING_ARRAY_LAYERS};
        const Dependency fresh{0, 0, VK_IMAGE_LAYOUT_UNDEFINED};
        const Dependency written{access::CopyWrite.stages, access::CopyWrite.access, access::CopyWrite.layout};
        barriers.AddImage(task.image, range, before ? fresh : written, before ? access::CopyWrite : task.after);
    }
    if (!before && !m_buffers.empty()) {
        barriers.AddMemory({access::CopyWrite.stages, access::CopyWrite.access, VK_IMAGE_LAYOUT_UNDEFINED},
                           access::BufferRead);
    }
    barriers.Record(m_gpu.vk, commands);
}

void UploadQueue::RecordNolock(VkCommandBuffer commands, std::vector<Slice>& used)
{
    TransitionAllNolock(commands, true);
    for (const ImageTask& task : m_images) {
        m_gpu.vk.CmdCopyBufferToImage(commands, task.source.buffer, task.image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL,
                                      static_cast<uint32_t>(task.regionCount), &m_regions[task.firstRegion]);
        used.push_back(task.source);
    }
    for (const BufferTask& task : m_buffers) {
        m_gpu.vk.CmdCopyBuffer(commands, task.source.buffer, task.buffer, 1, &task.region);
        used.push_back(task.source);
    }
    TransitionAllNolock(commands, false);
    m_images.clear();
    m_regions.clear();
    m_buffers.clear();
    m_bytes = 0;
    m_pending.store(false, std::memory_order_release);
}

void UploadQueue::SendIfLargeNolock()
{
    if (m_bytes <= LargestBacklog) {
        return;
    }
    if (!m_pool) {
        VkCommandPoolCreateInfo info{VK_STRUCTURE_TYPE_COMMAND_POOL_CREATE_INFO};
        info.queueFamilyIndex = m_gpu.queueFamily;
        Check(m_gpu.vk.CreateCommandPool(m_gpu.device, &info, nullptr, &m_pool), "vkCreateCommandPool");
        VkCommandBufferAllocateInfo allocate{VK_STRUCTURE_TYPE_COMMAND_BUFFER_ALLOCATE_INFO};
        allocate.commandPool = m_pool;
        allocate.level = VK_COMMAND_BUFFER_LEVEL_PRIMARY;
        allocate.commandBufferCount = 1;
        Check(m_gpu.vk.AllocateCommandBuffers(m_gpu.device, &allocate, &m_commands), "vkAllocateCommandBuffers");
    }
    Check(m_gpu.vk.ResetCommandPool(m_gpu.device, m_pool, 0), "vkResetCommandPool");
    VkCommandBufferBeginInfo begin{VK_STRUCTURE_TYPE_COMMAND_BUFFER_BEGIN_INFO};
    begin.flags = VK_COMMAND_BUFFER_USAGE_ONE_TIME_SUBMIT_BIT;
    Check(m_gpu.vk.BeginCommandBuffer(m_commands, &begin), "vkBeginCommandBuffer");
    std::vector<Slice> used;
    RecordNolock(m_commands, used);
    Check(m_gpu.vk.EndCommandBuffer(m_commands), "vkEndCommandBuffer");
    try {
        m_gpu.SubmitAndWait(m_commands);
    } catch (const VulkanError&) {
        m_gpu.slices.Release(used.data(), used.size());
        throw;
    }
    m_gpu.slices.Release(used.data(), used.size());
}

} // namespace gleam
