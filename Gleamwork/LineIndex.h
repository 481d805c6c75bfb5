// Finds the line of a colour.
#pragma once

#include <cstdint>
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
        return m_slots.empty() ? nullptr : m_slots[Locate(color, lifeTime)].line;
    }
    /// The line must not be null. A key that is there already keeps its line.
    void Add(const Vector4f& color, float lifeTime, Line* line);
    /// Keeps the memory.
    void Clear();

private:
    struct Slot
    {
        Line* line = nullptr; ///< null: free
        float lifeTime = 0.0f;
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
};

} // namespace gw
