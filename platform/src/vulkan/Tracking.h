// What the device last did with a resource, and the barriers that follow from it. Belongs to the context's thread.
#pragma once

#include <cstdint>
#include <vector>

#include "vulkan/Functions.h"

namespace gleam {

/// One way of using memory or an image.
struct Access
{
    VkPipelineStageFlags2 stages;
    VkAccessFlags2 access;
    VkImageLayout layout; ///< ignored for buffers
    bool isWrite;
};

namespace access {

constexpr VkPipelineStageFlags2 ShaderStages =
    VK_PIPELINE_STAGE_2_ALL_GRAPHICS_BIT | VK_PIPELINE_STAGE_2_COMPUTE_SHADER_BIT;
constexpr VkPipelineStageFlags2 DepthStages =
    VK_PIPELINE_STAGE_2_EARLY_FRAGMENT_TESTS_BIT | VK_PIPELINE_STAGE_2_LATE_FRAGMENT_TESTS_BIT;

// Reads of the same layout are one kind, so that a resource read in several stages needs one barrier.
constexpr Access BufferRead = {ShaderStages | VK_PIPELINE_STAGE_2_TRANSFER_BIT, VK_ACCESS_2_MEMORY_READ_BIT,
                               VK_IMAGE_LAYOUT_UNDEFINED, false};
constexpr Access BufferWrite = {ShaderStages, VK_ACCESS_2_SHADER_READ_BIT | VK_ACCESS_2_SHADER_WRITE_BIT,
                                VK_IMAGE_LAYOUT_UNDEFINED, true};
constexpr Access CopyRead = {VK_PIPELINE_STAGE_2_TRANSFER_BIT, VK_ACCESS_2_TRANSFER_READ_BIT,
                             VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, false};
constexpr Access CopyWrite = {VK_PIPELINE_STAGE_2_TRANSFER_BIT, VK_ACCESS_2_TRANSFER_WRITE_BIT,
                              VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, true};
constexpr Access Sampled = {ShaderStages, VK_ACCESS_2_SHADER_READ_BIT, VK_IMAGE_LAYOUT_SHADER_READ_ONLY_OPTIMAL, false};
/// Sampling a depth image, alone or while it is attached read-only.
constexpr Access DepthRead = {ShaderStages, VK_ACCESS_2_SHADER_READ_BIT | VK_ACCESS_2_DEPTH_STENCIL_ATTACHMENT_READ_BIT,
                              VK_IMAGE_LAYOUT_DEPTH_STENCIL_READ_ONLY_OPTIMAL, false};
constexpr Access ColorTarget = {VK_PIPELINE_STAGE_2_COLOR_ATTACHMENT_OUTPUT_BIT,
                                VK_ACCESS_2_COLOR_ATTACHMENT_READ_BIT | VK_ACCESS_2_COLOR_ATTACHMENT_WRITE_BIT,
                                VK_IMAGE_LAYOUT_COLOR_ATTACHMENT_OPTIMAL, true};
constexpr Access DepthTarget = {
    DepthStages, VK_ACCESS_2_DEPTH_STENCIL_ATTACHMENT_READ_BIT | VK_ACCESS_2_DEPTH_STENCIL_ATTACHMENT_WRITE_BIT,
    VK_IMAGE_LAYOUT_DEPTH_STENCIL_ATTACHMENT_OPTIMAL, true};
constexpr Access Storage = {ShaderStages, VK_ACCESS_2_SHADER_READ_BIT | VK_ACCESS_2_SHADER_WRITE_BIT,
                            VK_IMAGE_LAYOUT_GENERAL, true};
constexpr Access HostRead = {VK_PIPELINE_STAGE_2_HOST_BIT, VK_ACCESS_2_HOST_READ_BIT, VK_IMAGE_LAYOUT_UNDEFINED, false};

} // namespace access

/// State of one subresource or buffer since its last write.
struct AccessState
{
    VkPipelineStageFlags2 writeStages = 0;
    VkAccessFlags2 writeAccess = 0;
    VkPipelineStageFlags2 readStages = 0; ///< that already see the write
    VkAccessFlags2 readAccess = 0;
    VkImageLayout layout = VK_IMAGE_LAYOUT_UNDEFINED;

    bool operator==(const AccessState&) const = default;
};

/// A dependency that has to be recorded before an access.
struct Dependency
{
    VkPipelineStageFlags2 sourceStages;
    VkAccessFlags2 sourceAccess;
    VkImageLayout oldLayout;
};

/// Whether `next` has to wait; `state` is unchanged.
bool NeedsBarrier(const AccessState& state, const Access& next, bool isImage);

/// Moves `state` on; gives true and fills `dependency` when a barrier is due.
bool Advance(AccessState& state, const Access& next, bool isImage, Dependency& dependency);

/// Barriers on their way into one vkCmdPipelineBarrier2.
class BarrierBatch
{
public:
    bool Empty() const { return m_images.empty() && m_memory.srcStageMask == 0; }

    void AddImage(VkImage image, const VkImageSubresourceRange& range, const Dependency& dependency,
                  const Access& next);
    /// Buffers need no barrier of their own: all memory of the stages is synchronised at once.
    void AddMemory(const Dependency& dependency, const Access& next);

    void Record(const DeviceFunctions& vk, VkCommandBuffer commands);

private:
    std::vector<VkImageMemoryBarrier2> m_images;
    VkMemoryBarrier2 m_memory{VK_STRUCTURE_TYPE_MEMORY_BARRIER_2};
};

/// Subresources of a view or a copy.
struct SubresourceRange
{
    uint32_t firstMip = 0;
    uint32_t mipCount = 1;
    uint32_t firstLayer = 0;
    uint32_t layerCount = 1;

    bool Overlaps(const SubresourceRange& other) const
    {
        return firstMip < other.firstMip + other.mipCount && other.firstMip < firstMip + mipCount &&
               firstLayer < other.firstLayer + other.layerCount && other.firstLayer < firstLayer + layerCount;
    }
    bool operator==(const SubresourceRange&) const = default;
};

/// States of all subresources of an image; one state as long as they agree.
class ImageTracker
{
public:
    void Init(uint32_t mips, uint32_t layers);

    /// Sets every subresource, for images whose first contents are in place.
    void Reset(const AccessState& state);

    bool Needs(const SubresourceRange& range, const Access& next) const;
    void Advance(const SubresourceRange& range, const Access& next, VkImage image, VkImageAspectFlags aspects,
                 BarrierBatch& barriers);

private:
    bool IsWhole(const SubresourceRange& range) const;
    void Split();
    void Merge();

    uint32_t m_mips = 1;
    uint32_t m_layers = 1;
    AccessState m_whole;
    std::vector<AccessState> m_each; ///< by layer, then mip; empty while they agree
};

} // namespace gleam
