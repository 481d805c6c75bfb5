// Bodies of ObjectContainer; included by its header only.
#pragma once

#include <qs/details/TypeName.h>

namespace qs {

template <class T>
ObjectContainer<T>::ObjectContainer(u32 pageSize, u32 maxPages)
    : m_PageSize(pageSize ? pageSize : 1), m_MaxPages(pageSize ? maxPages : 0),
      m_PageReciprocal(~u64(0) / m_PageSize + 1)
{
    if (u64(m_PageSize) * m_MaxPages > u64(ObjectHandle::MaxIndex) + 1) {
        m_MaxPages = (ObjectHandle::MaxIndex + 1) / m_PageSize;
        QS_HEADER_ASSERT(1, "qs::ObjectContainer with page size %u is limited to %u pages", m_PageSize, m_MaxPages);
    }
    m_Object = AllocateTable<T*>(m_MaxPages, "qs::ObjectContainer<T>::m_Object");
    m_Salt = AllocateTable<Salt*>(m_MaxPages, "qs::ObjectContainer<T>::m_Salt");
    if (!m_Object || !m_Salt) {
        m_MaxPages = 0;
    }
    InternalAllocPage();
}

template <class T>
ObjectContainer<T>::~ObjectContainer()
{
    DestroyAll();
    for (u32 page = 0; page < m_MaxPages; ++page) {
        MemoryManager::Deallocate(m_Object[page], AllocType::FreeRaw, DefaultMemoryTag, true);
        MemoryManager::Deallocate(m_Salt[page], AllocType::FreeRaw, DefaultMemoryTag, true);
    }
    MemoryManager::Deallocate(m_Object, AllocType::FreeRaw, DefaultMemoryTag, true);
    MemoryManager::Deallocate(m_Salt, AllocType::FreeRaw, DefaultMemoryTag, true);
}

template <class T>
template <class Pointer>
Pointer* ObjectContainer<T>::AllocateTable(u32 count, const char* scope)
{
    MemoryTrackerSample sample(scope);
    const u64 size = u64(count) * sizeof(Pointer);
    void* table = MemoryManager::Allocate(size, AllocType::Raw, DefaultMemoryTag, 0, true);
    if (table) {
        std::memset(table, 0, size);
    }
    return static_cast<Pointer*>(table);
}

// Runs in the constructor or with m_GrowLock held.
template <class T>
bool ObjectContainer<T>::InternalAllocPage()
{
    HProfileSample profile(GetPageSampleName());
    const u32 page = m_PageCount.load(std::memory_order_relaxed);
    if (page == m_MaxPages) {
        QS_HEADER_ASSERT(1, "qs::ObjectContainer is trying to grow, but no more free pages!!!");
        return false;
    }
    constexpr u64 alignment = alignof(T) > 16 ? alignof(T) : 0;
    void* objects;
    void* salts;
    {
        MemoryTrackerSample sample("qs::ObjectContainer<T>::m_Object[page]");
        objects =
            MemoryManager::Allocate(u64(m_PageSize) * sizeof(T), AllocType::Raw, DefaultMemoryTag, alignment, true);
    }
    {
        MemoryTrackerSample sample("qs::ObjectContainer<T>::m_Salt[page]");
        salts = MemoryManager::Allocate(u64(m_PageSize) * sizeof(Salt), AllocType::Raw, DefaultMemoryTag, 0, true);
    }
    if (!objects || !salts) {
        MemoryManager::Deallocate(objects, AllocType::FreeRaw, DefaultMemoryTag, true);
        MemoryManager::Deallocate(salts, AllocType::FreeRaw, DefaultMemoryTag, true);
        return false;
    }
    m_Object[page] = static_cast<T*>(objects);
    m_Salt[page] = static_cast<Salt*>(salts);
    for (u32 slot = 0; slot < m_PageSize; ++slot) {
        ::new (static_cast<void*>(m_Salt[page] + slot)) Salt(1);
    }
    // Readers look at the tables only below the count.
    m_PageCount.store(page + 1, std::memory_order_release);
    for (u32 slot = 0; slot < m_PageSize; ++slot) {
        PushFree(slot + m_PageSize * page);
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
                const u32 page = GetPage(index);
                const u32 salt = GetSalt(page, index - page * m_PageSize).load(std::memory_order_relaxed);
                return ObjectHandle(s_typeIndex, index, salt);
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
    const u32 page = GetPage(created.GetIndex());
    T* element = m_Object[page] + (created.GetIndex() - page * m_PageSize);
    ::new (static_cast<void*>(element)) T(value);
    using Member = std::remove_reference_t<decltype(ObjectHandleMember<T>::Get(*element))>;
    ObjectHandleMember<T>::Get(*element) = Member(created);
    EnterWrite();
    m_Live.Add(element);
    LeaveWrite();
    return element;
}

template <class T>
bool ObjectContainer<T>::CheckRange(const ObjectHandle& handle, u32& page, u32& slot) const
{
    page = GetPage(handle.GetIndex());
    slot = handle.GetIndex() - page * m_PageSize;
    if (page >= m_PageCount.load(std::memory_order_acquire)) [[unlikely]] {
        ReportBounds(handle.GetIndex(), page, slot);
        return false;
    }
    return true;
}

template <class T>
bool ObjectContainer<T>::IsAlive(const ObjectHandle& handle) const
{
    u32 page;
    u32 slot;
    return handle.IsValid() && CheckRange(handle, page, slot) &&
           GetSalt(page, slot).load(std::memory_order_relaxed) == handle.GetSalt();
}

template <class T>
bool ObjectContainer<T>::Destroy(const ObjectHandle& handle)
{
    u32 page;
    u32 slot;
    if (!handle.IsValid() || !CheckRange(handle, page, slot)) {
        return false;
    }
    // The exchange makes one of several threads that destroy one handle the winner.
    const u32 index = handle.GetIndex();
    u32 salt = handle.GetSalt();
    if (!GetSalt(page, slot).compare_exchange_strong(salt, salt + 1, std::memory_order_acq_rel)) {
        return false;
    }
    EnterWrite();
    const i64 position = m_Live.Find(m_Object[page] + slot);
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
QS_COLD void ObjectContainer<T>::ReportBounds(u32 index, u32 page, u32 slot) const
{
    QS_HEADER_ASSERT(1,
                     "Get out of bound on ObjectContainer (%s) @ index %u : \n\n* handle has index %u page %u\n* "
                     "factory has max index %u page %u",
                     GetTypeName(), index, slot, page, m_PageSize, GetPageCount());
}

template <class T>
QS_COLD void ObjectContainer<T>::ReportSalt(const ObjectHandle& handle, u32 page, u32 slot) const
{
    QS_HEADER_ASSERT(1,
                     "Salt miss on ObjectContainer (%s) @ index %u : \n\n* handle has salt %u \n* factory(real) salt "
                     "is %u",
                     GetTypeName(), handle.GetIndex(), handle.GetSalt(),
                     GetSalt(page, slot).load(std::memory_order_relaxed));
}

} // namespace qs
