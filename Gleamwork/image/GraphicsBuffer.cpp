// Allocation, ownership and hand-over of graphics buffers.
#include "Gleamwork/image/GraphicsBuffer.h"

#include <algorithm>
#include <cstring>
#include <qs/Event.h>
#include <qs/Log.h>
#include <utility>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace gw {
namespace {

constexpr uint64_t defaultAlignment = 4;

// The first touch of fresh memory costs far more than the bytes moved there, fifty times less so with huge pages: large
// blocks start on one and ask for them. Where the system does not follow the hint, nothing but the time changes.
constexpr uint64_t hugePage = 2 * 1024 * 1024;
constexpr uint64_t smallestLargeBlock = 2 * hugePage;

void AdviseHugePages(void* data, uint64_t size)
{
#if defined(__linux__)
    constexpr uint64_t page = 4096;
    madvise(data, size & ~(page - 1), MADV_HUGEPAGE);
#endif
}

void* AllocateBlock(uint64_t size, uint64_t alignment)
{
    qs::MemoryTrackerSample sample("GraphicsBuffer");
    const bool isLarge = size >= smallestLargeBlock;
    void* data = qs::MemoryManager::Allocate(size, qs::AllocType::Raw, qs::DefaultMemoryTag,
                                             isLarge ? std::max(alignment, hugePage) : alignment, true);
    if (data && isLarge)
        AdviseHugePages(data, size);
    return data;
}

void ReleaseBlock(void* data)
{
    qs::MemoryTrackerSample sample("GraphicsBuffer");
    qs::MemoryManager::Deallocate(data, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
}

} // namespace

GraphicsBuffer GraphicsBuffer::Empty(0, 0);

GraphicsBuffer::GraphicsBuffer(uint64_t size, uint64_t alignment) : m_owner(this)
{
    if (size != 0)
        Alloc(size, alignment);
}

GraphicsBuffer::~GraphicsBuffer()
{
    if (m_owner == this)
        Free();
}

GraphicsBuffer::GraphicsBuffer(GraphicsBuffer&& other) noexcept
    : m_data(other.m_data), m_size(other.m_size), m_alignment(other.m_alignment), m_owner(other.m_owner)
{
    other.Invalidate();
}

GraphicsBuffer& GraphicsBuffer::operator=(GraphicsBuffer&& other) noexcept
{
    if (this == &other)
        return *this;
    if (m_owner == this)
        Free();
    m_data = other.m_data;
    m_size = other.m_size;
    m_alignment = other.m_alignment;
    m_owner = other.m_owner;
    other.Invalidate();
    return *this;
}

void GraphicsBuffer::Alloc(uint64_t size, uint64_t alignment)
{
    Free();
    m_alignment = alignment == 0 ? defaultAlignment : alignment;
    m_data = AllocateBlock(size, m_alignment);
    m_size = m_data ? size : 0;
}

void GraphicsBuffer::Realloc(uint64_t size, uint64_t alignment)
{
    if (!m_data) {
        Alloc(size, alignment);
        return;
    }
    alignment = alignment == 0 ? defaultAlignment : alignment;
    void* data = AllocateBlock(size, alignment);
    if (!data)
        return;
    std::memcpy(data, m_data, std::min(size, m_size));
    ReleaseBlock(m_data);
    m_data = data;
    m_size = size;
    m_alignment = alignment;
}

void GraphicsBuffer::Free()
{
    if (!m_data)
        return;
    ReleaseBlock(m_data);
    m_data = nullptr;
    m_size = 0;
    m_alignment = 0;
}

void GraphicsBuffer::SafeFree(const void* owner)
{
    if (owner == m_owner)
        Free();
}

void GraphicsBuffer::GrowTo(uint64_t size)
{
    if (m_size < size)
        Realloc(size, m_alignment);
}

void GraphicsBuffer::CopyData(const void* source, uint64_t size)
{
    Alloc(size, 0);
    if (m_size != 0)
        std::memcpy(m_data, source, m_size);
}

unsigned char& GraphicsBuffer::operator[](uint64_t index) const
{
    if (index >= m_size) [[unlikely]]
        QS_LOG_ASSERT("Gleamwork/image/GraphicsBuffer", "gw::GraphicsBuffer::operator []",
                      "GraphicsBuffer index out of range!");
    return GetUBytes()[index];
}

void GraphicsBuffer::Visit(qs::EventVisitor* visitor)
{
    uint64_t address = reinterpret_cast<uintptr_t>(m_data);
    visitor->Visit(address);
    visitor->Visit(m_size);
    visitor->Visit(m_alignment);
    m_data = reinterpret_cast<void*>(static_cast<uintptr_t>(address));
    if (visitor->IsMovingOut())
        Invalidate();
}

void GraphicsBuffer::Invalidate()
{
    m_data = nullptr;
    m_size = 0;
    m_alignment = 0;
    m_owner = nullptr;
}

} // namespace gw
