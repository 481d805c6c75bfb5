// Recording of what happens to buffers and textures: creation, removal, contents, copies.
#include "Gleamwork/RendererCommands.h"

#include <climits>
#include <cstring>
#include <qs/Log.h>

namespace gw {

namespace {

// The Map records' payload may start up to 15 bytes behind the fixed fields.
constexpr std::size_t c_payloadSlack = MAP_RECORD_SIZE - sizeof(RCB_MapTextureCommand);
static_assert(c_payloadSlack == 15 && sizeof(RCB_MapVertexBufferCommand) == sizeof(RCB_MapTextureCommand) &&
              sizeof(RCB_MapIndexBufferCommand) == sizeof(RCB_MapTextureCommand));

void CheckLockSize(unsigned size, const char* function)
{
    if (size == 0) {
        QS_LOG_ASSERT("Gleamwork/RendererCommandBuffer", function,
                      "Trying to map/unmap a vertex buffer to write 0 bytes?");
    }
}

} // namespace

qs::ObjectHandle RendererCommandBuffer::CreateVertexFormat(const FormatDesc* descs, unsigned count,
                                                           qs::ObjectHandle shader)
{
    qs::ObjectHandle format = qs::ObjectHandle::Unassigned;
    m_renderer->AddVertexFormat(descs, count, shader, format);
    return format;
}

VertexBufferID RendererCommandBuffer::CreateVertexBuffer(unsigned size, EResourceUsage usage, const void* data)
{
    const VertexBufferID id = m_renderer->AddVertexBuffer();
    if (!id.IsValid()) {
        return id;
    }
    if (!m_recording) {
        m_renderer->CreateVertexBuffer(id, long(size), usage, data);
        return id;
    }
    const bool hasData = data != nullptr;
    char* room =
        WriteWithRoom<RCB_CreateVertexBufferCommand>(hasData ? size : 0, id, std::uint64_t(size), usage, hasData);
    if (room && hasData) {
        std::memcpy(room + sizeof(RCB_CreateVertexBufferCommand), data, size);
    }
    return id;
}

IndexBufferID RendererCommandBuffer::CreateIndexBuffer(unsigned count, unsigned stride, EResourceUsage usage,
                                                       const void* data)
{
    const IndexBufferID id = m_renderer->AddIndexBuffer();
    if (!id.IsValid()) {
        return id;
    }
    if (!m_recording) {
        m_renderer->CreateIndexBuffer(id, count, stride, usage, data);
        return id;
    }
    const bool hasData = data != nullptr;
    const std::size_t bytes = hasData ? std::size_t(count) * stride : 0;
    char* room = WriteWithRoom<RCB_CreateIndexBufferCommand>(bytes, id, count, stride, usage, hasData);
    if (room && hasData) {
        std::memcpy(room + sizeof(RCB_CreateIndexBufferCommand), data, bytes);
    }
    return id;
}

void RendererCommandBuffer::UpdateTextureData(qs::ObjectHandle texture, const unsigned char* pixels, int width,
                                              int height, int bytesPerPixel)
{
    if (!m_recording) {
        m_renderer->UpdateTextureData(texture, pixels, width, height, bytesPerPixel);
        return;
    }
    void* data = nullptr;
    int pitch = 0;
    LockTexture(texture, 0, Vector2i(width, height), bytesPerPixel, &data, &pitch, eResourceAccess_WriteDiscard);
    if (data) {
        std::memcpy(data, pixels, std::size_t(height) * unsigned(pitch));
        UnlockTexture(texture, 0);
    }
}

void RendererCommandBuffer::LockTexture(const qs::ObjectHandle& texture, unsigned subresource, Vector2i size,
                                        int bytesPerPixel, void** data, int* pitch, EResourceAccess access)
{
    *data = nullptr;
    if (!m_recording) {
        m_renderer->LockTexture(texture, subresource, data, pitch, access);
        return;
    }
    const long long rowBytes = (long long)size.x * bytesPerPixel;
    if (size.x < 0 || size.y < 0 || rowBytes < 0 || rowBytes > INT_MAX ||
        rowBytes * size.y > (long long)qs::BlockChain::LARGEST_REQUEST) {
        QS_LOG_ASSERT("Gleamwork/RendererCommandBuffer", "gw::RendererCommandBuffer::LockTexture",
                      "%d by %d pixels of %d bytes cannot be recorded (%zu bytes in all)", size.x, size.y,
                      bytesPerPixel, qs::BlockChain::LARGEST_REQUEST);
        return;
    }
    const std::size_t bytes = std::size_t(rowBytes) * unsigned(size.y);
    const char* record = WriteWithRoom<RCB_MapTextureCommand>(c_payloadSlack + bytes, texture, subresource,
                                                              unsigned(rowBytes), size.y, access);
    if (!record) {
        return;
    }
    *data = GetMapPayload(record);
    if (pitch) {
        *pitch = int(rowBytes);
    }
}

void RendererCommandBuffer::LockVertexBuffer(const VertexBufferID& id, unsigned offset, unsigned size, void** data,
                                             EResourceAccess access)
{
    *data = nullptr;
    if (!m_recording) {
        m_renderer->LockVertexBuffer(id, offset, size, data, access);
        return;
    }
    CheckLockSize(size, "gw::RendererCommandBuffer::LockVertexBuffer");
    const std::size_t room = c_payloadSlack + size;
    if (const char* record = WriteWithRoom<RCB_MapVertexBufferCommand>(room, id, offset, size, access)) {
        *data = GetMapPayload(record);
    }
}

void RendererCommandBuffer::LockIndexBuffer(const IndexBufferID& id, unsigned offset, unsigned size, void** data,
                                            EResourceAccess access)
{
    *data = nullptr;
    if (!m_recording) {
        m_renderer->LockIndexBuffer(id, offset, size, data, access);
        return;
    }
    CheckLockSize(size, "gw::RendererCommandBuffer::LockIndexBuffer");
    const std::size_t room = c_payloadSlack + size;
    if (const char* record = WriteWithRoom<RCB_MapIndexBufferCommand>(room, id, offset, size, access)) {
        *data = GetMapPayload(record);
    }
}

void RendererCommandBuffer::RemoveVertexBuffer(VertexBufferID id)
{
    if (m_recording) {
        Write<RCB_RemoveVertexBufferCommand>(id);
    } else {
        m_renderer->RemoveVertexBuffer(id);
    }
}

void RendererCommandBuffer::UnlockVertexBuffer(const VertexBufferID& id)
{
    if (m_recording) {
        Write<RCB_UnmapVertexBufferCommand>(id);
    } else {
        m_renderer->UnlockVertexBuffer(id);
    }
}

void RendererCommandBuffer::CopyVertexBuffer(const VertexBufferID& source, const VertexBufferID& target)
{
    if (m_recording) {
        Write<RCB_CopyVertexBufferCommand>(source, target);
    } else {
        m_renderer->CopyVertexBuffer(source, target);
    }
}

void RendererCommandBuffer::RemoveIndexBuffer(IndexBufferID id)
{
    if (m_recording) {
        Write<RCB_RemoveIndexBufferCommand>(id);
    } else {
        m_renderer->RemoveIndexBuffer(id);
    }
}

void RendererCommandBuffer::UnlockIndexBuffer(const IndexBufferID& id)
{
    if (m_recording) {
        Write<RCB_UnmapIndexBufferCommand>(id);
    } else {
        m_renderer->UnlockIndexBuffer(id);
    }
}

void RendererCommandBuffer::CopyIndexBuffer(const IndexBufferID& source, const IndexBufferID& target)
{
    if (m_recording) {
        Write<RCB_CopyIndexBufferCommand>(source, target);
    } else {
        m_renderer->CopyIndexBuffer(source, target);
    }
}

void RendererCommandBuffer::UnlockTexture(const qs::ObjectHandle& texture, unsigned subresource)
{
    if (m_recording) {
        Write<RCB_UnmapTextureCommand>(texture, subresource);
    } else {
        m_renderer->UnlockTexture(texture, subresource);
    }
}

void RendererCommandBuffer::CopyTexture(qs::ObjectHandle source, qs::ObjectHandle target)
{
    if (m_recording) {
        Write<RCB_CopyTextureCommand>(source, target);
    } else {
        m_renderer->CopyTexture(source, target);
    }
}

void RendererCommandBuffer::CopyTextureSlice(qs::ObjectHandle source, int sourceSubresource, qs::ObjectHandle target,
                                             int targetSubresource)
{
    if (m_recording) {
        Write<RCB_CopyTextureSliceCommand>(source, sourceSubresource, target, targetSubresource);
    } else {
        m_renderer->CopyTextureSlice(source, sourceSubresource, target, targetSubresource);
    }
}

} // namespace gw
