// Device memory: buffers and images take pieces of large blocks.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "vulkan/Error.h"

namespace gleam {

/// What a piece of memory is for, in order of what is looked for in the device's memory types.
enum class EMemoryUse : unsigned char
{
    Device,   ///< device local, mapped only where all device memory can be
    Upload,   ///< mapped and coherent; device local when the device has such memory
    Readback, ///< mapped, coherent and cached
};

/// Buffers and images lie in blocks of their own, which keeps bufferImageGranularity out of the way.
enum class EMemoryKind : unsigned char
{
    Buffer,
    Image,
};

struct MemoryBlock;

/// A piece of a block. `mapped` is null where the memory is not host visible.
struct Allocation
{
    MemoryBlock* block = nullptr;
    VkDeviceMemory memory = VK_NULL_HANDLE;
    VkDeviceSize offset = 0;
    VkDeviceSize size = 0;
    std::byte* mapped = nullptr;

    explicit operator bool() const { return block != nullptr; }
};

/// Hands out pieces of 32 MiB blocks, best fit; larger requests get a block of their own. Up to 64 MiB of empty blocks
/// stay for reuse, since the first touch of fresh memory is dear. On a processor device blocks ask for huge pages.
/// Safe from any thread.
class MemoryAllocator
{
public:
    MemoryAllocator();
    MemoryAllocator(const MemoryAllocator&) = delete;
    MemoryAllocator& operator=(const MemoryAllocator&) = delete;
    ~MemoryAllocator();

    void Init(const DeviceFunctions& vk, VkDevice device, const VkPhysicalDeviceMemoryProperties& properties,
              VkDeviceSize maxAllocation, bool processorDevice);
    /// Frees all blocks; every piece has to be back.
    void Shutdown();

    /// Throws VulkanError when memory runs out.
    Allocation Allocate(const VkMemoryRequirements& requirements, EMemoryUse use, EMemoryKind kind);
    void Free(const Allocation& allocation);

    /// Whether all device-local memory can be mapped, so that initial data needs no staging copy.
    bool Unified() const { return m_unified; }

    /// Bytes in all blocks, for tests.
    VkDeviceSize ReservedBytes() const;

private:
    uint32_t FindType(uint32_t typeBits, EMemoryUse use) const;
    MemoryBlock& AddBlockNolock(VkDeviceSize size, uint32_t type, EMemoryKind kind);
    void ReleaseBlockNolock(MemoryBlock* block);

    const DeviceFunctions* m_vk = nullptr;
    VkDevice m_device = VK_NULL_HANDLE;
    VkPhysicalDeviceMemoryProperties m_properties{};
    VkDeviceSize m_maxAllocation = 0;
    bool m_processorDevice = false;
    bool m_unified = false;
    mutable std::mutex m_mutex;
    std::vector<std::unique_ptr<MemoryBlock>> m_blocks;
    VkDeviceSize m_emptyBytes = 0;
};

} // namespace gleam
