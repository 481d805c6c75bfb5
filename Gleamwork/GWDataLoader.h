// The front door for resources: reserve a handle, make the device object behind it, now or through a queue.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/FormatDesc.h"
#include "Gleamwork/RenderTypes.h"
#include "Gleamwork/image/Format.h"

#include <cstdint>
#include <qs/CommandManager.h>
#include <qs/FixedString.h>
#include <qs/MemView.h>
#include <qs/Memory.h>

namespace qs {
class Path;
class ScratchBuffer;
} // namespace qs

namespace gw {

class RendererCommandBuffer;
struct ShaderDefine;

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

    // From files, on the caller's thread, which may be a loading thread. What cannot be opened or read logs an error
    // with the path and gives an unassigned handle. `mipmaps`: the caller wants the file's mip levels. `srgb`: the
    // pixels are sRGB. `mipSkip`: largest mip levels to leave out; negative for the default of the graphics options.

    /// The out-values, in texels and levels (of the file, and held), may be null and are written on success only.
    static qs::ObjectHandle InvokeAddTexture(const qs::Path& path, bool mipmaps, bool srgb, int mipSkip, int* width,
                                             int* height, std::int64_t* originalMipCount, std::int64_t* mipCount);
    /// For images of at most 16384 by 16384. The size is written in any case; a larger image is not made, and its
    /// reserved handle is queued for removal.
    static qs::ObjectHandle InvokeAdd2DTexture(const qs::Path& path, bool mipmaps, bool srgb, int mipSkip, int& width,
                                               int& height);
    /// Images of one format and size. A handle comes in any case: an image that cannot be read, or that differs from
    /// the first one, is reported and leaves its element without defined content; without any image nothing is made.
    static qs::ObjectHandle InvokeAddTextureArray(const qs::Path* paths, std::uint64_t count, bool mipmaps, bool srgb,
                                                  int mipSkip);
    /// A font from its picture and its description.
    static qs::ObjectHandle InvokeAddFont(const qs::Path& image, const qs::Path& font);
    /// A text shader file, or with `binary` a binary one. Forwards to CreateShader.
    static qs::ObjectHandle InvokeAddShader(const qs::Path& path, bool binary, const qs::FixedString& name,
                                            const qs::FixedString& variant, ShaderDefine* defines);
    /// From HLSL texts, each null for no such stage. Forwards to CreateShader.
    static qs::ObjectHandle InvokeAddShader(const char* const vertex, const char* const geometry,
                                            const char* const fragment, const char* const compute);
    static qs::ObjectHandle CreateShader(const qs::Path& path, bool binary, const qs::FixedString& name,
                                         const qs::FixedString& variant, ShaderDefine* defines);
    static qs::ObjectHandle CreateShader(const char* const vertex, const char* const geometry,
                                         const char* const fragment, const char* const compute);
    /// Queued: replaces a living texture by the image in `file`, whose name only chooses the reader; the file is
    /// decoded at once, on the caller's thread, with `mip` levels left out, and the level counts are written. With an
    /// empty view the texture drops its `mip` largest levels instead.
    static void InvokeStreamTexture(qs::ObjectHandle handle, const qs::Path& path, bool srgb, int mip,
                                    const qs::MemView<const unsigned char>& file, std::int64_t& originalMipCount,
                                    std::int64_t& mipCount);

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
