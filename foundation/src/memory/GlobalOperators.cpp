// The global operators new and delete.
//
// This library replaces the plain operators of the whole program, because a block from the tagged operator new is
// released with a plain delete and has to be taken off the accounts there. Blocks from plain new carry the same record
// and count nowhere.
//
// Where another library's operators come first in the program's symbol order (a sanitizer's, or the C++ library's when
// a program links this one only indirectly), the tagged operators pass through to the plain ones, unaccounted: what
// they give must be fit for whatever delete the program has.
#include <cstdlib>
#include <new>

#include <qs/Memory.h>

#include "memory/Block.h"
#include "memory/ScopeTable.h"

#if defined(GLEAM_SANITIZE)

void* operator new(std::size_t size, qs::MemoryTag) noexcept
{
    return ::operator new(size, std::nothrow);
}

void* operator new[](std::size_t size, qs::MemoryTag) noexcept
{
    return ::operator new[](size, std::nothrow);
}

#else

namespace {

using namespace qs;

void* AllocatePlain(std::size_t size, std::size_t alignment) noexcept
{
    for (;;) {
        if (void* block = memory::AllocateBlock(size, alignment, AllocType::NewObject, memory::Untracked)) {
            return block;
        }
        const std::new_handler handler = std::get_new_handler();
        if (!handler) {
            return nullptr;
        }
        handler();
    }
}

void* AllocateOrThrow(std::size_t size, std::size_t alignment = 16)
{
    void* block = AllocatePlain(size, alignment);
    if (!block) {
        throw std::bad_alloc();
    }
    return block;
}

void Release(void* block) noexcept
{
    if (!block) {
        return;
    }
    const memory::BlockHeader header = *memory::GetHeader(block);
    memory::FreeBlock(block);
    if (header.scope != memory::Untracked) {
        memory::Account(header.scope, -static_cast<i64>(header.size), -1);
    }
}

} // namespace

QS_API void* operator new(std::size_t size)
{
    return AllocateOrThrow(size);
}
QS_API void* operator new[](std::size_t size)
{
    return AllocateOrThrow(size);
}
QS_API void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return AllocatePlain(size, 16);
}
QS_API void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return AllocatePlain(size, 16);
}
QS_API void* operator new(std::size_t size, std::align_val_t alignment)
{
    return AllocateOrThrow(size, std::size_t(alignment));
}
QS_API void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return AllocateOrThrow(size, std::size_t(alignment));
}
QS_API void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return AllocatePlain(size, std::size_t(alignment));
}
QS_API void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept
{
    return AllocatePlain(size, std::size_t(alignment));
}

QS_API void operator delete(void* block) noexcept
{
    Release(block);
}
QS_API void operator delete[](void* block) noexcept
{
    Release(block);
}
QS_API void operator delete(void* block, std::size_t) noexcept
{
    Release(block);
}
QS_API void operator delete[](void* block, std::size_t) noexcept
{
    Release(block);
}
QS_API void operator delete(void* block, const std::nothrow_t&) noexcept
{
    Release(block);
}
QS_API void operator delete[](void* block, const std::nothrow_t&) noexcept
{
    Release(block);
}
QS_API void operator delete(void* block, std::align_val_t) noexcept
{
    Release(block);
}
QS_API void operator delete[](void* block, std::align_val_t) noexcept
{
    Release(block);
}
QS_API void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    Release(block);
}
QS_API void operator delete[](void* block, std::size_t, std::align_val_t) noexcept
{
    Release(block);
}
QS_API void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept
{
    Release(block);
}
QS_API void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept
{
    Release(block);
}

extern "C" {
// The functions of this library by a name that no other library can take over.
__attribute__((alias("_Znwm"), visibility("hidden"), malloc, alloc_size(1))) void* qs_own_new(std::size_t);
__attribute__((alias("_ZdlPv"), visibility("hidden"))) void qs_own_delete(void*) noexcept;
__attribute__((alias("_ZdaPv"), visibility("hidden"))) void qs_own_array_delete(void*) noexcept;
}

namespace {

bool OwnsOperators()
{
    return static_cast<void* (*)(std::size_t)>(&::operator new) == &qs_own_new &&
           static_cast<void (*)(void*)>(&::operator delete) == &qs_own_delete &&
           static_cast<void (*)(void*)>(&::operator delete[]) == &qs_own_array_delete;
}

void* AllocateTagged(std::size_t size, AllocType kind, MemoryTag tag)
{
    static const bool owns = OwnsOperators();
    return owns ? MemoryManager::Allocate(size, kind, tag, 0, true) : ::operator new(size, std::nothrow);
}

} // namespace

void* operator new(std::size_t size, qs::MemoryTag tag) noexcept
{
    return AllocateTagged(size, qs::AllocType::NewObject, tag);
}

void* operator new[](std::size_t size, qs::MemoryTag tag) noexcept
{
    return AllocateTagged(size, qs::AllocType::NewArray, tag);
}

#endif

void operator delete(void* block, qs::MemoryTag) noexcept
{
    ::operator delete(block);
}

void operator delete[](void* block, qs::MemoryTag) noexcept
{
    ::operator delete[](block);
}
