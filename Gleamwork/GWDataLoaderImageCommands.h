// The data loader's commands that carry images.
#pragma once

#include "Gleamwork/GWDataLoaderCommands.h"
#include "Gleamwork/image/Image.h"

namespace qs {
class Path;
}

namespace gw {

/// Makes a texture of an image, whose pixels it owns.
class DataLoaderCreateTextureCommand : public DataLoaderCommand<1>
{
public:
    void Execute() override;
    void clear() override;
    void visit(qs::EventVisitor* visitor) override;
    /// Loads the image and reserves the handle, which stays unassigned, after an error, when the image cannot be read.
    void InitTexture(const qs::Path& path, bool mipmaps, bool isSrgb, int mipSkip);

    Image image;
    bool srgb = false;
    qs::ObjectHandle handle = qs::ObjectHandle::Unassigned;
};

/// Makes a texture array; owns its pixels and `mipSizes`.
class DataLoaderCreateTextureArrayCommand : public DataLoaderCommand<2>
{
public:
    DataLoaderCreateTextureArrayCommand() { memory.TakeOwnership(this); }
    void Execute() override;
    void clear() override;
    void visit(qs::EventVisitor* visitor) override;
    /// Loads the images one by one and reserves the handle in any case.
    void InitTexture(const qs::Path* paths, std::uint64_t count, bool mipmaps, bool srgb, int mipSkip);

    qs::ObjectHandle handle = qs::ObjectHandle::Unassigned;
    GraphicsBuffer memory;
    EFormat format = FORMAT_RGBA8;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint32_t depth = 0;
    std::uint32_t mipCount = 0;
    unsigned* mipSizes = nullptr; ///< of all elements together
    std::uint32_t arraySize = 1;
    ETextureUsageFlag usage = eTextureUsageFlag_ShaderResource;

private:
    bool TakeDescription(const Image& first, std::uint64_t count);
    bool Fits(const Image& other, std::uint64_t size) const;
};

/// Replaces a texture by an image, whose pixels it owns, or drops its largest mips.
class DataLoaderStreamTextureCommand : public DataLoaderCommand<6>
{
public:
    void Execute() override;
    void clear() override;
    void visit(qs::EventVisitor* visitor) override;

    Image image;
    bool srgb = false;
    qs::ObjectHandle handle = qs::ObjectHandle::Unassigned;
    int mip = 0;
};

/// The load that all of these share. False when there is no image; what is odd about one is an assertion.
bool LoadImage(Image& image, const qs::Path& path, const qs::MemView<const unsigned char>& file, bool mipmaps,
               int mipSkip, bool srgb);

} // namespace gw
