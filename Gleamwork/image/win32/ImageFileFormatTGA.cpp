// The TGA reader.
#include "Gleamwork/image/ImageUtils.h"
#include "Gleamwork/image/win32/ImageReader.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <qs/MemStream.h>

namespace gw::image {
namespace {

using ConstBytes = qs::MemView<const unsigned char>;

constexpr uint8_t runLengthType = 8;
constexpr uint8_t knownTypes = 8 | 3;
constexpr uint8_t attributeBits = 15;
constexpr uint8_t rightToLeft = 16;
constexpr uint8_t topDown = 32;
constexpr int64_t packetPixels = 128;
constexpr uint64_t mostPixelBytes = 4;

#pragma pack(push, 1)
struct Header
{
    uint8_t idLength;
    uint8_t colourMapType;
    uint8_t imageType;
    uint16_t colourMapFirst, colourMapLength;
    uint8_t colourMapDepth;
    uint16_t originX, originY;
    uint16_t width, height;
    uint8_t pixelDepth;
    uint8_t descriptor;
};
#pragma pack(pop)
static_assert(sizeof(Header) == 18);

bool Refuse(const char* reason)
{
    ReportReaderError("gw::image::LoadTga", "TGA", reason);
    return false;
}

bool Refuse(const char* format, int64_t first, int64_t second = 0)
{
    char reason[96];
    std::snprintf(reason, sizeof reason, format, static_cast<long long>(first), static_cast<long long>(second));
    return Refuse(reason);
}

EFormat EstablishFormat(const Header& header)
{
    switch (header.pixelDepth) {
    case 8:
        return FORMAT_R8;
    case 16:
        return FORMAT_A1RGB5;
    case 24:
        return FORMAT_BGR8;
    case 32:
        return FORMAT_BGRA8;
    default:
        return FORMAT_MAX;
    }
}

EFormat ReplaceTwice(EFormat format, const FormatReplacements& replacements)
{
    static constexpr FormatReplacement turned[] = {
        {FORMAT_A1RGB5, FORMAT_RGBA8}, {FORMAT_BGR8, FORMAT_RGB8}, {FORMAT_BGRA8, FORMAT_RGBA8}};
    return ReplaceFormat(ReplaceFormat(format, turned), replacements);
}

// Takes pixels as the file holds them, and passes them on many at a time. At 16 bits the file has its attribute bit at
// the top and FORMAT_A1RGB5 at the bottom; a file that says it has no attributes is opaque.
class PixelSink
{
public:
    PixelSink(PixelWriter& writer, const Header& header)
        : m_writer(writer), m_pixelBytes(header.pixelDepth / 8), m_opaque((header.descriptor & attributeBits) == 0)
    {
    }

    void Write(const ConstBytes& pixels)
    {
        for (uint64_t done = 0; done < pixels.GetSize();) {
            const uint64_t size = std::min(pixels.GetSize() - done, sizeof m_block - m_used);
            std::memcpy(m_block + m_used, pixels.GetData() + done, size);
            m_used += size;
            done += size;
            if (m_used == sizeof m_block)
                Flush();
        }
    }

    void WriteRepeated(const ConstBytes& pixel, int64_t count)
    {
        unsigned char run[packetPixels * mostPixelBytes];
        for (int64_t i = 0; i < count; ++i)
            std::memcpy(run + i * m_pixelBytes, pixel.GetData(), m_pixelBytes);
        Write(ConstBytes(run, count * m_pixelBytes));
    }

    void Flush()
    {
        if (m_pixelBytes == 2)
            TurnAttributes();
        m_writer.Write(ConstBytes(m_block, m_used));
        m_used = 0;
    }

private:
    void TurnAttributes()
    {
        for (uint64_t at = 0; at < m_used; at += 2) {
            uint16_t pixel;
            std::memcpy(&pixel, m_block + at, sizeof pixel);
            pixel = static_cast<uint16_t>(pixel << 1 | (m_opaque ? 1 : pixel >> 15));
            std::memcpy(m_block + at, &pixel, sizeof pixel);
        }
    }

    PixelWriter& m_writer;
    uint64_t m_pixelBytes;
    bool m_opaque;
    uint64_t m_used = 0;
    unsigned char m_block[12 * 1024]; // whole pixels of every depth
};

// Packets may run on from row to row. The last one gives as many pixels as the image still has room for; what follows
// is none of the picture's.
bool ReadPackets(qs::MemReadStream& stream, const Image& image, uint64_t pixelBytes, PixelSink& sink)
{
    int64_t missing = image.width * image.height;
    uint8_t head = 0;
    while (missing > 0 && stream.ReadValue(head)) {
        const int64_t count = std::min<int64_t>((head & 127) + 1, missing);
        const bool isRun = head > 127;
        const ConstBytes pixels = stream.Read(isRun ? pixelBytes : count * pixelBytes);
        if (pixels.GetData() == nullptr)
            return Refuse("the file ends inside a packet");
        if (isRun)
            sink.WriteRepeated(pixels, count);
        else
            sink.Write(pixels);
        missing -= count;
    }
    return true;
}

void MirrorRows(Image& image)
{
    const uint64_t pixelBytes = GetFormatDescription(image.format).elementBytes;
    unsigned char* row = image.GetPixels();
    for (int64_t y = 0; y < image.height; ++y, row += image.width * pixelBytes) {
        for (int64_t x = 0; x < image.width / 2; ++x) {
            unsigned char* left = row + x * pixelBytes;
            std::swap_ranges(left, left + pixelBytes, row + (image.width - 1 - x) * pixelBytes);
        }
    }
}

bool HoldsPixels(const Header& header, const ConstBytes& data)
{
    const uint64_t pixelBytes = header.pixelDepth / 8;
    const uint64_t pixels = static_cast<uint64_t>(header.width) * header.height;
    if ((header.imageType & runLengthType) == 0)
        return pixels * pixelBytes <= data.GetSize();
    // No file holds more than a run in every packet.
    return pixels <= data.GetSize() / (1 + pixelBytes) * packetPixels;
}

bool ReadPixels(qs::MemReadStream& stream, const Header& header, Image& image)
{
    if (!stream.Skip(header.idLength) || !HoldsPixels(header, stream.GetRemainder()))
        return Refuse("the file is too short for %lld by %lld pixels", image.width, image.height);
    const uint32_t flip = (header.descriptor & topDown) != 0 ? 0 : uint32_t(PIXEL_WRITER_FLIP);
    PixelWriter writer = CreatePixelWriter(image, EstablishFormat(header), flip);
    if (!writer.IsUsable())
        return Refuse("its pixels cannot be held");
    PixelSink sink(writer, header);
    const uint64_t pixelBytes = header.pixelDepth / 8;
    if ((header.imageType & runLengthType) != 0) {
        // A file may end before its picture.
        std::memset(image.GetPixels(), 0, image.GetBufferSize());
        if (!ReadPackets(stream, image, pixelBytes, sink))
            return false;
    } else if (pixelBytes == 2) {
        sink.Write(stream.Read(image.width * image.height * pixelBytes));
    } else {
        writer.WriteAll(stream);
    }
    sink.Flush();
    if ((header.descriptor & rightToLeft) != 0)
        MirrorRows(image);
    return true;
}

} // namespace

bool LoadTga(const ConstBytes& file, const ImageLoadParams& params, Image& image)
{
    qs::MemReadStream stream(file);
    Header header;
    if (!stream.IsBound() || !stream.ReadValue(header))
        return Refuse("the file ends inside its header");
    if (header.colourMapType != 0)
        return Refuse("pictures with a colour map are not supported");
    if ((header.imageType & ~knownTypes) != 0)
        return Refuse("its type %lld is not known", header.imageType);
    const EFormat source = EstablishFormat(header);
    if (source == FORMAT_MAX)
        return Refuse("%lld bits a pixel are none of 8, 16, 24 and 32", header.pixelDepth);
    if (header.width == 0 || header.height == 0)
        return Refuse("it has %lld by %lld pixels", header.width, header.height);
    image.width = header.width;
    image.height = header.height;
    image.depth = 1;
    image.mipCount = 1;
    image.originalMipCount = 1;
    image.arraySize = 1;
    image.format = ReplaceTwice(source, params.formatReplacements);
    return (params.flags & IMAGE_LOAD_HEADER_ONLY) != 0 || ReadPixels(stream, header, image);
}

} // namespace gw::image
