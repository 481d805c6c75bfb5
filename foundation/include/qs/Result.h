// A value or the reason why there is none.
#pragma once

#include <utility>

#include <qs/Log.h>
#include <qs/Types.h>

namespace qs {

/// Reasons that foundation services give. 0 is success.
enum class EError : u32
{
    None = 0,
    EndOfData,   ///< fewer bytes left than asked for
    Unbound,     ///< the object has no data behind it
    OutOfRange,  ///< an argument lies outside its limits
    InvalidData, ///< the data breaks its format
    NotFound,
    NoMemory,
    AccessFailed, ///< the system refused the operation
};

/// An error code of 32 bits, then the value. Code 0 means success.
template <class T, class E = EError>
class Result
{
    static_assert(sizeof(E) == 4, "the error code has 32 bits");

public:
    constexpr Result() = default;
    constexpr Result(T value) : m_value(std::move(value)) {}
    /// Code 0 gives a success with a default value.
    constexpr Result(E error) : m_error(error) {}

    constexpr bool IsError() const { return m_error != E{}; }
    constexpr bool IsOk() const { return !IsError(); }
    constexpr explicit operator bool() const { return IsOk(); }
    constexpr E GetError() const { return m_error; }

    /// On an error: asserts, and gives the default value that stands in for one.
    constexpr const T& Get() const
    {
        if (IsError()) [[unlikely]] {
            ReportError();
        }
        return m_value;
    }
    constexpr T& Get()
    {
        if (IsError()) [[unlikely]] {
            ReportError();
        }
        return m_value;
    }

private:
    QS_COLD void ReportError() const { QS_HEADER_ASSERT(1, "qs::Result is an error, value is inaccessible"); }

    E m_error{};
    T m_value{};
};

} // namespace qs
