// Mip chains, multisample resolves and clears of unordered access views.
#include <algorithm>
#include <cstring>

#include "vulkan/Context.h"
#include "vulkan/Device.h"

namespace gleam {

void Context::GenerateMips(ID3D11ShaderResourceView* object)
{
    auto* view = static_cast<ShaderResourceView*>(object);
    if (!view || m_gpu.IsLost() || FAILED(CheckGenerateMips(view->resource.info, view->desc))) {
        return;
    }
    Texture& texture = view->resource.AsTexture();
    const auto viewFormat = static_cast<VkFormat>(GetFormatInfo(view->desc.Format).vkFormat);
    try {
        FlushClearsOf(texture);
        if (viewFormat == texture.ImageFormat()) {
            BlitChain(texture, view->range);
        } else {
            BlitChainAs(texture, view->range, view->desc.Format);
        }
        m_dirty |= DirtyHazards;
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::GenerateMips");
    }
}

void Context::BlitChain(Texture& texture, const SubresourceRange& range)
{
    for (uint32_t mip = range.firstMip + 1; mip < range.firstMip + range.mipCount; ++mip) {
        UseTexture(texture, {mip - 1, 1, range.firstLayer, range.layerCount}, access::CopyRead);
        UseTexture(texture, {mip, 1, range.firstLayer, range.layerCount}, access::CopyWrite);
        const VkExtent3D from = texture.MipSize(mip - 1);
        const VkExtent3D to = texture.MipSize(mip);
        VkImageBlit blit{};
        blit.srcSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, mip - 1, range.firstLayer, range.layerCount};
        blit.dstSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, mip, range.firstLayer, range.layerCount};
        blit.srcOffsets[1] = {static_cast<int32_t>(from.width), static_cast<int32_t>(from.height),
                              static_cast<int32_t>(from.depth)};
        blit.dstOffsets[1] = {static_cast<int32_t>(to.width), static_cast<int32_t>(to.height),
                              static_cast<int32_t>(to.depth)};
        m_vk.CmdBlitImage(OutsidePass(), texture.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, texture.image,
                          VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &blit, VK_FILTER_LINEAR);
    }
    texture.lastWrite = m_stream.Serial();
}

// A blit filters in the format of the image. For a view of another format, which matters between sRGB and linear ones,
// the chain is made in a texture of the view's format and copied back.
void Context::BlitChainAs(Texture& texture, const SubresourceRange& range, DXGI_FORMAT format)
{
    if (texture.info.dimension != D3D11_RESOURCE_DIMENSION_TEXTURE2D) {
        Refuse(E_INVALIDARG, "ID3D11DeviceContext::GenerateMips",
               "views of another format than the texture's are for 2D textures");
        return;
    }
    D3D11_TEXTURE2D_DESC desc{};
    desc.Width = texture.MipSize(range.firstMip).width;
    desc.Height = texture.MipSize(range.firstMip).height;
    desc.MipLevels = range.mipCount;
    desc.ArraySize = range.layerCount;
    desc.Format = format;
    desc.SampleDesc.Count = 1;
    desc.BindFlags = D3D11_BIND_SHADER_RESOURCE;
    ComPtr<ID3D11Texture2D> object;
    if (FAILED(m_owner.CreateTexture2D(&desc, nullptr, object.Put()))) {
        return;
    }
    Texture& chain = ResourceOf(object.Get())->AsTexture();
    const auto copyMips = [&](uint32_t first, bool back) {
        for (uint32_t mip = first; mip < (back ? range.mipCount : 1); ++mip) {
            for (uint32_t layer = 0; layer < range.layerCount; ++layer) {
                const UINT there = mip + layer * range.mipCount;
                const UINT here = range.firstMip + mip + (range.firstLayer + layer) * texture.info.mipLevels;
                const VkExtent3D size = chain.MipSize(mip);
                const CopyBox box{0, 0, 0, size.width, size.height, 1};
                back ? CopyImages(texture, here, 0, 0, 0, chain, there, box)
                     : CopyImages(chain, there, 0, 0, 0, texture, here, box);
            }
        }
    };
    copyMips(0, false);
    BlitChain(chain, {0, range.mipCount, 0, range.layerCount});
    copyMips(1, true);
}

void Context::ResolveSubresource(ID3D11Resource* targetObject, UINT targetSubresource, ID3D11Resource* sourceObject,
                                 UINT sourceSubresource, DXGI_FORMAT format)
{
    Resource* targetResource = ResourceOf(targetObject);
    Resource* sourceResource = ResourceOf(sourceObject);
    if (!targetResource || !sourceResource || m_gpu.IsLost() ||
        FAILED(CheckResolveSubresource(targetResource->info, targetSubresource, sourceResource->info, sourceSubresource,
                                       format))) {
        return;
    }
    Texture& target = targetResource->AsTexture();
    Texture& source = sourceResource->AsTexture();
    try {
        if (source.info.sampleCount == 1) {
            const VkExtent3D size = source.MipSize(source.MipOf(sourceSubresource));
            CopyRegion(target, targetSubresource, 0, 0, 0, source, sourceSubresource,
                       {0, 0, 0, size.width, size.height, size.depth});
            return;
        }
        FlushClearsOf(target);
        FlushClearsOf(source);
        if (target.info.swapsRedBlue) {
            const ComPtr<ID3D11Texture2D> twin = MakePlainTwin(target, target.info.width, target.info.height);
            ResolveSubresource(twin.Get(), 0, sourceObject, sourceSubresource, format);
            CopyRegion(target, targetSubresource, 0, 0, 0, *ResourceOf(twin.Get()), 0,
                       {0, 0, 0, target.info.width, target.info.height, 1});
            return;
        }
        UseTexture(source, source.Single(sourceSubresource), access::CopyRead);
        UseTexture(target, target.Single(targetSubresource), access::CopyWrite);
        target.lastWrite = m_stream.Serial();
        VkImageResolve resolve{};
        resolve.srcSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, source.MipOf(sourceSubresource),
                                  source.LayerOf(sourceSubresource), 1};
        resolve.dstSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, target.MipOf(targetSubresource),
                                  target.LayerOf(targetSubresource), 1};
        resolve.extent = source.MipSize(source.MipOf(sourceSubresource));
        m_vk.CmdResolveImage(OutsidePass(), source.image, VK_IMAGE_LAYOUT_TRANSFER_SRC_OPTIMAL, target.image,
                             VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL, 1, &resolve);
        m_dirty |= DirtyHazards;
    } catch (const VulkanError& error) {
        m_gpu.Report(error, "ID3D11DeviceContext::ResolveSubresource");
    }
}

namespace {

/// As published, a clear with integers writes their low bits into the channels of any format.
void PackWords(const FormatInfo& format, const UINT words[4], std::byte texel[16])
{
    std::uint64_t packed[2] = {};
    UINT position = 0;
    constexpr int bgraOrder[4] = {2, 1, 0, 3};
    for (int i = 0; i < 4; ++i) {
        const int channel = format.isBgra ? bgraOrder[i] : i;
        const UINT bits = format.bits[static_cast<std::size_t>(channel)];
        if (bits == 0) {
            continue;
        }
        const std::uint64_t value = bits >= 32 ? words[channel] : words[channel] & ((1u << bits) - 1);
        packed[position / 64] |= value << (position % 64);
        position += bits;
    }
    std::memcpy(texel, packed, sizeof packed);
}

} // namespace

void Context::ClearUnorderedAccessViewUint(ID3D11UnorderedAccessView* view, const UINT values[4])
{
    if (view && values) {
        ClearUnordered(view, values, nullptr);
    }
}

void Context::ClearUnorderedAccessViewFloat(ID3D11UnorderedAccessView* view, const FLOAT values[4])
{
    if (view && values) {
        ClearUnordered(view, nullptr, values);
    }
}

void Context::ClearUnordered(ID3D11UnorderedAccessView* object, const UINT* words, const FLOAT* floats)
{
    const char* call = words ? "ID3D11DeviceContext::ClearUnorderedAccessViewUint"
                             : "ID3D11DeviceContext::ClearUnorderedAccessViewFloat";
    auto& view = static_cast<UnorderedAccessView&>(*object);
    if (m_gpu.IsLost()) {
        return;
    }
    const FormatInfo& format = GetFormatInfo(view.desc.Format);
    std::byte texel[16] = {};
    UINT texelBytes = format.blockBytes;
    const bool isPlain = view.window.kind == EBufferViewKind::Plain;
    if (floats && (isPlain || format.IsInteger())) {
        Refuse(E_INVALIDARG, call, "the view has to have a float or normalised format");
        return;
    }
    if (isPlain) {
        // Raw and structured views are rows of words, and the first value goes to all of them.
        std::memcpy(texel, &words[0], sizeof(UINT));
        texelBytes = sizeof(UINT);
    } else if (words) {
        PackWords(format, words, texel);
    } else if (!PackColor(format, floats, reinterpret_cast<std::uint8_t*>(texel))) {
        Refuse(E_INVALIDARG, call, "format %s cannot be cleared", format.name);
        return;
    }
    try {
        view.resource.info.IsBuffer() ? FillBufferView(view, texel, texelBytes)
                                      : FillTextureView(view, texel, texelBytes);
        m_dirty |= DirtyHazards;
    } catch (const VulkanError& error) {
        m_gpu.Report(error, call);
    }
}

namespace {

void Repeat(std::byte* target, VkDeviceSize size, const std::byte* texel, UINT texelBytes)
{
    for (VkDeviceSize at = 0; at < size; at += texelBytes) {
        std::memcpy(target + at, texel, std::min<VkDeviceSize>(texelBytes, size - at));
    }
}

/// Whether a texel can be written as one repeated word, which the device fills by itself.
bool IsRepeatedWord(const std::byte* texel, UINT texelBytes, UINT& word)
{
    std::byte row[16];
    Repeat(row, sizeof row, texel, texelBytes);
    std::memcpy(&word, row, sizeof word);
    return 16 % texelBytes == 0 && std::memcmp(row, row + 4, 4) == 0 && std::memcmp(row, row + 8, 8) == 0;
}

} // namespace

void Context::FillBufferView(UnorderedAccessView& view, const std::byte* texel, UINT texelBytes)
{
    Buffer& buffer = view.resource.AsBuffer();
    UseBuffer(buffer, access::CopyWrite);
    const VkDeviceSize offset = buffer.offset + view.window.offset;
    UINT word = 0;
    if (IsRepeatedWord(texel, texelBytes, word) && offset % 4 == 0 && view.window.size % 4 == 0) {
        m_vk.CmdFillBuffer(OutsidePass(), buffer.handle, offset, view.window.size, word);
        return;
    }
    const Slice slice = m_stream.Transient(view.window.size);
    Repeat(slice.mapped, view.window.size, texel, texelBytes);
    const VkBufferCopy copy{slice.offset, offset, view.window.size};
    m_vk.CmdCopyBuffer(OutsidePass(), slice.buffer, buffer.handle, 1, &copy);
}

void Context::FillTextureView(UnorderedAccessView& view, const std::byte* texel, UINT texelBytes)
{
    Texture& texture = view.resource.AsTexture();
    FlushClearsOf(texture);
    UseTexture(texture, view.range, access::CopyWrite);
    texture.lastWrite = m_stream.Serial();
    // One layer's worth of texels serves all layers. Any format and any bits can be written this way.
    const VkExtent3D size = texture.MipSize(view.range.firstMip);
    const VkDeviceSize bytes = VkDeviceSize(size.width) * size.height * size.depth * texelBytes;
    const Slice slice = m_stream.Transient(bytes + CopyStart(texture.Format(), 1));
    const VkDeviceSize base = CopyStart(texture.Format(), slice.offset);
    Repeat(slice.mapped + (base - slice.offset), bytes, texel, texelBytes);
    m_copies.clear();
    for (uint32_t layer = 0; layer < view.range.layerCount; ++layer) {
        VkBufferImageCopy copy{};
        copy.bufferOffset = base;
        copy.imageSubresource = {VK_IMAGE_ASPECT_COLOR_BIT, view.range.firstMip, view.range.firstLayer + layer, 1};
        copy.imageExtent = size;
        m_copies.push_back(copy);
    }
    m_vk.CmdCopyBufferToImage(OutsidePass(), slice.buffer, texture.image, VK_IMAGE_LAYOUT_TRANSFER_DST_OPTIMAL,
                              static_cast<uint32_t>(m_copies.size()), m_copies.data());
}

} // namespace gleam
