// Growing arrays whose cells all hold a value.
#pragma once

#include <limits>
#include <utility>

#include <qs/Log.h>
#include <qs/Types.h>
#include <qs/details/Allocators.h>
#include <qs/details/DummyCell.h>

namespace qs {

/// The value of cells that were never set: zero, or a default-constructed T.
template <class T>
struct GetDefaultValueFunctor
{
    static T Get() { return T(); }
};

/// An array that grows when a cell beyond its end is set, and holds the default value in every cell not set. It takes
/// no lock. An index out of range asserts and reaches a cell that belongs to no array.
template <class T, class Interface, class DefaultFunctor = GetDefaultValueFunctor<T>>
class Array
{
public:
    /// `growthStep` cells are added beyond the wanted index when SetAt grows. With a step of 0 SetAt cannot grow.
    explicit Array(u32 growthStep = 16, u32 capacity = 0) : m_growthStep(growthStep) { SetSize(capacity); }
    Array(const Array& other) : m_growthStep(other.m_growthStep) { CopyFrom(other); }
    /// The source is left empty and keeps its growth step.
    Array(Array&& other) noexcept
        : m_data(std::exchange(other.m_data, nullptr)), m_capacity(std::exchange(other.m_capacity, 0)),
          m_size(std::exchange(other.m_size, 0)), m_used(std::exchange(other.m_used, 0)),
          m_growthStep(other.m_growthStep)
    {
    }
    virtual ~Array() { Interface::Free(m_data); }
    /// What this array held is released; the source is left empty.
    Array& operator=(Array&& other) noexcept
    {
        if (this != &other) {
            Interface::Free(m_data);
            m_data = std::exchange(other.m_data, nullptr);
            m_capacity = std::exchange(other.m_capacity, 0);
            m_size = std::exchange(other.m_size, 0);
            m_used = std::exchange(other.m_used, 0);
            m_growthStep = other.m_growthStep;
        }
        return *this;
    }
    Array& operator=(const Array& other)
    {
        if (this != &other) {
            SetSize(0);
            m_growthStep = other.m_growthStep;
            CopyFrom(other);
        }
        return *this;
    }

    /// Sets the capacity. Cells that fall away are dropped, new ones hold the default.
    void SetSize(u32 newCapacity)
    {
        if (newCapacity == m_capacity) {
            return;
        }
        T* block = nullptr;
        if (newCapacity != 0) {
            block = Interface::Allocate(newCapacity);
            if (!block) {
                ReportNoMemory();
                return;
            }
        }
        DropFrom(newCapacity);
        if (block) {
            Interface::Move(block, m_data, m_size);
            Interface::Fill(block, m_size, newCapacity, DefaultFunctor::Get());
        }
        Interface::Free(m_data);
        m_data = block;
        m_capacity = newCapacity;
    }

    void SetAt(u32 index, const T& value)
    {
        if (index >= m_capacity) {
            const T copy(value); // `value` may stand in the block that growing releases
            Grow(index);
            if (index >= m_capacity) {
                ReportOverflow(index);
                return;
            }
            Store(index, copy);
        } else {
            Store(index, value);
        }
    }

    T& operator[](u32 index) { return GetAt(index); }
    const T& operator[](u32 index) const { return GetAt(index); }
    T& GetAt(u32 index)
    {
        if (index >= m_size) [[unlikely]] {
            ReportIndex(index);
            return details::DummyCell<T>();
        }
        return m_data[index];
    }
    const T& GetAt(u32 index) const { return const_cast<Array*>(this)->GetAt(index); }

    /// Puts the default into every cell and keeps the memory.
    void Clear() { DropFrom(0); }

    /// One past the highest cell written.
    u32 GetSize() const { return m_size; }
    u32 GetCapacity() const { return m_capacity; }
    /// Number of cells that differ from the default.
    u32 GetUsed() const { return m_used; }
    T* GetData() { return m_data; }
    const T* GetData() const { return m_data; }

private:
    static bool IsDefault(const T& value) { return value == DefaultFunctor::Get(); }

    void Grow(u32 index)
    {
        const u64 wanted = u64(index) + m_growthStep;
        constexpr u64 limit = std::numeric_limits<u32>::max();
        SetSize(static_cast<u32>(wanted < limit ? wanted : limit));
    }

    void Store(u32 index, const T& value)
    {
        const bool wasDefault = IsDefault(m_data[index]);
        const bool isDefault = IsDefault(value);
        m_size = index < m_size ? m_size : index + 1;
        m_used += wasDefault && !isDefault ? 1 : 0;
        m_used -= !wasDefault && isDefault ? 1 : 0;
        m_data[index] = value;
    }

    void DropFrom(u32 newSize)
    {
        for (u32 i = newSize; i < m_size; ++i) {
            m_used -= IsDefault(m_data[i]) ? 0 : 1;
            m_data[i] = DefaultFunctor::Get();
        }
        m_size = m_size < newSize ? m_size : newSize;
    }

    void CopyFrom(const Array& other)
    {
        SetSize(other.m_capacity);
        for (u32 i = 0; i < other.m_size && i < m_capacity; ++i) {
            Store(i, other.m_data[i]);
        }
    }

    QS_COLD void ReportIndex(u32 index) const
    {
        QS_HEADER_ASSERT(1, "Index [%d] out of range [0 - %d]", static_cast<int>(index), static_cast<int>(m_size));
    }
    QS_COLD void ReportOverflow(u32 index) const
    {
        QS_HEADER_ASSERT(1, "Index %d larger than the max size %d of array! This will cause memory corruption!",
                         static_cast<int>(index), static_cast<int>(m_capacity));
    }
    QS_COLD void ReportNoMemory() const { QS_HEADER_ASSERT(0, "Allocation returned NULL!"); }

    T* m_data = nullptr;
    u32 m_capacity = 0;
    u32 m_size = 0;
    u32 m_used = 0;
    u32 m_growthStep;
};

/// Of plain values, copied as bytes.
template <class T, class DefaultFunctor = GetDefaultValueFunctor<T>>
using PrimitiveArray = Array<T, MallocInterface<T>, DefaultFunctor>;
/// Of objects, copied by assignment.
template <class T, class DefaultFunctor = GetDefaultValueFunctor<T>>
using ObjectArray = Array<T, NewInterface<T>, DefaultFunctor>;

} // namespace qs
