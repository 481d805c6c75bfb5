// 05: a render frame with a view, a stage and a camera: the way an application draws frame after frame.
#include "Sample.h"

#include <Gleamwork/AppStage.h>
#include <Gleamwork/CameraController.h>
#include <Gleamwork/GWDataLoader.h>
#include <Gleamwork/OffscreenRenderFrame.h>
#include <Gleamwork/RenderView.h>
#include <Gleamwork/RendererCommandBuffer.h>
#include <Gleamwork/StageGroup.h>

#include <cmath>
#include <cstdint>

namespace {

constexpr auto s_cubeStage = gw::AppStageType(1);

/// Records a turning cube while the frame collects, and hands the recording over when it is finished.
class CubeStage final : public gw::IAppStage
{
public:
    gw::AppStageType GetType() const override { return s_cubeStage; }
    void SetTime(double time) { m_angle = float(time); }

    void StartCollecting(const gw::RenderView* const view) override
    {
        ChangeToMainFrameBuffer(m_commands, view, true);
        const gw::RenderFrame& frame = *view->GetParentFrame();
        m_commands.ClearRenderTarget(frame.GetBackBuffer(), -1, Vector4f(0.10f, 0.12f, 0.15f, 1.0f));
        m_commands.ClearDepthStencil(frame.GetDepthBuffer(), -1, gw::eDepthStencilClearMode_Depth, 1.0f, 0);
        const gw::CameraController& camera = *view->GetCameraController();
        m_commands.SetRenderProperties(camera.GetViewMatrix(), camera.GetProjectionMatrix(), camera.GetWorldTranslate(),
                                       camera.GetNearPlane(), camera.GetFarPlane());
        for (int face = 0; face < 6; ++face) {
            DrawFace(face);
        }
    }
    void FinishAndExecute(const gw::RenderView* const) override { gw::DataLoader::InvokeExecuteRCB(&m_commands); }

private:
    /// A side of the cube, in two triangles; its axis is 0, 1 or 2, and every axis has two.
    void DrawFace(int face)
    {
        const int axis = face / 2;
        const float side = face % 2 ? 1.0f : -1.0f;
        float corners[4][3];
        for (int i = 0; i < 4; ++i) {
            corners[i][axis] = side;
            corners[i][(axis + 1) % 3] = i == 0 || i == 3 ? -1.0f : 1.0f;
            corners[i][(axis + 2) % 3] = i < 2 ? -1.0f : 1.0f;
        }
        constexpr std::uint16_t indices[] = {0, 1, 2, 0, 2, 3};
        Matrix4x4f world;
        world(0, 0) = world(2, 2) = std::cos(m_angle);
        world(0, 2) = std::sin(m_angle);
        world(2, 0) = -world(0, 2);
        using gw::details::RendererBase;
        const float shade = 0.45f + 0.09f * float(face);
        m_commands.DrawPlain3DIndexed(world, gw::ePrimitiveTopology_TriangleList, corners, 4, indices, 6, 2, true,
                                      RendererBase::BS(gw::BS_OPAQUE), RendererBase::DS(gw::DS_READ_WRITE),
                                      RendererBase::RS(gw::RS_SOLID), Vector4f(shade, shade * 0.8f, 0.25f, 1.0f));
    }

    gw::RendererCommandBuffer m_commands;
    float m_angle = 0.0f;
};

/// Passes the frame's steps on to the stages.
class MainView final : public gw::RenderView
{
public:
    explicit MainView(gw::RenderFrame* frame) : gw::RenderView(frame, 1.0f, 1.0f, 0.0f, 0.0f) {}
    void StartCollecting() override { GetStageGroup()->StartCollecting(this); }
    void DoWhileCollecting() override { GetStageGroup()->DoWhileCollecting(this); }
    void CancelCollecting() override { GetStageGroup()->Cancel(); }
    void FinishAndExecute() override { GetStageGroup()->FinishAndExecute(this); }
    void OnStateChanged() override { GetStageGroup()->OnStateChanged(); }
    void RefreshStages() override {}
    /// A camera that changed since the last frame brings its matrices up to date before anybody reads them.
    void Update(const qs::GameTime&) override { GetNonConstCameraController()->UpdateDirtyComponents(); }
};

} // namespace

int main(int argc, char** argv)
{
    samples::Sample sample(argc, argv, "05_frame");
    if (!sample.Start()) {
        return 1;
    }
    gw::RenderFrameDesc desc;
    desc.type = gw::RenderFrameDesc::eType_Offscreen;
    desc.width = sample.GetWidth();
    desc.height = sample.GetHeight();
    gw::OffscreenRenderFrame frame(&sample.GetRenderer(), desc, gw::FORMAT_RGBA8, gw::FORMAT_D24S8, nullptr);
    gw::CameraController camera;
    MainView view(&frame);
    auto* stage = new CubeStage; // the view's stage group deletes it
    view.AddAppStage(stage);
    view.SetCameraController(&camera, false);
    frame.RegisterRenderView(&view, gw::RenderFrame::eRenderViewInsert_Back);
    camera.Place(Vector3f(0.0f, 1.8f, -3.6f), Vector3f(0.0f, 0.0f, 0.0f), Vector3f(0.0f, 1.0f, 0.0f), false);

    qs::GameTime time;
    for (int i = 0; i < 30; ++i) {
        time.frame = i;
        time.time = i / 60.0;
        stage->SetTime(time.time);
        frame.Update(time);
        frame.StartCollecting();   // views and stages record; batches run on workers
        frame.DoWhileCollecting(); // what the frame loop does meanwhile
        frame.BeginFrame();
        frame.FinishAndExecute(); // recordings are queued
        sample.Drain();           // and replayed
        frame.EndFrame(true);
    }
    const int status = sample.Finish(frame.GetBackBuffer());
    frame.UnregisterRenderView(&view);
    view.SetCameraController(nullptr, false);
    return status;
}
