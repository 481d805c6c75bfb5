// Salted containers: slots, salts, growth, limits, and several threads at once.
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include <qs/ObjectContainer.h>

namespace {

struct Thing
{
    qs::ObjectHandle handle;
    int value = 0;
};
using Container = qs::ObjectContainer<Thing>;

class ObjectContainerTest : public testing::Test
{
protected:
    ObjectContainerTest()
    {
        m_type = qs::ObjectTypeManager::GetInstance()->RegisterTypeIndex("Thing");
        Container::SetTypeIndex(m_type);
    }
    ~ObjectContainerTest() override { qs::ObjectTypeManager::GetInstance()->UnregisterTypeIndex(m_type); }

    static qs::ObjectHandle Add(Container& container, int value)
    {
        qs::ObjectHandle handle;
        EXPECT_NE(container.Add(Thing{{}, value}, handle), nullptr);
        return handle;
    }

    qs::u32 m_type;
    qs::LogCapture m_log;
};

TEST(ObjectHandle, FieldsRoundTrip)
{
    for (qs::u32 type : {0u, 1u, 255u}) {
        for (qs::u32 index : {0u, 1u, 131071u, qs::ObjectHandle::MaxIndex}) {
            for (qs::u32 salt : {1u, 0x80000000u, 0xffffffffu}) {
                const qs::ObjectHandle handle(type, index, salt);
                const qs::ObjectHandle copy(handle.GetValue());
                EXPECT_EQ(copy, handle);
                EXPECT_TRUE(copy.GetType() == type && copy.GetIndex() == index && copy.GetSalt() == salt);
                EXPECT_TRUE(copy.IsValid());
            }
        }
    }
    EXPECT_FALSE(qs::ObjectHandle().IsValid());
    EXPECT_EQ(qs::ObjectHandle(), qs::ObjectHandle::Unassigned);
    EXPECT_LT(qs::ObjectHandle::KeyToHashIndex(qs::ObjectHandle(3, 4, 5), 37), 37u);
    EXPECT_EQ(qs::ObjectHandle::KeyToHashIndex(qs::ObjectHandle(3, 4, 5), 0), 0u);
}

TEST_F(ObjectContainerTest, ReusesSlotsInTheOrderTheyWereFreed)
{
    Container container(8, 1);
    std::vector<qs::ObjectHandle> handles;
    for (qs::u32 i = 0; i < 8; ++i) {
        handles.push_back(container.Create());
        EXPECT_EQ(handles[i].GetIndex(), i);
        EXPECT_EQ(handles[i].GetSalt(), 1u);
        EXPECT_EQ(handles[i].GetType(), m_type);
        EXPECT_TRUE(container.IsAlive(handles[i]));
        if (i == 0) {
            EXPECT_TRUE(container.Destroy(handles[0]));
            EXPECT_FALSE(container.Destroy(handles[0]));
            handles[0] = qs::ObjectHandle::Unassigned;
        }
        if (i == 6) {
            EXPECT_EQ(m_log.Count(), 0u);
        }
    }
    const qs::ObjectHandle again = container.Create();
    EXPECT_EQ(again.GetIndex(), 0u);
    EXPECT_EQ(again.GetSalt(), 2u);
    EXPECT_EQ(container.Create(), qs::ObjectHandle::Unassigned);
    EXPECT_EQ(m_log.GetLast(), "qs::ObjectContainer is trying to grow, but no more free pages!!!");
    qs::ObjectHandle none;
    EXPECT_EQ(container.Add(Thing(), none), nullptr);
    EXPECT_FALSE(none.IsValid());
    EXPECT_TRUE(container.Destroy(handles[5]));
    EXPECT_EQ(container.Create().GetIndex(), 5u);
}

TEST_F(ObjectContainerTest, TellsStaleAndForeignHandlesApart)
{
    Container container(26, 3);
    std::vector<qs::ObjectHandle> handles;
    for (int i = 0; i < 28; ++i) {
        handles.push_back(Add(container, i));
    }
    EXPECT_EQ(container.GetPageCount(), 2u);
    EXPECT_EQ(container.Get(handles[27])->value, 27);
    EXPECT_EQ(container.Get(handles[27])->handle, handles[27]);
    EXPECT_EQ(container.Get(qs::ObjectHandle::Unassigned), nullptr);
    EXPECT_FALSE(container.IsAlive(qs::ObjectHandle::Unassigned));
    EXPECT_FALSE(container.Destroy(qs::ObjectHandle::Unassigned));
    EXPECT_EQ(m_log.Count(), 0u);

    EXPECT_TRUE(container.Destroy(handles[27]));
    EXPECT_FALSE(container.IsAlive(handles[27]));
    EXPECT_EQ(m_log.Count(), 0u);
    EXPECT_EQ(container.Get(handles[27]), nullptr);
    EXPECT_EQ(m_log.GetLast(), "Salt miss on ObjectContainer (Thing) @ index 27 : \n\n* handle has salt 1 \n* "
                               "factory(real) salt is 2");

    const qs::ObjectHandle outside(m_type, 53, 1);
    const std::string message = "Get out of bound on ObjectContainer (Thing) @ index 53 : \n\n* handle has index 1 "
                                "page 2\n* factory has max index 26 page 2";
    EXPECT_EQ(container.Get(outside), nullptr);
    EXPECT_FALSE(container.IsAlive(outside));
    EXPECT_FALSE(container.Destroy(outside));
    EXPECT_EQ(m_log.CountContaining(message.c_str(), qs::LogLevelAssertion), 3u);
    EXPECT_EQ(m_log.Count(), 4u);
}

TEST_F(ObjectContainerTest, DestroyAllEndsEveryLifeAndNestsItsLock)
{
    Container container(16, 8);
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                Add(container, i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_EQ(container.GetLiveCount(), 100u);
    container.EnterWrite();
    EXPECT_NE(container.GetLiveAt(99), nullptr);
    EXPECT_EQ(container.GetLiveAt(100), nullptr);
    const qs::ObjectHandle last = container.GetLiveAt(99)->handle;
    container.DestroyAll();
    container.LeaveWrite();
    EXPECT_EQ(container.GetLiveCount(), 0u);
    EXPECT_FALSE(container.IsAlive(last));
    // Every slot that lived once is at salt 2, the rest of the seven pages at 1.
    std::multiset<qs::u32> salts;
    for (int i = 0; i < 112; ++i) {
        salts.insert(container.Create().GetSalt());
    }
    EXPECT_EQ(salts.count(2), 100u);
    EXPECT_EQ(salts.count(1), 12u);
    EXPECT_EQ(m_log.Count(), 0u);
}

TEST_F(ObjectContainerTest, EqualRequestsEndWithOneElement)
{
    Container container(4, 64);
    const auto match = [](const Thing& thing, int value) { return thing.value == value; };
    const auto initialise = [](Thing& thing, int value) { thing.value = value; };
    std::vector<std::vector<qs::ObjectHandle>> found(4, std::vector<qs::ObjectHandle>(50));
    std::vector<std::thread> threads;
    for (auto& mine : found) {
        threads.emplace_back([&] {
            for (int i = 0; i < 50; ++i) {
                qs::ObjectHandle handle;
                mine[i] = container.FindOrAdd(i, match, initialise, handle);
                EXPECT_EQ(handle, mine[i]);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(container.GetLiveCount(), 50u);
    EXPECT_TRUE(found[0] == found[1] && found[0] == found[2] && found[0] == found[3]);
    int sum = 0;
    container.ForEachLive([&](const Thing& thing) { sum += thing.value; });
    EXPECT_EQ(sum, 49 * 25);
}

TEST_F(ObjectContainerTest, GrowsWhileOthersReadAndDestroy)
{
    Container container(7, 400);
    std::atomic<bool> done{false};
    std::atomic<qs::u64> published{qs::ObjectHandle::Unassigned.GetValue()};
    std::thread reader([&] {
        while (!done) {
            container.IsAlive(qs::ObjectHandle(published.load()));
        }
    });
    std::vector<std::thread> writers;
    for (int t = 0; t < 3; ++t) {
        writers.emplace_back([&, t] {
            std::vector<qs::ObjectHandle> mine;
            for (int i = 0; i < 600; ++i) {
                mine.push_back(Add(container, t * 1000 + i));
                published = mine.back().GetValue();
                if (i % 3 == 0) {
                    EXPECT_TRUE(container.Destroy(mine[mine.size() / 2]));
                    mine.erase(mine.begin() + static_cast<long>(mine.size() / 2));
                }
            }
            int step = 0;
            for (const qs::ObjectHandle& handle : mine) {
                const Thing* thing = container.Get(handle);
                ASSERT_NE(thing, nullptr);
                EXPECT_EQ(thing->handle, handle);
                EXPECT_EQ(thing->value / 1000, t) << step++;
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    done = true;
    reader.join();
    EXPECT_EQ(container.GetLiveCount(), 3u * 400u);
    EXPECT_EQ(m_log.Count(), 0u);
}

} // namespace
