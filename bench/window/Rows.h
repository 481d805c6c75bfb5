// The rows of this program.
#pragma once

namespace bench {

class BenchRenderer;

/// present and resize: on a window, against the same straight in Vulkan.
void AddWindowRows(BenchRenderer& renderer);
/// tracker: a frame of events with the performance tracker, against the same frame without it.
void AddTrackerRow(BenchRenderer& renderer);

} // namespace bench
