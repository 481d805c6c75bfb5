// JPEG files.
#include "ByteImage.h"
#include "Results.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
// The published base types and the codec both define INT32; this guard of the codec's leaves it to the former.
#define XMD_H
#include <jpeglib.h>

namespace DirectX {

namespace {

constexpr int Quality = 95;

struct ErrorManager
{
    jpeg_error_mgr base;
    std::jmp_buf jump;
};

void JumpBack(j_common_ptr codec)
{
    std::longjmp(reinterpret_cast<ErrorManager*>(codec->err)->jump, 1);
}

void BeSilent(j_common_ptr) {}

/// All that stands between setjmp and a jump: no object here has a destructor.
bool WriteRows(jpeg_compress_struct& codec, ErrorManager& errors, const ByteImage& image, unsigned char** memory,
               unsigned long* size)
{
    if (setjmp(errors.jump))
        return false;
    jpeg_create_compress(&codec);
    jpeg_mem_dest(&codec, memory, size);
    codec.image_width = static_cast<JDIMENSION>(image.width);
    codec.image_height = static_cast<JDIMENSION>(image.height);
    codec.input_components = image.channels;
    codec.in_color_space = image.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, Quality, TRUE);
    // Colour at full resolution: screenshots have sharp coloured edges.
    codec.comp_info[0].h_samp_factor = codec.comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(&codec, TRUE);
    while (codec.next_scanline < codec.image_height) {
        auto* row = const_cast<JSAMPROW>(image.Row(codec.next_scanline));
        jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
    return true;
}

} // namespace

HRESULT EncodeJpeg(const ByteImage& image, std::vector<std::uint8_t>& bytes)
{
    jpeg_compress_struct codec = {};
    ErrorManager errors = {};
    codec.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = JumpBack;
    errors.base.output_message = BeSilent;
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    const bool isWritten = WriteRows(codec, errors, image, &memory, &size);
    jpeg_destroy_compress(&codec);
    if (isWritten)
        bytes.assign(memory, memory + size);
    std::free(memory);
    return isWritten ? S_OK : E_OUTOFMEMORY;
}

} // namespace DirectX
