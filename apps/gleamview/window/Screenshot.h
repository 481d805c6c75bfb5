// Where a screenshot goes.
#pragma once

#include <string>

namespace gleamview {

/// The first free name of the form "NAME-1.png" beside `file`, or in the current folder where `file` is empty or its
/// folder cannot be written. Empty when neither takes a file.
std::string FindScreenshotPath(const std::string& file, const std::string& fallbackName);

} // namespace gleamview
