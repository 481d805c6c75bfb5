// DDS files in memory: header to description, data to images. Every size is checked before it is used.
#include "DdsFormat.h"
#include "Formats.h"
#include "Results.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace DirectX {

namespace {

/// A view on the file that only ever moves forward and never past the end.
class Cursor
{
public:
    Cursor(const void* data, std::size_t size) : m_data(static_cast<const std::uint8_t*>(data)), m_left(size) {}

    template <class Record>
    bool Read(Record& record)
    {
        const std::uint8_t* bytes = Take(sizeof record);
        if (bytes)
            std::memcpy(&record, bytes, sizeof record);
        return bytes != nullptr;
    }

    /// Null when fewer bytes are left.
    const std::uint8_t* Take(std::size_t size)
    {
        if (size > m_left)
            return nullptr;
        const std::uint8_t* bytes = m_data;
        m_data += size;
        m_left -= size;
        return bytes;
    }

    std::size_t GetLeft() const { return m_left; }

private:
    const std::uint8_t* m_data;
    std::size_t m_left;
};

struct DdsFile
{
    TexMetadata metadata;
    DdsLayout layout;
};

HRESULT DescribeExtended(const DdsHeader& header, const DdsExtendedHeader& extended, DdsFile& file)
{
    TexMetadata& texture = file.metadata;
    // Numbers beyond the enumeration are no values of it, not even for a comparison.
    if (extended.format > DXGI_FORMAT_B4G4R4A4_UNORM)
        return ResultNotSupported;
    texture.format = static_cast<DXGI_FORMAT>(extended.format);
    file.layout.format = texture.format;
    texture.arraySize = extended.arraySize;
    texture.miscFlags2 = extended.miscFlags2 & 7;
    texture.depth = 1;
    if (extended.arraySize == 0 || extended.arraySize > MAX_ARRAY_SIZE)
        return ResultInvalidData;
    switch (extended.dimension) {
    case TEX_DIMENSION_TEXTURE1D:
        texture.dimension = TEX_DIMENSION_TEXTURE1D;
        texture.height = 1;
        break;
    case TEX_DIMENSION_TEXTURE2D:
        if ((extended.miscFlags & TEX_MISC_TEXTURECUBE) != 0) {
            texture.miscFlags |= TEX_MISC_TEXTURECUBE;
            texture.arraySize *= 6;
        }
        break;
    case TEX_DIMENSION_TEXTURE3D:
        texture.dimension = TEX_DIMENSION_TEXTURE3D;
        texture.depth = header.depth;
        break;
    default:
        return ResultInvalidData;
    }
    return S_OK;
}

HRESULT DescribeLegacy(const DdsHeader& header, DdsFile& file)
{
    TexMetadata& texture = file.metadata;
    file.layout = FindLegacyLayout(header.format);
    texture.format = file.layout.format;
    texture.depth = 1;
    texture.arraySize = 1;
    if (texture.format == DXGI_FORMAT_UNKNOWN)
        return ResultNotSupported;
    if ((header.caps2 & DdsCaps2Volume) != 0) {
        texture.dimension = TEX_DIMENSION_TEXTURE3D;
        texture.depth = header.depth;
    } else if ((header.caps2 & DdsCaps2Cube) != 0) {
        // Cubes with missing faces have no form on a device.
        if ((header.caps2 & DdsCaps2AllFaces) != DdsCaps2AllFaces)
            return ResultNotSupported;
        texture.miscFlags |= TEX_MISC_TEXTURECUBE;
        texture.arraySize = 6;
    }
    return S_OK;
}

HRESULT ReadHeader(Cursor& cursor, DdsFile& file)
{
    std::uint32_t magic = 0;
    DdsHeader header;
    if (!cursor.Read(magic) || magic != DdsMagic)
        return ResultInvalidData;
    if (!cursor.Read(header))
        return ResultEndOfFile;
    if (header.size != sizeof header || header.format.size != sizeof header.format)
        return ResultInvalidData;
    TexMetadata& texture = file.metadata;
    texture.width = header.width;
    texture.height = header.height;
    texture.mipLevels = std::max<std::uint32_t>(header.mipCount, 1);

    HRESULT result = S_OK;
    if ((header.format.flags & DdsFormatFourCC) != 0 && header.format.fourCC == FourCC('D', 'X', '1', '0')) {
        DdsExtendedHeader extended;
        if (!cursor.Read(extended))
            return ResultEndOfFile;
        result = DescribeExtended(header, extended, file);
    } else {
        result = DescribeLegacy(header, file);
    }
    if (FAILED(result))
        return result;
    result = CheckMetadata(texture);
    return result == E_INVALIDARG ? ResultInvalidData : result;
}

/// Bytes that one image takes in the file.
std::size_t SourceBytes(const DdsLayout& layout, const Image& image)
{
    return layout.sourceBits != 0 ? image.width * image.height * layout.sourceBits / 8 : image.slicePitch;
}

std::uint64_t TotalSourceBytes(const DdsFile& file)
{
    const TexMetadata& texture = file.metadata;
    std::uint64_t perItem = 0;
    for (std::size_t mip = 0; mip < texture.mipLevels; ++mip) {
        Image image{std::max<std::size_t>(texture.width >> mip, 1),
                    std::max<std::size_t>(texture.height >> mip, 1),
                    texture.format,
                    0,
                    0,
                    nullptr};
        ComputePitch(texture.format, image.width, image.height, image.rowPitch, image.slicePitch);
        perItem += std::uint64_t(SourceBytes(file.layout, image)) * std::max<std::size_t>(texture.depth >> mip, 1);
    }
    return perItem * texture.arraySize;
}

std::uint8_t MaskedByte(std::uint32_t texel, std::uint32_t mask, std::uint8_t without)
{
    if (mask == 0)
        return without;
    const int shift = std::countr_zero(mask);
    const std::uint64_t largest = mask >> shift;
    return static_cast<std::uint8_t>(((texel & mask) >> shift) * 255ull / largest);
}

void ExpandTexels(const DdsLayout& layout, const std::uint8_t* source, const Image& image)
{
    const std::size_t bytes = layout.sourceBits / 8;
    const bool hasAlpha = (layout.masks.flags & DdsFormatAlphaPixels) != 0;
    std::uint8_t* target = image.pixels;
    for (std::size_t i = 0; i < image.width * image.height; ++i, source += bytes, target += 4) {
        std::uint32_t texel = 0;
        std::memcpy(&texel, source, bytes);
        target[0] = MaskedByte(texel, layout.masks.redMask, 0);
        target[1] = MaskedByte(texel, layout.masks.greenMask, 0);
        target[2] = MaskedByte(texel, layout.masks.blueMask, 0);
        target[3] = MaskedByte(texel, hasAlpha ? layout.masks.alphaMask : 0, 255);
    }
}

} // namespace

HRESULT GetMetadataFromDDSMemory(const void* source, std::size_t size, DDS_FLAGS, TexMetadata& metadata)
{
    metadata = {};
    if (!source)
        return E_INVALIDARG;
    Cursor cursor(source, size);
    DdsFile file;
    const HRESULT result = ReadHeader(cursor, file);
    if (SUCCEEDED(result))
        metadata = file.metadata;
    return result;
}

HRESULT LoadFromDDSMemory(const void* source, std::size_t size, DDS_FLAGS, TexMetadata* metadata, ScratchImage& result)
{
    result.Release();
    if (!source)
        return E_INVALIDARG;
    Cursor cursor(source, size);
    DdsFile file;
    if (const HRESULT read = ReadHeader(cursor, file); FAILED(read))
        return read;
    if (TotalSourceBytes(file) > cursor.GetLeft())
        return ResultEndOfFile;

    ScratchImage images;
    if (const HRESULT made = images.Initialize(file.metadata); FAILED(made))
        return made;
    for (std::size_t i = 0; i < images.GetImageCount(); ++i) {
        const Image& image = images.GetImages()[i];
        const std::uint8_t* data = cursor.Take(SourceBytes(file.layout, image));
        if (!data)
            return ResultEndOfFile;
        if (file.layout.expansion == EDdsExpansion::None)
            std::memcpy(image.pixels, data, image.slicePitch);
        else
            ExpandTexels(file.layout, data, image);
    }
    if (metadata)
        *metadata = images.GetMetadata();
    result = std::move(images);
    return S_OK;
}

} // namespace DirectX
