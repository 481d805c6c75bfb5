// Sorting of modes, the table of known devices, and the choice of the recommended mode.
#include "Gleamwork/Display.h"

#include "Gleamwork/GWFS.h"

#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <qs/ObjectVisitor.h>
#include <qs/Profile.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace gw {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/Display";
constexpr char FUNCTION[] = "gw::Display::CalculateRecommendedDisplayMode";

// Adapters with less memory than these are held to a number of pixels.
constexpr std::uint64_t PLENTY_OF_MEMORY = 2000000000, SOME_MEMORY = 1000000000;
constexpr std::int64_t PIXELS_FOR_LITTLE_MEMORY = 2304000; // 1920 by 1200
constexpr std::int64_t PIXELS_FOR_SOME_MEMORY = 3680640;   // about 2556 by 1440
constexpr std::int64_t MAX_DISTANCE = 0x7fffffff;
constexpr float ASPECT_TOLERANCE = 0.0001f;

struct GfxDeviceInfo
{
    std::uint32_t vendorId = 0;
    std::uint32_t deviceId = 0;
    qs::STDString description;
    std::uint8_t qualityPreset = 0;
    std::int32_t width = 0;
    std::int32_t height = 0;
};

/// All six values are visited, also behind one that reads badly.
bool VisitDevice(qs::ObjectVisitor& visitor, GfxDeviceInfo& device)
{
    qs::HProfileSample sample("qs::ObjectVisitor::VisitSerializable");
    bool ok = visitor.Visit(GWFS::strVendorID, &device.vendorId, 0u);
    ok &= visitor.Visit(GWFS::strDeviceID, &device.deviceId, 0u);
    ok &= visitor.Visit(GWFS::strDescription, &device.description, qs::STDString());
    ok &= visitor.Visit(GWFS::strRecommendedQualityPreset, &device.qualityPreset, std::uint8_t(0));
    ok &= visitor.Visit(GWFS::strRecommendedScreenWidth, &device.width, 0);
    ok &= visitor.Visit(GWFS::strRecommendedScreenHeight, &device.height, 0);
    return ok;
}

bool VisitDevices(qs::ObjectVisitor& visitor, std::vector<GfxDeviceInfo>& devices)
{
    if (!visitor.IsReading()) {
        return false;
    }
    std::uint32_t count = 0;
    visitor.GetChildCount(GWFS::strGfxDeviceInfo, &count);
    devices.clear();
    devices.reserve(count);
    bool ok = true;
    for (std::uint32_t i = 0; i < count; ++i) {
        if (!visitor.EnterNode(GWFS::strGfxDeviceInfo, qs::FFFS::str)) {
            ok = false;
            continue;
        }
        devices.emplace_back();
        ok &= VisitDevice(visitor, devices.back());
        visitor.ExitNode(GWFS::strGfxDeviceInfo);
    }
    return ok;
}

bool VisitTable(qs::ObjectVisitor& visitor, std::vector<GfxDeviceInfo>& devices)
{
    if (!visitor.EnterRegion(GWFS::strGfxDeviceData)) {
        return false;
    }
    bool ok = visitor.EnterNode(GWFS::strKnownGfxDevices, qs::FFFS::str);
    if (ok) {
        ok = VisitDevices(visitor, devices);
        visitor.ExitNode(GWFS::strKnownGfxDevices);
    }
    visitor.ExitRegion(GWFS::strGfxDeviceData);
    return ok;
}

/// Empty without a file; what was read so far when the file is bad.
std::vector<GfxDeviceInfo> ReadKnownDevices()
{
    std::vector<GfxDeviceInfo> devices;
    const qs::Path path(qs::PATH_ROOT_DATA, "Engine/GfxDevices.qsx");
    if (!qs::FileSystem::DoesFileExist(path, true)) {
        return devices;
    }
    qs::DefaultObjectVisitor visitor;
    if (!visitor.Load(path)) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Failed to load known GfxDevices! Failed to load file: %s!",
                      visitor.GetFileName().ToChar());
    } else if (!VisitTable(visitor, devices)) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Failed to load known GfxDevices! Failed to visit file: %s!",
                      visitor.GetFileName().ToChar());
    }
    return devices;
}

std::int64_t PixelsOf(const DisplayMode& mode)
{
    return static_cast<std::int64_t>(mode.width) * mode.height;
}

float AspectOf(const DisplayMode& mode)
{
    return static_cast<float>(mode.width) / static_cast<float>(mode.height);
}

bool ComesBefore(const DisplayMode& a, const DisplayMode& b)
{
    if (a.width != b.width) {
        return static_cast<std::int32_t>(a.width - b.width) < 0;
    }
    if (a.height != b.height) {
        return static_cast<std::int32_t>(a.height - b.height) < 0;
    }
    return a.GetRefreshRate() < b.GetRefreshRate();
}

/// The mode of the desktop's proportions whose pixel count is nearest, of equals the one that refreshes faster. False
/// when no mode has the proportions.
bool FindNearestMode(const Display& display, std::int64_t target, DisplayMode& nearest)
{
    const float aspect = AspectOf(display.currentMode);
    std::int64_t best = MAX_DISTANCE;
    bool isFound = false;
    for (std::uint32_t i = 0; i < display.modes.GetSize(); ++i) {
        const DisplayMode& mode = display.modes[i];
        if (!(std::fabs(AspectOf(mode) - aspect) <= ASPECT_TOLERANCE)) {
            continue;
        }
        const std::int64_t distance = std::llabs(PixelsOf(mode) - target);
        if (distance < best || (distance == best && mode.GetRefreshRate() > nearest.GetRefreshRate())) {
            best = distance;
            nearest = mode;
        }
        isFound = true;
    }
    return isFound;
}

} // namespace

float DisplayMode::GetRefreshRate() const
{
    return refreshDenominator == 0 ? 0.0f
                                   : static_cast<float>(refreshNumerator) / static_cast<float>(refreshDenominator);
}

void Display::SortDisplayModes()
{
    std::vector<DisplayMode> sorted;
    for (std::uint32_t i = 0; i < modes.GetSize(); ++i) {
        sorted.push_back(modes[i]);
    }
    std::stable_sort(sorted.begin(), sorted.end(), ComesBefore);
    for (std::uint32_t i = 0; i < modes.GetSize(); ++i) {
        modes[i] = sorted[i];
    }
}

void Display::CalculateRecommendedDisplayMode()
{
    const std::vector<GfxDeviceInfo> devices = ReadKnownDevices();
    recommendedMode = DisplayMode();
    recommendedQualityPreset = 0;
    std::int64_t target = 0;
    const auto known = std::find_if(devices.begin(), devices.end(), [this](const GfxDeviceInfo& device) {
        return device.vendorId == vendorId && device.deviceId == deviceId;
    });
    if (known != devices.end()) {
        recommendedQualityPreset = known->qualityPreset;
        target = static_cast<std::int64_t>(known->width) * known->height;
    }
    if (target == 0) {
        target = dedicatedVideoMemory < SOME_MEMORY ? PIXELS_FOR_LITTLE_MEMORY : PIXELS_FOR_SOME_MEMORY;
        if (dedicatedVideoMemory >= PLENTY_OF_MEMORY || PixelsOf(currentMode) <= target) {
            recommendedMode = currentMode;
            return;
        }
    }
    if (!FindNearestMode(*this, target, recommendedMode)) {
        QS_LOG_WARNING(FILE_NAME, FUNCTION, "Failed to find recommended display settings!");
    }
}

} // namespace gw
