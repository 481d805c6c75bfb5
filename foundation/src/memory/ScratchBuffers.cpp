// Growing byte and text buffers.
#include <qs/ScratchMemory.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include <qs/Log.h>
#include <qs/Memory.h>

namespace qs {

namespace {

char* Resize(char* old, u64 size)
{
    MemoryTrackerSample sample("qs::ScratchBuffer");
    return static_cast<char*>(MemoryManager::Reallocate(old, size, DefaultMemoryTag, 0, true));
}

void Release(char* data)
{
    MemoryManager::Deallocate(data, AllocType::FreeRaw, DefaultMemoryTag, true);
}

} // namespace

ScratchBuffer::ScratchBuffer(u64 initialCapacity, u64 maximumSize) : m_maximum(maximumSize)
{
    Reserve(maximumSize ? std::min(initialCapacity, maximumSize) : initialCapacity);
}

ScratchBuffer::ScratchBuffer(const ScratchBuffer& other) : m_maximum(other.m_maximum)
{
    CopyFrom(other);
}

ScratchBuffer::ScratchBuffer(ScratchBuffer&& other) noexcept
    : m_data(std::exchange(other.m_data, nullptr)), m_size(std::exchange(other.m_size, 0)),
      m_capacity(std::exchange(other.m_capacity, 0)), m_maximum(other.m_maximum)
{
}

ScratchBuffer& ScratchBuffer::operator=(const ScratchBuffer& other)
{
    CopyFrom(other);
    return *this;
}

ScratchBuffer& ScratchBuffer::operator=(ScratchBuffer&& other) noexcept
{
    std::swap(m_data, other.m_data);
    std::swap(m_size, other.m_size);
    std::swap(m_capacity, other.m_capacity);
    std::swap(m_maximum, other.m_maximum);
    return *this;
}

ScratchBuffer::~ScratchBuffer()
{
    Release(m_data);
}

bool ScratchBuffer::Reserve(u64 capacity)
{
    if (capacity <= m_capacity) {
        return true;
    }
    char* data = Resize(m_data, capacity);
    if (!data) {
        return false;
    }
    m_data = data;
    m_capacity = capacity;
    return true;
}

bool ScratchBuffer::Write(const void* data, u64 size)
{
    const u64 limit = m_maximum ? m_maximum : ~u64(0) >> 1;
    if (size > limit - std::min(m_size, limit)) {
        QS_LOG_ERROR("foundation/ScratchMemory", "qs::ScratchBuffer::Write",
                     "Writing %llu bytes behind %llu would pass the buffer's limit of %llu",
                     static_cast<unsigned long long>(size), static_cast<unsigned long long>(m_size),
                     static_cast<unsigned long long>(limit));
        return false;
    }
    const char* source = static_cast<const char*>(data);
    // Growing releases the old memory, in which the source may stand.
    const bool own = m_data && source >= m_data && source < m_data + m_size;
    const u64 offset = own ? static_cast<u64>(source - m_data) : 0;
    if (m_size + size > m_capacity && !Reserve(std::min(std::max(m_size + size, m_capacity * 2), limit))) {
        return false;
    }
    if (size != 0) {
        std::memmove(m_data + m_size, own ? m_data + offset : source, size);
    }
    m_size += size;
    return true;
}

void ScratchBuffer::CopyFrom(const ScratchBuffer& other)
{
    if (this != &other) {
        m_size = 0;
        Write(other.m_data, other.m_size);
    }
}

ScratchString::ScratchString(Span<char> storage)
    : m_data(storage.IsEmpty() ? m_none : storage.GetData()),
      m_capacity(storage.IsEmpty() ? 0 : storage.GetLength() - 1), m_maximum(m_capacity), m_owned(false)
{
    m_data[0] = '\0';
}

ScratchString::ScratchString(u32 initialCapacity, u32 maximum, bool mayGrow)
    : m_data(m_none), m_capacity(0), m_maximum(mayGrow ? maximum : std::min(initialCapacity, maximum)), m_owned(true)
{
    Grow(std::min<u64>(initialCapacity, m_maximum));
}

ScratchString::~ScratchString()
{
    if (m_owned && m_data != m_none) {
        Release(m_data);
    }
}

// Makes room for `length` characters; false when there is none.
bool ScratchString::Grow(u64 length)
{
    if (length <= m_capacity) {
        return true;
    }
    if (!m_owned || length > m_maximum) {
        return false;
    }
    const u64 capacity = std::min(std::max(length, m_capacity * 2), m_maximum);
    char* data = Resize(m_data == m_none ? nullptr : m_data, capacity + 1);
    if (!data) {
        return false;
    }
    m_data = data;
    m_data[m_length] = '\0';
    m_capacity = capacity;
    return true;
}

void ScratchString::Append(const char* text, u64 length)
{
    if (!Grow(m_length + length)) {
        Grow(m_maximum);
        length = std::min(length, m_capacity - m_length);
    }
    if (length != 0) {
        std::memcpy(m_data + m_length, text, length);
    }
    m_length += length;
    m_data[m_length] = '\0';
}

void ScratchString::AppendNumber(unsigned long long value, bool negative)
{
    char text[24];
    char* begin = text;
    if (negative) {
        *begin++ = '-';
    }
    const std::to_chars_result end = std::to_chars(begin, std::end(text), value);
    Append(text, static_cast<u64>(end.ptr - text));
}

ScratchString& ScratchString::operator<<(const char* text)
{
    return *this << StringView(text);
}

ScratchString& ScratchString::operator<<(StringView text)
{
    Append(text.GetData(), static_cast<u64>(text.GetLength()));
    return *this;
}

ScratchString& ScratchString::operator<<(int value)
{
    const long long wide = value;
    AppendNumber(static_cast<unsigned long long>(wide < 0 ? -wide : wide), wide < 0);
    return *this;
}

ScratchString& ScratchString::operator<<(unsigned int value)
{
    AppendNumber(value, false);
    return *this;
}

ScratchString& ScratchString::operator<<(unsigned char value)
{
    AppendNumber(value, false);
    return *this;
}

ScratchString& ScratchString::operator<<(unsigned long value)
{
    AppendNumber(value, false);
    return *this;
}

ScratchString& ScratchString::operator<<(unsigned long long value)
{
    AppendNumber(value, false);
    return *this;
}

} // namespace qs
