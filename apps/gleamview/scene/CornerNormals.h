// Normals for meshes that bring none: smooth over gentle bends, sharp over edges.
#pragma once

#include <cstdint>
#include <qs/Math.h>
#include <span>
#include <vector>

namespace gleamview {

/// Works out one normal per triangle corner. Corners at equal positions belong together, whether or not they share a
/// vertex; a corner's normal is the area-weighted mean of those triangles around it that bend away by less than 40
/// degrees. Takes about 40 bytes a triangle and 12 a vertex while it lives.
class CornerNormals
{
public:
    /// `triangles` holds three vertex numbers per triangle, all of them below the number of positions. Both stay the
    /// caller's and must outlive the object.
    CornerNormals(std::span<const Vector3f> positions, std::span<const std::uint32_t> triangles);

    /// A unit vector, or up where the triangle has no area.
    Vector3f Get(std::size_t triangle, unsigned corner) const;

private:
    void JoinEqualPositions();
    void ComputeFaceNormals();
    void CollectFaces();

    std::span<const Vector3f> m_positions;
    std::span<const std::uint32_t> m_triangles;
    std::vector<std::uint32_t> m_places;     ///< per vertex: the first vertex at the same position
    std::vector<Vector3f> m_faceNormals;     ///< as long as twice the area
    std::vector<std::uint32_t> m_firstFaces; ///< per place: where its triangles start in m_faces
    std::vector<std::uint32_t> m_faces;
};

} // namespace gleamview
