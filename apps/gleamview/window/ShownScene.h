// Models, or the viewer's own scene, in the window.
#pragma once

#include "Options.h"
#include "ProgressLine.h"
#include "common/Library.h"
#include "draw/SceneFrame.h"
#include "window/Shown.h"

#include <memory>
#include <vector>

namespace gleamview {

class ShownScene final : public Shown
{
public:
    ShownScene(apps::Library& library, gw::RenderFrame& frame, const Options& options);

    enum class Result
    {
        Loaded,
        Failed,  ///< what there is to say stands on the error stream
        Stopped, ///< with Ctrl-C
    };
    /// Reads the files and makes their device copies; what is attached meanwhile stays.
    Result Load(ProgressLine& progress);

    bool Attach(std::string& error) override;
    bool Draw(double time, bool present) override { return m_sceneFrame->Draw(time, present); }
    void Orbit(float yaw, float pitch) override { m_sceneFrame->GetCamera().Orbit(yaw, pitch); }
    void Pan(float right, float up) override { m_sceneFrame->GetCamera().Pan(right, up); }
    void Zoom(float factor) override { m_sceneFrame->GetCamera().Zoom(factor); }
    void ResetCamera() override;
    std::string NextCamera() override { return m_sceneFrame->NextCamera(); }
    DrawSwitches& GetSwitches() override { return m_sceneFrame->GetSwitches(); }
    Overlay& GetOverlay() override { return m_sceneFrame->GetOverlay(); }
    const std::string& GetName() const override { return m_name; }
    const std::string& GetFile() const override { return m_file; }

private:
    apps::Library& m_library;
    gw::RenderFrame& m_frame;
    Options m_options;
    std::string m_name;
    std::string m_file;
    std::vector<SceneCamera> m_cameras;
    std::unique_ptr<DeviceScene> m_scene;
    std::unique_ptr<SceneFrame> m_sceneFrame; ///< gone before the scene
};

} // namespace gleamview
