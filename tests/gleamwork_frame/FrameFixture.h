// A journal that views, stages and cameras write, and a device with a frame to drive.
#pragma once

#include "Gleamwork/AppStage.h"
#include "Gleamwork/CameraController.h"
#include "Gleamwork/OffscreenRenderFrame.h"
#include "Gleamwork/RenderTargetManager.h"
#include "Gleamwork/RenderView.h"
#include "Gleamwork/StageGroup.h"
#include "gleamwork_core/CoreFixture.h"

#include <string>
#include <vector>

using Journal = std::vector<std::string>;

class JournalView : public gw::RenderView
{
public:
    JournalView(gw::RenderFrame* frame, Journal& journal, std::string name, float scaleX = 1.0f, float posX = 0.0f)
        : gw::RenderView(frame, scaleX, 1.0f, posX, 0.0f), m_journal(journal), m_name(std::move(name))
    {
    }
    void SwapReadWrite() override
    {
        Note("swap");
        gw::RenderView::SwapReadWrite();
    }
    void StartCollecting() override { Note("start"); }
    void DoWhileCollecting() override { Note("while"); }
    void CancelCollecting() override {}
    void FinishAndExecute() override { Note("finish"); }
    void OnStateChanged() override { Note("state"); }
    void StartBatches() override
    {
        Note("batches");
        gw::RenderView::StartBatches();
    }
    void FinishBatches() override
    {
        Note("wait");
        gw::RenderView::FinishBatches();
    }
    void Update(const qs::GameTime&) override { Note("update"); }
    void RefreshStages() override {}

private:
    void Note(const char* what) { m_journal.push_back(m_name + "." + what); }

    Journal& m_journal;
    std::string m_name;
};

class JournalStage : public gw::IAppStage
{
public:
    JournalStage(Journal& journal, std::string name, int type, bool loads = true)
        : m_journal(journal), m_name(std::move(name)), m_type(type), m_loads(loads)
    {
    }
    ~JournalStage() override { Note("delete"); }
    gw::AppStageType GetType() const override { return gw::AppStageType(m_type); }
    bool Load(gw::StageGroup* group) override
    {
        Note("load");
        return IAppStage::Load(group) && m_loads;
    }
    void StartCollecting(const gw::RenderView* const) override { Note("start"); }
    void DoWhileCollecting(const gw::RenderView* const) override { Note("while"); }
    void FinishAndExecute(const gw::RenderView* const) override { Note("finish"); }
    void Cancel() override { Note("cancel"); }
    void OnStateChanged(const gw::RenderView* const) override { Note("state"); }
    void OnSizeChanged(unsigned width, unsigned height) override
    {
        Note("size " + std::to_string(width) + " " + std::to_string(height));
    }

private:
    void Note(const std::string& what) { m_journal.push_back(m_name + "." + what); }

    Journal& m_journal;
    std::string m_name;
    int m_type;
    bool m_loads;
};

inline qs::FixedString Name(const char* text)
{
    return qs::FixedString::Create(text, -1);
}

class FrameTest : public DeviceTest
{
protected:
    void SetUp() override { StartDevice("null"); }
    void TearDown() override;

    gw::OffscreenRenderFrame& MakeFrame(unsigned width, unsigned height, gw::RenderTargetManager* manager = nullptr,
                                        gw::RenderFrameDesc::EType type = gw::RenderFrameDesc::eType_Offscreen);
    /// One frame from Update to EndFrame.
    void RunFrame();
    Journal TakeJournal();

    Journal m_journal;
    std::unique_ptr<gw::OffscreenRenderFrame> m_frame;
};
