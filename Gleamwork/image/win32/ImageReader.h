// What the readers of image files share: their form, and how they report.
#pragma once

#include "Gleamwork/image/Image.h"

#include <qs/MemView.h>

namespace gw::image {

// Reads a file's bytes into a purged image. False on any defect, after one message that names the file; the image's
// description may then be half filled, and its caller frees the pixels.
using ImageReader = bool (*)(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

// Whether the bytes start as every PNG does.
bool IsPng(const qs::MemView<const unsigned char>& file);

// PNG of every depth and colour type. Palettes become RGB8, greys below 8 bits are spread to the full range of R8,
// 16-bit samples stay. Pixels of a palette index without an entry are black; transparency chunks and gamma are left
// alone. Bytes that are no PNG at all give false without a message.
bool LoadPng(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

// JPEG of one, three or four components: R8, RGB8 (whatever the file's colour space) or RGBA8. The four channels of a
// CMYK file come as they stand in it, inverted where the file's writer inverted them. Truncated and damaged files fail.
bool LoadJpeg(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

// DDS with mip chains, cubes and volumes: see ImageFileFormatDDS.h.
bool LoadDds(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

// BMP of 8 bits with a palette, 24 or 32 bits: RGB8, or RGBA8 with the file's fourth byte as alpha, whatever the file
// says about it. Other bit counts give a description in FORMAT_MAX, and fail where pixels are wanted; so do compressed
// pixels at 8 bits. Rows are padded to four bytes and come bottom first, or top first for a negative height. A palette
// has as many entries as the header says and as there is room for before the pixels; indices beyond it are black. A
// palette for which the header leaves no room stands where the pixels are said to start, and they follow it.
bool LoadBmp(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

// The bitmap inside a cursor file: no file header, its pixels behind its header, and twice the height. Its mask of
// transparent pixels is left alone. Rows of 24 bits may also be followed by a byte for each of their pixels instead of
// being padded: they are when the file is long enough and listedBytes, the size in the cursor's directory, is not
// that of padded rows and a mask.
bool LoadCursorBmp(const qs::MemView<const unsigned char>& file, uint64_t listedBytes, const ImageLoadParams& params,
                   Image& image);

// TGA of 8 (R8), 16 (RGBA8), 24 (RGB8) or 32 bits (RGBA8), plain or run-length coded, blue first in memory as the
// format has it. The origin's two bits are honoured: bottom row first where nothing else is said. At 16 bits the top
// bit is alpha when the file says that it has attribute bits, else alpha is opaque; at 32 bits the fourth byte always
// is alpha. Packets end at the picture's last pixel, and what follows (footers, extensions) is left alone; a file that
// ends between two packets leaves the missing pixels at 0. Colour-mapped files fail.
bool LoadTga(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

// While it lives, messages of this thread's readers name the file. The text must outlive it.
class LoadingFileName
{
public:
    explicit LoadingFileName(const char* name);
    ~LoadingFileName();
    LoadingFileName(const LoadingFileName&) = delete;
    LoadingFileName& operator=(const LoadingFileName&) = delete;

private:
    const char* m_outer;
};

// Logs an error with the name of the file that is being read, or "(memory)".
void ReportReaderError(const char* function, const char* kind, const char* reason);

} // namespace gw::image
