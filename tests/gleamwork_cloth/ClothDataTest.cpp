// Cloth data: against the plain form on random meshes, at the edges of each step, and of meshes that are none.
#include "ClothMesh.h"
#include "ClothReference.h"

#include "Gleamwork/ClothReorder.h"

#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <qs/Log.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <class Container>
auto ToVector(const Container& container)
{
    return std::vector(container.GetData(), container.GetData() + container.GetSize());
}

template <class Pair>
std::vector<std::pair<int, int>> ToPairs(const qs::PrimitiveSet<Pair>& set)
{
    std::vector<std::pair<int, int>> pairs;
    for (const auto& [first, second] : set) {
        pairs.emplace_back(first, second);
    }
    return pairs;
}

void ExpectPoints(const gw::ClothSkinningPointInfo& points, const ClothReference::Points& expected)
{
    EXPECT_EQ(ToVector(points.vertices), expected.vertices);
    EXPECT_EQ(ToVector(points.positions), expected.positions);
    EXPECT_EQ(ToVector(points.blendIndices), expected.blendIndices);
    EXPECT_EQ(ToVector(points.blendWeights), expected.blendWeights);
}

class ClothDataTest : public testing::Test
{
protected:
    template <class Index = std::uint32_t>
    void Build()
    {
        m_data.id = qs::FixedString::Create("cape");
        gw::BuildClothData(m_mesh.Get<Index>(), m_data);
    }
    void ExpectRefusal(const gw::StagingModelData& staging, const char* text)
    {
        const ClothMesh before = m_mesh;
        m_data.id = qs::FixedString::Create("cape");
        gw::BuildClothData(staging, m_data);
        EXPECT_EQ(m_log.CountContaining(text, qs::LogLevelError), 1u) << m_log.GetLast();
        EXPECT_EQ(m_log.CountContaining("cape"), 1u);
        EXPECT_EQ(m_log.Count(), 1u);
        EXPECT_EQ(m_data.positions.GetSize() + m_data.indices.GetSize() + m_data.links.GetSize(), 0u);
        EXPECT_EQ(m_mesh.vertices, before.vertices);
        EXPECT_EQ(m_mesh.indices, before.indices);
        m_log.Clear();
    }

    ClothMesh m_mesh;
    gw::ClothData m_data;
    qs::LogCapture m_log;
};

template <class Index>
void CompareWithReference(unsigned seed)
{
    SCOPED_TRACE(seed);
    qs::LogCapture log;
    ClothMesh mesh = MakeRandomMesh(seed);
    ClothMesh expectedMesh = mesh;
    gw::ClothData data;
    gw::BuildClothData(mesh.Get<Index>(), data);
    const ClothReference expected(expectedMesh);
    EXPECT_EQ(ToVector(data.positions), expected.positions);
    EXPECT_EQ(ToVector(data.weights), expected.weights);
    EXPECT_EQ(data.weights.GetUsed(),
              data.weights.GetSize() - std::count(expected.weights.begin(), expected.weights.end(), 0.0f));
    EXPECT_EQ(ToVector(data.indices), expected.indices);
    EXPECT_EQ(ToPairs(data.links), expected.links);
    EXPECT_EQ(ToPairs(data.duplicates), expected.duplicates);
    ExpectPoints(data.skinnedPoints, expected.skinned);
    ExpectPoints(data.simulatedPoints, expected.simulated);
    EXPECT_EQ(mesh.vertices, expectedMesh.vertices);
    if (sizeof(Index) == 2) {
        mesh.indices.assign(mesh.narrow.begin(), mesh.narrow.end());
    }
    EXPECT_EQ(mesh.indices, expectedMesh.indices);
    EXPECT_EQ(log.CountContaining("Trying to a duplicate entry for vertices that are not part of the simulation",
                                  qs::LogLevelAssertion),
              std::uint64_t(expected.lostSources));
    EXPECT_EQ(log.Count(), std::uint64_t(expected.lostSources));
}

} // namespace

TEST(ClothReferenceTest, RandomMeshesGiveWhatLinearSearchesGive)
{
    for (unsigned seed = 0; seed < 1500 && !testing::Test::HasFailure(); ++seed) {
        CompareWithReference<std::uint32_t>(seed);
        CompareWithReference<std::uint16_t>(seed + 100000);
    }
}

TEST_F(ClothDataTest, WithoutWeightsNothingIsSimulatedAndNothingMoves)
{
    for (int i = 0; i < 4; ++i) {
        m_mesh.AddVertex(float(i & 1), float(i >> 1), 0.0f, 0);
    }
    m_mesh.indices = {2, 1, 0, 1, 2, 3};
    const ClothMesh before = m_mesh;
    Build();
    EXPECT_EQ(m_data.positions.GetSize() + m_data.weights.GetSize() + m_data.indices.GetSize(), 0u);
    EXPECT_EQ(m_data.links.GetSize() + m_data.duplicates.GetSize() + m_data.skinnedPoints.vertices.GetSize(), 0u);
    EXPECT_EQ(m_mesh.vertices, before.vertices);
    EXPECT_EQ(m_mesh.indices, before.indices);
    EXPECT_EQ(m_log.Count(), 0u);
}

TEST_F(ClothDataTest, CopiesStayWithTheirSource)
{
    m_mesh.AddVertex(9, 0, 0, 0); // far from all: goes to the back
    for (int i = 0; i < 3; ++i) {
        m_mesh.AddVertex(1, 2, 3, 255);
    }
    m_mesh.AddVertex(2, 2, 3, 0);
    m_mesh.AddVertex(2, 3, 3, 0);
    m_mesh.indices = {3, 4, 5};
    Build<std::uint16_t>();
    // Vertex 5 took the place of vertex 0.
    EXPECT_EQ(m_mesh.vertices[0].texCoord[0], 5.0f);
    EXPECT_EQ(m_mesh.vertices[5].texCoord[0], 0.0f);
    EXPECT_THAT(m_mesh.narrow, ElementsAre(3, 4, 0)); // the render mesh keeps its copy
    EXPECT_THAT(ToVector(m_data.indices), ElementsAre(1, 4, 0));
    EXPECT_THAT(ToPairs(m_data.duplicates), ElementsAre(std::pair(2, 1), std::pair(3, 1)));
    EXPECT_THAT(ToVector(m_data.weights), ElementsAre(0.0f, 1.0f, 0.0f, 0.0f, 0.0f));
    EXPECT_THAT(ToPairs(m_data.links), ElementsAre(std::pair(1, 4), std::pair(1, 0)));
    EXPECT_THAT(ToVector(m_data.simulatedPoints.vertices), ElementsAre(1));
    EXPECT_THAT(ToVector(m_data.skinnedPoints.vertices), ElementsAre(4, 0));
    EXPECT_THAT(ToVector(m_data.skinnedPoints.positions), ElementsAre(Vector3f(2, 2, 3), Vector3f(2, 3, 3)));
    EXPECT_THAT(ToVector(m_data.skinnedPoints.blendIndices), ElementsAre(4u << 16, 5u << 16));
    EXPECT_FLOAT_EQ(m_data.skinnedPoints.blendWeights[1].y, 5 / 255.0f);

    gw::ClothSkinningPointInfo copy;
    copy.Clone(m_data.skinnedPoints);
    const gw::ClothSkinningPointInfo moved(std::move(copy));
    EXPECT_EQ(ToVector(moved.vertices), ToVector(m_data.skinnedPoints.vertices));
    EXPECT_EQ(ToVector(moved.blendWeights), ToVector(m_data.skinnedPoints.blendWeights));
    EXPECT_EQ(copy.positions.GetData(), nullptr);
}

TEST_F(ClothDataTest, TheFaintestColourCountsAndOneRingComesAlong)
{
    for (int i = 0; i < 7; ++i) {
        m_mesh.AddVertex(float(i), float(i * i), 0.0f, i == 0 ? 1 : 0);
    }
    m_mesh.indices = {0, 1, 2, 2, 1, 3, 3, 4, 5, 5, 4, 6, 6, 6}; // two indices beyond the last triangle
    Build();
    EXPECT_THAT(ToVector(m_data.weights), ElementsAre(float(1 / 255.0), 0.0f, 0.0f, 0.0f));
    EXPECT_THAT(ToPairs(m_data.links), ElementsAre(std::pair(0, 1), std::pair(0, 2)));
    EXPECT_THAT(ToVector(m_data.indices), ElementsAre(0, 1, 2, 2, 1, 3)); // the ring is one triangle wide
    EXPECT_THAT(ToVector(m_data.simulatedPoints.vertices), ElementsAre(0));
    EXPECT_THAT(ToVector(m_data.skinnedPoints.vertices), ElementsAre(1, 2, 3));
}

TEST(ClothDuplicatesTest, OnlyNeighboursOfOneHashValueArePairs)
{
    const auto find = [](std::initializer_list<Vector3f> places) {
        qs::PrimitiveArray<Vector3f> positions(1);
        for (const Vector3f& place : places) {
            positions.SetAt(positions.GetSize(), place);
        }
        qs::PrimitiveSet<gw::DuplicateIndices> duplicates;
        gw::DetectDuplicates(positions, duplicates);
        return ToPairs(duplicates);
    };
    EXPECT_THAT(find({{0, 0, 0}, {2e-7f, 0, 0}}), IsEmpty());
    EXPECT_THAT(find({{0, 0, 0}, {9e-8f, 0, 0}}), ElementsAre(std::pair(1, 0)));
    EXPECT_THAT(find({{0, 0, 0}, {-9e-8f, 0, 0}}), ElementsAre(std::pair(1, 0)));
    const float border = 0.0005f; // one hash value ends here
    const float below = std::nextafter(border, 0.0f);
    EXPECT_THAT(find({{border, 0, 0}, {below, 0, 0}}), IsEmpty());
    EXPECT_THAT(find({{border, 1, 0}, {0, border, 1}, {border, 1, 0}}), ElementsAre(std::pair(2, 0)));
    // Between two sources that are no pair themselves; and a middle that comes first takes both.
    EXPECT_THAT(find({{0, 0, 0}, {1.2e-7f, 0, 0}, {6e-8f, 0, 0}}), ElementsAre(std::pair(2, 0), std::pair(2, 1)));
    EXPECT_THAT(find({{6e-8f, 0, 0}, {1.2e-7f, 0, 0}, {0, 0, 0}}), ElementsAre(std::pair(1, 0), std::pair(2, 0)));
    // The same hash value 65536 steps away; ends of the number range.
    const float huge = std::numeric_limits<float>::max();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_THAT(find({{0, 0, 0}, {32.768f, 0, 0}, {-32.768f, 0, 0}}), IsEmpty());
    EXPECT_THAT(find({{huge, huge, huge}, {huge, -huge, 0}, {huge, huge, huge}, {huge, -huge, 0}}),
                ElementsAre(std::pair(2, 0), std::pair(3, 1)));
    EXPECT_THAT(find({{nan, 0, 0}, {nan, 0, 0}, {1e30f, INFINITY, 0}, {1e30f, INFINITY, 0}}), IsEmpty());
    EXPECT_THAT(find({}), IsEmpty());
}

TEST(ClothDuplicatesTest, TheLastVertexNumberFitsAndNoMore)
{
    qs::PrimitiveArray<Vector4f> positions(1, gw::MAX_CLOTH_VERTICES + 1);
    qs::PrimitiveArray<float> weights(1, gw::MAX_CLOTH_VERTICES + 1);
    for (std::uint32_t i = 0; i < std::uint32_t(gw::MAX_CLOTH_VERTICES); ++i) {
        // All on one plane of one hash value; the last lies where the first does.
        const float place = i == 65535 ? 0.0f : float(i);
        positions.SetAt(i, Vector4f(place, -place, 0, 0));
        weights.SetAt(i, 1.0f);
    }
    qs::PrimitiveSet<gw::DuplicateIndices> duplicates;
    gw::DetectDuplicates(positions, weights, duplicates);
    EXPECT_THAT(ToPairs(duplicates), ElementsAre(std::pair(65535, 0)));
    EXPECT_EQ(weights.GetUsed(), 65535u);
    positions.SetAt(65536, Vector4f());
    qs::LogCapture log;
    gw::DetectDuplicates(positions, weights, duplicates);
    EXPECT_EQ(log.CountContaining("65537 positions; at most 65536", qs::LogLevelError), 1u);
    EXPECT_EQ(duplicates.GetSize(), 1u);
}

TEST_F(ClothDataTest, MeshesThatAreNoClothsAreRefused)
{
    for (int i = 0; i < 4; ++i) {
        m_mesh.AddVertex(float(i), float(i & 1), 0, 255);
    }
    m_mesh.indices = {0, 1, 2, 1, 2, 4};
    ExpectRefusal(m_mesh.Get(), "Index 5 of the mesh of cloth \"cape\" is 4, but there are 4 vertices.");
    m_mesh.indices[5] = 0xffffffffu;
    ExpectRefusal(m_mesh.Get(), "is 4294967295, but");
    m_mesh.indices[5] = 3;
    gw::StagingModelData staging = m_mesh.Get();
    staging.attributeCount = 2;
    ExpectRefusal(staging, "has no colours");
    staging.format += 2;
    ExpectRefusal(staging, "has no positions");
    staging = m_mesh.Get();
    staging.vertexSize = 31;
    ExpectRefusal(staging, "need 32 bytes, a vertex has 31");
    constexpr gw::FormatDesc SHORT[] = {{0, gw::eAttributeUsage_Color, 0, 0, gw::eAttributeFormat_UNorm8, 4},
                                        {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float16, 4}};
    staging.format = SHORT;
    staging.attributeCount = 2;
    staging.vertexSize = 12; // three floats are read of a position
    ExpectRefusal(staging, "need 16 bytes, a vertex has 12");
    staging = m_mesh.Get();
    staging.vertices = nullptr;
    ExpectRefusal(staging, "has counts without blocks");
    staging = m_mesh.Get();
    staging.indexCount = -3;
    ExpectRefusal(staging, "-3 indices");
    staging.vertexCount = 65537;
    staging.indexCount = 0;
    ExpectRefusal(staging, "has 65537 vertices; at most 65536 are possible");
    Build();
    EXPECT_EQ(m_data.positions.GetSize(), 4u);
    EXPECT_EQ(m_log.Count(), 0u);
}

TEST_F(ClothDataTest, MoreThanFourHundredSimulatedVerticesAreWarnedOf)
{
    const qs::Path path(qs::PATH_ROOT_NONE, "cape.mesh");
    for (int i = 0; i < 400; ++i) {
        m_data.simulatedPoints.vertices.Add(i);
    }
    gw::CheckClothValidity(&m_data, path);
    gw::CheckClothValidity(nullptr, path);
    EXPECT_EQ(m_log.Count(), 0u);
    m_data.simulatedPoints.vertices.Add(400);
    gw::CheckClothValidity(&m_data, path);
    EXPECT_EQ(m_log.Count(qs::LogLevelWarning), 1u);
    EXPECT_EQ(m_log.GetLast(), "File cape.mesh contains cloth with more than 400 simulated vertices (401 found). It "
                               "may impact performances.");
}
