// Owning strings of char.
#include <qs/String.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <qs/Log.h>
#include <qs/Memory.h>

namespace qs {

namespace {
constexpr u64 MaxLength = 0x7ffffffe;
} // namespace

STDString::STDString(const char* text) : STDString(StringView(text)) {}

STDString::STDString(const char* text, i32 length) : STDString(length < 0 ? StringView(text) : StringView(text, length))
{
}

STDString::STDString(StringView text)
{
    Append(text.GetData(), static_cast<u64>(text.GetLength()));
}

STDString::STDString(u64 capacity)
{
    Reserve(capacity);
}

STDString::STDString(const STDString& other)
{
    Append(other.m_data, other.m_length);
}

STDString::STDString(STDString&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_length(std::exchange(other.m_length, 0)),
      m_capacity(std::exchange(other.m_capacity, 0))
{
}

STDString::~STDString()
{
    MemoryManager::Deallocate(m_data, AllocType::FreeRaw, DefaultMemoryTag, true);
}

STDString& STDString::operator=(const STDString& other)
{
    if (this != &other) {
        Clear();
        Append(other.m_data, other.m_length);
    }
    return *this;
}

STDString& STDString::operator=(STDString&& other) noexcept
{
    std::swap(m_data, other.m_data);
    std::swap(m_length, other.m_length);
    std::swap(m_capacity, other.m_capacity);
    return *this;
}

void STDString::Clear()
{
    m_length = 0;
    if (m_data) {
        m_data[0] = '\0';
    }
}

bool STDString::Reserve(u64 capacity)
{
    if (capacity <= m_capacity) {
        return true;
    }
    if (capacity > MaxLength) {
        QS_LOG_ERROR("foundation/String", "qs::STDString::Reserve", "A string of %llu characters is above %llu",
                     static_cast<unsigned long long>(capacity), static_cast<unsigned long long>(MaxLength));
        return false;
    }
    MemoryTrackerSample sample("qs::STDString");
    void* data = MemoryManager::Reallocate(m_data, capacity + 1, DefaultMemoryTag, 0, true);
    if (!data) {
        return false;
    }
    m_data = static_cast<char*>(data);
    m_data[m_length] = '\0';
    m_capacity = static_cast<u32>(capacity);
    return true;
}

void STDString::Append(const char* text, u64 length)
{
    if (length == 0) {
        return;
    }
    // Growing releases the old characters, in which the text may stand.
    const bool own = m_data && text >= m_data && text <= m_data + m_length;
    const u64 offset = own ? static_cast<u64>(text - m_data) : 0;
    const u64 wanted = m_length + length;
    const u64 capacity = m_capacity == 0 ? wanted : std::max<u64>(wanted, std::min(u64(m_capacity) * 2, MaxLength));
    if (wanted > m_capacity && !Reserve(capacity)) {
        return;
    }
    std::memmove(m_data + m_length, own ? m_data + offset : text, length);
    m_length = static_cast<u32>(wanted);
    m_data[m_length] = '\0';
}

void STDString::Concatenate(StringView text)
{
    Append(text.GetData(), static_cast<u64>(text.GetLength()));
}

void STDString::Concatenate(char character)
{
    Append(&character, 1);
}

void STDString::Replace(const char* find, const char* with)
{
    const std::string_view wanted = StringView(find).ToStd();
    const std::string_view source = StringView(*this).ToStd();
    if (wanted.empty()) {
        return;
    }
    STDString result;
    std::size_t from = 0;
    for (std::size_t hit; (hit = source.find(wanted, from)) != std::string_view::npos; from = hit + wanted.size()) {
        result.Concatenate(source.substr(from, hit - from));
        result.Concatenate(StringView(with));
    }
    if (from != 0) {
        result.Concatenate(source.substr(from));
        *this = std::move(result);
    }
}

void STDString::ToLower()
{
    for (u32 i = 0; i < m_length; ++i) {
        m_data[i] = static_cast<char>(m_data[i] >= 'A' && m_data[i] <= 'Z' ? m_data[i] + ('a' - 'A') : m_data[i]);
    }
}

} // namespace qs

void qssprintf(char* buffer, qs::u64 size, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(buffer, size, format, arguments);
    va_end(arguments);
}
