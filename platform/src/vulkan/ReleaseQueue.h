// Vulkan objects that may still be read by submitted work: they wait here until that work is done.
#pragma once

#include <mutex>
#include <vector>

#include "vulkan/Slices.h"

namespace gleam {

/// Handles and memory of one dead object, in the order of their destruction.
struct Retired
{
    VkImageView imageView = VK_NULL_HANDLE;
    VkBufferView bufferView = VK_NULL_HANDLE;
    VkBuffer buffer = VK_NULL_HANDLE;
    VkImage image = VK_NULL_HANDLE;
    VkPipeline pipeline = VK_NULL_HANDLE;
    VkSampler sampler = VK_NULL_HANDLE;
    Allocation memory;
    Slice slice;
};

/// Safe from any thread.
class ReleaseQueue
{
public:
    void Init(const DeviceFunctions& vk, VkDevice device, MemoryAllocator& memory, SlicePool& slices);

    /// Frees at once when submission `lastUse` is done, else when Collect learns that it is.
    void Retire(const Retired& object, std::uint64_t lastUse, std::uint64_t completed);

    /// Frees what was last used by submissions up to `completed`.
    void Collect(std::uint64_t completed);

private:
    struct Entry
    {
        Retired object;
        std::uint64_t lastUse;
    };

    void Free(const Retired& object);

    const DeviceFunctions* m_vk = nullptr;
    VkDevice m_device = VK_NULL_HANDLE;
    MemoryAllocator* m_memory = nullptr;
    SlicePool* m_slices = nullptr;
    std::mutex m_mutex;
    std::vector<Entry> m_entries;
    std::vector<Retired> m_ready; ///< scratch of Collect, under its own lock
    std::mutex m_collectMutex;
};

} // namespace gleam
