// The event visitor in both directions, damaged records, and listeners.
#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <qs/Event.h>
#include <qs/Log.h>

using namespace qs;

namespace {

/// One field of every type that a visitor takes; the last two are the empty and the null string.
using Fields = std::tuple<bool, ObjectHandle, ScratchBuffer, int, int64_t, unsigned int, uint64_t, unsigned short,
                          unsigned char, float, FixedString, FixedString, FixedString>;

void VisitAll(EventVisitor& visitor, Fields& fields)
{
    std::apply([&](auto&... field) { (visitor.Visit(field), ...); }, fields);
}

Fields MakeFields(size_t blobSize)
{
    ScratchBuffer blob(32, 0);
    const std::string bytes(blobSize, 'b');
    blob.Write(bytes.data(), bytes.size());
    return {true,
            ObjectHandle(3, 70'000, 0xfffffffe),
            std::move(blob),
            INT32_MIN,
            INT64_MIN,
            0xfffffff0,
            UINT64_MAX,
            uint16_t(0xfff1),
            uint8_t(0xf2),
            -0.5f,
            FixedString::Create("some name"),
            FixedString::Empty,
            FixedString()};
}

bool Same(const Fields& a, const Fields& b)
{
    const auto same = [](const auto& x, const auto& y) {
        if constexpr (std::is_same_v<decltype(x), const ScratchBuffer&>) {
            return x.GetSize() == y.GetSize() && std::memcmp(x.GetReadData(), y.GetReadData(), x.GetSize()) == 0;
        } else {
            return x == y;
        }
    };
    return [&]<size_t... I>(std::index_sequence<I...>)
    {
        return (same(std::get<I>(a), std::get<I>(b)) && ...);
    }
    (std::make_index_sequence<std::tuple_size_v<Fields>>());
}

std::vector<unsigned char> Record(Fields& fields, bool moveOut)
{
    EventVisitor visitor(0);
    visitor.BeginRecording(moveOut);
    EXPECT_EQ(visitor.IsMovingOut(), moveOut);
    VisitAll(visitor, fields);
    EXPECT_FALSE(visitor.HasFailed());
    return {visitor.GetRecord().begin(), visitor.GetRecord().end()};
}

// True when the record gave every field and nothing was left.
bool Restore(const std::vector<unsigned char>& record, Fields& fields)
{
    EventVisitor visitor(0);
    visitor.BeginReading(ConstByteView(record.data(), record.size()));
    VisitAll(visitor, fields);
    return visitor.IsComplete();
}

class TestEventManager : public EventManager, public Singleton<TestEventManager>
{
public:
    TestEventManager() : EventManager(new EventVisitor(0)) {}
    using EventManager::GetVisitor;
};

class TestListener : public EventListener<TestEventManager>
{
public:
    explicit TestListener(int tag) : m_tag(tag) {}
    int m_tag;
};

class SizedEvent : public Event
{
public:
    int m_width = 4;

    void OnVisit(EventVisitor* visitor) override { visitor->Visit(m_width); }
};

} // namespace

TEST(EventVisitor, EveryTypeGoesThroughInBothDirections)
{
    for (const size_t blobSize : {0, 10, 5000}) { // the record stands inside the visitor, and outside it
        Fields source = MakeFields(blobSize);
        Fields target = MakeFields(3);
        EXPECT_TRUE(Restore(Record(source, false), target));
        EXPECT_TRUE(Same(source, target));
        EXPECT_TRUE(std::get<12>(target).IsNull());
        EXPECT_TRUE(Restore(Record(source, true), target));
        EXPECT_EQ(std::get<2>(source).GetSize(), 0u) << "moved out";
        EXPECT_EQ(std::get<2>(target).GetSize(), blobSize);
    }
}

TEST(EventVisitor, DamagedRecordsGiveZerosAndAreNotReadBeyond)
{
    Fields source = MakeFields(10);
    const auto whole = Record(source, false);
    for (size_t size = 0; size < whole.size(); ++size) {
        Fields target = MakeFields(3);
        EXPECT_FALSE(Restore({whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size)}, target)) << size;
        EXPECT_EQ(std::get<9>(target), size < 58 ? 0.0f : -0.5f) << "the float ends at byte 58";
        EXPECT_TRUE(std::get<12>(target).IsNull());
    }
    auto longer = whole;
    longer.push_back(0);
    EXPECT_FALSE(Restore(longer, source));
    // Lengths that lie, and a bool that is none.
    for (const size_t place : {size_t(0), size_t(9), size_t(16), whole.size() - 16 - 9 - 8}) {
        auto lying = whole;
        lying[place] = lying[place + 1] = 0xff;
        EXPECT_FALSE(Restore(lying, source)) << place;
    }
    LogCapture log;
    EventVisitor idle(1000);
    int number = 5;
    idle.Visit(number);
    EXPECT_EQ(number, 5);
    EXPECT_EQ(log.Count(LogLevelAssertion), 1u);
}

TEST(Events, ListenersComeAndGoInOrder)
{
    TestListener unmanaged(0); // no manager: stays unregistered, also when one comes later
    ASSERT_TRUE(TestEventManager::_SDMInit());
    TestEventManager& manager = *TestEventManager::GetInstance();
    {
        TestListener first(1), third(3);
        {
            TestListener second(2);
            ASSERT_EQ(manager.GetAmountOfListeners(), 3u);
            LogCapture log;
            manager.RegisterListener(&first);
            manager.RegisterListener(nullptr);
            manager.UnregisterListener(&unmanaged);
            EXPECT_EQ(log.Count(LogLevelAssertion), 3u);
            EXPECT_EQ(manager.GetListener(3), nullptr);
        }
        ASSERT_EQ(manager.GetAmountOfListeners(), 2u);
        const int expected[] = {1, 3};
        for (uint64_t i = 0; i < 2; ++i) {
            EXPECT_EQ(static_cast<TestListener*>(manager.GetListener(i))->m_tag, expected[i]);
        }
        EXPECT_NE(static_cast<void*>(manager.GetListener(0)), static_cast<void*>(&first))
            << "the base stands behind the listener's virtual table";
    }
    SizedEvent event;
    manager.GetVisitor()->BeginRecording(false);
    event.OnVisit(manager.GetVisitor());
    EXPECT_EQ(manager.GetVisitor()->GetRecord().GetSize(), 4u);
    EXPECT_EQ(manager.GetAmountOfListeners(), 0u);
    TestEventManager::_SDMShutdown();
}
