// Extension of this platform: what the null device (GLEAM_DEVICE=null) was asked to do, for tests and measurements.
//
// The null device takes every call of a Direct3D 11 device and checks its arguments by the same rules, but has no
// hardware behind it: draws, dispatches, mip generation and blending do nothing, queries complete at once, and
// bindings that conflict stay as they are. Buffers and textures are memory, so maps, updates, copies, resolves and
// clears do what they say.
//
// Calls are counted by kind, which is the method's name without its interface ("Draw", "CreateBuffer"), over all null
// devices of the process. Every call counts, refused ones too. With GLEAM_DEBUG listing `null-calls` a device writes
// its counts to the debugger output when it ends.
#pragma once

#include <cstddef>
#include <cstdint>

#include "gleam_platform_export.h"

extern "C" {

/// Number of kinds; kinds are numbered from 0.
GLEAM_PLATFORM_API size_t GleamNullCallKinds(void);

/// Name of a kind, which lives as long as the library; null past the last kind.
GLEAM_PLATFORM_API const char* GleamNullCallName(size_t kind);

/// Calls of a kind since the last reset, 0 past the last kind. Counts of calls that another thread is making may lag.
GLEAM_PLATFORM_API uint64_t GleamNullCallCount(size_t kind);

/// The same by name; UINT64_MAX for a name that is no kind, so that a misspelt one never passes for a count.
GLEAM_PLATFORM_API uint64_t GleamNullCallCountOf(const char* name);

/// Sets all counts to 0. Not while another thread calls a null device.
GLEAM_PLATFORM_API void GleamNullResetCalls(void);
}
