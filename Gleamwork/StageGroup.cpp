// The ordered stages of a view.
#include "Gleamwork/StageGroup.h"

#include "Gleamwork/RenderTargetManager.h"

#include <algorithm>
#include <cstring>
#include <qs/Dispatcher.h>
#include <qs/Log.h>
#include <qs/Profile.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "StageGroup.cpp";
constexpr const char* SAMPLE_NAME = "gw::StageGroup";

// The thread that changes of state are handed to.
constexpr std::uint32_t STATE_THREAD = 2;

std::size_t RunOnStateChanged(const char* arguments)
{
    const StageGroup* group;
    std::memcpy(&group, arguments, sizeof group);
    group->OnStateChanged();
    return sizeof group;
}

} // namespace

StageGroup::StageGroup(RenderTargetManager* manager, RenderView* view) : m_manager(manager), m_view(view)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    if (!manager || !view) {
        QS_LOG_ASSERT(FILE_NAME, "gw::StageGroup::StageGroup", "Invalid stagegroup parameters!");
    }
}

StageGroup::~StageGroup()
{
    RemoveStages();
}

void StageGroup::RemoveStages()
{
    for (std::uint32_t i = m_stages.GetSize(); i-- > 0;) {
        delete m_stages[i];
    }
    m_stages.Clear();
}

void StageGroup::Load(IAppStage* stage)
{
    if (!stage->Load(this)) {
        QS_LOG_ASSERT(FILE_NAME, "gw::StageGroup::AddAppStage", "AppStage failed to load!");
    }
}

void StageGroup::AddAppStage(IAppStage* stage)
{
    Load(stage);
    m_stages.Add(stage);
}

void StageGroup::InsertAppStageBeforeType(AppStageType type, IAppStage* stage)
{
    Load(stage);
    std::uint32_t position = 0;
    while (position < m_stages.GetSize() && m_stages[position]->GetType() != type) {
        ++position;
    }
    if (position == m_stages.GetSize()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::StageGroup::InsertAppStageBeforeType",
                      "Failed to insert AppStage! AppStage is added at the end of the list.");
    }
    m_stages.Add(stage);
    IAppStage** stages = m_stages.GetData();
    std::rotate(stages + position, stages + m_stages.GetSize() - 1, stages + m_stages.GetSize());
}

IAppStage* StageGroup::GetStage(AppStageType type) const
{
    for (IAppStage* stage : m_stages) {
        if (stage->GetType() == type) {
            return stage;
        }
    }
    return nullptr;
}

void StageGroup::StartCollecting(const RenderView* view) const
{
    qs::HProfileSample sample("gw::StageGroup::StartCollecting");
    for (IAppStage* stage : m_stages) {
        stage->StartCollecting(view);
    }
}

void StageGroup::DoWhileCollecting(const RenderView* view) const
{
    qs::HProfileSample sample("gw::StageGroup::DoWhileCollecting");
    for (IAppStage* stage : m_stages) {
        stage->DoWhileCollecting(view);
    }
}

void StageGroup::FinishAndExecute(const RenderView* view) const
{
    qs::HProfileSample sample("gw::StageGroup::FinishAndExecute");
    for (IAppStage* stage : m_stages) {
        stage->FinishAndExecute(view);
    }
}

void StageGroup::Cancel() const
{
    qs::HProfileSample sample("gw::StageGroup::Cancel");
    for (IAppStage* stage : m_stages) {
        stage->Cancel();
    }
}

void StageGroup::OnStateChanged() const
{
    qs::HProfileSample sample("gw::StageGroup::OnStateChanged");
    qs::Dispatcher* dispatcher = qs::ThreadManager::GetInstance()->GetDispatcher(STATE_THREAD);
    if (dispatcher->MustPost()) {
        dispatcher->Post(RunOnStateChanged, const_cast<StageGroup*>(this));
        return;
    }
    for (IAppStage* stage : m_stages) {
        stage->Cancel();
        stage->OnStateChanged(m_view);
    }
}

void StageGroup::OnSizeChanged(unsigned width, unsigned height) const
{
    qs::HProfileSample sample("gw::StageGroup::OnSizeChanged");
    for (IAppStage* stage : m_stages) {
        stage->Cancel();
        stage->OnSizeChanged(width, height);
    }
}

bool StageGroup::IsUsingCheckerboard() const
{
    return m_manager && m_manager->IsUsingCheckerboard();
}

qs::ObjectHandle* StageGroup::AddResizingRenderTarget(const qs::FixedString& name, EFormat format, float scale,
                                                      bool mipped, bool halfWidth, int samples)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    return m_manager->AddResizingRenderTarget(name, format, scale, mipped, halfWidth, samples);
}

qs::ObjectHandle* StageGroup::AddRenderTarget(const qs::FixedString& name, EFormat format, unsigned width,
                                              unsigned height, bool cube, int samples)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    return m_manager->AddRenderTarget(name, format, width, height, cube, samples);
}

qs::ObjectHandle* StageGroup::AddResizingDepthRenderTarget(const qs::FixedString& name, EFormat format, float scale,
                                                           bool halfWidth, int samples)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    return m_manager->AddResizingDepthRenderTarget(name, format, scale, halfWidth, samples);
}

qs::ObjectHandle* StageGroup::AddDepthRenderTarget(const qs::FixedString& name, EFormat format, unsigned width,
                                                   unsigned height, bool cube, int samples)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    return m_manager->AddDepthRenderTarget(name, format, width, height, cube, samples);
}

qs::ObjectHandle* StageGroup::GetRenderTarget(const qs::FixedString& name)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    return m_manager->GetRenderTarget(name);
}

bool StageGroup::RemoveRenderTarget(const qs::FixedString& name)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    return m_manager->RemoveRenderTarget(name);
}

bool StageGroup::ResizeRenderTarget(const qs::FixedString& name, unsigned short width, unsigned short height)
{
    qs::MemoryTrackerSample sample(SAMPLE_NAME);
    return m_manager->ResizeRenderTarget(name, width, height);
}

std::uint64_t StageGroup::GetRefCount(const qs::FixedString& name) const
{
    return m_manager->GetRefCount(name);
}

void StageGroup::GetSize(unsigned& width, unsigned& height) const
{
    m_manager->GetSize(width, height);
}

} // namespace gw
