// Vocabulary shared by the renderer, the data loader and the device back end: resource handles, the words for usage
// and access, topologies, render state values and the indexes of the prefab states.
#pragma once

#include <cstdint>
#include <qs/ObjectHandle.h>

/// A handle that can only name one kind of buffer. It has the size and layout of qs::ObjectHandle, converts to and
/// from it, and is passed by value; the tag keeps the three kinds apart at compile time.
template <class Tag>
class BufferID
{
public:
    BufferID() : m_handle(qs::ObjectHandle::Unassigned) {}
    BufferID(const qs::ObjectHandle& handle) : m_handle(handle) {}
    operator const qs::ObjectHandle&() const { return m_handle; }

    bool IsValid() const { return m_handle.IsValid(); }
    auto GetValue() const { return m_handle.GetValue(); }

    friend bool operator==(const BufferID& a, const BufferID& b) { return a.GetValue() == b.GetValue(); }
    friend bool operator==(const BufferID& a, const qs::ObjectHandle& b) { return a.GetValue() == b.GetValue(); }

private:
    qs::ObjectHandle m_handle;
};

class VertexBufferID : public BufferID<VertexBufferID>
{
public:
    using BufferID::BufferID;
};

class IndexBufferID : public BufferID<IndexBufferID>
{
public:
    using BufferID::BufferID;
};

class StructuredBufferID : public BufferID<StructuredBufferID>
{
public:
    using BufferID::BufferID;
};

static_assert(sizeof(VertexBufferID) == 8 && sizeof(IndexBufferID) == 8 && sizeof(StructuredBufferID) == 8);

/// Names for "no object" of each kind. They refer to the one unassigned handle, so they are usable during static
/// initialisation too. (gw::SS_INVALID and its sisters are prefab indexes, a different thing.)
inline const qs::ObjectHandle& TEXTURE_NONE = qs::ObjectHandle::Unassigned;
inline const qs::ObjectHandle& VB_NONE = qs::ObjectHandle::Unassigned;
inline const qs::ObjectHandle& IB_NONE = qs::ObjectHandle::Unassigned;
inline const qs::ObjectHandle& SBUF_NONE = qs::ObjectHandle::Unassigned;
inline const qs::ObjectHandle& SHADER_NONE = qs::ObjectHandle::Unassigned;
inline const qs::ObjectHandle& BS_INVALID = qs::ObjectHandle::Unassigned;
inline const qs::ObjectHandle& DS_INVALID = qs::ObjectHandle::Unassigned;
inline const qs::ObjectHandle& RS_INVALID = qs::ObjectHandle::Unassigned;
inline const qs::ObjectHandle& SS_INVALID = qs::ObjectHandle::Unassigned;

namespace gw {

/// How vertices (or indices) form primitives. Fans, quads and value 7 have no device form; the first two only count.
enum EPrimitiveTopology : std::uint8_t
{
    ePrimitiveTopology_None = 0,
    ePrimitiveTopology_TriangleList = 1,
    ePrimitiveTopology_TriangleFan = 2,
    ePrimitiveTopology_TriangleStrip = 3,
    ePrimitiveTopology_QuadList = 4,
    ePrimitiveTopology_LineList = 5,
    ePrimitiveTopology_LineStrip = 6,
    ePrimitiveTopology_Reserved = 7,
    ePrimitiveTopology_PointList = 8,
};

/// Who writes a resource and how often; decides the device usage of buffers.
enum EResourceUsage : std::uint8_t
{
    eResourceUsage_Immutable = 0, ///< contents given at creation, never changed
    eResourceUsage_Default = 1,   ///< written by the device
    eResourceUsage_Dynamic = 2,   ///< rewritten by the processor
    eResourceUsage_Staging = 3,   ///< copied to or from by the device, mapped by the processor
};

/// How the processor maps a resource.
enum EResourceAccess : std::uint8_t
{
    eResourceAccess_Read = 0,
    eResourceAccess_ReadNoWait = 1, ///< fails at once while the device still uses the resource
    eResourceAccess_Write = 2,
    eResourceAccess_ReadWrite = 3,
    eResourceAccess_WriteDiscard = 4,     ///< the old contents are given up
    eResourceAccess_WriteNoOverwrite = 5, ///< the caller promises not to touch what the device still reads
};

/// How a texture is viewed; a bit mask. Views are made once, at creation. Slices ask for one view per array slice, Mips
/// (only beside Slices) for one per slice and mip level.
enum ETextureUsageFlag : std::uint16_t
{
    eTextureUsageFlag_None = 0,
    eTextureUsageFlag_SRGB = 1,    ///< the sRGB form of the format
    eTextureUsageFlag_CubeMap = 2, ///< the array size is multiplied by 6
    eTextureUsageFlag_ShaderResource = 4,
    eTextureUsageFlag_ShaderResourceSlices = 8,
    eTextureUsageFlag_ShaderResourceMips = 16,
    eTextureUsageFlag_RenderTarget = 32,
    eTextureUsageFlag_RenderTargetSlices = 64,
    eTextureUsageFlag_RenderTargetMips = 128,
    eTextureUsageFlag_DepthStencil = 256, ///< writable and read-only views
    eTextureUsageFlag_DepthStencilSlices = 512,
    eTextureUsageFlag_UnorderedAccess = 1024,
    eTextureUsageFlag_UnorderedAccessSlices = 2048, ///< arrays with this bit get no view
    eTextureUsageFlag_GenerateMips = 4096,          ///< the device may generate mips
};

/// Who reads and writes a texture's memory; a bit mask. Together the bits choose where the memory lies: GPU read alone
/// is immutable, with CPU write it is rewritten by the processor, with GPU write it is the device's; anything with CPU
/// read is for reading back.
enum ETextureAccessFlag : std::uint8_t
{
    eTextureAccessFlag_None = 0,
    eTextureAccessFlag_CPURead = 1,
    eTextureAccessFlag_CPUWrite = 2,
    eTextureAccessFlag_GPURead = 4,
    eTextureAccessFlag_GPUWrite = 8,
};

constexpr ETextureUsageFlag operator|(ETextureUsageFlag a, ETextureUsageFlag b)
{
    return static_cast<ETextureUsageFlag>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

constexpr ETextureAccessFlag operator|(ETextureAccessFlag a, ETextureAccessFlag b)
{
    return static_cast<ETextureAccessFlag>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

/// Hints for back ends that keep more than one copy of a texture or view; this library's has one and ignores them.
enum ETexturePrefer : std::uint8_t
{
    eTexturePrefer_Default = 0,
};

enum ESRVPrefer : std::uint8_t
{
    eSRVPrefer_Default = 0,
};

enum EDepthStencilClearMode : std::uint8_t
{
    eDepthStencilClearMode_Depth = 0,
    eDepthStencilClearMode_Stencil = 1,
    eDepthStencilClearMode_Both = 2,
};

/// Texture filters. The two bilinear and the two anisotropic values translate alike.
enum EFilter : std::uint8_t
{
    eFilter_Point = 0,
    eFilter_Bilinear = 1,
    eFilter_BilinearAlt = 2,
    eFilter_Trilinear = 3,
    eFilter_AnisotropicAlt = 4,
    eFilter_Anisotropic = 5,
};

enum EAddressMode : std::uint8_t
{
    eAddressMode_Wrap = 0,
    eAddressMode_Clamp = 1,
    eAddressMode_Mirror = 2,
    eAddressMode_Border = 3,
};

enum ECullModes : std::uint8_t
{
    eCullModes_None = 0,
    eCullModes_Back = 1,
    eCullModes_Front = 2,
};

enum EFillModes : std::uint8_t
{
    eFillModes_Solid = 0,
    eFillModes_Wireframe = 1,
};

/// Comparisons for depth, stencil and samplers. A sampler with Never is an ordinary, non-comparison sampler.
enum EComparisonFunction : std::uint8_t
{
    eComparisonFunction_Never = 0,
    eComparisonFunction_Less = 1,
    eComparisonFunction_Equal = 2,
    eComparisonFunction_LessEqual = 3,
    eComparisonFunction_Greater = 4,
    eComparisonFunction_NotEqual = 5,
    eComparisonFunction_GreaterEqual = 6,
    eComparisonFunction_Always = 7,
};

enum EBlendConstants : std::uint8_t
{
    eBlendConstants_Zero = 0,
    eBlendConstants_One = 1,
    eBlendConstants_SrcColor = 2,
    eBlendConstants_InvSrcColor = 3,
    eBlendConstants_DstColor = 4,
    eBlendConstants_InvDstColor = 5,
    eBlendConstants_SrcAlpha = 6,
    eBlendConstants_InvSrcAlpha = 7,
    eBlendConstants_DstAlpha = 8,
    eBlendConstants_InvDstAlpha = 9,
    eBlendConstants_SrcAlphaSaturated = 10,
};

enum EBlendOperation : std::uint8_t
{
    eBlendOperation_Add = 0,
    eBlendOperation_Subtract = 1,
    eBlendOperation_ReverseSubtract = 2,
    eBlendOperation_Min = 3,
    eBlendOperation_Max = 4,
};

enum EStencilOperation : std::uint8_t
{
    eStencilOperation_Keep = 0,
    eStencilOperation_Zero = 1,
    eStencilOperation_Replace = 2,
    eStencilOperation_Invert = 3,
    eStencilOperation_IncrementWrap = 4,
    eStencilOperation_DecrementWrap = 5,
    eStencilOperation_IncrementSaturate = 6,
    eStencilOperation_DecrementSaturate = 7,
};

/// What a GPU wait is about. Callers may pass any byte; this back end acts on ClearState alone.
enum ESyncType : std::uint8_t
{
    eSyncType_ClearState = 12,
};

/// Prefab sampler states, indexes into RendererBase::s_SS. "Alt" entries are separate objects with equal values.
enum EPrefabSamplerState : std::uint8_t
{
    SS_POINT_WRAP,
    SS_POINT_CLAMP,
    SS_POINT_MIRROR,
    SS_POINT_MIRROR_ALT,
    SS_POINT_CLAMP_ALT,
    SS_BILINEAR_WRAP,
    SS_BILINEAR_CLAMP,
    SS_BILINEAR_MIRROR,
    SS_BILINEAR_BORDER,
    SS_TRILINEAR_WRAP,
    SS_TRILINEAR_CLAMP,
    SS_TRILINEAR_MIRROR,
    SS_ANISO2_WRAP,
    SS_ANISO2_CLAMP,
    SS_ANISO2_MIRROR,
    SS_ANISO4_WRAP,
    SS_ANISO4_CLAMP,
    SS_ANISO4_MIRROR,
    SS_ANISO8_WRAP,
    SS_ANISO8_CLAMP,
    SS_ANISO8_MIRROR,
    SS_ANISO16_WRAP,
    SS_ANISO16_CLAMP,
    SS_ANISO16_MIRROR,
    SS_TRILINEAR_WRAP_ALT,
    SS_COMPARISON, ///< bilinear, passes where the reference is less
    SS_INVALID,
};

/// Prefab blend states, indexes into RendererBase::s_BS. Names tell the colour rule, then the alpha rule if it differs.
enum EPrefabBlendState : std::uint8_t
{
    BS_ALPHA,
    BS_ADD,
    BS_ADD_REPLACE_ALPHA,
    BS_PREMULTIPLIED,
    BS_ALPHA_ADD_ALPHA,
    BS_ALPHA_SCALE_ALPHA,
    BS_OPAQUE_MAX_ALPHA,
    BS_OPAQUE,
    BS_INVALID,
};

/// Prefab depth states, indexes into RendererBase::s_DS. "READ" tests without writing, "STENCIL" adds a stencil test.
enum EPrefabDepthState : std::uint8_t
{
    DS_NONE,
    DS_READ,
    DS_READ_WRITE,
    DS_NONE_ALWAYS,
    DS_READ_NEVER,
    DS_READ_EQUAL,
    DS_READ_WRITE_LESS,
    DS_READ_LESS_STENCIL_MARK_HIDDEN, ///< writes the reference where the depth test fails
    DS_READ_LESS_STENCIL_EQUAL,
    DS_READ_GREATER_EQUAL,
    DS_READ_ALWAYS_STENCIL_ALWAYS,
    DS_STENCIL_MARK,
    DS_STENCIL_EQUAL,
    DS_READ_WRITE_STENCIL_BIT0_EQUAL,
    DS_READ_EQUAL_STENCIL_GREATER,
    DS_READ_EQUAL_STENCIL_GREATER_MARK,
    DS_READ_EQUAL_STENCIL_EQUAL,
    DS_INVALID,
};

/// Prefab rasterizer states, indexes into RendererBase::s_RS. Names tell fill, culled faces and what else is on.
enum EPrefabRasterizerState : std::uint8_t
{
    RS_SOLID,
    RS_SOLID_CULL_BACK,
    RS_SOLID_CULL_FRONT,
    RS_WIREFRAME,
    RS_WIREFRAME_CULL_BACK,
    RS_SOLID_SCISSOR,
    RS_SOLID_BIAS,
    RS_SOLID_CULL_BACK_BIAS,
    RS_WIREFRAME_BIAS,
    RS_SOLID_SCISSOR_NO_MSAA,
    RS_INVALID,
};

static_assert(SS_INVALID == 26 && BS_INVALID == 8 && DS_INVALID == 17 && RS_INVALID == 10);

/// Size of a texture while mip levels are dropped.
struct TextureDimensions
{
    std::int32_t width = 0;
    std::int32_t height = 0;
    std::int32_t depth = 0;
    std::int32_t mipCount = 0;
};

/// Everything that one draw call needs besides constants and textures. Vertex buffers stand for streams 0, 1 and 2; a
/// buffer that is not in use is unassigned.
struct PrepareDrawData
{
    qs::ObjectHandle shader = qs::ObjectHandle::Unassigned;
    qs::ObjectHandle depthState = qs::ObjectHandle::Unassigned;
    std::uint32_t stencilRef = 0;
    qs::ObjectHandle rasterizerState = qs::ObjectHandle::Unassigned;
    qs::ObjectHandle blendState = qs::ObjectHandle::Unassigned;
    qs::ObjectHandle vertexFormat = qs::ObjectHandle::Unassigned;
    VertexBufferID vertexBuffers[3];
    IndexBufferID indexBuffer;
    EPrimitiveTopology topology = ePrimitiveTopology_None;
};

static_assert(sizeof(PrepareDrawData) == 88, "recorded draws copy this record as it stands");

} // namespace gw
