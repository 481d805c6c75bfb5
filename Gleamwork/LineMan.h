// Wire shapes for debugging, from any thread.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/Line.h"
#include "Gleamwork/LineIndex.h"

#include <qs/Lock.h>
#include <qs/Set.h>
#include <qs/Settings.h>
#include <qs/Singleton.h>

namespace gw {

class RendererCommandBuffer;
class RenderView;

/// Draws wire shapes for debugging. Any code adds shapes, which become line segments in world space; a view draws what
/// there is once a frame: Update, then the Render operations. All shapes end in AddPoints, and points of one colour
/// share one line, which is one draw call.
///
/// The life time of a shape, in seconds, says which list its points go to:
///
/// | life time | list | drawn by | until |
/// |---|---|---|---|
/// | below 0, or not a number | world lines | RenderWorldLines | Clear |
/// | 0 | frame lines | RenderDebugLines | the next Update: one frame |
/// | above 0 | life lines | RenderDebugLines | the Update at which nothing of it is left |
///
/// Lines that a caller built and registered (AddLine(Line*)) are drawn by RenderWorldLines until Clear or RemoveLine,
/// and 2D lines by Render2DLines until Clear2DLines, whatever their life time. While Global->debugLines is 0, shapes
/// are dropped in silence; 2D lines and registered lines are not.
///
/// Threads: one recursive lock covers every list and every line in them, so any thread may add shapes while another
/// updates or renders; a shape is added whole. A command buffer that records keeps pointers to the points: between
/// recording and replay nobody may add, update or clear. A command buffer that does not record draws under the lock and
/// has no such rule.
///
/// Angles are radians unless the name says degrees. Axes that are told as "not normalised" scale the shape by their
/// length. An arc or circle of more than MAX_SEGMENTS segments, and a sphere patch that does not fit its rows, is
/// refused with an assertion and draws nothing.
class GW_API LineMan : public qs::Singleton<LineMan>
{
public:
    static constexpr unsigned MAX_SEGMENTS = 65536; ///< of an arc or circle, and rows of a sphere patch
    static constexpr unsigned MAX_ROW_POINTS = 74;  ///< longitudes of a sphere patch

    /// Pairs of points, each pair a segment. An odd count asserts and adds nothing.
    void AddPoints(const Vector3f* points, const unsigned short& count, const Vector4f& color, float lifeTime,
                   const Matrix4x4f& transform);
    void AddLine(const Vector3f& a, const Vector3f& b, const Vector4f& color, float lifeTime);
    /// Takes over the line: Clear destroys it. Null asserts, and so does a line that is registered already.
    void AddLine(Line* line);
    /// Gives the line back to the caller. The order of the other registered lines may change. A line that is not
    /// registered is ignored.
    void RemoveLine(Line* line);
    /// From (0, 0) at the top left of the view's viewport to (2, 2) at its bottom right, as Setup2DMode(-1, 1, -1, 1)
    /// places them. Each is a line of its own; the life time is kept but does not count.
    void Add2DLine(const Vector2f& a, const Vector2f& b, const Vector4f& color, float lifeTime);

    // Shapes of straight edges: LineShapes.cpp

    void AddTriangle(const Vector3f& a, const Vector3f& b, const Vector3f& c, const Vector4f& color, float lifeTime);
    void AddBox(const Vector3f& minimum, const Vector3f& maximum, const Vector4f& color, float lifeTime);
    /// The corners are relative to the centre and turned around it.
    void AddBox(const Vector3f& center, const Matrix3x3f& rotation, const Vector3f& minimum, const Vector3f& maximum,
                const Vector4f& color, float lifeTime);
    /// An octahedron with its corners on the sphere, along the rows of the rotation.
    void AddSphere(const Vector3f& center, const Matrix3x3f& rotation, float radius, const Vector4f& color,
                   float lifeTime);
    void AddSphere(const Vector3f& center, float radius, const Vector4f& color, float lifeTime);
    /// A prism along y over a square with its corners on the axes.
    void AddCylinder(const Vector3f& center, const Vector3f& halfExtents, const Vector4f& color, float lifeTime);
    /// The same with a pyramid at each end. `height` is the prism's, without the ends.
    void AddCapsule(const Vector3f& center, float radius, float height, const Vector4f& color, float lifeTime,
                    const Matrix4x4f& transform);
    /// The rows of the rotation as arrows without heads: x dark red, y dark green, z dark blue.
    void AddTransform(const Vector3f& position, const Matrix3x3f& rotation, float size, float lifeTime);

    // Shapes of round edges: LineCurves.cpp

    /// From `minAngle` to `maxAngle` on the ellipse with the axes side * radiusA and (normal x side) * radiusB, neither
    /// normalised. The segments are equally long in angle, the whole number of `stepDegrees` that fits, at least one.
    /// `drawSector` joins both ends to the centre.
    void AddArc(const Vector3f& center, const Vector3f& normal, const Vector3f& side, float radiusA, float radiusB,
                float minAngle, float maxAngle, const Vector4f& color, bool drawSector, float stepDegrees,
                float lifeTime);
    /// Around a normal of any length. A `stepDegrees` that does not divide 360 leaves the rest open.
    void AddCircle(const Vector3f& center, const Vector3f& normal, float radius, const Vector4f& color,
                   float stepDegrees, float lifeTime);
    /// A net on the part of a sphere between two latitudes around the pole axis `normal` and two longitudes that count
    /// from `side`; the two are perpendicular and not normalised. Its corners are joined to the centre, or its ends to
    /// each other when it goes all around. A minimum above its maximum asks for all latitudes or longitudes.
    void AddSpherePatch(const Vector3f& center, const Vector3f& normal, const Vector3f& side, float radius,
                        float minLatitude, float maxLatitude, float minLongitude, float maxLongitude,
                        const Vector4f& color, float stepDegrees, float lifeTime);

    // Once a frame

    /// Empties the frame lines, takes the time step off the life lines and destroys those with nothing left.
    void Update(const qs::GameTime& time);
    /// Destroys all lines, registered and 2D lines included.
    void Clear();
    void Clear2DLines();

    // Drawing: LineDrawing.cpp. All set the view's viewport; the first two also set the camera's matrices and planes as
    // render properties, and draw nothing for a view without a camera.

    /// World and registered lines, tested against the depth buffer and written to it.
    void RenderWorldLines(RendererCommandBuffer* commandBuffer, const RenderView* view);
    /// Frame and life lines, tested against the depth buffer.
    void RenderDebugLines(RendererCommandBuffer* commandBuffer, const RenderView* view);
    /// Leaves the 2D mode set.
    void Render2DLines(RendererCommandBuffer* commandBuffer, const RenderView* view);

protected:
    friend class qs::Singleton<LineMan>;

    using LineSet = qs::PrimitiveSet<Line*>;

    LineMan();
    ~LineMan();

    // The line of a colour, all four floats equal, or null. The caller holds the lock.

    Line* GetLine(const Vector4f& color) const;
    Line* GetFrameDebugLine(const Vector4f& color) const;
    /// One line cannot die at two times: lines of this list have a life time of their own each.
    Line* GetLifeDebugLine(const Vector4f& color, float lifeTime) const;
    /// Whether a life time is one of frame and life lines.
    static bool IsDebugLine(float lifeTime) { return lifeTime >= 0.0f; }

    LineSet m_frameLines;
    LineSet m_lifeLines;
    LineSet m_worldLines;
    LineSet m_userLines;
    qs::PrimitiveSet<Line2D*> m_lines2D;
    qs::CriticalSection m_lock;

private:
    /// What AddPoints does with an identity matrix.
    void AddPoints(const Vector3f* points, unsigned short count, const Vector4f& color, float lifeTime);
    /// The line for `count` points, or null when they are to be dropped.
    Line* GetTarget(unsigned short count, const Vector4f& color, float lifeTime);
    /// The line that points of this colour and life time go to, made when there is none; null without memory.
    Line* ProvideLine(const Vector4f& color, float lifeTime);
    Line* SearchLine(const Vector4f& color, float lifeTime);
    QS_COLD Line* MakeLine(const Vector4f& color, float lifeTime, LineSet& lines, LineIndex& index);

    /// The line that was provided last and its key, for runs of one colour. Null when there may be none.
    struct Last
    {
        Line* line = nullptr;
        float lifeTime = 0.0f;
        Vector4f color;
    };

    Last m_last;
    // Frame and world lines have a life time of 0 in their index.
    LineIndex m_frameIndex;
    LineIndex m_lifeIndex;
    LineIndex m_worldIndex;
};

} // namespace gw
