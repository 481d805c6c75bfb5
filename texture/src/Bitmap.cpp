// From any format to plain samples, and the BMP encoder.
#include "ByteImage.h"
#include "FileOutput.h"
#include "Formats.h"
#include "PixelRow.h"
#include "Results.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace DirectX {

namespace {

bool IsDeep(DXGI_FORMAT format)
{
    return format == DXGI_FORMAT_R16_UNORM || format == DXGI_FORMAT_R16G16_UNORM ||
           format == DXGI_FORMAT_R16G16B16A16_UNORM || format == DXGI_FORMAT_R10G10B10A2_UNORM ||
           format == DXGI_FORMAT_D16_UNORM || format == DXGI_FORMAT_D32_FLOAT;
}

bool IsGrey(DXGI_FORMAT format)
{
    switch (format) {
    case DXGI_FORMAT_R8_UNORM:
    case DXGI_FORMAT_R8_SNORM:
    case DXGI_FORMAT_R16_UNORM:
    case DXGI_FORMAT_R16_SNORM:
    case DXGI_FORMAT_R16_FLOAT:
    case DXGI_FORMAT_R32_FLOAT:
    case DXGI_FORMAT_D16_UNORM:
    case DXGI_FORMAT_D32_FLOAT:
    case DXGI_FORMAT_D24_UNORM_S8_UINT:
        return true;
    default:
        return false;
    }
}

/// Formats whose bytes are the samples already, up to the order of red and blue.
bool IsByteColor(DXGI_FORMAT format, bool& isBgr)
{
    isBgr = format == DXGI_FORMAT_B8G8R8A8_UNORM || format == DXGI_FORMAT_B8G8R8A8_UNORM_SRGB ||
            format == DXGI_FORMAT_B8G8R8X8_UNORM || format == DXGI_FORMAT_B8G8R8X8_UNORM_SRGB;
    return isBgr || format == DXGI_FORMAT_R8G8B8A8_UNORM || format == DXGI_FORMAT_R8G8B8A8_UNORM_SRGB;
}

void CopyByteRow(const std::uint8_t* source, bool isBgr, std::size_t width, int channels, std::uint8_t* target)
{
    for (std::size_t x = 0; x < width; ++x, source += 4, target += channels) {
        target[0] = source[isBgr ? 2 : 0];
        target[1] = source[1];
        target[2] = source[isBgr ? 0 : 2];
        if (channels == 4)
            target[3] = source[3];
    }
}

void ConvertFloatRow(const Image& image, std::size_t y, std::vector<float>& floats, ByteImage& result,
                     std::uint8_t* target)
{
    LoadRow(image.format, image.pixels + y * image.rowPitch, floats.data(), image.width);
    const float largest = result.is16Bit ? 65535.0f : 255.0f;
    for (std::size_t x = 0; x < image.width; ++x) {
        for (int channel = 0; channel < result.channels; ++channel) {
            float value = floats[4 * x + static_cast<std::size_t>(channel)];
            value = value > 0.0f ? std::min(value, 1.0f) : 0.0f;
            if (IsFloat(image.format) && channel != 3)
                value = SrgbFromLinear(value);
            const auto sample = static_cast<std::uint16_t>(value * largest + 0.5f);
            if (result.is16Bit) {
                std::memcpy(target, &sample, 2);
                target += 2;
            } else {
                *target++ = static_cast<std::uint8_t>(sample);
            }
        }
    }
}

} // namespace

HRESULT ToByteImage(const Image& image, bool keep16Bit, bool keepGrey, bool keepAlpha, ByteImage& result)
{
    if (!image.pixels || image.width == 0 || image.height == 0)
        return E_INVALIDARG;
    if (!HasFloatRows(image.format))
        return ResultNotSupported;
    result.width = image.width;
    result.height = image.height;
    result.is16Bit = keep16Bit && IsDeep(image.format);
    result.isSrgb = IsSRGB(image.format) || IsFloat(image.format);
    result.channels = keepGrey && IsGrey(image.format) ? 1 : keepAlpha && HasAlpha(image.format) ? 4 : 3;
    result.samples.resize(result.RowBytes() * image.height);

    bool isBgr = false;
    const bool isByteColor = IsByteColor(image.format, isBgr);
    std::vector<float> floats(isByteColor ? 0 : image.width * 4);
    for (std::size_t y = 0; y < image.height; ++y) {
        std::uint8_t* target = result.samples.data() + y * result.RowBytes();
        if (isByteColor)
            CopyByteRow(image.pixels + y * image.rowPitch, isBgr, image.width, result.channels, target);
        else
            ConvertFloatRow(image, y, floats, result, target);
        // A grey format in a writer without grey has its value in red alone.
        if (!keepGrey && IsGrey(image.format))
            for (std::size_t x = 0; x < image.width; ++x)
                target[3 * x + 1] = target[3 * x + 2] = target[3 * x];
    }
    return S_OK;
}

/// Rows stand bottom up, padded to four bytes. With alpha the header is the fourth version's, which says where it is.
HRESULT EncodeBmp(const ByteImage& image, std::vector<std::uint8_t>& bytes)
{
    const bool hasAlpha = image.channels == 4;
    const std::size_t rowBytes = (image.width * static_cast<std::size_t>(image.channels) + 3) / 4 * 4;
    const std::uint32_t infoSize = hasAlpha ? 108 : 40, start = 14 + infoSize;
    const std::uint64_t total = start + std::uint64_t(rowBytes) * image.height;
    if (total > 0xffffffffu)
        return ResultOverflow;
    bytes.reserve(total);
    Append<std::uint16_t>(bytes, 0x4d42);
    Append(bytes, static_cast<std::uint32_t>(total));
    Append<std::uint32_t>(bytes, 0);
    Append(bytes, start);
    Append(bytes, infoSize);
    Append(bytes, static_cast<std::int32_t>(image.width));
    Append(bytes, static_cast<std::int32_t>(image.height));
    Append<std::uint16_t>(bytes, 1);
    Append(bytes, static_cast<std::uint16_t>(image.channels * 8));
    Append<std::uint32_t>(bytes, hasAlpha ? 3 : 0); // bit fields
    Append(bytes, static_cast<std::uint32_t>(rowBytes * image.height));
    Append<std::uint32_t>(bytes, 2835); // 72 dots per inch
    Append<std::uint32_t>(bytes, 2835);
    Append<std::uint64_t>(bytes, 0);
    if (hasAlpha) {
        for (const std::uint32_t mask : {0x00ff0000u, 0x0000ff00u, 0x000000ffu, 0xff000000u, 0x73524742u /* sRGB */})
            Append(bytes, mask);
        bytes.resize(start, 0);
    }
    for (std::size_t y = image.height; y-- > 0;) {
        const std::uint8_t* row = image.Row(y);
        const std::size_t end = bytes.size() + rowBytes;
        for (std::size_t x = 0; x < image.width; ++x, row += image.channels) {
            bytes.insert(bytes.end(), {row[2], row[1], row[0]});
            if (hasAlpha)
                bytes.push_back(row[3]);
        }
        bytes.resize(end, 0);
    }
    return S_OK;
}

} // namespace DirectX
