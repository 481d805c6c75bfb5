// First-in first-out ring of slot numbers.
#pragma once

#include <atomic>

#include <qs/Memory.h>
#include <qs/Types.h>

namespace qs::details {

/// Ring of unsigned 32-bit numbers that grows to twice its capacity when it is full. The owner's lock guards all but
/// GetCount, which any thread may use as a hint.
class IndexRing
{
public:
    IndexRing() : m_buffer(::new (DefaultMemoryTag) u32[1]), m_capacity(m_buffer ? 1 : 0) {}
    ~IndexRing() { ::delete[] m_buffer; }
    IndexRing(const IndexRing&) = delete;
    IndexRing& operator=(const IndexRing&) = delete;

    u32 GetCount() const { return m_count.load(std::memory_order_relaxed); }
    u32 GetCapacity() const { return m_capacity; }

    /// False when memory runs out; the number is not queued then.
    bool Push(u32 value)
    {
        const u32 count = GetCount();
        if (count == m_capacity && !Grow(m_capacity ? m_capacity * 2 : 1)) {
            return false;
        }
        if (count == 0) {
            m_head = 0;
            m_buffer[0] = value;
            m_tail = Next(0);
        } else {
            m_buffer[m_tail] = value;
            m_tail = Next(m_tail);
        }
        m_count.store(count + 1, std::memory_order_relaxed);
        return true;
    }

    /// The ring must not be empty.
    u32 Pop()
    {
        const u32 value = m_buffer[m_head];
        m_head = Next(m_head);
        if (m_head == m_tail) {
            m_head = Empty;
            m_tail = 0;
        }
        m_count.store(GetCount() - 1, std::memory_order_relaxed);
        return value;
    }

private:
    static constexpr u32 Empty = 0xffffffffu;

    u32 Next(u32 position) const { return position + 1 == m_capacity ? 0 : position + 1; }

    bool Grow(u32 capacity)
    {
        const u32 count = GetCount();
        if (capacity <= count) {
            return false;
        }
        u32* buffer = ::new (DefaultMemoryTag) u32[capacity];
        if (!buffer) {
            return false;
        }
        for (u32 i = 0, from = m_head; i < count; ++i, from = Next(from)) {
            buffer[i] = m_buffer[from];
        }
        ::delete[] m_buffer;
        m_buffer = buffer;
        m_capacity = capacity;
        m_head = count ? 0 : Empty;
        m_tail = count;
        return true;
    }

    u32* m_buffer;
    u32 m_capacity;
    std::atomic<u32> m_count{0};
    u32 m_head = Empty;
    u32 m_tail = 0;
};

} // namespace qs::details
