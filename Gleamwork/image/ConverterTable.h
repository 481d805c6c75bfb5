// The table of converters by source format, target format and byte order. Inside the image code, and for its tests.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/image/ImagePixelOps.h"

namespace gw::image::details {

// Whole rows whose source pixels stand side by side, into rows that stand targetStride bytes apart: upwards for a
// negative one. Gives what the converter would give row by row, in less time where an image exceeds the caches.
using RowConverter = void (*)(unsigned char* target, int64_t targetStride, const unsigned char* source, uint64_t width,
                              uint64_t rows);

struct ConverterTable
{
    PixelConverter entries[FORMAT_MAX][FORMAT_MAX][2] = {};
    RowConverter rows[FORMAT_MAX][FORMAT_MAX][2] = {};
};

// Null for pairs that have none.
RowConverter GetRowConverter(EFormat from, EFormat to, bool swapBytes);

// The table of the plain entries alone, without any that is made for a processor's own instructions: tests hold those
// against it.
GW_API const ConverterTable& GetPlainConverterTable();

// Elements in memory, and how many of them make a pixel.
struct PixelShape
{
    int elementBytes;
    int elementsPerPixel;

    constexpr uint64_t Bytes() const { return static_cast<uint64_t>(elementBytes) * elementsPerPixel; }
};

// Whole pixels in both views; asserts when they differ or do not end with a whole pixel.
uint64_t CountPixels(const qs::MemView<unsigned char>& target, PixelShape targetShape,
                     const qs::MemView<const unsigned char>& source, PixelShape sourceShape);

void FillPlainConverters(ConverterTable& table);

// Replaces entries by ones for instructions that this processor has. None of them changes a bit of a result.
void InstallFastConverters(ConverterTable& table);

} // namespace gw::image::details
