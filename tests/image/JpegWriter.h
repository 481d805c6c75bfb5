// Writes and reads JPEG files for tests, straight through libjpeg.
#pragma once

#include "TestBytes.h"

#include <cstdio>
#include <cstdlib>

// libjpeg's header needs the two above it.
#include <jpeglib.h>

struct JpegPicture
{
    int width = 0;
    int height = 0;
    int components = 3;
    J_COLOR_SPACE space = JCS_RGB;
    J_COLOR_SPACE fileSpace = JCS_UNKNOWN; // JCS_UNKNOWN leaves the choice to libjpeg
    bool progressive = false;
};

// A smooth picture with some detail.
inline ByteVector WriteJpeg(const JpegPicture& picture)
{
    jpeg_compress_struct jpeg;
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &data, &size);
    jpeg.image_width = picture.width;
    jpeg.image_height = picture.height;
    jpeg.input_components = picture.components;
    jpeg.in_color_space = picture.space;
    jpeg_set_defaults(&jpeg);
    if (picture.fileSpace != JCS_UNKNOWN)
        jpeg_set_colorspace(&jpeg, picture.fileSpace);
    if (picture.progressive)
        jpeg_simple_progression(&jpeg);
    jpeg_start_compress(&jpeg, TRUE);
    ByteVector row(picture.width * picture.components);
    for (int y = 0; y < picture.height; ++y) {
        for (size_t x = 0; x < row.size(); ++x)
            row[x] = static_cast<unsigned char>(x * 3 + y * 2 + (x * y % 7) * 4);
        unsigned char* rows = row.data();
        jpeg_write_scanlines(&jpeg, &rows, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    ByteVector file(data, data + size);
    std::free(data);
    return file;
}

// The pixels as libjpeg gives them by default. The file must be sound.
inline ByteVector DecodeJpeg(const ByteVector& file)
{
    jpeg_decompress_struct jpeg;
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, file.data(), file.size());
    jpeg_read_header(&jpeg, TRUE);
    jpeg_start_decompress(&jpeg);
    const size_t rowBytes = jpeg.output_width * jpeg.output_components;
    ByteVector pixels(rowBytes * jpeg.output_height);
    while (jpeg.output_scanline < jpeg.output_height) {
        unsigned char* row = pixels.data() + jpeg.output_scanline * rowBytes;
        jpeg_read_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
    return pixels;
}

// Where a marker's 0xff stands, from a place on; the end when there is none.
inline size_t FindJpegMarker(const ByteVector& file, unsigned char marker, size_t from = 0)
{
    size_t at = from;
    while (at + 1 < file.size() && (file[at] != 0xff || file[at + 1] != marker))
        ++at;
    return at;
}
