// Ctrl-C as a question that long jobs ask.
#pragma once

namespace gleamview {

/// From here on the first Ctrl-C is only noted; a second one ends the process as ever.
void WatchInterrupts();
bool WasInterrupted();
/// The same from inside: a window was closed while a long job ran.
void Interrupt();
/// A byte is written to this descriptor when it happens, for who waits for something else; -1 for nobody.
void SetInterruptPipe(int descriptor);

/// Exit status of a job that was stopped.
constexpr int InterruptedStatus = 130;

} // namespace gleamview
