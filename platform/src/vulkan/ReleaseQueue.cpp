// Delayed destruction.
#include "vulkan/ReleaseQueue.h"

#include <algorithm>

namespace gleam {

void ReleaseQueue::Init(const DeviceFunctions& vk, VkDevice device, MemoryAllocator& memory, SlicePool& slices)
{
    m_vk = &vk;
    m_device = device;
    m_memory = &memory;
    m_slices = &slices;
}

void ReleaseQueue::Retire(const Retired& object, std::uint64_t lastUse, std::uint64_t completed)
{
    if (lastUse <= completed) {
        Free(object);
        return;
    }
    std::lock_guard lock(m_mutex);
    m_entries.push_back({object, lastUse});
}

void ReleaseQueue::Collect(std::uint64_t completed)
{
    std::lock_guard collecting(m_collectMutex);
    m_ready.clear();
    {
        std::lock_guard lock(m_mutex);
        std::erase_if(m_entries, [&](const Entry& entry) {
            if (entry.lastUse > completed) {
                return false;
            }
            m_ready.push_back(entry.object);
            return true;
        });
    }
    for (const Retired& object : m_ready) {
        Free(object);
    }
}

void ReleaseQueue::Free(const Retired& object)
{
    m_vk->DestroyImageView(m_device, object.imageView, nullptr);
    m_vk->DestroyBufferView(m_device, object.bufferView, nullptr);
    m_vk->DestroyBuffer(m_device, object.buffer, nullptr);
    m_vk->DestroyImage(m_device, object.image, nullptr);
    m_vk->DestroyPipeline(m_device, object.pipeline, nullptr);
    m_vk->DestroySampler(m_device, object.sampler, nullptr);
    m_memory->Free(object.memory);
    if (object.slice) {
        m_slices->Release(object.slice);
    }
}

} // namespace gleam
