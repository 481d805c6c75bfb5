// The loop of the viewer with a window: waits, takes in what happened, draws when there is something new.
#pragma once

#include "Options.h"
#include "ProgressLine.h"
#include "common/Library.h"
#include "window/FrameRate.h"
#include "window/Input.h"
#include "window/Shown.h"
#include "window/Window.h"

#include <Gleamwork/RenderFrame.h>
#include <Gleamwork/WindowEventManager.h>

#include <memory>
#include <string>

namespace gleamview {

/// A picture that stands still is drawn once, and then the thread sleeps until the display system has news. One that
/// moves is drawn at the display's rate. Nothing is drawn while the window is minimised.
class WindowLoop final : public gw::WindowEventListener
{
public:
    /// All of them outlive the loop.
    WindowLoop(const Options& options, apps::Library& library, ViewerWindow& window, gw::RenderFrame& frame);
    ~WindowLoop() override;

    /// Runs until the window is closed; gives the process's exit status.
    int Run();

    bool OnWindowResize(const gw::WindowResizeEvent& event) override;
    bool OnWindowClose(const gw::WindowCloseEvent& event) override;
    bool OnWindowDisplayChanged(const gw::WindowDisplayChangedEvent&) override { return true; }

private:
    using Clock = FrameRate::Clock;

    std::unique_ptr<Shown> Load(const Options& options);
    bool OpenFiles(const std::vector<std::string>& files);
    int GetStatus() const;
    void ShowLoading(const std::string& what, const std::string& step, float share);
    void WaitForNews();
    void ReadEvents();
    void HandleNews(const InputNews& news);
    void MoveCamera(const InputNews& news);
    void Perform(Action action);
    void Switch(bool DrawSwitches::*which);
    void SetFullScreen(bool on);
    void FollowWindowSize();
    void TakeScreenshot();

    bool MustDraw() const;
    bool IsMoving() const { return m_isMoving && !m_isPaused; }
    void AdvanceTime(Clock::time_point now);
    void DrawFrame();
    void Tell(const std::string& notice);
    void UpdateTitle(bool stands);

    Options m_options;
    apps::Library& m_library;
    ViewerWindow& m_window;
    gw::RenderFrame& m_frame;
    ProgressLine m_progress;
    Input m_input;
    std::unique_ptr<Shown> m_shown;
    FrameRate m_rate;
    FramePace m_pace;
    std::string m_device;
    std::string m_title; ///< as it was set last
    std::string m_notice;
    Clock::time_point m_noticeEnd;
    Clock::time_point m_nextTitle;
    Clock::time_point m_lastFrame;
    double m_time;              ///< seconds of the scene
    unsigned m_framesLeft;      ///< 0 for no end
    unsigned m_timedFrames = 0; ///< that are drawn behind a change until its times are known
    bool m_mustDraw = true;     ///< something changed since the last frame
    bool m_isMoving = false;    ///< the scene moves by itself
    bool m_isPaused = false;
    bool m_isRunning = false; ///< the frame before was drawn just before
    bool m_isClosed = false;  ///< the window, while files were read
    bool m_hasFailed = false;
    bool m_isDone = false;
};

} // namespace gleamview
