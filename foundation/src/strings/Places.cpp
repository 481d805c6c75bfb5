// Places of threads, and the barrier between them.
#include "strings/Places.h"

#include <cstdlib>

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <qs/Log.h>

#include "strings/FixedStringTable.h"

namespace qs::strings {

thread_local constinit ThreadPlace t_place QS_FAST_TLS = {};
constinit bool s_storesAreLocked = false;

namespace {

constinit std::mutex s_registryLock;
constinit std::mutex s_sharedPlaceLock;
constinit std::atomic<Directory*> s_directories[PlaceCount] = {};
constinit bool s_isTaken[PlaceCount] = {};
constinit std::atomic<u32> s_placesUsed{0};
constinit std::atomic<u32> s_placeLimit{1};

long CallMembarrier(int command)
{
    return syscall(SYS_membarrier, command, 0, 0);
}

[[noreturn]] QS_COLD void FailWithoutMemory()
{
    // Without its counts no string can be copied or released.
    AbortNotReached("foundation/FixedString", __LINE__, "qs::FixedString: out of memory for reference counts");
}

Directory* GetDirectoryNolock(u32 place)
{
    Directory* directory = s_directories[place].load(std::memory_order_relaxed);
    if (!directory) {
        directory = static_cast<Directory*>(std::calloc(PageCount, sizeof(Directory)));
        if (!directory) {
            FailWithoutMemory();
        }
        s_directories[place].store(directory, std::memory_order_release);
        if (s_placesUsed.fetch_add(1, std::memory_order_seq_cst) == 0 &&
            CallMembarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) != 0) {
            s_storesAreLocked = true; // there is no other thread yet that stores
        }
        if (place >= s_placeLimit.load(std::memory_order_relaxed)) {
            s_placeLimit.store(place + 1, std::memory_order_seq_cst);
        }
    }
    return directory;
}

// Hands the place on when the thread ends. What it counted stays.
struct EndOfThread
{
    ~EndOfThread()
    {
        FixedStringTable::ReleasePending(t_place.place);
        const u32 place = t_place.place;
        t_place = {nullptr, SharedPlace, true};
        std::lock_guard guard(s_registryLock);
        s_isTaken[place] = false;
    }
};

} // namespace

bool EnterPlace()
{
    if (t_place.ended) {
        return false;
    }
    {
        std::lock_guard guard(s_registryLock);
        u32 place = SharedPlace + 1;
        while (place < PlaceCount && s_isTaken[place]) {
            ++place;
        }
        if (place == PlaceCount) {
            return false;
        }
        s_isTaken[place] = true;
        t_place = {GetDirectoryNolock(place), place, false};
    }
    static thread_local EndOfThread end;
    static_cast<void>(end);
    return true;
}

Cell& OwnCell::LockSharedCell(u32 id)
{
    s_sharedPlaceLock.lock();
    Directory* directory = s_directories[SharedPlace].load(std::memory_order_acquire);
    if (!directory) {
        std::lock_guard guard(s_registryLock);
        directory = GetDirectoryNolock(SharedPlace);
    }
    return FindOrMakeCell(directory, id);
}

void OwnCell::UnlockSharedCell()
{
    s_sharedPlaceLock.unlock();
}

Cell& MakeCellPage(Directory* directory, u32 id)
{
    Cell* page = static_cast<Cell*>(std::calloc(PageSize, sizeof(Cell)));
    if (!page) {
        FailWithoutMemory();
    }
    directory[id >> PageBits].store(page, std::memory_order_release);
    return page[id & (PageSize - 1)];
}

u64 LoadCell(u32 place, u32 id)
{
    const Directory* directory = s_directories[place].load(std::memory_order_acquire);
    const Cell* page = directory ? directory[id >> PageBits].load(std::memory_order_acquire) : nullptr;
    return page ? page[id & (PageSize - 1)].load(std::memory_order_acquire) : 0;
}

u32 GetPlaceLimit()
{
    return s_placeLimit.load(std::memory_order_seq_cst);
}

bool IsOnlyPlace()
{
    return s_placesUsed.load(std::memory_order_seq_cst) <= 1;
}

void Barrier()
{
    // A thread that takes its first place behind this test sees all that was stored before it.
    if (!IsOnlyPlace() && !s_storesAreLocked) {
        CallMembarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
    }
}

} // namespace qs::strings
