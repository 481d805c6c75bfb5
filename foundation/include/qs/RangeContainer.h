// Slots with a record of the range that changed, for device bindings.
#pragma once

#include <qs/Log.h>
#include <qs/Types.h>
#include <qs/details/DummyCell.h>

namespace qs {

/// N slots, a default value and the lowest and highest slot that changed since the last flush. A new container holds
/// the default everywhere and counts as changed throughout, since the device's state is not known then.
template <class T, i32 N>
class RangeContainer
{
    static_assert(N > 0 && N <= 127, "the marks are signed 8-bit values, and N marks a clean range");

public:
    explicit RangeContainer(const T& defaultValue = T()) : m_defaultValue(defaultValue) { Reset(); }

    /// Reads a slot. Out of range: asserts, and gives the default value.
    const T& operator[](i32 slot) const
    {
        if (slot < 0 || slot >= N) [[unlikely]] {
            ReportIndex();
            return m_defaultValue;
        }
        return m_values[slot];
    }

    /// Stores a value and widens the changed range when it differs. Out of range: asserts and changes nothing.
    void Set(i32 slot, const T& value)
    {
        if (slot < 0 || slot > N - 1) [[unlikely]] {
            ReportIndex();
            return;
        }
        if (m_values[slot] == value) {
            return;
        }
        m_values[slot] = value;
        const i8 mark = static_cast<i8>(slot);
        m_last = mark > m_last ? mark : m_last;
        m_first = mark < m_first ? mark : m_first;
    }

    /// The default in all slots; the whole range counts as changed.
    void Reset()
    {
        for (T& value : m_values) {
            value = m_defaultValue;
        }
        m_first = 0;
        m_last = static_cast<i8>(N - 1);
    }

    /// Calls `apply(first, count, values)` for the changed slots when there are any, and marks the range clean.
    /// `values` points at the first of them.
    template <class Apply>
    void Flush(Apply&& apply)
    {
        if (!IsClean()) {
            apply(static_cast<u32>(m_first), static_cast<u32>(m_last - m_first + 1), m_values + m_first);
        }
        MarkClean();
    }

    void MarkClean()
    {
        m_first = static_cast<i8>(N);
        m_last = -1;
    }
    bool IsClean() const { return m_first > m_last; }
    i8 GetFirst() const { return m_first; }
    i8 GetLast() const { return m_last; }
    const T* GetValues() const { return m_values; }

private:
    QS_COLD void ReportIndex() const { QS_HEADER_ASSERT(1, "Range index out of bounds!"); }

    T m_values[N];
    T m_defaultValue;
    i8 m_first;
    i8 m_last;
};

} // namespace qs
