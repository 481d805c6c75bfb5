// Where the value containers get their memory.
#pragma once

#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include <qs/Memory.h>
#include <qs/Types.h>

namespace qs {

/// Bytes of `count` elements; all ones when the product overflows, which no allocator can give.
template <class T>
constexpr u64 SaturatedSize(u64 count)
{
    return count > std::numeric_limits<u64>::max() / sizeof(T) ? std::numeric_limits<u64>::max() : count * sizeof(T);
}

/// Plain values from GlobalAllocator, copied as bytes. Allocate gives null when memory runs out.
template <class T>
struct MallocInterface
{
    static_assert(std::is_trivially_copyable_v<T>, "these elements are copied as bytes; use the object form");

    static T* Allocate(u64 count)
    {
        return static_cast<T*>(
            GlobalAllocator::GetInstance()->Malloc(SaturatedSize<T>(count), __FILE__, __LINE__, QS_FUNCTION));
    }
    static void Free(T* block)
    {
        if (block) {
            GlobalAllocator::GetInstance()->Free(block);
        }
    }
    static void Move(T* target, const T* source, u64 count)
    {
        if (target && count != 0) {
            std::memcpy(static_cast<void*>(target), source, count * sizeof(T));
        }
    }
    /// Makes the cells of a new block from `first` on hold `value`.
    static void Fill(T* block, u64 first, u64 end, const T& value)
    {
        for (u64 i = first; i < end; ++i) {
            block[i] = value;
        }
    }
};

/// Objects from the tagged operator new[], copied by assignment.
template <class T>
struct NewInterface
{
    static T* Allocate(u64 count)
    {
        // Leaves room for the count that the language keeps in front of an array.
        if (count > (std::numeric_limits<i64>::max() - 64) / sizeof(T)) {
            return nullptr;
        }
        return ::new (DefaultMemoryTag) T[count];
    }
    static void Free(T* block) { ::delete[] block; }
    static void Move(T* target, T* source, u64 count)
    {
        for (u64 i = 0; i < count; ++i) {
            target[i] = std::move(source[i]);
        }
    }
    static void Fill(T* block, u64 first, u64 end, const T& value)
    {
        for (u64 i = first; i < end; ++i) {
            block[i] = value;
        }
    }
};

/// Single objects of containers, such as the nodes of a map.
struct ObjectAllocator
{
    /// Null when memory runs out.
    template <class T, class... Arguments>
    static T* Create(Arguments&&... arguments)
    {
        void* block =
            MemoryManager::Allocate(sizeof(T), AllocType::NewObject, DefaultMemoryTag, OverAlignment<T>(), true);
        return block ? ::new (block) T{std::forward<Arguments>(arguments)...} : nullptr;
    }
    template <class T>
    static void Destroy(T* object)
    {
        object->~T();
        MemoryManager::Deallocate(object, AllocType::DeleteObject, DefaultMemoryTag, true);
    }

private:
    template <class T>
    static constexpr u64 OverAlignment()
    {
        return alignof(T) > 16 ? alignof(T) : 0;
    }
};

} // namespace qs
