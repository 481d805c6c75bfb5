// Pools of mapped buffer memory.
#include "vulkan/Slices.h"

#include <bit>

namespace gleam {
namespace {

constexpr VkDeviceSize ChunkSize = 8u << 20;
constexpr VkDeviceSize KeptLargeBytes = 64u << 20;
constexpr VkDeviceSize FineStep = 256;
constexpr VkDeviceSize FineEnd = 4096;
constexpr uint32_t FineClasses = FineEnd / FineStep;

constexpr VkBufferUsageFlags AnyUse = VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT |
                                      VK_BUFFER_USAGE_UNIFORM_TEXEL_BUFFER_BIT | VK_BUFFER_USAGE_UNIFORM_BUFFER_BIT |
                                      VK_BUFFER_USAGE_STORAGE_BUFFER_BIT | VK_BUFFER_USAGE_INDEX_BUFFER_BIT |
                                      VK_BUFFER_USAGE_VERTEX_BUFFER_BIT | VK_BUFFER_USAGE_INDIRECT_BUFFER_BIT;

} // namespace

uint32_t SlicePool::ClassOf(VkDeviceSize size)
{
    if (size <= FineEnd) {
        return size == 0 ? 0 : static_cast<uint32_t>((size - 1) / FineStep);
    }
    return FineClasses + static_cast<uint32_t>(std::bit_width(size - 1)) - 13;
}

VkDeviceSize SlicePool::ClassSize(uint32_t sizeClass)
{
    return sizeClass < FineClasses ? (sizeClass + 1) * FineStep : FineEnd << (sizeClass - FineClasses + 1);
}

void SlicePool::Init(const DeviceFunctions& vk, VkDevice device, MemoryAllocator& memory)
{
    m_vk = &vk;
    m_device = device;
    m_memory = &memory;
}

void SlicePool::Shutdown()
{
    for (Chunk& chunk : m_chunks) {
        DestroyChunk(chunk);
    }
    for (Chunk& chunk : m_large) {
        DestroyChunk(chunk);
    }
    m_chunks.clear();
    m_large.clear();
}

SlicePool::Chunk SlicePool::MakeChunk(VkDeviceSize size)
{
    Chunk chunk;
    chunk.size = size;
    VkBufferCreateInfo info{VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
    info.size = size;
    info.usage = AnyUse;
    Check(m_vk->CreateBuffer(m_device, &info, nullptr, &chunk.buffer), "vkCreateBuffer");
    try {
        VkMemoryRequirements requirements;
        m_vk->GetBufferMemoryRequirements(m_device, chunk.buffer, &requirements);
        chunk.memory = m_memory->Allocate(requirements, EMemoryUse::Upload, EMemoryKind::Buffer);
        Check(m_vk->BindBufferMemory(m_device, chunk.buffer, chunk.memory.memory, chunk.memory.offset),
              "vkBindBufferMemory");
    } catch (...) {
        DestroyChunk(chunk);
        throw;
    }
    return chunk;
}

void SlicePool::DestroyChunk(Chunk& chunk)
{
    m_vk->DestroyBuffer(m_device, chunk.buffer, nullptr);
    m_memory->Free(chunk.memory);
    chunk = {};
}

Slice SlicePool::CarveNolock(uint32_t sizeClass)
{
    const VkDeviceSize size = ClassSize(sizeClass);
    if (m_chunks.empty() || m_carved + size > ChunkSize) {
        m_chunks.push_back(MakeChunk(ChunkSize));
        m_carved = 0;
    }
    const Chunk& chunk = m_chunks.back();
    const Slice slice{chunk.buffer, m_carved, size, chunk.memory.mapped + m_carved, sizeClass};
    m_carved += size;
    return slice;
}

Slice SlicePool::AcquireLargeNolock(VkDeviceSize size)
{
    // Rounding lets buffers of nearly equal size share.
    size = (size + LargestClass - 1) / LargestClass * LargestClass;
    uint32_t unused = static_cast<uint32_t>(m_large.size());
    for (uint32_t i = 0; i < m_large.size(); ++i) {
        Chunk& chunk = m_large[i];
        if (!chunk.buffer) {
            unused = i;
        } else if (!chunk.inUse && chunk.size == size) {
            chunk.inUse = true;
            m_idleLargeBytes -= size;
            return {chunk.buffer, 0, size, chunk.memory.mapped, ClassCount + i};
        }
    }
    if (unused == m_large.size()) {
        m_large.emplace_back();
    }
    Chunk& chunk = m_large[unused];
    chunk = MakeChunk(size);
    chunk.inUse = true;
    return {chunk.buffer, 0, size, chunk.memory.mapped, ClassCount + unused};
}

void SlicePool::ReleaseLargeNolock(const Slice& slice)
{
    Chunk& chunk = m_large[slice.pool - ClassCount];
    chunk.inUse = false;
    if (m_idleLargeBytes + chunk.size > KeptLargeBytes) {
        DestroyChunk(chunk);
    } else {
        m_idleLargeBytes += chunk.size;
    }
}

Slice SlicePool::Acquire(VkDeviceSize size)
{
    std::lock_guard lock(m_mutex);
    if (size > LargestClass) {
        return AcquireLargeNolock(size);
    }
    const uint32_t sizeClass = ClassOf(size);
    auto& free = m_free[sizeClass];
    if (free.empty()) {
        return CarveNolock(sizeClass);
    }
    const Slice slice = free.back();
    free.pop_back();
    return slice;
}

void SlicePool::AcquireMany(VkDeviceSize size, std::size_t count, std::vector<Slice>& to)
{
    std::lock_guard lock(m_mutex);
    const uint32_t sizeClass = ClassOf(size);
    auto& free = m_free[sizeClass];
    for (std::size_t i = 0; i < count; ++i) {
        if (free.empty()) {
            to.push_back(CarveNolock(sizeClass));
        } else {
            to.push_back(free.back());
            free.pop_back();
        }
    }
}

void SlicePool::Release(const Slice* slices, std::size_t count)
{
    std::lock_guard lock(m_mutex);
    for (std::size_t i = 0; i < count; ++i) {
        const Slice& slice = slices[i];
        if (slice.pool >= ClassCount) {
            ReleaseLargeNolock(slice);
        } else {
            m_free[slice.pool].push_back(slice);
        }
    }
}

} // namespace gleam
