// The front door for resources: reserve a handle, make the device object behind it, now or through a queue.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/FormatDesc.h"
#include "Gleamwork/RenderTypes.h"
#include "Gleamwork/image/Format.h"

#include <qs/CommandManager.h>
#include <qs/Memory.h>

namespace qs {
class ScratchBuffer;
}

namespace gw {

class RendererCommandBuffer;

/// Base of the two queues' managers: turns records of the data loader's commands back into commands.
class GW_API RenderCommandManager : public qs::CommandManager
{
public:
    QS_DECLARE_ALLOC(gw::RenderCommandManager)

    explicit RenderCommandManager(qs::CommandBuffer* buffer);
    ~RenderCommandManager() override;

    void HandleCommand(unsigned int type) override;
};

/// Static operations on the one renderer. A handle is valid as soon as the call returns; an unassigned one means
/// failure. The first group makes the device object on the caller's thread and may run on loading threads. The queued
/// group writes a record that the drain of its manager's qs::CommandBuffer performs later, in the order of pushing:
/// the immediate manager for buffers, shaders, targets and recorded render commands, the relaxed one for textures.
class GW_API DataLoader
{
public:
    /// Make the managers on queues of the application; both calls must come before the first queued operation. The
    /// application decides which thread drains which queue; the immediate queue's must be able to run device work.
    static void InitImmediateCommandManager(qs::CommandBuffer* buffer);
    static void InitRelaxedCommandManager(qs::CommandBuffer* buffer);
    /// Deletes both managers. The pointers to them are left as they are: nothing may be queued any more.
    static void DestroyCommandManager();

    // On the caller's thread.

    /// A texture from pixels: `data` holds the mips (of all slices) one behind the other and is copied; it needs
    /// `mipSizes`, `mipCount` byte sizes. Null `data` makes an empty texture.
    static qs::ObjectHandle InvokeAddTextureFromMemory(void* data, EFormat format, unsigned int width,
                                                       unsigned int height, unsigned int depth, unsigned int mipCount,
                                                       unsigned int* mipSizes, unsigned int arraySize,
                                                       unsigned int samples, ETextureUsageFlag usage,
                                                       ETextureAccessFlag access);
    /// A texture from the bytes of a DDS file.
    static qs::ObjectHandle InvokeAddTextureFromMemoryBlob(const qs::ScratchBuffer& source, ETextureUsageFlag usage,
                                                           ETextureAccessFlag access);

    // Direct calls into the renderer. Sizes of 0 give an unassigned handle.

    static qs::ObjectHandle InvokeAddVertexFormat(const FormatDesc* desc, unsigned int count, qs::ObjectHandle shader);
    static VertexBufferID InvokeAddVertexBuffer(long size, EResourceUsage usage, const void* data);
    static IndexBufferID InvokeAddIndexBuffer(unsigned int count, unsigned int stride, EResourceUsage usage,
                                              const void* data);
    static StructuredBufferID InvokeAddStructuredBuffer(unsigned int count, unsigned int stride, EResourceUsage usage,
                                                        bool raw, const void* data);

    // Queued.

    static void InvokeRemoveTexture(qs::ObjectHandle handle, bool force);
    /// A copy of a buffer, filled when the queue is drained; `source` must then still be alive.
    static VertexBufferID InvokeDuplicateVertexBuffer(long size, EResourceUsage usage, VertexBufferID source);
    static IndexBufferID InvokeDuplicateIndexBuffer(unsigned int count, unsigned int stride, EResourceUsage usage,
                                                    IndexBufferID source);
    static void InvokeRemoveVertexBuffer(VertexBufferID handle);
    static void InvokeRemoveIndexBuffer(IndexBufferID handle);
    static void InvokeRemoveStructuredBuffer(StructuredBufferID handle);
    static void InvokeRemoveShader(qs::ObjectHandle handle);
    /// Width and height are at least 1. The last value is handed on to the renderer's operation.
    static void InvokeResizeRenderTarget(qs::ObjectHandle handle, int width, int height, int depth, int value);
    static void InvokeResizeDepthTarget(qs::ObjectHandle handle, int width, int height);

    /// Replays a recorded buffer, which is empty afterwards. It must stay alive and untouched until a drain of the
    /// queue that began after this call has returned.
    static void InvokeExecuteRCB(RendererCommandBuffer* buffer);

    static RenderCommandManager* s_ImmediateRenderCommandManager; ///< owned
    static RenderCommandManager* s_RelaxedRenderCommandManager;   ///< owned
};

} // namespace gw
