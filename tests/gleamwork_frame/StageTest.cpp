// Stage groups, and the changes of render targets that stages record.
#include "FrameFixture.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <gleam_null_device.h>
#include <qs/Dispatcher.h>

namespace {

using gw::IAppStage;

struct StageView : JournalView
{
    using JournalView::JournalView;
};

} // namespace

TEST_F(FrameTest, StagesRunAndDieInOrder)
{
    MakeFrame(64, 64);
    {
        StageView view(m_frame.get(), m_journal, "v");
        gw::StageGroup& group = *view.GetStageGroup();
        group.InsertAppStageBeforeType(gw::AppStageType(9), new JournalStage(m_journal, "a", 1));
        ExpectAssert("Failed to insert AppStage! AppStage is added at the end of the list.");
        group.AddAppStage(new JournalStage(m_journal, "b", 2, false));
        ExpectAssert("AppStage failed to load!");
        group.AddAppStage(new JournalStage(m_journal, "c", 1));
        auto* inserted = new JournalStage(m_journal, "d", 3);
        view.InsertAppStageBeforeType(gw::AppStageType(2), inserted);
        EXPECT_EQ(TakeJournal(), (Journal{"a.load", "b.load", "c.load", "d.load"}));
        EXPECT_EQ(group.GetStage(gw::AppStageType(3)), inserted);
        EXPECT_EQ(group.GetStage(gw::AppStageType(4)), nullptr);
        EXPECT_EQ(inserted->GetStageGroup(), &group);
        group.StartCollecting(&view);
        EXPECT_EQ(TakeJournal(), (Journal{"a.start", "d.start", "b.start", "c.start"}));
        group.OnSizeChanged(7, 9);
        EXPECT_EQ(TakeJournal(), (Journal{"a.cancel", "a.size 7 9", "d.cancel", "d.size 7 9", "b.cancel", "b.size 7 9",
                                          "c.cancel", "c.size 7 9"}));
        group.FinishAndExecute(&view);
        group.Cancel();
        m_journal.clear();

        // With thread 2 in use the change is told there, else at once.
        group.OnStateChanged();
        EXPECT_EQ(m_journal.size(), 8u);
        m_journal.clear();
        ASSERT_TRUE(qs::ThreadManager::GetInstance()->StartThread(2, "state"));
        group.OnStateChanged();
        ASSERT_TRUE(qs::ThreadManager::GetInstance()->StopThread(2));
        EXPECT_EQ(TakeJournal(), (Journal{"a.cancel", "a.state", "d.cancel", "d.state", "b.cancel", "b.state",
                                          "c.cancel", "c.state"}));
    }
    EXPECT_EQ(TakeJournal(), (Journal{"c.delete", "b.delete", "d.delete", "a.delete"}));
    gw::StageGroup nothing(nullptr, nullptr);
    ExpectAssert("Invalid stagegroup parameters!");
}

TEST_F(FrameTest, StagesRecordTargetsWithTheViewsPlace)
{
    gw::RenderTargetManager halfWidth(1920, 1080, true);
    MakeFrame(1920, 1080, &halfWidth);
    StageView view(m_frame.get(), m_journal, "v", 0.5f, 0.5f);
    const qs::ObjectHandle target = MakeTarget(64, 64);
    gw::RendererCommandBuffer commands;
    // Half width: the view takes the right half of a 960 wide target, whose place is counted on the full one.
    EXPECT_EQ(
        IAppStage::ChangeRenderTargets(commands, &view, &target, 1, qs::ObjectHandle::Unassigned, false, -1, 1.0f),
        Vector4f(0.5f, 1.0f, 0.5f, 0.0f));
    EXPECT_EQ(IAppStage::ChangeToMainFrameBuffer(commands, &view, true), Vector4f(0.5f, 1.0f, 0.5f, 0.0f));
    EXPECT_EQ(IAppStage::ChangeRenderTargetsDefaultDepth(commands, &view, &target, 1, true, 0.5f),
              Vector4f(0.5f, 1.0f, 0.5f, 0.0f));
    MakeFrame(64, 64);
    StageView plain(m_frame.get(), m_journal, "p");
    EXPECT_EQ(IAppStage::ChangeRenderTargetMip(commands, &plain, &target, 1.0f, 2), Vector4f(1.0f, 1.0f, 0.0f, 0.0f));
    const std::uint64_t before = GleamNullCallCountOf("RSSetViewports");
    qs::ExecuteCommandDispatcher(commands, true);
    EXPECT_EQ(GleamNullCallCountOf("RSSetViewports") - before, 8u); // one of the targets, one of the view
    m_log.Clear();                                                  // the first frame's buffers are gone by now
    m_renderer->RemoveTexture(target, true, true);
    m_frame.reset();
}
