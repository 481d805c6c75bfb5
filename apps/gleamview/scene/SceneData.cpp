// Counting, bounding and joining of scenes.
#include "scene/SceneData.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace gleamview {

namespace {

std::int16_t ToSigned(float value)
{
    return static_cast<std::int16_t>(std::lround(std::clamp(value, -1.0f, 1.0f) * 32767.0f));
}

void Include(qs::Bound& bound, const Vector3f& point)
{
    bound.minimum = {std::min(bound.minimum.x, point.x), std::min(bound.minimum.y, point.y),
                     std::min(bound.minimum.z, point.z)};
    bound.maximum = {std::max(bound.maximum.x, point.x), std::max(bound.maximum.y, point.y),
                     std::max(bound.maximum.z, point.z)};
}

template <class T>
void MoveBehind(std::vector<T>& to, std::vector<T>& from)
{
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

} // namespace

std::array<Vector3f, 8> GetCorners(const qs::Bound& bound)
{
    std::array<Vector3f, 8> corners;
    for (unsigned i = 0; i < 8; ++i) {
        corners[i] = {i & 1 ? bound.maximum.x : bound.minimum.x, i & 2 ? bound.maximum.y : bound.minimum.y,
                      i & 4 ? bound.maximum.z : bound.minimum.z};
    }
    return corners;
}

qs::Bound TransformBound(const qs::Bound& bound, const Matrix4x4f& matrix)
{
    const std::array<Vector3f, 8> corners = GetCorners(bound);
    const Vector3f first = matrix.TransformPoint(corners[0]);
    qs::Bound result{first, first};
    for (const Vector3f& corner : corners) {
        Include(result, matrix.TransformPoint(corner));
    }
    return result;
}

std::vector<Vector3f> FindOutline(const ScenePart& part)
{
    std::vector<Vector3f> points;
    for (int x = -1; x <= 1; ++x) {
        for (int y = -1; y <= 1; ++y) {
            for (int z = -1; z <= 1; ++z) {
                const Vector3f direction(static_cast<float>(x), static_cast<float>(y), static_cast<float>(z));
                float farthest = -std::numeric_limits<float>::infinity();
                Vector3f found;
                for (std::uint32_t i = 0; i < part.vertexCount; ++i) {
                    const float* p = part.vertices[i].position;
                    const Vector3f point(p[0], p[1], p[2]);
                    if (point.Dot(direction) > farthest) {
                        farthest = point.Dot(direction);
                        found = point;
                    }
                }
                points.push_back(found);
            }
        }
    }
    return points;
}

SceneVertex MakeVertex(const Vector3f& position, const Vector3f& normal, const Vector2f& uv,
                       const std::array<std::uint8_t, 4>& color)
{
    return {{position.x, position.y, position.z},
            {ToSigned(normal.x), ToSigned(normal.y), ToSigned(normal.z), 0},
            {uv.x, uv.y},
            {color[0], color[1], color[2], color[3]}};
}

std::uint64_t SceneData::CountTriangles() const
{
    std::uint64_t count = 0;
    for (const SceneInstance& instance : instances) {
        for (std::uint32_t i = 0; i < instance.partCount; ++i) {
            const ScenePart& part = parts[instance.firstPart + i];
            count += part.kind == PartKind::Triangles ? part.indexCount / 3 : 0;
        }
    }
    return count;
}

qs::Bound SceneData::ComputeBound() const
{
    qs::Bound result = qs::Bound::BOUND_ZERO;
    bool isFirst = true;
    for (const SceneInstance& instance : instances) {
        for (std::uint32_t i = 0; i < instance.partCount; ++i) {
            const qs::Bound bound = TransformBound(parts[instance.firstPart + i].bound, instance.world);
            if (isFirst) {
                result = bound;
            }
            Include(result, bound.minimum);
            Include(result, bound.maximum);
            isFirst = false;
        }
    }
    return result;
}

void SceneData::Append(SceneData&& other, const Matrix4x4f& placement)
{
    const std::uint32_t firstPart = static_cast<std::uint32_t>(parts.size());
    const std::uint32_t firstMaterial = static_cast<std::uint32_t>(materials.size());
    const std::uint32_t firstTexture = static_cast<std::uint32_t>(textures.size());
    for (ScenePart& part : other.parts) {
        part.material += firstMaterial;
    }
    for (SceneInstance& instance : other.instances) {
        instance.firstPart += firstPart;
        instance.world = instance.world * placement;
    }
    for (SceneMaterial& material : other.materials) {
        for (std::uint32_t* texture :
             {&material.baseTexture, &material.normalTexture, &material.surfaceTexture, &material.emissiveTexture}) {
            *texture = *texture == NoTexture ? NoTexture : *texture + firstTexture;
        }
    }
    for (SceneCamera& camera : other.cameras) {
        camera.position = placement.TransformPoint(camera.position);
        camera.target = placement.TransformPoint(camera.target);
        camera.up = placement.TransformVector(camera.up).Normalized();
    }
    MoveBehind(parts, other.parts);
    MoveBehind(instances, other.instances);
    MoveBehind(materials, other.materials);
    MoveBehind(textures, other.textures);
    MoveBehind(cameras, other.cameras);
    MoveBehind(warnings, other.warnings);
    MoveBehind(storage, other.storage);
}

} // namespace gleamview
