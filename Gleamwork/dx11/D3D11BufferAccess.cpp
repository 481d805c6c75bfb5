// Maps and copies of vertex, index and structured buffers.
#include "Gleamwork/dx11/D3D11Enums.h"
#include "Gleamwork/dx11/D3D11Error.h"
#include "Gleamwork/dx11/D3D11Renderer.h"

#include <qs/Log.h>

namespace api {
namespace {

constexpr char FILE_NAME[] = "Gleamwork/dx11/D3D11BufferAccess";

/// What a lock operation says.
struct LockTexts
{
    const char* function;
    const char* none;
    const char* missing; ///< a format that takes the handle's value
};

struct MapRequest
{
    gw::EResourceAccess access;
    bool mayPoll; ///< honours reading without waiting
};

template <class Container>
auto* FindForLock(Container& container, const qs::ObjectHandle& id, const LockTexts& texts)
{
    auto* record = static_cast<decltype(container.Get(id))>(nullptr);
    if (!id.IsValid()) {
        QS_LOG_ERROR(FILE_NAME, texts.function, "%s", texts.none);
        return record;
    }
    // Liveness first: a stale handle has a message of its own here.
    if (container.IsAlive(id)) {
        record = container.Get(id);
    }
    if (!record) {
        QS_LOG_ERROR(FILE_NAME, texts.function, texts.missing, static_cast<unsigned long long>(id.GetValue()));
    }
    return record;
}

/// Gives null data on failure. A buffer that failed to be created is refused like a bad argument.
HRESULT MapBuffer(ID3D11DeviceContext* context, ID3D11Buffer* buffer, MapRequest request, void** data)
{
    *data = nullptr;
    if (!buffer) {
        return E_INVALIDARG;
    }
    const bool polls = request.mayPoll && request.access == gw::eResourceAccess_ReadNoWait;
    D3D11_MAPPED_SUBRESOURCE mapped = {};
    const HRESULT hr = context->Map(buffer, 0, GetD3D11MapType(request.access),
                                    polls ? UINT(D3D11_MAP_FLAG_DO_NOT_WAIT) : 0u, &mapped);
    if (SUCCEEDED(hr)) {
        *data = mapped.pData;
    }
    return hr;
}

/// Checks common to the copies between two buffers of a kind.
template <class Record>
bool CheckCopy(const char* function, const Record* source, const Record* target, std::uint64_t sourceBytes,
               std::uint64_t targetBytes)
{
    const char* problem = nullptr;
    if (!source->buffer) {
        problem = "Source ID3D11Buffer doesn't exist!";
    } else if (!target->buffer) {
        problem = "Target ID3D11Buffer doesn't exist!";
    } else if (source->buffer == target->buffer) {
        problem = "Source and Target buffer can not be the same!";
    } else if (sourceBytes != targetBytes) {
        problem = "Source and Target buffer must have the same size!";
    } else if (target->usage == gw::eResourceUsage_Immutable) {
        problem = "Target buffer can not be immutable!";
    }
    if (problem) {
        QS_LOG_ASSERT(FILE_NAME, function, "%s failed! %s", function, problem);
    }
    return !problem;
}

/// Names in the messages of one kind of copy.
struct CopyTexts
{
    const char* function;
    const char* record;
    const char* none;
};

template <class Container, class Record>
bool FindForCopy(Container& container, const qs::ObjectHandle& src, const qs::ObjectHandle& trgt,
                 const CopyTexts& texts, Record*& source, Record*& target)
{
    if (!src.IsValid() || !trgt.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, texts.function, "%s failed! %s is %s!", texts.function, src.IsValid() ? "trgt" : "src",
                      texts.none);
        return false;
    }
    source = container.IsAlive(src) ? container.Get(src) : nullptr;
    target = container.IsAlive(trgt) ? container.Get(trgt) : nullptr;
    if (!source || !target) {
        QS_LOG_ASSERT(FILE_NAME, texts.function, "%s failed! %s %s doesn't exist!", texts.function,
                      source ? "Target" : "Source", texts.record);
        return false;
    }
    return true;
}

} // namespace

bool D3D11Renderer::LockVertexBuffer(const VertexBufferID& id, unsigned, unsigned, void** data,
                                     gw::EResourceAccess access)
{
    static constexpr LockTexts TEXTS = {"api::D3D11Renderer::LockVertexBuffer",
                                        "LockVertexBuffer failed! VB id was NONE!",
                                        "LockVertexBuffer failed! VertexBuffer with id %llu doesn't exist!"};
    *data = nullptr;
    const VertexBuffer* record = FindForLock(m_vertexBuffers, id, TEXTS);
    if (!record) {
        return false;
    }
    const HRESULT hr = MapBuffer(m_deviceData.context, record->buffer, {access, true}, data);
    if (FAILED(hr) && hr != DXGI_ERROR_WAS_STILL_DRAWING) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, TEXTS.function,
                            "LockVertexBuffer failed! ID3D11DeviceContext::Map Failed!\nError: %s\nDescription: %s",
                            hr);
    }
    return SUCCEEDED(hr);
}

bool D3D11Renderer::UnlockVertexBuffer(const VertexBufferID& id)
{
    static constexpr LockTexts TEXTS = {"api::D3D11Renderer::UnlockVertexBuffer",
                                        "UnlockVertexBuffer failed! VB id was NONE!",
                                        "UnlockVertexBuffer failed! VertexBuffer with id %llu doesn't exist!"};
    const VertexBuffer* record = FindForLock(m_vertexBuffers, id, TEXTS);
    if (!record || !record->buffer) {
        return false;
    }
    m_deviceData.context->Unmap(record->buffer, 0);
    return true;
}

bool D3D11Renderer::LockIndexBuffer(const IndexBufferID& id, unsigned, unsigned, void** data,
                                    gw::EResourceAccess access)
{
    static constexpr LockTexts TEXTS = {"api::D3D11Renderer::LockIndexBuffer",
                                        "LockIndexBuffer failed! IB id was NONE!",
                                        "LockIndexBuffer failed! IndexBuffer with id %llu doesn't exist!"};
    *data = nullptr;
    const IndexBuffer* record = FindForLock(m_indexBuffers, id, TEXTS);
    if (!record) {
        return false;
    }
    const HRESULT hr = MapBuffer(m_deviceData.context, record->buffer, {access, false}, data);
    if (FAILED(hr)) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, TEXTS.function,
                            "LockIndexBuffer failed! ID3D11DeviceContext::Map Failed!\nError: %s\nDescription: %s", hr);
    }
    return SUCCEEDED(hr);
}

bool D3D11Renderer::UnlockIndexBuffer(const IndexBufferID& id)
{
    static constexpr LockTexts TEXTS = {"api::D3D11Renderer::UnlockIndexBuffer",
                                        "UnlockIndexBuffer failed! IB id was NONE!",
                                        "UnlockIndexBuffer failed! IndexBuffer with id %llu doesn't exist!"};
    const IndexBuffer* record = FindForLock(m_indexBuffers, id, TEXTS);
    if (!record || !record->buffer) {
        return false;
    }
    m_deviceData.context->Unmap(record->buffer, 0);
    return true;
}

bool D3D11Renderer::LockStructuredBuffer(const StructuredBufferID& id, void** data, gw::EResourceAccess access,
                                         unsigned long long)
{
    static constexpr LockTexts TEXTS = {"api::D3D11Renderer::LockStructuredBuffer",
                                        "LockStructuredBuffer failed! SB id was NONE!",
                                        "LockStructuredBuffer failed! StructuredBuffer with id %llu doesn't exist!"};
    *data = nullptr;
    const StructuredBuffer* record = FindForLock(m_structuredBuffers, id, TEXTS);
    if (!record) {
        return false;
    }
    if (record->usage != gw::eResourceUsage_Dynamic && record->usage != gw::eResourceUsage_Staging) {
        QS_LOG_ASSERT(FILE_NAME, TEXTS.function, "Can map only dynamic or staging structured buffer.");
    }
    const HRESULT hr = MapBuffer(m_deviceData.context, record->buffer, {access, true}, data);
    if (FAILED(hr) && hr != DXGI_ERROR_WAS_STILL_DRAWING) {
        GW_LOG_DEVICE_ERROR(FILE_NAME, TEXTS.function,
                            "LockStructuredBuffer failed! ID3D11DeviceContext::Map Failed!\nError: %s\n"
                            "Description: %s",
                            hr);
    }
    return SUCCEEDED(hr);
}

bool D3D11Renderer::UnlockStructuredBuffer(const StructuredBufferID& id)
{
    static constexpr LockTexts TEXTS = {"api::D3D11Renderer::UnlockStructuredBuffer",
                                        "UnlockStructuredBuffer failed! SB id was NONE!",
                                        "UnlockStructuredBuffer failed! StructuredBuffer with id %llu doesn't exist!"};
    const StructuredBuffer* record = FindForLock(m_structuredBuffers, id, TEXTS);
    if (!record || !record->buffer) {
        return false;
    }
    m_deviceData.context->Unmap(record->buffer, 0);
    return true;
}

bool D3D11Renderer::CopyVertexBuffer(const VertexBufferID& src, const VertexBufferID& trgt)
{
    static constexpr CopyTexts TEXTS = {"api::D3D11Renderer::CopyVertexBuffer", "VertexBuffer", "VB_NONE"};
    VertexBuffer* source = nullptr;
    VertexBuffer* target = nullptr;
    if (!FindForCopy(m_vertexBuffers, src, trgt, TEXTS, source, target) ||
        !CheckCopy(TEXTS.function, source, target, std::uint64_t(source->sizeInBytes),
                   std::uint64_t(target->sizeInBytes))) {
        return false;
    }
    m_deviceData.context->CopyResource(target->buffer, source->buffer);
    return true;
}

bool D3D11Renderer::CopyIndexBuffer(const IndexBufferID& src, const IndexBufferID& trgt)
{
    static constexpr CopyTexts TEXTS = {"api::D3D11Renderer::CopyIndexBuffer", "IndexBuffer", "IB_NONE"};
    IndexBuffer* source = nullptr;
    IndexBuffer* target = nullptr;
    if (!FindForCopy(m_indexBuffers, src, trgt, TEXTS, source, target) ||
        !CheckCopy(TEXTS.function, source, target, std::uint64_t(source->indexCount) * source->indexSize,
                   std::uint64_t(target->indexCount) * target->indexSize)) {
        return false;
    }
    m_deviceData.context->CopyResource(target->buffer, source->buffer);
    return true;
}

void D3D11Renderer::CopyStructuredBuffer(const StructuredBufferID& src, const StructuredBufferID& dst)
{
    constexpr char FUNCTION[] = "api::D3D11Renderer::CopyStructuredBuffer";
    if (!src.IsValid() || !dst.IsValid()) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "D3D11Renderer::CopyStructuredBuffer() One of the buffers is SBUF_NONE!");
        return;
    }
    const StructuredBuffer* source = m_structuredBuffers.IsAlive(src) ? m_structuredBuffers.Get(src) : nullptr;
    const StructuredBuffer* target = m_structuredBuffers.IsAlive(dst) ? m_structuredBuffers.Get(dst) : nullptr;
    if (!source || !target) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "D3D11Renderer::CopyStructuredBuffer() One of the buffers is null!");
        return;
    }
    if (!source->buffer || !target->buffer) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION,
                      "D3D11Renderer::CopyStructuredBuffer() One of the ID3D11Buffer pointers is null!");
        return;
    }
    if (!source->raw) {
        m_deviceData.context->CopyResource(target->buffer, source->buffer);
        return;
    }
    const std::uint64_t bytes = std::uint64_t(source->elementCount) * source->elementSize;
    if (bytes > std::uint64_t(target->elementCount) * target->elementSize) {
        QS_LOG_ASSERT(FILE_NAME, FUNCTION, "D3D11Renderer::CopyStructuredBuffer() Destination buffer too small!?!!?");
        return;
    }
    const D3D11_BOX box = {0, 0, 0, UINT(bytes), 1, 1};
    m_deviceData.context->CopySubresourceRegion(target->buffer, 0, 0, 0, 0, source->buffer, 0, &box);
}

} // namespace api
