// The records that every recorder has: calls, objects and their destruction.
#include <qs/CommandDispatcher.h>

#include <cstring>

#include <qs/Log.h>

namespace qs {

namespace {

struct CallRecord
{
    unsigned char id;
    void (*function)(void*);
    void* argument;
};
static_assert(sizeof(CallRecord) == 24 && alignof(CallRecord) == 8);

struct ObjectRecord
{
    unsigned char id;
    RecordedObject* object;
};
static_assert(sizeof(ObjectRecord) == 16 && alignof(ObjectRecord) == 8);

} // namespace

RecordedObject::~RecordedObject() = default;

CommandDispatcher::CommandDispatcher(size_t commandBytes, size_t destructBytes)
    : m_commands(commandBytes), m_destruction(destructBytes, DESTRUCT_RECORD_SIZE), m_data(commandBytes)
{
}

CommandDispatcher::~CommandDispatcher()
{
    Discard();
}

bool CommandDispatcher::RecordCall(void (*function)(void*), void* argument)
{
    if (!m_recording) {
        function(argument);
        return true;
    }
    char* room = m_commands.AddCommand(sizeof(CallRecord), alignof(CallRecord));
    if (room) {
        ::new (room) CallRecord{COMMAND_CALL, function, argument};
    }
    return room != nullptr;
}

bool CommandDispatcher::RecordObject(RecordedObject* object)
{
    if (!AddDestruction(COMMAND_OBJECT, object)) {
        object->~RecordedObject();
        return false;
    }
    char* room = m_commands.AddCommand(sizeof(ObjectRecord), alignof(ObjectRecord));
    if (room) {
        ::new (room) ObjectRecord{COMMAND_OBJECT, object};
    }
    return room != nullptr;
}

bool CommandDispatcher::AddDestruction(unsigned char id, void* data)
{
    char* room = m_destruction.AddFixedRecord();
    if (room) {
        *room = static_cast<char>(id);
        std::memcpy(room + 1, &data, sizeof data);
    }
    return room != nullptr;
}

void CommandDispatcher::PreExecute(bool)
{
    if (m_executing) {
        QS_LOG_ASSERT("foundation/CommandDispatcher", "qs::CommandDispatcher::PreExecute",
                      "A command dispatcher is replayed while it is being replayed");
    }
    m_executing = true;
}

void CommandDispatcher::PostExecute(bool destroy)
{
    m_executing = false;
    if (destroy) {
        m_data.Rewind();
    }
}

size_t CommandDispatcher::ProcessCommand(unsigned char id, const char* record)
{
    switch (id) {
    case COMMAND_SKIP:
        return 1;
    case COMMAND_CALL: {
        const auto* call = reinterpret_cast<const CallRecord*>(record);
        call->function(call->argument);
        return sizeof *call;
    }
    case COMMAND_OBJECT: {
        const auto* holder = reinterpret_cast<const ObjectRecord*>(record);
        holder->object->Run();
        return sizeof *holder;
    }
    default:
        QS_LOG_ASSERT("foundation/CommandDispatcher", "qs::CommandDispatcher::ProcessCommand",
                      "Unknown command id %u in a command stream; the rest of the stream is skipped", unsigned(id));
        return CommandDispatcherBuffer::STOP;
    }
}

void CommandDispatcher::DestructCommand(unsigned char id, const char* data)
{
    if (id != COMMAND_OBJECT) {
        QS_LOG_ASSERT("foundation/CommandDispatcher", "qs::CommandDispatcher::DestructCommand",
                      "Unknown command id %u in a destruction stream", unsigned(id));
        return;
    }
    reinterpret_cast<RecordedObject*>(const_cast<char*>(data))->~RecordedObject();
}

void CommandDispatcher::Discard()
{
    DestroyRecorded();
    CommandDispatcherBuffer::ExecuteContext context = m_commands.PreExecuteCommandBuffer();
    m_commands.PostExecuteCommandBuffer(context, true);
    m_data.Rewind();
}

// Only this class's own records: at the end of a derived object nobody is left who knows the others.
void CommandDispatcher::DestroyRecorded()
{
    CommandDispatcherBuffer::ExecuteContext context = m_destruction.PreExecuteCommandBuffer();
    while (m_destruction.NextCommand(context, 0)) {
        const char* data;
        std::memcpy(&data, context.position + 1, sizeof data);
        if (static_cast<unsigned char>(*context.position) == COMMAND_OBJECT) {
            DestructCommand(COMMAND_OBJECT, data);
        }
    }
    m_destruction.PostExecuteCommandBuffer(context, true);
}

} // namespace qs
