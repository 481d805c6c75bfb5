// Interned, reference-counted strings.
#pragma once

#include <cstring>
#include <functional>
#include <utility>

#include <qs/Export.h>
#include <qs/StringView.h>
#include <qs/Types.h>

namespace qs {

/// One pointer to an interned text. Equal texts have equal pointers, so comparing two strings compares two pointers,
/// and `ToChar` is itself that pointer: stable while any FixedString holds the text, and unique per text.
///
/// All operations may be called from all threads at once; one FixedString object belongs to one thread at a time.
/// Looking up a text that is interned takes no lock. The text is released when its last holder is gone.
class QS_API FixedString
{
public:
    using Handle = const char*;

    /// The handle of the null string: a text of length 0 that is not the interned empty string.
    static const Handle NULL_STRING;
    /// The interned empty string.
    static const FixedString Empty;

    FixedString() noexcept : m_handle(NULL_STRING) {}
    FixedString(const FixedString& other) noexcept : m_handle(other.m_handle) { AddReference(m_handle); }
    FixedString(FixedString&& other) noexcept : m_handle(std::exchange(other.m_handle, NULL_STRING)) {}
    ~FixedString() { ReleaseReference(m_handle); }

    FixedString& operator=(const FixedString& other) noexcept
    {
        AddReference(other.m_handle);
        ReleaseReference(std::exchange(m_handle, other.m_handle));
        return *this;
    }
    FixedString& operator=(FixedString&& other) noexcept
    {
        std::swap(m_handle, other.m_handle);
        return *this;
    }

    /// Interns `length` characters; -1 means up to the terminator. A null text gives the null string, any text of
    /// length 0 gives Empty. Characters behind an embedded NUL count.
    static FixedString Create(const char* text, i32 length = -1);
    static FixedString Create(StringView text);

    const char* ToChar() const { return m_handle; }
    u32 GetLength() const
    {
        u32 length;
        std::memcpy(&length, m_handle - sizeof length, sizeof length);
        return length;
    }
    bool IsNull() const { return m_handle == NULL_STRING; }
    bool IsEmpty() const { return GetLength() == 0; }

    /// Compares without regard to the case of ASCII letters.
    bool EqualsNoCase(const FixedString& other) const;

    operator StringView() const { return StringView(m_handle, static_cast<i64>(GetLength())); }

    friend bool operator==(const FixedString& a, const FixedString& b) { return a.m_handle == b.m_handle; }

    /// Number of texts interned now; the null string and Empty do not count.
    static u64 GetInternedCount();
    /// References that are held to this text now; exact when no other thread copies it meanwhile. 0 for the null
    /// string and Empty, which are never released.
    u64 GetReferenceCount() const;

private:
    friend class FixedStringHacker;
    friend class FFFS;
    constexpr explicit FixedString(Handle handle, int) noexcept : m_handle(handle) {}

    static void AddReference(Handle handle) noexcept;
    static void ReleaseReference(Handle handle) noexcept;

    // Points at the characters. The 32-bit length stands directly before them.
    Handle m_handle;
};

/// Handle access for recorded commands, which keep a name as the character pointer and take no reference.
class FixedStringHacker
{
public:
    /// Points `string` at an interned text without touching a count, also not the count of the text it held. Whoever
    /// uses it sets NULL_STRING the same way before the string's destructor runs.
    static void SetHandleNoRef(FixedString& string, FixedString::Handle handle) { string.m_handle = handle; }
};

/// Strings of the foundation itself.
class QS_API FFFS
{
public:
    /// The identifier of a node that has none in particular: the interned empty string.
    static const FixedString str;
};

} // namespace qs

template <>
struct std::hash<qs::FixedString>
{
    std::size_t operator()(const qs::FixedString& string) const noexcept
    {
        return std::hash<const void*>()(string.ToChar());
    }
};
