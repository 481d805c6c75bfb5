// An image file, decoded and ready to become a texture.
#pragma once

#include <Gleamwork/image/Image.h>

#include <span>
#include <string>
#include <vector>

namespace gleamview {

/// The pixels of one file as FORMAT_RGBA8 or, for 16-bit files, FORMAT_RGBA16. Grey files are spread over the three
/// colours, four-component JPEG files are taken as inverted CMYK, as the programs that write them do.
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
    /// Rows without padding; valid as long as this object.
    unsigned char* GetPixels() { return m_spread.empty() ? m_image.GetPixels() : m_spread.data(); }
    unsigned GetByteSize() const;

private:
    bool Finish(const std::string& path, bool isCmyk, std::string& error);
    bool Check(const std::string& path, std::string& error) const;
    void SpreadToColor();

    gw::Image m_image;
    gw::EFormat m_format = gw::FORMAT_RGBA8;
    std::vector<unsigned char> m_spread;
};

} // namespace gleamview
