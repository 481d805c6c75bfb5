// Numbered threads and posted calls.
#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <qs/Dispatcher.h>
#include <qs/Log.h>

using namespace qs;

namespace {

ThreadManager& Manager()
{
    return *ThreadManager::GetInstance();
}

/// Where a posted call appends its place in the order.
struct Journal
{
    std::atomic<int> calls{0};
    int last = -1;
    bool inOrder = true;
    bool onThread = true;
    uint32_t number = 0;
};

struct Note
{
    Journal* journal;
    int number;
};

size_t RunNote(const char* arguments)
{
    const Note* note;
    std::memcpy(&note, arguments, sizeof note);
    Journal& journal = *note->journal;
    journal.inOrder &= note->number == journal.last + 1;
    journal.last = note->number;
    journal.onThread &= Manager().IsThread(journal.number) && !Manager().GetDispatcher(journal.number)->MustPost();
    journal.calls.fetch_add(1, std::memory_order_release);
    delete note;
    return 8;
}

} // namespace

TEST(NumberedThread, RunsPostedCallsInOrderAndFinishesThemAtStop)
{
    Dispatcher& dispatcher = *Manager().GetDispatcher(5);
    EXPECT_FALSE(dispatcher.MustPost());
    LogCapture log;
    Journal journal;
    journal.number = 5;
    int number = 0;
    const auto post = [&] { ASSERT_TRUE(dispatcher.Post(RunNote, new Note{&journal, number++})); };
    post(); // before the thread exists
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(Manager().StartThread(5, "five"));
        EXPECT_FALSE(Manager().StartThread(5, "again"));
        EXPECT_TRUE(dispatcher.MustPost());
        EXPECT_FALSE(Manager().IsThread(5));
        for (int i = 0; i < 1000; ++i) {
            post();
        }
        {
            // By hand, as libraries do that only know the record's form.
            CSLock lock(dispatcher.GetLock());
            char* record = dispatcher.GetBuffer().AddCommand(16, 8);
            const PostedFunction function = RunNote;
            const Note* note = new Note{&journal, number++};
            std::memcpy(record, &function, 8);
            std::memcpy(record + 8, &note, 8);
        }
        while (journal.calls.load(std::memory_order_acquire) < number) {
            std::this_thread::yield();
        }
        for (int i = 0; i < 100; ++i) {
            post();
        }
        ASSERT_TRUE(Manager().StopThread(5));
        EXPECT_EQ(journal.calls.load(), number) << "a stop runs what was posted";
        EXPECT_FALSE(dispatcher.MustPost());
        EXPECT_FALSE(Manager().StopThread(5));
    }
    EXPECT_EQ(log.Count(LogLevelError), 3u) << "a number is given once";
    EXPECT_TRUE(journal.inOrder && journal.onThread);
}

TEST(NumberedThread, AnApplicationThreadTakesANumberAndDrains)
{
    Dispatcher& dispatcher = *Manager().GetDispatcher(2);
    Journal journal;
    journal.number = 2;
    std::thread thread([&] {
        LogCapture log;
        EXPECT_EQ(dispatcher.Drain(), 0u) << "not this thread's";
        ASSERT_TRUE(Manager().RegisterCurrentThread(2, "two"));
        EXPECT_FALSE(Manager().RegisterCurrentThread(3, "three"));
        EXPECT_FALSE(Manager().RegisterCurrentThread(ThreadManager::MAX_THREADS, ""));
        EXPECT_EQ(log.Count(), 3u);
        dispatcher.Post(RunNote, new Note{&journal, 0});
        dispatcher.Post(
            [](const char* arguments) {
                Dispatcher* own;
                std::memcpy(&own, arguments, sizeof own);
                own->Post([](const char*) { return size_t(8); }, nullptr);
                EXPECT_EQ(own->Drain(), 0u) << "no drain inside a drain";
                return sizeof own;
            },
            &dispatcher);
        EXPECT_TRUE(dispatcher.Wait(std::chrono::hours(1)));
        EXPECT_EQ(dispatcher.Drain(), 2u);
        EXPECT_EQ(dispatcher.Drain(), 1u) << "posted from inside";
        EXPECT_FALSE(dispatcher.Wait(std::chrono::milliseconds(0)));
        dispatcher.Post(RunNote, new Note{&journal, 1});
        // The number goes back, and the rest runs, when the thread ends.
    });
    thread.join();
    EXPECT_EQ(journal.calls.load(), 2);
    EXPECT_TRUE(journal.inOrder && journal.onThread);
    EXPECT_FALSE(dispatcher.IsRunning());
    ASSERT_TRUE(Manager().StartThread(2, "two again"));
    EXPECT_TRUE(Manager().StopThread(2));
    LogCapture log;
    EXPECT_NE(Manager().GetDispatcher(1000), nullptr);
    EXPECT_EQ(log.Count(LogLevelAssertion), 1u);
    EXPECT_FALSE(Manager().IsThread(1000));
}
