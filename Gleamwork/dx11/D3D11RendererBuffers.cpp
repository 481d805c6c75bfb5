// Creation, removal and resizing of vertex, index and structured buffers.
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"
#include "Gleamwork/dx11/ViewArray.h"

#include <qs/Log.h>

#include <limits>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11RendererBuffers";
constexpr char VERTEX_SCOPE[] = "DX11 VB";
constexpr char INDEX_SCOPE[] = "DX11 IB";
constexpr char STRUCTURED_SCOPE[] = "DX11 SB";

UINT CPUAccessOf(gw::EResourceUsage usage)
{
    switch (usage) {
    case gw::eResourceUsage_Staging:
        return D3D11_CPU_ACCESS_READ | D3D11_CPU_ACCESS_WRITE;
    case gw::eResourceUsage_Dynamic:
        return D3D11_CPU_ACCESS_WRITE;
    default:
        return 0;
    }
}

/// Sizes that do not fit the device's 32 bits become the largest one, which it refuses by itself.
UINT ByteWidth(std::uint64_t bytes)
{
    constexpr std::uint64_t MAX = std::numeric_limits<UINT>::max();
    return UINT(bytes < MAX ? bytes : MAX);
}

HRESULT CreateDeviceBuffer(ID3D11Device* device, const D3D11_BUFFER_DESC& desc, const void* data, ID3D11Buffer*& buffer)
{
    D3D11_SUBRESOURCE_DATA initial = {};
    initial.pSysMem = data;
    return device->CreateBuffer(&desc, data ? &initial : nullptr, &buffer);
}

D3D11_BUFFER_DESC DescribeBuffer(std::uint64_t bytes, gw::EResourceUsage usage, UINT bindFlags)
{
    D3D11_BUFFER_DESC desc = {};
    desc.ByteWidth = ByteWidth(bytes);
    desc.Usage = gw2DX11::ResourceUsage(usage);
    desc.BindFlags = bindFlags;
    desc.CPUAccessFlags = CPUAccessOf(usage);
    return desc;
}

UINT VertexBindFlags(gw::EResourceUsage usage, bool streamOutput)
{
    UINT flags = usage == gw::eResourceUsage_Staging ? 0u : UINT(D3D11_BIND_VERTEX_BUFFER);
    if (streamOutput) {
        flags = D3D11_BIND_VERTEX_BUFFER | D3D11_BIND_STREAM_OUTPUT;
    }
    if (usage == gw::eResourceUsage_Immutable || usage == gw::eResourceUsage_Default) {
        flags |= D3D11_BIND_SHADER_RESOURCE;
    }
    return flags;
}

D3D11_BUFFER_DESC DescribeStructured(const StructuredBuffer& record)
{
    const bool isStaging = record.usage == gw::eResourceUsage_Staging;
    UINT bindFlags = isStaging ? 0u : UINT(D3D11_BIND_SHADER_RESOURCE);
    if (record.usage == gw::eResourceUsage_Default) {
        bindFlags |= D3D11_BIND_UNORDERED_ACCESS;
    }
    D3D11_BUFFER_DESC desc =
        DescribeBuffer(std::uint64_t(record.elementCount) * record.elementSize, record.usage, bindFlags);
    if (record.raw) {
        desc.MiscFlags = isStaging ? 0u : UINT(D3D11_RESOURCE_MISC_BUFFER_ALLOW_RAW_VIEWS);
    } else {
        desc.MiscFlags = D3D11_RESOURCE_MISC_BUFFER_STRUCTURED;
        desc.StructureByteStride = record.elementSize;
    }
    return desc;
}

} // namespace

void D3D11Renderer::TrackMemory(const void* record, std::uint64_t bytes, const char* scope)
{
    qs::MemoryTrackerSample sample(scope);
    qs::MemoryManager::Track3rdPartyAlloc(record, bytes);
}

void D3D11Renderer::UntrackMemory(const void* record, const char* scope)
{
    qs::MemoryTrackerSample sample(scope);
    qs::MemoryManager::Track3rdPartyFree(record);
}

void D3D11Renderer::AddBufferView(ID3D11Buffer* buffer, DxgiFormat format, std::uint32_t elements,
                                  qs::ObjectHandle owner)
{
    SRV srv;
    srv.format = format;
    srv.views = NewViews<ID3D11ShaderResourceView>(1);
    srv.views[0] = CreateSRV(buffer, format, 0, int(elements), 0, -1);
    AddSRV(srv, owner);
}

void D3D11Renderer::ReleaseBufferView(qs::ObjectHandle owner)
{
    SRV srv = m_srvs.Take(owner);
    DeleteViews(srv.views, 1);
}

VertexBufferID D3D11Renderer::AddVertexBuffer()
{
    qs::ObjectHandle handle;
    m_vertexBuffers.Add(VertexBuffer(), handle);
    return handle;
}

IndexBufferID D3D11Renderer::AddIndexBuffer()
{
    qs::ObjectHandle handle;
    m_indexBuffers.Add(IndexBuffer(), handle);
    return handle;
}

StructuredBufferID D3D11Renderer::AddStructuredBuffer()
{
    StructuredBuffer record;
    record.texture = AddTexture();
    qs::ObjectHandle handle;
    if (!m_structuredBuffers.Add(record, handle)) {
        RemoveTexture(record.texture, true, true);
    }
    return handle;
}

void D3D11Renderer::CreateVertexBuffer(VertexBufferID id, long size, gw::EResourceUsage usage, const void* data)
{
    CreateVertexBufferInternal(id, size, usage, false, data);
}

void D3D11Renderer::CreateVertexBufferInternal(VertexBufferID id, long size, gw::EResourceUsage usage,
                                               bool streamOutput, const void* data)
{
    VertexBuffer* record = m_vertexBuffers.Get(id);
    if (!record) {
        return;
    }
    if (record->buffer) { // created a second time: nothing of the first buffer stays behind
        ReleaseVertexBuffer(*record);
    }
    const std::uint64_t bytes = size < 0 ? std::numeric_limits<std::uint64_t>::max() : std::uint64_t(size);
    record->sizeInBytes = std::int32_t(size);
    record->usage = usage;
    const D3D11_BUFFER_DESC desc = DescribeBuffer(bytes, usage, VertexBindFlags(usage, streamOutput));
    const HRESULT hr = CreateDeviceBuffer(m_deviceData.device, desc, data, record->buffer);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, "api::D3D11Renderer::CreateVertexBufferInternal",
                            "Couldn't create vertex buffer. ID3D11Device::CreateBuffer failed!\nError: %s\n"
                            "Description: %s",
                            hr);
        record->buffer = nullptr;
        return;
    }
    if (desc.BindFlags & D3D11_BIND_SHADER_RESOURCE) {
        AddBufferView(record->buffer, DXGI_FORMAT_R32_FLOAT, desc.ByteWidth >> 2, id);
    }
    TrackMemory(record, desc.ByteWidth, VERTEX_SCOPE);
}

void D3D11Renderer::CreateIndexBuffer(IndexBufferID id, unsigned indexCount, unsigned indexSize,
                                      gw::EResourceUsage usage, const void* data)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CreateIndexBuffer";
    IndexBuffer* record = m_indexBuffers.Get(id);
    if (!record) {
        return;
    }
    if (record->buffer) {
        ReleaseIndexBuffer(*record);
    }
    record->indexCount = indexCount;
    record->indexSize = indexSize;
    record->usage = usage;
    const UINT bindFlags =
        usage == gw::eResourceUsage_Staging ? 0u : UINT(D3D11_BIND_INDEX_BUFFER | D3D11_BIND_SHADER_RESOURCE);
    const D3D11_BUFFER_DESC desc = DescribeBuffer(std::uint64_t(indexCount) * indexSize, usage, bindFlags);
    const HRESULT hr = CreateDeviceBuffer(m_deviceData.device, desc, data, record->buffer);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, FUNCTION, "Couldn't create index buffer\nError: %s\nDescription: %s", hr);
        record->buffer = nullptr;
        return;
    }
    if (desc.BindFlags & D3D11_BIND_SHADER_RESOURCE) {
        if (indexSize == 2 || indexSize == 4) {
            AddBufferView(record->buffer, indexSize == 2 ? DXGI_FORMAT_R16_UINT : DXGI_FORMAT_R32_UINT, indexCount, id);
        } else {
            QS_LOG_ERROR(FILE_NAME, FUNCTION, "Index buffer has no shader view: its index size is %u, not 2 or 4.",
                         indexSize);
        }
    }
    TrackMemory(record, desc.ByteWidth, INDEX_SCOPE);
}

void D3D11Renderer::CreateStructuredBuffer(StructuredBufferID id, unsigned elementCount, unsigned elementSize,
                                           gw::EResourceUsage usage, bool raw, const void* data)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CreateStructuredBuffer";
    StructuredBuffer* record = m_structuredBuffers.Get(id);
    if (!record) {
        return;
    }
    if (record->buffer) {
        RemoveStructuredBuffer(id, false);
    }
    if (usage == gw::eResourceUsage_Immutable && !data) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "Invalid resource usage for structured buffer, falling back to eResourceUsage_Default!");
        usage = gw::eResourceUsage_Default;
    }
    record->elementCount = elementCount;
    record->elementSize = elementSize;
    record->usage = usage;
    record->raw = raw;
    const D3D11_BUFFER_DESC desc = DescribeStructured(*record);
    if (FAILED(CreateDeviceBuffer(m_deviceData.device, desc, data, record->buffer))) {
        QS_LOG_ERROR(FILE_NAME, FUNCTION, "Failed to create structured buffer!");
        record->buffer = nullptr;
        return;
    }
    Texture* texture = m_textures.Get(record->texture);
    if ((desc.BindFlags & D3D11_BIND_UNORDERED_ACCESS) && texture) {
        texture->uav = CreateUAV(record->buffer, raw ? DXGI_FORMAT_R32_TYPELESS : DXGI_FORMAT_UNKNOWN,
                                 D3D11_UAV_DIMENSION_BUFFER, raw ? UINT(D3D11_BUFFER_UAV_FLAG_RAW) : 0u, elementCount);
    }
    if (desc.BindFlags & D3D11_BIND_SHADER_RESOURCE) {
        AddBufferView(record->buffer, raw ? DXGI_FORMAT_R32_UINT : DXGI_FORMAT_UNKNOWN, elementCount, record->texture);
    }
    TrackMemory(record, desc.ByteWidth, STRUCTURED_SCOPE);
}

void D3D11Renderer::ReleaseVertexBuffer(VertexBuffer& record)
{
    UntrackMemory(&record, VERTEX_SCOPE);
    ReleaseObject(record.buffer);
    ReleaseBufferView(record.handle);
}

void D3D11Renderer::ReleaseIndexBuffer(IndexBuffer& record)
{
    UntrackMemory(&record, INDEX_SCOPE);
    ReleaseObject(record.buffer);
    ReleaseBufferView(record.handle);
}

void D3D11Renderer::RemoveVertexBuffer(VertexBufferID id)
{
    if (!id.IsValid()) {
        return;
    }
    if (VertexBuffer* record = m_vertexBuffers.Get(id)) {
        ReleaseVertexBuffer(*record);
        m_vertexBuffers.Destroy(id);
    }
}

void D3D11Renderer::RemoveIndexBuffer(IndexBufferID id)
{
    if (!id.IsValid()) {
        return;
    }
    if (IndexBuffer* record = m_indexBuffers.Get(id)) {
        ReleaseIndexBuffer(*record);
        m_indexBuffers.Destroy(id);
    }
}

void D3D11Renderer::RemoveStructuredBuffer(StructuredBufferID id, bool removeRecord)
{
    if (!id.IsValid()) {
        return;
    }
    StructuredBuffer* record = m_structuredBuffers.Get(id);
    if (!record) {
        return;
    }
    UntrackMemory(record, STRUCTURED_SCOPE);
    ReleaseObject(record->buffer);
    RemoveTexture(record->texture, removeRecord, false);
    if (removeRecord) {
        record->texture = qs::ObjectHandle::Unassigned;
        m_structuredBuffers.Destroy(id);
    }
}

void D3D11Renderer::ResizeStructuredBuffer(StructuredBufferID id, int elementCount)
{
    const StructuredBuffer* record = m_structuredBuffers.Get(id);
    if (!record) {
        return;
    }
    const StructuredBuffer old = *record;
    RemoveStructuredBuffer(id, false);
    CreateStructuredBuffer(id, unsigned(elementCount), old.elementSize, old.usage, old.raw, nullptr);
}

gw::EResourceUsage D3D11Renderer::GetVertexBufferUsage(VertexBufferID id) const
{
    const VertexBuffer* record = m_vertexBuffers.Get(id);
    return record ? record->usage : gw::EResourceUsage(0);
}

gw::EResourceUsage D3D11Renderer::GetIndexBufferUsage(VertexBufferID id) const
{
    const IndexBuffer* record = m_indexBuffers.Get(id);
    return record ? record->usage : gw::EResourceUsage(0);
}

bool D3D11Renderer::HasCPUReadAccessVB(VertexBufferID id) const
{
    return GetVertexBufferUsage(id) == gw::eResourceUsage_Staging;
}

bool D3D11Renderer::HasCPUReadAccessIB(IndexBufferID id) const
{
    const IndexBuffer* record = m_indexBuffers.Get(id);
    return record && record->usage == gw::eResourceUsage_Staging;
}

} // namespace api
