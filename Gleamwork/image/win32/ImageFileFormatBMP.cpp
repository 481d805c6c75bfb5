// The reader of bitmap files, and of the bitmaps inside cursor files.
#include "Gleamwork/image/ImageUtils.h"
#include "Gleamwork/image/win32/ImageReader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <qs/MemStream.h>
#include <qs/ScratchMemory.h>

namespace gw::image {
namespace {

using Bytes = qs::MemView<unsigned char>;
using ConstBytes = qs::MemView<const unsigned char>;

constexpr uint16_t fileMagic = 19778; // "BM"
constexpr uint32_t coreHeaderBytes = 12;
constexpr uint32_t mostColours = 256;

#pragma pack(push, 2)
struct FileHeader
{
    uint16_t magic;
    uint32_t fileSize, reserved;
    uint32_t pixelOffset; // from the start of the file
};

// The part of the header that every kind but the oldest has.
struct InfoHeader
{
    uint32_t size;
    int32_t width;
    int32_t height; // negative for rows from top to bottom; of a cursor twice the picture's
    uint16_t planes, bitCount;
    uint32_t compression, imageSize;
    int32_t dotsPerMetreX, dotsPerMetreY;
    uint32_t colourCount; // 0 stands for as many as the bits allow
    uint16_t importantColours;
};
#pragma pack(pop)
static_assert(sizeof(FileHeader) == 14);
static_assert(sizeof(InfoHeader) == 38);

// The oldest header, where the newer ones have their width: smaller numbers, no compression.
struct CoreHeader
{
    uint32_t size;
    uint16_t width, height, planes, bitCount;
};
static_assert(sizeof(CoreHeader) == coreHeaderBytes);

struct Bitmap
{
    int64_t width = 0;
    int64_t height = 0;
    bool topDown = false;
    uint32_t bitCount = 0;
    uint32_t compression = 0;
    uint64_t colourOffset = 0; // of the palette, from the start of the data
    uint64_t colourCount = 0;
    uint64_t colourBytes = 0;
    uint64_t pixelOffset = 0;
    uint64_t rowBytes = 0; // without padding
    uint64_t rowStride = 0;
};

void Report(const char* reason)
{
    ReportReaderError("gw::image::LoadBmp", "BMP", reason);
}

bool Refuse(const char* reason)
{
    Report(reason);
    return false;
}

template <class... Numbers>
bool Refuse(const char* format, Numbers... numbers)
{
    char reason[128];
    std::snprintf(reason, sizeof reason, format, static_cast<long long>(numbers)...);
    return Refuse(static_cast<const char*>(reason));
}

EFormat EstablishFormat(uint32_t bitCount)
{
    return bitCount == 8 || bitCount == 24 ? FORMAT_BGR8 : bitCount == 32 ? FORMAT_BGRA8 : FORMAT_MAX;
}

EFormat ReplaceTwice(EFormat format, const FormatReplacements& replacements)
{
    static constexpr FormatReplacement turned[] = {{FORMAT_BGR8, FORMAT_RGB8}, {FORMAT_BGRA8, FORMAT_RGBA8}};
    return ReplaceFormat(ReplaceFormat(format, turned), replacements);
}

// The palette stands between the header and the pixels. Where the pixels are said to start right behind the header, as
// in cursors, they follow the palette.
void PlacePalette(const InfoHeader& header, uint64_t headerEnd, Bitmap& bitmap)
{
    bitmap.colourBytes = header.size == coreHeaderBytes ? 3 : 4;
    bitmap.colourCount = header.colourCount == 0 ? mostColours : std::min(header.colourCount, mostColours);
    bitmap.colourOffset = std::min(headerEnd, bitmap.pixelOffset);
    if (bitmap.pixelOffset > headerEnd) {
        const uint64_t room = (bitmap.pixelOffset - headerEnd) / bitmap.colourBytes;
        bitmap.colourCount = std::min(bitmap.colourCount, room);
    } else {
        bitmap.pixelOffset = bitmap.colourOffset + bitmap.colourCount * bitmap.colourBytes;
    }
}

InfoHeader Widen(const CoreHeader& core)
{
    InfoHeader header = {};
    header.size = core.size;
    header.width = core.width;
    header.height = core.height;
    header.planes = core.planes;
    header.bitCount = core.bitCount;
    return header;
}

bool ReadInfoHeader(qs::MemReadStream& stream, InfoHeader& header)
{
    if (!stream.ReadValue(header))
        return Refuse("the file ends inside its header");
    if (header.size != coreHeaderBytes)
        return true;
    CoreHeader core;
    std::memcpy(&core, &header, sizeof core);
    header = Widen(core);
    return true;
}

bool Describe(const InfoHeader& header, uint64_t headerStart, Bitmap& bitmap, bool isCursor)
{
    const bool isCore = header.size == coreHeaderBytes;
    const uint64_t headerBytes = isCore ? header.size : std::max<uint64_t>(header.size, sizeof(InfoHeader));
    if (bitmap.pixelOffset < headerStart + (isCore ? coreHeaderBytes : sizeof(InfoHeader)))
        return Refuse("its pixels start at byte %lld, inside its header", bitmap.pixelOffset);
    bitmap.width = header.width;
    bitmap.height = std::abs(static_cast<int64_t>(header.height)) / (isCursor ? 2 : 1);
    bitmap.topDown = header.height < 0;
    bitmap.bitCount = header.bitCount;
    bitmap.compression = header.compression;
    if (bitmap.width < 1 || bitmap.height < 1)
        return Refuse("it has %lld by %lld pixels", header.width, header.height);
    if (bitmap.bitCount == 8)
        PlacePalette(header, headerStart + headerBytes, bitmap);
    bitmap.rowBytes = static_cast<uint64_t>(bitmap.width) * bitmap.bitCount / 8;
    bitmap.rowStride = (static_cast<uint64_t>(bitmap.width) * bitmap.bitCount + 31) / 32 * 4;
    return true;
}

// Of a cursor at 24 bits: its rows are padded to four bytes and a mask with a bit for each pixel follows, or each row
// is followed by as many bytes as it has pixels. The picture's listed size tells them apart.
void EstablishCursorRows(Bitmap& bitmap, uint64_t fileBytes, uint64_t listedBytes)
{
    if (bitmap.bitCount != 24)
        return;
    const uint64_t width = static_cast<uint64_t>(bitmap.width), height = static_cast<uint64_t>(bitmap.height);
    const uint64_t maskStride = (width + 31) / 32 * 4;
    const uint64_t paddedEnd = bitmap.pixelOffset + (bitmap.rowStride + maskStride) * height;
    const uint64_t spacedStride = bitmap.rowBytes + width;
    if (listedBytes != paddedEnd && bitmap.pixelOffset + spacedStride * height <= fileBytes)
        bitmap.rowStride = spacedStride;
}

// The last row may lack its padding.
bool HoldsPixels(const Bitmap& bitmap, uint64_t fileBytes)
{
    const uint64_t rows = static_cast<uint64_t>(bitmap.height) - 1;
    return bitmap.pixelOffset + bitmap.rowBytes <= fileBytes &&
           rows <= (fileBytes - bitmap.pixelOffset - bitmap.rowBytes) / bitmap.rowStride;
}

const unsigned char* RowOf(const ConstBytes& file, const Bitmap& bitmap, int64_t y)
{
    return file.GetData() + bitmap.pixelOffset + static_cast<uint64_t>(y) * bitmap.rowStride;
}

// Blue, green, red. Indices without an entry are black.
void ReadPalette(const ConstBytes& file, const Bitmap& bitmap, unsigned char (&colours)[mostColours][3])
{
    std::memset(colours, 0, sizeof colours);
    const unsigned char* entry = file.GetData() + bitmap.colourOffset;
    for (uint64_t i = 0; i < bitmap.colourCount; ++i, entry += bitmap.colourBytes)
        std::memcpy(colours[i], entry, sizeof colours[i]);
}

bool ReadPaletteRows(const ConstBytes& file, const Bitmap& bitmap, PixelWriter& writer)
{
    unsigned char colours[mostColours][3];
    ReadPalette(file, bitmap, colours);
    qs::ScratchMemoryFrame frame = qs::ScratchMemory::Request("Gleamwork/image/win32/ImageFileFormatBMP", __LINE__);
    const Bytes pixels = frame.AllocateBytes(writer.GetSourceRowSize());
    if (pixels.IsNull())
        return Refuse("a row of it cannot be held");
    for (int64_t y = 0; y < bitmap.height; ++y) {
        const unsigned char* row = RowOf(file, bitmap, y);
        for (int64_t x = 0; x < bitmap.width; ++x)
            std::memcpy(pixels.GetData() + 3 * x, colours[row[x]], 3);
        writer.Write(ConstBytes(pixels.GetData(), pixels.GetSize()));
    }
    return true;
}

bool ReadPixels(const ConstBytes& file, const Bitmap& bitmap, EFormat source, Image& image)
{
    if (source == FORMAT_MAX)
        return Refuse("%lld bits a pixel are none of 8, 24 and 32", bitmap.bitCount);
    if (!HoldsPixels(bitmap, file.GetSize()))
        return Refuse("the file is too short for %lld by %lld pixels", bitmap.width, bitmap.height);
    PixelWriter writer = CreatePixelWriter(image, source, bitmap.topDown ? 0 : uint32_t(PIXEL_WRITER_FLIP));
    if (!writer.IsUsable())
        return Refuse("its pixels cannot be held");
    if (bitmap.bitCount == 8)
        return ReadPaletteRows(file, bitmap, writer);
    const bool isPadded = bitmap.rowStride != bitmap.rowBytes;
    const int64_t rowsAtOnce = isPadded ? 1 : bitmap.height;
    for (int64_t y = 0; y < bitmap.height; y += rowsAtOnce)
        writer.Write(ConstBytes(RowOf(file, bitmap, y), bitmap.rowBytes * rowsAtOnce));
    return true;
}

bool LoadBitmap(const ConstBytes& file, const ImageLoadParams& params, Image& image, const Bitmap& bitmap)
{
    if (bitmap.bitCount == 8 && bitmap.compression != 0)
        return Refuse("its compression of kind %lld is not supported", bitmap.compression);
    image.width = bitmap.width;
    image.height = bitmap.height;
    image.depth = 1;
    image.mipCount = 1;
    image.originalMipCount = 1;
    image.arraySize = 1;
    const EFormat source = EstablishFormat(bitmap.bitCount);
    image.format = ReplaceTwice(source, params.formatReplacements);
    return (params.flags & IMAGE_LOAD_HEADER_ONLY) != 0 || ReadPixels(file, bitmap, source, image);
}

} // namespace

bool LoadBmp(const ConstBytes& file, const ImageLoadParams& params, Image& image)
{
    qs::MemReadStream stream(file);
    FileHeader fileHeader;
    InfoHeader header;
    if (!stream.IsBound() || !stream.ReadValue(fileHeader) || fileHeader.magic != fileMagic)
        return Refuse("it does not start with \"BM\"");
    Bitmap bitmap;
    bitmap.pixelOffset = fileHeader.pixelOffset;
    return ReadInfoHeader(stream, header) && Describe(header, sizeof fileHeader, bitmap, false) &&
           LoadBitmap(file, params, image, bitmap);
}

bool LoadCursorBmp(const ConstBytes& file, uint64_t listedBytes, const ImageLoadParams& params, Image& image)
{
    qs::MemReadStream stream(file);
    InfoHeader header;
    if (!stream.IsBound() || !ReadInfoHeader(stream, header))
        return false;
    Bitmap bitmap;
    bitmap.pixelOffset = header.size;
    if (!Describe(header, 0, bitmap, true))
        return false;
    EstablishCursorRows(bitmap, file.GetSize(), listedBytes);
    return LoadBitmap(file, params, image, bitmap);
}

} // namespace gw::image
