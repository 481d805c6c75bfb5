// Tagged allocation, accounted by scope name.
#include <qs/Memory.h>

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <mutex>
#include <unordered_map>
#include <utility>

#include <qs/Log.h>

#include "core/ThreadState.h"
#include "memory/Block.h"
#include "memory/ScopeTable.h"

namespace qs {

namespace {

using memory::BlockHeader;

bool FitsRelease(AllocType allocated, AllocType released)
{
    switch (released) {
    case AllocType::DeleteObject:
        return allocated == AllocType::NewObject;
    case AllocType::DeleteArray:
        return allocated == AllocType::NewArray;
    case AllocType::FreeRaw:
        return allocated == AllocType::Raw || allocated == AllocType::RawRealloc;
    default:
        return false;
    }
}

QS_COLD void ReportFailure(u64 size)
{
    QS_LOG_ERROR("foundation/Memory", "qs::MemoryManager::Allocate", "Out of memory: %llu bytes for '%s'",
                 static_cast<unsigned long long>(size), memory::GetScopeUsage(memory::GetCurrentScope()).name);
}

QS_COLD void ReportMismatch(const BlockHeader& header, AllocType kind)
{
    QS_LOG_ASSERT("foundation/Memory", "qs::MemoryManager::Deallocate",
                  "A block of %llu bytes of '%s' was allocated with kind %u and is released with kind %u",
                  static_cast<unsigned long long>(header.size), memory::GetScopeUsage(header.scope).name,
                  unsigned(header.kind), unsigned(kind));
}

// Memory of others by owner. Never destroyed: device objects may be released while the process ends.
struct ThirdParty
{
    struct Block
    {
        u64 size;
        u16 scope;
    };
    std::mutex lock;
    std::unordered_map<const void*, Block> blocks;
};

ThirdParty& GetThirdParty()
{
    static ThirdParty& thirdParty = *new ThirdParty;
    return thirdParty;
}

void ForgetThirdParty(const ThirdParty::Block& block)
{
    memory::AccountThirdParty(block.scope, -static_cast<i64>(block.size), -1);
}

} // namespace

void* MemoryManager::Allocate(u64 size, AllocType kind, const MemoryTag& tag, u64 alignment, bool reportFailure)
{
    const u16 scope = memory::GetCurrentScope();
    void* block = memory::AllocateBlock(size, alignment, kind, scope);
    if (block) [[likely]] {
        memory::Account(scope, static_cast<i64>(size), 1);
    } else if (reportFailure) {
        ReportFailure(size);
    }
    return block;
}

void* MemoryManager::Reallocate(void* old, u64 size, MemoryTag tag, u64 alignment, bool reportFailure)
{
    if (!old) {
        return Allocate(size, AllocType::Raw, tag, alignment, reportFailure);
    }
    void* block = Allocate(size, AllocType::RawRealloc, tag, alignment, reportFailure);
    if (block) {
        std::memcpy(block, old, std::min(size, memory::GetHeader(old)->size));
        Deallocate(old, AllocType::FreeRaw, tag, true);
    }
    return block;
}

void MemoryManager::Deallocate(void* block, AllocType kind, MemoryTag tag, bool reportMismatch)
{
    if (!block) {
        return;
    }
    const BlockHeader header = *memory::GetHeader(block);
    if (reportMismatch && !FitsRelease(AllocType(header.kind), kind)) [[unlikely]] {
        ReportMismatch(header, kind);
    }
    memory::FreeBlock(block);
    memory::Account(header.scope, -static_cast<i64>(header.size), -1);
}

void MemoryManager::Track3rdPartyAlloc(const void* owner, u64 size)
{
    const u16 scope = memory::GetCurrentScope();
    ThirdParty& thirdParty = GetThirdParty();
    std::lock_guard guard(thirdParty.lock);
    const auto [entry, added] = thirdParty.blocks.try_emplace(owner, ThirdParty::Block{size, scope});
    if (!added) {
        // The address came back without a report of its release.
        ForgetThirdParty(entry->second);
        entry->second = {size, scope};
    }
    memory::AccountThirdParty(scope, static_cast<i64>(size), 1);
}

void MemoryManager::Track3rdPartyFree(const void* owner)
{
    ThirdParty& thirdParty = GetThirdParty();
    std::lock_guard guard(thirdParty.lock);
    const auto entry = thirdParty.blocks.find(owner);
    if (entry != thirdParty.blocks.end()) {
        ForgetThirdParty(entry->second);
        thirdParty.blocks.erase(entry);
    }
}

std::vector<MemoryScopeUsage> MemoryManager::GetUsage()
{
    std::vector<MemoryScopeUsage> usages;
    const u32 count = memory::GetScopeCount();
    for (u32 scope = memory::NoScope; scope < count; ++scope) {
        const MemoryScopeUsage usage = memory::GetScopeUsage(static_cast<u16>(scope));
        if (usage.blocks != 0 || usage.thirdPartyBlocks != 0) {
            usages.push_back(usage);
        }
    }
    std::sort(usages.begin(), usages.end(), [](const MemoryScopeUsage& a, const MemoryScopeUsage& b) {
        return a.bytes + a.thirdPartyBytes > b.bytes + b.thirdPartyBytes;
    });
    return usages;
}

MemoryScopeUsage MemoryManager::GetUsage(const char* scopeName)
{
    const u16 scope = memory::FindScopeID(scopeName);
    return scope ? memory::GetScopeUsage(scope) : MemoryScopeUsage{};
}

void MemoryManager::LogUsage()
{
    for (const MemoryScopeUsage& usage : GetUsage()) {
        QS_LOG_TRACE("foundation/Memory", "qs::MemoryManager::LogUsage",
                     "%s: %" PRId64 " bytes in %" PRId64 " blocks, third party %" PRId64 " bytes in %" PRId64 " blocks",
                     usage.name, usage.bytes, usage.blocks, usage.thirdPartyBytes, usage.thirdPartyBlocks);
    }
}

MemoryTrackerSample::MemoryTrackerSample(const char* name)
    : m_outerScope(std::exchange(g_threadState.memoryScope, u32(memory::GetScopeID(name))))
{
}

MemoryTrackerSample::~MemoryTrackerSample()
{
    g_threadState.memoryScope = m_outerScope;
}

void* GlobalAllocator::Malloc(u64 size, const char* file, i32 line, const char* function)
{
    void* block = MemoryManager::Allocate(size, AllocType::Raw, DefaultMemoryTag, 0, false);
    if (!block) {
        LogManager::GetInstance()->HandleUnsafe(
            EAction::Report, LogEntry{LogLevelError, 0, file, line, function}, "Out of memory: %llu bytes for '%s'",
            static_cast<unsigned long long>(size), memory::GetScopeUsage(memory::GetCurrentScope()).name);
    }
    return block;
}

void GlobalAllocator::Free(void* block)
{
    MemoryManager::Deallocate(block, AllocType::FreeRaw, DefaultMemoryTag, true);
}

} // namespace qs
