// Debug switches of the GLEAM_DEBUG environment variable, and the platform's debugger output.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace gleam {

/// Whether GLEAM_DEBUG, a comma-separated list, names this switch. Read anew at each call, so keep the answer where
/// it matters.
bool DebugSwitch(std::string_view name);

/// The text behind `name=` in GLEAM_DEBUG.
std::optional<std::string> DebugValue(std::string_view name);

/// One line of debugger output; the line end is added here. Longer lines than 2,000 bytes are cut.
[[gnu::format(printf, 1, 2)]] void DebugLine(const char* format, ...);

} // namespace gleam
