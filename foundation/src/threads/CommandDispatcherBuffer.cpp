// One stream of records: reserving, walking, emptying.
#include <qs/CommandDispatcher.h>

#include <qs/Log.h>

namespace qs {

CommandDispatcherBuffer::CommandDispatcherBuffer(size_t blockSize, size_t fixedRecordSize)
    : m_blocks(blockSize), m_fixedRecordSize(fixedRecordSize)
{
}

CommandDispatcherBuffer::~CommandDispatcherBuffer() = default;

char* CommandDispatcherBuffer::AddCommandSlow(size_t size, size_t alignment)
{
    constexpr const char* function = "qs::CommandDispatcherBuffer::AddCommand";
    if (m_readers != 0 || m_fixedRecordSize != 0) {
        QS_LOG_ASSERT("foundation/CommandDispatcherBuffer", function, "%s",
                      m_readers ? "A command stream takes no records while it is read"
                                : "This command stream only takes records of its fixed size");
        return nullptr;
    }
    if (!IsAlignment(alignment)) {
        QS_LOG_ASSERT("foundation/CommandDispatcherBuffer", function,
                      "Alignment %zu of a record is no power of two up to %zu", alignment, LARGEST_ALIGNMENT);
        return nullptr;
    }
    if (size == 0) {
        QS_LOG_ASSERT("foundation/CommandDispatcherBuffer", function, "A record has at least the byte of its id");
        return nullptr;
    }
    // The header byte and the padding behind it never take more than one alignment.
    const size_t room = size <= BlockChain::LARGEST_REQUEST ? size + alignment : size;
    return m_blocks.MakeRoom(room) ? AddCommand(size, alignment) : nullptr;
}

char* CommandDispatcherBuffer::AddFixedRecord()
{
    if (m_readers != 0 || m_fixedRecordSize == 0) {
        QS_LOG_ASSERT("foundation/CommandDispatcherBuffer", "qs::CommandDispatcherBuffer::AddFixedRecord", "%s",
                      m_readers ? "A command stream takes no records while it is read"
                                : "This command stream has no fixed record size");
        return nullptr;
    }
    return m_blocks.Append(m_fixedRecordSize);
}

CommandDispatcherBuffer::ExecuteContext CommandDispatcherBuffer::PreExecuteCommandBuffer()
{
    if (m_readers++ == 0) {
        m_blocks.Freeze();
    }
    return {};
}

// Stands at the first header of `block`, or of the next one behind it that holds any.
bool CommandDispatcherBuffer::EnterBlock(ExecuteContext& context, BlockChain::Block* block)
{
    BlockChain::Block* const last = m_blocks.GetCurrent();
    while (block && block->used == 0 && block != last) {
        block = block->next;
    }
    if (!last || !block || block->used == 0) {
        context.position = context.end = nullptr;
        return false;
    }
    context.block = block;
    context.position = block->GetBytes();
    context.end = context.position + block->used;
    return true;
}

bool CommandDispatcherBuffer::NextCommandSlow(ExecuteContext& context, size_t bytesConsumed)
{
    if (!context.entered) {
        context.entered = true;
        return EnterBlock(context, m_blocks.GetFirst());
    }
    if (!context.position || bytesConsumed == STOP) {
        return false;
    }
    const size_t step = m_fixedRecordSize ? m_fixedRecordSize : bytesConsumed;
    const size_t left = static_cast<size_t>(context.end - context.position);
    if (step > left) {
        QS_LOG_ASSERT("foundation/CommandDispatcherBuffer", "qs::CommandDispatcherBuffer::NextCommand",
                      "A record consumed %zu bytes where its block holds %zu; the rest of the stream is skipped", step,
                      left);
        return false;
    }
    if (step < left) {
        context.position += step;
        return true;
    }
    return context.block != m_blocks.GetCurrent() && EnterBlock(context, context.block->next);
}

char* CommandDispatcherBuffer::ReportDamage(size_t alignment, size_t bytesLeft)
{
    QS_LOG_ASSERT("foundation/CommandDispatcherBuffer", "qs::CommandDispatcherBuffer::LocateRecord",
                  "Alignment byte %zu with %zu bytes left in the block: the stream was overwritten", alignment,
                  bytesLeft);
    return nullptr;
}

void CommandDispatcherBuffer::PostExecuteCommandBuffer(ExecuteContext& context, bool destroy)
{
    context = {};
    if (m_readers == 0 || --m_readers != 0) {
        return;
    }
    if (destroy) {
        m_blocks.Rewind();
    } else {
        m_blocks.Thaw();
    }
}

void CommandDispatcherBuffer::Reserve(size_t bytes)
{
    if (m_readers == 0 && m_blocks.GetBlockCount() == 0) {
        m_blocks.MakeRoom(bytes);
    }
}

void CommandDispatcherBuffer::ReleaseMemory()
{
    if (m_readers == 0) {
        m_blocks.Release();
    }
}

} // namespace qs
