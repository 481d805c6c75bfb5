// Reference counts of interned texts, spread over the threads.
//
// A count that many threads move would travel between their processors with every copy of a string, and a locked
// instruction costs as much as hashing the text. So each thread has a place with a cell for every text, which only it
// writes, with plain stores: how many references it added, and how many it gave back. A thread may give back what
// another one added; what counts is the sum over all places.
//
// Plain stores have a price: another thread may see them late. Whoever has to be certain calls Barrier first, which
// makes every store visible that any thread made before it.
#pragma once

#include <atomic>
#include <mutex>

#include <qs/Export.h>

#include "core/ThreadState.h"

namespace qs::strings {

constexpr u32 PageBits = 12;
constexpr u32 PageSize = 1u << PageBits;
constexpr u32 PageCount = 1u << 15;
/// Most texts that can be interned at once.
constexpr u32 MaxIds = PageSize * PageCount;
/// Threads beyond this share place 0 under a lock, as do threads that are ending.
constexpr u32 PlaceCount = 255;
constexpr u32 SharedPlace = 0;

/// One thread's references to one text:
///
///     63          38 37           26 25           0
///     +-------------+---------------+-------------+
///     |    added    |  generation   |     net     |
///     +-------------+---------------+-------------+
///
/// `added` counts the references that the thread ever added and wraps. `net` is signed: those that it did not give back
/// yet, below 0 when it gave back what others added; a thread can hold 2^25 - 1 references to one text. A cell of
/// another generation than its text's is left over from an earlier text and counts as zero.
using Cell = std::atomic<u64>;

constexpr u32 GenerationInCell = 26;
constexpr u32 MaxGeneration = 0xfff;
constexpr u64 NetMask = (u64(1) << 26) - 1;
constexpr u64 NetSign = u64(1) << 25;
constexpr u64 GenerationMask = u64(MaxGeneration) << GenerationInCell;
constexpr u64 OneAdded = u64(1) << 38;

constexpr u64 MakeCell(u32 generation)
{
    return u64(generation) << GenerationInCell;
}
constexpr u32 GetGeneration(u64 cell)
{
    return static_cast<u32>(cell >> GenerationInCell) & MaxGeneration;
}
constexpr u64 GetAdded(u64 cell)
{
    return cell >> 38;
}
constexpr i32 GetNet(u64 cell)
{
    return static_cast<i32>(static_cast<u32>(cell) << 6) >> 6;
}
/// Whether the cell is of this generation and its net is not below 0.
constexpr bool IsPlain(u64 cell, u32 generation)
{
    return (cell & (GenerationMask | NetSign)) == MakeCell(generation);
}
constexpr u64 WithNet(u64 cell, i32 net)
{
    return (cell & ~NetMask) | (static_cast<u32>(net) & NetMask);
}
constexpr u64 PlusAdded(u64 cell)
{
    return WithNet(cell, GetNet(cell) + 1) + OneAdded;
}
constexpr u64 PlusGivenBack(u64 cell)
{
    return WithNet(cell, GetNet(cell) - 1);
}

/// A directory of pages of cells, by id.
using Directory = std::atomic<Cell*>;

struct ThreadPlace
{
    Directory* directory; ///< null unless the thread owns a place
    u32 place;
    bool ended;
};
extern thread_local constinit ThreadPlace t_place QS_FAST_TLS;

/// True on systems that offer no Barrier: every store of a cell is then a locked exchange.
extern bool s_storesAreLocked;

[[gnu::always_inline]] inline void StoreCell(Cell& cell, u64 value)
{
    if (s_storesAreLocked) [[unlikely]] {
        cell.exchange(value, std::memory_order_seq_cst);
    } else {
        cell.store(value, std::memory_order_release);
        // The compiler keeps the order too; the processor's is Barrier's business.
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }
}

QS_COLD Cell& MakeCellPage(Directory* directory, u32 id);

[[gnu::always_inline]] inline Cell& FindOrMakeCell(Directory* directory, u32 id)
{
    Cell* page = directory[id >> PageBits].load(std::memory_order_relaxed);
    if (!page) [[unlikely]] {
        return MakeCellPage(directory, id);
    }
    return page[id & (PageSize - 1)];
}

/// Gives the thread a place if there is one left.
QS_COLD bool EnterPlace();

/// The cell that the calling thread writes for a text. No lock may be taken while the object lives.
class OwnCell
{
public:
    [[gnu::always_inline]] explicit OwnCell(u32 id)
    {
        if (t_place.directory || EnterPlace()) [[likely]] {
            m_place = t_place.place;
            m_isShared = false;
            m_cell = &FindOrMakeCell(t_place.directory, id);
        } else {
            m_place = SharedPlace;
            m_isShared = true;
            m_cell = &LockSharedCell(id);
        }
    }
    [[gnu::always_inline]] ~OwnCell()
    {
        if (m_isShared) [[unlikely]] {
            UnlockSharedCell();
        }
    }
    OwnCell(const OwnCell&) = delete;
    OwnCell& operator=(const OwnCell&) = delete;

    u32 GetPlace() const { return m_place; }
    u64 Load() const { return m_cell->load(std::memory_order_relaxed); }
    void Store(u64 value) { StoreCell(*m_cell, value); }

private:
    QS_COLD static Cell& LockSharedCell(u32 id);
    QS_COLD static void UnlockSharedCell();

    Cell* m_cell;
    u32 m_place;
    bool m_isShared;
};

/// A place's cell as it is seen now; 0 where the place has none.
u64 LoadCell(u32 place, u32 id);
/// Places handed out so far run from 0 to below this.
u32 GetPlaceLimit();
/// Whether no thread but this one ever had a place.
bool IsOnlyPlace();

/// Makes what all threads stored into cells before visible to the caller, and what the caller stored before visible to
/// whatever they load afterwards.
void Barrier();

} // namespace qs::strings
