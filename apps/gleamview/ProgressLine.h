// The line that tells how far a long job is.
#pragma once

#include <chrono>
#include <cstdio>
#include <functional>
#include <string>

namespace gleamview {

/// On a terminal one line that is written over, shown once a job takes longer than a glance; elsewhere a line every two
/// seconds. One thread.
class ProgressLine
{
public:
    ProgressLine(std::FILE* stream, bool isTerminal);
    /// Takes the line away.
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// `share` runs from 0 to 1.
    void Show(const std::string& what, const std::string& step, float share);
    /// Told everything that is shown, as often as it is; for a window beside the terminal.
    using Listener = std::function<void(const std::string& what, const std::string& step, float share)>;
    void SetListener(Listener listener) { m_listener = std::move(listener); }
    /// Before other text goes to the terminal.
    void Clear();

private:
    using Clock = std::chrono::steady_clock;

    std::FILE* m_stream;
    bool m_isTerminal;
    Listener m_listener;
    Clock::time_point m_next;
    std::size_t m_shown = 0; ///< columns that are to be blanked
};

} // namespace gleamview
