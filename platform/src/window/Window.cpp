// GetWindowRect over SDL2.
#include <SDL.h>

#include "windows.h"

BOOL WINAPI GetWindowRect(HWND window, RECT* rect)
{
    if (!window) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
    }
    if (!rect) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    auto* sdl = reinterpret_cast<SDL_Window*>(window);
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    SDL_GetWindowPosition(sdl, &x, &y);
    SDL_GetWindowSize(sdl, &width, &height);
    int top = 0;
    int left = 0;
    int bottom = 0;
    int right = 0;
    // Zeros where the system does not tell of decorations.
    SDL_GetWindowBordersSize(sdl, &top, &left, &bottom, &right);
    *rect = {x - left, y - top, x + width + right, y + height + bottom};
    return TRUE;
}
