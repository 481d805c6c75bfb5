// A surface and the sequence of its frames.
#include "Gleamwork/RenderFrame.h"

#include "Gleamwork/AppStage.h"
#include "Gleamwork/RenderTargetManager.h"
#include "Gleamwork/RenderView.h"
#include "Gleamwork/Renderer.h"
#include "Gleamwork/RendererCommandBuffer.h"
#include "Gleamwork/StageGroup.h"

#include <algorithm>
#include <cmath>
#include <qs/Log.h>
#include <qs/Profile.h>
#include <qs/ScratchMemory.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "RenderFrame.cpp";

const char* GetNamePrefix(RenderFrameDesc::EType type)
{
    switch (type) {
    case RenderFrameDesc::eType_Default:
        return "Default RenderFrame ";
    case RenderFrameDesc::eType_Additional:
        return "Additional RenderFrame ";
    case RenderFrameDesc::eType_Offscreen:
        return "Offscreen RenderFrame ";
    }
    QS_LOG_ASSERT(FILE_NAME, "gw::RenderFrame::RenderFrame",
                  "Unhandled gw::RenderFrameDesc::EType! To create renderframe name.");
    return "Unknown RenderFrame ";
}

int Rounded(float value)
{
    return int(std::round(value));
}

} // namespace

RenderFrame::RenderFrame(Renderer* renderer, const RenderFrameDesc& desc, EFormat backBuffer, EFormat depth,
                         RenderTargetManager* manager)
    : m_desc(desc), m_renderer(renderer), m_renderTargetManager(manager),
      m_viewport(int(desc.width), int(desc.height), 0, 0), m_backBufferFormat(backBuffer), m_depthBufferFormat(depth)
{
    if (!renderer) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderFrame::RenderFrame",
                      "Create renderer first, before adding new render frames!");
    }
    if (!manager) {
        CreateManager();
    }
    CreateName();
}

RenderFrame::~RenderFrame()
{
    constexpr const char* FUNCTION = "gw::RenderFrame::~RenderFrame";
    for (std::uint32_t i = m_appBatches.GetSize(); i-- > 0;) {
        delete m_appBatches[i];
    }
    m_appBatches.Clear();
    if (!m_renderTargetManager) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Render target manager was null? Should be impossible!");
    }
    if (m_ownsManager) {
        delete m_renderTargetManager;
        m_renderTargetManager = nullptr;
    }
    if (!m_renderViews.IsEmpty()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Destroying RenderFrame with still active RenderViews!");
        m_renderViews.Clear();
    }
}

void RenderFrame::CreateManager()
{
    if (m_desc.checkerboard) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderFrame::RenderFrame",
                      "Checkerboard rendering is not supported on this platform!");
    }
    m_desc.checkerboard = false;
    m_renderTargetManager = new RenderTargetManager(m_desc.width, m_desc.height, false);
    m_ownsManager = true;
}

void RenderFrame::CreateName()
{
    char storage[128];
    qs::ScratchString name{qs::Span<char>(storage)};
    name << GetNamePrefix(m_desc.type) << std::uint64_t(reinterpret_cast<std::uintptr_t>(this));
    m_name = qs::FixedString::Create(name.ToChar());
}

bool RenderFrame::IsLive(const RenderView* view) const
{
    return view && view->IsVisible() && view->m_read.enabled && m_enabled;
}

void RenderFrame::CheckHasView() const
{
    if (m_renderViews.IsEmpty()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderFrame::StartCollecting",
                      "Trying to draw a RenderFrame without a RenderView?");
    }
}

void RenderFrame::Update(const qs::GameTime& time)
{
    for (RenderView* view : m_renderViews) {
        if (view && view->m_read.enabled && m_enabled) {
            view->Update(time);
        }
    }
}

void RenderFrame::StartCollecting()
{
    qs::HProfileSample sample("gw::RenderFrame::StartCollecting");
    CheckHasView();
    bool anyLive = false;
    for (RenderView* view : m_renderViews) {
        if (!view) {
            continue;
        }
        view->SwapReadWrite();
        if (IsLive(view)) {
            view->StartCollecting();
            anyLive = true;
        }
    }
    if (anyLive) {
        StartBatches();
    }
}

void RenderFrame::StartBatches()
{
    qs::HProfileSample sample("gw::RenderFrame::StartBatches");
    for (RenderView* view : m_renderViews) {
        if (IsLive(view)) {
            view->StartBatches();
        }
    }
}

void RenderFrame::DoWhileCollecting()
{
    qs::HProfileSample sample("gw::RenderFrame::DoWhileCollecting");
    for (RenderView* view : m_renderViews) {
        if (IsLive(view)) {
            view->DoWhileCollecting();
        }
    }
}

void RenderFrame::BeginFrame()
{
    m_renderer->BeginEventFrame(m_name);
    m_renderer->BeginFrame();
    m_renderer->ClearRenderTarget(GetBackBuffer(), -1, {0.0f, 0.0f, 0.0f, 0.0f});
    m_renderer->ClearDepthStencil(m_depthBuffer, -1, eDepthStencilClearMode_Both, 1.0f, 0);
    m_renderer->BindGlobalConstantBuffers();
}

void RenderFrame::FinishAndExecute()
{
    qs::HProfileSample sample("gw::RenderFrame::FinishAndExecute");
    CheckHasView();
    for (RenderView* view : m_renderViews) {
        if (IsLive(view)) {
            view->FinishAndExecute();
        }
    }
    for (RenderView* view : m_renderViews) {
        if (IsLive(view)) {
            view->FinishBatches();
        }
    }
}

void RenderFrame::EndFrame(bool present)
{
    qs::HProfileSample sample("gw::RenderFrame::EndFrame");
    m_renderer->EndFrame(present);
    FlipBuffers(present);
    m_renderer->EndEventFrame(m_name);
}

void RenderFrame::OnStateChanged()
{
    if (m_renderViews.IsEmpty()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderFrame::OnStateChanged",
                      "Trying to change settings on a RenderFrame without a RenderView?");
    }
    for (RenderView* view : m_renderViews) {
        view->OnStateChanged();
    }
}

void RenderFrame::RegisterRenderView(RenderView* view, ERenderViewInsert insert)
{
    if (m_renderViews.Contains(view)) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderFrame::RegisterRenderView", "Registering the same render view twice!");
    }
    if (insert != eRenderViewInsert_Front && insert != eRenderViewInsert_Back) {
        return;
    }
    m_renderViews.Add(view);
    if (insert == eRenderViewInsert_Front) {
        RenderView** views = m_renderViews.GetData();
        std::rotate(views, views + m_renderViews.GetSize() - 1, views + m_renderViews.GetSize());
    }
}

void RenderFrame::UnregisterRenderView(RenderView* view)
{
    const auto position = m_renderViews.Find(view);
    if (position >= 0) {
        m_renderViews.RemoveAt(std::uint32_t(position));
    }
}

RenderView* RenderFrame::GetRenderViewFromScreenPos(const Vector2f& position) const
{
    for (std::uint32_t i = m_renderViews.GetSize(); i-- > 0;) {
        RenderView* view = m_renderViews[i];
        if (!view || !view->GetCameraController()) {
            continue;
        }
        const Vector4i& viewport = view->GetViewportForParentFrame();
        const float left = float(viewport.z);
        const float top = float(viewport.w);
        if (position.x >= left && position.x < left + float(viewport.x) && position.y >= top &&
            position.y < top + float(viewport.y)) {
            return view;
        }
    }
    return nullptr;
}

StageGroup* RenderFrame::GetStageGroup(std::size_t view) const
{
    if (view >= m_renderViews.GetSize()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderFrame::GetStageGroup", "Index %u out of range [0, %u[", unsigned(view),
                      unsigned(m_renderViews.GetSize()));
        return nullptr;
    }
    return m_renderViews[std::uint32_t(view)]->GetStageGroup();
}

void RenderFrame::AddAppStage(IAppStage* stage)
{
    if (m_renderViews.IsEmpty()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderFrame::AddAppStage", "Trying to add an Appstage without a RenderView?");
    }
    for (RenderView* view : m_renderViews) {
        view->AddAppStage(stage);
    }
}

void RenderFrame::InsertAppStageBeforeType(AppStageType type, IAppStage* stage)
{
    if (m_renderViews.IsEmpty()) {
        QS_LOG_ASSERT(FILE_NAME, "gw::RenderFrame::InsertAppStageBeforeType",
                      "Trying to add an Appstage without a RenderView?");
    }
    for (RenderView* view : m_renderViews) {
        view->InsertAppStageBeforeType(type, stage);
    }
}

void RenderFrame::AddAppBatch(IRenderBatch* batch)
{
    m_appBatches.Add(batch);
}

void RenderFrame::ChangeToMainFramebuffer(Renderer& renderer, bool withDepth)
{
    renderer.SetRenderTargets(1, &GetBackBuffer(), nullptr, nullptr,
                              withDepth ? m_depthBuffer : qs::ObjectHandle::Unassigned, false, -1);
}

void RenderFrame::ChangeToMainFramebuffer(RendererCommandBuffer& commands, bool withDepth)
{
    commands.SetRenderTargets(1, &GetBackBuffer(), nullptr, nullptr,
                              withDepth ? m_depthBuffer : qs::ObjectHandle::Unassigned, false, -1);
}

void RenderFrame::SetFixedAspectRatio(bool enabled, float ratio)
{
    m_fixedAspectEnabled = enabled;
    m_fixedAspectRatio = ratio;
    CalculateViewport();
    for (RenderView* view : m_renderViews) {
        view->CalculateViewportForParentFrame();
        view->UpdateCameraAspectRatio();
    }
}

bool RenderFrame::IsUsingCheckerboard() const
{
    return m_renderTargetManager && m_renderTargetManager->IsUsingCheckerboard();
}

const qs::ObjectHandle& RenderFrame::GetBackBuffer() const
{
    return m_tempBackBuffer != qs::ObjectHandle::Unassigned ? m_tempBackBuffer : m_frameBuffers[0];
}

bool RenderFrame::Resize(unsigned width, unsigned height, bool, unsigned, unsigned)
{
    m_desc.width = width;
    m_desc.height = height;
    CalculateViewport();
    const unsigned stageWidth = IsUsingCheckerboard() ? width >> 1 : width;
    for (RenderView* view : m_renderViews) {
        if (!view) {
            continue;
        }
        view->CalculateViewportForParentFrame();
        view->UpdateCameraAspectRatio();
        if (StageGroup* stages = view->GetStageGroup()) {
            stages->OnSizeChanged(stageWidth, height);
        }
    }
    return true;
}

void RenderFrame::CalculateViewport()
{
    m_viewport = {int(m_desc.width), int(m_desc.height), 0, 0};
    if (!m_fixedAspectEnabled || m_desc.width == 0 || m_desc.height == 0 || !(m_fixedAspectRatio > 0.0f)) {
        return;
    }
    const float width = float(m_desc.width);
    const float height = float(m_desc.height);
    const float aspect = width / height;
    const float scaleX = aspect > m_fixedAspectRatio ? m_fixedAspectRatio / aspect : 1.0f;
    const float scaleY = m_fixedAspectRatio > aspect ? aspect / m_fixedAspectRatio : 1.0f;
    m_viewport = {Rounded(width * scaleX), Rounded(height * scaleY), Rounded((1.0f - scaleX) * 0.5f * width),
                  Rounded((1.0f - scaleY) * 0.5f * height)};
}

} // namespace gw
