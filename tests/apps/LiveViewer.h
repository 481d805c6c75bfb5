// gleamview in a window, driven with keys and pointer as a person does it.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

/// Starts the program on the display that DISPLAY names; the window it opens has to be the only one there. It runs
/// in `folder`, where its streams go to files. What waits gives up after some seconds, so that a viewer that hangs
/// fails its test.
class LiveViewer
{
public:
    LiveViewer(const std::vector<std::string>& arguments, const std::string& folder);
    /// Ends the program, if it still runs.
    ~LiveViewer();
    LiveViewer(const LiveViewer&) = delete;
    LiveViewer& operator=(const LiveViewer&) = delete;

    /// True once the window is there and shows its first frame's title, which holds `name`.
    bool WaitForWindow(const std::string& name);
    /// Runs a command, in which WINDOW stands for the window; gives what it printed, without the line's end.
    std::string Shell(std::string command) const;
    /// The same with xdotool.
    std::string Tool(const std::string& command) const { return Shell("xdotool " + command); }
    void Press(const std::string& key) const { Tool("key " + key); }
    /// Presses a button in the window's middle, moves by so many pixels, and lets it go.
    void Drag(int button, int right, int down) const;
    std::string Title() const { return Tool("getwindowname WINDOW"); }
    /// Presses S and gives the path that the viewer printed; empty when it prints none.
    std::string Screenshot();
    /// Waits for the end and gives the exit status; -1 when it does not come.
    int WaitForEnd();

    /// X's number of the window.
    unsigned long GetWindow() const { return std::stoul(m_window); }
    pid_t GetProcess() const { return m_process; }
    std::string Errors() const;

    static bool WaitUntil(const std::function<bool()>& isTrue, std::chrono::seconds limit = std::chrono::seconds(20));

private:
    std::vector<std::string> ReadLines() const;

    std::string m_out;
    std::string m_errors;
    std::string m_window;
    std::size_t m_screenshots = 0;
    pid_t m_process = -1;
};
