// Ctrl-C as a question that long jobs ask.
#pragma once

namespace gleamview {

/// From here on the first Ctrl-C is only noted; a second one ends the process as ever.
void WatchInterrupts();
bool WasInterrupted();

/// Exit status of a job that was stopped.
constexpr int InterruptedStatus = 130;

} // namespace gleamview
