// The table of interned texts.
//
// Looking up a known text takes no lock and writes only to the thread's own reference count. The order of steps makes
// that safe without holding memory back:
//
//   - A reader finds an id in the hash table, adds a reference to the id, and then loads the id's node. A node that is
//     there can no longer go away, and only now does the reader touch its text. If it is another text, or none, the
//     reader gives the reference back.
//   - Whoever reclaims an id first hides its node, then sums the references. A reader that added one before the sum is
//     seen by it; a reader that added one behind it finds no node.
//
// Ids, their records and their counts are never released, only reused, so a reader that holds an outdated id does no
// harm. New texts and releases take the lock of one of ShardCount shards.
#pragma once

#include <atomic>
#include <mutex>

#include <qs/FixedString.h>

#include "strings/ReferenceCounts.h"

namespace qs {

namespace strings {

/// In front of every interned text. The length stands directly before the characters.
struct Node
{
    u64 hash;
    u32 id;
    u32 length;

    char* GetText() { return reinterpret_cast<char*>(this + 1); }
};
static_assert(sizeof(Node) == 16);

/// The id of texts that are never released.
constexpr u32 ImmortalId = 0xffffffffu;

inline Node* GetNode(const char* text)
{
    return reinterpret_cast<Node*>(const_cast<char*>(text)) - 1;
}

struct Record
{
    std::atomic<Node*> node; ///< null while the id is free or being reclaimed
    std::atomic<u32> anchor;
    u32 nextFree; ///< next id of the shard's free list plus 1
};

/// Open addressing with linear probing. A cell holds the upper half of the hash and the id plus 1; 0 is empty.
struct Slots
{
    u32 mask;
    Slots* older; ///< kept, because readers may still be in it
    std::atomic<u64> cells[1];
};

struct Shard
{
    std::mutex lock;
    std::atomic<Slots*> slots;
    u32 count;
    u32 idsMade;
    u32 freeList; ///< id plus 1
};

} // namespace strings

/// All of it is static storage: strings are made before and released behind all objects of this library.
class FixedStringTable
{
public:
    static FixedString::Handle Intern(const char* text, u32 length);
    static void AddReference(u32 id);
    static void ReleaseReference(u32 id);
    static u64 GetCount();
    static u64 GetReferences(u32 id);

private:
    static constexpr u32 ShardBits = 4;
    static constexpr u32 ShardCount = 1u << ShardBits;

    static strings::Record* FindRecord(u32 id);
    static strings::Node* Acquire(u32 id, u64 hash, const char* text, u32 length);
    static strings::Node* FindNode(const strings::Slots* slots, u64 hash, const char* text, u32 length);
    static strings::Node* InternLocked(strings::Shard& shard, u64 hash, const char* text, u32 length);
    static bool TakeId(strings::Shard& shard, u32& id);
    static void ReleaseElsewhere(u32 id);
    static void Reclaim(u32 id);
    static bool InsertSlot(strings::Shard& shard, u64 hash, u32 id);
    static bool GrowSlots(strings::Shard& shard);
    static void RemoveSlot(strings::Shard& shard, u64 hash, u32 id);

    static strings::Shard s_shards[ShardCount];
    static std::atomic<strings::Record*> s_records[strings::PageCount];
    static strings::ReferenceCounts s_counts;
};

} // namespace qs
