// What buffers and textures have in common, and how they are found behind their interfaces.
#pragma once

#include <atomic>

#include "common/ComBase.h"
#include "common/Validation.h"
#include "vulkan/Gpu.h"
#include "vulkan/Tracking.h"

namespace gleam {

class VulkanDevice;
class Buffer;
class Texture;

class Resource
{
public:
    Resource(const ResourceInfo& description, Gpu& owner) : info(description), gpu(owner) {}
    Resource(const Resource&) = delete;
    Resource& operator=(const Resource&) = delete;

    const ResourceInfo info;
    Gpu& gpu;

    /// The submission that last touched it, in any command buffer; decides when its memory may go.
    std::atomic<std::uint64_t> lastUse{0};

    // The rest belongs to the context's thread.
    std::uint64_t mainUse = 0;   ///< the submission whose main command buffer last touched it
    std::uint64_t lastWrite = 0; ///< the submission in which the device last wrote it
    uint32_t boundForReading = 0;
    uint32_t boundForWriting = 0;

    void MarkUsed(std::uint64_t serial)
    {
        mainUse = serial;
        lastUse.store(serial, std::memory_order_relaxed);
    }

    virtual void AddResourceUse() = 0;
    virtual void RemoveResourceUse() = 0;
    virtual ID3D11Resource* AsInterface() = 0;

    Buffer& AsBuffer();
    Texture& AsTexture();

protected:
    virtual ~Resource() = default;
};

/// The resource behind an interface of this device; null for null.
Resource* ResourceOf(ID3D11Resource* object);

/// Eviction priority, kept for whoever set it.
class EvictionPriority
{
public:
    void Set(UINT priority) { m_priority.store(priority, std::memory_order_relaxed); }
    UINT Get() const { return m_priority.load(std::memory_order_relaxed); }

private:
    std::atomic<UINT> m_priority{0x78000000}; // DXGI_RESOURCE_PRIORITY_NORMAL
};

} // namespace gleam
