// What the services keep per thread.
#pragma once

#include <qs/Types.h>

#if defined(__linux__)
// The library is loaded with the program, so its thread storage has a fixed place and needs no look-up call.
#define QS_FAST_TLS __attribute__((tls_model("initial-exec")))
#else
#define QS_FAST_TLS
#endif

namespace qs {

/// Plain data without constructor or destructor: it can be used before and after all other objects of its thread.
struct ThreadState
{
    u32 id;          ///< ThreadID; 0 until the thread asked for it
    u32 memoryScope; ///< id of the innermost memory scope
    u32 logDepth;    ///< above 0 while the thread is inside the log
    char name[32];   ///< terminated; empty until the thread was named
};

extern thread_local constinit ThreadState g_threadState QS_FAST_TLS;

u32 MakeThreadID();

/// Number of the calling thread, counted from 1 in the order of first use.
inline u32 GetThreadIndex()
{
    const u32 id = g_threadState.id;
    return id ? id : MakeThreadID();
}

} // namespace qs
