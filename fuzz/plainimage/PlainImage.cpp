// Feeds arbitrary bytes to the reader of IMAGE_TYPE, a format whose files hold one picture and no chain. The header
// alone describes what the pixels then have to fill.
#include "Gleamwork/image/Image.h"

#include <cstdlib>

namespace {

constexpr gw::image::FormatReplacement replacements[] = {{gw::FORMAT_RGB8, gw::FORMAT_RGBA8}};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    gw::ImageLoadParams params;
    params.flags = gw::IMAGE_LOAD_HEADER_ONLY;
    gw::Image image;
    const bool described = image.Load(gw::IMAGE_TYPE, {data, size}, params);
    const int64_t width = image.GetWidth(), height = image.GetHeight();
    params.flags = 0;
    if (size > 6 && (data[6] & 1) != 0)
        params.formatReplacements = replacements;
    const bool good = image.Load(gw::IMAGE_TYPE, {data, size}, params);
    if (good && (!described || image.GetWidth() != width || image.GetHeight() != height))
        std::abort();
    if (image.GetBufferSize() != (good ? image.GetMipMapSize(0, 1, gw::FORMAT_NONE) : 0))
        std::abort();
    image.FreePixelData();
    return 0;
}
