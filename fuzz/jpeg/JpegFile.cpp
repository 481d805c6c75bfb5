// Feeds arbitrary bytes to the JPEG reader.
#include "Gleamwork/image/Image.h"

#include <cstdlib>

namespace {

constexpr gw::image::FormatReplacement replacements[] = {{gw::FORMAT_RGB8, gw::FORMAT_RGBA8}};
constexpr int64_t mostPixels = 1 << 20;

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    gw::ImageLoadParams params;
    params.flags = gw::IMAGE_LOAD_HEADER_ONLY;
    gw::Image image;
    if (!image.Load(gw::IMAGE_FILE_JPEG, {data, size}, params) || image.GetWidth() * image.GetHeight() > mostPixels)
        return 0;
    params.flags = 0;
    if (data[size - 1] & 1)
        params.formatReplacements = replacements;
    const bool good = image.Load(gw::IMAGE_FILE_JPEG, {data, size}, params);
    if (image.GetBufferSize() != (good ? image.GetMipMapSize(0, 1, gw::FORMAT_NONE) : 0))
        std::abort();
    image.FreePixelData();
    return 0;
}
