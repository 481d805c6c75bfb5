// Block allocator for device memory.
#include "vulkan/Memory.h"

#include <sys/mman.h>

#include <algorithm>

namespace gleam {

struct MemoryBlock
{
    VkDeviceMemory memory = VK_NULL_HANDLE;
    VkDeviceSize size = 0;
    VkDeviceSize used = 0;
    std::byte* mapped = nullptr;
    uint32_t type = 0;
    EMemoryKind kind = EMemoryKind::Buffer;
    std::map<VkDeviceSize, VkDeviceSize> freeRanges; ///< offset to size; neighbours are merged
};

namespace {

constexpr VkDeviceSize BlockSize = 32ull << 20;
constexpr VkDeviceSize KeptEmptyBytes = 64ull << 20;
constexpr VkDeviceSize HugePage = 2ull << 20;

VkDeviceSize AlignUp(VkDeviceSize value, VkDeviceSize alignment)
{
    return (value + alignment - 1) / alignment * alignment;
}

// Best fit. Gives false when no free range holds the request.
bool TakeRange(MemoryBlock& block, VkDeviceSize size, VkDeviceSize alignment, VkDeviceSize& offset)
{
    auto best = block.freeRanges.end();
    for (auto it = block.freeRanges.begin(); it != block.freeRanges.end(); ++it) {
        const VkDeviceSize start = AlignUp(it->first, alignment);
        const bool fits = start + size <= it->first + it->second;
        if (fits && (best == block.freeRanges.end() || it->second < best->second)) {
            best = it;
        }
    }
    if (best == block.freeRanges.end()) {
        return false;
    }
    const auto [rangeStart, rangeSize] = *best;
    offset = AlignUp(rangeStart, alignment);
    block.freeRanges.erase(best);
    if (offset > rangeStart) {
        block.freeRanges.emplace(rangeStart, offset - rangeStart);
    }
    if (const VkDeviceSize end = rangeStart + rangeSize; end > offset + size) {
        block.freeRanges.emplace(offset + size, end - offset - size);
    }
    return true;
}

void ReturnRange(MemoryBlock& block, VkDeviceSize offset, VkDeviceSize size)
{
    auto next = block.freeRanges.lower_bound(offset);
    if (next != block.freeRanges.end() && next->first == offset + size) {
        size += next->second;
        next = block.freeRanges.erase(next);
    }
    if (next != block.freeRanges.begin()) {
        const auto previous = std::prev(next);
        if (previous->first + previous->second == offset) {
            previous->second += size;
            return;
        }
    }
    block.freeRanges.emplace(offset, size);
}

void AskForHugePages(std::byte* start, VkDeviceSize size)
{
    const auto address = reinterpret_cast<std::uintptr_t>(start);
    const std::uintptr_t first = AlignUp(address, HugePage);
    const std::uintptr_t last = (address + size) / HugePage * HugePage;
    if (last > first) {
        madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
    }
}

} // namespace

MemoryAllocator::MemoryAllocator() = default;

MemoryAllocator::~MemoryAllocator()
{
    Shutdown();
}

void MemoryAllocator::Init(const DeviceFunctions& vk, VkDevice device,
                           const VkPhysicalDeviceMemoryProperties& properties, VkDeviceSize maxAllocation,
                           bool processorDevice)
{
    m_vk = &vk;
    m_device = device;
    m_properties = properties;
    m_maxAllocation = maxAllocation;
    m_processorDevice = processorDevice;
    m_unified = true;
    for (uint32_t i = 0; i < properties.memoryTypeCount; ++i) {
        const VkMemoryPropertyFlags flags = properties.memoryTypes[i].propertyFlags;
        const VkMemoryPropertyFlags mappable =
            VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
        if ((flags & VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT) && (flags & mappable) != mappable) {
            m_unified = false;
        }
    }
}

void MemoryAllocator::Shutdown()
{
    std::lock_guard lock(m_mutex);
    for (const auto& block : m_blocks) {
        m_vk->FreeMemory(m_device, block->memory, nullptr);
    }
    m_blocks.clear();
    m_emptyBytes = 0;
}

uint32_t MemoryAllocator::FindType(uint32_t typeBits, EMemoryUse use) const
{
    constexpr VkMemoryPropertyFlags local = VK_MEMORY_PROPERTY_DEVICE_LOCAL_BIT;
    constexpr VkMemoryPropertyFlags mapped = VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT | VK_MEMORY_PROPERTY_HOST_COHERENT_BIT;
    constexpr VkMemoryPropertyFlags cached = VK_MEMORY_PROPERTY_HOST_CACHED_BIT;
    const VkMemoryPropertyFlags wanted[3][3] = {
        {m_unified ? local | mapped : local, local, 0},
        {local | mapped, mapped, mapped},
        {mapped | cached, mapped, mapped},
    };
    for (const VkMemoryPropertyFlags flags : wanted[static_cast<int>(use)]) {
        for (uint32_t i = 0; i < m_properties.memoryTypeCount; ++i) {
            if ((typeBits & (1u << i)) && (m_properties.memoryTypes[i].propertyFlags & flags) == flags) {
                return i;
            }
        }
    }
    throw VulkanError{VK_ERROR_OUT_OF_DEVICE_MEMORY, "memory type"};
}

Allocation MemoryAllocator::Allocate(const VkMemoryRequirements& requirements, EMemoryUse use, EMemoryKind kind)
{
    const uint32_t type = FindType(requirements.memoryTypeBits, use);
    const VkDeviceSize size = requirements.size;
    const VkDeviceSize heap = m_properties.memoryHeaps[m_properties.memoryTypes[type].heapIndex].size;
    if (size > heap || size > m_maxAllocation) {
        throw VulkanError{VK_ERROR_OUT_OF_DEVICE_MEMORY, "vkAllocateMemory"};
    }
    std::lock_guard lock(m_mutex);
    MemoryBlock* block = nullptr;
    VkDeviceSize offset = 0;
    for (const auto& candidate : m_blocks) {
        if (candidate->type == type && candidate->kind == kind && candidate->size - candidate->used >= size &&
            TakeRange(*candidate, size, requirements.alignment, offset)) {
            block = candidate.get();
            break;
        }
    }
    if (!block) {
        block = &AddBlockNolock(size > BlockSize / 2 ? size : BlockSize, type, kind);
        TakeRange(*block, size, requirements.alignment, offset);
    }
    if (block->used == 0) {
        m_emptyBytes -= block->size;
    }
    block->used += size;
    return {block, block->memory, offset, size, block->mapped ? block->mapped + offset : nullptr};
}

MemoryBlock& MemoryAllocator::AddBlockNolock(VkDeviceSize size, uint32_t type, EMemoryKind kind)
{
    auto block = std::make_unique<MemoryBlock>();
    VkMemoryAllocateInfo info{VK_STRUCTURE_TYPE_MEMORY_ALLOCATE_INFO};
    info.allocationSize = size;
    info.memoryTypeIndex = type;
    Check(m_vk->AllocateMemory(m_device, &info, nullptr, &block->memory), "vkAllocateMemory");
    if (m_properties.memoryTypes[type].propertyFlags & VK_MEMORY_PROPERTY_HOST_VISIBLE_BIT) {
        void* mapped = nullptr;
        const VkResult result = m_vk->MapMemory(m_device, block->memory, 0, VK_WHOLE_SIZE, 0, &mapped);
        if (result != VK_SUCCESS) {
            m_vk->FreeMemory(m_device, block->memory, nullptr);
            Check(result, "vkMapMemory");
        }
        block->mapped = static_cast<std::byte*>(mapped);
        if (m_processorDevice) {
            AskForHugePages(block->mapped, size);
        }
    }
    block->size = size;
    block->type = type;
    block->kind = kind;
    block->freeRanges.emplace(0, size);
    m_emptyBytes += size;
    m_blocks.push_back(std::move(block));
    return *m_blocks.back();
}

void MemoryAllocator::Free(const Allocation& allocation)
{
    if (!allocation) {
        return;
    }
    std::lock_guard lock(m_mutex);
    MemoryBlock* block = allocation.block;
    ReturnRange(*block, allocation.offset, allocation.size);
    block->used -= allocation.size;
    if (block->used > 0) {
        return;
    }
    m_emptyBytes += block->size;
    if (m_emptyBytes > KeptEmptyBytes) {
        ReleaseBlockNolock(block);
    }
}

void MemoryAllocator::ReleaseBlockNolock(MemoryBlock* block)
{
    m_emptyBytes -= block->size;
    m_vk->FreeMemory(m_device, block->memory, nullptr);
    std::erase_if(m_blocks, [&](const auto& owned) { return owned.get() == block; });
}

VkDeviceSize MemoryAllocator::ReservedBytes() const
{
    std::lock_guard lock(m_mutex);
    VkDeviceSize bytes = 0;
    for (const auto& block : m_blocks) {
        bytes += block->size;
    }
    return bytes;
}

} // namespace gleam
