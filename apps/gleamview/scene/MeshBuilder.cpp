// The table of vertices and the cut between parts.
#include "scene/MeshBuilder.h"

#include <algorithm>
#include <cstring>

namespace gleamview {

namespace {

constexpr std::size_t s_maxVertices = 65536;
/// A part is the smallest thing that is culled and recorded on its own.
constexpr std::size_t s_maxPrimitives = 65536;
constexpr std::size_t s_tableSize = 2 * s_maxVertices;

std::size_t HashVertex(const SceneVertex& vertex)
{
    std::uint64_t words[sizeof(SceneVertex) / 8];
    std::memcpy(words, &vertex, sizeof words);
    std::uint64_t hash = 0;
    for (const std::uint64_t word : words) {
        hash = (hash ^ word) * 0x9e3779b97f4a7c15u;
        hash ^= hash >> 32;
    }
    return static_cast<std::size_t>(hash);
}

} // namespace

MeshBuilder::MeshBuilder(SceneWriter& writer) : m_writer(writer), m_table(s_tableSize, 0)
{
    m_vertices.reserve(s_maxVertices);
}

void MeshBuilder::Begin(PartKind kind, std::uint32_t material)
{
    WritePart();
    m_kind = kind;
    m_material = material;
}

void MeshBuilder::End()
{
    WritePart();
}

std::uint16_t MeshBuilder::FindOrAdd(const SceneVertex& vertex)
{
    std::size_t slot = HashVertex(vertex) % s_tableSize;
    while (m_table[slot] != 0) {
        const std::uint32_t index = m_table[slot] - 1;
        if (std::memcmp(&m_vertices[index], &vertex, sizeof vertex) == 0) {
            return static_cast<std::uint16_t>(index);
        }
        slot = (slot + 1) % s_tableSize;
    }
    m_vertices.push_back(vertex);
    m_table[slot] = static_cast<std::uint32_t>(m_vertices.size());
    return static_cast<std::uint16_t>(m_vertices.size() - 1);
}

void MeshBuilder::Add(const SceneVertex* corners)
{
    const unsigned count = static_cast<unsigned>(m_kind == PartKind::Triangles ? 3 : m_kind == PartKind::Lines ? 2 : 1);
    if (m_vertices.size() + count > s_maxVertices || m_indices.size() >= s_maxPrimitives * count) {
        WritePart();
    }
    for (unsigned i = 0; i < count; ++i) {
        m_indices.push_back(FindOrAdd(corners[i]));
    }
}

void MeshBuilder::WritePart()
{
    if (!m_indices.empty()) {
        m_writer.AddPart(m_kind, m_material, m_vertices, m_indices);
    }
    if (!m_vertices.empty()) {
        std::fill(m_table.begin(), m_table.end(), 0u);
    }
    m_vertices.clear();
    m_indices.clear();
}

} // namespace gleamview
