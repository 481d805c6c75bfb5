// Reference counts of interned texts, spread over the threads.
//
// A count that many threads move would travel between their processors with every copy of a string. Here each thread
// moves counts in a place of its own (threads beyond PlaceCount share places), and a text's references are the sum of
// its cells over all places.
//
//   - No cell falls below 0: a thread whose own cell is 0 releases a reference from any other cell that is above 0.
//   - Each id has an anchor, a place that answers for finding out when the sum reaches 0. As long as there are
//     references, the anchor's cell is above 0, or somebody is on the way to move the anchor or to reclaim the id.
//     Whoever makes a cell fall to 0 looks whether it was the anchor's, and only then looks at the other cells. So a
//     thread that takes and gives back a reference to a text that others hold reads and writes no cell but its own.
#pragma once

#include <atomic>
#include <cstdlib>

#include "core/ThreadState.h"

namespace qs::strings {

constexpr u32 PlaceCount = 16;
constexpr u32 PageBits = 12;
constexpr u32 PageSize = 1u << PageBits;
constexpr u32 PageCount = 1u << 15;
/// Most texts that can be interned at once.
constexpr u32 MaxIds = PageSize * PageCount;

class ReferenceCounts
{
public:
    /// Count in the low half; the high half counts additions, so that a scan notices what it missed.
    using Cell = std::atomic<u64>;
    static constexpr u64 One = 1;
    static constexpr u64 Addition = (u64(1) << 32) + One;
    static constexpr u32 Count(u64 cell) { return static_cast<u32>(cell); }

    static u32 OwnPlace() { return GetThreadIndex() % PlaceCount; }

    /// Adds a reference in the calling thread's place.
    void Add(u32 place, u32 id) { GetCell(place, id).fetch_add(Addition, std::memory_order_seq_cst); }

    /// Takes a reference off a place's cell unless it is 0. Returns whether it did; `fellToZero` says whether it was
    /// the cell's last.
    bool TryTake(u32 place, u32 id, bool& fellToZero)
    {
        Cell* cell = FindCell(place, id);
        u64 value = cell ? cell->load(std::memory_order_relaxed) : 0;
        while (Count(value) != 0) {
            if (cell->compare_exchange_weak(value, value - One, std::memory_order_seq_cst, std::memory_order_relaxed)) {
                fellToZero = Count(value) == 1;
                return true;
            }
        }
        return false;
    }

    u32 Load(u32 place, u32 id) const
    {
        const Cell* cell = FindCell(place, id);
        return cell ? Count(cell->load(std::memory_order_seq_cst)) : 0;
    }

    /// A place with references to the id, or PlaceCount.
    u32 FindPlace(u32 id) const
    {
        u32 place = 0;
        while (place < PlaceCount && Load(place, id) == 0) {
            ++place;
        }
        return place;
    }

    u64 Sum(u32 id) const
    {
        u64 sum = 0;
        for (u32 place = 0; place < PlaceCount; ++place) {
            sum += Load(place, id);
        }
        return sum;
    }

    /// Whether all cells were 0 at one moment: each was 0 in two rounds and nothing was added to any in between. One
    /// round is not enough, since a reference may move from a cell ahead of the scan to one behind it.
    bool WasZero(u32 id) const
    {
        u64 first[PlaceCount];
        for (u32 place = 0; place < PlaceCount; ++place) {
            first[place] = LoadAll(place, id);
            if (Count(first[place]) != 0) {
                return false;
            }
        }
        for (u32 place = 0; place < PlaceCount; ++place) {
            if (LoadAll(place, id) != first[place]) {
                return false;
            }
        }
        return true;
    }

private:
    u64 LoadAll(u32 place, u32 id) const
    {
        const Cell* cell = FindCell(place, id);
        return cell ? cell->load(std::memory_order_seq_cst) : 0;
    }

    Cell* FindCell(u32 place, u32 id) const
    {
        Cell* page = m_pages[place][id >> PageBits].load(std::memory_order_acquire);
        return page ? page + (id & (PageSize - 1)) : nullptr;
    }

    Cell& GetCell(u32 place, u32 id)
    {
        Cell* cell = FindCell(place, id);
        return cell ? *cell : MakePage(place, id);
    }

    Cell& MakePage(u32 place, u32 id);

    std::atomic<Cell*> m_pages[PlaceCount][PageCount] = {};
};

} // namespace qs::strings
