// An image file, decoded and ready to become a texture.
#pragma once

#include <Gleamwork/image/Image.h>

#include <span>
#include <string>
#include <vector>

namespace gleamview {

/// The pixels of one file as FORMAT_RGBA8 or, for 16-bit files, FORMAT_RGBA16; those of DDS files may stay in blocks or
/// as FORMAT_RGBA16F or FORMAT_RGBA32F. Grey files are spread over the three colours, four-component JPEG files are
/// taken as inverted CMYK, as the programs that write them do. Of arrays, cubes and volumes the first picture counts.
class ImageFile
{
public:
    ImageFile() = default;
    ~ImageFile();
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;

    /// False, with a sentence that names the file in `error`, when there is no picture to be had from it.
    bool Load(const std::string& path, std::string& error);

    /// The same for an image file's bytes; the kind shows in the bytes, whatever the name's extension says.
    bool LoadBytes(const std::string& name, std::span<const std::uint8_t> bytes, std::string& error);

    unsigned GetWidth() const { return static_cast<unsigned>(m_image.GetWidth()); }
    unsigned GetHeight() const { return static_cast<unsigned>(m_image.GetHeight()); }
    gw::EFormat GetFormat() const { return m_format; }
    /// Mip levels behind each other in the pixels: those of the file for pixels in blocks, else 1.
    unsigned GetLevels() const { return m_levels; }
    /// Rows without padding; valid as long as this object.
    unsigned char* GetPixels() { return m_spread.empty() ? m_image.GetPixels() : m_spread.data(); }

    /// Reads the size of a picture and nothing more.
    static bool ReadSize(const std::string& path, unsigned& width, unsigned& height);

private:
    std::size_t CountPixels() const { return std::size_t(GetWidth()) * GetHeight(); }
    bool Finish(const std::string& path, bool isCmyk, std::string& error);
    bool Check(const std::string& path, std::string& error) const;
    void SpreadToColor();

    gw::Image m_image;
    gw::EFormat m_format = gw::FORMAT_RGBA8;
    unsigned m_levels = 1;
    std::vector<unsigned char> m_spread;
};

} // namespace gleamview
