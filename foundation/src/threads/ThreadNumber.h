// The number of the calling thread, shared by the dispatchers and the thread manager.
#pragma once

#include <cstdint>

namespace qs::details {

constexpr uint32_t NO_THREAD_NUMBER = 0xffffffffu;

/// NO_THREAD_NUMBER on threads that have none.
uint32_t GetCurrentThreadNumber();

} // namespace qs::details
