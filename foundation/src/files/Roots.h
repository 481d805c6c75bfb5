// Where the roots lie now.
#pragma once

#include <qs/Path.h>

namespace qs::details {

/// Directory without a separator at its end, valid for the rest of the process; empty for an unknown root.
const char* GetRootDirectory(EPathRoot root);

} // namespace qs::details
