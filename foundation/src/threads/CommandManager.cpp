// Command queues: pushing from any thread, draining on one.
#include <qs/CommandManager.h>

#include <atomic>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <utility>

#include <qs/Log.h>

#define COMMAND_ASSERT(function, ...) QS_LOG_ASSERT("foundation/CommandManager", "qs::" function, __VA_ARGS__)

namespace qs {

namespace {

/// Stands before the fields of each queued command.
struct RecordHeader
{
    CommandManager* manager; ///< null: the command was dropped or taken back
    unsigned int type;
    unsigned int fieldBytes;
};
static_assert(sizeof(RecordHeader) == 16 && alignof(RecordHeader) == 8);

constexpr size_t SMALLEST_STREAM = 4096;

} // namespace

void Command::clear() {}

/// Two streams take turns: producers write one under the lock while the consumer walks the other without it.
struct CommandBuffer::Queue
{
    std::recursive_mutex m_lock;
    std::condition_variable_any m_arrived;
    CommandDispatcherBuffer m_streams[2]{CommandDispatcherBuffer(SMALLEST_STREAM),
                                         CommandDispatcherBuffer(SMALLEST_STREAM)};
    unsigned m_writeStream = 0;
    bool m_woken = false;
    std::atomic<size_t> m_count{0};
    std::atomic<bool> m_draining{false};

    template <class Step>
    static void Walk(CommandDispatcherBuffer& stream, bool destroy, Step&& step);
    template <class Step>
    void WalkPushed(bool destroy, Step&& step);
};

// Runs `step(header, fields)` over every record that was not dropped.
template <class Step>
void CommandBuffer::Queue::Walk(CommandDispatcherBuffer& stream, bool destroy, Step&& step)
{
    CommandDispatcherBuffer::ExecuteContext context = stream.PreExecuteCommandBuffer();
    size_t consumed = 0;
    while (stream.NextCommand(context, consumed)) {
        char* record = stream.LocateRecord(context);
        if (!record) {
            break;
        }
        auto* header = reinterpret_cast<RecordHeader*>(record);
        consumed = sizeof *header + header->fieldBytes;
        if (header->manager) {
            const auto* fields = reinterpret_cast<const unsigned char*>(header + 1);
            step(*header, ConstByteView(fields, header->fieldBytes));
        }
    }
    stream.PostExecuteCommandBuffer(context, destroy);
}

// The same over everything that was pushed before the call. What `step` pushes goes into the other stream.
template <class Step>
void CommandBuffer::Queue::WalkPushed(bool destroy, Step&& step)
{
    if (m_draining.exchange(true, std::memory_order_acquire)) {
        COMMAND_ASSERT("CommandBuffer::ExecuteAll", "A command buffer is drained while it is being drained");
        return;
    }
    CommandDispatcherBuffer* stream;
    {
        std::lock_guard lock(m_lock);
        stream = &m_streams[m_writeStream];
        m_writeStream ^= 1;
    }
    Walk(*stream, destroy, step);
    m_draining.store(false, std::memory_order_release);
}

CommandBuffer::CommandBuffer() : m_queue(std::make_unique<Queue>()) {}

CommandBuffer::~CommandBuffer()
{
    if (!IsEmpty()) {
        COMMAND_ASSERT("CommandBuffer::~CommandBuffer", "%zu commands are dropped with their buffer", GetCount());
    }
}

size_t CommandBuffer::ExecuteAll()
{
    size_t executed = 0;
    m_queue->WalkPushed(true, [&](RecordHeader& header, const ConstByteView& fields) {
        ++executed;
        // Counted as gone first: a command may look at the queue, or delete its manager.
        CommandManager* const manager = std::exchange(header.manager, nullptr);
        manager->m_queued.fetch_sub(1, std::memory_order_acq_rel);
        m_queue->m_count.fetch_sub(1, std::memory_order_acq_rel);
        manager->Handle(header.type, fields, false);
    });
    return executed;
}

size_t CommandBuffer::DiscardAll(CommandManager* manager)
{
    size_t discarded = 0;
    std::lock_guard lock(m_queue->m_lock);
    CommandDispatcherBuffer& stream = m_queue->m_streams[m_queue->m_writeStream];
    Queue::Walk(stream, false, [&](RecordHeader& header, const ConstByteView& fields) {
        if (!manager || header.manager == manager) {
            CommandManager* const owner = std::exchange(header.manager, nullptr);
            owner->Handle(header.type, fields, true);
            owner->m_queued.fetch_sub(1, std::memory_order_acq_rel);
            m_queue->m_count.fetch_sub(1, std::memory_order_acq_rel);
            ++discarded;
        }
    });
    return discarded;
}

bool CommandBuffer::WaitForCommands(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_queue->m_lock);
    m_queue->m_arrived.wait_for(lock, timeout, [&] { return m_queue->m_woken || !IsEmpty(); });
    m_queue->m_woken = false;
    return !IsEmpty();
}

void CommandBuffer::Wake()
{
    {
        std::lock_guard lock(m_queue->m_lock);
        m_queue->m_woken = true;
    }
    m_queue->m_arrived.notify_all();
}

size_t CommandBuffer::GetCount() const
{
    return m_queue->m_count.load(std::memory_order_acquire);
}

bool CommandBuffer::Push(CommandManager* manager, unsigned int type, const ConstByteView& fields)
{
    {
        std::lock_guard lock(m_queue->m_lock);
        char* room = nullptr;
        if (fields.GetSize() <= BlockChain::LARGEST_REQUEST - sizeof(RecordHeader)) {
            room = m_queue->m_streams[m_queue->m_writeStream].AddCommand(sizeof(RecordHeader) + fields.GetSize(),
                                                                         alignof(RecordHeader));
        }
        if (!room) {
            return false;
        }
        auto* header = ::new (room) RecordHeader{manager, type, static_cast<unsigned int>(fields.GetSize())};
        if (!fields.IsEmpty()) {
            std::memcpy(header + 1, fields.GetData(), fields.GetSize());
        }
        manager->m_queued.fetch_add(1, std::memory_order_relaxed);
        m_queue->m_count.fetch_add(1, std::memory_order_release);
    }
    m_queue->m_arrived.notify_one();
    return true;
}

void CommandBuffer::Reserve(size_t bytes)
{
    std::lock_guard lock(m_queue->m_lock);
    for (CommandDispatcherBuffer& stream : m_queue->m_streams) {
        stream.Reserve(bytes);
    }
}

// Drops the records of a manager that can no longer rebuild them, also those of a drain under way.
void CommandBuffer::Forget(CommandManager* manager)
{
    std::lock_guard lock(m_queue->m_lock);
    for (CommandDispatcherBuffer& stream : m_queue->m_streams) {
        Queue::Walk(stream, false, [&](RecordHeader& header, const ConstByteView&) {
            if (header.manager == manager) {
                header.manager = nullptr;
                m_queue->m_count.fetch_sub(1, std::memory_order_acq_rel);
            }
        });
    }
}

CommandManager::CommandManager(CommandBuffer* buffer) : m_buffer(buffer), m_reader(0) {}

CommandManager::~CommandManager()
{
    const size_t left = m_queued.load(std::memory_order_acquire);
    if (left != 0) {
        COMMAND_ASSERT("CommandManager::~CommandManager",
                       "%zu queued commands are dropped with their manager, and what they hold is lost", left);
        m_buffer->Forget(this);
    }
}

void CommandManager::Initialize(size_t size)
{
    m_buffer->Reserve(size);
}

void CommandManager::PushCommand(Command& command)
{
    EventVisitor writer(0);
    writer.BeginRecording(true);
    command.visit(&writer);
    if (!writer.HasFailed() && m_buffer->Push(this, command.GetType(), writer.GetRecord())) {
        return;
    }
    QS_LOG_ERROR("foundation/CommandManager", "qs::CommandManager::PushCommand",
                 "A command of type %u with %zu bytes of fields could not be queued", command.GetType(),
                 static_cast<size_t>(writer.GetRecord().GetSize()));
    EventVisitor reader(0);
    reader.BeginReading(writer.GetRecord());
    command.visit(&reader);
}

void CommandManager::ExecuteCommand(Command& command)
{
    if (!m_handling) {
        COMMAND_ASSERT("CommandManager::ExecuteCommand", "A command of type %u is executed outside HandleCommand",
                       command.GetType());
        return;
    }
    m_handling = false; // one command for one record
    const bool discarding = m_discarding;
    command.visit(&m_reader);
    const bool sound = m_reader.IsComplete();
    m_reader.End();
    if (!sound) {
        COMMAND_ASSERT("CommandManager::ExecuteCommand",
                       "The record of a command of type %u does not fit the command's fields", command.GetType());
    } else if (!discarding) {
        command.Execute();
    }
    command.clear();
}

size_t CommandManager::DiscardCommands()
{
    return m_buffer->DiscardAll(this);
}

void CommandManager::Handle(unsigned int type, const ConstByteView& fields, bool discard)
{
    m_reader.BeginReading(fields);
    m_discarding = discard;
    m_handling = true;
    HandleCommand(type);
    // A type that the derived class does not know leaves the record unread.
    m_handling = false;
    m_reader.End();
}

} // namespace qs
