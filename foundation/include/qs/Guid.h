// Unique identifiers.
#pragma once

#include <qs/Export.h>
#include <qs/FixedString.h>
#include <qs/Types.h>

namespace qs {

/// 128 random bits in the form of RFC 4122, version 4.
class QS_API Guid
{
public:
    /// All zero.
    constexpr Guid() = default;
    /// Bits from the system's generator; safe from all threads.
    static Guid Generate();

    /// 32 lower-case hexadecimal digits, in groups of 8, 4, 4, 4 and 12 joined by hyphens when `hyphens` is set.
    FixedString ToFS(bool hyphens) const;

    friend constexpr bool operator==(const Guid&, const Guid&) = default;

private:
    u64 m_high = 0;
    u64 m_low = 0;
};

} // namespace qs
