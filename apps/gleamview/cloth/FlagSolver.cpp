// Wind, prediction and constraints.
#include "cloth/FlagSolver.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace gleamview {

namespace {

constexpr float s_gravity = 9.81f;
constexpr float s_density = 0.16f;  ///< kilograms per square metre: light nylon
constexpr float s_drag = 0.75f;     ///< newtons per square metre for each metre per second against the cloth
constexpr float s_friction = 0.06f; ///< the same along the cloth
constexpr float s_keptSpeed = 0.9985f;
constexpr float s_edgeStiffness = 0.9f;
constexpr float s_bendStiffness = 0.04f;
constexpr int s_passes = 12;

/// Metres per second: along x with gusts, and waves across that run with it.
Vector3f GetWind(const Vector3f& place, double time)
{
    // The waves return to themselves, so that the time may grow large and the floats stay small.
    const auto wave = [time](double perSecond, float phase) {
        return std::sin(static_cast<float>(std::fmod(time * perSecond, 6.283185307179586)) + phase);
    };
    const float speed = 10.0f + 2.0f * wave(0.9, 0.0f) + 0.8f * wave(2.3, 1.0f);
    const float across = 2.4f * wave(4.1, -2.2f * place.x) + 1.3f * wave(9.7, 1.9f * place.y - 4.6f * place.x);
    return {speed, 0.5f * wave(3.1, 2.0f * place.x), across};
}

} // namespace

FlagSolver::FlagSolver(const gw::ClothData& data) : m_freedom(data.positions.GetSize())
{
    for (std::uint32_t i = 0; i < data.positions.GetSize(); ++i) {
        const Vector4f& position = data.positions[i];
        m_positions.emplace_back(position.x, position.y, position.z);
    }
    m_previous = m_positions;
    m_accelerations.resize(m_positions.size());
    for (const std::int32_t vertex : data.simulatedPoints.vertices) {
        m_freedom[static_cast<std::size_t>(vertex)] = data.weights[static_cast<std::uint32_t>(vertex)];
    }
    m_copies.assign(data.duplicates.GetData(), data.duplicates.GetData() + data.duplicates.GetSize());
    for (const gw::ClothLink& link : data.links) {
        AddConstraint(link.first, link.second, s_edgeStiffness);
    }
    float area = 0.0f;
    for (std::uint32_t i = 0; i < data.indices.GetSize(); i += 3) {
        Triangle triangle;
        std::copy_n(&data.indices[i], 3, triangle.corners);
        const auto [a, b, c] = triangle.corners;
        area += 0.5f * (m_positions[b] - m_positions[a]).Cross(m_positions[c] - m_positions[a]).Length();
        m_triangles.push_back(triangle);
    }
    AddBends();
    m_vertexArea = area / static_cast<float>(std::max(data.simulatedPoints.vertices.GetSize(), 1u));
}

void FlagSolver::AddConstraint(std::int32_t first, std::int32_t second, float stiffness)
{
    const auto a = static_cast<std::uint32_t>(first);
    const auto b = static_cast<std::uint32_t>(second);
    if (m_freedom[a] + m_freedom[b] > 0.0f) {
        m_constraints.push_back({a, b, (m_positions[a] - m_positions[b]).Length(), stiffness});
    }
}

/// Between the two corners that face each other across an edge: cloth folds easily, but not for nothing.
void FlagSolver::AddBends()
{
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> facing;
    for (const Triangle& triangle : m_triangles) {
        for (int i = 0; i < 3; ++i) {
            const std::uint32_t corner = triangle.corners[i];
            const auto [low, high] = std::minmax(triangle.corners[(i + 1) % 3], triangle.corners[(i + 2) % 3]);
            const auto [found, isFirst] = facing.try_emplace({low, high}, corner);
            if (!isFirst) {
                AddConstraint(static_cast<std::int32_t>(found->second), static_cast<std::int32_t>(corner),
                              s_bendStiffness);
            }
        }
    }
}

void FlagSolver::Step(double time)
{
    std::fill(m_accelerations.begin(), m_accelerations.end(), Vector3f(0.0f, -s_gravity, 0.0f));
    AddWind(time);
    Predict();
    for (int pass = 0; pass < s_passes; ++pass) {
        Solve();
    }
    MoveCopies(m_positions);
}

/// Air pushes a triangle along its normal as fast as it comes against it, and drags a little at its face.
void FlagSolver::AddWind(double time)
{
    constexpr auto perStep = static_cast<float>(s_step);
    for (const Triangle& triangle : m_triangles) {
        const auto [a, b, c] = triangle.corners;
        const Vector3f middle = (m_positions[a] + m_positions[b] + m_positions[c]) * (1.0f / 3.0f);
        const Vector3f before = (m_previous[a] + m_previous[b] + m_previous[c]) * (1.0f / 3.0f);
        const Vector3f twiceArea = (m_positions[b] - m_positions[a]).Cross(m_positions[c] - m_positions[a]);
        const Vector3f against = GetWind(middle, time) - (middle - before) * (1.0f / perStep);
        const Vector3f normal = twiceArea.Normalized();
        const Vector3f across = normal * normal.Dot(against);
        const Vector3f force = (across * s_drag + (against - across) * s_friction) * (0.5f * twiceArea.Length());
        for (const std::uint32_t corner : triangle.corners) {
            m_accelerations[corner] += force * (1.0f / (3.0f * s_density * m_vertexArea));
        }
    }
}

void FlagSolver::Predict()
{
    constexpr auto squared = static_cast<float>(s_step * s_step);
    for (std::size_t i = 0; i < m_positions.size(); ++i) {
        const Vector3f moved = (m_positions[i] - m_previous[i]) * s_keptSpeed + m_accelerations[i] * squared;
        m_previous[i] = m_positions[i];
        m_positions[i] += moved * m_freedom[i];
    }
}

void FlagSolver::Solve()
{
    for (const Constraint& constraint : m_constraints) {
        Vector3f& first = m_positions[constraint.first];
        Vector3f& second = m_positions[constraint.second];
        const float firstShare = m_freedom[constraint.first];
        const float secondShare = m_freedom[constraint.second];
        const Vector3f between = second - first;
        const float length = between.Length();
        if (length > 1e-6f) {
            const float pull =
                constraint.stiffness * (length - constraint.length) / (length * (firstShare + secondShare));
            first += between * (pull * firstShare);
            second -= between * (pull * secondShare);
        }
    }
}

void FlagSolver::MoveCopies(std::vector<Vector3f>& values) const
{
    for (const gw::DuplicateIndices& copy : m_copies) {
        values[static_cast<std::size_t>(copy.duplicate)] = values[static_cast<std::size_t>(copy.source)];
    }
}

std::vector<Vector3f> FlagSolver::ComputeNormals() const
{
    std::vector<Vector3f> normals(m_positions.size());
    for (const Triangle& triangle : m_triangles) {
        const auto [a, b, c] = triangle.corners;
        const Vector3f normal = (m_positions[b] - m_positions[a]).Cross(m_positions[c] - m_positions[a]);
        for (const std::uint32_t corner : triangle.corners) {
            normals[corner] += normal;
        }
    }
    for (Vector3f& normal : normals) {
        normal = (normal * (1.0f / std::max(normal.Length(), 1e-20f)));
    }
    MoveCopies(normals);
    return normals;
}

} // namespace gleamview
