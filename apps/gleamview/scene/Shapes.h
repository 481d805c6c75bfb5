// Bodies worked out from formulas: unit-sized, around the origin, with texture coordinates.
#pragma once

#include "scene/SceneData.h"

#include <vector>

namespace gleamview {

struct Shape
{
    std::vector<SceneVertex> vertices;
    std::vector<std::uint16_t> indices;

    void AddQuad(const Vector3f& a, const Vector3f& b, const Vector3f& c, const Vector3f& d, const Vector2f& uvScale);
    /// Joins rows of `columns + 1` vertices each into triangles.
    void AddGrid(std::uint32_t firstVertex, std::uint32_t rows, std::uint32_t columns);
};

Shape MakeSphere(unsigned rings, unsigned segments);
/// Edges of length 1; each face shows the texture `uvScale` times.
Shape MakeBox(const Vector2f& uvScale);
/// Upright, radius 0.5 at the bottom and `topRadius` at the top, height 1, closed.
Shape MakeCylinder(unsigned segments, float topRadius, const Vector2f& uvScale);
/// A tube around the (2, 3) torus knot, about 2 units across.
Shape MakeTorusKnot(unsigned steps, unsigned segments, float thickness);
/// Upright, facing the viewer at -z, 1 by 1, both texture axes from 0 to 1.
Shape MakeBoard();

/// Appends shapes, materials, textures and instances to a scene, which keeps their memory.
class SceneBuilder
{
public:
    explicit SceneBuilder(SceneData& scene) : m_scene(scene) {}

    std::uint32_t AddMaterial(const SceneMaterial& material);
    std::uint32_t AddTexture(SceneTexture&& texture);
    /// Gives the part's number.
    std::uint32_t AddShape(Shape&& shape, std::uint32_t material, PartKind kind = PartKind::Triangles);
    SceneInstance& Place(std::uint32_t part, const Matrix4x4f& world);

private:
    SceneData& m_scene;
};

Matrix4x4f MakePlacement(const Vector3f& position, const Vector3f& scale, float yawDegrees = 0.0f);

} // namespace gleamview
