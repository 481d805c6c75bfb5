// The event visitor in both directions, damaged records, and listeners.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include <qs/Event.h>
#include <qs/Log.h>

using namespace qs;

namespace {

struct Fields
{
    bool flag = false;
    ObjectHandle handle;
    ScratchBuffer blob{32, 0};
    int number = 0;
    int64_t large = 0;
    unsigned int word = 0;
    uint64_t wide = 0;
    unsigned short half = 0;
    unsigned char byte = 0;
    float real = 0.0f;
    FixedString name;
    FixedString empty = FixedString::Empty;
    FixedString null;

    void Visit(EventVisitor& visitor)
    {
        visitor.Visit(flag);
        visitor.Visit(handle);
        visitor.Visit(blob);
        visitor.Visit(number);
        visitor.Visit(large);
        visitor.Visit(word);
        visitor.Visit(wide);
        visitor.Visit(half);
        visitor.Visit(byte);
        visitor.Visit(real);
        visitor.Visit(name);
        visitor.Visit(empty);
        visitor.Visit(null);
    }
};

Fields MakeFields(size_t blobSize)
{
    Fields fields;
    fields.flag = true;
    fields.handle = ObjectHandle(3, 70'000, 0xfffffffe);
    const std::string bytes(blobSize, 'b');
    fields.blob.Write(bytes.data(), bytes.size());
    fields.number = INT32_MIN;
    fields.large = INT64_MIN;
    fields.word = 0xfffffff0;
    fields.wide = UINT64_MAX;
    fields.half = 0xfff1;
    fields.byte = 0xf2;
    fields.real = -0.5f;
    fields.name = FixedString::Create("some name", -1);
    return fields;
}

std::vector<unsigned char> Record(Fields& fields, bool moveOut)
{
    EventVisitor visitor(0);
    visitor.BeginRecording(moveOut);
    EXPECT_EQ(visitor.IsMovingOut(), moveOut);
    fields.Visit(visitor);
    EXPECT_FALSE(visitor.HasFailed());
    return {visitor.GetRecord().begin(), visitor.GetRecord().end()};
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
    uint16_t GetID() const { return GetEventID(); }
};

} // namespace

TEST(EventVisitor, EveryTypeGoesThroughInBothDirections)
{
    for (const size_t blobSize : {0, 10, 5000}) { // the record stands inside the visitor, and outside it
        Fields source = MakeFields(blobSize);
        const auto record = Record(source, false);
        EXPECT_EQ(source.blob.GetSize(), blobSize);
        Fields target;
        target.blob.Write("old", 3);
        EventVisitor visitor(0);
        visitor.BeginReading(ConstByteView(record.data(), record.size()));
        target.Visit(visitor);
        EXPECT_TRUE(visitor.IsComplete());
        EXPECT_EQ(target.handle, source.handle);
        EXPECT_EQ(target.blob.GetSize(), blobSize);
        EXPECT_EQ(std::memcmp(target.blob.GetReadData(), source.blob.GetReadData(), blobSize), 0);
        EXPECT_EQ(std::tuple(target.flag, target.number, target.large, target.word, target.wide, target.half),
                  std::tuple(source.flag, source.number, source.large, source.word, source.wide, source.half));
        EXPECT_EQ(std::tuple(target.byte, target.real), std::tuple(source.byte, source.real));
        EXPECT_EQ(target.name, source.name);
        EXPECT_EQ(target.empty, FixedString::Empty);
        EXPECT_TRUE(target.null.IsNull());
        Record(source, true);
        EXPECT_EQ(source.blob.GetSize(), 0u);
    }
}

TEST(EventVisitor, DamagedRecordsGiveZerosAndAreNotReadBeyond)
{
    Fields source = MakeFields(10);
    const auto whole = Record(source, false);
    for (size_t size = 0; size < whole.size(); ++size) {
        const std::vector<unsigned char> cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
        Fields target = MakeFields(3);
        EventVisitor visitor(0);
        visitor.BeginReading(ConstByteView(cut.data(), cut.size()));
        target.Visit(visitor);
        EXPECT_TRUE(visitor.HasFailed()) << size;
        EXPECT_TRUE(target.null.IsNull());
        if (size < 58) {
            EXPECT_EQ(target.real, 0.0f);
            EXPECT_TRUE(target.name.IsNull());
        }
    }
    // Lengths that lie, and a bool that is none.
    for (const size_t place : {size_t(0), size_t(9), size_t(16), whole.size() - 16 - 9 - 8}) {
        auto lying = whole;
        lying[place] = 0xff;
        lying[place + 1] = 0xff;
        Fields target;
        EventVisitor visitor(0);
        visitor.BeginReading(ConstByteView(lying.data(), lying.size()));
        target.Visit(visitor);
        EXPECT_TRUE(visitor.HasFailed()) << place;
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
    EXPECT_EQ(event.GetID(), 0);
    manager.GetVisitor()->BeginRecording(false);
    event.OnVisit(manager.GetVisitor());
    EXPECT_EQ(manager.GetVisitor()->GetRecord().GetSize(), 4u);
    EXPECT_EQ(manager.GetAmountOfListeners(), 0u);
    TestEventManager::_SDMShutdown();
}
