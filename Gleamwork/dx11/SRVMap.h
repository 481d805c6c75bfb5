// The shader views of all owners, found by the owner's handle at every bind.
#pragma once

#include "Gleamwork/dx11/D3D11Structs.h"

#include <qs/Lock.h>

#include <atomic>
#include <cstdint>

namespace api {

/// A chained hash table with a fixed number of buckets, sized for the whole texture population. Values are heap copies
/// that stay where they are until their owner is removed. The lock is shared for look-ups; writing may nest on the
/// thread that writes, and that thread reads through its own lock.
class SRVMap
{
public:
    static constexpr std::uint32_t BUCKET_COUNT = 16001;

    SRVMap();
    ~SRVMap();
    SRVMap(const SRVMap&) = delete;
    SRVMap& operator=(const SRVMap&) = delete;

    /// Copies `srv` to the heap. An owner that has an entry asserts, since the views of that entry are forgotten, and
    /// gets the new value.
    void Add(const SRV& srv, qs::ObjectHandle owner);
    /// The owner's views or null. The pointer is good until the owner is removed.
    SRV* Find(qs::ObjectHandle owner) const;
    /// Drops the entry, not the views; unassigned and unknown owners are ignored.
    void Remove(qs::ObjectHandle owner);
    /// Calls `visit(SRV&)` on every entry, drops them all and gives their number.
    template <class Visitor>
    std::uint32_t Drain(Visitor visit)
    {
        WriteScope lock(*this);
        std::uint32_t count = 0;
        for (std::uint32_t i = 0; i < BUCKET_COUNT; ++i) {
            while (Node* node = m_buckets[i]) {
                m_buckets[i] = node->next;
                visit(*node->srv);
                FreeNode(node);
                ++count;
            }
        }
        return count;
    }

private:
    struct Node
    {
        QS_DECLARE_ALLOC(api::SRVMap::Node)
        qs::ObjectHandle owner;
        SRV* srv = nullptr;
        Node* next = nullptr;
    };

    /// Holds the lock for writing; nests on one thread.
    class WriteScope
    {
    public:
        explicit WriteScope(SRVMap& map);
        ~WriteScope();

    private:
        SRVMap& m_map;
    };

    Node** FindLink(qs::ObjectHandle owner) const;
    bool IsWriter() const;
    static void FreeNode(Node* node);

    Node** m_buckets;
    mutable qs::SRWSpinLock m_lock;
    std::atomic<std::uint32_t> m_writer; ///< thread id of the writer; 0xffffffff: none
    std::int32_t m_depth = 0;            ///< how deep the writer has entered
};

} // namespace api
