// Sentences for the error stream.
#pragma once

#include <string>

namespace gleamview {

void PrintError(const std::string& sentence);
/// The same, and gives false, for a caller to return.
bool Fail(const std::string& sentence);

} // namespace gleamview
