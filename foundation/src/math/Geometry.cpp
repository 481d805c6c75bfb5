// Transforms, bounds, picking and screen points.
#include <qs/Math.h>

#include <cstring>
#include <limits>

namespace qs {

Transform::Transform() = default;
Transform::~Transform() = default;

void Transform::SetTranslate(const Vector3f& translate)
{
    m_translate = translate;
    m_stale = true;
}

void Transform::SetRotate(const Matrix3x3f& rotate)
{
    m_rotate = rotate;
    m_stale = true;
}

void Transform::SetScale(const Vector3f& scale)
{
    m_scale = scale;
    m_stale = true;
}

void Transform::SetTransform(const Matrix4x4f& matrix)
{
    m_matrix = matrix;
    m_stale = false;
    m_translate = matrix.GetTranslate();
    Matrix3x3f basis;
    for (int row = 0; row < 3; ++row) {
        basis.SetRow(row, {matrix(row, 0), matrix(row, 1), matrix(row, 2)});
    }
    m_scale = {basis.GetRow(0).Length(), basis.GetRow(1).Length(), basis.GetRow(2).Length()};
    // A rotation has determinant 1, so a mirroring has to be part of the scale.
    m_scale.x = basis.Determinant() < 0.0f ? -m_scale.x : m_scale.x;
    const float scale[3] = {m_scale.x, m_scale.y, m_scale.z};
    const Matrix3x3f identity;
    for (int row = 0; row < 3; ++row) {
        m_rotate.SetRow(row, scale[row] != 0.0f ? basis.GetRow(row) * (1.0f / scale[row]) : identity.GetRow(row));
    }
}

const Matrix4x4f& Transform::GetTransform() const
{
    if (m_stale) {
        const float scale[3] = {m_scale.x, m_scale.y, m_scale.z};
        m_matrix = Matrix4x4f();
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 3; ++column) {
                m_matrix(row, column) = m_rotate(row, column) * scale[row];
            }
        }
        m_matrix.SetTranslate(m_translate);
        m_stale = false;
    }
    return m_matrix;
}

constinit const Bound Bound::BOUND_ZERO{};

Bound Bound::computeAABB(const void* positions, u64 strideBytes, u64 count)
{
    if (!positions || count == 0) {
        return BOUND_ZERO;
    }
    // Comparisons instead of fmin and fmax, which would be calls; what is no number fails both and does not count.
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const char* at = static_cast<const char*>(positions);
    Bound bound{{infinity, infinity, infinity}, {-infinity, -infinity, -infinity}};
    for (u64 i = 0; i < count; ++i) {
        Vector3f p;
        std::memcpy(&p, at + i * strideBytes, sizeof p);
        bound.minimum = {p.x < bound.minimum.x ? p.x : bound.minimum.x, p.y < bound.minimum.y ? p.y : bound.minimum.y,
                         p.z < bound.minimum.z ? p.z : bound.minimum.z};
        bound.maximum = {p.x > bound.maximum.x ? p.x : bound.maximum.x, p.y > bound.maximum.y ? p.y : bound.maximum.y,
                         p.z > bound.maximum.z ? p.z : bound.maximum.z};
    }
    return bound;
}

constinit const float PickResult::MISS_SMALLEST = std::numeric_limits<float>::min();
constinit const float PickResult::MISS_LARGEST = (std::numeric_limits<float>::max)();

PickResult RayPick::PeterShirleyTriangleHitTest(const Ray& ray, const Vector3f& a, const Vector3f& b, const Vector3f& c)
{
    PickResult result;
    result.distance = PickResult::MISS_LARGEST;
    // a + u * (b - a) + v * (c - a) = origin + t * direction
    const Vector3f ab = a - b;
    const Vector3f ac = a - c;
    const Vector3f ao = a - ray.origin;
    const float determinant = ab.Dot(ac.Cross(ray.direction));
    if (determinant == 0.0f || !std::isfinite(determinant)) {
        return result;
    }
    const float u = ao.Dot(ac.Cross(ray.direction)) / determinant;
    const float v = ab.Dot(ao.Cross(ray.direction)) / determinant;
    const float t = ab.Dot(ac.Cross(ao)) / determinant;
    if (u >= 0.0f && v >= 0.0f && u + v <= 1.0f && t > PickResult::MISS_SMALLEST && t < PickResult::MISS_LARGEST) {
        result.distance = t;
        result.u = u;
        result.v = v;
    }
    return result;
}

namespace {

bool ToSpace(const Matrix4x4f& inverseProjection, const Matrix4x4f& inverseView, const Vector4f& clip, Vector4f& result)
{
    const Vector4f point = clip * inverseProjection * inverseView;
    const float scale = 1.0f / point.w;
    result = point * scale;
    result.w = 1.0f;
    return std::isfinite(scale) && std::isfinite(result.x) && std::isfinite(result.y) && std::isfinite(result.z);
}

} // namespace

bool unProject(const Matrix4x4f& inverseProjection, const Matrix4x4f& inverseView, const Vector2f& point,
               Vector4f& nearPoint, Vector4f& farPoint)
{
    const float x = point.x * 2.0f - 1.0f;
    const float y = 1.0f - point.y * 2.0f;
    const bool finite = ToSpace(inverseProjection, inverseView, {x, y, 0.0f, 1.0f}, nearPoint) &&
                        ToSpace(inverseProjection, inverseView, {x, y, 1.0f, 1.0f}, farPoint);
    if (!finite) {
        nearPoint = Vector4f();
        farPoint = Vector4f();
    }
    return finite;
}

} // namespace qs
