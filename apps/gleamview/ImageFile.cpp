// Loading of image files, and the step from grey and CMYK to colour.
#include "ImageFile.h"

#include "Options.h"

#include <array>
#include <cstring>
#include <filesystem>
#include <qs/Path.h>

namespace gleamview {

namespace {

/// What a device has no format for is widened while it is read.
constexpr std::array<gw::image::FormatReplacement, 7> s_widened = {{
    {gw::FORMAT_RGB8, gw::FORMAT_RGBA8},
    {gw::FORMAT_RGB16, gw::FORMAT_RGBA16},
    {gw::FORMAT_RGB565, gw::FORMAT_RGBA8},
    {gw::FORMAT_RGBA4, gw::FORMAT_RGBA8},
    {gw::FORMAT_A1RGB5, gw::FORMAT_RGBA8},
    {gw::FORMAT_RGB10A2, gw::FORMAT_RGBA16},
    {gw::FORMAT_BGRA8, gw::FORMAT_RGBA8},
}};

/// What remains is shown as it is.
bool IsShown(gw::EFormat format)
{
    switch (format) {
    case gw::FORMAT_R8:
    case gw::FORMAT_RG8:
    case gw::FORMAT_RGBA8:
    case gw::FORMAT_R16:
    case gw::FORMAT_RG16:
    case gw::FORMAT_RGBA16:
    case gw::FORMAT_RGBA16F:
    case gw::FORMAT_RGBA32F:
        return true;
    default:
        return gw::image::GetFormatDescription(format).isBlockCompressed;
    }
}

template <class Sample>
void SpreadGrey(const Sample* grey, Sample* color, std::size_t pixels, bool hasAlpha)
{
    for (std::size_t i = 0; i < pixels; ++i) {
        const Sample value = hasAlpha ? grey[2 * i] : grey[i];
        const Sample alpha = hasAlpha ? grey[2 * i + 1] : static_cast<Sample>(~Sample(0));
        for (int channel = 0; channel < 3; ++channel)
            color[4 * i + channel] = value;
        color[4 * i + 3] = alpha;
    }
}

/// Inverted CMYK: every component is the light that its ink lets through.
void ConvertInvertedCmyk(const unsigned char* cmyk, unsigned char* color, std::size_t pixels)
{
    for (std::size_t i = 0; i < pixels; ++i) {
        const unsigned black = cmyk[4 * i + 3];
        for (int channel = 0; channel < 3; ++channel)
            color[4 * i + channel] = static_cast<unsigned char>((cmyk[4 * i + channel] * black + 127) / 255);
        color[4 * i + 3] = 255;
    }
}

bool HasExtension(const qs::Path& path, const char* wanted)
{
    const qs::_StringView<char> extension = path.GetExtension();
    const std::string text(extension.GetData(), static_cast<std::size_t>(extension.GetLength()));
    return strcasecmp(text.c_str(), wanted) == 0;
}

bool IsJpeg(const qs::Path& path)
{
    return HasExtension(path, "jpg") || HasExtension(path, "jpeg");
}

bool LoadImageOrCursor(gw::Image& image, const qs::Path& file, const gw::ImageLoadParams& params)
{
    unsigned short hotSpotX = 0, hotSpotY = 0;
    return HasExtension(file, "cur") ? image.LoadCursor(file, {}, params, hotSpotX, hotSpotY)
                                     : image.Load(file, {}, params);
}

gw::EImageFileType DetectType(const std::string& name, std::span<const std::uint8_t> bytes)
{
    const auto startsWith = [&](std::string_view magic) {
        return bytes.size() >= magic.size() && std::memcmp(bytes.data(), magic.data(), magic.size()) == 0;
    };
    if (startsWith("\x89PNG"))
        return gw::IMAGE_FILE_PNG;
    if (startsWith("\xff\xd8"))
        return gw::IMAGE_FILE_JPEG;
    if (startsWith("DDS "))
        return gw::IMAGE_FILE_DDS;
    if (startsWith("BM"))
        return gw::IMAGE_FILE_BMP;
    // A TGA file has no mark of its own.
    const std::string extension = std::filesystem::path(name).extension().string();
    return strcasecmp(extension.c_str(), ".tga") == 0 ? gw::IMAGE_FILE_TGA : gw::IMAGE_FILE_UNKNOWN;
}

} // namespace

ImageFile::~ImageFile()
{
    m_image.FreePixelData();
}

bool ImageFile::ReadSize(const std::string& path, unsigned& width, unsigned& height)
{
    gw::Image header;
    gw::ImageLoadParams params;
    params.flags = gw::IMAGE_LOAD_HEADER_ONLY;
    if (!LoadImageOrCursor(header, qs::Path(qs::PATH_ROOT_NONE, path.c_str()), params))
        return false;
    width = static_cast<unsigned>(header.GetWidth());
    height = static_cast<unsigned>(header.GetHeight());
    return width > 0 && height > 0;
}

bool ImageFile::Load(const std::string& path, std::string& error)
{
    std::error_code code;
    if (!std::filesystem::is_regular_file(path, code)) {
        error = path + ": " + (code ? code.message() : "not a file");
        return false;
    }
    const qs::Path file(qs::PATH_ROOT_NONE, path.c_str());
    gw::ImageLoadParams params;
    params.formatReplacements = {s_widened.data(), static_cast<std::int64_t>(s_widened.size())};

    // Four components tell themselves apart from three only by what the file's own format is.
    gw::Image header;
    gw::ImageLoadParams headerParams;
    headerParams.flags = gw::IMAGE_LOAD_HEADER_ONLY;
    const bool isCmyk = IsJpeg(file) && header.Load(file, {}, headerParams) && header.GetFormat() == gw::FORMAT_RGBA8;

    if (!LoadImageOrCursor(m_image, file, params)) {
        error = path + ": not an image that can be read (png, jpg, dds, bmp, tga and cur are known), or damaged";
        return false;
    }
    return Finish(path, isCmyk, error);
}

bool ImageFile::LoadBytes(const std::string& name, std::span<const std::uint8_t> bytes, std::string& error)
{
    const qs::MemView<const unsigned char> view(bytes.data(), static_cast<std::int64_t>(bytes.size()));
    gw::ImageLoadParams params;
    params.formatReplacements = {s_widened.data(), static_cast<std::int64_t>(s_widened.size())};
    const gw::EImageFileType type = DetectType(name, bytes);
    gw::Image header;
    gw::ImageLoadParams headerParams;
    headerParams.flags = gw::IMAGE_LOAD_HEADER_ONLY;
    const bool isCmyk =
        type == gw::IMAGE_FILE_JPEG && header.Load(type, view, headerParams) && header.GetFormat() == gw::FORMAT_RGBA8;
    if (type == gw::IMAGE_FILE_UNKNOWN || !m_image.Load(type, view, params)) {
        error = name + ": not an image that can be read, or damaged";
        return false;
    }
    return Finish(name, isCmyk, error);
}

bool ImageFile::Finish(const std::string& path, bool isCmyk, std::string& error)
{
    if (!Check(path, error))
        return false;
    m_format = m_image.GetFormat();
    const bool isInBlocks = gw::image::GetFormatDescription(m_format).isBlockCompressed;
    m_levels = isInBlocks && m_image.GetDepth() <= 1 ? static_cast<unsigned>(m_image.GetMipMapCount()) : 1;
    if (isCmyk) {
        m_spread.resize(CountPixels() * 4);
        ConvertInvertedCmyk(m_image.GetPixels(), m_spread.data(), m_spread.size() / 4);
    } else {
        SpreadToColor();
    }
    return true;
}

bool ImageFile::Check(const std::string& path, std::string& error) const
{
    if (m_image.GetWidth() < 1 || m_image.GetHeight() < 1 || m_image.GetWidth() > MaxPictureSize ||
        m_image.GetHeight() > MaxPictureSize) {
        error = path + ": " + std::to_string(m_image.GetWidth()) + " by " + std::to_string(m_image.GetHeight()) +
                " pixels; a texture has 1 to " + std::to_string(MaxPictureSize) + " each way";
        return false;
    }
    const gw::image::FormatDescription format = gw::image::GetFormatDescription(m_image.GetFormat());
    if (!IsShown(m_image.GetFormat())) {
        error = path + ": pixels of the kind " + format.name + " are not shown";
        return false;
    }
    const bool isInBlocks = format.isBlockCompressed;
    if (isInBlocks && (m_image.GetWidth() % 4 != 0 || m_image.GetHeight() % 4 != 0)) {
        error = path + ": " + std::to_string(m_image.GetWidth()) + " by " + std::to_string(m_image.GetHeight()) +
                " pixels; a compressed texture has whole blocks of 4 by 4";
        return false;
    }
    return true;
}

void ImageFile::SpreadToColor()
{
    const bool isGrey8 = m_format == gw::FORMAT_R8 || m_format == gw::FORMAT_RG8;
    const bool isGrey16 = m_format == gw::FORMAT_R16 || m_format == gw::FORMAT_RG16;
    if (!isGrey8 && !isGrey16)
        return;
    const bool hasAlpha = m_format == gw::FORMAT_RG8 || m_format == gw::FORMAT_RG16;
    m_format = isGrey8 ? gw::FORMAT_RGBA8 : gw::FORMAT_RGBA16;
    const std::size_t pixels = CountPixels();
    m_spread.resize(pixels * (isGrey8 ? 4 : 8));
    if (isGrey8)
        SpreadGrey(m_image.GetPixels(), m_spread.data(), pixels, hasAlpha);
    else
        SpreadGrey(reinterpret_cast<const std::uint16_t*>(m_image.GetPixels()),
                   reinterpret_cast<std::uint16_t*>(m_spread.data()), pixels, hasAlpha);
}

} // namespace gleamview
