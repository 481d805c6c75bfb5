// What the tests of the frame pipeline share.
#include "FrameFixture.h"

void FrameTest::TearDown()
{
    m_frame.reset();
    m_immediate.ExecuteAll();
    m_relaxed.ExecuteAll();
    DeviceTest::TearDown();
}

gw::OffscreenRenderFrame& FrameTest::MakeFrame(unsigned width, unsigned height, gw::RenderTargetManager* manager,
                                               gw::RenderFrameDesc::EType type)
{
    gw::RenderFrameDesc desc;
    desc.type = type;
    desc.width = width;
    desc.height = height;
    m_frame = std::make_unique<gw::OffscreenRenderFrame>(m_renderer, desc, gw::FORMAT_RGBA8, gw::FORMAT_D24S8, manager);
    return *m_frame;
}

void FrameTest::RunFrame()
{
    m_frame->Update(qs::GameTime{});
    m_frame->StartCollecting();
    m_frame->DoWhileCollecting();
    m_frame->BeginFrame();
    m_frame->FinishAndExecute();
    m_immediate.ExecuteAll();
    m_frame->EndFrame(true);
}

Journal FrameTest::TakeJournal()
{
    Journal journal;
    journal.swap(m_journal);
    return journal;
}
