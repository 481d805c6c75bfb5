// The JPEG reader, on libjpeg.
#include "Gleamwork/image/ImageUtils.h"
#include "Gleamwork/image/win32/ImageReader.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <qs/ScratchMemory.h>

// libjpeg's header needs the two above it.
#include <jpeglib.h>

#include <jerror.h>

namespace gw::image {
namespace {

using Bytes = qs::MemView<unsigned char>;
using ConstBytes = qs::MemView<const unsigned char>;

// A picture takes at least a bit for 64 pixels when it is Huffman-coded; arithmetic coding can do with less.
constexpr uint64_t huffmanPixelsPerByte = 512;
constexpr uint64_t arithmeticPixelsPerByte = 64 * huffmanPixelsPerByte;
// A progressive file may go over the picture again and again with a few bytes; honest ones need about ten scans.
constexpr int maxScans = 100;

void Report(const char* reason)
{
    ReportReaderError("gw::image::LoadJpeg", "JPEG", reason);
}

// libjpeg knows only the first member.
struct ErrorManager
{
    jpeg_error_mgr manager;
    std::jmp_buf jump;
};

void OutputMessage(j_common_ptr jpeg)
{
    char message[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, message);
    Report(message);
}

[[noreturn]] void OnJpegError(j_common_ptr jpeg)
{
    jpeg->err->output_message(jpeg);
    std::longjmp(reinterpret_cast<ErrorManager*>(jpeg->err)->jump, 1);
}

// The library would go on after all of these, with grey where pixels are missing.
bool IsDamage(int code)
{
    return code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE ||
           code == JWRN_ARITH_BAD_CODE || code == JWRN_MUST_RESYNC;
}

void OnJpegMessage(j_common_ptr jpeg, int level)
{
    if (level < 0 && IsDamage(jpeg->err->msg_code))
        jpeg->err->error_exit(jpeg);
}

void CountScans(j_common_ptr jpeg)
{
    if (jpeg->is_decompressor && reinterpret_cast<j_decompress_ptr>(jpeg)->input_scan_number > maxScans) {
        Report("it has more than 100 scans");
        std::longjmp(reinterpret_cast<ErrorManager*>(jpeg->err)->jump, 1);
    }
}

// libjpeg leaves a failed call by a jump to the innermost Try, which then gives false. Only libjpeg's own frames, the
// callbacks above and `call` are jumped over: `call` must not hold anything with a destructor.
class JpegFile
{
public:
    explicit JpegFile(const ConstBytes& file)
    {
        m_jpeg.err = jpeg_std_error(&m_errors.manager);
        m_errors.manager.error_exit = OnJpegError;
        m_errors.manager.output_message = OutputMessage;
        m_errors.manager.emit_message = OnJpegMessage;
        m_progress.progress_monitor = CountScans;
        m_good = Try([&] {
            jpeg_CreateDecompress(&m_jpeg, JPEG_LIB_VERSION, sizeof m_jpeg);
            m_jpeg.progress = &m_progress;
            jpeg_mem_src(&m_jpeg, file.GetData(), static_cast<unsigned long>(file.GetSize()));
            jpeg_read_header(&m_jpeg, TRUE);
            jpeg_calc_output_dimensions(&m_jpeg);
        });
    }
    ~JpegFile() { jpeg_destroy_decompress(&m_jpeg); }
    JpegFile(const JpegFile&) = delete;
    JpegFile& operator=(const JpegFile&) = delete;

    bool IsGood() const { return m_good; }
    jpeg_decompress_struct& Jpeg() { return m_jpeg; }

    template <class Call>
    __attribute__((noinline)) bool Try(const Call& call)
    {
        if (setjmp(m_errors.jump) != 0)
            return false;
        call();
        return true;
    }

    // Lets libjpeg widen RGB to RGBA by itself, which spares a pass over every row. The pixels are the same.
    bool WidenToRgba()
    {
#if defined(JCS_ALPHA_EXTENSIONS)
        if (m_jpeg.out_color_space != JCS_RGB)
            return false;
        m_jpeg.out_color_space = JCS_EXT_RGBA;
        return true;
#else
        return false;
#endif
    }

    // Fills all rows, however few the library gives at a time.
    bool ReadRows(unsigned char** rows, JDIMENSION count)
    {
        JDIMENSION done = 0;
        const bool good = Try([&] {
            while (done < count) {
                const JDIMENSION given = jpeg_read_scanlines(&m_jpeg, rows + done, count - done);
                if (given == 0)
                    return;
                done += given;
            }
        });
        return good && done == count;
    }

private:
    jpeg_decompress_struct m_jpeg = {};
    ErrorManager m_errors = {};
    jpeg_progress_mgr m_progress = {};
    bool m_good = false;
};

EFormat FormatOfComponents(int components)
{
    switch (components) {
    case 1:
        return FORMAT_R8;
    case 3:
        return FORMAT_RGB8;
    case 4:
        return FORMAT_RGBA8;
    default:
        return FORMAT_MAX;
    }
}

bool ReadRows(JpegFile& file, EFormat source, Image& image)
{
    PixelWriter writer = CreatePixelWriter(image, source, 0);
    if (!writer.IsUsable()) {
        Report("its pixels cannot be held");
        return false;
    }
    const bool straight = !writer.NeedsConversion();
    const uint64_t rowBytes = writer.GetSourceRowSize();
    qs::ScratchMemoryFrame frame = qs::ScratchMemory::Request("Gleamwork/image/win32/ImageFileFormatJPEG", __LINE__);
    const Bytes scratch = frame.AllocateBytes(rowBytes);
    for (int64_t y = 0; y < image.height; ++y) {
        unsigned char* row = straight ? writer.Advance(rowBytes).GetData() : scratch.GetData();
        if (row == nullptr || !file.ReadRows(&row, 1))
            return false;
        if (!straight)
            writer.Write(ConstBytes(row, rowBytes));
    }
    return file.Try([&] { jpeg_finish_decompress(&file.Jpeg()); });
}

bool CanHoldPixels(const jpeg_decompress_struct& jpeg, uint64_t fileBytes)
{
    const uint64_t pixels = static_cast<uint64_t>(jpeg.output_width) * jpeg.output_height;
    if (pixels <= fileBytes * (jpeg.arith_code ? arithmeticPixelsPerByte : huffmanPixelsPerByte))
        return true;
    char reason[96];
    std::snprintf(reason, sizeof reason, "the file is too short for %u by %u pixels", jpeg.output_width,
                  jpeg.output_height);
    Report(reason);
    return false;
}

} // namespace

bool LoadJpeg(const ConstBytes& file, const ImageLoadParams& params, Image& image)
{
    JpegFile jpeg(file);
    if (!jpeg.IsGood())
        return false;
    image.width = jpeg.Jpeg().output_width;
    image.height = jpeg.Jpeg().output_height;
    image.depth = 1;
    image.mipCount = 1;
    image.arraySize = 1;
    const EFormat source = FormatOfComponents(jpeg.Jpeg().num_components);
    if (source == FORMAT_MAX) {
        Report("it has neither 1, 3 nor 4 components");
        return false;
    }
    image.format = ReplaceFormat(source, params.formatReplacements);
    if ((params.flags & IMAGE_LOAD_HEADER_ONLY) != 0)
        return true;
    return CanHoldPixels(jpeg.Jpeg(), file.GetSize()) && jpeg.Try([&] { jpeg_start_decompress(&jpeg.Jpeg()); }) &&
           ReadRows(jpeg, source, image);
}

} // namespace gw::image
