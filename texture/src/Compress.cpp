// Block compression of whole textures, rows of blocks side by side on all processors.
#include "Bc1.h"
#include "Formats.h"
#include "PixelRow.h"
#include "Results.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <new>
#include <tbb/parallel_for.h>
#include <vector>

namespace DirectX {

namespace {

/// How source texels become the bytes that blocks are made of.
struct ByteConversion
{
    bool isCopy = false;      ///< the source has these bytes already
    bool isBgr = false;       ///< with red and blue exchanged
    bool hasAlpha = true;     ///< otherwise alpha counts as full
    bool decodesSrgb = false; ///< values read as they are still hold the sRGB curve
    bool encodesSrgb = false; ///< the target wants it
    int alphaLimit = 0;
};

ByteConversion PlanConversion(DXGI_FORMAT source, DXGI_FORMAT target, TEX_COMPRESS_FLAGS flags, float threshold)
{
    ByteConversion plan;
    const bool isSrgbIn = IsSRGB(source) || (flags & TEX_COMPRESS_SRGB_IN) != 0;
    const bool isSrgbOut = IsSRGB(target) || (flags & TEX_COMPRESS_SRGB_OUT) != 0;
    const bool isRgba = source == DXGI_FORMAT_R8G8B8A8_UNORM || source == DXGI_FORMAT_R8G8B8A8_UNORM_SRGB;
    plan.isBgr = source == DXGI_FORMAT_B8G8R8A8_UNORM || source == DXGI_FORMAT_B8G8R8A8_UNORM_SRGB ||
                 source == DXGI_FORMAT_B8G8R8X8_UNORM || source == DXGI_FORMAT_B8G8R8X8_UNORM_SRGB;
    plan.isCopy = isSrgbIn == isSrgbOut && (isRgba || plan.isBgr);
    plan.hasAlpha = HasAlpha(source);
    plan.decodesSrgb = isSrgbIn && !IsSRGB(source);
    plan.encodesSrgb = isSrgbOut;
    plan.alphaLimit = static_cast<int>(std::ceil(std::clamp(threshold, 0.0f, 1.0f) * 255.0f));
    return plan;
}

void ExchangeRedAndBlue(std::uint8_t* rgba, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        std::swap(rgba[4 * i], rgba[4 * i + 2]);
}

/// One row of texels as RGBA bytes.
void ConvertRow(const ByteConversion& plan, const Image& image, std::size_t y, std::vector<float>& floats,
                std::uint8_t* rgba)
{
    const std::uint8_t* source = image.pixels + y * image.rowPitch;
    if (plan.isCopy) {
        std::memcpy(rgba, source, image.width * 4);
        if (plan.isBgr)
            ExchangeRedAndBlue(rgba, image.width);
    } else {
        floats.resize(image.width * 4);
        LoadRow(image.format, source, floats.data(), image.width);
        for (std::size_t i = 0; plan.decodesSrgb && i < floats.size(); ++i)
            if (i % 4 != 3)
                floats[i] = LinearFromSrgb(std::clamp(floats[i], 0.0f, 1.0f));
        StoreRow(plan.encodesSrgb ? DXGI_FORMAT_R8G8B8A8_UNORM_SRGB : DXGI_FORMAT_R8G8B8A8_UNORM, floats.data(), rgba,
                 image.width);
    }
    for (std::size_t i = 0; !plan.hasAlpha && i < image.width; ++i)
        rgba[4 * i + 3] = 255;
}

/// Blocks at the right and lower edge repeat the last column and row.
void CompressBlockRow(const ByteConversion& plan, const Image& source, const Image& target, std::size_t blockRow)
{
    thread_local std::vector<float> floats;
    thread_local std::vector<std::uint8_t> rows;
    const std::size_t rowBytes = source.width * 4;
    rows.resize(rowBytes * 4);
    for (std::size_t y = 0; y < 4; ++y) {
        const std::size_t from = blockRow * 4 + y;
        if (from < source.height)
            ConvertRow(plan, source, from, floats, rows.data() + y * rowBytes);
        else
            std::memcpy(rows.data() + y * rowBytes, rows.data() + (y - 1) * rowBytes, rowBytes);
    }
    std::uint8_t* block = target.pixels + blockRow * target.rowPitch;
    std::array<std::uint8_t, 64> texels;
    for (std::size_t x = 0; x < source.width; x += 4, block += Bc1BlockBytes) {
        const std::size_t inside = std::min<std::size_t>(source.width - x, 4);
        for (std::size_t y = 0; y < 4; ++y) {
            std::uint8_t* line = texels.data() + y * 16;
            std::memcpy(line, rows.data() + y * rowBytes + x * 4, inside * 4);
            for (std::size_t column = inside; column < 4; ++column)
                std::memcpy(line + column * 4, line + (inside - 1) * 4, 4);
        }
        EncodeBc1Block(texels.data(), plan.alphaLimit, block);
    }
}

void CompressImage(const ByteConversion& plan, const Image& source, const Image& target)
{
    tbb::parallel_for(std::size_t(0), (source.height + 3) / 4,
                      [&](std::size_t blockRow) { CompressBlockRow(plan, source, target, blockRow); });
}

} // namespace

HRESULT Compress(const Image* sources, std::size_t count, const TexMetadata& metadata, DXGI_FORMAT format,
                 TEX_COMPRESS_FLAGS flags, float threshold, ScratchImage& result)
try {
    result.Release();
    if (const HRESULT check = CheckImages(sources, count, metadata); FAILED(check))
        return check;
    if (format != DXGI_FORMAT_BC1_UNORM && format != DXGI_FORMAT_BC1_UNORM_SRGB)
        return ResultNotSupported;
    if (!HasFloatRows(metadata.format))
        return ResultNotSupported;

    TexMetadata description = metadata;
    description.format = format;
    ScratchImage compressed;
    if (const HRESULT made = compressed.Initialize(description); FAILED(made))
        return made;
    if (compressed.GetImageCount() > count)
        return E_INVALIDARG;
    const ByteConversion plan = PlanConversion(metadata.format, format, flags, threshold);
    for (std::size_t i = 0; i < compressed.GetImageCount(); ++i) {
        const Image& source = sources[i];
        const Image& target = compressed.GetImages()[i];
        if (source.width != target.width || source.height != target.height)
            return E_INVALIDARG;
        CompressImage(plan, source, target);
    }
    result = std::move(compressed);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

} // namespace DirectX
