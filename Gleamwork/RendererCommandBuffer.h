// How worker code talks to the renderer: operations that are recorded now and performed later, or performed at once.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/FormatDesc.h"
#include "Gleamwork/RenderTypes.h"
#include "Gleamwork/image/Format.h"

#include <cstddef>
#include <qs/CommandDispatcher.h>
#include <qs/FixedString.h>
#include <qs/Math.h>
#include <qs/Memory.h>

struct Shader;

namespace gw {

class FullScreenTriangle;
class Renderer;
struct TexVertex;
struct TexturedFont;

/// A recorder of renderer operations.
///
/// While IsRecording (the state at construction), an operation is written into the buffer and performed when the buffer
/// is replayed: hand the whole buffer to gw::DataLoader::InvokeExecuteRCB, or call qs::ExecuteCommandDispatcher on the
/// thread that owns the device. After SetRecording(false) each operation goes straight to the renderer with the same
/// arguments, on that same thread. Code that draws is the same in both modes.
///
/// What can be read from tables is settled while recording: prefab states become handles, new buffers get their IDs, a
/// texture its view and slots and a constant its place in the shader that was last set through this buffer, text its
/// vertices. Anything that touches the device waits for the replay.
///
/// Threads: a buffer belongs to one thread at a time and takes no lock; any number of threads record into buffers of
/// their own at once, also while others load resources. Between InvokeExecuteRCB and the end of the replay the buffer
/// is the replaying thread's. Once replayed it is empty and records into the same memory again, so that a steady load
/// allocates nothing.
///
/// Lifetimes: the renderer must exist before the buffer and outlive it. Until the replay these must stay: shaders that
/// recorded commands use, names as interned strings (no reference is taken), the text given to GPUWait, and vertices
/// that were passed with `copy` false. Textures may be removed: their device data outlives the frames in which they
/// were recorded. Handles are not checked while recording; a stale one is reported by the replay and has no effect.
class GW_API RendererCommandBuffer : public qs::CommandDispatcher
{
public:
    QS_DECLARE_ALLOC(gw::RendererCommandProcessor)

    /// Bytes of the first blocks of the two streams; they grow as needed.
    explicit RendererCommandBuffer(std::size_t commandBytes = 16384, std::size_t destructBytes = 64);
    ~RendererCommandBuffer() = default;

    // Targets: RendererCommandBuffer.cpp

    /// `slices` and `mips` may be null, -1 in them asks for the whole resource. The arrays are copied.
    void SetRenderTargets(unsigned count, const qs::ObjectHandle* targets, const int* slices, const int* mips,
                          qs::ObjectHandle depth, bool readOnlyDepth, int depthSlice);
    void ClearRenderTarget(qs::ObjectHandle target, int slice, const Vector4f& color);
    void ClearDepthStencil(qs::ObjectHandle target, int slice, EDepthStencilClearMode mode, float depth,
                           unsigned char stencil);
    void SetViewport(int width, int height, int x, int y);
    void SetScissorRect(int left, int top, int right, int bottom);

    // State: RendererCommandBuffer.cpp

    void SetBlendState(const qs::ObjectHandle& state, unsigned mask);
    void SetRasterizerState(qs::ObjectHandle state);
    void SetDepthState(const qs::ObjectHandle& state, unsigned stencilRef);
    /// Prefab forms. An index out of range asserts and does nothing.
    void SetBlendState(EPrefabBlendState index, unsigned mask);
    void SetRasterizerState(EPrefabRasterizerState index);
    void SetDepthState(EPrefabDepthState index, unsigned stencilRef);
    /// Textures and constants that follow are looked up in this shader.
    void SetShader(qs::ObjectHandle shader);
    /// Shader, states, format, buffers and topology at once; what is unassigned of the second and third vertex buffer
    /// and the index buffer keeps what it was.
    void PrepareDraw(PrepareDrawData&& data);
    void SetVertexFormat(qs::ObjectHandle format);
    /// `offset` is bytes.
    void SetVertexBuffer(int stream, VertexBufferID id, long long offset);
    void SetIndexBuffer(IndexBufferID id);
    void SetPrimitiveTopology(EPrimitiveTopology topology);

    // Resources of the shader, by name: RendererCommandBuffer.cpp

    /// `slice` -1 binds the whole texture. Without a shader, or when the shader does not know the name, nothing happens
    /// beyond what the renderer logs.
    void SetTexture(const qs::FixedString& name, qs::ObjectHandle texture, int slice);
    void SetUAV(const qs::FixedString& name, StructuredBufferID id);
    void SetStructuredBuffer(const qs::FixedString& name, StructuredBufferID id);
    void SetSamplerState(const qs::FixedString& name, qs::ObjectHandle state);
    void ApplyTextures();
    void ApplyUAVs();

    // Constants: RendererCommandBufferConstants.cpp

    /// Copies `size` bytes. A name that the shader does not have is recorded and has no effect.
    void SetShaderConstantRaw(const qs::FixedString& name, const void* data, unsigned size);
    void SetShaderConstant1i(const qs::FixedString& name, int value);
    void SetShaderConstant2i(const qs::FixedString& name, const Vector2i& value);
    void SetShaderConstant3i(const qs::FixedString& name, const Vector3i& value);
    void SetShaderConstant4i(const qs::FixedString& name, const Vector4i& value);
    void SetShaderConstant1f(const qs::FixedString& name, float value);
    void SetShaderConstant2f(const qs::FixedString& name, const Vector2f& value);
    void SetShaderConstant3f(const qs::FixedString& name, const Vector3f& value);
    void SetShaderConstant4f(const qs::FixedString& name, const Vector4f& value);
    /// The shader gets the matrix transposed.
    void SetShaderConstant4x4f(const qs::FixedString& name, const Matrix4x4f& value);
    /// The values stand one behind the other, without padding.
    void SetShaderConstantArray1f(const qs::FixedString& name, const float* values, unsigned short count);
    void SetShaderConstantArray2f(const qs::FixedString& name, const Vector2f* values, unsigned short count);
    void SetShaderConstantArray3f(const qs::FixedString& name, const Vector3f* values, unsigned short count);
    void SetShaderConstantArray4f(const qs::FixedString& name, const Vector4f* values, unsigned short count);
    /// The corner rays of the view in world or view space, 64 bytes, as they are at the replay.
    void SetFrustumShaderParam(const qs::FixedString& name);
    void SetFrustumShaderParamViewSpace(const qs::FixedString& name);
    /// Per-view values, which UpdateGlobalConstants brings to the shaders.
    void SetRenderProperties(const Matrix4x4f& view, const Matrix4x4f& projection, const Vector3f& position,
                             float viewInfo0, float viewInfo1);
    /// Centre, up and right of the far plane in world space (a, b, c) and in view space (d, e, f).
    void SetRenderFrustrumCorners(const Vector3f& a, const Vector3f& b, const Vector3f& c, const Vector3f& d,
                                  const Vector3f& e, const Vector3f& f);
    void SetClusteredLightingProperties(float x, float y, float z, float w);
    void UpdateGlobalConstants();

    // Buffers and textures: RendererCommandBufferResources.cpp

    /// Made at once in both modes.
    qs::ObjectHandle CreateVertexFormat(const FormatDesc* descs, unsigned count, qs::ObjectHandle shader);
    /// The ID is valid at once; while recording the device buffer comes at the replay. `data` is copied and may be null
    /// unless the usage is immutable.
    VertexBufferID CreateVertexBuffer(unsigned size, EResourceUsage usage, const void* data);
    IndexBufferID CreateIndexBuffer(unsigned count, unsigned stride, EResourceUsage usage, const void* data);
    void RemoveVertexBuffer(VertexBufferID id);
    void RemoveIndexBuffer(IndexBufferID id);
    /// Rewrites a dynamic texture from tightly packed rows, which are copied.
    void UpdateTextureData(qs::ObjectHandle texture, const unsigned char* pixels, int width, int height,
                           int bytesPerPixel);
    /// Gives memory to write before the matching unlock. While recording that is room in the buffer for `size.y` rows
    /// of `size.x * bytesPerPixel` bytes, aligned to 16, which the replay copies into the texture; else the texture's
    /// own, whatever the size says. `data` is null, and the resource must not be unlocked, when the room or the lock
    /// cannot be had. `pitch`, bytes from row to row, may be null.
    void LockTexture(const qs::ObjectHandle& texture, unsigned subresource, Vector2i size, int bytesPerPixel,
                     void** data, int* pitch, EResourceAccess access);
    void UnlockTexture(const qs::ObjectHandle& texture, unsigned subresource);
    /// As LockTexture, for `size` bytes. A size of 0 asserts and goes on.
    void LockVertexBuffer(const VertexBufferID& id, unsigned offset, unsigned size, void** data,
                          EResourceAccess access);
    void UnlockVertexBuffer(const VertexBufferID& id);
    void LockIndexBuffer(const IndexBufferID& id, unsigned offset, unsigned size, void** data, EResourceAccess access);
    void UnlockIndexBuffer(const IndexBufferID& id);
    void CopyVertexBuffer(const VertexBufferID& source, const VertexBufferID& target);
    void CopyIndexBuffer(const IndexBufferID& source, const IndexBufferID& target);
    void CopyTexture(qs::ObjectHandle source, qs::ObjectHandle target);
    /// One subresource: `mip + slice * mipCount`.
    void CopyTextureSlice(qs::ObjectHandle source, int sourceSubresource, qs::ObjectHandle target,
                          int targetSubresource);

    // Draws: RendererCommandBufferDraw.cpp, RendererCommandBufferText.cpp

    void DrawArrays(int firstVertex, int vertexCount);
    void DrawElements(int firstIndex, int indexCount, int baseVertex, int vertexCount);
    void DrawElementsInstanced(int firstInstance, int instanceCount, int firstIndex, int indexCount, int baseVertex,
                               int vertexCount);
    void Dispatch(int x, int y, int z);
    /// Immediate drawing. With `copy` the vertices are copied while recording; without it the caller's must stay valid
    /// until the replay. 2D positions are pixels of Setup2DMode.
    void DrawPlain(EPrimitiveTopology topology, const Vector2f* vertices, unsigned count, bool copy,
                   qs::ObjectHandle blend, qs::ObjectHandle depth, const Vector4f& color);
    void DrawPlain3D(EPrimitiveTopology topology, const Vector3f* vertices, unsigned count, bool copy,
                     qs::ObjectHandle blend, qs::ObjectHandle depth, const Vector4f& color);
    /// `vertices` are Vector3f, `indexStride` is 2 or 4 bytes.
    void DrawPlain3DIndexed(const Matrix4x4f& world, EPrimitiveTopology topology, const void* vertices,
                            unsigned vertexCount, const void* indices, unsigned indexCount, unsigned indexStride,
                            bool copy, qs::ObjectHandle blend, qs::ObjectHandle depth, qs::ObjectHandle rasterizer,
                            const Vector4f& color);
    void DrawTextured(EPrimitiveTopology topology, const Vector2f& offset, TexVertex* vertices, unsigned count,
                      bool copy, qs::ObjectHandle texture, qs::ObjectHandle sampler, qs::ObjectHandle blend,
                      qs::ObjectHandle depth, const Vector4f& color);
    void Setup2DMode(float left, float right, float top, float bottom);
    /// Text in pixels, with a shadow one pixel up and left of it unless both colours are the same. Laid out while
    /// recording. False after an assertion when the font is gone; a text without glyphs draws nothing and gives true.
    bool DrawText(const char* text, float x, float y, const Vector4f& color, const Vector4f& shadow,
                  qs::ObjectHandle font, qs::ObjectHandle sampler, qs::ObjectHandle blend, qs::ObjectHandle depth);
    bool DrawText(const wchar_t* text, float x, float y, const Vector4f& color, const Vector4f& shadow,
                  qs::ObjectHandle font, qs::ObjectHandle sampler, qs::ObjectHandle blend, qs::ObjectHandle depth);
    /// Text in the plane of a world matrix. A null text gives false.
    bool DrawText3D(const char* text, const Matrix4x4f& world, const Vector4f& color, qs::ObjectHandle font,
                    qs::ObjectHandle depth);
    bool DrawText3D(const wchar_t* text, const Matrix4x4f& world, const Vector4f& color, qs::ObjectHandle font,
                    qs::ObjectHandle depth);
    /// The renderer's own triangle as a full-screen pass with the opaque blend state.
    void BeginRenderFullScreenTriangle(qs::ObjectHandle shader, qs::ObjectHandle depth, unsigned stencilRef);
    void EndRenderFullScreenTriangle();

    // Device hints and markers: RendererCommandBufferDraw.cpp

    void GPUWait(ESyncType type, qs::ObjectHandle resource, const char* text, int first, int second);
    /// Named scopes for device debuggers.
    void BeginRenderEvent(const qs::FixedString& name);
    void EndRenderEvent(const qs::FixedString& name);
    /// Other back ends' features; this one takes and replays them without effect.
    void SetSampleLocations(int count, bool enable);
    void EnableEQAA(bool enable);
    void EnableIDBuffer(bool enable);
    void SetGradientAdjust(int mode, bool first, bool second);
    void ResolveDepthBuffer(qs::ObjectHandle source, qs::ObjectHandle target);

    // Questions, answered at once in both modes: RendererCommandBuffer.cpp

    qs::ObjectHandle GetDefaultWhiteTexture() const;
    qs::ObjectHandle GetDefaultBlackTexture() const;
    qs::ObjectHandle GetDefaultWhiteTextureCube() const;
    qs::ObjectHandle GetDefaultBlackTextureCube() const;
    const FullScreenTriangle& GetDefaultFullScreenTriangle() const;
    qs::ObjectHandle GetDebugRenderPassTexture(const qs::FixedString& pass) const;
    void GetTextureDimensions(qs::ObjectHandle texture, unsigned& width, unsigned& height, unsigned& depth) const;
    EFormat GetTextureFormat(qs::ObjectHandle texture) const;
    int GetTextureNumMipMaps(qs::ObjectHandle texture) const;

    /// Marks the end of a recording. Nothing to do: records are whole as soon as they are written.
    void Finalize() {}

    // Replay, called by qs::ExecuteCommandDispatcher on the thread that owns the device: RendererCommands.cpp

    void PreExecute(bool destroy);
    /// Performs one record and gives its size in bytes. An unknown id asserts and ends the replay.
    std::size_t ProcessCommand(unsigned char id, const char* record);
    void DestructCommand(unsigned char id, const char* data);

private:
    /// A command without payload: its fields in their order behind the id.
    template <class Command, class... Fields>
    void Write(const Fields&... fields);
    /// The same with `bytes` behind the fixed fields; null when there is no room.
    template <class Command, class... Fields>
    char* WriteWithRoom(std::size_t bytes, const Fields&... fields);
    /// Room in the data pool, aligned to 16; null when there is none.
    void* TakePool(std::size_t bytes);
    /// With `copy` puts a copy into the pool and points there; false when there is no room.
    template <class Vertex>
    bool KeepVertices(Vertex*& vertices, std::size_t bytes, bool copy);
    /// Vertices in the data pool; null without glyphs and without room.
    TexVertex* LayOutText(const char* text, const TexturedFont& font, bool flip, unsigned& vertexCount);

    Renderer* m_renderer; ///< not owned
    const Shader* m_currentShader = nullptr;
    /// Buffers of two threads may lie side by side: what one writes must not share a cache line with the other's.
    [[maybe_unused]] char m_distance[64];
};

} // namespace gw

namespace qs {

extern template GW_API void ExecuteCommandDispatcher<gw::RendererCommandBuffer>(gw::RendererCommandBuffer&, bool);

} // namespace qs
