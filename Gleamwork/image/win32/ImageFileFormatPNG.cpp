// The PNG reader, on libpng.
#include "Gleamwork/image/ImageUtils.h"
#include "Gleamwork/image/win32/ImageReader.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <png.h>
#include <qs/MemStream.h>
#include <qs/ScratchMemory.h>

namespace gw::image {
namespace {

using Bytes = qs::MemView<unsigned char>;
using ConstBytes = qs::MemView<const unsigned char>;

constexpr int signatureBytes = 8;
constexpr int interlacePasses = 7;
// No deflate stream grows further than this when it is inflated.
constexpr uint64_t largestExpansion = 1032;

void Report(const char* reason)
{
    ReportReaderError("gw::image::LoadPng", "PNG", reason);
}

png_voidp AllocateForPng(png_structp, png_alloc_size_t size)
{
    qs::MemoryTrackerSample sample("gw::image::png");
    return qs::MemoryManager::Allocate(size, qs::AllocType::Raw, qs::DefaultMemoryTag, 0, true);
}

void FreeForPng(png_structp, png_voidp block)
{
    qs::MemoryTrackerSample sample("gw::image::png");
    qs::MemoryManager::Deallocate(block, qs::AllocType::FreeRaw, qs::DefaultMemoryTag, true);
}

[[noreturn]] void OnPngError(png_structp png, png_const_charp message)
{
    Report(message);
    png_longjmp(png, 1);
}

// Warnings are about things that the picture does without.
void OnPngWarning(png_structp, png_const_charp) {}

void ReadForPng(png_structp png, png_bytep target, size_t size)
{
    auto* stream = static_cast<qs::MemReadStream*>(png_get_io_ptr(png));
    const ConstBytes bytes = stream->Read(size);
    if (bytes.GetData() == nullptr)
        png_error(png, "the file is truncated");
    std::memcpy(target, bytes.GetData(), size);
}

// libpng leaves a failed call by a jump to the innermost Try, which then gives false. Only libpng's own frames, the
// callbacks above and `call` are jumped over: `call` must not hold anything with a destructor.
class PngFile
{
public:
    explicit PngFile(qs::MemReadStream& stream)
    {
        m_png = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, nullptr, OnPngError, OnPngWarning, nullptr,
                                         AllocateForPng, FreeForPng);
        if (!m_png)
            return;
        png_set_read_fn(m_png, &stream, ReadForPng);
        png_set_sig_bytes(m_png, signatureBytes);
        m_info = png_create_info_struct(m_png);
    }
    ~PngFile()
    {
        png_destroy_info_struct(m_png, &m_info);
        png_destroy_read_struct(&m_png, nullptr, nullptr);
    }
    PngFile(const PngFile&) = delete;
    PngFile& operator=(const PngFile&) = delete;

    bool IsGood() const { return m_png && m_info; }
    png_structp Png() const { return m_png; }
    png_infop Info() const { return m_info; }

    template <class Call>
    __attribute__((noinline)) bool Try(const Call& call) const
    {
        if (setjmp(png_jmpbuf(m_png)) != 0)
            return false;
        call();
        return true;
    }

    bool ReadRow(unsigned char* row) const
    {
        return Try([&] { png_read_row(m_png, row, nullptr); });
    }

private:
    png_structp m_png = nullptr;
    png_infop m_info = nullptr;
};

struct PngHeader
{
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    int bitDepth = 0;
    int colourType = 0;
    int interlace = 0;
    int channels = 0;
    uint64_t rowBytes = 0;

    bool IsPalette() const { return colourType == PNG_COLOR_TYPE_PALETTE; }
    // Rows that hold something else than pixels of the source format.
    bool NeedsUnpacking() const { return IsPalette() || bitDepth < 8; }
};

EFormat EstablishFormat(const PngHeader& header)
{
    if (header.IsPalette())
        return header.channels == 1 && header.bitDepth <= 8 ? FORMAT_RGB8 : FORMAT_MAX;
    constexpr EFormat shallow[] = {FORMAT_R8, FORMAT_RG8, FORMAT_RGB8, FORMAT_RGBA8};
    constexpr EFormat deep[] = {FORMAT_R16, FORMAT_RG16, FORMAT_RGB16, FORMAT_RGBA16};
    if (header.channels < 1 || header.channels > 4)
        return FORMAT_MAX;
    return (header.bitDepth <= 8 ? shallow : deep)[header.channels - 1];
}

// Turns the samples of palettes and of greys below 8 bits into pixels.
class Unpacker
{
public:
    Unpacker(const PngFile& file, const PngHeader& header)
        : m_bitDepth(header.bitDepth), m_channels(header.IsPalette() ? 3 : 1)
    {
        if (header.IsPalette())
            FillFromPalette(file);
        else if (header.bitDepth < 8)
            FillWithGreys();
    }

    // The first sample stands in the highest bits of a byte.
    void Unpack(const unsigned char* row, uint64_t width, unsigned char* pixels) const
    {
        const int mask = (1 << m_bitDepth) - 1;
        for (uint64_t x = 0; x < width; ++x, pixels += m_channels) {
            const uint64_t bit = x * m_bitDepth;
            const int sample = row[bit / 8] >> (8 - m_bitDepth - bit % 8) & mask;
            std::memcpy(pixels, m_colours[sample], m_channels);
        }
    }

private:
    void FillFromPalette(const PngFile& file)
    {
        png_colorp palette = nullptr;
        int count = 0;
        png_get_PLTE(file.Png(), file.Info(), &palette, &count);
        for (int i = 0; i < std::min(count, 256); ++i) {
            const unsigned char colour[3] = {palette[i].red, palette[i].green, palette[i].blue};
            std::memcpy(m_colours[i], colour, sizeof colour);
        }
    }

    void FillWithGreys()
    {
        const int steps = (1 << m_bitDepth) - 1;
        for (int sample = 0; sample <= steps; ++sample)
            m_colours[sample][0] = static_cast<unsigned char>(sample * 255 / steps);
    }

    int m_bitDepth;
    int m_channels;
    unsigned char m_colours[256][3] = {};
};

uint32_t WriterFlags(const PngHeader& header)
{
    return header.bitDepth > 8 ? uint32_t(PIXEL_WRITER_SWAP) : 0;
}

bool ReadPlainRows(const PngFile& file, const PngHeader& header, PixelWriter& writer, Bytes scratch)
{
    const bool straight = !writer.NeedsConversion();
    for (png_uint_32 y = 0; y < header.height; ++y) {
        unsigned char* row = straight ? writer.Advance(header.rowBytes).GetData() : scratch.GetData();
        if (row == nullptr || !file.ReadRow(row))
            return false;
        if (!straight)
            writer.Write(ConstBytes(row, header.rowBytes));
    }
    return true;
}

bool ReadUnpackedRows(const PngFile& file, const PngHeader& header, PixelWriter& writer, Bytes scratch, Bytes pixels)
{
    const Unpacker unpacker(file, header);
    for (png_uint_32 y = 0; y < header.height; ++y) {
        if (!file.ReadRow(scratch.GetData()))
            return false;
        unpacker.Unpack(scratch.GetData(), header.width, pixels.GetData());
        writer.Write(ConstBytes(pixels.GetData(), writer.GetSourceRowSize()));
    }
    return true;
}

// One row of a pass, in the target's format, to the places of its pixels.
void PlacePassRow(const PngHeader& header, int pass, png_uint_32 passRow, uint64_t pixelBytes,
                  const unsigned char* from, unsigned char* image)
{
    const uint64_t y = PNG_ROW_FROM_PASS_ROW(passRow, pass);
    const uint64_t columns = PNG_PASS_COLS(header.width, pass);
    unsigned char* row = image + y * header.width * pixelBytes;
    for (uint64_t column = 0; column < columns; ++column) {
        const uint64_t x = PNG_COL_FROM_PASS_COL(column, pass);
        std::memcpy(row + x * pixelBytes, from + column * pixelBytes, pixelBytes);
    }
}

// The seven passes are small pictures of their own; together they cover every pixel once.
bool ReadInterlacedRows(const PngFile& file, const PngHeader& header, EFormat source, Image& image, Bytes scratch,
                        Bytes pixels, Bytes target)
{
    const Unpacker unpacker(file, header);
    const PixelConverter convert = GetPixelConverter(source, image.format, header.bitDepth > 8);
    const uint64_t sourceBytes = GetFormatDescription(source).elementBytes;
    const uint64_t targetBytes = GetFormatDescription(image.format).elementBytes;
    const unsigned char* decoded = header.NeedsUnpacking() ? pixels.GetData() : scratch.GetData();
    for (int pass = 0; pass < interlacePasses; ++pass) {
        const png_uint_32 columns = PNG_PASS_COLS(header.width, pass);
        const png_uint_32 rows = columns == 0 ? 0 : PNG_PASS_ROWS(header.height, pass);
        for (png_uint_32 row = 0; row < rows; ++row) {
            if (!file.ReadRow(scratch.GetData()))
                return false;
            if (header.NeedsUnpacking())
                unpacker.Unpack(scratch.GetData(), columns, pixels.GetData());
            convert(Bytes(target.GetData(), columns * targetBytes), ConstBytes(decoded, columns * sourceBytes));
            PlacePassRow(header, pass, row, targetBytes, target.GetData(), image.GetPixels());
        }
    }
    return true;
}

bool ReadRows(const PngFile& file, const PngHeader& header, EFormat source, Image& image)
{
    PixelWriter writer = CreatePixelWriter(image, source, WriterFlags(header));
    if (!writer.IsUsable()) {
        Report("its pixels cannot be held");
        return false;
    }
    qs::ScratchMemoryFrame frame = qs::ScratchMemory::Request("Gleamwork/image/win32/ImageFileFormatPNG", __LINE__);
    const Bytes scratch = frame.AllocateBytes(header.rowBytes);
    const Bytes pixels = frame.AllocateBytes(writer.GetSourceRowSize());
    const Bytes target = frame.AllocateBytes(header.width * GetFormatDescription(image.format).elementBytes);
    if (scratch.IsNull() || pixels.IsNull() || target.IsNull()) {
        Report("a row of it cannot be held");
        return false;
    }
    if (header.interlace == PNG_INTERLACE_NONE)
        return header.NeedsUnpacking() ? ReadUnpackedRows(file, header, writer, scratch, pixels)
                                       : ReadPlainRows(file, header, writer, scratch);
    return ReadInterlacedRows(file, header, source, image, scratch, pixels, target);
}

bool ReadHeader(const PngFile& file, PngHeader& header)
{
    return file.Try([&] {
        png_read_info(file.Png(), file.Info());
        png_get_IHDR(file.Png(), file.Info(), &header.width, &header.height, &header.bitDepth, &header.colourType,
                     &header.interlace, nullptr, nullptr);
        header.channels = png_get_channels(file.Png(), file.Info());
        header.rowBytes = png_get_rowbytes(file.Png(), file.Info());
    });
}

bool CanHoldPixels(const PngHeader& header, uint64_t fileBytes)
{
    if (header.rowBytes * header.height <= fileBytes * largestExpansion)
        return true;
    char reason[96];
    std::snprintf(reason, sizeof reason, "the file is too short for %u by %u pixels", header.width, header.height);
    Report(reason);
    return false;
}

} // namespace

bool IsPng(const ConstBytes& file)
{
    return file.GetSize() >= signatureBytes && png_sig_cmp(file.GetData(), 0, signatureBytes) == 0;
}

bool LoadPng(const ConstBytes& file, const ImageLoadParams& params, Image& image)
{
    if (!IsPng(file))
        return false;
    qs::MemReadStream stream(file);
    stream.Skip(signatureBytes);
    PngFile png(stream);
    PngHeader header;
    if (!png.IsGood() || !ReadHeader(png, header))
        return false;
    image.width = header.width;
    image.height = header.height;
    image.depth = 1;
    image.mipCount = 1;
    image.arraySize = 1;
    const EFormat source = EstablishFormat(header);
    image.format = ReplaceFormat(source, params.formatReplacements);
    if ((params.flags & IMAGE_LOAD_HEADER_ONLY) != 0)
        return true;
    return source < FORMAT_MAX && CanHoldPixels(header, file.GetSize()) && ReadRows(png, header, source, image);
}

} // namespace gw::image
