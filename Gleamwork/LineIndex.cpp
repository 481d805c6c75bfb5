// Finds the line of a colour.
#include "Gleamwork/LineIndex.h"

#include <algorithm>
#include <bit>

namespace gw {
namespace {

std::uint64_t Bits(float a, float b)
{
    // Adding 0 makes the two zeros one.
    return std::uint64_t(std::bit_cast<std::uint32_t>(a + 0.0f)) << 32 | std::bit_cast<std::uint32_t>(b + 0.0f);
}

// Multiplies by odd constants (of the golden ratio and of the root of 3) and folds the high half down, where the
// differences of neighbouring floats end up.
std::uint64_t Hash(const Vector4f& color, float lifeTime)
{
    std::uint64_t hash = Bits(color.x, color.y) * 0x9e3779b97f4a7c15u;
    hash = ((hash ^ hash >> 32) + Bits(color.z, color.w)) * 0xbb67ae8584caa73bu;
    hash = ((hash ^ hash >> 32) + Bits(lifeTime, 0.0f)) * 0x9e3779b97f4a7c15u;
    return hash ^ hash >> 32;
}

} // namespace

std::size_t LineIndex::Locate(const Vector4f& color, float lifeTime) const
{
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = Hash(color, lifeTime) & mask;
    while (m_slots[slot].line && !m_slots[slot].Is(color, lifeTime)) {
        slot = (slot + 1) & mask;
    }
    return slot;
}

void LineIndex::Add(const Vector4f& color, float lifeTime, Line* line)
{
    // What equals nothing would only lengthen the probes of its neighbours.
    if (color != color || lifeTime != lifeTime) {
        return;
    }
    if (2 * (m_count + 1) > m_slots.size()) {
        Grow();
    }
    if (Slot& slot = m_slots[Locate(color, lifeTime)]; !slot.line) {
        slot = {line, lifeTime, color};
        ++m_count;
    }
}

void LineIndex::Clear()
{
    if (m_count != 0) {
        std::fill(m_slots.begin(), m_slots.end(), Slot());
        m_count = 0;
    }
}

void LineIndex::Grow()
{
    std::vector<Slot> old(std::max<std::size_t>(16, 2 * m_slots.size()));
    old.swap(m_slots);
    for (const Slot& slot : old) {
        if (slot.line) {
            m_slots[Locate(slot.color, slot.lifeTime)] = slot;
        }
    }
}

} // namespace gw
