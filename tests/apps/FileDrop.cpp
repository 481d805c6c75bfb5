// The source's side of a drop: three messages, and the file's name when the window asks for it.
#include "FileDrop.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <thread>

namespace {

class Source
{
public:
    Source(Display* display, Window target)
        : m_display(display), m_target(target),
          m_window(XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, 1, 1, 0, 0, 0)),
          m_list(Intern("text/uri-list")), m_selection(Intern("XdndSelection"))
    {
        XSetSelectionOwner(display, m_selection, m_window, CurrentTime);
    }
    ~Source() { XDestroyWindow(m_display, m_window); }

    Atom Intern(const char* name) const { return XInternAtom(m_display, name, False); }

    /// The first value of every message is the source.
    void Send(const char* type, long second, long third, long fourth, long fifth) const
    {
        XEvent event{};
        event.xclient.type = ClientMessage;
        event.xclient.window = m_target;
        event.xclient.message_type = Intern(type);
        event.xclient.format = 32;
        const long values[5] = {static_cast<long>(m_window), second, third, fourth, fifth};
        std::copy(std::begin(values), std::end(values), event.xclient.data.l);
        XSendEvent(m_display, m_target, False, NoEventMask, &event);
        XFlush(m_display);
    }

    /// Waits for a message of the target, and answers its question for the list of files meanwhile.
    bool WaitFor(const char* type, const std::string& list)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(15);
        while (std::chrono::steady_clock::now() < end) {
            if (XPending(m_display) == 0) {
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
                continue;
            }
            XEvent event;
            XNextEvent(m_display, &event);
            if (event.type == SelectionRequest) {
                Answer(event.xselectionrequest, list);
            } else if (event.type == ClientMessage && event.xclient.message_type == Intern(type)) {
                return true;
            }
        }
        return false;
    }

    Atom GetList() const { return m_list; }

private:
    void Answer(const XSelectionRequestEvent& request, const std::string& list) const
    {
        XChangeProperty(m_display, request.requestor, request.property, request.target, 8, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(list.data()), static_cast<int>(list.size()));
        XEvent event{};
        event.xselection.type = SelectionNotify;
        event.xselection.requestor = request.requestor;
        event.xselection.selection = request.selection;
        event.xselection.target = request.target;
        event.xselection.property = request.property;
        event.xselection.time = request.time;
        XSendEvent(m_display, request.requestor, False, NoEventMask, &event);
        XFlush(m_display);
    }

    Display* m_display;
    Window m_target;
    Window m_window;
    Atom m_list;
    Atom m_selection;
};

} // namespace

bool DropFile(unsigned long window, const std::string& path)
{
    Display* display = XOpenDisplay(nullptr);
    if (!display) {
        return false;
    }
    bool isTaken = false;
    {
        constexpr long version = 5L << 24;
        const std::string list = "file://" + path + "\r\n";
        Source source(display, window);
        source.Send("XdndEnter", version, static_cast<long>(source.GetList()), 0, 0);
        source.Send("XdndPosition", 0, 0, CurrentTime, static_cast<long>(source.Intern("XdndActionCopy")));
        if (source.WaitFor("XdndStatus", list)) {
            source.Send("XdndDrop", 0, CurrentTime, 0, 0);
            isTaken = source.WaitFor("XdndFinished", list);
        }
    }
    XCloseDisplay(display);
    return isTaken;
}
