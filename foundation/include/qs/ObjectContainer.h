// Paged, salted object store.
#pragma once

#include <atomic>
#include <cstring>
#include <new>
#include <utility>

#include <qs/Lock.h>
#include <qs/Log.h>
#include <qs/Memory.h>
#include <qs/ObjectHandle.h>
#include <qs/ObjectTypeManager.h>
#include <qs/Profile.h>
#include <qs/Set.h>
#include <qs/Thread.h>
#include <qs/details/IndexRing.h>
#include <qs/details/PagedBlock.h>

namespace qs {

/// Finds the handle that an element keeps of itself: a member `handle` or `m_Handle`. Specialise it for elements that
/// keep it elsewhere.
template <class T>
struct ObjectHandleMember
{
    static auto& Get(T& element)
    {
        if constexpr (requires { element.handle; }) {
            return element.handle;
        } else {
            return element.m_Handle;
        }
    }
};

/// Hands out handles instead of pointers. An element never moves, memory is only added until the container dies, and a
/// stale handle is found out by its salt: each slot has a counter, the handle carries a copy of it, and destroying the
/// object raises the counter.
///
/// Element memory is raw: `Add` copy-constructs in place, nothing is constructed by `Create`, and `Destroy` runs no
/// destructor, so whoever calls it has released what the element owns. A pointer from `Get` stays valid as memory for
/// the container's life, though not as an object.
///
/// Any thread may call any operation. `Get` and `IsAlive` take no lock.
///
/// A slot number is the page number times the page size plus the slot within the page. A container has at most
/// ObjectHandle::MaxIndex + 1 slots.
template <class T>
class QS_TEMPLATE_API ObjectContainer
{
public:
    ObjectContainer(u32 pageSize, u32 maxPages);
    ~ObjectContainer();
    ObjectContainer(const ObjectContainer&) = delete;
    ObjectContainer& operator=(const ObjectContainer&) = delete;

    /// The index that ObjectTypeManager gave for T's name. It is stamped into new handles and names T in messages.
    /// One value per T in the process, provided that T is an exported type where several libraries use it.
    static void SetTypeIndex(u32 index) { s_typeIndex = index; }
    static u32 GetTypeIndex() { return s_typeIndex; }

    /// Reserves a slot. It is good for Get and IsAlive, holds no object, and is not among the live elements.
    ObjectHandle Create();
    /// Reserves a slot, copies `value` into it, and makes it live. Null, with `handle` Unassigned, when all slots are
    /// taken.
    T* Add(const T& value, ObjectHandle& handle);

    /// The element's address. Null for an unassigned handle, in silence; for a stale handle and one from elsewhere
    /// that lies outside the pages, with an assertion.
    T* Get(const ObjectHandle& handle) const
    {
        const u32 index = handle.GetIndex();
        // An unassigned handle has salt 0, which no slot has, so it needs no test of its own here.
        if (index < m_SlotCount.load(std::memory_order_acquire) &&
            m_Salt[index].load(std::memory_order_relaxed) == handle.GetSalt()) [[likely]] {
            return m_Object + index;
        }
        ReportGet(handle);
        return nullptr;
    }

    /// Like Get, except that a stale handle makes no message.
    bool IsAlive(const ObjectHandle& handle) const;

    /// Makes every copy of the handle stale and the slot free. False for handles that are stale already.
    bool Destroy(const ObjectHandle& handle);
    void DestroyAll();

    /// The live element at a position, or null. Positions change with every Destroy.
    T* GetLiveAt(u32 position) const;
    u32 GetLiveCount() const;

    /// Runs `step(T&)` on every live element. A thread may call back into the container from it, except to add or
    /// destroy elements.
    template <class Step>
    void ForEachLive(Step&& step) const;

    /// Gives the live element for which `match(const T&, const Request&)` is true. Without one it adds a
    /// default-constructed element and runs `initialise(T&, const Request&)` on it before any other thread can find
    /// it. Equal requests of several threads end with one element. The handle is both result and `handle`.
    template <class Request, class Match, class Initialise>
    ObjectHandle FindOrAdd(const Request& request, Match&& match, Initialise&& initialise, ObjectHandle& handle);

    /// Entering for writing nests on one thread; a thread that holds the write side reads through it. For callers that
    /// need several operations as one.
    void EnterWrite() const;
    void LeaveWrite() const;
    void EnterRead() const;
    void LeaveRead() const;

    u32 GetPageSize() const { return m_PageSize; }
    u32 GetPageCount() const { return m_SlotCount.load(std::memory_order_acquire) / m_PageSize; }
    u32 GetMaxPages() const { return m_MaxPages; }

private:
    static constexpr u32 NoThread = 0xffffffffu;
    using Salt = std::atomic<u32>;
    static_assert(sizeof(Salt) == sizeof(u32));

    bool InternalAllocPage();
    bool CheckRange(const ObjectHandle& handle) const;
    template <class Request, class Match>
    T* FindLiveNolock(const Request& request, Match& match) const;
    void PushFree(u32 index);

    static const char* GetTypeName();
    static const char* GetPageSampleName();
    void ReportGet(const ObjectHandle& handle) const;
    void ReportBounds(u32 index) const;

    static inline u32 s_typeIndex = 0;

    // Room for all pages, taken from the address space at once and from memory page by page. So a page needs no table
    // entry, and a slot number is an index.
    T* m_Object;
    Salt* m_Salt;
    u32 m_PageSize;
    details::IndexRing m_FreeIndices;
    mutable CriticalSection m_FreeLock;
    mutable SRWSpinLock m_LiveLock;
    mutable std::atomic<u32> m_LiveOwner{NoThread};
    mutable i32 m_LiveDepth = 0;
    PrimitiveSet<T*> m_Live;
    CriticalSection m_GrowLock;
    std::atomic<u32> m_SlotCount{0}; // of the pages allocated so far
    u32 m_MaxPages;
    details::PagedBlock m_ObjectBlock;
    details::PagedBlock m_SaltBlock;
};

} // namespace qs

#include <qs/details/ObjectContainer.inl>
