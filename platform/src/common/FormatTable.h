// The rows behind GetFormatInfo, in order of their values.
#pragma once

#include <span>

#include "FormatInfo.h"

namespace gleam {

std::span<const FormatInfo> FormatTable();

} // namespace gleam
