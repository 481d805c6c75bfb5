// Writes PNG files for tests, straight through libpng.
#pragma once

#include "TestBytes.h"

#include <png.h>
#include <stdexcept>

struct PngPicture
{
    int width = 0;
    int height = 0;
    int bitDepth = 8;
    int colourType = PNG_COLOR_TYPE_RGB;
    bool interlaced = false;
    ByteVector samples;       // rows without padding, one sample after the other; 16 bits as two bytes, high byte first
    ByteVector palette;       // R, G, B
    bool transparent = false; // adds a transparency chunk
};

// Samples below 8 bits are given one a byte and packed here.
inline ByteVector WritePng(const PngPicture& picture)
{
    ByteVector file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &file,
        [](png_structp writer, png_bytep data, size_t size) {
            auto* bytes = static_cast<ByteVector*>(png_get_io_ptr(writer));
            bytes->insert(bytes->end(), data, data + size);
        },
        [](png_structp) {});
    png_set_IHDR(png, info, picture.width, picture.height, picture.bitDepth, picture.colourType,
                 picture.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    std::vector<png_color> palette;
    for (size_t i = 0; i + 2 < picture.palette.size(); i += 3)
        palette.push_back({picture.palette[i], picture.palette[i + 1], picture.palette[i + 2]});
    if (!palette.empty())
        png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
    png_byte alpha = 7;
    png_color_16 key = {};
    if (picture.transparent)
        png_set_tRNS(png, info, &alpha, palette.empty() ? 0 : 1, palette.empty() ? &key : nullptr);
    png_set_check_for_invalid_index(png, 0); // the reader is to see samples beyond the palette
    png_write_info(png, info);
    png_set_packing(png);
    const int passes = png_set_interlace_handling(png);
    const size_t rowBytes = picture.samples.size() / picture.height;
    for (int pass = 0; pass < passes; ++pass) {
        for (int y = 0; y < picture.height; ++y)
            png_write_row(png, const_cast<png_bytep>(picture.samples.data()) + y * rowBytes);
    }
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return file;
}
