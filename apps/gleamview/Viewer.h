// The job: start the library, load, draw, write, stop.
#pragma once

#include "Options.h"

namespace gleamview {

/// Does the whole job and returns the process's exit status. Errors go to the error stream.
int Run(const Options& options);

} // namespace gleamview
