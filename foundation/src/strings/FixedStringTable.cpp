// Looking up and adding texts; the table's header tells how look-ups and releases get along.
#include "strings/FixedStringTable.h"

#include <cstdlib>
#include <cstring>
#include <new>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <qs/Log.h>
#include <qs/Memory.h>

#include "memory/ScopeTable.h"

namespace qs {

using namespace strings;

constinit Shard FixedStringTable::s_shards[ShardCount] = {};
constinit std::atomic<Entry*> strings::s_entries[PageCount] = {};

namespace {

constexpr const char* ScopeName = "qs::FixedString";

template <class Word>
bool HaveEqualEnds(const char* a, const char* b, u32 length)
{
    Word words[4];
    std::memcpy(&words[0], a, sizeof(Word));
    std::memcpy(&words[1], b, sizeof(Word));
    std::memcpy(&words[2], a + length - sizeof(Word), sizeof(Word));
    std::memcpy(&words[3], b + length - sizeof(Word), sizeof(Word));
    return ((words[0] ^ words[1]) | (words[2] ^ words[3])) == 0;
}

// Short texts are compared by their two overlapping ends. The lengths are told apart as the hash does it, so that the
// processor has just learned where each branch goes.
inline bool AreEqual(const char* a, const char* b, u32 length)
{
    if (length <= 16) {
        if (length > 8) {
            return HaveEqualEnds<u64>(a, b, length);
        }
        return length >= 4 ? HaveEqualEnds<u32>(a, b, length) : std::memcmp(a, b, length) == 0;
    }
    return length <= 32 ? HaveEqualEnds<unsigned __int128>(a, b, length) : std::memcmp(a, b, length) == 0;
}

[[gnu::always_inline]] inline bool IsText(const Entry& entry, const char* text, u32 length)
{
    return GetTextHeader(entry.text)->length == length && AreEqual(entry.text, text, length);
}

bool IsReadable(u32 state)
{
    return (state & (EntryAlive | EntryHidden)) == EntryAlive;
}

// Adds a reference in the thread's own cell. The text must be in use or its shard locked.
[[gnu::always_inline]] inline void AddTo(Entry& entry, u32 id, u32 generation)
{
    OwnCell cell(id);
    const u64 value = cell.Load();
    if (IsPlain(value, generation)) [[likely]] {
        cell.Store(value + OneAdded + 1);
    } else if (GetGeneration(value) != generation) {
        cell.Store(PlusAdded(MakeCell(generation)));
    } else {
        entry.debt.fetch_sub(1, std::memory_order_seq_cst);
        cell.Store(PlusAdded(value));
    }
}

// Adds a reference of a reader, who does not know yet whether the entry is alive. False without one.
[[gnu::always_inline]] inline bool AddIfPlain(u32 id, u32 generation)
{
    OwnCell cell(id);
    u64 value = cell.Load();
    if (!IsPlain(value, generation)) [[unlikely]] {
        // A later generation: the state is outdated, and threads that share the place have seen another text here. The
        // same one: net is below 0, and lowering the debt is for those who know that the entry is alive.
        if (GetGeneration(value) >= generation) {
            return false;
        }
        value = MakeCell(generation);
    }
    cell.Store(value + OneAdded + 1);
    return true;
}

bool SetText(Entry& entry, const char* text, u32 length)
{
    if (length < InlineSize) {
        entry.text = entry.inlineText;
        memory::Account(memory::GetScopeID(ScopeName), sizeof(Entry), 1);
    } else {
        MemoryTrackerSample sample(ScopeName);
        void* block =
            MemoryManager::Allocate(sizeof(TextHeader) + u64(length) + 1, AllocType::Raw, DefaultMemoryTag, 0, true);
        if (!block) {
            return false;
        }
        entry.text = static_cast<char*>(block) + sizeof(TextHeader);
    }
    *GetTextHeader(entry.text) = {entry.GetId(), length};
    std::memcpy(entry.text, text, length);
    entry.text[length] = '\0';
    return true;
}

void ReleaseText(Entry& entry)
{
    if (entry.text == entry.inlineText) {
        memory::Account(memory::GetScopeID(ScopeName), -i64(sizeof(Entry)), -1);
    } else {
        MemoryManager::Deallocate(GetTextHeader(entry.text), AllocType::FreeRaw, DefaultMemoryTag, true);
    }
}

// A page of entries that know their ids. A page that two threads make at once is kept once.
bool MakeEntryPage(std::atomic<Entry*>& place, u32 firstId)
{
    Entry* made = static_cast<Entry*>(std::aligned_alloc(alignof(Entry), PageSize * sizeof(Entry)));
    if (!made) {
        return false;
    }
    std::memset(static_cast<void*>(made), 0, PageSize * sizeof(Entry));
    for (u32 i = 0; i < PageSize; ++i) {
        made[i].inlineHeader.id = firstId + i;
    }
    Entry* page = nullptr;
    if (!place.compare_exchange_strong(page, made, std::memory_order_acq_rel)) {
        std::free(made);
    }
    return true;
}

} // namespace

[[gnu::always_inline]] inline void FixedStringTable::GiveBack(Entry& entry, u32 id, u32 generation)
{
    i32 net;
    u32 place;
    {
        OwnCell cell(id);
        place = cell.GetPlace();
        const u64 value = cell.Load();
        net = GetNet(value) - 1;
        if (IsPlain(value, generation) && net >= 0) [[likely]] {
            cell.Store(value - 1);
        } else {
            net = -1;
        }
    }
    if (net < 0) [[unlikely]] {
        GiveBackBelowZero(entry, id, generation);
        return;
    }
    const u32 anchor = GetAnchor(entry.state.load(std::memory_order_acquire));
    if (anchor == NoAnchor || (anchor == place && net <= i64(entry.debt.load(std::memory_order_acquire))))
        [[unlikely]] {
        AddSuspect(entry);
    }
}

// Takes a reference to the entry and keeps it if the entry stands for the text.
[[gnu::always_inline]] inline bool FixedStringTable::Acquire(Entry& entry, u32 id, const char* text, u32 length)
{
    const u32 before = entry.state.load(std::memory_order_acquire);
    if (!IsReadable(before)) [[unlikely]] {
        return false;
    }
    const u32 generation = GetStateGeneration(before);
    if (!AddIfPlain(id, generation)) [[unlikely]] {
        return false;
    }
    const u32 now = entry.state.load(std::memory_order_acquire);
    const bool isHeld = now == before || (IsReadable(now) && GetStateGeneration(now) == generation);
    if (isHeld && IsText(entry, text, length)) [[likely]] {
        return true;
    }
    GiveBack(entry, id, generation);
    return false;
}

// Takes a reference to the text if the slots lead to it. A null result says nothing: slots may be on the move.
[[gnu::always_inline]] inline Entry* FixedStringTable::Find(const Slots* slots, u64 hash, const char* text, u32 length)
{
    if (!slots) {
        return nullptr;
    }
    for (u32 i = FirstSlot(hash, slots->mask);; i = (i + 1) & slots->mask) {
        const u32 slot = slots->slots[i].load(std::memory_order_acquire);
        if (slot == 0) {
            return nullptr;
        }
        if ((slot & SlotTagMask) == GetSlotTag(hash)) {
            const u32 id = GetSlotId(slot, hash % ShardCount);
            Entry* entry = FindEntry(id);
            if (Acquire(*entry, id, text, length)) [[likely]] {
                return entry;
            }
        }
    }
}

FixedString::Handle FixedStringTable::Intern(const char* text, u32 length)
{
    const u64 hash = XXH3_64bits(text, length);
    const Shard& shard = s_shards[hash % ShardCount];
    if (const Entry* entry = Find(shard.slots.load(std::memory_order_acquire), hash, text, length)) [[likely]] {
        return entry->text;
    }
    return InternUnderLock(hash, text, length);
}

FixedString::Handle FixedStringTable::InternUnderLock(u64 hash, const char* text, u32 length)
{
    Shard& shard = s_shards[hash % ShardCount];
    std::lock_guard guard(shard.lock);
    const Entry* entry = InternNolock(shard, hash, text, length);
    return entry ? entry->text : FixedString::NULL_STRING;
}

Entry* FixedStringTable::FindNolock(Shard& shard, u64 hash, const char* text, u32 length)
{
    const Slots* slots = shard.slots.load(std::memory_order_relaxed);
    if (!slots) {
        return nullptr;
    }
    for (u32 i = FirstSlot(hash, slots->mask);; i = (i + 1) & slots->mask) {
        const u32 slot = slots->slots[i].load(std::memory_order_relaxed);
        if (slot == 0) {
            return nullptr;
        }
        Entry* entry = FindEntry(GetSlotId(slot, hash % ShardCount));
        if (entry->hash == hash && IsText(*entry, text, length)) {
            return entry;
        }
    }
}

Entry* FixedStringTable::InternNolock(Shard& shard, u64 hash, const char* text, u32 length)
{
    if (Entry* known = FindNolock(shard, hash, text, length)) {
        AddTo(*known, known->GetId(), GetStateGeneration(known->state.load(std::memory_order_relaxed)));
        // Whoever hid it finds that it is in use again.
        known->state.fetch_and(~u32(EntryHidden), std::memory_order_seq_cst);
        return known;
    }
    Entry* entry = TakeEntryNolock(shard);
    if (!entry) {
        return nullptr;
    }
    entry->hash = hash;
    if (!SetText(*entry, text, length)) {
        ReturnEntryNolock(shard, *entry);
        return nullptr;
    }
    if (!InsertSlotNolock(shard, *entry)) {
        ReleaseText(*entry);
        ReturnEntryNolock(shard, *entry);
        return nullptr;
    }
    const u32 generation = GetStateGeneration(entry->state.load(std::memory_order_relaxed));
    AddTo(*entry, entry->GetId(), generation);
    entry->state.store(generation << GenerationShift | t_place.place << AnchorShift | EntryAlive,
                       std::memory_order_seq_cst);
    ++shard.count;
    return entry;
}

Entry* FixedStringTable::TakeEntryNolock(Shard& shard)
{
    if (shard.freeList != 0) {
        Entry* entry = FindEntry(shard.freeList - 1);
        shard.freeList = entry->nextFree;
        return entry;
    }
    if (shard.idsMade >= MaxIds / ShardCount) {
        QS_LOG_ERROR("foundation/FixedString", "qs::FixedString::Create", "More than %u texts are interned", MaxIds);
        return nullptr;
    }
    const u32 id = shard.idsMade * ShardCount + static_cast<u32>(&shard - s_shards);
    std::atomic<Entry*>& page = s_entries[id >> PageBits];
    if (!page.load(std::memory_order_acquire) && !MakeEntryPage(page, id & ~(PageSize - 1))) {
        return nullptr;
    }
    ++shard.idsMade;
    return FindEntry(id);
}

void FixedStringTable::ReturnEntryNolock(Shard& shard, Entry& entry)
{
    entry.nextFree = shard.freeList;
    shard.freeList = entry.GetId() + 1;
}

void FixedStringTable::ReleaseEntryNolock(Shard& shard, Entry& entry)
{
    RemoveSlotNolock(shard, entry);
    --shard.count;
    ReleaseText(entry);
    const u32 generation = GetStateGeneration(entry.state.load(std::memory_order_relaxed));
    entry.debt.store(0, std::memory_order_relaxed);
    // The last generation stays what it is and is not used again: cells of the first one may still be about.
    if (generation < MaxGeneration) {
        entry.state.store((generation + 1) << GenerationShift, std::memory_order_seq_cst);
        ReturnEntryNolock(shard, entry);
    } else {
        entry.state.store(generation << GenerationShift, std::memory_order_seq_cst);
    }
}

void FixedStringTable::AddReference(u32 id)
{
    Entry& entry = *FindEntry(id);
    AddTo(entry, id, GetStateGeneration(entry.state.load(std::memory_order_relaxed)));
}

void FixedStringTable::ReleaseReference(u32 id)
{
    Entry& entry = *FindEntry(id);
    GiveBack(entry, id, GetStateGeneration(entry.state.load(std::memory_order_relaxed)));
}

u64 FixedStringTable::GetCount()
{
    ProcessAllSuspects();
    u64 count = 0;
    for (Shard& shard : s_shards) {
        std::lock_guard guard(shard.lock);
        count += shard.count;
    }
    return count;
}

u64 FixedStringTable::GetReferences(u32 id)
{
    const u32 generation = GetStateGeneration(FindEntry(id)->state.load(std::memory_order_relaxed));
    Barrier();
    i64 sum = 0;
    for (u32 place = 0; place < GetPlaceLimit(); ++place) {
        const u64 cell = LoadCell(place, id);
        sum += GetGeneration(cell) == generation ? GetNet(cell) : 0;
    }
    return sum > 0 ? static_cast<u64>(sum) : 0;
}

} // namespace qs
