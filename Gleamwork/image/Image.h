// One decoded image in memory, and the loading of image files.
#pragma once

#include "Gleamwork/Export.h"
#include "Gleamwork/image/Format.h"
#include "Gleamwork/image/GraphicsBuffer.h"

#include <cstdint>
#include <qs/MemView.h>
#include <utility>

namespace qs {
class EventVisitor;
class Path;
} // namespace qs

namespace gw {

enum EImageFileType : uint32_t
{
    IMAGE_FILE_DDS = 0,
    IMAGE_FILE_JPEG = 1,
    IMAGE_FILE_PNG = 2,
    IMAGE_FILE_TGA = 3,
    IMAGE_FILE_BMP = 4,
    /// 5 is kept free.
    IMAGE_FILE_UNKNOWN = 6
};

enum EImageFlag : uint32_t
{
    IMAGE_FLAG_SRGB = 1,
    IMAGE_FLAG_CUBE = 2
};

enum EImageLoadFlag : uint32_t
{
    IMAGE_LOAD_NO_MIPMAPS = 1,     ///< set by callers that did not ask for mipmaps; no reader looks at it
    IMAGE_LOAD_HEADER_ONLY = 2,    ///< fill the description, allocate and read no pixels
    IMAGE_LOAD_SRGB = 4,           ///< mark the loaded image as sRGB
    IMAGE_LOAD_KEEP_SMALL_MIPS = 8 ///< ignore mipSkip for images of at most 64 by 64
};

namespace image {

/// A format and what stands in for it.
using FormatReplacement = std::pair<EFormat, EFormat>;
/// A view on pairs that their holder keeps alive; searched from the front.
using FormatReplacements = qs::Span<const FormatReplacement>;

} // namespace image

struct ImageLoadParams
{
    uint32_t flags = 0;  ///< EImageLoadFlag
    int64_t mipSkip = 0; ///< mip levels to leave out, for files that have any
    /// What the file holds, after the reader's own replacements, is looked up here; the result is the image's format.
    image::FormatReplacements formatReplacements;
};

/// The description of an image. Pixels lie without any padding, outermost the array element, then for a cube the six
/// faces, then the mip levels from 0 upward, then slices, rows and pixels (or rows of 4x4 blocks).
struct ImageData
{
    EFormat format = FORMAT_MAX;        ///< of the pixels as held
    uint32_t flags = 0;                 ///< EImageFlag
    uint32_t nativeFormat = 0xffffffff; ///< a platform's own code for data in platform layout; 0xffffffff is none
    uint32_t tileMode = 0xffffffff;     ///< a platform's tile mode; 0xffffffff is none
    int64_t width = 0;                  ///< of mip level 0
    int64_t height = 0;
    int64_t depth = 0;
    int64_t originalMipCount = 0; ///< levels that the file had
    int64_t mipCount = 0;         ///< levels held here
    int64_t arraySize = 0;
};

/// An image is used by one thread at a time. Its destructor does not free the pixels: whoever holds the image calls
/// FreePixelData, or moves the pixels on inside a recorded command.
class GW_API Image : public ImageData
{
public:
    QS_DECLARE_ALLOC(gw::Image)

    Image();
    ~Image() = default;
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    /// Reads a file's bytes. What the image held is purged first. False when there is no reader for the type (the image
    /// is then left as it was) or when the reader fails (no pixels are held then, the description is what was read).
    bool Load(EImageFileType type, const qs::MemView<const unsigned char>& file, const ImageLoadParams& params);
    /// Finds the reader by the path's extension, in any case of letters. A view that is not null is the file's content;
    /// otherwise the file is read. False for unknown extensions and files that cannot be read, without a message.
    bool Load(const qs::Path& path, const qs::MemView<const unsigned char>& file, const ImageLoadParams& params);
    /// Reads the first picture of a Windows cursor file into a fresh image, and its hot spot in pixels. The picture is
    /// a PNG, or a bitmap of 8, 24 or 32 bits whose mask is left alone; other kinds give false, and no hot spot.
    bool LoadCursor(const qs::Path& path, const qs::MemView<const unsigned char>& file, const ImageLoadParams& params,
                    unsigned short& hotSpotX, unsigned short& hotSpotY);

    void FreePixelData() { m_buffer.SafeFree(this); }

    unsigned char* GetPixels() const { return m_buffer.GetUBytes(); }
    /// Start of a mip level of the first element (of a cube: of its first face); null when there is no such level.
    unsigned char* GetPixels(int64_t mip) const;
    unsigned char* GetPixels(int64_t mip, int64_t arrayIndex) const;
    /// Bytes of one element's consecutive levels, all six faces of a cube; FORMAT_NONE stands for the image's format.
    uint64_t GetMipMapSize(int64_t firstMip, int64_t count, EFormat sizeFormat) const;
    GraphicsBuffer& GetBuffer() { return m_buffer; }
    uint64_t GetBufferSize() const { return m_buffer.GetSize(); }

    EFormat GetFormat() const { return format; }
    int64_t GetWidth() const { return width; }
    int64_t GetHeight() const { return height; }
    int64_t GetDepth() const { return depth; }
    int64_t GetMipMapCount() const { return mipCount; }
    int64_t GetOriginalMipCount() const { return originalMipCount; }
    int64_t GetArraySize() const { return arraySize; }
    uint32_t GetNativeFormat() const { return nativeFormat; }
    uint32_t GetTileMode() const { return tileMode; }

    bool IsCube() const { return (flags & IMAGE_FLAG_CUBE) != 0; }
    bool Is1D() const { return depth == 1 && height == 1; }
    bool Is2D() const { return depth == 1 && height >= 2; }
    bool Is3D() const { return depth > 1; }
    bool HasNativeFormat() const { return nativeFormat != 0xffffffff; }
    bool IsTiled() const { return tileMode != 0xffffffff; }

    /// Carries the image inside a recorded command from one thread to another; the pixels travel as an address.
    void Visit(qs::EventVisitor* visitor);

private:
    qs::MemView<unsigned char> Create(EFormat newFormat, int64_t newWidth, int64_t newHeight, int64_t newDepth,
                                      int64_t newMipCount, int64_t newOriginalMipCount, int64_t newArraySize);
    void Purge();

    GraphicsBuffer m_buffer;
};

} // namespace gw
