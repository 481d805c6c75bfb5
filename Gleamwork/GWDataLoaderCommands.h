// The commands that the data loader queues. A record in the queue holds a command's fields in the order of its visit,
// so type numbers, field order and field widths are the queue's format. The commands with images, 1, 2 and 6, stand in
// GWDataLoaderImageCommands.h.
#pragma once

#include "Gleamwork/RenderTypes.h"
#include "Gleamwork/image/Format.h"
#include "Gleamwork/image/GraphicsBuffer.h"

#include <cstdint>
#include <qs/CommandManager.h>
#include <qs/ScratchMemory.h>

namespace gw {

class RendererCommandBuffer;

/// Base of the commands: Type is the number that leads back to the class.
template <unsigned Type>
class DataLoaderCommand : public qs::Command
{
public:
    static constexpr unsigned TYPE = Type;

    DataLoaderCommand() : qs::Command(Type) {}
    void clear() override {}
};

/// Replays a recorded buffer and empties it. The buffer is not owned.
class DataLoaderExecuteRCBCommand : public DataLoaderCommand<0>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    RendererCommandBuffer* buffer = nullptr;
};

class DataLoaderRemoveTextureCommand : public DataLoaderCommand<3>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    qs::ObjectHandle handle = qs::ObjectHandle::Unassigned;
    bool force = false;
};

/// Owns its pixels and `mipSizes`.
class DataLoaderCreateTextureFromMemoryCommand : public DataLoaderCommand<4>
{
public:
    DataLoaderCreateTextureFromMemoryCommand() { memory.TakeOwnership(this); }
    void Execute() override;
    void clear() override;
    void visit(qs::EventVisitor* visitor) override;
    /// Copies the mip sizes, and the pixels that they count.
    void CopyPixels(const void* data, const unsigned* sizes);

    qs::ObjectHandle handle = qs::ObjectHandle::Unassigned;
    GraphicsBuffer memory;
    EFormat format = FORMAT_RGBA8;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t depth = 0;
    std::uint32_t mipCount = 0;
    unsigned* mipSizes = nullptr;
    std::uint32_t arraySize = 1;
    std::uint32_t samples = 1;
    ETextureUsageFlag usage = ETextureUsageFlag(0);
    ETextureAccessFlag access = eTextureAccessFlag_GPURead;
};

class DataLoaderCreateTextureFromMemoryBlobCommand : public DataLoaderCommand<5>
{
public:
    void Execute() override;
    void clear() override;
    void visit(qs::EventVisitor* visitor) override;

    qs::ScratchBuffer blob{32, 0};
    qs::ObjectHandle handle = qs::ObjectHandle::Unassigned;
    ETextureUsageFlag usage = eTextureUsageFlag_ShaderResource;
    ETextureAccessFlag access = eTextureAccessFlag_GPURead;
};

class DataLoaderDuplicateVertexBufferCommand : public DataLoaderCommand<7>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    VertexBufferID target;
    std::uint32_t size = 0;
    EResourceUsage usage = eResourceUsage_Immutable;
    VertexBufferID source;
};

class DataLoaderRemoveVertexBufferCommand : public DataLoaderCommand<8>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    VertexBufferID handle;
};

class DataLoaderDuplicateIndexBufferCommand : public DataLoaderCommand<9>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    IndexBufferID target;
    std::uint32_t count = 0;
    std::uint32_t stride = 0;
    EResourceUsage usage = eResourceUsage_Immutable;
    IndexBufferID source;
};

class DataLoaderRemoveIndexBufferCommand : public DataLoaderCommand<10>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    IndexBufferID handle;
};

class DataLoaderResizeRenderTargetCommand : public DataLoaderCommand<11>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    qs::ObjectHandle handle = qs::ObjectHandle::Unassigned;
    int width = 0;
    int height = 0;
    int depth = 0;
    int value = 0; ///< handed on to the renderer
};

class DataLoaderResizeDepthTargetCommand : public DataLoaderCommand<12>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    qs::ObjectHandle handle = qs::ObjectHandle::Unassigned;
    int width = 0;
    int height = 0;
};

class DataLoaderRemoveShaderCommand : public DataLoaderCommand<13>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    qs::ObjectHandle handle = qs::ObjectHandle::Unassigned;
};

class DataLoaderRemoveStructuredBufferCommand : public DataLoaderCommand<14>
{
public:
    void Execute() override;
    void visit(qs::EventVisitor* visitor) override;

    StructuredBufferID handle;
};

} // namespace gw
