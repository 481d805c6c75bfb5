// Worker batches: order, holding back, helping, restarting and misuse.
#include <array>
#include <atomic>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <qs/Log.h>
#include <qs/Settings.h>
#include <qs/WorkerThread.h>

using namespace qs;

namespace {

WorkerThreadScheduler& Scheduler()
{
    return *gCore.workerThreadScheduler;
}

/// Registered batches that go when the test ends.
class Batches
{
public:
    ~Batches()
    {
        for (WorkerThreadBatch* batch : m_batches) {
            Scheduler().UnregisterBatch(batch);
        }
    }
    WorkerThreadBatch* Add(int flags = WORKER_BATCH_HELPABLE, std::vector<WorkerThreadBatch*> behind = {},
                           int maxThreads = -1, EWorkerThreadBatchPriority priority = WORKER_BATCH_PRIORITY_HIGH)
    {
        behind.resize(3);
        m_batches.push_back(Scheduler().RegisterNewBatch(
            WorkerThreadBatchDesc("test batch", priority, flags, maxThreads, behind[0], behind[1], behind[2])));
        return m_batches.back();
    }
    WorkerThreadBatch* operator[](size_t i) const { return m_batches[i]; }
    size_t size() const { return m_batches.size(); }

private:
    std::vector<WorkerThreadBatch*> m_batches;
};

void StartAndFinish(WorkerThreadBatch* batch)
{
    Scheduler().StartBatch(batch);
    Scheduler().FinishBatch(batch);
}

} // namespace

TEST(WorkerBatch, WorkIsHeldBackUntilThePredecessorsAreDone)
{
    Batches batches;
    WorkerThreadBatch* first = batches.Add();
    WorkerThreadBatch* second = batches.Add(WORKER_BATCH_HELPABLE, {first});
    std::atomic<bool> firstRan{false}, secondRan{false};
    Scheduler().StartBatch(first);
    Scheduler().StartBatch(second);
    ASSERT_TRUE(Scheduler().AddWork(second, [&] {
        EXPECT_TRUE(firstRan);
        secondRan = true;
    }));
    Scheduler().FinishBatch(second);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(secondRan);
    EXPECT_FALSE(Scheduler().IsIdle(second));
    // Work runs while its batch is open.
    ASSERT_TRUE(Scheduler().AddWork(first, [&] { firstRan = true; }));
    while (!firstRan) {
        std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    EXPECT_FALSE(secondRan) << "the predecessor is not finished";
    std::thread finisher([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        Scheduler().FinishBatch(first);
    });
    Scheduler().WaitForBatch(second, false);
    EXPECT_TRUE(secondRan);
    finisher.join();
    Scheduler().WaitForBatch(second, true);
    EXPECT_TRUE(Scheduler().IsIdle(first));
    StartAndFinish(second); // a predecessor that is not started does not count
    EXPECT_TRUE(Scheduler().IsIdle(second));
}

// Random graphs, started over and over, with work added from everywhere: each piece sees all that had to come before.
TEST(WorkerBatch, RandomGraphsRunInOrderEveryFrame)
{
    constexpr int FRAMES = 60;
    for (unsigned seed = 0; seed < 6; ++seed) {
        std::mt19937 random(seed);
        Batches batches;
        std::vector<std::vector<size_t>> before(24);
        std::array<std::atomic<int>, 24> expected{}, ran{};
        for (size_t i = 0; i < before.size(); ++i) {
            std::vector<WorkerThreadBatch*> behind;
            for (size_t edge = 0; i > 0 && edge < random() % 4; ++edge) {
                before[i].push_back(random() % i);
                behind.push_back(batches[before[i].back()]);
            }
            const int flags = (random() % 4 ? WORKER_BATCH_HELPABLE : 0) | (random() % 2 ? WORKER_BATCH_CRITICAL : 0) |
                              (random() % 3 ? 0 : WORKER_BATCH_SERIAL);
            batches.Add(flags, behind, random() % 2 ? -1 : 2,
                        random() % 2 ? WORKER_BATCH_PRIORITY_HIGH : WORKER_BATCH_PRIORITY_NORMAL);
        }
        std::atomic<int> wrong{0};
        for (int frame = 0; frame < FRAMES; ++frame) {
            for (size_t i = 0; i < batches.size(); ++i) {
                expected[i] = ran[i] = 0;
            }
            Scheduler().StartBatch(batches[0]);
            for (size_t i = 0; i < batches.size(); ++i) {
                if (i > 0) {
                    Scheduler().StartBatch(batches[i]);
                }
                for (unsigned piece = random() % 4; piece > 0; --piece) {
                    ++expected[i];
                    const bool spawns = random() % 2;
                    expected[i] += spawns ? 1 : 0;
                    Scheduler().AddWork(batches[i], [&, i, spawns] {
                        for (const size_t earlier : before[i]) {
                            wrong += ran[earlier] != expected[earlier];
                        }
                        if (spawns) {
                            wrong += !Scheduler().AddWork(batches[i], [&, i] { ++ran[i]; });
                        }
                        ++ran[i];
                    });
                }
                if (i > 0) {
                    Scheduler().FinishBatch(batches[i]);
                }
            }
            Scheduler().FinishBatch(batches[0]);
            for (size_t i = 0; i < batches.size(); ++i) {
                Scheduler().WaitForBatch(batches[i], frame % 2 == 0);
                ASSERT_EQ(ran[i], expected[i]) << "seed " << seed << " frame " << frame << " batch " << i;
            }
        }
        EXPECT_EQ(wrong, 0);
    }
}

TEST(WorkerBatch, SerialKeepsTheOrderAndLimitsHold)
{
    for (const int limit : {1, 2}) {
        Batches batches;
        WorkerThreadBatch* batch =
            batches.Add(limit == 1 ? WORKER_BATCH_SERIAL | WORKER_BATCH_HELPABLE : WORKER_BATCH_HELPABLE, {}, limit);
        std::vector<int> order;
        std::atomic<int> inside{0}, most{0};
        Scheduler().StartBatch(batch);
        for (int i = 0; i < 200; ++i) {
            Scheduler().AddWork(batch, [&, i] {
                const int now = ++inside;
                int seen = most;
                while (seen < now && !most.compare_exchange_weak(seen, now)) {
                }
                if (limit == 1) {
                    order.push_back(i); // no lock: the sanitizer sees when two threads are here
                }
                std::this_thread::yield();
                --inside;
            });
        }
        Scheduler().FinishBatch(batch);
        Scheduler().WaitForBatch(batch, true);
        EXPECT_LE(most, limit);
        for (size_t i = 0; i < order.size(); ++i) {
            ASSERT_EQ(order[i], static_cast<int>(i));
        }
        EXPECT_EQ(order.size(), limit == 1 ? 200u : 0u);
    }
}

TEST(WorkerBatch, ALongChainAndLargeWorkAreNoTrouble)
{
    Batches batches;
    batches.Add();
    for (int i = 0; i < 20'000; ++i) {
        batches.Add(WORKER_BATCH_HELPABLE, {batches[static_cast<size_t>(i)]});
    }
    Scheduler().StartBatch(batches[0]);
    for (size_t i = 1; i < batches.size(); ++i) {
        StartAndFinish(batches[i]);
    }
    auto counted = std::make_shared<int>(0);
    std::array<char, 500> large{};
    large[499] = 7;
    Scheduler().AddWork(batches[0], [counted, large] { *counted = large[499]; });
    Scheduler().FinishBatch(batches[0]);
    Scheduler().WaitForBatch(batches[20'000], true);
    EXPECT_EQ(*counted, 7);
    EXPECT_EQ(counted.use_count(), 1) << "work is destroyed behind its run";
}

TEST(WorkerBatch, MisuseAssertsAndHangsNobody)
{
    WorkerThreadBatch* batch = nullptr;
    LogCapture log;
    {
        Batches batches;
        batch = batches.Add();
        auto counted = std::make_shared<int>(0);
        EXPECT_FALSE(Scheduler().AddWork(batch, [counted] {}));
        EXPECT_EQ(counted.use_count(), 1);
        Scheduler().FinishBatch(batch);
        Scheduler().StartBatch(batch);
        Scheduler().StartBatch(batch);
        EXPECT_EQ(log.Count(LogLevelAssertion), 3u);
        Scheduler().AddWork(batch, [&] {
            Scheduler().WaitForBatch(batch, true);
            Scheduler().UnregisterBatch(batch);
        });
        Scheduler().AddWork(batch, [] { throw std::runtime_error("thrown by work"); });
        Scheduler().FinishBatch(batch);
        Scheduler().WaitForBatch(batch, true);
        EXPECT_TRUE(log.Contains("waits for its own batch"));
        EXPECT_TRUE(log.Contains("unregistered by its own work"));
        EXPECT_TRUE(log.Contains("thrown by work"));
        log.Clear();
        Scheduler().StartBatch(batch); // unregistered while open
        Scheduler().UnregisterBatch(nullptr);
    }
    EXPECT_TRUE(log.Contains("unregistered while it is in use"));
    // A batch behind one that is gone goes on without it.
    WorkerThreadBatch* gone =
        Scheduler().RegisterNewBatch(WorkerThreadBatchDesc("gone", WORKER_BATCH_PRIORITY_HIGH, 2, -1));
    Batches batches;
    WorkerThreadBatch* left = batches.Add(WORKER_BATCH_HELPABLE, {gone});
    Scheduler().UnregisterBatch(gone);
    WorkerThreadBatch* other = batches.Add();
    Scheduler().StartBatch(other); // very likely in the place of the one that is gone
    StartAndFinish(left);
    Scheduler().WaitForBatch(left, false);
    Scheduler().FinishBatch(other);
}

TEST(WorkerBatch, ASchedulerTakesItsUnrunWorkAlong)
{
    auto counted = std::make_shared<int>(0);
    {
        WorkerThreadScheduler own;
        WorkerThreadBatch* first =
            own.RegisterNewBatch(WorkerThreadBatchDesc("first", WORKER_BATCH_PRIORITY_NORMAL, 0, -1));
        WorkerThreadBatch* held =
            own.RegisterNewBatch(WorkerThreadBatchDesc("held", WORKER_BATCH_PRIORITY_NORMAL, 0, -1, first));
        own.StartBatch(first);
        own.StartBatch(held);
        own.AddWork(held, [counted] { *counted = 1; });
    }
    EXPECT_EQ(*counted, 0);
    EXPECT_EQ(counted.use_count(), 1);
}
