// The viewer's process and the tool that presses its keys.
#include "LiveViewer.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

LiveViewer::LiveViewer(const std::vector<std::string>& arguments, const std::string& folder)
    : m_out(folder + "/live-out.txt"), m_errors(folder + "/live-errors.txt")
{
    std::vector<char*> raw{const_cast<char*>(GLEAMVIEW)};
    for (const std::string& argument : arguments) {
        raw.push_back(const_cast<char*>(argument.c_str()));
    }
    raw.push_back(nullptr);
    m_process = fork();
    if (m_process == 0) {
        dup2(open(m_out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
        dup2(open(m_errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
        if (chdir(folder.c_str()) == 0) {
            execv(GLEAMVIEW, raw.data());
        }
        _exit(127);
    }
}

LiveViewer::~LiveViewer()
{
    if (m_process > 0) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
}

bool LiveViewer::WaitUntil(const std::function<bool()>& isTrue, std::chrono::seconds limit)
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!isTrue()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

std::string LiveViewer::Shell(std::string command) const
{
    const std::size_t place = command.find("WINDOW");
    if (place != std::string::npos) {
        command.replace(place, 6, m_window);
    }
    std::string said;
    std::array<char, 256> part;
    std::FILE* pipe = popen((command + " 2>/dev/null").c_str(), "r");
    while (pipe && std::fgets(part.data(), static_cast<int>(part.size()), pipe)) {
        said += part.data();
    }
    if (pipe) {
        pclose(pipe);
    }
    while (!said.empty() && said.back() == '\n') {
        said.pop_back();
    }
    return said;
}

bool LiveViewer::WaitForWindow(const std::string& name)
{
    return WaitUntil([&] {
        m_window = Tool("search --onlyvisible --class gleamview");
        return !m_window.empty() && Title().find(name) != std::string::npos && Tool("getwindowfocus") == m_window;
    });
}

void LiveViewer::Drag(int button, int right, int down) const
{
    const std::string number = std::to_string(button);
    Tool("mousemove --window WINDOW 160 120 mousedown " + number + " mousemove_relative -- " + std::to_string(right) +
         " " + std::to_string(down) + " mouseup " + number);
}

std::vector<std::string> LiveViewer::ReadLines() const
{
    std::vector<std::string> lines;
    std::ifstream file(m_out);
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string LiveViewer::Screenshot()
{
    Press("s");
    if (!WaitUntil([&] { return ReadLines().size() > m_screenshots; })) {
        return {};
    }
    return ReadLines()[m_screenshots++];
}

int LiveViewer::WaitForEnd()
{
    int status = 0;
    if (!WaitUntil([&] { return waitpid(m_process, &status, WNOHANG) == m_process; })) {
        return -1;
    }
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string LiveViewer::Errors() const
{
    std::ostringstream text;
    text << std::ifstream(m_errors).rdbuf();
    return text.str();
}
