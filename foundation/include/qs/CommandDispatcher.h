// Command streams: records that one thread writes and one thread replays.
//
// A stream is a sequence of headers and records. A header is one byte, the record's alignment. The record starts at the
// next multiple of that alignment behind the header byte, so between one byte (alignment 1, or a header just before a
// multiple) and one whole alignment behind the header's position:
//
//     ... end of a record | alignment | padding | record ............... | alignment | padding | record ...
//                           ^ position in the context     position + bytes consumed ^
//
// The next header stands directly behind the record's last byte, or at the front of the next block.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include <qs/BlockChain.h>
#include <qs/Export.h>
#include <qs/Profile.h>

namespace qs {

/// One stream of records. Records never move once written; the stream grows in blocks. It is filled by one thread and
/// read by one thread, never both at once, and takes no lock.
class QS_API CommandDispatcherBuffer
{
public:
    /// A read under way.
    struct ExecuteContext
    {
        char* position = nullptr; ///< header of the next record; the reader moves it to the record itself
        char* end = nullptr;      ///< end of the records of the block
        BlockChain::Block* block = nullptr;
        bool entered = false; ///< NextCommand was called
    };

    /// Bytes consumed that end a walk: returned by a reader that cannot tell where its record ends.
    static constexpr size_t STOP = SIZE_MAX;
    /// Largest alignment of a record.
    static constexpr size_t LARGEST_ALIGNMENT = 128;

    /// `blockSize`: bytes of the first block, taken at the first record. `fixedRecordSize`: 0 for the form above; else
    /// the stream has records of that size directly behind each other and without header bytes, made by
    /// AddFixedRecord, and NextCommand moves from one to the next by itself.
    explicit CommandDispatcherBuffer(size_t blockSize, size_t fixedRecordSize = 0);
    ~CommandDispatcherBuffer();

    /// Reserves a record of `size` bytes, not 0, at a multiple of `alignment`, a power of two up to LARGEST_ALIGNMENT,
    /// and gives its start. The bytes are not cleared. Null, with a message and nothing reserved, when memory runs out,
    /// for a size beyond BlockChain::LARGEST_REQUEST, another alignment, or while the stream is read.
    char* AddCommand(size_t size, size_t alignment)
    {
        const uintptr_t header = reinterpret_cast<uintptr_t>(m_blocks.GetCursor());
        const uintptr_t record = (header + alignment) & ~(uintptr_t(alignment) - 1);
        const uintptr_t end = reinterpret_cast<uintptr_t>(m_blocks.GetEnd());
        if (!IsAlignment(alignment) || record > end || size - 1 >= end - record) [[unlikely]] {
            return AddCommandSlow(size, alignment);
        }
        *m_blocks.GetCursor() = static_cast<char>(alignment);
        char* result = m_blocks.GetCursor() + (record - header);
        m_blocks.SetCursor(result + size);
        return result;
    }
    /// The next record of a stream with a fixed record size; it has no alignment. Null as above.
    char* AddFixedRecord();

    /// Starts a read at the first record. Until PostExecuteCommandBuffer the stream takes no records.
    ExecuteContext PreExecuteCommandBuffer();
    /// Moves the position `bytesConsumed` bytes on, to the next header or the first header of the next block; true when
    /// there is one. The first call of a read passes 0 and moves nothing. What is consumed counts from where the
    /// position stands, which is the record's start after LocateRecord. More bytes than the block holds there, STOP
    /// included, end the walk; other than for STOP that is logged.
    bool NextCommand(ExecuteContext& context, size_t bytesConsumed)
    {
        const size_t left = static_cast<size_t>(context.end - context.position);
        if (bytesConsumed == 0 || bytesConsumed >= left || m_fixedRecordSize != 0) [[unlikely]] {
            return NextCommandSlow(context, bytesConsumed);
        }
        context.position += bytesConsumed;
        return true;
    }
    /// Moves the position from the header to the record and gives it. Null, with a message, when the header byte is no
    /// alignment or the record would lie outside the block: the stream was overwritten.
    char* LocateRecord(ExecuteContext& context)
    {
        const size_t alignment = static_cast<unsigned char>(*context.position);
        const size_t left = static_cast<size_t>(context.end - context.position);
        // The next multiple behind the header. Alignment 0 gives a distance of less than nothing, which is too far too.
        const uintptr_t header = reinterpret_cast<uintptr_t>(context.position);
        const size_t distance = ((header + alignment) & (0 - uintptr_t(alignment))) - header;
        if ((alignment & (alignment - 1)) != 0 || distance >= left) [[unlikely]] {
            return ReportDamage(alignment, left);
        }
        return context.position += distance;
    }
    /// Runs `process(record)`, which gives the bytes consumed, on record after record of the block as long as the next
    /// one follows plainly. Gives the last result for NextCommand, which goes on from there; STOP behind a damaged
    /// header.
    template <class Process>
    size_t WalkBlock(ExecuteContext& context, Process process)
    {
        // The position stays in registers: nobody else can see it while `process` runs.
        ExecuteContext local = context;
        for (;;) {
            const char* record = LocateRecord(local);
            const size_t consumed = record ? process(record) : STOP;
            const auto left = static_cast<size_t>(local.end - local.position);
            if (consumed - 1 >= left - 1) { // none, or all that is left, or more
                context.position = local.position;
                return consumed;
            }
            local.position += consumed;
        }
    }
    /// Ends the read. `destroy` empties the stream and keeps its blocks for the next records.
    void PostExecuteCommandBuffer(ExecuteContext& context, bool destroy);

    bool IsEmpty() const { return m_blocks.GetUsedBytes() == 0; }
    size_t GetUsedBytes() const { return m_blocks.GetUsedBytes(); }
    size_t GetReservedBytes() const { return m_blocks.GetReservedBytes(); }
    size_t GetBlockCount() const { return m_blocks.GetBlockCount(); }
    /// Takes a block of at least `bytes` in advance when the stream has none yet.
    void Reserve(size_t bytes);
    /// Empties the stream and gives its memory back. Not during a read.
    void ReleaseMemory();

private:
    static bool IsAlignment(size_t value)
    {
        return value != 0 && value <= LARGEST_ALIGNMENT && (value & (value - 1)) == 0;
    }
    char* AddCommandSlow(size_t size, size_t alignment);
    bool NextCommandSlow(ExecuteContext& context, size_t bytesConsumed);
    static char* ReportDamage(size_t alignment, size_t bytesLeft);
    bool EnterBlock(ExecuteContext& context, BlockChain::Block* block);

    BlockChain m_blocks;
    size_t m_fixedRecordSize;
    unsigned m_readers = 0;
};

/// A recorded object that runs in its turn and is destroyed with the contents of its dispatcher.
class QS_API RecordedObject
{
public:
    virtual ~RecordedObject();
    virtual void Run() = 0;
};

/// Base of recorders: a stream of commands, a stream of what needs destruction, a pool for payloads, and the flag that
/// tells whether to record. It has no virtual operations; ExecuteCommandDispatcher reaches a derived class's
/// PreExecute, ProcessCommand and DestructCommand by name. It is filled by one thread and replayed by one thread, never
/// both at once, and must not be copied.
class QS_API CommandDispatcher
{
public:
    /// Ids of this class's own records; a derived class's start at FIRST_DERIVED_ID.
    enum : unsigned char
    {
        COMMAND_SKIP = 0,   ///< one byte that does nothing
        COMMAND_CALL = 1,   ///< 24 bytes, alignment 8: +8 function, +16 its argument
        COMMAND_OBJECT = 2, ///< 16 bytes, alignment 8: +8 RecordedObject
        FIRST_DERIVED_ID = 3,
    };
    /// Bytes of a record of the destruction stream: the id, and directly behind it the pointer.
    static constexpr size_t DESTRUCT_RECORD_SIZE = 1 + sizeof(void*);

    /// Sizes of the first blocks of the two streams. The payload pool starts at the first's.
    CommandDispatcher(size_t commandBytes, size_t destructBytes);
    /// Destroys what was recorded with RecordFunction and not yet destroyed, and runs nothing.
    ~CommandDispatcher();
    CommandDispatcher(const CommandDispatcher&) = delete;
    CommandDispatcher& operator=(const CommandDispatcher&) = delete;

    /// Room for `size` bytes of payload, without an alignment. It lives until the contents are destroyed and does not
    /// move. Null, with a message, when it cannot be had.
    char* AddData(size_t size) { return m_data.Append(size); }

    /// Whether operations of the derived class record (true, the value at construction) or act at once. The owner sets
    /// it while it is the only one that uses the object: a buffer filled on a worker records, one that is used on the
    /// consumer's thread may act at once.
    void SetRecording(bool recording) { m_recording = recording; }
    bool IsRecording() const { return m_recording; }

    /// Records a call of `function` with `argument` between the other commands, or calls at once when not recording.
    bool RecordCall(void (*function)(void*), void* argument);
    /// The same for any callable without arguments, which is moved into the payload pool and destroyed with the
    /// contents. Its alignment is at most 16.
    template <class F>
    bool RecordFunction(F&& function);

    /// Around one replay. `destroy` tells that the contents are to be destroyed afterwards, which PostExecute does for
    /// the payload pool.
    void PreExecute(bool destroy);
    void PostExecute(bool destroy);
    /// Performs a record of this class and gives the bytes consumed. Another id asserts and gives STOP, which ends the
    /// walk: where such a record ends is not known.
    size_t ProcessCommand(unsigned char id, const char* record);
    /// Destroys the object that a record of the destruction stream points at. Another id than COMMAND_OBJECT asserts.
    void DestructCommand(unsigned char id, const char* data);
    /// Adds a record to the destruction stream, for DestructCommand of the derived class.
    bool AddDestruction(unsigned char id, void* data);

    /// Drops the contents without running them: destroys the recorded objects and empties both streams and the pool.
    void Discard();

    CommandDispatcherBuffer& GetCommandStream() { return m_commands; }
    CommandDispatcherBuffer& GetDestructionStream() { return m_destruction; }

protected:
    CommandDispatcherBuffer m_commands;
    CommandDispatcherBuffer m_destruction;
    bool m_recording = true;

private:
    bool RecordObject(RecordedObject* object);
    void DestroyRecorded();

    BlockChain m_data;
    bool m_executing = false;
};

template <class F>
bool CommandDispatcher::RecordFunction(F&& function)
{
    using Callable = std::decay_t<F>;
    struct Object final : RecordedObject
    {
        explicit Object(F&& callable) : m_callable(std::forward<F>(callable)) {}
        void Run() override { m_callable(); }
        Callable m_callable;
    };
    static_assert(alignof(Object) <= 16);
    if (!m_recording) {
        function();
        return true;
    }
    char* room = AddData(sizeof(Object) + 15);
    if (!room) {
        return false;
    }
    room += (16 - reinterpret_cast<uintptr_t>(room) % 16) % 16;
    return RecordObject(::new (room) Object(std::forward<F>(function)));
}

/// Replays a buffer: performs its records in the order in which they were recorded, one at a time. With `destroy` the
/// contents are spent behind it: the destruction stream is walked and both streams and the payload pool are empty, with
/// their memory kept. Without it the contents stay for another replay. An overwritten stream ends the walk with a
/// message; what it did not reach is dropped when `destroy` is set.
template <class Dispatcher>
void ExecuteCommandDispatcher(Dispatcher& buffer, bool destroy)
{
    HProfileSample sample("qs::ExecuteCommandDispatcher");
    buffer.PreExecute(destroy);
    CommandDispatcherBuffer& commands = buffer.GetCommandStream();
    CommandDispatcherBuffer::ExecuteContext context = commands.PreExecuteCommandBuffer();
    size_t consumed = 0;
    while (commands.NextCommand(context, consumed)) {
        consumed = commands.WalkBlock(context, [&buffer](const char* record) {
            return buffer.ProcessCommand(static_cast<unsigned char>(*record), record);
        });
    }
    if (destroy) {
        CommandDispatcherBuffer& destruction = buffer.GetDestructionStream();
        CommandDispatcherBuffer::ExecuteContext position = destruction.PreExecuteCommandBuffer();
        while (destruction.NextCommand(position, 0)) {
            const char* data;
            std::memcpy(&data, position.position + 1, sizeof data);
            buffer.DestructCommand(static_cast<unsigned char>(*position.position), data);
        }
        destruction.PostExecuteCommandBuffer(position, true);
    }
    commands.PostExecuteCommandBuffer(context, destroy);
    static_cast<CommandDispatcher&>(buffer).PostExecute(destroy);
}

} // namespace qs
