// Points of lines.
#include "Gleamwork/Line.h"

#include <algorithm>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "Line.cpp";
constexpr const char* WRONG_COUNT = "Assert! [Replace me with a better description]";

} // namespace

Line::Line(EPrimitiveTopology topology) : m_topology(topology) {}

Line::~Line() = default;

void Line::Clear()
{
    m_points.Clear();
}

void Line::AddPoints(const Vector3f* points, const unsigned short& count, const Matrix4x4f& transform)
{
    if (count == 0) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Line::AddPoints", "%s", WRONG_COUNT);
        return;
    }
    // Copies, which the points that are written cannot change.
    const Vector3f x(transform.m[0], transform.m[1], transform.m[2]), y(transform.m[4], transform.m[5], transform.m[6]),
        z(transform.m[8], transform.m[9], transform.m[10]), w(transform.m[12], transform.m[13], transform.m[14]);
    for (unsigned i = 0, end = count; i < end; ++i) {
        const Vector3f p = points[i];
        m_points.Add(p.x * x + p.y * y + p.z * z + w);
    }
}

void Line::AddPoints(const Vector3f* points, const unsigned short& count)
{
    if (count == 0) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Line::AddPoints", "%s", WRONG_COUNT);
        return;
    }
    std::for_each(points, points + count, [this](const Vector3f& p) { m_points.Add(p); });
}

void Line::UpdatePoints(const Vector3f* points, unsigned short count)
{
    if (count > m_points.GetSize()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Line::UpdatePoints", "%s", WRONG_COUNT);
        return;
    }
    std::copy_n(points, count, m_points.GetData());
}

Line2D::Line2D(EPrimitiveTopology topology) : m_topology(topology) {}

Line2D::~Line2D() = default;

void Line2D::Clear()
{
    m_points.Clear();
}

void Line2D::AddPoints(const Vector2f* points, const unsigned short& count)
{
    if (count == 0) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Line2D::AddPoints", "%s", WRONG_COUNT);
        return;
    }
    std::for_each(points, points + count, [this](const Vector2f& p) { m_points.SetAt(m_points.GetSize(), p); });
}

void Line2D::UpdatePoints(const Vector2f* points, unsigned short count)
{
    if (count > m_points.GetSize()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::Line2D::UpdatePoints", "%s", WRONG_COUNT);
        return;
    }
    // Not written past the array, which counts the cells that differ from its default.
    for (unsigned short i = 0; i < count; ++i) {
        m_points.SetAt(i, points[i]);
    }
}

} // namespace gw
