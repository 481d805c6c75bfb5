// Texture processing: whole textures in memory, their mip chains, block compression, capture from a device, and the
// picture files they are read from and written to. Names and layouts are the published ones.
//
// All operations may run on any thread, except CaptureTexture, which uses the immediate context. They throw nothing:
// failures come back as HRESULTs, and the output object is then empty.
//   E_INVALIDARG              a null pointer, an empty or inconsistent description
//   E_OUTOFMEMORY             memory ran out
//   HRESULT 0x80070032        the operation has no path for the format
//   HRESULT 0x80070026        a file in memory ends before what its header says
//   HRESULT 0x8007000D        a file in memory is damaged, or of another kind
//   HRESULT of the file system  a file could not be written; what was written of it is removed
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include <d3d11.h>

struct IPropertyBag2;

namespace DirectX {

/// Bits of a texel, or of a texel's share of a block; 0 for formats this library does not hold.
std::size_t BitsPerPixel(DXGI_FORMAT format);
bool IsCompressed(DXGI_FORMAT format);
bool IsSRGB(DXGI_FORMAT format);
bool IsTypeless(DXGI_FORMAT format);
bool HasAlpha(DXGI_FORMAT format);

/// Bytes from row to row and of a whole slice, both without padding.
HRESULT ComputePitch(DXGI_FORMAT format, std::size_t width, std::size_t height, std::size_t& rowPitch,
                     std::size_t& slicePitch);

enum TEX_DIMENSION
{
    TEX_DIMENSION_TEXTURE1D = 2,
    TEX_DIMENSION_TEXTURE2D = 3,
    TEX_DIMENSION_TEXTURE3D = 4,
};

enum TEX_MISC_FLAG : std::uint32_t
{
    TEX_MISC_TEXTURECUBE = 0x4,
};

/// Largest sizes that this library takes: those of a device of feature level 11.
constexpr std::size_t MAX_TEXTURE_SIZE = 16384;
constexpr std::size_t MAX_VOLUME_SIZE = 2048;
constexpr std::size_t MAX_ARRAY_SIZE = 2048;

/// The description of a texture. Sizes are texels of mip 0; `arraySize` counts the faces of cubes one by one.
struct TexMetadata
{
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t depth = 0;
    std::size_t arraySize = 0;
    std::size_t mipLevels = 0;
    std::uint32_t miscFlags = 0;  ///< TEX_MISC_FLAG
    std::uint32_t miscFlags2 = 0; ///< alpha mode, 0 when unknown
    DXGI_FORMAT format = DXGI_FORMAT_UNKNOWN;
    TEX_DIMENSION dimension = TEX_DIMENSION_TEXTURE2D;

    /// Position in a list of images; all ones when there is no such image.
    std::size_t ComputeIndex(std::size_t mip, std::size_t item, std::size_t slice) const;
    bool IsCubemap() const { return (miscFlags & TEX_MISC_TEXTURECUBE) != 0; }
    bool IsVolumemap() const { return dimension == TEX_DIMENSION_TEXTURE3D; }
};

/// One image: a view on texels that someone else holds.
struct Image
{
    std::size_t width = 0;
    std::size_t height = 0;
    DXGI_FORMAT format = DXGI_FORMAT_UNKNOWN;
    std::size_t rowPitch = 0;
    std::size_t slicePitch = 0;
    std::uint8_t* pixels = nullptr;
};

/// All images of a texture in one block. In an array the mips of an item stand together; in a volume the slices of a
/// mip do.
class ScratchImage
{
public:
    ScratchImage() = default;
    ScratchImage(ScratchImage&& other) noexcept { *this = std::move(other); }
    ScratchImage& operator=(ScratchImage&& other) noexcept;
    ~ScratchImage() { Release(); }
    ScratchImage(const ScratchImage&) = delete;
    ScratchImage& operator=(const ScratchImage&) = delete;

    /// Takes memory for the whole texture, without contents. `mipLevels` 0 asks for the full chain.
    HRESULT Initialize(const TexMetadata& metadata);
    void Release();

    const TexMetadata& GetMetadata() const { return m_metadata; }
    /// Null when there is no such image.
    const Image* GetImage(std::size_t mip, std::size_t item, std::size_t slice) const;
    const Image* GetImages() const { return m_images.get(); }
    std::size_t GetImageCount() const { return m_imageCount; }
    std::uint8_t* GetPixels() const { return m_memory.get(); }
    std::size_t GetPixelsSize() const { return m_size; }

private:
    HRESULT PlaceImages();

    TexMetadata m_metadata;
    std::unique_ptr<Image[]> m_images;
    std::size_t m_imageCount = 0;
    std::unique_ptr<std::uint8_t[]> m_memory;
    std::size_t m_size = 0;
};

/// Bytes of an encoded file.
class Blob
{
public:
    Blob() = default;
    Blob(Blob&&) noexcept = default;
    Blob& operator=(Blob&&) noexcept = default;

    HRESULT Initialize(std::size_t size);
    void Release();
    void* GetBufferPointer() const { return m_memory.get(); }
    std::size_t GetBufferSize() const { return m_size; }

private:
    std::unique_ptr<std::uint8_t[]> m_memory;
    std::size_t m_size = 0;
};

/// Reads a device texture of any dimension back, with all mips and slices; multisampled ones are resolved. Waits for
/// the device.
HRESULT CaptureTexture(ID3D11Device* device, ID3D11DeviceContext* context, ID3D11Resource* source,
                       ScratchImage& result);

enum TEX_FILTER_FLAGS : std::uint32_t
{
    TEX_FILTER_DEFAULT = 0,
};

/// Builds `levels` mips (0: the full chain) below the top images. Each level is a box filter over the one above, in
/// floating point: formats with sRGB values are filtered in linear light, and colour is not weighted by alpha.
HRESULT GenerateMipMaps(const Image* sources, std::size_t count, const TexMetadata& metadata, TEX_FILTER_FLAGS filter,
                        std::size_t levels, ScratchImage& mipChain);

enum TEX_COMPRESS_FLAGS : std::uint32_t
{
    TEX_COMPRESS_DEFAULT = 0,
    TEX_COMPRESS_SRGB_IN = 0x1000000, ///< the source holds sRGB values; a target without sRGB gets linear ones
    TEX_COMPRESS_SRGB_OUT = 0x2000000 ///< the target holds sRGB values, whatever its format says
};

/// Alpha below this share of one becomes transparent in formats with a single bit of alpha.
constexpr float TEX_THRESHOLD_DEFAULT = 0.5f;

/// Block-compresses every image, on all processors. Targets are BC1_UNORM and BC1_UNORM_SRGB. Sizes that are no
/// multiple of 4 repeat their last row and column.
HRESULT Compress(const Image* sources, std::size_t count, const TexMetadata& metadata, DXGI_FORMAT format,
                 TEX_COMPRESS_FLAGS flags, float threshold, ScratchImage& result);

enum DDS_FLAGS : std::uint32_t
{
    DDS_FLAGS_NONE = 0,
};

/// Reads the header only.
HRESULT GetMetadataFromDDSMemory(const void* source, std::size_t size, DDS_FLAGS flags, TexMetadata& metadata);
/// Decodes a DDS file of either header form. Legacy layouts without a DXGI format (24-bit colour, luminance, masks in
/// another order) are widened to the nearest one. `metadata` may be null.
HRESULT LoadFromDDSMemory(const void* source, std::size_t size, DDS_FLAGS flags, TexMetadata* metadata,
                          ScratchImage& result);
/// Writes the legacy header where it can say all there is to say, the extended one otherwise.
HRESULT SaveToDDSMemory(const Image* images, std::size_t count, const TexMetadata& metadata, DDS_FLAGS flags,
                        Blob& blob);
HRESULT SaveToDDSFile(const Image* images, std::size_t count, const TexMetadata& metadata, DDS_FLAGS flags,
                      const wchar_t* file);

/// Uncompressed TGA of 8 bits grey, 24 bits or 32 bits; other formats are converted as for the WIC writers.
HRESULT SaveToTGAMemory(const Image& image, Blob& blob);
HRESULT SaveToTGAFile(const Image& image, const wchar_t* file);

enum WIC_FLAGS : std::uint32_t
{
    WIC_FLAGS_NONE = 0,
};

using WICPropertySetter = std::function<void(IPropertyBag2*)>;

/// Encodes one image as PNG, JPEG or BMP (the GUID_ContainerFormat… values of wincodec.h). PNG keeps grey, alpha and
/// 16 bits; JPEG is written at quality 95 without alpha, BMP with 24 or 32 bits. Floating-point formats are taken as
/// linear light, clamped to 0..1 and encoded as sRGB. `target` and `setter` are accepted for the published signature;
/// a target other than null is refused.
HRESULT SaveToWICMemory(const Image& image, WIC_FLAGS flags, REFGUID container, Blob& blob,
                        const GUID* target = nullptr, WICPropertySetter setter = nullptr);
HRESULT SaveToWICFile(const Image& image, WIC_FLAGS flags, REFGUID container, const wchar_t* file,
                      const GUID* target = nullptr, WICPropertySetter setter = nullptr);

} // namespace DirectX
