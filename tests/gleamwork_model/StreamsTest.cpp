// Models from separate attributes.
#include "ModelFixture.h"

#include <numeric>

namespace {

using gw::Stream;
using gw::StreamCollection;

class StreamsTest : public ModelFixture
{
protected:
    // Floats that count up from a number that tells the stream.
    const float* Floats(float first, std::size_t count)
    {
        m_floats.emplace_back(count);
        std::iota(m_floats.back().begin(), m_floats.back().end(), first);
        return m_floats.back().data();
    }

    std::vector<std::vector<float>> m_floats;
};

} // namespace

TEST_F(StreamsTest, AttributesLieOneBehindTheOther)
{
    const std::uint16_t indices[3] = {0, 1, 2};
    StreamCollection streams(gw::ePrimitiveTopology_TriangleList, 3, indices);
    streams.AddStream(Stream(gw::eAttributeUsage_Position, 3, 3, Floats(100, 9)));
    streams.AddStream(Stream(gw::eAttributeUsage_Texcoord, 2, 3, Floats(200, 6)));
    streams.AddStream(Stream(gw::eAttributeUsage_Color, 4, 3, Floats(300, 12)));
    streams.AddStream(Stream(gw::eAttributeUsage_Texcoord, 2, 3, Floats(400, 6)));
    streams.AddStream(Stream(gw::eAttributeUsage_Color, 3, 3, Floats(500, 9)));
    m_model.CreateFromStreamCollection(*m_commands, streams, false);
    ExpectQuiet();
    EXPECT_EQ(m_model.GetVertexSize(), 56u);
    const std::pair<gw::EAttributeUsage, int> expected[] = {{gw::eAttributeUsage_Position, 0},
                                                            {gw::eAttributeUsage_Texcoord, 0},
                                                            {gw::eAttributeUsage_Color, 0},
                                                            {gw::eAttributeUsage_Texcoord, 1},
                                                            {gw::eAttributeUsage_Color, 1}};
    ASSERT_EQ(m_model.GetNumFormatDescAttrib(), 5u);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(m_model.GetFormatDesc()[i].usage, expected[i].first);
        EXPECT_EQ(m_model.GetFormatDesc()[i].usageIndex, expected[i].second);
    }
    const std::vector<float> floats = ReadVertices();
    const std::vector<float> second(floats.begin() + 14, floats.begin() + 28);
    EXPECT_EQ(second, (std::vector<float>{103, 104, 105, 202, 203, 304, 305, 306, 307, 402, 403, 503, 504, 505}));
    EXPECT_EQ(m_model.GetBound().minimum, Vector3f(100, 101, 102));
    EXPECT_EQ(m_model.GetBound().maximum, Vector3f(106, 107, 108));
    EXPECT_EQ(m_model.GetIndexCount(), 3u);
}

TEST_F(StreamsTest, DynamicModelsAreFilledAgain)
{
    const std::uint16_t indices[3] = {0, 1, 2};
    const auto make = [&](float first, std::uint32_t vertices, bool withIndices, bool dynamic) {
        StreamCollection streams(gw::ePrimitiveTopology_TriangleList, 3, withIndices ? indices : nullptr);
        streams.AddStream(Stream(gw::eAttributeUsage_Position, 3, vertices, Floats(first, vertices * 3)));
        m_model.CreateFromStreamCollection(*m_commands, streams, dynamic);
        Replay();
    };
    make(0, 3, true, true);
    const VertexBufferID vertices = m_model.GetVertexBuffer();
    const IndexBufferID indexBuffer = m_model.GetIndexBuffer();
    make(50, 3, false, true);
    EXPECT_EQ(m_model.GetVertexBuffer(), vertices);
    EXPECT_EQ(m_model.GetIndexBuffer(), indexBuffer);
    EXPECT_EQ(ReadVertices().front(), 50.0f);
    make(60, 3, true, true);
    EXPECT_EQ(m_model.GetIndexBuffer(), indexBuffer);
    make(70, 4, true, true);
    EXPECT_NE(m_model.GetVertexBuffer(), vertices);
    EXPECT_EQ(m_model.GetVertexCount(), 4u);
    EXPECT_EQ(ReadVertices().back(), 81.0f);
    ExpectQuiet();
    m_immediate.ExecuteAll();
    EXPECT_FALSE(m_renderer->IsVertexBufferAlive(vertices));

    make(0, 4, true, false);
    for (const char* text :
         {"The model with ID \"mesh\" and name \"mesh\" already has a vertex buffer!",
          "The model with ID \"mesh\" and name \"mesh\" already has an index buffer!",
          "The model with ID \"mesh\" and name \"mesh\" already has a vertex format!",
          "Trying to update model but VB is not dynamic", "Trying to update model but IB is not dynamic"}) {
        EXPECT_EQ(m_log.CountContaining(text, qs::LogLevelAssertion), 1u) << text;
    }
    m_log.Clear();
}

TEST_F(StreamsTest, OddStreamsStayWithinTheVertex)
{
    StreamCollection streams(gw::ePrimitiveTopology_PointList, 0, nullptr);
    streams.AddStream(Stream(gw::eAttributeUsage_Position, 2, 3, Floats(100, 6)));
    streams.AddStream(Stream(gw::eAttributeUsage_Tangent, 1, 4, Floats(200, 4)));
    streams.AddStream(Stream(gw::eAttributeUsage_FloatStream, 2, 3, Floats(300, 6)));
    EXPECT_EQ(m_log.CountContaining("Streams are added with a different vertex count!"), 2u);
    m_log.Clear();
    m_model.CreateFromStreamCollection(*m_commands, streams, false);
    for (const char* text : {"If Tangent or Binormal is supplied, you must supply them both!",
                             "A position stream needs to have 3 components per vertex, it currently has 2",
                             "A tangent stream needs to have 3 components per vertex, it currently has 1"}) {
        EXPECT_EQ(m_log.CountContaining(text, qs::LogLevelAssertion), 1u) << text;
    }
    m_log.Clear();
    const std::vector<float> floats = ReadVertices();
    ASSERT_EQ(floats.size(), 3u * 6) << "the format's size of a vertex, whatever the streams bring";
    const std::vector<float> two(floats.begin(), floats.begin() + 12);
    EXPECT_EQ(two, (std::vector<float>{100, 101, 0, 200, 0, 0, 102, 103, 0, 201, 0, 0}));

    // One index less than what asserts.
    const std::vector<std::uint16_t> many(65535);
    for (const std::uint32_t count : {65534u, 65535u}) {
        m_model.RemoveRenderData();
        StreamCollection indexed(gw::ePrimitiveTopology_PointList, count, many.data());
        indexed.AddStream(Stream(gw::eAttributeUsage_Position, 3, 1, Floats(0, 3)));
        m_model.CreateFromStreamCollection(*m_commands, indexed, false);
        EXPECT_EQ(m_log.CountContaining("Maximum allowed index buffer size for an . obj file is 65535"), count - 65534);
    }
    m_log.Clear();
}
