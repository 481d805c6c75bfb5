// The hash table of a shard. Readers walk it without the lock; a reader that misses an entry on the move asks again
// under it.
#include <cstdlib>

#include "strings/FixedStringTable.h"

namespace qs::strings {

namespace {

void Put(Slots& slots, u64 hash, u32 slot)
{
    u32 i = FirstSlot(hash, slots.mask);
    while (slots.slots[i].load(std::memory_order_relaxed) != 0) {
        i = (i + 1) & slots.mask;
    }
    slots.slots[i].store(slot, std::memory_order_release);
}

Slots* MakeLarger(Slots* old, u32 shard)
{
    const u64 count = old ? (u64(old->mask) + 1) * 2 : 64;
    Slots* slots = static_cast<Slots*>(std::calloc(1, sizeof(Slots) + (count - 1) * sizeof(u32)));
    if (!slots) {
        return nullptr;
    }
    slots->mask = static_cast<u32>(count - 1);
    slots->older = old;
    for (u64 i = 0; old && i <= old->mask; ++i) {
        if (const u32 slot = old->slots[i].load(std::memory_order_relaxed)) {
            Put(*slots, FindEntry(GetSlotId(slot, shard))->hash, slot);
        }
    }
    return slots;
}

} // namespace

bool InsertSlotNolock(Shard& shard, Entry& entry)
{
    Slots* slots = shard.slots.load(std::memory_order_relaxed);
    // At most half full, so that a miss ends soon.
    if (!slots || (u64(shard.count) + 1) * 2 > slots->mask) {
        slots = MakeLarger(slots, entry.GetId() % ShardCount);
        if (!slots) {
            return false;
        }
        shard.slots.store(slots, std::memory_order_release);
    }
    Put(*slots, entry.hash, MakeSlot(entry));
    return true;
}

// Later entries of the run move forward, so that no run has a hole.
void RemoveSlotNolock(Shard& shard, Entry& entry)
{
    Slots* slots = shard.slots.load(std::memory_order_relaxed);
    const u32 mask = slots->mask;
    const u32 shardNumber = entry.GetId() % ShardCount;
    u32 hole = FirstSlot(entry.hash, mask);
    while (slots->slots[hole].load(std::memory_order_relaxed) != MakeSlot(entry)) {
        hole = (hole + 1) & mask;
    }
    for (u32 next = (hole + 1) & mask;; next = (next + 1) & mask) {
        const u32 slot = slots->slots[next].load(std::memory_order_relaxed);
        if (slot == 0) {
            break;
        }
        const u32 home = FirstSlot(FindEntry(GetSlotId(slot, shardNumber))->hash, mask);
        if (((next - home) & mask) >= ((next - hole) & mask)) {
            slots->slots[hole].store(slot, std::memory_order_release);
            hole = next;
        }
    }
    slots->slots[hole].store(0, std::memory_order_release);
}

} // namespace qs::strings
