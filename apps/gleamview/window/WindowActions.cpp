// What the loop does with what happened: files, camera, keys, sizes.
#include "window/WindowLoop.h"

#include "Interrupt.h"
#include "Messages.h"
#include "SceneLoading.h"
#include "window/Screenshot.h"
#include "window/ShownImages.h"
#include "window/ShownScene.h"

#include <Gleamwork/IAPI.h>
#include <Gleamwork/Renderer.h>

#include <SDL.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <qs/Path.h>
#include <qs/Settings.h>

namespace gleamview {

std::unique_ptr<Shown> WindowLoop::Load(const Options& options)
{
    if (!options.files.empty() && !HasModel(options.files)) {
        auto images = std::make_unique<ShownImages>(m_library, m_frame, options);
        std::string error;
        if (images->Load(error)) {
            return images;
        }
        PrintError(error);
        return nullptr;
    }
    auto scene = std::make_unique<ShownScene>(m_library, m_frame, options);
    const ShownScene::Result result = scene->Load(m_progress);
    if (result == ShownScene::Result::Loaded) {
        return scene;
    }
    m_isDone = result == ShownScene::Result::Stopped;
    return nullptr;
}

/// What is shown stays until the new files are ready. False, with the reason on the error stream, when they cannot be
/// shown.
bool WindowLoop::OpenFiles(const std::vector<std::string>& files)
{
    Options options = m_options;
    options.files = files;
    if (m_shown) {
        const DrawSwitches& switches = m_shown->GetSwitches();
        options.wireframe = switches.wireframe;
        options.bounds = switches.bounds;
        options.ground = switches.ground;
        options.cameraName.clear();
    }
    std::unique_ptr<Shown> next = Load(options);
    if (!next) {
        return false;
    }
    const bool showsTimes = m_shown && m_shown->GetOverlay().showsTimes;
    m_shown.reset();
    std::string error;
    if (!next->Attach(error)) {
        PrintError(error);
        m_isDone = m_hasFailed = true;
        return false;
    }
    m_shown = std::move(next);
    m_shown->GetOverlay().showsTimes = showsTimes;
    m_mustDraw = true;
    m_nextTitle = {};
    return true;
}

/// Keeps the window alive during a long job, and stops the job when the window is closed.
void WindowLoop::ShowLoading(const std::string& what, const std::string& step, float share)
{
    const Clock::time_point now = Clock::now();
    if (now < m_nextTitle) {
        return;
    }
    m_nextTitle = now + std::chrono::milliseconds(50);
    const long percent = std::lround(share * 100.0f);
    m_title = step + " " + what + ", " + std::to_string(percent) + "% - gleamview";
    m_window.SetTitle(m_title.c_str());
    ReadEvents();
    if (m_input.IsClosing() && !WasInterrupted()) {
        m_isClosed = true;
        Interrupt();
    }
}

void WindowLoop::ReadEvents()
{
    int width = 0;
    int height = 0;
    m_window.GetSize(width, height);
    const int units = static_cast<int>(static_cast<float>(height) / m_window.GetPixelScale());
    SDL_Event event;
    while (SDL_PollEvent(&event) != 0) {
        m_input.Handle(event, units);
    }
}

void WindowLoop::HandleNews(const InputNews& news)
{
    if (WasInterrupted()) {
        m_isDone = true;
    } else if (news.isClosed) {
        gw::WindowEventManager::GetInstance()->ExecuteWindowCloseEvent();
    }
    if (m_isDone) {
        return;
    }
    if (news.isResized) {
        FollowWindowSize();
    }
    m_mustDraw |= news.isExposed;
    if (news.MovesCamera()) {
        MoveCamera(news);
    }
    for (const Action action : news.actions) {
        Perform(action);
    }
    if (!news.files.empty() && !OpenFiles(news.files)) {
        Tell("cannot open " + std::filesystem::path(news.files.front()).filename().string());
    }
}

void WindowLoop::MoveCamera(const InputNews& news)
{
    m_shown->Orbit(news.orbitYaw, news.orbitPitch);
    m_shown->Pan(news.panRight, news.panUp);
    m_shown->Zoom(news.zoom);
    m_mustDraw = true;
}

void WindowLoop::Switch(bool DrawSwitches::*which)
{
    bool& value = m_shown->GetSwitches().*which;
    value = !value;
    m_mustDraw = true;
}

void WindowLoop::Perform(Action action)
{
    switch (action) {
    case Action::Wireframe:
        return Switch(&DrawSwitches::wireframe);
    case Action::Bounds:
        return Switch(&DrawSwitches::bounds);
    case Action::Ground:
        return Switch(&DrawSwitches::ground);
    case Action::Overlay:
        m_shown->GetOverlay().showsTimes = !m_shown->GetOverlay().showsTimes;
        m_mustDraw = true;
        return;
    case Action::NextCamera:
        Tell("camera " + m_shown->NextCamera());
        m_mustDraw = true;
        return;
    case Action::ResetCamera:
        m_shown->ResetCamera();
        m_mustDraw = true;
        return;
    case Action::Pause:
        m_isPaused = !m_isPaused;
        m_mustDraw = true;
        m_nextTitle = {};
        return;
    case Action::Screenshot:
        return TakeScreenshot();
    case Action::FullScreen:
        return SetFullScreen(!m_window.IsFullscreen());
    case Action::LeaveFullScreen:
        if (m_window.IsFullscreen()) {
            return SetFullScreen(false);
        }
        [[fallthrough]];
    case Action::Quit:
        m_isDone = true;
        return;
    }
}

void WindowLoop::SetFullScreen(bool on)
{
    int width = 0;
    int height = 0;
    const int display = m_window.GetDisplayIndex();
    if (on) {
        SDL_DisplayMode mode{};
        SDL_GetDesktopDisplayMode(display, &mode);
        width = mode.w;
        height = mode.h;
    } else {
        m_window.GetWindowedSize(width, height);
    }
    m_library.GetApi().ResizeRenderFrameWindow(&m_frame, static_cast<unsigned>(width), static_cast<unsigned>(height),
                                               static_cast<unsigned>(m_window.GetRefreshRate()), 1, display, on, false,
                                               GraphicSettings->tripleBuffering != 0,
                                               GraphicSettings->verticalSync != 0, 0);
    // The system may need its time; the sizes that come later are followed then.
    FollowWindowSize();
}

void WindowLoop::FollowWindowSize()
{
    int width = 0;
    int height = 0;
    m_window.GetSize(width, height);
    if (width > 0 && height > 0) {
        gw::WindowEventManager::GetInstance()->ExecuteWindowResizeEvent(width, height, m_window.GetNativeHandle(),
                                                                        false, 0, 0);
    }
}

bool WindowLoop::OnWindowResize(const gw::WindowResizeEvent& event)
{
    m_mustDraw = true;
    const bool isResized =
        m_frame.Resize(static_cast<unsigned>(event.m_width), static_cast<unsigned>(event.m_height), false, 0, 0);
    m_library.Drain();
    return isResized;
}

bool WindowLoop::OnWindowClose(const gw::WindowCloseEvent&)
{
    m_isDone = true;
    return true;
}

/// The picture is drawn once more for it, without the line of news: what was presented is the display's.
void WindowLoop::TakeScreenshot()
{
    const std::string path = FindScreenshotPath(m_shown->GetFile(), "gleamview");
    if (path.empty()) {
        PrintError("no folder takes the screenshot");
        return Tell("no folder takes the screenshot");
    }
    m_shown->GetOverlay().notice.clear();
    m_shown->Draw(m_time, false);
    gw::Renderer& renderer = *gw::details::RendererBase::GetInstance();
    m_mustDraw = true;
    if (!renderer.SaveRenderTargetData(m_frame.GetBackBuffer(), qs::Path(qs::PATH_ROOT_NONE, path.c_str()), false,
                                       false, 0, 0)) {
        PrintError(path + ": the screenshot could not be written");
        return Tell("the screenshot could not be written");
    }
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    Tell("saved " + std::filesystem::path(path).filename().string());
}

} // namespace gleamview
