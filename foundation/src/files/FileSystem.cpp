// Roots, and questions about files.
#include <qs/FileSystem.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <unordered_set>

#include <qs/Log.h>

#include "Roots.h"

namespace qs {

namespace {

/// Directories that were ever set. They stay, so that a prefix read before a change stays valid.
class RootTable
{
public:
    RootTable()
    {
        const char* data = std::getenv("GLEAM_DATA");
        const char* temporary = std::getenv("TMPDIR");
        Set(PATH_ROOT_DATA, data ? data : "");
        Set(PATH_ROOT_TEMP, temporary && *temporary ? temporary : "/tmp");
    }

    void Set(EPathRoot root, const char* directory)
    {
        STDString text(directory);
        Path::Normalize(text);
        std::lock_guard lock(m_lock);
        m_directories[root].store(m_texts.emplace(text.ToChar()).first->c_str(), std::memory_order_release);
    }

    const char* Get(EPathRoot root) const { return m_directories[root].load(std::memory_order_acquire); }

private:
    std::mutex m_lock;
    std::unordered_set<std::string> m_texts;
    std::atomic<const char*> m_directories[PATH_ROOT_COUNT] = {"", "", "", ""};
};

RootTable& GetRoots()
{
    static RootTable table;
    return table;
}

} // namespace

const char* details::GetRootDirectory(EPathRoot root)
{
    return root < PATH_ROOT_COUNT ? GetRoots().Get(root) : "";
}

bool FileSystem::SetRoot(EPathRoot root, const char* directory)
{
    if (root == PATH_ROOT_NONE || root >= PATH_ROOT_COUNT) {
        QS_LOG_ASSERT("foundation/FileSystem", "qs::FileSystem::SetRoot", "Root %u cannot be set", unsigned(root));
        return false;
    }
    GetRoots().Set(root, directory ? directory : "");
    return true;
}

bool FileSystem::DoesFileExist(const Path& path, bool filesOnly)
{
    struct stat status;
    return stat(path.ToChar(), &status) == 0 && (!filesOnly || S_ISREG(status.st_mode));
}

bool FileSystem::MakeDirectory(const Path& path)
{
    const std::string text = path.ToChar();
    for (size_t end = text.find('/', 1);; end = text.find('/', end + 1)) {
        const std::string part = text.substr(0, end);
        if (mkdir(part.c_str(), 0777) != 0 && errno != EEXIST) {
            const int error = errno;
            struct stat status;
            // A parent on a file system that refuses all writing says so even when the directory is there.
            if (stat(part.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
                QS_LOG_ERROR("foundation/FileSystem", "qs::FileSystem::MakeDirectory",
                             "Couldn't make directory \"%s\": %s", part.c_str(), std::strerror(error));
                return false;
            }
        }
        if (end == std::string::npos) {
            break;
        }
    }
    struct stat status;
    const bool made = stat(text.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    if (!made) {
        QS_LOG_ERROR("foundation/FileSystem", "qs::FileSystem::MakeDirectory", "\"%s\" exists and is no directory",
                     text.c_str());
    }
    return made;
}

} // namespace qs
