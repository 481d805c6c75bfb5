// Reading and writing of whole files and streams of bytes on disk.
#pragma once

#include <cstddef>
#include <cstdint>

#include <qs/Export.h>
#include <qs/MemView.h>
#include <qs/Path.h>

namespace qs {

/// Where the roots lie, and questions about files. All operations may be called from every thread.
class QS_API FileSystem
{
public:
    /// Sets the directory of a root; an empty text is the directory the process runs in. The text is normalised.
    /// PATH_ROOT_NONE cannot be set: asserts and gives false. At start the data root is the environment variable
    /// GLEAM_DATA, the temporary root is TMPDIR or "/tmp", and the others are empty.
    static bool SetRoot(EPathRoot root, const char* directory);

    /// True when `path` names something that exists. With `filesOnly` a directory or a device does not count.
    static bool DoesFileExist(const Path& path, bool filesOnly);

    /// True when the directory exists afterwards. Makes missing parent directories too; logs an error with the reason
    /// when it cannot.
    static bool MakeDirectory(const Path& path);
};

/// Where FileReader::Seek counts from.
enum ESeekPos : int
{
    SEEK_FROM_START = 0,
    SEEK_FROM_CURRENT = 1,
    SEEK_FROM_END = 2,
};

/// Reads one regular file. Opening never throws and never logs: a file that cannot be opened, a directory and a device
/// give a reader for which IsLoaded is false and GetErrorText tells why.
///
/// A reader belongs to one thread at a time. Sizes are 64-bit. The mapped types keep the file mapped until the reader
/// is destroyed or assigned to; a program that shortens the file meanwhile makes the access fault, as with any mapping.
class QS_API FileReader
{
public:
    enum EType : int
    {
        TYPE_SEQUENTIAL = 0, ///< Read and Seek through a buffer
        TYPE_DATA = 1,       ///< mapped as a whole, bytes through GetData
        TYPE_MEMORY = 2,     ///< mapped as a whole, bytes through GetMemory
    };

    FileReader() = default;
    explicit FileReader(const Path& path, EType type = TYPE_SEQUENTIAL);
    FileReader(FileReader&& other) noexcept;
    FileReader& operator=(FileReader&& other) noexcept;
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;
    ~FileReader();

    bool IsLoaded() const { return m_handle >= 0; }
    /// Size in bytes when the file was opened; 0 when nothing is loaded.
    uint64_t GetFileSize() const { return m_size; }
    /// Copies the next bytes, in every type, and gives how many there were; fewer than asked for only at the end of the
    /// file or after a device error, which is logged with the file's name.
    size_t Read(void* destination, size_t size);
    /// Moves the read position; a target outside the file stops at its nearest end.
    void Seek(int64_t position, ESeekPos from = SEEK_FROM_START);
    uint64_t GetPosition() const { return m_position; }

    /// The whole content of a mapped file, GetFileSize bytes without a terminator; null for other types or when nothing
    /// is loaded. An empty file gives a pointer that is not null.
    const char* GetData() const { return static_cast<const char*>(m_mapping); }
    /// The same as a view; a null view where GetData is null.
    MemView<const unsigned char> GetMemory() const;

    /// The path the reader was opened with; empty for a default-constructed reader.
    const char* GetName() const { return m_name.ToChar(); }
    /// Why the file is not loaded ("No such file or directory"); empty when it is.
    const char* GetErrorText() const { return m_error ? m_error : ""; }

private:
    void Open(const Path& path, EType type);
    bool Map();
    bool FillBuffer();
    size_t ReadFromFile(char* destination, size_t size);
    void Close();
    void Steal(FileReader& other);

    int m_handle = -1;
    uint64_t m_size = 0;
    uint64_t m_position = 0;
    const void* m_mapping = nullptr;
    char* m_buffer = nullptr; ///< sequential type: bytes of the file from m_bufferStart on
    uint64_t m_bufferStart = 0;
    size_t m_bufferSize = 0;
    const char* m_error = nullptr;
    STDString m_name;
};

/// Writes one file. Every Write goes to the operating system at once, so its result is the truth: fewer bytes than
/// asked for mean a full disk or a device error, which is logged once with the file's name and the reason.
/// A writer belongs to one thread at a time.
class QS_API FileWriter
{
public:
    enum EType : int
    {
        TYPE_CREATE = 0, ///< create the file, or cut it to nothing
        TYPE_APPEND = 1, ///< create the file, or write behind its end
    };
    /// Third argument of the constructor: Close waits until the bytes are on the disk.
    static constexpr int FLAG_SYNC = 1;

    /// A file that cannot be opened logs an error with the reason; IsOpen is false then and Write gives 0.
    FileWriter(const Path& path, EType type, int flags);
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;
    virtual ~FileWriter();

    bool IsOpen() const { return m_handle >= 0; }
    size_t Write(const void* data, size_t size);
    /// Bytes written so far.
    uint64_t GetSize() const { return m_written; }
    /// True when every Write succeeded so far and the file is or was open.
    bool IsGood() const { return m_good; }
    /// Closes early; false when any write or the closing itself failed. The destructor does the same and drops the
    /// answer.
    bool Close();

private:
    void Fail(const char* action, int error);

    int m_handle = -1;
    int m_flags = 0;
    bool m_good = false;
    uint64_t m_written = 0;
    STDString m_name;
};

} // namespace qs
