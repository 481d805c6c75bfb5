// Lines on their own.
#include "LineFixture.h"

#include <gtest/gtest.h>
#include <type_traits>

namespace {

using gw::Line;
using gw::Line2D;

TEST(LineTest, TransformsWhatIsAddedAndNotWhatIsUpdated)
{
    qs::LogCapture log;
    Line line(gw::ePrimitiveTopology_LineStrip);
    EXPECT_EQ(line.GetCount(), 0u);
    EXPECT_EQ(line.GetColor(), Vector4f());
    EXPECT_EQ(line.GetLifeTime(), 0.0f);
    EXPECT_EQ(line.GetTopology(), gw::ePrimitiveTopology_LineStrip);

    // A fourth column that must not count, rows that must not be taken for columns.
    const Matrix4x4f matrix = {{0, 2, 0, 9, 0, 0, 3, 9, 4, 0, 0, 9, 10, 20, 30, 9}};
    const Vector3f points[] = {{1, 0, 0}, {0, 1, 0}, {1, 2, 3}};
    line.AddPoints(points, 3, matrix);
    line.AddPoints(points, 1, Matrix4x4f());
    ASSERT_EQ(line.GetCount(), 4u);
    EXPECT_EQ(line.GetPoints()[0], Vector3f(10, 22, 30));
    EXPECT_EQ(line.GetPoints()[1], Vector3f(10, 20, 33));
    EXPECT_EQ(line.GetPoints()[2], Vector3f(22, 22, 36));
    EXPECT_EQ(line.GetPoints()[3], points[0]);

    const Vector3f raw[] = {{7, 7, 7}, {8, 8, 8}};
    line.UpdatePoints(raw, 2);
    line.UpdatePoints(raw, 0);
    EXPECT_EQ(line.GetPointsHead()[1], raw[1]);
    EXPECT_EQ(line.GetPointsHead()[2], Vector3f(22, 22, 36));

    const std::uint32_t capacity = line.GetPoints().GetCapacity();
    const Vector3f* memory = line.GetPointsHead();
    line.Clear();
    EXPECT_EQ(line.GetCount(), 0u);
    line.AddPoints(points, 3, Matrix4x4f());
    EXPECT_EQ(line.GetPoints().GetCapacity(), capacity);
    EXPECT_EQ(line.GetPointsHead(), memory);
    line.SetColor(qs::Color<float>{0.1f, 0.2f, 0.3f, 0.4f});
    EXPECT_EQ(line.GetColor(), Vector4f(0.1f, 0.2f, 0.3f, 0.4f));
    EXPECT_EQ(log.Count(), 0u);
}

TEST(LineTest, WrongCountsChangeNothing)
{
    qs::LogCapture log;
    const Vector3f points[] = {{1, 2, 3}, {4, 5, 6}};
    Line line(gw::ePrimitiveTopology_LineList);
    line.AddPoints(points, 0, Matrix4x4f());
    EXPECT_EQ(log.CountContaining(WRONG_COUNT, qs::LogLevelAssertion), 1u);
    line.UpdatePoints(points, 0);
    line.AddPoints(points, 1, Matrix4x4f());
    EXPECT_EQ(log.Count(), 1u);
    line.UpdatePoints(points + 1, 2);
    EXPECT_EQ(log.CountContaining(WRONG_COUNT), 2u);
    EXPECT_EQ(line.GetPoints()[0], points[0]);
    line.Clear();
    EXPECT_NE(line.GetPointsHead(), nullptr);
    EXPECT_TRUE(log.Contains("Index [0] out of range [0 - 0]", qs::LogLevelAssertion));

    log.Clear();
    const Vector2f flat[] = {{1, 2}, {3, 4}};
    Line2D line2D(gw::ePrimitiveTopology_LineList);
    line2D.AddPoints(flat, 0);
    line2D.AddPoints(flat, 1);
    line2D.UpdatePoints(flat, 2);
    EXPECT_EQ(log.CountContaining(WRONG_COUNT, qs::LogLevelAssertion), 2u);
    EXPECT_EQ(line2D.GetCount(), 1u);
}

TEST(LineTest, FlatLinesGrowByOnePoint)
{
    const Vector2f points[] = {{1, 2}, {0, 0}, {5, 6}};
    Line2D line(gw::ePrimitiveTopology_LineList);
    EXPECT_EQ(line.GetColor(), Vector4f());
    EXPECT_EQ(line.GetLifeTime(), 0.0f);
    for (unsigned short i = 0; i < 3; ++i) {
        line.AddPoints(points + i, 1);
        EXPECT_EQ(line.GetPoints().GetCapacity(), i + 1u);
    }
    EXPECT_EQ(line.GetPointsHead()[2], points[2]);
    line.UpdatePoints(points + 2, 1);
    EXPECT_EQ(line.GetPointsHead()[0], points[2]);
    EXPECT_EQ(line.GetPoints().GetUsed(), 2u) << "one of the three is the default";
    line.Clear();
    EXPECT_EQ(line.GetCount(), 0u);
    EXPECT_EQ(line.GetPoints().GetUsed(), 0u);
    EXPECT_EQ(line.GetPoints().GetCapacity(), 3u);
    EXPECT_EQ(line.GetPoints().GetData()[2], Vector2f());
}

TEST(LineTest, AreAccountedUnderTheirNames)
{
    EXPECT_STREQ(Line::GetTrackName(), "gw::Line");
    EXPECT_STREQ(Line2D::GetTrackName(), "gw::Line2D");
    EXPECT_FALSE((std::is_constructible_v<gw::LineMan>)) << "there is one, which the library makes";
}

} // namespace
