// Buffers. Where the bytes lie depends on the usage:
//
// - constant buffers of every usage and dynamic buffers live in slices, and every overwrite takes a fresh slice
//   (renaming), so that neither side waits;
// - a large dynamic buffer that is discarded many times in one submission, as rolling vertex buffers are, moves to
//   ordinary memory, and draws copy out just what they read (see ContextVertices.cpp);
// - default and immutable buffers have device memory;
// - staging buffers have cached mapped memory.
#pragma once

#include <memory>

#include "vulkan/Resource.h"
#include "vulkan/UploadQueue.h"

namespace gleam {

enum class EBufferStorage : std::uint8_t
{
    Device,
    Sliced,
    Shadow,
    Staging
};

class Buffer final : public DeviceChild<ID3D11Buffer, IID_ID3D11Resource, IID_ID3D11Buffer>, public Resource
{
public:
    /// Throws VulkanError. `data` may be null.
    Buffer(ID3D11Device* device, Gpu& gpu, UploadQueue& uploads, const D3D11_BUFFER_DESC& desc,
           const ResourceInfo& info, const void* data);

    void STDMETHODCALLTYPE GetType(D3D11_RESOURCE_DIMENSION* dimension) override
    {
        *dimension = D3D11_RESOURCE_DIMENSION_BUFFER;
    }
    void STDMETHODCALLTYPE SetEvictionPriority(UINT priority) override { m_priority.Set(priority); }
    UINT STDMETHODCALLTYPE GetEvictionPriority() override { return m_priority.Get(); }
    void STDMETHODCALLTYPE GetDesc(D3D11_BUFFER_DESC* desc) override { *desc = m_desc; }

    void AddResourceUse() override { AddUse(); }
    void RemoveResourceUse() override { RemoveUse(); }
    ID3D11Resource* AsInterface() override { return this; }

    VkDeviceSize Size() const { return m_desc.ByteWidth; }
    EBufferStorage Storage() const { return m_storage; }
    /// Whether only the processor writes it, so that the device never has to wait for the device.
    bool IsHostWritten() const { return m_storage != EBufferStorage::Device && m_storage != EBufferStorage::Staging; }

    // Where the present contents are. A Shadow buffer has none on the device; see mappedBytes.
    VkBuffer handle = VK_NULL_HANDLE;
    VkDeviceSize offset = 0;
    /// Null where the memory cannot be mapped.
    std::byte* mappedBytes = nullptr;
    /// What the device did to it; stays untouched for slices that only the processor writes.
    AccessState state;

    /// Bit per shader stage whose constant buffers have held this one; the context looks there when it is renamed.
    std::uint8_t constantStages = 0;
    bool isBoundAsVertices = false;
    bool isBoundAsIndices = false;
    bool isBoundAsView = false;
    bool isMapped = false;

    /// Moves to a fresh slice. Gives back the old one, which the submission on its way may still read.
    Slice Rename(const Slice& fresh)
    {
        const Slice old = m_slice;
        m_slice = fresh;
        handle = fresh.buffer;
        offset = fresh.offset;
        mappedBytes = fresh.mapped;
        return old;
    }
    /// Moves a renamed buffer to ordinary memory, contents included, and gives back its slice.
    Slice MoveToShadow();
    /// The way back, for a device that is going to write it.
    void LeaveShadow(const Slice& fresh);

    /// Renames in the submission `renameSerial`.
    uint32_t renames = 0;
    std::uint64_t renameSerial = 0;

    /// Shadow only: the part last copied to the device, in which submission, and where. Mapping forgets it.
    VkDeviceSize copiedFrom = 0;
    VkDeviceSize copiedTo = 0;
    std::uint64_t copiedSerial = 0;
    Slice copied;

protected:
    void Destroy() override;

private:
    void CreateDeviceBuffer(EMemoryUse use);
    void Fill(UploadQueue& uploads, const void* data);

    const D3D11_BUFFER_DESC m_desc;
    EBufferStorage m_storage;
    Slice m_slice;
    Allocation m_memory;
    std::unique_ptr<std::byte[]> m_shadow;
    EvictionPriority m_priority;
};

} // namespace gleam
