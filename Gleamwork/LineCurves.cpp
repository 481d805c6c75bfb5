// Shapes of round edges.
#include "Gleamwork/LineMan.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <qs/Log.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "LineCurves.cpp";
constexpr float RADIANS_PER_DEGREE = 0.017453292f;
constexpr float HALF_PI = 1.5707964f;
constexpr float PI = 3.1415927f;
constexpr float TWO_PI = 6.2831855f;

// Whether a shape of `segments` (which may be anything, also not a number) can be drawn; asserts if not.
bool FitsLimit(float segments, float stepDegrees, const char* function)
{
    if (std::abs(segments) <= float(LineMan::MAX_SEGMENTS)) {
        return true;
    }
    QS_LOG_ASSERT(FILE_NAME, function, "A step of %g degrees makes %g segments, the limit is %u. Nothing is drawn.",
                  double(stepDegrees), double(segments), LineMan::MAX_SEGMENTS);
    return false;
}

// The net of a sphere patch: where its rows and columns lie, and what its ends are joined to.
struct PatchGrid
{
    float minLatitude, latitudeStep, minLongitude, longitudeStep;
    int latitudeCount, longitudeCount;
    bool drawMinPole, drawMaxPole, closed;
};

// Points along a range, the two ends included.
int CountPoints(float steps)
{
    return std::max(2, int(std::max(steps, 0.0f)) + 1);
}

std::optional<PatchGrid> MakePatchGrid(float minLatitude, float maxLatitude, float minLongitude, float maxLongitude,
                                       float stepDegrees)
{
    constexpr const char* FUNCTION = "gw::LineMan::AddSpherePatch";
    const float step = stepDegrees * RADIANS_PER_DEGREE;
    const float lowest = step - HALF_PI;
    const float highest = HALF_PI - step;
    PatchGrid grid = {};
    grid.drawMinPole = minLatitude <= -HALF_PI;
    grid.drawMaxPole = maxLatitude >= HALF_PI;
    minLatitude = grid.drawMinPole ? lowest : minLatitude;
    maxLatitude = grid.drawMaxPole ? highest : maxLatitude;
    if (minLatitude > maxLatitude) {
        minLatitude = lowest;
        maxLatitude = highest;
        grid.drawMinPole = grid.drawMaxPole = true;
    }
    grid.closed = maxLongitude - minLongitude >= TWO_PI;
    if (minLongitude > maxLongitude) {
        minLongitude = step - PI;
        maxLongitude = PI;
        grid.closed = true;
    }
    const float rows = (maxLatitude - minLatitude) / step;
    const float columns = (maxLongitude - minLongitude) / step;
    if (!(step > 0.0f) || !(columns < float(LineMan::MAX_ROW_POINTS))) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "A step of %g degrees does not cut %g radians of longitude into at most %u points. Nothing is "
                      "drawn.",
                      double(stepDegrees), double(maxLongitude - minLongitude), LineMan::MAX_ROW_POINTS);
        return std::nullopt;
    }
    if (!FitsLimit(rows, stepDegrees, FUNCTION)) {
        return std::nullopt;
    }
    grid.minLatitude = minLatitude;
    grid.minLongitude = minLongitude;
    grid.latitudeCount = CountPoints(rows);
    grid.longitudeCount = CountPoints(columns);
    grid.latitudeStep = (maxLatitude - minLatitude) / float(grid.latitudeCount - 1);
    grid.longitudeStep = (maxLongitude - minLongitude) / float(grid.longitudeCount - 1);
    return grid;
}

} // namespace

void LineMan::AddArc(const Vector3f& center, const Vector3f& normal, const Vector3f& side, float radiusA, float radiusB,
                     float minAngle, float maxAngle, const Vector4f& color, bool drawSector, float stepDegrees,
                     float lifeTime)
{
    const float range = maxAngle - minAngle;
    const float segments = range / (stepDegrees * RADIANS_PER_DEGREE);
    if (!FitsLimit(segments, stepDegrees, "gw::LineMan::AddArc")) {
        return;
    }
    const int count = int(segments) != 0 ? int(segments) : 1;
    const Vector3f a = side * radiusA;
    const Vector3f b = normal.Cross(side) * radiusB;
    const auto at = [&](float angle) { return center + std::cos(angle) * a + std::sin(angle) * b; };

    qs::CSLock lock(m_lock);
    Vector3f last = at(minAngle);
    if (drawSector) {
        AddLine(center, last, color, lifeTime);
    }
    for (int i = 1; i <= count; ++i) {
        const Vector3f point = at(minAngle + float(i) * range / float(count));
        AddLine(last, point, color, lifeTime);
        last = point;
    }
    if (drawSector) {
        AddLine(center, last, color, lifeTime);
    }
}

void LineMan::AddCircle(const Vector3f& center, const Vector3f& normal, float radius, const Vector4f& color,
                        float stepDegrees, float lifeTime)
{
    const float steps = TWO_PI / (stepDegrees * RADIANS_PER_DEGREE);
    if (!FitsLimit(steps, stepDegrees, "gw::LineMan::AddCircle")) {
        return;
    }
    // Two axes across the normal without a square root. (Frisvad, "Building an Orthonormal Basis from a 3D Unit Vector
    // Without Normalization", 2012)
    const Vector3f n = normal.Normalized();
    Vector3f e1(0.0f, -1.0f, 0.0f);
    Vector3f e2(-1.0f, 0.0f, 0.0f);
    if (!(n.z < -0.9999999f)) {
        const float k = 1.0f / (1.0f + n.z);
        e1 = {1.0f - n.x * n.x * k, -n.x * n.y * k, -n.x};
        e2 = {-n.x * n.y * k, 1.0f - n.y * n.y * k, -n.y};
    }
    const float segments = std::max(1.0f, steps);
    const float angleStep = TWO_PI / segments;

    qs::CSLock lock(m_lock);
    Vector3f last = center + radius * e1;
    for (int i = 1; i <= int(segments); ++i) {
        const float angle = float(i) * angleStep;
        const Vector3f point = center + radius * (std::cos(angle) * e1 + std::sin(angle) * e2);
        AddLine(last, point, color, lifeTime);
        last = point;
    }
}

void LineMan::AddSpherePatch(const Vector3f& center, const Vector3f& normal, const Vector3f& side, float radius,
                             float minLatitude, float maxLatitude, float minLongitude, float maxLongitude,
                             const Vector4f& color, float stepDegrees, float lifeTime)
{
    const auto grid = MakePatchGrid(minLatitude, maxLatitude, minLongitude, maxLongitude, stepDegrees);
    if (!grid) {
        return;
    }
    const Vector3f up = normal, across = up.Cross(side);
    const Vector3f north = center + radius * up, south = center - radius * up;
    Vector3f rows[2][MAX_ROW_POINTS];
    Vector3f *last = rows[0], *current = rows[1];

    qs::CSLock lock(m_lock);
    for (int a = 0; a < grid->latitudeCount; ++a) {
        const float t = grid->minLatitude + float(a) * grid->latitudeStep;
        const bool lastRow = a == grid->latitudeCount - 1;
        for (int b = 0; b < grid->longitudeCount; ++b) {
            const float u = grid->minLongitude + float(b) * grid->longitudeStep;
            const Vector3f point = center + radius * (std::cos(t) * std::cos(u) * side +
                                                      std::cos(t) * std::sin(u) * across + std::sin(t) * up);
            const auto join = [&](const Vector3f& from) { AddLine(from, point, color, lifeTime); };
            const bool lastColumn = b == grid->longitudeCount - 1;
            current[b] = point;
            if (a != 0) {
                join(last[b]);
            } else if (grid->drawMaxPole) {
                join(south);
            }
            if (b != 0) {
                join(current[b - 1]);
            }
            if (lastRow && grid->drawMinPole) {
                join(north);
            }
            if (grid->closed) {
                if (lastColumn) {
                    join(current[0]);
                }
            } else if ((a == 0 || lastRow) && (b == 0 || lastColumn)) {
                join(center);
            }
        }
        std::swap(last, current);
    }
}

} // namespace gw
