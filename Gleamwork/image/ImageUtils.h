// Arithmetic of mip chains, format replacement, and the stream through which image readers deliver their pixels.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/image/Image.h"
#include "Gleamwork/image/ImagePixelOps.h"

#include <cstdint>
#include <qs/MemStream.h>

namespace gw::image {

struct MipDimensions
{
    int64_t width;
    int64_t height;
    int64_t depth;
};

/// Bytes of mipCount consecutive levels of one array element in the format given, not the image's own; a chain ends
/// when all dimensions are 1. Six faces for a cube. Saturates to all ones when the product does not fit 64 bits.
GW_API uint64_t CalculateMipMapSize(const ImageData& image, int64_t firstMip, int64_t mipCount, EFormat format);
/// The same as a count of pixels, without any rounding to blocks.
GW_API uint64_t CalculateMipMapPixelCount(const ImageData& image, uint64_t firstMip, int64_t mipCount);
/// Length of the full chain; 0 when all dimensions are below 1.
GW_API int64_t GetMipMapCountFromDimensions(const ImageData& image);

GW_API MipDimensions GetMipDimensions(const ImageData& image, uint64_t mip);
GW_API int64_t GetMipWidth(const ImageData& image, uint64_t mip);
GW_API int64_t GetMipHeight(const ImageData& image, uint64_t mip);
GW_API int64_t GetMipDepth(const ImageData& image, uint64_t mip);
/// Halves the dimensions in place, each to at least 1; false when there was no further level.
GW_API bool StepToNextMip(int64_t& width, int64_t& height, int64_t& depth);

/// The second value of the first pair whose first value is the format, or the format itself.
GW_API EFormat ReplaceFormat(EFormat format, const FormatReplacements& replacements);

enum EPixelWriterFlag : uint32_t
{
    PIXEL_WRITER_FLIP = 1, ///< rows are written bottom to top
    PIXEL_WRITER_SWAP = 2  ///< source elements are big-endian
};

class PixelWriter;

/// Allocates the image's buffer for its described levels and elements and binds a writer to it, which the image must
/// outlive. Look at IsUsable before writing: more than 4 GiB of pixels log an error and are not allocated, and a pair
/// of formats without a converter asserts "Conversion between specified formats is not supported!". Such a writer
/// refuses what it is given.
GW_API PixelWriter CreatePixelWriter(Image& image, EFormat sourceFormat, uint32_t flags);

/// A memory write stream over an image's pixels that converts what it is given, flips rows, and walks slices, mip
/// levels, faces and array elements. Belongs to one thread. The reading operations take the bytes they name from the
/// stream and give false, writing nothing, when the stream has fewer or the image has no room for them.
class GW_API PixelWriter : public qs::MemWriteStream
{
public:
    PixelWriter(Image& image, EFormat sourceFormat, uint32_t flags);

    bool WriteAll(qs::MemReadStream& source); ///< the chains of all array elements; a cube takes six WriteChain instead
    bool WriteChain(qs::MemReadStream& source); ///< one mip chain, of a cube that of one face
    bool WriteRow(qs::MemReadStream& source);   ///< as many pixels as the image is wide
    bool WritePixels(qs::MemReadStream& source, int64_t count);
    bool WriteBytes(qs::MemReadStream& source, uint64_t count);
    /// One pixel read, written count times; nothing at all for a count below 1.
    bool WriteRepeatedPixel(qs::MemReadStream& source, int64_t count);
    /// Source pixels from a view. What has no room in the image is dropped.
    void Write(const qs::MemView<const unsigned char>& pixels);

    /// Whether the image's buffer could be allocated and the pair of formats has a converter.
    bool IsUsable() const;
    bool NeedsConversion() const;
    uint64_t GetSourceRowSize() const;
    /// Where the next pixel goes, in bytes from the start of the image. Only a flipped writer moves the position
    /// fields.
    uint64_t GetCurrentTargetPixelOffset() const;
    int64_t GetArrayCount() const { return m_arrayCount; }

private:
    bool WriteView(const qs::MemView<const unsigned char>& pixels);
    bool WritePixelByPixel(const qs::MemView<const unsigned char>& pixels);
    uint64_t WriteWholeRows(const qs::MemView<const unsigned char>& pixels);
    void AdvancePixels(int64_t count);

    Image* m_image;
    EFormat m_sourceFormat;
    uint32_t m_flags;
    PixelConverter m_converter;
    int64_t m_arrayCount;
    uint64_t m_sourcePixelBytes;
    uint64_t m_targetPixelBytes;
    uint64_t m_sourceChainBytes;
    uint64_t m_targetChainBytes;
    int64_t m_width;
    int64_t m_height;
    int64_t m_depth;
    uint64_t m_sliceOffset = 0;
    int64_t m_arrayIndex = 0;
    int64_t m_mipIndex = 0;
    int64_t m_z = 0;
    int64_t m_y = 0;
    int64_t m_x = 0;
};

} // namespace gw::image
