// Counting and pacing of frames.
#include "window/FrameRate.h"

#include <algorithm>

namespace gleamview {

void FrameRate::Add(Clock::time_point now)
{
    m_times[m_next] = now;
    m_next = (m_next + 1) % s_frames;
    m_count = std::min(m_count + 1, s_frames);
}

double FrameRate::Get() const
{
    if (m_count < 2) {
        return 0.0;
    }
    const Clock::time_point newest = m_times[(m_next + s_frames - 1) % s_frames];
    std::size_t frames = 0;
    std::chrono::duration<double> span{};
    for (std::size_t back = 2; back <= m_count; ++back) {
        const std::chrono::duration<double> age = newest - m_times[(m_next + s_frames - back) % s_frames];
        if (age.count() > 1.0 && frames > 0) {
            break;
        }
        span = age;
        frames = back - 1;
    }
    return span.count() > 0.0 ? static_cast<double>(frames) / span.count() : 0.0;
}

void FramePace::SetRate(int framesPerSecond)
{
    m_period = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(1.0 / static_cast<double>(std::max(framesPerSecond, 1))));
}

int FramePace::GetWait(Clock::time_point now) const
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_due - now);
    return std::max(0, static_cast<int>(left.count()));
}

void FramePace::Begin(Clock::time_point now)
{
    // A display that is waited for runs by its own clock: half a period of slack lets it lead.
    m_due = std::max(m_due + m_period, now + m_period / 2);
}

} // namespace gleamview
