// What picture writers take: rows of plain bytes or 16-bit samples in the order of red, green, blue, alpha.
#pragma once

#include <DirectXTex.h>

#include <vector>

namespace DirectX {

struct ByteImage
{
    std::size_t width = 0, height = 0;
    int channels = 4;     ///< 1 grey, 3 colour, 4 with alpha
    bool is16Bit = false; ///< samples in the processor's byte order
    bool isSrgb = false;  ///< the format says that values follow the sRGB curve
    std::vector<std::uint8_t> samples;

    std::size_t RowBytes() const { return width * static_cast<std::size_t>(channels) * (is16Bit ? 2 : 1); }
    const std::uint8_t* Row(std::size_t y) const { return samples.data() + y * RowBytes(); }
};

/// Fails for formats without a meaning as a picture. `keep16Bit` keeps formats of more than 8 bits; `keepGrey` and
/// `keepAlpha` keep one and four channels where the format has them.
HRESULT ToByteImage(const Image& image, bool keep16Bit, bool keepGrey, bool keepAlpha, ByteImage& result);

/// The encoders; each fills `bytes` with a whole file.
HRESULT EncodePng(const ByteImage& image, std::vector<std::uint8_t>& bytes);
HRESULT EncodeJpeg(const ByteImage& image, std::vector<std::uint8_t>& bytes);
HRESULT EncodeBmp(const ByteImage& image, std::vector<std::uint8_t>& bytes);
HRESULT EncodeTga(const ByteImage& image, std::vector<std::uint8_t>& bytes);

} // namespace DirectX
