// Starts Xvfb and openbox.
#include "common/VirtualDisplay.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int StartMilliseconds = 10000;

/// Runs a program whose output nobody reads. -1 when there is none of that name.
pid_t Spawn(std::vector<std::string> arguments)
{
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child != 0) {
        return child;
    }
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent) {
        _exit(1);
    }
    const int nowhere = open("/dev/null", O_RDWR);
    dup2(nowhere, 1);
    dup2(nowhere, 2);
    execvp(pointers[0], pointers.data());
    _exit(127);
}

void Stop(pid_t child)
{
    if (child > 0) {
        kill(child, SIGTERM);
        waitpid(child, nullptr, 0);
    }
}

} // namespace

VirtualDisplay::VirtualDisplay()
{
    StartServer();
    if (!m_problem.empty()) {
        return;
    }
    setenv("DISPLAY", m_name.c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    m_connection = XOpenDisplay(m_name.c_str());
    if (!m_connection) {
        m_problem = "the X server does not answer";
        return;
    }
    StartWindowManager();
}

VirtualDisplay::~VirtualDisplay()
{
    if (m_connection) {
        XCloseDisplay(static_cast<Display*>(m_connection));
    }
    Stop(m_manager);
    Stop(m_server);
    unsetenv("DISPLAY");
}

/// The server picks a free display and writes its number.
void VirtualDisplay::StartServer()
{
    int ends[2];
    if (pipe(ends) != 0) {
        m_problem = "no pipe";
        return;
    }
    fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    const std::string screen = std::to_string(Width) + "x" + std::to_string(Height) + "x24";
    m_server = Spawn({"Xvfb", "-displayfd", std::to_string(ends[1]), "-screen", "0", screen, "-nolisten", "tcp"});
    close(ends[1]);
    pollfd ready{ends[0], POLLIN, 0};
    std::string number;
    char next = 0;
    while (next != '\n' && poll(&ready, 1, StartMilliseconds) == 1 && read(ends[0], &next, 1) == 1) {
        number += next;
    }
    if (next == '\n') {
        m_name = ":" + number.substr(0, number.size() - 1);
    } else {
        m_problem = "Xvfb is not installed or does not start";
    }
    close(ends[0]);
}

/// It is there when the root window names it.
void VirtualDisplay::StartWindowManager()
{
    auto* display = static_cast<Display*>(m_connection);
    m_manager = Spawn({"openbox", "--config-file", "/etc/xdg/openbox/rc.xml"});
    const Atom property = XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", False);
    for (int waited = 0; waited < StartMilliseconds; waited += 20) {
        Atom type = None;
        int format = 0;
        unsigned long count = 0, left = 0;
        unsigned char* value = nullptr;
        XGetWindowProperty(display, DefaultRootWindow(display), property, 0, 1, False, AnyPropertyType, &type, &format,
                           &count, &left, &value);
        if (value) {
            XFree(value);
        }
        if (count != 0) {
            return;
        }
        if (waitpid(m_manager, nullptr, WNOHANG) == m_manager) {
            m_manager = -1;
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    m_problem = "openbox is not installed or does not start";
}

unsigned VirtualDisplay::ReadPixel(int x, int y) const
{
    auto* display = static_cast<Display*>(m_connection);
    XImage* image = XGetImage(display, DefaultRootWindow(display), x, y, 1, 1, AllPlanes, ZPixmap);
    if (!image) {
        return ~0u;
    }
    const auto pixel = static_cast<unsigned>(XGetPixel(image, 0, 0) & 0xffffff);
    XDestroyImage(image);
    return pixel;
}
