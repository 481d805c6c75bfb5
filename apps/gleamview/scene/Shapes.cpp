// The formulas of the bodies, and the builder.
#include "scene/Shapes.h"

#include <cmath>
#include <numbers>

namespace gleamview {

namespace {

constexpr float s_pi = std::numbers::pi_v<float>;

Vector3f PointOnKnot(float angle)
{
    const float radius = 0.62f + 0.26f * std::cos(3.0f * angle);
    return {radius * std::cos(2.0f * angle), 0.38f * std::sin(3.0f * angle), radius * std::sin(2.0f * angle)};
}

} // namespace

void Shape::AddGrid(std::uint32_t firstVertex, std::uint32_t rows, std::uint32_t columns)
{
    for (std::uint32_t row = 0; row < rows; ++row) {
        for (std::uint32_t column = 0; column < columns; ++column) {
            const std::uint32_t a = firstVertex + row * (columns + 1) + column;
            const std::uint32_t b = a + columns + 1;
            for (const std::uint32_t index : {a, a + 1, b, b, a + 1, b + 1}) {
                indices.push_back(static_cast<std::uint16_t>(index));
            }
        }
    }
}

void Shape::AddQuad(const Vector3f& a, const Vector3f& b, const Vector3f& c, const Vector3f& d, const Vector2f& uvScale)
{
    const Vector3f normal = (b - a).Cross(c - a).Normalized();
    const std::uint16_t first = static_cast<std::uint16_t>(vertices.size());
    vertices.push_back(MakeVertex(a, normal, {0.0f, 0.0f}));
    vertices.push_back(MakeVertex(b, normal, {uvScale.x, 0.0f}));
    vertices.push_back(MakeVertex(c, normal, {uvScale.x, uvScale.y}));
    vertices.push_back(MakeVertex(d, normal, {0.0f, uvScale.y}));
    for (const int index : {0, 1, 2, 0, 2, 3}) {
        indices.push_back(static_cast<std::uint16_t>(first + index));
    }
}

Shape MakeSphere(unsigned rings, unsigned segments)
{
    Shape shape;
    for (unsigned ring = 0; ring <= rings; ++ring) {
        const float v = static_cast<float>(ring) / static_cast<float>(rings);
        for (unsigned segment = 0; segment <= segments; ++segment) {
            const float u = static_cast<float>(segment) / static_cast<float>(segments);
            const Vector3f normal(std::sin(v * s_pi) * std::cos(u * 2.0f * s_pi), std::cos(v * s_pi),
                                  std::sin(v * s_pi) * std::sin(u * 2.0f * s_pi));
            shape.vertices.push_back(MakeVertex(normal * 0.5f, normal, {u * 2.0f, v}));
        }
    }
    shape.AddGrid(0, rings, segments);
    return shape;
}

Shape MakeBox(const Vector2f& uvScale)
{
    Shape shape;
    const std::array<Vector3f, 8> c = GetCorners({{-0.5f, -0.5f, -0.5f}, {0.5f, 0.5f, 0.5f}});
    shape.AddQuad(c[2], c[3], c[1], c[0], uvScale); // front, at -z
    shape.AddQuad(c[7], c[6], c[4], c[5], uvScale); // back
    shape.AddQuad(c[6], c[2], c[0], c[4], uvScale); // left
    shape.AddQuad(c[3], c[7], c[5], c[1], uvScale); // right
    shape.AddQuad(c[6], c[7], c[3], c[2], uvScale); // top
    shape.AddQuad(c[0], c[1], c[5], c[4], uvScale); // bottom
    return shape;
}

Shape MakeCylinder(unsigned segments, float topRadius, const Vector2f& uvScale)
{
    Shape shape;
    const float slope = 0.5f - topRadius;
    for (unsigned row = 0; row <= 1; ++row) {
        const float radius = row == 0 ? topRadius : 0.5f;
        for (unsigned i = 0; i <= segments; ++i) {
            const float u = static_cast<float>(i) / static_cast<float>(segments);
            const float x = std::cos(u * 2.0f * s_pi);
            const float z = std::sin(u * 2.0f * s_pi);
            shape.vertices.push_back(MakeVertex({x * radius, 0.5f - static_cast<float>(row), z * radius},
                                                Vector3f(x, slope, z).Normalized(),
                                                {u * uvScale.x, static_cast<float>(row) * uvScale.y}));
        }
    }
    shape.AddGrid(0, 1, segments);
    for (unsigned row = 0; row <= 1; ++row) {
        const Vector3f normal(0.0f, row == 0 ? 1.0f : -1.0f, 0.0f);
        const std::uint16_t first = static_cast<std::uint16_t>(shape.vertices.size());
        for (unsigned i = 0; i < segments; ++i) {
            const float angle = static_cast<float>(i) / static_cast<float>(segments) * 2.0f * s_pi;
            const float radius = row == 0 ? topRadius : 0.5f;
            const Vector3f point(std::cos(angle) * radius, 0.5f - static_cast<float>(row), std::sin(angle) * radius);
            shape.vertices.push_back(MakeVertex(point, normal, {point.x + 0.5f, point.z + 0.5f}));
        }
        for (unsigned i = 1; i + 1 < segments; ++i) {
            for (const unsigned index : {0u, i, i + 1}) {
                shape.indices.push_back(static_cast<std::uint16_t>(first + index));
            }
        }
    }
    return shape;
}

Shape MakeTorusKnot(unsigned steps, unsigned segments, float thickness)
{
    Shape shape;
    for (unsigned step = 0; step <= steps; ++step) {
        const float angle = static_cast<float>(step) / static_cast<float>(steps) * 2.0f * s_pi;
        const Vector3f centre = PointOnKnot(angle);
        const Vector3f along = (PointOnKnot(angle + 0.01f) - PointOnKnot(angle - 0.01f)).Normalized();
        const Vector3f out = Vector3f(centre.x, 0.0f, centre.z).Normalized();
        const Vector3f side = along.Cross(out).Normalized();
        const Vector3f up = side.Cross(along);
        for (unsigned segment = 0; segment <= segments; ++segment) {
            const float around = static_cast<float>(segment) / static_cast<float>(segments);
            const Vector3f normal = side * std::cos(around * 2.0f * s_pi) + up * std::sin(around * 2.0f * s_pi);
            shape.vertices.push_back(
                MakeVertex(centre + normal * thickness, normal,
                           {static_cast<float>(step) / static_cast<float>(steps) * 12.0f, around}));
        }
    }
    shape.AddGrid(0, steps, segments);
    return shape;
}

Shape MakeBoard()
{
    Shape shape;
    shape.AddQuad({-0.5f, 0.5f, 0.0f}, {0.5f, 0.5f, 0.0f}, {0.5f, -0.5f, 0.0f}, {-0.5f, -0.5f, 0.0f}, {1.0f, 1.0f});
    return shape;
}

std::uint32_t SceneBuilder::AddMaterial(const SceneMaterial& material)
{
    m_scene.materials.push_back(material);
    return static_cast<std::uint32_t>(m_scene.materials.size() - 1);
}

std::uint32_t SceneBuilder::AddTexture(SceneTexture&& texture)
{
    m_scene.textures.push_back(std::move(texture));
    return static_cast<std::uint32_t>(m_scene.textures.size() - 1);
}

std::uint32_t SceneBuilder::AddShape(Shape&& shape, std::uint32_t material, PartKind kind)
{
    const auto kept = std::make_shared<const Shape>(std::move(shape));
    ScenePart part;
    part.kind = kind;
    part.material = material;
    part.vertices = kept->vertices.data();
    part.indices = kept->indices.data();
    part.vertexCount = static_cast<std::uint32_t>(kept->vertices.size());
    part.indexCount = static_cast<std::uint32_t>(kept->indices.size());
    part.bound = qs::Bound::computeAABB(part.vertices, sizeof(SceneVertex), part.vertexCount);
    m_scene.storage.push_back(kept);
    m_scene.parts.push_back(part);
    return static_cast<std::uint32_t>(m_scene.parts.size() - 1);
}

SceneInstance& SceneBuilder::Place(std::uint32_t part, const Matrix4x4f& world)
{
    m_scene.instances.push_back({part, 1, 0.0f, world});
    return m_scene.instances.back();
}

Matrix4x4f MakePlacement(const Vector3f& position, const Vector3f& scale, float yawDegrees)
{
    const float yaw = yawDegrees * s_pi / 180.0f;
    const float c = std::cos(yaw);
    const float s = std::sin(yaw);
    return {{c * scale.x, 0, -s * scale.x, 0, 0, scale.y, 0, 0, s * scale.z, 0, c * scale.z, 0, position.x, position.y,
             position.z, 1}};
}

} // namespace gleamview
