// Runs of points with one colour: what debug drawing is made of.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/RenderTypes.h"

#include <qs/Array.h>
#include <qs/Math.h>
#include <qs/Memory.h>
#include <qs/Set.h>

namespace gw {

/// Points in world space with one colour, one life time and one topology. A line knows nothing of the device:
/// gw::LineMan draws it. It is not checked that the number of points fits the topology; what is left over at the end is
/// not drawn. No lock: a line that is registered with gw::LineMan may be changed while nobody renders.
class GW_API Line
{
public:
    QS_DECLARE_ALLOC(gw::Line)

    explicit Line(EPrimitiveTopology topology);
    ~Line();

    /// Keeps the memory.
    void Clear();
    /// Appends `count` points, each as a row with w = 1 times `transform`; the fourth column is not used. The points
    /// must not be the line's own. A count of 0 asserts.
    void AddPoints(const Vector3f* points, const unsigned short& count, const Matrix4x4f& transform);
    /// The same without a transform.
    void AddPoints(const Vector3f* points, const unsigned short& count);
    /// Overwrites the first `count` points as they are, without a transform. A count above the number of points asserts
    /// and changes nothing.
    void UpdatePoints(const Vector3f* points, unsigned short count);

    std::uint32_t GetCount() const { return m_points.GetSize(); }
    const qs::ObjectSet<Vector3f, qs::DefaultComparator<Vector3f>>& GetPoints() const { return m_points; }
    /// Valid until points are added. An empty line asserts and gives a point that belongs to no line.
    const Vector3f* GetPointsHead() const { return &m_points.GetAt(0); }

    const Vector4f& GetColor() const { return m_color; }
    void SetColor(const Vector4f& color) { m_color = color; }
    void SetColor(const qs::Color<float>& color) { m_color = {color.r, color.g, color.b, color.a}; }
    /// Seconds left; gw::LineMan tells what it does with them.
    float GetLifeTime() const { return m_lifeTime; }
    void SetLifeTime(float lifeTime) { m_lifeTime = lifeTime; }
    EPrimitiveTopology GetTopology() const { return m_topology; }

private:
    qs::ObjectSet<Vector3f, qs::DefaultComparator<Vector3f>> m_points;
    Vector4f m_color;
    float m_lifeTime = 0.0f;
    EPrimitiveTopology m_topology;
};

/// The same in the coordinates of a 2D mode.
class GW_API Line2D
{
public:
    QS_DECLARE_ALLOC(gw::Line2D)

    using Points = qs::PrimitiveArray<Vector2f, qs::GetDefaultValueFunctor<Vector2f>>;

    explicit Line2D(EPrimitiveTopology topology);
    ~Line2D();

    /// Keeps the memory.
    void Clear();
    /// Appends `count` points. Meant for short lines: the array grows by one point at a time. A count of 0 asserts.
    void AddPoints(const Vector2f* points, const unsigned short& count);
    /// As gw::Line's.
    void UpdatePoints(const Vector2f* points, unsigned short count);

    std::uint32_t GetCount() const { return m_points.GetSize(); }
    const Points& GetPoints() const { return m_points; }
    const Vector2f* GetPointsHead() const { return &m_points.GetAt(0); }

    const Vector4f& GetColor() const { return m_color; }
    void SetColor(const Vector4f& color) { m_color = color; }
    float GetLifeTime() const { return m_lifeTime; }
    void SetLifeTime(float lifeTime) { m_lifeTime = lifeTime; }
    EPrimitiveTopology GetTopology() const { return m_topology; }

private:
    Points m_points{1};
    Vector4f m_color;
    float m_lifeTime = 0.0f;
    EPrimitiveTopology m_topology;
};

} // namespace gw
