// Shaders, vertex and index buffers, textures, unordered access and samplers: from names to slots, through the shadow,
// to the device.
#include "Gleamwork/dx11/D3D11Renderer.h"
#include "Gleamwork/dx11/ShaderStages.h"

#include <qs/Log.h>

#include <atomic>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RendererBinding";

template <class Map>
const ShaderSlots* FindSlots(const Map& map, const qs::FixedString& name)
{
    const auto* node = map.Lookup(name);
    return node ? &node->value : nullptr;
}

} // namespace

void D3D11Renderer::SetShader(const qs::ObjectHandle& handle)
{
    if (m_state.shader == handle) {
        return;
    }
    m_state.shader = handle;
    Shader* record = handle.IsValid() ? m_shaders.Get(handle) : nullptr;
    m_state.currentShader = record;

    ID3D11DeviceContext* context = m_deviceData.context;
    const auto change = [record](auto& shadow, auto* Shader::*member) {
        auto* wanted = record ? record->*member : nullptr;
        const bool differs = shadow != wanted;
        shadow = wanted;
        return differs;
    };
    if (change(m_state.vertexShader, &Shader::vertexShader)) {
        context->VSSetShader(m_state.vertexShader, nullptr, 0);
    }
    if (change(m_state.pixelShader, &Shader::pixelShader)) {
        context->PSSetShader(m_state.pixelShader, nullptr, 0);
    }
    if (change(m_state.computeShader, &Shader::computeShader)) {
        context->CSSetShader(m_state.computeShader, nullptr, 0);
    }
    if (!record) {
        return;
    }
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        const StageConstants constants = GetStageConstants(*record, stage);
        for (std::uint32_t i = 0; i < constants.count; ++i) {
            const ConstantBuffer& buffer = constants.buffers[i];
            if (buffer.buffer && buffer.bindPoint < FIRST_GLOBAL_BIND_POINT) {
                SetConstantBuffers(context, stage, buffer.bindPoint, 1, &buffer.buffer);
            }
        }
    }
}

void D3D11Renderer::SetVertexBuffer(int stream, const VertexBufferID& id, long long offset)
{
    if (stream < 0 || stream >= D3D11StateCache::VERTEX_STREAMS) [[unlikely]] {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::SetVertexBuffer", "Stream %d out of range [0 - %d]", stream,
                      D3D11StateCache::VERTEX_STREAMS - 1);
        return;
    }
    VertexBufferID& shadowID = m_state.vertexBuffers[stream];
    std::int64_t& shadowOffset = m_state.vertexBufferOffsets[stream];
    if (shadowID == id && shadowOffset == offset) {
        return;
    }
    const VertexBuffer* record = id.IsValid() ? m_vertexBuffers.Get(id) : nullptr;
    ID3D11Buffer* buffer = record ? record->buffer : nullptr;
    const VertexFormat* format =
        buffer && m_state.vertexFormat.IsValid() ? m_vertexFormats.Get(m_state.vertexFormat) : nullptr;
    const UINT stride = format ? format->vertexSizes[stream] : 0;
    const UINT deviceOffset = buffer ? static_cast<UINT>(offset) : 0;
    m_deviceData.context->IASetVertexBuffers(static_cast<UINT>(stream), 1, &buffer, &stride, &deviceOffset);
    shadowID = buffer ? id : VertexBufferID();
    shadowOffset = buffer ? offset : 0;
}

void D3D11Renderer::SetIndexBuffer(const IndexBufferID& id, unsigned offset)
{
    if (m_state.indexBuffer == id && m_state.indexBufferOffset == offset) {
        return;
    }
    const IndexBuffer* record = id.IsValid() ? m_indexBuffers.Get(id) : nullptr;
    if (record && record->buffer) {
        const DXGI_FORMAT format = record->indexSize < 4 ? DXGI_FORMAT_R16_UINT : DXGI_FORMAT_R32_UINT;
        m_deviceData.context->IASetIndexBuffer(record->buffer, format, offset);
        m_state.indexBuffer = id;
        m_state.indexBufferOffset = offset;
        return;
    }
    m_deviceData.context->IASetIndexBuffer(nullptr, DXGI_FORMAT_UNKNOWN, 0);
    m_state.indexBuffer = IndexBufferID();
    m_state.indexBufferOffset = 0;
}

bool D3D11Renderer::PrepareSetTexture(const Shader* shader, const qs::FixedString& name, qs::ObjectHandle handle,
                                      int slice, SetTextureDesc& desc)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::PrepareSetTexture";
    if (!shader) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "SetTexture failed! Selected shader is nullptr!");
        return false;
    }
    if (!shader->textureMap) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "SetTexture failed! Selected shader has no textureMap!");
        return false;
    }
    const ShaderSlots* slots = FindSlots(*shader->textureMap, name);
    if (!slots) {
        return false;
    }
    if (handle.IsValid()) {
        MarkInUse(handle); // first, so that what is found below outlives the replay
        SRVMap::View view;
        if (m_srvs.FindView(handle, view)) {
            if (slice == -1) {
                desc.view = view.whole;
            } else if (slice >= 0 && slice < view.sliceCount) {
                desc.view = view.slices[slice];
            } else {
                QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                              "Setting texture %s with slice %i, but texture doesn't have any shader resource slices!",
                              name.ToChar(), slice);
            }
        }
    }
    desc.slots = slots->slots;
    return true;
}

/// Threads that bind the same texture in one frame write the same number, and only the first of them writes.
void D3D11Renderer::MarkInUse(const qs::ObjectHandle& handle)
{
    Texture* texture = m_textures.IsAlive(handle) ? m_textures.Get(handle) : m_textures.Get(m_whiteTexture);
    const std::uint32_t frame = std::atomic_ref(m_frameCounter).load(std::memory_order_relaxed) + TEXTURE_REMOVE_DELAY;
    if (texture && texture->keepUntilFrame != frame) {
        texture->keepUntilFrame = frame;
    }
}

void D3D11Renderer::SetTexture(const qs::FixedString& name, qs::ObjectHandle handle, int slice)
{
    SetTextureDesc desc;
    if (PrepareSetTexture(m_state.currentShader, name, handle, slice, desc)) {
        SetTexture(desc);
    }
}

void D3D11Renderer::SetTexture(const SetTextureDesc& desc)
{
    if (!desc.slots || !desc.view) {
        return;
    }
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        if (desc.slots[stage] >= 0) {
            m_state.shaderResources[stage].Set(desc.slots[stage], desc.view);
        }
    }
}

void D3D11Renderer::SetStructuredBuffer(const qs::FixedString& name, StructuredBufferID id)
{
    const StructuredBuffer* record = m_structuredBuffers.Get(id);
    SetTexture(name, record ? record->texture : TEXTURE_NONE, -1);
}

/// The compute slot of a buffer's name, or -1; the part of both SetBuffer forms that comes before their own messages.
int D3D11Renderer::FindComputeSlot(const qs::FixedString& name) const
{
    const Shader* shader = m_state.currentShader;
    if (!shader) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::SetBuffer", "SetBuffer failed! Selected shader is NONE!");
        return -1;
    }
    const ShaderSlots* slots = shader->textureMap ? FindSlots(*shader->textureMap, name) : nullptr;
    return slots ? slots->slots[eShaderStage_Compute] : -1;
}

void D3D11Renderer::SetBuffer(const qs::FixedString& name, VertexBufferID id)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::SetBuffer";
    const int slot = FindComputeSlot(name);
    if (slot < 0 || !m_vertexBuffers.Get(id)) {
        return;
    }
    const SRV* srv = m_srvs.Find(id);
    if (!srv) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "D3D11Renderer::SetBuffer(VertexBufferID). SRV not found for given buffer!");
    } else if (!srv->views || !srv->views[0]) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "D3D11Renderer::SetBuffer(VertexBufferID). SRV is nullptr!");
    } else {
        m_state.shaderResources[eShaderStage_Compute].Set(slot, srv->views[0]);
    }
}

void D3D11Renderer::SetBuffer(const qs::FixedString& name, IndexBufferID id)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::SetBuffer";
    const int slot = FindComputeSlot(name);
    if (slot < 0 || !m_indexBuffers.Get(id)) {
        return;
    }
    const SRV* srv = m_srvs.Find(id);
    if (!srv) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "D3D11Renderer::SetBuffer(IndexBufferID). SRV not found for given buffer!");
    } else if (!srv->views || !srv->views[0]) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "D3D11Renderer::SetBuffer(IndexBufferID). SRV is nullptr!");
    } else {
        m_state.shaderResources[eShaderStage_Compute].Set(slot, srv->views[0]);
    }
}

void D3D11Renderer::SetUAV(const qs::FixedString& name, const StructuredBufferID& handle)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::SetUAV";
    const Shader* shader = m_state.currentShader;
    if (!shader) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "SetUAV failed! Selected shader is NONE!");
        return;
    }
    if (!shader->textureMap) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "SetUAV failed! Selected shader has no textureMap!");
        return;
    }
    const ShaderSlots* slots = FindSlots(*shader->textureMap, name);
    if (!slots) {
        return;
    }
    const qs::ObjectHandle& object = handle;
    const Texture* texture = nullptr;
    if (object.GetType() == qs::ObjectContainer<Texture>::GetTypeIndex()) {
        texture = m_textures.Get(object);
    } else if (object.GetType() == qs::ObjectContainer<StructuredBuffer>::GetTypeIndex()) {
        const StructuredBuffer* record = m_structuredBuffers.Get(object);
        texture = record ? m_textures.Get(record->texture) : nullptr;
    } else {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "D3D11Renderer::SetUAV(). Unknown ObjectHandle type!");
        return;
    }
    ID3D11UnorderedAccessView* view = texture ? texture->uav : nullptr;
    if (!view) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "[RENDERING] ID3D11UnorderedAccessView (UAV) is nullptr! UAV will not be bound!");
        return;
    }
    if (const int slot = slots->slots[eShaderStage_Compute]; slot >= 0) {
        m_state.unorderedAccessViews.Set(slot, view);
    }
}

void D3D11Renderer::SetSamplerState(const qs::FixedString& name, qs::ObjectHandle handle)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::SetSamplerState";
    if (!handle.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "SetSamplerState should never be called using SS_INVALID!");
    }
    const Shader* shader = m_state.currentShader;
    if (!shader) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "SetSamplerState failed! Selected shader is NONE!");
        return;
    }
    if (!shader->samplerMap) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "SetSamplerState failed! Selected shader has no samplerStateMap!");
        return;
    }
    const ShaderSlots* slots = FindSlots(*shader->samplerMap, name);
    if (!slots || !ShadowSampler(*slots, handle) || !handle.IsValid()) {
        return;
    }
    const SamplerState* record = m_samplerStates.Get(handle);
    if (!record) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "Setting sampler state id %llu failed! SamplerState is nullptr!",
                      static_cast<unsigned long long>(handle.GetIndex() | std::uint64_t(handle.GetSalt()) << 16));
        return;
    }
    for (int stage = 0; record->state && stage < eShaderStage_Count; ++stage) {
        if (slots->slots[stage] >= 0) {
            m_state.samplers[stage].Set(slots->slots[stage], record->state);
        }
    }
}

/// Files a sampler's handle under its slots; false when every stage had it already. An unassigned one always counts
/// as a change, since the shadow says unassigned after a reset too.
bool D3D11Renderer::ShadowSampler(const ShaderSlots& slots, const qs::ObjectHandle& handle)
{
    bool isChanged = false;
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        const int slot = slots.slots[stage];
        if (slot < 0 || slot >= D3D11StateCache::SAMPLER_SLOTS) {
            continue;
        }
        qs::ObjectHandle& shadow = m_state.samplerHandles[stage][slot];
        if (!(shadow == handle) || !handle.IsValid()) {
            shadow = handle;
            isChanged = true;
        }
    }
    return isChanged;
}

void D3D11Renderer::Apply()
{
    if (m_state.currentShader) {
        ApplyConstants();
    }
    ApplyTextures();
    ApplySamplerStates();
    ApplyUnorderedAccessViews();
}

void D3D11Renderer::ApplyTextures()
{
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        m_state.shaderResources[stage].Flush([&](UINT first, UINT count, ID3D11ShaderResourceView* const* views) {
            SetShaderResources(m_deviceData.context, stage, first, count, views);
        });
    }
}

void D3D11Renderer::ApplySamplerStates()
{
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        m_state.samplers[stage].Flush([&](UINT first, UINT count, ID3D11SamplerState* const* samplers) {
            SetSamplers(m_deviceData.context, stage, first, count, samplers);
        });
    }
}

void D3D11Renderer::ApplyUnorderedAccessViews()
{
    static constexpr UINT initialCounts[D3D11StateCache::UAV_SLOTS] = {};
    m_state.unorderedAccessViews.Flush([&](UINT first, UINT count, ID3D11UnorderedAccessView* const* views) {
        m_deviceData.context->CSSetUnorderedAccessViews(first, count, views, initialCounts);
    });
}

bool D3D11Renderer::ValidateShaderConstant(const qs::FixedString& name, const qs::ObjectHandle& shader) const
{
    const Shader* record = shader.IsValid() ? m_shaders.Get(shader) : nullptr;
    return record && record->constantMap && record->constantMap->Lookup(name);
}

bool D3D11Renderer::ValidateShaderTexture(const qs::FixedString& name, const qs::ObjectHandle& shader) const
{
    const Shader* record = m_shaders.Get(shader);
    if (!record) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::ValidateShaderTexture", "Selected shader is invalid!");
        return false;
    }
    return record->textureMap && record->textureMap->Lookup(name);
}

} // namespace api
