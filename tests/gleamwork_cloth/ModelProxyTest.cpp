// Model proxies: welded meshes.
#include "ClothMesh.h"

#include "Gleamwork/ModelProxy.h"

#include <gmock/gmock.h>
#include <qs/Log.h>
#include <set>

namespace {

using testing::ElementsAre;

template <class Container>
auto ToVector(const Container& container)
{
    return std::vector(container.GetData(), container.GetData() + container.GetSize());
}

std::vector<Vector3f> GetCorners(const gw::ModelProxyData& data)
{
    std::vector<Vector3f> corners;
    for (const int index : ToVector(data.indices)) {
        corners.push_back(data.vertices[std::uint32_t(index)]);
    }
    return corners;
}

} // namespace

TEST(ModelProxyTest, AQuadOfSixVerticesHasFour)
{
    ClothMesh mesh;
    const float corners[6][2] = {{0, 0}, {1, 0}, {0, 1}, {0, 1}, {1, 0}, {1, 1}};
    for (const float(&corner)[2] : corners) {
        mesh.indices.push_back(std::uint32_t(mesh.vertices.size()));
        mesh.AddVertex(corner[0], corner[1], 0, 0);
    }
    gw::ModelProxyData data;
    gw::BuildModelProxyData(mesh.Get(), data);
    EXPECT_EQ(data.vertices.GetSize(), 4u);
    EXPECT_THAT(ToVector(data.indices), ElementsAre(0, 1, 2, 2, 1, 3));
    EXPECT_THAT(GetCorners(data), ElementsAre(Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0),
                                              Vector3f(0, 1, 0), Vector3f(1, 0, 0), Vector3f(1, 1, 0)));
    EXPECT_EQ(mesh.vertices[3].texCoord[0], 5.0f); // the last came to the front
    EXPECT_THAT(mesh.indices, ElementsAre(0, 1, 2, 5, 4, 3));

    gw::ModelProxy proxy(qs::FixedString::Create("quad"));
    gw::ModelProxyData moved(std::move(data));
    const int* block = moved.indices.GetData();
    proxy.SetData(moved);
    EXPECT_EQ(proxy.GetRTTI(), 5);
    EXPECT_EQ(proxy.GetIndices().GetData(), block);
    EXPECT_EQ(proxy.GetIndices().GetUsed(), 5u);
    EXPECT_EQ(proxy.GetVertices().GetSize(), 4u);
    EXPECT_EQ(moved.vertices.GetCapacity() + moved.indices.GetCapacity(), 0u);
}

TEST(ModelProxyTest, TrianglesKeepTheirPlacesOnRandomMeshes)
{
    for (unsigned seed = 0; seed < 300 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        ClothMesh mesh = MakeRandomMesh(seed);
        const ClothMesh before = mesh;
        gw::ModelProxyData data;
        gw::BuildModelProxyData(mesh.Get(), data);
        std::set<int> gone;
        for (const auto& [duplicate, source] : data.duplicates) {
            gone.insert(duplicate);
        }
        EXPECT_EQ(data.vertices.GetSize(), before.vertices.size() - gone.size());
        ASSERT_EQ(data.indices.GetSize(), before.indices.size() / 3 * 3);
        const std::vector<Vector3f> corners = GetCorners(data);
        for (std::size_t i = 0; i < corners.size(); ++i) {
            const float* place = before.vertices[before.indices[i]].position;
            EXPECT_LT((corners[i] - Vector3f(place[0], place[1], place[2])).Length(), 1.1e-7f);
            EXPECT_EQ(mesh.vertices[mesh.indices[i]], before.vertices[before.indices[i]]);
        }
        if (data.duplicates.IsEmpty()) {
            EXPECT_EQ(mesh.vertices, before.vertices);
            EXPECT_EQ(
                std::vector<std::uint32_t>(corners.size() ? data.indices.GetData() : nullptr,
                                           data.indices.GetData() + corners.size()),
                std::vector<std::uint32_t>(before.indices.begin(), before.indices.begin() + long(corners.size())));
        }
    }
}

TEST(ModelProxyTest, WhatIsNoMeshGivesNothing)
{
    ClothMesh mesh;
    mesh.AddVertex(1, 2, 3, 0);
    mesh.AddVertex(1, 2, 3, 0);
    mesh.indices = {0, 1, 2};
    gw::ModelProxyData data;
    qs::LogCapture log;
    gw::BuildModelProxyData(mesh.Get(), data);
    EXPECT_EQ(log.GetLast(), "Index 2 of the mesh of a model proxy is 2, but there are 2 vertices.");
    log.Clear();
    mesh.indices = {0, 1, 0};
    gw::StagingModelData staging = mesh.Get();
    staging.attributeCount = 1; // no positions
    gw::BuildModelProxyData(staging, data);
    EXPECT_EQ(data.vertices.GetSize() + data.indices.GetSize(), 0u);
    EXPECT_THAT(mesh.indices, ElementsAre(0, 1, 0));
    mesh.indices.clear();
    gw::BuildModelProxyData(mesh.Get(), data);
    EXPECT_THAT(ToVector(data.vertices), ElementsAre(Vector3f(1, 2, 3)));
    EXPECT_EQ(data.indices.GetSize(), 0u);
    EXPECT_EQ(log.Count(), 0u);
}
