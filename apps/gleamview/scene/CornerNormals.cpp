// Joining of positions, face normals and their means.
#include "scene/CornerNormals.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <numeric>

namespace gleamview {

namespace {

constexpr float s_creaseCosine = 0.766f; // 40 degrees
/// Above this many triangles around a point the time would grow with their square: such a point gets one mean.
constexpr std::uint32_t s_maxFacesAround = 128;
constexpr std::uint32_t s_empty = ~0u;

std::uint64_t HashPosition(const Vector3f& position)
{
    std::uint32_t bits[3];
    std::memcpy(bits, &position, sizeof bits);
    std::uint64_t hash = 0;
    for (const std::uint32_t value : bits) {
        // Zero has two signs and one place.
        hash = (hash ^ (value == 0x80000000u ? 0u : value)) * 0x9e3779b97f4a7c15u;
        hash ^= hash >> 29;
    }
    return hash;
}

} // namespace

CornerNormals::CornerNormals(std::span<const Vector3f> positions, std::span<const std::uint32_t> triangles)
    : m_positions(positions), m_triangles(triangles)
{
    JoinEqualPositions();
    ComputeFaceNormals();
    CollectFaces();
}

void CornerNormals::JoinEqualPositions()
{
    const std::size_t slots = std::bit_ceil(m_positions.size() * 2 + 1);
    std::vector<std::uint32_t> table(slots, s_empty);
    m_places.resize(m_positions.size());
    for (std::size_t i = 0; i < m_positions.size(); ++i) {
        m_places[i] = static_cast<std::uint32_t>(i);
        if (!std::isfinite(m_positions[i].x + m_positions[i].y + m_positions[i].z)) {
            continue; // equals nothing, itself included: the search below would visit all of its kind
        }
        std::size_t slot = HashPosition(m_positions[i]) & (slots - 1);
        while (table[slot] != s_empty && !(m_positions[table[slot]] == m_positions[i])) {
            slot = (slot + 1) & (slots - 1);
        }
        if (table[slot] == s_empty) {
            table[slot] = static_cast<std::uint32_t>(i);
        }
        m_places[i] = table[slot];
    }
}

void CornerNormals::ComputeFaceNormals()
{
    m_faceNormals.resize(m_triangles.size() / 3);
    for (std::size_t i = 0; i < m_faceNormals.size(); ++i) {
        const Vector3f& a = m_positions[m_triangles[i * 3]];
        const Vector3f& b = m_positions[m_triangles[i * 3 + 1]];
        const Vector3f& c = m_positions[m_triangles[i * 3 + 2]];
        // Clockwise triangles face the viewer in a left-handed world.
        m_faceNormals[i] = (b - a).Cross(c - a);
    }
}

void CornerNormals::CollectFaces()
{
    m_firstFaces.assign(m_positions.size() + 1, 0);
    for (const std::uint32_t vertex : m_triangles) {
        ++m_firstFaces[m_places[vertex] + 1];
    }
    std::partial_sum(m_firstFaces.begin(), m_firstFaces.end(), m_firstFaces.begin());
    m_faces.resize(m_triangles.size());
    std::vector<std::uint32_t> next(m_firstFaces.begin(), m_firstFaces.end() - 1);
    for (std::size_t i = 0; i < m_triangles.size(); ++i) {
        m_faces[next[m_places[m_triangles[i]]]++] = static_cast<std::uint32_t>(i / 3);
    }
}

Vector3f CornerNormals::Get(std::size_t triangle, unsigned corner) const
{
    const Vector3f own = m_faceNormals[triangle].Normalized();
    const std::uint32_t place = m_places[m_triangles[triangle * 3 + corner]];
    const std::uint32_t first = m_firstFaces[place];
    const std::uint32_t end = m_firstFaces[place + 1];
    const bool isCrowded = end - first > s_maxFacesAround;
    Vector3f sum;
    for (std::uint32_t i = first; i < std::min(end, first + s_maxFacesAround); ++i) {
        const Vector3f& other = m_faceNormals[m_faces[i]];
        if (isCrowded || own.Dot(other) >= s_creaseCosine * other.Length()) {
            sum += other;
        }
    }
    const float length = sum.Length();
    if (length > 0.0f) {
        return sum * (1.0f / length);
    }
    return own.Length() > 0.5f ? own : Vector3f(0.0f, 1.0f, 0.0f);
}

} // namespace gleamview
