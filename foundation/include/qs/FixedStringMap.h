// Chained hash table keyed by interned strings.
#pragma once

#include <cstring>
#include <utility>

#include <qs/FixedString.h>
#include <qs/Log.h>
#include <qs/Types.h>
#include <qs/details/Allocators.h>

namespace qs {

/// Leaves a removed value alone: the map never owns what a pointer value points to.
template <class V>
struct DummyResetFunctor
{
    static void Reset(V&) {}
};

/// Chained hash table from FixedString to V with a fixed bucket count. The bucket of a key is the address of its text
/// modulo the count: interning makes the address a hash. It takes no lock.
template <class Allocator, class ResetFunctor, class V>
class FixedStringMapBase
{
public:
    struct Node
    {
        Node* next;
        FixedString key;
        V value;
    };

    explicit FixedStringMapBase(u32 bucketCount)
    {
        const u64 size = SaturatedSize<Node*>(bucketCount);
        m_buckets =
            bucketCount
                ? static_cast<Node**>(GlobalAllocator::GetInstance()->Malloc(size, __FILE__, __LINE__, QS_FUNCTION))
                : nullptr;
        if (!m_buckets) {
            ReportNoTable();
            return;
        }
        m_bucketCount = bucketCount;
        std::memset(static_cast<void*>(m_buckets), 0, size);
    }
    FixedStringMapBase(const FixedStringMapBase&) = delete;
    FixedStringMapBase& operator=(const FixedStringMapBase&) = delete;
    ~FixedStringMapBase()
    {
        RemoveAll();
        if (m_buckets) {
            GlobalAllocator::GetInstance()->Free(m_buckets);
        }
    }

    /// A known key gets the new value; a new one goes to the head of its bucket.
    void SetAt(const FixedString& key, const V& value)
    {
        if (Node* known = Lookup(key)) {
            known->value = value;
            return;
        }
        if (!m_buckets) {
            ReportNoTable();
            return;
        }
        Node*& head = m_buckets[GetBucket(key)];
        Node* node = Allocator::template Create<Node>(head, key, value);
        if (!node) {
            ReportNoNode();
            return;
        }
        head = node;
        ++m_count;
    }

    /// The node of the key, or null. Valid until the key is removed.
    Node* Lookup(const FixedString& key) const
    {
        Node* node = m_buckets ? m_buckets[GetBucket(key)] : nullptr;
        while (node && !(node->key == key)) {
            node = node->next;
        }
        return node;
    }

    /// False for a key that is not in the map.
    bool RemoveKey(const FixedString& key)
    {
        if (!m_buckets) {
            return false;
        }
        for (Node** link = &m_buckets[GetBucket(key)]; *link; link = &(*link)->next) {
            if ((*link)->key == key) {
                Node* node = *link;
                *link = node->next;
                Release(node);
                return true;
            }
        }
        return false;
    }

    void RemoveAll()
    {
        for (u32 bucket = 0; bucket < m_bucketCount; ++bucket) {
            while (Node* node = m_buckets[bucket]) {
                m_buckets[bucket] = node->next;
                Release(node);
            }
        }
    }

    u32 GetCount() const { return m_count; }
    u32 GetBucketCount() const { return m_bucketCount; }

    /// Walks node by node, in no order that means anything: null behind the last. The node must be in the map.
    Node* GetFirst() const { return FirstFrom(0); }
    Node* GetNext(const Node* node) const { return node->next ? node->next : FirstFrom(GetBucket(node->key) + 1); }

    class Iterator
    {
    public:
        Iterator(const FixedStringMapBase* map, Node* node) : m_map(map), m_node(node) {}
        Node& operator*() const { return *m_node; }
        Node* operator->() const { return m_node; }
        Iterator& operator++()
        {
            m_node = m_map->GetNext(m_node);
            return *this;
        }
        friend bool operator==(const Iterator& a, const Iterator& b) { return a.m_node == b.m_node; }

    private:
        const FixedStringMapBase* m_map;
        Node* m_node;
    };
    Iterator begin() const { return Iterator(this, GetFirst()); }
    Iterator end() const { return Iterator(this, nullptr); }

private:
    u32 GetBucket(const FixedString& key) const
    {
        return static_cast<u32>(reinterpret_cast<std::uintptr_t>(key.ToChar()) % m_bucketCount);
    }

    Node* FirstFrom(u32 bucket) const
    {
        for (; bucket < m_bucketCount; ++bucket) {
            if (m_buckets[bucket]) {
                return m_buckets[bucket];
            }
        }
        return nullptr;
    }

    void Release(Node* node)
    {
        ResetFunctor::Reset(node->value);
        Allocator::Destroy(node);
        --m_count;
    }

    QS_COLD void ReportNoTable() const { QS_HEADER_ASSERT(0, "Hashtable is not valid!"); }
    QS_COLD void ReportNoNode() const { QS_HEADER_ASSERT(0, "New item should not be NULL!"); }

    u32 m_bucketCount = 0;
    Node** m_buckets = nullptr;
    u32 m_count = 0;
};

/// The usual form: nodes from the memory service, values left alone on removal.
template <class V>
using FixedStringMap = FixedStringMapBase<ObjectAllocator, DummyResetFunctor<V>, V>;

} // namespace qs
