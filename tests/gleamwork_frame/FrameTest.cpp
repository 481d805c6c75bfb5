// Frames: the sequence of a frame, views coming and going, names, managers, sizes.
#include "FrameFixture.h"

#include <cinttypes>

std::uint64_t GetOperatorNewCount();

namespace {

using gw::RenderFrame;

struct NamedFrame : gw::OffscreenRenderFrame
{
    using gw::OffscreenRenderFrame::m_name;
    using gw::OffscreenRenderFrame::OffscreenRenderFrame;
};

} // namespace

TEST_F(FrameTest, StepsReachLiveViewsInTheirOrder)
{
    MakeFrame(64, 32);
    JournalView a(m_frame.get(), m_journal, "a");
    JournalView b(m_frame.get(), m_journal, "b");
    m_frame->RegisterRenderView(&a, RenderFrame::eRenderViewInsert_Back);
    m_frame->RegisterRenderView(&b, RenderFrame::eRenderViewInsert_Front);
    RunFrame();
    EXPECT_EQ(TakeJournal(), (Journal{"b.update", "a.update", "b.swap", "b.start", "a.swap", "a.start", "b.batches",
                                      "a.batches", "b.while", "a.while", "b.finish", "a.finish", "b.wait", "a.wait"}));

    // Changes show from the next swap on; a view that is hidden is still swapped and updated, a disabled one swapped.
    a.IncreaseFullscreenUIRefCount();
    b.SetEnabled(false);
    EXPECT_TRUE(a.IsVisible() && b.IsEnabled());
    RunFrame();
    EXPECT_EQ(TakeJournal(), (Journal{"b.update", "a.update", "b.swap", "a.swap"}));
    RunFrame();
    EXPECT_EQ(TakeJournal(), (Journal{"a.update", "b.swap", "a.swap"}));
    a.DecreaseFullscreenUIRefCount();
    m_frame->SetIsEnabled(false);
    RunFrame();
    EXPECT_EQ(TakeJournal(), (Journal{"b.swap", "a.swap"}));
    a.DecreaseFullscreenUIRefCount();
    ExpectAssert("FullscreenUI Refcount going out of range!");

    m_frame->OnStateChanged();
    EXPECT_EQ(TakeJournal(), (Journal{"b.state", "a.state"}));
    m_frame->UnregisterRenderView(&a);
    m_frame->UnregisterRenderView(&a);
    m_frame->UnregisterRenderView(&b);
    ExpectQuiet();
}

TEST_F(FrameTest, ListsOfViewsAndWhatIsWrongWithThem)
{
    MakeFrame(64, 32);
    JournalView a(m_frame.get(), m_journal, "a");
    JournalView b(m_frame.get(), m_journal, "b", 0.5f, 0.5f);
    JournalView c(m_frame.get(), m_journal, "c");
    for (JournalView* view : {&a, &b, &c}) {
        m_frame->RegisterRenderView(view, RenderFrame::eRenderViewInsert_Back);
    }
    m_frame->RegisterRenderView(&a, RenderFrame::ERenderViewInsert(2));
    ExpectAssert("Registering the same render view twice!");
    m_frame->UnregisterRenderView(&a); // c moves into its place
    EXPECT_EQ(m_frame->GetStageGroup(0), c.GetStageGroup());
    EXPECT_EQ(m_frame->GetStageGroup(1), b.GetStageGroup());
    EXPECT_EQ(m_frame->GetStageGroup(2), nullptr);
    ExpectAssert("Index 2 out of range [0, 2[");

    // The topmost view with a camera, edges half open.
    gw::CameraController camera;
    EXPECT_EQ(m_frame->GetRenderViewFromScreenPos({40, 10}), nullptr);
    b.SetCameraController(&camera, false);
    c.SetCameraController(&camera, false);
    m_frame->StartCollecting();
    m_frame->FinishAndExecute();
    EXPECT_EQ(m_frame->GetRenderViewFromScreenPos({32, 0}), &b);
    EXPECT_EQ(m_frame->GetRenderViewFromScreenPos({31.5f, 31.5f}), &c);
    EXPECT_EQ(m_frame->GetRenderViewFromScreenPos({64, 10}), nullptr);
    EXPECT_EQ(m_frame->GetRenderViewFromScreenPos({10, -1}), nullptr);

    m_frame.reset();
    ExpectAssert("Destroying RenderFrame with still active RenderViews!");
    MakeFrame(8, 8);
    RunFrame();
    EXPECT_EQ(m_log.CountContaining("Trying to draw a RenderFrame without a RenderView?", qs::LogLevelAssertion), 2u);
    m_log.Clear();
    m_frame->OnStateChanged();
    ExpectAssert("Trying to change settings on a RenderFrame without a RenderView?");
    Journal journal;
    JournalStage stage(journal, "s", 1);
    m_frame->AddAppStage(&stage);
    ExpectAssert("Trying to add an Appstage without a RenderView?");
}

TEST_F(FrameTest, NamesManagersAndBuffers)
{
    gw::RenderFrameDesc desc;
    desc.width = desc.height = 16;
    desc.checkerboard = true;
    const std::pair<int, const char*> types[] = {{0, "Default RenderFrame "},
                                                 {1, "Additional RenderFrame "},
                                                 {2, "Offscreen RenderFrame "},
                                                 {7, "Unknown RenderFrame "}};
    for (const auto& [type, prefix] : types) {
        desc.type = gw::RenderFrameDesc::EType(type);
        NamedFrame frame(m_renderer, desc, gw::FORMAT_RGBA8, gw::FORMAT_D24S8, nullptr);
        EXPECT_EQ(frame.m_name.ToChar(), prefix + std::to_string(reinterpret_cast<std::uintptr_t>(&frame)));
        EXPECT_FALSE(frame.GetDesc().checkerboard);
        EXPECT_EQ(frame.GetFrameID(), -1);
        EXPECT_EQ(frame.GetNumFrameBuffers(), 1);
        EXPECT_FALSE(frame.CanPresent());
        EXPECT_EQ(m_log.CountContaining("Checkerboard rendering is not supported on this platform!"), 1u);
        EXPECT_EQ(m_log.Count(), type == 7 ? 2u : 1u);
        m_log.Clear();
    }
    desc.type = gw::RenderFrameDesc::eType_Offscreen;
    gw::RenderTargetManager shared(16, 16, true);
    {
        gw::OffscreenRenderFrame frame(m_renderer, desc, gw::FORMAT_RGBA8, gw::FORMAT_D24S8, &shared);
        EXPECT_TRUE(frame.IsUsingCheckerboard() && frame.GetDesc().checkerboard);
        EXPECT_EQ(shared.GetRefCount(Name("DepthBuffer")), 1u);
        const qs::ObjectHandle target = MakeTarget(16, 16);
        frame.SetTempBackBuffer(target);
        EXPECT_EQ(frame.GetBackBuffer(), target);
        frame.SetTempBackBuffer(qs::ObjectHandle::Unassigned);
        EXPECT_EQ(frame.GetBackBuffer(), frame.GetFrameBuffers()[0]);
        m_renderer->RemoveTexture(target, true, true);
    }
    EXPECT_EQ(shared.GetRefCount(Name("DepthBuffer")), 0u);
    ExpectQuiet();
}

TEST_F(FrameTest, ResizesReachViewsStagesAndTargets)
{
    gw::RenderTargetManager halfWidth(1920, 1080, true);
    MakeFrame(1920, 1080, &halfWidth);
    JournalView view(m_frame.get(), m_journal, "v", 0.5f, 0.5f);
    gw::CameraController camera;
    view.SetCameraController(&camera, false);
    m_frame->RegisterRenderView(&view, RenderFrame::eRenderViewInsert_Back);
    m_frame->AddAppStage(new JournalStage(m_journal, "s", 1));
    m_journal.clear();
    const qs::ObjectHandle depth = m_frame->GetDepthBuffer();
    const qs::ObjectHandle back = m_frame->GetBackBuffer();
    EXPECT_TRUE(m_frame->Resize(1921, 1000, false, 0, 0));
    m_immediate.ExecuteAll();
    EXPECT_EQ(TakeJournal(), (Journal{"s.cancel", "s.size 960 1000"}));
    EXPECT_FLOAT_EQ(camera.GetAspectRatio(), 1921.0f * 0.5f / 1000.0f);
    EXPECT_EQ(m_frame->GetDepthBuffer(), depth);
    EXPECT_NE(m_frame->GetBackBuffer(), back);
    unsigned width, height, unused;
    m_renderer->GetTextureDimensions(depth, width, height, unused);
    EXPECT_EQ(std::pair(width, height), std::pair(1921u, 1000u));
    m_frame->UnregisterRenderView(&view);

    // The letter box, exact and with both ways to be narrower.
    m_frame->Resize(200, 100, false, 0, 0);
    m_frame->SetFixedAspectRatio(true, 1.0f);
    EXPECT_EQ(m_frame->GetViewport(), Vector4i(100, 100, 50, 0));
    m_frame->SetFixedAspectRatio(true, 4.0f);
    EXPECT_EQ(m_frame->GetViewport(), Vector4i(200, 50, 0, 25));
    m_frame->SetFixedAspectRatio(true, 2.0f);
    EXPECT_EQ(m_frame->GetViewport(), Vector4i(200, 100, 0, 0));
    m_frame.reset();
}

TEST_F(FrameTest, SteadyFramesAllocateNothing)
{
    MakeFrame(64, 64);
    struct QuietView : JournalView
    {
        using JournalView::JournalView;
        void SwapReadWrite() override { gw::RenderView::SwapReadWrite(); }
        void StartCollecting() override { GetStageGroup()->StartCollecting(this); }
        void DoWhileCollecting() override { GetStageGroup()->DoWhileCollecting(this); }
        void FinishAndExecute() override { GetStageGroup()->FinishAndExecute(this); }
        void StartBatches() override { gw::RenderView::StartBatches(); }
        void FinishBatches() override { gw::RenderView::FinishBatches(); }
        void Update(const qs::GameTime&) override {}
    };
    QuietView view(m_frame.get(), m_journal, "v");
    m_frame->RegisterRenderView(&view, RenderFrame::eRenderViewInsert_Back);
    for (int i = 0; i < 20; ++i) {
        RunFrame();
    }
    const std::uint64_t before = GetOperatorNewCount();
    for (int i = 0; i < 100; ++i) {
        RunFrame();
    }
    EXPECT_EQ(GetOperatorNewCount(), before);
    m_frame->UnregisterRenderView(&view);
}
