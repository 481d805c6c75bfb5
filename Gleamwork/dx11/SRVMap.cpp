// The table of shader views: buckets, the recursive write lock, and the entries.
#include "Gleamwork/dx11/SRVMap.h"

#include <qs/Log.h>
#include <qs/Thread.h>

#include <cstring>

namespace api {
namespace {

constexpr std::uint32_t NO_WRITER = 0xffffffffu;

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
    }
    ++m_map.m_depth;
}

SRVMap::WriteScope::~WriteScope()
{
    if (--m_map.m_depth == 0) {
        m_map.m_writer.store(NO_WRITER, std::memory_order_relaxed);
        m_map.m_lock.WriteUnlock();
    }
}

SRVMap::SRVMap() : m_writer(NO_WRITER)
{
    qs::MemoryTrackerSample scope("api::SRVMap");
    constexpr std::size_t BYTES = BUCKET_COUNT * sizeof(Node*);
    m_buckets =
        static_cast<Node**>(qs::MemoryManager::Allocate(BYTES, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true));
    std::memset(m_buckets, 0, BYTES);
}

SRVMap::~SRVMap()
{
    Drain([](SRV&) {});
    qs::MemoryManager::Deallocate(m_buckets, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
}

// Only the writer itself can read its own id here, so a stale value of another thread never matches.
bool SRVMap::IsWriter() const
{
    return m_writer.load(std::memory_order_relaxed) == CurrentThread();
}

SRVMap::Node** SRVMap::FindLink(qs::ObjectHandle owner) const
{
    Node** link = &m_buckets[qs::ObjectHandle::KeyToHashIndex(owner, BUCKET_COUNT)];
    while (*link && !qs::ObjectHandle::IsKeysEqual((*link)->owner, owner)) {
        link = &(*link)->next;
    }
    return link;
}

void SRVMap::FreeNode(Node* node)
{
    delete node->srv;
    delete node;
}

void SRVMap::Add(const SRV& srv, qs::ObjectHandle owner)
{
    WriteScope lock(*this);
    Node** link = FindLink(owner);
    if (*link) {
        QS_LOG_ASSERT("Gleamwork/dx11/SRVMap", "api::D3D11Renderer::AddSRV",
                      "SRV with owner id %llu already exists in map! This will cause a mem leak.",
                      static_cast<unsigned long long>(owner.GetValue()));
        *(*link)->srv = srv;
        return;
    }
    Node* node = new Node;
    node->owner = owner;
    node->srv = new SRV(srv);
    *link = node;
}

SRV* SRVMap::Find(qs::ObjectHandle owner) const
{
    const bool isWriter = IsWriter();
    if (!isWriter) {
        m_lock.ReadLock();
    }
    const Node* node = *FindLink(owner);
    SRV* srv = node ? node->srv : nullptr;
    if (!isWriter) {
        m_lock.ReadUnlock();
    }
    return srv;
}

void SRVMap::Remove(qs::ObjectHandle owner)
{
    if (!owner.IsValid()) {
        return;
    }
    WriteScope lock(*this);
    Node** link = FindLink(owner);
    if (Node* node = *link) {
        *link = node->next;
        FreeNode(node);
    }
}

} // namespace api
