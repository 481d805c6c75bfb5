// Reads SDL2's displays and modes.
#include "window/Display.h"

#include <SDL.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <tuple>

#include "common/DebugOutput.h"

namespace gleam {
namespace {

constexpr UINT DefaultRefreshRate = 60;

/// SDL's video subsystem during one look at it. It stays started: a display server may drop everything when its last
/// client leaves, and starting is slow. A program's own SDL_Quit ends it all the same, so each look asks again.
class VideoScope
{
public:
    // Starting a subsystem is not safe on two threads at once.
    VideoScope() : m_lock(Mutex())
    {
        if (SDL_WasInit(SDL_INIT_VIDEO) == 0) {
            Start();
        }
    }

    bool HasScreens() const
    {
        const char* driver = SDL_GetCurrentVideoDriver();
        return driver && std::strcmp(driver, "dummy") != 0 && std::strcmp(driver, "offscreen") != 0 &&
               SDL_GetNumVideoDisplays() > 0;
    }

private:
    static std::mutex& Mutex()
    {
        static std::mutex mutex;
        return mutex;
    }

    static void Start()
    {
        // SDL's handlers would turn an interrupt into an event that a program without a window never reads.
        SDL_SetHintWithPriority(SDL_HINT_NO_SIGNAL_HANDLERS, "1", SDL_HINT_DEFAULT);
        // Wayland without a run-time directory writes a complaint to the error stream and fails.
        const bool withoutWayland = !std::getenv("XDG_RUNTIME_DIR") && !SDL_GetHint(SDL_HINT_VIDEODRIVER);
        if (withoutWayland) {
            SDL_SetHintWithPriority(SDL_HINT_VIDEODRIVER, "x11,KMSDRM", SDL_HINT_DEFAULT);
        }
        SDL_InitSubSystem(SDL_INIT_VIDEO);
        if (withoutWayland) {
            SDL_ResetHint(SDL_HINT_VIDEODRIVER);
        }
    }

    std::lock_guard<std::mutex> m_lock;
};

DisplayModeInfo ToMode(const SDL_DisplayMode& mode)
{
    return {static_cast<UINT>(mode.w), static_cast<UINT>(mode.h),
            mode.refresh_rate > 0 ? static_cast<UINT>(mode.refresh_rate) : DefaultRefreshRate};
}

void SortModes(std::vector<DisplayModeInfo>& modes)
{
    std::ranges::sort(modes, {}, [](const DisplayModeInfo& m) { return std::tie(m.width, m.height, m.refreshRate); });
    modes.erase(std::unique(modes.begin(), modes.end()), modes.end());
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
