// Which job it is, and the order of each.
#include "Viewer.h"

#include "ImageFile.h"
#include "ImageScene.h"
#include "Interrupt.h"
#include "Messages.h"
#include "SceneLoading.h"
#include "common/Library.h"
#include "draw/SceneFrame.h"
#include "window/WindowRun.h"

#include <Gleamwork/OffscreenRenderFrame.h>
#include <Gleamwork/Renderer.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <qs/Path.h>
#include <qs/Profile.h>
#include <unistd.h>

namespace gleamview {

namespace {

constexpr Size s_defaultSize{1280, 720};
constexpr double s_frameTime = 1.0 / 60.0;
constexpr int s_failed = 1;

int Failed(const std::string& sentence)
{
    PrintError(sentence);
    return s_failed;
}

bool LoadImages(const Options& options, std::vector<std::unique_ptr<ImageFile>>& images)
{
    for (const std::string& path : options.files) {
        auto image = std::make_unique<ImageFile>();
        std::string error;
        if (!image->Load(path, error))
            return Fail(error);
        images.push_back(std::move(image));
    }
    return true;
}

/// Known before anything is decoded or drawn, so that a long job does not end in a name that cannot be written.
bool CheckPicturePath(const std::string& path)
{
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& letter : extension)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    for (const char* known : {".png", ".jpg", ".bmp", ".tga", ".dds"})
        if (extension == known)
            return true;
    return Fail(path + ": unknown extension; pictures are written as png, jpg, bmp, tga or dds");
}

int RunImages(const Options& options)
{
    std::vector<std::unique_ptr<ImageFile>> images;
    if (!LoadImages(options, images))
        return 1;
    apps::HiddenApp app;
    apps::Library library(app);
    if (!library.Start())
        return Failed("the renderer could not be started");
    ImageScene scene;
    std::string error;
    if (!scene.Create(options, images, error))
        return Failed(error);
    for (unsigned i = 0; i < options.frames.value_or(1) && !WasInterrupted(); ++i)
        scene.Draw();
    if (WasInterrupted())
        return InterruptedStatus;
    return scene.Write(options.out) ? 0 : Failed(options.out + ": the picture could not be written");
}

/// Draws the frames of a scene and writes the last one.
int DrawScene(const Options& options, apps::Library& library, DeviceScene& scene,
              const std::vector<SceneCamera>& cameras)
{
    gw::Renderer& renderer = *gw::details::RendererBase::GetInstance();
    const Size size = options.size.value_or(s_defaultSize);
    gw::RenderFrameDesc desc;
    desc.type = gw::RenderFrameDesc::eType_Offscreen;
    desc.width = size.width;
    desc.height = size.height;
    gw::OffscreenRenderFrame frame(&renderer, desc, gw::FORMAT_RGBA8, gw::FORMAT_D24S8, nullptr);
    int status = 0;
    {
        SceneFrame sceneFrame(library, frame);
        std::string error;
        if (!sceneFrame.Create(options, scene, cameras, error))
            return Failed(error);
        for (unsigned i = 0; i < options.frames.value_or(1) && !WasInterrupted(); ++i)
            sceneFrame.Draw(options.time + i * s_frameTime, false);
        if (WasInterrupted())
            status = InterruptedStatus;
        else if (!renderer.SaveRenderTargetData(frame.GetBackBuffer(),
                                                qs::Path(qs::PATH_ROOT_NONE, options.out.c_str()), false, false, 0, 0))
            status = Failed(options.out + ": the picture could not be written");
    }
    return status;
}

int RunScene(const Options& options)
{
    ProgressLine progress(stderr, isatty(STDERR_FILENO) != 0);
    SceneData data;
    const LoadingResult loaded = LoadScene(options, progress, data);
    if (loaded != LoadingResult::Loaded)
        return loaded == LoadingResult::Stopped ? InterruptedStatus : 1;
    apps::HiddenApp app;
    apps::Library library(app);
    if (!library.Start())
        return Failed("the renderer could not be started");
    DeviceScene scene(*gw::details::RendererBase::GetInstance());
    const std::string name = data.name;
    const std::vector<SceneCamera> cameras = data.cameras;
    const bool isMade = scene.Create(
        std::move(data), [&](const char* step, float share) { progress.Show(name, step, share); },
        [&](const std::string& sentence) {
            progress.Clear();
            PrintError(name + ": " + sentence);
        });
    progress.Clear();
    if (!isMade)
        return 1;
    if (WasInterrupted())
        return InterruptedStatus;
    return DrawScene(options, library, scene, cameras);
}

} // namespace

int Run(const Options& options)
{
    const auto started = std::chrono::steady_clock::now();
    const bool hasWindow = options.out.empty();
    if (!hasWindow && !CheckPicturePath(options.out))
        return 1;
    if (!options.trace.empty() && !qs::Profiler::Start(options.trace.c_str()))
        return Failed(options.trace + ": the trace could not be started");
    WatchInterrupts();
    const bool isScene = options.files.empty() || HasModel(options.files);
    int status = 0;
    if (hasWindow)
        status = RunWindow(options);
    else
        status = isScene ? RunScene(options) : RunImages(options);
    if (!options.trace.empty() && !qs::Profiler::Stop() && status == 0)
        status = Failed(options.trace + ": the trace could not be written");
    if (status == InterruptedStatus)
        PrintError("stopped");
    if (status == 0 && !hasWindow) {
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - started;
        std::printf("%s: written in %.2f s\n", options.out.c_str(), seconds.count());
    }
    return status;
}

} // namespace gleamview
