// Mip chains: every level a box filter over the one above, in floating point.
#include "Formats.h"
#include "PixelRow.h"
#include "Results.h"

#include <algorithm>
#include <new>
#include <stb/stb_image_resize.h>
#include <tbb/parallel_for.h>
#include <vector>

namespace DirectX {

namespace {

/// One level of one item: slices of four floats a texel. Kept from level to level, so that nothing is rounded twice.
struct FloatLevel
{
    std::size_t width = 0, height = 0, depth = 0;
    std::vector<float> texels;

    FloatLevel() = default;
    FloatLevel(std::size_t w, std::size_t h, std::size_t d) : width(w), height(h), depth(d), texels(w * h * d * 4) {}
    float* Slice(std::size_t slice) { return texels.data() + slice * width * height * 4; }
    const float* Slice(std::size_t slice) const { return texels.data() + slice * width * height * 4; }
};

void LoadImage(const Image& image, float* texels)
{
    tbb::parallel_for(std::size_t(0), image.height, [&](std::size_t y) {
        LoadRow(image.format, image.pixels + y * image.rowPitch, texels + y * image.width * 4, image.width);
    });
}

void StoreImage(const float* texels, const Image& image)
{
    tbb::parallel_for(std::size_t(0), image.height, [&](std::size_t y) {
        StoreRow(image.format, texels + y * image.width * 4, image.pixels + y * image.rowPitch, image.width);
    });
}

/// The box covers whole texels where the size halves evenly, and parts of texels where it does not.
bool ShrinkSlice(const float* source, std::size_t width, std::size_t height, float* target, std::size_t newWidth,
                 std::size_t newHeight)
{
    return stbir_resize_float_generic(source, static_cast<int>(width), static_cast<int>(height), 0, target,
                                      static_cast<int>(newWidth), static_cast<int>(newHeight), 0, 4,
                                      STBIR_ALPHA_CHANNEL_NONE, 0, STBIR_EDGE_CLAMP, STBIR_FILTER_BOX,
                                      STBIR_COLORSPACE_LINEAR, nullptr) != 0;
}

/// Adds the share that each source slice has in a target slice.
void ShrinkDepth(const FloatLevel& source, FloatLevel& target)
{
    const double ratio = static_cast<double>(source.depth) / static_cast<double>(target.depth);
    const std::size_t floats = source.width * source.height * 4;
    for (std::size_t slice = 0; slice < target.depth; ++slice) {
        const double begin = static_cast<double>(slice) * ratio, end = begin + ratio;
        float* sum = target.Slice(slice);
        for (std::size_t from = static_cast<std::size_t>(begin); from < source.depth && from < end; ++from) {
            const double covered =
                std::min(end, static_cast<double>(from + 1)) - std::max(begin, static_cast<double>(from));
            const float weight = static_cast<float>(covered / ratio);
            const float* part = source.Slice(from);
            for (std::size_t i = 0; i < floats; ++i)
                sum[i] += part[i] * weight;
        }
    }
}

bool NextLevel(const FloatLevel& level, FloatLevel& next)
{
    FloatLevel flat(NextMip(level.width), NextMip(level.height), level.depth);
    for (std::size_t slice = 0; slice < level.depth; ++slice)
        if (!ShrinkSlice(level.Slice(slice), level.width, level.height, flat.Slice(slice), flat.width, flat.height))
            return false;
    if (level.depth == 1) {
        next = std::move(flat);
        return true;
    }
    next = FloatLevel(flat.width, flat.height, NextMip(level.depth));
    ShrinkDepth(flat, next);
    return true;
}

HRESULT FillItem(const ScratchImage& chain, std::size_t item)
{
    const TexMetadata& texture = chain.GetMetadata();
    FloatLevel level(texture.width, texture.height, texture.depth);
    for (std::size_t slice = 0; slice < texture.depth; ++slice)
        LoadImage(*chain.GetImage(0, item, slice), level.Slice(slice));
    for (std::size_t mip = 1; mip < texture.mipLevels; ++mip) {
        FloatLevel next;
        if (!NextLevel(level, next))
            return E_OUTOFMEMORY;
        level = std::move(next);
        for (std::size_t slice = 0; slice < level.depth; ++slice)
            StoreImage(level.Slice(slice), *chain.GetImage(mip, item, slice));
    }
    return S_OK;
}

void CopyTop(const Image& source, const Image& target)
{
    for (std::size_t y = 0; y < target.height; ++y)
        std::copy_n(source.pixels + y * source.rowPitch, target.rowPitch, target.pixels + y * target.rowPitch);
}

} // namespace

HRESULT GenerateMipMaps(const Image* sources, std::size_t count, const TexMetadata& metadata, TEX_FILTER_FLAGS filter,
                        std::size_t levels, ScratchImage& mipChain)
try {
    mipChain.Release();
    if (filter != TEX_FILTER_DEFAULT)
        return E_INVALIDARG;
    if (const HRESULT result = CheckImages(sources, count, metadata); FAILED(result))
        return result;
    if (!HasFloatRows(metadata.format))
        return ResultNotSupported;

    TexMetadata description = metadata;
    description.mipLevels = levels;
    ScratchImage chain;
    if (const HRESULT result = chain.Initialize(description); FAILED(result))
        return result;
    for (std::size_t item = 0; item < metadata.arraySize; ++item) {
        for (std::size_t slice = 0; slice < metadata.depth; ++slice)
            CopyTop(sources[metadata.ComputeIndex(0, item, slice)], *chain.GetImage(0, item, slice));
        if (const HRESULT result = FillItem(chain, item); FAILED(result))
            return result;
    }
    mipChain = std::move(chain);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

} // namespace DirectX
