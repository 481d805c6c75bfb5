// Making the photograph's files, and reading them with the codecs alone.
#include "Photograph.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <png.h>
#include <random>

// libjpeg's header needs <cstdio>.
#include <jpeglib.h>

namespace {

constexpr const char* samplePath = "/usr/share/glmark2/textures/terrain-backgrounddetailed6.jpg";
constexpr int rowBytes = photographSide * 3;

// Calls `useRow(y, row, width)` for every row.
template <class UseRow>
void ForEachJpegRow(const ByteVector& file, const UseRow& useRow)
{
    jpeg_decompress_struct jpeg;
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&jpeg);
    jpeg_mem_src(&jpeg, file.data(), file.size());
    jpeg_read_header(&jpeg, TRUE);
    jpeg.out_color_space = JCS_RGB;
    jpeg_start_decompress(&jpeg);
    ByteVector row(jpeg.output_width * 3);
    while (jpeg.output_scanline < jpeg.output_height) {
        unsigned char* rows = row.data();
        jpeg_read_scanlines(&jpeg, &rows, 1);
        useRow(jpeg.output_scanline - 1, row, jpeg.output_width);
    }
    jpeg_finish_decompress(&jpeg);
    jpeg_destroy_decompress(&jpeg);
}

void FillWithNoise(ByteVector& pixels)
{
    std::mt19937 random(1);
    int value = 128;
    for (unsigned char& pixel : pixels) {
        value = (value * 15 + static_cast<int>(random() % 256)) / 16;
        pixel = static_cast<unsigned char>(value);
    }
}

} // namespace

ByteVector MakePhotograph()
{
    ByteVector pixels(photographSide * rowBytes);
    std::ifstream stream(samplePath, std::ios::binary);
    const ByteVector sample((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (sample.empty()) {
        FillWithNoise(pixels);
        return pixels;
    }
    ForEachJpegRow(sample, [&](unsigned y, const ByteVector& row, unsigned width) {
        for (unsigned x = 0; y < photographSide && x < photographSide; ++x)
            std::memcpy(&pixels[y * rowBytes + x * 3], &row[x % width * 3], 3);
        // The rows below repeat the picture; each of them is filled from the last row that lies a period above.
    });
    int height = 0;
    ForEachJpegRow(sample, [&](unsigned y, const ByteVector&, unsigned) { height = static_cast<int>(y) + 1; });
    for (int y = height; y < photographSide; ++y)
        std::memcpy(&pixels[y * rowBytes], &pixels[(y - height) * rowBytes], rowBytes);
    return pixels;
}

ByteVector EncodePng(const ByteVector& pixels)
{
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    image.width = image.height = photographSide;
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = 0;
    png_image_write_to_memory(&image, nullptr, &size, 0, pixels.data(), rowBytes, nullptr);
    ByteVector file(size);
    png_image_write_to_memory(&image, file.data(), &size, 0, pixels.data(), rowBytes, nullptr);
    file.resize(size);
    return file;
}

ByteVector EncodeJpeg(const ByteVector& pixels)
{
    jpeg_compress_struct jpeg;
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &data, &size);
    jpeg.image_width = jpeg.image_height = photographSide;
    jpeg.input_components = 3;
    jpeg.in_color_space = JCS_RGB;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 90, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < jpeg.image_height) {
        auto* row = const_cast<unsigned char*>(&pixels[jpeg.next_scanline * rowBytes]);
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    ByteVector file(data, data + size);
    std::free(data);
    return file;
}

ByteVector EncodeBmp(const ByteVector& pixels)
{
    const uint32_t numbers[] = {0, 0, 54, 40, photographSide, photographSide, 1 | 24 << 16, 0, 0, 0, 0, 0, 0};
    ByteVector file(54);
    file[0] = 'B';
    file[1] = 'M';
    std::memcpy(&file[2], numbers, sizeof numbers);
    file.insert(file.end(), pixels.begin(), pixels.end());
    return file;
}

namespace {

ByteVector TgaHeader(unsigned char type)
{
    ByteVector header(18);
    header[2] = type;
    header[13] = header[15] = photographSide / 256;
    header[16] = 24;
    return header;
}

} // namespace

ByteVector EncodeTga(const ByteVector& pixels)
{
    ByteVector file = TgaHeader(2);
    file.insert(file.end(), pixels.begin(), pixels.end());
    return file;
}

// Runs of two pixels or more, within a row; everything else in packets of at most 128 pixels.
ByteVector EncodeRunLengthTga(const ByteVector& pixels)
{
    ByteVector file = TgaHeader(10);
    const auto same = [&](size_t a, size_t b) { return std::memcmp(&pixels[a * 3], &pixels[b * 3], 3) == 0; };
    constexpr size_t pixelCount = photographSide * photographSide;
    for (size_t at = 0; at < pixelCount;) {
        const size_t most = std::min<size_t>(at + 128, at - at % photographSide + photographSide);
        size_t end = at + 1;
        while (end < most && same(at, end))
            ++end;
        const bool isRun = end - at > 1;
        while (!isRun && end < most && !same(end - 1, end))
            ++end;
        file.push_back(static_cast<unsigned char>(end - at - 1 + (isRun ? 128 : 0)));
        file.insert(file.end(), &pixels[at * 3], &pixels[at * 3] + (isRun ? 3 : (end - at) * 3));
        at = end;
    }
    return file;
}

void DecodePngRows(const ByteVector& file)
{
    struct Source
    {
        const unsigned char* at;
    } source{file.data()};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &source, [](png_structp reader, png_bytep target, size_t size) {
        auto* from = static_cast<Source*>(png_get_io_ptr(reader));
        std::memcpy(target, from->at, size);
        from->at += size;
    });
    png_read_info(png, info);
    ByteVector row(png_get_rowbytes(png, info));
    for (int y = 0; y < photographSide; ++y)
        png_read_row(png, row.data(), nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
}

void DecodeJpegRows(const ByteVector& file)
{
    ForEachJpegRow(file, [](unsigned, const ByteVector&, unsigned) {});
}
