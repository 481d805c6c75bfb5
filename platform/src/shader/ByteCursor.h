// Reading and writing of small little-endian records in memory, every access checked against the end.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace gleam {

static_assert(std::endian::native == std::endian::little, "records are copied as they lie in memory");

/// Appends values to a growing block of bytes.
class ByteWriter
{
public:
    template <class T>
    requires std::is_trivially_copyable_v<T>
    void Value(const T& value) { Bytes(&value, sizeof(T)); }

    void Bytes(const void* data, std::size_t size)
    {
        const auto* bytes = static_cast<const std::uint8_t*>(data);
        m_bytes.insert(m_bytes.end(), bytes, bytes + size);
    }

    void Text(std::string_view text)
    {
        Value(static_cast<std::uint32_t>(text.size()));
        Bytes(text.data(), text.size());
    }

    std::size_t Size() const { return m_bytes.size(); }
    std::vector<std::uint8_t>& Data() { return m_bytes; }

private:
    std::vector<std::uint8_t> m_bytes;
};

/// Reads values in turn. The first access behind the end makes the reader fail for good; from then on every read
/// gives zero or nothing, so a caller may check once at the end of a record.
class ByteReader
{
public:
    explicit ByteReader(std::span<const std::uint8_t> bytes) : m_rest(bytes) {}

    template <class T>
    requires std::is_trivially_copyable_v<T> T Value()
    {
        T value{};
        const auto bytes = Bytes(sizeof(T));
        if (!bytes.empty())
            std::memcpy(static_cast<void*>(&value), bytes.data(), sizeof(T));
        return value;
    }

    std::span<const std::uint8_t> Bytes(std::size_t size)
    {
        if (m_failed || size > m_rest.size()) {
            Fail();
            return {};
        }
        const auto taken = m_rest.first(size);
        m_rest = m_rest.subspan(size);
        return taken;
    }

    std::string Text()
    {
        const auto bytes = Bytes(Value<std::uint32_t>());
        return std::string(bytes.begin(), bytes.end());
    }

    /// A count of records of which each takes at least `smallest` bytes; fails when so many cannot follow.
    std::uint32_t Count(std::size_t smallest)
    {
        const auto count = Value<std::uint32_t>();
        if (std::uint64_t{count} * smallest > m_rest.size()) {
            Fail();
            return 0;
        }
        return count;
    }

    /// An enumeration value that may be at most `last`.
    template <class E>
    E Enum(std::uint32_t last)
    {
        const auto value = Value<std::uint32_t>();
        if (value > last)
            Fail();
        return m_failed ? E{} : static_cast<E>(value);
    }

    void Fail()
    {
        m_failed = true;
        m_rest = {};
    }

    bool Failed() const { return m_failed; }
    /// Everything read and nothing failed.
    bool AtEnd() const { return !m_failed && m_rest.empty(); }

private:
    std::span<const std::uint8_t> m_rest;
    bool m_failed = false;
};

} // namespace gleam
