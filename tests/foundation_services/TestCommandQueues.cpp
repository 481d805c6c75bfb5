// Command queues: order, content, many producers, and what is left over.
#include <atomic>
#include <map>
#include <thread>

#include <gtest/gtest.h>

#include <qs/CommandManager.h>
#include <qs/Log.h>

using namespace qs;

namespace {

/// Stands for whatever commands act on.
struct World
{
    std::vector<std::pair<uint64_t, int>> ran; ///< producer and number
    CommandManager* follower = nullptr;        ///< gets a command from each that runs
} world;

std::atomic<int> liveBlocks;

/// Owns a block that moves through the queue by address.
class BlockCommand : public Command
{
public:
    static constexpr unsigned int TYPE = 7;

    BlockCommand() : Command(TYPE) {}
    void Hold(int value)
    {
        m_block = new int(value);
        ++liveBlocks;
    }
    bool HoldsBlock() const { return m_block != nullptr; }
    void Execute() override
    {
        world.ran.emplace_back(m_producer, *m_block);
        if (world.follower) {
            world.follower->PushCommand(*this);
        }
    }
    void clear() override
    {
        liveBlocks -= m_block ? 1 : 0;
        delete m_block;
        m_block = nullptr;
    }
    void visit(EventVisitor* visitor) override
    {
        uint64_t address = reinterpret_cast<uint64_t>(m_block);
        visitor->Visit(address);
        m_block = visitor->IsMovingOut() ? nullptr : reinterpret_cast<int*>(address);
        visitor->Visit(m_producer);
    }

    uint64_t m_producer = 0;

private:
    int* m_block = nullptr;
};

class Manager : public CommandManager
{
public:
    using CommandManager::CommandManager;
    ~Manager() override
    {
        if (discardsAtEnd) {
            DiscardCommands();
        }
    }
    void HandleCommand(unsigned int type) override
    {
        EXPECT_EQ(type, BlockCommand::TYPE);
        BlockCommand command;
        ExecuteCommand(command);
    }

    bool discardsAtEnd = true;
};

void PushBlock(CommandManager& manager, uint64_t producer, int number)
{
    BlockCommand command;
    command.m_producer = producer;
    command.Hold(number);
    manager.PushCommand(command);
    EXPECT_FALSE(command.HoldsBlock()) << "the record owns it now";
}

class CommandQueue : public testing::Test
{
protected:
    void SetUp() override { world = {}; }
    void TearDown() override { EXPECT_EQ(liveBlocks, 0); }

    CommandBuffer buffer;
};

} // namespace

TEST_F(CommandQueue, CarriesFieldsAndKeepsTheOrderOfTwoManagers)
{
    Manager first(&buffer), second(&buffer);
    first.Initialize(0x10000);
    EXPECT_FALSE(buffer.WaitForCommands(std::chrono::milliseconds(0)));
    for (int i = 0; i < 100; ++i) {
        PushBlock(i % 3 ? first : second, 0, i);
    }
    EXPECT_TRUE(buffer.WaitForCommands(std::chrono::hours(1)));
    EXPECT_EQ(buffer.GetCount(), 100u);
    world.follower = &first;
    EXPECT_EQ(buffer.ExecuteAll(), 100u);
    world.follower = nullptr;
    EXPECT_EQ(buffer.GetCount(), 100u) << "what a command pushes waits for the next drain";
    EXPECT_EQ(buffer.ExecuteAll(), 100u);
    ASSERT_EQ(world.ran.size(), 200u);
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(world.ran[static_cast<size_t>(i)].second, i % 100);
    }
}

TEST_F(CommandQueue, ManyProducersOneConsumer)
{
    constexpr int PRODUCERS = 4, EACH = 3000;
    Manager manager(&buffer);
    std::vector<std::thread> threads;
    for (uint64_t producer = 0; producer < PRODUCERS; ++producer) {
        threads.emplace_back([&, producer] {
            for (int i = 0; i < EACH; ++i) {
                PushBlock(manager, producer, i);
            }
        });
    }
    size_t executed = 0;
    while (executed < PRODUCERS * EACH) {
        buffer.WaitForCommands(std::chrono::milliseconds(100));
        executed += buffer.ExecuteAll();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(buffer.IsEmpty());
    std::map<uint64_t, int> next;
    for (const auto& [producer, number] : world.ran) {
        ASSERT_EQ(number, next[producer]++);
    }
    EXPECT_EQ(world.ran.size(), size_t(PRODUCERS * EACH));
}

TEST_F(CommandQueue, NothingLeaksFromWhatIsNotRun)
{
    Manager kept(&buffer);
    {
        Manager leaving(&buffer);
        PushBlock(leaving, 0, 1);
        PushBlock(kept, 0, 2);
        PushBlock(leaving, 0, 3);
    }
    EXPECT_EQ(liveBlocks, 1);
    EXPECT_EQ(buffer.ExecuteAll(), 1u);
    ASSERT_EQ(world.ran.size(), 1u);
    EXPECT_EQ(world.ran[0].second, 2);

    LogCapture log;
    {
        Manager careless(&buffer);
        careless.discardsAtEnd = false;
        BlockCommand empty;
        careless.PushCommand(empty);
        PushBlock(kept, 0, 4);
    }
    EXPECT_TRUE(log.Contains("1 queued commands are dropped", LogLevelAssertion));
    EXPECT_EQ(buffer.ExecuteAll(), 1u);
    BlockCommand stray;
    kept.ExecuteCommand(stray);
    EXPECT_TRUE(log.Contains("outside HandleCommand"));
}
