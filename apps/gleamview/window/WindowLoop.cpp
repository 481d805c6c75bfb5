// Waiting, drawing and the title.
#include "window/WindowLoop.h"

#include "Interrupt.h"
#include "Messages.h"
#include "window/Title.h"

#include <Gleamwork/IAPI.h>
#include <Gleamwork/dx11/D3D11API.h>

#include <SDL.h>

#include <algorithm>
#include <cmath>
#include <unistd.h>

namespace gleamview {

namespace {

constexpr std::chrono::milliseconds s_titlePace{500};
constexpr std::chrono::seconds s_noticeTime{3};
constexpr double s_frameTime = 1.0 / 60.0; ///< where the number of frames is given
constexpr unsigned s_timedFrames = 6;
constexpr std::int64_t s_longestWait = 3'600'000; ///< milliseconds
constexpr double s_longestStep = 0.1;             ///< what moves does not jump behind a pause

} // namespace

WindowLoop::WindowLoop(const Options& options, apps::Library& library, ViewerWindow& window, gw::RenderFrame& frame)
    : m_options(options), m_library(library), m_window(window), m_frame(frame),
      m_progress(stderr, isatty(STDERR_FILENO) != 0), m_input(window.GetId()),
      m_device(ReadDeviceName(library.GetApi().GetAPIData()->device)), m_time(options.time),
      m_framesLeft(options.frames.value_or(0))
{
    m_progress.SetListener(
        [this](const std::string& what, const std::string& step, float share) { ShowLoading(what, step, share); });
}

WindowLoop::~WindowLoop() = default;

int WindowLoop::Run()
{
    if (!OpenFiles(m_options.files)) {
        return m_isDone ? GetStatus() : 1;
    }
    while (!m_isDone) {
        WaitForNews();
        HandleNews(m_input.Take());
        if (!m_isDone && MustDraw() && m_pace.GetWait(Clock::now()) == 0) {
            DrawFrame();
        }
    }
    return GetStatus();
}

int WindowLoop::GetStatus() const
{
    if (m_hasFailed) {
        return 1;
    }
    return WasInterrupted() && !m_isClosed ? InterruptedStatus : 0;
}

bool WindowLoop::MustDraw() const
{
    return m_window.IsVisible() && (m_mustDraw || IsMoving() || m_framesLeft > 0 || m_timedFrames > 0);
}

/// Sleeps until there is an event, the next frame is due, or the title has something to take back.
void WindowLoop::WaitForNews()
{
    const Clock::time_point now = Clock::now();
    int wait = -1;
    if (MustDraw()) {
        wait = m_pace.GetWait(now);
    } else if (m_isRunning || !m_notice.empty()) {
        const Clock::time_point next = m_isRunning ? m_nextTitle : m_noticeEnd;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(next - now);
        wait = static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, s_longestWait));
    }
    if (wait != 0) {
        SDL_WaitEventTimeout(nullptr, wait);
    }
    ReadEvents();
    if (!MustDraw()) {
        UpdateTitle(Clock::now() >= m_nextTitle);
    }
}

void WindowLoop::AdvanceTime(Clock::time_point now)
{
    if (m_framesLeft > 0) {
        m_time += m_isRunning ? s_frameTime : 0.0;
    } else if (m_isRunning && !m_isPaused) {
        m_time += std::min(std::chrono::duration<double>(now - m_lastFrame).count(), s_longestStep);
    }
    m_lastFrame = now;
}

void WindowLoop::DrawFrame()
{
    const Clock::time_point now = Clock::now();
    AdvanceTime(now);
    m_pace.SetRate(m_window.GetRefreshRate());
    m_pace.Begin(now);
    if (m_mustDraw && m_shown->GetOverlay().showsTimes) {
        m_timedFrames = s_timedFrames;
    } else if (m_timedFrames > 0) {
        --m_timedFrames;
    }
    m_mustDraw = false;
    m_isRunning = true;
    m_isMoving = m_shown->Draw(m_time, true);
    m_rate.Add(Clock::now());
    if (m_noticeEnd == Clock::time_point::max()) {
        m_noticeEnd = Clock::now() + s_noticeTime;
    }
    UpdateTitle(false);
    if (m_framesLeft > 0 && --m_framesLeft == 0) {
        m_isDone = true;
    }
}

void WindowLoop::Tell(const std::string& notice)
{
    m_notice = notice;
    m_shown->GetOverlay().notice = notice;
    m_mustDraw = true;
    m_noticeEnd = Clock::time_point::max(); // it counts from the frame that shows it
    m_nextTitle = {};
    UpdateTitle(false);
}

/// `stands`: no frame was drawn for a while, so that there is no rate to tell.
void WindowLoop::UpdateTitle(bool stands)
{
    const Clock::time_point now = Clock::now();
    if (now < m_nextTitle && !stands) {
        return;
    }
    if (stands) {
        m_isRunning = false;
        m_rate.Reset();
    }
    if (now >= m_noticeEnd && !m_notice.empty()) {
        m_notice.clear();
        m_shown->GetOverlay().notice.clear();
        m_mustDraw = true;
    }
    m_nextTitle = now + s_titlePace;
    const std::string title = MakeTitle({m_shown->GetName(), m_device, m_notice, m_rate.Get(), m_isPaused});
    if (title != m_title) {
        m_window.SetTitle(title.c_str());
        m_title = title;
    }
}

} // namespace gleamview
