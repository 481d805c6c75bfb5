// The immediate context: takes the published calls, and turns them into Vulkan commands at the next draw, dispatch or
// copy. Its sources are split by topic:
//
//   ContextBindings     what callers set and get
//   ContextDraw         the draw path: what is dirty is recorded, then the draw
//   ContextPass         rendering passes, clears that become load operations, barriers
//   ContextDescriptors  descriptor sets
//   ContextVertices     vertex and index buffers
//   ContextCopy         copies and updates
//   ContextTexture      mips, resolves, clears of unordered access views
//   ContextMap          mapping
//   ContextQuery        queries, annotations, submission
//   ContextPresent      the way to a window
#pragma once

#include "d3d11_1.h"
#include "vulkan/CommandStream.h"
#include "vulkan/ContextState.h"
#include "vulkan/Queries.h"

namespace gleam {

class Context;
class VulkanDevice;
struct PresentRequest;
struct WindowImage;

/// ID3DUserDefinedAnnotation of a context, counted with it.
class Annotation final : public ID3DUserDefinedAnnotation
{
public:
    explicit Annotation(Context& context) : m_context(context) {}
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    INT STDMETHODCALLTYPE BeginEvent(LPCWSTR name) override;
    INT STDMETHODCALLTYPE EndEvent() override;
    void STDMETHODCALLTYPE SetMarker(LPCWSTR name) override;
    BOOL STDMETHODCALLTYPE GetStatus() override;

private:
    Context& m_context;
};

class Context final : public DeviceChild<ID3D11DeviceContext, IID_ID3D11DeviceContext>
{
public:
    /// Throws VulkanError.
    Context(VulkanDevice& device, ID3D11Device* published);

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** object) override;

    // --- Stages --------------------------------------------------------------------------------------------------
    void STDMETHODCALLTYPE VSSetShader(ID3D11VertexShader* shader, ID3D11ClassInstance* const*, UINT instances) override
    {
        SetShader(StageVertex, static_cast<VertexShader*>(shader), instances);
    }
    void STDMETHODCALLTYPE VSSetConstantBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers) override
    {
        SetConstantBuffers(StageVertex, start, count, buffers);
    }
    void STDMETHODCALLTYPE VSSetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView* const* views) override
    {
        SetShaderResources(StageVertex, start, count, views);
    }
    void STDMETHODCALLTYPE VSSetSamplers(UINT start, UINT count, ID3D11SamplerState* const* samplers) override
    {
        SetSamplers(StageVertex, start, count, samplers);
    }
    void STDMETHODCALLTYPE VSGetShader(ID3D11VertexShader** shader, ID3D11ClassInstance**, UINT* instances) override
    {
        GetShader<VertexShader>(StageVertex, shader, instances);
    }
    void STDMETHODCALLTYPE VSGetConstantBuffers(UINT start, UINT count, ID3D11Buffer** buffers) override
    {
        GetSlots(m_state.stages[StageVertex].constants, start, count, buffers);
    }
    void STDMETHODCALLTYPE VSGetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView** views) override
    {
        GetSlots(m_state.stages[StageVertex].resources, start, count, views);
    }
    void STDMETHODCALLTYPE VSGetSamplers(UINT start, UINT count, ID3D11SamplerState** samplers) override
    {
        GetSlots(m_state.stages[StageVertex].samplers, start, count, samplers);
    }
    void STDMETHODCALLTYPE HSSetShader(ID3D11HullShader* shader, ID3D11ClassInstance* const*, UINT instances) override
    {
        SetShader(StageHull, static_cast<HullShader*>(shader), instances);
    }
    void STDMETHODCALLTYPE HSSetConstantBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers) override
    {
        SetConstantBuffers(StageHull, start, count, buffers);
    }
    void STDMETHODCALLTYPE HSSetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView* const* views) override
    {
        SetShaderResources(StageHull, start, count, views);
    }
    void STDMETHODCALLTYPE HSSetSamplers(UINT start, UINT count, ID3D11SamplerState* const* samplers) override
    {
        SetSamplers(StageHull, start, count, samplers);
    }
    void STDMETHODCALLTYPE DSSetShader(ID3D11DomainShader* shader, ID3D11ClassInstance* const*, UINT instances) override
    {
        SetShader(StageDomain, static_cast<DomainShader*>(shader), instances);
    }
    void STDMETHODCALLTYPE DSSetConstantBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers) override
    {
        SetConstantBuffers(StageDomain, start, count, buffers);
    }
    void STDMETHODCALLTYPE DSSetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView* const* views) override
    {
        SetShaderResources(StageDomain, start, count, views);
    }
    void STDMETHODCALLTYPE DSSetSamplers(UINT start, UINT count, ID3D11SamplerState* const* samplers) override
    {
        SetSamplers(StageDomain, start, count, samplers);
    }
    void STDMETHODCALLTYPE GSSetShader(ID3D11GeometryShader* shader, ID3D11ClassInstance* const*,
                                       UINT instances) override
    {
        SetShader(StageGeometry, static_cast<GeometryShader*>(shader), instances);
    }
    void STDMETHODCALLTYPE GSSetConstantBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers) override
    {
        SetConstantBuffers(StageGeometry, start, count, buffers);
    }
    void STDMETHODCALLTYPE GSSetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView* const* views) override
    {
        SetShaderResources(StageGeometry, start, count, views);
    }
    void STDMETHODCALLTYPE GSSetSamplers(UINT start, UINT count, ID3D11SamplerState* const* samplers) override
    {
        SetSamplers(StageGeometry, start, count, samplers);
    }
    void STDMETHODCALLTYPE GSGetShader(ID3D11GeometryShader** shader, ID3D11ClassInstance**, UINT* instances) override
    {
        GetShader<GeometryShader>(StageGeometry, shader, instances);
    }
    void STDMETHODCALLTYPE GSGetConstantBuffers(UINT start, UINT count, ID3D11Buffer** buffers) override
    {
        GetSlots(m_state.stages[StageGeometry].constants, start, count, buffers);
    }
    void STDMETHODCALLTYPE GSGetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView** views) override
    {
        GetSlots(m_state.stages[StageGeometry].resources, start, count, views);
    }
    void STDMETHODCALLTYPE GSGetSamplers(UINT start, UINT count, ID3D11SamplerState** samplers) override
    {
        GetSlots(m_state.stages[StageGeometry].samplers, start, count, samplers);
    }
    void STDMETHODCALLTYPE PSSetShader(ID3D11PixelShader* shader, ID3D11ClassInstance* const*, UINT instances) override
    {
        SetShader(StagePixel, static_cast<PixelShader*>(shader), instances);
    }
    void STDMETHODCALLTYPE PSSetConstantBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers) override
    {
        SetConstantBuffers(StagePixel, start, count, buffers);
    }
    void STDMETHODCALLTYPE PSSetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView* const* views) override
    {
        SetShaderResources(StagePixel, start, count, views);
    }
    void STDMETHODCALLTYPE PSSetSamplers(UINT start, UINT count, ID3D11SamplerState* const* samplers) override
    {
        SetSamplers(StagePixel, start, count, samplers);
    }
    void STDMETHODCALLTYPE PSGetShader(ID3D11PixelShader** shader, ID3D11ClassInstance**, UINT* instances) override
    {
        GetShader<PixelShader>(StagePixel, shader, instances);
    }
    void STDMETHODCALLTYPE PSGetConstantBuffers(UINT start, UINT count, ID3D11Buffer** buffers) override
    {
        GetSlots(m_state.stages[StagePixel].constants, start, count, buffers);
    }
    void STDMETHODCALLTYPE PSGetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView** views) override
    {
        GetSlots(m_state.stages[StagePixel].resources, start, count, views);
    }
    void STDMETHODCALLTYPE PSGetSamplers(UINT start, UINT count, ID3D11SamplerState** samplers) override
    {
        GetSlots(m_state.stages[StagePixel].samplers, start, count, samplers);
    }
    void STDMETHODCALLTYPE CSSetShader(ID3D11ComputeShader* shader, ID3D11ClassInstance* const*,
                                       UINT instances) override
    {
        SetShader(StageCompute, static_cast<ComputeShader*>(shader), instances);
    }
    void STDMETHODCALLTYPE CSSetConstantBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers) override
    {
        SetConstantBuffers(StageCompute, start, count, buffers);
    }
    void STDMETHODCALLTYPE CSSetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView* const* views) override
    {
        SetShaderResources(StageCompute, start, count, views);
    }
    void STDMETHODCALLTYPE CSSetSamplers(UINT start, UINT count, ID3D11SamplerState* const* samplers) override
    {
        SetSamplers(StageCompute, start, count, samplers);
    }
    void STDMETHODCALLTYPE CSGetShader(ID3D11ComputeShader** shader, ID3D11ClassInstance**, UINT* instances) override
    {
        GetShader<ComputeShader>(StageCompute, shader, instances);
    }
    void STDMETHODCALLTYPE CSGetConstantBuffers(UINT start, UINT count, ID3D11Buffer** buffers) override
    {
        GetSlots(m_state.stages[StageCompute].constants, start, count, buffers);
    }
    void STDMETHODCALLTYPE CSGetShaderResources(UINT start, UINT count, ID3D11ShaderResourceView** views) override
    {
        GetSlots(m_state.stages[StageCompute].resources, start, count, views);
    }
    void STDMETHODCALLTYPE CSGetSamplers(UINT start, UINT count, ID3D11SamplerState** samplers) override
    {
        GetSlots(m_state.stages[StageCompute].samplers, start, count, samplers);
    }
    void STDMETHODCALLTYPE CSSetUnorderedAccessViews(UINT start, UINT count, ID3D11UnorderedAccessView* const* views,
                                                     const UINT* initialCounts) override;
    void STDMETHODCALLTYPE CSGetUnorderedAccessViews(UINT start, UINT count, ID3D11UnorderedAccessView** views) override
    {
        GetSlots(m_state.computeViews, start, count, views);
    }

    // --- Input assembly, rasterizer, output ------------------------------------------------------------------------
    void STDMETHODCALLTYPE IASetInputLayout(ID3D11InputLayout* layout) override;
    void STDMETHODCALLTYPE IASetVertexBuffers(UINT start, UINT count, ID3D11Buffer* const* buffers, const UINT* strides,
                                              const UINT* offsets) override;
    void STDMETHODCALLTYPE IASetIndexBuffer(ID3D11Buffer* buffer, DXGI_FORMAT format, UINT offset) override;
    void STDMETHODCALLTYPE IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY topology) override;
    void STDMETHODCALLTYPE RSSetState(ID3D11RasterizerState* state) override;
    void STDMETHODCALLTYPE RSSetViewports(UINT count, const D3D11_VIEWPORT* viewports) override;
    void STDMETHODCALLTYPE RSSetScissorRects(UINT count, const D3D11_RECT* rects) override;
    void STDMETHODCALLTYPE OMSetBlendState(ID3D11BlendState* state, const FLOAT factor[4], UINT mask) override;
    void STDMETHODCALLTYPE OMSetDepthStencilState(ID3D11DepthStencilState* state, UINT reference) override;
    void STDMETHODCALLTYPE OMSetRenderTargets(UINT count, ID3D11RenderTargetView* const* views,
                                              ID3D11DepthStencilView* depth) override;
    void STDMETHODCALLTYPE OMSetRenderTargetsAndUnorderedAccessViews(UINT count, ID3D11RenderTargetView* const* views,
                                                                     ID3D11DepthStencilView* depth, UINT viewStart,
                                                                     UINT viewCount,
                                                                     ID3D11UnorderedAccessView* const* unordered,
                                                                     const UINT* initialCounts) override;
    void STDMETHODCALLTYPE IAGetInputLayout(ID3D11InputLayout** layout) override;
    void STDMETHODCALLTYPE IAGetVertexBuffers(UINT start, UINT count, ID3D11Buffer** buffers, UINT* strides,
                                              UINT* offsets) override;
    void STDMETHODCALLTYPE IAGetIndexBuffer(ID3D11Buffer** buffer, DXGI_FORMAT* format, UINT* offset) override;
    void STDMETHODCALLTYPE IAGetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY* topology) override;
    void STDMETHODCALLTYPE RSGetState(ID3D11RasterizerState** state) override;
    void STDMETHODCALLTYPE RSGetViewports(UINT* count, D3D11_VIEWPORT* viewports) override;
    void STDMETHODCALLTYPE RSGetScissorRects(UINT* count, D3D11_RECT* rects) override;
    void STDMETHODCALLTYPE OMGetRenderTargets(UINT count, ID3D11RenderTargetView** views,
                                              ID3D11DepthStencilView** depth) override;
    void STDMETHODCALLTYPE OMGetBlendState(ID3D11BlendState** state, FLOAT factor[4], UINT* mask) override;
    void STDMETHODCALLTYPE OMGetDepthStencilState(ID3D11DepthStencilState** state, UINT* reference) override;
    void STDMETHODCALLTYPE ClearState() override;

    // --- Draws -----------------------------------------------------------------------------------------------------
    void STDMETHODCALLTYPE Draw(UINT count, UINT start) override;
    void STDMETHODCALLTYPE DrawIndexed(UINT count, UINT start, INT base) override;
    void STDMETHODCALLTYPE DrawInstanced(UINT count, UINT instances, UINT start, UINT firstInstance) override;
    void STDMETHODCALLTYPE DrawIndexedInstanced(UINT count, UINT instances, UINT start, INT base,
                                                UINT firstInstance) override;
    void STDMETHODCALLTYPE DrawInstancedIndirect(ID3D11Buffer* arguments, UINT offset) override;
    void STDMETHODCALLTYPE DrawIndexedInstancedIndirect(ID3D11Buffer* arguments, UINT offset) override;
    void STDMETHODCALLTYPE Dispatch(UINT x, UINT y, UINT z) override;
    void STDMETHODCALLTYPE DispatchIndirect(ID3D11Buffer* arguments, UINT offset) override;

    // --- Resources -------------------------------------------------------------------------------------------------
    HRESULT STDMETHODCALLTYPE Map(ID3D11Resource* resource, UINT subresource, D3D11_MAP type, UINT flags,
                                  D3D11_MAPPED_SUBRESOURCE* mapped) override;
    void STDMETHODCALLTYPE Unmap(ID3D11Resource* resource, UINT subresource) override;
    void STDMETHODCALLTYPE UpdateSubresource(ID3D11Resource* resource, UINT subresource, const D3D11_BOX* box,
                                             const void* data, UINT rowPitch, UINT depthPitch) override;
    void STDMETHODCALLTYPE CopySubresourceRegion(ID3D11Resource* target, UINT targetSubresource, UINT x, UINT y, UINT z,
                                                 ID3D11Resource* source, UINT sourceSubresource,
                                                 const D3D11_BOX* box) override;
    void STDMETHODCALLTYPE CopyResource(ID3D11Resource* target, ID3D11Resource* source) override;
    void STDMETHODCALLTYPE CopyStructureCount(ID3D11Buffer* target, UINT offset,
                                              ID3D11UnorderedAccessView* view) override;
    void STDMETHODCALLTYPE ResolveSubresource(ID3D11Resource* target, UINT targetSubresource, ID3D11Resource* source,
                                              UINT sourceSubresource, DXGI_FORMAT format) override;
    void STDMETHODCALLTYPE GenerateMips(ID3D11ShaderResourceView* view) override;
    void STDMETHODCALLTYPE ClearRenderTargetView(ID3D11RenderTargetView* view, const FLOAT color[4]) override;
    void STDMETHODCALLTYPE ClearDepthStencilView(ID3D11DepthStencilView* view, UINT flags, FLOAT depth,
                                                 UINT8 stencil) override;
    void STDMETHODCALLTYPE ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView* view, const UINT values[4]) override;
    void STDMETHODCALLTYPE ClearUnorderedAccessViewFloat(ID3D11UnorderedAccessView* view,
                                                         const FLOAT values[4]) override;

    // --- Queries and submission ------------------------------------------------------------------------------------
    void STDMETHODCALLTYPE Begin(ID3D11Asynchronous* query) override;
    void STDMETHODCALLTYPE End(ID3D11Asynchronous* query) override;
    HRESULT STDMETHODCALLTYPE GetData(ID3D11Asynchronous* query, void* data, UINT size, UINT flags) override;
    void STDMETHODCALLTYPE Flush() override;
    D3D11_DEVICE_CONTEXT_TYPE STDMETHODCALLTYPE GetType() override { return D3D11_DEVICE_CONTEXT_IMMEDIATE; }
    UINT STDMETHODCALLTYPE GetContextFlags() override { return 0; }

    // --- For this folder -------------------------------------------------------------------------------------------

    /// Ends what is being recorded and hands it to the device. With `sync` it goes even when it is empty.
    void Submit(const QueueSync* sync = nullptr);
    /// The same for a frame's end. A few clears may go on waiting for the draws that take them up, or for the next
    /// frame's clears, which take their place.
    void SubmitFrame(const QueueSync& sync);

    /// Takes a texture off the output stage, and off every stage with `everywhere`.
    void Unbind(Resource& resource, bool everywhere);
    /// Records the way of a back buffer into a window's image; Submit has to follow. Throws VulkanError.
    void CopyToWindow(Texture& source, const WindowImage& to, const PresentRequest& request);

    INT BeginLabel(LPCWSTR name);
    INT EndLabel();
    void SetLabel(LPCWSTR name);
    bool LabelsReachAnybody() const;

protected:
    void Destroy() override;
    ~Context() override;

private:
    // --- ContextBindings
    void SetShader(EStage stage, Shader* shader, UINT instances);
    void SetConstantBuffers(EStage stage, UINT start, UINT count, ID3D11Buffer* const* buffers);
    void SetShaderResources(EStage stage, UINT start, UINT count, ID3D11ShaderResourceView* const* views);
    void SetSamplers(EStage stage, UINT start, UINT count, ID3D11SamplerState* const* samplers);
    void BindResource(EStage stage, UINT slot, ShaderResourceView* view);
    void BindTarget(UINT slot, RenderTargetView* view);
    void BindDepthTarget(DepthStencilView* view);
    void BindUnordered(bool isCompute, UINT slot, UnorderedAccessView* view, const UINT* initialCount);
    bool IsWritten(EStage stage, const ShaderResourceView& view) const;
    void UnbindReads(const ViewCore& written, bool isCompute);
    void UnbindWrites(const ViewCore& read, bool isCompute);
    void SetTargets(UINT count, ID3D11RenderTargetView* const* views, ID3D11DepthStencilView* depth);
    void SetCounter(UnorderedAccessView& view, UINT value);

    template <class Object, class Interface>
    void GetShader(EStage stage, Interface** shader, UINT* instances)
    {
        if (instances) {
            *instances = 0;
        }
        if (shader) {
            Shader* bound = m_state.stages[stage].shader;
            *shader = bound ? static_cast<Object*>(bound) : nullptr;
            if (*shader) {
                (*shader)->AddRef();
            }
        }
    }
    template <class Slots, class Interface>
    static void GetSlots(const Slots& slots, UINT start, UINT count, Interface** out)
    {
        for (UINT i = 0; out && i < count; ++i) {
            out[i] = start + i < slots.size() ? slots[start + i] : nullptr;
            if (out[i]) {
                out[i]->AddRef();
            }
        }
    }

    // --- ContextDraw
    bool PrepareDraw()
    {
        return ((m_dirty | ((m_dirtySets | m_dirtyOffsets) & GraphicsStageMask)) == 0) || PrepareDrawSlow();
    }
    bool PrepareDrawSlow();
    void AfterDraw();
    bool PrepareDispatch();
    void UpdatePipeline();
    void FillPipelineState(PipelineState& state);
    void UpdateViewports();
    void UpdateRasterizer();
    void UpdateDepthStencil();
    void UpdateBlend();
    void UpdateTopology();
    bool PrepareIndirect(Buffer& arguments);
    GraphicsShaders BoundShaders() const;

    // --- ContextPass
    struct PendingClear
    {
        RenderTargetView* color;
        DepthStencilView* depth;
        VkImageAspectFlags aspects;
        VkClearValue value;
        const ViewCore& View() const;
    };
    void UpdatePass();
    bool PassFits() const;
    struct PassInfo;
    void FlushForeignClears();
    void AttachColors(PassInfo& pass);
    void AttachDepth(PassInfo& pass);
    VkAttachmentLoadOp LoadOp(const ViewCore& view, VkImageAspectFlags aspect, VkClearValue& value);
    void BeginPass();
    void EndPass();
    void AddClear(RenderTargetView* color, DepthStencilView* depth, VkImageAspectFlags aspects,
                  const VkClearValue& value);
    bool ClearInPass(RenderTargetView* color, DepthStencilView* depth, VkImageAspectFlags aspects,
                     const VkClearValue& value);
    bool TakeClear(const ViewCore& view, VkImageAspectFlags aspect, VkClearValue& value);
    void FlushClears();
    void FlushClearsOf(Resource& resource);
    void RecordClear(const PendingClear& clear);
    void DropClear(PendingClear& clear);
    void CopyPicture(Texture& from, const WindowImage& to, const VkOffset3D (&source)[2], const VkOffset3D (&place)[2]);
    const PendingClear* FindWholeClear(const Texture& texture, VkFormat format) const;

    /// Outside of a pass, with the barriers for what the stages read and write.
    bool StageNeedsBarrier(EStage stage);
    void PrepareStage(EStage stage);
    UnorderedAccessView* UnorderedOf(EStage stage, UINT slot) const
    {
        return stage == StageCompute ? m_state.computeViews[slot] : m_state.pixelViews[slot];
    }
    bool BufferNeeds(const Buffer& buffer, const Access& access) const;
    void UseBuffer(Buffer& buffer, const Access& access);
    void UseInputBuffers();
    void UseTexture(Texture& texture, const SubresourceRange& range, const Access& access);
    void RecordBarriers();
    /// The command buffer for work outside of passes, barriers recorded.
    VkCommandBuffer OutsidePass();

    // --- ContextDescriptors
    void UpdateSets(EStage first, EStage end, VkPipelineBindPoint point, VkPipelineLayout layout);
    void BuildSet(EStage stage);
    bool ConstantsMoved(const StageBindings& bindings) const;
    void WriteEntry(EStage stage, const DescriptorEntry& entry);
    void WriteRead(const DescriptorEntry& entry, ShaderResourceView* view);
    void WriteWritten(const DescriptorEntry& entry, UnorderedAccessView* view);
    VkDescriptorBufferInfo ConstantInfo(Buffer* buffer, bool isDynamic);
    VkImageView ImageFor(const DescriptorEntry& entry, ShaderResourceView* view);
    VkDescriptorBufferInfo PlainWindow(Buffer& buffer, const BufferWindow& window);
    void Materialize(Buffer& buffer);
    const Slice& Zeros();

    // --- ContextVertices
    void UpdateVertexInput();
    void UpdateVertexBuffers();
    void UpdateIndexBuffer();
    void BindVertexBuffer(uint32_t slot, VkBuffer buffer, VkDeviceSize offset, VkDeviceSize stride);
    void BindShadowVertices(VkDeviceSize firstVertex, VkDeviceSize vertexCount);
    /// Gives the base vertex to draw with.
    INT BindShadowIndices(UINT firstIndex, UINT indexCount, INT base);
    void BindWholeShadows();
    void BindShadowSlot(uint32_t slot, VkDeviceSize from, VkDeviceSize to);
    void CopyOutShadow(Buffer& buffer, VkDeviceSize from, VkDeviceSize to);

    // --- ContextCopy
    void SubmitWhenFull(const char* call);
    bool CanGoAhead(const Resource& resource) const { return resource.mainUse != m_stream.Serial(); }
    void UpdateBuffer(Buffer& buffer, const CopyBox& region, const void* data);
    void UpdateTexture(Texture& texture, UINT subresource, const CopyBox& region, const std::byte* data, UINT rowPitch,
                       UINT depthPitch);
    void UploadToImage(Texture& texture, UINT subresource, const CopyBox& region, const Slice& slice,
                       const LinearLayout& layout, VkDeviceSize base);
    void CopyRegion(Resource& target, UINT targetSubresource, UINT x, UINT y, UINT z, Resource& source,
                    UINT sourceSubresource, const CopyBox& region);
    void CopyBuffers(Buffer& target, VkDeviceSize targetOffset, Buffer& source, VkDeviceSize sourceOffset,
                     VkDeviceSize size);
    void CopyImages(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                    UINT sourceSubresource, const CopyBox& region);
    void CopyImageThroughBuffer(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                                UINT sourceSubresource, const CopyBox& region);
    void CopyImageToStaging(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                            UINT sourceSubresource, const CopyBox& region);
    void CopyStagingToImage(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                            UINT sourceSubresource, const CopyBox& region);
    ComPtr<ID3D11Texture2D> MakePlainTwin(const Texture& texture, UINT width, UINT height);
    void CopyThroughTwin(Resource& target, UINT targetSubresource, UINT x, UINT y, UINT z, Resource& source,
                         UINT sourceSubresource, const CopyBox& region);
    void BlitImages(Texture& target, UINT x, UINT y, Texture& source, UINT sourceX, UINT sourceY, UINT width,
                    UINT height);
    void CopyStagingToStaging(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                              UINT sourceSubresource, const CopyBox& region);
    void UseLinear(Texture& texture, const Access& access);
    void MarkHostRead(Resource& resource);

    // --- ContextTexture
    void BlitChain(Texture& texture, const SubresourceRange& range);
    void BlitChainAs(Texture& texture, const SubresourceRange& range, DXGI_FORMAT format);
    void ClearUnordered(ID3D11UnorderedAccessView* view, const UINT* words, const FLOAT* floats);
    void FillBufferView(UnorderedAccessView& view, const std::byte* texel, UINT texelBytes);
    void FillTextureView(UnorderedAccessView& view, const std::byte* texel, UINT texelBytes);

    // --- ContextMap
    HRESULT MapBuffer(Buffer& buffer, D3D11_MAP type, UINT flags, D3D11_MAPPED_SUBRESOURCE& mapped);
    HRESULT MapStaging(Texture& texture, UINT subresource, D3D11_MAP type, UINT flags,
                       D3D11_MAPPED_SUBRESOURCE& mapped);
    HRESULT MapDynamic(Texture& texture, UINT subresource, D3D11_MAPPED_SUBRESOURCE& mapped);
    HRESULT WaitForHost(const Resource& resource, bool forWriting, UINT flags);
    void Rename(Buffer& buffer);
    void MovedBuffer(Buffer& buffer);

    // --- ContextPresent
    Texture& Resolved(Texture& texture, ComPtr<ID3D11Texture2D>& holder);

    // --- ContextQuery
    void BeforeSubmit();
    void SubmitRecorded(const QueueSync* sync);
    void AfterSubmit();

    VulkanDevice& m_owner;
    Gpu& m_gpu;
    const DeviceFunctions& m_vk;
    CommandStream m_stream;
    Pipelines m_pipelines;
    QueryRecorder m_queries;
    Annotation m_annotation;
    ContextState m_state;

    uint32_t m_dirty = DirtyAll;
    uint32_t m_dirtySets = ~0u;  ///< stages whose descriptor set has to be built anew
    uint32_t m_dirtyOffsets = 0; ///< stages whose constant buffers moved
    bool m_inPass = false;

    // The pass that is open.
    std::array<RenderTargetView*, D3D11_SIMULTANEOUS_RENDER_TARGET_COUNT> m_passTargets{};
    DepthStencilView* m_passDepth = nullptr;
    VkExtent2D m_passExtent{};
    uint32_t m_passLayers = 1;

    std::vector<PendingClear> m_clears;
    BarrierBatch m_barriers;
    bool m_hostReads = false; ///< this submission writes memory that Map will read

    // Recorded state.
    GraphicsProgram* m_program = nullptr;
    VkPipeline m_pipeline = VK_NULL_HANDLE;
    const GraphicsProgram* m_setsProgram = nullptr; ///< whose layout the bound sets were bound with
    const VertexInputState* m_input = nullptr;
    VertexInputState m_inputWithout; ///< for shaders without a layout
    std::uint64_t m_inputWithoutShader = 0;
    uint32_t m_shadowSlots = 0; ///< vertex buffer slots in Shadow storage
    bool m_shadowIndices = false;

    // Scratch of set building.
    std::vector<VkWriteDescriptorSet> m_writes;
    std::vector<VkDescriptorBufferInfo> m_bufferInfos;
    std::vector<VkDescriptorImageInfo> m_imageInfos;
    std::vector<VkBufferView> m_texelViews;
    std::vector<VkBufferImageCopy> m_copies;

    Slice m_zeros;
    SamplerState* m_defaultSampler = nullptr;
    INT m_labelDepth = 0;
    unsigned m_openLabels = 0; ///< in the command buffer that is being recorded
    bool m_markers = false;
};

} // namespace gleam
