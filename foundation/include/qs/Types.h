// Scalar names that every other foundation header uses, and a wrapper that gives a plain value a type of its own.
#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>

namespace qs {

using u8 = std::uint8_t;
using u16 = std::uint16_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i8 = std::int8_t;
using i16 = std::int16_t;
using i32 = std::int32_t;
using i64 = std::int64_t;

/// A value of type T that does not convert to other values by itself. Tag only tells wrappers of one T apart.
/// The layout is that of T.
template <class T, class Tag = void>
class TypeWrap
{
public:
    constexpr TypeWrap() = default;
    constexpr explicit TypeWrap(T value) : m_value(value) {}

    constexpr T GetValue() const { return m_value; }
    friend constexpr auto operator<=>(const TypeWrap&, const TypeWrap&) = default;

private:
    T m_value{};
};

} // namespace qs
