// What the keys and the pointer ask for.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

union SDL_Event;

namespace gleamview {

enum class Action : std::uint8_t
{
    Wireframe,
    Bounds,
    Ground,
    Overlay,
    NextCamera,
    ResetCamera,
    Pause,
    Screenshot,
    FullScreen,
    LeaveFullScreen, ///< closes the window when it is not in full screen
    Quit,
};

/// One key and what it does.
struct KeyRow
{
    int key; ///< SDL's key code
    Action action;
    const char* name;
    const char* help;
};

/// All keys, in the order in which help lists them. The count is that of the table.
extern const KeyRow g_keys[];
extern const std::size_t g_keyCount;

/// Everything that happened since it was last taken.
struct InputNews
{
    std::vector<Action> actions;
    std::vector<std::string> files; ///< dropped on the window
    float orbitYaw = 0.0f;          ///< degrees
    float orbitPitch = 0.0f;
    float panRight = 0.0f; ///< shares of the window's height
    float panUp = 0.0f;
    float zoom = 1.0f;      ///< factor, above 1 is nearer
    bool isResized = false; ///< or moved to another display, or in another state
    bool isExposed = false; ///< the picture has to be drawn anew
    bool isClosed = false;  ///< somebody asks to close the window

    bool MovesCamera() const
    {
        return orbitYaw != 0.0f || orbitPitch != 0.0f || panRight != 0.0f || panUp != 0.0f || zoom != 1.0f;
    }
};

/// Left button turns, right or middle button or left with Shift shifts, wheel zooms; arrow keys turn, with Shift they
/// shift; plus and minus zoom. Events of other windows are left out.
class Input
{
public:
    explicit Input(std::uint32_t window) : m_window(window) {}

    /// `height` is the window's, in the units of the events.
    void Handle(const SDL_Event& event, int height);
    InputNews Take();
    /// Somebody asked to close the window, and that was not taken yet.
    bool IsClosing() const { return m_news.isClosed; }

private:
    void HandleWindow(const SDL_Event& event);
    void HandleKey(const SDL_Event& event);
    void HandleMotion(const SDL_Event& event, int height);
    bool MoveWithKey(int key, bool shifts);

    std::uint32_t m_window;
    std::vector<std::string> m_dropped; ///< of a drop that is not finished
    InputNews m_news;
};

} // namespace gleamview
