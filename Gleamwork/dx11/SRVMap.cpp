// The table of shader views: buckets, versioned reading, the recursive write lock, and the entries.
//
// Every store to what a reader may look at releases, and every load acquires: a reader that saw anything of a change
// also sees the version that the change began with.
#include "Gleamwork/dx11/SRVMap.h"

#include <qs/Log.h>
#include <qs/Thread.h>

#include <new>
#include <thread>
#include <utility>

namespace api {
namespace {

constexpr std::uint32_t NO_WRITER = 0xffffffffu;
/// Steps after which a reader looks at the version again: a walk through changing links may go round in circles.
constexpr int STEPS_BETWEEN_CHECKS = 64;

std::uint32_t CurrentThread()
{
    return qs::Thread::GetCurrentThreadID().GetValue();
}

} // namespace

SRVMap::WriteScope::WriteScope(SRVMap& map) : m_map(map)
{
    if (!m_map.IsWriter()) {
        m_map.m_lock.WriteLock();
        m_map.m_writer.store(CurrentThread(), std::memory_order_relaxed);
        m_map.m_version.fetch_add(1);
    }
    ++m_map.m_depth;
}

SRVMap::WriteScope::~WriteScope()
{
    if (--m_map.m_depth == 0) {
        m_map.m_version.fetch_add(1);
        m_map.m_writer.store(NO_WRITER, std::memory_order_relaxed);
        m_map.m_lock.WriteUnlock();
    }
}

SRVMap::SRVMap() : m_writer(NO_WRITER)
{
    qs::MemoryTrackerSample scope("api::SRVMap");
    constexpr std::size_t BYTES = BUCKET_COUNT * sizeof(Link);
    m_buckets =
        static_cast<Link*>(qs::MemoryManager::Allocate(BYTES, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true));
    for (std::uint32_t i = 0; i < BUCKET_COUNT; ++i) {
        ::new (m_buckets + i) Link(nullptr);
    }
}

SRVMap::~SRVMap()
{
    Drain([](SRV&) {});
    while (Node* node = m_free) {
        m_free = node->next;
        delete node;
    }
    qs::MemoryManager::Deallocate(m_buckets, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
}

// Only the writer itself can read its own id here, so a stale value of another thread never matches.
bool SRVMap::IsWriter() const
{
    return m_writer.load(std::memory_order_relaxed) == CurrentThread();
}

SRVMap::Link& SRVMap::GetBucket(qs::ObjectHandle owner) const
{
    return m_buckets[qs::ObjectHandle::KeyToHashIndex(owner, BUCKET_COUNT)];
}

/// For the writer: the link that holds the owner's node, or the null link at the end of the chain.
SRVMap::Link* SRVMap::FindLink(qs::ObjectHandle owner) const
{
    Link* link = &GetBucket(owner);
    while (Node* node = link->load(std::memory_order_relaxed)) {
        if (node->owner.load(std::memory_order_relaxed) == owner.GetValue()) {
            break;
        }
        link = &node->next;
    }
    return link;
}

/// Runs `reader(const Node&)` on the owner's node, once more for each change that came in between. False when there is
/// no such node.
template <class Reader>
bool SRVMap::Read(qs::ObjectHandle owner, Reader reader) const
{
    const Link& bucket = GetBucket(owner);
    for (;;) {
        const std::uint32_t version = m_version.load();
        const bool isChanging = version & 1;
        if (isChanging && !IsWriter()) [[unlikely]] {
            std::this_thread::yield();
            continue;
        }
        const Node* node = bucket.load(std::memory_order_acquire);
        for (int steps = 1; node && node->owner.load(std::memory_order_acquire) != owner.GetValue(); ++steps) {
            node = node->next.load(std::memory_order_acquire);
            if (steps % STEPS_BETWEEN_CHECKS == 0 && m_version.load(std::memory_order_relaxed) != version) {
                break;
            }
        }
        if (node) {
            reader(*node);
        }
        if (m_version.load(std::memory_order_relaxed) == version) [[likely]] {
            return node != nullptr;
        }
    }
}

/// Puts what binds need beside the links, so that a reader never follows `srv`.
void SRVMap::Publish(Node& node, std::int64_t sliceCount)
{
    const SRV& srv = *node.srv.load(std::memory_order_relaxed);
    node.whole.store(srv.views ? srv.views[0] : nullptr, std::memory_order_release);
    node.slices.store(srv.sliceViews, std::memory_order_release);
    node.sliceCount.store(srv.sliceViews ? sliceCount : 0, std::memory_order_release);
}

void SRVMap::Unlink(Link& link, Node* node)
{
    link.store(node->next.load(std::memory_order_relaxed), std::memory_order_release);
    delete node->srv.load(std::memory_order_relaxed);
    node->srv.store(nullptr, std::memory_order_release);
    node->owner.store(0, std::memory_order_release);
    node->next.store(m_free, std::memory_order_release);
    m_free = node;
}

void SRVMap::Add(const SRV& srv, qs::ObjectHandle owner, std::int64_t sliceCount)
{
    WriteScope lock(*this);
    if (Node* known = FindLink(owner)->load(std::memory_order_relaxed)) {
        QS_LOG_ASSERT("Gleamwork/dx11/SRVMap", "api::D3D11Renderer::AddSRV",
                      "SRV with owner id %llu already exists in map! This will cause a mem leak.",
                      static_cast<unsigned long long>(owner.GetValue()));
        *known->srv.load(std::memory_order_relaxed) = srv;
        Publish(*known, sliceCount);
        return;
    }
    Node* node = m_free ? std::exchange(m_free, m_free->next.load(std::memory_order_relaxed)) : new Node;
    Link& bucket = GetBucket(owner);
    node->srv.store(new SRV(srv), std::memory_order_release);
    node->owner.store(owner.GetValue(), std::memory_order_release);
    node->next.store(bucket.load(std::memory_order_relaxed), std::memory_order_release);
    Publish(*node, sliceCount);
    bucket.store(node, std::memory_order_release);
}

SRV* SRVMap::Find(qs::ObjectHandle owner) const
{
    SRV* srv = nullptr;
    return Read(owner, [&srv](const Node& node) { srv = node.srv.load(std::memory_order_acquire); }) ? srv : nullptr;
}

bool SRVMap::FindView(qs::ObjectHandle owner, View& view) const
{
    return Read(owner, [&view](const Node& node) {
        view.whole = node.whole.load(std::memory_order_acquire);
        view.slices = node.slices.load(std::memory_order_acquire);
        view.sliceCount = node.sliceCount.load(std::memory_order_acquire);
    });
}

bool SRVMap::Swap(qs::ObjectHandle a, qs::ObjectHandle b)
{
    WriteScope lock(*this);
    Node* first = FindLink(a)->load(std::memory_order_relaxed);
    Node* second = FindLink(b)->load(std::memory_order_relaxed);
    if (!first || !second) {
        return false;
    }
    SRV& left = *first->srv.load(std::memory_order_relaxed);
    SRV& right = *second->srv.load(std::memory_order_relaxed);
    std::swap(left, right);
    std::swap(left.handle, right.handle);
    const std::int64_t count = first->sliceCount.load(std::memory_order_relaxed);
    Publish(*first, second->sliceCount.load(std::memory_order_relaxed));
    Publish(*second, count);
    return true;
}

SRV SRVMap::Take(qs::ObjectHandle owner)
{
    if (!owner.IsValid()) {
        return {};
    }
    WriteScope lock(*this);
    Link* link = FindLink(owner);
    Node* node = link->load(std::memory_order_relaxed);
    if (!node) {
        return {};
    }
    const SRV taken = *node->srv.load(std::memory_order_relaxed);
    Unlink(*link, node);
    return taken;
}

} // namespace api
