// Memory of singletons, the process-wide allocator object, and the report at exit.
#include <cinttypes>
#include <cstdio>

#include <qs/FixedString.h>
#include <qs/Memory.h>
#include <qs/Singleton.h>

#include "memory/Block.h"
#include "memory/ScopeTable.h"

namespace qs {

namespace {

#if !defined(NDEBUG)
// Made before the other objects of this library and destroyed behind them, when the log is gone already.
struct ExitReport
{
    ~ExitReport()
    {
        FixedString::GetInternedCount(); // releases texts that wait for others
        for (const MemoryScopeUsage& usage : MemoryManager::GetUsage()) {
            if (usage.name == memory::GetScopeUsage(memory::ProcessScope).name) {
                continue;
            }
            std::fprintf(stderr,
                         "left at exit: %s: %" PRId64 " bytes in %" PRId64 " blocks, third party %" PRId64
                         " bytes in %" PRId64 " blocks\n",
                         usage.name, usage.bytes, usage.blocks, usage.thirdPartyBytes, usage.thirdPartyBlocks);
        }
    }
};
__attribute__((init_priority(101))) ExitReport s_exitReport;
#endif

#if !defined(GLEAM_SANITIZE)
// Large blocks are carved out of address space that stays with the process. Given back to the system after each use,
// they would cost a page fault for every page at the next, more than most of the work done on them.
constexpr std::size_t KeptForLargeBlocks = std::size_t(256) << 20;
#endif

// Other libraries use the allocator in the constructors of their statics, so it stands before all objects of this one.
struct MakeAllocator
{
    MakeAllocator()
    {
#if !defined(GLEAM_SANITIZE)
        // Only address space until it is used. Where it cannot be had, large blocks come from the system one by one.
        mi_reserve_os_memory(KeptForLargeBlocks, true, true);
#endif
        memory::ProcessLifetime lifetime;
        Singleton<GlobalAllocator>::_SDMInit();
    }
};
__attribute__((init_priority(102))) MakeAllocator s_makeAllocator;

} // namespace

namespace _private {

void* AllocateSingleton(std::size_t size, std::size_t alignment)
{
    return MemoryManager::Allocate(size, AllocType::NewObject, DefaultMemoryTag, alignment > 16 ? alignment : 0, true);
}

void ReleaseSingleton(void* block)
{
    MemoryManager::Deallocate(block, AllocType::DeleteObject, DefaultMemoryTag, true);
}

} // namespace _private

} // namespace qs
