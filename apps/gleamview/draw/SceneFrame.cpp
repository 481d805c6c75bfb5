// Making of views and cameras, and the steps of a frame.
#include "draw/SceneFrame.h"

#include "draw/DevelopStage.h"
#include "draw/OverlayStage.h"
#include "draw/ShadowStage.h"

#include <Gleamwork/CameraManager.h>
#include <Gleamwork/IAPI.h>
#include <Gleamwork/Renderer.h>

#include <algorithm>
#include <qs/Profile.h>
#include <qs/Settings.h>
#include <thread>

namespace gleamview {

namespace {

/// How the second view of a split picture looks at the scene, seen from the first.
constexpr float s_splitYaw = 150.0f;
constexpr float s_splitPitch = 24.0f;

gw::CameraManager& Cameras()
{
    return *gw::CameraManager::GetInstance();
}

} // namespace

SceneFrame::SceneFrame(apps::Library& library, gw::RenderFrame& frame)
    : m_library(library), m_frame(frame), m_timer(*library.GetApi().GetAPIData(), library.GetImmediateQueue())
{
    m_context.renderer = gw::details::RendererBase::GetInstance();
    m_context.timer = &m_timer;
    m_steps.record = qs::FixedString::Create("record", -1);
    m_steps.replay = qs::FixedString::Create("replay", -1);
    m_steps.present = qs::FixedString::Create("present", -1);
}

SceneFrame::~SceneFrame()
{
    for (const std::unique_ptr<ViewerView>& view : m_views) {
        view->SetCameraController(nullptr, false);
        m_frame.UnregisterRenderView(view.get());
    }
    m_views.clear();
    for (const qs::FixedString& name : m_cameraNames) {
        Cameras().Unregister(name);
    }
    m_context.quad.Destroy(nullptr);
    m_library.Drain();
}

bool SceneFrame::Create(const Options& options, DeviceScene& scene, const std::vector<SceneCamera>& cameras,
                        std::string& error)
{
    m_scene = &scene;
    m_context.scene = &scene;
    m_context.light = FitLight(scene.GetBound());
    m_context.switches = {options.wireframe, options.bounds, options.ground};
    m_context.recorders = options.threads ? options.threads : std::max(1u, std::thread::hardware_concurrency());
    m_shaders = std::make_unique<Shaders>(*m_context.renderer);
    m_context.shaders = m_shaders.get();
    if (!m_shaders->Create(error)) {
        return false;
    }
    if (m_frame.GetDesc().window) {
        m_font = std::make_unique<OverlayFont>(*m_context.renderer);
        m_context.overlay.font = m_font.get();
    }
    if (!m_context.quad.Init(m_shaders->ground, false, nullptr)) {
        error = "the device has no room for the ground";
        return false;
    }
    CreateViews(options);
    for (const std::unique_ptr<ViewerView>& view : m_views) {
        if (!AddStages(*view, error)) {
            return false;
        }
    }
    CreateCameras(options, cameras);
    return ChooseCamera(options.cameraName, error);
}

bool SceneFrame::CreateViews(const Options& options)
{
    const ViewerView::Placement whole{};
    const ViewerView::Placement left{0.5f, 1.0f, 0.0f, 0.0f};
    const ViewerView::Placement right{0.5f, 1.0f, 0.5f, 0.0f};
    m_views.push_back(std::make_unique<ViewerView>(&m_frame, options.split ? left : whole, m_context, true));
    if (options.split) {
        m_views.push_back(std::make_unique<ViewerView>(&m_frame, right, m_context, false));
    }
    for (const std::unique_ptr<ViewerView>& view : m_views) {
        m_frame.RegisterRenderView(view.get(), gw::RenderFrame::eRenderViewInsert_Back);
    }
    return true;
}

bool SceneFrame::AddStages(ViewerView& view, std::string& error)
{
    view.AddStage(new ShadowStage(m_context));
    auto* scene = new SceneStage(m_context);
    view.AddStage(scene);
    if (!scene->HasTargets()) {
        error = "the device has no room for the targets of a picture of this size";
        return false;
    }
    const qs::ObjectHandle shader = m_shaders->GetDevelop(scene->GetSampleCount());
    if (!shader.IsValid()) {
        error = "the viewer's own develop.shader could not be made";
        return false;
    }
    view.AddStage(new DevelopStage(m_context, *scene, shader));
    view.AddStage(new OverlayStage(m_context));
    return true;
}

qs::FixedString SceneFrame::Register(gw::CameraController* camera, const std::string& name)
{
    qs::FixedString id = qs::FixedString::Create(name.c_str(), -1);
    // Files may give one name to several cameras.
    for (int i = 2; Cameras().IsRegistered(id); ++i) {
        id = qs::FixedString::Create((name + " " + std::to_string(i)).c_str(), -1);
    }
    Cameras().Register(camera, id);
    m_cameraNames.push_back(id);
    return id;
}

void SceneFrame::CreateCameras(const Options& options, const std::vector<SceneCamera>& cameras)
{
    const std::vector<Vector3f> points = m_scene->GetOutline();
    for (std::size_t i = 0; i < m_views.size(); ++i) {
        auto* camera = new OrbitCamera;
        const qs::FixedString id = Register(camera, "orbit");
        m_views[i]->SetCameraControllerID(id, false);
        CameraAngle angle = options.camera;
        if (i > 0) {
            angle.yaw += s_splitYaw;
            angle.pitch = std::clamp(angle.pitch + s_splitPitch, -89.0f, 89.0f);
        }
        camera->Fit(points, angle);
        m_orbits.push_back(camera);
    }
    const float radius = m_scene->GetBound().GetExtents().Length();
    for (const SceneCamera& source : cameras) {
        auto* camera = new gw::CameraController;
        PlaceCamera(*camera, source, std::max(radius, 1e-6f));
        Register(camera, source.name.empty() ? "camera" : source.name);
    }
}

bool SceneFrame::ChooseCamera(const std::string& name, std::string& error)
{
    if (name.empty()) {
        return true;
    }
    std::string known;
    for (std::size_t i = 0; i < m_cameraNames.size(); ++i) {
        if (name == m_cameraNames[i].ToChar()) {
            m_camera = i;
            m_views.front()->SetCameraControllerID(m_cameraNames[i], false);
            return true;
        }
        known += std::string(known.empty() ? "" : ", ") + m_cameraNames[i].ToChar();
    }
    error = "there is no camera '" + name + "'; there are: " + known;
    return false;
}

std::string SceneFrame::NextCamera()
{
    do {
        m_camera = (m_camera + 1) % m_cameraNames.size();
        // The other view's orbit camera is its own.
    } while (m_camera > 0 && m_camera < m_orbits.size());
    m_views.front()->SetCameraControllerID(m_cameraNames[m_camera], false);
    return m_cameraNames[m_camera].ToChar();
}

/// Every step is measured, the stages inside the replay by themselves.
void SceneFrame::RunSteps(const qs::GameTime& gameTime, bool present)
{
    m_timer.Begin(m_steps.record);
    m_frame.Update(gameTime);
    m_frame.StartCollecting();
    m_frame.DoWhileCollecting();
    m_frame.BeginFrame();
    m_frame.FinishAndExecute();
    m_timer.End(m_steps.record);
    m_timer.Begin(m_steps.replay);
    m_library.Drain();
    m_timer.End(m_steps.replay);
    m_timer.Begin(m_steps.present);
    m_frame.EndFrame(present);
    m_timer.End(m_steps.present);
}

bool SceneFrame::Draw(double time, bool present)
{
    qs::HProfileSample sample("gleamview::Frame");
    const bool isMoving = m_scene->SetTime(time);
    qs::GameTime gameTime;
    gameTime.time = time;
    gameTime.timeStep = static_cast<float>(time - m_lastTime);
    gameTime.frame = m_frameNumber++;
    m_lastTime = time;
    m_context.renderer->SetGameTime(gameTime);
    m_timer.SetEnabled(m_context.overlay.showsTimes || qs::Profiler::IsTracing());
    m_timer.BeginFrame();
    RunSteps(gameTime, present);
    m_timer.EndFrame();
    m_context.overlay.times = m_timer.GetTimes().GetMeans();
    return isMoving;
}

} // namespace gleamview
