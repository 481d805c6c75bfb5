// Constants: the buffers of each shader with their change tracking, and the global buffers that every shader sees.
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"
#include "Gleamwork/dx11/ShaderStages.h"

#include <qs/Log.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RendererConstants";
constexpr char MEMORY_NAME[] = "ConstantBuffer::constantMem";
constexpr float DEGREES_TO_RADIANS = 0.017453292f;

/// Layout of the buffer at bind point 13.
struct AtmosphereBlock
{
    Matrix4x4f fogProperties; ///< transposed
    float lightProperties[12];
    float time, isLightProbe, windCosine, windSine;
    Vector4f userData;
};
static_assert(sizeof(AtmosphereBlock) == 144);

/// Layout of the buffer at bind point 12. The matrices are transposed.
struct ViewBlock
{
    Matrix4x4f view, projection, viewProjection;
    Vector4f viewPosition;
    float viewInfo0, viewInfo1, targetWidth, targetHeight;
    Vector4f clusteredLighting;
};
static_assert(sizeof(ViewBlock) == 240);

/// Replaces a dynamic buffer's contents.
void Upload(ID3D11DeviceContext* context, ID3D11Buffer* buffer, const void* data, std::size_t size)
{
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    if (SUCCEEDED(context->Map(buffer, 0, D3D11_MAP_WRITE_DISCARD, 0, &mapped))) {
        std::memcpy(mapped.pData, data, size);
        context->Unmap(buffer, 0);
    }
}

} // namespace

bool ConstantBuffer::Initialize(std::uint32_t bytes, std::uint8_t slot, ID3D11Device* device)
{
    if (memory || buffer) {
        QS_LOG_ASSERT(FILE_NAME, "ConstantBuffer::Initialize", "ConstantBuffer already initialized!");
        return false;
    }
    qs::MemoryTrackerSample sample(MEMORY_NAME);
    bindPoint = slot;
    size = bytes;
    const std::uint32_t rounded = (bytes + 15) & ~15u;
    memory = static_cast<std::uint8_t*>(
        qs::MemoryManager::Allocate(rounded, qs::AllocType::Raw, qs::DefaultMemoryTag, 16, true));
    if (!memory) {
        return false;
    }
    std::memset(memory, 0, rounded);
    dirtyEnd = uploadedEnd = bytes;
    dirty = true;

    D3D11_BUFFER_DESC desc = {};
    desc.ByteWidth = rounded;
    desc.Usage = D3D11_USAGE_DYNAMIC;
    desc.BindFlags = D3D11_BIND_CONSTANT_BUFFER;
    desc.CPUAccessFlags = D3D11_CPU_ACCESS_WRITE;
    const HRESULT hr = device->CreateBuffer(&desc, nullptr, &buffer);
    if (SUCCEEDED(hr)) {
        return true;
    }
    GW_LOG_DEVICE_ERROR(FILE_NAME, "ConstantBuffer::Initialize",
                        "ID3D11Device::CreateBuffer failed!\nError: %s\nDescription: %s", hr);
    Release();
    return false;
}

void ConstantBuffer::Release()
{
    qs::MemoryTrackerSample sample(MEMORY_NAME);
    qs::MemoryManager::Deallocate(memory, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
    memory = nullptr;
    if (buffer) {
        buffer->Release();
        buffer = nullptr;
    }
    dirty = false;
}

namespace api {

SetShaderConstantRawDesc D3D11Renderer::PrepareSetShaderConstantRaw(const Shader* shader, const qs::FixedString& name)
{
    SetShaderConstantRawDesc desc;
    if (!shader) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::PrepareSetShaderConstantRaw",
                      "SetShaderConstantRaw failed! Selected shader is NONE!");
        return desc;
    }
    const auto* node = shader->constantMap ? shader->constantMap->Lookup(name) : nullptr;
    if (!node) {
        return desc;
    }
    const ShaderConstant& constant = node->value;
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        if (constant.offsets[stage] != 0xffffffffu) {
            desc.stages[stage].offset = constant.offsets[stage];
            desc.stages[stage].buffer = GetStageConstants(*shader, stage).buffers + constant.buffers[stage];
        }
    }
    return desc;
}

void D3D11Renderer::SetShaderConstantRaw(const qs::FixedString& name, const void* data, unsigned size)
{
    SetShaderConstantRaw(PrepareSetShaderConstantRaw(m_state.currentShader, name), data, size);
}

void D3D11Renderer::SetShaderConstantRaw(const SetShaderConstantRawDesc& desc, const void* data, unsigned size)
{
    for (const StageConstantLocation& location : desc.stages) {
        ConstantBuffer* buffer = location.buffer;
        if (!buffer || location.offset == 0xffffffffu) {
            continue;
        }
        // A value longer than what is left of its buffer is cut: the shader has nowhere to read the rest.
        if (location.offset >= buffer->size) {
            continue;
        }
        const unsigned bytes = std::min(size, buffer->size - location.offset);
        buffer->dirtyEnd = std::max(buffer->dirtyEnd, location.offset + bytes);
        std::uint8_t* target = buffer->memory + location.offset;
        if (std::memcmp(target, data, bytes) != 0) {
            std::memcpy(target, data, bytes);
            buffer->dirty = true;
        } else if (buffer->uploadedEnd < buffer->dirtyEnd) {
            buffer->dirty = true; // the last upload did not reach this far
        }
    }
}

void D3D11Renderer::ApplyConstants()
{
    if (!m_state.currentShader) {
        return;
    }
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        const StageConstants constants = GetStageConstants(*m_state.currentShader, stage);
        for (std::uint32_t i = 0; i < constants.count; ++i) {
            ConstantBuffer& buffer = constants.buffers[i];
            if (!buffer.dirty || !buffer.buffer || buffer.bindPoint >= FIRST_GLOBAL_BIND_POINT) {
                continue;
            }
            Upload(m_deviceData.context, buffer.buffer, buffer.memory, buffer.dirtyEnd);
            buffer.uploadedEnd = buffer.dirtyEnd;
            buffer.dirtyEnd = 0;
            buffer.dirty = false;
        }
    }
}

qs::ObjectHandle D3D11Renderer::AddGlobalConstantBuffer(const qs::FixedString&, unsigned long long size)
{
    int slot = int(GLOBAL_CONSTANT_BUFFER_COUNT) - 1;
    while (slot >= 0 && m_globalConstantSlots[slot]) {
        --slot;
    }
    if (slot < 0) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::AddGlobalConstantBuffer",
                      "No available bind index found for global constant buffer (Maximum %u global constant buffers "
                      "supported).",
                      GLOBAL_CONSTANT_BUFFER_COUNT);
        return qs::ObjectHandle::Unassigned;
    }
    ConstantBuffer record;
    const auto bindPoint = static_cast<std::uint8_t>(FIRST_GLOBAL_BIND_POINT + slot);
    if (!record.Initialize(static_cast<std::uint32_t>(size), bindPoint, m_deviceData.device)) {
        return qs::ObjectHandle::Unassigned;
    }
    qs::ObjectHandle handle;
    if (!m_globalConstantBuffers.Add(record, handle)) {
        record.Release();
        return qs::ObjectHandle::Unassigned;
    }
    m_globalConstantSlots[slot] = record.buffer;
    return handle;
}

void D3D11Renderer::RemoveGlobalConstantBuffer(const qs::ObjectHandle& handle)
{
    ConstantBuffer* record = m_globalConstantBuffers.Get(handle);
    if (!record) {
        return;
    }
    m_globalConstantSlots[record->bindPoint - FIRST_GLOBAL_BIND_POINT] = nullptr;
    record->Release();
    m_globalConstantBuffers.Destroy(handle);
}

void D3D11Renderer::CreateGlobalConstantBuffers()
{
    m_atmosphereBuffer = AddGlobalConstantBuffer(qs::FixedString(), sizeof(AtmosphereBlock));
    m_viewBuffer = AddGlobalConstantBuffer(qs::FixedString(), sizeof(ViewBlock));
}

void D3D11Renderer::DestroyGlobalConstantBuffers()
{
    RemoveGlobalConstantBuffer(m_atmosphereBuffer);
    RemoveGlobalConstantBuffer(m_viewBuffer);
    m_atmosphereBuffer = m_viewBuffer = qs::ObjectHandle::Unassigned;
}

void D3D11Renderer::BindGlobalConstantBuffers()
{
    for (int stage = 0; stage < eShaderStage_Count; ++stage) {
        SetConstantBuffers(m_deviceData.context, stage, FIRST_GLOBAL_BIND_POINT, GLOBAL_CONSTANT_BUFFER_COUNT,
                           m_globalConstantSlots);
    }
}

void D3D11Renderer::UpdateGlobalConstants()
{
    const gw::AtmosphereProperties& atmosphere = *m_atmosphereProperties;
    AtmosphereBlock air = {};
    air.fogProperties = atmosphere.fogProperties.Transposed();
    // The twelve floats stand as four rows of three and go out as three rows of four.
    const auto* rows = reinterpret_cast<const float*>(&atmosphere.lightProperties);
    for (int row = 0; row < 4; ++row) {
        for (int column = 0; column < 3; ++column) {
            air.lightProperties[column * 4 + row] = rows[row * 3 + column];
        }
    }
    air.time = static_cast<float>(m_gameTime.time);
    air.isLightProbe = m_isLightProbeCapture ? 1.0f : 0.0f;
    air.windCosine = std::cos(atmosphere.windAngle * DEGREES_TO_RADIANS);
    air.windSine = std::sin(atmosphere.windAngle * DEGREES_TO_RADIANS);
    air.userData = atmosphere.userData;

    const gw::RendererProperties& properties = *m_renderProperties;
    ViewBlock eye = {};
    eye.view = properties.view.Transposed();
    eye.projection = properties.projection.Transposed();
    eye.viewProjection = properties.viewProjection.Transposed();
    eye.viewPosition = properties.viewPosition;
    eye.viewPosition.w = atmosphere.viewPositionW;
    eye.viewInfo0 = properties.viewInfo0;
    eye.viewInfo1 = properties.viewInfo1;
    eye.targetWidth = static_cast<float>(m_state.targetWidth);
    eye.targetHeight = static_cast<float>(m_state.targetHeight);
    eye.clusteredLighting = properties.clusteredLighting;

    static_assert(sizeof air == sizeof m_atmosphereBlock && sizeof eye == sizeof m_viewBlock);
    std::memcpy(m_atmosphereBlock, &air, sizeof air);
    std::memcpy(m_viewBlock, &eye, sizeof eye);
    UpdateGlobalConstantBufferData(m_atmosphereBuffer, m_atmosphereBlock, sizeof m_atmosphereBlock);
    UpdateGlobalConstantBufferData(m_viewBuffer, m_viewBlock, sizeof m_viewBlock);
    ApplyGlobalConstants();
}

void D3D11Renderer::UpdateGlobalConstantBufferData(const qs::ObjectHandle& handle, const unsigned char* data,
                                                   unsigned long long size)
{
    ConstantBuffer* record = m_globalConstantBuffers.Get(handle);
    if (!record) {
        return;
    }
    if (size > record->size) {
        QS_LOG_ASSERT(FILE_NAME, "api::D3D11Renderer::UpdateGlobalConstantBufferData",
                      "Trying to update a user global ConstantBuffer with size (%u) > constant buffer size (%u)!",
                      static_cast<unsigned>(size), record->size);
        return;
    }
    if (std::memcmp(record->memory, data, size) != 0) {
        std::memcpy(record->memory, data, size);
        record->dirty = true;
    }
}

void D3D11Renderer::ApplyGlobalConstants()
{
    m_globalConstantBuffers.ForEachLive([this](ConstantBuffer& record) {
        if (record.dirty) {
            Upload(m_deviceData.context, record.buffer, record.memory, record.size);
            record.dirty = false;
        }
    });
}

} // namespace api
