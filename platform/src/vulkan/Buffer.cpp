// Makes and destroys buffers.
#include "vulkan/Buffer.h"

#include <cstring>

namespace gleam {
namespace {

EBufferStorage ChooseStorage(const D3D11_BUFFER_DESC& desc)
{
    if (desc.Usage == D3D11_USAGE_STAGING) {
        return EBufferStorage::Staging;
    }
    const bool isConstant = (desc.BindFlags & D3D11_BIND_CONSTANT_BUFFER) != 0;
    return desc.Usage == D3D11_USAGE_DYNAMIC || isConstant ? EBufferStorage::Sliced : EBufferStorage::Device;
}

VkBufferUsageFlags UsageFlags(const D3D11_BUFFER_DESC& desc)
{
    VkBufferUsageFlags flags = VK_BUFFER_USAGE_TRANSFER_SRC_BIT | VK_BUFFER_USAGE_TRANSFER_DST_BIT;
    const std::pair<UINT, VkBufferUsageFlags> binds[] = {
        {D3D11_BIND_VERTEX_BUFFER, VK_BUFFER_USAGE_VERTEX_BUFFER_BIT},
        {D3D11_BIND_INDEX_BUFFER, VK_BUFFER_USAGE_INDEX_BUFFER_BIT},
        {D3D11_BIND_SHADER_RESOURCE, VK_BUFFER_USAGE_UNIFORM_TEXEL_BUFFER_BIT | VK_BUFFER_USAGE_STORAGE_BUFFER_BIT},
        {D3D11_BIND_UNORDERED_ACCESS, VK_BUFFER_USAGE_STORAGE_TEXEL_BUFFER_BIT | VK_BUFFER_USAGE_STORAGE_BUFFER_BIT},
    };
    for (const auto& [bind, usage] : binds) {
        flags |= desc.BindFlags & bind ? usage : 0;
    }
    return desc.MiscFlags & D3D11_RESOURCE_MISC_DRAWINDIRECT_ARGS ? flags | VK_BUFFER_USAGE_INDIRECT_BUFFER_BIT : flags;
}

} // namespace

Buffer::Buffer(ID3D11Device* device, Gpu& owner, UploadQueue& uploads, const D3D11_BUFFER_DESC& desc,
               const ResourceInfo& description, const void* data)
    : DeviceChild(device), Resource(description, owner), m_desc(desc), m_storage(ChooseStorage(desc))
{
    switch (m_storage) {
    case EBufferStorage::Sliced:
        Rename(gpu.slices.Acquire(desc.ByteWidth));
        break;
    case EBufferStorage::Staging:
        CreateDeviceBuffer(EMemoryUse::Readback);
        break;
    default:
        CreateDeviceBuffer(EMemoryUse::Device);
    }
    if (data) {
        Fill(uploads, data);
    } else if (m_storage == EBufferStorage::Sliced) {
        // Recycled slices hold other buffers' old contents, which must not show.
        std::memset(mappedBytes, 0, desc.ByteWidth);
    }
}

void Buffer::CreateDeviceBuffer(EMemoryUse use)
{
    VkBufferCreateInfo create{VK_STRUCTURE_TYPE_BUFFER_CREATE_INFO};
    // Fills and copies work in whole words.
    create.size = (VkDeviceSize(m_desc.ByteWidth) + 3) / 4 * 4;
    create.usage = UsageFlags(m_desc);
    Check(gpu.vk.CreateBuffer(gpu.device, &create, nullptr, &handle), "vkCreateBuffer");
    try {
        VkMemoryRequirements requirements;
        gpu.vk.GetBufferMemoryRequirements(gpu.device, handle, &requirements);
        m_memory = gpu.memory.Allocate(requirements, use, EMemoryKind::Buffer);
        Check(gpu.vk.BindBufferMemory(gpu.device, handle, m_memory.memory, m_memory.offset), "vkBindBufferMemory");
    } catch (...) {
        gpu.vk.DestroyBuffer(gpu.device, handle, nullptr);
        gpu.memory.Free(m_memory);
        throw;
    }
    mappedBytes = m_memory.mapped;
}

void Buffer::Fill(UploadQueue& uploads, const void* data)
{
    if (mappedBytes) {
        std::memcpy(mappedBytes, data, m_desc.ByteWidth);
        return;
    }
    const Slice slice = gpu.slices.Acquire(m_desc.ByteWidth);
    std::memcpy(slice.mapped, data, m_desc.ByteWidth);
    uploads.AddBuffer(slice, handle, 0, m_desc.ByteWidth);
    // The queue may miss the submission that is just being made.
    lastUse = gpu.RecordingSerial() + 1;
}

Slice Buffer::MoveToShadow()
{
    m_shadow = std::make_unique<std::byte[]>(m_desc.ByteWidth);
    std::memcpy(m_shadow.get(), mappedBytes, m_desc.ByteWidth);
    const Slice old = std::exchange(m_slice, {});
    m_storage = EBufferStorage::Shadow;
    mappedBytes = m_shadow.get();
    handle = VK_NULL_HANDLE;
    offset = 0;
    copiedFrom = copiedTo = 0;
    return old;
}

void Buffer::LeaveShadow(const Slice& fresh)
{
    std::memcpy(fresh.mapped, mappedBytes, m_desc.ByteWidth);
    Rename(fresh);
    m_shadow.reset();
    m_storage = EBufferStorage::Sliced;
    state = {};
}

void Buffer::Destroy()
{
    Retired retired;
    if (m_slice) {
        retired.slice = m_slice;
    } else {
        retired.buffer = handle;
        retired.memory = m_memory;
    }
    gpu.Retire(retired, lastUse);
    delete this;
}

} // namespace gleam
