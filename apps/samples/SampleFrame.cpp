// The steps of a frame with one view.
#include "SampleFrame.h"

#include <Gleamwork/AppStage.h>
#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/StageGroup.h>

namespace samples {
namespace {

class RecorderStage final : public gw::IAppStage
{
public:
    explicit RecorderStage(Recorder recorder) : m_recorder(std::move(recorder)) {}

    gw::AppStageType GetType() const override { return gw::AppStageType(1); }
    void StartCollecting(const gw::RenderView* const view) override
    {
        const gw::RenderFrame& frame = *view->GetParentFrame();
        const gw::CameraController& camera = *view->GetCameraController();
        ChangeToMainFrameBuffer(m_commands, view, true);
        m_commands.ClearRenderTarget(frame.GetBackBuffer(), -1, Vector4f(0.10f, 0.12f, 0.15f, 1.0f));
        m_commands.ClearDepthStencil(frame.GetDepthBuffer(), -1, gw::eDepthStencilClearMode_Depth, 1.0f, 0);
        m_commands.SetRenderProperties(camera.GetViewMatrix(), camera.GetProjectionMatrix(), camera.GetWorldTranslate(),
                                       camera.GetNearPlane(), camera.GetFarPlane());
        m_recorder(m_commands, *view);
    }
    void FinishAndExecute(const gw::RenderView* const) override { gw::DataLoader::InvokeExecuteRCB(&m_commands); }

private:
    Recorder m_recorder;
    gw::RendererCommandBuffer m_commands;
};

class RecorderView final : public gw::RenderView
{
public:
    explicit RecorderView(gw::RenderFrame* frame) : gw::RenderView(frame, 1.0f, 1.0f, 0.0f, 0.0f) {}
    void StartCollecting() override { GetStageGroup()->StartCollecting(this); }
    void DoWhileCollecting() override { GetStageGroup()->DoWhileCollecting(this); }
    void CancelCollecting() override { GetStageGroup()->Cancel(); }
    void FinishAndExecute() override { GetStageGroup()->FinishAndExecute(this); }
    void OnStateChanged() override { GetStageGroup()->OnStateChanged(); }
    void RefreshStages() override {}
    void Update(const qs::GameTime&) override { GetNonConstCameraController()->UpdateDirtyComponents(); }
};

gw::RenderFrameDesc Describe(const Sample& sample)
{
    gw::RenderFrameDesc desc;
    desc.type = gw::RenderFrameDesc::eType_Offscreen;
    desc.width = sample.GetWidth();
    desc.height = sample.GetHeight();
    return desc;
}

} // namespace

SampleFrame::SampleFrame(Sample& sample, const Vector3f& eye, const Vector3f& target, Recorder recorder)
    : m_sample(sample), m_frame(&sample.GetRenderer(), Describe(sample), gw::FORMAT_RGBA8, gw::FORMAT_D24S8, nullptr),
      m_view(std::make_unique<RecorderView>(&m_frame))
{
    m_view->AddAppStage(new RecorderStage(std::move(recorder)));
    m_view->SetCameraController(&m_camera, false);
    m_frame.RegisterRenderView(m_view.get(), gw::RenderFrame::eRenderViewInsert_Back);
    m_camera.Place(eye, target, Vector3f(0.0f, 1.0f, 0.0f), false);
}

SampleFrame::~SampleFrame()
{
    m_frame.UnregisterRenderView(m_view.get());
    m_view->SetCameraController(nullptr, false);
}

void SampleFrame::Draw(int number)
{
    qs::GameTime time;
    time.frame = number;
    time.time = number / 60.0;
    time.timeStep = 1.0f / 60.0f;
    m_frame.Update(time);
    m_frame.StartCollecting();
    m_frame.DoWhileCollecting();
    m_frame.BeginFrame();
    m_frame.FinishAndExecute();
    m_sample.Drain();
    m_frame.EndFrame(true);
}

} // namespace samples
