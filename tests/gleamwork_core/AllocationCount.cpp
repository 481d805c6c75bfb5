// Counts the program's calls of the allocating operators, the libraries' included. All forms are replaced together: a
// block must not come from one set of operators and go back through another.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

static std::atomic<std::uint64_t> s_count{0};

std::uint64_t GetOperatorNewCount()
{
    return s_count.load();
}

static void* Allocate(std::size_t size, std::size_t alignment = alignof(std::max_align_t))
{
    s_count.fetch_add(1, std::memory_order_relaxed);
    return std::aligned_alloc(alignment, (size + alignment) / alignment * alignment);
}

static void* AllocateOrThrow(std::size_t size, std::size_t alignment = alignof(std::max_align_t))
{
    if (void* block = Allocate(size, alignment)) {
        return block;
    }
    throw std::bad_alloc();
}

// clang-format off
void* operator new(std::size_t n) { return AllocateOrThrow(n); }
void* operator new[](std::size_t n) { return AllocateOrThrow(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return Allocate(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return Allocate(n); }
void* operator new(std::size_t n, std::align_val_t a) { return AllocateOrThrow(n, std::size_t(a)); }
void* operator new[](std::size_t n, std::align_val_t a) { return AllocateOrThrow(n, std::size_t(a)); }
void* operator new(std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return Allocate(n, std::size_t(a)); }
void* operator new[](std::size_t n, std::align_val_t a, const std::nothrow_t&) noexcept { return Allocate(n, std::size_t(a)); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }
