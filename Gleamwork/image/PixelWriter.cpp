// The stream through which image readers deliver their pixels.
#include "Gleamwork/image/ConverterTable.h"
#include "Gleamwork/image/ImageUtils.h"
#include "Gleamwork/image/SaturatedMath.h"

#include <algorithm>
#include <qs/Log.h>

namespace gw::image {
namespace {

using details::MultiplySaturated;

// The largest texture that devices hold: 16384 by 16384 pixels of 16 bytes.
constexpr uint64_t maxImageBytes = 4ull * 1024 * 1024 * 1024;

uint64_t AtLeastZero(int64_t count)
{
    return static_cast<uint64_t>(std::max<int64_t>(count, 0));
}

void AllocatePixels(Image& image)
{
    const uint64_t element = CalculateMipMapSize(image, 0, image.mipCount, image.format);
    const uint64_t size = MultiplySaturated(element, AtLeastZero(image.arraySize));
    if (size > maxImageBytes) {
        QS_LOG_ERROR("Gleamwork/image/ImageUtils", "gw::image::CreatePixelWriter",
                     "An image of %lld by %lld by %lld pixels in %s would take more than the limit of %llu bytes!",
                     static_cast<long long>(image.width), static_cast<long long>(image.height),
                     static_cast<long long>(image.depth), GetFormatDescription(image.format).name,
                     static_cast<unsigned long long>(maxImageBytes));
        image.GetBuffer().Free();
        return;
    }
    image.GetBuffer().Alloc(size, 0);
}

qs::MemBuffer PixelsOf(Image& image)
{
    return qs::MemBuffer(qs::MemView<unsigned char>(image.GetPixels(), image.GetBufferSize()));
}

} // namespace

PixelWriter CreatePixelWriter(Image& image, EFormat sourceFormat, uint32_t flags)
{
    AllocatePixels(image);
    return PixelWriter(image, sourceFormat, flags);
}

PixelWriter::PixelWriter(Image& image, EFormat sourceFormat, uint32_t flags)
    : qs::MemWriteStream(PixelsOf(image)), m_image(&image), m_sourceFormat(sourceFormat), m_flags(flags),
      m_converter(GetPixelConverter(sourceFormat, image.format, (flags & PIXEL_WRITER_SWAP) != 0)),
      m_arrayCount(image.arraySize), m_sourcePixelBytes(GetFormatDescription(sourceFormat).elementBytes),
      m_targetPixelBytes(GetFormatDescription(image.format).elementBytes),
      m_sourceChainBytes(CalculateMipMapSize(image, 0, image.mipCount, sourceFormat)),
      m_targetChainBytes(CalculateMipMapSize(image, 0, image.mipCount, image.format)),
      m_width(std::max<int64_t>(image.width, 1)), m_height(std::max<int64_t>(image.height, 1)),
      m_depth(std::max<int64_t>(image.depth, 1))
{
    if (image.IsCube()) {
        m_sourceChainBytes /= 6;
        m_targetChainBytes /= 6;
        m_arrayCount *= 6;
    }
    if (!m_converter)
        QS_LOG_ASSERT("Gleamwork/image/ImageUtils", "gw::image::PixelWriter::PixelWriter",
                      "Conversion between specified formats is not supported!");
}

bool PixelWriter::WriteAll(qs::MemReadStream& source)
{
    return WriteBytes(source, MultiplySaturated(m_sourceChainBytes, AtLeastZero(m_image->arraySize)));
}

bool PixelWriter::WriteChain(qs::MemReadStream& source)
{
    return WriteBytes(source, m_sourceChainBytes);
}

bool PixelWriter::WriteRow(qs::MemReadStream& source)
{
    return WriteBytes(source, GetSourceRowSize());
}

bool PixelWriter::WritePixels(qs::MemReadStream& source, int64_t count)
{
    return WriteBytes(source, MultiplySaturated(m_sourcePixelBytes, AtLeastZero(count)));
}

bool PixelWriter::WriteBytes(qs::MemReadStream& source, uint64_t count)
{
    if (count == 0)
        return true;
    const qs::MemView<const unsigned char> pixels = source.Read(count);
    return pixels.GetData() != nullptr && WriteView(pixels);
}

bool PixelWriter::WriteRepeatedPixel(qs::MemReadStream& source, int64_t count)
{
    if (count < 1)
        return true;
    const qs::MemView<const unsigned char> pixel = source.Read(m_sourcePixelBytes);
    if (pixel.GetData() == nullptr)
        return false;
    for (int64_t written = 0; written < count; ++written) {
        if (!WriteView(pixel))
            return false;
    }
    return true;
}

void PixelWriter::Write(const qs::MemView<const unsigned char>& pixels)
{
    WriteView(pixels);
}

bool PixelWriter::IsUsable() const
{
    return m_converter != nullptr && IsBound();
}

bool PixelWriter::NeedsConversion() const
{
    return m_sourceFormat != m_image->format || m_flags != 0;
}

uint64_t PixelWriter::GetSourceRowSize() const
{
    return MultiplySaturated(m_sourcePixelBytes, AtLeastZero(m_image->width));
}

bool PixelWriter::WriteView(const qs::MemView<const unsigned char>& pixels)
{
    return NeedsConversion() ? WritePixelByPixel(pixels) : MemWriteStream::Write(pixels);
}

bool PixelWriter::WritePixelByPixel(const qs::MemView<const unsigned char>& pixels)
{
    if (!m_converter || m_sourcePixelBytes == 0)
        return false;
    if (pixels.GetSize() % m_sourcePixelBytes != 0)
        QS_LOG_ASSERT("Gleamwork/image/ImageUtils", "gw::image::PixelWriter::WritePixelByPixel",
                      "Something wrong with your calculations. Input mem can't be evenly split into pixels");
    const uint64_t count = pixels.GetSize() / m_sourcePixelBytes;
    if ((m_flags & PIXEL_WRITER_FLIP) == 0) {
        const qs::MemView<unsigned char> target = Advance(MultiplySaturated(count, m_targetPixelBytes));
        if (target.GetData() == nullptr)
            return false;
        m_converter(target, pixels);
        return true;
    }
    // Pixels of one row stand side by side.
    for (uint64_t done = WriteWholeRows(pixels); done < count;) {
        const uint64_t pixelsInRow = std::min(count - done, static_cast<uint64_t>(m_width - m_x));
        if (!SetPosition(GetCurrentTargetPixelOffset()))
            return false;
        const qs::MemView<unsigned char> target = Advance(pixelsInRow * m_targetPixelBytes);
        if (target.GetData() == nullptr)
            return false;
        m_converter(target, pixels.SubView(done * m_sourcePixelBytes, pixelsInRow * m_sourcePixelBytes));
        AdvancePixels(static_cast<int64_t>(pixelsInRow));
        done += pixelsInRow;
    }
    return true;
}

// Flipped rows that lie in one slice, and how many pixels that were.
uint64_t PixelWriter::WriteWholeRows(const qs::MemView<const unsigned char>& pixels)
{
    const bool swap = (m_flags & PIXEL_WRITER_SWAP) != 0;
    const auto convert = details::GetRowConverter(m_sourceFormat, m_image->format, swap);
    const uint64_t width = static_cast<uint64_t>(m_width);
    const uint64_t rows =
        std::min(pixels.GetSize() / m_sourcePixelBytes / width, static_cast<uint64_t>(m_height - m_y));
    const uint64_t rowBytes = width * m_targetPixelBytes;
    const uint64_t first = GetCurrentTargetPixelOffset();
    if (!convert || m_x != 0 || rows == 0 || first + rowBytes > GetSize())
        return 0;
    convert(m_image->GetPixels() + first, -static_cast<int64_t>(rowBytes), pixels.GetData(), width, rows);
    for (uint64_t row = 0; row < rows; ++row)
        AdvancePixels(m_width);
    return rows * width;
}

uint64_t PixelWriter::GetCurrentTargetPixelOffset() const
{
    if (m_arrayIndex > m_arrayCount)
        QS_LOG_ASSERT("Gleamwork/image/ImageUtils", "gw::image::PixelWriter::GetCurrentTargetPixelOffset",
                      "Target iterated of bounds!");
    const int64_t row = (m_flags & PIXEL_WRITER_FLIP) != 0 ? m_height - m_y - 1 : m_y;
    return static_cast<uint64_t>(m_width * row + m_x) * m_targetPixelBytes + m_sliceOffset;
}

// The pixels advanced over lie in one row.
void PixelWriter::AdvancePixels(int64_t count)
{
    m_x = (m_x + count) % m_width;
    if (m_x != 0)
        return;
    m_y = (m_y + 1) % m_height;
    if (m_y != 0)
        return;
    m_z = (m_z + 1) % m_depth;
    m_sliceOffset += m_targetPixelBytes * static_cast<uint64_t>(m_height * m_width);
    if (m_z != 0)
        return;
    m_mipIndex = (m_mipIndex + 1) % std::max<int64_t>(m_image->mipCount, 1);
    if (m_mipIndex != 0) {
        StepToNextMip(m_width, m_height, m_depth);
        return;
    }
    ++m_arrayIndex;
    m_width = std::max<int64_t>(m_image->width, 1);
    m_height = std::max<int64_t>(m_image->height, 1);
    m_depth = std::max<int64_t>(m_image->depth, 1);
}

} // namespace gw::image
