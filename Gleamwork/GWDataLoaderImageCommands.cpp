// The data loader's commands that carry images.
#include "Gleamwork/GWDataLoaderImageCommands.h"

#include "Gleamwork/DeviceImageFormats.h"
#include "Gleamwork/Renderer.h"

#include <cstring>
#include <limits>
#include <qs/Log.h>
#include <qs/Path.h>
#include <qs/Profile.h>
#include <qs/Settings.h>

namespace gw {
namespace {

constexpr const char* FILE_NAME = "Gleamwork/GWDataLoader";
constexpr const char* ARRAY_SCOPE = "\"TexArrayMem\"";
constexpr const char* ARRAY_FUNCTION = "gw::DataLoaderCreateTextureArrayCommand::InitTexture";
constexpr std::uint32_t NOT_TILED = 0xffffffffu;

int GetMipSkip(int mipSkip)
{
    return mipSkip < 0 ? GraphicSettings->defaultImageLoadQuality : mipSkip;
}

} // namespace

bool LoadImage(Image& image, const qs::Path& path, const qs::MemView<const unsigned char>& file, bool mipmaps,
               int mipSkip, bool srgb)
{
    ImageLoadParams params;
    params.flags = IMAGE_LOAD_KEEP_SMALL_MIPS | (srgb ? IMAGE_LOAD_SRGB : 0u) | (mipmaps ? 0u : IMAGE_LOAD_NO_MIPMAPS);
    params.mipSkip = mipSkip;
    params.formatReplacements = image::GetDeviceFormatReplacements();
    const bool isLoaded = image.Load(path, file, params);
    if (image.GetFormat() == FORMAT_RGBE8) {
        QS_LOG_ASSERT(FILE_NAME, "gw::LoadImage", "Image %s format is RGBE8!", path.ToChar());
    }
    if (isLoaded && mipmaps && image.GetMipMapCount() < 1 && image.GetTileMode() == NOT_TILED) {
        QS_LOG_ASSERT(FILE_NAME, "gw::LoadImage", "Image %s has no mipmaps!", path.ToChar());
    }
    return isLoaded;
}

void DataLoaderCreateTextureCommand::InitTexture(const qs::Path& path, bool mipmaps, bool isSrgb, int mipSkip)
{
    qs::HProfileSample sample("gw::DataLoaderCreateTextureCommand::InitTexture");
    if (!LoadImage(image, path, {}, mipmaps, GetMipSkip(mipSkip), isSrgb)) {
        QS_LOG_ERROR(FILE_NAME, "gw::DataLoaderCreateTextureCommand::InitTexture", "Load image failed! \"%s\"",
                     path.ToChar());
        return;
    }
    srgb = isSrgb;
    handle = Renderer::GetInstance()->AddTexture();
}

void DataLoaderCreateTextureCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderCreateTextureCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsAlive(handle)) {
        renderer->CreateTexture(handle, image, srgb);
    }
}

void DataLoaderCreateTextureCommand::clear()
{
    image.FreePixelData();
}

void DataLoaderCreateTextureCommand::visit(qs::EventVisitor* visitor)
{
    image.Visit(visitor);
    visitor->Visit(srgb);
    visitor->Visit(handle);
}

bool DataLoaderCreateTextureArrayCommand::TakeDescription(const Image& first, std::uint64_t count)
{
    const std::uint64_t size = first.GetBufferSize();
    if (size == 0 || count > std::numeric_limits<std::uint32_t>::max() / size) {
        QS_LOG_ERROR(FILE_NAME, ARRAY_FUNCTION,
                     "A texture array of %llu images of %llu bytes is larger than the 4 GiB that are possible.",
                     static_cast<unsigned long long>(count), static_cast<unsigned long long>(size));
        return false;
    }
    format = first.GetFormat();
    width = std::uint32_t(first.GetWidth());
    height = std::uint32_t(first.GetHeight());
    mipCount = std::uint32_t(first.GetMipMapCount());
    depth = first.GetDepth() == 1 ? 0 : std::uint32_t(first.GetDepth());
    if (first.IsCube()) {
        usage = usage | eTextureUsageFlag_CubeMap;
    }
    mipSizes = new (qs::DefaultMemoryTag) unsigned[mipCount];
    for (std::uint32_t mip = 0; mipSizes && mip < mipCount; ++mip) {
        mipSizes[mip] = unsigned(first.GetMipMapSize(mip, 1, FORMAT_NONE) * count);
    }
    qs::MemoryTrackerSample sample(ARRAY_SCOPE);
    memory.Alloc(size * count, 0);
    return mipSizes && memory.GetData();
}

bool DataLoaderCreateTextureArrayCommand::Fits(const Image& other, std::uint64_t size) const
{
    const bool sameDepth = other.GetDepth() == std::int64_t(depth) || (depth == 0 && other.GetDepth() == 1);
    return other.GetBufferSize() == size && other.GetFormat() == format && other.GetWidth() == std::int64_t(width) &&
           other.GetHeight() == std::int64_t(height) && other.GetMipMapCount() == std::int64_t(mipCount) && sameDepth;
}

void DataLoaderCreateTextureArrayCommand::InitTexture(const qs::Path* paths, std::uint64_t count, bool mipmaps,
                                                      bool srgb, int mipSkip)
{
    qs::HProfileSample sample(ARRAY_FUNCTION);
    arraySize = std::uint32_t(count);
    usage = srgb ? eTextureUsageFlag_ShaderResource | eTextureUsageFlag_SRGB : eTextureUsageFlag_ShaderResource;
    std::uint64_t size = 0;
    for (std::uint64_t i = 0; i < count; ++i) {
        Image image;
        if (!LoadImage(image, paths[i], {}, mipmaps, GetMipSkip(mipSkip), srgb)) {
            QS_LOG_ERROR(FILE_NAME, ARRAY_FUNCTION, "Couldn't open \"%s\"", paths[i].ToChar());
            continue;
        }
        if (size == 0) {
            if (!TakeDescription(image, count)) {
                image.FreePixelData();
                break;
            }
            size = image.GetBufferSize();
        }
        if (Fits(image, size)) {
            std::memcpy(memory.GetUBytes() + i * size, image.GetPixels(), size);
        } else {
            QS_LOG_ASSERT(FILE_NAME, ARRAY_FUNCTION, "Image doesn't match first image format and size.");
        }
        image.FreePixelData();
    }
    handle = Renderer::GetInstance()->AddTexture();
}

void DataLoaderCreateTextureArrayCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderCreateTextureArrayCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (renderer && renderer->IsAlive(handle)) {
        renderer->CreateTexture(handle, memory, format, width, height, depth, mipCount, mipCount, mipSizes, arraySize,
                                1, usage, eTextureAccessFlag_GPURead);
    }
}

void DataLoaderCreateTextureArrayCommand::clear()
{
    delete[] mipSizes;
    mipSizes = nullptr;
    qs::MemoryTrackerSample sample(ARRAY_SCOPE);
    memory.SafeFree(this);
}

void DataLoaderCreateTextureArrayCommand::visit(qs::EventVisitor* visitor)
{
    visitor->Visit(handle);
    memory.Visit(visitor);
    std::uint32_t formatValue = format;
    visitor->Visit(formatValue);
    format = EFormat(formatValue);
    visitor->Visit(width);
    visitor->Visit(height);
    visitor->Visit(depth);
    visitor->Visit(mipCount);
    auto address = std::uint64_t(reinterpret_cast<std::uintptr_t>(mipSizes));
    visitor->Visit(address);
    mipSizes = visitor->IsMovingOut() ? nullptr : reinterpret_cast<unsigned*>(std::uintptr_t(address));
    visitor->Visit(arraySize);
    auto usageValue = static_cast<unsigned short>(usage);
    visitor->Visit(usageValue);
    usage = ETextureUsageFlag(usageValue);
}

void DataLoaderStreamTextureCommand::Execute()
{
    qs::HProfileSample sample("gw::DataLoaderStreamTextureCommand::Execute");
    Renderer* renderer = Renderer::GetInstance();
    if (!renderer) {
        return;
    }
    if (image.GetBufferSize() != 0) {
        renderer->ReloadTexture(handle, image, srgb);
    } else {
        renderer->DecreaseMip(handle, mip);
    }
}

void DataLoaderStreamTextureCommand::clear()
{
    image.FreePixelData();
}

void DataLoaderStreamTextureCommand::visit(qs::EventVisitor* visitor)
{
    image.Visit(visitor);
    visitor->Visit(srgb);
    visitor->Visit(handle);
    visitor->Visit(mip);
}

} // namespace gw
