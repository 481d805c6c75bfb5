// Writing of files.
#include <qs/FileSystem.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include <qs/Log.h>

namespace qs {

FileWriter::FileWriter(const Path& path, EType type, int flags) : m_flags(flags), m_name(path.ToChar())
{
    m_handle = open(path.ToChar(), O_WRONLY | O_CREAT | O_CLOEXEC | (type == TYPE_APPEND ? O_APPEND : O_TRUNC), 0666);
    m_good = m_handle >= 0;
    if (!m_good) {
        Fail("open", errno);
    }
}

FileWriter::~FileWriter()
{
    Close();
}

// Only the first fault is worth a line: the others follow from it.
void FileWriter::Fail(const char* action, int error)
{
    if (m_good || m_handle < 0) {
        QS_LOG_ERROR("foundation/FileWriter", "qs::FileWriter", "Couldn't %s \"%s\" behind byte %llu: %s", action,
                     m_name.ToChar(), static_cast<unsigned long long>(m_written), std::strerror(error));
    }
    m_good = false;
}

size_t FileWriter::Write(const void* data, size_t size)
{
    size_t done = 0;
    while (IsOpen() && done < size) {
        const ssize_t step = write(m_handle, static_cast<const char*>(data) + done, size - done);
        if (step < 0 && errno == EINTR) {
            continue;
        }
        if (step <= 0) {
            Fail("write", step < 0 ? errno : EIO);
            break;
        }
        done += static_cast<size_t>(step);
    }
    m_written += done;
    return done;
}

bool FileWriter::Close()
{
    if (IsOpen()) {
        if ((m_flags & FLAG_SYNC) && fsync(m_handle) != 0) {
            Fail("flush", errno);
        }
        if (close(m_handle) != 0) {
            Fail("close", errno);
        }
        m_handle = -1;
    }
    return m_good;
}

} // namespace qs
