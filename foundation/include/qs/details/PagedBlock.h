// Memory that grows in place.
#pragma once

#include <qs/Export.h>
#include <qs/Types.h>

namespace qs::details {

/// A range of addresses that is reserved whole and takes memory as it grows. What grew never moves and is released by
/// the destructor. Each growth is accounted under the memory scope that the thread is in.
class QS_API PagedBlock
{
public:
    PagedBlock() = default;
    ~PagedBlock();
    PagedBlock(const PagedBlock&) = delete;
    PagedBlock& operator=(const PagedBlock&) = delete;

    /// The start of the range; null, with an error logged, when the addresses cannot be had, and for a size of 0.
    void* Reserve(u64 size, u64 alignment);
    /// Makes the first `size` bytes usable; the new ones hold anything. False, with an error logged, beyond the range.
    bool Grow(u64 size);

private:
    void* m_begin = nullptr;
    u64 m_reserved = 0;
    u64 m_size = 0;
    u16 m_scope = 0;
};

} // namespace qs::details
