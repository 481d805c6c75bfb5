// Handles of objects in salted containers.
#pragma once

#include <functional>

#include <qs/Types.h>

namespace qs {

/// One 64-bit value that names an object, copied and compared as a whole:
///
///     63                  40 39       32 31                  0
///     +---------------------+-----------+--------------------+
///     |        index        |   type    |        salt        |
///     +---------------------+-----------+--------------------+
///
/// Types up to MaxType, indices up to MaxIndex and all salts round-trip exactly; what lies above is cut off, and
/// ObjectTypeManager and ObjectContainer give out nothing above. Containers count salts from 1, so Unassigned, which
/// is 0, names no object.
class ObjectHandle
{
public:
    static constexpr u32 MaxType = 0xff;
    static constexpr u32 MaxIndex = 0xffffff;
    /// No object.
    static const ObjectHandle Unassigned;

    constexpr ObjectHandle() = default;
    constexpr ObjectHandle(u32 type, u32 index, u32 salt)
        : m_value(u64(index & MaxIndex) << 40 | u64(type & MaxType) << 32 | salt)
    {
    }
    constexpr explicit ObjectHandle(u64 value) : m_value(value) {}

    constexpr bool IsValid() const { return m_value != 0; }
    constexpr u32 GetType() const { return static_cast<u32>(m_value >> 32) & MaxType; }
    constexpr u32 GetIndex() const { return static_cast<u32>(m_value >> 40); }
    constexpr u32 GetSalt() const { return static_cast<u32>(m_value); }
    constexpr u64 GetValue() const { return m_value; }

    /// Bucket of a table with `bucketCount` buckets; 0 when that is 0.
    static constexpr u32 KeyToHashIndex(const ObjectHandle& key, u32 bucketCount)
    {
        u64 hash = key.m_value;
        hash = (hash ^ (hash >> 32)) * 0x9e3779b97f4a7c15u;
        return bucketCount ? static_cast<u32>((hash >> 32) % bucketCount) : 0;
    }
    static constexpr bool IsKeysEqual(const ObjectHandle& a, const ObjectHandle& b) { return a.m_value == b.m_value; }
    /// For tables keyed by handle: fails to compile unless a handle is one 64-bit value.
    static constexpr bool CheckType()
    {
        static_assert(sizeof(ObjectHandle) == sizeof(u64), "a handle is stored as its 64-bit value");
        return true;
    }

    friend constexpr bool operator==(const ObjectHandle&, const ObjectHandle&) = default;

private:
    u64 m_value = 0;
};

inline constexpr ObjectHandle ObjectHandle::Unassigned{};

} // namespace qs

template <>
struct std::hash<qs::ObjectHandle>
{
    std::size_t operator()(const qs::ObjectHandle& handle) const noexcept
    {
        return qs::ObjectHandle::KeyToHashIndex(handle, 0xffffffffu);
    }
};
