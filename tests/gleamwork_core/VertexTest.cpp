// What needs no device: vertex formats and streams, primitive counts, the arithmetic of dropped mips.
#include "Gleamwork/RendererBase.h"

#include <gtest/gtest.h>
#include <qs/Log.h>

using gw::details::RendererBase;

TEST(VertexFormat, SizeCountsOnlyTheStreamAskedFor)
{
    const gw::FormatDesc format[] = {
        {0, gw::eAttributeUsage_Position, 0, 0, gw::eAttributeFormat_Float32, 3},
        {0, gw::eAttributeUsage_Texcoord, 0, 0, gw::eAttributeFormat_Float16, 2},
        {1, gw::eAttributeUsage_Color, 0, 1, gw::eAttributeFormat_UNorm8, 4},
        {0, gw::eAttributeUsage_Texcoord, 1, 0, gw::eAttributeFormat_SNorm16, 4},
    };
    EXPECT_EQ(RendererBase::GetVertexSize(format, 4, 0), 12u + 4u + 8u);
    EXPECT_EQ(RendererBase::GetVertexSize(format, 4, 1), 4u);
    EXPECT_EQ(RendererBase::GetVertexSize(format, 4, 2), 0u);
    EXPECT_EQ(RendererBase::GetVertexSize(format, 0, 0), 0u);
    EXPECT_EQ(RendererBase::GetFormatSize(gw::EAttributeFormat(12)), 0);
}

TEST(StreamCollection, KeepsOrderAndReportsDifferentCounts)
{
    qs::LogCapture log;
    const float floats[12] = {};
    gw::StreamCollection mesh(gw::ePrimitiveTopology_TriangleList, 0, nullptr);
    EXPECT_EQ(mesh.vertexCount, 0u);
    mesh.AddStream(gw::Stream(gw::eAttributeUsage_Position, 3, 4, floats));
    mesh.AddStream(gw::Stream(gw::eAttributeUsage_Texcoord, 2, 4, floats));
    EXPECT_EQ(log.Count(), 0u);
    mesh.AddStream(gw::Stream(gw::eAttributeUsage_Normal, 3, 2, floats));
    EXPECT_EQ(log.Count(qs::LogLevelAssertion), 1u);
    EXPECT_TRUE(log.Contains("Streams are added with a different vertex count! This is not supported for now..."));
    EXPECT_EQ(mesh.vertexCount, 2u);
    EXPECT_TRUE(mesh.HasStream(gw::eAttributeUsage_Normal));
    EXPECT_FALSE(mesh.HasStream(gw::eAttributeUsage_Color));

    const gw::StreamCollection moved = std::move(mesh);
    ASSERT_EQ(moved.streams.GetSize(), 3u);
    EXPECT_EQ(moved.streams[1].usage, gw::eAttributeUsage_Texcoord);
    EXPECT_EQ(mesh.streams.GetSize(), 0u);
}

TEST(Primitives, CountFollowsTopology)
{
    const int expected[] = {0, 4, 10, 10, 3, 6, 11, 0, 12};
    qs::LogCapture log;
    for (int topology = 0; topology < 10; ++topology) {
        const bool known = topology < 9 && expected[topology] != 0;
        log.Clear();
        EXPECT_EQ(RendererBase::GetPrimitiveCount(gw::EPrimitiveTopology(topology), 12),
                  known ? expected[topology] : 0);
        EXPECT_EQ(log.CountContaining("Unknown primitive type. Please update this function!", qs::LogLevelAssertion),
                  known ? 0u : 1u)
            << topology;
    }
}

namespace {

struct MipCase
{
    const char* name;
    int mipTarget;
    bool blocks;
    bool cube;
    gw::TextureDimensions source;
    int mipsIn;
    bool result;
    gw::TextureDimensions expected;
    unsigned asserts = 0;
};

class MipDelta : public testing::TestWithParam<MipCase>
{
};

} // namespace

TEST_P(MipDelta, GivesTheSmallerTexture)
{
    const MipCase& test = GetParam();
    qs::LogCapture log;
    gw::TextureDimensions target;
    target.mipCount = test.mipsIn;
    EXPECT_EQ(RendererBase::CalculateMipDelta(test.mipTarget, test.blocks, test.cube, test.source, target),
              test.result);
    EXPECT_EQ(log.CountContaining("Can't increase mip in the CalculateMipDelta function?", qs::LogLevelAssertion),
              test.asserts);
    if (test.result) {
        EXPECT_EQ(target.width, test.expected.width);
        EXPECT_EQ(target.height, test.expected.height);
        EXPECT_EQ(target.depth, test.expected.depth);
        EXPECT_EQ(target.mipCount, test.expected.mipCount);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, MipDelta,
    testing::Values(MipCase{"keepOne", 10, false, false, {512, 512, 0, 10}, -1, true, {1, 1, 0, 1}},
                    MipCase{"dropTwo", 10, false, false, {512, 256, 0, 10}, 2, true, {128, 64, 0, 8}},
                    MipCase{"keepAtLeastOne", 10, false, false, {512, 512, 0, 10}, 12, true, {1, 1, 0, 1}},
                    MipCase{"blocksStayFourWide", 10, true, false, {512, 128, 0, 10}, -1, true, {16, 4, 0, 5}},
                    MipCase{"blocksTooSmall", 3, true, false, {4, 4, 0, 3}, -1, false, {}},
                    MipCase{"cubeFaces", 4, false, true, {8, 8, 12, 4}, 1, true, {4, 4, 2, 3}},
                    MipCase{"cubeAtLeastOne", 4, false, true, {8, 8, 5, 4}, 1, true, {4, 4, 1, 3}},
                    MipCase{"nothingToDrop", 4, false, false, {8, 8, 0, 4}, 0, false, {}, 1},
                    MipCase{"lyingMipCount", 4, false, false, {8, 8, 0, 1000}, -1, true, {0, 0, 0, 1}}),
    [](const testing::TestParamInfo<MipCase>& info) { return info.param.name; });
