// The frame loop of a scene, whatever it is drawn into: views, stages, cameras, and the order of a frame.
#pragma once

#include "Options.h"
#include "common/Library.h"
#include "draw/OrbitCamera.h"
#include "draw/OverlayFont.h"
#include "draw/SceneContext.h"
#include "draw/StageTimer.h"
#include "draw/ViewerView.h"

#include <Gleamwork/RenderFrame.h>

#include <memory>
#include <string>
#include <vector>

namespace gleamview {

/// Lives between the start of the library and its stop, on the thread that started it; the frame outlives it.
class SceneFrame
{
public:
    SceneFrame(apps::Library& library, gw::RenderFrame& frame);
    ~SceneFrame();
    SceneFrame(const SceneFrame&) = delete;
    SceneFrame& operator=(const SceneFrame&) = delete;

    /// Makes shaders, views, stages and cameras for a scene, which stays the caller's. False, with a sentence in
    /// `error`, when something could not be made.
    bool Create(const Options& options, DeviceScene& scene, const std::vector<SceneCamera>& cameras,
                std::string& error);
    /// One frame. `time` is the scene's, in seconds; `present` shows it when the frame has a window. True when the
    /// scene moves by itself.
    bool Draw(double time, bool present);

    OrbitCamera& GetCamera() { return *m_orbits.front(); }
    /// Goes on to the next camera of the first view: the orbit camera, then the file's. Gives its name.
    std::string NextCamera();
    DrawSwitches& GetSwitches() { return m_context.switches; }
    Overlay& GetOverlay() { return m_context.overlay; }

private:
    void RunSteps(const qs::GameTime& gameTime, bool present);
    bool CreateViews(const Options& options);
    bool AddStages(ViewerView& view, std::string& error);
    void CreateCameras(const Options& options, const std::vector<SceneCamera>& cameras);
    bool ChooseCamera(const std::string& name, std::string& error);
    qs::FixedString Register(gw::CameraController* camera, const std::string& name);

    apps::Library& m_library;
    gw::RenderFrame& m_frame;
    SceneContext m_context;
    std::unique_ptr<Shaders> m_shaders;
    std::unique_ptr<OverlayFont> m_font; ///< null for a picture
    StageTimer m_timer;
    struct
    {
        qs::FixedString record, replay, present;
    } m_steps;
    DeviceScene* m_scene = nullptr;
    std::vector<std::unique_ptr<ViewerView>> m_views;
    std::vector<OrbitCamera*> m_orbits; ///< per view; the camera manager's
    std::vector<qs::FixedString> m_cameraNames;
    std::size_t m_camera = 0; ///< of the first view, in m_cameraNames
    std::uint64_t m_frameNumber = 0;
    double m_lastTime = 0.0;
};

} // namespace gleamview
