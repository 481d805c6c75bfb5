// The table of interned texts.
//
// Looking up a known text takes no lock and writes only to the thread's own cell (Places.h). The order of steps makes
// that safe:
//
//   - A reader finds an entry in the hash table, adds a reference to it, and then looks whether the entry is alive and
//     not hidden. If so, it can no longer go away, and only now does the reader touch its text. If it is another text,
//     or the entry is gone or hidden, the reader gives the reference back.
//   - Whoever releases an entry hides it, calls Barrier, and then sums the references. A reader that added one before
//     is seen; a reader that adds one later finds the entry hidden and asks again under the lock.
//
// When to look whether a text is unused: each entry has an anchor, a place. As long as the anchor's references are more
// than what all places together gave back beyond what they added (the entry's debt), the text is in use whatever
// others do, and their coming and going concerns nobody. A thread that breaks this, by giving back at the anchor or by
// raising the debt, makes the entry a suspect. Suspects wait in their place's list; a few dozen share one Barrier, and
// in a program with one thread they need none and are settled at once.
//
// Entries, slots and cells are never returned to the system, only reused, so that a reader with an outdated one does
// no harm. New texts and releases take the lock of one of ShardCount shards.
#pragma once

#include <atomic>
#include <mutex>

#include <qs/FixedString.h>

#include "strings/Places.h"

namespace qs {

namespace strings {

/// Directly in front of the characters of every text.
struct TextHeader
{
    u32 id;
    u32 length;
};

/// The id of texts that are never released.
constexpr u32 ImmortalId = 0xffffffffu;

inline TextHeader* GetTextHeader(const char* text)
{
    return reinterpret_cast<TextHeader*>(const_cast<char*>(text)) - 1;
}

/// Bits of an entry's state: the generation, the anchor, and flags.
enum EEntryState : u32
{
    EntryAlive = 1,
    EntryHidden = 2,
    EntrySuspect = 4,
};
constexpr u32 AnchorShift = 8;
constexpr u32 GenerationShift = 20;
constexpr u32 NoAnchor = 0xff;
static_assert(PlaceCount <= NoAnchor);

constexpr u32 GetAnchor(u32 state)
{
    return state >> AnchorShift & 0xff;
}
constexpr u32 GetStateGeneration(u32 state)
{
    return state >> GenerationShift;
}

// Sanitizers see a use behind the release only in blocks of their own.
#if defined(GLEAM_SANITIZE)
constexpr u32 InlineSize = 0;
#else
constexpr u32 InlineSize = 28;
#endif

/// One line of the processor's cache. Texts that fit stand in it.
struct alignas(64) Entry
{
    std::atomic<u32> state;
    std::atomic<u32> debt;
    u64 hash;
    char* text;
    u32 nextFree; ///< next id of the shard's free list plus 1
    TextHeader inlineHeader;
    char inlineText[28];

    u32 GetId() const { return inlineHeader.id; }
};
static_assert(sizeof(Entry) == 64);

constexpr u32 ShardCount = 16;

/// Open addressing with linear probing. A slot holds the top 8 bits of the hash and, in 24 bits, the number of the
/// entry among its shard's plus 1; 0 is empty.
struct Slots
{
    u32 mask;
    Slots* older; ///< kept, because readers may still be in it
    std::atomic<u32> slots[1];
};

struct Shard
{
    std::mutex lock;
    std::atomic<Slots*> slots;
    u32 count;
    u32 idsMade;
    u32 freeList; ///< id plus 1
};

extern std::atomic<Entry*> s_entries[PageCount];

inline Entry* FindEntry(u32 id)
{
    return s_entries[id >> PageBits].load(std::memory_order_acquire) + (id & (PageSize - 1));
}

static_assert(MaxIds / ShardCount < 0xffffff);
constexpr u32 SlotTagMask = 0xff000000u;
constexpr u32 GetSlotTag(u64 hash)
{
    return static_cast<u32>(hash >> 32) & SlotTagMask;
}
inline u32 MakeSlot(const Entry& entry)
{
    return GetSlotTag(entry.hash) | (entry.GetId() / ShardCount + 1);
}
/// The entry's id; `shard` is the number of the slot's shard.
constexpr u32 GetSlotId(u32 slot, u32 shard)
{
    return ((slot & ~SlotTagMask) - 1) * ShardCount + shard;
}
constexpr u32 FirstSlot(u64 hash, u32 mask)
{
    return static_cast<u32>(hash >> 4) & mask;
}

/// The shard's lock is held.
bool InsertSlotNolock(Shard& shard, Entry& entry);
void RemoveSlotNolock(Shard& shard, Entry& entry);

} // namespace strings

/// All of it is static storage: strings are made before and released behind all objects of this library.
class FixedStringTable
{
public:
    static FixedString::Handle Intern(const char* text, u32 length);
    static void AddReference(u32 id);
    static void ReleaseReference(u32 id);
    /// Exact when no other thread uses strings meanwhile.
    static u64 GetCount();
    static u64 GetReferences(u32 id);
    /// Settles the suspects of a place.
    static void ReleasePending(u32 place);

private:
    QS_COLD static FixedString::Handle InternUnderLock(u64 hash, const char* text, u32 length);
    static strings::Shard& GetShard(u32 id) { return s_shards[id % strings::ShardCount]; }
    static strings::Entry* Find(const strings::Slots* slots, u64 hash, const char* text, u32 length);
    static bool Acquire(strings::Entry& entry, u32 id, const char* text, u32 length);
    static void GiveBack(strings::Entry& entry, u32 id, u32 generation);
    QS_COLD static void GiveBackBelowZero(strings::Entry& entry, u32 id, u32 generation);

    static strings::Entry* InternNolock(strings::Shard& shard, u64 hash, const char* text, u32 length);
    static strings::Entry* FindNolock(strings::Shard& shard, u64 hash, const char* text, u32 length);
    static strings::Entry* TakeEntryNolock(strings::Shard& shard);
    static void ReturnEntryNolock(strings::Shard& shard, strings::Entry& entry);
    static void ReleaseEntryNolock(strings::Shard& shard, strings::Entry& entry);

    QS_COLD static void AddSuspect(strings::Entry& entry);
    static bool ProcessSuspects(u32 place);
    static void ProcessAllSuspects();
    static bool HideNolock(strings::Entry& entry);
    static bool SettleNolock(strings::Shard& shard, strings::Entry& entry);

    static strings::Shard s_shards[strings::ShardCount];
};

} // namespace qs
