// Splitting a text at delimiter characters.
#pragma once

#include <qs/FixedSizeArray.h>
#include <qs/Log.h>
#include <qs/StringView.h>

namespace qs::_private {

template <class C>
constexpr i64 SkipDelimiters(_StringView<C> text, i64 from, _StringView<C> delimiters)
{
    while (from < text.GetLength() && delimiters.Contains(text[from])) {
        ++from;
    }
    return from;
}

/// Cuts `text` into its first token and the rest. Delimiters in front of the token and behind it belong to neither.
/// At the text's end both are empty views of that place; a null text gives null views. Parts is 2.
template <u32 Parts, class C>
FixedSizeArray<_StringView<C>, Parts> Split(_StringView<C> text, _StringView<C> delimiters)
{
    static_assert(Parts == 2, "a token and the rest");
    const i64 length = text.GetLength();
    const i64 begin = SkipDelimiters(text, 0, delimiters);
    i64 end = begin;
    while (end < length && !delimiters.Contains(text[end])) {
        ++end;
    }
    const i64 rest = SkipDelimiters(text, end, delimiters);
    FixedSizeArray<_StringView<C>, Parts> parts;
    parts[0] = text[ViewRange{begin, end}];
    parts[1] = text[ViewRange{rest, length}];
    return parts;
}

/// Walks the tokens of a text, for range-based loops only: `for (qs::StringView token : TokenizeIterator(text, " "))`.
/// The views must outlive it.
template <class C>
class TokenizeIterator
{
public:
    using View = _StringView<C>;

    /// The end: both views null.
    TokenizeIterator() = default;
    TokenizeIterator(View text, View delimiters) : m_rest(text), m_delimiters(delimiters) { ++*this; }

    View operator*() const { return m_token; }
    View GetRest() const { return m_rest; }

    TokenizeIterator& operator++()
    {
        if (m_rest.IsEmpty()) {
            m_token = m_rest = View();
            return *this;
        }
        const FixedSizeArray<View, 2> parts = Split<2, C>(m_rest, m_delimiters);
        m_token = parts[0];
        m_rest = parts[1];
        if (m_token.IsEmpty()) {
            m_token = m_rest = View();
        }
        return *this;
    }

    bool IsAtEnd() const { return m_token.IsNull() && m_rest.IsNull(); }

    /// Only the comparison of a range-based loop, with the end, is supported.
    friend bool operator!=(const TokenizeIterator& a, const TokenizeIterator& b)
    {
        if (!b.IsAtEnd()) [[unlikely]] {
            ReportComparison();
        }
        return !a.IsAtEnd();
    }

    TokenizeIterator begin() const { return *this; }
    TokenizeIterator end() const { return TokenizeIterator(); }

private:
    QS_COLD static void ReportComparison()
    {
        QS_HEADER_ASSERT(1, "This iterator should only ever be used in for-range!");
    }

    View m_token;
    View m_rest;
    View m_delimiters;
};
TokenizeIterator(StringView, StringView)->TokenizeIterator<char>;

} // namespace qs::_private
