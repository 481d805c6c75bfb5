// The log and assertion service. Every diagnostic of the libraries goes through LogManager::HandleUnsafe.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <qs/Export.h>
#include <qs/Types.h>

namespace qs {

/// Severities. A level is a set of bits; FatalAssertion is Assertion with the fatal mark.
enum ELogLevel : u32
{
    LogLevelTrace = 1,
    LogLevelWarning = 2,
    LogLevelError = 4,
    LogLevelAssertion = 8, ///< a broken precondition; execution goes on behind the call
    LogLevelFatalMark = 0x4000,
    LogLevelFatalAssertion = LogLevelFatalMark | LogLevelAssertion,
};

/// Who and where a message comes from. Filled on the caller's stack; the texts are literals.
struct LogEntry
{
    u32 level;        ///< ELogLevel
    u8 flag;          ///< 1 for checks inside header templates; sinks may show it, nothing else depends on it
    const char* file; ///< source path without extension, such as "Gleamwork/Model"
    i32 line;
    const char* function; ///< qualified name of the caller
};

/// What to do with a message.
enum class EAction : u32
{
    Report = 0, ///< hand it to the sinks
};

/// A message as a sink receives it. The texts are valid during the call only.
struct LogMessage
{
    LogEntry entry;
    const char* text;
    u64 length;
};

/// Receives every message that HandleUnsafe accepts. `Write` may be called from any thread, one call at a time per
/// sink, and must not log.
class QS_API LogSink
{
public:
    virtual ~LogSink() = default;
    virtual void Write(const LogMessage& message) = 0;
    virtual void Flush() {}
};

/// Process-wide log. `GLEAM_LOG` chooses what the two standard sinks take: `LEVEL[,FILE]`, LEVEL being one of trace,
/// warning, error, assert and off, FILE the path of a file that rotates at 8 MiB with three old ones kept. Without it
/// the console (the error stream) takes warnings and worse, and there is no file. Added sinks take everything.
class QS_API LogManager
{
public:
    /// Never null. Callable at any time, from any thread.
    static LogManager* GetInstance();

    /// printf-style. Returns to the caller at every level. True when at least one sink took the message.
    bool HandleUnsafe(EAction action, const LogEntry& entry, const char* format, ...) QS_PRINTF_FORMAT(4, 5);

    /// Returns when everything logged so far has left the process's buffers.
    void FlushLoggers();

    /// Sinks are called in the order in which they were added.
    void AddSink(const std::shared_ptr<LogSink>& sink);
    void RemoveSink(const std::shared_ptr<LogSink>& sink);

    /// Replaces what GLEAM_LOG says, in the same form. False when `settings` cannot be read or the file not opened;
    /// an unreadable part changes nothing.
    bool Configure(const char* settings);

private:
    friend class LogCapture;
    LogManager();
    ~LogManager();
    LogManager(const LogManager&) = delete;
    LogManager& operator=(const LogManager&) = delete;

    struct Impl;
    Impl* m_impl;
};

/// Keeps every message, of all threads, from its construction to its destruction, and by default keeps them off the
/// console and the file meanwhile. For tests. Captures nest; the messages go to all of them.
class QS_API LogCapture
{
public:
    struct Entry
    {
        u32 level = 0;
        u8 flag = 0;
        i32 line = 0;
        std::string file;
        std::string function;
        std::string text;
    };

    explicit LogCapture(bool hideFromStandardSinks = true);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Entry> GetEntries() const;
    /// The text of the newest message, or an empty string.
    std::string GetLast() const;
    /// How many messages have this level exactly; 0 counts all.
    u64 Count(u32 level = 0) const;
    /// How many messages contain `part`.
    u64 CountContaining(const char* part, u32 level = 0) const;
    bool Contains(const char* part, u32 level = 0) const { return CountContaining(part, level) != 0; }
    void Clear();

private:
    class Sink;
    std::shared_ptr<Sink> m_sink;
    bool m_hides;
};

/// Marks a place that no valid input reaches: logs an assertion with the fatal mark, flushes and ends the process.
[[noreturn]] QS_API void AbortNotReached(const char* file, i32 line, const char* function);
/// Marks an operation that exists in the interface only: logs an assertion and returns.
QS_API void AlertNotImplemented(const char* file, i32 line, const char* function);

} // namespace qs

/// Logs with an entry built from literals; __LINE__ is the macro's. `flag` is the entry's.
#define QS_LOG_ENTRY(level, flag, file, function, ...)                                                                 \
    ::qs::LogManager::GetInstance()->HandleUnsafe(::qs::EAction::Report,                                               \
                                                  ::qs::LogEntry{level, flag, file, __LINE__, function}, __VA_ARGS__)
#define QS_LOG_TRACE(file, function, ...) QS_LOG_ENTRY(::qs::LogLevelTrace, 0, file, function, __VA_ARGS__)
#define QS_LOG_WARNING(file, function, ...) QS_LOG_ENTRY(::qs::LogLevelWarning, 0, file, function, __VA_ARGS__)
#define QS_LOG_ERROR(file, function, ...) QS_LOG_ENTRY(::qs::LogLevelError, 0, file, function, __VA_ARGS__)
#define QS_LOG_ASSERT(file, function, ...) QS_LOG_ENTRY(::qs::LogLevelAssertion, 0, file, function, __VA_ARGS__)
/// A device that was removed or reset.
#define QS_LOG_FATAL_ASSERT(file, function, ...)                                                                       \
    QS_LOG_ENTRY(::qs::LogLevelFatalAssertion, 0, file, function, __VA_ARGS__)
/// The form of header templates: the entry names the header and the operation's full signature.
#define QS_HEADER_ASSERT(flag, ...) QS_LOG_ENTRY(::qs::LogLevelAssertion, flag, __FILE__, QS_FUNCTION, __VA_ARGS__)
