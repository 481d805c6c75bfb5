// The byte form of command streams, their memory, and replay.
#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <qs/CommandDispatcher.h>
#include <qs/Log.h>

using namespace qs;

namespace {

struct Written
{
    char* start;
    size_t size;
    size_t alignment;
};

// Finds the records as the byte form is told, without the buffer's own LocateRecord.
std::vector<char*> WalkByHand(CommandDispatcherBuffer& buffer, const std::vector<Written>& written, bool destroy)
{
    std::vector<char*> found;
    auto context = buffer.PreExecuteCommandBuffer();
    size_t consumed = 0;
    while (buffer.NextCommand(context, consumed)) {
        const uintptr_t position = reinterpret_cast<uintptr_t>(context.position);
        const uintptr_t alignment = static_cast<unsigned char>(*context.position);
        const uintptr_t pad = (alignment - position % alignment) % alignment;
        context.position += pad == 0 ? alignment : pad;
        if (found.size() == written.size()) {
            ADD_FAILURE() << "more records than were written";
            break;
        }
        consumed = written[found.size()].size;
        found.push_back(context.position);
    }
    buffer.PostExecuteCommandBuffer(context, destroy);
    return found;
}

std::vector<Written> Fill(CommandDispatcherBuffer& buffer, unsigned seed, size_t count)
{
    std::mt19937 random(seed);
    std::vector<Written> written;
    for (size_t i = 0; i < count; ++i) {
        const size_t alignment = size_t(1) << random() % 8;
        const size_t size = 1 + random() % (i % 50 == 49 ? 40'000 : 90);
        char* start = buffer.AddCommand(size, alignment);
        std::memset(start, static_cast<int>(i), size);
        written.push_back({start, size, alignment});
    }
    return written;
}

class Recorder : public CommandDispatcher
{
public:
    Recorder() : CommandDispatcher(256, 32) {}

    void Note(unsigned char number)
    {
        if (char* record = m_commands.AddCommand(2, 1)) {
            record[0] = FIRST_DERIVED_ID;
            record[1] = static_cast<char>(number);
        }
    }
    char* AddRaw(size_t size, size_t alignment) { return m_commands.AddCommand(size, alignment); }
    size_t ProcessCommand(unsigned char id, const char* record)
    {
        if (id != FIRST_DERIVED_ID) {
            return CommandDispatcher::ProcessCommand(id, record);
        }
        done.push_back(record[1]);
        return 2;
    }
    void DestructCommand(unsigned char id, const char* data)
    {
        if (id >= FIRST_DERIVED_ID) {
            destroyed.push_back(*reinterpret_cast<const int*>(data));
        } else {
            CommandDispatcher::DestructCommand(id, data);
        }
    }

    std::vector<int> done;
    std::vector<int> destroyed;
};

} // namespace

TEST(CommandStream, RecordsStandWhereTheReaderLooksAndNeverMove)
{
    CommandDispatcherBuffer buffer(128);
    const auto written = Fill(buffer, 1, 400);
    const size_t blocks = buffer.GetBlockCount(), reserved = buffer.GetReservedBytes();
    EXPECT_GT(blocks, 3u);
    for (int round = 0; round < 2; ++round) {
        const auto found = WalkByHand(buffer, written, round == 1);
        ASSERT_EQ(found.size(), written.size());
        for (size_t i = 0; i < found.size(); ++i) {
            ASSERT_EQ(found[i], written[i].start) << i;
            EXPECT_EQ(reinterpret_cast<uintptr_t>(found[i]) % written[i].alignment, 0u);
            EXPECT_EQ(std::count(found[i], found[i] + written[i].size, static_cast<char>(i)),
                      static_cast<ptrdiff_t>(written[i].size));
        }
    }
    // The same records again take the same places: nothing is allocated.
    EXPECT_TRUE(buffer.IsEmpty());
    const auto again = Fill(buffer, 1, 400);
    for (size_t i = 0; i < again.size(); ++i) {
        ASSERT_EQ(again[i].start, written[i].start) << i;
    }
    EXPECT_EQ(buffer.GetBlockCount(), blocks);
    EXPECT_EQ(buffer.GetReservedBytes(), reserved);
    // Other sequences use the kept blocks too, instead of piling up new ones.
    for (unsigned seed = 2; seed < 20; ++seed) {
        auto context = buffer.PreExecuteCommandBuffer();
        buffer.PostExecuteCommandBuffer(context, true);
        Fill(buffer, seed, 300);
    }
    EXPECT_LE(buffer.GetReservedBytes(), 2 * reserved);
    buffer.ReleaseMemory();
    EXPECT_EQ(buffer.GetReservedBytes(), 0u);
}

TEST(CommandStream, RefusesWhatItCannotHold)
{
    CommandDispatcherBuffer buffer(0);
    LogCapture log;
    for (const auto& [size, alignment] : std::vector<std::pair<size_t, size_t>>{{0, 1},
                                                                                {1, 0},
                                                                                {1, 3},
                                                                                {1, 256},
                                                                                {1, SIZE_MAX},
                                                                                {SIZE_MAX, 8},
                                                                                {SIZE_MAX - 64, 1},
                                                                                {size_t(3) << 30, 8}}) {
        EXPECT_EQ(buffer.AddCommand(size, alignment), nullptr) << size << " " << alignment;
    }
    EXPECT_EQ(log.Count(), 8u);
    EXPECT_EQ(buffer.AddFixedRecord(), nullptr);
    EXPECT_TRUE(buffer.IsEmpty());
    ASSERT_NE(buffer.AddCommand(4, 4), nullptr);
    auto context = buffer.PreExecuteCommandBuffer();
    EXPECT_EQ(buffer.AddCommand(4, 4), nullptr) << "no records during a read";
    buffer.PostExecuteCommandBuffer(context, false);
    EXPECT_NE(buffer.AddCommand(4, 4), nullptr) << "behind the first record";
    EXPECT_EQ(WalkByHand(buffer, {{nullptr, 4, 4}, {nullptr, 4, 4}}, true).size(), 2u);
}

TEST(CommandStream, AnOverwrittenStreamEndsTheWalk)
{
    struct Damage
    {
        char alignment; ///< written over the second header; 0 keeps it
        size_t consumed;
    };
    // A walk that goes wrong must stop inside the block, which the sanitizers watch.
    for (const Damage& damage : {Damage{3, 4}, Damage{char(0x80), 4}, Damage{char(0xff), 4}, Damage{0, 5000},
                                 Damage{0, SIZE_MAX - 1}, Damage{0, CommandDispatcherBuffer::STOP}}) {
        CommandDispatcherBuffer buffer(64);
        char* first = buffer.AddCommand(4, 4);
        char* second = buffer.AddCommand(4, 4);
        std::memset(first, 0, 4);
        std::memset(second, 0, 4);
        if (damage.alignment) {
            first[4] = damage.alignment;
        }
        LogCapture log;
        auto context = buffer.PreExecuteCommandBuffer();
        ASSERT_TRUE(buffer.NextCommand(context, 0));
        ASSERT_EQ(buffer.LocateRecord(context), first);
        const bool next = buffer.NextCommand(context, damage.consumed);
        EXPECT_EQ(next, damage.alignment != 0);
        EXPECT_TRUE(!next || buffer.LocateRecord(context) == nullptr);
        EXPECT_EQ(log.Count(LogLevelAssertion), damage.consumed == CommandDispatcherBuffer::STOP ? 0u : 1u);
        buffer.PostExecuteCommandBuffer(context, true);
    }
}

TEST(CommandReplay, RunsInOrderKeepsOrDestroys)
{
    Recorder recorder;
    ExecuteCommandDispatcher(recorder, true);
    EXPECT_TRUE(recorder.done.empty());

    static int called;
    called = 0;
    auto counted = std::make_shared<int>(0);
    int tags[40];
    for (int i = 0; i < 40; ++i) {
        tags[i] = i;
        recorder.Note(static_cast<unsigned char>(i));
        recorder.RecordCall([](void* argument) { called += *static_cast<int*>(argument); }, &tags[i]);
        recorder.RecordFunction([counted, &recorder] { *counted += static_cast<int>(recorder.done.size()); });
        recorder.AddDestruction(200, &tags[i]);
    }
    *recorder.AddRaw(1, 1) = CommandDispatcher::COMMAND_SKIP;
    char* data = recorder.AddData(100'000);
    std::memset(data, 1, 100'000);
    EXPECT_EQ(counted.use_count(), 41);

    std::vector<int> order(40);
    std::iota(order.begin(), order.end(), 0);
    ExecuteCommandDispatcher(recorder, false);
    EXPECT_EQ(recorder.done, order);
    EXPECT_EQ(called, 780);
    EXPECT_EQ(*counted, 820);
    EXPECT_TRUE(recorder.destroyed.empty());
    EXPECT_EQ(counted.use_count(), 41);
    recorder.done.clear();
    ExecuteCommandDispatcher(recorder, true);
    EXPECT_EQ(recorder.done, order);
    EXPECT_EQ(recorder.destroyed, order);
    EXPECT_EQ(counted.use_count(), 1) << "the recorded functions are gone";
    ExecuteCommandDispatcher(recorder, true);
    EXPECT_EQ(recorder.done.size(), 40u) << "the contents were spent";

    // What is dropped unreplayed is destroyed and not run.
    recorder.RecordFunction([counted] { *counted = -1; });
    recorder.Discard();
    EXPECT_EQ(counted.use_count(), 1);
    {
        Recorder abandoned;
        abandoned.RecordFunction([counted] { *counted = -1; });
    }
    EXPECT_EQ(counted.use_count(), 1);
    recorder.SetRecording(false);
    recorder.RecordFunction([counted] { *counted = 5; });
    EXPECT_EQ(*counted, 5) << "not recording acts at once";
}

TEST(CommandReplay, AnUnknownIdIsReportedAndTheRestIsSpent)
{
    Recorder recorder;
    recorder.Note(1);
    std::memset(recorder.AddRaw(24, 8), 99, 24);
    recorder.Note(2);
    LogCapture log;
    ExecuteCommandDispatcher(recorder, true);
    EXPECT_EQ(recorder.done, std::vector<int>{1});
    EXPECT_EQ(log.GetLast(), "Unknown command id 99 in a command stream; the rest of the stream is skipped");
    EXPECT_EQ(log.Count(), 1u);
    recorder.Note(3);
    ExecuteCommandDispatcher(recorder, true);
    EXPECT_EQ(recorder.done, (std::vector<int>{1, 3}));
}
