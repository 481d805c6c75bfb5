// Views: where they lie, and between which places in world and picture they translate.
#include "FrameFixture.h"
#include "Gleamwork/CameraManager.h"

#include <qs/Dispatcher.h>

namespace {

struct JournalCamera : gw::CameraController
{
    JournalCamera(Journal& journal, std::string name) : m_journal(journal), m_name(std::move(name)) {}
    bool Enter(const gw::CameraController* previous) override
    {
        m_journal.push_back(m_name + (previous ? ".enter from" : ".enter"));
        return true;
    }
    bool Exit(const gw::CameraController*) override
    {
        m_journal.push_back(m_name + ".exit");
        return true;
    }
    Journal& m_journal;
    std::string m_name;
};

} // namespace

TEST_F(FrameTest, ViewsAreSharesOfTheFrame)
{
    gw::RenderTargetManager halfWidth(1920, 1080, true);
    MakeFrame(1920, 1080, &halfWidth);
    JournalView right(m_frame.get(), m_journal, "v", 0.5f, 0.5f);
    EXPECT_EQ(right.GetViewportForParentFrame(), Vector4i(960, 1080, 960, 0));
    JournalView whole(m_frame.get(), m_journal, "v");
    EXPECT_EQ(whole.CalculateViewportForRenderTarget(1.0f), Vector4i(960, 1080, 0, 0));
    EXPECT_EQ(whole.CalculateViewportForRenderTarget(0.25f), Vector4i(240, 270, 0, 0));
    EXPECT_EQ(whole.CalculateViewportForRenderTarget(0.0f), Vector4i(1, 1, 0, 0));

    MakeFrame(200, 100);
    JournalView view(m_frame.get(), m_journal, "v");
    view.SetRelativeScaleAndPosition(0.0f, 1.0f, 0.0f, 0.0f);
    view.SwapReadWrite();
    EXPECT_EQ(view.GetViewportForParentFrame(), Vector4i(1, 100, 0, 0));
    EXPECT_FALSE(view.IsVisible());
    m_frame->SetFixedAspectRatio(true, 1.0f);
    view.SetRelativeScaleAndPosition(1.0f, 0.5f, 0.0f, 0.5f);
    view.SwapReadWrite();
    EXPECT_EQ(view.GetViewportForParentFrame(), Vector4i(100, 50, 50, 50));
    EXPECT_EQ(view.CalculateViewportForRenderTarget(2.0f), Vector4i(200, 100, 100, 100));

    view.SetRelativeScaleAndPosition(-0.1f, 1.1f, -1.0f, 2.0f);
    for (const char* text : {"RenderView X-Scale is < 0! Should be in range [0,1]. Clamping to 0.",
                             "RenderView Y-Scale is > 1! Should be in range [0,1]. Clamping to 1.",
                             "RenderView X-Pos is < 0! Should be in range [0,1]. Clamping to 0.",
                             "RenderView Y-Pos is > 1! Should be in range [0,1]. Clamping to 1."}) {
        EXPECT_EQ(m_log.CountContaining(text, qs::LogLevelAssertion), 1u) << text;
    }
    EXPECT_EQ(m_log.Count(), 4u);
    m_log.Clear();
    m_frame.reset();
}

TEST_F(FrameTest, ViewsTranslateBetweenWorldAndPicture)
{
    MakeFrame(400, 200);
    JournalView view(m_frame.get(), m_journal, "v", 0.5f, 0.5f);
    float x = -1, y = -1;
    EXPECT_FALSE(view.WorldToScreenPos({0, 0, 5}, x, y, nullptr));
    EXPECT_EQ(std::pair(x, y), std::pair(-1.0f, -1.0f));
    gw::CameraController camera;
    camera.SetFov(1.5707964f);
    view.SetCameraController(&camera, false);
    view.SwapReadWrite();
    view.UpdateDirtyComponents();
    // The view is 200 by 200 pixels at x 200, and 90 degrees wide: at distance 10 the half height is 10.
    EXPECT_TRUE(view.WorldToScreenPos({5, 5, 10}, x, y, nullptr));
    EXPECT_NEAR(x, 350.0f, 1e-3f);
    EXPECT_NEAR(y, 50.0f, 1e-3f);
    EXPECT_FALSE(view.WorldToScreenPos({5, 5, -10}, x, y, nullptr));
    EXPECT_NEAR(x, 250.0f, 1e-3f);
    Vector3f nearPoint, farPoint;
    view.ScreenToWorldPos(350.0f, 50.0f, nearPoint, farPoint);
    EXPECT_NEAR(nearPoint.x, 0.5f, 1e-4f);
    EXPECT_NEAR(nearPoint.z, 1.0f, 1e-4f);
    EXPECT_NEAR(farPoint.y, 250.0f, 0.5f);
    Vector2f screen;
    EXPECT_TRUE(view.IsOnScreen({-9.5f, 0, 10}, 4, screen, nullptr)); // 5 pixels inside the left edge
    EXPECT_FALSE(view.IsOnScreen({-9.5f, 0, 10}, 10, screen, nullptr));
    EXPECT_NEAR(screen.x, 205.0f, 1e-2f);
}

TEST_F(FrameTest, CamerasAreBoundByPointerAndName)
{
    MakeFrame(100, 100);
    JournalView view(m_frame.get(), m_journal, "v");
    auto* first = new JournalCamera(m_journal, "a");
    JournalCamera second(m_journal, "b");
    gw::CameraManager& manager = *gw::CameraManager::GetInstance();
    ASSERT_TRUE(qs::ThreadManager::GetInstance()->RegisterCurrentThread(2, "cameras"));
    manager.Register(first, Name("main"));
    view.SetCameraControllerID(Name("main"), false);
    view.SetCameraController(first, true);
    view.SetCameraController(&second, true);
    EXPECT_EQ(m_journal, (Journal{"a.enter", "a.exit", "b.enter from"}));
    EXPECT_EQ(view.GetNonConstCameraController(), &second);
    EXPECT_EQ(view.GetCameraController(), nullptr);
    view.SetCameraControllerID(Name("nobody"), false);
    ExpectAssert("SetCameraController failed! Invalid gw::CameraControllerID");
    EXPECT_EQ(view.GetNonConstCameraController(), &second);
    view.SetCameraControllerID(qs::FixedString(), true);
    EXPECT_EQ(m_journal.back(), "b.exit");
    EXPECT_EQ(view.GetNonConstCameraController(), nullptr);
    manager.UnregisterAll();
    qs::ThreadManager::GetInstance()->UnregisterCurrentThread();
}
