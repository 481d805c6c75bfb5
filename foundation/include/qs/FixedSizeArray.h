// Arrays of a fixed number of elements.
#pragma once

#include <cstdint>
#include <new>

#include <qs/Log.h>
#include <qs/Types.h>
#include <qs/details/DummyCell.h>

namespace qs {

/// Raw storage of N elements.
template <class T, u32 N>
class BaseFixedMem
{
public:
    /// Default-constructs N elements in a block of at least that size. A misaligned block asserts and is left alone;
    /// the result is null then.
    static T* Construct(void* block)
    {
        if (reinterpret_cast<std::uintptr_t>(block) % alignof(T) != 0) [[unlikely]] {
            ReportMisaligned();
            return nullptr;
        }
        T* items = static_cast<T*>(block);
        for (u32 i = 0; i < N; ++i) {
            ::new (static_cast<void*>(items + i)) T();
        }
        return items;
    }
    static void Destruct(T* items)
    {
        for (u32 i = N; i-- > 0;) {
            items[i].~T();
        }
    }

    /// Out of range: asserts, and gives a cell that belongs to no array.
    T& operator[](u32 index)
    {
        if (index >= N) [[unlikely]] {
            ReportIndex();
            return details::DummyCell<T>();
        }
        return GetItems()[index];
    }
    const T& operator[](u32 index) const { return const_cast<BaseFixedMem&>(*this)[index]; }

protected:
    T* GetItems() { return std::launder(reinterpret_cast<T*>(m_storage)); }
    const T* GetItems() const { return std::launder(reinterpret_cast<const T*>(m_storage)); }

    alignas(T) unsigned char m_storage[sizeof(T) * N];

private:
    QS_COLD static void ReportMisaligned() { QS_HEADER_ASSERT(0, "Unexpected misaligned block"); }
    QS_COLD static void ReportIndex() { QS_HEADER_ASSERT(1, "Out of bounds"); }
};

/// N elements inline.
template <class T, u32 N>
class FixedSizeArray : public BaseFixedMem<T, N>
{
    using Base = BaseFixedMem<T, N>;

public:
    FixedSizeArray() { Base::Construct(this->m_storage); }
    FixedSizeArray(const FixedSizeArray& other) : FixedSizeArray() { *this = other; }
    ~FixedSizeArray() { Base::Destruct(this->GetItems()); }
    FixedSizeArray& operator=(const FixedSizeArray& other)
    {
        for (u32 i = 0; i < N; ++i) {
            this->GetItems()[i] = other.GetItems()[i];
        }
        return *this;
    }

    static constexpr u32 GetSize() { return N; }
    T* GetData() { return this->GetItems(); }
    const T* GetData() const { return this->GetItems(); }
    T* begin() { return this->GetItems(); }
    T* end() { return this->GetItems() + N; }
    const T* begin() const { return this->GetItems(); }
    const T* end() const { return this->GetItems() + N; }
};

} // namespace qs
