// A display of a program's own, for tests and benchmarks: an X server without a screen, and a window manager in it.
#pragma once

#include <string>
#include <sys/types.h>

/// One display of 1280 by 800 for the life of the object; DISPLAY names it meanwhile. The servers end with it, and also
/// with the process.
class VirtualDisplay
{
public:
    VirtualDisplay();
    ~VirtualDisplay();
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    /// Why there is no display; empty when there is one.
    const std::string& Problem() const { return m_problem; }

    /// The pixel of the screen, 0xrrggbb. The caller has to have let the window system come to rest.
    unsigned ReadPixel(int x, int y) const;

    static constexpr int Width = 1280;
    static constexpr int Height = 800;

private:
    void StartServer();
    void StartWindowManager();

    pid_t m_server = -1;
    pid_t m_manager = -1;
    std::string m_name;
    std::string m_problem;
    void* m_connection = nullptr;
};
