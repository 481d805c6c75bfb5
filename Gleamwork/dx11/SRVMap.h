// The shader views of all owners, found by the owner's handle at every bind.
#pragma once

#include "Gleamwork/dx11/D3D11Structs.h"

#include <qs/Lock.h>

#include <atomic>
#include <cstdint>

namespace api {

/// A chained hash table with a fixed number of buckets, sized for the whole texture population. Values are heap copies
/// that stay where they are until their owner is removed.
///
/// Every bind of every recording thread looks a texture up here, so a look-up writes nothing: it reads a version
/// number, walks, and starts again when the number has changed meanwhile. Writers exclude each other with a lock;
/// writing may nest on the thread that writes, and that thread reads through. Nodes that are taken out are kept for
/// reuse, since a reader may still stand on one.
class SRVMap
{
public:
    static constexpr std::uint32_t BUCKET_COUNT = 16001;

    /// What a bind needs, taken in one piece.
    struct View
    {
        ID3D11ShaderResourceView* whole = nullptr;
        ID3D11ShaderResourceView** slices = nullptr;
        std::int64_t sliceCount = 0;
    };

    SRVMap();
    ~SRVMap();
    SRVMap(const SRVMap&) = delete;
    SRVMap& operator=(const SRVMap&) = delete;

    /// Copies `srv` to the heap. An owner that has an entry asserts, since the views of that entry are forgotten, and
    /// gets the new value. `sliceCount` is the number of slice views.
    void Add(const SRV& srv, qs::ObjectHandle owner, std::int64_t sliceCount);
    /// The owner's views or null. The pointer is good until the owner is removed.
    SRV* Find(qs::ObjectHandle owner) const;
    /// False for an unknown owner. Safe on any thread; what the views point at is the caller's care.
    bool FindView(qs::ObjectHandle owner, View& view) const;
    /// Exchanges the views of two owners that both have an entry; false, and nothing done, when one has none.
    bool Swap(qs::ObjectHandle a, qs::ObjectHandle b);
    /// Drops the entry, not the views, and gives what it held; unassigned and unknown owners give an empty one.
    SRV Take(qs::ObjectHandle owner);
    void Remove(qs::ObjectHandle owner) { Take(owner); }
    /// Calls `visit(SRV&)` on every entry, drops them all and gives their number.
    template <class Visitor>
    std::uint32_t Drain(Visitor visit)
    {
        WriteScope lock(*this);
        std::uint32_t count = 0;
        for (std::uint32_t i = 0; i < BUCKET_COUNT; ++i) {
            while (Node* node = m_buckets[i].load(std::memory_order_relaxed)) {
                visit(*node->srv.load(std::memory_order_relaxed));
                Unlink(m_buckets[i], node);
                ++count;
            }
        }
        return count;
    }

private:
    struct Node
    {
        QS_DECLARE_ALLOC(api::SRVMap::Node)
        std::atomic<std::uint64_t> owner = 0;
        std::atomic<SRV*> srv = nullptr;
        std::atomic<ID3D11ShaderResourceView*> whole = nullptr;
        std::atomic<ID3D11ShaderResourceView**> slices = nullptr;
        std::atomic<std::int64_t> sliceCount = 0;
        std::atomic<Node*> next = nullptr;
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

    using Link = std::atomic<Node*>;

    Link& GetBucket(qs::ObjectHandle owner) const;
    Link* FindLink(qs::ObjectHandle owner) const;
    template <class Reader>
    bool Read(qs::ObjectHandle owner, Reader reader) const;
    static void Publish(Node& node, std::int64_t sliceCount);
    void Unlink(Link& link, Node* node);
    bool IsWriter() const;

    Link* m_buckets;
    Node* m_free = nullptr;                   ///< linked by `next`
    std::atomic<std::uint32_t> m_version = 0; ///< odd while a writer is at work
    mutable qs::SRWSpinLock m_lock;           ///< among writers
    std::atomic<std::uint32_t> m_writer;      ///< thread id of the writer; 0xffffffff: none
    std::int32_t m_depth = 0;                 ///< how deep the writer has entered
};

} // namespace api
