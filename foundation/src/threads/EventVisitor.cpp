// Recording and restoring of fields.
#include <qs/Event.h>

#include <algorithm>
#include <cstring>

#include <qs/Log.h>

namespace qs {

namespace {

/// Length of a FixedString record that stands for the null string.
constexpr uint64_t NULL_TEXT = ~uint64_t(0);

} // namespace

EventVisitor::EventVisitor(uint64_t reserve) : m_data(m_inline)
{
    if (reserve > INLINE_BYTES) {
        Grow(reserve);
    }
}

EventVisitor::~EventVisitor()
{
    if (m_data != m_inline) {
        MemoryManager::Deallocate(m_data, AllocType::FreeRaw, DefaultMemoryTag, true);
    }
}

bool EventVisitor::Grow(uint64_t capacity)
{
    void* block = MemoryManager::Allocate(capacity, AllocType::Raw, DefaultMemoryTag, 0, true);
    if (!block) {
        return false;
    }
    std::memcpy(block, m_data, m_size);
    if (m_data != m_inline) {
        MemoryManager::Deallocate(m_data, AllocType::FreeRaw, DefaultMemoryTag, true);
    }
    m_data = static_cast<unsigned char*>(block);
    m_capacity = capacity;
    return true;
}

void EventVisitor::BeginRecording(bool moveOut)
{
    m_mode = MODE_RECORD;
    m_movingOut = moveOut;
    m_failed = false;
    m_size = 0;
}

void EventVisitor::BeginReading(const ConstByteView& record)
{
    m_mode = MODE_READ;
    m_movingOut = false;
    m_failed = false;
    m_read = record.GetData();
    m_readSize = record.GetSize();
    m_position = 0;
}

void EventVisitor::End()
{
    m_mode = MODE_NONE;
    m_movingOut = false;
}

ConstByteView EventVisitor::GetRecord() const
{
    return {m_data, m_size};
}

void EventVisitor::Append(const void* bytes, uint64_t size)
{
    if (size > m_capacity - m_size && !Grow(std::max(m_capacity * 2, m_size + size))) {
        m_failed = true;
    }
    if (!m_failed && size != 0) {
        std::memcpy(m_data + m_size, bytes, size);
        m_size += size;
    }
}

// The next `size` bytes of the record being read; null, and failed from then on, when they are not there.
const unsigned char* EventVisitor::Take(uint64_t size)
{
    if (m_failed || size > m_readSize - m_position) {
        m_failed = true;
        return nullptr;
    }
    const unsigned char* bytes = m_read + m_position;
    m_position += size;
    return bytes;
}

void EventVisitor::VisitBytes(void* value, uint64_t size)
{
    if (m_mode == MODE_RECORD) {
        Append(value, size);
    } else if (m_mode == MODE_READ) {
        if (const unsigned char* bytes = Take(size)) {
            std::memcpy(value, bytes, size);
        } else {
            std::memset(value, 0, size);
        }
    } else {
        QS_LOG_ASSERT("foundation/EventVisitor", "qs::EventVisitor::Visit",
                      "An event visitor is used while it neither records nor reads");
    }
}

void EventVisitor::Visit(bool& value)
{
    unsigned char byte = value ? 1 : 0;
    VisitBytes(&byte, sizeof byte);
    // Any other byte is no bool, and as one it would be undefined behaviour.
    m_failed = m_failed || byte > 1;
    value = byte == 1;
}

void EventVisitor::Visit(ObjectHandle& value)
{
    uint64_t raw = value.GetValue();
    VisitBytes(&raw, sizeof raw);
    value = ObjectHandle(raw);
}

void EventVisitor::Visit(ScratchBuffer& value)
{
    uint64_t size = value.GetSize();
    VisitBytes(&size, sizeof size);
    if (m_mode == MODE_RECORD) {
        Append(value.GetReadData(), size);
        if (m_movingOut && !m_failed) {
            value.Clear();
        }
    } else if (m_mode == MODE_READ) {
        value.Clear();
        const unsigned char* bytes = Take(size);
        m_failed = m_failed || !value.Write(bytes, bytes ? size : 0);
    }
}

void EventVisitor::Visit(FixedString& value)
{
    uint64_t length = value.IsNull() ? NULL_TEXT : value.GetLength();
    VisitBytes(&length, sizeof length);
    if (m_mode == MODE_RECORD) {
        Append(value.ToChar(), length == NULL_TEXT ? 0 : length);
    } else if (m_mode == MODE_READ) {
        const bool isText = !m_failed && length <= INT32_MAX;
        const unsigned char* bytes = isText ? Take(length) : nullptr;
        m_failed = m_failed || (!isText && length != NULL_TEXT);
        value =
            bytes ? FixedString::Create(reinterpret_cast<const char*>(bytes), static_cast<i32>(length)) : FixedString();
    }
}

void EventVisitor::Visit(int& value)
{
    VisitBytes(&value, sizeof value);
}

void EventVisitor::Visit(int64_t& value)
{
    VisitBytes(&value, sizeof value);
}

void EventVisitor::Visit(unsigned int& value)
{
    VisitBytes(&value, sizeof value);
}

void EventVisitor::Visit(uint64_t& value)
{
    VisitBytes(&value, sizeof value);
}

void EventVisitor::Visit(unsigned short& value)
{
    VisitBytes(&value, sizeof value);
}

void EventVisitor::Visit(unsigned char& value)
{
    VisitBytes(&value, sizeof value);
}

void EventVisitor::Visit(float& value)
{
    VisitBytes(&value, sizeof value);
}

GameEventVisitor::GameEventVisitor(uint64_t reserve) : EventVisitor(reserve) {}

GameEventVisitor::~GameEventVisitor() = default;

} // namespace qs
