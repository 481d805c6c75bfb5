// Cameras: matrices, planes and corners against numbers worked out by hand, and the registry.
#include "FrameFixture.h"
#include "Gleamwork/CameraManager.h"

#include <cmath>
#include <qs/Dispatcher.h>

namespace {

using gw::CameraController;

constexpr float RIGHT_ANGLE = 1.5707964f;

void ExpectNear(const Vector3f& value, const Vector3f& expected, float tolerance = 1e-4f)
{
    EXPECT_LE((value - expected).Length(), tolerance) << value.x << " " << value.y << " " << value.z << " for "
                                                      << expected.x << " " << expected.y << " " << expected.z;
}

class Cameras : public testing::Test
{
protected:
    qs::LogCapture m_log;
};

TEST_F(Cameras, LookFromThereToHere)
{
    CameraController camera;
    EXPECT_TRUE(camera.IsDirty());
    EXPECT_EQ(camera.GetID(), Name("NotRegistered"));
    camera.SetFov(RIGHT_ANGLE);
    camera.SetAspectRatio(2.0f);
    camera.SetNearPlaneFarPlane(1.0f, 101.0f);
    // From x 10 towards the origin: x of the world lies into the picture, z to the right.
    ASSERT_TRUE(camera.Place({10, 0, 0}, {0, 0, 0}, {0, 1, 0}, false));
    ExpectNear(camera.GetDirVector(), {-1, 0, 0});
    ExpectNear(camera.GetRightVector(), {0, 0, 1});
    ExpectNear(camera.GetUpVector(), {0, 1, 0});
    EXPECT_EQ(camera.GetLookAt(), Vector3f(0, 0, 0));
    ExpectNear(camera.GetViewMatrix().TransformPoint({0, 2, 3}), {3, 2, 10});
    // At the near plane depth is 0, at the far one 1, and the view is twice as wide as high.
    const Vector4f near = Vector4f(9, 1, 2, 1) * camera.GetViewProjectionMatrix();
    ExpectNear({near.x / near.w, near.y / near.w, near.z / near.w}, {1, 1, 0});
    const Vector4f far = Vector4f(-91, 0, 0, 1) * camera.GetViewProjectionMatrix();
    EXPECT_NEAR(far.z / far.w, 1.0f, 1e-5f);
    // Corners: left top of the near plane first, right bottom of the far plane at 6.
    ExpectNear(camera.GetFrustumPoints()[0], {9, 1, -2});
    ExpectNear(camera.GetFrustumPoints()[6], {-91, -101, 202}, 0.01f);
    // The planes in their order: y, x and z, the lower one first; the origin lies inside all.
    const Vector4f* planes = camera.GetCullingPlanes();
    const float slope = std::sqrt(0.5f);
    ExpectNear({planes[0].x, planes[0].y, planes[0].z}, {-slope, slope, 0});
    ExpectNear({planes[1].x, planes[1].y, planes[1].z}, {-slope, -slope, 0});
    ExpectNear({planes[5].x, planes[5].y, planes[5].z}, {1, 0, 0});
    EXPECT_NEAR(planes[5].w, 91.0f, 0.01f);
    for (int i = 0; i < 6; ++i) {
        EXPECT_GT(planes[i].w, 0.0f) << i;
    }
    EXPECT_EQ(camera.GetNVertices()[0].x, 0);
    EXPECT_EQ(camera.GetNVertices()[0].y, 1);
    EXPECT_EQ(camera.GetPVectices()[0].x, 1);
    EXPECT_EQ(camera.GetNVertices()[0].z + camera.GetPVectices()[0].z, 1);

    Vector3f nearPoint, farPoint;
    EXPECT_TRUE(camera.ScreenToWorldPos(0.5f, 0.5f, nearPoint, farPoint));
    ExpectNear(nearPoint, {9, 0, 0});
    ExpectNear(farPoint, {-91, 0, 0}, 0.05f);
    EXPECT_EQ(m_log.Count(), 0u);
}

TEST_F(Cameras, ZoomMirrorAndStandStill)
{
    CameraController camera;
    camera.SetFov(RIGHT_ANGLE);
    camera.EditorZoomExtents({1, 2, 3}, 10.0f);
    ExpectNear(camera.GetWorldTranslate(), {1, 2, -2});
    camera.EditorLookAt({1, 2, 100});
    ExpectNear(camera.GetRightVector(), {1, 0, 0});
    camera.LookAt({1, 2, 100}, {0, 1, 0}, true);
    ExpectNear(camera.GetRightVector(), {-1, 0, 0});
    camera.LookAt(camera.GetWorldTranslate(), {0, 1, 0}, false);
    EXPECT_EQ(camera.GetDirVector(), Vector3f(0, 0, 0));
    Matrix4x4f transform;
    transform.m[10] = 4.0f;
    transform.SetTranslate({5, 6, 7});
    camera.SetWorldTransform(transform);
    ExpectNear(camera.GetLookAt(), {5, 6, 8});
}

TEST_F(Cameras, FlagsGuardTheConstGetters)
{
    CameraController camera;
    const CameraController& reader = camera;
    camera.UpdateDirtyComponents();
    const Matrix4x4f before = reader.GetProjectionMatrix();
    camera.SetNearPlane(camera.GetNearPlane());
    camera.SetAspectRatio(camera.GetAspectRatio());
    EXPECT_FALSE(camera.IsDirty());
    camera.SetFov(camera.GetFov());
    EXPECT_TRUE(camera.IsDirty());
    camera.SetFov(RIGHT_ANGLE);
    EXPECT_EQ(reader.GetProjectionMatrix(), before);
    EXPECT_EQ(m_log.CountContaining("Call UpdateDirtyComponents before using the camera!"), 1u);
    EXPECT_NE(camera.GetProjectionMatrix(), before);
    EXPECT_EQ(m_log.Count(), 1u);
    m_log.Clear();
    camera.SetAspectRatio(0.0f);
    EXPECT_EQ(camera.GetProjectionMatrix(), Matrix4x4f::Zero());
    EXPECT_TRUE(m_log.Contains("m_AspectRatio not initialized, refusing to build projection matrix"));
    EXPECT_TRUE(m_log.Contains("m_AspectRatio not initialized"));
}

TEST_F(Cameras, OrthographicViewsCountWidthAndHeight)
{
    CameraController camera;
    camera.SetNearPlaneFarPlane(2.0f, 12.0f);
    camera.SetOrtho(100.0f, 108.0f, 4.0f, 0.0f);
    EXPECT_TRUE(camera.IsOrthographic());
    const Matrix4x4f& m = camera.GetProjectionMatrix();
    const Vector4f corner = Vector4f(4, 2, 12, 1) * m;
    EXPECT_EQ(corner, Vector4f(1, 1, 1, 1));
    ExpectNear(camera.GetFrustumPoints()[1], {4, 2, 2});
    ExpectNear(camera.GetFrustumPoints()[7], {-4, -2, 12});
}

TEST_F(Cameras, RegistryOwnsAndDestroysOnItsThread)
{
    struct Counted : CameraController
    {
        explicit Counted(int& count) : m_count(count) {}
        ~Counted() override { ++m_count; }
        int& m_count;
    };
    qs::ThreadManager& threads = *qs::ThreadManager::GetInstance();
    gw::CameraManager& manager = *gw::CameraManager::GetInstance();
    ASSERT_TRUE(threads.RegisterCurrentThread(2, "cameras"));
    int destroyed = 0;
    auto* camera = new Counted(destroyed);
    EXPECT_TRUE(manager.Register(camera, Name("a")));
    EXPECT_EQ(manager.Get(Name("a")), camera);
    EXPECT_FALSE(manager.Register(camera, Name("a")));
    EXPECT_TRUE(m_log.Contains("Camera with CameraControllerID a is already registered in CameraManager."));
    EXPECT_FALSE(manager.Register(nullptr, Name("b")));
    EXPECT_TRUE(m_log.Contains("Trying to register null camera in CameraManager."));
    EXPECT_FALSE(manager.Register(camera, Name("b")));
    EXPECT_TRUE(m_log.Contains("Trying to reregister camera in CameraManager. Old CameraControllerID = a, new "
                               "CameraControllerID = b"));
    m_log.Clear();
    EXPECT_TRUE(manager.Unregister(Name("b")));
    EXPECT_EQ(manager.GetCount(), 1u);
    EXPECT_TRUE(manager.Unregister(Name("a")));
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(manager.Get(Name("a")), nullptr);
    EXPECT_EQ(manager.UnregisterAll(), 0u);
    threads.UnregisterCurrentThread();

    // With that thread elsewhere the destruction waits for it.
    ASSERT_TRUE(threads.StartThread(2, "cameras"));
    manager.Register(new Counted(destroyed), Name("a"));
    manager.Register(new Counted(destroyed), Name("b"));
    EXPECT_EQ(manager.UnregisterAll(), 2u);
    ASSERT_TRUE(threads.StopThread(2));
    EXPECT_EQ(destroyed, 3);
    EXPECT_EQ(m_log.Count(), 0u);
}

} // namespace
