// The image container and the choice of a file reader.
#include "Gleamwork/image/Image.h"

#include "Gleamwork/image/ImageUtils.h"
#include "Gleamwork/image/SaturatedMath.h"
#include "Gleamwork/image/win32/ImageReader.h"

#include <algorithm>
#include <qs/Event.h>
#include <qs/FileSystem.h>
#include <qs/Log.h>
#include <qs/MemStream.h>
#include <qs/Path.h>
#include <qs/Tokenizer.h>

namespace gw {
namespace {

using ConstBytes = qs::MemView<const unsigned char>;

struct ReaderRow
{
    EImageFileType type;
    const char* extensions;
    image::ImageReader reader;
};

constexpr ReaderRow readers[] = {
    {IMAGE_FILE_BMP, "bmp", image::LoadBmp},         {IMAGE_FILE_DDS, "dds", image::LoadDds},
    {IMAGE_FILE_JPEG, "jpg, jpeg", image::LoadJpeg}, {IMAGE_FILE_PNG, "png", image::LoadPng},
    {IMAGE_FILE_TGA, "tga", image::LoadTga},
};

const ReaderRow* FindReader(EImageFileType type)
{
    const auto* row =
        std::find_if(std::begin(readers), std::end(readers), [&](const ReaderRow& r) { return r.type == type; });
    return row == std::end(readers) ? nullptr : row;
}

bool ListsExtension(const char* extensions, const qs::_StringView<char>& extension)
{
    static constexpr char delimiters[] = {' ', '\0', ',', ';'};
    const qs::_StringView<char> delimiterView(delimiters, sizeof delimiters);
    for (const qs::_StringView<char> token : qs::_private::TokenizeIterator<char>(extensions, delimiterView)) {
        if (token.EqualsNoCase(extension))
            return true;
    }
    return false;
}

EImageFileType FindFileType(const qs::Path& path)
{
    const qs::_StringView<char> extension = path.GetExtension();
    for (const ReaderRow& row : readers) {
        if (!extension.IsEmpty() && ListsExtension(row.extensions, extension))
            return row.type;
    }
    return IMAGE_FILE_UNKNOWN;
}

// A file's bytes: those that the caller has, or the file's own. Valid as long as the object.
class FileContent
{
public:
    FileContent(const qs::Path& path, const ConstBytes& given) : m_bytes(given)
    {
        if (given.GetData() != nullptr)
            return;
        m_reader = qs::FileReader(path, qs::FileReader::TYPE_MEMORY);
        if (m_reader.IsLoaded())
            m_bytes = m_reader.GetMemory();
    }
    const ConstBytes& Bytes() const { return m_bytes; }
    bool IsEmpty() const { return m_bytes.GetData() == nullptr || m_bytes.GetSize() == 0; }

private:
    qs::FileReader m_reader;
    ConstBytes m_bytes;
};

// The start of a cursor file, little-endian: a directory header and the first entry.
struct CursorHeader
{
    uint16_t reserved;
    uint16_t type; // 2 for cursors
    uint16_t count;
    uint8_t width, height, colourCount, reservedInEntry;
    uint16_t hotSpotX, hotSpotY;
};
static_assert(sizeof(CursorHeader) == 14);
constexpr uint16_t cursorType = 2;

struct CursorPicture
{
    uint32_t size;
    uint32_t offset; // from the start of the file
};

} // namespace

Image::Image()
{
    m_buffer.TakeOwnership(this);
}

bool Image::Load(EImageFileType type, const ConstBytes& file, const ImageLoadParams& params)
{
    if (type == IMAGE_FILE_UNKNOWN)
        QS_LOG_ASSERT("Gleamwork/image/Image", "gw::Image::Load", "Can't load unknown image format, duh");
    const ReaderRow* row = FindReader(type);
    if (!row)
        return false;
    Purge();
    if (!row->reader(file, params, *this)) {
        m_buffer.Free();
        return false;
    }
    m_buffer.TakeOwnership(this);
    if ((params.flags & IMAGE_LOAD_SRGB) != 0)
        flags |= IMAGE_FLAG_SRGB;
    return true;
}

bool Image::Load(const qs::Path& path, const ConstBytes& file, const ImageLoadParams& params)
{
    const EImageFileType type = FindFileType(path);
    if (type == IMAGE_FILE_UNKNOWN)
        return false;
    const FileContent content(path, file);
    if (content.IsEmpty())
        return false;
    const image::LoadingFileName name(path.ToChar());
    return Load(type, content.Bytes(), params);
}

bool Image::LoadCursor(const qs::Path& path, const ConstBytes& file, const ImageLoadParams& params,
                       unsigned short& hotSpotX, unsigned short& hotSpotY)
{
    const FileContent content(path, file);
    if (content.IsEmpty())
        return false;
    const image::LoadingFileName name(path.ToChar());
    qs::MemReadStream stream(content.Bytes());
    CursorHeader header;
    CursorPicture picture;
    if (!stream.ReadValue(header) || header.type != cursorType || !stream.ReadValue(picture) ||
        !stream.SetPosition(picture.offset))
        return false;
    const ConstBytes bytes = stream.GetRemainder();
    const bool good = image::IsPng(bytes) ? image::LoadPng(bytes, params, *this)
                                          : image::LoadCursorBmp(bytes, picture.size, params, *this);
    if (!good) {
        m_buffer.SafeFree(this);
        return false;
    }
    hotSpotX = header.hotSpotX;
    hotSpotY = header.hotSpotY;
    return true;
}

unsigned char* Image::GetPixels(int64_t mip) const
{
    return GetPixels(mip, 0);
}

unsigned char* Image::GetPixels(int64_t mip, int64_t arrayIndex) const
{
    if (mip < 0 || mip >= mipCount || arrayIndex < 0 || arrayIndex >= arraySize || !m_buffer.GetData())
        return nullptr;
    uint64_t offset = image::CalculateMipMapSize(*this, 0, mip, format);
    if (IsCube())
        offset /= 6;
    offset += static_cast<uint64_t>(arrayIndex) * image::CalculateMipMapSize(*this, 0, mipCount, format);
    return m_buffer.GetUBytes() + offset;
}

uint64_t Image::GetMipMapSize(int64_t firstMip, int64_t count, EFormat sizeFormat) const
{
    return image::CalculateMipMapSize(*this, firstMip, count, sizeFormat == FORMAT_NONE ? format : sizeFormat);
}

void Image::Visit(qs::EventVisitor* visitor)
{
    m_buffer.Visit(visitor);
    visitor->Visit(flags);
    visitor->Visit(width);
    visitor->Visit(height);
    visitor->Visit(depth);
    visitor->Visit(mipCount);
    visitor->Visit(originalMipCount);
    visitor->Visit(arraySize);
    uint32_t formatValue = format;
    visitor->Visit(formatValue);
    format = static_cast<EFormat>(formatValue);
    visitor->Visit(nativeFormat);
    visitor->Visit(tileMode);
}

qs::MemView<unsigned char> Image::Create(EFormat newFormat, int64_t newWidth, int64_t newHeight, int64_t newDepth,
                                         int64_t newMipCount, int64_t newOriginalMipCount, int64_t newArraySize)
{
    format = newFormat;
    width = newWidth;
    height = newHeight;
    depth = newDepth;
    mipCount = newMipCount;
    originalMipCount = newOriginalMipCount;
    arraySize = newArraySize;
    nativeFormat = 0xffffffff;
    tileMode = 0xffffffff;
    const uint64_t elementSize = image::CalculateMipMapSize(*this, 0, mipCount, format);
    m_buffer.Alloc(image::details::MultiplySaturated(elementSize, static_cast<uint64_t>(arraySize)), 0);
    return qs::MemView<unsigned char>(m_buffer.GetUBytes(), m_buffer.GetSize());
}

void Image::Purge()
{
    m_buffer.SafeFree(this);
    static_cast<ImageData&>(*this) = ImageData();
    m_buffer = GraphicsBuffer();
    // The move took the temporary's owner along.
    m_buffer.TakeOwnership(this);
}

} // namespace gw
