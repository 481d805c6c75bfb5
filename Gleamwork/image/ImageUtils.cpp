// Arithmetic of mip chains, and format replacement.
#include "Gleamwork/image/ImageUtils.h"

#include "Gleamwork/image/SaturatedMath.h"

#include <algorithm>
#include <bit>

namespace gw::image {
namespace {

using details::AddSaturated;
using details::MultiplySaturated;

int64_t HalveTimes(int64_t dimension, uint64_t mip)
{
    return mip > 62 ? 1 : std::max<int64_t>(dimension >> mip, 1);
}

// Blocks do not span slices: each slice of a volume has its own rows of blocks.
uint64_t SumLevels(MipDimensions size, int64_t mipCount, int64_t blockSide)
{
    uint64_t count = 0;
    for (int64_t level = 0; level < mipCount; ++level) {
        const uint64_t across = (static_cast<uint64_t>(size.width) + blockSide - 1) / blockSide;
        const uint64_t down = (static_cast<uint64_t>(size.height) + blockSide - 1) / blockSide;
        const uint64_t slices = static_cast<uint64_t>(size.depth);
        count = AddSaturated(count, MultiplySaturated(MultiplySaturated(across, down), slices));
        if (!StepToNextMip(size.width, size.height, size.depth))
            break;
    }
    return count;
}

uint64_t TimesFaces(const ImageData& image, uint64_t count)
{
    return (image.flags & IMAGE_FLAG_CUBE) != 0 ? MultiplySaturated(count, 6) : count;
}

} // namespace

uint64_t CalculateMipMapSize(const ImageData& image, int64_t firstMip, int64_t mipCount, EFormat format)
{
    if (mipCount < 1)
        return 0;
    const FormatDescription description = GetFormatDescription(format);
    const MipDimensions first = GetMipDimensions(image, static_cast<uint64_t>(std::max<int64_t>(firstMip, 0)));
    const uint64_t elements = SumLevels(first, mipCount, description.isBlockCompressed ? 4 : 1);
    return TimesFaces(image, MultiplySaturated(elements, description.elementBytes));
}

uint64_t CalculateMipMapPixelCount(const ImageData& image, uint64_t firstMip, int64_t mipCount)
{
    return TimesFaces(image, SumLevels(GetMipDimensions(image, firstMip), mipCount, 1));
}

int64_t GetMipMapCountFromDimensions(const ImageData& image)
{
    const int64_t largest = std::max({image.width, image.height, image.depth});
    return largest < 1 ? 0 : std::bit_width(static_cast<uint64_t>(largest));
}

MipDimensions GetMipDimensions(const ImageData& image, uint64_t mip)
{
    return {GetMipWidth(image, mip), GetMipHeight(image, mip), GetMipDepth(image, mip)};
}

int64_t GetMipWidth(const ImageData& image, uint64_t mip)
{
    return HalveTimes(image.width, mip);
}
int64_t GetMipHeight(const ImageData& image, uint64_t mip)
{
    return HalveTimes(image.height, mip);
}
int64_t GetMipDepth(const ImageData& image, uint64_t mip)
{
    return HalveTimes(image.depth, mip);
}

bool StepToNextMip(int64_t& width, int64_t& height, int64_t& depth)
{
    const int64_t halves[] = {width / 2, height / 2, depth / 2};
    width = std::max<int64_t>(halves[0], 1);
    height = std::max<int64_t>(halves[1], 1);
    depth = std::max<int64_t>(halves[2], 1);
    return halves[0] > 0 || halves[1] > 0 || halves[2] > 0;
}

EFormat ReplaceFormat(EFormat format, const FormatReplacements& replacements)
{
    for (const FormatReplacement& replacement : replacements) {
        if (replacement.first == format)
            return replacement.second;
    }
    return format;
}

} // namespace gw::image
