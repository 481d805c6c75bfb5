// Feeds arbitrary bytes to the DDS reader; the first byte chooses how it is asked.
#include "Gleamwork/image/Image.h"

#include <cstdlib>

namespace {

constexpr gw::image::FormatReplacement replacements[] = {{gw::FORMAT_RGB8, gw::FORMAT_RGBA8},
                                                         {gw::FORMAT_DXT1, gw::FORMAT_RGBA8}};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    if (size == 0)
        return 0;
    gw::ImageLoadParams params;
    params.mipSkip = data[0] & 7;
    params.flags = data[0] & 8 ? gw::IMAGE_LOAD_KEEP_SMALL_MIPS : 0;
    if (data[0] & 16)
        params.formatReplacements = replacements;
    gw::Image image;
    const bool good = image.Load(gw::IMAGE_FILE_DDS, {data + 1, size - 1}, params);
    const uint64_t expected = good ? image.GetMipMapSize(0, image.GetMipMapCount(), gw::FORMAT_NONE) : 0;
    if (image.GetBufferSize() != expected || image.GetMipMapCount() > image.GetOriginalMipCount())
        std::abort();
    image.FreePixelData();
    return 0;
}
