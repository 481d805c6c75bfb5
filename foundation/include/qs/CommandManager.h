// Command queues: objects that are recorded on any thread and run on one.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

#include <qs/CommandDispatcher.h>
#include <qs/Event.h>
#include <qs/Export.h>

namespace qs {

class CommandManager;

/// A piece of work with its fields. A command is made on the stack, pushed to a manager, and rebuilt on the consumer's
/// thread from what `visit` recorded.
class QS_API Command
{
public:
    virtual void Execute() = 0;
    /// Releases what the fields hold. Harmless on a command that holds nothing.
    virtual void clear();
    /// Passes every field to the visitor, always the same ones in the same order.
    virtual void visit(EventVisitor* visitor) = 0;

    unsigned int GetType() const { return m_type; }

protected:
    explicit Command(unsigned int type) : m_type(type) {}
    Command(const Command&) = default;
    Command& operator=(const Command&) = default;
    ~Command() = default;

    unsigned int m_type;
};

/// The queue under one or more command managers. Any number of threads push through the managers; one thread at a time,
/// the consumer, drains. Commands run in the order of their pushing.
///
/// The consumer calls ExecuteAll wherever in its loop the commands may run, or waits with WaitForCommands first. Memory
/// is kept from one drain to the next, so a steady load allocates nothing.
class QS_API CommandBuffer
{
public:
    CommandBuffer();
    /// Every manager that used the buffer must be gone or have nothing left in it; else that is an assertion.
    ~CommandBuffer();
    CommandBuffer(const CommandBuffer&) = delete;
    CommandBuffer& operator=(const CommandBuffer&) = delete;

    /// Runs every command that was pushed before the call and gives their number. Commands that they push run at the
    /// next call. Called by one thread at a time and not from inside a command.
    size_t ExecuteAll();
    /// Instead of running the commands of `manager` pushed so far (null: of all managers), rebuilds and clears each, so
    /// that what they hold is released. Other managers' commands keep their places. Called on the consumer's thread;
    /// `clear` must not push.
    size_t DiscardAll(CommandManager* manager = nullptr);
    /// Blocks until a command is there, Wake is called or the time is over; true when a command is there.
    bool WaitForCommands(std::chrono::milliseconds timeout);
    /// Ends a WaitForCommands on another thread.
    void Wake();
    /// True when nothing waits to be run. Other threads may push at any moment.
    bool IsEmpty() const { return GetCount() == 0; }
    size_t GetCount() const;

private:
    friend class CommandManager;
    struct Queue;

    void Reserve(size_t bytes);
    bool Push(CommandManager* manager, unsigned int type, const MemView<const unsigned char>& fields);
    void Forget(CommandManager* manager);

    std::unique_ptr<Queue> m_queue;
};

/// Turns commands into records of a CommandBuffer and back. A derived class knows the command classes: it rebuilds a
/// record's command from the type number.
class QS_API CommandManager
{
public:
    /// The buffer is not owned and must outlive the manager.
    explicit CommandManager(CommandBuffer* buffer);
    /// On the consumer's thread, or when nobody drains. Commands still queued can no longer be rebuilt here: they are
    /// dropped with an assertion, and what they hold is lost. A derived class calls DiscardCommands in its own
    /// destructor, or the buffer is drained before.
    virtual ~CommandManager();
    CommandManager(const CommandManager&) = delete;
    CommandManager& operator=(const CommandManager&) = delete;

    /// Called for each record in turn: makes a default command of the class with that number on the stack and passes it
    /// to ExecuteCommand.
    virtual void HandleCommand(unsigned int type) = 0;

    /// Makes room in the queue for `size` bytes of records. Optional.
    void Initialize(size_t size);
    /// Records the command's fields through `visit`, with the visitor moving out: what the command owns goes with the
    /// record. From any thread. When the queue cannot take the record, the fields move back and an error is logged.
    void PushCommand(Command& command);
    /// Restores the fields of the record being handled, runs the command and clears it. A record that does not fit the
    /// command's fields asserts; the command is then cleared and not run. Only inside HandleCommand.
    void ExecuteCommand(Command& command);
    /// Rebuilds and clears this manager's queued commands without running them. On the consumer's thread.
    size_t DiscardCommands();

    CommandBuffer* GetBuffer() const { return m_buffer; }

private:
    friend class CommandBuffer;
    void Handle(unsigned int type, const MemView<const unsigned char>& fields, bool discard);

    CommandBuffer* m_buffer;
    std::atomic<size_t> m_queued{0};
    EventVisitor m_reader;
    bool m_handling = false;
    bool m_discarding = false;
};

} // namespace qs
