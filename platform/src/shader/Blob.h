// Blocks of bytes behind ID3DBlob.
#pragma once

#include <string_view>
#include <vector>

#include "d3dcommon.h"

namespace gleam {

/// A blob that takes the bytes over; one reference, for the caller.
ID3DBlob* MakeBlob(std::vector<std::uint8_t> bytes);
/// A text with the zero byte that callers print it by.
ID3DBlob* MakeTextBlob(std::string_view text);

} // namespace gleam
