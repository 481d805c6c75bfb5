// Streams over memory.
#include <qs/MemStream.h>

#include <algorithm>

namespace qs {

MemReadStream::MemReadStream(const ConstByteView& memory) : m_data(memory.GetData()), m_size(memory.GetSize()) {}

void MemReadStream::ReportUnbound()
{
    QS_HEADER_ASSERT(1, "Stream is unbound");
}

bool MemReadStream::SetPosition(size_t position)
{
    const bool inside = position <= m_size;
    m_position = inside ? position : m_position;
    return inside;
}

bool MemReadStream::Skip(size_t size)
{
    return size <= m_size - m_position && SetPosition(m_position + size);
}

ConstByteView MemReadStream::GetRemainder() const
{
    return m_data ? ConstByteView(m_data + m_position, m_size - m_position) : ConstByteView();
}

ConstByteView MemReadStream::Read(size_t size)
{
    const size_t position = m_position;
    return m_data && Skip(size) ? ConstByteView(m_data + position, size) : ConstByteView();
}

Result<size_t, EError> MemReadStream::Read(const ByteView& target)
{
    if (!IsBound()) {
        ReportUnbound();
        return EError::Unbound;
    }
    const size_t size = std::min<size_t>(target.GetSize(), m_size - m_position);
    if (size == 0) {
        return target.IsEmpty() ? Result<size_t, EError>(size_t(0)) : Result<size_t, EError>(EError::EndOfData);
    }
    std::memcpy(target.GetData(), m_data + m_position, size);
    m_position += size;
    return size;
}

MemBuffer::MemBuffer(const ByteView& memory) : m_data(memory.GetData()), m_size(memory.GetSize()) {}

MemWriteStream::MemWriteStream(const MemBuffer& buffer) : m_buffer(buffer) {}

MemWriteStream::~MemWriteStream() = default;

bool MemWriteStream::Write(const ConstByteView& source, int64_t offset)
{
    const uint64_t target = offset < 0 ? m_position : static_cast<uint64_t>(offset);
    if (target > GetSize() || source.GetSize() > GetSize() - target) {
        return false;
    }
    if (!source.IsEmpty()) {
        // The source may lie in the buffer itself.
        std::memmove(m_buffer.GetData() + target, source.GetData(), source.GetSize());
    }
    m_position += offset < 0 ? source.GetSize() : 0;
    return true;
}

ByteView MemWriteStream::Advance(size_t size)
{
    if (!IsBound() || size > GetSize() - m_position) {
        return {};
    }
    unsigned char* skipped = m_buffer.GetData() + m_position;
    m_position += size;
    return {skipped, size};
}

bool MemWriteStream::SetPosition(size_t position)
{
    const bool inside = position <= GetSize();
    m_position = inside ? position : m_position;
    return inside;
}

ConstByteView MemWriteStream::GetWritten() const
{
    return {m_buffer.GetData(), m_position};
}

} // namespace qs
