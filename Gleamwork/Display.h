// Displays, their modes, and the mode that is offered first.
#pragma once

#include "Gleamwork/Export.h"

#include <cstdint>
#include <qs/Set.h>
#include <qs/String.h>

namespace gw {

/// One mode of a display. All zero is no mode.
struct GW_API DisplayMode
{
    std::uint32_t displayIndex = 0; ///< display that the mode belongs to
    std::uint32_t width = 0;        ///< pixels
    std::uint32_t height = 0;       ///< pixels
    std::uint32_t refreshNumerator = 0;
    std::uint32_t refreshDenominator = 0;

    /// In Hz; 0 when the denominator is 0.
    float GetRefreshRate() const;
    /// All five fields count.
    bool operator==(const DisplayMode& other) const = default;
};

/// One output of one adapter.
struct GW_API Display
{
    Display() = default;
    Display(Display&&) = default;
    Display& operator=(Display&&) = default;
    Display(const Display&) = default;
    Display& operator=(const Display&) = default;

    /// Ascending by width, height and refresh rate.
    void SortDisplayModes();
    /// Settles `recommendedMode` and `recommendedQualityPreset` from the table of known devices or, for a device that
    /// is not in it, from the adapter's memory.
    void CalculateRecommendedDisplayMode();

    qs::ObjectSet<DisplayMode> modes;
    DisplayMode currentMode;   ///< the desktop's
    qs::STDString adapterName; ///< adapter description
    qs::STDString deviceName;  ///< output device name
    std::uint32_t vendorId = 0;
    std::uint32_t deviceId = 0;
    std::uint64_t dedicatedVideoMemory = 0; ///< bytes
    DisplayMode recommendedMode;
    std::uint32_t recommendedQualityPreset = 0; ///< from the device table, else 0

    /// Displays are the same when they are the same output.
    bool operator==(const Display& other) const
    {
        return currentMode.displayIndex == other.currentMode.displayIndex && deviceName == other.deviceName;
    }
};

} // namespace gw
