// Streams over memory that somebody else owns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include <qs/Export.h>
#include <qs/Log.h>
#include <qs/MemView.h>
#include <qs/Result.h>

namespace qs {

/// Values that a stream can take from bytes as they stand.
template <class T>
concept PlainStreamValue = std::is_trivially_copyable_v<T> && !std::is_const_v<T> && !std::is_pointer_v<T>;

/// Reads front to back over a view. It owns nothing: the bytes have to outlive the stream and every view it gives.
/// No operation reads outside the view. A stream belongs to one thread at a time.
class QS_API MemReadStream
{
public:
    MemReadStream() = default;
    explicit MemReadStream(const MemView<const unsigned char>& memory);

    /// True when the stream has a buffer.
    bool IsBound() const { return m_data != nullptr; }
    /// True when no byte is left, and for an unbound stream.
    bool IsAtEnd() const { return m_position >= m_size; }
    size_t GetSize() const { return m_size; }
    size_t GetPosition() const { return m_position; }
    /// Moves the read position from the front. Beyond the end: false, and nothing moves.
    bool SetPosition(size_t position);
    /// Moves the read position forward. Beyond the end: false, and nothing moves.
    bool Skip(size_t size);
    /// The bytes not read yet.
    MemView<const unsigned char> GetRemainder() const;

    /// A view of the next `size` bytes, and the position behind them. With fewer bytes left: a null view, and nothing
    /// moves.
    MemView<const unsigned char> Read(size_t size);
    /// Copies as many bytes as both sides have and gives that number; EError code when the stream is unbound or the
    /// target is not empty and no byte is left.
    Result<size_t, EError> Read(const MemView<unsigned char>& target);

    /// Copies one value in the machine's byte order. False when too few bytes are left: then nothing moves and `value`
    /// keeps what it held. An unbound stream asserts "Stream is unbound".
    template <PlainStreamValue T>
    bool ReadValue(T& value)
    {
        if (!IsBound()) {
            ReportUnbound();
            return false;
        }
        if (sizeof(T) > m_size - m_position) {
            return false;
        }
        std::memcpy(static_cast<void*>(&value), m_data + m_position, sizeof(T));
        m_position += sizeof(T);
        return true;
    }
    /// The same. A variable of the type size_t goes to the form that takes a size; read such a value by ReadValue.
    template <PlainStreamValue T>
    requires(!std::is_same_v<T, size_t> && !std::is_same_v<T, MemView<unsigned char>>) bool Read(T& value)
    {
        return ReadValue(value);
    }

private:
    static void ReportUnbound();

    const unsigned char* m_data = nullptr;
    size_t m_size = 0;
    size_t m_position = 0;
};

/// A block of memory that a MemWriteStream fills. It owns nothing.
class QS_API MemBuffer
{
public:
    MemBuffer() = default;
    explicit MemBuffer(const MemView<unsigned char>& memory);

    unsigned char* GetData() const { return m_data; }
    size_t GetSize() const { return m_size; }

private:
    unsigned char* m_data = nullptr;
    size_t m_size = 0;
};

/// Writes front to back into a MemBuffer of fixed size. No operation writes outside the buffer. A stream belongs to one
/// thread at a time; it may be copied, and a copy has a position of its own.
class QS_API MemWriteStream
{
public:
    /// `offset` argument of Write: at the write position, which then stands behind the bytes.
    static constexpr int64_t AT_POSITION = -1;

    MemWriteStream() = default;
    explicit MemWriteStream(const MemBuffer& buffer);
    ~MemWriteStream();

    /// Copies the view to `offset` from the front of the buffer and leaves the write position alone, or, for a negative
    /// offset, to the write position. False, with nothing written, when it does not fit.
    bool Write(const MemView<const unsigned char>& source, int64_t offset = AT_POSITION);
    /// Skips `size` bytes and gives a view of them, to be written in place. A null view, with nothing moved, when they
    /// are not there.
    MemView<unsigned char> Advance(size_t size);

    bool IsBound() const { return m_buffer.GetData() != nullptr; }
    size_t GetSize() const { return m_buffer.GetSize(); }
    size_t GetPosition() const { return m_position; }
    /// Moves the write position from the front. Beyond the end: false, and nothing moves.
    bool SetPosition(size_t position);
    /// The bytes before the write position.
    MemView<const unsigned char> GetWritten() const;

private:
    MemBuffer m_buffer;
    size_t m_position = 0;
};

} // namespace qs
