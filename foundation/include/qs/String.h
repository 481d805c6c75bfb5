// Owning strings, conversion between UTF-8 and wide text, and the bounded formatter.
#pragma once

#include <qs/Export.h>
#include <qs/ScratchMemory.h>
#include <qs/StringView.h>
#include <qs/Types.h>

namespace qs {

/// Owning string of `char`, always terminated. Its value is 16 bytes; an empty string owns nothing.
class QS_API STDString
{
public:
    STDString() = default;
    /// A null text gives the empty string.
    STDString(const char* text);
    /// A negative length means up to the terminator.
    STDString(const char* text, i32 length);
    STDString(StringView text);
    /// An empty string with room for `capacity` characters.
    explicit STDString(u64 capacity);
    STDString(const STDString& other);
    STDString(STDString&& other) noexcept;
    ~STDString();
    STDString& operator=(const STDString& other);
    STDString& operator=(STDString&& other) noexcept;

    const char* ToChar() const { return m_data ? m_data : ""; }
    i32 GetLength() const { return static_cast<i32>(m_length); }
    i32 GetCapacity() const { return static_cast<i32>(m_capacity); }
    bool IsEmpty() const { return m_length == 0; }
    /// Empties and keeps the memory.
    void Clear();

    void Concatenate(StringView text);
    void Concatenate(char character);
    STDString& operator+=(StringView text)
    {
        Concatenate(text);
        return *this;
    }
    /// Replaces every occurrence of `find`, from the front; what was put in is not searched again. An empty `find`
    /// changes nothing.
    void Replace(const char* find, const char* with);
    /// Lowers ASCII letters.
    void ToLower();
    bool EqualsNoCase(StringView other) const { return StringView(*this).EqualsNoCase(other); }

    operator StringView() const { return StringView(ToChar(), GetLength()); }
    friend bool operator==(const STDString& a, const STDString& b) { return StringView(a) == StringView(b); }
    friend bool operator==(const STDString& a, const char* b) { return StringView(a) == StringView(b); }

private:
    // False, with an error logged, when the text would pass 2^31 - 2 characters or memory runs out.
    bool Reserve(u64 capacity);
    void Append(const char* text, u64 length);

    char* m_data = nullptr;
    u32 m_length = 0;
    u32 m_capacity = 0;
};

/// Owning string of `wchar_t`, always terminated.
class QS_API STDWString
{
public:
    STDWString() = default;
    STDWString(const wchar_t* text);
    STDWString(WStringView text);
    /// From UTF-8; see StringConverter for damaged text.
    static STDWString FromUTF8(StringView text);
    STDWString(const STDWString& other);
    STDWString(STDWString&& other) noexcept;
    ~STDWString();
    STDWString& operator=(STDWString other) noexcept;

    const wchar_t* ToWChar() const { return m_data ? m_data : L""; }
    i32 GetLength() const { return static_cast<i32>(m_length); }
    operator WStringView() const { return WStringView(ToWChar(), GetLength()); }
    friend bool operator==(const STDWString& a, const STDWString& b) { return WStringView(a) == WStringView(b); }

private:
    wchar_t* m_data = nullptr;
    u32 m_length = 0;
};

/// Text in a scratch frame of its own: valid on the thread that converted it, as long as the object lives.
template <class C>
class ConvertedString
{
public:
    ConvertedString(ScratchMemoryFrame&& frame, const C* text, u64 length)
        : m_frame(std::move(frame)), m_text(text), m_length(length)
    {
    }

    /// Terminated.
    const C* Get() const { return m_text; }
    u64 GetLength() const { return m_length; }

private:
    ScratchMemoryFrame m_frame;
    const C* m_text;
    u64 m_length;
};

/// Conversion between UTF-8 and wide text. `wchar_t` is UTF-32 where it has four bytes and UTF-16 where it has two.
/// Every byte that is not part of valid UTF-8, and every wide value that is no character, becomes U+FFFD.
class QS_API StringConverter
{
public:
    /// A null text gives the empty string.
    static ConvertedString<wchar_t> ConvertToWide(const char* text);
    static ConvertedString<wchar_t> ConvertToWide(StringView text);
};

namespace Localization {

/// The UTF-8 form of a wide text, valid as long as the object lives.
class QS_API ConvertWideToMultiByte
{
public:
    /// A negative length means up to the terminator.
    ConvertWideToMultiByte(const wchar_t* text, i64 length);
    ~ConvertWideToMultiByte();
    ConvertWideToMultiByte(const ConvertWideToMultiByte&) = delete;
    ConvertWideToMultiByte& operator=(const ConvertWideToMultiByte&) = delete;

    /// Terminated.
    const char* Get() const { return m_text; }
    u64 GetLength() const { return m_length; }

private:
    char* m_text;
    u64 m_length = 0;
    char m_inline[120];
};

} // namespace Localization

} // namespace qs

/// printf into a buffer of `size` bytes. Writes at most `size` bytes with the terminator, which is always there unless
/// `size` is 0.
QS_API void qssprintf(char* buffer, qs::u64 size, const char* format, ...) QS_PRINTF_FORMAT(3, 4);
