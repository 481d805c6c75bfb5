// Vertex and index input. Buffers in Shadow storage are ordinary memory: each draw copies what it reads to the device,
// which costs less than renaming a large buffer for a few vertices.
#include <algorithm>
#include <cstring>

#include "vulkan/Context.h"
#include "vulkan/Device.h"

namespace gleam {

void Context::UpdateVertexInput()
{
    const Shader& shader = *m_state.stages[StageVertex].shader;
    if (m_state.inputLayout) {
        m_input = &m_state.inputLayout->For(shader);
    } else {
        if (m_inputWithoutShader != shader.id) {
            m_inputWithout = InputLayout::Without(shader);
            m_inputWithoutShader = shader.id;
        }
        m_input = &m_inputWithout;
    }
    m_dirty &= ~DirtyVertexInput;
    m_dirty |= DirtyVertexBuffers;
    if (!m_gpu.features.dynamicVertexInput) {
        return;
    }
    VkVertexInputBindingDescription2EXT bindings[D3D11_IA_VERTEX_INPUT_RESOURCE_SLOT_COUNT + 1];
    const std::size_t count = std::min(m_input->bindings.size(), std::size(bindings));
    for (std::size_t i = 0; i < count; ++i) {
        bindings[i] = m_input->bindings[i];
        const uint32_t slot = bindings[i].binding;
        bindings[i].stride = slot == m_input->zeroSlot ? 0 : m_state.vertexBuffers[slot].stride;
    }
    m_vk.CmdSetVertexInputEXT(m_stream.Main(), static_cast<uint32_t>(count), bindings,
                              static_cast<uint32_t>(m_input->attributes.size()), m_input->attributes.data());
}

void Context::UpdateVertexBuffers()
{
    m_dirty &= ~DirtyVertexBuffers;
    m_shadowSlots = 0;
    for (const VkVertexInputBindingDescription2EXT& input : m_input->bindings) {
        const uint32_t slot = input.binding;
        const bool isZeros = slot == m_input->zeroSlot;
        const VertexBufferBinding bound = isZeros ? VertexBufferBinding{} : m_state.vertexBuffers[slot];
        if (bound.buffer && bound.buffer->Storage() == EBufferStorage::Shadow) {
            m_shadowSlots |= 1u << slot;
            continue;
        }
        VkBuffer buffer = VK_NULL_HANDLE;
        VkDeviceSize offset = 0;
        if (isZeros) {
            buffer = Zeros().buffer;
            offset = Zeros().offset;
        } else if (bound.buffer && bound.offset < bound.buffer->Size()) {
            buffer = bound.buffer->handle;
            offset = bound.buffer->offset + bound.offset;
            bound.buffer->MarkUsed(m_stream.Serial());
        }
        BindVertexBuffer(slot, buffer, offset, bound.stride);
    }
}

void Context::BindVertexBuffer(uint32_t slot, VkBuffer buffer, VkDeviceSize offset, VkDeviceSize stride)
{
    if (m_gpu.features.dynamicVertexInput) {
        m_vk.CmdBindVertexBuffers(m_stream.Main(), slot, 1, &buffer, &offset);
    } else {
        m_vk.CmdBindVertexBuffers2(m_stream.Main(), slot, 1, &buffer, &offset, nullptr, &stride);
    }
}

void Context::UpdateIndexBuffer()
{
    m_dirty &= ~DirtyIndexBuffer;
    Buffer* buffer = m_state.indexBuffer;
    m_shadowIndices = buffer && buffer->Storage() == EBufferStorage::Shadow;
    if (m_shadowIndices) {
        return;
    }
    const VkIndexType type = m_state.indexFormat == DXGI_FORMAT_R16_UINT ? VK_INDEX_TYPE_UINT16 : VK_INDEX_TYPE_UINT32;
    if (!buffer || m_state.indexOffset >= buffer->Size()) {
        m_vk.CmdBindIndexBuffer(m_stream.Main(), Zeros().buffer, Zeros().offset, type);
        return;
    }
    buffer->MarkUsed(m_stream.Serial());
    m_vk.CmdBindIndexBuffer(m_stream.Main(), buffer->handle, buffer->offset + m_state.indexOffset, type);
}

void Context::CopyOutShadow(Buffer& buffer, VkDeviceSize from, VkDeviceSize to)
{
    if (buffer.copiedSerial == m_stream.Serial() && from >= buffer.copiedFrom && to <= buffer.copiedTo) {
        return;
    }
    buffer.copied = m_stream.Transient(to - from, SlicePool::Alignment);
    std::memcpy(buffer.copied.mapped, buffer.mappedBytes + from, to - from);
    buffer.copiedFrom = from;
    buffer.copiedTo = to;
    buffer.copiedSerial = m_stream.Serial();
}

void Context::BindShadowSlot(uint32_t slot, VkDeviceSize from, VkDeviceSize to)
{
    const VertexBufferBinding& bound = m_state.vertexBuffers[slot];
    Buffer& buffer = *bound.buffer;
    from = std::min(from, buffer.Size());
    to = std::clamp(to, from, buffer.Size());
    VkBuffer handle = Zeros().buffer;
    VkDeviceSize offset = Zeros().offset;
    if (to > from) {
        CopyOutShadow(buffer, from, to);
        handle = buffer.copied.buffer;
        offset = buffer.copied.offset + (from - buffer.copiedFrom);
    }
    BindVertexBuffer(slot, handle, offset, bound.stride);
}

namespace {

struct IndexRange
{
    uint32_t lowest = ~0u;
    uint32_t highest = 0;
};

template <class Index>
IndexRange ScanIndices(const std::byte* bytes, UINT count)
{
    IndexRange range;
    for (UINT i = 0; i < count; ++i) {
        Index index;
        std::memcpy(&index, bytes + i * sizeof(Index), sizeof(Index));
        // The highest index cuts strips and names no vertex.
        if (index != static_cast<Index>(~0u)) {
            range.lowest = std::min<uint32_t>(range.lowest, index);
            range.highest = std::max<uint32_t>(range.highest, index);
        }
    }
    return range;
}

} // namespace

// Binds so that `firstVertex` becomes vertex 0 of every buffer that steps by vertex, since what lies before it need not
// be copied. Vertex numbers in shaders do not count from there either.
void Context::BindShadowVertices(VkDeviceSize firstVertex, VkDeviceSize vertexCount)
{
    for (const VkVertexInputBindingDescription2EXT& input : m_input->bindings) {
        if (input.binding == m_input->zeroSlot) {
            continue;
        }
        const VertexBufferBinding& bound = m_state.vertexBuffers[input.binding];
        const bool isPerVertex = input.inputRate == VK_VERTEX_INPUT_RATE_VERTEX;
        const VkDeviceSize from = bound.offset + (isPerVertex ? firstVertex * bound.stride : 0);
        if (m_shadowSlots & (1u << input.binding)) {
            // Elements may reach beyond the stride, by a vertex at most in any sound layout.
            const bool isWhole = !isPerVertex || bound.stride == 0;
            BindShadowSlot(input.binding, from,
                           isWhole ? bound.buffer->Size() : from + (vertexCount + 1) * bound.stride);
        } else if (bound.buffer && from != bound.offset && from < bound.buffer->Size()) {
            BindVertexBuffer(input.binding, bound.buffer->handle, bound.buffer->offset + from, bound.stride);
            m_dirty |= DirtyVertexBuffers;
        }
    }
}

INT Context::BindShadowIndices(UINT firstIndex, UINT indexCount, INT base)
{
    const bool is16 = m_state.indexFormat == DXGI_FORMAT_R16_UINT;
    const VkDeviceSize indexBytes = is16 ? 2 : 4;
    Buffer* buffer = m_state.indexBuffer;
    const VkDeviceSize start = m_state.indexOffset + firstIndex * indexBytes;
    const VkDeviceSize end = start + indexCount * indexBytes;
    const bool isInside = buffer && end <= buffer->Size();
    if (m_shadowIndices) {
        CopyOutShadow(*buffer, isInside ? m_state.indexOffset : 0, isInside ? end : buffer->Size());
        const VkDeviceSize place = buffer->copied.offset + (m_state.indexOffset - buffer->copiedFrom);
        m_vk.CmdBindIndexBuffer(m_stream.Main(), buffer->copied.buffer, place,
                                is16 ? VK_INDEX_TYPE_UINT16 : VK_INDEX_TYPE_UINT32);
    }
    if (!m_shadowSlots) {
        return base;
    }
    if (!isInside || !buffer->mappedBytes || !buffer->IsHostWritten()) {
        BindShadowVertices(0, ~0u);
        return base;
    }
    const std::byte* indices = buffer->mappedBytes + start;
    const IndexRange range =
        is16 ? ScanIndices<std::uint16_t>(indices, indexCount) : ScanIndices<std::uint32_t>(indices, indexCount);
    const std::int64_t first = std::int64_t(range.lowest) + base;
    if (range.lowest > range.highest || first < 0 || range.lowest > 0x7fffffffu) {
        BindShadowVertices(0, ~0u);
        return base;
    }
    BindShadowVertices(static_cast<VkDeviceSize>(first), VkDeviceSize(range.highest) - range.lowest + 1);
    return -static_cast<INT>(range.lowest);
}

void Context::BindWholeShadows()
{
    BindShadowVertices(0, ~0u);
    if (m_shadowIndices) {
        Buffer& buffer = *m_state.indexBuffer;
        CopyOutShadow(buffer, 0, buffer.Size());
        m_vk.CmdBindIndexBuffer(m_stream.Main(), buffer.copied.buffer, buffer.copied.offset + m_state.indexOffset,
                                m_state.indexFormat == DXGI_FORMAT_R16_UINT ? VK_INDEX_TYPE_UINT16
                                                                            : VK_INDEX_TYPE_UINT32);
    }
}

} // namespace gleam
