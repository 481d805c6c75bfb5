// The edges of a cloth, each once.
#include "Gleamwork/ClothBuilder.h"

#include <algorithm>
#include <bit>
#include <utility>
#include <vector>

namespace gw::details {
namespace {

// Edges seen so far, by open addressing: the order of the edges themselves is kept outside.
class EdgeTable
{
public:
    // In most meshes two triangles share an edge: half of the slots are used then.
    explicit EdgeTable(std::uint32_t cornerCount) : m_slots(std::bit_ceil(std::size_t(cornerCount) + 1), EMPTY) {}

    // Whether the edge is new. Free of branches on that, which no processor could foresee.
    bool Add(std::int32_t a, std::int32_t b)
    {
        const std::uint32_t key = GetKey(a, b);
        std::uint32_t& slot = Find(key);
        const bool isNew = slot != key;
        slot = key;
        m_used += isNew;
        if (m_used * 4 > m_slots.size() * 3) [[unlikely]] {
            Grow();
        }
        return isNew;
    }

private:
    // A lower number above the higher one: no edge has this key.
    static constexpr std::uint32_t EMPTY = 1u << 16;

    static std::uint32_t GetKey(std::int32_t a, std::int32_t b)
    {
        return std::uint32_t(std::min(a, b)) << 16 | std::uint32_t(std::max(a, b));
    }

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
        const std::vector<std::uint32_t> old = std::exchange(m_slots, std::vector(m_slots.size() * 2, EMPTY));
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
    EdgeTable known(indices.GetSize());
    std::vector<ClothLink> found(indices.GetSize()); // as many as could be
    std::size_t count = 0;
    const auto add = [&](std::int32_t a, std::int32_t b) {
        if (weights[std::uint32_t(a)] > 0.0f || weights[std::uint32_t(b)] > 0.0f) {
            found[count] = {std::min(a, b), std::max(a, b)};
            count += known.Add(a, b);
        }
    };
    for (std::uint32_t i = 0; i < indices.GetSize(); i += 3) {
        add(indices[i], indices[i + 1]);
        add(indices[i + 1], indices[i + 2]);
        add(indices[i], indices[i + 2]);
    }
    links.Realloc(std::uint32_t(count));
    for (std::size_t i = 0; i < count; ++i) {
        links.Add(found[i]);
    }
}

} // namespace gw::details
