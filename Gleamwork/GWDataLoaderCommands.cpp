// What the data loader's queued commands do, and how they lie in the queue. A command may come up after the renderer is
// gone; it then does nothing.
#include "Gleamwork/GWDataLoaderCommands.h"

#include "Gleamwork/Renderer.h"
#include "Gleamwork/RendererCommandBuffer.h"

#include <qs/Log.h>
#include <qs/Profile.h>

namespace gw {

namespace {

constexpr const char* c_mipSizeScope = "\"DataLoaderCreateTextureFromMemoryCommand_MipSize\"";

template <class ID>
void VisitID(qs::EventVisitor* visitor, ID& id)
{
    qs::ObjectHandle handle = id;
    visitor->Visit(handle);
    id = ID(handle);
}

// Passes a value through the integer that it has in the record.
template <class Stored, class T>
void VisitAs(qs::EventVisitor* visitor, T& value)
{
    auto stored = static_cast<Stored>(value);
    visitor->Visit(stored);
    value = static_cast<T>(stored);
}

} // namespace

void DataLoaderExecuteRCBCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderExecuteRCBCommand::Execute");
    if (!Renderer::GetInstance()) {
        buffer->Discard();
        return;
    }
    qs::ExecuteCommandDispatcher(*buffer, true);
}

void DataLoaderExecuteRCBCommand::visit(qs::EventVisitor* visitor)
{
    auto address = std::uint64_t(reinterpret_cast<std::uintptr_t>(buffer));
    visitor->Visit(address);
    buffer = reinterpret_cast<RendererCommandBuffer*>(std::uintptr_t(address));
}

void DataLoaderRemoveTextureCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderRemoveTextureCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsAlive(handle)) {
        renderer->RemoveTexture(handle, true, force);
    }
}

void DataLoaderRemoveTextureCommand::visit(qs::EventVisitor* visitor)
{
    visitor->Visit(handle);
    visitor->Visit(force);
}

void DataLoaderCreateTextureFromMemoryCommand::CopyPixels(const void* data, const unsigned* sizes)
{
    std::uint64_t total = 0;
    if (sizes) {
        qs::MemoryTrackerSample sample(c_mipSizeScope);
        mipSizes = new (qs::DefaultMemoryTag) unsigned[mipCount];
        for (std::uint32_t mip = 0; mipSizes && mip < mipCount; ++mip) {
            mipSizes[mip] = sizes[mip];
            total += sizes[mip];
        }
    }
    if (data && total != 0) {
        memory.CopyData(data, total);
    } else if (data) {
        QS_LOG_ERROR("Gleamwork/GWDataLoader", "gw::DataLoader::InvokeAddTextureFromMemory",
                     "Pixels of a %u by %u texture were given without the sizes of its mips; they are not used.", width,
                     height);
    }
}

void DataLoaderCreateTextureFromMemoryCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderCreateTextureFromMemoryCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsAlive(handle)) {
        renderer->CreateTexture(handle, memory, format, width, height, depth, mipCount, mipCount, mipSizes, arraySize,
                                samples, usage, access);
    }
}

void DataLoaderCreateTextureFromMemoryCommand::clear()
{
    {
        qs::MemoryTrackerSample sample(c_mipSizeScope);
        delete[] mipSizes;
        mipSizes = nullptr;
    }
    memory.SafeFree(this);
}

void DataLoaderCreateTextureFromMemoryCommand::visit(qs::EventVisitor* visitor)
{
    visitor->Visit(handle);
    memory.Visit(visitor);
    VisitAs<unsigned int>(visitor, format);
    visitor->Visit(width);
    visitor->Visit(height);
    visitor->Visit(depth);
    visitor->Visit(mipCount);
    auto address = std::uint64_t(reinterpret_cast<std::uintptr_t>(mipSizes));
    visitor->Visit(address);
    mipSizes = visitor->IsMovingOut() ? nullptr : reinterpret_cast<unsigned*>(std::uintptr_t(address));
    visitor->Visit(arraySize);
    visitor->Visit(samples);
    VisitAs<unsigned short>(visitor, usage);
    VisitAs<unsigned char>(visitor, access);
}

void DataLoaderCreateTextureFromMemoryBlobCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderCreateTextureFromMemoryBlobCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsAlive(handle)) {
        renderer->CreateTexture(handle, blob, usage, access);
    }
}

void DataLoaderCreateTextureFromMemoryBlobCommand::clear()
{
    blob.Clear();
}

void DataLoaderCreateTextureFromMemoryBlobCommand::visit(qs::EventVisitor* visitor)
{
    visitor->Visit(blob);
    visitor->Visit(handle);
    VisitAs<unsigned short>(visitor, usage);
    VisitAs<unsigned char>(visitor, access);
}

void DataLoaderDuplicateVertexBufferCommand::Execute()
{
    constexpr const char* function = "gw::DataLoaderDuplicateVertexBufferCommand::Execute";
    qs::HProfileSample sample(function);
    Renderer* renderer = Renderer::GetInstance();
    if (!renderer || !renderer->IsVertexBufferAlive(target)) {
        QS_LOG_ASSERT("Gleamwork/GWDataLoader", function,
                      "DataLoaderDuplicateVertexBufferCommand - CopyVertexBuffer not called! Target VB is not alive!");
        return;
    }
    renderer->CreateVertexBuffer(target, long(size), usage, nullptr);
    if (source.IsValid() && renderer->IsVertexBufferAlive(source)) {
        renderer->CopyVertexBuffer(source, target);
    } else {
        QS_LOG_ASSERT("Gleamwork/GWDataLoader", function,
                      "DataLoaderDuplicateVertexBufferCommand - CopyVertexBuffer not called! Source VB is not alive!");
    }
}

void DataLoaderDuplicateVertexBufferCommand::visit(qs::EventVisitor* visitor)
{
    VisitID(visitor, target);
    visitor->Visit(size);
    VisitAs<unsigned char>(visitor, usage);
    VisitID(visitor, source);
}

void DataLoaderRemoveVertexBufferCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderRemoveVertexBufferCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsVertexBufferAlive(handle)) {
        renderer->RemoveVertexBuffer(handle);
    }
}

void DataLoaderRemoveVertexBufferCommand::visit(qs::EventVisitor* visitor)
{
    VisitID(visitor, handle);
}

void DataLoaderDuplicateIndexBufferCommand::Execute()
{
    constexpr const char* function = "gw::DataLoaderDuplicateIndexBufferCommand::Execute";
    qs::HProfileSample sample(function);
    Renderer* renderer = Renderer::GetInstance();
    if (!renderer || !renderer->IsIndexBufferAlive(target)) {
        QS_LOG_ASSERT("Gleamwork/GWDataLoader", function,
                      "DataLoaderDuplicateIndexBufferCommand - CopyIndexBuffer not called! Target IB is not alive!");
        return;
    }
    renderer->CreateIndexBuffer(target, count, stride, usage, nullptr);
    if (source.IsValid() && renderer->IsIndexBufferAlive(source)) {
        renderer->CopyIndexBuffer(source, target);
    } else {
        QS_LOG_ASSERT("Gleamwork/GWDataLoader", function,
                      "DataLoaderDuplicateIndexBufferCommand - CopyIndexBuffer not called! Source IB is not alive!");
    }
}

void DataLoaderDuplicateIndexBufferCommand::visit(qs::EventVisitor* visitor)
{
    VisitID(visitor, target);
    visitor->Visit(count);
    visitor->Visit(stride);
    VisitAs<unsigned char>(visitor, usage);
    VisitID(visitor, source);
}

void DataLoaderRemoveIndexBufferCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderRemoveIndexBufferCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsIndexBufferAlive(handle)) {
        renderer->RemoveIndexBuffer(handle);
    }
}

void DataLoaderRemoveIndexBufferCommand::visit(qs::EventVisitor* visitor)
{
    VisitID(visitor, handle);
}

void DataLoaderResizeRenderTargetCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderResizeRenderTargetCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsAlive(handle)) {
        renderer->ResizeRenderTarget(handle, width, height, depth, value);
    }
}

void DataLoaderResizeRenderTargetCommand::visit(qs::EventVisitor* visitor)
{
    visitor->Visit(handle);
    visitor->Visit(width);
    visitor->Visit(height);
    visitor->Visit(depth);
    visitor->Visit(value);
}

void DataLoaderResizeDepthTargetCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderResizeDepthTargetCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsAlive(handle)) {
        renderer->ResizeRenderTarget(handle, width, height, 0, 1);
    }
}

void DataLoaderResizeDepthTargetCommand::visit(qs::EventVisitor* visitor)
{
    visitor->Visit(handle);
    visitor->Visit(width);
    visitor->Visit(height);
}

void DataLoaderRemoveShaderCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderRemoveShaderCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsShaderAlive(handle)) {
        renderer->RemoveShader(handle);
    }
}

void DataLoaderRemoveShaderCommand::visit(qs::EventVisitor* visitor)
{
    visitor->Visit(handle);
}

void DataLoaderRemoveStructuredBufferCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderRemoveStructuredBufferCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsStructuredBufferAlive(handle)) {
        renderer->RemoveStructuredBuffer(handle, true);
    }
}

void DataLoaderRemoveStructuredBufferCommand::visit(qs::EventVisitor* visitor)
{
    VisitID(visitor, handle);
}

} // namespace gw
