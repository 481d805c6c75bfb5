// PNG files.
#include "ByteImage.h"
#include "Results.h"

#include <csetjmp>
#include <new>
#include <png.h>

namespace DirectX {

namespace {

void AppendBytes(png_structp png, png_bytep data, png_size_t size)
{
    auto* bytes = static_cast<std::vector<std::uint8_t>*>(png_get_io_ptr(png));
    // An exception must not cross the library's C frames.
    try {
        bytes->insert(bytes->end(), data, data + size);
    } catch (const std::bad_alloc&) {
        png_error(png, "no memory");
    }
}

void Flush(png_structp) {}
void IgnoreWarning(png_structp, png_const_charp) {}
void JumpBack(png_structp png, png_const_charp)
{
    png_longjmp(png, 1);
}

/// All that stands between setjmp and a jump: no object here has a destructor.
bool WriteRows(png_structp png, png_infop info, const ByteImage& image)
{
    if (setjmp(png_jmpbuf(png)))
        return false;
    const int color = image.channels == 1   ? PNG_COLOR_TYPE_GRAY
                      : image.channels == 3 ? PNG_COLOR_TYPE_RGB
                                            : PNG_COLOR_TYPE_RGB_ALPHA;
    png_set_IHDR(png, info, static_cast<png_uint_32>(image.width), static_cast<png_uint_32>(image.height),
                 image.is16Bit ? 16 : 8, color, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (image.isSrgb)
        png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    png_set_compression_level(png, 4);
    png_write_info(png, info);
    if (image.is16Bit)
        png_set_swap(png);
    for (std::size_t y = 0; y < image.height; ++y)
        png_write_row(png, image.Row(y));
    png_write_end(png, info);
    return true;
}

} // namespace

HRESULT EncodePng(const ByteImage& image, std::vector<std::uint8_t>& bytes)
{
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, JumpBack, IgnoreWarning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (info)
        png_set_write_fn(png, &bytes, AppendBytes, Flush);
    const bool isWritten = info && WriteRows(png, info, image);
    png_destroy_write_struct(&png, &info);
    return isWritten ? S_OK : E_OUTOFMEMORY;
}

} // namespace DirectX
