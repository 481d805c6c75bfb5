// Locks, threads, type names, singletons and the start of libraries.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include <qs/Lock.h>
#include <qs/Log.h>
#include <qs/ObjectTypeManager.h>
#include <qs/Singleton.h>
#include <qs/StaticDataManager.h>
#include <qs/Thread.h>

namespace {

TEST(Lock, CriticalSectionIsRecursiveAndExclusive)
{
    qs::CriticalSection section;
    qs::CSLock outer(section);
    {
        qs::CSLock inner(section);
        bool taken = true;
        std::thread([&] { taken = section.TryLock(); }).join();
        EXPECT_FALSE(taken);
    }
    EXPECT_TRUE(section.TryLock());
    section.Unlock();
}

TEST(Lock, SpinLockLetsOneWriterOrManyReadersIn)
{
    qs::SRWSpinLock lock;
    lock.ReadLock();
    lock.ReadLock();
    lock.ReadUnlock();
    lock.ReadUnlock();
    int first = 0;
    int second = 0;
    int torn = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 2000; ++i) {
                if (t < 2) {
                    lock.WriteLock();
                    ++first;
                    ++second;
                    lock.WriteUnlock();
                } else {
                    lock.ReadLock();
                    const bool equal = first == second;
                    lock.ReadUnlock();
                    if (!equal) {
                        lock.WriteLock();
                        ++torn;
                        lock.WriteUnlock();
                    }
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(first, 4000);
    EXPECT_EQ(torn, 0);
}

TEST(Thread, HasItsOwnIdAndName)
{
    const qs::ThreadID mine = qs::Thread::GetCurrentThreadID();
    EXPECT_EQ(mine, qs::Thread::GetCurrentThreadID());
    qs::ThreadID other = mine;
    std::string name;
    qs::Thread thread("a name longer than the system takes", [&] {
        other = qs::Thread::GetCurrentThreadID();
        name = qs::Thread::GetCurrentThreadName();
    });
    qs::Thread owner;
    owner = std::move(thread);
    EXPECT_FALSE(thread.IsJoinable());
    owner.Join();
    owner.Join();
    EXPECT_NE(other, mine);
    EXPECT_NE(other, qs::InvalidThreadID);
    EXPECT_EQ(name, "a name longer than the system t");
}

TEST(ObjectTypeManager, GivesOneIndexPerName)
{
    qs::LogCapture capture;
    qs::ObjectTypeManager* manager = qs::Singleton<qs::ObjectTypeManager>::GetInstance();
    const qs::u32 first = manager->RegisterTypeIndex("first type");
    const qs::u32 second = manager->RegisterTypeIndex("second type");
    EXPECT_NE(first, second);
    EXPECT_EQ(manager->RegisterTypeIndex("first type"), first);
    manager->UnregisterTypeIndex(first);
    EXPECT_STREQ(manager->GetObjectTypeNames()->GetAt(first).ToChar(), "first type");
    manager->UnregisterTypeIndex(first);
    EXPECT_STREQ(manager->GetObjectTypeNames()->GetAt(first).ToChar(), "");
    EXPECT_EQ(capture.Count(), 0u);
    manager->UnregisterTypeIndex(first);
    manager->UnregisterTypeIndex(1000);
    EXPECT_EQ(capture.Count(qs::LogLevelAssertion), 2u);
    manager->GetObjectTypeNames()->GetAt(256);
    EXPECT_EQ(capture.GetLast(), "Index [256] out of range [0 - 256]");
    manager->UnregisterTypeIndex(second);

    std::vector<qs::u32> taken;
    for (qs::u32 index = 1; index != 0;) {
        index = manager->RegisterTypeIndex(("type " + std::to_string(taken.size())).c_str());
        if (index != 0) {
            taken.push_back(index);
        }
    }
    EXPECT_EQ(std::set<qs::u32>(taken.begin(), taken.end()).size(), taken.size());
    EXPECT_EQ(capture.Count(qs::LogLevelError), 1u);
    for (qs::u32 index : taken) {
        manager->UnregisterTypeIndex(index);
    }
}

class Service : public qs::Singleton<Service>
{
public:
    Service() { ++s_made; }
    virtual ~Service() { ++s_ended; }
    static int s_made;
    static int s_ended;
};
int Service::s_made = 0;
int Service::s_ended = 0;

TEST(Singleton, IsMadeAndEndedOnce)
{
    EXPECT_EQ(Service::GetInstance(), nullptr);
    EXPECT_TRUE(Service::_SDMInit());
    Service* service = Service::GetInstance();
    EXPECT_TRUE(Service::_SDMInit());
    EXPECT_EQ(Service::GetInstance(), service);
    EXPECT_TRUE(Service::_SDMShutdown());
    EXPECT_TRUE(Service::_SDMShutdown());
    EXPECT_EQ(Service::GetInstance(), nullptr);
    EXPECT_TRUE(Service::s_made == 1 && Service::s_ended == 1);
}

std::string s_order;

TEST(StaticDataManager, StartsInOrderAndStopsWhatItStarted)
{
    using Manager = qs::StaticDataManager;
    const auto initA = [] { s_order += 'a'; };
    const auto stopA = [] { s_order += 'A'; };
    const auto initB = [] { s_order += 'b'; };
    const auto stopB = [] { s_order += 'B'; };
    static constexpr auto initLate = [] { s_order += 'l'; };
    const auto initC = [] {
        s_order += 'c';
        Manager::AddLibrary(initLate, nullptr, 0);
    };
    Manager::AddLibrary(initA, stopA, 2);
    Manager::AddLibrary(initB, stopB, 1);
    Manager::AddLibrary(initB, stopB, 1);
    Manager::AddLibrary(initC, nullptr, 1);
    EXPECT_EQ(s_order, "");
    Manager::ProcessAccumulatedLibraries();
    EXPECT_EQ(s_order, "bcla");
    Manager::ProcessAccumulatedLibraries();
    Manager::RemoveLibrary(initA, stopA);
    Manager::RemoveLibrary(initA, stopA);
    EXPECT_EQ(s_order, "bclaA");
    Manager::AddLibrary(initA, stopA, 1);
    Manager::RemoveLibrary(initA, stopA);
    EXPECT_EQ(s_order, "bclaA");
    Manager::RemoveLibrary(initB, stopB);
    Manager::RemoveLibrary(initC, nullptr);
    Manager::RemoveLibrary(initLate, nullptr);
    EXPECT_EQ(s_order, "bclaAB");
}

} // namespace
