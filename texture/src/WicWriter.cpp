// The picture containers by their names: PNG, JPEG and BMP.
#include "ByteImage.h"
#include "FileOutput.h"
#include "Results.h"

#include <new>
#include <wincodec.h>

extern "C" {
const GUID GUID_ContainerFormatBmp = {0x0af1d87e, 0xfcfe, 0x4188, {0xbd, 0xeb, 0xa7, 0x90, 0x64, 0x71, 0xcb, 0xe3}};
const GUID GUID_ContainerFormatPng = {0x1b7cfaf4, 0x713f, 0x473c, {0xbb, 0xcd, 0x61, 0x37, 0x42, 0x5f, 0xae, 0xaf}};
const GUID GUID_ContainerFormatJpeg = {0x19e4a5aa, 0x5662, 0x4fc5, {0xa0, 0xc0, 0x17, 0x58, 0x02, 0x8e, 0x10, 0x57}};
}

namespace DirectX {

namespace {

HRESULT Encode(const Image& image, REFGUID container, const GUID* target, Bytes& bytes)
try {
    const bool isPng = container == GUID_ContainerFormatPng;
    const bool isJpeg = container == GUID_ContainerFormatJpeg;
    const bool isBmp = container == GUID_ContainerFormatBmp;
    if (target || !(isPng || isJpeg || isBmp))
        return ResultNotSupported;
    ByteImage plain;
    if (const HRESULT result = ToByteImage(image, isPng, !isBmp, !isJpeg, plain); FAILED(result))
        return result;
    return isPng ? EncodePng(plain, bytes) : isJpeg ? EncodeJpeg(plain, bytes) : EncodeBmp(plain, bytes);
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

} // namespace

HRESULT SaveToWICMemory(const Image& image, WIC_FLAGS, REFGUID container, Blob& blob, const GUID* target,
                        WICPropertySetter)
{
    blob.Release();
    Bytes bytes;
    const HRESULT result = Encode(image, container, target, bytes);
    return SUCCEEDED(result) ? ToBlob(bytes, blob) : result;
}

HRESULT SaveToWICFile(const Image& image, WIC_FLAGS, REFGUID container, const wchar_t* file, const GUID* target,
                      WICPropertySetter)
{
    Bytes bytes;
    const HRESULT result = Encode(image, container, target, bytes);
    return SUCCEEDED(result) ? WriteFile(file, bytes) : result;
}

} // namespace DirectX
