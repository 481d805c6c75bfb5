// Reading of files, through a buffer or a mapping.
#include <qs/FileSystem.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include <qs/Log.h>
#include <qs/Memory.h>

namespace qs {

namespace {

constexpr size_t BUFFER_SIZE = 64 * 1024;
/// What an empty file's mapping points at.
constexpr char NOTHING[1] = {};

// A text that stays valid, unlike that of strerror.
const char* Describe(int error)
{
    const char* text = strerrordesc_np(error);
    return text ? text : "Unknown error";
}

// As many bytes as are there up to `size`; fewer with errno set, or at the end of the file.
size_t ReadAt(int handle, void* destination, size_t size, uint64_t position)
{
    size_t done = 0;
    errno = 0;
    while (done < size) {
        const ssize_t step =
            pread(handle, static_cast<char*>(destination) + done, size - done, static_cast<off_t>(position + done));
        if (step < 0 && errno == EINTR) {
            continue;
        }
        if (step <= 0) {
            break;
        }
        done += static_cast<size_t>(step);
        errno = 0;
    }
    return done;
}

} // namespace

FileReader::FileReader(const Path& path, EType type)
{
    Open(path, type);
}

FileReader::FileReader(FileReader&& other) noexcept
{
    Steal(other);
}

FileReader& FileReader::operator=(FileReader&& other) noexcept
{
    if (this != &other) {
        Close();
        Steal(other);
    }
    return *this;
}

FileReader::~FileReader()
{
    Close();
}

void FileReader::Open(const Path& path, EType type)
{
    m_name = path.ToChar();
    // Without O_NONBLOCK, opening a pipe would wait for somebody to write into it.
    m_handle = open(path.ToChar(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (m_handle < 0) {
        m_error = Describe(errno);
        return;
    }
    struct stat status;
    const char* error = nullptr;
    if (fstat(m_handle, &status) != 0) {
        error = Describe(errno);
    } else if (!S_ISREG(status.st_mode)) {
        error = S_ISDIR(status.st_mode) ? "Is a directory" : "Is not a regular file";
    } else {
        m_size = static_cast<uint64_t>(status.st_size);
        error = type == TYPE_SEQUENTIAL || Map() ? nullptr : Describe(errno);
    }
    if (error) {
        Close();
        m_error = error;
    }
}

bool FileReader::Map()
{
    if (m_size == 0) {
        m_mapping = NOTHING;
        return true;
    }
    if (m_size > SIZE_MAX) {
        errno = EFBIG;
        return false;
    }
    void* mapping = mmap(nullptr, static_cast<size_t>(m_size), PROT_READ, MAP_PRIVATE, m_handle, 0);
    if (mapping == MAP_FAILED) {
        return false;
    }
    madvise(mapping, static_cast<size_t>(m_size), MADV_WILLNEED);
    m_mapping = mapping;
    return true;
}

void FileReader::Close()
{
    if (m_mapping && m_mapping != NOTHING) {
        munmap(const_cast<void*>(m_mapping), static_cast<size_t>(m_size));
    }
    MemoryManager::Deallocate(m_buffer, AllocType::FreeRaw, DefaultMemoryTag, true);
    if (m_handle >= 0) {
        close(m_handle);
    }
    m_handle = -1;
    m_mapping = nullptr;
    m_buffer = nullptr;
    m_size = m_position = m_bufferStart = 0;
    m_bufferSize = 0;
    m_error = nullptr;
}

void FileReader::Steal(FileReader& other)
{
    m_handle = std::exchange(other.m_handle, -1);
    m_size = std::exchange(other.m_size, 0);
    m_position = std::exchange(other.m_position, 0);
    m_mapping = std::exchange(other.m_mapping, nullptr);
    m_buffer = std::exchange(other.m_buffer, nullptr);
    m_bufferStart = std::exchange(other.m_bufferStart, 0);
    m_bufferSize = std::exchange(other.m_bufferSize, 0);
    m_error = std::exchange(other.m_error, nullptr);
    m_name = std::move(other.m_name);
}

// Loads the bytes at the read position; false when there are none or no buffer can be had.
bool FileReader::FillBuffer()
{
    if (!m_buffer) {
        m_buffer = static_cast<char*>(MemoryManager::Allocate(BUFFER_SIZE, AllocType::Raw, DefaultMemoryTag, 0, true));
    }
    m_bufferStart = m_position;
    m_bufferSize = m_buffer ? ReadAt(m_handle, m_buffer, BUFFER_SIZE, m_position) : 0;
    return m_bufferSize != 0;
}

// Large reads go around the buffer.
size_t FileReader::ReadFromFile(char* destination, size_t size)
{
    size_t done = 0;
    while (done < size) {
        const uint64_t offset = m_position - m_bufferStart;
        if (m_position >= m_bufferStart && offset < m_bufferSize) {
            const size_t step = std::min(size - done, m_bufferSize - static_cast<size_t>(offset));
            std::memcpy(destination + done, m_buffer + offset, step);
            done += step;
            m_position += step;
        } else if (size - done >= BUFFER_SIZE) {
            const size_t step = ReadAt(m_handle, destination + done, size - done, m_position);
            done += step;
            m_position += step;
            break;
        } else if (!FillBuffer()) {
            break;
        }
    }
    return done;
}

size_t FileReader::Read(void* destination, size_t size)
{
    if (!IsLoaded() || size == 0) {
        return 0;
    }
    if (m_mapping) {
        const uint64_t left = m_size - m_position;
        const size_t step = size < left ? size : static_cast<size_t>(left);
        std::memcpy(destination, static_cast<const char*>(m_mapping) + m_position, step);
        m_position += step;
        return step;
    }
    errno = 0;
    const size_t done = ReadFromFile(static_cast<char*>(destination), size);
    if (done < size && errno != 0) {
        QS_LOG_ERROR("foundation/FileReader", "qs::FileReader::Read", "Couldn't read \"%s\" at byte %llu: %s",
                     m_name.ToChar(), static_cast<unsigned long long>(m_position), std::strerror(errno));
    }
    return done;
}

void FileReader::Seek(int64_t position, ESeekPos from)
{
    const uint64_t base = from == SEEK_FROM_CURRENT ? m_position : from == SEEK_FROM_END ? m_size : 0;
    if (position < 0) {
        const uint64_t back = uint64_t(0) - static_cast<uint64_t>(position);
        m_position = back < base ? base - back : 0;
    } else {
        m_position = std::min(m_size, base + static_cast<uint64_t>(position));
    }
}

ConstByteView FileReader::GetMemory() const
{
    return {static_cast<const unsigned char*>(m_mapping), m_size};
}

} // namespace qs
