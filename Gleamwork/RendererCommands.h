// The records of a recorded command buffer. The stream is a byte format, written on one thread and read on another:
// ids, sizes, alignments and offsets of the fields are fixed, and every field stands at its natural place behind the
// one-byte id. Ids below 3 are those of qs::CommandDispatcher.
//
// Payload stands directly behind the fixed fields, except in the Map records, where it starts at a multiple of 16.
// A name is the character pointer of an interned string, without a reference.
#pragma once

#include "Gleamwork/Font.h"
#include "Gleamwork/Renderer.h"
#include "Gleamwork/RendererCommandBuffer.h"
#include "Gleamwork/dx11/D3D11Structs.h"

#include <cstdint>
#include <new>
#include <type_traits>

namespace gw {

#define GW_COMMAND(Id)                                                                                                 \
    static constexpr unsigned char ID = Id;                                                                            \
    unsigned char id

struct RCB_ClearRenderTargetCommand
{
    GW_COMMAND(3);
    qs::ObjectHandle target;
    int slice;
    Vector4f color;
};

struct RCB_ClearDepthStencilCommand
{
    GW_COMMAND(4);
    qs::ObjectHandle target;
    int slice;
    EDepthStencilClearMode mode;
    float depth;
    unsigned char stencil;
};

struct RCB_SetBlendStateCommand
{
    GW_COMMAND(5);
    qs::ObjectHandle state;
    unsigned mask;
};

struct RCB_SetRasterizerStateCommand
{
    GW_COMMAND(6);
    qs::ObjectHandle state;
};

struct RCB_SetDepthStateCommand
{
    GW_COMMAND(7);
    qs::ObjectHandle state;
    unsigned stencilRef;
};

struct RCB_SetShaderCommand
{
    GW_COMMAND(8);
    qs::ObjectHandle shader;
};

struct RCB_SetVertexFormatCommand
{
    GW_COMMAND(9);
    qs::ObjectHandle format;
};

struct RCB_SetVertexBufferCommand
{
    GW_COMMAND(10);
    int stream;
    VertexBufferID buffer;
    std::int64_t offset;
};

struct RCB_SetIndexBufferCommand
{
    GW_COMMAND(11);
    IndexBufferID buffer;
};

struct RCB_SetPrimitiveTopologyCommand
{
    GW_COMMAND(12);
    EPrimitiveTopology topology;
};

struct RCB_SetUAVCommand
{
    GW_COMMAND(13);
    StructuredBufferID buffer;
    const char* name;
};

struct RCB_SetTextureCommand
{
    GW_COMMAND(14);
    SetTextureDesc desc;
};

struct RCB_SetStructuredBufferCommand
{
    GW_COMMAND(15);
    const char* name;
    StructuredBufferID buffer;
};

struct RCB_SetSamplerStateCommand
{
    GW_COMMAND(16);
    const char* name;
    qs::ObjectHandle state;
};

struct RCB_SetViewportCommand
{
    GW_COMMAND(17);
    int width, height, x, y;
};

struct RCB_SetScissorRectCommand
{
    GW_COMMAND(18);
    int left, top, right, bottom;
};

struct RCB_SetClusteredLightingPropertiesCommand
{
    GW_COMMAND(19);
    float x, y, z, w;
};

struct RCB_PrepareDrawCommand
{
    GW_COMMAND(20);
    PrepareDrawData data;
};

/// Behind it `count` handles, `sliceCount` ints and `mipCount` ints.
struct RCB_SetRenderTargetsCommand
{
    GW_COMMAND(21);
    unsigned count, sliceCount, mipCount;
    qs::ObjectHandle depth;
    bool readOnlyDepth;
    int depthSlice;
};

struct RCB_SetRenderPropertiesCommand
{
    GW_COMMAND(22);
    Vector3f position;
    float viewInfo0;
    Matrix4x4f view, projection;
    float viewInfo1;
};

struct RCB_SetRenderFrustrumCornersCommand
{
    GW_COMMAND(23);
    Vector3f corners[6];
};

struct RCB_SetFrustumShaderParamCommand
{
    GW_COMMAND(24);
    const char* name;
};

struct RCB_SetFrustumShaderParamViewSpaceCommand
{
    GW_COMMAND(25);
    const char* name;
};

struct RCB_UpdateGlobalConstantsCommand
{
    GW_COMMAND(26);
};

/// Behind it `size` bytes.
struct RCB_SetShaderConstantRawCommand
{
    GW_COMMAND(27);
    SetShaderConstantRawDesc desc;
    unsigned size;
};

/// Behind it, with `hasData`, `size` bytes.
struct RCB_CreateVertexBufferCommand
{
    GW_COMMAND(28);
    VertexBufferID buffer;
    std::uint64_t size;
    EResourceUsage usage;
    bool hasData;
};

/// Behind it, with `hasData`, `count * stride` bytes.
struct RCB_CreateIndexBufferCommand
{
    GW_COMMAND(29);
    IndexBufferID buffer;
    unsigned count, stride;
    EResourceUsage usage;
    bool hasData;
};

struct RCB_RemoveVertexBufferCommand
{
    GW_COMMAND(30);
    VertexBufferID buffer;
};

struct RCB_RemoveIndexBufferCommand
{
    GW_COMMAND(31);
    IndexBufferID buffer;
};

struct RCB_ApplyTexturesCommand
{
    GW_COMMAND(32);
};

struct RCB_ApplyUAVsCommand
{
    GW_COMMAND(33);
};

struct RCB_DrawArraysCommand
{
    GW_COMMAND(34);
    int firstVertex, vertexCount;
};

struct RCB_DrawElementsCommand
{
    GW_COMMAND(35);
    int firstIndex, indexCount, baseVertex, vertexCount;
};

struct RCB_DrawElementsInstancedCommand
{
    GW_COMMAND(36);
    int firstInstance, instanceCount, firstIndex, indexCount, baseVertex, vertexCount;
};

struct RCB_DrawTexturedCommand
{
    GW_COMMAND(37);
    EPrimitiveTopology topology;
    Vector2f offset;
    TexVertex* vertices;
    unsigned count;
    qs::ObjectHandle texture, sampler, blend, depth;
    Vector4f color;
};

struct RCB_DrawTextured3DCommand
{
    GW_COMMAND(38);
    EPrimitiveTopology topology;
    Matrix4x4f world;
    TexVertex* vertices;
    unsigned count;
    qs::ObjectHandle texture, sampler, blend, depth;
    Vector4f color;
};

struct RCB_DrawPlainCommand
{
    GW_COMMAND(39);
    EPrimitiveTopology topology;
    const Vector2f* vertices;
    unsigned count;
    qs::ObjectHandle blend, depth;
    Vector4f color;
};

struct RCB_DrawPlain3DCommand
{
    GW_COMMAND(40);
    EPrimitiveTopology topology;
    const Vector3f* vertices;
    unsigned count;
    qs::ObjectHandle blend, depth;
    Vector4f color;
};

struct RCB_DrawPlain3DIndexedCommand
{
    GW_COMMAND(41);
    Renderer::DrawPlain3DIndexedDesc desc;
};

struct RCB_DispatchCommand
{
    GW_COMMAND(42);
    int x, y, z;
};

/// Behind it `rows * pitch` bytes, aligned.
struct RCB_MapTextureCommand
{
    GW_COMMAND(43);
    qs::ObjectHandle texture;
    unsigned subresource, pitch;
    int rows;
    EResourceAccess access;
};

struct RCB_UnmapTextureCommand
{
    GW_COMMAND(44);
    qs::ObjectHandle texture;
    unsigned subresource;
};

/// Behind it `size` bytes, aligned.
struct RCB_MapVertexBufferCommand
{
    GW_COMMAND(45);
    VertexBufferID buffer;
    unsigned offset, size;
    EResourceAccess access;
};

struct RCB_CopyVertexBufferCommand
{
    GW_COMMAND(46);
    VertexBufferID source, target;
};

struct RCB_UnmapVertexBufferCommand
{
    GW_COMMAND(47);
    VertexBufferID buffer;
};

/// Behind it `size` bytes, aligned.
struct RCB_MapIndexBufferCommand
{
    GW_COMMAND(48);
    IndexBufferID buffer;
    unsigned offset, size;
    EResourceAccess access;
};

struct RCB_UnmapIndexBufferCommand
{
    GW_COMMAND(49);
    IndexBufferID buffer;
};

struct RCB_CopyIndexBufferCommand
{
    GW_COMMAND(50);
    IndexBufferID source, target;
};

struct RCB_CopyTextureCommand
{
    GW_COMMAND(51);
    qs::ObjectHandle source, target;
};

struct RCB_CopyTextureSliceCommand
{
    GW_COMMAND(52);
    qs::ObjectHandle source;
    int sourceSubresource;
    qs::ObjectHandle target;
    int targetSubresource;
};

struct RCB_Setup2DModeCommand
{
    GW_COMMAND(53);
    float left, right, top, bottom;
};

struct RCB_GPUWaitCommand
{
    GW_COMMAND(54);
    ESyncType type;
    qs::ObjectHandle resource;
    const char* text;
    int first, second;
};

struct RCB_BeginRenderEventCommand
{
    GW_COMMAND(55);
    const char* name;
};

struct RCB_EndRenderEventCommand
{
    GW_COMMAND(56);
    const char* name;
};

struct RCB_SetSampleLocationsCommand
{
    GW_COMMAND(57);
    int count;
    bool enable;
};

struct RCB_EnableEQAACommand
{
    GW_COMMAND(58);
    bool enable;
};

struct RCB_EnableIDBufferCommand
{
    GW_COMMAND(59);
    bool enable;
};

struct RCB_SetGradientAdjustCommand
{
    GW_COMMAND(60);
    int mode;
    bool first, second;
};

struct RCB_ResolveDepthBufferCommand
{
    GW_COMMAND(61);
    qs::ObjectHandle source, target;
};

#undef GW_COMMAND

/// Bytes that a Map record takes beside its payload, and the place of the payload: the first multiple of 16 at or
/// behind 32 bytes into the record.
inline constexpr std::size_t MAP_RECORD_SIZE = 47;

inline char* GetMapPayload(const char* record)
{
    return const_cast<char*>(record) + (MAP_RECORD_SIZE - (reinterpret_cast<std::uintptr_t>(record) + 47) % 16);
}

template <class Command, class... Fields>
void RendererCommandBuffer::Write(const Fields&... fields)
{
    static_assert(std::is_trivially_destructible_v<Command>);
    if (char* room = m_commands.AddCommand(sizeof(Command), alignof(Command))) {
        ::new (room) Command{Command::ID, fields...};
    }
}

template <class Command, class... Fields>
char* RendererCommandBuffer::WriteWithRoom(std::size_t bytes, const Fields&... fields)
{
    static_assert(std::is_trivially_destructible_v<Command>);
    char* room = m_commands.AddCommand(sizeof(Command) + bytes, alignof(Command));
    if (room) {
        ::new (room) Command{Command::ID, fields...};
    }
    return room;
}

} // namespace gw
