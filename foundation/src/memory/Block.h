// The record in front of every block of the memory service, and the allocator below it.
#pragma once

#include <cstdlib>

#include <qs/Memory.h>
#include <qs/Types.h>

#if !defined(GLEAM_SANITIZE)
#include <mimalloc.h>
#endif

namespace qs::memory {

// Sanitizers see faults only in blocks of the C allocator.
#if defined(GLEAM_SANITIZE)
inline void* RawAllocate(u64 size, u64 alignment)
{
    return alignment <= 16 ? std::malloc(size)
                           : std::aligned_alloc(alignment, (size + alignment - 1) & ~(alignment - 1));
}
inline void RawFree(void* block)
{
    std::free(block);
}
#else
inline void* RawAllocate(u64 size, u64 alignment)
{
    return alignment <= 16 ? mi_malloc(size) : mi_malloc_aligned(size, alignment);
}
inline void RawFree(void* block)
{
    mi_free(block);
}
#endif

/// Stands directly before the memory that the caller gets.
struct BlockHeader
{
    u64 size;   ///< bytes asked for
    u32 offset; ///< from the allocator's block to the caller's memory: the alignment
    u16 scope;  ///< id of the name that the block counts under; Untracked for blocks that count nowhere
    u8 kind;    ///< AllocType it was allocated with
    u8 reserved;
};
static_assert(sizeof(BlockHeader) == 16);

constexpr u16 Untracked = 0;

inline BlockHeader* GetHeader(void* memory)
{
    return static_cast<BlockHeader*>(memory) - 1;
}

/// Null when memory runs out or the sizes overflow. Accounts nothing.
inline void* AllocateBlock(u64 size, u64 alignment, AllocType kind, u16 scope)
{
    const u64 offset = alignment <= 16 ? 16 : alignment;
    if (size > (~u64(0) >> 1) - offset || offset > 0x80000000u) {
        return nullptr;
    }
    char* raw = static_cast<char*>(RawAllocate(size + offset, offset));
    if (!raw) {
        return nullptr;
    }
    void* memory = raw + offset;
    *GetHeader(memory) = {size, static_cast<u32>(offset), scope, static_cast<u8>(kind), 0};
    return memory;
}

inline void FreeBlock(void* memory)
{
    RawFree(static_cast<char*>(memory) - GetHeader(memory)->offset);
}

} // namespace qs::memory
