// Direct3D 11 interfaces under their published names, identifiers and signatures, as far as this system calls them.
//
// Left out, since nothing here uses them: class instances, deferred contexts and command lists, shared resources,
// counters, predication, stream output, tile pools and video.
//
// Threads: every method of ID3D11Device may be called from any thread at any time. The immediate context and
// everything that it hands out (mapped pointers included) belongs to one thread at a time. AddRef and Release of any
// object are safe from every thread; an object that the device still reads lives on until that work is done.
#pragma once
#include "d3d11_descs.h"
#include <unknwn.h>

struct ID3D11ClassInstance;
struct ID3D11ClassLinkage;
struct ID3D11Device;
struct ID3D11DeviceContext;

DEFINE_GUID(IID_ID3D11DeviceChild, 0x1841e5c8, 0x16b0, 0x489b, 0xbc, 0xc8, 0x44, 0xcf, 0xb0, 0xd5, 0xde, 0xae);

/// What every object of a device offers. It holds a reference on its device.
struct ID3D11DeviceChild : public IUnknown
{
    /// Gives the device with a reference added.
    virtual void STDMETHODCALLTYPE GetDevice(ID3D11Device** ppDevice) = 0;
    /// Data attached under `guid`; with a null `pData` only its size in bytes. DXGI_ERROR_NOT_FOUND when there is
    /// none, DXGI_ERROR_MORE_DATA when `*pDataSize` is too small.
    virtual HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID guid, UINT* pDataSize, void* pData) = 0;
    /// Copies `DataSize` bytes; a null `pData` with size 0 removes the entry. Text under WKPDID_D3DDebugObjectName
    /// names the object for graphics debuggers and validation messages.
    virtual HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID guid, UINT DataSize, const void* pData) = 0;
    /// Holds a reference on `pData` until it is replaced or the object ends.
    virtual HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID guid, const IUnknown* pData) = 0;
};

DEFINE_GUID(IID_ID3D11Resource, 0xdc8e63f3, 0xd12b, 0x4952, 0xb4, 0x7b, 0x5e, 0x45, 0x02, 0x6a, 0x86, 0x2d);

struct ID3D11Resource : public ID3D11DeviceChild
{
    virtual void STDMETHODCALLTYPE GetType(D3D11_RESOURCE_DIMENSION* pResourceDimension) = 0;
    /// Kept and handed back; memory is managed by the device.
    virtual void STDMETHODCALLTYPE SetEvictionPriority(UINT EvictionPriority) = 0;
    virtual UINT STDMETHODCALLTYPE GetEvictionPriority() = 0;
};

DEFINE_GUID(IID_ID3D11Buffer, 0x48570b85, 0xd1ee, 0x4fcd, 0xa2, 0x50, 0xeb, 0x35, 0x07, 0x22, 0xb0, 0x37);

struct ID3D11Buffer : public ID3D11Resource
{
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_BUFFER_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11Texture1D, 0xf8fb5c27, 0xc6b3, 0x4f75, 0xa4, 0xc8, 0x43, 0x9a, 0xf2, 0xef, 0x56, 0x4c);

struct ID3D11Texture1D : public ID3D11Resource
{
    /// The description as created, with a MipLevels of 0 replaced by the real count.
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_TEXTURE1D_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11Texture2D, 0x6f15aaf2, 0xd208, 0x4e89, 0x9a, 0xb4, 0x48, 0x95, 0x35, 0xd3, 0x4f, 0x9c);

struct ID3D11Texture2D : public ID3D11Resource
{
    /// The description as created, with a MipLevels of 0 replaced by the real count.
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_TEXTURE2D_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11Texture3D, 0x037e866e, 0xf56d, 0x4357, 0xa8, 0xaf, 0x9d, 0xab, 0xbe, 0x6e, 0x25, 0x0e);

struct ID3D11Texture3D : public ID3D11Resource
{
    /// The description as created, with a MipLevels of 0 replaced by the real count.
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_TEXTURE3D_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11View, 0x839d1216, 0xbb2e, 0x412b, 0xb7, 0xf4, 0xa9, 0xdb, 0xeb, 0xe0, 0x8e, 0xd1);

/// A view holds a reference on its resource.
struct ID3D11View : public ID3D11DeviceChild
{
    /// Gives the resource with a reference added.
    virtual void STDMETHODCALLTYPE GetResource(ID3D11Resource** ppResource) = 0;
};

DEFINE_GUID(IID_ID3D11ShaderResourceView, 0xb0e06fe0, 0x8192, 0x4e1a, 0xb1, 0xca, 0x36, 0xd7, 0x41, 0x47, 0x10, 0xb2);

struct ID3D11ShaderResourceView : public ID3D11View
{
    /// The description with every default filled in.
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_SHADER_RESOURCE_VIEW_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11RenderTargetView, 0xdfdba067, 0x0b8d, 0x4865, 0x87, 0x5b, 0xd7, 0xb4, 0x51, 0x6c, 0xc1, 0x64);

struct ID3D11RenderTargetView : public ID3D11View
{
    /// The description with every default filled in.
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_RENDER_TARGET_VIEW_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11DepthStencilView, 0x9fdac92a, 0x1876, 0x48c3, 0xaf, 0xad, 0x25, 0xb9, 0x4f, 0x84, 0xa9, 0xb6);

struct ID3D11DepthStencilView : public ID3D11View
{
    /// The description with every default filled in.
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_DEPTH_STENCIL_VIEW_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11UnorderedAccessView, 0x28acf509, 0x7f5c, 0x48f6, 0x86, 0x11, 0xf3, 0x16, 0x01, 0x0a, 0x63, 0x80);

struct ID3D11UnorderedAccessView : public ID3D11View
{
    /// The description with every default filled in.
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_UNORDERED_ACCESS_VIEW_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11BlendState, 0x75b68faa, 0x347d, 0x4159, 0x8f, 0x45, 0xa0, 0x64, 0x0f, 0x01, 0xcd, 0x9a);

struct ID3D11BlendState : public ID3D11DeviceChild
{
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_BLEND_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11DepthStencilState, 0x03823efb, 0x8d8f, 0x4e1c, 0x9a, 0xa2, 0xf6, 0x4b, 0xb2, 0xcb, 0xfd, 0xf1);

struct ID3D11DepthStencilState : public ID3D11DeviceChild
{
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_DEPTH_STENCIL_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11RasterizerState, 0x9bb4ab81, 0xab1a, 0x4d8f, 0xb5, 0x06, 0xfc, 0x04, 0x20, 0x0b, 0x6e, 0xe7);

struct ID3D11RasterizerState : public ID3D11DeviceChild
{
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_RASTERIZER_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11SamplerState, 0xda6fea51, 0x564c, 0x4487, 0x98, 0x10, 0xf0, 0xd0, 0xf9, 0xb4, 0xe3, 0xa5);

struct ID3D11SamplerState : public ID3D11DeviceChild
{
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_SAMPLER_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11VertexShader, 0x3b301d64, 0xd678, 0x4289, 0x88, 0x97, 0x22, 0xf8, 0x92, 0x8b, 0x72, 0xf3);

struct ID3D11VertexShader : public ID3D11DeviceChild
{
};

DEFINE_GUID(IID_ID3D11HullShader, 0x8e5c6061, 0x628a, 0x4c8e, 0x82, 0x64, 0xbb, 0xe4, 0x5c, 0xb3, 0xd5, 0xdd);

struct ID3D11HullShader : public ID3D11DeviceChild
{
};

DEFINE_GUID(IID_ID3D11DomainShader, 0xf582c508, 0x0f36, 0x490c, 0x99, 0x77, 0x31, 0xee, 0xce, 0x26, 0x8c, 0xfa);

struct ID3D11DomainShader : public ID3D11DeviceChild
{
};

DEFINE_GUID(IID_ID3D11GeometryShader, 0x38325b96, 0xeffb, 0x4022, 0xba, 0x02, 0x2e, 0x79, 0x5b, 0x70, 0x27, 0x5c);

struct ID3D11GeometryShader : public ID3D11DeviceChild
{
};

DEFINE_GUID(IID_ID3D11PixelShader, 0xea82e40d, 0x51dc, 0x4f33, 0x93, 0xd4, 0xdb, 0x7c, 0x91, 0x25, 0xae, 0x8c);

struct ID3D11PixelShader : public ID3D11DeviceChild
{
};

DEFINE_GUID(IID_ID3D11ComputeShader, 0x4f5b196e, 0xc2bd, 0x495e, 0xbd, 0x01, 0x1f, 0xde, 0xd3, 0x8e, 0x49, 0x69);

struct ID3D11ComputeShader : public ID3D11DeviceChild
{
};

DEFINE_GUID(IID_ID3D11InputLayout, 0xe4819ddc, 0x4cf0, 0x4025, 0xbd, 0x26, 0x5d, 0xe8, 0x2a, 0x3e, 0x07, 0xb7);

struct ID3D11InputLayout : public ID3D11DeviceChild
{
};

DEFINE_GUID(IID_ID3D11Asynchronous, 0x4b35d0cd, 0x1e15, 0x4258, 0x9c, 0x98, 0x1b, 0x13, 0x33, 0xf6, 0xdd, 0x3b);

struct ID3D11Asynchronous : public ID3D11DeviceChild
{
    /// Bytes that ID3D11DeviceContext::GetData delivers.
    virtual UINT STDMETHODCALLTYPE GetDataSize() = 0;
};

DEFINE_GUID(IID_ID3D11Query, 0xd6c00747, 0x87b7, 0x425e, 0xb8, 0x4d, 0x44, 0xd1, 0x08, 0x56, 0x0a, 0xfd);

struct ID3D11Query : public ID3D11Asynchronous
{
    virtual void STDMETHODCALLTYPE GetDesc(D3D11_QUERY_DESC* pDesc) = 0;
};

DEFINE_GUID(IID_ID3D11DeviceContext, 0xc0bfa96c, 0xe089, 0x44fb, 0x8e, 0xaf, 0x26, 0xf8, 0x79, 0x61, 0x90, 0xda);

/// Records work for the device. Calls with arguments that the published rules forbid do nothing but write one line to
/// the debugger output; those that return a result give E_INVALIDARG.
struct ID3D11DeviceContext : public ID3D11DeviceChild
{
    /// Class instances are not supported: `NumClassInstances` has to be 0.
    virtual void STDMETHODCALLTYPE VSSetShader(ID3D11VertexShader* pShader,
                                               ID3D11ClassInstance* const* ppClassInstances,
                                               UINT NumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE VSSetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer* const* ppConstantBuffers) = 0;
    /// A view whose subresources are bound for writing is bound as null.
    virtual void STDMETHODCALLTYPE VSSetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView* const* ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE VSSetSamplers(UINT StartSlot, UINT NumSamplers,
                                                 ID3D11SamplerState* const* ppSamplers) = 0;
    virtual void STDMETHODCALLTYPE HSSetShader(ID3D11HullShader* pShader, ID3D11ClassInstance* const* ppClassInstances,
                                               UINT NumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE HSSetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer* const* ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE HSSetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView* const* ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE HSSetSamplers(UINT StartSlot, UINT NumSamplers,
                                                 ID3D11SamplerState* const* ppSamplers) = 0;
    virtual void STDMETHODCALLTYPE DSSetShader(ID3D11DomainShader* pShader,
                                               ID3D11ClassInstance* const* ppClassInstances,
                                               UINT NumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE DSSetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer* const* ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE DSSetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView* const* ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE DSSetSamplers(UINT StartSlot, UINT NumSamplers,
                                                 ID3D11SamplerState* const* ppSamplers) = 0;
    virtual void STDMETHODCALLTYPE GSSetShader(ID3D11GeometryShader* pShader,
                                               ID3D11ClassInstance* const* ppClassInstances,
                                               UINT NumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE GSSetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer* const* ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE GSSetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView* const* ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE GSSetSamplers(UINT StartSlot, UINT NumSamplers,
                                                 ID3D11SamplerState* const* ppSamplers) = 0;
    virtual void STDMETHODCALLTYPE PSSetShader(ID3D11PixelShader* pShader, ID3D11ClassInstance* const* ppClassInstances,
                                               UINT NumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE PSSetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer* const* ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE PSSetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView* const* ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE PSSetSamplers(UINT StartSlot, UINT NumSamplers,
                                                 ID3D11SamplerState* const* ppSamplers) = 0;
    virtual void STDMETHODCALLTYPE CSSetShader(ID3D11ComputeShader* pShader,
                                               ID3D11ClassInstance* const* ppClassInstances,
                                               UINT NumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE CSSetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer* const* ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE CSSetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView* const* ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE CSSetSamplers(UINT StartSlot, UINT NumSamplers,
                                                 ID3D11SamplerState* const* ppSamplers) = 0;
    /// An initial count of -1 keeps the hidden counter of an append or counter view.
    virtual void STDMETHODCALLTYPE CSSetUnorderedAccessViews(UINT StartSlot, UINT NumUAVs,
                                                             ID3D11UnorderedAccessView* const* ppUnorderedAccessViews,
                                                             const UINT* pUAVInitialCounts) = 0;
    virtual void STDMETHODCALLTYPE IASetInputLayout(ID3D11InputLayout* pInputLayout) = 0;
    virtual void STDMETHODCALLTYPE IASetVertexBuffers(UINT StartSlot, UINT NumBuffers,
                                                      ID3D11Buffer* const* ppVertexBuffers, const UINT* pStrides,
                                                      const UINT* pOffsets) = 0;
    virtual void STDMETHODCALLTYPE IASetIndexBuffer(ID3D11Buffer* pIndexBuffer, DXGI_FORMAT Format, UINT Offset) = 0;
    virtual void STDMETHODCALLTYPE IASetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY Topology) = 0;
    virtual void STDMETHODCALLTYPE RSSetState(ID3D11RasterizerState* pRasterizerState) = 0;
    virtual void STDMETHODCALLTYPE RSSetViewports(UINT NumViewports, const D3D11_VIEWPORT* pViewports) = 0;
    virtual void STDMETHODCALLTYPE RSSetScissorRects(UINT NumRects, const D3D11_RECT* pRects) = 0;
    virtual void STDMETHODCALLTYPE OMSetBlendState(ID3D11BlendState* pBlendState, const FLOAT BlendFactor[4],
                                                   UINT SampleMask) = 0;
    virtual void STDMETHODCALLTYPE OMSetDepthStencilState(ID3D11DepthStencilState* pDepthStencilState,
                                                          UINT StencilRef) = 0;
    /// Shader resources of the same subresources are set to null in every graphics stage, and unordered access views of
    /// the output stage go.
    virtual void STDMETHODCALLTYPE OMSetRenderTargets(UINT NumViews, ID3D11RenderTargetView* const* ppRenderTargetViews,
                                                      ID3D11DepthStencilView* pDepthStencilView) = 0;
    virtual void STDMETHODCALLTYPE OMSetRenderTargetsAndUnorderedAccessViews(
        UINT NumRTVs, ID3D11RenderTargetView* const* ppRenderTargetViews, ID3D11DepthStencilView* pDepthStencilView,
        UINT UAVStartSlot, UINT NumUAVs, ID3D11UnorderedAccessView* const* ppUnorderedAccessViews,
        const UINT* pUAVInitialCounts) = 0;
    virtual void STDMETHODCALLTYPE Draw(UINT VertexCount, UINT StartVertexLocation) = 0;
    virtual void STDMETHODCALLTYPE DrawIndexed(UINT IndexCount, UINT StartIndexLocation, INT BaseVertexLocation) = 0;
    virtual void STDMETHODCALLTYPE DrawInstanced(UINT VertexCountPerInstance, UINT InstanceCount,
                                                 UINT StartVertexLocation, UINT StartInstanceLocation) = 0;
    virtual void STDMETHODCALLTYPE DrawIndexedInstanced(UINT IndexCountPerInstance, UINT InstanceCount,
                                                        UINT StartIndexLocation, INT BaseVertexLocation,
                                                        UINT StartInstanceLocation) = 0;
    virtual void STDMETHODCALLTYPE DrawInstancedIndirect(ID3D11Buffer* pBufferForArgs,
                                                         UINT AlignedByteOffsetForArgs) = 0;
    virtual void STDMETHODCALLTYPE DrawIndexedInstancedIndirect(ID3D11Buffer* pBufferForArgs,
                                                                UINT AlignedByteOffsetForArgs) = 0;
    virtual void STDMETHODCALLTYPE Dispatch(UINT ThreadGroupCountX, UINT ThreadGroupCountY, UINT ThreadGroupCountZ) = 0;
    virtual void STDMETHODCALLTYPE DispatchIndirect(ID3D11Buffer* pBufferForArgs, UINT AlignedByteOffsetForArgs) = 0;
    /// The pointer is valid until Unmap. A read waits for the work that writes the resource; with
    /// D3D11_MAP_FLAG_DO_NOT_WAIT it gives DXGI_ERROR_WAS_STILL_DRAWING instead.
    virtual HRESULT STDMETHODCALLTYPE Map(ID3D11Resource* pResource, UINT Subresource, D3D11_MAP MapType, UINT MapFlags,
                                          D3D11_MAPPED_SUBRESOURCE* pMappedResource) = 0;
    virtual void STDMETHODCALLTYPE Unmap(ID3D11Resource* pResource, UINT Subresource) = 0;
    virtual void STDMETHODCALLTYPE UpdateSubresource(ID3D11Resource* pDstResource, UINT DstSubresource,
                                                     const D3D11_BOX* pDstBox, const void* pSrcData, UINT SrcRowPitch,
                                                     UINT SrcDepthPitch) = 0;
    virtual void STDMETHODCALLTYPE CopySubresourceRegion(ID3D11Resource* pDstResource, UINT DstSubresource, UINT DstX,
                                                         UINT DstY, UINT DstZ, ID3D11Resource* pSrcResource,
                                                         UINT SrcSubresource, const D3D11_BOX* pSrcBox) = 0;
    virtual void STDMETHODCALLTYPE CopyResource(ID3D11Resource* pDstResource, ID3D11Resource* pSrcResource) = 0;
    virtual void STDMETHODCALLTYPE CopyStructureCount(ID3D11Buffer* pDstBuffer, UINT DstAlignedByteOffset,
                                                      ID3D11UnorderedAccessView* pSrcView) = 0;
    virtual void STDMETHODCALLTYPE ResolveSubresource(ID3D11Resource* pDstResource, UINT DstSubresource,
                                                      ID3D11Resource* pSrcResource, UINT SrcSubresource,
                                                      DXGI_FORMAT Format) = 0;
    virtual void STDMETHODCALLTYPE GenerateMips(ID3D11ShaderResourceView* pShaderResourceView) = 0;
    virtual void STDMETHODCALLTYPE ClearRenderTargetView(ID3D11RenderTargetView* pRenderTargetView,
                                                         const FLOAT ColorRGBA[4]) = 0;
    virtual void STDMETHODCALLTYPE ClearDepthStencilView(ID3D11DepthStencilView* pDepthStencilView, UINT ClearFlags,
                                                         FLOAT Depth, UINT8 Stencil) = 0;
    virtual void STDMETHODCALLTYPE ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView* pUnorderedAccessView,
                                                                const UINT Values[4]) = 0;
    virtual void STDMETHODCALLTYPE ClearUnorderedAccessViewFloat(ID3D11UnorderedAccessView* pUnorderedAccessView,
                                                                 const FLOAT Values[4]) = 0;
    virtual void STDMETHODCALLTYPE Begin(ID3D11Asynchronous* pAsync) = 0;
    virtual void STDMETHODCALLTYPE End(ID3D11Asynchronous* pAsync) = 0;
    /// S_FALSE while the answer is out. Without D3D11_ASYNC_GETDATA_DONOTFLUSH recorded work is submitted first.
    virtual HRESULT STDMETHODCALLTYPE GetData(ID3D11Asynchronous* pAsync, void* pData, UINT DataSize,
                                              UINT GetDataFlags) = 0;
    /// The getters add a reference to each object that they give; empty slots give null.
    virtual void STDMETHODCALLTYPE VSGetShader(ID3D11VertexShader** ppShader, ID3D11ClassInstance** ppClassInstances,
                                               UINT* pNumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE VSGetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer** ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE VSGetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView** ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE VSGetSamplers(UINT StartSlot, UINT NumSamplers, ID3D11SamplerState** ppSamplers) = 0;
    virtual void STDMETHODCALLTYPE GSGetShader(ID3D11GeometryShader** ppShader, ID3D11ClassInstance** ppClassInstances,
                                               UINT* pNumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE GSGetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer** ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE GSGetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView** ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE GSGetSamplers(UINT StartSlot, UINT NumSamplers, ID3D11SamplerState** ppSamplers) = 0;
    virtual void STDMETHODCALLTYPE PSGetShader(ID3D11PixelShader** ppShader, ID3D11ClassInstance** ppClassInstances,
                                               UINT* pNumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE PSGetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer** ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE PSGetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView** ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE PSGetSamplers(UINT StartSlot, UINT NumSamplers, ID3D11SamplerState** ppSamplers) = 0;
    virtual void STDMETHODCALLTYPE CSGetShader(ID3D11ComputeShader** ppShader, ID3D11ClassInstance** ppClassInstances,
                                               UINT* pNumClassInstances) = 0;
    virtual void STDMETHODCALLTYPE CSGetConstantBuffers(UINT StartSlot, UINT NumBuffers,
                                                        ID3D11Buffer** ppConstantBuffers) = 0;
    virtual void STDMETHODCALLTYPE CSGetShaderResources(UINT StartSlot, UINT NumViews,
                                                        ID3D11ShaderResourceView** ppShaderResourceViews) = 0;
    virtual void STDMETHODCALLTYPE CSGetSamplers(UINT StartSlot, UINT NumSamplers, ID3D11SamplerState** ppSamplers) = 0;
    virtual void STDMETHODCALLTYPE CSGetUnorderedAccessViews(UINT StartSlot, UINT NumUAVs,
                                                             ID3D11UnorderedAccessView** ppUnorderedAccessViews) = 0;
    virtual void STDMETHODCALLTYPE IAGetInputLayout(ID3D11InputLayout** ppInputLayout) = 0;
    virtual void STDMETHODCALLTYPE IAGetVertexBuffers(UINT StartSlot, UINT NumBuffers, ID3D11Buffer** ppVertexBuffers,
                                                      UINT* pStrides, UINT* pOffsets) = 0;
    virtual void STDMETHODCALLTYPE IAGetIndexBuffer(ID3D11Buffer** pIndexBuffer, DXGI_FORMAT* Format, UINT* Offset) = 0;
    virtual void STDMETHODCALLTYPE IAGetPrimitiveTopology(D3D11_PRIMITIVE_TOPOLOGY* pTopology) = 0;
    virtual void STDMETHODCALLTYPE RSGetState(ID3D11RasterizerState** ppRasterizerState) = 0;
    virtual void STDMETHODCALLTYPE RSGetViewports(UINT* pNumViewports, D3D11_VIEWPORT* pViewports) = 0;
    virtual void STDMETHODCALLTYPE RSGetScissorRects(UINT* pNumRects, D3D11_RECT* pRects) = 0;
    virtual void STDMETHODCALLTYPE OMGetRenderTargets(UINT NumViews, ID3D11RenderTargetView** ppRenderTargetViews,
                                                      ID3D11DepthStencilView** ppDepthStencilView) = 0;
    virtual void STDMETHODCALLTYPE OMGetBlendState(ID3D11BlendState** ppBlendState, FLOAT BlendFactor[4],
                                                   UINT* pSampleMask) = 0;
    virtual void STDMETHODCALLTYPE OMGetDepthStencilState(ID3D11DepthStencilState** ppDepthStencilState,
                                                          UINT* pStencilRef) = 0;
    /// Back to the defaults: nothing bound, no viewports.
    virtual void STDMETHODCALLTYPE ClearState() = 0;
    /// Hands the recorded work to the device without waiting for it.
    virtual void STDMETHODCALLTYPE Flush() = 0;
    virtual D3D11_DEVICE_CONTEXT_TYPE STDMETHODCALLTYPE GetType() = 0;
    virtual UINT STDMETHODCALLTYPE GetContextFlags() = 0;
};

DEFINE_GUID(IID_ID3D11Device, 0xdb6f6ddb, 0xac77, 0x4e88, 0x82, 0x53, 0x81, 0x9d, 0xf9, 0xbb, 0xf1, 0x40);

/// Makes resources, views, states and shaders. QueryInterface also gives IDXGIDevice.
struct ID3D11Device : public IUnknown
{
    /// Every Create method gives E_INVALIDARG for arguments that the published rules forbid, with one line of debugger
    /// output, E_OUTOFMEMORY when memory runs out, DXGI_ERROR_DEVICE_REMOVED on a lost device, and S_FALSE when the out
    /// pointer is null and the arguments are sound.
    virtual HRESULT STDMETHODCALLTYPE CreateBuffer(const D3D11_BUFFER_DESC* pDesc,
                                                   const D3D11_SUBRESOURCE_DATA* pInitialData,
                                                   ID3D11Buffer** ppBuffer) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTexture1D(const D3D11_TEXTURE1D_DESC* pDesc,
                                                      const D3D11_SUBRESOURCE_DATA* pInitialData,
                                                      ID3D11Texture1D** ppTexture1D) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTexture2D(const D3D11_TEXTURE2D_DESC* pDesc,
                                                      const D3D11_SUBRESOURCE_DATA* pInitialData,
                                                      ID3D11Texture2D** ppTexture2D) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateTexture3D(const D3D11_TEXTURE3D_DESC* pDesc,
                                                      const D3D11_SUBRESOURCE_DATA* pInitialData,
                                                      ID3D11Texture3D** ppTexture3D) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateShaderResourceView(ID3D11Resource* pResource,
                                                               const D3D11_SHADER_RESOURCE_VIEW_DESC* pDesc,
                                                               ID3D11ShaderResourceView** ppSRView) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateUnorderedAccessView(ID3D11Resource* pResource,
                                                                const D3D11_UNORDERED_ACCESS_VIEW_DESC* pDesc,
                                                                ID3D11UnorderedAccessView** ppUAView) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateRenderTargetView(ID3D11Resource* pResource,
                                                             const D3D11_RENDER_TARGET_VIEW_DESC* pDesc,
                                                             ID3D11RenderTargetView** ppRTView) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDepthStencilView(ID3D11Resource* pResource,
                                                             const D3D11_DEPTH_STENCIL_VIEW_DESC* pDesc,
                                                             ID3D11DepthStencilView** ppDepthStencilView) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateInputLayout(const D3D11_INPUT_ELEMENT_DESC* pInputElementDescs,
                                                        UINT NumElements, const void* pShaderBytecodeWithInputSignature,
                                                        SIZE_T BytecodeLength, ID3D11InputLayout** ppInputLayout) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateVertexShader(const void* pShaderBytecode, SIZE_T BytecodeLength,
                                                         ID3D11ClassLinkage* pClassLinkage,
                                                         ID3D11VertexShader** ppVertexShader) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateGeometryShader(const void* pShaderBytecode, SIZE_T BytecodeLength,
                                                           ID3D11ClassLinkage* pClassLinkage,
                                                           ID3D11GeometryShader** ppGeometryShader) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreatePixelShader(const void* pShaderBytecode, SIZE_T BytecodeLength,
                                                        ID3D11ClassLinkage* pClassLinkage,
                                                        ID3D11PixelShader** ppPixelShader) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateHullShader(const void* pShaderBytecode, SIZE_T BytecodeLength,
                                                       ID3D11ClassLinkage* pClassLinkage,
                                                       ID3D11HullShader** ppHullShader) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDomainShader(const void* pShaderBytecode, SIZE_T BytecodeLength,
                                                         ID3D11ClassLinkage* pClassLinkage,
                                                         ID3D11DomainShader** ppDomainShader) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateComputeShader(const void* pShaderBytecode, SIZE_T BytecodeLength,
                                                          ID3D11ClassLinkage* pClassLinkage,
                                                          ID3D11ComputeShader** ppComputeShader) = 0;
    /// Equal descriptions give the same object.
    virtual HRESULT STDMETHODCALLTYPE CreateBlendState(const D3D11_BLEND_DESC* pBlendStateDesc,
                                                       ID3D11BlendState** ppBlendState) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateDepthStencilState(const D3D11_DEPTH_STENCIL_DESC* pDepthStencilStateDesc,
                                                              ID3D11DepthStencilState** ppDepthStencilState) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateRasterizerState(const D3D11_RASTERIZER_DESC* pRasterizerStateDesc,
                                                            ID3D11RasterizerState** ppRasterizerState) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateSamplerState(const D3D11_SAMPLER_DESC* pSamplerStateDesc,
                                                         ID3D11SamplerState** ppSamplerState) = 0;
    virtual HRESULT STDMETHODCALLTYPE CreateQuery(const D3D11_QUERY_DESC* pQueryDesc, ID3D11Query** ppQuery) = 0;
    /// A set of D3D11_FORMAT_SUPPORT bits; E_FAIL when the device does not know the format.
    virtual HRESULT STDMETHODCALLTYPE CheckFormatSupport(DXGI_FORMAT Format, UINT* pFormatSupport) = 0;
    /// 0 levels when the format cannot be drawn to with so many samples, else 1.
    virtual HRESULT STDMETHODCALLTYPE CheckMultisampleQualityLevels(DXGI_FORMAT Format, UINT SampleCount,
                                                                    UINT* pNumQualityLevels) = 0;
    /// Answers D3D11_FEATURE_THREADING, _DOUBLES and _FORMAT_SUPPORT; E_INVALIDARG for the others.
    virtual HRESULT STDMETHODCALLTYPE CheckFeatureSupport(D3D11_FEATURE Feature, void* pFeatureSupportData,
                                                          UINT FeatureSupportDataSize) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetPrivateData(REFGUID guid, UINT* pDataSize, void* pData) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPrivateData(REFGUID guid, UINT DataSize, const void* pData) = 0;
    virtual HRESULT STDMETHODCALLTYPE SetPrivateDataInterface(REFGUID guid, const IUnknown* pData) = 0;
    virtual D3D_FEATURE_LEVEL STDMETHODCALLTYPE GetFeatureLevel() = 0;
    virtual UINT STDMETHODCALLTYPE GetCreationFlags() = 0;
    /// S_OK while the device works, else why it was lost.
    virtual HRESULT STDMETHODCALLTYPE GetDeviceRemovedReason() = 0;
    /// Gives the one immediate context with a reference added.
    virtual void STDMETHODCALLTYPE GetImmediateContext(ID3D11DeviceContext** ppImmediateContext) = 0;
    /// Kept and handed back; no exception is ever raised.
    virtual HRESULT STDMETHODCALLTYPE SetExceptionMode(UINT RaiseFlags) = 0;
    virtual UINT STDMETHODCALLTYPE GetExceptionMode() = 0;
};

struct IDXGIAdapter;

/// Makes a device and its immediate context. `pAdapter` null takes what the environment variable GLEAM_DEVICE names:
/// `auto` (default: the first discrete, else integrated, else virtual GPU, else the processor), `software`, `null` or
/// a device number in Vulkan's order. The first of the feature levels that the device reaches is given; the highest
/// here is D3D_FEATURE_LEVEL_11_1. Null out pointers are left alone; with no out pointer the result is S_FALSE.
/// DXGI_ERROR_UNSUPPORTED when no device fits.
extern "C" GLEAM_PLATFORM_API HRESULT WINAPI
D3D11CreateDevice(IDXGIAdapter* pAdapter, D3D_DRIVER_TYPE DriverType, HMODULE Software, UINT Flags,
                  const D3D_FEATURE_LEVEL* pFeatureLevels, UINT FeatureLevels, UINT SDKVersion, ID3D11Device** ppDevice,
                  D3D_FEATURE_LEVEL* pFeatureLevel, ID3D11DeviceContext** ppImmediateContext);
