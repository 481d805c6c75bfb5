// MessageBoxA over SDL's message boxes, and on the error stream where nobody can see one.
#include <SDL.h>

#include <cstdio>
#include <cstring>
#include <vector>

#include "common/DebugOutput.h"
#include "window/Display.h"
#include "windows.h"

namespace gleam {
namespace {

struct Button
{
    int id;
    const char* text;
};

std::vector<Button> ButtonsOf(UINT type)
{
    switch (type & 0xf) {
    case MB_OKCANCEL:
        return {{IDOK, "OK"}, {IDCANCEL, "Cancel"}};
    case MB_ABORTRETRYIGNORE:
        return {{IDABORT, "Abort"}, {IDRETRY, "Retry"}, {IDIGNORE, "Ignore"}};
    case MB_YESNOCANCEL:
        return {{IDYES, "Yes"}, {IDNO, "No"}, {IDCANCEL, "Cancel"}};
    case MB_YESNO:
        return {{IDYES, "Yes"}, {IDNO, "No"}};
    case MB_RETRYCANCEL:
        return {{IDRETRY, "Retry"}, {IDCANCEL, "Cancel"}};
    default:
        return {{IDOK, "OK"}};
    }
}

SDL_MessageBoxFlags IconOf(UINT type)
{
    switch (type & 0xf0) {
    case MB_ICONERROR:
        return SDL_MESSAGEBOX_ERROR;
    case MB_ICONWARNING:
        return SDL_MESSAGEBOX_WARNING;
    default:
        return SDL_MESSAGEBOX_INFORMATION;
    }
}

/// False when no box could be shown.
bool ShowBox(HWND owner, const char* text, const char* caption, UINT type, int& pressed)
{
    const std::vector<Button> buttons = ButtonsOf(type);
    std::vector<SDL_MessageBoxButtonData> data;
    for (const Button& button : buttons) {
        // SDL lays buttons out from the right.
        Uint32 flags = 0;
        if (button.id == buttons.front().id) {
            flags |= SDL_MESSAGEBOX_BUTTON_RETURNKEY_DEFAULT;
        }
        if (button.id == buttons.back().id) {
            flags |= SDL_MESSAGEBOX_BUTTON_ESCAPEKEY_DEFAULT;
        }
        data.insert(data.begin(), {flags, button.id, button.text});
    }
    SDL_MessageBoxData box{};
    box.flags = IconOf(type);
    box.window = reinterpret_cast<SDL_Window*>(owner);
    box.title = caption;
    box.message = text;
    box.numbuttons = static_cast<int>(data.size());
    box.buttons = data.data();
    if (SDL_ShowMessageBox(&box, &pressed) != 0) {
        return false;
    }
    if (pressed < 0) {
        // Closed without a button.
        pressed = buttons.back().id;
    }
    return true;
}

} // namespace
} // namespace gleam

int WINAPI MessageBoxA(HWND owner, LPCSTR text, LPCSTR caption, UINT type)
{
    text = text ? text : "";
    caption = caption ? caption : "";
    int pressed = 0;
    const bool isQuiet = gleam::DebugSwitch("no-message-box") || !gleam::HasDisplay();
    if (!isQuiet && gleam::ShowBox(owner, text, caption, type, pressed)) {
        return pressed;
    }
    const char* lineEnd = *text && text[std::strlen(text) - 1] == '\n' ? "" : "\n";
    std::fprintf(stderr, "%s: %s%s", caption, text, lineEnd);
    std::fflush(stderr);
    return gleam::ButtonsOf(type).front().id;
}
