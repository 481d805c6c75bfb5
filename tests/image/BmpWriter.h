// Writes bitmaps for tests, as files and as the pictures of cursors.
#pragma once

#include "TestBytes.h"

#include <cstdlib>

struct BmpPicture
{
    int width = 0;
    int height = 0;
    int bitCount = 24;
    bool topDown = false;
    bool oldHeader = false; // 12 bytes, and palette entries of 3 bytes
    uint32_t compression = 0;
    uint32_t colourCount = 0;     // as the header gives it
    ByteVector samples;           // from the top row down, without padding: indices, or B, G, R and perhaps A
    ByteVector palette;           // B, G, R
    int moreHeaderBytes = 0;      // what newer headers add
    bool offsetOfPalette = false; // the header gives the palette's place as that of the pixels
    bool isCursor = false;        // no file header, twice the height, a mask behind the pixels
    int bytesBehindRow = -1;      // instead of the padding
};

class BmpWriter
{
public:
    explicit BmpWriter(const BmpPicture& picture) : m_picture(picture) {}

    ByteVector Write()
    {
        const BmpPicture& p = m_picture;
        const uint32_t fileHeader = p.isCursor ? 0 : 14;
        const uint32_t header = (p.oldHeader ? 12 : 40) + p.moreHeaderBytes;
        const uint32_t palette = p.palette.size() / 3 * (p.oldHeader ? 3 : 4);
        if (!p.isCursor) {
            Add<uint16_t>(19778);
            Add<uint32_t>(0);
            Add<uint32_t>(0);
            Add<uint32_t>(fileHeader + header + (p.offsetOfPalette ? 0 : palette));
        }
        AddHeader(header);
        for (size_t i = 0; i < p.palette.size(); ++i) {
            Add<uint8_t>(p.palette[i]);
            if (i % 3 == 2 && !p.oldHeader)
                Add<uint8_t>(0xee);
        }
        AddRows();
        return m_file;
    }

private:
    template <class T>
    void Add(int64_t value)
    {
        for (size_t byte = 0; byte < sizeof(T); ++byte)
            m_file.push_back(static_cast<unsigned char>(value >> 8 * byte));
    }

    void AddHeader(uint32_t header)
    {
        const BmpPicture& p = m_picture;
        const int height = p.isCursor ? p.height * 2 : p.height;
        Add<uint32_t>(header);
        if (p.oldHeader) {
            for (const int value : {p.width, height, 1, p.bitCount})
                Add<uint16_t>(value);
        } else {
            Add<uint32_t>(p.width);
            Add<uint32_t>(p.topDown ? -height : height);
            Add<uint16_t>(1);
            Add<uint16_t>(p.bitCount);
            for (const uint32_t value : {p.compression, 0u, 2835u, 2835u, p.colourCount, 0u})
                Add<uint32_t>(value);
        }
        m_file.resize(m_file.size() + p.moreHeaderBytes, 0xdd);
    }

    void AddRows()
    {
        const BmpPicture& p = m_picture;
        const size_t rowBytes = p.width * p.bitCount / 8;
        for (int y = 0; y < p.height; ++y) {
            const auto row = p.samples.begin() + (p.topDown ? y : p.height - 1 - y) * rowBytes;
            m_file.insert(m_file.end(), row, row + rowBytes);
            m_file.resize(m_file.size() + (p.bytesBehindRow < 0 ? (4 - rowBytes % 4) % 4 : p.bytesBehindRow), 0xcc);
        }
        if (p.isCursor)
            m_file.resize(m_file.size() + (p.width + 31) / 32 * 4 * p.height, 0xbb);
    }

    BmpPicture m_picture;
    ByteVector m_file;
};

inline ByteVector WriteBmp(const BmpPicture& picture)
{
    return BmpWriter(picture).Write();
}
