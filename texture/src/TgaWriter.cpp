// TGA files: uncompressed, rows from the top, with the footer of the format's second version.
#include "ByteImage.h"
#include "FileOutput.h"
#include "Results.h"

#include <new>

namespace DirectX {

HRESULT EncodeTga(const ByteImage& image, std::vector<std::uint8_t>& bytes)
{
    constexpr std::uint8_t fromTheTop = 0x20;
    constexpr char footer[] = "\0\0\0\0\0\0\0\0TRUEVISION-XFILE.";
    const bool isGrey = image.channels == 1, hasAlpha = image.channels == 4;
    bytes.reserve(18 + image.samples.size() + sizeof footer);
    bytes.assign(18, 0);
    bytes[2] = isGrey ? 3 : 2;
    bytes[12] = static_cast<std::uint8_t>(image.width);
    bytes[13] = static_cast<std::uint8_t>(image.width >> 8);
    bytes[14] = static_cast<std::uint8_t>(image.height);
    bytes[15] = static_cast<std::uint8_t>(image.height >> 8);
    bytes[16] = static_cast<std::uint8_t>(image.channels * 8);
    bytes[17] = static_cast<std::uint8_t>(fromTheTop | (hasAlpha ? 8 : 0));
    for (std::size_t y = 0; y < image.height; ++y) {
        const std::uint8_t* row = image.Row(y);
        if (isGrey) {
            bytes.insert(bytes.end(), row, row + image.width);
            continue;
        }
        for (std::size_t x = 0; x < image.width; ++x, row += image.channels) {
            bytes.insert(bytes.end(), {row[2], row[1], row[0]});
            if (hasAlpha)
                bytes.push_back(row[3]);
        }
    }
    bytes.insert(bytes.end(), footer, footer + sizeof footer);
    return S_OK;
}

namespace {

HRESULT EncodeImage(const Image& image, Bytes& bytes)
try {
    ByteImage plain;
    const HRESULT result = ToByteImage(image, false, true, true, plain);
    return SUCCEEDED(result) ? EncodeTga(plain, bytes) : result;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

} // namespace

HRESULT SaveToTGAMemory(const Image& image, Blob& blob)
{
    blob.Release();
    Bytes bytes;
    const HRESULT result = EncodeImage(image, bytes);
    return SUCCEEDED(result) ? ToBlob(bytes, blob) : result;
}

HRESULT SaveToTGAFile(const Image& image, const wchar_t* file)
{
    Bytes bytes;
    const HRESULT result = EncodeImage(image, bytes);
    return SUCCEEDED(result) ? WriteFile(file, bytes) : result;
}

} // namespace DirectX
