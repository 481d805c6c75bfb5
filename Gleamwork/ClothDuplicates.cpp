// Vertices in one place, found by hashing.
#include "Gleamwork/ClothData.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <qs/Log.h>
#include <vector>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "Gleamwork/ClothDuplicates";
constexpr const char* FUNCTION = "gw::DetectDuplicates";

constexpr float MAX_SQUARED_DISTANCE = 1e-14f;
// A little more than the distance of duplicates, so that no rounding in the cells loses a pair.
constexpr double REACH = 1.01e-7;
// Cells are ten times as wide: most points have no border within reach, and the sources that a cell can hold are
// bounded, as they are further apart than duplicates. Shifted, so that round coordinates do not lie at borders.
constexpr double CELLS_PER_UNIT = 1e6;
constexpr double CELL_SHIFT = 0.37;
// From here on, two different floats are further apart than duplicates.
constexpr float FIRST_EXACT = 2.0f;

// Coarse hash of a position: only vertices that share it are compared.
std::uint16_t GetPlaceHash(float sum)
{
    const double scaled = sum * 2000.0;
    return std::abs(scaled) < 9e18 ? std::uint16_t(std::int64_t(scaled)) : std::uint16_t(0);
}

// The hash in the top half, the vertex in the bottom half, sorted: vertices of one hash stand together, in their order.
std::vector<std::uint32_t> GetSortedKeys(const std::vector<std::uint16_t>& hashes)
{
    std::vector<std::uint32_t> keys(hashes.size());
    std::vector<std::uint32_t> target(hashes.size());
    for (std::uint32_t i = 0; i < hashes.size(); ++i) {
        keys[i] = std::uint32_t(hashes[i]) << 16 | i;
    }
    // The bottom halves ascend from the start, and a pass of a radix sort keeps the order of equals.
    for (const int shift : {16, 24}) {
        std::array<std::uint32_t, 257> starts{};
        for (const std::uint32_t key : keys) {
            ++starts[(key >> shift & 255) + 1];
        }
        for (std::size_t digit = 1; digit < starts.size(); ++digit) {
            starts[digit] += starts[digit - 1];
        }
        for (const std::uint32_t key : keys) {
            target[starts[key >> shift & 255]++] = key;
        }
        keys.swap(target);
    }
    return keys;
}

std::uint64_t Mix(std::uint64_t hash, std::uint64_t value)
{
    return (std::rotl(hash, 29) ^ value) * 0x9e3779b97f4a7c15ull;
}

// The cell along one axis that a coordinate lies in, and the one behind a border that is within reach.
struct AxisCell
{
    std::uint64_t own;
    std::uint64_t other;
    bool atBorder;
};

AxisCell GetAxisCell(float coordinate)
{
    if (!(std::abs(coordinate) < FIRST_EXACT)) {
        return {std::bit_cast<std::uint32_t>(coordinate), 0, false};
    }
    // Far above zero, where truncation rounds down; the bit keeps these cells apart from the bits of large coordinates.
    const double place = coordinate * CELLS_PER_UNIT + ((1ll << 32) + CELL_SHIFT);
    const auto own = std::uint64_t(place);
    const auto low = std::uint64_t(place - REACH * CELLS_PER_UNIT);
    const auto high = std::uint64_t(place + REACH * CELLS_PER_UNIT);
    return {own, low == own ? high : low, low != high};
}

std::array<float, 3> GetComponents(const Vector3f& v)
{
    return {v.x, v.y, v.z};
}
std::array<float, 4> GetComponents(const Vector4f& v)
{
    return {v.x, v.y, v.z, v.w};
}

float GetSum(const Vector3f& v)
{
    return v.x + v.y + v.z;
}
float GetSum(const Vector4f& v)
{
    return v.x + v.y + v.z;
}

// Vertices that are no duplicates, in chains by hash value and cell. Cells may share a chain: the test decides.
template <class Vector>
class SourceTable
{
public:
    SourceTable(const qs::PrimitiveArray<Vector>& positions, const std::vector<std::uint16_t>& hashes)
        : m_positions(positions.GetData()), m_hashes(hashes), m_heads(std::bit_ceil(hashes.size() * 2 + 1), NONE),
          m_next(hashes.size())
    {
    }

    // Calls `found` for each source that the vertex duplicates; a vertex without any becomes a source.
    template <class Found>
    void FindOrAdd(std::uint32_t vertex, const Found& found)
    {
        Chains chains;
        const std::size_t count = GetChains(vertex, chains);
        bool isDuplicate = false;
        for (std::size_t i = 0; i < count; ++i) {
            for (std::uint32_t source = m_heads[chains[i]]; source != NONE; source = m_next[source]) {
                if (IsDuplicate(vertex, source)) {
                    isDuplicate = true;
                    found(source);
                }
            }
        }
        if (!isDuplicate) {
            m_next[vertex] = std::exchange(m_heads[chains[0]], vertex);
        }
    }

private:
    static constexpr std::uint32_t NONE = ~0u;
    static constexpr std::size_t AXES = sizeof(Vector) / sizeof(float);
    using Chains = std::array<std::uint64_t, 1 << AXES>;

    bool IsDuplicate(std::uint32_t vertex, std::uint32_t source) const
    {
        const Vector difference = m_positions[source] - m_positions[vertex];
        return m_hashes[source] == m_hashes[vertex] && difference.Dot(difference) < MAX_SQUARED_DISTANCE;
    }

    // The chains of all cells within reach, each once and the vertex's own first; returns how many.
    std::size_t GetChains(std::uint32_t vertex, Chains& chains) const
    {
        chains[0] = m_hashes[vertex];
        std::size_t count = 1;
        for (const float coordinate : GetComponents(m_positions[vertex])) {
            const AxisCell cell = GetAxisCell(coordinate);
            const std::size_t before = count;
            for (std::size_t i = 0; i < before; ++i) {
                if (cell.atBorder) {
                    chains[count++] = Mix(chains[i], cell.other);
                }
                chains[i] = Mix(chains[i], cell.own);
            }
        }
        std::size_t kept = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const std::uint64_t chain = chains[i] >> 32 & (m_heads.size() - 1);
            if (std::find(chains.begin(), chains.begin() + kept, chain) == chains.begin() + kept) {
                chains[kept++] = chain;
            }
        }
        return kept;
    }

    const Vector* m_positions;
    const std::vector<std::uint16_t>& m_hashes;
    std::vector<std::uint32_t> m_heads; // by chain
    std::vector<std::uint32_t> m_next;  // by vertex
};

// Calls `found` with each pair (duplicate, source), ordered by hash value, source and duplicate.
template <class Vector, class Found>
void FindDuplicates(const qs::PrimitiveArray<Vector>& positions, const Found& found)
{
    if (positions.GetSize() > std::uint32_t(MAX_CLOTH_VERTICES)) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Duplicates are looked for among %u positions; at most %d are possible.",
                     positions.GetSize(), MAX_CLOTH_VERTICES);
        return;
    }
    std::vector<std::uint16_t> hashes(positions.GetSize());
    for (std::uint32_t i = 0; i < positions.GetSize(); ++i) {
        hashes[i] = GetPlaceHash(GetSum(positions[i]));
    }
    SourceTable<Vector> sources(positions, hashes);
    std::vector<std::uint64_t> pairs; // hash value, source, duplicate
    for (const std::uint32_t key : GetSortedKeys(hashes)) {
        const std::uint32_t idxNext = key & 0xffff;
        sources.FindOrAdd(idxNext, [&](std::uint32_t idx) {
            if (idx >= idxNext) {
                QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                              "idx should always be smaller than idxNext (as list is sorted from smaller to bigger)");
            }
            pairs.push_back(std::uint64_t(key >> 16) << 32 | idx << 16 | idxNext);
        });
    }
    std::sort(pairs.begin(), pairs.end());
    for (const std::uint64_t pair : pairs) {
        found(DuplicateIndices{std::int32_t(pair & 0xffff), std::int32_t(pair >> 16 & 0xffff)});
    }
}

} // namespace

void DetectDuplicates(const qs::PrimitiveArray<Vector4f>& positions, qs::PrimitiveArray<float>& weights,
                      qs::PrimitiveSet<DuplicateIndices>& duplicates)
{
    FindDuplicates(positions, [&](const DuplicateIndices& pair) {
        weights.SetAt(std::uint32_t(pair.duplicate), 0.0f);
        duplicates.Add(pair);
    });
}

void DetectDuplicates(const qs::PrimitiveArray<Vector3f>& positions, qs::PrimitiveSet<DuplicateIndices>& duplicates)
{
    FindDuplicates(positions, [&](const DuplicateIndices& pair) { duplicates.Add(pair); });
}

} // namespace gw
