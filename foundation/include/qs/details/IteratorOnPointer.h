// Iterator over contiguous elements that asserts when an empty container's iterator is dereferenced.
#pragma once

#include <cstddef>
#include <iterator>
#include <type_traits>

#include <qs/Log.h>
#include <qs/details/DummyCell.h>

namespace qs::Implem {

/// Walks elements `Step` apart. Valid as long as the container does not grow or shrink.
template <class T, int Step>
class IteratorOnPointer
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::remove_const_t<T>;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;

    constexpr IteratorOnPointer() = default;
    constexpr explicit IteratorOnPointer(T* element) : m_element(element) {}

    T& operator*() const
    {
        if (!m_element) [[unlikely]] {
            ReportNull();
            return details::DummyCell<T>();
        }
        return *m_element;
    }
    T* operator->() const { return &**this; }
    constexpr IteratorOnPointer& operator++()
    {
        m_element += Step;
        return *this;
    }
    constexpr IteratorOnPointer operator++(int)
    {
        IteratorOnPointer old = *this;
        ++*this;
        return old;
    }
    friend constexpr bool operator==(IteratorOnPointer, IteratorOnPointer) = default;

private:
    QS_COLD void ReportNull() const
    {
        QS_HEADER_ASSERT(0, "You are dereferencing a NULL iterator.\nMaybe the owning container was empty?");
    }

    T* m_element = nullptr;
};

} // namespace qs::Implem
