// Cuts meshes of any size into parts with 16-bit indices, each vertex stored once per part.
#pragma once

#include "scene/SceneFile.h"

#include <cstdint>
#include <vector>

namespace gleamview {

/// Takes primitives corner by corner and writes a part whenever one is full. Holds one part and its table of vertices,
/// about 6 MiB, whatever the size of the mesh.
class MeshBuilder
{
public:
    explicit MeshBuilder(SceneWriter& writer);

    /// Starts a mesh; what was not written of the one before is.
    void Begin(PartKind kind, std::uint32_t material);
    /// One point, line or triangle of 1, 2 or 3 vertices, as the kind says.
    void Add(const SceneVertex* corners);
    void End();

private:
    std::uint16_t FindOrAdd(const SceneVertex& vertex);
    void WritePart();

    SceneWriter& m_writer;
    PartKind m_kind = PartKind::Triangles;
    std::uint32_t m_material = 0;
    std::vector<SceneVertex> m_vertices;
    std::vector<std::uint16_t> m_indices;
    std::vector<std::uint32_t> m_table; ///< open addressing; vertex number plus one, 0 is free
};

} // namespace gleamview
