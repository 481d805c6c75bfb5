// Both sides of the import process: starting, news over a pipe, the scene in a file in memory.
#include "scene/ImportProcess.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define GLEAMVIEW_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define GLEAMVIEW_SANITIZED 1
#endif
#endif

namespace gleamview {

namespace {

constexpr char s_childOption[] = "--import-child";
// The child's descriptors; both are put there by the start.
constexpr int s_newsDescriptor = 1;
constexpr int s_sceneDescriptor = 3;

void CloseDescriptor(int& descriptor)
{
    if (descriptor >= 0) {
        ::close(descriptor);
    }
    descriptor = -1;
}

/// What needs more memory than a file of that size can have reason to fails with a message, instead of taking the
/// machine along. Sanitizers reserve address space of their own, so they go without.
void LimitMemory([[maybe_unused]] const std::string& path)
{
#ifndef GLEAMVIEW_SANITIZED
    // Bytes that an import may need whatever its file's size, and for each byte of the file: text formats swell about
    // thirtyfold, and files beside the named one are not counted.
    constexpr rlim_t base = rlim_t(4) << 30;
    constexpr rlim_t share = 64;
    std::error_code code;
    const std::uintmax_t fileSize = std::filesystem::file_size(path, code);
    const auto pages = static_cast<rlim_t>(std::max(sysconf(_SC_PHYS_PAGES), 1L));
    const rlim_t machine = pages / 4 * 3 * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
    const rlim_t file = code || fileSize > machine ? 0 : static_cast<rlim_t>(fileSize) * share;
    const rlim_t limit = std::min(machine, base + file);
    const rlimit memory{limit, limit};
    setrlimit(RLIMIT_DATA, &memory);
#endif
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
}

void Say(const std::string& line)
{
    const std::string whole = line + "\n";
    // Nobody left to listen: the parent went away, and so does this process.
    if (::write(s_newsDescriptor, whole.data(), whole.size()) < 0) {
        _exit(1);
    }
}

/// Lines are one system call each, so news are not sent more often than anybody can read them.
class NewsSender
{
public:
    void operator()(const char* step, float share)
    {
        const auto now = std::chrono::steady_clock::now();
        if (m_step == step && now - m_last < std::chrono::milliseconds(50)) {
            return;
        }
        m_step = step;
        m_last = now;
        Say("P " + std::to_string(static_cast<int>(share * 1000.0f)) + " " + step);
    }

private:
    std::string m_step;
    std::chrono::steady_clock::time_point m_last;
};

} // namespace

ImportProcess::~ImportProcess()
{
    if (m_process > 0 && !m_isOver) {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
    }
    CloseDescriptor(m_news);
    CloseDescriptor(m_scene);
}

bool ImportProcess::Start(const std::string& path, UpAxis up, std::string& error, const char* program)
{
    m_path = path;
    int news[2] = {-1, -1};
    m_scene = memfd_create("gleamview scene", MFD_CLOEXEC);
    if (m_scene < 0 || pipe2(news, O_CLOEXEC) != 0) {
        error = path + ": no importer could be started: " + std::strerror(errno);
        return false;
    }
    m_news = news[0];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, news[1], s_newsDescriptor);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, m_scene, s_sceneDescriptor);
    std::string name = "gleamview", option = s_childOption, axis = std::to_string(static_cast<int>(up)), file = path;
    char* arguments[] = {name.data(), option.data(), axis.data(), file.data(), nullptr};
    const int result = posix_spawn(&m_process, program, &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    CloseDescriptor(news[1]);
    if (result != 0) {
        m_process = -1;
        error = path + ": no importer could be started: " + std::strerror(result);
        return false;
    }
    return true;
}

bool ImportProcess::Poll(int milliseconds)
{
    if (m_isOver || m_process <= 0) {
        return true;
    }
    pollfd waiting{m_news, POLLIN, 0};
    if (poll(&waiting, 1, milliseconds) > 0) {
        ReadNews();
    }
    return m_isOver;
}

void ImportProcess::ReadNews()
{
    char buffer[4096];
    const ssize_t size = ::read(m_news, buffer, sizeof buffer);
    if (size > 0) {
        m_unread.append(buffer, static_cast<std::size_t>(size));
        for (std::size_t end = m_unread.find('\n'); end != std::string::npos; end = m_unread.find('\n')) {
            TakeLine(m_unread.substr(0, end));
            m_unread.erase(0, end + 1);
        }
    } else if (size == 0 || errno != EINTR) {
        // The pipe closes with the process.
        waitpid(m_process, &m_status, 0);
        m_isOver = true;
    }
}

void ImportProcess::TakeLine(const std::string& line)
{
    if (line.rfind("E ", 0) == 0) {
        m_said = line.substr(2);
    } else if (line.rfind("P ", 0) == 0) {
        int thousandths = 0;
        const auto parsed = std::from_chars(line.data() + 2, line.data() + line.size(), thousandths);
        m_share = std::clamp(static_cast<float>(thousandths) / 1000.0f, 0.0f, 1.0f);
        m_step = line.substr(std::min(line.size(), static_cast<std::size_t>(parsed.ptr - line.data()) + 1));
    }
}

std::string ImportProcess::DescribeEnd() const
{
    if (!m_said.empty()) {
        return m_said;
    }
    return m_path + ": the importer " +
           (WIFSIGNALED(m_status) ? std::string("broke down on it (") + strsignal(WTERMSIG(m_status)) + ")"
                                  : std::string("gave up on it without a word"));
}

bool ImportProcess::TakeResult(SceneData& scene, std::string& error)
{
    if (!WIFEXITED(m_status) || WEXITSTATUS(m_status) != 0) {
        error = DescribeEnd();
        return false;
    }
    if (!ReadScene(m_scene, scene, error)) {
        error = m_path + ": " + error;
        return false;
    }
    scene.name = std::filesystem::path(m_path).filename().string();
    const std::string folder = std::filesystem::path(m_path).parent_path().string();
    for (SceneTexture& texture : scene.textures) {
        texture.folder = folder;
    }
    CloseDescriptor(m_scene);
    return true;
}

bool IsImportChild(int argc, char** argv)
{
    return argc == 4 && std::strcmp(argv[1], s_childOption) == 0;
}

int RunImportChild(char** argv)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    signal(SIGINT, SIG_IGN); // the parent decides, and ends this process
    const std::string path = argv[3];
    LimitMemory(path);
    const UpAxis up = static_cast<UpAxis>(std::clamp(argv[2][0] - '0', 0, static_cast<int>(UpAxis::MinusZ)));
    std::string error;
    bool isGood = false;
    try {
        SceneWriter writer(s_sceneDescriptor);
        isGood = ImportModel(path, up, writer, NewsSender(), error);
    } catch (const std::exception& exception) {
        error = path + ": " + exception.what();
    }
    // Which is all that the import library says then.
    if (error.ends_with("std::bad_alloc")) {
        error = path + ": needs more memory than a file of its size may take";
    }
    if (!isGood) {
        std::replace(error.begin(), error.end(), '\n', ' ');
        Say("E " + error);
    }
    // Nothing is left that others wait for, and a damaged file may have damaged what an orderly end would visit.
    _exit(isGood ? 0 : 1);
}

} // namespace gleamview
