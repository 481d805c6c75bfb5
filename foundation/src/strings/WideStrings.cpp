// Wide strings and conversion to and from UTF-8.
#include <qs/String.h>

#include <cstring>
#include <iterator>

#include <utf8.h>

#include <qs/Memory.h>

namespace qs {

namespace {

constexpr u32 Replacement = 0xfffd;

// Calls `put(code point)` for every character; damaged bytes give the replacement, one each.
template <class Put>
void DecodeUTF8(StringView text, Put&& put)
{
    const char* at = text.begin();
    while (at != text.end()) {
        const char* damage = utf8::find_invalid(at, text.end());
        while (at != damage) {
            put(utf8::unchecked::next(at));
        }
        if (damage != text.end()) {
            put(Replacement);
            ++at;
        }
    }
}

// Wide units of a text, encoded for this system's wchar_t, through `put(unit)`.
template <class Put>
void ToWideUnits(StringView text, Put&& put)
{
    DecodeUTF8(text, [&](u32 point) {
        if constexpr (sizeof(wchar_t) == 4) {
            put(static_cast<wchar_t>(point));
        } else if (point < 0x10000) {
            put(static_cast<wchar_t>(point));
        } else {
            put(static_cast<wchar_t>(0xd800 + ((point - 0x10000) >> 10)));
            put(static_cast<wchar_t>(0xdc00 + ((point - 0x10000) & 0x3ff)));
        }
    });
}

u64 CountWideUnits(StringView text)
{
    u64 count = 0;
    ToWideUnits(text, [&](wchar_t) { ++count; });
    return count;
}

template <class Put>
void DecodeWide(WStringView text, Put&& put)
{
    for (i64 i = 0; i < text.GetLength(); ++i) {
        u32 point = static_cast<u32>(text.GetData()[i]);
        if constexpr (sizeof(wchar_t) == 2) {
            point &= 0xffff;
            const u32 low = i + 1 < text.GetLength() ? static_cast<u32>(text.GetData()[i + 1]) & 0xffff : 0;
            if ((point & 0xfc00) == 0xd800 && (low & 0xfc00) == 0xdc00) {
                point = 0x10000 + ((point & 0x3ff) << 10) + (low & 0x3ff);
                ++i;
            }
        }
        const bool valid = point < 0xd800 || (point > 0xdfff && point <= 0x10ffff);
        put(valid ? point : Replacement);
    }
}

wchar_t* NewWide(u64 length)
{
    return ::new (DefaultMemoryTag) wchar_t[length + 1];
}

} // namespace

STDWString::STDWString(const wchar_t* text) : STDWString(WStringView(text)) {}

STDWString::STDWString(WStringView text)
{
    const u64 length = static_cast<u64>(text.GetLength());
    m_data = length ? NewWide(length) : nullptr;
    if (m_data) {
        std::memcpy(m_data, text.GetData(), length * sizeof(wchar_t));
        m_data[length] = 0;
        m_length = static_cast<u32>(length);
    }
}

STDWString STDWString::FromUTF8(StringView text)
{
    STDWString result;
    const u64 length = CountWideUnits(text);
    result.m_data = length ? NewWide(length) : nullptr;
    if (result.m_data) {
        ToWideUnits(text, [&](wchar_t unit) { result.m_data[result.m_length++] = unit; });
        result.m_data[length] = 0;
    }
    return result;
}

STDWString::STDWString(const STDWString& other) : STDWString(WStringView(other)) {}

STDWString::STDWString(STDWString&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_length(std::exchange(other.m_length, 0))
{
}

STDWString::~STDWString()
{
    ::delete[] m_data;
}

STDWString& STDWString::operator=(STDWString other) noexcept
{
    std::swap(m_data, other.m_data);
    std::swap(m_length, other.m_length);
    return *this;
}

ConvertedString<wchar_t> StringConverter::ConvertToWide(const char* text)
{
    return ConvertToWide(StringView(text));
}

ConvertedString<wchar_t> StringConverter::ConvertToWide(StringView text)
{
    ScratchMemoryFrame frame = ScratchMemory::Request(__FILE__, __LINE__);
    const u64 length = CountWideUnits(text);
    wchar_t* wide = frame.AllocateArray<wchar_t>(length + 1);
    if (!wide) {
        return {std::move(frame), L"", 0};
    }
    wchar_t* end = wide;
    ToWideUnits(text, [&](wchar_t unit) { *end++ = unit; });
    return {std::move(frame), wide, length};
}

Localization::ConvertWideToMultiByte::ConvertWideToMultiByte(const wchar_t* text, i64 length) : m_text(m_inline)
{
    const WStringView view = length < 0 ? WStringView(text) : WStringView(text, length);
    u64 size = 0;
    DecodeWide(view, [&](u32 point) { size += point < 0x80 ? 1 : point < 0x800 ? 2 : point < 0x10000 ? 3 : 4; });
    if (size >= sizeof m_inline) {
        void* memory = MemoryManager::Allocate(size + 1, AllocType::Raw, DefaultMemoryTag, 0, true);
        size = memory ? size : 0;
        m_text = memory ? static_cast<char*>(memory) : m_inline;
    }
    char* end = m_text;
    if (size != 0) {
        DecodeWide(view, [&](u32 point) { end = utf8::unchecked::append(point, end); });
    }
    *end = '\0';
    m_length = size;
}

Localization::ConvertWideToMultiByte::~ConvertWideToMultiByte()
{
    if (m_text != m_inline) {
        MemoryManager::Deallocate(m_text, AllocType::FreeRaw, DefaultMemoryTag, true);
    }
}

} // namespace qs
