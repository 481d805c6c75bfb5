// The catalogue of pixel formats.
#include "Gleamwork/image/Format.h"

#include "Gleamwork/GWFS.h"

#include <iterator>

namespace gw {
namespace image {
namespace {

struct CatalogueRow
{
    EFormat format;
    FormatDescription description;
};

constexpr CatalogueRow catalogue[] = {
    {FORMAT_NONE, {"None", 0, 0, false}},
    {FORMAT_R8, {"R8", 1, 1, false}},
    {FORMAT_RG8, {"RG8", 2, 2, false}},
    {FORMAT_RGB8, {"RGB8", 3, 3, false}},
    {FORMAT_RGBA8, {"RGBA8", 4, 4, false}},
    {FORMAT_R16, {"R16", 1, 2, false}},
    {FORMAT_RG16, {"RG16", 2, 4, false}},
    {FORMAT_RGB16, {"RGB16", 3, 6, false}},
    {FORMAT_RGBA16, {"RGBA16", 4, 8, false}},
    {FORMAT_R8S, {"R8S", 1, 1, false}},
    {FORMAT_RG8S, {"RG8S", 2, 2, false}},
    {FORMAT_RGB8S, {"RGB8S", 3, 3, false}},
    {FORMAT_RGBA8S, {"RGBA8S", 4, 4, false}},
    {FORMAT_R16S, {"R16S", 1, 2, false}},
    {FORMAT_RG16S, {"RG16S", 2, 4, false}},
    {FORMAT_RGB16S, {"RGB16S", 3, 6, false}},
    {FORMAT_RGBA16S, {"RGBA16S", 4, 8, false}},
    {FORMAT_R16F, {"R16F", 1, 2, false}},
    {FORMAT_RG16F, {"RG16F", 2, 4, false}},
    {FORMAT_RGB16F, {"RGB16F", 3, 6, false}},
    {FORMAT_RGBA16F, {"RGBA16F", 4, 8, false}},
    {FORMAT_R32F, {"R32F", 1, 4, false}},
    {FORMAT_RG32F, {"RG32F", 2, 8, false}},
    {FORMAT_RGB32F, {"RGB32F", 3, 12, false}},
    {FORMAT_RGBA32F, {"RGBA32F", 4, 16, false}},
    {FORMAT_R16I, {"R16I", 1, 2, false}},
    {FORMAT_RG16I, {"RG16I", 2, 4, false}},
    {FORMAT_RGB16I, {"RGB16I", 3, 6, false}},
    {FORMAT_RGBA16I, {"RGBA16I", 4, 8, false}},
    {FORMAT_R32I, {"R32I", 1, 4, false}},
    {FORMAT_RG32I, {"RG32I", 2, 8, false}},
    {FORMAT_RGB32I, {"RGB32I", 3, 12, false}},
    {FORMAT_RGBA32I, {"RGBA32I", 4, 16, false}},
    {FORMAT_R16UI, {"R16UI", 1, 2, false}},
    {FORMAT_RG16UI, {"RG16UI", 2, 4, false}},
    {FORMAT_RGB16UI, {"RGB16UI", 3, 6, false}},
    {FORMAT_RGBA16UI, {"RGBA16UI", 4, 8, false}},
    {FORMAT_R32UI, {"R32UI", 1, 4, false}},
    {FORMAT_RG32UI, {"RG32UI", 2, 8, false}},
    {FORMAT_RGB32UI, {"RGB32UI", 3, 12, false}},
    {FORMAT_RGBA32UI, {"RGBA32UI", 4, 16, false}},
    {FORMAT_RGBE8, {"RGBE8", 3, 4, false}},
    {FORMAT_RGB9E5, {"RGB9E5", 3, 4, false}},
    {FORMAT_RG11B10F, {"RG11B10F", 3, 4, false}},
    {FORMAT_RGB565, {"RGB565", 3, 2, false}},
    {FORMAT_RGBA4, {"RGBA4", 4, 2, false}},
    {FORMAT_RGB10A2, {"RGB10A2", 4, 4, false}},
    {FORMAT_BGR10A2, {"BGR10A2", 4, 4, false}},
    {FORMAT_A1RGB5, {"A1RGB5", 4, 2, false}},
    {FORMAT_D16, {"D16", 1, 2, false}},
    {FORMAT_D24, {"D24", 1, 4, false}},
    {FORMAT_D24S8, {"D24S8", 2, 4, false}},
    {FORMAT_D32F, {"D32F", 1, 4, false}},
    {FORMAT_DXT1, {"DXT1", 3, 8, true}},
    {FORMAT_DXT3, {"DXT3", 4, 16, true}},
    {FORMAT_DXT5, {"DXT5", 4, 16, true}},
    {FORMAT_ATI1N, {"BC4U", 1, 8, true}},
    {FORMAT_ATI2N, {"BC5U", 2, 16, true}},
    {FORMAT_BC6H, {"BC6H", 3, 16, true}},
    {FORMAT_BC7, {"BC7", 4, 16, true}},
    {FORMAT_BGR8, {"BGR8", 3, 3, false}},
    {FORMAT_BGRA8, {"BGRA8", 4, 4, false}},
    {FORMAT_D32FS8, {"D32FS8", 1, 8, false}},
};
static_assert(std::size(catalogue) == FORMAT_MAX);

} // namespace

FormatDescription GetFormatDescription(EFormat format)
{
    for (const CatalogueRow& row : catalogue) {
        if (row.format == format)
            return row.description;
    }
    return {"<unknown>", 0, 0, false};
}

} // namespace image

const qs::FixedString& FormatToFixedString(EFormat format)
{
    // Made at the first call: the strings are another source's static objects.
    static const qs::FixedString* const names[] = {
        &GWFS::strFORMAT_NONE,     &GWFS::strFORMAT_R8,    &GWFS::strFORMAT_RG8,     &GWFS::strFORMAT_RGB8,
        &GWFS::strFORMAT_RGBA8,    &GWFS::strFORMAT_R16,   &GWFS::strFORMAT_RG16,    &GWFS::strFORMAT_RGB16,
        &GWFS::strFORMAT_RGBA16,   &GWFS::strFORMAT_R8S,   &GWFS::strFORMAT_RG8S,    &GWFS::strFORMAT_RGB8S,
        &GWFS::strFORMAT_RGBA8S,   &GWFS::strFORMAT_R16S,  &GWFS::strFORMAT_RG16S,   &GWFS::strFORMAT_RGB16S,
        &GWFS::strFORMAT_RGBA16S,  &GWFS::strFORMAT_R16F,  &GWFS::strFORMAT_RG16F,   &GWFS::strFORMAT_RGB16F,
        &GWFS::strFORMAT_RGBA16F,  &GWFS::strFORMAT_R32F,  &GWFS::strFORMAT_RG32F,   &GWFS::strFORMAT_RGB32F,
        &GWFS::strFORMAT_RGBA32F,  &GWFS::strFORMAT_R16I,  &GWFS::strFORMAT_RG16I,   &GWFS::strFORMAT_RGB16I,
        &GWFS::strFORMAT_RGBA16I,  &GWFS::strFORMAT_R32I,  &GWFS::strFORMAT_RG32I,   &GWFS::strFORMAT_RGB32I,
        &GWFS::strFORMAT_RGBA32I,  &GWFS::strFORMAT_R16UI, &GWFS::strFORMAT_RG16UI,  &GWFS::strFORMAT_RGB16UI,
        &GWFS::strFORMAT_RGBA16UI, &GWFS::strFORMAT_R32UI, &GWFS::strFORMAT_RG32UI,  &GWFS::strFORMAT_RGB32UI,
        &GWFS::strFORMAT_RGBA32UI, &GWFS::strFORMAT_RGBE8, &GWFS::strFORMAT_RGB9E5,  &GWFS::strFORMAT_RG11B10F,
        &GWFS::strFORMAT_RGB565,   &GWFS::strFORMAT_RGBA4, &GWFS::strFORMAT_RGB10A2, &GWFS::strFORMAT_BGR10A2,
        &GWFS::strFORMAT_A1RGB5,   &GWFS::strFORMAT_D16,   &GWFS::strFORMAT_D24,     &GWFS::strFORMAT_D24S8,
        &GWFS::strFORMAT_D32F,     &GWFS::strFORMAT_DXT1,  &GWFS::strFORMAT_DXT3,    &GWFS::strFORMAT_DXT5,
        &GWFS::strFORMAT_ATI1N,    &GWFS::strFORMAT_ATI2N, &GWFS::strFORMAT_BC6H,    &GWFS::strFORMAT_BC7,
        &GWFS::strFORMAT_BGR8,     &GWFS::strFORMAT_BGRA8, &GWFS::strFORMAT_D32FS8,  &GWFS::strFORMAT_MAX,
    };
    static_assert(std::size(names) == FORMAT_MAX + 1);
    return *names[format < FORMAT_MAX ? format : FORMAT_MAX];
}

} // namespace gw
