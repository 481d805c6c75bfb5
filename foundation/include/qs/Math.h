// Vectors, matrices, transforms, bounds and picking rays.
//
// Vectors are rows and are multiplied on the left of a matrix: `point * matrix`. A 4x4 matrix keeps its translation in
// elements 12, 13 and 14 and its basis vectors in rows 0, 1 and 2, in memory order.
#pragma once

#include <cmath>

#include <qs/Export.h>
#include <qs/FixedString.h>
#include <qs/Types.h>

#include <qs/details/Vector.h>

/// Three rows of three floats.
struct Matrix3x3f
{
    float m[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

    float& operator()(int row, int column) { return m[row * 3 + column]; }
    float operator()(int row, int column) const { return m[row * 3 + column]; }
    Vector3f GetRow(int row) const { return {m[row * 3], m[row * 3 + 1], m[row * 3 + 2]}; }
    void SetRow(int row, const Vector3f& value);

    QS_API Matrix3x3f Transposed() const;
    QS_API float Determinant() const;
    /// The identity when the matrix has no inverse.
    QS_API Matrix3x3f Inverted() const;
    friend bool operator==(const Matrix3x3f&, const Matrix3x3f&) = default;
};

/// Three rows of four floats: the transposed first three columns of a Matrix4x4f, as shaders take bone matrices.
struct Matrix3x4f
{
    float m[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

    float& operator()(int row, int column) { return m[row * 4 + column]; }
    float operator()(int row, int column) const { return m[row * 4 + column]; }
    friend bool operator==(const Matrix3x4f&, const Matrix3x4f&) = default;
};

/// Four rows of four floats.
struct Matrix4x4f
{
    float m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

    float& operator()(int row, int column) { return m[row * 4 + column]; }
    float operator()(int row, int column) const { return m[row * 4 + column]; }
    Vector3f GetTranslate() const { return {m[12], m[13], m[14]}; }
    void SetTranslate(const Vector3f& value)
    {
        m[12] = value.x;
        m[13] = value.y;
        m[14] = value.z;
    }

    /// All elements 0.
    QS_API static Matrix4x4f Zero();
    QS_API Matrix4x4f Transposed() const;
    QS_API float Determinant() const;
    /// The identity when the matrix has no inverse.
    QS_API Matrix4x4f Inverted() const;
    /// A point: w is taken as 1 and not divided by.
    QS_API Vector3f TransformPoint(const Vector3f& point) const;
    /// A direction: the translation does not count.
    QS_API Vector3f TransformVector(const Vector3f& vector) const;
    friend bool operator==(const Matrix4x4f&, const Matrix4x4f&) = default;
};

QS_API Vector3f operator*(const Vector3f& row, const Matrix3x3f& matrix);
QS_API Vector4f operator*(const Vector4f& row, const Matrix4x4f& matrix);
/// `a * b` applies a first.
QS_API Matrix3x3f operator*(const Matrix3x3f& a, const Matrix3x3f& b);
QS_API Matrix4x4f operator*(const Matrix4x4f& a, const Matrix4x4f& b);

inline void Matrix3x3f::SetRow(int row, const Vector3f& value)
{
    m[row * 3] = value.x;
    m[row * 3 + 1] = value.y;
    m[row * 3 + 2] = value.z;
}

namespace qs {

/// Four channels.
template <class T>
struct Color
{
    T r{}, g{}, b{}, a{};
    friend constexpr bool operator==(const Color&, const Color&) = default;
};

/// Scale, then rotation, then translation, with the composed matrix kept until a part changes. Not thread-safe, also
/// for reading: GetTransform composes.
class QS_API Transform
{
public:
    /// Identity.
    Transform();
    ~Transform();

    void SetTranslate(const Vector3f& translate);
    void SetRotate(const Matrix3x3f& rotate);
    void SetScale(const Vector3f& scale);
    /// Decomposes: the scale is the length of the basis vectors, negative along x for a mirroring matrix, the rotation
    /// what remains of them. Shear is lost in the parts, but GetTransform gives `matrix` until a part changes.
    void SetTransform(const Matrix4x4f& matrix);

    const Vector3f& GetTranslate() const { return m_translate; }
    const Matrix3x3f& GetRotate() const { return m_rotate; }
    const Vector3f& GetScale() const { return m_scale; }
    const Matrix4x4f& GetTransform() const;

private:
    mutable Matrix4x4f m_matrix;
    Matrix3x3f m_rotate;
    Vector3f m_translate;
    Vector3f m_scale{1.0f, 1.0f, 1.0f};
    mutable bool m_stale = false;
};

/// Axis-aligned bound.
struct QS_API Bound
{
    Vector3f minimum;
    Vector3f maximum;

    /// The bound of `count` positions of three floats, each at the start of its stride. BOUND_ZERO for none.
    static Bound computeAABB(const void* positions, u64 strideBytes, u64 count);
    /// Both corners at the origin.
    static const Bound BOUND_ZERO;

    Vector3f GetCenter() const { return (minimum + maximum) * 0.5f; }
    Vector3f GetExtents() const { return (maximum - minimum) * 0.5f; }
    friend bool operator==(const Bound&, const Bound&) = default;
};

/// A point and a direction; the direction's length is the unit of distances along the ray.
struct Ray
{
    Vector3f origin;
    Vector3f direction;
};

/// What a ray hit.
struct QS_API PickResult
{
    /// Distances that mean no hit.
    static const float MISS_SMALLEST; ///< the smallest positive normal float
    static const float MISS_LARGEST;  ///< the largest finite float

    FixedString name;                 ///< the model
    float distance = 1.17549435e-38f; ///< along the ray; MISS_SMALLEST at first
    float u = 0.0f;                   ///< barycentric weight of the triangle's second corner
    float v = 0.0f;                   ///< barycentric weight of the third corner
    u32 triangle = 0;                 ///< for the caller's use

    bool IsMiss() const { return distance == MISS_SMALLEST || distance == MISS_LARGEST; }
};

/// Ray tests.
class QS_API RayPick
{
public:
    /// Ray against triangle, both sides, by Cramer's rule on the barycentric equations (Shirley, "Fundamentals of
    /// Computer Graphics", ray-triangle intersection). Hits behind the origin, triangles seen edge-on and degenerate
    /// ones give a miss, whose distance is MISS_LARGEST.
    static PickResult PeterShirleyTriangleHitTest(const Ray& ray, const Vector3f& a, const Vector3f& b,
                                                  const Vector3f& c);
};

/// Turns a screen point into the points on the near and far plane that it covers, divided by w. The point runs from
/// (0, 0) at the top left to (1, 1) at the bottom right; depth runs from 0 to 1. False when a result has no finite
/// place; the outputs are 0 then.
QS_API bool unProject(const Matrix4x4f& inverseProjection, const Matrix4x4f& inverseView, const Vector2f& point,
                      Vector4f& nearPoint, Vector4f& farPoint);

} // namespace qs
