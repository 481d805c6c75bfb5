// Feeds arbitrary bytes to the PNG reader, with the checksums put right: nearly every mutation would end at one.
#include "Gleamwork/image/Image.h"

#include <cstdlib>
#include <vector>
#include <zlib.h>

namespace {

constexpr gw::image::FormatReplacement replacements[] = {{gw::FORMAT_RGB8, gw::FORMAT_RGBA8}};
constexpr int64_t mostPixels = 1 << 22;

uint32_t ReadBig(const unsigned char* bytes)
{
    return static_cast<uint32_t>(bytes[0]) << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

void RepairChecksums(std::vector<unsigned char>& file)
{
    size_t at = 8;
    while (at + 12 <= file.size()) {
        const uint64_t length = ReadBig(&file[at]);
        if (length > file.size() - at - 12)
            return;
        const uint32_t crc = static_cast<uint32_t>(crc32(0, &file[at + 4], static_cast<uInt>(length + 4)));
        for (int byte = 0; byte < 4; ++byte)
            file[at + 8 + length + byte] = static_cast<unsigned char>(crc >> (24 - 8 * byte));
        at += 12 + length;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    std::vector<unsigned char> file(data, data + size);
    RepairChecksums(file);
    gw::ImageLoadParams params;
    params.flags = gw::IMAGE_LOAD_HEADER_ONLY;
    gw::Image image;
    if (!image.Load(gw::IMAGE_FILE_PNG, {file.data(), file.size()}, params) ||
        image.GetWidth() * image.GetHeight() > mostPixels)
        return 0;
    params.flags = 0;
    if (data[size - 1] & 1)
        params.formatReplacements = replacements;
    const bool good = image.Load(gw::IMAGE_FILE_PNG, {file.data(), file.size()}, params);
    if (image.GetBufferSize() != (good ? image.GetMipMapSize(0, 1, gw::FORMAT_NONE) : 0))
        std::abort();
    image.FreePixelData();
    return 0;
}
