// The signal handler.
#include "Interrupt.h"

#include <atomic>
#include <csignal>

namespace gleamview {

namespace {

std::atomic<bool> s_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may touch it");

} // namespace

void WatchInterrupts()
{
    struct sigaction action = {};
    action.sa_handler = [](int) { s_interrupted.store(true); };
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
}

bool WasInterrupted()
{
    return s_interrupted.load();
}

} // namespace gleamview
