// The front door for resources.
#include "Gleamwork/GWDataLoader.h"

#include "Gleamwork/GWDataLoaderCommands.h"
#include "Gleamwork/GWDataLoaderImageCommands.h"
#include "Gleamwork/Renderer.h"

#include <algorithm>
#include <qs/Log.h>
#include <qs/Profile.h>

namespace gw {

namespace {

constexpr std::size_t c_initialQueueSize = 0x10000;

Renderer& GetRenderer()
{
    return *Renderer::GetInstance();
}

bool HasRenderer(const char* function)
{
    if (!Renderer::GetInstance()) {
        QS_LOG_ASSERT("Gleamwork/GWDataLoader", function, "There is no renderer to load into.");
    }
    return Renderer::GetInstance() != nullptr;
}

// Queues a command, or clears it where nobody would ever take it out of the queue.
void Push(RenderCommandManager* manager, qs::Command& command, const char* name)
{
    if (manager) {
        manager->PushCommand(command);
        return;
    }
    QS_LOG_ASSERT("Gleamwork/GWDataLoader", "gw::DataLoader",
                  "Command %u dropped: the %s command manager was never initialised.", command.GetType(), name);
    command.clear();
}

void PushImmediate(qs::Command& command)
{
    Push(DataLoader::s_ImmediateRenderCommandManager, command, "immediate");
}

void PushRelaxed(qs::Command& command)
{
    Push(DataLoader::s_RelaxedRenderCommandManager, command, "relaxed");
}

template <class Command>
bool Run(qs::CommandManager& manager, unsigned type)
{
    if (type != Command::TYPE) {
        return false;
    }
    Command command;
    manager.ExecuteCommand(command);
    return true;
}

template <class... Commands>
bool RunAnyOf(qs::CommandManager& manager, unsigned type)
{
    return (Run<Commands>(manager, type) || ...);
}

} // namespace

RenderCommandManager* DataLoader::s_ImmediateRenderCommandManager = nullptr;
RenderCommandManager* DataLoader::s_RelaxedRenderCommandManager = nullptr;

RenderCommandManager::RenderCommandManager(qs::CommandBuffer* buffer) : qs::CommandManager(buffer) {}

RenderCommandManager::~RenderCommandManager()
{
    DiscardCommands();
}

void RenderCommandManager::HandleCommand(unsigned int type)
{
    if (!RunAnyOf<DataLoaderExecuteRCBCommand, DataLoaderCreateTextureCommand, DataLoaderCreateTextureArrayCommand,
                  DataLoaderStreamTextureCommand, DataLoaderRemoveTextureCommand,
                  DataLoaderCreateTextureFromMemoryCommand, DataLoaderCreateTextureFromMemoryBlobCommand,
                  DataLoaderDuplicateVertexBufferCommand, DataLoaderRemoveVertexBufferCommand,
                  DataLoaderDuplicateIndexBufferCommand, DataLoaderRemoveIndexBufferCommand,
                  DataLoaderResizeRenderTargetCommand, DataLoaderResizeDepthTargetCommand,
                  DataLoaderRemoveShaderCommand, DataLoaderRemoveStructuredBufferCommand>(*this, type)) {
        QS_LOG_ASSERT("Gleamwork/GWDataLoader", "gw::RenderCommandManager::HandleCommand",
                      "Unknown renderer command type %d encountered", int(type));
    }
}

void DataLoader::InitImmediateCommandManager(qs::CommandBuffer* buffer)
{
    s_ImmediateRenderCommandManager = new RenderCommandManager(buffer);
    s_ImmediateRenderCommandManager->Initialize(c_initialQueueSize);
}

void DataLoader::InitRelaxedCommandManager(qs::CommandBuffer* buffer)
{
    s_RelaxedRenderCommandManager = new RenderCommandManager(buffer);
    s_RelaxedRenderCommandManager->Initialize(c_initialQueueSize);
}

void DataLoader::DestroyCommandManager()
{
    delete s_ImmediateRenderCommandManager;
    delete s_RelaxedRenderCommandManager;
}

qs::ObjectHandle DataLoader::InvokeAddTextureFromMemory(void* data, EFormat format, unsigned int width,
                                                        unsigned int height, unsigned int depth, unsigned int mipCount,
                                                        unsigned int* mipSizes, unsigned int arraySize,
                                                        unsigned int samples, ETextureUsageFlag usage,
                                                        ETextureAccessFlag access)
{
    if (!HasRenderer("gw::DataLoader::InvokeAddTextureFromMemory")) {
        return qs::ObjectHandle::Unassigned;
    }
    DataLoaderCreateTextureFromMemoryCommand command;
    command.format = format;
    command.width = std::max(width, 1u);
    command.height = std::max(height, 1u);
    command.depth = depth;
    command.mipCount = mipCount;
    command.arraySize = arraySize;
    command.samples = samples;
    command.usage = usage;
    command.access = access;
    command.CopyPixels(data, mipSizes);
    command.handle = GetRenderer().AddTexture();
    if (command.handle.IsValid()) {
        command.Execute();
    }
    command.clear();
    return command.handle;
}

qs::ObjectHandle DataLoader::InvokeAddTextureFromMemoryBlob(const qs::ScratchBuffer& source, ETextureUsageFlag usage,
                                                            ETextureAccessFlag access)
{
    if (!HasRenderer("gw::DataLoader::InvokeAddTextureFromMemoryBlob")) {
        return qs::ObjectHandle::Unassigned;
    }
    DataLoaderCreateTextureFromMemoryBlobCommand command;
    command.blob.CopyFrom(source);
    command.usage = usage;
    command.access = access;
    command.handle = GetRenderer().AddTexture();
    if (command.handle.IsValid()) {
        command.Execute();
    }
    command.clear();
    return command.handle;
}

qs::ObjectHandle DataLoader::InvokeAddVertexFormat(const FormatDesc* desc, unsigned int count, qs::ObjectHandle shader)
{
    if (!HasRenderer("gw::DataLoader::InvokeAddVertexFormat")) {
        return qs::ObjectHandle::Unassigned;
    }
    qs::ObjectHandle format = qs::ObjectHandle::Unassigned;
    GetRenderer().AddVertexFormat(desc, count, shader, format);
    return format;
}

VertexBufferID DataLoader::InvokeAddVertexBuffer(long size, EResourceUsage usage, const void* data)
{
    qs::HProfileSample sample("gw::DataLoader::InvokeAddVertexBuffer");
    if (size == 0 || !HasRenderer("gw::DataLoader::InvokeAddVertexBuffer")) {
        return qs::ObjectHandle::Unassigned;
    }
    if (size < 0) {
        QS_LOG_ASSERT("Gleamwork/GWDataLoader", "gw::DataLoader::InvokeAddVertexBuffer", "Invalid vertex size");
    }
    const VertexBufferID handle = GetRenderer().AddVertexBuffer();
    if (GetRenderer().IsVertexBufferAlive(handle)) {
        GetRenderer().CreateVertexBuffer(handle, size, usage, data);
    }
    return handle;
}

IndexBufferID DataLoader::InvokeAddIndexBuffer(unsigned int count, unsigned int stride, EResourceUsage usage,
                                               const void* data)
{
    qs::HProfileSample sample("gw::DataLoader::InvokeAddIndexBuffer");
    if (count == 0 || stride == 0 || !HasRenderer("gw::DataLoader::InvokeAddIndexBuffer")) {
        return qs::ObjectHandle::Unassigned;
    }
    const IndexBufferID handle = GetRenderer().AddIndexBuffer();
    if (GetRenderer().IsIndexBufferAlive(handle)) {
        GetRenderer().CreateIndexBuffer(handle, count, stride, usage, data);
    }
    return handle;
}

StructuredBufferID DataLoader::InvokeAddStructuredBuffer(unsigned int count, unsigned int stride, EResourceUsage usage,
                                                         bool raw, const void* data)
{
    qs::HProfileSample sample("gw::DataLoader::InvokeAddStructuredBuffer");
    if (count == 0 || stride == 0 || !HasRenderer("gw::DataLoader::InvokeAddStructuredBuffer")) {
        return qs::ObjectHandle::Unassigned;
    }
    const StructuredBufferID handle = GetRenderer().AddStructuredBuffer();
    if (GetRenderer().IsStructuredBufferAlive(handle)) {
        GetRenderer().CreateStructuredBuffer(handle, count, stride, usage, raw, data);
    }
    return handle;
}

void DataLoader::InvokeRemoveTexture(qs::ObjectHandle handle, bool force)
{
    DataLoaderRemoveTextureCommand command;
    command.handle = handle;
    command.force = force;
    PushRelaxed(command);
}

VertexBufferID DataLoader::InvokeDuplicateVertexBuffer(long size, EResourceUsage usage, VertexBufferID source)
{
    if (!HasRenderer("gw::DataLoader::InvokeDuplicateVertexBuffer")) {
        return qs::ObjectHandle::Unassigned;
    }
    if (size == 0) {
        QS_LOG_ASSERT("Gleamwork/GWDataLoader", "gw::DataLoader::InvokeDuplicateVertexBuffer", "Invalid vertex size");
    }
    DataLoaderDuplicateVertexBufferCommand command;
    command.target = GetRenderer().AddVertexBuffer();
    command.size = std::uint32_t(size);
    command.usage = usage;
    command.source = source;
    const VertexBufferID target = command.target;
    if (target.IsValid()) {
        PushImmediate(command);
    } else {
        command.clear();
    }
    return target;
}

IndexBufferID DataLoader::InvokeDuplicateIndexBuffer(unsigned int count, unsigned int stride, EResourceUsage usage,
                                                     IndexBufferID source)
{
    if (!HasRenderer("gw::DataLoader::InvokeDuplicateIndexBuffer")) {
        return qs::ObjectHandle::Unassigned;
    }
    DataLoaderDuplicateIndexBufferCommand command;
    command.target = GetRenderer().AddIndexBuffer();
    command.count = count;
    command.stride = stride;
    command.usage = usage;
    command.source = source;
    const IndexBufferID target = command.target;
    if (target.IsValid()) {
        PushImmediate(command);
    } else {
        command.clear();
    }
    return target;
}

void DataLoader::InvokeRemoveVertexBuffer(VertexBufferID handle)
{
    DataLoaderRemoveVertexBufferCommand command;
    command.handle = handle;
    PushImmediate(command);
}

void DataLoader::InvokeRemoveIndexBuffer(IndexBufferID handle)
{
    DataLoaderRemoveIndexBufferCommand command;
    command.handle = handle;
    PushImmediate(command);
}

void DataLoader::InvokeRemoveStructuredBuffer(StructuredBufferID handle)
{
    DataLoaderRemoveStructuredBufferCommand command;
    command.handle = handle;
    PushImmediate(command);
}

void DataLoader::InvokeRemoveShader(qs::ObjectHandle handle)
{
    DataLoaderRemoveShaderCommand command;
    command.handle = handle;
    PushImmediate(command);
}

void DataLoader::InvokeResizeRenderTarget(qs::ObjectHandle handle, int width, int height, int depth, int value)
{
    DataLoaderResizeRenderTargetCommand command;
    command.handle = handle;
    command.width = std::max(width, 1);
    command.height = std::max(height, 1);
    command.depth = depth;
    command.value = value;
    PushImmediate(command);
}

void DataLoader::InvokeResizeDepthTarget(qs::ObjectHandle handle, int width, int height)
{
    DataLoaderResizeDepthTargetCommand command;
    command.handle = handle;
    command.width = width;
    command.height = height;
    PushImmediate(command);
}

void DataLoader::InvokeExecuteRCB(RendererCommandBuffer* buffer)
{
    if (!buffer) {
        QS_LOG_ASSERT("Gleamwork/GWDataLoader", "gw::DataLoader::InvokeExecuteRCB",
                      "There is no command buffer to execute.");
        return;
    }
    DataLoaderExecuteRCBCommand command;
    command.buffer = buffer;
    PushImmediate(command);
}

} // namespace gw
