// Events and the lists of their listeners.
#include <qs/Event.h>

#include <algorithm>

#include <qs/Log.h>

namespace qs {

uint16_t Event::GetEventID() const
{
    return 0;
}

EventListenerBase::EventListenerBase() = default;
EventListenerBase::~EventListenerBase() = default;

EventManager::EventManager(EventVisitor* visitor) : m_visitor(visitor) {}

EventManager::~EventManager()
{
    delete m_visitor;
}

void EventManager::RegisterListener(EventListenerBase* listener)
{
    CSLock lock(m_lock);
    const bool known = std::find(m_listeners.begin(), m_listeners.end(), listener) != m_listeners.end();
    if (!listener || known) {
        QS_LOG_ASSERT("foundation/Event", "qs::EventManager::RegisterListener", "%s",
                      listener ? "The listener is registered already" : "A null listener is registered");
        return;
    }
    m_listeners.push_back(listener);
}

void EventManager::UnregisterListener(EventListenerBase* listener)
{
    CSLock lock(m_lock);
    const auto found = std::find(m_listeners.begin(), m_listeners.end(), listener);
    if (found == m_listeners.end()) {
        QS_LOG_ASSERT("foundation/Event", "qs::EventManager::UnregisterListener", "The listener is not registered");
        return;
    }
    m_listeners.erase(found);
}

void EventManager::RegisterCallbacks() {}

void EventManager::UnregisterCallbacks() {}

uint64_t EventManager::GetAmountOfListeners() const
{
    CSLock lock(m_lock);
    return m_listeners.size();
}

EventListenerBase* EventManager::GetListener(uint64_t index) const
{
    CSLock lock(m_lock);
    return index < m_listeners.size() ? m_listeners[index] : nullptr;
}

} // namespace qs
