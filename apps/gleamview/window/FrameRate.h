// How many frames a second there are, and when the next one is due.
#pragma once

#include <chrono>
#include <cstddef>

namespace gleamview {

/// Counts the frames of the last second. The clock is the caller's.
class FrameRate
{
public:
    using Clock = std::chrono::steady_clock;

    /// A frame was shown.
    void Add(Clock::time_point now);
    /// The picture stood still; counting begins anew with the next frame.
    void Reset() { m_count = m_next = 0; }
    /// 0 until there are two frames to compare.
    double Get() const;

private:
    static constexpr std::size_t s_frames = 32;

    Clock::time_point m_times[s_frames];
    std::size_t m_count = 0;
    std::size_t m_next = 0;
};

/// Keeps a loop to the display's rate where presenting does not.
class FramePace
{
public:
    using Clock = FrameRate::Clock;

    void SetRate(int framesPerSecond);
    /// Milliseconds until the next frame may begin; 0 when it is due.
    int GetWait(Clock::time_point now) const;
    /// A frame begins. Late ones are not made up for.
    void Begin(Clock::time_point now);

private:
    Clock::duration m_period{};
    Clock::time_point m_due{};
};

} // namespace gleamview
