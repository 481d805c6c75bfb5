// The device half of the renderer: every operation that reaches Direct3D 11. One class, many sources: each block below
// names the source that holds it.
#pragma once

#include "Gleamwork/CompiledShader.h"
#include "Gleamwork/RendererBase.h"
#include "Gleamwork/Shader.h"
#include "Gleamwork/dx11/D3D11API.h"
#include "Gleamwork/dx11/D3D11StateCache.h"
#include "Gleamwork/dx11/D3D11Structs.h"
#include "Gleamwork/dx11/SRVMap.h"

#include <qs/ObjectContainer.h>
#include <qs/Path.h>
#include <qs/ScratchMemory.h>

#include <vector>

struct ID3D11ShaderReflection;
struct ID3DUserDefinedAnnotation;

namespace gw {
class GraphicsBuffer;
class Image;
class RenderFrameCopyBuffer;
struct MeasurementNode;
struct ShaderDefine;
} // namespace gw

namespace api {

class D3D11PerformanceTracker;

/// The middle of the three classes that together are the renderer. It has no virtual operations; `gw::Renderer` calls
/// it directly.
///
/// Threads: handles may be added and looked up anywhere, since the tables lock for themselves, and so may textures and
/// buffers be created that are not render targets. Whatever touches the immediate context (maps, copies, clears, draws,
/// bindings) belongs to the render thread, and so do the frame counter, the state shadow and the rolling buffers.
///
/// Failures give a null view, false or an unassigned handle, and one log line; nothing here ends the process.
class GW_API D3D11Renderer : public gw::details::RendererBase
{
public:
    /// Most array slices times mips of a texture that is created with contents.
    static constexpr std::uint32_t MAX_INITIAL_SUBRESOURCES = 512;
    static constexpr std::uint32_t GLOBAL_CONSTANT_BUFFER_COUNT = 4;
    static constexpr std::uint32_t FIRST_GLOBAL_BIND_POINT = 10; ///< slots below belong to the shaders' own buffers

    /// The copy of the device record taken at construction.
    const D3D11APIData& GetDeviceData() const { return m_deviceData; }

    // Textures: D3D11RendererTextures.cpp, D3D11TextureViews.cpp, D3D11TextureRemoval.cpp, D3D11TextureAccess.cpp

    /// A handle on a fresh record; no device work yet.
    qs::ObjectHandle AddTexture();
    /// Adds a copy of a filled record, which then owns the references: for back buffers.
    qs::ObjectHandle AddTexture(const Texture& texture);
    qs::ObjectHandle AddExternalTexture(const Texture& texture) { return AddTexture(texture); }
    /// Makes the device texture of an added handle.
    /// Sizes are texels: `height` 0 means 1D, `depth` 0 means not 3D. `mem` holds slice after slice, and in a slice mip
    /// after mip without padding; `mipSizes[m]` is the byte size of mip `m` over all slices. With an empty `mem` or no
    /// `mipSizes` there are no contents. `mipCount` 0 asks for the full chain. False after an assertion when a check or
    /// the device refuses; the handle stays valid and has no resource.
    bool CreateTexture(qs::ObjectHandle handle, gw::GraphicsBuffer& mem, gw::EFormat format, unsigned width,
                       unsigned height, unsigned depth, unsigned mipCount, unsigned originalMipCount,
                       unsigned* mipSizes, unsigned arraySize, unsigned msaaSamples, gw::ETextureUsageFlag usage,
                       gw::ETextureAccessFlag access);
    /// An immutable shader texture from a loaded image; a cube when the image is one.
    void CreateTexture(qs::ObjectHandle handle, gw::Image& image, bool sRGB);
    /// From the bytes of a DDS file.
    void CreateTexture(qs::ObjectHandle handle, const qs::ScratchBuffer& dds, gw::ETextureUsageFlag usage,
                       gw::ETextureAccessFlag access);
    /// Drops top mips of a live texture: it keeps `originalMipCount - mip` of them. The handle stays the same.
    void DecreaseMip(qs::ObjectHandle handle, int mip);
    /// Makes a target anew in another size, without contents. The last argument is not read.
    void ResizeRenderTarget(qs::ObjectHandle handle, int width, int height, int depth, int);
    /// Ends a texture's device data: at once when it was not bound within the last frames or `force` is set, else in
    /// the `ClearTextures` call whose frame it must not outlive. `removeRecord` ends the handle too; without it the
    /// handle can be created anew. `TEXTURE_NONE` does nothing.
    void RemoveTexture(qs::ObjectHandle handle, bool removeRecord, bool force);
    /// Destroys the delayed removals that are due, or all with `force`, and advances the frame counter by one.
    void ClearTextures(bool force);
    /// Bytes of all slices and mips; 0 without device data.
    unsigned GetTextureSize(qs::ObjectHandle handle);
    /// Texels of mip 0; all 0 for a handle without record.
    void GetTextureDimensions(qs::ObjectHandle handle, unsigned& width, unsigned& height, unsigned& depth) const;
    bool IsAlive(qs::ObjectHandle handle) const;
    /// A missing record asserts and gives `FORMAT_NONE`.
    gw::EFormat GetFormat(qs::ObjectHandle handle) const;
    gw::ETextureUsageFlag GetUsageFlags(qs::ObjectHandle handle);
    gw::ETextureAccessFlag GetAccessFlags(qs::ObjectHandle handle);
    int GetNumMipMaps(qs::ObjectHandle handle) const;
    /// The record or null.
    Texture* GetTextureById(qs::ObjectHandle handle);
    Texture* GetTexture(qs::ObjectHandle handle, gw::ETexturePrefer) { return GetTextureById(handle); }
    /// Handle of the `index`-th live texture; past the end asserts and gives `TEXTURE_NONE`.
    qs::ObjectHandle GetTextureHandleById(unsigned short index) const;
    /// Files views under an owner; the views then belong to that owner.
    void AddSRV(const SRV& srv, qs::ObjectHandle owner);
    SRV* GetSRV(qs::ObjectHandle owner, gw::ESRVPrefer = gw::eSRVPrefer_Default) const;
    /// Drops the entry, not the views.
    void RemoveSRV(qs::ObjectHandle owner);
    /// Releases the record's device references and nulls them.
    void ClearTexture(Texture& texture);
    /// Releases the views; `texture` tells how many slice views there are.
    void ClearSRV(Texture& texture, SRV& srv);
    /// Maps mip 0 of the first slice. `pitch` may be null; it gets the bytes from row to row.
    bool LockTexture(const qs::ObjectHandle& handle, unsigned mip, void** data, int* pitch, gw::EResourceAccess access);
    bool UnlockTexture(const qs::ObjectHandle& handle, unsigned mip);
    /// Bytes from row to row of a mappable texture, whose contents may be lost by asking; 0 when it cannot be mapped.
    int GetTexturePitch(qs::ObjectHandle handle, unsigned);
    /// Copies all contents; both must be alike.
    void CopyTexture(qs::ObjectHandle src, qs::ObjectHandle dst);
    /// Copies one subresource (`mip + slice * mipCount`).
    void CopyTextureSlice(qs::ObjectHandle src, int srcSub, qs::ObjectHandle dst, int dstSub);
    void CopyTextureSlice(Texture* src, int srcSub, Texture* dst, int dstSub);
    /// Fills all mips from mip 0. An owner without shader view is skipped.
    void GenerateMips(const qs::ObjectHandle& handle);
    /// The device formats of a library format under a usage, all six as `DXGI_FORMAT` numbers. A depth format that is
    /// read by shaders gets a typeless texture; the sRGB bit moves to the sRGB twin.
    static void GetDXGIFormatsFromGWFormat(gw::EFormat format, gw::ETextureUsageFlag usage, DxgiFormat& texture,
                                           DxgiFormat& renderTarget, DxgiFormat& depthStencil,
                                           DxgiFormat& unorderedAccess, DxgiFormat& shaderResource,
                                           DxgiFormat& stencilShaderResource);
    /// Every texture of this back end is a whole device resource for all its life: nothing is paged, nothing is stored.
    void SetGPUTexturesEnabled(bool) {}

    // Buffers: D3D11RendererBuffers.cpp, D3D11BufferAccess.cpp, D3D11RollingBuffers.cpp

    VertexBufferID AddVertexBuffer();
    IndexBufferID AddIndexBuffer();
    /// Adds the texture record of the buffer's views as well.
    StructuredBufferID AddStructuredBuffer();
    /// Makes the device buffer of an added handle, once per handle. `data` may be null unless the usage is immutable.
    void CreateVertexBuffer(VertexBufferID id, long size, gw::EResourceUsage usage, const void* data);
    void CreateVertexBufferInternal(VertexBufferID id, long size, gw::EResourceUsage usage, bool streamOutput,
                                    const void* data);
    /// `indexSize` is 2 or 4 bytes.
    void CreateIndexBuffer(IndexBufferID id, unsigned indexCount, unsigned indexSize, gw::EResourceUsage usage,
                           const void* data);
    /// `raw` buffers are addressed in bytes, others in elements of `elementSize` bytes.
    void CreateStructuredBuffer(StructuredBufferID id, unsigned elementCount, unsigned elementSize,
                                gw::EResourceUsage usage, bool raw, const void* data);
    /// Immediate, unlike textures: the device keeps what it still reads.
    void RemoveVertexBuffer(VertexBufferID id);
    void RemoveIndexBuffer(IndexBufferID id);
    void RemoveStructuredBuffer(StructuredBufferID id, bool removeRecord);
    /// A new buffer of another length behind the same handles; the old contents are lost.
    void ResizeStructuredBuffer(StructuredBufferID id, int elementCount);
    gw::EResourceUsage GetVertexBufferUsage(VertexBufferID id) const;
    /// Usage of the index buffer that the handle value names, whatever the argument's type says.
    gw::EResourceUsage GetIndexBufferUsage(VertexBufferID id) const;
    bool HasCPUReadAccessVB(VertexBufferID id) const;
    bool HasCPUReadAccessIB(IndexBufferID id) const;
    bool NeedsReleaseOnDeviceResetVB(VertexBufferID) const { return false; }
    bool NeedsReleaseOnDeviceResetIB(VertexBufferID) const { return false; }
    /// Maps the whole buffer. False, with `*data` null, when it cannot be mapped; `ReadNoWait` on a buffer that the
    /// device still uses fails without a log line (not for index buffers, whose map always waits). The two numbers are
    /// not read.
    bool LockVertexBuffer(const VertexBufferID& id, unsigned, unsigned, void** data, gw::EResourceAccess access);
    bool UnlockVertexBuffer(const VertexBufferID& id);
    bool LockIndexBuffer(const IndexBufferID& id, unsigned, unsigned, void** data, gw::EResourceAccess access);
    bool UnlockIndexBuffer(const IndexBufferID& id);
    bool LockStructuredBuffer(const StructuredBufferID& id, void** data, gw::EResourceAccess access,
                              unsigned long long);
    bool UnlockStructuredBuffer(const StructuredBufferID& id);
    /// Copies between two buffers of the same byte size.
    bool CopyVertexBuffer(const VertexBufferID& src, const VertexBufferID& trgt);
    bool CopyIndexBuffer(const IndexBufferID& src, const IndexBufferID& trgt);
    void CopyStructuredBuffer(const StructuredBufferID& src, const StructuredBufferID& dst);
    /// Writes `size` bytes into the rolling buffer and gives their byte offset. Each call discards what earlier calls
    /// wrote, so draw before the next one. The buffer grows when `size` is larger than all of it.
    unsigned copyToRollingVB(const void* data, unsigned size);
    unsigned copyToRollingIB(const void* data, unsigned size);
    /// No CPU copy of pixel data outlives a texture's creation here, so there is nothing to keep or delete.
    void KeepBuffer(const Texture*, gw::GraphicsBuffer&) {}
    void DeleteBuffers() {}
    void PrepareToDeleteBuffer(const Texture*) {}

    // Capture: D3D11RendererCapture.cpp

    /// Writes a live texture to a file; the path's extension (DDS, TGA, JPG, PNG or BMP in any case of letters) is the
    /// format. `compress` (BC1) and `generateMips` act on DDS, which takes all slices and mips; the other formats get
    /// the top mip of the first slice. Waits for the device. False after a log line; the two numbers are not read.
    bool SaveRenderTargetData(qs::ObjectHandle texture, qs::Path path, bool compress, bool generateMips, int, int);
    /// The same into memory: the encoded bytes are appended, and only on success.
    bool SaveRenderTargetData(qs::ObjectHandle texture, qs::ScratchBuffer* buffer, bool compress, bool generateMips,
                              const qs::FixedString& extension);
    /// This back end has no frame copies: always false.
    bool SaveRenderTargetData(qs::ObjectHandle texture, gw::RenderFrameCopyBuffer* buffer);
    /// PNG, without a word in the log.
    bool SaveRenderTargetDataJiraUtility(qs::ObjectHandle texture, qs::ScratchBuffer* buffer);
    bool SaveRenderTargetDataJiraUtility(qs::ObjectHandle texture, const qs::Path& path);

    // States: D3D11RendererStates.cpp

    /// Each call makes a new device object; nothing is shared. `SS_INVALID` and its sisters when the device refuses.
    qs::ObjectHandle AddSamplerState(gw::EFilter filter, gw::EAddressMode u, gw::EAddressMode v, gw::EAddressMode w,
                                     float mipLodBias, unsigned maxAnisotropy, gw::EComparisonFunction comparison);
    qs::ObjectHandle AddBlendState(gw::EBlendConstants src, gw::EBlendConstants dst, gw::EBlendOperation op,
                                   int writeMask, gw::EBlendConstants srcAlpha, gw::EBlendConstants dstAlpha,
                                   gw::EBlendOperation opAlpha, bool);
    qs::ObjectHandle AddDepthState(bool depthEnable, bool depthWrite, gw::EComparisonFunction depthFunc,
                                   bool stencilEnable, unsigned char stencilMask, gw::EComparisonFunction stencilFunc,
                                   gw::EStencilOperation stencilFail, gw::EStencilOperation depthFail,
                                   gw::EStencilOperation pass);
    qs::ObjectHandle AddRasterizerState(gw::ECullModes cull, gw::EFillModes fill, bool multisample, bool scissor,
                                        bool depthBias);
    void RemoveSamplerState(qs::ObjectHandle handle);
    void RemoveBlendState(qs::ObjectHandle handle);
    void RemoveDepthState(qs::ObjectHandle handle);
    void RemoveRasterizerState(qs::ObjectHandle handle);
    void SetBlendState(const qs::ObjectHandle& handle, unsigned sampleMask);
    void SetDepthState(const qs::ObjectHandle& handle, unsigned stencilRef);
    void SetRasterizerState(const qs::ObjectHandle& handle);
    void SetPrimitiveTopology(gw::EPrimitiveTopology topology);

    // Vertex formats: D3D11RendererVertexFormats.cpp

    /// Finds or makes the format of `count` descs, checked against `shader` or, without one, a generated shader.
    void AddVertexFormat(const gw::FormatDesc* descs, unsigned count, qs::ObjectHandle shader, qs::ObjectHandle& out);
    void CreateVertexFormat(VertexFormat* format, qs::ObjectHandle shader);
    void CreateVertexFormatInternal(VertexFormat* format, qs::ObjectHandle shader);
    void RemoveVertexFormat(qs::ObjectHandle handle);
    void SetVertexFormat(const qs::ObjectHandle& handle);
    using RendererBase::GetVertexSize;
    /// Bytes of one vertex in a stream; 0 for a handle without record or a stream out of range.
    unsigned GetVertexSize(qs::ObjectHandle handle, int stream);
    /// The descs stay the format's. Nothing is written for a handle without record.
    void GetVertexFormatDesc(qs::ObjectHandle handle, gw::FormatDesc*& descs, unsigned& count);
    unsigned char GetNumTexCoords(qs::ObjectHandle handle) const;

    // Shaders: D3D11RendererShaders.cpp

    /// Stores the bytecode of up to three stages, compiled first when `compile` is set. The geometry stage, the two
    /// names, the path list and its count are not read.
    qs::ObjectHandle AddShader(const gw::ShaderData& vertex, const gw::ShaderData& geometry,
                               const gw::ShaderData& fragment, const gw::ShaderData& compute,
                               const qs::FixedString& name, const qs::FixedString& variant, bool compile,
                               gw::ShaderDefine* defines, qs::Path const* const paths, unsigned pathCount);
    /// Makes the device shaders and the binding tables of an added shader.
    void CreateShader(qs::ObjectHandle handle);
    void RemoveShader(qs::ObjectHandle handle) { RemoveShaderInternal(handle); }
    void RemoveCompiledShader(qs::ObjectHandle handle);
    void GetShaderDesc(qs::ObjectHandle handle, int& vertexInstructions, int& fragmentInstructions,
                       int& computeInstructions, int& constants, int& unused, int& samplers, int& vertexSamplers,
                       int& pixelSamplers);
    void GetInstructionCount(qs::ObjectHandle handle, int& vertex, int& fragment);
    /// Exchanges the two records whole: every holder of one handle reaches the other's content.
    void SwapShaders(qs::ObjectHandle a, qs::ObjectHandle b);
    bool ValidateShaderConstant(const qs::FixedString& name, const qs::ObjectHandle& shader) const;
    bool ValidateShaderTexture(const qs::FixedString& name, const qs::ObjectHandle& shader) const;
    /// Compiles one stage; shares nothing, so any thread may.
    static bool CompileShader(const gw::ShaderData& source, gw::EShaderType type, gw::CompiledShader& compiled,
                              gw::ShaderDefine* defines);

    // Binding: D3D11RendererBinding.cpp

    /// Forgets the shadow, so that every `Set…` reaches the device again.
    void ResetToDefaults() { m_state.ResetToDefaults(); }
    void SetShader(const qs::ObjectHandle& handle);
    /// The stride comes from the current vertex format: set that first. `offset` is bytes.
    void SetVertexBuffer(int stream, const VertexBufferID& id, long long offset);
    void SetIndexBuffer(const IndexBufferID& id, unsigned offset);
    /// Resolves a texture for a shader; safe while other threads record.
    bool PrepareSetTexture(const Shader* shader, const qs::FixedString& name, qs::ObjectHandle handle, int slice,
                           SetTextureDesc& desc);
    void SetTexture(const qs::FixedString& name, qs::ObjectHandle handle, int slice);
    void SetTexture(const SetTextureDesc& desc);
    void SetStructuredBuffer(const qs::FixedString& name, StructuredBufferID id);
    void SetBuffer(const qs::FixedString& name, VertexBufferID id);
    void SetBuffer(const qs::FixedString& name, IndexBufferID id);
    /// Takes the handle of a texture as well: the handle's type decides.
    void SetUAV(const qs::FixedString& name, const StructuredBufferID& handle);
    void SetSamplerState(const qs::FixedString& name, qs::ObjectHandle handle);
    void Apply();
    void ApplyTextures();
    void ApplySamplerStates();
    void ApplyUnorderedAccessViews();

    // Constants: D3D11RendererConstants.cpp

    /// Finds a constant for a shader; safe while other threads record.
    SetShaderConstantRawDesc PrepareSetShaderConstantRaw(const Shader* shader, const qs::FixedString& name);
    void SetShaderConstantRaw(const qs::FixedString& name, const void* data, unsigned size);
    void SetShaderConstantRaw(const SetShaderConstantRawDesc& desc, const void* data, unsigned size);
    void ApplyConstants();
    void ApplyGlobalConstants();
    /// A constant buffer that every shader sees, at the highest free bind point from 13 down to 10. The name is not
    /// read. Unassigned when all four are taken or the device refuses.
    qs::ObjectHandle AddGlobalConstantBuffer(const qs::FixedString& name, unsigned long long size);
    void RemoveGlobalConstantBuffer(const qs::ObjectHandle& handle);
    void CreateGlobalConstantBuffers();
    void DestroyGlobalConstantBuffers();
    /// Binds the four global buffers to all stages; once a frame.
    void BindGlobalConstantBuffers();
    void UpdateGlobalConstants();
    void UpdateGlobalConstantBufferData(const qs::ObjectHandle& handle, const unsigned char* data,
                                        unsigned long long size);

    // Targets: D3D11RendererTargets.cpp

    /// Unbinds every shader resource, then binds up to eight targets and a depth target. `slices` and `mips` may be
    /// null; -1 in them asks for the whole resource.
    void SetRenderTargets(unsigned count, const qs::ObjectHandle* targets, const int* slices, const int* mips,
                          qs::ObjectHandle depth, bool readOnlyDepth, int depthSlice);
    qs::ObjectHandle GetCurrentRenderTarget(unsigned index) const;
    void SetViewport(int width, int height, int x, int y);
    void SetScissorRect(int left, int top, int right, int bottom);
    void ClearRenderTarget(qs::ObjectHandle handle, int slice, const Vector4f& color);
    /// The slice that is cleared is the bound one; `slice` only feeds messages.
    void ClearDepthStencil(qs::ObjectHandle handle, int slice, gw::EDepthStencilClearMode mode, float depth,
                           unsigned char stencil);
    void ClearUAVui(StructuredBufferID id, const unsigned* values);

    // Draws and frames: D3D11RendererDraw.cpp

    void DrawArrays(int firstVertex, int vertexCount);
    void DrawElements(int firstIndex, int indexCount, int baseVertex, int);
    void DrawElementsInstanced(int firstInstance, int instanceCount, int firstIndex, int indexCount, int baseVertex,
                               int);
    void Dispatch(int x, int y, int z);
    /// Type 12 drains the device and clears all state; other types do nothing.
    void GPUWait(gw::ESyncType type, qs::ObjectHandle, const char*, int, int);
    void ClearState();
    void BeginFrame() {}
    /// Runs the delayed texture removal, which advances the frame counter.
    void EndFrame(bool);
    void PreBeginFrame(bool) {}
    void PreEndFrame(bool) {}
    void PostEndFrame(bool) {}
    /// Named scopes for device debuggers; nothing without the device's annotation interface.
    void BeginEventFrame(const qs::FixedString& name);
    void EndEventFrame(const qs::FixedString& name);
    void BeginRenderEvent(const qs::FixedString& name);
    void EndRenderEvent(const qs::FixedString& name);
    /// From now on the tracker measures the event frames and the render events in them, on the thread that replays
    /// commands; without one, as at the start, nothing is measured. Between frames. It is not owned, and has to be
    /// disconnected by null before it or the device goes.
    void SetPerformanceTracker(D3D11PerformanceTracker* tracker) { m_tracker = tracker; }
    /// Swaps the set with the finished frames, oldest first, as the tracker does; without one the set stays as it is.
    void GetEventResults(qs::ObjectSet<gw::MeasurementNode, qs::DefaultComparator<gw::MeasurementNode>>& results);
    /// No work on this back end: they keep the command stream the same on every back end.
    void ResolveDepthBuffer(qs::ObjectHandle, qs::ObjectHandle) {}
    void SetSampleLocations(int, bool) {}
    void EnableEQAA(bool) {}
    void EnableIDBuffer(bool) {}
    void SetGradientAdjust(int, bool, bool) {}

protected:
    explicit D3D11Renderer(D3D11API* api);
    ~D3D11Renderer();

    // Residency: on a device whose memory a program pages by hand these bring textures in and out. Direct3D 11 decides
    // by itself where memory lies, so they do nothing. The text names the requester.
    void RequestGPUTexture(qs::ObjectHandle, const char*) {}
    void PrefetchGPUTexture(qs::ObjectHandle, const char*) {}
    void WaitForGPUTexture(qs::ObjectHandle, const char*) {}
    void WritebackGPUTexture(qs::ObjectHandle, const char*) {}
    void DiscardGPUTexture(qs::ObjectHandle, const char*) {}
    void DestroyGPUTexture(qs::ObjectHandle) {}
    void DestroyAllGPUTextures() {}
    void GarbageCollectGPUTextures() {}

    void RemoveShaderInternal(qs::ObjectHandle handle);
    /// Expands `#include` lines of a source text by hand.
    static void EmbedIncludes(qs::STDString& source);

    void CreateTextureViews(gw::ETextureUsageFlag usage, Texture* texture, qs::ObjectHandle owner,
                            DxgiFormat viewFormat, DxgiFormat stencilViewFormat);
    /// Views of a resource; null after a log line. Format 0 stands for the resource's own, negative slices and mips for
    /// all. The dimension of an unordered access view is a `D3D11_UAV_DIMENSION`; `flags` and `count` depend on it.
    ID3D11ShaderResourceView* CreateSRV(ID3D11Resource* resource, DxgiFormat format, int firstSlice, int sliceCount,
                                        int mostDetailedMip, int mipLevels);
    ID3D11RenderTargetView* CreateRTV(ID3D11Resource* resource, DxgiFormat format, int firstSlice, int sliceCount,
                                      int mipSlice);
    ID3D11DepthStencilView* CreateDSV(ID3D11Resource* resource, DxgiFormat format, int firstSlice, int sliceCount,
                                      bool readOnlyDepth, bool readOnlyStencil);
    ID3D11UnorderedAccessView* CreateUAV(ID3D11Resource* resource, DxgiFormat format, unsigned dimension,
                                         unsigned flags, unsigned count);

    /// Shaders, vertex formats and rolling buffers of immediate drawing; makes what does not exist yet.
    void CreatePlainAndTexturedRenderData();
    void RemovePlainAndTexturedRenderData();

    /// Bytes of the rolling buffers; they keep a grown size for a later renderer of the process.
    static std::uint32_t rollingVBSize;
    static std::uint32_t rollingIBSize;

    D3D11APIData m_deviceData;
    qs::ObjectContainer<gw::CompiledShader> m_compiledShaders;
    qs::ObjectContainer<ConstantBuffer> m_globalConstantBuffers;
    ID3D11Buffer* m_globalConstantSlots[GLOBAL_CONSTANT_BUFFER_COUNT] = {}; ///< bind points 10 to 13
    alignas(16) std::uint8_t m_atmosphereBlock[144] = {};                   ///< layout of the buffer at bind point 13
    alignas(16) std::uint8_t m_viewBlock[240] = {};                         ///< layout of the buffer at bind point 12
    qs::ObjectHandle m_atmosphereBuffer;
    qs::ObjectHandle m_viewBuffer;
    SRVMap m_srvs;
    ID3DUserDefinedAnnotation* m_annotation = nullptr;
    D3D11PerformanceTracker* m_tracker = nullptr;
    qs::ObjectContainer<TextureRemoveData> m_delayedRemovals;
    std::vector<TextureRemoveData> m_removalOverflow; ///< removals that found the table full
    D3D11StateCache m_state;

private:
    qs::ObjectHandle AddStage(const gw::ShaderData& source, gw::EShaderType type, bool compile,
                              gw::ShaderDefine* defines);
    void ReleaseShaderData(Shader& shader);
    bool CreateStages(Shader& shader, ID3D11ShaderReflection* (&stages)[3]);
    /// Keeps a texture's device data for the frames in which recorded commands may still name its views.
    void MarkInUse(const qs::ObjectHandle& handle);
    int FindComputeSlot(const qs::FixedString& name) const;
    bool ShadowSampler(const ShaderSlots& slots, const qs::ObjectHandle& handle);
    void UnbindShaderResources();
    SRV CreateShaderViews(unsigned usage, const Texture& texture, DxgiFormat viewFormat, DxgiFormat stencilViewFormat);
    void CreateTargetViews(unsigned usage, Texture& texture);
    void CreateDepthViews(unsigned usage, Texture& texture);
    void CreateUnorderedAccessView(unsigned usage, Texture& texture);
    void ClearNewTarget(const Texture& texture);
    bool FinishRemoval(TextureRemoveData& data, bool force);
    void CopyMips(Texture& source, Texture& target);
    void BeginLabel(const qs::FixedString& name);
    void EndLabel();
    void EmptyStateTables();
    void EmptyResourceTables();
    /// Accounts device memory under a scope name, by the record that owns it.
    static void TrackMemory(const void* record, std::uint64_t bytes, const char* scope);
    static void UntrackMemory(const void* record, const char* scope);
    void AddBufferView(ID3D11Buffer* buffer, DxgiFormat format, std::uint32_t elements, qs::ObjectHandle owner);
    void ReleaseBufferView(qs::ObjectHandle owner);
    void ReleaseVertexBuffer(VertexBuffer& record);
    void ReleaseIndexBuffer(IndexBuffer& record);
};

} // namespace api
