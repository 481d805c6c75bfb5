// Feeds arbitrary bytes to the cursor reader: directory, bitmaps in their cursor form, and small PNGs.
#include "Gleamwork/image/Image.h"

#include <cstdlib>
#include <qs/Path.h>

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    static const qs::Path path(qs::PATH_ROOT_NONE, "fuzz.cur");
    if (size == 0)
        return 0;
    gw::Image image;
    unsigned short x = 1, y = 2;
    const bool good = image.LoadCursor(path, {data, size}, {}, x, y);
    if (image.GetBufferSize() != (good ? image.GetMipMapSize(0, 1, gw::FORMAT_NONE) : 0))
        std::abort();
    if (!good && (x != 1 || y != 2))
        std::abort();
    image.FreePixelData();
    return 0;
}
