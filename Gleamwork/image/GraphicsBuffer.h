// The owning byte block that carries pixels and other device-bound data.
#pragma once

#include "Gleamwork/Export.h"

#include <cstdint>
#include <qs/Memory.h>

namespace qs {
class EventVisitor;
}

namespace gw {

/// One block of memory with an owner. A buffer whose owner is its own address frees the block in its destructor. With
/// any other owner the destructor leaves the block alone, and the owner releases it through SafeFree with its own
/// address: so a buffer can sit inside a command or an image and follow that object's rules.
/// No locks: a buffer belongs to one thread at a time and crosses threads inside a recorded command, by Visit.
class GW_API GraphicsBuffer
{
public:
    QS_DECLARE_ALLOC(gw::GraphicsBuffer)

    /// Self-owned; allocates when size is not 0.
    explicit GraphicsBuffer(uint64_t size = 0, uint64_t alignment = 0);
    ~GraphicsBuffer();

    /// Both take all four fields as they stand, the owner included, and leave the source zeroed. A self-owned source
    /// thus leaves a target whose owner is the source's address: call TakeOwnership or ReleaseOwnership on the target.
    GraphicsBuffer(GraphicsBuffer&& other) noexcept;
    GraphicsBuffer& operator=(GraphicsBuffer&& other) noexcept;
    GraphicsBuffer(const GraphicsBuffer&) = delete;
    GraphicsBuffer& operator=(const GraphicsBuffer&) = delete;

    /// Frees what is held, then allocates; the memory is not cleared. An alignment of 0 stands for 4. The owner stays.
    /// When memory runs out the buffer is empty: data null, size 0.
    void Alloc(uint64_t size, uint64_t alignment);
    /// Keeps the first min(old, new) bytes. Both blocks exist for a moment.
    void Realloc(uint64_t size, uint64_t alignment);
    /// Releases the block whoever the owner is; the owner stays.
    void Free();
    /// Releases the block only when the argument is the owner.
    void SafeFree(const void* owner);
    /// Grows to at least size bytes at the current alignment; never shrinks.
    void GrowTo(uint64_t size);
    void CopyData(const void* source, uint64_t size);

    void TakeOwnership(const void* owner) { m_owner = owner; }
    void ReleaseOwnership() { m_owner = this; }

    void* GetData() const { return m_data; }
    char* GetBytes() const { return static_cast<char*>(m_data); }
    unsigned char* GetUBytes() const { return static_cast<unsigned char*>(m_data); }
    uint64_t GetSize() const { return m_size; }
    uint64_t GetAlignment() const { return m_alignment; }
    const void* GetOwner() const { return m_owner; }
    bool IsEmpty() const { return m_data == nullptr || m_size == 0; }
    /// Asserts when the index is not below the size and gives the reference all the same: stay in range.
    unsigned char& operator[](uint64_t index) const;

    /// Passes the block's address, size and alignment, not the content. When the visitor moves data out, the buffer
    /// gives its block up without freeing it; the object that is rebuilt from the record holds it.
    void Visit(qs::EventVisitor* visitor);

    /// For textures and buffers that are created without initial data. Never give it memory.
    static GraphicsBuffer Empty;

private:
    void Invalidate();

    void* m_data = nullptr;
    uint64_t m_size = 0;
    uint64_t m_alignment = 0;
    const void* m_owner = nullptr;
};

} // namespace gw
