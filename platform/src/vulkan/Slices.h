// Slices: mapped buffer memory that the processor writes and the device reads, handed out and taken back all the
// time. Renamed dynamic buffers, constant buffers and staging data for copies live in them.
#pragma once

#include <array>
#include <mutex>
#include <vector>

#include "vulkan/Memory.h"

namespace gleam {

/// A piece of a mapped buffer that may be used in every way a buffer can be. Offsets are multiples of 256.
struct Slice
{
    VkBuffer buffer = VK_NULL_HANDLE;
    VkDeviceSize offset = 0;
    VkDeviceSize size = 0; ///< capacity, at least what was asked for
    std::byte* mapped = nullptr;
    uint32_t pool = 0; ///< size class, or index of the large buffer

    explicit operator bool() const { return buffer != VK_NULL_HANDLE; }
};

/// Size classes up to 64 KiB are carved from 8 MiB chunks, so that successive renames of a constant buffer differ in
/// their offset alone; larger slices are buffers of their own, of which up to 64 MiB stay for reuse. A slice is given
/// back only when the device no longer reads it. Safe from any thread.
class SlicePool
{
public:
    static constexpr VkDeviceSize Alignment = 256;
    static constexpr VkDeviceSize LargestClass = 64u << 10;

    void Init(const DeviceFunctions& vk, VkDevice device, MemoryAllocator& memory);
    void Shutdown();

    /// Throws VulkanError when memory runs out.
    Slice Acquire(VkDeviceSize size);
    void Release(const Slice& slice) { Release(&slice, 1); }
    void Release(const Slice* slices, std::size_t count);

    /// Takes up to `count` slices of the class that holds `size` onto the end of `to`, at least one.
    void AcquireMany(VkDeviceSize size, std::size_t count, std::vector<Slice>& to);

    static constexpr uint32_t ClassCount = 20;
    /// Class of a size up to LargestClass: steps of 256 bytes to 4 KiB, then powers of two.
    static uint32_t ClassOf(VkDeviceSize size);
    static VkDeviceSize ClassSize(uint32_t sizeClass);

private:
    struct Chunk
    {
        VkBuffer buffer = VK_NULL_HANDLE;
        Allocation memory;
        VkDeviceSize size = 0;
        bool inUse = false; ///< large buffers only
    };

    Chunk MakeChunk(VkDeviceSize size);
    void DestroyChunk(Chunk& chunk);
    Slice CarveNolock(uint32_t sizeClass);
    Slice AcquireLargeNolock(VkDeviceSize size);
    void ReleaseLargeNolock(const Slice& slice);

    const DeviceFunctions* m_vk = nullptr;
    VkDevice m_device = VK_NULL_HANDLE;
    MemoryAllocator* m_memory = nullptr;
    std::mutex m_mutex;
    std::vector<Chunk> m_chunks; ///< the last one is being carved
    VkDeviceSize m_carved = 0;
    std::array<std::vector<Slice>, ClassCount> m_free;
    std::vector<Chunk> m_large;
    VkDeviceSize m_idleLargeBytes = 0;
};

} // namespace gleam
