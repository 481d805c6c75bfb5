// Ends the wait for window events when somebody presses Ctrl-C in the terminal.
#pragma once

#include <thread>

namespace gleamview {

/// A thread that sleeps on a pipe, so that a window that nothing happens to costs nothing. Lives inside the display
/// system's life; Ctrl-C is watched before.
class InterruptWaker
{
public:
    InterruptWaker();
    ~InterruptWaker();
    InterruptWaker(const InterruptWaker&) = delete;
    InterruptWaker& operator=(const InterruptWaker&) = delete;

private:
    void Watch();

    int m_pipe[2] = {-1, -1};
    std::thread m_thread;
};

} // namespace gleamview
