// Writes TGA files for tests.
#pragma once

#include "TestBytes.h"

#include <algorithm>

struct TgaPicture
{
    int width = 0;
    int height = 0;
    int depth = 24;
    bool runLength = false;
    uint8_t descriptor = 0; // attribute bits; 16: from right to left, 32: from the top down
    ByteVector samples;     // in the file's order, blue first
    ByteVector id;
    ByteVector footer;
};

inline ByteVector TgaHeader(const TgaPicture& picture)
{
    ByteVector file(18, 0xaa);
    file[0] = static_cast<unsigned char>(picture.id.size());
    file[1] = 0;
    file[2] = (picture.depth == 8 ? 3 : 2) | (picture.runLength ? 8 : 0);
    for (int byte = 0; byte < 2; ++byte) {
        file[12 + byte] = static_cast<unsigned char>(picture.width >> 8 * byte);
        file[14 + byte] = static_cast<unsigned char>(picture.height >> 8 * byte);
    }
    file[16] = static_cast<unsigned char>(picture.depth);
    file[17] = picture.descriptor;
    file.insert(file.end(), picture.id.begin(), picture.id.end());
    return file;
}

// The longest packets that there can be, over the ends of rows.
inline void AppendPackets(ByteVector& file, const ByteVector& samples, size_t pixelBytes)
{
    const size_t count = samples.size() / pixelBytes;
    const auto pixel = [&](size_t i) { return samples.begin() + i * pixelBytes; };
    const auto same = [&](size_t a, size_t b) { return std::equal(pixel(a), pixel(a) + pixelBytes, pixel(b)); };
    for (size_t at = 0; at < count;) {
        size_t end = at + 1;
        while (end < count && end - at < 128 && same(at, end))
            ++end;
        const bool isRun = end - at > 1;
        while (!isRun && end < count && end - at < 128 && !same(end - 1, end))
            ++end;
        file.push_back(static_cast<unsigned char>((end - at - 1) | (isRun ? 128 : 0)));
        file.insert(file.end(), pixel(at), isRun ? pixel(at + 1) : pixel(end));
        at = end;
    }
}

inline ByteVector WriteTga(const TgaPicture& picture)
{
    ByteVector file = TgaHeader(picture);
    if (picture.runLength)
        AppendPackets(file, picture.samples, picture.depth / 8);
    else
        file.insert(file.end(), picture.samples.begin(), picture.samples.end());
    file.insert(file.end(), picture.footer.begin(), picture.footer.end());
    return file;
}
