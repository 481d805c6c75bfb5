// Finds the line of a colour.
#pragma once

#include <cstdint>
#include <cstring>
#include <limits>
#include <qs/Math.h>
#include <vector>

namespace gw {

class Line;

/// A hash table from colour and life time to a line, with open addressing and linear probing. Keys are compared as
/// floats are: -0 and 0 are one key, and a key with a value that is not a number is never found. Lines are not owned.
/// Not thread-safe, also for reading.
class LineIndex
{
public:
    Line* Find(const Vector4f& color, float lifeTime) const
    {
        if (m_slots.empty()) {
            return nullptr;
        }
        // Equal bits are enough: no key that is stored differs from itself.
        const Slot& last = m_slots[m_last];
        if (std::memcmp(&last.color, &color, sizeof(color)) != 0 || last.lifeTime != lifeTime) {
            m_last = Locate(color, lifeTime);
        }
        return m_slots[m_last].line;
    }
    /// The line must not be null. A key that is there already keeps its line.
    void Add(const Vector4f& color, float lifeTime, Line* line);
    /// Keeps the memory.
    void Clear();

private:
    struct Slot
    {
        Line* line = nullptr;                                     ///< null: free
        float lifeTime = std::numeric_limits<float>::quiet_NaN(); ///< of a free slot: equals nothing
        Vector4f color;
        bool Is(const Vector4f& otherColor, float otherLifeTime) const
        {
            return color == otherColor && lifeTime == otherLifeTime;
        }
    };

    /// The slot of the key, or the free one where it would go. There is always a free one.
    std::size_t Locate(const Vector4f& color, float lifeTime) const;
    void Grow();

    std::vector<Slot> m_slots; ///< none, or a power of two
    std::size_t m_count = 0;
    mutable std::size_t m_last = 0; ///< found last: shapes mostly come in runs of one colour
};

} // namespace gw
