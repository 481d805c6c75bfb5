// Reads SDL2's displays and modes.
#include "window/Display.h"

#include <SDL.h>

#include <algorithm>
#include <cstring>
#include <mutex>
#include <tuple>

#include "common/DebugOutput.h"

namespace gleam {
namespace {

constexpr UINT DefaultRefreshRate = 60;

/// SDL's video subsystem for one look at it. SDL counts, so a program that has started it keeps its own.
class VideoScope
{
public:
    VideoScope() : m_lock(Mutex()), m_isStarted(SDL_InitSubSystem(SDL_INIT_VIDEO) == 0) {}
    ~VideoScope()
    {
        if (m_isStarted) {
            SDL_QuitSubSystem(SDL_INIT_VIDEO);
        }
    }
    VideoScope(const VideoScope&) = delete;
    VideoScope& operator=(const VideoScope&) = delete;

    bool HasScreens() const
    {
        const char* driver = m_isStarted ? SDL_GetCurrentVideoDriver() : nullptr;
        return driver && std::strcmp(driver, "dummy") != 0 && std::strcmp(driver, "offscreen") != 0 &&
               SDL_GetNumVideoDisplays() > 0;
    }

private:
    // Starting and stopping a subsystem is not safe on two threads at once.
    static std::mutex& Mutex()
    {
        static std::mutex mutex;
        return mutex;
    }

    std::lock_guard<std::mutex> m_lock;
    bool m_isStarted;
};

DisplayModeInfo ToMode(const SDL_DisplayMode& mode)
{
    return {static_cast<UINT>(mode.w), static_cast<UINT>(mode.h),
            mode.refresh_rate > 0 ? static_cast<UINT>(mode.refresh_rate) : DefaultRefreshRate};
}

void SortModes(std::vector<DisplayModeInfo>& modes)
{
    std::ranges::sort(modes, {}, [](const DisplayModeInfo& m) { return std::tie(m.width, m.height, m.refreshRate); });
    const auto repeated = std::ranges::unique(modes);
    modes.erase(repeated.begin(), repeated.end());
}

/// False when SDL cannot tell of the display, which may have been unplugged meanwhile.
bool ReadDisplay(int index, DisplayInfo& info)
{
    SDL_Rect bounds{};
    SDL_DisplayMode desktop{};
    if (SDL_GetDisplayBounds(index, &bounds) != 0 || SDL_GetDesktopDisplayMode(index, &desktop) != 0 ||
        desktop.w <= 0 || desktop.h <= 0) {
        return false;
    }
    info.sdlIndex = index;
    info.desktop = {bounds.x, bounds.y, bounds.x + bounds.w, bounds.y + bounds.h};
    info.current = ToMode(desktop);
    info.modes = {info.current};
    const int count = SDL_GetNumDisplayModes(index);
    for (int i = 0; i < count; ++i) {
        SDL_DisplayMode mode{};
        if (SDL_GetDisplayMode(index, i, &mode) == 0 && mode.w > 0 && mode.h > 0) {
            info.modes.push_back(ToMode(mode));
        }
    }
    SortModes(info.modes);
    return true;
}

DisplayInfo VirtualDisplay()
{
    DisplayInfo info;
    info.desktop = {0, 0, 1920, 1080};
    info.current = {1920, 1080, DefaultRefreshRate};
    constexpr UINT sizes[][2] = {{640, 480},  {800, 600},  {1024, 768},  {1152, 864},  {1280, 720},
                                 {1280, 800}, {1280, 960}, {1280, 1024}, {1360, 768},  {1366, 768},
                                 {1440, 900}, {1600, 900}, {1600, 1024}, {1680, 1050}, {1920, 1080}};
    for (const auto& size : sizes) {
        info.modes.push_back({size[0], size[1], DefaultRefreshRate});
    }
    return info;
}

} // namespace

bool DisplayInfo::operator==(const DisplayInfo& other) const
{
    return sdlIndex == other.sdlIndex && std::memcmp(&desktop, &other.desktop, sizeof(desktop)) == 0 &&
           current == other.current && modes == other.modes;
}

bool HasDisplay()
{
    return !DebugSwitch("virtual-output") && VideoScope().HasScreens();
}

std::vector<DisplayInfo> ListDisplays()
{
    std::vector<DisplayInfo> displays;
    if (!DebugSwitch("virtual-output")) {
        const VideoScope video;
        const int count = video.HasScreens() ? SDL_GetNumVideoDisplays() : 0;
        for (int i = 0; i < count; ++i) {
            DisplayInfo info;
            if (ReadDisplay(i, info)) {
                displays.push_back(std::move(info));
            }
        }
    }
    if (displays.empty()) {
        displays.push_back(VirtualDisplay());
    }
    return displays;
}

} // namespace gleam
