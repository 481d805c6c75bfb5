// Bodies of ObjectContainer; included by its header only.
#pragma once

#include <qs/details/TypeName.h>

namespace qs {

template <class T>
ObjectContainer<T>::ObjectContainer(u32 pageSize, u32 maxPages)
    : m_PageSize(pageSize ? pageSize : 1), m_MaxPages(pageSize ? maxPages : 0)
{
    const u32 mostPages = (ObjectHandle::MaxIndex + 1) / m_PageSize;
    if (m_MaxPages > mostPages) {
        m_MaxPages = mostPages;
        QS_HEADER_ASSERT(1, "qs::ObjectContainer with page size %u is limited to %u pages", m_PageSize, m_MaxPages);
    }
    const u64 slots = u64(m_PageSize) * m_MaxPages;
    {
        MemoryTrackerSample sample("qs::ObjectContainer<T>::m_Object");
        m_Object = static_cast<T*>(m_ObjectBlock.Reserve(slots * sizeof(T), alignof(T)));
    }
    {
        MemoryTrackerSample sample("qs::ObjectContainer<T>::m_Salt");
        m_Salt = static_cast<Salt*>(m_SaltBlock.Reserve(slots * sizeof(Salt), alignof(Salt)));
    }
    InternalAllocPage();
}

template <class T>
ObjectContainer<T>::~ObjectContainer()
{
    DestroyAll();
}

// Runs in the constructor or with m_GrowLock held.
template <class T>
bool ObjectContainer<T>::InternalAllocPage()
{
    HProfileSample profile(GetPageSampleName());
    const u32 first = m_SlotCount.load(std::memory_order_relaxed);
    if (first / m_PageSize == m_MaxPages) {
        QS_HEADER_ASSERT(1, "qs::ObjectContainer is trying to grow, but no more free pages!!!");
        return false;
    }
    const u32 end = first + m_PageSize;
    {
        MemoryTrackerSample sample("qs::ObjectContainer<T>::m_Object[page]");
        if (!m_ObjectBlock.Grow(u64(end) * sizeof(T))) {
            return false;
        }
    }
    {
        MemoryTrackerSample sample("qs::ObjectContainer<T>::m_Salt[page]");
        if (!m_SaltBlock.Grow(u64(end) * sizeof(Salt))) {
            return false;
        }
    }
    for (u32 index = first; index < end; ++index) {
        ::new (static_cast<void*>(m_Salt + index)) Salt(1);
    }
    // Readers look at salts and elements only below the count.
    m_SlotCount.store(end, std::memory_order_release);
    for (u32 index = first; index < end; ++index) {
        PushFree(index);
    }
    return true;
}

template <class T>
void ObjectContainer<T>::PushFree(u32 index)
{
    CSLock lock(m_FreeLock);
    if (!m_FreeIndices.Push(index)) {
        QS_HEADER_ASSERT(1, "qs::ObjectContainer has no memory to keep free slot %u", index);
    }
}

template <class T>
ObjectHandle ObjectContainer<T>::Create()
{
    for (;;) {
        if (m_FreeIndices.GetCount() != 0) {
            CSLock lock(m_FreeLock);
            if (m_FreeIndices.GetCount() != 0) {
                const u32 index = m_FreeIndices.Pop();
                return ObjectHandle(s_typeIndex, index, m_Salt[index].load(std::memory_order_relaxed));
            }
        }
        // Another thread that grows the container makes this one try again until there are slots.
        if (!m_GrowLock.TryLock()) {
            continue;
        }
        // A thread that just grew it may have left slots since the count was looked at.
        const bool grown = m_FreeIndices.GetCount() != 0 || InternalAllocPage();
        m_GrowLock.Unlock();
        if (!grown) {
            return ObjectHandle::Unassigned;
        }
    }
}

template <class T>
T* ObjectContainer<T>::Add(const T& value, ObjectHandle& handle)
{
    const ObjectHandle created = Create();
    handle = created;
    if (!created.IsValid()) {
        return nullptr;
    }
    T* element = m_Object + created.GetIndex();
    ::new (static_cast<void*>(element)) T(value);
    using Member = std::remove_reference_t<decltype(ObjectHandleMember<T>::Get(*element))>;
    ObjectHandleMember<T>::Get(*element) = Member(created);
    EnterWrite();
    m_Live.Add(element);
    LeaveWrite();
    return element;
}

template <class T>
bool ObjectContainer<T>::CheckRange(const ObjectHandle& handle) const
{
    if (handle.GetIndex() >= m_SlotCount.load(std::memory_order_acquire)) [[unlikely]] {
        ReportBounds(handle.GetIndex());
        return false;
    }
    return true;
}

template <class T>
bool ObjectContainer<T>::IsAlive(const ObjectHandle& handle) const
{
    return handle.IsValid() && CheckRange(handle) &&
           m_Salt[handle.GetIndex()].load(std::memory_order_relaxed) == handle.GetSalt();
}

template <class T>
bool ObjectContainer<T>::Destroy(const ObjectHandle& handle)
{
    if (!handle.IsValid() || !CheckRange(handle)) {
        return false;
    }
    // The exchange makes one of several threads that destroy one handle the winner.
    const u32 index = handle.GetIndex();
    u32 salt = handle.GetSalt();
    if (!m_Salt[index].compare_exchange_strong(salt, salt + 1, std::memory_order_acq_rel)) {
        return false;
    }
    EnterWrite();
    const i64 position = m_Live.Find(m_Object + index);
    if (position >= 0) {
        m_Live.RemoveAt(static_cast<u32>(position));
    }
    LeaveWrite();
    PushFree(index);
    return true;
}

template <class T>
void ObjectContainer<T>::DestroyAll()
{
    EnterWrite();
    while (!m_Live.IsEmpty()) {
        T* element = m_Live[0];
        const ObjectHandle handle(ObjectHandleMember<T>::Get(*element));
        if (!Destroy(handle)) {
            // The element's own handle was overwritten; dropping the entry keeps the walk finite.
            m_Live.RemoveAt(0);
        }
    }
    LeaveWrite();
}

template <class T>
void ObjectContainer<T>::EnterWrite() const
{
    const u32 thread = Thread::GetCurrentThreadID().GetValue();
    if (m_LiveOwner.load(std::memory_order_relaxed) != thread) {
        m_LiveLock.WriteLock();
        m_LiveOwner.store(thread, std::memory_order_relaxed);
    }
    ++m_LiveDepth;
}

template <class T>
void ObjectContainer<T>::LeaveWrite() const
{
    if (--m_LiveDepth == 0) {
        m_LiveOwner.store(NoThread, std::memory_order_relaxed);
        m_LiveLock.WriteUnlock();
    }
}

template <class T>
void ObjectContainer<T>::EnterRead() const
{
    if (m_LiveOwner.load(std::memory_order_relaxed) != Thread::GetCurrentThreadID().GetValue()) {
        m_LiveLock.ReadLock();
    }
}

template <class T>
void ObjectContainer<T>::LeaveRead() const
{
    if (m_LiveOwner.load(std::memory_order_relaxed) != Thread::GetCurrentThreadID().GetValue()) {
        m_LiveLock.ReadUnlock();
    }
}

template <class T>
T* ObjectContainer<T>::GetLiveAt(u32 position) const
{
    EnterRead();
    T* element = position < m_Live.GetSize() ? m_Live[position] : nullptr;
    LeaveRead();
    return element;
}

template <class T>
u32 ObjectContainer<T>::GetLiveCount() const
{
    EnterRead();
    const u32 count = m_Live.GetSize();
    LeaveRead();
    return count;
}

template <class T>
template <class Step>
void ObjectContainer<T>::ForEachLive(Step&& step) const
{
    EnterRead();
    for (T* element : m_Live) {
        step(*element);
    }
    LeaveRead();
}

template <class T>
template <class Request, class Match>
T* ObjectContainer<T>::FindLiveNolock(const Request& request, Match& match) const
{
    for (T* element : m_Live) {
        if (match(static_cast<const T&>(*element), request)) {
            return element;
        }
    }
    return nullptr;
}

template <class T>
template <class Request, class Match, class Initialise>
ObjectHandle ObjectContainer<T>::FindOrAdd(const Request& request, Match&& match, Initialise&& initialise,
                                           ObjectHandle& handle)
{
    EnterRead();
    T* found = FindLiveNolock(request, match);
    handle = found ? ObjectHandle(ObjectHandleMember<T>::Get(*found)) : ObjectHandle::Unassigned;
    LeaveRead();
    if (found) {
        return handle;
    }
    EnterWrite();
    // Another thread may have added the same record between the two locks.
    found = FindLiveNolock(request, match);
    if (found) {
        handle = ObjectHandle(ObjectHandleMember<T>::Get(*found));
    } else if (T* added = Add(T(), handle)) {
        initialise(*added, request);
        handle = ObjectHandle(ObjectHandleMember<T>::Get(*added));
    }
    LeaveWrite();
    return handle;
}

template <class T>
const char* ObjectContainer<T>::GetTypeName()
{
    return ObjectTypeManager::GetInstance()->GetObjectTypeNames()->GetAt(s_typeIndex).ToChar();
}

template <class T>
const char* ObjectContainer<T>::GetPageSampleName()
{
    static const auto name = details::ComposeTypeName<T>("qs::ObjectContainer<struct ", ">::InternalAllocPage");
    return name.text;
}

template <class T>
QS_COLD void ObjectContainer<T>::ReportBounds(u32 index) const
{
    QS_HEADER_ASSERT(1,
                     "Get out of bound on ObjectContainer (%s) @ index %u : \n\n* handle has index %u page %u\n* "
                     "factory has max index %u page %u",
                     GetTypeName(), index, index % m_PageSize, index / m_PageSize, m_PageSize, GetPageCount());
}

// Says why a Get failed; an unassigned handle is no failure.
template <class T>
QS_COLD void ObjectContainer<T>::ReportGet(const ObjectHandle& handle) const
{
    if (!handle.IsValid() || !CheckRange(handle)) {
        return;
    }
    QS_HEADER_ASSERT(1,
                     "Salt miss on ObjectContainer (%s) @ index %u : \n\n* handle has salt %u \n* factory(real) salt "
                     "is %u",
                     GetTypeName(), handle.GetIndex(), handle.GetSalt(),
                     m_Salt[handle.GetIndex()].load(std::memory_order_relaxed));
}

} // namespace qs
