// The segments of every shape, in their order.
#include "LineFixture.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

namespace {

using Points = std::vector<Vector3f>;

const Vector4f RED(1, 0, 0, 1);
const Vector3f CENTER(10, 20, 30);
constexpr float PI = 3.1415927f;

class ShapesTest : public testing::Test
{
protected:
    /// The points of what `add` adds, which is one colour of world lines.
    template <class Add>
    Points Of(const Add& add)
    {
        m_lines.Clear();
        add(m_lines);
        EXPECT_LE(m_lines.m_worldLines.GetSize(), 1u);
        return PeekLineMan::PointsOf(m_lines.m_worldLines);
    }
    ~ShapesTest() override { EXPECT_EQ(m_log.Count(), 0u) << m_log.GetLast(); }

    qs::LogCapture m_log;
    PeekLineMan m_lines;
};

/// One word for each point, one sign for each axis: the centre and the extent times -1, 0 or 1, or times `far` for "<"
/// and ">".
Points Spell(const char* words, const Vector3f& extent, float far = 0.0f)
{
    const auto value = [&](char sign) {
        return sign == '-' ? -1.0f : sign == '+' ? 1.0f : sign == '<' ? -far : sign == '>' ? far : 0.0f;
    };
    std::istringstream stream(words);
    Points points;
    for (std::string word; stream >> word;) {
        points.push_back(CENTER +
                         Vector3f(extent.x * value(word[0]), extent.y * value(word[1]), extent.z * value(word[2])));
    }
    return points;
}

void ExpectNear(const Points& points, const Points& expected, float tolerance = 1e-5f)
{
    ASSERT_EQ(points.size(), expected.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_LE((points[i] - expected[i]).Length(), tolerance)
            << i << ": " << points[i].x << " " << points[i].y << " " << points[i].z << " instead of " << expected[i].x
            << " " << expected[i].y << " " << expected[i].z;
    }
}

const char BOX[] = "--- +-- +-- ++- ++- -+- -+- --- "
                   "--- --+ +-- +-+ ++- +++ -+- -++ "
                   "--+ +-+ +-+ +++ +++ -++ -++ --+";
const char OCTAHEDRON[] = "-00 0+0 0+0 +00 +00 0-0 0-0 -00 "
                          "-00 00+ 00+ +00 +00 00- 00- -00 "
                          "0-0 00+ 00+ 0+0 0+0 00- 00- 0-0";
const char PRISM[] = "-+0 0++ 0++ ++0 ++0 0+- 0+- -+0 "
                     "-+0 --0 0++ 0-+ ++0 +-0 0+- 0-- "
                     "--0 0-+ 0-+ +-0 +-0 0-- 0-- --0";

} // namespace

TEST_F(ShapesTest, TrianglesAndBoxes)
{
    const Vector3f a(1, 2, 3), b(4, 5, 6), c(7, 8, 10), extent(1, 2, 4);
    EXPECT_EQ(Of([&](auto& lines) { lines.AddTriangle(a, b, c, RED, WORLD); }), (Points{a, b, b, c, c, a}));
    EXPECT_EQ(Of([&](auto& lines) { lines.AddBox(CENTER - extent, CENTER + extent, RED, WORLD); }), Spell(BOX, extent));
    // A turn that sends x to y, y to z and z to x: rows, not columns.
    const Matrix3x3f turn = {{0, 1, 0, 0, 0, 1, 1, 0, 0}};
    Points turned = Spell(BOX, extent);
    for (Vector3f& point : turned) {
        const Vector3f offset = point - CENTER;
        point = CENTER + Vector3f(offset.z, offset.x, offset.y);
    }
    EXPECT_EQ(Of([&](auto& lines) { lines.AddBox(CENTER, turn, -extent, extent, RED, WORLD); }), turned);
}

TEST_F(ShapesTest, SpheresCylindersAndCapsules)
{
    EXPECT_EQ(Of([&](auto& lines) { lines.AddSphere(CENTER, 2, RED, WORLD); }), Spell(OCTAHEDRON, {2, 2, 2}));
    // The rotation's first row gives the first axis.
    const Matrix3x3f mirror = {{-1, 0, 0, 0, 1, 0, 0, 0, -1}};
    EXPECT_EQ(Of([&](auto& lines) { lines.AddSphere(CENTER, mirror, 2, RED, WORLD); }), Spell(OCTAHEDRON, {-2, 2, -2}));
    const Matrix3x3f turn = {{0, 1, 0, 0, 0, 1, 1, 0, 0}};
    const Points turned = Of([&](auto& lines) { lines.AddSphere(CENTER, turn, 2, RED, WORLD); });
    ASSERT_EQ(turned.size(), 24u);
    EXPECT_EQ(turned[0], CENTER - Vector3f(0, 2, 0));
    EXPECT_EQ(turned[1], CENTER + Vector3f(0, 0, 2));
    EXPECT_EQ(turned[9], CENTER + Vector3f(2, 0, 0));

    EXPECT_EQ(Of([&](auto& lines) { lines.AddCylinder(CENTER, {1, 2, 4}, RED, WORLD); }), Spell(PRISM, {1, 2, 4}));
    // Radius 2 and half height 2, so that the apexes are at twice the extent.
    const std::string capsule =
        "-+0 0>0 0>0 ++0 0++ 0>0 0>0 0+- " + std::string(PRISM) + " +-0 0<0 0<0 --0 0<0 0-+ 0-- 0<0";
    const Points upright = Spell(capsule.c_str(), {2, 2, 2}, 2.0f);
    EXPECT_EQ(Of([&](auto& lines) { lines.AddCapsule(CENTER, 2, 4, RED, WORLD, Matrix4x4f()); }), upright);
    Matrix4x4f moved;
    moved.m[0] = -1;
    moved.SetTranslate({100, 200, 300});
    Points transformed = upright;
    for (Vector3f& point : transformed) {
        point = {100 - point.x, 200 + point.y, 300 + point.z};
    }
    EXPECT_EQ(Of([&](auto& lines) { lines.AddCapsule(CENTER, 2, 4, RED, WORLD, moved); }), transformed);
}

TEST_F(ShapesTest, TransformsHaveTheirOwnColours)
{
    const Matrix3x3f rows = {{1, 2, 3, 4, 5, 6, 7, 8, 9}};
    m_lines.AddTransform(CENTER, rows, 2, WORLD);
    ASSERT_EQ(m_lines.m_worldLines.GetSize(), 3u);
    for (std::uint32_t i = 0; i < 3; ++i) {
        const gw::Line& line = *m_lines.m_worldLines[i];
        ASSERT_EQ(line.GetCount(), 2u);
        EXPECT_EQ(line.GetPoints()[0], CENTER);
        EXPECT_EQ(line.GetPoints()[1], CENTER + Vector3f(6.0f * i + 2, 6.0f * i + 4, 6.0f * i + 6));
        float bright;
        const std::uint32_t bits = 0x3f333333;
        std::memcpy(&bright, &bits, sizeof(bright));
        const Vector4f color(i == 0 ? bright : 0, i == 1 ? bright : 0, i == 2 ? bright : 0, 1);
        EXPECT_EQ(line.GetColor(), color);
    }
}

TEST_F(ShapesTest, ArcsRunFromAngleToAngle)
{
    const Vector3f side(2, 0, 0), normal(0, 0, 3);
    // The first axis is 2 * 0.5 along x, the second 3 * 2 * 0.25 along y.
    const auto at = [](float t) { return CENTER + Vector3f(std::cos(t), 1.5f * std::sin(t), 0); };
    const auto arc = [&](float from, float to, bool sector, float step) {
        return Of(
            [&](auto& lines) { lines.AddArc(CENTER, normal, side, 0.5f, 0.25f, from, to, RED, sector, step, WORLD); });
    };
    // 100 degrees in steps of 30: three segments of a third each.
    const float third = 100 * PI / 180 / 3;
    ExpectNear(arc(0, 3 * third, false, 30),
               {at(0), at(third), at(third), at(2 * third), at(2 * third), at(3 * third)});
    const Points sector = arc(0, 3 * third, true, 30);
    ASSERT_EQ(sector.size(), 10u) << "three segments and two sides";
    EXPECT_EQ(sector[0], CENTER);
    EXPECT_EQ(sector[1], sector[2]);
    EXPECT_EQ(sector[8], CENTER);
    EXPECT_EQ(sector[9], sector[7]);
    ExpectNear(arc(0.1f, 0.2f, false, 30), {at(0.1f), at(0.2f)});
    ExpectNear(arc(0.2f, 0.1f, false, 30), {at(0.2f), at(0.1f)});
    EXPECT_EQ(arc(2, 1, false, 30).size(), 0u) << "backwards";
    EXPECT_EQ(arc(2, 1, false, -30).size(), 2u);
}

TEST_F(ShapesTest, CirclesLieAcrossTheirNormal)
{
    const auto circle = [&](const Vector3f& normal, float step) {
        return Of([&](auto& lines) { lines.AddCircle(CENTER, normal, 2, RED, step, WORLD); });
    };
    ExpectNear(circle({0, 0, 5}, 90), Spell("+00 0+0 0+0 -00 -00 0-0 0-0 +00", {2, 2, 2}));
    ExpectNear(circle({0, 0, 0}, 90), Spell("+00 0+0 0+0 -00 -00 0-0 0-0 +00", {2, 2, 2}));
    ExpectNear(circle({0, 0, -5}, 90), Spell("0-0 -00 -00 0+0 0+0 +00 +00 0-0", {2, 2, 2}));
    ExpectNear(circle({0, 3, 0}, 90), Spell("+00 00- 00- -00 -00 00+ 00+ +00", {2, 2, 2}));
    const Points open = circle({0, 0, 1}, 100);
    ASSERT_EQ(open.size(), 6u) << "three and six tenths";
    const float end = 300 * PI / 180;
    ExpectNear({open[5]}, {CENTER + Vector3f(2 * std::cos(end), 2 * std::sin(end), 0)});
    EXPECT_EQ(circle({0, 0, 1}, 1000).size(), 2u) << "at least one segment";
    EXPECT_EQ(circle({0, 0, 1}, -90).size(), 2u);
    for (const Vector3f& point : circle({1, -2, 3}, 7)) {
        EXPECT_NEAR((point - CENTER).Length(), 2.0f, 1e-5f);
        EXPECT_NEAR((point - CENTER).Dot({1, -2, 3}), 0.0f, 1e-4f);
    }
}

TEST_F(ShapesTest, SpherePatchesAreNets)
{
    const Vector3f normal(0, 0, 1), side(1, 0, 0); // so the third axis is y
    const auto patch = [&](float minLatitude, float maxLatitude, float minLongitude, float maxLongitude, float step) {
        return Of([&](auto& lines) {
            lines.AddSpherePatch(CENTER, normal, side, 2, minLatitude, maxLatitude, minLongitude, maxLongitude, RED,
                                 step, WORLD);
        });
    };
    const auto at = [](float latitude, float longitude) {
        return CENTER + Vector3f(2 * std::cos(latitude) * std::cos(longitude),
                                 2 * std::cos(latitude) * std::sin(longitude), 2 * std::sin(latitude));
    };
    const Vector3f north = at(PI / 2, 0), south = at(-PI / 2, 0);
    // Two rows of two points with their corners on the centre.
    const Vector3f a0 = at(0, 0), a1 = at(0, 0.5f), b0 = at(0.4f, 0), b1 = at(0.4f, 0.5f);
    ExpectNear(patch(0, 0.4f, 0, 0.5f, 60),
               {CENTER, a0, a0, a1, CENTER, a1, a0, b0, CENTER, b0, a1, b1, b0, b1, CENTER, b1});

    // All of it at 60 degrees: rows at -30 and 30, columns at -120, -60 ... 180, closed.
    const float degree = PI / 180;
    Points whole;
    for (int row = 0; row < 2; ++row) {
        for (int column = 0; column < 6; ++column) {
            const auto point = [&](int r, int c) { return at((r * 60 - 30) * degree, (c * 60 - 120) * degree); };
            const Vector3f p = point(row, column);
            whole.insert(whole.end(), {row == 0 ? south : point(0, column), p});
            if (column != 0) {
                whole.insert(whole.end(), {point(row, column - 1), p});
            }
            if (row == 1) {
                whole.insert(whole.end(), {north, p});
            }
            if (column == 5) {
                whole.insert(whole.end(), {point(row, 0), p});
            }
        }
    }
    ExpectNear(patch(1, -1, 1, -1, 59.9999f), whole, 1e-3f);
    ExpectNear(patch(-2, 2, 1, -1, 59.9999f), whole, 1e-3f);

    // Closed by its range, and a row where both ends fall together.
    const Points ring = patch(0.1f, 0.1f, 0, 2 * PI + 1e-4f, 90);
    EXPECT_EQ(ring.size(), 2 * (2 * 4 + 5 + 2u)) << "two rows of five, joined";
}

TEST_F(ShapesTest, StepsThatDoNotFitAreRefused)
{
    const Vector3f normal(0, 0, 1), side(1, 0, 0);
    const auto refuse = [&](const char* limit, const Points& points) {
        EXPECT_EQ(points.size(), 0u);
        EXPECT_TRUE(m_log.GetLast().find(limit) != std::string::npos) << m_log.GetLast();
        EXPECT_EQ(m_log.Count(qs::LogLevelAssertion), 1u);
        m_log.Clear();
    };
    const auto patch = [&](float maxLatitude, float maxLongitude, float step) {
        return Of([&](auto& lines) {
            lines.AddSpherePatch(CENTER, normal, side, 2, 0, maxLatitude, 0, maxLongitude, RED, step, WORLD);
        });
    };
    // 73 steps are 74 points, which is what a row holds; a little more must not be one too many.
    const float degree = 0.017453292f;
    EXPECT_EQ(patch(0.01f, 73.5f * degree, 1).size(), 2 * (2 * 74 + 74 - 2 + 4u));
    refuse("at most 74 points", patch(0.01f, 74.5f * degree, 1));
    refuse("at most 74 points", patch(1, 1, 0));
    refuse("at most 74 points", patch(1, 1, -5));
    refuse("at most 74 points", patch(1, 1, NAN));
    refuse("the limit is 65536", patch(1, 1e-7f, 1e-5f));
    for (float step : {0.0f, 1e-4f, NAN}) {
        refuse("the limit is 65536", Of([&](auto& lines) { lines.AddCircle(CENTER, normal, 1, RED, step, WORLD); }));
        refuse("the limit is 65536",
               Of([&](auto& lines) { lines.AddArc(CENTER, normal, side, 1, 1, 0, 6, RED, true, step, WORLD); }));
    }
}
