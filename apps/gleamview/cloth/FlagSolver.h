// Cloth in the wind, moved by its positions: predict, then pull every edge back to its length.
#pragma once

#include <Gleamwork/ClothData.h>

#include <cstdint>
#include <qs/Math.h>
#include <vector>

namespace gleamview {

/// Metres and seconds, y up. The cloth weighs the same everywhere; what has no weight in the data holds still.
class FlagSolver
{
public:
    /// Copies what it needs. The cloth starts where the data has it, at rest.
    explicit FlagSolver(const gw::ClothData& data);

    /// One step of s_step seconds. `time` decides on the wind, so that a flag moves the same way every time.
    void Step(double time);

    /// Of the simulated range, copies included.
    const std::vector<Vector3f>& GetPositions() const { return m_positions; }
    /// Smooth over the triangles that meet in a vertex; of unit length.
    std::vector<Vector3f> ComputeNormals() const;

    static constexpr double s_step = 1.0 / 240.0;

private:
    struct Constraint
    {
        std::uint32_t first;
        std::uint32_t second;
        float length;
        float stiffness; ///< share of the error that one pass takes away
    };
    struct Triangle
    {
        std::uint32_t corners[3];
    };

    void AddConstraint(std::int32_t first, std::int32_t second, float stiffness);
    void AddBends();
    void AddWind(double time);
    void Predict();
    void Solve();
    void MoveCopies(std::vector<Vector3f>& values) const;

    std::vector<Vector3f> m_positions;
    std::vector<Vector3f> m_previous;
    std::vector<Vector3f> m_accelerations;
    std::vector<float> m_freedom; ///< 0 holds still, 1 moves freely
    std::vector<Constraint> m_constraints;
    std::vector<Triangle> m_triangles;
    std::vector<gw::DuplicateIndices> m_copies;
    float m_vertexArea = 1.0f; ///< square metres per moving vertex
};

} // namespace gleamview
