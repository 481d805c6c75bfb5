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
constexpr std::array<gw::image::FormatReplacement, 2> s_widened = {{
    {gw::FORMAT_RGB8, gw::FORMAT_RGBA8},
    {gw::FORMAT_RGB16, gw::FORMAT_RGBA16},
}};

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

unsigned ImageFile::GetByteSize() const
{
    return GetWidth() * GetHeight() * (m_format == gw::FORMAT_RGBA16 ? 8u : 4u);
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
    if (isCmyk) {
        m_spread.resize(GetByteSize());
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
    const bool isInBlocks = gw::image::GetFormatDescription(m_image.GetFormat()).isBlockCompressed;
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
    m_spread.resize(GetByteSize());
    const std::size_t pixels = std::size_t(GetWidth()) * GetHeight();
    if (isGrey8)
        SpreadGrey(m_image.GetPixels(), m_spread.data(), pixels, hasAlpha);
    else
        SpreadGrey(reinterpret_cast<const std::uint16_t*>(m_image.GetPixels()),
                   reinterpret_cast<std::uint16_t*>(m_spread.data()), pixels, hasAlpha);
}

} // namespace gleamview
