// Interned strings: the handle's side.
#include <qs/FixedString.h>

#include <cstring>

#include "strings/FixedStringTable.h"

namespace qs {

namespace {

// A text of length 0 that is no part of the table.
struct StaticText
{
    strings::TextHeader header{strings::ImmortalId, 0};
    char text[8] = {};
};
constinit StaticText s_null;
constinit StaticText s_empty;

bool IsImmortal(const char* handle)
{
    return strings::GetTextHeader(handle)->id == strings::ImmortalId;
}

} // namespace

constinit const FixedString::Handle FixedString::NULL_STRING = s_null.text;
constinit const FixedString FixedString::Empty(s_empty.text, 0);
constinit const FixedString FFFS::str(s_empty.text, 0);

FixedString FixedString::Create(const char* text, i32 length)
{
    if (text && length > 0) [[likely]] {
        return FixedString(FixedStringTable::Intern(text, static_cast<u32>(length)), 0);
    }
    return Create(length < 0 ? StringView(text) : StringView(text, length));
}

FixedString FixedString::Create(StringView text)
{
    if (text.IsNull()) {
        return FixedString();
    }
    if (text.IsEmpty()) {
        return Empty;
    }
    if (text.GetLength() > 0x7fffffff) {
        QS_LOG_ERROR("foundation/FixedString", "qs::FixedString::Create", "A text of %lld characters is too long",
                     static_cast<long long>(text.GetLength()));
        return FixedString();
    }
    return FixedString(FixedStringTable::Intern(text.GetData(), static_cast<u32>(text.GetLength())), 0);
}

bool FixedString::EqualsNoCase(const FixedString& other) const
{
    return m_handle == other.m_handle || StringView(*this).EqualsNoCase(other);
}

void FixedString::AddReference(Handle handle) noexcept
{
    if (!IsImmortal(handle)) {
        FixedStringTable::AddReference(strings::GetTextHeader(handle)->id);
    }
}

void FixedString::ReleaseReference(Handle handle) noexcept
{
    if (!IsImmortal(handle)) {
        FixedStringTable::ReleaseReference(strings::GetTextHeader(handle)->id);
    }
}

u64 FixedString::GetInternedCount()
{
    return FixedStringTable::GetCount();
}

u64 FixedString::GetReferenceCount() const
{
    return IsImmortal(m_handle) ? 0 : FixedStringTable::GetReferences(strings::GetTextHeader(m_handle)->id);
}

} // namespace qs
