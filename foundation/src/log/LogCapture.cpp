// The sink with which tests read what was logged.
#include <qs/Log.h>

#include <algorithm>
#include <atomic>
#include <mutex>

#include "log/LogHiding.h"

namespace qs {

namespace {
constinit std::atomic<int> s_hiding{0};
} // namespace

bool log::AreStandardSinksHidden()
{
    return s_hiding.load(std::memory_order_relaxed) != 0;
}

class LogCapture::Sink : public LogSink
{
public:
    void Write(const LogMessage& message) override
    {
        const LogEntry& entry = message.entry;
        std::lock_guard guard(m_lock);
        m_entries.push_back({entry.level, entry.flag, entry.line, entry.file ? entry.file : "",
                             entry.function ? entry.function : "", std::string(message.text, message.length)});
    }

    template <class Function>
    auto With(Function&& function)
    {
        std::lock_guard guard(m_lock);
        return function(m_entries);
    }

private:
    std::mutex m_lock;
    std::vector<Entry> m_entries;
};

LogCapture::LogCapture(bool hideFromStandardSinks) : m_sink(std::make_shared<Sink>()), m_hides(hideFromStandardSinks)
{
    s_hiding += m_hides ? 1 : 0;
    LogManager::GetInstance()->AddSink(m_sink);
}

LogCapture::~LogCapture()
{
    LogManager::GetInstance()->RemoveSink(m_sink);
    s_hiding -= m_hides ? 1 : 0;
}

std::vector<LogCapture::Entry> LogCapture::GetEntries() const
{
    return m_sink->With([](const std::vector<Entry>& entries) { return entries; });
}

std::string LogCapture::GetLast() const
{
    return m_sink->With(
        [](const std::vector<Entry>& entries) { return entries.empty() ? std::string() : entries.back().text; });
}

u64 LogCapture::Count(u32 level) const
{
    return CountContaining("", level);
}

u64 LogCapture::CountContaining(const char* part, u32 level) const
{
    return m_sink->With([&](const std::vector<Entry>& entries) {
        return static_cast<u64>(std::count_if(entries.begin(), entries.end(), [&](const Entry& entry) {
            return (level == 0 || entry.level == level) && entry.text.find(part) != std::string::npos;
        }));
    });
}

void LogCapture::Clear()
{
    m_sink->With([](std::vector<Entry>& entries) { entries.clear(); });
}

} // namespace qs
