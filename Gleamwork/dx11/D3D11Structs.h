// The records behind the renderer's resource handles. No platform header is needed to read this file: device types
// are declared by name only, and device enumerations are held as their published numbers.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/FormatDesc.h"
#include "Gleamwork/RenderTypes.h"
#include "Gleamwork/image/Format.h"

#include <qs/Memory.h>
#include <qs/ObjectHandle.h>

#include <atomic>
#include <cstdint>

struct ID3D11BlendState;
struct ID3D11Buffer;
struct ID3D11DepthStencilState;
struct ID3D11DepthStencilView;
struct ID3D11Device;
struct ID3D11InputLayout;
struct ID3D11RasterizerState;
struct ID3D11RenderTargetView;
struct ID3D11Resource;
struct ID3D11SamplerState;
struct ID3D11ShaderResourceView;
struct ID3D11UnorderedAccessView;

namespace api {
/// A `DXGI_FORMAT` as its published number.
using DxgiFormat = std::uint32_t;
} // namespace api

/// A frame number in a texture's record, which recording threads raise while the record may be copied or compared. The
/// order is that of all marks and of the table of views: see api::D3D11Renderer::RemoveTexture.
class FrameMark
{
public:
    FrameMark() = default;
    FrameMark(std::uint32_t frame) : m_frame(frame) {}
    FrameMark(const FrameMark& other) : m_frame(other) {}
    FrameMark& operator=(const FrameMark& other) { return *this = std::uint32_t(other); }
    FrameMark& operator=(std::uint32_t frame)
    {
        std::atomic_ref(m_frame).store(frame);
        return *this;
    }
    operator std::uint32_t() const { return std::atomic_ref(m_frame).load(); }

private:
    mutable std::uint32_t m_frame = 0;
};

/// A texture. The record owns its device references; it is copied as plain data, so exactly one copy may release them
/// (`api::D3D11Renderer::ClearTexture`).
struct Texture
{
    ID3D11Resource* resource = nullptr;                   ///< null until `CreateTexture` succeeded
    ID3D11RenderTargetView* rtv = nullptr;                ///< whole-resource target view
    ID3D11DepthStencilView* dsv = nullptr;                ///< writable view
    ID3D11DepthStencilView* dsvReadOnly = nullptr;        ///< view with read-only depth and stencil
    ID3D11UnorderedAccessView* uav = nullptr;             ///< whole-resource unordered access
    ID3D11RenderTargetView** rtvSlices = nullptr;         ///< index `arraySize * mip + slice`, or `slice`
    ID3D11DepthStencilView** dsvSlices = nullptr;         ///< index `slice`
    ID3D11DepthStencilView** dsvReadOnlySlices = nullptr; ///< index `slice`
    api::DxgiFormat textureFormat = 0;                    ///< of the resource: typeless for a readable depth buffer
    api::DxgiFormat rtvFormat = 0;                        ///< 0 unless bound as target
    api::DxgiFormat dsvFormat = 0;                        ///< 0 unless bound as depth
    api::DxgiFormat uavFormat = 0;                        ///< 0 unless unordered access
    gw::EFormat format = gw::FORMAT_NONE;                 ///< the library's format
    gw::ETextureUsageFlag usage = gw::ETextureUsageFlag(0);
    gw::ETextureAccessFlag access = gw::eTextureAccessFlag_GPURead;
    std::uint32_t msaaSamples = 0;     ///< recorded only when greater than 1
    std::uint32_t width = 0;           ///< texels of mip 0
    std::uint32_t height = 0;          ///< texels of mip 0; 0 means 1D
    std::uint32_t depth = 0;           ///< texels of mip 0; 0 means not 3D
    std::int32_t arraySize = 0;        ///< slices: 6 times the requested size for a cube
    std::int32_t originalMipCount = 0; ///< mips of the asset before any reduction
    std::int32_t mipCount = 1;         ///< mips of this resource
    std::uint32_t sizeInBytes = 0;     ///< sum over slices and mips
    FrameMark keepUntilFrame;          ///< device references live at least until the frame counter is here
    qs::ObjectHandle handle;           ///< written by the container
};

/// The shader views of one owner: a texture, a vertex or index buffer, or a structured buffer's texture record.
struct SRV
{
    QS_DECLARE_ALLOC(SRV)

    ID3D11ShaderResourceView** views = nullptr;      ///< one or two; the second is the stencil view
    ID3D11ShaderResourceView** sliceViews = nullptr; ///< index `arraySize * mip + slice`, or `slice`; may be null
    api::DxgiFormat format = 0;
    api::DxgiFormat stencilFormat = 0; ///< 0 when there is no second view
    qs::ObjectHandle handle;           ///< not used as a key
};

/// What a texture held when it was removed while the device might still read it.
struct TextureRemoveData
{
    Texture texture;
    SRV srv; ///< all null when the texture had no shader view
    qs::ObjectHandle handle;
};

struct VertexBuffer
{
    ID3D11Buffer* buffer = nullptr; ///< null until created, and after a failed creation
    std::int32_t sizeInBytes = 0;
    gw::EResourceUsage usage = gw::EResourceUsage(0);
    qs::ObjectHandle handle;
};

struct IndexBuffer
{
    ID3D11Buffer* buffer = nullptr; ///< null until created, and after a failed creation
    std::uint32_t indexCount = 0;
    std::uint32_t indexSize = 0; ///< bytes of one index: 2 or 4
    gw::EResourceUsage usage = gw::EResourceUsage(0);
    qs::ObjectHandle handle;
};

struct StructuredBuffer
{
    std::uint32_t elementCount = 0;
    std::uint32_t elementSize = 0;  ///< bytes
    ID3D11Buffer* buffer = nullptr; ///< null until created, and after a failed creation
    qs::ObjectHandle texture;       ///< the `Texture` record that carries its views
    gw::EResourceUsage usage = gw::EResourceUsage(0);
    bool raw = false; ///< addressed in bytes instead of elements
    qs::ObjectHandle handle;
};

struct SamplerState
{
    ID3D11SamplerState* state = nullptr;
    qs::ObjectHandle handle;
};

struct BlendState
{
    ID3D11BlendState* state = nullptr;
    qs::ObjectHandle handle;
};

struct DepthState
{
    ID3D11DepthStencilState* state = nullptr;
    qs::ObjectHandle handle;
};

struct RasterizerState
{
    ID3D11RasterizerState* state = nullptr;
    qs::ObjectHandle handle;
};

/// A vertex layout, tied by the device to a vertex shader's input signature.
struct VertexFormat
{
    static constexpr int MAX_STREAMS = 8;

    ID3D11InputLayout* layout = nullptr;         ///< null when the format could not be validated
    std::uint32_t vertexSizes[MAX_STREAMS] = {}; ///< bytes per vertex in each stream
    std::uint64_t signatureHash = 0;             ///< of the shader's inputs; 0 when made without a shader
    qs::ObjectHandle handle;
    gw::FormatDesc* descs = nullptr; ///< heap copy, owned
    std::uint32_t descCount = 0;
    std::uint8_t texCoordCount = 0; ///< entries of usage Texcoord

    /// Copies `count` descs and counts the texture coordinates. A format that has descs already asserts
    /// "VertexFormat is already Initialized!" and stays as it is.
    void Initialize(const gw::FormatDesc* source, std::uint32_t count);
};

/// A constant buffer of a shader stage or a global one: a device buffer with a copy that `Set…` calls compare against.
struct ConstantBuffer
{
    ID3D11Buffer* buffer = nullptr; ///< dynamic, CPU write, size rounded up to 16 bytes
    std::uint8_t* memory = nullptr; ///< CPU copy, 16-byte aligned, tracked as "ConstantBuffer::constantMem"
    std::uint32_t dirtyEnd = 0;     ///< bytes from 0 that the next upload covers
    std::uint32_t uploadedEnd = 0;  ///< `dirtyEnd` of the last upload
    std::uint32_t size = 0;         ///< bytes
    bool dirty = false;
    std::uint8_t bindPoint = 0;
    qs::ObjectHandle handle; ///< used when the record lives in a container

    /// Makes the zeroed copy of `bytes` bytes and the device buffer. False, with nothing made, when the record is in
    /// use already or the device refuses.
    bool Initialize(std::uint32_t bytes, std::uint8_t slot, ID3D11Device* device);
    /// Frees both; an empty record is accepted.
    void Release();
};

/// A texture resolved for the shader that was current when it was set: what recording keeps for the replay.
struct SetTextureDesc
{
    ID3D11ShaderResourceView* view = nullptr;
    const std::int8_t* slots = nullptr; ///< vertex, pixel and compute slot in the shader's texture map; negative: none
};

/// Where a constant lies in one stage; null and 0xffffffff when the stage lacks it.
struct StageConstantLocation
{
    ConstantBuffer* buffer = nullptr;
    std::uint32_t offset = 0xffffffffu; ///< bytes from the start of the buffer
};

/// A constant resolved for a shader: its places in the vertex, pixel and compute stages.
struct SetShaderConstantRawDesc
{
    StageConstantLocation stages[3];
};
static_assert(sizeof(SetShaderConstantRawDesc) == 48 && sizeof(SetTextureDesc) == 16,
              "recorded commands hold both descs by value");
