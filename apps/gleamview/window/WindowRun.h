// The viewer with a window, from its start to its end.
#pragma once

#include "Options.h"

namespace gleamview {

/// Gives the process's exit status. On the main thread, once.
int RunWindow(const Options& options);

} // namespace gleamview
