// The signal handler.
#include "Interrupt.h"

#include <atomic>
#include <csignal>
#include <unistd.h>

namespace gleamview {

namespace {

std::atomic<bool> s_interrupted{false};
std::atomic<int> s_pipe{-1};
static_assert(std::atomic<bool>::is_always_lock_free && std::atomic<int>::is_always_lock_free,
              "a signal handler may touch them");

void HandleInterrupt(int)
{
    s_interrupted.store(true);
    const int pipe = s_pipe.load();
    // A full pipe has woken its reader before.
    if (pipe >= 0 && write(pipe, "!", 1) != 1) {
        return;
    }
}

} // namespace

void WatchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = HandleInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
}

bool WasInterrupted()
{
    return s_interrupted.load();
}

void Interrupt()
{
    s_interrupted.store(true);
}

void SetInterruptPipe(int descriptor)
{
    s_pipe.store(descriptor);
}

} // namespace gleamview
