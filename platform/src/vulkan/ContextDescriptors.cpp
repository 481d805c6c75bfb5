// Descriptor sets. A stage's set is built anew when a binding changes; when only constant buffers moved within their
// memory, it is bound again with other offsets.
#include <algorithm>
#include <cstring>

#include "vulkan/Context.h"
#include "vulkan/Device.h"

namespace gleam {
namespace {

/// A descriptor that reads zero and drops what is written.
constexpr VkDescriptorBufferInfo NoBuffer{VK_NULL_HANDLE, 0, VK_WHOLE_SIZE};

} // namespace

const Slice& Context::Zeros()
{
    if (!m_zeros) {
        m_zeros = m_gpu.slices.Acquire(SlicePool::LargestClass);
        std::memset(m_zeros.mapped, 0, m_zeros.size);
    }
    return m_zeros;
}

bool Context::ConstantsMoved(const StageBindings& bindings) const
{
    // Dynamic offsets reach everywhere in one buffer; another buffer, or a slot without one, needs a new set.
    for (uint32_t slot = 0; slot < ConstantBufferSlots; ++slot) {
        if (!(bindings.shader->constantMask & (1u << slot))) {
            continue;
        }
        const Buffer* buffer = bindings.constants[slot];
        if (buffer && bindings.setBuffers[slot] != buffer->handle) {
            return true;
        }
    }
    return bindings.shader->dynamicSlots.size() !=
           static_cast<std::size_t>(std::popcount(bindings.shader->constantMask));
}

void Context::UpdateSets(EStage first, EStage end, VkPipelineBindPoint point, VkPipelineLayout layout)
{
    const uint32_t stageMask = ((1u << end) - 1) & ~((1u << first) - 1);
    uint32_t rebind = (m_dirtySets | m_dirtyOffsets) & stageMask;
    if (point == VK_PIPELINE_BIND_POINT_GRAPHICS) {
        // Sets stay bound across pipelines only up to the first set whose layout differs.
        if (m_setsProgram != m_program) {
            rebind |= stageMask;
            m_setsProgram = m_program;
        }
    } else {
        rebind |= stageMask;
    }
    const VkCommandBuffer commands = m_stream.Main();
    for (uint32_t stages = rebind; stages != 0; stages &= stages - 1) {
        const auto stage = static_cast<EStage>(std::countr_zero(stages));
        StageBindings& bindings = m_state.stages[stage];
        const Shader* shader = bindings.shader;
        if (!shader || shader->entries.empty()) {
            continue;
        }
        if (!bindings.set || (m_dirtySets & (1u << stage)) || ConstantsMoved(bindings)) {
            BuildSet(stage);
        }
        uint32_t offsets[ConstantBufferSlots];
        uint32_t count = 0;
        const std::uint64_t serial = m_stream.Serial();
        for (const std::uint8_t slot : shader->dynamicSlots) {
            Buffer* buffer = bindings.constants[slot];
            offsets[count++] = static_cast<uint32_t>(buffer ? buffer->offset : Zeros().offset);
            if (buffer) {
                buffer->MarkUsed(serial);
            }
        }
        const uint32_t set = stage == StageCompute ? 0 : static_cast<uint32_t>(stage);
        m_vk.CmdBindDescriptorSets(commands, point, layout, set, 1, &bindings.set, count, offsets);
    }
    m_dirtySets &= ~stageMask;
    m_dirtyOffsets &= ~stageMask;
}

void Context::BuildSet(EStage stage)
{
    StageBindings& bindings = m_state.stages[stage];
    const Shader& shader = *bindings.shader;
    m_writes.clear();
    m_bufferInfos.clear();
    m_imageInfos.clear();
    m_texelViews.clear();
    bindings.set = m_stream.AllocateSet(shader.setLayout);
    for (const DescriptorEntry& entry : shader.entries) {
        WriteEntry(stage, entry);
    }
    // The arrays are complete now, so their places are final.
    std::size_t buffer = 0, image = 0, texel = 0;
    for (VkWriteDescriptorSet& write : m_writes) {
        write.dstSet = bindings.set;
        switch (write.descriptorType) {
        case VK_DESCRIPTOR_TYPE_SAMPLER:
        case VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE:
        case VK_DESCRIPTOR_TYPE_STORAGE_IMAGE:
            write.pImageInfo = &m_imageInfos[image];
            image += write.descriptorCount;
            break;
        case VK_DESCRIPTOR_TYPE_UNIFORM_TEXEL_BUFFER:
        case VK_DESCRIPTOR_TYPE_STORAGE_TEXEL_BUFFER:
            write.pTexelBufferView = &m_texelViews[texel];
            texel += write.descriptorCount;
            break;
        default:
            write.pBufferInfo = &m_bufferInfos[buffer];
            buffer += write.descriptorCount;
        }
    }
    m_vk.UpdateDescriptorSets(m_gpu.device, static_cast<uint32_t>(m_writes.size()), m_writes.data(), 0, nullptr);
}

VkDescriptorBufferInfo Context::ConstantInfo(Buffer* buffer, bool isDynamic)
{
    if (!buffer) {
        const Slice& zeros = Zeros();
        return {zeros.buffer, isDynamic ? 0 : zeros.offset, zeros.size};
    }
    buffer->MarkUsed(m_stream.Serial());
    return {buffer->handle, isDynamic ? 0 : buffer->offset, std::min(buffer->Size(), m_gpu.maxUniformRange)};
}

void Context::Materialize(Buffer& buffer)
{
    if (buffer.Storage() == EBufferStorage::Shadow) {
        CopyOutShadow(buffer, 0, buffer.Size());
        buffer.handle = buffer.copied.buffer;
        buffer.offset = buffer.copied.offset;
    }
}

VkDescriptorBufferInfo Context::PlainWindow(Buffer& buffer, const BufferWindow& window)
{
    Materialize(buffer);
    return {buffer.handle, buffer.offset + window.offset, window.size};
}

VkImageView Context::ImageFor(const DescriptorEntry& entry, ShaderResourceView* view)
{
    // A view of another dimension than the shader declares reads as nothing bound.
    if (!view || !view->image || view->desc.ViewDimension != entry.dimension) {
        return VK_NULL_HANDLE;
    }
    view->MarkUsed(m_stream.Serial());
    return view->image;
}

void Context::WriteEntry(EStage stage, const DescriptorEntry& entry)
{
    StageBindings& bindings = m_state.stages[stage];
    VkWriteDescriptorSet write{VK_STRUCTURE_TYPE_WRITE_DESCRIPTOR_SET};
    write.dstBinding = entry.binding;
    write.descriptorCount = entry.count;
    write.descriptorType = entry.type;
    m_writes.push_back(write);
    for (uint32_t slot = entry.slot; slot < entry.slot + entry.count; ++slot) {
        switch (entry.bindingClass) {
        case EBindingClass::ConstantBuffer: {
            const bool isDynamic = entry.type == VK_DESCRIPTOR_TYPE_UNIFORM_BUFFER_DYNAMIC;
            const VkDescriptorBufferInfo info = ConstantInfo(bindings.constants[slot], isDynamic);
            bindings.setBuffers[slot] = info.buffer;
            m_bufferInfos.push_back(info);
            break;
        }
        case EBindingClass::Sampler: {
            SamplerState* sampler = bindings.samplers[slot] ? bindings.samplers[slot] : m_defaultSampler;
            m_imageInfos.push_back({sampler->sampler, VK_NULL_HANDLE, VK_IMAGE_LAYOUT_UNDEFINED});
            break;
        }
        case EBindingClass::Resource:
            WriteRead(entry, bindings.resources[slot]);
            break;
        case EBindingClass::UnorderedAccess:
            WriteWritten(entry, UnorderedOf(stage, slot));
            break;
        }
    }
}

void Context::WriteRead(const DescriptorEntry& entry, ShaderResourceView* view)
{
    const bool isBuffer = view && view->resource.info.IsBuffer();
    if (entry.type == VK_DESCRIPTOR_TYPE_SAMPLED_IMAGE) {
        const VkImageView image = ImageFor(entry, view);
        const VkImageLayout layout =
            image ? view->resource.AsTexture().SampledAccess().layout : VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL;
        m_imageInfos.push_back({VK_NULL_HANDLE, image, layout});
    } else if (entry.type == VK_DESCRIPTOR_TYPE_UNIFORM_TEXEL_BUFFER) {
        VkBufferView texels = VK_NULL_HANDLE;
        if (isBuffer && view->window.kind == EBufferViewKind::Typed) {
            Materialize(view->resource.AsBuffer());
            texels = view->texels.Get(m_gpu, view->resource.AsBuffer(), view->window, m_stream.Serial());
        }
        m_texelViews.push_back(texels);
    } else {
        m_bufferInfos.push_back(isBuffer ? PlainWindow(view->resource.AsBuffer(), view->window) : NoBuffer);
    }
}

void Context::WriteWritten(const DescriptorEntry& entry, UnorderedAccessView* view)
{
    const bool isBuffer = view && view->resource.info.IsBuffer();
    if (entry.type == VK_DESCRIPTOR_TYPE_STORAGE_IMAGE) {
        // The published dimensions of both kinds of views have the same numbers.
        const bool fits = view && !isBuffer &&
                          static_cast<unsigned>(view->desc.ViewDimension) == static_cast<unsigned>(entry.dimension);
        if (fits) {
            view->MarkUsed(m_stream.Serial());
        }
        m_imageInfos.push_back({VK_NULL_HANDLE, fits ? view->image : VK_NULL_HANDLE, VK_IMAGE_LAYOUT_GENERAL});
    } else if (entry.type == VK_DESCRIPTOR_TYPE_STORAGE_TEXEL_BUFFER) {
        const bool fits = isBuffer && view->window.kind == EBufferViewKind::Typed;
        m_texelViews.push_back(fits
                                   ? view->texels.Get(m_gpu, view->resource.AsBuffer(), view->window, m_stream.Serial())
                                   : VK_NULL_HANDLE);
    } else if (entry.isCounter) {
        const bool fits = view && view->counter;
        m_bufferInfos.push_back(fits ? VkDescriptorBufferInfo{view->counter.buffer, view->counter.offset, sizeof(UINT)}
                                     : NoBuffer);
    } else {
        m_bufferInfos.push_back(isBuffer ? PlainWindow(view->resource.AsBuffer(), view->window) : NoBuffer);
    }
}

} // namespace gleam
