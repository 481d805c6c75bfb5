// Loading and attaching of scenes.
#include "window/ShownScene.h"

#include "Interrupt.h"
#include "Messages.h"
#include "SceneLoading.h"

#include <Gleamwork/Renderer.h>

namespace gleamview {

ShownScene::ShownScene(apps::Library& library, gw::RenderFrame& frame, const Options& options)
    : m_library(library), m_frame(frame), m_options(options), m_file(options.files.empty() ? "" : options.files.front())
{
}

ShownScene::Result ShownScene::Load(ProgressLine& progress)
{
    SceneData data;
    const LoadingResult loaded = LoadScene(m_options, progress, data);
    if (loaded != LoadingResult::Loaded) {
        return loaded == LoadingResult::Stopped ? Result::Stopped : Result::Failed;
    }
    m_name = data.name;
    m_cameras = data.cameras;
    m_scene = std::make_unique<DeviceScene>(*gw::details::RendererBase::GetInstance());
    const bool isMade = m_scene->Create(
        std::move(data), [&](const char* step, float share) { progress.Show(m_name, step, share); },
        [&](const std::string& sentence) {
            progress.Clear();
            PrintError(m_name + ": " + sentence);
        });
    progress.Clear();
    if (WasInterrupted()) {
        return Result::Stopped;
    }
    return isMade ? Result::Loaded : Result::Failed;
}

bool ShownScene::Attach(std::string& error)
{
    m_sceneFrame = std::make_unique<SceneFrame>(m_library, m_frame);
    return m_sceneFrame->Create(m_options, *m_scene, m_cameras, error);
}

void ShownScene::ResetCamera()
{
    m_sceneFrame->GetCamera().Fit(m_scene->GetOutline(), m_options.camera);
}

} // namespace gleamview
