// Events, their listeners, and the visitor that records and restores fields.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <qs/Export.h>
#include <qs/FixedString.h>
#include <qs/Lock.h>
#include <qs/MemView.h>
#include <qs/Memory.h>
#include <qs/ObjectHandle.h>
#include <qs/ScratchMemory.h>
#include <qs/Singleton.h>

namespace qs {

/// Carries the fields of an object into bytes or back out of them. One operation serves both directions, so that an
/// object lists its fields once: `visitor->Visit(m_width)` appends the field when recording and sets it when reading.
///
/// Fields stand behind each other without padding in the machine's byte order. A FixedString and a ScratchBuffer carry
/// their content. What a visited object owns through an address (a pixel block, say) travels as that address; when
/// IsMovingOut is true the object then gives the block up, and the object restored from the record holds it.
///
/// Reading past the end of a record, or a record that does not hold what is asked for, sets the field to its zero value
/// and HasFailed to true from then on; nothing is read outside the record. A visitor is used on one thread at a time.
class QS_API EventVisitor
{
public:
    QS_DECLARE_ALLOC(qs::EventVisitor)

    /// `reserve`: bytes of record to make room for in advance; 0 for none.
    explicit EventVisitor(uint64_t reserve);
    virtual ~EventVisitor();
    EventVisitor(const EventVisitor&) = delete;
    EventVisitor& operator=(const EventVisitor&) = delete;

    void Visit(bool& value);
    void Visit(ObjectHandle& value);
    void Visit(ScratchBuffer& value);
    void Visit(FixedString& value);
    void Visit(int& value);
    void Visit(int64_t& value);
    void Visit(unsigned int& value);
    void Visit(uint64_t& value);
    void Visit(unsigned short& value);
    void Visit(unsigned char& value);
    void Visit(float& value);

    /// Starts an empty record. `moveOut`: visited objects give up what they own.
    void BeginRecording(bool moveOut);
    /// Starts reading `record`, which has to outlive the reading.
    void BeginReading(const MemView<const unsigned char>& record);
    /// Neither records nor reads behind it: Visit asserts and leaves the field alone. The record stays.
    void End();

    bool IsRecording() const { return m_mode == MODE_RECORD; }
    bool IsReading() const { return m_mode == MODE_READ; }
    /// Not false exactly while the visitor moves data out of the visited object.
    bool IsMovingOut() const { return m_movingOut; }
    bool HasFailed() const { return m_failed; }
    /// Reading: every byte of the record was taken and nothing failed.
    bool IsComplete() const { return !m_failed && m_position == m_readSize; }
    /// What was recorded since BeginRecording.
    MemView<const unsigned char> GetRecord() const;

private:
    enum EMode : uint8_t
    {
        MODE_NONE,
        MODE_RECORD,
        MODE_READ
    };

    void VisitBytes(void* value, uint64_t size);
    void Append(const void* bytes, uint64_t size);
    bool Grow(uint64_t capacity);
    const unsigned char* Take(uint64_t size);

    static constexpr uint64_t INLINE_BYTES = 192;

    EMode m_mode = MODE_NONE;
    bool m_movingOut = false;
    bool m_failed = false;
    unsigned char* m_data; ///< m_inline, or a larger block
    uint64_t m_capacity = INLINE_BYTES;
    uint64_t m_size = 0;
    const unsigned char* m_read = nullptr;
    uint64_t m_readSize = 0;
    uint64_t m_position = 0;
    unsigned char m_inline[INLINE_BYTES];
};

/// The visitor of events that belong to the game rather than to a library.
class QS_API GameEventVisitor : public EventVisitor
{
public:
    QS_DECLARE_ALLOC(qs::GameEventVisitor)

    explicit GameEventVisitor(uint64_t reserve);
    ~GameEventVisitor() override;
};

/// Something that happened. Events are made on the stack and handed to listeners by their manager.
class QS_API Event
{
protected:
    Event() = default;
    Event(const Event&) = default;
    Event& operator=(const Event&) = default;
    ~Event() = default;

    /// Tells deferred events of one manager apart; 0 for events that are only ever run directly.
    virtual uint16_t GetEventID() const;

public:
    /// Records or restores the fields of a deferred event.
    virtual void OnVisit(EventVisitor* visitor) = 0;
};

/// What an EventManager knows of a listener: a lock that keeps the listener's own work out while others hold it. It has
/// no virtual operations; a manager converts the pointer to its listener class by static_cast.
class QS_API EventListenerBase
{
public:
    /// Recursive. A manager that must keep the listener's work out over several calls holds it meanwhile.
    CriticalSection& GetLock() { return m_lock; }

protected:
    EventListenerBase();
    ~EventListenerBase();
    EventListenerBase(const EventListenerBase&) = delete;
    EventListenerBase& operator=(const EventListenerBase&) = delete;

private:
    CriticalSection m_lock;
};

/// The listeners of one kind of events. Every operation may be called from every thread; whoever walks the listeners
/// holds m_lock. Listeners are called on the thread that executes the event.
class QS_API EventManager
{
public:
    /// Takes `visitor`, which was made with new, and deletes it at the end; null is accepted.
    explicit EventManager(EventVisitor* visitor);
    virtual ~EventManager();
    EventManager(const EventManager&) = delete;
    EventManager& operator=(const EventManager&) = delete;

    /// Adds a listener behind those already there. Null, or one that is registered already, asserts and adds nothing.
    virtual void RegisterListener(EventListenerBase* listener);
    /// Removes a listener; the order of the others stays. One that is not registered asserts.
    virtual void UnregisterListener(EventListenerBase* listener);
    /// Places for a derived manager to connect and disconnect what makes its events; empty here.
    virtual void RegisterCallbacks();
    virtual void UnregisterCallbacks();

    uint64_t GetAmountOfListeners() const;
    /// Listeners stand in the order of their registration. Null when `index` is not below the amount.
    EventListenerBase* GetListener(uint64_t index) const;

protected:
    EventVisitor* GetVisitor() const { return m_visitor; }

    mutable CriticalSection m_lock;

private:
    EventVisitor* m_visitor;
    std::vector<EventListenerBase*> m_listeners;
};

/// Base of listeners of the manager class Manager: registers itself with the manager's singleton for as long as it
/// lives. Without a singleton it stays unregistered. A listener must not come or go inside a call on all listeners.
template <class Manager>
class EventListener : public EventListenerBase
{
public:
    EventListener()
    {
        if (Manager* manager = Singleton<Manager>::GetInstance()) {
            manager->RegisterListener(this);
            m_registered = true;
        }
    }
    virtual ~EventListener()
    {
        Manager* manager = Singleton<Manager>::GetInstance();
        if (m_registered && manager) {
            manager->UnregisterListener(this);
        }
    }

private:
    bool m_registered = false;
};

} // namespace qs
