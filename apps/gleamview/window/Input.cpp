// Translation of the display system's events.
#include "window/Input.h"

#include <SDL.h>

#include <cmath>
#include <iterator>
#include <utility>

namespace gleamview {

const KeyRow g_keys[] = {
    {SDLK_w, Action::Wireframe, "W", "wireframe"},
    {SDLK_b, Action::Bounds, "B", "boxes around the parts"},
    {SDLK_g, Action::Ground, "G", "ground"},
    {SDLK_t, Action::Overlay, "T", "times of the frame's stages on processor and GPU"},
    {SDLK_c, Action::NextCamera, "C", "next camera of the file"},
    {SDLK_r, Action::ResetCamera, "R", "camera back to where it began"},
    {SDLK_SPACE, Action::Pause, "Space", "pause what moves"},
    {SDLK_s, Action::Screenshot, "S", "screenshot, a PNG beside the file"},
    {SDLK_f, Action::FullScreen, "F", "full screen; so does F11"},
    {SDLK_F11, Action::FullScreen, "F11", nullptr},
    {SDLK_ESCAPE, Action::LeaveFullScreen, "Esc", "leave full screen, or the viewer"},
    {SDLK_q, Action::Quit, "Q", "leave the viewer"},
};
const std::size_t g_keyCount = std::size(g_keys);

namespace {

constexpr float s_turn = 220.0f; ///< degrees for a pull across the window's height
constexpr float s_keyTurn = 5.0f;
constexpr float s_keyShift = 0.04f;
constexpr float s_zoomStep = 1.12f;

} // namespace

void Input::Handle(const SDL_Event& event, int height)
{
    switch (event.type) {
    case SDL_QUIT:
        m_news.isClosed = true;
        break;
    case SDL_WINDOWEVENT:
        HandleWindow(event);
        break;
    case SDL_KEYDOWN:
        HandleKey(event);
        break;
    case SDL_MOUSEMOTION:
        HandleMotion(event, height);
        break;
    case SDL_MOUSEWHEEL:
        if (event.wheel.windowID == m_window) {
            m_news.zoom *= std::pow(s_zoomStep, event.wheel.preciseY);
        }
        break;
    case SDL_DROPFILE:
        m_dropped.emplace_back(event.drop.file);
        SDL_free(event.drop.file);
        break;
    case SDL_DROPCOMPLETE:
        if (!m_dropped.empty()) {
            m_news.files = std::exchange(m_dropped, {});
        }
        break;
    default:
        break;
    }
}

void Input::HandleWindow(const SDL_Event& event)
{
    if (event.window.windowID != m_window) {
        return;
    }
    switch (event.window.event) {
    case SDL_WINDOWEVENT_SIZE_CHANGED:
    case SDL_WINDOWEVENT_DISPLAY_CHANGED:
        m_news.isResized = true;
        m_news.isExposed = true;
        break;
    case SDL_WINDOWEVENT_EXPOSED:
    case SDL_WINDOWEVENT_SHOWN:
    case SDL_WINDOWEVENT_RESTORED:
    case SDL_WINDOWEVENT_MAXIMIZED:
        m_news.isExposed = true;
        break;
    case SDL_WINDOWEVENT_CLOSE:
        m_news.isClosed = true;
        break;
    default:
        break;
    }
}

bool Input::MoveWithKey(int key, bool shifts)
{
    const float step = shifts ? s_keyShift : s_keyTurn;
    float& across = shifts ? m_news.panRight : m_news.orbitYaw;
    float& upward = shifts ? m_news.panUp : m_news.orbitPitch;
    switch (key) {
    case SDLK_LEFT:
        across -= step;
        return true;
    case SDLK_RIGHT:
        across += step;
        return true;
    case SDLK_UP:
        upward += step;
        return true;
    case SDLK_DOWN:
        upward -= step;
        return true;
    case SDLK_PLUS:
    case SDLK_EQUALS:
    case SDLK_KP_PLUS:
        m_news.zoom *= s_zoomStep;
        return true;
    case SDLK_MINUS:
    case SDLK_KP_MINUS:
        m_news.zoom /= s_zoomStep;
        return true;
    default:
        return false;
    }
}

void Input::HandleKey(const SDL_Event& event)
{
    const SDL_Keysym& key = event.key.keysym;
    if (event.key.windowID != m_window || (key.mod & (KMOD_CTRL | KMOD_ALT | KMOD_GUI)) != 0 ||
        MoveWithKey(key.sym, (key.mod & KMOD_SHIFT) != 0) || event.key.repeat != 0) {
        return;
    }
    for (const KeyRow& row : g_keys) {
        if (row.key == key.sym) {
            m_news.actions.push_back(row.action);
        }
    }
}

void Input::HandleMotion(const SDL_Event& event, int height)
{
    const SDL_MouseMotionEvent& motion = event.motion;
    if (motion.windowID != m_window || motion.state == 0 || height <= 0) {
        return;
    }
    const float right = static_cast<float>(motion.xrel) / static_cast<float>(height);
    const float down = static_cast<float>(motion.yrel) / static_cast<float>(height);
    const bool isLeft = (motion.state & SDL_BUTTON_LMASK) != 0;
    if (isLeft && (SDL_GetModState() & KMOD_SHIFT) == 0) {
        // What is in front follows the pointer.
        m_news.orbitYaw -= right * s_turn;
        m_news.orbitPitch += down * s_turn;
    } else if (isLeft || (motion.state & (SDL_BUTTON_RMASK | SDL_BUTTON_MMASK)) != 0) {
        m_news.panRight -= right;
        m_news.panUp += down;
    }
}

InputNews Input::Take()
{
    return std::exchange(m_news, {});
}

} // namespace gleamview
