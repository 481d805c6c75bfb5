// Memory that grows in place: the system backs a page of the range when it is first written.
#include <qs/details/PagedBlock.h>

#include <qs/Log.h>

#include "memory/Block.h"
#include "memory/ScopeTable.h"

#if !defined(GLEAM_SANITIZE)
#include <sys/mman.h>
#endif

namespace qs::details {

namespace {

// Sanitizers look for pointers only in blocks of the C allocator.
#if defined(GLEAM_SANITIZE)
void* ReserveRange(u64 size, u64 alignment)
{
    return memory::RawAllocate(size, alignment);
}
void ReleaseRange(void* begin, u64)
{
    memory::RawFree(begin);
}
#else
void* ReserveRange(u64 size, u64)
{
    void* begin = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    return begin == MAP_FAILED ? nullptr : begin;
}
void ReleaseRange(void* begin, u64 size)
{
    munmap(begin, size);
}
#endif

} // namespace

PagedBlock::~PagedBlock()
{
    if (m_begin) {
        ReleaseRange(m_begin, m_reserved);
    }
    if (m_size != 0) {
        memory::Account(m_scope, -static_cast<i64>(m_size), -1);
    }
}

void* PagedBlock::Reserve(u64 size, u64 alignment)
{
    if (size != 0) {
        m_begin = ReserveRange(size, alignment);
        if (!m_begin) {
            QS_LOG_ERROR("foundation/Memory", "qs::details::PagedBlock::Reserve",
                         "Out of memory: %llu bytes of addresses for '%s'", static_cast<unsigned long long>(size),
                         memory::GetScopeUsage(memory::GetCurrentScope()).name);
            return nullptr;
        }
        m_reserved = size;
    }
    return m_begin;
}

bool PagedBlock::Grow(u64 size)
{
    if (size > m_reserved) {
        QS_LOG_ERROR("foundation/Memory", "qs::details::PagedBlock::Grow", "%llu bytes are above the range of %llu",
                     static_cast<unsigned long long>(size), static_cast<unsigned long long>(m_reserved));
        return false;
    }
    if (m_size == 0) {
        m_scope = memory::GetCurrentScope();
    }
    memory::Account(m_scope, static_cast<i64>(size - m_size), m_size == 0 ? 1 : 0);
    m_size = size;
    return true;
}

} // namespace qs::details
