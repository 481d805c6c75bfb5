// Non-owning views of memory and of elements, and a checked index source for walking several of them together.
#pragma once

#include <array>
#include <iterator>
#include <type_traits>
#include <vector>

#include <qs/Log.h>
#include <qs/Types.h>
#include <qs/details/DummyCell.h>
#include <qs/details/IteratorOnPointer.h>

namespace qs {

/// A pointer to elements and their number. The elements belong to somebody else.
template <class T>
class Span
{
public:
    using ElementType = T;

    constexpr Span() = default;
    /// A negative or missing pointer/length pair gives the empty span.
    constexpr Span(T* data, u64 length) : m_data(data), m_length(data ? length : 0) {}
    template <std::size_t N>
    constexpr Span(T (&data)[N]) : m_data(data), m_length(N)
    {
    }
    template <class U>
    requires(std::is_same_v<const U, T> && !std::is_const_v<U>) constexpr Span(const Span<U>& other)
        : m_data(other.GetData()), m_length(other.GetLength())
    {
    }

    constexpr T* GetData() const { return m_data; }
    constexpr u64 GetLength() const { return m_length; }
    constexpr bool IsEmpty() const { return m_length == 0; }
    constexpr bool IsNull() const { return m_data == nullptr; }

    /// Out of range: asserts, and gives a cell that belongs to no span.
    T& operator[](u64 index) const
    {
        if (index >= m_length) [[unlikely]] {
            ReportIndex(index);
            return details::DummyCell<T>();
        }
        return m_data[index];
    }

    Implem::IteratorOnPointer<T, 1> begin() const { return Implem::IteratorOnPointer<T, 1>(m_data); }
    Implem::IteratorOnPointer<T, 1> end() const { return Implem::IteratorOnPointer<T, 1>(m_data + m_length); }

private:
    QS_COLD void ReportIndex(u64 index) const
    {
        QS_HEADER_ASSERT(1, "Index [%d] out of range [0 - %d]", static_cast<int>(index), static_cast<int>(m_length));
    }

    T* m_data = nullptr;
    u64 m_length = 0;
};

/// A view of bytes: a pointer and a byte length. T is `unsigned char` or `const unsigned char` (or another type of one
/// byte); the second parameter is only part of the type's name.
template <class T, class Unused = void>
class MemView
{
    static_assert(sizeof(T) == 1, "MemView counts bytes; use Span for larger elements");

public:
    constexpr MemView() = default;
    constexpr MemView(T* data, u64 size) : m_data(data), m_size(data ? size : 0) {}
    template <class U>
    requires(std::is_same_v<const U, T> && !std::is_const_v<U>) constexpr MemView(const MemView<U>& other)
        : m_data(other.GetData()), m_size(other.GetSize())
    {
    }

    /// The bytes of any elements.
    template <class U>
    static MemView FromItems(U* items, u64 count)
    {
        return MemView(reinterpret_cast<T*>(items), count * sizeof(U));
    }

    constexpr T* GetData() const { return m_data; }
    constexpr u64 GetSize() const { return m_size; }
    constexpr bool IsEmpty() const { return m_size == 0; }
    constexpr bool IsNull() const { return m_data == nullptr; }
    constexpr T* begin() const { return m_data; }
    constexpr T* end() const { return m_data + m_size; }

    /// Out of range: asserts, and gives a cell that belongs to no view.
    T& operator[](u64 index) const
    {
        if (index >= m_size) [[unlikely]] {
            ReportIndex(index);
            return details::DummyCell<T>();
        }
        return m_data[index];
    }

    /// `size` bytes from `offset`, cut down to what lies in the view.
    constexpr MemView SubView(u64 offset, u64 size = ~u64(0)) const
    {
        if (offset >= m_size) {
            return MemView(m_data ? m_data + m_size : nullptr, 0);
        }
        return MemView(m_data + offset, size < m_size - offset ? size : m_size - offset);
    }

    /// The bytes as items of U, which is const here when T is. A length that is no multiple of U's size asserts and is
    /// cut down. A null view gives a null span. The caller answers for the alignment.
    template <class U>
    auto AsItems() const
    {
        using Item = std::conditional_t<std::is_const_v<T>, const U, U>;
        if (m_size % sizeof(U) != 0) [[unlikely]] {
            ReportSize();
        }
        return Span<Item>(reinterpret_cast<Item*>(m_data), m_size / sizeof(U));
    }

private:
    QS_COLD void ReportIndex(u64 index) const
    {
        QS_HEADER_ASSERT(1, "Index [%d] out of range [0 - %d]", static_cast<int>(index), static_cast<int>(m_size));
    }
    QS_COLD void ReportSize() const { QS_HEADER_ASSERT(1, "Can't cast memory due to size mismatch"); }

    T* m_data = nullptr;
    u64 m_size = 0;
};

using ByteView = MemView<unsigned char>;
using ConstByteView = MemView<const unsigned char>;

/// The indices from 0 up to a count; a negative count counts as 0.
class IndexRange
{
public:
    constexpr explicit IndexRange(i64 count) : m_count(count > 0 ? count : 0) {}

    constexpr i64 GetCount() const { return m_count; }

    /// Gives the index back. Out of range: asserts, and gives 0.
    i64 operator[](i64 index) const
    {
        if (index < 0 || index >= m_count) [[unlikely]] {
            ReportIndex(index);
            return 0;
        }
        return index;
    }

    class Iterator
    {
    public:
        constexpr explicit Iterator(i64 index) : m_index(index) {}
        constexpr i64 operator*() const { return m_index; }
        constexpr Iterator& operator++()
        {
            ++m_index;
            return *this;
        }
        friend constexpr bool operator==(Iterator, Iterator) = default;

    private:
        i64 m_index;
    };
    constexpr Iterator begin() const { return Iterator(0); }
    constexpr Iterator end() const { return Iterator(m_count); }

private:
    QS_COLD void ReportIndex(i64 index) const
    {
        QS_HEADER_ASSERT(1, "IndexRange overflow: %jd-th index requested of max %jd indices",
                         static_cast<std::intmax_t>(index), static_cast<std::intmax_t>(m_count));
    }

    i64 m_count;
};

} // namespace qs
