// The memory service: tagged allocation, accounting by named scope, and the operator family of allocated classes.
#pragma once

#include <new>
#include <vector>

#include <qs/Export.h>
#include <qs/Singleton.h>
#include <qs/Types.h>

namespace qs {

/// Names the subsystem that an allocation belongs to. The accounting keeps tags only to hand them back; blocks are told
/// apart by MemoryTrackerSample scopes.
struct MemoryTag
{
    u32 value = 0;

    constexpr MemoryTag() = default;
    constexpr explicit MemoryTag(u32 tagValue) : value(tagValue) {}
};

/// The tag of all allocations of this project.
inline constexpr MemoryTag DefaultMemoryTag{0x1b116632u};

/// What a block is, and what a release expects it to be. Kinds come in pairs; releasing with the wrong partner is
/// logged as an assertion, and the block is released all the same.
enum class AllocType : u32
{
    NewObject = 1,    ///< one object
    NewArray = 2,     ///< array of objects
    DeleteObject = 3, ///< releases NewObject
    DeleteArray = 4,  ///< releases NewArray
    Raw = 5,          ///< raw bytes
    RawRealloc = 6,   ///< raw bytes that were resized
    FreeRaw = 7,      ///< releases Raw and RawRealloc
};

/// Live memory of one scope name.
struct MemoryScopeUsage
{
    const char* name = ""; ///< valid until the process ends
    i64 bytes = 0;         ///< bytes asked for, without the allocator's own overhead
    i64 blocks = 0;
    i64 thirdPartyBytes = 0; ///< reported through Track3rdPartyAlloc
    i64 thirdPartyBlocks = 0;
};

/// Process-wide allocation service. All operations may be called from any thread at any time, also while static
/// objects are built and destroyed. Every block is 16-byte aligned at least.
///
/// Each block is accounted under the name of the innermost MemoryTrackerSample scope of the allocating thread, and
/// taken off the same name when it is released, on whichever thread that happens.
class QS_API MemoryManager
{
public:
    /// `alignment` is a power of two; 0 means the default of 16. `reportFailure` logs an error when the memory
    /// cannot be had. Returns null on failure; a size of 0 gives a block of its own.
    static void* Allocate(u64 size, AllocType kind, const MemoryTag& tag, u64 alignment, bool reportFailure);

    /// Resizes a raw block and keeps its content up to the smaller size. A null `old` allocates. On failure the old
    /// block stays as it is and the result is null.
    static void* Reallocate(void* old, u64 size, MemoryTag tag, u64 alignment, bool reportFailure);

    /// `kind` is the release kind. Null is accepted. `reportMismatch` logs when the kind does not fit the block's.
    static void Deallocate(void* block, AllocType kind, MemoryTag tag, bool reportMismatch);

    /// Accounts memory that somebody else owns under the current scope's name. `owner` is only a key.
    static void Track3rdPartyAlloc(const void* owner, u64 size);
    static void Track3rdPartyFree(const void* owner);

    /// Live bytes and blocks of every scope that has any, largest first.
    static std::vector<MemoryScopeUsage> GetUsage();
    /// Usage of one scope; all zero for a name never used.
    static MemoryScopeUsage GetUsage(const char* scopeName);
    /// Writes GetUsage to the log, one line per scope, as traces.
    static void LogUsage();
};

/// The allocator behind containers of plain values.
class QS_API GlobalAllocator : public Singleton<GlobalAllocator>
{
public:
    virtual ~GlobalAllocator() = default;

    /// File, line and function name the caller in the error that is logged when memory runs out; the result is null
    /// then.
    void* Malloc(u64 size, const char* file, i32 line, const char* function);
    void Free(void* block);
};

/// Names all allocations that the thread makes while the object lives. Scopes nest, and the innermost name counts.
/// The text is copied at its first use. At most 65535 different names are told apart; what comes after them counts
/// as "(other)".
class QS_API MemoryTrackerSample
{
public:
    explicit MemoryTrackerSample(const char* name);
    ~MemoryTrackerSample();

    MemoryTrackerSample(const MemoryTrackerSample&) = delete;
    MemoryTrackerSample& operator=(const MemoryTrackerSample&) = delete;

private:
    u32 m_outerScope;
};

} // namespace qs

/// Tagged forms of the global operators. They give null when memory runs out, so a new-expression then skips the
/// construction and is null itself. What they give is released with the plain global delete operators.
QS_API void* operator new(std::size_t size, qs::MemoryTag tag) noexcept;
QS_API void* operator new[](std::size_t size, qs::MemoryTag tag) noexcept;
/// Called by the language when a constructor throws behind a tagged new.
QS_API void operator delete(void* block, qs::MemoryTag tag) noexcept;
QS_API void operator delete[](void* block, qs::MemoryTag tag) noexcept;

/// Gives a class the operators of a class that is allocated on its own, and `GetTrackName`. Stands in the class body
/// and leaves the access at `public`. `QualifiedName` is written without quotes: QS_DECLARE_ALLOC(gw::Model).
#define QS_DECLARE_ALLOC(QualifiedName)                                                                                \
public:                                                                                                                \
    static const char* GetTrackName()                                                                                  \
    {                                                                                                                  \
        return #QualifiedName;                                                                                         \
    }                                                                                                                  \
    static void* operator new(std::size_t size) noexcept                                                               \
    {                                                                                                                  \
        return QsAllocate(size, ::qs::AllocType::NewObject, ::qs::DefaultMemoryTag);                                   \
    }                                                                                                                  \
    static void* operator new(std::size_t size, ::qs::MemoryTag tag) noexcept                                          \
    {                                                                                                                  \
        return QsAllocate(size, ::qs::AllocType::NewObject, tag);                                                      \
    }                                                                                                                  \
    static void* operator new(std::size_t, void* place) noexcept                                                       \
    {                                                                                                                  \
        return place;                                                                                                  \
    }                                                                                                                  \
    static void* operator new[](std::size_t size) noexcept                                                             \
    {                                                                                                                  \
        return QsAllocate(size, ::qs::AllocType::NewArray, ::qs::DefaultMemoryTag);                                    \
    }                                                                                                                  \
    static void* operator new[](std::size_t size, ::qs::MemoryTag tag) noexcept                                        \
    {                                                                                                                  \
        return QsAllocate(size, ::qs::AllocType::NewArray, tag);                                                       \
    }                                                                                                                  \
    static void* operator new[](std::size_t, void* place) noexcept                                                     \
    {                                                                                                                  \
        return place;                                                                                                  \
    }                                                                                                                  \
    static void operator delete(void* block) noexcept                                                                  \
    {                                                                                                                  \
        ::qs::MemoryManager::Deallocate(block, ::qs::AllocType::DeleteObject, ::qs::DefaultMemoryTag, true);           \
    }                                                                                                                  \
    static void operator delete(void* block, ::qs::MemoryTag tag) noexcept                                             \
    {                                                                                                                  \
        ::qs::MemoryManager::Deallocate(block, ::qs::AllocType::DeleteObject, tag, true);                              \
    }                                                                                                                  \
    static void operator delete(void*, void*) noexcept {}                                                              \
    static void operator delete[](void* block) noexcept                                                                \
    {                                                                                                                  \
        ::qs::MemoryManager::Deallocate(block, ::qs::AllocType::DeleteArray, ::qs::DefaultMemoryTag, true);            \
    }                                                                                                                  \
    static void operator delete[](void* block, ::qs::MemoryTag tag) noexcept                                           \
    {                                                                                                                  \
        ::qs::MemoryManager::Deallocate(block, ::qs::AllocType::DeleteArray, tag, true);                               \
    }                                                                                                                  \
    static void operator delete[](void*, void*) noexcept {}                                                            \
                                                                                                                       \
private:                                                                                                               \
    static void* QsAllocate(std::size_t size, ::qs::AllocType kind, ::qs::MemoryTag tag) noexcept                      \
    {                                                                                                                  \
        ::qs::MemoryTrackerSample sample(GetTrackName());                                                              \
        return ::qs::MemoryManager::Allocate(size, kind, tag, 0, true);                                                \
    }                                                                                                                  \
                                                                                                                       \
public:
