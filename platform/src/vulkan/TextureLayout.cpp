// Between images and their rows in memory: copy regions, and the two planes of depth stencil formats.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "vulkan/Texture.h"

namespace gleam {

void AppendBufferImageCopies(const Texture& texture, UINT subresource, VkDeviceSize base, const LinearLayout& layout,
                             const CopyBox& box, UINT x, UINT y, UINT z, std::vector<VkBufferImageCopy>& copies)
{
    const FormatInfo& format = texture.Format();
    VkBufferImageCopy copy{};
    copy.imageSubresource = {texture.Aspects(), texture.MipOf(subresource), texture.LayerOf(subresource), 1};
    copy.imageOffset = {static_cast<int32_t>(box.x), static_cast<int32_t>(box.y), static_cast<int32_t>(box.z)};
    copy.imageExtent = {box.width, box.height, box.depth};
    if (texture.HasTwoPlanes()) {
        copy.imageSubresource.aspectMask = VK_IMAGE_ASPECT_DEPTH_BIT;
        copy.bufferOffset = base + layout.offset + layout.depthPlane;
        copies.push_back(copy);
        copy.imageSubresource.aspectMask = VK_IMAGE_ASPECT_STENCIL_BIT;
        copy.bufferOffset = base + layout.offset + layout.stencilPlane;
        copies.push_back(copy);
        return;
    }
    // Compressed copies that reach the edge end at the edge of the mip, not of its last block.
    const VkExtent3D size = texture.MipSize(texture.MipOf(subresource));
    copy.imageExtent.width = std::min(box.width, size.width - box.x);
    copy.imageExtent.height = std::min(box.height, size.height - box.y);
    copy.bufferOffset = base + layout.offset + z * layout.slicePitch + y / format.blockHeight * layout.rowPitch +
                        VkDeviceSize(x / format.blockWidth) * format.blockBytes;
    copy.bufferRowLength = static_cast<uint32_t>(layout.rowPitch / format.blockBytes * format.blockWidth);
    copy.bufferImageHeight = static_cast<uint32_t>(layout.slicePitch / layout.rowPitch * format.blockHeight);
    copies.push_back(copy);
}

namespace {

/// Packed words have depth in the low 24 bits and stencil above, or a float and a word with stencil in its low byte.
bool HasPacked24(const Texture& texture)
{
    return texture.Format().blockBytes == 4;
}

/// Devices without 24-bit depth keep such textures as floats.
bool KeepsFloats(const Texture& texture)
{
    return texture.ImageFormat() == VK_FORMAT_D32_SFLOAT_S8_UINT;
}

constexpr float Depth24Max = 16777215.0f;

uint32_t To24(const Texture& texture, uint32_t plane)
{
    if (!KeepsFloats(texture)) {
        return plane & 0xffffff;
    }
    float value;
    std::memcpy(&value, &plane, sizeof value);
    return static_cast<uint32_t>(std::lround(double(std::clamp(value, 0.0f, 1.0f)) * Depth24Max));
}

uint32_t From24(const Texture& texture, uint32_t packed)
{
    if (!KeepsFloats(texture)) {
        return packed & 0xffffff;
    }
    const float value = static_cast<float>(packed & 0xffffff) / Depth24Max;
    uint32_t plane;
    std::memcpy(&plane, &value, sizeof plane);
    return plane;
}

} // namespace

void MergePlanes(const Texture& texture, uint32_t mip, const LinearLayout& layout, std::byte* bytes)
{
    if (!texture.HasTwoPlanes()) {
        return;
    }
    const VkExtent3D size = texture.MipSize(mip);
    std::byte* base = bytes + layout.offset;
    const std::byte* depth = base + layout.depthPlane;
    const std::byte* stencil = base + layout.stencilPlane;
    for (uint32_t y = 0; y < size.height; ++y) {
        std::byte* row = base + y * layout.rowPitch;
        for (uint32_t x = 0; x < size.width; ++x, depth += 4, ++stencil) {
            uint32_t plane;
            std::memcpy(&plane, depth, 4);
            const auto mark = static_cast<uint32_t>(*stencil);
            if (HasPacked24(texture)) {
                const uint32_t word = To24(texture, plane) | mark << 24;
                std::memcpy(row + x * 4, &word, 4);
            } else {
                std::memcpy(row + x * 8, &plane, 4);
                std::memcpy(row + x * 8 + 4, &mark, 4);
            }
        }
    }
}

void Texture::MergeFreshPlanes()
{
    if (!std::exchange(hasFreshPlanes, false)) {
        return;
    }
    for (UINT subresource = 0; subresource < info.SubresourceCount(); ++subresource) {
        MergePlanes(*this, MipOf(subresource), m_layouts[subresource], linearBytes);
    }
}

void SplitPlanes(const Texture& texture, uint32_t mip, const LinearLayout& layout, std::byte* bytes)
{
    if (!texture.HasTwoPlanes()) {
        return;
    }
    const VkExtent3D size = texture.MipSize(mip);
    std::byte* base = bytes + layout.offset;
    std::byte* depth = base + layout.depthPlane;
    std::byte* stencil = base + layout.stencilPlane;
    for (uint32_t y = 0; y < size.height; ++y) {
        const std::byte* row = base + y * layout.rowPitch;
        for (uint32_t x = 0; x < size.width; ++x, depth += 4, ++stencil) {
            uint32_t words[2] = {};
            if (HasPacked24(texture)) {
                std::memcpy(words, row + x * 4, 4);
                const uint32_t plane = From24(texture, words[0]);
                std::memcpy(depth, &plane, 4);
                *stencil = static_cast<std::byte>(words[0] >> 24);
            } else {
                std::memcpy(words, row + x * 8, 8);
                std::memcpy(depth, &words[0], 4);
                *stencil = static_cast<std::byte>(words[1] & 0xff);
            }
        }
    }
}

} // namespace gleam
