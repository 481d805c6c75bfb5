// Giving references back, and finding out which texts are unused.
#include <algorithm>
#include <vector>

#include "strings/FixedStringTable.h"

namespace qs {

using namespace strings;

namespace {

// Suspects of a place share a barrier, whose cost is that of interrupting every processor that runs the program.
constexpr std::size_t BatchSize = 64;

struct SuspectList
{
    std::mutex lock;
    std::vector<u32> ids;
};

// Never destroyed: strings of other libraries are released behind this one's objects.
SuspectList& GetSuspects(u32 place)
{
    static SuspectList* lists = new SuspectList[PlaceCount];
    return lists[place];
}

// One thread at a time hides and settles, so that a hidden entry is always hidden by the one who settles it, before
// the barrier that it relies on.
constinit std::mutex s_passLock;

// Whether all references were given back at one moment. The sums are those of counts that only rise, and what was
// given back is read first: if it equals what was added as read later, nothing was held in between.
bool IsUnused(u32 id, u32 generation)
{
    u64 givenBack = 0;
    for (u32 place = 0; place < GetPlaceLimit(); ++place) {
        const u64 cell = LoadCell(place, id);
        givenBack += GetGeneration(cell) == generation ? GetAdded(cell) - u64(i64(GetNet(cell))) : 0;
    }
    u64 added = 0;
    for (u32 place = 0; place < GetPlaceLimit(); ++place) {
        const u64 cell = LoadCell(place, id);
        added += GetGeneration(cell) == generation ? GetAdded(cell) : 0;
    }
    return ((added - givenBack) & NetMask) == 0; // `added` has as many bits
}

i64 GetNetOfPlace(u32 place, u32 id, u32 generation)
{
    const u64 cell = LoadCell(place, id);
    return GetGeneration(cell) == generation ? GetNet(cell) : 0;
}

// The place that holds more than the debt, or NoAnchor.
u32 FindAnchor(const Entry& entry, u32 generation)
{
    u32 best = NoAnchor;
    i64 bestNet = entry.debt.load(std::memory_order_seq_cst);
    for (u32 place = 0; place < GetPlaceLimit(); ++place) {
        const i64 net = GetNetOfPlace(place, entry.GetId(), generation);
        if (net > bestNet) {
            best = place;
            bestNet = net;
        }
    }
    return best;
}

// Other bits of the state may change at the same time.
void SetAnchor(Entry& entry, u32 anchor)
{
    u32 state = entry.state.load(std::memory_order_relaxed);
    while (!entry.state.compare_exchange_weak(state, (state & ~(0xffu << AnchorShift)) | anchor << AnchorShift,
                                              std::memory_order_seq_cst)) {
    }
}

} // namespace

// What the thread did not add itself, or a cell of an earlier text.
void FixedStringTable::GiveBackBelowZero(Entry& entry, u32 id, u32 generation)
{
    {
        OwnCell cell(id);
        const u64 value = cell.Load();
        if (GetGeneration(value) > generation) {
            return; // a reader's reference to a text that is gone, in a place that others used since
        }
        // Before the reference is given back, as the entry may be another text's behind it.
        entry.debt.fetch_add(1, std::memory_order_seq_cst);
        cell.Store(PlusGivenBack(GetGeneration(value) == generation ? value : MakeCell(generation)));
    }
    AddSuspect(entry);
}

void FixedStringTable::AddSuspect(Entry& entry)
{
    if (entry.state.fetch_or(EntrySuspect, std::memory_order_seq_cst) & EntrySuspect) {
        return;
    }
    const u32 place = t_place.place;
    SuspectList& suspects = GetSuspects(place);
    std::size_t count;
    {
        std::lock_guard guard(suspects.lock);
        suspects.ids.push_back(entry.GetId());
        count = suspects.ids.size();
    }
    if (count >= BatchSize || IsOnlyPlace()) {
        // A thread that finds another one at work leaves its suspects for later.
        if (std::unique_lock pass(s_passLock, std::try_to_lock); pass.owns_lock()) {
            while (ProcessSuspects(place) && IsOnlyPlace()) {
            }
        }
    }
}

// Settles the suspects of a place; the pass lock is held. True when some of them need another look.
bool FixedStringTable::ProcessSuspects(u32 place)
{
    std::vector<u32> ids;
    SuspectList& suspects = GetSuspects(place);
    {
        std::lock_guard guard(suspects.lock);
        ids.swap(suspects.ids);
    }
    const auto forgetUnless = [&ids](auto&& keep) {
        std::erase_if(ids, [&](u32 id) {
            std::lock_guard guard(GetShard(id).lock);
            return !keep(id);
        });
    };
    forgetUnless([](u32 id) { return HideNolock(*FindEntry(id)); });
    if (!ids.empty()) {
        Barrier();
    }
    forgetUnless([](u32 id) { return !SettleNolock(GetShard(id), *FindEntry(id)); });
    std::lock_guard guard(suspects.lock);
    for (u32 id : ids) {
        if (!(FindEntry(id)->state.fetch_or(EntrySuspect, std::memory_order_seq_cst) & EntrySuspect)) {
            suspects.ids.push_back(id);
        }
    }
    return !suspects.ids.empty();
}

// False for an entry that is free.
bool FixedStringTable::HideNolock(Entry& entry)
{
    const u32 state = entry.state.fetch_and(~u32(EntrySuspect), std::memory_order_seq_cst);
    if (!(state & EntryAlive)) {
        return false;
    }
    entry.state.fetch_or(EntryHidden, std::memory_order_seq_cst);
    return true;
}

// Releases an entry that was hidden before the last barrier, or shows it again. False when it needs another look.
bool FixedStringTable::SettleNolock(Shard& shard, Entry& entry)
{
    const u32 state = entry.state.load(std::memory_order_seq_cst);
    if (!(state & EntryHidden)) {
        return false; // found again meanwhile
    }
    const u32 generation = GetStateGeneration(state);
    if (IsUnused(entry.GetId(), generation)) {
        ReleaseEntryNolock(shard, entry);
        return true;
    }
    entry.state.fetch_and(~u32(EntryHidden), std::memory_order_seq_cst);
    // An anchor that held before the barrier holds: whoever weakens it from now on makes the entry a suspect.
    const u32 anchor = GetAnchor(state);
    const i64 debt = entry.debt.load(std::memory_order_seq_cst);
    if (anchor != NoAnchor && GetNetOfPlace(anchor, entry.GetId(), generation) > debt) {
        return true;
    }
    const u32 next = FindAnchor(entry, generation);
    SetAnchor(entry, next);
    // Threads that gave back by the old anchor are seen only behind another barrier. Without any anchor everybody
    // reports.
    return next == NoAnchor && anchor == NoAnchor;
}

void FixedStringTable::ReleasePending(u32 place)
{
    std::lock_guard pass(s_passLock);
    // Twice settles all that no other thread touches.
    for (int i = 0; i < 3 && ProcessSuspects(place); ++i) {
    }
}

void FixedStringTable::ProcessAllSuspects()
{
    for (u32 place = 0; place < GetPlaceLimit(); ++place) {
        ReleasePending(place);
    }
}

} // namespace qs
