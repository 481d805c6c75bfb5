// Matrices, transforms, bounds, picking and screen points.
#include <gtest/gtest.h>

#include <random>

#include <qs/Math.h>

namespace {

void ExpectNear(const Vector3f& a, const Vector3f& b, float tolerance = 1e-4f)
{
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

Matrix3x3f Rotation(float angle)
{
    Matrix3x3f matrix;
    matrix.SetRow(0, {std::cos(angle), std::sin(angle), 0.0f});
    matrix.SetRow(1, {-std::sin(angle), std::cos(angle), 0.0f});
    return matrix;
}

TEST(Math, InverseUndoesTheMatrix)
{
    std::mt19937 random(5);
    std::uniform_real_distribution<float> value(-2.0f, 2.0f);
    for (int i = 0; i < 50; ++i) {
        Matrix4x4f matrix;
        for (float& element : matrix.m) {
            element = value(random);
        }
        if (std::fabs(matrix.Determinant()) < 0.1f) {
            continue;
        }
        const Matrix4x4f product = matrix * matrix.Inverted();
        for (int e = 0; e < 16; ++e) {
            EXPECT_NEAR(product.m[e], Matrix4x4f().m[e], 1e-3f);
        }
    }
    EXPECT_EQ(Matrix4x4f::Zero().Inverted(), Matrix4x4f());
    const Matrix3x3f rotation = Rotation(0.7f);
    const Matrix3x3f inverted = rotation.Inverted();
    for (int e = 0; e < 9; ++e) {
        EXPECT_NEAR(inverted.m[e], rotation.Transposed().m[e], 1e-5f);
    }
}

TEST(Transform, ComposesRowVectorsAndDecomposes)
{
    qs::Transform transform;
    EXPECT_EQ(transform.GetTransform(), Matrix4x4f());
    transform.SetScale({2.0f, 3.0f, 4.0f});
    transform.SetRotate(Rotation(1.5707963f));
    transform.SetTranslate({10.0f, 20.0f, 30.0f});
    ExpectNear(transform.GetTransform().TransformPoint({1.0f, 1.0f, 1.0f}), {7.0f, 22.0f, 34.0f});
    EXPECT_EQ(transform.GetTransform().m[13], 20.0f);

    Matrix4x4f mirrored = transform.GetTransform();
    for (int column = 0; column < 3; ++column) {
        mirrored(0, column) = -mirrored(0, column);
    }
    qs::Transform copy;
    copy.SetTransform(mirrored);
    EXPECT_EQ(copy.GetTransform(), mirrored);
    ExpectNear(copy.GetScale(), {-2.0f, 3.0f, 4.0f});
    EXPECT_NEAR(copy.GetRotate().Determinant(), 1.0f, 1e-4f);
    copy.SetTranslate({0.0f, 0.0f, 0.0f});
    ExpectNear(copy.GetTransform().TransformPoint({1.0f, 1.0f, 1.0f}), {-3.0f, -2.0f, 4.0f});
}

TEST(Bound, ReadsAPositionPerStride)
{
    const float vertices[] = {1, -5, 3, 99, -2, 4, 0, 99, 0, 0, 7, 99};
    const qs::Bound bound = qs::Bound::computeAABB(vertices, 16, 3);
    EXPECT_EQ(bound.minimum, Vector3f(-2, -5, 0));
    EXPECT_EQ(bound.maximum, Vector3f(1, 4, 7));
    EXPECT_EQ(qs::Bound::computeAABB(vertices, 16, 0), qs::Bound::BOUND_ZERO);
    EXPECT_EQ(qs::Bound::computeAABB(vertices, 16, 1).maximum, Vector3f(1, -5, 3));
}

TEST(RayPick, HitsTheTriangleFromBothSidesOnly)
{
    const Vector3f a(0, 0, 5), b(4, 0, 5), c(0, 4, 5);
    const struct
    {
        qs::Ray ray;
        float distance;
    } cases[] = {{{{1, 1, 0}, {0, 0, 1}}, 5.0f}, {{{1, 1, 0}, {0, 0, 2}}, 2.5f},     {{{1, 1, 9}, {0, 0, -1}}, 4.0f},
                 {{{3, 3, 0}, {0, 0, 1}}, 0.0f}, {{{-0.1f, 1, 0}, {0, 0, 1}}, 0.0f}, {{{1, 1, 6}, {0, 0, 1}}, 0.0f},
                 {{{1, 1, 0}, {1, 0, 0}}, 0.0f}, {{{1, 1, 0}, {0, 0, 0}}, 0.0f}};
    for (const auto& test : cases) {
        const qs::PickResult result = qs::RayPick::PeterShirleyTriangleHitTest(test.ray, a, b, c);
        EXPECT_EQ(result.IsMiss(), test.distance == 0.0f);
        if (!result.IsMiss()) {
            EXPECT_FLOAT_EQ(result.distance, test.distance);
            EXPECT_FLOAT_EQ(result.u, 0.25f);
            EXPECT_FLOAT_EQ(result.v, 0.25f);
        }
    }
    EXPECT_TRUE(qs::RayPick::PeterShirleyTriangleHitTest(cases[0].ray, a, a, a).IsMiss());
    EXPECT_TRUE(qs::PickResult().IsMiss());
}

TEST(UnProject, FindsThePointsThatProjectToTheScreen)
{
    // A left-handed perspective with depth 0 to 1, looking along z from (0, 0, -10).
    const float n = 1.0f, f = 100.0f, scale = 1.5f;
    Matrix4x4f projection = Matrix4x4f::Zero();
    projection(0, 0) = scale;
    projection(1, 1) = scale;
    projection(2, 2) = f / (f - n);
    projection(2, 3) = 1.0f;
    projection(3, 2) = -n * f / (f - n);
    Matrix4x4f view;
    view.SetTranslate({0.0f, 0.0f, 10.0f});
    Vector4f nearPoint, farPoint;
    ASSERT_TRUE(qs::unProject(projection.Inverted(), view.Inverted(), {0.75f, 0.25f}, nearPoint, farPoint));
    ExpectNear({nearPoint.x, nearPoint.y, nearPoint.z}, {0.5f / scale, 0.5f / scale, -9.0f});
    ExpectNear({farPoint.x, farPoint.y, farPoint.z}, {50.0f / scale, 50.0f / scale, 90.0f}, 0.05f);
    EXPECT_FALSE(qs::unProject(Matrix4x4f::Zero(), view, {0.5f, 0.5f}, nearPoint, farPoint));
    EXPECT_EQ(farPoint, Vector4f());
}

} // namespace
