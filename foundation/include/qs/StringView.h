// Non-owning view of characters.
#pragma once

#include <cstring>
#include <string_view>

#include <qs/Log.h>
#include <qs/Types.h>

namespace qs {

/// A begin and an end position for slicing a view; the end is one past the last.
struct ViewRange
{
    i64 begin = 0;
    i64 end = 0;
};

/// A pointer and a length. The pointer may be null with length 0, and no terminator is promised. The second parameter
/// is only part of the type's name.
template <class C, class Unused = void>
class _StringView
{
public:
    constexpr _StringView() = default;
    constexpr _StringView(const C* text, i64 length) : m_data(text), m_length(text && length > 0 ? length : 0) {}
    /// Up to the terminator; null gives the null view.
    constexpr _StringView(const C* text)
        : m_data(text), m_length(text ? static_cast<i64>(std::char_traits<C>::length(text)) : 0)
    {
    }
    constexpr _StringView(std::basic_string_view<C> text) : m_data(text.data()), m_length(static_cast<i64>(text.size()))
    {
    }

    constexpr const C* GetData() const { return m_data; }
    constexpr i64 GetLength() const { return m_length; }
    constexpr bool IsEmpty() const { return m_length == 0; }
    constexpr bool IsNull() const { return m_data == nullptr; }

    /// Out of range: asserts, and gives the NUL character.
    constexpr C operator[](i64 index) const
    {
        if (index < 0 || index >= m_length) [[unlikely]] {
            ReportIndex(index);
            return C();
        }
        return m_data[index];
    }

    /// The characters from `begin` up to `end`. Out of range: asserts, and gives what of the range lies in the view.
    constexpr _StringView operator[](ViewRange range) const
    {
        if (range.begin < 0 || range.end > m_length || range.begin > range.end) [[unlikely]] {
            ReportRange(range);
            range.begin = range.begin < 0 ? 0 : range.begin > m_length ? m_length : range.begin;
            range.end = range.end < range.begin ? range.begin : range.end > m_length ? m_length : range.end;
        }
        return _StringView(m_data + range.begin, range.end - range.begin);
    }

    /// Position of the first `wanted`, or -1.
    constexpr i64 Find(C wanted) const
    {
        for (i64 i = 0; i < m_length; ++i) {
            if (m_data[i] == wanted) {
                return i;
            }
        }
        return -1;
    }
    constexpr bool Contains(C wanted) const { return Find(wanted) >= 0; }

    /// Compares without regard to the case of ASCII letters.
    constexpr bool EqualsNoCase(_StringView other) const
    {
        if (m_length != other.m_length) {
            return false;
        }
        for (i64 i = 0; i < m_length; ++i) {
            if (Lower(m_data[i]) != Lower(other.m_data[i])) {
                return false;
            }
        }
        return true;
    }

    constexpr const C* begin() const { return m_data; }
    constexpr const C* end() const { return m_data + m_length; }
    constexpr std::basic_string_view<C> ToStd() const { return {m_data, static_cast<std::size_t>(m_length)}; }

    /// Equal characters; a null view equals an empty one.
    friend constexpr bool operator==(_StringView a, _StringView b) { return a.ToStd() == b.ToStd(); }

private:
    static constexpr C Lower(C c) { return c >= C('A') && c <= C('Z') ? static_cast<C>(c + (C('a') - C('A'))) : c; }

    QS_COLD void ReportIndex(i64 index) const
    {
        QS_HEADER_ASSERT(1, "Char index %jd is out-of view bounds [0, %jd)", static_cast<std::intmax_t>(index),
                         static_cast<std::intmax_t>(m_length));
    }
    QS_COLD void ReportRange(ViewRange range) const
    {
        QS_HEADER_ASSERT(1, "Boundaries [%jd, %jd) are out-of view bounds [0, %jd)",
                         static_cast<std::intmax_t>(range.begin), static_cast<std::intmax_t>(range.end),
                         static_cast<std::intmax_t>(m_length));
    }

    const C* m_data = nullptr;
    i64 m_length = 0;
};

using StringView = _StringView<char, void>;
using WStringView = _StringView<wchar_t, void>;

} // namespace qs
