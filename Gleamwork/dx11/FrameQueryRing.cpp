// The queue of frames in flight.
#include "Gleamwork/dx11/D3D11PerformanceTracker.h"

namespace api {

FrameQueryRing::FrameQueryRing() : m_storage(new FrameQuery*[1]) {}

FrameQueryRing::~FrameQueryRing()
{
    delete[] m_storage;
}

void FrameQueryRing::Push(FrameQuery* frame)
{
    if (m_count == m_capacity) {
        Grow();
    }
    if (m_count == 0) {
        m_front = 0;
        m_back = 0;
    }
    m_storage[m_back] = frame;
    m_back = (m_back + 1) % m_capacity;
    ++m_count;
}

/// Brings the frames to the start of twice the storage, in their order.
void FrameQueryRing::Grow()
{
    FrameQuery** larger = new FrameQuery*[m_capacity * 2];
    for (std::uint32_t i = 0; i < m_count; ++i) {
        larger[i] = m_storage[(static_cast<std::uint32_t>(m_front) + i) % m_capacity];
    }
    delete[] m_storage;
    m_storage = larger;
    m_capacity *= 2;
    m_front = 0;
    m_back = m_count;
}

void FrameQueryRing::Pop()
{
    --m_count;
    m_front = static_cast<std::int32_t>((static_cast<std::uint32_t>(m_front) + 1) % m_capacity);
    if (m_count == 0) {
        m_front = -1;
        m_back = 0;
    }
}

} // namespace api
