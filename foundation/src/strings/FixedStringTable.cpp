// The table of interned texts; its header tells how look-ups and releases get along.
#include "strings/FixedStringTable.h"

#include <cstdlib>
#include <cstring>
#include <new>

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <qs/Log.h>
#include <qs/Memory.h>

namespace qs {

using namespace strings;

constinit Shard FixedStringTable::s_shards[ShardCount] = {};
constinit std::atomic<Record*> FixedStringTable::s_records[PageCount] = {};
constinit ReferenceCounts FixedStringTable::s_counts;

namespace {

constexpr u64 TagMask = 0xffffffff00000000u;

u64 MakeSlot(u64 hash, u32 id)
{
    return (hash & TagMask) | (id + 1);
}

u32 FirstSlot(u64 hash, u32 mask)
{
    return static_cast<u32>(hash >> 4) & mask;
}

bool Matches(const Node* node, u64 hash, const char* text, u32 length)
{
    return node->hash == hash && node->length == length &&
           std::memcmp(const_cast<Node*>(node)->GetText(), text, length) == 0;
}

// Pages are never released; a page that two threads make at once is kept once.
template <class Item>
Item* MakeSharedPage(std::atomic<Item*>& place)
{
    Item* made = static_cast<Item*>(std::calloc(PageSize, sizeof(Item)));
    Item* page = nullptr;
    if (made && !place.compare_exchange_strong(page, made, std::memory_order_acq_rel)) {
        std::free(made);
        return page;
    }
    return made;
}

Node* MakeNode(u64 hash, u32 id, const char* text, u32 length)
{
    MemoryTrackerSample sample("qs::FixedString");
    void* block = MemoryManager::Allocate(sizeof(Node) + u64(length) + 1, AllocType::Raw, DefaultMemoryTag, 0, true);
    if (!block) {
        return nullptr;
    }
    Node* node = ::new (block) Node{hash, id, length};
    std::memcpy(node->GetText(), text, length);
    node->GetText()[length] = '\0';
    return node;
}

} // namespace

ReferenceCounts::Cell& ReferenceCounts::MakePage(u32 place, u32 id)
{
    Cell* page = MakeSharedPage(m_pages[place][id >> PageBits]);
    if (!page) {
        // Without its counts no string can be copied or released.
        AbortNotReached("foundation/FixedString", __LINE__, "qs::FixedString: out of memory for reference counts");
    }
    return page[id & (PageSize - 1)];
}

Record* FixedStringTable::FindRecord(u32 id)
{
    return s_records[id >> PageBits].load(std::memory_order_acquire) + (id & (PageSize - 1));
}

FixedString::Handle FixedStringTable::Intern(const char* text, u32 length)
{
    const u64 hash = XXH3_64bits(text, length);
    Shard& shard = s_shards[hash % ShardCount];
    Node* node = FindNode(shard.slots.load(std::memory_order_acquire), hash, text, length);
    if (!node) {
        std::lock_guard guard(shard.lock);
        node = InternLocked(shard, hash, text, length);
    }
    return node ? node->GetText() : FixedString::NULL_STRING;
}

// Takes a reference to the text if the slots lead to it. A null result says nothing: slots may be on the move.
Node* FixedStringTable::FindNode(const Slots* slots, u64 hash, const char* text, u32 length)
{
    if (!slots) {
        return nullptr;
    }
    for (u32 i = FirstSlot(hash, slots->mask);; i = (i + 1) & slots->mask) {
        const u64 slot = slots->cells[i].load(std::memory_order_acquire);
        if (slot == 0) {
            return nullptr;
        }
        if ((slot & TagMask) == (hash & TagMask)) {
            if (Node* node = Acquire(static_cast<u32>(slot) - 1, hash, text, length)) {
                return node;
            }
        }
    }
}

// Takes a reference to the id and keeps it if the id stands for the text.
Node* FixedStringTable::Acquire(u32 id, u64 hash, const char* text, u32 length)
{
    Record* record = FindRecord(id);
    s_counts.Add(ReferenceCounts::OwnPlace(), id);
    Node* node = record->node.load(std::memory_order_seq_cst);
    if (node && Matches(node, hash, text, length)) [[likely]] {
        return node;
    }
    ReleaseReference(id);
    return nullptr;
}

Node* FixedStringTable::InternLocked(Shard& shard, u64 hash, const char* text, u32 length)
{
    // Another thread may have interned it meanwhile. Nothing is hidden or moves while the lock is held. Giving back a
    // reference to another text that has the same upper half must not wait for this lock, so the text comes first.
    if (const Slots* slots = shard.slots.load(std::memory_order_relaxed)) {
        for (u32 i = FirstSlot(hash, slots->mask); slots->cells[i].load(std::memory_order_relaxed) != 0;
             i = (i + 1) & slots->mask) {
            const u64 slot = slots->cells[i].load(std::memory_order_relaxed);
            const u32 id = static_cast<u32>(slot) - 1;
            Node* node = FindRecord(id)->node.load(std::memory_order_relaxed);
            if ((slot & TagMask) == (hash & TagMask) && Matches(node, hash, text, length)) {
                s_counts.Add(ReferenceCounts::OwnPlace(), id);
                return node;
            }
        }
    }
    u32 id;
    if (!TakeId(shard, id)) {
        return nullptr;
    }
    Record* record = FindRecord(id);
    Node* node = MakeNode(hash, id, text, length);
    if (!node || !InsertSlot(shard, hash, id)) {
        MemoryManager::Deallocate(node, AllocType::FreeRaw, DefaultMemoryTag, true);
        record->nextFree = shard.freeList;
        shard.freeList = id + 1;
        return nullptr;
    }
    const u32 place = ReferenceCounts::OwnPlace();
    s_counts.Add(place, id);
    record->anchor.store(place, std::memory_order_seq_cst);
    record->node.store(node, std::memory_order_seq_cst);
    ++shard.count;
    return node;
}

bool FixedStringTable::TakeId(Shard& shard, u32& id)
{
    if (shard.freeList != 0) {
        id = shard.freeList - 1;
        shard.freeList = FindRecord(id)->nextFree;
        return true;
    }
    const u32 shardIndex = static_cast<u32>(&shard - s_shards);
    id = shard.idsMade * ShardCount + shardIndex;
    if (shard.idsMade >= MaxIds / ShardCount) {
        QS_LOG_ERROR("foundation/FixedString", "qs::FixedString::Create", "More than %u texts are interned", MaxIds);
        return false;
    }
    std::atomic<Record*>& place = s_records[id >> PageBits];
    if (!place.load(std::memory_order_acquire) && !MakeSharedPage(place)) {
        return false;
    }
    ++shard.idsMade;
    return true;
}

void FixedStringTable::AddReference(u32 id)
{
    s_counts.Add(ReferenceCounts::OwnPlace(), id);
}

void FixedStringTable::ReleaseReference(u32 id)
{
    const u32 place = ReferenceCounts::OwnPlace();
    bool fellToZero = false;
    if (!s_counts.TryTake(place, id, fellToZero)) [[unlikely]] {
        ReleaseElsewhere(id);
    } else if (fellToZero && FindRecord(id)->anchor.load(std::memory_order_seq_cst) == place) {
        Reclaim(id);
    }
}

// The reference was added on another thread.
void FixedStringTable::ReleaseElsewhere(u32 id)
{
    constexpr u32 manyRounds = 1u << 20;
    Record* record = FindRecord(id);
    for (u32 round = 0; round < manyRounds; ++round) {
        for (u32 place = 0; place < PlaceCount; ++place) {
            bool fellToZero = false;
            if (s_counts.TryTake(place, id, fellToZero)) {
                if (fellToZero && record->anchor.load(std::memory_order_seq_cst) == place) {
                    Reclaim(id);
                }
                return;
            }
        }
    }
    QS_LOG_ASSERT("foundation/FixedString", "qs::FixedString::~FixedString",
                  "A string was released more often than it was held");
}

// Called when the anchor's cell fell to 0: finds a new anchor, or releases the text. Since the caller holds no
// reference any more, the id may be free or another text's by now; what is done here is right for either.
void FixedStringTable::Reclaim(u32 id)
{
    Shard& shard = s_shards[id % ShardCount];
    std::lock_guard guard(shard.lock);
    Record* record = FindRecord(id);
    Node* node = record->node.load(std::memory_order_relaxed);
    while (node) {
        const u32 place = s_counts.FindPlace(id);
        if (place < PlaceCount) {
            record->anchor.store(place, std::memory_order_seq_cst);
            if (s_counts.Load(place, id) != 0) {
                return;
            }
            continue; // it fell to 0 before it was the anchor, so nobody answers for it
        }
        record->node.store(nullptr, std::memory_order_seq_cst);
        if (s_counts.WasZero(id)) {
            RemoveSlot(shard, node->hash, id);
            MemoryManager::Deallocate(node, AllocType::FreeRaw, DefaultMemoryTag, true);
            record->nextFree = shard.freeList;
            shard.freeList = id + 1;
            --shard.count;
            return;
        }
        record->node.store(node, std::memory_order_seq_cst);
    }
}

bool FixedStringTable::InsertSlot(Shard& shard, u64 hash, u32 id)
{
    Slots* slots = shard.slots.load(std::memory_order_relaxed);
    // At most half full, so that a miss ends soon.
    if ((!slots || (shard.count + 1) * 2 > slots->mask) && !GrowSlots(shard)) {
        return false;
    }
    slots = shard.slots.load(std::memory_order_relaxed);
    u32 i = FirstSlot(hash, slots->mask);
    while (slots->cells[i].load(std::memory_order_relaxed) != 0) {
        i = (i + 1) & slots->mask;
    }
    slots->cells[i].store(MakeSlot(hash, id), std::memory_order_release);
    return true;
}

bool FixedStringTable::GrowSlots(Shard& shard)
{
    Slots* old = shard.slots.load(std::memory_order_relaxed);
    const u64 count = old ? (u64(old->mask) + 1) * 2 : 64;
    Slots* slots = static_cast<Slots*>(std::calloc(1, sizeof(Slots) + (count - 1) * sizeof(u64)));
    if (!slots) {
        return false;
    }
    slots->mask = static_cast<u32>(count - 1);
    slots->older = old;
    for (u64 from = 0; old && from <= old->mask; ++from) {
        const u64 slot = old->cells[from].load(std::memory_order_relaxed);
        if (slot == 0) {
            continue;
        }
        const u64 hash = FindRecord(static_cast<u32>(slot) - 1)->node.load(std::memory_order_relaxed)->hash;
        u32 i = FirstSlot(hash, slots->mask);
        while (slots->cells[i].load(std::memory_order_relaxed) != 0) {
            i = (i + 1) & slots->mask;
        }
        slots->cells[i].store(slot, std::memory_order_relaxed);
    }
    shard.slots.store(slots, std::memory_order_release);
    return true;
}

// Moves later entries of the run forward, so that no run has a hole. A reader that misses an entry on the move asks
// again under the lock.
void FixedStringTable::RemoveSlot(Shard& shard, u64 hash, u32 id)
{
    Slots* slots = shard.slots.load(std::memory_order_relaxed);
    const u32 mask = slots->mask;
    u32 hole = FirstSlot(hash, mask);
    while (slots->cells[hole].load(std::memory_order_relaxed) != MakeSlot(hash, id)) {
        hole = (hole + 1) & mask;
    }
    for (u32 next = (hole + 1) & mask;; next = (next + 1) & mask) {
        const u64 slot = slots->cells[next].load(std::memory_order_relaxed);
        if (slot == 0) {
            break;
        }
        const u64 nextHash = FindRecord(static_cast<u32>(slot) - 1)->node.load(std::memory_order_relaxed)->hash;
        const u32 home = FirstSlot(nextHash, mask);
        if (((next - home) & mask) >= ((next - hole) & mask)) {
            slots->cells[hole].store(slot, std::memory_order_release);
            hole = next;
        }
    }
    slots->cells[hole].store(0, std::memory_order_release);
}

u64 FixedStringTable::GetCount()
{
    u64 count = 0;
    for (Shard& shard : s_shards) {
        std::lock_guard guard(shard.lock);
        count += shard.count;
    }
    return count;
}

u64 FixedStringTable::GetReferences(u32 id)
{
    return s_counts.Sum(id);
}

} // namespace qs
