// Append-only memory in blocks, under the command streams.
#pragma once

#include <cstddef>
#include <cstdint>

#include <qs/Export.h>

namespace qs {

/// Bytes that grow in blocks and never move. Rewind empties the chain and keeps its blocks, so that a steady sequence
/// of uses allocates nothing after the first. The first block comes at the first use. Not thread-safe.
class QS_API BlockChain
{
public:
    /// Header of a block; its bytes follow.
    struct Block
    {
        Block* next;
        size_t capacity; ///< bytes behind the header
        size_t used;     ///< final for every block before the current one

        char* GetBytes() { return reinterpret_cast<char*>(this + 1); }
    };

    /// `blockSize` is the capacity of the first block; later ones double up to LARGEST_STEP. 0 counts as 64.
    explicit BlockChain(size_t blockSize);
    ~BlockChain();
    BlockChain(const BlockChain&) = delete;
    BlockChain& operator=(const BlockChain&) = delete;

    static constexpr size_t LARGEST_STEP = 256 * 1024;
    /// Larger single requests are refused.
    static constexpr size_t LARGEST_REQUEST = size_t(1) << 31;

    /// Room for `size` bytes behind each other, without an alignment. Null when memory runs out or the request is
    /// larger than LARGEST_REQUEST; both are logged.
    char* Append(size_t size)
    {
        if (size > static_cast<size_t>(m_end - m_cursor)) [[unlikely]] {
            if (!MakeRoom(size)) {
                return nullptr;
            }
        }
        char* result = m_cursor;
        m_cursor += size;
        return result;
    }

    /// Makes the current block one with `size` free bytes, by going on to the next block or to a new one.
    bool MakeRoom(size_t size);
    /// Makes the chain ready for a reader: every block's `used` is exact and nothing is free until Thaw.
    void Freeze();
    void Thaw();
    /// Empties the chain and keeps the blocks.
    void Rewind();
    /// Empties the chain and releases the blocks.
    void Release();

    Block* GetFirst() const { return m_first; }
    Block* GetCurrent() const { return m_current; }
    char* GetCursor() const { return m_cursor; }
    char* GetEnd() const { return m_end; }
    void SetCursor(char* cursor) { m_cursor = cursor; }

    /// Bytes appended since the last Rewind.
    size_t GetUsedBytes() const;
    /// Bytes of all blocks, and how many there are.
    size_t GetReservedBytes() const;
    size_t GetBlockCount() const;

private:
    void Seal();
    Block* NewBlock(size_t size);
    Block* TakeKeptBlock(size_t size);

    char* m_cursor = nullptr;
    char* m_end = nullptr;
    Block* m_first = nullptr;
    Block* m_current = nullptr; ///< blocks behind it are kept for reuse and hold nothing
    size_t m_nextSize;
};

} // namespace qs
