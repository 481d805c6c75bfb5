// The viewer's flag: what its solver keeps to, and that it moves in the picture.
#include "GleamviewFixture.h"

#include "cloth/FlagSolver.h"
#include "draw/DeviceScene.h"
#include "scene/FlagScene.h"

#include <Gleamwork/ClothData.h>

#include <cmath>

namespace {

using gleamview::FlagSolver;

class Flag : public testing::Test
{
protected:
    void SetUp() override
    {
        const gleamview::SceneData scene = gleamview::MakeFlagScene();
        for (const gleamview::ScenePart& part : scene.parts) {
            if (part.isCloth) {
                Build(part);
                m_bound = part.bound;
            }
        }
    }
    void Build(const gleamview::ScenePart& part)
    {
        std::vector<gleamview::SceneVertex> vertices(part.vertices, part.vertices + part.vertexCount);
        std::vector<std::uint16_t> indices(part.indices, part.indices + part.indexCount);
        gw::BuildClothData(gw::StagingModelData(indices.data(), int(indices.size()), 2, vertices.data(),
                                                int(vertices.size()), sizeof vertices[0],
                                                gleamview::g_sceneVertexFormat, 4),
                           m_data);
    }
    float GetLength(const std::vector<Vector3f>& positions, const gw::ClothLink& link) const
    {
        return (positions[std::size_t(link.first)] - positions[std::size_t(link.second)]).Length();
    }

    gw::ClothData m_data;
    qs::Bound m_bound;
};

TEST_F(Flag, BlowsWithoutTearingOrLeavingThePole)
{
    ASSERT_EQ(m_data.simulatedPoints.vertices.GetSize(), 400u);
    ASSERT_EQ(m_data.duplicates.GetSize(), 16u); // the seam
    FlagSolver solver(m_data);
    FlagSolver same(m_data);
    const std::vector<Vector3f> start = solver.GetPositions();
    for (int step = 0; step < 3 * 240; ++step) {
        solver.Step(step * FlagSolver::s_step);
        same.Step(step * FlagSolver::s_step);
    }
    const std::vector<Vector3f>& now = solver.GetPositions();
    EXPECT_EQ(now, same.GetPositions());
    for (const gw::ClothLink& link : m_data.links) {
        EXPECT_NEAR(GetLength(now, link), GetLength(start, link), GetLength(start, link) * 0.15f);
    }
    for (const gw::DuplicateIndices& copy : m_data.duplicates) {
        EXPECT_EQ(now[std::size_t(copy.duplicate)], now[std::size_t(copy.source)]);
    }
    float farthest = 0.0f;
    for (std::size_t i = 0; i < now.size(); ++i) {
        const bool isHeld = m_data.skinnedPoints.vertices.Contains(int(i));
        EXPECT_TRUE(!isHeld || now[i] == start[i]);
        EXPECT_TRUE(std::isfinite(now[i].x) && m_bound.minimum.x <= now[i].x && now[i].x <= m_bound.maximum.x);
        EXPECT_TRUE(m_bound.minimum.y <= now[i].y && now[i].y <= m_bound.maximum.y);
        EXPECT_TRUE(m_bound.minimum.z <= now[i].z && now[i].z <= m_bound.maximum.z);
        farthest = std::max(farthest, (now[i] - start[i]).Length());
    }
    EXPECT_GT(farthest, 0.2f);
    for (const Vector3f& normal : solver.ComputeNormals()) {
        EXPECT_NEAR(normal.Length(), 1.0f, 1e-3f);
    }
}

TEST_F(Gleamview, TheFlagMovesFromFrameToFrame)
{
    const auto draw = [&](const std::string& arguments) {
        const Outcome outcome = Run("--flag --size 160x120 --device software --out " + File("flag.png") + arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.errors;
        return Read("flag.png");
    };
    const Picture first = draw("");
    const Picture again = draw("");
    const Picture later = draw(" --frames 13");
    const Picture sameTime = draw(" --time 0.2");
    EXPECT_EQ(first.rgba, again.rgba);
    EXPECT_EQ(later.rgba, sameTime.rgba);
    const auto countChanges = [&](int from, int to) {
        int changed = 0;
        for (int y = 0; y < 120; ++y) {
            for (int x = from; x < to; ++x) {
                changed += std::abs(first.At(x, y)[0] - later.At(x, y)[0]) > 30;
            }
        }
        return changed;
    };
    EXPECT_GT(countChanges(50, 160), 100); // the cloth and its shadow
    EXPECT_EQ(countChanges(0, 30), 0);     // nothing blows against the wind
}

} // namespace
