// Shapes of straight edges.
#include "Gleamwork/LineMan.h"

#include <iterator>

namespace gw {
namespace {

constexpr unsigned short BOX_POINTS = 24;

// Edges of a box over its corners: the face at the smallest z, the edges along z, the face at the largest z.
void MakeBox(const Vector3f (&corners)[8], Vector3f (&points)[BOX_POINTS])
{
    Vector3f* next = points;
    const auto edge = [&](int from, int to) {
        *next++ = corners[from];
        *next++ = corners[to];
    };
    for (int i = 0; i < 4; ++i) {
        edge(i, (i + 1) % 4);
    }
    for (int i = 0; i < 4; ++i) {
        edge(i, i + 4);
    }
    for (int i = 0; i < 4; ++i) {
        edge(i + 4, (i + 1) % 4 + 4);
    }
}

// Around the face at the smallest z, then around the other.
void MakeCorners(const Vector3f& a, const Vector3f& b, Vector3f (&corners)[8])
{
    for (int i = 0; i < 8; ++i) {
        corners[i] = {i % 4 == 1 || i % 4 == 2 ? b.x : a.x, i % 4 >= 2 ? b.y : a.y, i >= 4 ? b.z : a.z};
    }
}

// Four points around y at one height, on the axes: -x, +z, +x, -z.
struct Ring
{
    Ring(const Vector3f& c, float x, float y, float z)
        : points{{c.x - x, y, c.z}, {c.x, y, c.z + z}, {c.x + x, y, c.z}, {c.x, y, c.z - z}}
    {
    }
    Vector3f* Around(Vector3f* out) const
    {
        for (int i = 0; i < 4; ++i) {
            *out++ = points[i];
            *out++ = points[(i + 1) % 4];
        }
        return out;
    }
    Vector3f* DownTo(const Ring& lower, Vector3f* out) const
    {
        for (int i = 0; i < 4; ++i) {
            *out++ = points[i];
            *out++ = lower.points[i];
        }
        return out;
    }
    const Vector3f& West() const { return points[0]; }
    const Vector3f& North() const { return points[1]; }
    const Vector3f& East() const { return points[2]; }
    const Vector3f& South() const { return points[3]; }

    Vector3f points[4];
};

} // namespace

void LineMan::AddTriangle(const Vector3f& a, const Vector3f& b, const Vector3f& c, const Vector4f& color,
                          float lifeTime)
{
    const Vector3f points[] = {a, b, b, c, c, a};
    AddPoints(points, std::size(points), color, lifeTime);
}

void LineMan::AddBox(const Vector3f& minimum, const Vector3f& maximum, const Vector4f& color, float lifeTime)
{
    Vector3f corners[8];
    Vector3f points[BOX_POINTS];
    MakeCorners(minimum, maximum, corners);
    MakeBox(corners, points);
    AddPoints(points, BOX_POINTS, color, lifeTime);
}

void LineMan::AddBox(const Vector3f& center, const Matrix3x3f& rotation, const Vector3f& minimum,
                     const Vector3f& maximum, const Vector4f& color, float lifeTime)
{
    Vector3f corners[8];
    Vector3f points[BOX_POINTS];
    MakeCorners(minimum, maximum, corners);
    for (Vector3f& corner : corners) {
        corner = corner * rotation + center;
    }
    MakeBox(corners, points);
    AddPoints(points, BOX_POINTS, color, lifeTime);
}

void LineMan::AddSphere(const Vector3f& center, const Matrix3x3f& rotation, float radius, const Vector4f& color,
                        float lifeTime)
{
    const Vector3f x = radius * rotation.GetRow(0), x0 = center - x, x1 = center + x;
    const Vector3f y = radius * rotation.GetRow(1), y0 = center - y, y1 = center + y;
    const Vector3f z = radius * rotation.GetRow(2), z0 = center - z, z1 = center + z;
    const Vector3f points[] = {x0, y1, y1, x1, x1, y0, y0, x0,  // across z
                               x0, z1, z1, x1, x1, z0, z0, x0,  // across y
                               y0, z1, z1, y1, y1, z0, z0, y0}; // across x
    AddPoints(points, std::size(points), color, lifeTime);
}

void LineMan::AddSphere(const Vector3f& center, float radius, const Vector4f& color, float lifeTime)
{
    AddSphere(center, Matrix3x3f(), radius, color, lifeTime);
}

void LineMan::AddCylinder(const Vector3f& center, const Vector3f& halfExtents, const Vector4f& color, float lifeTime)
{
    const Ring top(center, halfExtents.x, center.y + halfExtents.y, halfExtents.z);
    const Ring bottom(center, halfExtents.x, center.y - halfExtents.y, halfExtents.z);
    Vector3f points[24];
    bottom.Around(top.DownTo(bottom, top.Around(points)));
    AddPoints(points, std::size(points), color, lifeTime);
}

void LineMan::AddCapsule(const Vector3f& center, float radius, float height, const Vector4f& color, float lifeTime,
                         const Matrix4x4f& transform)
{
    const float half = 0.5f * height;
    const Ring top(center, radius, center.y + half, radius);
    const Ring bottom(center, radius, center.y - half, radius);
    const Vector3f apex(center.x, center.y + half + radius, center.z);
    const Vector3f foot(center.x, center.y - half - radius, center.z);
    Vector3f points[40] = {top.West(), apex, apex, top.East(), top.North(), apex, apex, top.South()};
    Vector3f* next = bottom.Around(top.DownTo(bottom, top.Around(points + 8)));
    for (const Vector3f& end : {bottom.East(), foot, foot, bottom.West(), foot, bottom.North(), bottom.South(), foot}) {
        *next++ = end;
    }
    AddPoints(points, std::size(points), color, lifeTime, transform);
}

void LineMan::AddTransform(const Vector3f& position, const Matrix3x3f& rotation, float size, float lifeTime)
{
    static constexpr Vector4f COLORS[] = {{0.7f, 0.0f, 0.0f, 1.0f}, {0.0f, 0.7f, 0.0f, 1.0f}, {0.0f, 0.0f, 0.7f, 1.0f}};
    qs::CSLock lock(m_lock);
    for (int row = 0; row < 3; ++row) {
        AddLine(position, position + size * rotation.GetRow(row), COLORS[row], lifeTime);
    }
}

} // namespace gw
