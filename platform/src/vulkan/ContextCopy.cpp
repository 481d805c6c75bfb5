// Copies and updates. Work on a resource that this submission has not touched goes into the command buffer that runs
// ahead, so that it does not break the pass.
#include <algorithm>
#include <cstring>

#include "vulkan/Context.h"
#include "vulkan/Device.h"

namespace gleam {

void Context::MarkHostRead(Resource& resource)
{
    resource.lastWrite = m_stream.Serial();
    m_hostReads = true;
}

void Context::UseLinear(Texture& texture, const Access& access)
{
    Dependency dependency;
    if (Advance(texture.linearState, access, false, dependency)) {
        m_barriers.AddMemory(dependency, access);
    }
    texture.MarkUsed(m_stream.Serial());
}

void Context::UpdateSubresource(ID3D11Resource* object, UINT subresource, const D3D11_BOX* box, const void* data,
                                UINT rowPitch, UINT depthPitch)
{
    Resource* resource = ResourceOf(object);
    if (!resource || m_gpu.IsLost()) {
        return;
    }
    CopyBox region;
    if (FAILED(CheckUpdateSubresource(resource->info, subresource, box, data, region)) || region.IsEmpty()) {
        return;
    }
    try {
        if (resource->info.IsBuffer()) {
            UpdateBuffer(resource->AsBuffer(), region, data);
        } else {
            UpdateTexture(resource->AsTexture(), subresource, region, static_cast<const std::byte*>(data), rowPitch,
                          depthPitch);
        }
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::UpdateSubresource");
    }
    SubmitWhenFull("ID3D11DeviceContext::UpdateSubresource");
}

// Uploads without draws must not pile up either.
void Context::SubmitWhenFull(const char* call)
{
    if (!m_stream.IsFull()) {
        return;
    }
    try {
        Submit();
    } catch (const VulkanError& error) {
        m_gpu.Report(error, call);
    }
}

void Context::UpdateBuffer(Buffer& buffer, const CopyBox& region, const void* data)
{
    const VkDeviceSize size = region.width;
    if (buffer.Storage() == EBufferStorage::Sliced) {
        const std::byte* before = buffer.mappedBytes;
        Rename(buffer);
        if (size < buffer.Size() && buffer.mappedBytes != before) {
            std::memcpy(buffer.mappedBytes, before, buffer.Size());
        }
        std::memcpy(buffer.mappedBytes + region.x, data, size);
        return;
    }
    if (buffer.Storage() == EBufferStorage::Shadow) {
        std::memcpy(buffer.mappedBytes + region.x, data, size);
        MovedBuffer(buffer);
        return;
    }
    // Memory that nobody reads any more can be written in place.
    if (buffer.mappedBytes && buffer.lastUse <= m_gpu.CompletedSerial()) {
        std::memcpy(buffer.mappedBytes + region.x, data, size);
        return;
    }
    const Slice slice = m_stream.Transient(size);
    std::memcpy(slice.mapped, data, size);
    const VkBufferCopy copy{slice.offset, buffer.offset + region.x, size};
    const bool ahead = CanGoAhead(buffer);
    Dependency dependency;
    if (Advance(buffer.state, access::CopyWrite, false, dependency)) {
        BarrierBatch barrier;
        (ahead ? barrier : m_barriers).AddMemory(dependency, access::CopyWrite);
        if (ahead) {
            barrier.Record(m_vk, m_stream.Ahead());
        }
    }
    buffer.lastWrite = m_stream.Serial();
    buffer.lastUse = m_stream.Serial();
    m_hostReads |= buffer.Storage() == EBufferStorage::Staging;
    if (ahead) {
        m_vk.CmdCopyBuffer(m_stream.Ahead(), slice.buffer, buffer.handle, 1, &copy);
    } else {
        buffer.mainUse = m_stream.Serial();
        m_vk.CmdCopyBuffer(OutsidePass(), slice.buffer, buffer.handle, 1, &copy);
    }
    m_dirty |= DirtyHazards;
}

void Context::UpdateTexture(Texture& texture, UINT subresource, const CopyBox& region, const std::byte* data,
                            UINT rowPitch, UINT depthPitch)
{
    const FormatInfo& format = texture.Format();
    const VkDeviceSize rowBytes = RowBytes(format, region.width);
    const UINT rows = RowCount(format, region.height);
    if (texture.IsStaging()) {
        WaitForHost(texture, true, 0);
        const LinearLayout& layout = texture.StagingLayout(subresource);
        std::byte* target = texture.linearBytes + layout.offset + region.z * layout.slicePitch +
                            region.y / format.blockHeight * layout.rowPitch +
                            VkDeviceSize(region.x / format.blockWidth) * format.blockBytes;
        CopyRows(target, layout.rowPitch, layout.slicePitch, data, rowPitch, depthPitch, rowBytes, rows, region.depth);
        return;
    }
    if (texture.info.swapsRedBlue) {
        const ComPtr<ID3D11Texture2D> twin = MakePlainTwin(texture, region.width, region.height);
        Texture& plain = ResourceOf(twin.Get())->AsTexture();
        UpdateTexture(plain, 0, {0, 0, 0, region.width, region.height, 1}, data, rowPitch, depthPitch);
        BlitImages(texture, region.x, region.y, plain, 0, 0, region.width, region.height);
        return;
    }
    LinearLayout layout;
    layout.rowPitch = rowBytes;
    layout.slicePitch = rowBytes * rows;
    layout.size = layout.slicePitch * region.depth;
    const Slice slice = m_stream.Transient(layout.size + CopyStart(format, 1));
    const VkDeviceSize base = CopyStart(format, slice.offset);
    CopyRows(slice.mapped + (base - slice.offset), rowBytes, layout.slicePitch, data, rowPitch, depthPitch, rowBytes,
             rows, region.depth);
    UploadToImage(texture, subresource, region, slice, layout, base);
}

void Context::UploadToImage(Texture& texture, UINT subresource, const CopyBox& region, const Slice& slice,
                            const LinearLayout& layout, VkDeviceSize base)
{
    FlushClearsOf(texture);
    m_copies.clear();
    AppendBufferImageCopies(texture, subresource, base, layout, region, 0, 0, 0, m_copies);
    const bool ahead = CanGoAhead(texture);
    VkCommandBuffer commands;
    if (ahead) {
        BarrierBatch barriers;
        commands = m_stream.Ahead();
        texture.tracker.Advance(texture.Single(subresource), access::CopyWrite, texture.image, texture.Aspects(),
                                barriers);
        barriers.Record(m_vk, commands);
        texture.lastUse = m_stream.Serial();
    } else {
        UseTexture(texture, texture.Single(subresource), access::CopyWrite);
        commands = OutsidePass();
    }
    texture.lastWrite = m_stream.Serial();
    m_vk.CmdCopyBufferToImage(commands, slice.buffer, texture.image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL,
                              static_cast<uint32_t>(m_copies.size()), m_copies.data());
    m_dirty |= DirtyHazards;
}

void Context::CopyResource(ID3D11Resource* targetObject, ID3D11Resource* sourceObject)
{
    Resource* target = ResourceOf(targetObject);
    Resource* source = ResourceOf(sourceObject);
    if (!target || !source || m_gpu.IsLost() ||
        FAILED(CheckCopyResource(target->info, source->info, target == source))) {
        return;
    }
    try {
        if (target->info.IsBuffer()) {
            CopyBuffers(target->AsBuffer(), 0, source->AsBuffer(), 0, target->info.width);
            return;
        }
        for (UINT subresource = 0; subresource < target->info.SubresourceCount(); ++subresource) {
            const UINT mip = subresource % target->info.mipLevels;
            const CopyBox whole{
                0, 0, 0, source->info.MipWidth(mip), source->info.MipHeight(mip), source->info.MipDepth(mip)};
            CopyRegion(*target, subresource, 0, 0, 0, *source, subresource, whole);
        }
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::CopyResource");
    }
}

void Context::CopySubresourceRegion(ID3D11Resource* targetObject, UINT targetSubresource, UINT x, UINT y, UINT z,
                                    ID3D11Resource* sourceObject, UINT sourceSubresource, const D3D11_BOX* box)
{
    Resource* target = ResourceOf(targetObject);
    Resource* source = ResourceOf(sourceObject);
    CopyBox region;
    if (!target || !source || m_gpu.IsLost() ||
        FAILED(CheckCopySubresourceRegion(target->info, targetSubresource, x, y, z, source->info, sourceSubresource,
                                          box, target == source, region)) ||
        region.IsEmpty()) {
        return;
    }
    try {
        CopyRegion(*target, targetSubresource, x, y, z, *source, sourceSubresource, region);
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::CopySubresourceRegion");
    }
}

void Context::CopyRegion(Resource& target, UINT targetSubresource, UINT x, UINT y, UINT z, Resource& source,
                         UINT sourceSubresource, const CopyBox& region)
{
    m_dirty |= DirtyHazards;
    if (target.info.IsBuffer()) {
        CopyBuffers(target.AsBuffer(), x, source.AsBuffer(), region.x, region.width);
        return;
    }
    Texture& to = target.AsTexture();
    Texture& from = source.AsTexture();
    FlushClearsOf(to);
    FlushClearsOf(from);
    if (to.info.swapsRedBlue || from.info.swapsRedBlue) {
        CopyThroughTwin(target, targetSubresource, x, y, z, source, sourceSubresource, region);
        return;
    }
    if (to.IsStaging() && from.IsStaging()) {
        CopyStagingToStaging(to, targetSubresource, x, y, z, from, sourceSubresource, region);
    } else if (to.IsStaging()) {
        CopyImageToStaging(to, targetSubresource, x, y, z, from, sourceSubresource, region);
    } else if (from.IsStaging()) {
        CopyStagingToImage(to, targetSubresource, x, y, z, from, sourceSubresource, region);
    } else if (to.Aspects() != from.Aspects() || to.Format().blockWidth != from.Format().blockWidth) {
        CopyImageThroughBuffer(to, targetSubresource, x, y, z, from, sourceSubresource, region);
    } else {
        CopyImages(to, targetSubresource, x, y, z, from, sourceSubresource, region);
    }
}

void Context::CopyBuffers(Buffer& target, VkDeviceSize targetOffset, Buffer& source, VkDeviceSize sourceOffset,
                          VkDeviceSize size)
{
    Materialize(source);
    if (target.Storage() == EBufferStorage::Shadow) {
        target.LeaveShadow(m_stream.AcquireRename(target.Size()));
        MovedBuffer(target);
    }
    UseBuffer(source, access::CopyRead);
    if (&target != &source) {
        UseBuffer(target, access::CopyWrite);
    } else {
        Dependency dependency;
        if (Advance(target.state, access::CopyWrite, false, dependency)) {
            m_barriers.AddMemory(dependency, access::CopyWrite);
        }
    }
    const VkBufferCopy copy{source.offset + sourceOffset, target.offset + targetOffset, size};
    m_vk.CmdCopyBuffer(OutsidePass(), source.handle, target.handle, 1, &copy);
    if (target.Storage() == EBufferStorage::Staging) {
        MarkHostRead(target);
    }
}

void Context::CopyImages(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                         UINT sourceSubresource, const CopyBox& region)
{
    UseTexture(source, source.Single(sourceSubresource), access::CopyRead);
    UseTexture(target, target.Single(targetSubresource), access::CopyWrite);
    target.lastWrite = m_stream.Serial();
    const VkExtent3D size = source.MipSize(source.MipOf(sourceSubresource));
    VkImageCopy copy{};
    copy.srcSubresource = {source.Aspects(), source.MipOf(sourceSubresource), source.LayerOf(sourceSubresource), 1};
    copy.dstSubresource = {target.Aspects(), target.MipOf(targetSubresource), target.LayerOf(targetSubresource), 1};
    copy.srcOffset = {static_cast<int32_t>(region.x), static_cast<int32_t>(region.y), static_cast<int32_t>(region.z)};
    copy.dstOffset = {static_cast<int32_t>(x), static_cast<int32_t>(y), static_cast<int32_t>(z)};
    copy.extent = {std::min(region.width, size.width - region.x), std::min(region.height, size.height - region.y),
                   region.depth};
    m_vk.CmdCopyImage(OutsidePass(), source.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, target.image,
                      VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &copy);
}

// Vulkan copies neither between depth and colour, nor between compressed and plain texels in boxes of other sizes. The
// bytes take a turn through a buffer.
void Context::CopyImageThroughBuffer(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                                     UINT sourceSubresource, const CopyBox& region)
{
    const FormatInfo& from = source.Format();
    const FormatInfo& to = target.Format();
    LinearLayout layout;
    layout.rowPitch = RowBytes(from, region.width);
    layout.slicePitch = layout.rowPitch * RowCount(from, region.height);
    layout.size = layout.slicePitch * region.depth;
    if (source.HasTwoPlanes()) {
        layout.stencilPlane = VkDeviceSize(region.width) * region.height * 4;
        layout.size = (layout.stencilPlane + VkDeviceSize(region.width) * region.height + 3) / 4 * 4;
    }
    const Slice slice = m_stream.Transient(layout.size + CopyStart(from, 1));
    const VkDeviceSize base = CopyStart(from, slice.offset);
    UseTexture(source, source.Single(sourceSubresource), access::CopyRead);
    m_copies.clear();
    AppendBufferImageCopies(source, sourceSubresource, base, layout, region, 0, 0, 0, m_copies);
    m_vk.CmdCopyImageToBuffer(OutsidePass(), source.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, slice.buffer,
                              static_cast<uint32_t>(m_copies.size()), m_copies.data());
    UseTexture(target, target.Single(targetSubresource), access::CopyWrite);
    target.lastWrite = m_stream.Serial();
    m_barriers.AddMemory({access::CopyWrite.stages, access::CopyWrite.access, VK_IMAGE_LAYOUT_UNDEFINED},
                         access::CopyRead);
    // Blocks on one side are texels on the other.
    const CopyBox box{x,
                      y,
                      z,
                      (region.width + from.blockWidth - 1) / from.blockWidth * to.blockWidth,
                      (region.height + from.blockHeight - 1) / from.blockHeight * to.blockHeight,
                      region.depth};
    m_copies.clear();
    AppendBufferImageCopies(target, targetSubresource, base, layout, box, 0, 0, 0, m_copies);
    m_vk.CmdCopyBufferToImage(OutsidePass(), slice.buffer, target.image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL,
                              static_cast<uint32_t>(m_copies.size()), m_copies.data());
}

void Context::CopyImageToStaging(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                                 UINT sourceSubresource, const CopyBox& region)
{
    UseTexture(source, source.Single(sourceSubresource), access::CopyRead);
    UseLinear(target, access::CopyWrite);
    m_copies.clear();
    AppendBufferImageCopies(source, sourceSubresource, 0, target.StagingLayout(targetSubresource), region, x, y, z,
                            m_copies);
    m_vk.CmdCopyImageToBuffer(OutsidePass(), source.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, target.linear,
                              static_cast<uint32_t>(m_copies.size()), m_copies.data());
    target.hasFreshPlanes = true;
    MarkHostRead(target);
}

void Context::CopyStagingToImage(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                                 UINT sourceSubresource, const CopyBox& region)
{
    UseTexture(target, target.Single(targetSubresource), access::CopyWrite);
    UseLinear(source, access::CopyRead);
    target.lastWrite = m_stream.Serial();
    CopyBox box = region;
    box.x = x;
    box.y = y;
    box.z = z;
    m_copies.clear();
    AppendBufferImageCopies(target, targetSubresource, 0, source.StagingLayout(sourceSubresource), box, region.x,
                            region.y, region.z, m_copies);
    m_vk.CmdCopyBufferToImage(OutsidePass(), source.linear, target.image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL,
                              static_cast<uint32_t>(m_copies.size()), m_copies.data());
}

void Context::CopyStagingToStaging(Texture& target, UINT targetSubresource, UINT x, UINT y, UINT z, Texture& source,
                                   UINT sourceSubresource, const CopyBox& region)
{
    // Both are the processor's memory; the device only has to be done with them.
    if (FAILED(WaitForHost(source, false, 0)) || FAILED(WaitForHost(target, true, 0))) {
        return;
    }
    const FormatInfo& format = source.Format();
    const LinearLayout& from = source.StagingLayout(sourceSubresource);
    const LinearLayout& to = target.StagingLayout(targetSubresource);
    source.MergeFreshPlanes();
    target.MergeFreshPlanes();
    const auto place = [&](const LinearLayout& layout, UINT px, UINT py, UINT pz) {
        return layout.offset + pz * layout.slicePitch + py / format.blockHeight * layout.rowPitch +
               VkDeviceSize(px / format.blockWidth) * format.blockBytes;
    };
    CopyRows(target.linearBytes + place(to, x, y, z), to.rowPitch, to.slicePitch,
             source.linearBytes + place(from, region.x, region.y, region.z), from.rowPitch, from.slicePitch,
             RowBytes(format, region.width), RowCount(format, region.height), region.depth);
    SplitPlanes(target, target.MipOf(targetSubresource), to, target.linearBytes);
}

void Context::CopyStructureCount(ID3D11Buffer* targetObject, UINT offset, ID3D11UnorderedAccessView* viewObject)
{
    auto* target = static_cast<Buffer*>(targetObject);
    auto* view = static_cast<UnorderedAccessView*>(viewObject);
    if (!target || !view || m_gpu.IsLost() || FAILED(CheckCopyStructureCount(target->info, offset, view->desc))) {
        return;
    }
    try {
        Dependency dependency;
        if (Advance(view->counterState, access::CopyRead, false, dependency)) {
            m_barriers.AddMemory(dependency, access::CopyRead);
        }
        view->counterUse = m_stream.Serial();
        UseBuffer(*target, access::CopyWrite);
        const VkBufferCopy copy{view->counter.offset, target->offset + offset, sizeof(UINT)};
        m_vk.CmdCopyBuffer(OutsidePass(), view->counter.buffer, target->handle, 1, &copy);
        if (target->Storage() == EBufferStorage::Staging) {
            MarkHostRead(*target);
        }
        m_dirty |= DirtyHazards;
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::CopyStructureCount");
    }
}

void Context::SetCounter(UnorderedAccessView& view, UINT value)
{
    Dependency dependency;
    if (Advance(view.counterState, access::CopyWrite, false, dependency)) {
        m_barriers.AddMemory(dependency, access::CopyWrite);
    }
    view.counterUse = m_stream.Serial();
    m_vk.CmdFillBuffer(OutsidePass(), view.counter.buffer, view.counter.offset, sizeof(UINT), value);
}

} // namespace gleam
