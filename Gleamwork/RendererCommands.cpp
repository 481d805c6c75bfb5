// Replay: performs the records of a command buffer on the renderer, one after the other, by a jump on the id.
//
// A record whose resource has died is no reason to stop. Map and Unmap records of dead resources are passed over in
// silence; everything else reaches the renderer, which reports what it finds.
#include "Gleamwork/RendererCommands.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <qs/Log.h>

namespace gw {

namespace {

/// A recorded name as a string that takes no reference.
class RecordedName
{
public:
    explicit RecordedName(const char* name) { qs::FixedStringHacker::SetHandleNoRef(m_string, name); }
    ~RecordedName() { qs::FixedStringHacker::SetHandleNoRef(m_string, qs::FixedString::NULL_STRING); }
    RecordedName(const RecordedName&) = delete;
    RecordedName& operator=(const RecordedName&) = delete;
    operator const qs::FixedString&() const { return m_string; }

private:
    qs::FixedString m_string;
};

template <class Command>
const char* GetPayload(const Command& command)
{
    return reinterpret_cast<const char*>(&command + 1);
}

// The resource may have been made anew, smaller than when the record was written.
std::size_t CheckRoom(std::size_t bytes, std::uint64_t room, const char* what)
{
    if (bytes > room) [[unlikely]] {
        QS_LOG_ERROR("Gleamwork/RendererCommands", "gw::RendererCommandBuffer::ProcessCommand",
                     "%zu bytes were recorded for a %s that holds %llu; the rest is dropped.", bytes, what,
                     static_cast<unsigned long long>(room));
        return std::size_t(room);
    }
    return bytes;
}

std::uint64_t GetRowCount(const Renderer& renderer, qs::ObjectHandle texture)
{
    unsigned width, height, depth;
    renderer.GetTextureDimensions(texture, width, height, depth);
    const bool isBlocks = image::GetFormatDescription(renderer.GetFormat(texture)).isBlockCompressed;
    const std::uint64_t rows = isBlocks ? (std::uint64_t(height) + 3) / 4 : std::max(height, 1u);
    return rows * std::max(depth, 1u);
}

void CopyToTexture(Renderer& renderer, const RCB_MapTextureCommand& c, char* target, std::size_t devicePitch)
{
    const char* source = GetMapPayload(reinterpret_cast<const char*>(&c));
    const std::size_t rows = CheckRoom(std::size_t(c.rows), GetRowCount(renderer, c.texture), "texture (rows)");
    if (c.pitch == devicePitch) {
        std::memcpy(target, source, rows * c.pitch);
        return;
    }
    const std::size_t rowBytes = CheckRoom(c.pitch, devicePitch, "texture's row");
    for (std::size_t row = 0; row < rows; ++row) {
        std::memcpy(target + row * devicePitch, source + row * c.pitch, rowBytes);
    }
}

// What each command does. Commands with a payload give the size of their record; that of the others is fixed.

void Perform(Renderer& r, const RCB_ClearRenderTargetCommand& c)
{
    r.ClearRenderTarget(c.target, c.slice, c.color);
}

void Perform(Renderer& r, const RCB_ClearDepthStencilCommand& c)
{
    r.ClearDepthStencil(c.target, c.slice, c.mode, c.depth, c.stencil);
}

void Perform(Renderer& r, const RCB_SetBlendStateCommand& c)
{
    r.SetBlendState(c.state, c.mask);
}

void Perform(Renderer& r, const RCB_SetRasterizerStateCommand& c)
{
    r.SetRasterizerState(c.state);
}

void Perform(Renderer& r, const RCB_SetDepthStateCommand& c)
{
    r.SetDepthState(c.state, c.stencilRef);
}

void Perform(Renderer& r, const RCB_SetShaderCommand& c)
{
    r.SetShader(c.shader);
}

void Perform(Renderer& r, const RCB_SetVertexFormatCommand& c)
{
    r.SetVertexFormat(c.format);
}

void Perform(Renderer& r, const RCB_SetVertexBufferCommand& c)
{
    r.SetVertexBuffer(c.stream, c.buffer, c.offset);
}

void Perform(Renderer& r, const RCB_SetIndexBufferCommand& c)
{
    r.SetIndexBuffer(c.buffer, 0);
}

void Perform(Renderer& r, const RCB_SetPrimitiveTopologyCommand& c)
{
    r.SetPrimitiveTopology(c.topology);
}

void Perform(Renderer& r, const RCB_SetUAVCommand& c)
{
    r.SetUAV(RecordedName(c.name), c.buffer);
}

void Perform(Renderer& r, const RCB_SetTextureCommand& c)
{
    r.SetTexture(c.desc);
}

void Perform(Renderer& r, const RCB_SetStructuredBufferCommand& c)
{
    r.SetStructuredBuffer(RecordedName(c.name), c.buffer);
}

void Perform(Renderer& r, const RCB_SetSamplerStateCommand& c)
{
    r.SetSamplerState(RecordedName(c.name), c.state);
}

void Perform(Renderer& r, const RCB_SetViewportCommand& c)
{
    r.SetViewport(c.width, c.height, c.x, c.y);
}

void Perform(Renderer& r, const RCB_SetScissorRectCommand& c)
{
    r.SetScissorRect(c.left, c.top, c.right, c.bottom);
}

void Perform(Renderer& r, const RCB_SetClusteredLightingPropertiesCommand& c)
{
    r.SetClusteredLightingProperties(c.x, c.y, c.z, c.w);
}

void Perform(Renderer& r, const RCB_PrepareDrawCommand& c)
{
    r.PrepareDraw(c.data);
}

std::size_t Perform(Renderer& r, const RCB_SetRenderTargetsCommand& c)
{
    const auto* targets = reinterpret_cast<const qs::ObjectHandle*>(GetPayload(c));
    const auto* slices = reinterpret_cast<const int*>(targets + c.count);
    const int* mips = slices + c.sliceCount;
    r.SetRenderTargets(c.count, c.count ? targets : nullptr, c.sliceCount ? slices : nullptr,
                       c.mipCount ? mips : nullptr, c.depth, c.readOnlyDepth, c.depthSlice);
    return sizeof(c) + std::size_t(c.count) * sizeof(qs::ObjectHandle) +
           (std::size_t(c.sliceCount) + c.mipCount) * sizeof(int);
}

void Perform(Renderer& r, const RCB_SetRenderPropertiesCommand& c)
{
    r.SetRenderProperties(c.view, c.projection, c.position, c.viewInfo0, c.viewInfo1);
}

void Perform(Renderer& r, const RCB_SetRenderFrustrumCornersCommand& c)
{
    r.SetRenderFrustrumCorners(c.corners[0], c.corners[1], c.corners[2], c.corners[3], c.corners[4], c.corners[5]);
}

void Perform(Renderer& r, const RCB_SetFrustumShaderParamCommand& c)
{
    const auto& corners = r.GetRenderProperties()->frustumCornersWorld;
    r.SetShaderConstantRaw(RecordedName(c.name), corners, sizeof(corners));
}

void Perform(Renderer& r, const RCB_SetFrustumShaderParamViewSpaceCommand& c)
{
    const auto& corners = r.GetRenderProperties()->frustumCornersView;
    r.SetShaderConstantRaw(RecordedName(c.name), corners, sizeof(corners));
}

void Perform(Renderer& r, const RCB_UpdateGlobalConstantsCommand&)
{
    r.UpdateGlobalConstants();
}

std::size_t Perform(Renderer& r, const RCB_SetShaderConstantRawCommand& c)
{
    r.SetShaderConstantRaw(c.desc, GetPayload(c), c.size);
    return sizeof(c) + c.size;
}

std::size_t Perform(Renderer& r, const RCB_CreateVertexBufferCommand& c)
{
    r.CreateVertexBuffer(c.buffer, long(c.size), c.usage, c.hasData ? GetPayload(c) : nullptr);
    return sizeof(c) + (c.hasData ? std::size_t(c.size) : 0);
}

std::size_t Perform(Renderer& r, const RCB_CreateIndexBufferCommand& c)
{
    r.CreateIndexBuffer(c.buffer, c.count, c.stride, c.usage, c.hasData ? GetPayload(c) : nullptr);
    return sizeof(c) + (c.hasData ? std::size_t(c.count) * c.stride : 0);
}

void Perform(Renderer& r, const RCB_RemoveVertexBufferCommand& c)
{
    r.RemoveVertexBuffer(c.buffer);
}

void Perform(Renderer& r, const RCB_RemoveIndexBufferCommand& c)
{
    r.RemoveIndexBuffer(c.buffer);
}

void Perform(Renderer& r, const RCB_ApplyTexturesCommand&)
{
    r.ApplyTextures();
}

void Perform(Renderer& r, const RCB_ApplyUAVsCommand&)
{
    r.ApplyUnorderedAccessViews();
}

void Perform(Renderer& r, const RCB_DrawArraysCommand& c)
{
    r.DrawArrays(c.firstVertex, c.vertexCount);
}

void Perform(Renderer& r, const RCB_DrawElementsCommand& c)
{
    r.DrawElements(c.firstIndex, c.indexCount, c.baseVertex, c.vertexCount);
}

void Perform(Renderer& r, const RCB_DrawElementsInstancedCommand& c)
{
    r.DrawElementsInstanced(c.firstInstance, c.instanceCount, c.firstIndex, c.indexCount, c.baseVertex, c.vertexCount);
}

void Perform(Renderer& r, const RCB_DrawTexturedCommand& c)
{
    r.drawTextured(c.topology, c.offset, c.vertices, c.count, c.texture, c.sampler, c.blend, c.depth, c.color);
}

void Perform(Renderer& r, const RCB_DrawTextured3DCommand& c)
{
    r.drawTextured3D(c.topology, c.world, c.vertices, c.count, c.texture, c.sampler, c.blend, c.depth, c.color);
}

void Perform(Renderer& r, const RCB_DrawPlainCommand& c)
{
    r.drawPlain(c.topology, c.vertices, c.count, c.blend, c.depth, c.color);
}

void Perform(Renderer& r, const RCB_DrawPlain3DCommand& c)
{
    r.drawPlain3D(c.topology, c.vertices, c.count, c.blend, c.depth, c.color);
}

void Perform(Renderer& r, const RCB_DrawPlain3DIndexedCommand& c)
{
    r.drawPlain3DIndexed(c.desc);
}

void Perform(Renderer& r, const RCB_DispatchCommand& c)
{
    r.Dispatch(c.x, c.y, c.z);
}

std::size_t Perform(Renderer& r, const RCB_MapTextureCommand& c)
{
    void* data = nullptr;
    int pitch = 0;
    if (r.IsAlive(c.texture) && r.LockTexture(c.texture, c.subresource, &data, &pitch, c.access) && data) {
        CopyToTexture(r, c, static_cast<char*>(data), std::size_t(pitch));
    }
    return MAP_RECORD_SIZE + std::size_t(c.rows) * c.pitch;
}

void Perform(Renderer& r, const RCB_UnmapTextureCommand& c)
{
    if (r.IsAlive(c.texture)) {
        r.UnlockTexture(c.texture, c.subresource);
    }
}

std::size_t Perform(Renderer& r, const RCB_MapVertexBufferCommand& c)
{
    void* data = nullptr;
    if (r.IsVertexBufferAlive(c.buffer) && r.LockVertexBuffer(c.buffer, c.offset, c.size, &data, c.access) && data) {
        const std::size_t bytes = CheckRoom(c.size, r.GetVertexBufferSize(c.buffer), "vertex buffer");
        std::memcpy(data, GetMapPayload(reinterpret_cast<const char*>(&c)), bytes);
    }
    return MAP_RECORD_SIZE + c.size;
}

void Perform(Renderer& r, const RCB_CopyVertexBufferCommand& c)
{
    r.CopyVertexBuffer(c.source, c.target);
}

void Perform(Renderer& r, const RCB_UnmapVertexBufferCommand& c)
{
    if (r.IsVertexBufferAlive(c.buffer)) {
        r.UnlockVertexBuffer(c.buffer);
    }
}

std::size_t Perform(Renderer& r, const RCB_MapIndexBufferCommand& c)
{
    void* data = nullptr;
    if (r.IsIndexBufferAlive(c.buffer) && r.LockIndexBuffer(c.buffer, c.offset, c.size, &data, c.access) && data) {
        const std::size_t bytes = CheckRoom(c.size, r.GetIndexBufferSize(c.buffer), "index buffer");
        std::memcpy(data, GetMapPayload(reinterpret_cast<const char*>(&c)), bytes);
    }
    return MAP_RECORD_SIZE + c.size;
}

void Perform(Renderer& r, const RCB_UnmapIndexBufferCommand& c)
{
    if (r.IsIndexBufferAlive(c.buffer)) {
        r.UnlockIndexBuffer(c.buffer);
    }
}

void Perform(Renderer& r, const RCB_CopyIndexBufferCommand& c)
{
    r.CopyIndexBuffer(c.source, c.target);
}

void Perform(Renderer& r, const RCB_CopyTextureCommand& c)
{
    r.CopyTexture(c.source, c.target);
}

void Perform(Renderer& r, const RCB_CopyTextureSliceCommand& c)
{
    r.CopyTextureSlice(c.source, c.sourceSubresource, c.target, c.targetSubresource);
}

void Perform(Renderer& r, const RCB_Setup2DModeCommand& c)
{
    r.Setup2DMode(c.left, c.right, c.top, c.bottom);
}

void Perform(Renderer& r, const RCB_GPUWaitCommand& c)
{
    r.GPUWait(c.type, c.resource, c.text, c.first, c.second);
}

void Perform(Renderer& r, const RCB_BeginRenderEventCommand& c)
{
    r.BeginRenderEvent(RecordedName(c.name));
}

void Perform(Renderer& r, const RCB_EndRenderEventCommand& c)
{
    r.EndRenderEvent(RecordedName(c.name));
}

void Perform(Renderer& r, const RCB_SetSampleLocationsCommand& c)
{
    r.SetSampleLocations(c.count, c.enable);
}

void Perform(Renderer& r, const RCB_EnableEQAACommand& c)
{
    r.EnableEQAA(c.enable);
}

void Perform(Renderer& r, const RCB_EnableIDBufferCommand& c)
{
    r.EnableIDBuffer(c.enable);
}

void Perform(Renderer& r, const RCB_SetGradientAdjustCommand& c)
{
    r.SetGradientAdjust(c.mode, c.first, c.second);
}

void Perform(Renderer& r, const RCB_ResolveDepthBufferCommand& c)
{
    r.ResolveDepthBuffer(c.source, c.target);
}

using Handler = std::size_t (*)(Renderer&, const char*);

template <class Command>
std::size_t Replay(Renderer& renderer, const char* record)
{
    const auto& command = *reinterpret_cast<const Command*>(record);
    if constexpr (std::is_void_v<decltype(Perform(renderer, command))>) {
        Perform(renderer, command);
        return sizeof(Command);
    } else {
        return Perform(renderer, command);
    }
}

constexpr bool AreInOrder(std::initializer_list<unsigned char> ids)
{
    unsigned expected = qs::CommandDispatcher::FIRST_DERIVED_ID;
    return std::all_of(ids.begin(), ids.end(), [&expected](unsigned char id) { return id == expected++; });
}

// Position in the table is the id, counted from the first that is not the base class's.
template <class... Commands>
constexpr std::array<Handler, sizeof...(Commands)> MakeHandlers()
{
    static_assert(AreInOrder({Commands::ID...}), "the commands stand in the order of their ids");
    return {&Replay<Commands>...};
}

constexpr auto s_handlers = MakeHandlers<
    RCB_ClearRenderTargetCommand, RCB_ClearDepthStencilCommand, RCB_SetBlendStateCommand, RCB_SetRasterizerStateCommand,
    RCB_SetDepthStateCommand, RCB_SetShaderCommand, RCB_SetVertexFormatCommand, RCB_SetVertexBufferCommand,
    RCB_SetIndexBufferCommand, RCB_SetPrimitiveTopologyCommand, RCB_SetUAVCommand, RCB_SetTextureCommand,
    RCB_SetStructuredBufferCommand, RCB_SetSamplerStateCommand, RCB_SetViewportCommand, RCB_SetScissorRectCommand,
    RCB_SetClusteredLightingPropertiesCommand, RCB_PrepareDrawCommand, RCB_SetRenderTargetsCommand,
    RCB_SetRenderPropertiesCommand, RCB_SetRenderFrustrumCornersCommand, RCB_SetFrustumShaderParamCommand,
    RCB_SetFrustumShaderParamViewSpaceCommand, RCB_UpdateGlobalConstantsCommand, RCB_SetShaderConstantRawCommand,
    RCB_CreateVertexBufferCommand, RCB_CreateIndexBufferCommand, RCB_RemoveVertexBufferCommand,
    RCB_RemoveIndexBufferCommand, RCB_ApplyTexturesCommand, RCB_ApplyUAVsCommand, RCB_DrawArraysCommand,
    RCB_DrawElementsCommand, RCB_DrawElementsInstancedCommand, RCB_DrawTexturedCommand, RCB_DrawTextured3DCommand,
    RCB_DrawPlainCommand, RCB_DrawPlain3DCommand, RCB_DrawPlain3DIndexedCommand, RCB_DispatchCommand,
    RCB_MapTextureCommand, RCB_UnmapTextureCommand, RCB_MapVertexBufferCommand, RCB_CopyVertexBufferCommand,
    RCB_UnmapVertexBufferCommand, RCB_MapIndexBufferCommand, RCB_UnmapIndexBufferCommand, RCB_CopyIndexBufferCommand,
    RCB_CopyTextureCommand, RCB_CopyTextureSliceCommand, RCB_Setup2DModeCommand, RCB_GPUWaitCommand,
    RCB_BeginRenderEventCommand, RCB_EndRenderEventCommand, RCB_SetSampleLocationsCommand, RCB_EnableEQAACommand,
    RCB_EnableIDBufferCommand, RCB_SetGradientAdjustCommand, RCB_ResolveDepthBufferCommand>();

} // namespace

void RendererCommandBuffer::PreExecute(bool destroy)
{
    qs::CommandDispatcher::PreExecute(destroy);
}

std::size_t RendererCommandBuffer::ProcessCommand(unsigned char id, const char* record)
{
    const std::size_t index = std::size_t(id) - FIRST_DERIVED_ID;
    if (index >= s_handlers.size()) [[unlikely]] {
        return qs::CommandDispatcher::ProcessCommand(id, record);
    }
    return s_handlers[index](*m_renderer, record);
}

void RendererCommandBuffer::DestructCommand(unsigned char id, const char* data)
{
    qs::CommandDispatcher::DestructCommand(id, data);
}

} // namespace gw

template GW_API void qs::ExecuteCommandDispatcher<gw::RendererCommandBuffer>(gw::RendererCommandBuffer&, bool);
