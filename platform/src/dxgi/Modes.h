// Display modes in DXGI's terms: lists by format, and the search for the closest one.
#pragma once

#include <vector>

#include "dxgi1_2.h"
#include "window/Display.h"

namespace gleam {

/// Modes of a display format in the order of the display's list; empty for other formats. `flags` are
/// DXGI_ENUM_MODES_... bits.
std::vector<DXGI_MODE_DESC1> ListModes(const DisplayInfo& display, DXGI_FORMAT format, UINT flags);

/// The published search; see IDXGIOutput::FindClosestMatchingMode. `hasDevice` allows an unknown format.
HRESULT FindClosestMode(const DisplayInfo& display, const DXGI_MODE_DESC1* wanted, DXGI_MODE_DESC1* closest,
                        bool hasDevice);

} // namespace gleam
