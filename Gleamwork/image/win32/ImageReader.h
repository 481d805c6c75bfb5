// What the readers of image files share: their form, and how they report.
#pragma once

#include "Gleamwork/image/Image.h"

#include <qs/MemView.h>

namespace gw::image {

// Reads a file's bytes into a purged image. False on any defect, after one message that names the file; the image's
// description may then be half filled, and its caller frees the pixels.
using ImageReader = bool (*)(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

// PNG of every depth and colour type. Palettes become RGB8, greys below 8 bits are spread to the full range of R8,
// 16-bit samples stay. Pixels of a palette index without an entry are black; transparency chunks and gamma are left
// alone. Bytes that are no PNG at all give false without a message.
bool LoadPng(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

// JPEG of one, three or four components: R8, RGB8 (whatever the file's colour space) or RGBA8. The four channels of a
// CMYK file come as they stand in it, inverted where the file's writer inverted them. Truncated and damaged files fail.
bool LoadJpeg(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

// DDS with mip chains, cubes and volumes: see ImageFileFormatDDS.h.
bool LoadDds(const qs::MemView<const unsigned char>& file, const ImageLoadParams& params, Image& image);

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
