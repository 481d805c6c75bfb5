// DDS files from images.
#include "DdsFormat.h"
#include "FileOutput.h"
#include "Formats.h"
#include "Results.h"

#include <algorithm>
#include <new>

namespace DirectX {

namespace {

/// The legacy header has no arrays other than one cube, and no one-dimensional textures.
bool FitsLegacy(const TexMetadata& metadata)
{
    const bool isOneItem = metadata.arraySize == 1 || (metadata.IsCubemap() && metadata.arraySize == 6);
    return isOneItem && metadata.dimension != TEX_DIMENSION_TEXTURE1D && FindLegacyFormat(metadata.format).size != 0;
}

DdsHeader MakeHeader(const TexMetadata& metadata, bool isLegacy)
{
    DdsHeader header = {};
    header.size = sizeof header;
    header.flags = DdsHasCaps | DdsHasHeight | DdsHasWidth | DdsHasFormat;
    header.width = static_cast<std::uint32_t>(metadata.width);
    header.height = static_cast<std::uint32_t>(metadata.height);
    header.caps = DdsCapsTexture;
    std::size_t rowPitch = 0, slicePitch = 0;
    ComputePitch(metadata.format, metadata.width, metadata.height, rowPitch, slicePitch);
    const bool hasBlocks = IsCompressed(metadata.format);
    header.flags |= hasBlocks ? DdsHasLinearSize : DdsHasPitch;
    header.pitchOrLinearSize = static_cast<std::uint32_t>(hasBlocks ? slicePitch : rowPitch);
    header.mipCount = static_cast<std::uint32_t>(metadata.mipLevels);
    if (metadata.mipLevels > 1) {
        header.flags |= DdsHasMips;
        header.caps |= DdsCapsMips | DdsCapsComplex;
    }
    if (metadata.IsVolumemap()) {
        header.flags |= DdsHasDepth;
        header.depth = static_cast<std::uint32_t>(metadata.depth);
        header.caps |= DdsCapsComplex;
        header.caps2 = DdsCaps2Volume;
    } else if (metadata.IsCubemap()) {
        header.caps |= DdsCapsComplex;
        header.caps2 = DdsCaps2Cube | DdsCaps2AllFaces;
    }
    header.format = isLegacy ? FindLegacyFormat(metadata.format)
                             : DdsPixelFormat{32, DdsFormatFourCC, FourCC('D', 'X', '1', '0'), 0, 0, 0, 0, 0};
    return header;
}

DdsExtendedHeader MakeExtendedHeader(const TexMetadata& metadata)
{
    const std::size_t items = metadata.IsCubemap() ? metadata.arraySize / 6 : metadata.arraySize;
    return {static_cast<std::uint32_t>(metadata.format), static_cast<std::uint32_t>(metadata.dimension),
            metadata.miscFlags & TEX_MISC_TEXTURECUBE, static_cast<std::uint32_t>(items), metadata.miscFlags2};
}

void AppendImage(const Image& image, Bytes& bytes)
{
    std::size_t rowPitch = 0, slicePitch = 0;
    ComputePitch(image.format, image.width, image.height, rowPitch, slicePitch);
    const std::size_t rows = slicePitch / rowPitch;
    for (std::size_t row = 0; row < rows; ++row) {
        const std::uint8_t* first = image.pixels + row * image.rowPitch;
        bytes.insert(bytes.end(), first, first + rowPitch);
    }
}

HRESULT Encode(const Image* images, std::size_t count, const TexMetadata& metadata, Bytes& bytes)
try {
    if (const HRESULT result = CheckImages(images, count, metadata); FAILED(result))
        return result;
    // The last image of a texture is the last slice of the last mip of the last item.
    const std::size_t lastMip = metadata.mipLevels - 1;
    const std::size_t lastSlice = std::max<std::size_t>(metadata.depth >> lastMip, 1) - 1;
    const std::size_t wanted = metadata.ComputeIndex(lastMip, metadata.arraySize - 1, lastSlice) + 1;
    if (count < wanted)
        return E_INVALIDARG;

    const bool isLegacy = FitsLegacy(metadata);
    std::size_t total = sizeof(DdsHeader) + sizeof(DdsExtendedHeader) + 4;
    for (std::size_t i = 0; i < wanted; ++i)
        total += images[i].slicePitch;
    bytes.reserve(total);
    Append(bytes, DdsMagic);
    Append(bytes, MakeHeader(metadata, isLegacy));
    if (!isLegacy)
        Append(bytes, MakeExtendedHeader(metadata));
    for (std::size_t i = 0; i < wanted; ++i)
        AppendImage(images[i], bytes);
    return S_OK;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

} // namespace

HRESULT SaveToDDSMemory(const Image* images, std::size_t count, const TexMetadata& metadata, DDS_FLAGS, Blob& blob)
{
    blob.Release();
    Bytes bytes;
    const HRESULT result = Encode(images, count, metadata, bytes);
    return SUCCEEDED(result) ? ToBlob(bytes, blob) : result;
}

HRESULT SaveToDDSFile(const Image* images, std::size_t count, const TexMetadata& metadata, DDS_FLAGS,
                      const wchar_t* file)
{
    Bytes bytes;
    const HRESULT result = Encode(images, count, metadata, bytes);
    return SUCCEEDED(result) ? WriteFile(file, bytes) : result;
}

} // namespace DirectX
