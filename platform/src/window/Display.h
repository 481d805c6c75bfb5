// The displays of this machine as SDL2 tells them.
#pragma once

#include <vector>

#include "windows.h"

namespace gleam {

struct DisplayModeInfo
{
    UINT width;
    UINT height;
    /// Hz.
    UINT refreshRate;

    bool operator==(const DisplayModeInfo&) const = default;
};

struct DisplayInfo
{
    /// -1 for the virtual display.
    int sdlIndex = -1;
    RECT desktop{};
    DisplayModeInfo current{};
    /// Sorted by width, height and refresh rate, each once; holds the current one.
    std::vector<DisplayModeInfo> modes;

    bool operator==(const DisplayInfo& other) const;
};

/// Whether SDL has a display that somebody can look at: false when its video cannot start, for its "dummy" and
/// "offscreen" drivers, and when GLEAM_DEBUG lists `virtual-output`. Callable from any thread.
bool HasDisplay();

/// All displays, or one virtual display of 1920 by 1080 at 60 Hz when there is none; never empty. As HasDisplay, it
/// starts SDL's video subsystem when it is not running, and leaves it running. Callable from any thread.
std::vector<DisplayInfo> ListDisplays();

} // namespace gleam
