// The DDS reader.
#include "Gleamwork/image/win32/ImageFileFormatDDS.h"

#include "Gleamwork/image/ImageUtils.h"
#include "Gleamwork/image/SaturatedMath.h"
#include "Gleamwork/image/win32/ImageReader.h"

#include <algorithm>
#include <qs/Log.h>
#include <qs/Profile.h>

namespace gw::image {
namespace dds {
namespace {

constexpr char fileName[] = "Gleamwork/image/win32/ImageFileFormatDDS";

constexpr uint32_t FourCC(const char (&text)[5])
{
    return uint32_t(uint8_t(text[0])) | uint32_t(uint8_t(text[1])) << 8 | uint32_t(uint8_t(text[2])) << 16 |
           uint32_t(uint8_t(text[3])) << 24;
}

constexpr uint32_t magicDds = FourCC("DDS ");
constexpr uint32_t magicGnf = FourCC("GNF ");
constexpr uint32_t magicDfvn = FourCC("DFvN");
constexpr uint32_t fourCCXbox = FourCC("XBOX");
constexpr uint32_t fourCCDx10 = FourCC("DX10");
constexpr uint32_t caps2Cube = 0x200;
constexpr int64_t smallImage = 64;
constexpr int64_t leastSkippedSize = 4;
constexpr int64_t cubeFaces = 6;

struct Header
{
    uint32_t magic;
    uint32_t size, flags;
    uint32_t height, width;
    uint32_t pitch;
    uint32_t depth, mipCount;
    uint32_t reserved[11];
    uint32_t formatSize, formatFlags, fourCC, bitCount, redMask, greenMask, blueMask, alphaMask;
    uint32_t caps, caps2, caps3, caps4;
    uint32_t reserved2;
};
static_assert(sizeof(Header) == 128);

struct ExtendedHeader
{
    uint32_t dxgiFormat, dimension, miscFlags, arraySize, miscFlags2;
};
static_assert(sizeof(ExtendedHeader) == 20);

struct FormatRow
{
    uint32_t code;
    EFormat format;
};

constexpr FormatRow fourCCFormats[] = {
    {FourCC("DXT1"), FORMAT_DXT1},
    {FourCC("DXT3"), FORMAT_DXT3},
    {FourCC("DXT5"), FORMAT_DXT5},
    {FourCC("ATI1"), FORMAT_ATI1N},
    {FourCC("BC4U"), FORMAT_ATI1N},
    {FourCC("ATI2"), FORMAT_ATI2N},
    {FourCC("BC5U"), FORMAT_ATI2N},
    {34, FORMAT_RG16},
    {36, FORMAT_RGBA16},
    {111, FORMAT_R16F},
    {112, FORMAT_RG16F},
    {113, FORMAT_RGBA16F},
    {114, FORMAT_R32F},
    {115, FORMAT_RG32F},
    {116, FORMAT_RGBA32F},
};

constexpr FormatRow dxgiFormats[] = {
    {2, FORMAT_RGBA32F},  {6, FORMAT_RGB32F},    {10, FORMAT_RGBA16F}, {11, FORMAT_RGBA16}, {16, FORMAT_RG32F},
    {24, FORMAT_RGB10A2}, {26, FORMAT_RG11B10F}, {28, FORMAT_RGBA8},   {34, FORMAT_RG16F},  {35, FORMAT_RG16},
    {41, FORMAT_R32F},    {49, FORMAT_RG8},      {54, FORMAT_R16F},    {56, FORMAT_R16},    {61, FORMAT_R8},
    {67, FORMAT_RGB9E5},  {71, FORMAT_DXT1},     {74, FORMAT_DXT3},    {77, FORMAT_DXT5},   {80, FORMAT_ATI1N},
    {83, FORMAT_ATI2N},   {87, FORMAT_BGRA8},    {95, FORMAT_BC6H},    {98, FORMAT_BC7},
};

template <size_t Count>
EFormat FindFormat(const FormatRow (&rows)[Count], uint32_t code)
{
    const auto* row = std::find_if(rows, rows + Count, [code](const FormatRow& r) { return r.code == code; });
    return row == rows + Count ? FORMAT_MAX : row->format;
}

EFormat FindMaskFormat(const Header& header)
{
    switch (header.bitCount) {
    case 8:
        return FORMAT_R8;
    case 16:
        return header.alphaMask == 0xf000   ? FORMAT_RGBA4
               : header.alphaMask == 0xff00 ? FORMAT_RG8
               : header.blueMask == 31      ? FORMAT_RGB565
                                            : FORMAT_R16;
    case 24:
        return header.blueMask == 255 ? FORMAT_BGR8 : FORMAT_RGB8;
    case 32:
        return header.redMask == 0x3ff00000 ? FORMAT_RGB10A2 : header.blueMask == 255 ? FORMAT_BGRA8 : FORMAT_RGBA8;
    default:
        return FORMAT_MAX;
    }
}

EDDSResult FindFileFormat(const Header& header, qs::MemReadStream& stream, EFormat& format)
{
    format = FindFormat(fourCCFormats, header.fourCC);
    if (format == FORMAT_MAX && header.fourCC == fourCCDx10) {
        ExtendedHeader extended;
        if (!stream.ReadValue(extended))
            return DDS_READ_ERROR;
        format = FindFormat(dxgiFormats, extended.dxgiFormat);
    } else if (format == FORMAT_MAX) {
        format = FindMaskFormat(header);
    }
    return format == FORMAT_MAX ? DDS_UNKNOWN_FORMAT : DDS_OK;
}

EFormat ReplaceTwice(EFormat format, const FormatReplacements& replacements)
{
    static constexpr FormatReplacement turned[] = {{FORMAT_BGR8, FORMAT_RGB8}, {FORMAT_BGRA8, FORMAT_RGBA8}};
    return ReplaceFormat(ReplaceFormat(format, turned), replacements);
}

int64_t CountChain(int64_t width, int64_t height, int64_t depth)
{
    int64_t count = 1;
    for (int64_t longest = std::max({width, height, depth}); longest > 1; longest >>= 1)
        ++count;
    return count;
}

void Describe(const Header& header, Image& image)
{
    image.flags = (header.caps2 & caps2Cube) != 0 ? image.flags | IMAGE_FLAG_CUBE : image.flags & ~IMAGE_FLAG_CUBE;
    image.width = header.width;
    image.height = header.height;
    image.arraySize = 1;
    image.depth = std::max(header.depth, 1u);
    image.mipCount =
        std::min<int64_t>(std::max(header.mipCount, 1u), CountChain(image.width, image.height, image.depth));
    image.originalMipCount = image.mipCount;
}

int64_t CountSkippedLevels(const Image& image, const ImageLoadParams& params)
{
    const bool isSmall = image.width <= smallImage && image.height <= smallImage;
    if ((params.flags & IMAGE_LOAD_KEEP_SMALL_MIPS) != 0 && isSmall)
        return 0;
    int64_t levels = std::min(std::max(params.mipSkip, int64_t(0)), image.originalMipCount - 1);
    while (levels > 0 && (image.width >> levels < leastSkippedSize || image.height >> levels < leastSkippedSize))
        --levels;
    return levels;
}

// Takes the levels off the image's description and gives the bytes that they have in the file.
uint64_t SkipLevels(Image& image, int64_t levels, EFormat fileFormat)
{
    if (levels == 0)
        return 0;
    const uint64_t bytes = CalculateMipMapSize(image, 0, levels, fileFormat);
    image.mipCount -= levels;
    image.width >>= levels;
    image.height >>= levels;
    image.depth = std::max(image.depth >> levels, int64_t(1));
    return bytes;
}

bool ReadPixels(qs::MemReadStream& stream, EFormat fileFormat, uint64_t skippedBytes, Image& image)
{
    const uint64_t bytes = CalculateMipMapSize(image, 0, image.mipCount, fileFormat);
    const bool isEmpty = image.width == 0 || image.height == 0;
    if (isEmpty || details::AddSaturated(bytes, skippedBytes) > stream.GetRemainder().GetSize())
        return false;
    PixelWriter writer = CreatePixelWriter(image, fileFormat, 0);
    if (!writer.IsUsable())
        return false;
    if (!image.IsCube())
        return stream.Skip(skippedBytes) && writer.WriteAll(stream);
    for (int64_t face = 0; face < cubeFaces; ++face) {
        if (!stream.Skip(skippedBytes / cubeFaces) || !writer.WriteChain(stream))
            return false;
    }
    return true;
}

} // namespace

EDDSResult LoadCommon(qs::MemReadStream& stream, const ImageLoadParams& params, Image& image)
{
    qs::HProfileSample sample("gw::image::dds::LoadCommon");
    Header header;
    if (!stream.IsBound() || !stream.ReadValue(header))
        return DDS_READ_ERROR;
    if (header.magic != magicDds)
        return header.magic == magicGnf ? DDS_GNF : header.magic == magicDfvn ? DDS_DFVN : DDS_READ_ERROR;
    Describe(header, image);
    if (header.fourCC == fourCCXbox)
        return DDS_XBOX;
    EFormat fileFormat;
    if (const EDDSResult result = FindFileFormat(header, stream, fileFormat); result != DDS_OK)
        return result;
    image.format = ReplaceTwice(fileFormat, params.formatReplacements);
    const uint64_t skippedBytes = SkipLevels(image, CountSkippedLevels(image, params), fileFormat);
    if ((params.flags & IMAGE_LOAD_HEADER_ONLY) != 0)
        return DDS_OK;
    return ReadPixels(stream, fileFormat, skippedBytes, image) ? DDS_OK : DDS_READ_ERROR;
}

bool ValidateError(EDDSResult result)
{
    constexpr char function[] = "gw::image::dds::ValidateError";
    switch (result) {
    case DDS_OK:
        return true;
    case DDS_GNF:
        QS_LOG_ASSERT(fileName, function, "Trying to load GNF DDS on non orbis platform!");
        return false;
    case DDS_XBOX:
        QS_LOG_ASSERT(fileName, function, "Trying to load XBOX DDS on non xbox platform!");
        return false;
    case DDS_DFVN:
        ReportReaderError(function, "DDS", "the magic \"DFvN\" names a kind of file that cannot be read");
        return false;
    case DDS_READ_ERROR:
        QS_LOG_ASSERT(fileName, function, "Error reading dds data!");
        return false;
    case DDS_UNKNOWN_FORMAT:
        return false;
    }
    qs::AbortNotReached(fileName, __LINE__, function);
}

} // namespace dds

bool LoadDds(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image)
{
    qs::MemReadStream stream(file);
    return dds::ValidateError(dds::LoadCommon(stream, params, image));
}

} // namespace gw::image
