// Short-lived memory: a stack of frames per thread, and growing text and byte buffers.
#pragma once

#include <new>
#include <utility>

#include <qs/Export.h>
#include <qs/MemView.h>
#include <qs/StringView.h>
#include <qs/Types.h>

namespace qs {

namespace _private {
struct ScratchFrameRecord;
}

/// One frame of the calling thread's scratch stack. What it hands out lives until the frame's destructor, which runs on
/// the thread that opened it. Frames close in any order; memory comes back when a frame and all that were opened
/// behind it are closed. A frame that is not the newest one may still allocate.
class QS_API ScratchMemoryFrame
{
public:
    ScratchMemoryFrame(ScratchMemoryFrame&& other) noexcept : m_record(std::exchange(other.m_record, nullptr)) {}
    ScratchMemoryFrame& operator=(ScratchMemoryFrame&&) = delete;
    ~ScratchMemoryFrame();

    /// Uninitialised bytes, aligned to 16. A null view when the scratch limit is reached.
    MemView<unsigned char> AllocateBytes(u64 size);

    /// `count` value-initialised elements, destroyed with the frame in reverse order; null when there is no room.
    template <class T>
    T* AllocateArray(u64 count);

private:
    friend class ScratchMemory;
    explicit ScratchMemoryFrame(_private::ScratchFrameRecord* record) : m_record(record) {}

    _private::ScratchFrameRecord* m_record;
};

/// The scratch stack of the calling thread. It grows in blocks, which stay for reuse until the thread ends.
class QS_API ScratchMemory
{
public:
    /// Destroys `count` elements from `first`.
    using Destructor = void (*)(void* first, u64 count);
    /// Most bytes that the open frames of one thread may hold.
    static constexpr u64 Limit = 256u << 20;

    /// Opens a frame. File and line name it in messages.
    static ScratchMemoryFrame Request(const char* file, i32 line);

    /// Memory for `count` elements in a frame. A null `destructor` is for plain bytes. The memory is not initialised;
    /// the destructor runs over it with the frame's, so the caller constructs at once. Null, with an error logged,
    /// when the sizes overflow or the limit is reached.
    static void* Allocate(ScratchMemoryFrame*& frame, Destructor destructor, u64 elementSize, u64 alignment, u64 count);

    /// Whether a request of this size fits below the limit now.
    static bool CanAllocate(u64 size);
    /// Bytes that the open frames of this thread hold.
    static u64 GetUsed();
};

template <class T>
T* ScratchMemoryFrame::AllocateArray(u64 count)
{
    ScratchMemory::Destructor destructor = nullptr;
    if constexpr (!std::is_trivially_destructible_v<T>) {
        destructor = [](void* first, u64 number) {
            while (number-- > 0) {
                static_cast<T*>(first)[number].~T();
            }
        };
    }
    ScratchMemoryFrame* self = this;
    T* items = static_cast<T*>(ScratchMemory::Allocate(self, destructor, sizeof(T), alignof(T), count));
    for (u64 i = 0; items && i < count; ++i) {
        ::new (static_cast<void*>(items + i)) T();
    }
    return items;
}

/// A growing block of bytes that owns its memory, so that it can travel between threads.
class QS_API ScratchBuffer
{
public:
    /// `maximumSize` 0 means no limit; a write that would pass it is refused whole, with an error logged.
    explicit ScratchBuffer(u64 initialCapacity = 32, u64 maximumSize = 0);
    ScratchBuffer(const ScratchBuffer& other);
    ScratchBuffer(ScratchBuffer&& other) noexcept;
    ScratchBuffer& operator=(const ScratchBuffer& other);
    ScratchBuffer& operator=(ScratchBuffer&& other) noexcept;
    ~ScratchBuffer();

    /// Appends. False, with nothing written, when the limit or the memory is at its end.
    bool Write(const void* data, u64 size);
    const char* GetReadData() const { return m_data; }
    u64 GetSize() const { return m_size; }
    /// Empties and keeps the memory.
    void Clear() { m_size = 0; }
    /// Replaces the content by a copy of the other's.
    void CopyFrom(const ScratchBuffer& other);
    MemView<const unsigned char> GetView() const { return {reinterpret_cast<const unsigned char*>(m_data), m_size}; }

private:
    bool Reserve(u64 capacity);

    char* m_data = nullptr;
    u64 m_size = 0;
    u64 m_capacity = 0;
    u64 m_maximum = 0;
};

/// Text that is put together piece by piece. It is terminated at all times. What does not fit is cut off.
class QS_API ScratchString
{
public:
    /// Writes into the caller's characters, terminator included, and never grows.
    explicit ScratchString(Span<char> storage);
    /// Owns its memory. `maximum` limits the characters; without `mayGrow` the initial capacity does.
    ScratchString(u32 initialCapacity, u32 maximum, bool mayGrow);
    ~ScratchString();
    ScratchString(const ScratchString&) = delete;
    ScratchString& operator=(const ScratchString&) = delete;

    ScratchString& operator<<(const char* text);
    ScratchString& operator<<(StringView text);
    ScratchString& operator<<(int value);
    ScratchString& operator<<(unsigned int value);
    /// Appends the number, not the character.
    ScratchString& operator<<(unsigned char value);
    ScratchString& operator<<(unsigned long value);
    ScratchString& operator<<(unsigned long long value);

    const char* ToChar() const { return m_data; }
    u64 GetLength() const { return m_length; }
    operator StringView() const { return StringView(m_data, static_cast<i64>(m_length)); }

private:
    void Append(const char* text, u64 length);
    void AppendNumber(unsigned long long value, bool negative);
    bool Grow(u64 length);

    char* m_data;
    u64 m_length = 0;
    u64 m_capacity; // characters without the terminator
    u64 m_maximum;
    bool m_owned;
    char m_none[1] = {}; // what m_data points at when there is no room at all
};

} // namespace qs
