// Memory of whole textures, and where each of their images lies in it.
#include "Formats.h"
#include "Results.h"

#include <algorithm>
#include <new>
#include <utility>

namespace DirectX {

namespace {

std::size_t SlicesOfMip(const TexMetadata& metadata, std::size_t mip)
{
    return std::max<std::size_t>(metadata.depth >> mip, 1);
}

} // namespace

std::size_t TexMetadata::ComputeIndex(std::size_t mip, std::size_t item, std::size_t slice) const
{
    constexpr std::size_t none = ~std::size_t(0);
    if (mip >= mipLevels)
        return none;
    if (!IsVolumemap())
        return slice == 0 && item < arraySize ? item * mipLevels + mip : none;
    if (item != 0 || slice >= SlicesOfMip(*this, mip))
        return none;
    std::size_t index = slice;
    for (std::size_t above = 0; above < mip; ++above)
        index += SlicesOfMip(*this, above);
    return index;
}

ScratchImage& ScratchImage::operator=(ScratchImage&& other) noexcept
{
    if (this == &other)
        return *this;
    m_metadata = std::exchange(other.m_metadata, {});
    m_images = std::move(other.m_images);
    m_imageCount = std::exchange(other.m_imageCount, 0);
    m_memory = std::move(other.m_memory);
    m_size = std::exchange(other.m_size, 0);
    return *this;
}

HRESULT ScratchImage::Initialize(const TexMetadata& metadata)
{
    Release();
    m_metadata = metadata;
    if (m_metadata.mipLevels == 0)
        m_metadata.mipLevels = CountMips(metadata.width, metadata.height, metadata.depth);
    HRESULT result = CheckMetadata(m_metadata);
    if (SUCCEEDED(result))
        result = PlaceImages();
    if (FAILED(result))
        Release();
    return result;
}

/// Two walks over the same images: the first counts images and bytes, the second stores them.
HRESULT ScratchImage::PlaceImages()
{
    const TexMetadata& texture = m_metadata;
    for (const bool isStoring : {false, true}) {
        if (isStoring) {
            m_images.reset(new (std::nothrow) Image[m_imageCount]);
            m_memory.reset(new (std::nothrow) std::uint8_t[m_size]);
            if (!m_images || !m_memory)
                return E_OUTOFMEMORY;
        }
        std::size_t index = 0, offset = 0;
        for (std::size_t item = 0; item < texture.arraySize; ++item) {
            for (std::size_t mip = 0; mip < texture.mipLevels; ++mip) {
                Image image{std::max<std::size_t>(texture.width >> mip, 1),
                            std::max<std::size_t>(texture.height >> mip, 1),
                            texture.format,
                            0,
                            0,
                            nullptr};
                const HRESULT result =
                    ComputePitch(texture.format, image.width, image.height, image.rowPitch, image.slicePitch);
                if (FAILED(result))
                    return result;
                for (std::size_t slice = 0; slice < SlicesOfMip(texture, mip); ++slice) {
                    if (isStoring) {
                        image.pixels = m_memory.get() + offset;
                        m_images[index] = image;
                    }
                    ++index;
                    offset += image.slicePitch;
                }
            }
        }
        m_imageCount = index;
        m_size = offset;
    }
    return S_OK;
}

void ScratchImage::Release()
{
    m_metadata = {};
    m_images.reset();
    m_imageCount = 0;
    m_memory.reset();
    m_size = 0;
}

const Image* ScratchImage::GetImage(std::size_t mip, std::size_t item, std::size_t slice) const
{
    const std::size_t index = m_metadata.ComputeIndex(mip, item, slice);
    return index < m_imageCount ? &m_images[index] : nullptr;
}

HRESULT Blob::Initialize(std::size_t size)
{
    Release();
    if (size == 0)
        return E_INVALIDARG;
    m_memory.reset(new (std::nothrow) std::uint8_t[size]);
    if (!m_memory)
        return E_OUTOFMEMORY;
    m_size = size;
    return S_OK;
}

void Blob::Release()
{
    m_memory.reset();
    m_size = 0;
}

} // namespace DirectX
