// Writing, pacing and blanking of the progress line.
#include "ProgressLine.h"

#include <algorithm>
#include <cmath>

namespace gleamview {

namespace {

constexpr std::chrono::milliseconds s_patience{300};
constexpr std::chrono::milliseconds s_terminalPace{100};
constexpr std::chrono::milliseconds s_logPace{2000};
constexpr int s_barWidth = 24;

} // namespace

ProgressLine::ProgressLine(std::FILE* stream, bool isTerminal)
    : m_stream(stream), m_isTerminal(isTerminal), m_next(Clock::now() + (isTerminal ? s_patience : s_logPace))
{
}

ProgressLine::~ProgressLine()
{
    Clear();
}

void ProgressLine::Show(const std::string& what, const std::string& step, float share)
{
    if (m_listener) {
        m_listener(what, step, share);
    }
    if (Clock::now() < m_next) {
        return;
    }
    m_next = Clock::now() + (m_isTerminal ? s_terminalPace : s_logPace);
    const int percent = static_cast<int>(std::lround(std::clamp(share, 0.0f, 1.0f) * 100.0f));
    if (!m_isTerminal) {
        std::fprintf(m_stream, "%s: %s, %d%%\n", what.c_str(), step.c_str(), percent);
        return;
    }
    const int filled = percent * s_barWidth / 100;
    std::string line(1, '[');
    line.append(static_cast<std::size_t>(filled), '#').append(static_cast<std::size_t>(s_barWidth - filled), '.');
    line.append("] ").append(std::to_string(percent)).append("% ").append(step).append(" ").append(what);
    line.resize(std::min<std::size_t>(line.size(), 79)); // what wraps cannot be written over
    const std::size_t blanks = m_shown > line.size() ? m_shown - line.size() : 0;
    std::fprintf(m_stream, "\r%s%s", line.c_str(), std::string(blanks, ' ').c_str());
    std::fflush(m_stream);
    m_shown = line.size();
}

void ProgressLine::Clear()
{
    if (m_shown > 0) {
        std::fprintf(m_stream, "\r%s\r", std::string(m_shown, ' ').c_str());
        std::fflush(m_stream);
    }
    m_shown = 0;
}

} // namespace gleamview
