// The log's levels, sinks and files, and trace files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>
#include <vector>

#include <qs/Log.h>
#include <qs/Profile.h>
#include <qs/Thread.h>

namespace {

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

class TemporaryFile
{
public:
    explicit TemporaryFile(const char* name)
        : m_path(std::filesystem::temp_directory_path() / (std::to_string(getpid()) + name))
    {
    }
    ~TemporaryFile() { std::filesystem::remove(m_path); }
    std::string Get() const { return m_path.string(); }

private:
    std::filesystem::path m_path;
};

TEST(Log, EveryLevelReturnsWithItsEntry)
{
    qs::LogCapture capture;
    QS_LOG_TRACE("Room/File", "Class::Trace", "size %d", 1);
    QS_LOG_WARNING("Room/File", "Class::Warn", "%s", "soft");
    QS_LOG_ERROR("Room/File", "Class::Fail", "%llu%%", 100ull);
    QS_LOG_ASSERT("Room/File", "Class::Check", "broken");
    QS_LOG_FATAL_ASSERT("Room/File", "Class::Device", "removed");
    const auto entries = capture.GetEntries();
    ASSERT_EQ(entries.size(), 5u);
    const qs::u32 levels[] = {1, 2, 4, 8, 16392};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(entries[i].level, levels[i]);
        EXPECT_EQ(entries[i].file, "Room/File");
    }
    EXPECT_EQ(entries[2].text, "100%");
    EXPECT_EQ(entries[3].function, "Class::Check");
    EXPECT_GT(entries[3].line, 0);
    qs::AlertNotImplemented("Room/File", 7, "Class::Later");
    EXPECT_EQ(capture.Count(qs::LogLevelAssertion), 2u);
    EXPECT_DEATH(qs::AbortNotReached("Room/File", 7, "Class::Switch"), "");
}

TEST(Log, LongMessagesArriveWhole)
{
    qs::LogCapture capture;
    const std::string text(100000, 'x');
    QS_LOG_ERROR("f", "g", "%s!", text.c_str());
    EXPECT_EQ(capture.GetLast(), text + "!");
}

TEST(Log, ThreadsDoNotMixTheirMessages)
{
    qs::LogCapture capture;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t] {
            for (int i = 0; i < 200; ++i) {
                QS_LOG_TRACE("f", "g", "%d:%d;", t, i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    int next[4] = {};
    for (const auto& entry : capture.GetEntries()) {
        int t = 0, i = 0;
        ASSERT_EQ(std::sscanf(entry.text.c_str(), "%d:%d;", &t, &i), 2);
        EXPECT_EQ(i, next[t]++);
    }
    EXPECT_EQ(next[0] + next[1] + next[2] + next[3], 800);
}

TEST(Log, ASinkThatLogsDoesNotWaitForItself)
{
    struct Talkative : qs::LogSink
    {
        int messages = 0;
        void Write(const qs::LogMessage&) override
        {
            ++messages;
            QS_LOG_ERROR("f", "g", "from inside");
        }
    };
    qs::LogCapture quiet;
    auto sink = std::make_shared<Talkative>();
    qs::LogManager::GetInstance()->AddSink(sink);
    QS_LOG_ERROR("f", "g", "from outside");
    qs::LogManager::GetInstance()->RemoveSink(sink);
    QS_LOG_ERROR("f", "g", "unheard");
    EXPECT_EQ(sink->messages, 1);
}

TEST(Log, FileTakesItsLevelAndWorse)
{
    TemporaryFile path(".log");
    qs::LogManager* log = qs::LogManager::GetInstance();
    EXPECT_FALSE(log->Configure("loud"));
    EXPECT_FALSE(log->Configure("trace,/dev/null/not a folder"));
    ASSERT_TRUE(log->Configure(("assert," + path.Get()).c_str()));
    QS_LOG_ERROR("Room/File", "Class::Fail", "below the level");
    QS_LOG_ASSERT("Room/File", "Class::Check", "in the file");
    log->FlushLoggers();
    const std::string text = ReadFile(path.Get());
    EXPECT_EQ(text.find("below"), std::string::npos);
    EXPECT_NE(text.find("in the file (Class::Check, Room/File:"), std::string::npos);
    EXPECT_TRUE(log->Configure("warning"));
}

TEST(Profile, TraceHoldsSpansOfAllThreads)
{
    TemporaryFile path(".json");
    {
        qs::HProfileSample before("before the trace");
    }
    ASSERT_TRUE(qs::Profiler::Start(path.Get().c_str()));
    {
        qs::LogCapture capture;
        EXPECT_FALSE(qs::Profiler::Start(path.Get().c_str()));
        EXPECT_EQ(capture.Count(qs::LogLevelError), 1u);
    }
    {
        qs::HProfileSample outer("outer \"quoted\"");
        qs::Thread worker("trace worker", [] {
            for (int i = 0; i < 1500; ++i) {
                qs::HProfileSample inner("inner");
            }
        });
    }
    qs::Profiler::AddCounter("bytes", 42.0);
    ASSERT_TRUE(qs::Profiler::Stop());
    EXPECT_FALSE(qs::Profiler::Stop());
    {
        qs::HProfileSample after("after the trace");
    }
    const std::string text = ReadFile(path.Get());
    EXPECT_EQ(text.substr(0, 1), "{");
    EXPECT_EQ(text.substr(text.size() - 4), "\n]}\n");
    EXPECT_EQ(text.find(" the trace"), std::string::npos);
    EXPECT_NE(text.find(R"("name":"outer \"quoted\"","ph":"X")"), std::string::npos);
    EXPECT_NE(text.find(R"("args":{"name":"trace worker"})"), std::string::npos);
    EXPECT_NE(text.find(R"("args":{"value":42)"), std::string::npos);
    std::size_t spans = 0;
    for (std::size_t at = 0; (at = text.find(R"({"name":"inner")", at)) != std::string::npos; ++at) {
        ++spans;
    }
    EXPECT_EQ(spans, 1500u);
    EXPECT_EQ(text.find("}{"), std::string::npos);
}

TEST(Profile, AFullDiskIsAnError)
{
    qs::LogCapture capture;
    ASSERT_TRUE(qs::Profiler::Start("/dev/full"));
    {
        qs::HProfileSample sample("lost");
    }
    EXPECT_FALSE(qs::Profiler::Stop());
    EXPECT_EQ(capture.Count(qs::LogLevelError), 1u);
    EXPECT_FALSE(qs::Profiler::Start("/dev/null/trace.json"));
}

TEST(Profile, ClockHoldsItsTime)
{
    qs::PreciseClock clock(false);
    EXPECT_EQ(clock.getTimeMicroseconds(), 0);
    clock.restart();
    std::this_thread::sleep_for(std::chrono::milliseconds(3));
    clock.stop();
    const qs::i64 time = clock.getTimeMicroseconds();
    EXPECT_GE(time, 3000);
    clock.stop();
    EXPECT_EQ(clock.getTimeMicroseconds(), time);
}

} // namespace
