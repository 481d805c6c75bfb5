// The log: formats messages once and hands them to the standard sinks (spdlog's) and to added ones.
#include <qs/Log.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string_view>

#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

#include <qs/Thread.h>

#include "core/ThreadState.h"
#include "log/LogHiding.h"

namespace qs {

namespace {

constexpr std::size_t FileSize = 8u << 20;
constexpr std::size_t OldFiles = 3;

spdlog::level::level_enum ToSpdlog(u32 level)
{
    if (level & LogLevelAssertion) {
        return spdlog::level::critical;
    }
    if (level & LogLevelError) {
        return spdlog::level::err;
    }
    return level & LogLevelWarning ? spdlog::level::warn : spdlog::level::trace;
}

bool ParseLevel(std::string_view name, spdlog::level::level_enum& level)
{
    static constexpr struct
    {
        std::string_view name;
        spdlog::level::level_enum level;
    } names[] = {{"trace", spdlog::level::trace},
                 {"warning", spdlog::level::warn},
                 {"error", spdlog::level::err},
                 {"assert", spdlog::level::critical},
                 {"off", spdlog::level::off}};
    for (const auto& entry : names) {
        if (entry.name == name) {
            level = entry.level;
            return true;
        }
    }
    return false;
}

// A thread that logs from inside a sink would wait for itself.
class InsideLog
{
public:
    InsideLog() { ++g_threadState.logDepth; }
    ~InsideLog() { --g_threadState.logDepth; }
    static bool IsInside() { return g_threadState.logDepth != 0; }
};

// printf into a buffer on the stack, or on the heap when the text is long.
class FormattedText
{
public:
    FormattedText(const char* format, va_list arguments)
    {
        va_list again;
        va_copy(again, arguments);
        const int length = std::vsnprintf(m_short, sizeof m_short, format, arguments);
        if (length < 0) {
            m_text = format;
        } else if (static_cast<std::size_t>(length) < sizeof m_short) {
            m_text = std::string_view(m_short, static_cast<std::size_t>(length));
        } else {
            m_long.resize(static_cast<std::size_t>(length));
            std::vsnprintf(m_long.data(), m_long.size() + 1, format, again);
            m_text = m_long;
        }
        va_end(again);
    }

    std::string_view Get() const { return m_text; }

private:
    char m_short[1024];
    std::string m_long;
    std::string_view m_text;
};

} // namespace

struct LogManager::Impl
{
    std::mutex lock; // guards all of it
    spdlog::sink_ptr console = std::make_shared<spdlog::sinks::stderr_color_sink_mt>();
    spdlog::sink_ptr file;
    spdlog::level::level_enum level = spdlog::level::warn;
    std::vector<std::shared_ptr<LogSink>> sinks;
    std::atomic<u32> sinkCount{0};
    std::atomic<spdlog::level::level_enum> standardLevel{spdlog::level::warn};

    bool WriteStandard(const LogEntry& entry, std::string_view text);
    bool WriteAdded(const LogEntry& entry, std::string_view text);
};

LogManager::LogManager() : m_impl(new Impl)
{
    m_impl->console->set_pattern("%^[%H:%M:%S.%e %l]%$ %v");
    if (const char* settings = std::getenv("GLEAM_LOG"); settings && *settings) {
        if (!Configure(settings)) {
            // Not through GetInstance, which is still at work.
            HandleUnsafe(EAction::Report, LogEntry{LogLevelWarning, 0, "foundation/Log", __LINE__, "qs::LogManager"},
                         "GLEAM_LOG='%s' is not understood: LEVEL[,FILE] with a level of trace, warning, error, assert "
                         "or off and a file that can be written",
                         settings);
        }
    }
}

LogManager* LogManager::GetInstance()
{
    // Never destroyed: static objects of other libraries log while the process ends.
    static LogManager& manager = *new LogManager;
    return &manager;
}

bool LogManager::Configure(const char* settings)
{
    const std::string_view text = settings ? settings : "";
    const std::size_t comma = text.find(',');
    spdlog::level::level_enum level;
    if (!ParseLevel(text.substr(0, comma), level)) {
        return false;
    }
    spdlog::sink_ptr file;
    if (comma != std::string_view::npos) {
        try {
            file = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(std::string(text.substr(comma + 1)), FileSize,
                                                                          OldFiles);
            file->set_pattern("[%Y-%m-%d %H:%M:%S.%e %l] %v");
        } catch (const spdlog::spdlog_ex&) {
            return false;
        }
    }
    std::lock_guard guard(m_impl->lock);
    m_impl->file = std::move(file);
    m_impl->level = level;
    m_impl->standardLevel = level;
    return true;
}

bool LogManager::Impl::WriteStandard(const LogEntry& entry, std::string_view text)
{
    const spdlog::level::level_enum level = ToSpdlog(entry.level);
    if (level < standardLevel.load(std::memory_order_relaxed) || log::AreStandardSinksHidden()) {
        return false;
    }
    const std::string line = fmt::format("{} ({}, {}:{}, {})", text, entry.function ? entry.function : "?",
                                         entry.file ? entry.file : "?", entry.line, Thread::GetCurrentThreadName());
    const spdlog::details::log_msg message("gleam", level, line);
    std::lock_guard guard(lock);
    console->log(message);
    if (file) {
        file->log(message);
        if (level >= spdlog::level::err) {
            file->flush();
        }
    }
    return true;
}

bool LogManager::Impl::WriteAdded(const LogEntry& entry, std::string_view text)
{
    if (sinkCount.load(std::memory_order_acquire) == 0) {
        return false;
    }
    std::lock_guard guard(lock);
    for (const std::shared_ptr<LogSink>& sink : sinks) {
        sink->Write(LogMessage{entry, text.data(), text.size()});
    }
    return !sinks.empty();
}

bool LogManager::HandleUnsafe(EAction, const LogEntry& entry, const char* format, ...)
{
    const bool wanted = m_impl->sinkCount.load(std::memory_order_acquire) != 0 ||
                        ToSpdlog(entry.level) >= m_impl->standardLevel.load(std::memory_order_relaxed);
    if (!wanted || InsideLog::IsInside()) {
        return false;
    }
    InsideLog inside;
    // Errors of sinks (a full disk, no memory) have nobody to be told to and must not reach the caller.
    try {
        va_list arguments;
        va_start(arguments, format);
        const FormattedText text(format, arguments);
        va_end(arguments);
        const bool added = m_impl->WriteAdded(entry, text.Get());
        const bool standard = m_impl->WriteStandard(entry, text.Get());
        return added || standard;
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "log: %s\n", exception.what());
        return false;
    }
}

void LogManager::FlushLoggers()
{
    std::lock_guard guard(m_impl->lock);
    try {
        m_impl->console->flush();
        if (m_impl->file) {
            m_impl->file->flush();
        }
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "log: %s\n", exception.what());
    }
    for (const std::shared_ptr<LogSink>& sink : m_impl->sinks) {
        sink->Flush();
    }
}

void LogManager::AddSink(const std::shared_ptr<LogSink>& sink)
{
    if (!sink) {
        return;
    }
    std::lock_guard guard(m_impl->lock);
    m_impl->sinks.push_back(sink);
    m_impl->sinkCount = static_cast<u32>(m_impl->sinks.size());
}

void LogManager::RemoveSink(const std::shared_ptr<LogSink>& sink)
{
    std::lock_guard guard(m_impl->lock);
    std::erase(m_impl->sinks, sink);
    m_impl->sinkCount = static_cast<u32>(m_impl->sinks.size());
}

void AbortNotReached(const char* file, i32 line, const char* function)
{
    LogManager* log = LogManager::GetInstance();
    log->HandleUnsafe(EAction::Report, LogEntry{LogLevelFatalAssertion, 0, file, line, function},
                      "A place that no valid input reaches was reached");
    log->FlushLoggers();
    std::abort();
}

void AlertNotImplemented(const char* file, i32 line, const char* function)
{
    LogManager::GetInstance()->HandleUnsafe(EAction::Report, LogEntry{LogLevelAssertion, 0, file, line, function},
                                            "%s exists in the interface only; the caller gets a failure", function);
}

} // namespace qs
