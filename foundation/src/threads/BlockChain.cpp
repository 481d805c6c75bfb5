// Blocks of append-only memory: growth, reuse and release.
#include <qs/BlockChain.h>

#include <algorithm>

#include <qs/Log.h>
#include <qs/Memory.h>

namespace qs {

namespace {

constexpr size_t SMALLEST_BLOCK = 64;

} // namespace

BlockChain::BlockChain(size_t blockSize) : m_nextSize(std::max(blockSize, SMALLEST_BLOCK)) {}

BlockChain::~BlockChain()
{
    Release();
}

bool BlockChain::MakeRoom(size_t size)
{
    if (size > LARGEST_REQUEST) {
        QS_LOG_ERROR("foundation/BlockChain", "qs::BlockChain::MakeRoom",
                     "A record of %zu bytes is larger than the limit of %zu bytes", size, LARGEST_REQUEST);
        return false;
    }
    Seal();
    Block* block = TakeKeptBlock(size);
    if (!block) {
        block = NewBlock(size);
        if (!block) {
            return false;
        }
    }
    Block*& link = m_current ? m_current->next : m_first;
    block->next = link;
    link = block;
    block->used = 0;
    m_current = block;
    m_cursor = block->GetBytes();
    m_end = m_cursor + block->capacity;
    return true;
}

// The first kept block that is large enough, taken out of the chain. Smaller ones stay for later records.
BlockChain::Block* BlockChain::TakeKeptBlock(size_t size)
{
    Block** link = m_current ? &m_current->next : &m_first;
    while (*link && (*link)->capacity < size) {
        link = &(*link)->next;
    }
    Block* block = *link;
    if (block) {
        *link = block->next;
    }
    return block;
}

BlockChain::Block* BlockChain::NewBlock(size_t size)
{
    const size_t capacity = std::max(size, m_nextSize);
    MemoryTrackerSample sample("qs::BlockChain");
    auto* block = static_cast<Block*>(
        MemoryManager::Allocate(sizeof(Block) + capacity, AllocType::Raw, DefaultMemoryTag, 0, true));
    if (block) {
        block->capacity = capacity;
        m_nextSize = std::max(m_nextSize, std::min(m_nextSize * 2, LARGEST_STEP));
    }
    return block;
}

void BlockChain::Seal()
{
    if (m_current) {
        m_current->used = static_cast<size_t>(m_cursor - m_current->GetBytes());
    }
}

void BlockChain::Freeze()
{
    Seal();
    m_end = m_cursor;
}

void BlockChain::Thaw()
{
    m_end = m_current ? m_current->GetBytes() + m_current->capacity : nullptr;
}

void BlockChain::Rewind()
{
    m_current = nullptr;
    m_cursor = m_end = nullptr;
}

void BlockChain::Release()
{
    Rewind();
    while (Block* block = m_first) {
        m_first = block->next;
        MemoryManager::Deallocate(block, AllocType::FreeRaw, DefaultMemoryTag, true);
    }
}

size_t BlockChain::GetUsedBytes() const
{
    if (!m_current) {
        return 0;
    }
    size_t used = static_cast<size_t>(m_cursor - m_current->GetBytes());
    for (const Block* block = m_first; block != m_current; block = block->next) {
        used += block->used;
    }
    return used;
}

size_t BlockChain::GetReservedBytes() const
{
    size_t reserved = 0;
    for (const Block* block = m_first; block; block = block->next) {
        reserved += block->capacity;
    }
    return reserved;
}

size_t BlockChain::GetBlockCount() const
{
    size_t count = 0;
    for (const Block* block = m_first; block; block = block->next) {
        ++count;
    }
    return count;
}

} // namespace qs
