// Growing vectors without order or uniqueness.
#pragma once

#include <limits>
#include <type_traits>
#include <utility>

#include <qs/Log.h>
#include <qs/Types.h>
#include <qs/details/Allocators.h>
#include <qs/details/DummyCell.h>
#include <qs/details/IteratorOnPointer.h>

namespace qs {

/// Equality by ==.
template <class T>
struct DefaultComparator
{
    static bool IsEqual(const T& a, const T& b) { return a == b; }
};

/// A contiguous growing vector. It keeps no order and removes nothing twice; a caller that shares one holds a lock of
/// its own. A position out of range asserts and reaches a cell that belongs to no set.
template <class T, class Interface, class Comparator = DefaultComparator<T>>
class Set
{
public:
    using Iterator = Implem::IteratorOnPointer<T, 1>;
    using ConstIterator = Implem::IteratorOnPointer<const T, 1>;

    /// A growth step of 0 means doubling.
    explicit Set(u32 capacity = 0, u64 growthStep = 0) : m_growthStep(growthStep) { Realloc(capacity); }
    Set(const Set& other) : m_growthStep(other.m_growthStep) { Clone(other); }
    Set(Set&& other) noexcept
        : m_data(std::exchange(other.m_data, nullptr)), m_capacity(std::exchange(other.m_capacity, 0)),
          m_size(std::exchange(other.m_size, 0)), m_growthStep(other.m_growthStep)
    {
    }
    virtual ~Set() { Interface::Free(m_data); }
    Set& operator=(const Set& other)
    {
        if (this != &other) {
            Clone(other);
        }
        return *this;
    }
    Set& operator=(Set&& other) noexcept
    {
        std::swap(m_data, other.m_data);
        std::swap(m_capacity, other.m_capacity);
        std::swap(m_size, other.m_size);
        std::swap(m_growthStep, other.m_growthStep);
        return *this;
    }

    void Add(const T& value)
    {
        if (m_size < m_capacity) [[likely]] {
            m_data[m_size++] = value;
            return;
        }
        T copy(value); // `value` may stand in the block that growing releases
        Realloc(GetGrownCapacity());
        if (m_size < m_capacity) {
            m_data[m_size++] = std::move(copy);
        }
    }

    /// Sets the capacity; 0 empties the set and releases its memory. A capacity below the size asserts and drops the
    /// elements that do not fit. When memory runs out the set stays as it is, with an assertion.
    void Realloc(u32 newCapacity)
    {
        if (newCapacity == m_capacity) {
            return;
        }
        if (newCapacity != 0 && newCapacity < m_size) {
            ReportRealloc(newCapacity);
        }
        T* block = nullptr;
        if (newCapacity != 0) {
            block = Interface::Allocate(newCapacity);
            if (!block) {
                ReportNoMemory();
                return;
            }
        }
        m_size = m_size < newCapacity ? m_size : newCapacity;
        Interface::Move(block, m_data, m_size);
        Interface::Free(m_data);
        m_data = block;
        m_capacity = newCapacity;
    }

    /// The last element takes the place of the removed one.
    void RemoveAt(u32 position)
    {
        if (m_size == 0) [[unlikely]] {
            ReportEmpty();
            return;
        }
        if (position >= m_size) [[unlikely]] {
            ReportIndex(position);
            return;
        }
        --m_size;
        if (m_size != 0 && position != m_size) {
            std::swap(m_data[position], m_data[m_size]);
        }
        m_data[m_size] = T();
    }

    /// Position of the first equal element, or -1.
    i64 Find(const T& value) const
    {
        for (u32 i = 0; i < m_size; ++i) {
            if (Comparator::IsEqual(m_data[i], value)) {
                return i;
            }
        }
        return -1;
    }
    bool Contains(const T& value) const { return Find(value) >= 0; }

    T& operator[](u32 position) { return GetAt(position); }
    const T& operator[](u32 position) const { return GetAt(position); }
    T& GetAt(u32 position)
    {
        if (position >= m_size) [[unlikely]] {
            ReportIndex(position);
            return details::DummyCell<T>();
        }
        return m_data[position];
    }
    const T& GetAt(u32 position) const { return const_cast<Set*>(this)->GetAt(position); }
    void SetAt(u32 position, const T& value) { GetAt(position) = value; }

    /// Takes over the other set's elements. Cloning a set onto itself asserts and empties it.
    void Clone(const Set& other)
    {
        if (this == &other) [[unlikely]] {
            ReportSelfClone();
        }
        m_size = 0;
        Realloc(other.m_size);
        for (u32 i = 0; i < other.m_size; ++i) {
            Add(other.m_data[i]);
        }
    }

    /// Keeps the memory.
    void Clear() { m_size = 0; }

    u32 GetSize() const { return m_size; }
    u32 GetCapacity() const { return m_capacity; }
    u64 GetGrowthStep() const { return m_growthStep; }
    bool IsEmpty() const { return m_size == 0; }
    T* GetData() { return m_data; }
    const T* GetData() const { return m_data; }

    Iterator begin() { return Iterator(m_data); }
    Iterator end() { return Iterator(m_data + m_size); }
    ConstIterator begin() const { return ConstIterator(m_data); }
    ConstIterator end() const { return ConstIterator(m_data + m_size); }

private:
    u32 GetGrownCapacity() const
    {
        const u64 step = m_growthStep != 0 ? m_growthStep : m_capacity != 0 ? m_capacity : 1;
        constexpr u64 limit = std::numeric_limits<u32>::max();
        return static_cast<u32>(step < limit - m_capacity ? m_capacity + step : limit);
    }

    QS_COLD void ReportIndex(u32 position) const
    {
        QS_HEADER_ASSERT(1, "Index [%d] out of range [0 - %d]", static_cast<int>(position), static_cast<int>(m_size));
    }
    QS_COLD void ReportEmpty() const { QS_HEADER_ASSERT(1, "Trying to remove an item from the set that is empty"); }
    QS_COLD void ReportRealloc(u32 capacity) const
    {
        QS_HEADER_ASSERT(1, "[qs::Set] Trying to reallocate a set with a size '%lu' smaller than the current use '%lu'",
                         static_cast<unsigned long>(capacity), static_cast<unsigned long>(m_size));
    }
    QS_COLD void ReportSelfClone() const
    {
        QS_HEADER_ASSERT(0, "[qs::Set] A Set is cloning itself, this will clear it!");
    }
    QS_COLD void ReportNoMemory() const { QS_HEADER_ASSERT(0, "Allocation returned NULL!"); }

    T* m_data = nullptr;
    u32 m_capacity = 0;
    u32 m_size = 0;
    u64 m_growthStep;
};

/// Of plain values, copied as bytes.
template <class T, class Comparator = DefaultComparator<T>>
using PrimitiveSet = Set<T, MallocInterface<T>, Comparator>;
/// Of objects, copied by assignment. Every element of the capacity is a constructed object.
template <class T, class Comparator = DefaultComparator<T>>
using ObjectSet = Set<T, NewInterface<T>, Comparator>;

} // namespace qs
