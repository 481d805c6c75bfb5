// Derives barriers from what was done before.
#include "vulkan/Tracking.h"

#include <algorithm>

namespace gleam {

bool NeedsBarrier(const AccessState& state, const Access& next, bool isImage)
{
    if (isImage && state.layout != next.layout) {
        return true;
    }
    if (next.isWrite) {
        return (state.writeStages | state.readStages) != 0;
    }
    if (state.writeStages == 0) {
        return false;
    }
    const bool seesAll = (state.readAccess & VK_ACCESS_2_MEMORY_READ_BIT) != 0;
    return (next.stages & ~state.readStages) != 0 || (!seesAll && (next.access & ~state.readAccess) != 0);
}

bool Advance(AccessState& state, const Access& next, bool isImage, Dependency& dependency)
{
    const bool needed = NeedsBarrier(state, next, isImage);
    const bool movesLayout = isImage && state.layout != next.layout;
    if (needed) {
        const bool afterReads = next.isWrite || movesLayout;
        dependency.sourceStages = state.writeStages | (afterReads ? state.readStages : 0);
        dependency.sourceAccess = state.writeAccess;
        dependency.oldLayout = state.layout;
    }
    if (next.isWrite) {
        state = {next.stages, next.access, 0, 0, isImage ? next.layout : VK_IMAGE_LAYOUT_UNDEFINED};
    } else if (movesLayout) {
        // The change of layout is a write that only the stages of `next` have seen.
        state = {next.stages, 0, next.stages, next.access, next.layout};
    } else {
        state.readStages |= next.stages;
        state.readAccess |= next.access;
    }
    return needed;
}

void BarrierBatch::AddImage(VkImage image, const VkImageSubresourceRange& range, const Dependency& dependency,
                            const Access& next)
{
    VkImageMemoryBarrier2 barrier{VK_STRUCTURE_TYPE_IMAGE_MEMORY_BARRIER_2};
    barrier.srcStageMask = dependency.sourceStages;
    barrier.srcAccessMask = dependency.sourceAccess;
    barrier.dstStageMask = next.stages;
    barrier.dstAccessMask = next.access;
    barrier.oldLayout = dependency.oldLayout;
    barrier.newLayout = next.layout;
    barrier.srcQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.dstQueueFamilyIndex = VK_QUEUE_FAMILY_IGNORED;
    barrier.image = image;
    barrier.subresourceRange = range;
    m_images.push_back(barrier);
}

void BarrierBatch::AddMemory(const Dependency& dependency, const Access& next)
{
    m_memory.srcStageMask |= dependency.sourceStages;
    m_memory.srcAccessMask |= dependency.sourceAccess;
    m_memory.dstStageMask |= next.stages;
    m_memory.dstAccessMask |= next.access;
}

void BarrierBatch::Record(const DeviceFunctions& vk, VkCommandBuffer commands)
{
    if (Empty()) {
        return;
    }
    VkDependencyInfo info{VK_STRUCTURE_TYPE_DEPENDENCY_INFO};
    info.memoryBarrierCount = m_memory.srcStageMask != 0;
    info.pMemoryBarriers = &m_memory;
    info.imageMemoryBarrierCount = static_cast<uint32_t>(m_images.size());
    info.pImageMemoryBarriers = m_images.data();
    vk.CmdPipelineBarrier2(commands, &info);
    m_images.clear();
    m_memory = {VK_STRUCTURE_TYPE_MEMORY_BARRIER_2};
}

void ImageTracker::Init(uint32_t mips, uint32_t layers)
{
    m_mips = mips;
    m_layers = layers;
}

void ImageTracker::Reset(const AccessState& state)
{
    m_whole = state;
    m_each.clear();
}

bool ImageTracker::IsWhole(const SubresourceRange& range) const
{
    return range.mipCount >= m_mips && range.layerCount >= m_layers;
}

void ImageTracker::Split()
{
    if (m_each.empty()) {
        m_each.assign(std::size_t(m_mips) * m_layers, m_whole);
    }
}

void ImageTracker::Merge()
{
    if (std::all_of(m_each.begin(), m_each.end(), [&](const AccessState& state) { return state == m_each[0]; })) {
        m_whole = m_each[0];
        m_each.clear();
    }
}

bool ImageTracker::Needs(const SubresourceRange& range, const Access& next) const
{
    if (m_each.empty()) {
        return NeedsBarrier(m_whole, next, true);
    }
    for (uint32_t layer = range.firstLayer; layer < range.firstLayer + range.layerCount; ++layer) {
        for (uint32_t mip = range.firstMip; mip < range.firstMip + range.mipCount; ++mip) {
            if (NeedsBarrier(m_each[layer * m_mips + mip], next, true)) {
                return true;
            }
        }
    }
    return false;
}

void ImageTracker::Advance(const SubresourceRange& range, const Access& next, VkImage image, VkImageAspectFlags aspects,
                           BarrierBatch& barriers)
{
    Dependency dependency;
    if (m_each.empty() && IsWhole(range)) {
        if (gleam::Advance(m_whole, next, true, dependency)) {
            barriers.AddImage(image, {aspects, 0, VK_REMAINING_MIP_LEVELS, 0, VK_REMAINING_ARRAY_LAYERS}, dependency,
                              next);
        }
        return;
    }
    Split();
    for (uint32_t layer = range.firstLayer; layer < range.firstLayer + range.layerCount; ++layer) {
        for (uint32_t mip = range.firstMip; mip < range.firstMip + range.mipCount; ++mip) {
            if (gleam::Advance(m_each[layer * m_mips + mip], next, true, dependency)) {
                barriers.AddImage(image, {aspects, mip, 1, layer, 1}, dependency, next);
            }
        }
    }
    if (IsWhole(range)) {
        Merge();
    }
}

} // namespace gleam
