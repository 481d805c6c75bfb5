// Extension of this platform: where its debugger output goes, for tests and tools.
#pragma once

#include "gleam_platform_export.h"

extern "C" {

/// Called with each text of the debugger output, from whichever thread wrote it; calls do not overlap.
typedef void (*GleamDebugSink)(void* user, const char* text);

/// Sends all debugger output of this process to `sink` as well; null ends that. When the call returns the previous
/// sink is no longer running. The sink must not write debugger output itself.
GLEAM_PLATFORM_API void GleamPlatformSetDebugSink(GleamDebugSink sink, void* user);
}
