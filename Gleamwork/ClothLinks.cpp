// The edges of a cloth, each once.
#include "Gleamwork/ClothBuilder.h"

#include <algorithm>
#include <vector>

namespace gw::details {
namespace {

// Edges seen so far, by open addressing: the order of the edges themselves is kept outside.
class EdgeTable
{
public:
    EdgeTable() : m_slots(1024, EMPTY) {}

    // False when the edge was there.
    bool Add(std::int32_t low, std::int32_t high)
    {
        const std::uint32_t key = std::uint32_t(low) << 16 | std::uint32_t(high);
        std::uint32_t& slot = Find(key);
        if (slot == key) {
            return false;
        }
        slot = key;
        if (++m_used * 2 > m_slots.size()) {
            Grow();
        }
        return true;
    }

private:
    // A lower number above the higher one: no edge has this key.
    static constexpr std::uint32_t EMPTY = 1u << 16;

    std::uint32_t& Find(std::uint32_t key)
    {
        std::size_t i = std::size_t((key * 0x9e3779b97f4a7c15ull) >> 32) & (m_slots.size() - 1);
        while (m_slots[i] != EMPTY && m_slots[i] != key) {
            i = (i + 1) & (m_slots.size() - 1);
        }
        return m_slots[i];
    }

    void Grow()
    {
        const std::vector<std::uint32_t> old = std::exchange(m_slots, std::vector(m_slots.size() * 4, EMPTY));
        for (const std::uint32_t key : old) {
            if (key != EMPTY) {
                Find(key) = key;
            }
        }
    }

    std::vector<std::uint32_t> m_slots;
    std::size_t m_used = 0;
};

} // namespace

void BuildLinks(const qs::PrimitiveArray<std::int32_t>& indices, const qs::PrimitiveArray<float>& weights,
                qs::PrimitiveSet<ClothLink>& links)
{
    EdgeTable known;
    const auto add = [&](std::int32_t a, std::int32_t b) {
        if (weights[std::uint32_t(a)] > 0.0f || weights[std::uint32_t(b)] > 0.0f) {
            const auto [low, high] = std::minmax(a, b);
            if (known.Add(low, high)) {
                links.Add({low, high});
            }
        }
    };
    for (std::uint32_t i = 0; i < indices.GetSize(); i += 3) {
        const std::int32_t a = indices[i];
        const std::int32_t b = indices[i + 1];
        const std::int32_t c = indices[i + 2];
        add(a, b);
        add(b, c);
        add(a, c);
    }
}

} // namespace gw::details
