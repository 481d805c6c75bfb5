// The scratch stack of each thread.
#include <qs/ScratchMemory.h>

#include <algorithm>
#include <cstdint>
#include <memory>

#include <qs/Log.h>
#include <qs/Memory.h>

namespace qs {

namespace _private {

// Destroys what was constructed in a frame. Stands in the frame's own memory.
struct ScratchCleanup
{
    ScratchCleanup* older;
    ScratchMemory::Destructor destructor;
    void* first;
    u64 count;
};

// A frame that is not the newest gets blocks of its own, since what the stack gives now is taken back with a newer
// frame.
struct ScratchSideBlock
{
    ScratchSideBlock* older;
};

struct ScratchFrameRecord
{
    ScratchFrameRecord* outer;
    ScratchCleanup* cleanups;
    ScratchSideBlock* sideBlocks;
    u64 sideBytes;
    u32 markBlock;
    u64 markUsed;
    bool open;
};

} // namespace _private

namespace {

using namespace _private;

constexpr u64 FirstBlockSize = 64u << 10;
constexpr u32 MaxBlocks = 32;

void* AllocateRaw(u64 size)
{
    MemoryTrackerSample sample("qs::ScratchMemory");
    return MemoryManager::Allocate(size, AllocType::Raw, DefaultMemoryTag, 0, false);
}

void FreeRaw(void* block)
{
    MemoryManager::Deallocate(block, AllocType::FreeRaw, DefaultMemoryTag, true);
}

struct Block
{
    char* data = nullptr;
    u64 size = 0;
};

class Stack
{
public:
    ~Stack()
    {
        for (Block& block : m_blocks) {
            FreeRaw(block.data);
        }
    }

    ScratchFrameRecord* GetTop() const { return m_top; }

    ScratchFrameRecord* Open()
    {
        const u32 markBlock = m_current;
        const u64 markUsed = m_used;
        void* place = Push(sizeof(ScratchFrameRecord), alignof(ScratchFrameRecord));
        if (!place) {
            return nullptr;
        }
        m_top = ::new (place) ScratchFrameRecord{m_top, nullptr, nullptr, 0, markBlock, markUsed, true};
        return m_top;
    }

    void Close(ScratchFrameRecord* frame)
    {
        for (ScratchCleanup* cleanup = frame->cleanups; cleanup; cleanup = cleanup->older) {
            cleanup->destructor(cleanup->first, cleanup->count);
        }
        while (ScratchSideBlock* block = frame->sideBlocks) {
            frame->sideBlocks = block->older;
            FreeRaw(block);
        }
        m_sideBytes -= frame->sideBytes;
        frame->open = false;
        while (m_top && !m_top->open) {
            ScratchFrameRecord* closed = m_top;
            m_top = closed->outer;
            m_current = closed->markBlock;
            m_used = closed->markUsed;
        }
    }

    // Null when memory runs out or the blocks are too many.
    void* Push(u64 size, u64 alignment)
    {
        for (;; ++m_current, m_used = 0) {
            if (m_current == MaxBlocks || (!m_blocks[m_current].data && !AddBlock(size + alignment))) {
                return nullptr;
            }
            const Block& block = m_blocks[m_current];
            const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(block.data) + m_used;
            const u64 padding = (0 - begin) & (alignment - 1);
            if (padding + size <= block.size - m_used) {
                m_used += padding + size;
                return reinterpret_cast<void*>(begin + padding);
            }
        }
    }

    void* PushAside(ScratchFrameRecord* frame, u64 size, u64 alignment)
    {
        const u64 total = sizeof(ScratchSideBlock) + alignment + size;
        void* raw = AllocateRaw(total);
        if (!raw) {
            return nullptr;
        }
        frame->sideBlocks = ::new (raw) ScratchSideBlock{frame->sideBlocks};
        frame->sideBytes += total;
        m_sideBytes += total;
        const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(raw) + sizeof(ScratchSideBlock);
        return reinterpret_cast<void*>((begin + alignment - 1) & ~(alignment - 1));
    }

    u64 GetUsed() const
    {
        u64 used = m_used + m_sideBytes;
        for (u32 i = 0; i < m_current && i < MaxBlocks; ++i) {
            used += m_blocks[i].size;
        }
        return used;
    }

private:
    bool AddBlock(u64 wanted)
    {
        const u64 doubled = m_current ? m_blocks[m_current - 1].size * 2 : FirstBlockSize;
        const u64 size = std::max(std::min(doubled, ScratchMemory::Limit), wanted);
        m_blocks[m_current].data = static_cast<char*>(AllocateRaw(size));
        m_blocks[m_current].size = m_blocks[m_current].data ? size : 0;
        return m_blocks[m_current].data != nullptr;
    }

    Block m_blocks[MaxBlocks];
    u32 m_current = 0;
    u64 m_used = 0; // in the current block
    u64 m_sideBytes = 0;
    ScratchFrameRecord* m_top = nullptr;
};

Stack& GetStack()
{
    static thread_local Stack stack;
    return stack;
}

QS_COLD void ReportLimit(u64 size)
{
    QS_LOG_ERROR("foundation/ScratchMemory", "qs::ScratchMemory::Allocate",
                 "Scratch memory of this thread is at its limit: %llu bytes more than the %llu in use would pass %llu",
                 static_cast<unsigned long long>(size), static_cast<unsigned long long>(GetStack().GetUsed()),
                 static_cast<unsigned long long>(ScratchMemory::Limit));
}

void* AllocateIn(ScratchFrameRecord* frame, u64 size, u64 alignment)
{
    Stack& stack = GetStack();
    void* memory = nullptr;
    if (frame && ScratchMemory::CanAllocate(size)) {
        memory = frame == stack.GetTop() ? stack.Push(size, alignment) : stack.PushAside(frame, size, alignment);
    }
    if (!memory) {
        ReportLimit(size);
    }
    return memory;
}

} // namespace

ScratchMemoryFrame::~ScratchMemoryFrame()
{
    if (m_record) {
        GetStack().Close(m_record);
    }
}

MemView<unsigned char> ScratchMemoryFrame::AllocateBytes(u64 size)
{
    return MemView<unsigned char>(static_cast<unsigned char*>(AllocateIn(m_record, size, 16)), size);
}

ScratchMemoryFrame ScratchMemory::Request(const char* file, i32 line)
{
    ScratchFrameRecord* frame = GetStack().Open();
    if (!frame) {
        LogManager::GetInstance()->HandleUnsafe(EAction::Report,
                                                LogEntry{LogLevelError, 0, file, line, "qs::ScratchMemory::Request"},
                                                "No memory for a scratch frame");
    }
    return ScratchMemoryFrame(frame);
}

void* ScratchMemory::Allocate(ScratchMemoryFrame*& frame, Destructor destructor, u64 elementSize, u64 alignment,
                              u64 count)
{
    if (!frame || (elementSize != 0 && count > Limit / elementSize) || alignment > Limit) {
        ReportLimit(~u64(0));
        return nullptr;
    }
    const u64 cleanupSize = destructor ? sizeof(ScratchCleanup) : 0;
    const u64 boundary = std::max<u64>({alignment, 1, destructor ? alignof(ScratchCleanup) : 1});
    // The record of the cleanup stands behind the elements, so that both are had or neither.
    const u64 size = (elementSize * count + alignof(ScratchCleanup) - 1) & ~u64(alignof(ScratchCleanup) - 1);
    char* memory = static_cast<char*>(
        AllocateIn(frame->m_record, destructor ? size + cleanupSize : elementSize * count, boundary));
    if (memory && destructor) {
        ScratchCleanup*& newest = frame->m_record->cleanups;
        newest = ::new (static_cast<void*>(memory + size)) ScratchCleanup{newest, destructor, memory, count};
    }
    return memory;
}

bool ScratchMemory::CanAllocate(u64 size)
{
    const u64 used = GetUsed();
    return used <= Limit && size <= Limit - used;
}

u64 ScratchMemory::GetUsed()
{
    return GetStack().GetUsed();
}

} // namespace qs
