// Building the converter table, and the checks in front of every run.
#include "Gleamwork/image/ImagePixelOps.h"

#include "Gleamwork/image/ConverterTable.h"

#include <algorithm>
#include <cstring>
#include <qs/Log.h>

namespace gw::image {
namespace details {
namespace {

void AssertRun(const char* message)
{
    QS_LOG_ASSERT("Gleamwork/image/ImagePixelOps", "`anonymous-namespace'::Converter<0>::Run", "%s", message);
}

// Seen as elements, a view that ends within one asserts.
template <class Bytes>
uint64_t CountElements(const qs::MemView<Bytes>& view, int elementBytes)
{
    switch (elementBytes) {
    case 2:
        return view.template AsItems<uint16_t>().GetLength();
    case 4:
        return view.template AsItems<uint32_t>().GetLength();
    default:
        return view.GetSize();
    }
}

} // namespace

uint64_t CountPixels(const qs::MemView<unsigned char>& target, PixelShape targetShape,
                     const qs::MemView<const unsigned char>& source, PixelShape sourceShape)
{
    const uint64_t sourceElements = CountElements(source, sourceShape.elementBytes);
    const uint64_t targetElements = CountElements(target, targetShape.elementBytes);
    if (sourceElements % sourceShape.elementsPerPixel != 0) [[unlikely]]
        AssertRun("Input buffer size is no multiply of output pixel size");
    if (targetElements % targetShape.elementsPerPixel != 0) [[unlikely]]
        AssertRun("Output buffer size is no multiply of output pixel size");
    const uint64_t sourcePixels = sourceElements / sourceShape.elementsPerPixel;
    const uint64_t targetPixels = targetElements / targetShape.elementsPerPixel;
    if (sourcePixels != targetPixels) [[unlikely]]
        AssertRun("Input and output buffers can store unequal number of pixels");
    return std::min(sourcePixels, targetPixels);
}

namespace {

void CopyPixels(qs::MemView<unsigned char> target, const qs::MemView<const unsigned char>& source)
{
    if (target.GetSize() != source.GetSize()) [[unlikely]]
        QS_LOG_ASSERT("Gleamwork/image/ImagePixelOps", "gw::image::CopyPixels",
                      "Noop pixel conversion, but different buffer sizes");
    const uint64_t bytes = std::min<uint64_t>(target.GetSize(), source.GetSize());
    if (bytes != 0)
        std::memmove(target.GetData(), source.GetData(), bytes);
}

ConverterTable BuildPlainTable()
{
    ConverterTable table;
    FillPlainConverters(table);
    for (uint32_t format = 0; format < FORMAT_MAX; ++format)
        table.entries[format][format][0] = &CopyPixels;
    return table;
}

ConverterTable BuildFastTable()
{
    ConverterTable table = GetPlainConverterTable();
    InstallFastConverters(table);
    return table;
}

// Built when the first converter is asked for, at the latest while the library is loaded.
const ConverterTable& GetConverterTable()
{
    static const ConverterTable table = BuildFastTable();
    return table;
}

[[maybe_unused]] const ConverterTable& builtAtLoad = GetConverterTable();

} // namespace

RowConverter GetRowConverter(EFormat from, EFormat to, bool swapBytes)
{
    return from < FORMAT_MAX && to < FORMAT_MAX ? GetConverterTable().rows[from][to][swapBytes] : nullptr;
}

const ConverterTable& GetPlainConverterTable()
{
    static const ConverterTable table = BuildPlainTable();
    return table;
}

} // namespace details

PixelConverter GetPixelConverter(EFormat from, EFormat to, bool swapBytes)
{
    const char* message = from >= FORMAT_MAX ? "From format is invalid" : "To format is invalid";
    if (from >= FORMAT_MAX || to >= FORMAT_MAX) [[unlikely]] {
        QS_LOG_ASSERT("Gleamwork/image/ImagePixelOps", "gw::image::GetPixelConverter", "%s", message);
        return nullptr;
    }
    return details::GetConverterTable().entries[from][to][swapBytes ? 1 : 0];
}

} // namespace gw::image
