// Scope names in an open hash table that only grows, counters in pages per place.
//
// The whole table is static storage without constructors and destructors: memory is allocated before this library's
// objects exist and released behind them.
#include "memory/ScopeTable.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include "core/ThreadState.h"

namespace qs::memory {

namespace {

constexpr u32 SlotCount = MaxScopes * 2;
constexpr u32 PlaceCount = 8;
constexpr u32 PageSize = 256;

struct Counter
{
    std::atomic<i64> bytes;
    std::atomic<i64> blocks;
    std::atomic<i64> thirdPartyBytes;
    std::atomic<i64> thirdPartyBlocks;
};

constinit std::mutex s_insertLock;
constinit std::atomic<u16> s_slots[SlotCount] = {};
constinit std::atomic<const char*> s_names[MaxScopes] = {"(untracked)", "(no scope)", "(other)", "(process)"};
constinit std::atomic<u32> s_count{4};
constinit std::atomic<Counter*> s_pages[PlaceCount][MaxScopes / PageSize] = {};

u32 FirstSlot(const char* name, std::size_t length)
{
    return static_cast<u32>(XXH3_64bits(name, length)) % SlotCount;
}

// The id found under the name, or 0 with `slot` at the free place.
u16 Probe(const char* name, u32& slot)
{
    for (;; slot = (slot + 1) % SlotCount) {
        const u16 id = s_slots[slot].load(std::memory_order_acquire);
        if (id == 0 || std::strcmp(s_names[id].load(std::memory_order_relaxed), name) == 0) {
            return id;
        }
    }
}

u16 Insert(const char* name, std::size_t length, u32 slot)
{
    std::lock_guard guard(s_insertLock);
    if (const u16 id = Probe(name, slot)) {
        return id;
    }
    const u32 id = s_count.load(std::memory_order_relaxed);
    char* copy = id < MaxScopes ? static_cast<char*>(std::malloc(length + 1)) : nullptr;
    if (!copy) {
        return OtherScope;
    }
    std::memcpy(copy, name, length + 1);
    s_names[id].store(copy, std::memory_order_relaxed);
    s_count.store(id + 1, std::memory_order_release);
    s_slots[slot].store(static_cast<u16>(id), std::memory_order_release);
    return static_cast<u16>(id);
}

// Null only when the system has no memory for the page.
Counter* GetCounter(u16 scope)
{
    std::atomic<Counter*>& place = s_pages[GetThreadIndex() % PlaceCount][scope / PageSize];
    Counter* page = place.load(std::memory_order_acquire);
    if (!page) {
        Counter* made = static_cast<Counter*>(std::calloc(PageSize, sizeof(Counter)));
        if (place.compare_exchange_strong(page, made, std::memory_order_acq_rel)) {
            page = made;
        } else {
            std::free(made);
        }
    }
    return page ? page + scope % PageSize : nullptr;
}

} // namespace

u16 GetScopeID(const char* name)
{
    const std::size_t length = std::strlen(name);
    u32 slot = FirstSlot(name, length);
    const u16 id = Probe(name, slot);
    return id ? id : Insert(name, length, slot);
}

u16 FindScopeID(const char* name)
{
    for (u16 id = 0; id <= ProcessScope; ++id) {
        if (std::strcmp(s_names[id], name) == 0) {
            return id;
        }
    }
    u32 slot = FirstSlot(name, std::strlen(name));
    return Probe(name, slot);
}

u32 GetScopeCount()
{
    return s_count.load(std::memory_order_acquire);
}

void Account(u16 scope, i64 bytes, i64 blocks)
{
    if (Counter* counter = GetCounter(scope)) {
        counter->bytes.fetch_add(bytes, std::memory_order_relaxed);
        counter->blocks.fetch_add(blocks, std::memory_order_relaxed);
    }
}

void AccountThirdParty(u16 scope, i64 bytes, i64 blocks)
{
    if (Counter* counter = GetCounter(scope)) {
        counter->thirdPartyBytes.fetch_add(bytes, std::memory_order_relaxed);
        counter->thirdPartyBlocks.fetch_add(blocks, std::memory_order_relaxed);
    }
}

MemoryScopeUsage GetScopeUsage(u16 scope)
{
    MemoryScopeUsage usage;
    usage.name = s_names[scope].load(std::memory_order_relaxed);
    for (auto& pages : s_pages) {
        if (const Counter* page = pages[scope / PageSize].load(std::memory_order_acquire)) {
            const Counter& counter = page[scope % PageSize];
            usage.bytes += counter.bytes.load(std::memory_order_relaxed);
            usage.blocks += counter.blocks.load(std::memory_order_relaxed);
            usage.thirdPartyBytes += counter.thirdPartyBytes.load(std::memory_order_relaxed);
            usage.thirdPartyBlocks += counter.thirdPartyBlocks.load(std::memory_order_relaxed);
        }
    }
    return usage;
}

u16 GetCurrentScope()
{
    const u32 scope = g_threadState.memoryScope;
    return scope ? static_cast<u16>(scope) : NoScope;
}

ProcessLifetime::ProcessLifetime() : m_outerScope(std::exchange(g_threadState.memoryScope, u32(ProcessScope))) {}

ProcessLifetime::~ProcessLifetime()
{
    g_threadState.memoryScope = m_outerScope;
}

} // namespace qs::memory
